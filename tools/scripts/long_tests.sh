#!/bin/bash
# Runs the fuzzers and the thread tests for longer than ./test does: see usage below.
set -u
cd "$(dirname "$0")/../.." || exit 2
source tools/scripts/common.sh

usage() {
  cat <<'EOF'
usage: tools/scripts/long_tests.sh [MINUTES [WORD]]

Every fuzz target, and then the thread tests under the thread sanitizer over and over, for MINUTES
each (10 unless given; 0.1 is a fair try). Then, whatever the MINUTES, the trials of the log: killed
while it logs, a full disk, switches of destinations, a million lines of 8 threads; and "kills" once:
the program under Wine, killed before each of its calls. With WORD only those whose name holds it.
Says how long each ran and what it found. Exit status 2 when one found something: the input, or the
log of the run, lies in build/long.
EOF
}

case "${1:-}" in
  --help | -h)
    usage
    exit 0
    ;;
esac
minutes=${1:-10} word=${2:-}
if ! [[ $minutes =~ ^[0-9]+(\.[0-9]+)?$ ]] || [ $# -gt 2 ]; then
  usage >&2
  exit 2
fi
seconds=$(awk "BEGIN { print int($minutes * 60) }")
[ "$seconds" -gt 0 ] || die "$minutes minutes are less than a second."
begin long
found=0

# say NAME STARTED TEXT STATUS: a result as a row.
say() {
  local colour=$green
  [ "$4" -eq 0 ] || colour=$red found=$((found + 1))
  printf '  %-22s %5s s  %s%s%s\n' "$1" $((SECONDS - $2)) "$colour" "$3" "$plain"
}

# fuzz NAME: from the committed seeds and from what earlier runs found.
fuzz() {
  local name=$1 started=$SECONDS status=0 seeds=() runs
  [ ! -d "fuzz/corpus/$name" ] || seeds=("fuzz/corpus/$name")
  mkdir -p "$logs/corpus/$name"
  work "build/host-fuzz/fuzz/$name" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$logs/$name-" "$logs/corpus/$name" "${seeds[@]}" \
    >"$logs/$name.log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$logs/$name.log")
  if [ $status -eq 0 ]; then
    say "$name" "$started" "nothing found in ${runs:-?} inputs" 0
  else
    say "$name" "$started" "FOUND something, see $logs/$name.log" 1
  fi
}

# threads AREA FILTER: runs the tests again and again; the first failure ends it.
threads() {
  local name=$1_threads started=$SECONDS end=$((SECONDS + seconds)) rounds=0
  while [ $SECONDS -lt $end ] || [ $rounds -eq 0 ]; do
    if ! work timeout --foreground 600 "build/host-tsan/tests/kr_$1_tests" --gtest_filter="$2" \
      >"$logs/$name.log" 2>&1; then
      say "$name" "$started" "FOUND something in round $((rounds + 1)), see $logs/$name.log" 1
      return
    fi
    # A filter that fits no test would be satisfied for ever.
    if grep -q '^\[  PASSED  \] 0 tests' "$logs/$name.log"; then
      say "$name" "$started" "no test is called $2" 1
      return
    fi
    rounds=$((rounds + 1))
  done
  say "$name" "$started" "nothing found in $rounds rounds" 0
}

# log_trial NAME ROUNDS FILTER: tests of the log as the product has it, without sanitizers.
log_trial() {
  local started=$SECONDS
  if work timeout --foreground 1200 build/host/tests/kr_log_tests --gtest_filter="$3" \
    --gtest_repeat="$2" --gtest_throw_on_failure >"$logs/$1.log" 2>&1 &&
    [ "$(grep -c '^\[  PASSED  \] [1-9]' "$logs/$1.log")" -eq "$2" ]; then
    say "$1" "$started" "nothing found in $2 rounds" 0
  else
    say "$1" "$started" "FOUND something, see $logs/$1.log" 1
  fi
}

# kills: the trial of that name, in the session of the tests under Wine.
kills() {
  local started=$SECONDS status=0 session=(tools/scripts/wine_session.sh)
  { work "${session[@]}" start "$PWD/build/windows/prefix" &&
    work tests/e2e/kill_trial.sh "$PWD/build/windows"; } >"$logs/kills.log" 2>&1 || status=1
  work "${session[@]}" stop "$PWD/build/windows/prefix" >>"$logs/kills.log" 2>&1
  if [ $status -eq 0 ]; then
    say kills "$started" "nothing found before $(grep -c 'killed before it' "$logs/kills.log") calls" 0
  else
    say kills "$started" "FOUND something, see $logs/kills.log" 1
  fi
}

echo "${bold}loadprobe: long tests, $minutes minutes each$plain"
need "${build_packages[@]}" "${wine_packages[@]}" python3=python3 pkg-config=pkg-config clang++-14=clang-14 \
  llvm-symbolizer-14=llvm-14 /usr/lib/llvm-14/lib/clang/14.0.6/lib/linux=libclang-rt-14-dev
fuzzers=()
for source in fuzz/*_fuzz.cpp; do
  name=$(basename "$source" .cpp)
  [[ $name != *"$word"* ]] || fuzzers+=("$name")
done
areas=()
for area in base log; do
  [[ ${area}_threads != *"$word"* ]] || areas+=("$area")
done
log_trials=()
for row in log_killed:40:'*SurvivesAKill*' log_full_disk:40:'*TheFullDisk*' \
  log_switches:40:'*SwitchesKeep*' log_million_lines:1:'*EveryLineIsWhole*'; do
  [[ ${row%%:*} != *"$word"* ]] || log_trials+=("$row")
done
trials=()
[[ kills != *"$word"* ]] || trials+=(kills)
all=$((${#fuzzers[@]} + ${#areas[@]} + ${#log_trials[@]} + ${#trials[@]}))
[ $all -gt 0 ] || die "Nothing is called $word."

[ ${#fuzzers[@]} -eq 0 ] || build host-fuzz "${fuzzers[@]}"
targets=()
for area in "${areas[@]}"; do targets+=("kr_${area}_tests"); done
[ ${#areas[@]} -eq 0 ] || build host-tsan "${targets[@]}"
for name in "${fuzzers[@]}"; do fuzz "$name"; done
for area in "${areas[@]}"; do threads "$area" '*Thread*:*Mutex*'; done
[ ${#log_trials[@]} -eq 0 ] || build host kr_log_tests
export KR_TEST_LINES=125000 # of each thread
for row in "${log_trials[@]}"; do
  IFS=: read -r name rounds filter <<<"$row"
  log_trial "$name" "$rounds" "$filter"
done
if [ ${#trials[@]} -gt 0 ]; then
  build windows loadprobe debugrun
  kills
fi
[ $found -eq 0 ] || die "$found of $all found something."
