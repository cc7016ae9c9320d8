#!/bin/bash
# log_settings_e2e.sh BUILD: the log settings under Wine: each sample file and some entries are imported with
# reg, the real program runs, and its log is compared line by line. What each entry does by itself the suite
# sees on either system.
set -u
BUILD=$1
source "$(dirname "$0")/lib.sh"

samples=$(dirname "$0")/../../tools/loadprobe/settings
key='HKEY_LOCAL_MACHINE\SOFTWARE\Korinth\tools\loadprobe\log'

# settings LINE...: a group that holds these entries and no others. Wine lists them by name.
settings() {
  {
    printf 'Windows Registry Editor Version 5.00\r\n\r\n[-%s]\r\n\r\n[%s]\r\n' "$key" "$key"
    printf '%s\r\n' "$@"
  } >"$work/settings.reg"
  import_settings "$work/settings.reg"
}

# comparable: what differs from run to run is named instead: stamps, thread ids, addresses, run times.
comparable() {
  tr -d '\r' | sed -E \
    -e 's/^[0-9]{6} [0-9:]{8}\.[0-9]{3}\.[0-9]{3}; /STAMP; /' \
    -e 's/:________:[0-9A-F]{8}(;|$)/:THREAD\1/' \
    -e 's/0x[0-9A-F]{16}/ADDRESS/' \
    -e 's/^\[[0-9]{6}\] msec/[TIME] msec/'
}

# says WHAT EXPECTED: runs the program and compares what it says.
says() {
  probe
  check "$1: exit code" "$exit_code" 0
  check "$1: log" "$(comparable <<<"$debug_output")" "$2"
}

# What the program says by itself, and the first line about settings, in the usual layout.
compatible='STAMP; loadprobe:THREAD; F(02); Successfully loaded test driver, will mark system as compatible; wmain()'
stored='STAMP; loadprobe:THREAD; F(02); Set registry DWORD value HKLM\SOFTWARE\Korinth\driver_signature_supported to 1; kr::store_system_support_for_driver_signature()'
found='STAMP; loadprobe:THREAD; F(01); Override log setting found for domain loadprobe; kr_log_reset()'
# reset TEXT and category TEXT: an announcement.
reset() { echo "STAMP; loadprobe:THREAD; F(01); $1; kr_log_reset()"; }
category() { echo "STAMP; loadprobe:THREAD; F(01); Overriding $1; kr_log_conf_category()"; }

fresh
log_file=$WINEPREFIX/drive_c/windows/logs/loadprobe.log
mkdir -p "$(dirname "$log_file")" # which Windows has
rm -f "$log_file"
import_settings "$samples/log_to_file.reg"
says 'log_to_file.reg' "$found
$(reset 'Overriding log destination -> file://C:\Windows\Logs\loadprobe.log')"
check 'log_to_file.reg: lines end in CR LF, no mark stands first' \
  "$(grep -c $'\r$' "$log_file") $(head -c 1 "$log_file" | tr -d 0-9)" '2 '
check 'log_to_file.reg: file' "$(comparable <"$log_file")" "$compatible
$stored"

import_settings "$samples/log_to_console.reg"
says 'log_to_console.reg' "$found
$(reset 'Overriding log destination -> stdout')
$compatible
$stored"

import_settings "$samples/log_everything_to_console.reg"
timeout 60 wine "$BUILD/tools/loadprobe/loadprobe.exe" >"$work/console" 2>/dev/null </dev/null
memory='STAMP; loadprobe:THREAD; D(26); memory_ptr = ADDRESS; kr_memory_deallocate_raw()'
memory_2='STAMP; D(26); kr_memory_deallocate_raw(); memory_ptr = ADDRESS; loadprobe:THREAD'
check 'log_everything_to_console.reg' "$(comparable <"$work/console")" "$memory
STAMP; C(07); kr_settings_get_signed_int(); Enter (name = formatting); loadprobe:THREAD
$memory
STAMP; C(07); kr_settings_get_signed_int(); Return 0x02000000 () success \"Generic\" from \"Unknown source\"; loadprobe:THREAD
[TIME] msec - kr_settings_get_signed_int(); loadprobe:THREAD
STAMP; F(01); kr_log_reset(); Overriding log formatting -> 2; loadprobe:THREAD
$memory_2
$memory_2
$memory_2
$memory_2
$memory_2
STAMP; F(02); wmain(); Successfully loaded test driver, will mark system as compatible; loadprobe:THREAD
STAMP; F(02); kr::store_system_support_for_driver_signature(); Set registry DWORD value HKLM\\SOFTWARE\\Korinth\\driver_signature_supported to 1; loadprobe:THREAD"

import_settings "$samples/log_quiet.reg"
says 'log_quiet.reg' "$found
$(reset 'Overriding log destination -> quiet!windbg')
$compatible
$stored"

import_settings "$samples/log_defaults.reg"
says 'log_defaults.reg' "$compatible
$stored"

settings
says 'no entries' "$found
$compatible
$stored"

settings '"colors"="1"' '"formatting"="3"' '"notime"="1"'
off=$'\e[0m'
says 'colors, formatting 3, notime' "$found
$(reset 'Overriding ansi colors -> yes')
STAMP; F: Overriding log formatting -> 3
F: Disable timestamps -> yes
${off}F$off: Successfully loaded test driver, will mark system as compatible
${off}F$off: Set registry DWORD value HKLM\\SOFTWARE\\Korinth\\driver_signature_supported to 1"

settings '"notime"="1"' '"profile_min"="4294967295"' '"tags"="timer;________"' '"zebra"="1"'
says 'notime, profile_min, tags' "$found
$(reset 'Disable timestamps -> yes' | sed 's/^STAMP; //')
$(reset 'Setting profile threshold -> 4294967295' | sed 's/^STAMP; //')
$(reset 'Using tags filter -> timer;________' | sed 's/^STAMP; //')"

generic='Result is 0x82000000 (error "Generic" from "Unknown source")'
settings '"all"="7 or so"' '"destination"=dword:00000001' '"main"="65536"' '"memory"=hex(2):37,00' \
  '"other"="hello"' '"profile_min"=hex(1):31,00' '"settings"="7"' '"unknown"="7"'
says 'bad values' "$found
$(category 'all category levels to 7')
STAMP; loadprobe:THREAD; W(01); Keeping log destination because the value of 'destination' cannot be read as a string $generic; kr_log_reset()
STAMP; loadprobe:THREAD; W(01); Ignoring log conf category key 'main' because its value cannot be converted to 16 bit integer Result is 0x8200004D (error \"Overflow\" from \"Unknown source\"); kr_log_conf_category()
STAMP; loadprobe:THREAD; W(07); kr_settings_get_string_alloc() failed for name=memory $generic; kr_settings_get_unsigned_int()
STAMP; loadprobe:THREAD; W(01); Ignoring log conf category key 'memory' because its value cannot be converted to 16 bit integer $generic; kr_log_conf_category()
$(category 'category other level to 0')
$(reset 'Setting profile threshold -> 1')
$(category 'category settings level to 7')
$compatible
$stored"

fresh
finish
