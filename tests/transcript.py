#!/usr/bin/env python3
"""Runs a recorded session again and compares all that it shows, for the inside of a private appliance root.

    transcript.py [--update] PATH FILE

One bash runs the commands, with PATH in front of its search path. A command is a line "$ COMMAND" and "> " in front of
its further lines; all 'X...' 'Y...' stands for kvio X..., kvio Y... Below stands what it printed to both streams: its lines
in one, with "|" between them, folded; "! " stands for "kvio: ", "~" for the directory of the configurations, and "[N]" is
the exit status of a kvio that failed. Of a file *.md the session is what stands between ```console and ```, not folded
and without exit statuses. --update writes what was seen into the file.
"""
import difflib
import os
import re
import subprocess
import sys

STATUSES = 'kvio() { command kvio "$@" 2>&1 || { set -- $?; echo "[$1]"; return $1; }; }\n'
STATUSES += 'all() { for call in "$@"; do kvio $call; done; }\n'
*update, search, path = sys.argv[1:]
assert os.environ.get("KAVEX_PRIVATE_ROOT"), "run me with scripts/appliance-root"
tests = os.path.dirname(os.path.abspath(__file__))
os.environ.update(PATH=f"{search}:{os.environ['PATH']}", TZ="UTC", TESTS=tests, EXAMPLES=f"{tests}/../examples")
text = open(path).read()
readme = path.endswith(".md")
if readme:
    text = re.search(r"\n```console\n(.*?)```\n", text, re.S).group(1)
    subprocess.run("$EXAMPLES/make-configuration >/etc/kavex/conf/appliance.xml", shell=True, check=True)


def folded(output):
    if readme or not output:
        return output
    line = re.sub("(?m)^kvio: ", "! ", output).replace("/etc/kavex/conf/", "~")
    line = re.sub(r"\n(\[\d+\])(?=\n)", r" \1", line).removesuffix("\n").replace("\n", "|")
    return "\n".join(re.findall(r".{0,117}\S(?=[ |]|$)|.{1,118}", line) or ["|"]) + "\n"


commands = re.findall(r"^\$ (.*\n(?:>.*\n)*)", text, flags=re.M)
script = "" if readme else STATUSES
script += "".join(re.sub("(?m)^> ?", "", command) + "printf '\\1'\n" for command in commands)
run = subprocess.run(["bash", "-c", script], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
*outputs, rest = run.stdout.decode(errors="backslashreplace").split("\1")
assert commands and len(outputs) == len(commands), f"bash ended early: {rest}"
shown = "".join("$ " + command + folded(output) for command, output in zip(commands, outputs))
if semaphores := open("/proc/sysvipc/sem").readlines()[1:]:
    shown += f"{len(semaphores)} semaphore sets are left\n"
if update:
    open(path, "w").write(shown + rest)
elif shown + rest != text:
    sys.exit("".join(difflib.unified_diff(text.splitlines(True), shown.splitlines(True), path, "seen", n=5)))
