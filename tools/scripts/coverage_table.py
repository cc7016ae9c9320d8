#!/usr/bin/env python3
"""coverage_table.py BUILD: what the counters of a build with --coverage say of lib/ and tools/.

A line ran when it ran in any of the programs that hold it. The compiler's own choices show: a line
without code of its own is not counted.
"""
import json
import os
import subprocess
import sys


def ranges(numbers):
    """[1, 2, 3, 7] as "1-3 7"."""
    out = []
    for number in numbers:
        if out and number == out[-1][1] + 1:
            out[-1][1] = number
        else:
            out.append([number, number])
    return " ".join(str(a) if a == b else f"{a}-{b}" for a, b in out)


def read_counts(build, root):
    """For every file the count of each line, the largest of all objects that hold the line."""
    notes = [os.path.join(folder, name) for folder, _, names in os.walk(os.path.abspath(build))
             for name in names if name.endswith(".gcno") and "googletest" not in folder]
    counts = {}
    for start in range(0, len(notes), 50):
        run = subprocess.run(["gcov", "--json-format", "--stdout", *sorted(notes)[start:start + 50]],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
        for document in run.stdout.splitlines():
            for file in json.loads(document)["files"]:
                path = os.path.relpath(os.path.join(root, file["file"]), root)
                if path.split(os.sep)[0] in ("lib", "tools"):
                    lines = counts.setdefault(path, {})
                    for line in file["lines"]:
                        number = line["line_number"]
                        lines[number] = max(lines.get(number, 0), line["count"])
    return counts


def main(arguments):
    if len(arguments) != 1:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    root = os.getcwd()
    counts = {path: lines for path, lines in read_counts(arguments[0], root).items() if lines}
    if not counts:
        print(f"{arguments[0]} holds no counters", file=sys.stderr)
        return 1
    print(f"  {'file':44} {'lines':>5} {'ran':>7}  never ran")
    total, total_ran = 0, 0
    for path in sorted(counts):
        lines = counts[path]
        never = [number for number in sorted(lines) if lines[number] == 0]
        ran = len(lines) - len(never)
        total, total_ran = total + len(lines), total_ran + ran
        print(f"  {path:44} {len(lines):5} {100 * ran / len(lines):6.1f}%  {ranges(never)}".rstrip())
    print(f"  {'all':44} {total:5} {100 * total_ran / total:6.1f}%")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
