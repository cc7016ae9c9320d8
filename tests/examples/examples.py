#!/usr/bin/env python3
"""The programs on the page of examples.

usage: examples.py list PAGE               their names
       examples.py split PAGE FOLDER       writes each to FOLDER/NAME.cpp; a file that is right keeps its time
       examples.py run PAGE NAME COMMAND   runs one: it must print what stands behind it on the page

A program begins with ```cpp NAME, what it prints with ```text NAME. The number of a thread may differ.
"""
import os
import re
import subprocess
import sys


def blocks(page, kind):
    with open(page, encoding="utf-8") as file:
        return dict(re.findall(rf"^```{kind} (\w+)\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL))


def without_threads(text):
    return re.sub(r":[0-9A-F]{8};", ":THREAD;", text.replace("\r", ""))


def main(command, page, *rest):
    programs = blocks(page, "cpp")
    if command == "list":
        print(";".join(programs))
    elif command == "split":
        os.makedirs(rest[0], exist_ok=True)
        for name, text in programs.items():
            path = os.path.join(rest[0], name + ".cpp")
            if not os.path.exists(path) or open(path, encoding="utf-8").read() != text:
                with open(path, "w", encoding="utf-8") as file:
                    file.write(text)
    else:
        run = subprocess.run(rest[1:], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, check=True)
        wanted = without_threads(blocks(page, "text").get(rest[0], ""))
        printed = without_threads(run.stdout.decode())
        if printed != wanted:
            sys.exit(f"{rest[0]} prints\n{printed}and the page says\n{wanted}")


main(*sys.argv[1:])
