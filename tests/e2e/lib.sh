# What the end-to-end tests share. Sourced by bash; under Wine BUILD is the build directory of the
# windows preset, whose session must be running.

source "$(dirname "${BASH_SOURCE[0]}")/../../tools/scripts/common.sh"
[ -z "${BUILD:-}" ] || use_prefix "$BUILD/prefix"
work=$(mktemp -d) || die "No temporary folder in ${TMPDIR:-/tmp}: is the disk full?"
trap 'rm -rf "$work"' EXIT
failures=0

# check WHAT ACTUAL EXPECTED
check() {
  if [ "$2" = "$3" ]; then
    echo "ok    $1"
  else
    printf 'FAIL  %s\n  is:       %s\n  expected: %s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
  fi
}

# passes WHAT COMMAND...: whether a command succeeds; what it says is shown when it does not.
passes() {
  local code=0
  "${@:2}" >"$work/log" 2>&1 || code=$?
  check "$1" "$code" 0
  [ "$code" -eq 0 ] || tail -n 20 "$work/log"
}

# finish: the test's exit status.
finish() {
  [ "$failures" -eq 0 ] || echo "$failures checks failed"
  exit $((failures != 0))
}

# fresh: no stored verdict, no settings, no service, no file, an empty driver log.
fresh() {
  wine reg delete 'HKLM\SOFTWARE\Korinth' /f >/dev/null 2>&1
  wine sc stop krdummy >/dev/null 2>&1
  wine sc delete krdummy >/dev/null 2>&1
  rm -f "$WINEPREFIX/drive_c/windows/system32/drivers/krdummy.sys"
  : >"$driver_log"
}

# notes HEADING: the commands that the administrators' notes give below a line that ends so, as a batch file.
notes() {
  tr -d '\r' <"$BUILD/ADMINS.txt" | awk -v heading="$1" '
    on && /^  / { print substr($0, 3) "\r" }
    on && /^[^ ]/ { exit }
    substr($0, length($0) - length(heading) + 1) == heading { on = 1 }'
}

# batch FILE ARGUMENT...: runs a batch file in the prefix; its exit status.
batch() {
  timeout 60 wine cmd /c "$(winepath -w "$1" | tr -d '\r')" "${@:2}" </dev/null >"$work/output" 2>/dev/null
}

# import_settings FILE: a .reg file, as an administrator would.
import_settings() {
  wine reg import "$1" >/dev/null 2>&1 || check "reg import $1" failed imported
}

# probe [PROGRAM [N CALL...]]: runs the program as its debugger, killed before its N-th call of those named.
# Afterwards: exit_code, debug_output (the debugger output, without CR), standard_output is not told apart from it.
probe() {
  exit_code=0
  timeout 60 wine "$BUILD/tools/debugrun/debugrun.exe" "${1:-$BUILD/tools/loadprobe/loadprobe.exe}" "${@:2}" \
    >"$work/output" 2>"$work/errors" </dev/null || exit_code=$?
  debug_output=$(tr -d '\r' <"$work/output")
}

# messages: the messages of the debugger output's lines in the layout that a program starts with,
# without time stamp, level, category, thread and function: "LEVEL(CATEGORY); MESSAGE; FUNCTION()".
messages() {
  sed -E 's/^.*:[0-9A-F]{8}; //' <<<"$debug_output"
}

# left_behind: what remains of the probe's file and service.
left_behind() {
  local left=''
  driver_file_exists && left+='file '
  service_exists && left+='service '
  echo "${left:-nothing}"
}
