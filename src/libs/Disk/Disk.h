// Class-level utilities every module and the driver share: the two output files of a module (its
// log and its property list), reading a text file into a report, logging a caught exception,
// cleaning a dictionary built from JSON, and the samples pipeline that turns reported executable
// paths into hashed copies, "Samples.plist" and the archive on the Desktop.
//
// Paths that name the examined machine (reported executables, configuration files) are read
// through its FileSystem; module folders, the run folder and the archive are written through the
// run's output (sys::RunOutput), never opened by path.
// Nothing here returns an error code: failures are logged and give an empty value.
#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "libs/plist/Value.h"
#include "libs/sys/FileSystem.h"
#include "libs/sys/ProgramRunner.h"
#include "libs/sys/RunOutput.h"
#include "modules/Module.h"

class Disk {
public:
    Disk() = delete;

    // Module name -> module report.
    using Results = std::map<std::string, modules::ModuleReport>;
    // Link path -> its target as stored, or "NULL" when nothing exists there.
    using SymlinkMap = std::map<std::string, std::string>;
    // Path -> MD5 text.
    using SamplesDictionary = std::map<std::string, std::string>;

    static constexpr std::string_view kMissingFileMd5 = "File could not be found/invalid path";
    static constexpr std::uint64_t kMaxSampleSize = 10000000;
    // Larger files get the placeholder instead of an MD5: a planted sparse file must not hold
    // the run for hours. Executables on real machines stay far below this.
    static constexpr std::uint64_t kMaxHashedSize = 256ull << 20;

    // ---- Output files and logs ----

    // Points the process's log at folder/file_name, appended. Silent.
    static void redirectLog(const sys::OutputPath& folder, std::string_view file_name);
    // The file's whole text, or "" (logging "<label> file does not exist!") when unreadable.
    static std::string getFile(const sys::FileSystem& files, std::string_view path,
                               std::string_view label);
    // Writes the dictionary as an XML property list, replacing the file. When the dictionary
    // cannot be written (it holds a null), its description text is written instead as a
    // one-string property list. Never throws; the outcome is only logged.
    static void write_plist(const plist::Value& dictionary, const sys::OutputPath& file);
    // "<label> CRASHED" and the exception's five lines.
    static void log_error(const std::exception& error, std::string_view label);
    // The heading line as given, then the exception's name, reason, user information, call-stack
    // symbols and call-stack return addresses, one log line each.
    static void log_exception(std::string_view heading, const std::exception& error);
    // Runs one risky step; whatever it throws (standard or not) is logged under the heading
    // ("MODULE CRASHED - Net", "AUTORUNS - CRONTABS CRASHED", ...) and the caller goes on.
    // False when the step threw.
    static bool guarded(std::string_view heading, const std::function<void()>& step);
    // What the dictionary's description reads back as once every "<null>" in it is replaced by
    // "null value": every leaf but data becomes a string, nulls become "null value", and
    // "<null>" inside strings and keys is replaced too. Taken by value: callers move their
    // report in, so that large tables are cleaned in place.
    static plist::Dictionary sanitize_json_dict(plist::Dictionary dictionary);
    // Creates each named file empty in the folder, in order; a failure logs
    // "Error in creating file <path>." and the next file is tried.
    static void create_empty_files(const sys::OutputPath& folder,
                                   std::initializer_list<std::string_view> names);

    // The entry names of a folder of the examined machine; none, with the reason logged, when
    // the folder does not exist ("<folder> does not exist!"), cannot be listed (the caller words
    // that line, given the system's reason) or holds nothing ("<folder> is empty!").
    static std::optional<std::vector<std::string>> list_folder(
        const sys::FileSystem& files, std::string_view folder,
        const std::function<void(std::string_view reason)>& log_listing_failure);

    // ---- Samples pipeline ----

    // The "Samples List" of the configuration's "Samples" entry when that entry has a key
    // "Ignore" (whatever its value); otherwise none.
    static std::optional<std::vector<std::string>> get_enabled_ignore_list(
        const plist::Value& modules_config);
    static bool check_if_symlink(const sys::FileSystem& files, const std::string& path);
    // The link's destination, one level, as stored. Throws sys::Exception
    // "NSInvalidArgumentException" when the path is not a readable link.
    static std::string symlink_abs_path(const sys::FileSystem& files, const std::string& path);
    // Replaces links in the reports by their targets, in place (see the .cpp for the cumulative
    // carry-over between modules), and returns the symlink map.
    static SymlinkMap replace_symlinks(const sys::FileSystem& files, Results& executables);
    static std::string get_file_md5(const sys::FileSystem& files, const std::string& path);
    static std::vector<std::string> get_md5_array(const sys::FileSystem& files,
                                                  const std::vector<std::string>& paths);
    static SamplesDictionary get_samples_dictionary(const sys::FileSystem& files,
                                                    const Results& executables);
    // Copies each readable file of 1 to kMaxSampleSize bytes into the folder under its MD5. The
    // size is that of the descriptor the copy is made from, so links and growing files cannot
    // smuggle in more than the limit.
    static void copy_samples(const sys::FileSystem& files, const SamplesDictionary& samples,
                             const sys::OutputPath& samples_folder,
                             const std::optional<std::vector<std::string>>& ignore_list);
    static void write_samples_plist(const SamplesDictionary& samples, const SymlinkMap& symlinks,
                                    const sys::OutputPath& samples_folder);
    // Runs "/usr/bin/zip -r <archive> . -i *" in the run folder; an existing archive is updated.
    // Returns zip's exit status (nothing is logged); throws when zip cannot be started.
    static int zip_samples_to_desktop(sys::ProgramRunner& programs, const sys::RunOutput& output);
    // Removes every entry of the run folder; the folder itself stays.
    static void clean_up(const sys::RunOutput& output);
};
