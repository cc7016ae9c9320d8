#!/bin/bash
# host_e2e.sh PROGRAM: the program on the stand-in, accepted, refused, and with settings in the order of
# their making, which Wine does not keep: what it stores, says, leaves behind, its exit status.
set -u
program=$1
source "$(dirname "$0")/lib.sh"
key='HKEY_LOCAL_MACHINE\SOFTWARE\Korinth'

# run POLICY [REG_FILE]: afterwards: code, stored, left, said (the messages on standard output and error).
run() {
  local root
  root=$(mktemp -d "$work/XXXXXX") || die "No folder below $work."
  [ $# -lt 2 ] || iconv -f UTF-8 -t UTF-16 "$2" >"$root/registry.reg"
  code=0
  said=$(KR_HOST_ROOT=$root KR_HOST_REGISTRY=$root/registry.reg KR_HOST_DRIVER_POLICY=$1 KR_HOST_DEBUG=stderr \
    "$program" 2>&1) || code=$?
  stored=$(iconv -f UTF-16 -t UTF-8 "$root/registry.reg" | tr -d '\r' | grep -A1 -F "[$key]" | tail -n 1)
  left=$(find "$root" -iname krdummy.sys)
}

run accept
check 'accepted' "$code $stored $left" '0 "driver_signature_supported"=dword:00000001 '
run refuse
check 'refused' "$code $stored $left" '0 "driver_signature_supported"=dword:00000000 '

# settings ENTRY...: a file that holds these entries in this order.
settings() {
  printf 'Windows Registry Editor Version 5.00\r\n\r\n[%s\\tools\\loadprobe\\log]\r\n' "$key"
  printf '%s\r\n' "$@"
} >"$work/settings.reg"

# warns WHAT EXPECTED: how often the program says why it was refused, with these settings.
warns() {
  run refuse "$work/settings.reg"
  check "$1" "$(grep -c "This system doesn't support our driver signatures" <<<"$said")" "$2"
}

# A later entry wins. Wine would list "all" first, whichever was made first.
settings '"all"="0"' '"main"="2"'
warns 'all, then main' 1
settings '"main"="2"' '"all"="0"'
warns 'main, then all' 0

# What the program itself says with a sample does not depend on the order of its entries.
own_lines() {
  grep '(02);' <<<"$said" | sed -E 's/:________:[0-9A-F]{8}//; s/^[0-9]{6} [0-9:.]+; //'
}
sample=$(dirname "$0")/../../tools/loadprobe/settings/log_everything_to_console.reg
run accept "$sample"
in_order=$(own_lines)
mapfile -t entries < <(tr -d '\r' <"$sample" | sed -n '/^\[H.*\\log\]/,/^$/s/^"/"/p' | tac)
settings "${entries[@]}"
run accept "$work/settings.reg"
check "a sample's ${#entries[@]} entries the other way round" "$(own_lines)" "${in_order:-two lines}"
finish
