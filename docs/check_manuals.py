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

verbs = subprocess.run([kvio, "--manual"], capture_output=True, text=True, check=True).stdout
if verbs not in open(kvio_page).read():
    faults.append(f"{kvio_page}: the verbs differ from those of kvio --manual")
helped = subprocess.run([kvio, "--help"], capture_output=True, text=True, check=True).stdout
for verb in re.findall(r"^\.It Cm ((?:\w|\\-)+(?: \w+)?)(?= Oo| Ar|$)", verbs, re.M):
    words = verb.replace("\\-", "-").split()
    if subprocess.run([kvio, *words, "--help"], capture_output=True).returncode != 0 or f"  {' '.join(words)} " not in helped:
        faults.append(f"kvio {' '.join(words)} --help fails")

if shutil.which("mandoc"):
    report = subprocess.run(["mandoc", "-Tlint", kvio_page, *others], capture_output=True, text=True).stdout
    faults += [line for line in report.splitlines() if "referenced manual not found" not in line]
sys.exit("\n".join(faults) or 0)
