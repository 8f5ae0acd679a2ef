// One value type for every property-list finding: dictionaries (kept sorted by key, as Apple's
// XML writer sorts them), arrays, strings, integers, reals, booleans, dates, data, and null.
// Null exists only for JSON on its way to being sanitised; the XML writer refuses it. Database
// rows have a compact form of their own (TextRows), which stands for an array of arrays of
// strings.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "libs/plist/TextRows.h"

namespace plist {

class Value;

using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;
using Data = std::vector<std::uint8_t>;

struct Null {
    bool operator==(const Null&) const = default;
};

// Seconds since 2001-01-01 00:00:00 UTC (Apple's reference date), as every Apple format keeps it.
struct Date {
    double seconds_since_2001 = 0;
    static constexpr double kUnixOffset = 978307200.0;
    static Date from_unix(double unix_seconds) { return {unix_seconds - kUnixOffset}; }
    double unix_seconds() const { return seconds_since_2001 + kUnixOffset; }
    bool operator==(const Date&) const = default;
};

// An integer as the formats carry it: signed 64-bit, or unsigned above INT64_MAX.
struct Integer {
    std::int64_t value = 0;
    bool is_unsigned = false;  // value holds the bit pattern of a uint64 above INT64_MAX
    bool operator==(const Integer&) const = default;
};

// Shared and immutable once made, so that copying a report never copies its tables.
struct Rows {
    std::shared_ptr<const TextRows> rows;
    bool operator==(const Rows& other) const { return *rows == *other.rows; }
};

class Value {
public:
    enum class Kind { Null, Boolean, Integer, Real, String, Date, Data, Array, Dictionary, Rows };

    Value() : v_(Null{}) {}
    Value(Null) : v_(Null{}) {}
    Value(bool b) : v_(b) {}
    Value(int i) : v_(Integer{i, false}) {}
    Value(long i) : v_(Integer{static_cast<std::int64_t>(i), false}) {}
    Value(long long i) : v_(Integer{static_cast<std::int64_t>(i), false}) {}
    Value(unsigned u) : v_(Integer{static_cast<std::int64_t>(u), false}) {}
    Value(unsigned long u) : v_(make_unsigned(u)) {}
    Value(unsigned long long u) : v_(make_unsigned(u)) {}
    Value(Integer i) : v_(i) {}
    Value(double d) : v_(d) {}
    Value(const char* s) : v_(std::string(s)) {}
    Value(std::string s) : v_(std::move(s)) {}
    Value(std::string_view s) : v_(std::string(s)) {}
    Value(Date d) : v_(d) {}
    Value(Data d) : v_(std::move(d)) {}
    Value(Array a) : v_(std::move(a)) {}
    Value(Dictionary d) : v_(std::move(d)) {}
    Value(TextRows r) : v_(Rows{std::make_shared<const TextRows>(std::move(r))}) {}

    Kind kind() const { return static_cast<Kind>(v_.index()); }
    bool is_null() const { return kind() == Kind::Null; }

    // Typed access: a pointer to the content when the value is of that kind, else nullptr.
    const bool* as_bool() const { return std::get_if<bool>(&v_); }
    const Integer* as_integer() const { return std::get_if<Integer>(&v_); }
    const double* as_real() const { return std::get_if<double>(&v_); }
    const std::string* as_string() const { return std::get_if<std::string>(&v_); }
    const Date* as_date() const { return std::get_if<Date>(&v_); }
    const Data* as_data() const { return std::get_if<Data>(&v_); }
    const Array* as_array() const { return std::get_if<Array>(&v_); }
    const Dictionary* as_dict() const { return std::get_if<Dictionary>(&v_); }
    const TextRows* as_rows() const {
        const Rows* r = std::get_if<Rows>(&v_);
        return r ? r->rows.get() : nullptr;
    }
    std::string* as_string() { return std::get_if<std::string>(&v_); }
    Array* as_array() { return std::get_if<Array>(&v_); }
    Dictionary* as_dict() { return std::get_if<Dictionary>(&v_); }

    // The entry under key when this is a dictionary holding it, else nullptr.
    const Value* find(std::string_view key) const;

    // True when the value is a number (integer, real or boolean) equal to 1, as an
    // "Enabled" switch is read.
    bool equals_number_one() const;

    bool operator==(const Value& other) const = default;

private:
    static Integer make_unsigned(unsigned long long u) {
        return Integer{static_cast<std::int64_t>(u),
                       u > static_cast<unsigned long long>(INT64_MAX)};
    }

    std::variant<Null, bool, Integer, double, std::string, Date, Data, Array, Dictionary, Rows> v_;
};

}  // namespace plist
