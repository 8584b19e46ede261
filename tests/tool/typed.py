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
<item name="fe80::1"><port/><peer/></item><item name="fe80::2"/><item name="http/tcp"/><item name="a=b c"/><item name="it's"/>
<item name="say &quot;$HOME&quot;\\"/><item name="~x*"/><item name="end:"/><item name=""/><item name="n&#9;t"/>
<other name="hub"><pears/></other><other name="müsli"/>
<group name="all: of them" type="item"><entity>http/tcp</entity><entity>gone</entity></group></odd></kavex>''')
with open("/etc/kavex/conf/broken.xml", "w") as document:
    document.write("<kavex><odd>")

# What is typed before TAB, and the line after it.
LINES = [
    # Words that are quoted: where the cursor is, and before it.
    ('kvio get od', r'kvio get odd\ names.xml '),
    (r'kvio get odd\ na', r'kvio get odd\ names.xml '),
    ('kvio get "odd na', 'kvio get "odd names.xml" '),
    ("kvio get 'odd na", "kvio get 'odd names.xml' "),
    ('kvio get od"d na', 'kvio get od"d names.xml" '),
    ('kvio get od"d na"', r'kvio get odd\ names.xml '),
    (r'kvio get odd\ names.xml ', r'kvio get odd\ names.xml odd '),
    ('kvio get "odd names.xml" o', 'kvio get "odd names.xml" odd '),
    ("kvio get 'odd 'na\"mes.xml\" odd i", "kvio get 'odd 'na\"mes.xml\" odd item "),
    ('kvio get bro odd' + 4 * '\x02', 'kvio get broken.xml odd'),
    ('kvio get "odd \\names.xml" o', 'kvio get "odd \\names.xml" o'),
    ('kvio members odd\\ names.xml odd group item "all: of them"',
     'kvio members odd\\ names.xml odd group item all:\\ of\\ them '),
    # Names with characters that break words or mean something to bash.
    (r'kvio get odd\ names.xml odd item fe', r'kvio get odd\ names.xml odd item fe80::'),
    (r'kvio get odd\ names.xml odd item fe80:', r'kvio get odd\ names.xml odd item fe80::'),
    (r'kvio get odd\ names.xml odd item fe80\:', r'kvio get odd\ names.xml odd item fe80::'),
    (r'kvio get odd\ names.xml odd item fe80::1 pe', r'kvio get odd\ names.xml odd item fe80::1 peer '),
    (r'kvio get odd\ names.xml odd item "fe80::1" po', r'kvio get odd\ names.xml odd item "fe80::1" port '),
    (r'kvio get odd\ names.xml odd item h', r'kvio get odd\ names.xml odd item http/tcp '),
    (r'kvio get odd\ names.xml odd item a=b', r'kvio get odd\ names.xml odd item a=b\ c '),
    (r'kvio get odd\ names.xml odd item "a=', r'kvio get odd\ names.xml odd item "a=b c" '),
    (r'kvio get odd\ names.xml odd item i', r"kvio get odd\ names.xml odd item it\'s "),
    (r"kvio get odd\ names.xml odd item 'i", r"kvio get odd\ names.xml odd item 'it'\''s' "),
    (r'kvio get odd\ names.xml odd item s', r'kvio get odd\ names.xml odd item say\ \"\$HOME\"\\ '),
    (r'kvio get odd\ names.xml odd item "s', r'kvio get odd\ names.xml odd item "say \"\$HOME\"\\" '),
    ("kvio get odd\\ names.xml odd item 'say \"$", "kvio get odd\\ names.xml odd item 'say \"$HOME\"\\' "),
    (r'kvio get odd\ names.xml odd item say\ \"', r'kvio get odd\ names.xml odd item say\ \"\$HOME\"\\ '),
    (r'kvio get odd\ names.xml odd item ~', r'kvio get odd\ names.xml odd item \~x\* '),
    (r'kvio get odd\ names.xml odd item end:', r'kvio get odd\ names.xml odd item end:'),
    (r'kvio get odd\ names.xml odd other m', r'kvio get odd\ names.xml odd other müsli '),
    (r'kvio get odd\ names.xml odd item n', r'kvio get odd\ names.xml odd item n'),
    # Options.
    ('kvio show --format=j', 'kvio show --format=json '),
    ('kvio show --format "j', 'kvio show --format "json" '),
    ('kvio attr set --kind', 'kvio attr set --kind '),
    ('kvio attr set --kind=g', 'kvio attr set --kind=group '),
    (r'kvio refs -kg', r'kvio refs -kgroup '),
    (r'kvio refs -qkgroup odd\ names.xml odd item ', r'kvio refs -qkgroup odd\ names.xml odd item all:\ of\ them '),
    (r'kvio refs --kind=list odd\ names.xml odd i', r'kvio refs --kind=list odd\ names.xml odd i'),
    ('kvio get -d $HOME od', r'kvio get -d $HOME odd\ names.xml '),
    ('kvio get -d --force od', r'kvio get -d --force odd\ names.xml '),
    ('kvio check --rep', 'kvio check --repair '),
    ('kvio -v get od', r'kvio -v get odd\ names.xml '),
    ('kvio --quiet ren', 'kvio --quiet rename'),
    ('kvio -q attr inc', 'kvio -q attr increase '),
    ('kvio --ver', 'kvio --verbose '),
    ('kvio show -- --form', 'kvio show -- --form'),
    # Files where there are to be files, configurations in the place of a new one, otherwise neither.
    ('kvio dump broken.xml so', r'kvio dump broken.xml some\ file '),
    ('kvio restore broken.xml "so', 'kvio restore broken.xml "some file" '),
    ('kvio show broken.xml 2>so', r'kvio show broken.xml 2>some\ file '),
    ('kvio show broken.xml > so', r'kvio show broken.xml > some\ file '),
    ('kvio show 2>/dev/null od', r'kvio show 2>/dev/null odd\ names.xml '),
    ('kvio show $HOM', 'kvio show $HOME/'),
    ('kvio copy broken.xml od', r'kvio copy broken.xml odd\ names.xml '),
    ('kvio copy broken.xml so', 'kvio copy broken.xml so'),
    ('kvio find broken.xml so', 'kvio find broken.xml so'),
    ('kvio get -d so', 'kvio get -d so'),
    (r'kvio set odd\ names.xml odd item http/tcp port so', r'kvio set odd\ names.xml odd item http/tcp port so'),
    # What a verb has to look for elsewhere than the others.
    (r'kvio define odd\ names.xml odd item new po', r'kvio define odd\ names.xml odd item new port '),
    (r'kvio get odd\ names.xml odd item http/tcp po', r'kvio get odd\ names.xml odd item http/tcp po'),
    (r'kvio find odd\ names.xml x --type i', r'kvio find odd\ names.xml x --type item '),
    (r'kvio find odd\ names.xml x -t item -e pe', r'kvio find odd\ names.xml x -t item -e peer '),
    (r'kvio leave odd\ names.xml odd group item all:\ of\ them g', r'kvio leave odd\ names.xml odd group item all:\ of\ them gone '),
    (r'kvio rename-member odd\ names.xml odd group item all:\ of\ them g',
     r'kvio rename-member odd\ names.xml odd group item all:\ of\ them gone '),
    (r'kvio rename-member odd\ names.xml odd group item all:\ of\ them gone h',
     r'kvio rename-member odd\ names.xml odd group item all:\ of\ them gone http/tcp '),
    (r'kvio join odd\ names.xml odd group item x g', r'kvio join odd\ names.xml odd group item x g'),
    (r'kvio join -fc odd\ names.xml odd group item x a', r'kvio join -fc odd\ names.xml odd group item x all:\ of\ them '),
    # Nothing of a line is run, and nothing said about what cannot be read.
    ('kvio get "$(touch run)" ', 'kvio get "$(touch run)" '),
    ("kvio get '`touch run`", "kvio get '`touch run`"),
    ('kvio get broken.xml ', 'kvio get broken.xml '),
    ('kvio get ghost.xml ', 'kvio get ghost.xml '),
    (r'kvio get odd\ names.xml ghost ', r'kvio get odd\ names.xml ghost '),
    ('kvio nonsense ', 'kvio nonsense '),
]
# Where the colon does not break words, as some have it; where there is no command.
PLAIN_COLONS = [(r'kvio get odd\ names.xml odd item fe80:', r'kvio get odd\ names.xml odd item fe80::')]
NO_COMMAND = [('kvio ', 'kvio ')]
# What is typed before TAB is hit twice, and what is listed then.
LISTS = [
    ('kvio re', ['refs', 'remove', 'rename', 'rename-member', 'restore']),
    ('kvio show "odd names.xml" --', ['--format', '--help', '--quiet', '--verbose']),
    ('kvio rename broken.xml ', ['a.xml', 'broken.xml', 'odd names.xml', 'with blank.xml']),
    ('kvio show --format=', ['--format=json', '--format=text', '--format=xml']),
    (r'kvio get odd\ names.xml odd item fe80::', ['fe80::1', 'fe80::2']),
    (r'kvio ls odd\ names.xml odd ', ['item', 'other']),
    (r'kvio undefine odd\ names.xml odd item ',
     ['a=b c', 'end:', 'fe80::1', 'fe80::2', 'http/tcp', "it's", 'say "$HOME"\\', '~x*']),
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
    def __init__(self, setup):
        with open("/tmp/setup", "w") as file:
            file.write(SETUP + setup)
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


for setup, lines in ("", LINES), ("COMP_WORDBREAKS=${COMP_WORDBREAKS//:}", PLAIN_COLONS), ("PATH=/nowhere", NO_COMMAND):
    bash = Terminal(setup)
    for typed, expected in lines:
        line, besides = bash.type(typed + "\t")
        if (line, besides) != (expected, []):
            print(f"{typed}: {line}|", *besides, sep="\n  ")
bash = Terminal("")
for typed, expected in LISTS:
    line, besides = bash.type(typed + "\t\t")
    if (line, besides[:-1]) != (typed, expected):
        print(f"{typed}: {line}|", *besides, sep="\n  ")
if os.path.exists("run"):
    print("a substitution was run")
