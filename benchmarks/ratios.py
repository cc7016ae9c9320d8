#!/usr/bin/env python3
"""Runs the benchmarks of a build directory and prints one table: our time over the peer's.

    ratios.py BUILD [WORD]         BUILD/benchmarks/*_bench; only the rows that hold WORD
    ratios.py BUILD --chart FILE   all rows, and a picture of those with a peer

Both sides of a row run in one process, one after the other in random order, several times; the least
time of each counts. Exit status 0 even where a target is missed: a target is a thing to look at, and
a machine with other work on it has its own opinion.
"""
import json
import os
import re
import subprocess
import sys

import chart

REPETITIONS = 7
SECONDS = 0.05  # each repetition measures for that long
TIE = 1.15      # a gap below 15 % is a tie


def ratio(work, program, ours, peer, peer_name, target=None):
    return (work, program, peer_name, [ours], [peer], 1.0, target)


def growth(work, program, name, small, large, target):
    """Time per item at `large` items over that at `small`."""
    return (work, program, f"itself, {small:,} items", [f"{name}/{large}"], [f"{name}/{small}"],
            small / large, target)


def growth_beside(work, program, ours, peer, peer_name, small, large, target):
    """How much faster our time grows between two sizes than the peer's."""
    return (work, program, f"growth of {peer_name}", [f"{ours}/{large}", f"{peer}/{small}"],
            [f"{ours}/{small}", f"{peer}/{large}"], 1.0, target)


