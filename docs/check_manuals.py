#!/usr/bin/env python3
"""Compares the manual page of the command with the command itself, and checks the pages with mandoc(1).

    check_manuals.py KVIO KVIO_PAGE PAGE...
"""
import re
import shutil
import subprocess
import sys

kvio, kvio_page, *others = sys.argv[1:]
faults = []


def help_of(*words):
    return subprocess.run([kvio, *words, "--help"], capture_output=True, text=True, check=True).stdout


# The verbs and their arguments; the options.
page = open(kvio_page).read()
described = {re.sub(r"\bAr ", "", line).replace("\\-", "-") for line in re.findall(r"^\.It Cm (.*)", page.split(".Ss Options")[0], re.M)}
described |= {name.replace("\\-", "-") for name in re.findall(r"^\.It Fl \w , Fl \\-(\S+)", page, re.M)}
helps = [help_of(*verb.split()) for verb in re.findall(r"^  ((?:attr |lock |user )?[a-z-]+)(?=  | [a-z])", help_of(), re.M)]
known = {re.search(r"^Usage: kvio (.*)", text)[1].replace(" [OPTION]...", "") for text in helps}
known |= {name for text in [*helps, help_of()] for name in re.findall(r"^  -\w, --([a-z-]+)", text, re.M)}
faults += [f"{kvio_page}: {name} is not described" for name in sorted(known - described)]
faults += [f"{kvio_page}: there is no {name}" for name in sorted(described - known)]

if shutil.which("mandoc"):
    report = subprocess.run(["mandoc", "-Tlint", kvio_page, *others], capture_output=True, text=True).stdout
    faults += [line for line in report.splitlines() if "referenced manual not found" not in line]
sys.exit("\n".join(faults) or 0)
