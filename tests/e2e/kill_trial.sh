#!/bin/bash
# kill_trial.sh BUILD: the real program under Wine, killed before each of its calls in turn. Then the next run
# ends as the administrators' notes say, and after the notes' three commands all is well again. The calls that
# it is killed before are the whole sequence of the probe, in its order.
set -u
BUILD=$1
source "$(dirname "$0")/lib.sh"

calls=(SHGetFolderPathW FindResourceW SizeofResource LoadResource LockResource CreateFileW WriteFile CloseHandle
  OpenSCManagerW CreateServiceW StartServiceW ControlService DeleteService CloseServiceHandle CloseServiceHandle
  RegCreateKeyExW RegSetValueExW RegCloseKey DeleteFileW)
program=$BUILD/tools/loadprobe/loadprobe.exe
notes 'is nothing to do does no harm:' >"$work/recover.cmd"

# next_run LEFT: how the run after a killed one ends, by what that one left behind.
next_run() {
  case $1 in
    'file service running') echo '1  file service ' ;; # The driver's file is in use.
    *service*) echo '0 0 service ' ;;
    *) echo '0 1 nothing' ;;
  esac
}

# ends WHAT EXPECTED: compares exit code, verdict and what is left behind; shows what the run said and what is
# stored otherwise.
ends() {
  local before=$failures
  check "$1" "$exit_code $(stored_verdict) $(left_behind)" "$2"
  [ "$failures" -eq "$before" ] && return
  echo "$debug_output"
  wine reg query 'HKLM\SOFTWARE\Korinth' 2>&1
}

for number in "${!calls[@]}"; do
  fresh
  probe "$program" $((number + 1)) "${calls[@]}"
  what="$((number + 1)), ${calls[number]}"
  check "$what: killed before it" "$exit_code $(tail -n 1 <<<"$debug_output")" "137 killed before ${calls[number]}"
  wine reg delete 'HKLM\SOFTWARE\Korinth' /f >/dev/null 2>&1
  left=$(left_behind)
  ! wine sc query krdummy 2>/dev/null | grep -q RUNNING || left+=running
  probe
  ends "$what: the next run, after $left" "$(next_run "$left")"
  batch "$work/recover.cmd"
  probe
  ends "$what: the three commands" '0 1 nothing'
done
fresh
probe "$program" $((${#calls[@]} + 1)) "${calls[@]}"
ends 'there are no further calls' '0 1 nothing'
fresh
finish
