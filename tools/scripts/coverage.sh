#!/bin/bash
# Which lines the host suite never runs: see usage below.
set -u
cd "$(dirname "$0")/../.." || exit 2
source tools/scripts/common.sh
help_only 'usage: tools/scripts/coverage.sh

Builds the host suite with coverage counters in build/coverage, runs it, and prints for every file of
lib/ and tools/ how much of it ran and which lines never did. Lines that only Windows or a crash reaches
count as never run. Exit status 2 when a test failed.' "$@"
begin coverage

echo "${bold}loadprobe: coverage of the host suite$plain"
need "${build_packages[@]}" python3=python3 pkg-config=pkg-config
started=$SECONDS
instrumented() {
  cmake -S . -B build/coverage -G Ninja --fresh -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_FLAGS='--coverage -fprofile-update=atomic -fprofile-abs-path' &&
    cmake --build build/coverage
}
work instrumented >"$logs/build.log" 2>&1 || {
  tail -n 20 "$logs/build.log" >&2
  die "The build failed: all of it is in $logs/build.log."
}
row build "build/coverage, $((SECONDS - started)) s"

# Counts of an earlier run would be added to.
find build/coverage -name '*.gcda' -delete
work ctest --test-dir build/coverage -LE compile -E '^(floors|package)$' >"$logs/suite.log" 2>&1
suite=$?
row suite "$(grep 'tests passed' "$logs/suite.log")"
python3 tools/scripts/coverage_table.py build/coverage || exit
[ $suite -eq 0 ] || die "Tests failed, so the table is not the whole truth: see $logs/suite.log."
