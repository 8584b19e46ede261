#!/usr/bin/env python3
"""Compares the manual pages with what is exported and with the command, and lets mandoc(1) and groff(1) read them.

    check_manuals.py EXPORT_LIST KVIO KVIO_PAGE PAGE...
"""
import re
import shutil
import subprocess
import sys

export_list, kvio, kvio_page, *others = sys.argv[1:]
faults = []

exported = set(re.findall(r"^\s*(\w+);", open(export_list).read(), re.M))
sections3 = [page for page in others if page.endswith(".3")]
for page in sections3:
    text = open(page).read()
    named = set(re.findall(r"^\.Nm (\w+)", text, re.M)) - {re.search(r"(kavex_\w+)\.3", page).group(1)}
    described = {name for name in named if re.search(rf"^[\w #].*\b{name}\b.*[;,]$|^[\w #].*\b{name}\(", text, re.M)}
    faults += [f"{page}: {name} is named, not described" for name in sorted(named - described)]
    faults += [f"{page}: {name} is not exported" for name in sorted(named - exported)]
    exported -= named
if sections3:
    faults += [f"{name} is in no page of section 3" for name in sorted(exported)]

def plain(line):
    """A line of mdoc(7) as kvio --help has it."""
    line = re.sub(r"Oo Fl \\-(\S+)(?: Ar (\S+))? Oc", lambda found: f"[--{found[1]}{' ' + found[2] if found[2] else ''}]", line)
    return re.sub(r"\bAr ", "", line).replace("\\-", "-")


def help_of(*words):
    return subprocess.run([kvio, *words, "--help"], capture_output=True, text=True, check=True).stdout


described = {plain(line) for line in re.findall(r"^\.It Cm (.*)", open(kvio_page).read(), re.M)}
verbs = re.findall(r"^  ((?:attr |lock |user )?[a-z-]+)(?=  | [a-z])", help_of().split("Options of all")[0], re.M)
usages = {" ".join(re.search(r"^Usage: kvio (.*?)\n\n", help_of(*verb.split()), re.S)[1].split()) for verb in verbs}
faults += [f"{kvio_page}: kvio {usage} is not described" for usage in sorted(usages - described)]
faults += [f"{kvio_page}: there is no kvio {usage}" for usage in sorted(described - usages)]

for page in [kvio_page, *others]:
    if shutil.which("mandoc"):
        said = subprocess.run(["mandoc", "-Tlint", page], capture_output=True, text=True).stdout
        faults += [line for line in said.splitlines() if "referenced manual not found" not in line]
    if shutil.which("groff"):
        said = subprocess.run(["groff", "-ww", "-mdoc", "-Tutf8", "-z", page], capture_output=True, text=True).stderr
        faults += said.splitlines()
if not faults and not shutil.which("mandoc") and not shutil.which("groff"):
    print("neither mandoc nor groff is installed: not checked for mistakes in the markup")
sys.exit("\n".join(faults) or 0)
