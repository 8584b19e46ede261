#!/usr/bin/env python3
"""Input filter of Doxygen: where one comment describes several functions, gives it to each of them.

The headers say once what holds for functions that stand together. Doxygen takes a comment for the first one's alone.
Lines keep their numbers.
"""
import re
import sys

described = None  # the function that stands directly behind a comment
group = None      # the title of the group, whose comment is all there is for some of its functions
for line in open(sys.argv[1]):
    title = re.match(r" \* @name (.*)", line)
    if title:
        group = title.group(1)
    opens, closes = "@{" in line, "@}" in line
    declaration = re.match(r"(?=\w).*?\b(\w+)\(.*", line)
    if opens or closes:
        described = None
        group = group if opens else None
    elif line.rstrip().endswith("*/"):
        described = ""
    elif not line.strip() or line.startswith("#"):
        described = None
    elif declaration and described == "":
        described = declaration.group(1)
    elif declaration and described:
        line = f"/** @copydoc {described}() */ {line}"
    elif declaration and group:
        line = f'/** See "{group}" above. */ {line}'
    elif declaration is None and not line.startswith(" ") and described == "":
        described = None
    sys.stdout.write(line)