def rows():
    text = "wide_string_bench"
    for size, target in ((20, 0.4), (100, 0.2), (4000, 0.15)):
        yield ratio(f"length, {size} characters", text, f"length_kr/{size}",
                    f"length_char_traits/{size}", "char_traits", target)
    yield ratio("compare, 100 characters", text, "compare_kr/100", "compare_loop/100", "loop", 0.4)
    yield ratio("find character in 100", text, "find_char_kr/100", "find_char_loop/100", "loop", 0.4)
    for peer, name, target in (("towlower", "loop over towlower", 0.5), ("icu", "ICU", None)):
        yield ratio("compare without case, 100", text, "compare_nocase_kr/100",
                    f"compare_nocase_{peer}/100", name, target)
    convert = "convert_bench"
    yield ratio("ASCII to wide, 100", convert, "ascii_to_wide_kr/100", "ascii_to_wide_plain_loop/100",
                "loop", 0.4)
    yield ratio("wide to ASCII, 100", convert, "wide_to_ascii_kr/100", "wide_to_ascii_plain_loop/100",
                "loop", 0.4)
    for digits in (1, 5, 10, 20):
        yield ratio(f"u64 from text of {digits}", convert, f"u64_from_narrow_kr/{digits}",
                    f"u64_from_narrow_from_chars/{digits}", "from_chars", 1.0)
    for digits, target in ((1, 0.4), (5, 0.4), (10, 0.5), (18, 0.5)):
        yield ratio(f"u64 from wide text of {digits}", convert, f"u64_from_wide_kr/{digits}",
                    f"u64_from_wide_wcstoull/{digits}", "wcstoull", target)
    for digits, chars, fmt in ((1, 1.25, 1.4), (5, 0.9, 1.0), (10, 0.7, 1.0), (20, 0.5, 1.0)):
        for peer, target in (("to_chars", chars), ("format_int", fmt)):
            yield ratio(f"u64 to text of {digits}", convert, f"u64_to_narrow_kr/{digits}",
                        f"u64_to_narrow_{peer}/{digits}", peer, target)
    for script, kind in (("ascii", "ASCII"), ("two_bytes", "2 bytes"), ("three_bytes", "3 bytes")):
        for size in (120, 4000):
            for peer, target in (("iconv", 0.2), ("icu", 0.7)):
                yield ratio(f"UTF-8, {size} letters, {kind}", convert,
                            f"utf8_kr<script::{script}>/{size}",
                            f"utf8_{peer}<script::{script}>/{size}", "ICU" if peer == "icu" else peer,
                            target)
    yield ratio("64 KiB of zeros", "memory_bench", "is_zero_kr/65536", "is_zero_memcmp/65536",
                "memcmp", 1.3)

    peers = ("fmt", "snprintf", "swprintf", "stb")
    for work, name, targets in (("log line, 123 characters", "log_line", (0.28, 0.45, 0.22, 0.42)),
                                ("a log line unlike that", "other_line", (0.42, 0.35, 0.35, 0.45)),
                                ("text + %u", "text_u", (0.85, 0.5, 0.3, 0.55)),
                                ("%08X", "hex", (0.7, 0.45, 0.35, 0.8)),
                                ("%llu of 2^64-1", "llu", (1.0, 0.45, 0.4, 0.8)),
                                ("measuring the log line", "measure", (0.6, 0.4, None, 0.6))):
        for peer, target in zip(peers, targets):
            if target:
                yield ratio(work, "printf_bench", f"{name}/kr", f"{name}/{peer}", peer, target)
    yield ratio("%p", "printf_bench", "pointer/kr", "pointer/snprintf", "snprintf")
    yield ratio("Result is %_r (%_z)", "printf_bench", "result/kr", "result/snprintf", "snprintf", 0.6)
    yield ratio("text of a result", "printf_bench", "describe/kr", "describe/strerror", "strerror",
                0.4)

    for peer, target in (("spdlog", 0.8), ("write", None), ("fprintf", None)):
        yield ratio("line written through", "log_bench", "line_written_through/kr",
                    f"line_written_through/{peer}", peer, target)
    yield ratio("line written through", "log_bench", "line_written_through/kr", "line_made_then_write/kr",
                "made, bare write", 1.1)
    yield ratio("line made, bare write", "log_bench", "line_made_then_write/kr",
                "line_written_through/write", "write")
    yield ratio("line to a counting sink", "log_bench", "line_to_counter/kr",
                "line_to_counter/spdlog", "spdlog", 0.4)
    two = "/real_time/threads:2"
    yield ratio("the same, two threads (lock)", "log_bench", f"line_to_counter_threads/kr{two}",
                f"line_to_counter_threads/spdlog{two}", "spdlog", 0.5)
    yield ratio("the same, no lock", "log_bench", "line_unlocked/kr", "line_unlocked/spdlog",
                "spdlog", 0.4)
    for threads in (2, 4, 8):
        yield ratio(f"the same, {threads} threads", "log_bench",
                    f"line_to_counter_threads/kr/real_time/threads:{threads}",
                    "line_to_counter_threads/kr/real_time/threads:1", "itself, 1 thread", 2.0)
    yield ratio("disabled line", "log_bench", "disabled_line/kr", "disabled_line/loop",
                "load + test", 1.5)

    settings = "settings_bench"
    yield growth("log settings, 10,000 entries", settings, "read_log_group", 10, 10_000, 1.5)
    yield growth("enumerate 100,000 entries", settings, "enumerate_entries", 1_000, 100_000, 1.5)
    yield growth("parse 100,000 strings", settings, "parse_multi_string", 1_000, 100_000, 1.5)
    yield growth("compose 100,000 strings", settings, "compose_multi_string", 1_000, 100_000, 1.5)
    yield growth("make 40,000 falling groups", settings, "make_groups", 1_000, 40_000, 1.5)
    standard = "u16string in a vector"
    for work, name, target in (("enumerate 1,000 entries", "enumerate_entries/1000", 1.0),
                               ("parse 1,000 strings", "parse_multi_string/1000", 0.8),
                               ("parse 1,000,000 strings", "parse_multi_string/1000000", 0.8),
                               ("compose 1,000 strings", "compose_multi_string/1000", 0.8),
                               ("compose 1,000,000 strings", "compose_multi_string/1000000", 0.8)):
        yield ratio(work, settings, name, name.replace("/", "_std/"), standard, target)
    yield ratio("enumerate: calls and blocks alone", settings, "enumerate_entries_floor/1000",
                "enumerate_entries_std/1000", standard)
    yield ratio("typed read", settings, "typed_read", "typed_read_std", "u16string, stoul", 1.0)
    yield ratio("typed read: two queries alone", settings, "typed_read_two_queries",
                "typed_read_std", "u16string, stoul")

    pools = "mempool_bench"
    one = "/real_time"
    for work, threads, target in (("pool: take and give", one, 0.95),
                                  ("the same, two threads (lock)", two, 1.0)):
        yield ratio(work, pools, f"pair_kr{threads}", f"pair_boost{threads}", "boost + mutex", target)
    for size, target in ((1_000, 0.95), (10_000, 0.95), (100_000, 1.0), (1_000_000, 1.0)):
        yield ratio(f"free {size:,} in random order", pools, f"random_frees_kr/{size}",
                    f"random_frees_boost/{size}", "boost + mutex", target)
    for small, large in ((1_000, 10_000), (10_000, 100_000), (100_000, 1_000_000)):
        yield growth_beside(f"free {large:,} after {small:,}", pools, "random_frees_kr",
                            "random_frees_malloc", "malloc", small, large, 1.0)
    eight = "/real_time/threads:8"
    yield ratio("pool: 8 threads (lock)", pools, f"pair_kr{eight}", f"pair_kr{one}", "itself, one thread", 2.0)
    vectors = "memvec_bench"
    yield growth("vector: write and read chunks", vectors, "write_read", 16, 1_000, 2.0)
    yield ratio("vectors by 8 threads (lock)", vectors, f"make_and_end{eight}",
                "make_and_end/real_time/threads:1", "itself, one thread", 2.0)
    yield ratio("pool: take and give, no lock", "mempool_alone_bench", "alone_kr", "alone_boost", "boost")


