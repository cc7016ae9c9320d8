#!/usr/bin/env python3
"""Writes to the file named a row for every public operation that returns a result and takes a pointer or
a handle, so that the table of null arguments is complete by construction."""
import os
import re
import subprocess
import sys

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))

graph = [sys.executable, os.path.join(ROOT, "tools", "scripts", "include_graph.py"), "--public"]
rows = set()
for header in subprocess.run(graph, capture_output=True, text=True, check=True).stdout.split():
    with open(os.path.join(ROOT, header), encoding="utf-8") as file:
        code = re.sub(r"//.*", "", file.read())
    # What is made of a template is the operation behind it with more checks.
    code = re.sub(r"\btemplate\s*<[^;{]*[;{]", "", code)
    for name, parameters in re.findall(r"\bkr_result\s+(kr_\w+)\s*\(([^;{]*)\)\s*[;{]", code):
        if re.search(r"\*|handle", parameters):
            rows.add(f'refuses("{name}", {name});\n')
if len(rows) < 100:
    sys.exit(f"{len(rows)} operations only")
with open(sys.argv[1], "w", encoding="utf-8") as file:
    file.writelines(sorted(rows))
