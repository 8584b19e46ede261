#!/usr/bin/env python3
"""Compares what the library exports, what kavex.map lists and what the public headers declare.

symbols_test.py LIBRARY MAP HEADER... [--any-needed]

Also: the log function stays undefined, and no C++ run-time library is needed (not asked with --any-needed, for
sanitizer builds, which bring their own).
"""
import re
import subprocess
import sys


def readelf(*arguments):
    return subprocess.run(["readelf", "-W", *arguments], check=True, capture_output=True, text=True).stdout


def dynamic_symbols(library):
    """Two sets: the names the library defines, the names it expects from others."""
    defined, undefined = set(), set()
    for line in readelf("--dyn-syms", library).splitlines():
        row = line.split()
        if len(row) < 8 or row[4] not in ("GLOBAL", "WEAK") or row[6] == "ABS":
            continue
        (undefined if row[6] == "UND" else defined).add(row[7].split("@")[0])
    return defined, undefined


def listed(path):
    text = re.sub(r"#.*", "", open(path).read())
    return set(re.findall(r"([^\s;]+)\s*;", re.search(r"global:(.*?)local:", text, re.S).group(1)))


def declared(path):
    text = re.sub(r"/\*.*?\*/|//[^\n]*", " ", open(path).read(), flags=re.S)
    text = re.sub(r"\\\n", " ", text)
    text = re.sub(r"^[ \t]*#.*$", "", text, flags=re.M)
    text = re.sub(r'extern\s+"C"\s*\{', "", text)
    text = re.sub(r"static inline[^{;]*(?=\{)", "", text)
    while re.search(r"\{[^{}]*\}", text):
        text = re.sub(r"\{[^{}]*\}", "", text)
    text = re.sub(r"__attribute__\s*\(\((?:[^()]|\([^()]*\))*\)\)", "", text)
    names = set()
    for statement in text.split(";"):
        statement = " ".join(statement.replace("}", "").split())
        if not statement or re.match(r"(typedef|static)\b", statement):
            continue
        function = re.match(r"[^(]*?(\w+)\s*\(", statement)
        data = re.match(r"extern\b.*?(\w+)\s*(\[[^]]*\]\s*)*$", statement)
        if function or data:
            names.add((function or data).group(1))
        elif not re.match(r"(struct|union|enum)\b\s*\w*$", statement):
            sys.exit(f"{path}: cannot read the declaration: {statement}")
    return names


def main(library, export_map, headers, any_needed):
    problems = []

    def compare(what, names, other, others):
        problems.extend(f"{name}: {what}, but not {other}" for name in sorted(names - others))

    exported, undefined = dynamic_symbols(library)
    declarations = set().union(*(declared(header) for header in headers))
    compare("exported", exported, "listed in the map", listed(export_map))
    compare("listed in the map", listed(export_map), "exported", exported)
    compare("exported", exported, "declared in a header", declarations)
    compare("declared in a header", declarations, "exported", exported)

    if "kvlog" not in undefined:
        problems.append("kvlog: not left to the log library")
    dynamic = readelf("-d", library)
    if not re.search(r"SONAME.*\[libkavex\.so\.\d+\]", dynamic):
        problems.append("no versioned SONAME")
    needed = re.findall(r"NEEDED.*\[(.*?)\]", dynamic)
    if not any_needed:
        problems.extend(f"needs {name}" for name in needed
                        if not re.match(r"(libc|libxml2|libkvsh_log|ld-linux.*)\.so", name))
    print("\n".join(problems) or f"{len(declarations)} names, needing {' '.join(needed)}")
    return bool(problems)


if __name__ == "__main__":
    arguments = [argument for argument in sys.argv[1:] if argument != "--any-needed"]
    sys.exit(main(arguments[0], arguments[1], arguments[2:], "--any-needed" in sys.argv))
