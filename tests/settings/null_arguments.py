#!/usr/bin/env python3
"""Holds the rows of null_arguments_test.cpp against the public headers: each operation that returns a
result and takes a pointer must be named there."""
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))

graph = os.path.join(ROOT, "tools", "scripts", "include_graph.py")
headers = subprocess.run([sys.executable, graph, "--public"], capture_output=True, text=True,
                         check=True).stdout.split()
with open(os.path.join(HERE, "null_arguments_test.cpp"), encoding="utf-8") as file:
    rows = set(re.findall(r"\bkr_\w+(?=[,()])", file.read()))
operations = {}
for header in headers:
    with open(os.path.join(ROOT, header), encoding="utf-8") as file:
        code = re.sub(r"//.*", "", file.read())
    for name, parameters in re.findall(r"\bkr_result\s+(kr_\w+)\s*\(([^;{]*)\)\s*[;{]", code):
        if "*" in parameters or "handle" in parameters:
            operations[name] = header
missing = sorted(set(operations) - rows)
for name in missing:
    print(f"{operations[name]}: {name} has no row in null_arguments_test.cpp")
print(f"{len(operations)} operations, {len(missing)} without a row")
sys.exit(1 if missing or len(operations) < 100 else 0)
