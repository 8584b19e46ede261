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

def help_of(*words):
    return subprocess.run([kvio, *words, "--help"], capture_output=True, text=True, check=True).stdout


# The verbs and their arguments; the options.
page = open(kvio_page).read()
described = {re.sub(r"\bAr ", "", line).replace("\\-", "-") for line in re.findall(r"^\.It Cm (.*)", page.split(".Ss Options")[0], re.M)}
described |= {name.replace("\\-", "-") for name in re.findall(r"^\.It Fl \w , Fl \\-(\S+)", page, re.M)}
helps = [help_of(*verb.split()) for verb in re.findall(r"^  ((?:attr |lock |user )?[a-z-]+)(?=  | [a-z])", help_of(), re.M)]
known = {re.sub(r"\[--[^]]*\] ?", "", " ".join(re.search(r"^Usage: kvio (.*?)\n\n", text, re.S)[1].split())).strip() for text in helps}
known |= {name for text in [*helps, help_of()] for name in re.findall(r"^  -\w, --([a-z-]+)", text, re.M)}
faults += [f"{kvio_page}: {name} is not described" for name in sorted(known - described)]
faults += [f"{kvio_page}: there is no {name}" for name in sorted(described - known)]

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