def measure(build, program, names):
    """The least time of every benchmark named, in nanoseconds."""
    pattern = "^(" + "|".join(re.escape(name) for name in sorted(names)) + ")$"
    run = subprocess.run(
        [os.path.join(build, "benchmarks", program), f"--benchmark_filter={pattern}",
         "--benchmark_format=json", f"--benchmark_repetitions={REPETITIONS}",
         f"--benchmark_min_time={SECONDS}", "--benchmark_enable_random_interleaving=true"],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if run.returncode != 0:
        raise RuntimeError(f"{program} ended with {run.returncode}:\n{run.stderr}")
    nanoseconds = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
    times = {}
    for entry in json.loads(run.stdout)["benchmarks"]:
        if entry["run_type"] == "iteration" and not entry.get("error_occurred"):
            # Other work on the machine stretches real time; threads can only be timed by it.
            clock = "real_time" if "/real_time" in entry["run_name"] else "cpu_time"
            time = entry[clock] * nanoseconds[entry["time_unit"]]
            times[entry["run_name"]] = min(time, times.get(entry["run_name"], time))
    missing = sorted(names - times.keys())
    if missing:
        raise RuntimeError(f"{program} has no benchmark {', '.join(missing)}: mend the table in "
                           f"{os.path.basename(__file__)}")
    return times


def main(arguments):
    picture = None
    if len(arguments) == 3 and arguments[1] == "--chart":
        picture = arguments.pop()
        arguments.pop()
    if len(arguments) not in (1, 2):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    word = arguments[1] if len(arguments) == 2 else ""
    table = [row for row in rows() if word in " ".join(row[:3])]
    if not table:
        print(f"No row holds '{word}'.", file=sys.stderr)
        return 2
    colours = {"met": "32", "tie": "33", "missed": "31"} if sys.stdout.isatty() else {}
    counts = {"met": 0, "tie": 0, "missed": 0}
    times, measured, drawn = {}, set(), []
    print(f"  {'work':31} {'peer':24} {'ours/peer':>9} {'target':>7}")
    for work, program, peer, over, under, factor, target in table:
        if program not in measured:
            measured.add(program)
            names = {name for row in table if row[1] == program for name in row[3] + row[4]}
            try:
                times = measure(arguments[0], program, names)
            except (RuntimeError, OSError) as error:
                print(error, file=sys.stderr)
                return 1
        value = factor
        for name in over:
            value *= times[name]
        for name in under:
            value /= times[name]
        if len(over) == len(under) == 1 and not peer.startswith("itself"):
            drawn.append((work, peer, value))
        line = f"  {work:31} {peer:24} {value:9.2f} "
        if target is None:
            print(line.rstrip() + "       -")
            continue
        verdict = "met" if value <= target else "tie" if value < target * TIE else "missed"
        counts[verdict] += 1
        colour = colours.get(verdict)
        print(line + f"{target:7.2f}  " + (f"\x1b[{colour}m{verdict}\x1b[0m" if colour else verdict),
              flush=True)
    if picture:
        with open(picture, "w", encoding="utf-8") as file:
            file.write(chart.draw(drawn))
    print("Targets: " + ", ".join(f"{count} {verdict}" for verdict, count in counts.items()) + ".")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
