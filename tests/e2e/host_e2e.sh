#!/bin/bash
# host_e2e.sh PROGRAM: the program on the stand-in, once accepted and once refused: what it stores,
# what it leaves behind, its exit status.
set -u
program=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# run POLICY VERDICT
run() {
  rm -rf "$work"
  mkdir -p "$work"
  local code=0 stored
  KR_HOST_ROOT=$work KR_HOST_REGISTRY=$work/registry.reg KR_HOST_DRIVER_POLICY=$1 "$program" ||
    code=$?
  stored=$(iconv -f UTF-16 -t UTF-8 "$work/registry.reg" | tr -d '\r' |
    grep -A1 -F '[HKEY_LOCAL_MACHINE\SOFTWARE\Korinth]' | tail -n 1)
  if [ "$code" -ne 0 ] || [ "$stored" != "\"driver_signature_supported\"=dword:0000000$2" ] ||
    [ -n "$(find "$work" -iname krdummy.sys)" ]; then
    echo "FAIL  policy $1: exit code $code, $stored"
    find "$work"
    failures=$((failures + 1))
  fi
}

run accept 1
run refuse 0
exit $((failures != 0))
