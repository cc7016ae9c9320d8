#!/usr/bin/env python3
"""What log calls cost the compiler and the program: prints one table, our figure over the peer's.

    compile.py [CXX]    `g++` by default

Each side is a source of 200 calls, the same texts and arguments behind the same test of a mask, built
with -O2. Seconds are the compiler's user time, the least of three runs. Bytes are what the calls add
to the code, divided by their number: the same source without the calls is taken off. Exit status 0
also where a target is missed.
"""
import os
import resource
import subprocess
import sys
import tempfile

CALLS = 200
RUNS = 3
TIE = 1.15
LIBRARY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "lib")

# The message, with {} for arguments, and the arguments: those of the library's and the program's own
# calls, from none to four.
MESSAGES = [
    ("Nothing to do in step {n}", []),
    ("Unable to create the service {n}, error code = {{}}", ["number"]),
    ("Opening '{{}}' failed in step {n}", ["name"]),
    ("request {{}} from {{}} took {{}} microseconds ({n})", ["number", "name", "count"]),
    ("Entry {n} '{{}}' has {{}} bytes, kept {{}} of {{}}", ["name", "count", "number", "number"]),
]
CONVERSIONS = {"number": "%u", "name": "%s", "count": "%zu"}

PEERS = {
    "kr": ('#include "kr.h"\n',
           lambda text, args: f"KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, {', '.join([text] + args)})"),
    "fmt": ("#include <fmt/format.h>\nextern unsigned mask;\nextern char line[512];\n",
            lambda text, args: f"if (mask & 2) fmt::format_to_n({', '.join(['line', 'sizeof line', text] + args)})"),
    "spdlog": ("#include <spdlog/spdlog.h>\nextern spdlog::logger logger;\n",
               lambda text, args: f"logger.warn({', '.join([text] + args)})"),
    "snprintf": ("#include <cstdio>\nextern unsigned mask;\nextern char line[512];\n",
                 lambda text, args: f"if (mask & 2) std::snprintf({', '.join(['line', 'sizeof line', text] + args)})"),
}
BRACES = ("fmt", "spdlog")

# work, peer, unit, target
ROWS = [("seconds to compile 200 calls", "fmt", 0, 0.35), ("seconds to compile 200 calls", "spdlog", 0, None),
        ("seconds to compile 200 calls", "snprintf", 0, None), ("bytes of code for a call", "fmt", 1, None),
        ("bytes of code for a call", "spdlog", 1, None), ("bytes of code for a call", "snprintf", 1, None)]
BYTES_TARGET = 120


def source(peer, calls):
    head, call = PEERS[peer]
    lines = ["#include <cstddef>", head]
    for n in range(CALLS):
        text, args = MESSAGES[n % len(MESSAGES)]
        text = text.format(n=n)
        if peer not in BRACES:
            for arg in args:
                text = text.replace("{}", CONVERSIONS[arg], 1)
        body = call(f'"{text}"', args) + ";" if calls else ""
        lines.append(f"void step_{n}([[maybe_unused]] const char* name, [[maybe_unused]] unsigned number,"
                     f" [[maybe_unused]] size_t count) {{ {body} }}")
    return "\n".join(lines) + "\n"


def code_bytes(path):
    """The code of all functions, those that the source instantiates too."""
    out = subprocess.run(["size", "-A", path], stdout=subprocess.PIPE, text=True, check=True).stdout
    return sum(int(line.split()[1]) for line in out.splitlines() if line.startswith(".text"))


def build(compiler, peer, calls, folder, runs):
    path = os.path.join(folder, f"{peer}.cpp")
    with open(path, "w", encoding="utf-8") as file:
        file.write(source(peer, calls))
    least = None
    for _ in range(runs):
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        subprocess.run([compiler, "-std=c++20", "-O2", "-I", LIBRARY, "-c", path, "-o", path + ".o"], check=True)
        spent = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before
        least = spent if least is None else min(least, spent)
    return least, code_bytes(path + ".o")


def main(arguments):
    if len(arguments) > 1 or any(a.startswith("-") for a in arguments):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    compiler = arguments[0] if arguments else "g++"
    figures = {}
    with tempfile.TemporaryDirectory() as folder:
        for peer in PEERS:
            try:
                seconds, with_calls = build(compiler, peer, True, folder, RUNS)
                _, without = build(compiler, peer, False, folder, 1)
            except (OSError, subprocess.CalledProcessError) as error:
                print(error, file=sys.stderr)
                return 1
            figures[peer] = (seconds, (with_calls - without) / CALLS)
    print(f"  {'work':31} {'peer':10} {'ours':>8} {'peer':>8} {'ratio':>6} {'target':>7}")
    for work, peer, unit, target in ROWS:
        ours, theirs = figures["kr"][unit], figures[peer][unit]
        shown = [f"{value:.2f}" if unit == 0 else f"{value:.0f}" for value in (ours, theirs)]
        print(f"  {work:31} {peer:10} {shown[0]:>8} {shown[1]:>8} {ours / theirs:6.2f} "
              + (f"{target:7.2f}  {verdict(ours / theirs, target)}" if target else "      -"))
    ours = figures["kr"][1]
    print(f"  {'bytes of code for a call':31} {'-':10} {ours:8.0f} {'':8} {'':6} "
          f"{BYTES_TARGET:7}  {verdict(ours, BYTES_TARGET)}")
    return 0


def verdict(value, target):
    return "met" if value <= target else "tie" if value < target * TIE else "missed"


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
