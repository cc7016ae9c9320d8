#!/bin/bash
# probe_e2e.sh BUILD: the real program under Wine: a real driver loaded and unloaded, the verdict read
# back, nothing left behind; then the leftovers and the broken image that it may meet.
set -u
BUILD=$1
source "$(dirname "$0")/lib.sh"

registry_line='F(02); Set registry DWORD value HKLM\SOFTWARE\Korinth\driver_signature_supported to'
stored='kr::store_system_support_for_driver_signature()'
incompatible='F(02); Unable to load the test driver, will mark system as incompatible; wmain()'

fresh
probe
check 'a good driver: exit code' "$exit_code" 0
check 'a good driver: loads, then unloads' "$(driver_lines | paste -sd' ')" \
  'krdummy loaded. krdummy unloaded.'
check 'a good driver: log' "$(messages)" \
  "F(02); Successfully loaded test driver, will mark system as compatible; wmain()
$registry_line 1; $stored"
check 'a good driver: verdict' "$(stored_verdict)" 1
check 'a good driver: left behind' "$(left_behind)" nothing

fresh
wine sc create krdummy type= kernel start= demand binPath= 'C:\other.sys' >/dev/null 2>&1
before=$(wine sc qc krdummy 2>&1)
probe
check 'a leftover service: exit code' "$exit_code" 0
check 'a leftover service: log' "$(messages)" \
  "W(02); Unable to create driver service, error code = 1073; kr::load_driver()
$incompatible
$registry_line 0; $stored"
check 'a leftover service: verdict' "$(stored_verdict)" 0
check 'a leftover service: untouched' "$(wine sc qc krdummy 2>&1)" "$before"
check 'a leftover service: left behind' "$(left_behind)" 'service '

fresh
head -c 100000 /dev/zero >"$WINEPREFIX/drive_c/windows/system32/drivers/krdummy.sys"
probe
check 'a leftover file: exit code' "$exit_code" 0
check 'a leftover file: loads, then unloads' "$(driver_lines | paste -sd' ')" \
  'krdummy loaded. krdummy unloaded.'
check 'a leftover file: verdict' "$(stored_verdict)" 1
check 'a leftover file: left behind' "$(left_behind)" nothing

fresh
probe "$BUILD/tests/e2e/loadprobe_not_a_driver.exe"
check 'not a driver: exit code' "$exit_code" 0
# Which number it is depends on the system.
check 'not a driver: log' "$(messages | sed -E 's/error code = [1-9][0-9]*/error code = N/')" \
  "W(02); Unable to start the driver, error code = N; kr::load_driver()
$incompatible
$registry_line 0; $stored"
check 'not a driver: verdict' "$(stored_verdict)" 0
check 'not a driver: left behind' "$(left_behind)" nothing

fresh
finish
