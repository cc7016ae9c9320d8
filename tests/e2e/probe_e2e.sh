#!/bin/bash
# probe_e2e.sh BUILD: the real program under Wine: a real driver loaded and unloaded, the verdict read back,
# nothing left behind; the leftovers and the broken image that it may meet; what the administrators' notes
# promise.
set -u
BUILD=$1
source "$(dirname "$0")/lib.sh"

wmain_line='F(02); %s test driver, will mark system as %s; wmain()\n'
compatible=$(printf "$wmain_line" 'Successfully loaded' compatible)
incompatible=$(printf "$wmain_line" 'Unable to load the' incompatible)
# stored VERDICT: the last line.
stored() {
  printf 'F(02); Set registry DWORD value HKLM\\SOFTWARE\\Korinth\\driver_signature_supported to %s; ' "$1"
  echo 'kr::store_system_support_for_driver_signature()'
}

# ends WHAT EXPECTED [PROGRAM]: runs the program and compares "EXIT_CODE VERDICT LEFT_BEHIND".
ends() {
  probe "${@:3}"
  check "$1" "$exit_code $(stored_verdict) $(left_behind)" "$2"
}

fresh
ends 'a good driver' '0 1 nothing'
loads_once='krdummy loaded. krdummy unloaded.'
check 'a good driver: loads, then unloads' "$(driver_lines | paste -sd' ')" "$loads_once"
check 'a good driver: log' "$(messages)" "$compatible
$(stored 1)"

fresh
wine "$BUILD/tools/loadprobe/loadprobe.exe" '/?' </dev/null >/dev/null 2>&1
check 'arguments are passed over' "$? $(stored_verdict) $(left_behind)" '0 1 nothing'

fresh
wine sc create krdummy type= kernel start= demand binPath= 'C:\other.sys' >/dev/null 2>&1
before=$(wine sc qc krdummy 2>&1)
ends 'a leftover service' '0 0 service '
check 'a leftover service: log' "$(messages)" \
  "W(02); Unable to create driver service, error code = 1073; kr::load_driver()
$incompatible
$(stored 0)"
check 'a leftover service: untouched' "$(wine sc qc krdummy 2>&1)" "$before"

fresh
head -c 100000 /dev/zero >"$WINEPREFIX/drive_c/windows/system32/drivers/krdummy.sys"
ends 'a leftover file' '0 1 nothing'
check 'a leftover file: loads, then unloads' "$(driver_lines | paste -sd' ')" "$loads_once"

fresh
ends 'not a driver' '0 0 nothing' "$BUILD/tests/e2e/loadprobe_not_a_driver.exe"
# Which number it is depends on the system.
check 'not a driver: log' "$(messages | sed -E 's/error code = [1-9][0-9]*/error code = N/')" \
  "W(02); Unable to start the driver, error code = N; kr::load_driver()
$incompatible
$(stored 0)"

# As the notes say: a folder of its own, the scripts beside the program.
installed="$WINEPREFIX/drive_c/Program Files/loadprobe"
mkdir -p "$installed"
cp "$BUILD/tools/loadprobe/loadprobe.exe" "$installed/"
notes 'A batch file:' >"$installed/verdict.cmd"
notes 'is nothing to do does no harm:' >"$installed/recover.cmd"
notes 'To take everything back:' >"$installed/remove.cmd"

fresh
batch "$installed/verdict.cmd"
check 'the batch file: accepted' $? 0
wine sc create krdummy type= kernel start= demand binPath= 'C:\other.sys' >/dev/null 2>&1
batch "$installed/verdict.cmd"
check 'the batch file: not accepted' $? 1

fresh
probe
probe "$BUILD/tools/loadprobe/loadprobe.exe" 1 ControlService
check 'killed with the driver loaded' "$exit_code $debug_output" '137 killed before ControlService'
ends 'a driver left loaded: an earlier verdict stands' '1 1 file service '
check 'a driver left loaded: log' "$(messages)" \
  'W(02); Unable to create the file where the embedded driver is to be extracted (C:\windows\system32\drivers\krdummy.sys), error code = 32; kr::extract_embedded_driver()
W(02); Unable to extract the embedded test driver, cannot check if this system supports driver signatures; wmain()'
batch "$installed/verdict.cmd"
check 'the batch file: no verdict' "$? $(stored_verdict)" '2 '
batch "$installed/recover.cmd"
ends 'the three commands' '0 1 nothing'

# The sample registers the program's place above.
import_settings "$(dirname "$0")/../../tools/loadprobe/settings/log_to_event_log.reg"
ends 'log_to_event_log.reg' '0 1 nothing'
check 'log_to_event_log.reg: the program holds the text' \
  "$(wine "$BUILD/tests/e2e/event_text.exe" loadprobe 'a line of 100 %1%2 %' 2>&1 | tr -d '\r')" 'a line of 100 %1%2 %'
batch "$installed/remove.cmd"
check 'everything taken back' "$(wine reg query 'HKLM\SOFTWARE\Korinth' /s 2>/dev/null | grep -ic -e loadprobe -e driver)
$(wine reg query 'HKLM\SYSTEM\CurrentControlSet\Services\EventLog\Application' 2>/dev/null | grep -ic loadprobe)" '0
0'

# A library that lies beside the program, loaded late: any image will do. The program narrows the search before
# the runtime makes its first call.
probe "$BUILD/tools/loadprobe/loadprobe.exe" 1 GetModuleHandleW GetProcAddress GetStartupInfoW __set_app_type \
  __wgetmainargs _initterm malloc
check 'the first call' "$debug_output" 'killed before GetModuleHandleW'
late=$work/late
mkdir "$late"
cp "$BUILD"/tests/e2e/late_load*.exe "$late/"
cp "$BUILD/tools/debugrun/debugrun.exe" "$late/planted.dll"
wine "$late/late_load_anywhere.exe" planted.dll >/dev/null 2>&1
check 'a planted library: loads with the usual start' $? 0
wine "$late/late_load.exe" planted.dll >/dev/null 2>&1
check 'a planted library: is not found with ours' $? 126

fresh
finish
