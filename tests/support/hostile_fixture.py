#!/usr/bin/env python3
"""Builds a macOS-shaped tree that an attacker could have left: special files where property
lists belong, links that loop or leave the tree, truncated and cyclic property lists, nesting
100,000 deep, bookmarks and aliases whose offsets run past their ends, a 2 GB sparse executable,
names that are not UTF-8, databases that are not databases, a 50 MB JSON file.

    hostile_fixture.py [--clean] ROOT CANARY

ROOT must not exist yet. CANARY is a file outside ROOT that links in the tree point at; nothing
of it may ever reach a report. With --clean, the same tree with an ordinary file in place of
every hostile one, and the same bulk (the large JSON stays): what a hostile run is compared with.
"""
import base64, json, os, plistlib, socket, sqlite3, struct, sys

clean = sys.argv[1] == '--clean'
root, canary = sys.argv[1 + clean], os.path.abspath(sys.argv[2 + clean])
os.makedirs(root)


def path(relative):
    full = os.path.join(root.encode(), relative.encode() if isinstance(relative, str) else relative)
    os.makedirs(os.path.dirname(full), exist_ok=True)
    return full


def write(relative, data, ordinary=None):
    """Writes data, or with --clean the ordinary content when one is given."""
    if clean and ordinary is not None:
        data = ordinary
    with open(path(relative), 'wb') as f:
        f.write(data.encode() if isinstance(data, str) else data)


def link(relative, target, ordinary):
    if clean:
        write(relative, ordinary)
    else:
        os.symlink(target, path(relative))


def special(relative, make):
    """A FIFO, socket or folder where a job belongs; with --clean, a job."""
    if clean:
        write(relative, job('/usr/bin/true'))
    else:
        make(path(relative))


def xml_plist(body):
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0">\n%s\n</plist>\n' % body)


def job(program):
    return xml_plist('<dict><key>Label</key><string>x</string><key>Program</key><string>%s</string>'
                     '<key>ProgramArguments</key><array><string>%s</string></array></dict>'
                     % (program, program))


# A binary property list whose one array holds itself.
cycle = b'bplist00' + b'\xa1\x00' + b'\x08' + bytes(6) + b'\x01\x01' + struct.pack('>QQQ', 1, 0, 10)
deep_xml = xml_plist('<array>' * 100000 + '</array>' * 100000)
deep_json = '[' * 100000 + ']' * 100000
# "book" whose table of contents lies far past its end; an alias whose size field does.
bad_bookmark = b'book' + struct.pack('<I', 64) + bytes(4) + struct.pack('<I', 48) + bytes(32) + \
    struct.pack('<I', 0xFFFFFF00) + bytes(12)
bad_alias = bytes(4) + struct.pack('>HH', 0xFFFF, 3) + bytes(20)
canary_links = {'outside.plist': canary, 'climb.plist': '../' * 12 + canary.lstrip('/')}

agents = 'Library/LaunchAgents/'
ordinary_job = job('/usr/bin/true')
tool = '#!/bin/sh\n'
cron_line = '* * * * * /opt/zero /opt/escape\n'
startup = xml_plist('<dict><key>Description</key><string>Deep</string></dict>')

special(agents + 'fifo.plist', os.mkfifo)
special(agents + 'socket.plist', lambda p: socket.socket(socket.AF_UNIX).bind(p))
special(agents + 'folder.plist', os.makedirs)
write(agents + 'truncated.plist', cycle[:12], ordinary_job)
write(agents + 'bogus.plist', '<?xml version="1.0"?><plist><dict><key>a</key>', ordinary_job)
write(agents + 'cycle.plist', cycle, ordinary_job)
write(agents + 'deep.plist', deep_xml, ordinary_job)
write(agents + 'empty.plist', '', ordinary_job)
write(agents.encode() + (b'ff.plist' if clean else b'\xff\xfe.plist'), ordinary_job)
write(agents + ('newline.plist' if clean else 'new\nline.plist'), ordinary_job)
link(agents + 'loop-a.plist', 'loop-b.plist', ordinary_job)
link(agents + 'loop-b.plist', 'loop-a.plist', ordinary_job)
for name, target in canary_links.items():
    link(agents + name, target, ordinary_job)
