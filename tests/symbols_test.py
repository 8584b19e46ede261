#!/usr/bin/env python3
"""Compares what the library exports, what kavex.map lists and what the public headers declare.

symbols_test.py LIBRARY MAP HEADER... --sanitizers=

Also: the log function stays undefined, and no C++ run-time library is needed (not asked of builds with
sanitizers, which bring their own).
"""
import re
import subprocess
import sys

library, export_map, *headers = [argument for argument in sys.argv[1:] if argument.startswith("/")]


def readelf(option):
    return subprocess.run(["readelf", "-W", option, library], check=True, capture_output=True, text=True).stdout


def without_comments(path):
    return re.sub(r"/\*.*?\*/|#[^\n]*", "", open(path).read(), flags=re.S)


symbols = re.findall(r"(?:GLOBAL|WEAK) +\w+ +(\w+) (\w+)", readelf("--dyn-syms"))
exported = {name for place, name in symbols if place not in ("UND", "ABS")}
listed = set(re.findall(r"(\w+);", re.search(r"global:(.*?)local:", without_comments(export_map), re.S)[1]))
# Every declaration of a header begins at the margin.
declared = {name for header in headers for name in re.findall(
    r"^(?!typedef|struct|static)\w[\w *]*?(\w+)(?:\(|;|\[)", without_comments(header), re.M)}
dynamic = readelf("-d")
needed = re.findall(r"NEEDED.*\[(.*?)\]", dynamic)
problems = [f"{name}: not both exported and listed in the map" for name in sorted(exported ^ listed)]
problems += [f"{name}: not both exported and declared in a header" for name in sorted(exported ^ declared)]
problems += [] if ("UND", "kvlog") in symbols else ["kvlog: not left to the log library"]
problems += [] if re.search(r"SONAME.*\[libkavex\.so\.\d+\]", dynamic) else ["no versioned SONAME"]
if "--sanitizers=" in sys.argv:
    problems += [f"needs {name}" for name in needed if not re.match(r"(libc|libxml2|libkvsh_log|ld-linux.*)\.so", name)]
print("\n".join(problems) or f"{len(declared)} names, needing {' '.join(needed)}")
sys.exit(bool(problems))
