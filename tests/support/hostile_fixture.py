#!/usr/bin/env python3
"""Builds a macOS-shaped tree that an attacker could have left: special files where property
lists belong, links that loop or leave the tree, truncated and cyclic property lists, nesting
100,000 deep, bookmarks and aliases whose offsets run past their ends, a 2 GB sparse executable,
names that are not UTF-8, databases that are not databases, a 50 MB JSON file.

    hostile_fixture.py ROOT CANARY

ROOT must not exist yet. CANARY is a file outside ROOT that links in the tree point at; nothing
of it may ever reach a report.
"""
import json, os, socket, sqlite3, struct, sys

root, canary = sys.argv[1], os.path.abspath(sys.argv[2])
os.makedirs(root)


def path(relative):
    full = os.path.join(root.encode(), relative.encode() if isinstance(relative, str) else relative)
    os.makedirs(os.path.dirname(full), exist_ok=True)
    return full


def write(relative, data):
    with open(path(relative), 'wb') as f:
        f.write(data.encode() if isinstance(data, str) else data)


def link(relative, target):
    os.symlink(target, path(relative))


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
os.mkfifo(path(agents + 'fifo.plist'))
sock = socket.socket(socket.AF_UNIX)
sock.bind(path(agents + 'socket.plist'))
sock.close()
os.makedirs(path(agents + 'folder.plist'))
write(agents + 'truncated.plist', cycle[:12])
write(agents + 'bogus.plist', '<?xml version="1.0"?><plist><dict><key>a</key>')
write(agents + 'cycle.plist', cycle)
write(agents + 'deep.plist', deep_xml)
write(agents + 'empty.plist', '')
write(agents.encode() + b'\xff\xfe.plist', job('/usr/bin/true'))
write(agents + 'new\nline.plist', job('/usr/bin/true'))
link(agents + 'loop-a.plist', 'loop-b.plist')
link(agents + 'loop-b.plist', 'loop-a.plist')
for name, target in canary_links.items():
    link(agents + name, target)
write(agents + 'huge.plist', job('/opt/huge'))
with open(path('opt/huge'), 'wb') as f:
    f.truncate(2 << 30)
write(agents + 'zero.plist', job('/opt/zero'))
link('opt/zero', '/dev/zero')
write(agents + 'random.plist', job('/opt/random'))
link('opt/random', '/dev/random')
write(agents + 'escape.plist', job('/opt/escape'))
link('opt/escape', canary)
write('usr/bin/true', '#!/bin/sh\n')

link('usr/lib/cron/tabs/root', '/dev/zero')
link('usr/lib/cron/tabs/daemon', canary)
write('usr/lib/cron/tabs/ann', '* * * * * /opt/zero /opt/escape ' + 'a' * (1 << 20) + '\\ \n')
link('etc/rc.common', '/dev/random')
link('private/etc/hosts', '/dev/zero')
link('private/etc/resolv.conf', canary)
write('System/Library/StartupItems/Deep/StartupParameters.plist', deep_xml)
write('System/Library/StartupItems/Deep/Deep', '#!/bin/sh\n')
link('Library/Tervalon/SHLD/antivirus.bundle/engines', '../' * 8 + canary.lstrip('/'))

home = 'Users/ann/Library/'
write(home + 'Preferences/com.apple.loginitems.plist', xml_plist(
    '<dict><key>SessionItems</key><dict><key>CustomListItems</key><array><dict><key>Name</key>'
    '<string>bad</string><key>Alias</key><data>%s</data></dict></array></dict></dict>'
    % __import__('base64').b64encode(bad_alias).decode()))
write(home + 'Application Support/com.apple.backgroundtaskmanagementagent/backgrounditems.btm',
      cycle)
write(home + 'Safari/History.db', 'SQLite format 3\0 but not really a database')
write(home + 'Safari/Downloads.plist', xml_plist(
    '<dict><key>DownloadHistory</key><array><dict><key>DownloadEntryBookmarkBlob</key>'
    '<data>%s</data></dict></array></dict>' % __import__('base64').b64encode(bad_bookmark).decode()))
profile = home + 'Application Support/Google/Chrome/Default/'
with open(path(profile + 'Preferences'), 'w') as f:
    json.dump({'entries': [{'url': 'https://example.org/' + str(i), 'n': None} for i in
                           range(1100000)]}, f)
write(profile + 'Secure Preferences', deep_json)
write(profile + 'Extensions/x/1.0/manifest.json', deep_json)
db = sqlite3.connect(path(profile + 'History'))
db.executescript('CREATE TABLE "with blank" (a); CREATE TABLE "quo\'te" (b); '
                 'CREATE TABLE urls (url); INSERT INTO urls VALUES (\'https://a\');')
db.close()
firefox = home + 'Application Support/Firefox/Profiles/p/'
write(firefox + 'places.sqlite', bytes(4096))
write(firefox + 'extensions.json', '{"addons": [null, 1, {"a": {"b": null}}]')
link(firefox + 'prefs.js', canary)
os.makedirs(path('Users/locked'))
os.chmod(path('Users/locked'), 0)