write(agents + 'huge.plist', job('/opt/huge'))
if clean:
    write('opt/huge', tool)
else:
    with open(path('opt/huge'), 'wb') as f:
        f.truncate(2 << 30)
write(agents + 'zero.plist', job('/opt/zero'))
link('opt/zero', '/dev/zero', tool)
write(agents + 'random.plist', job('/opt/random'))
link('opt/random', '/dev/random', tool)
write(agents + 'escape.plist', job('/opt/escape'))
link('opt/escape', canary, tool)
write('usr/bin/true', tool)

link('usr/lib/cron/tabs/root', '/dev/zero', cron_line)
link('usr/lib/cron/tabs/daemon', canary, cron_line)
write('usr/lib/cron/tabs/ann', '* * * * * /opt/zero /opt/escape ' + 'a' * (1 << 20) + '\\ \n',
      cron_line)
link('etc/rc.common', '/dev/random', tool)
link('private/etc/hosts', '/dev/zero', '127.0.0.1 localhost\n')
link('private/etc/resolv.conf', canary, 'nameserver 192.0.2.1\n')
write('System/Library/StartupItems/Deep/StartupParameters.plist', deep_xml, startup)
write('System/Library/StartupItems/Deep/Deep', tool)
link('Library/Tervalon/SHLD/antivirus.bundle/engines', '../' * 8 + canary.lstrip('/'), tool)



def database(relative, script):
    db = sqlite3.connect(path(relative))
    db.executescript(script)
    db.close()


home = 'Users/ann/Library/'
login_item = '<dict><key>Name</key><string>bad</string>%s</dict>'
write(home + 'Preferences/com.apple.loginitems.plist', xml_plist(
    '<dict><key>SessionItems</key><dict><key>CustomListItems</key><array>%s</array></dict></dict>'
    % (login_item % ('' if clean else '<key>Alias</key><data>%s</data>'
                     % base64.b64encode(bad_alias).decode()))))
write(home + 'Application Support/com.apple.backgroundtaskmanagementagent/backgrounditems.btm',
      cycle, plistlib.dumps({'$archiver': 'NSKeyedArchiver', '$objects': ['$null'], '$top': {},
                             '$version': 100000}, fmt=plistlib.FMT_BINARY))
if clean:
    database(home + 'Safari/History.db', 'CREATE TABLE history_items (url); '
             'INSERT INTO history_items VALUES (\'https://a\');')
else:
    write(home + 'Safari/History.db', 'SQLite format 3\0 but not really a database')
write(home + 'Safari/Downloads.plist', xml_plist(
    '<dict><key>DownloadHistory</key><array>%s</array></dict>'
    % ('' if clean else '<dict><key>DownloadEntryBookmarkBlob</key><data>%s</data></dict>'
       % base64.b64encode(bad_bookmark).decode())))
profile = home + 'Application Support/Google/Chrome/Default/'
with open(path(profile + 'Preferences'), 'w') as f:
    json.dump({'entries': [{'url': 'https://example.org/' + str(i), 'n': None} for i in
                           range(1100000)]}, f)
write(profile + 'Secure Preferences', deep_json, '{"a": 1}')
write(profile + 'Extensions/x/1.0/manifest.json', deep_json, '{"name": "x", "version": "1.0"}')
database(profile + 'History', ('CREATE TABLE a (a); CREATE TABLE b (b); ' if clean else
                               'CREATE TABLE "with blank" (a); CREATE TABLE "quo\'te" (b); ') +
         'CREATE TABLE urls (url); INSERT INTO urls VALUES (\'https://a\');')
firefox = home + 'Application Support/Firefox/Profiles/p/'
if clean:
    database(firefox + 'places.sqlite', 'CREATE TABLE moz_places (url);')
else:
    write(firefox + 'places.sqlite', bytes(4096))
write(firefox + 'extensions.json', '{"addons": [null, 1, {"a": {"b": null}}]', '{"addons": []}')
link(firefox + 'prefs.js', canary, 'user_pref("a", 1);\n')
os.makedirs(path('Users/locked'))
os.chmod(path('Users/locked'), 0o755 if clean else 0)
