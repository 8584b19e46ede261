#!/usr/bin/env python3
"""Runs a recorded session again and compares everything it shows, for the inside of a private appliance root.

    transcript.py [--update] [--readme] PATH FILE

A line "$ COMMAND" runs in bash, with PATH in front of the search path and "> " in front of its further lines. Below stand its
standard output and its standard error with "! " in front; "~" is an empty line, and "[N]" behind the last line an exit status
other than 0. An outcome of one line may stand behind the command, after "  => ". What follows an empty line, up to the next command, is a comment. With --readme the session is what stands
between ```console and ``` of the file, without exit statuses. --update writes what was seen into the file.
"""
import difflib
import os
import re
import subprocess
import sys


def run(command, environment, with_status):
    done = subprocess.run(["bash", "-c", command], capture_output=True, env=environment)
    out, err = (stream.decode(errors="backslashreplace") for stream in (done.stdout, done.stderr))
    lines = [line or "~" for line in out.removesuffix("\n").split("\n")] if out else []
    lines += ["! " + line for line in err.splitlines()]
    if done.returncode and with_status:
        lines = [*lines[:-1], f"{lines[-1]} [{done.returncode}]"] if lines else [f"[{done.returncode}]"]
    return lines


def replay(lines, environment, with_status):
    seen, index = [], 0
    while index < len(lines):
        if not lines[index].startswith("$ "):
            seen.append(lines[index])
            index += 1
            continue
        first, arrow, _ = lines[index][2:].partition("  => ")
        command = [first]
        index += 1
        while index < len(lines) and (lines[index] + " ").startswith("> "):
            command.append(lines[index][2:])
            index += 1
        while not arrow and index < len(lines) and lines[index] and not lines[index].startswith("$ "):
            index += 1
        outcome = run("\n".join(command), environment, with_status)
        if with_status and len(command) == len(outcome) == 1 and len(first + outcome[0]) < 150:
            seen.append(f"$ {first}  => {outcome[0]}")
        else:
            seen += ["$ " + first, *("> " + line if line else ">" for line in command[1:]), *outcome]
    return seen


def main():
    options, (search, path) = sys.argv[1:-2], sys.argv[-2:]
    assert os.environ.get("KAVEX_PRIVATE_ROOT"), "run me with scripts/appliance-root"
    tests = os.path.dirname(os.path.abspath(__file__))
    environment = dict(os.environ, PATH=f"{search}:{os.environ['PATH']}", TZ="UTC",
                       TESTS=tests, EXAMPLES=os.path.join(os.path.dirname(tests), "examples"))
    text = open(path).read()
    readme = "--readme" in options
    if readme:
        text = re.search(r"\n```console\n(.*?)```\n", text, re.S).group(1)
        subprocess.run("$EXAMPLES/make-configuration >/etc/kavex/conf/appliance.xml", shell=True, check=True, env=environment)
    expected = text.splitlines()
    assert any(line.startswith("$ ") for line in expected), f"no command in {path}"
    seen = replay(expected, environment, not readme)
    semaphores = open("/proc/sysvipc/sem").read().splitlines()[1:]
    if semaphores:
        seen.append(f"! {len(semaphores)} semaphore sets are left")
    if "--update" in options:
        open(path, "w").write("\n".join(seen) + "\n")
    elif seen != expected:
        sys.exit("\n".join(difflib.unified_diff(expected, seen, path, "seen", n=5, lineterm="")))


main()
