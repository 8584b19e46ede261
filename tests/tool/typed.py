"""Types command lines and TAB into an interactive bash on a terminal of its own, and tells where they become something else
than expected, or where more is seen than the line."""
import fcntl
import os
import pty
import re
import select
import struct
import sys
import termios

os.mkdir("/tmp/typed")
os.chdir("/tmp/typed")
open("some file", "w")
with open("/etc/kavex/conf/odd names.xml", "w") as document:
    document.write('''<kavex><odd>
<item name="fe80::1"><port/><peer/></item><item name="fe80::2"/><item name="http/tcp"/><item name="it's"/>
<item name="say &quot;$HOME&quot;"/><item name="n&#9;t"/>
<other name="hub"><pears/></other>
<group name="all: of them" type="item"><entity>http/tcp</entity><entity>gone</entity></group></odd></kavex>''')
with open("/etc/kavex/conf/broken.xml", "w") as document:
    document.write("<kavex><odd>")

# What is typed before TAB, and the line after it.
LINES = [
    ('kvio get od', r'kvio get odd\ names.xml '),
    (r'kvio get odd\ na', r'kvio get odd\ names.xml '),
    ('kvio get "odd names.xml" o', 'kvio get "odd names.xml" odd '),
    ('kvio get "odd na', 'kvio get "odd na'),
    # Names with characters that break words or mean something to bash.
    (r'kvio get odd\ names.xml odd item fe', r'kvio get odd\ names.xml odd item fe80::'),
    (r'kvio get odd\ names.xml odd item fe80:', r'kvio get odd\ names.xml odd item fe80::'),
    (r'kvio get odd\ names.xml odd item fe80::1 pe', r'kvio get odd\ names.xml odd item fe80::1 peer '),
    (r'kvio get odd\ names.xml odd item h', r'kvio get odd\ names.xml odd item http/tcp '),
    (r'kvio get odd\ names.xml odd item i', r"kvio get odd\ names.xml odd item it\'s "),
    (r'kvio get odd\ names.xml odd item s', r'kvio get odd\ names.xml odd item say\ \"\$HOME\" '),
    (r'kvio leave odd\ names.xml odd group item all:\ of\ them g', r'kvio leave odd\ names.xml odd group item all:\ of\ them gone '),
    ('kvio get bro odd' + 4 * '\x02', 'kvio get broken.xml odd'),
    # Options; files where there are to be files; fields of other entities of the type for a new one.
    ('kvio show --format=j', 'kvio show --format=json '),
    ('kvio attr set --kind', 'kvio attr set --kind '),
    (r'kvio refs --kind group odd\ names.xml odd item ', r'kvio refs --kind group odd\ names.xml odd item all:\ of\ them '),
    ('kvio -v get od', r'kvio -v get odd\ names.xml '),
    ('kvio dump broken.xml so', r'kvio dump broken.xml some\ file '),
    ('kvio find broken.xml so', 'kvio find broken.xml so'),
    (r'kvio define odd\ names.xml odd item new po', r'kvio define odd\ names.xml odd item new port '),
    # Nothing of a line is run, and nothing said about what cannot be read.
    ('kvio get `touch run` ', 'kvio get `touch run` '),
    ('kvio get broken.xml ', 'kvio get broken.xml '),
    ('kvio nonsense ', 'kvio nonsense '),
]
# What is typed before TAB is hit twice, and what is listed then.
LISTS = [
    ('kvio re', ['refs', 'remove', 'rename', 'rename-container', 'rename-entity', 'rename-member', 'restore']),
    (r'kvio ls odd\ names.xml odd ', ['item', 'other']),
]

SHOW = b"\x18\x10"  # Ctrl-X Ctrl-P
SETUP = r'''
source "$TESTS/../tools/kvio.bash"
bind 'set enable-bracketed-paste off' 'set bell-style none' 'set completion-query-items 0' 'set completion-display-width 0'
show() { printf '\1%s\2' "$READLINE_LINE"; READLINE_LINE= READLINE_POINT=0; }
bind -x '"\C-x\C-p": show'
PS1='> '
'''


class Terminal:
    def __init__(self):
        with open("/tmp/setup", "w") as file:
            file.write(SETUP)
        child, self.terminal = pty.fork()
        if child == 0:
            os.environ.update(TERM="dumb", INPUTRC="/dev/null")
            os.execlp("bash", "bash", "--noprofile", "--rcfile", "/tmp/setup", "-i")
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("4H", 24, 200, 0, 0))
        self.read_until(b"> $")

    def read_until(self, pattern):
        seen = b""
        while not (found := re.search(pattern, seen, re.S)):
            if not select.select([self.terminal], [], [], 30)[0]:
                sys.exit(f"bash hangs after {seen}")
            seen += os.read(self.terminal, 4096)
        return found

    def type(self, keys):
        """The line that comes of it, and what was seen besides it."""
        os.write(self.terminal, keys.encode() + SHOW)
        seen, line = self.read_until(b"^(.*)\1(.*)\2.*> $").groups()
        return line.decode(), seen.decode().split("\r\n")[1:-1]


bash = Terminal()
for typed, expected in LINES:
    line, besides = bash.type(typed + "\t")
    if (line, besides) != (expected, []):
        print(f"{typed}: {line}|", *besides, sep="\n  ")
for typed, expected in LISTS:
    line, besides = bash.type(typed + "\t\t")
    if (line, besides[:-1]) != (typed, expected):
        print(f"{typed}: {line}|", *besides, sep="\n  ")
if os.path.exists("run"):
    print("a substitution was run")
