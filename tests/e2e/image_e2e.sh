#!/bin/bash
# image_e2e.sh DRIVER [PROGRAM VERSION]: the driver and the program as the build made them, from their bytes. A
# driver that the system could refuse for another reason than its signature makes the verdict worthless.
set -u
driver=$1 program=${2:-} version=${3:-} failures=0

# check WHAT ACTUAL EXPECTED
check() {
  [ "$2" = "$3" ] && echo "ok    $1" && return
  printf 'FAIL  %s\n  is:       %s\n  expected: %s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}

# dump FILE EXPRESSION: what a sed expression finds in the headers, in one line.
dump() { x86_64-w64-mingw32-objdump -p "$1" | sed -nE "$2" | tr '\t' ' ' | tr -s ' ' | paste -sd' '; }
kind='s/^.*file format //p; s/^(Magic|Subsystem|DllCharacteristics)\t+([0-9a-f]+).*/\2/p'

check 'driver: PE32+, x86-64, native, high entropy, dynamic base and NX alone' \
  "$(dump "$driver" "$kind")" 'pei-x86-64 020b 00000001 00000160'
check 'driver: imports' "$(dump "$driver" 's/^.*DLL Name: //p; s/^\t[0-9a-f]+\t +[0-9]+  //p')" 'ntoskrnl.exe DbgPrint'
check 'driver: checksum and digests' "$(osslsigncode verify -in "$driver" 2>/dev/null |
  grep -cE 'MISMATCH|invalid PE checksum|PE checksum *: 0+$')" 0
read -r start bytes <<<"$(dump "$driver" 's/^Entry 4 (.*) Security Directory.*/0x\1/p; ' | sed 's/ / 0x/')"
size=$(stat -c %s "$driver")
check 'driver: the signature ends the file' $((start + bytes)) "$size"
length=$(od -An -tu4 -j $((start)) -N4 "$driver")
check 'driver: one entry fills the directory' $(((length + 7) & ~7)) $((bytes))
check 'driver: revision 2.0, PKCS#7 signed data' "$(od -An -tx2 -j $((start + 4)) -N4 "$driver")" ' 0200 0002'

if [ -n "$program" ]; then
  check 'program: PE32+, x86-64, console, high entropy, dynamic base and NX alone' \
    "$(dump "$program" "$kind")" 'pei-x86-64 020b 00000003 00000160'
  check 'program: no library that is not the system'"'"'s' "$(dump "$program" 's/^.*DLL Name: //p' | tr ' ' '\n' |
    grep -viE '^(advapi32|kernel32|msvcrt|shell32|ws2_32)\.dll$')" ''
  check 'program: smaller than 400 KiB' $(($(stat -c %s "$program") < 400 * 1024)) 1
  resources=$(x86_64-w64-mingw32-windres -i "$program" -O rc)
  check 'program: the driver without a language' \
    "$(grep -A1 'Name: "KRDUMMY"' <<<"$resources" | tail -n 1; grep '^"KRDUMMY"' <<<"$resources")" \
    $'LANGUAGE 0, 0\n"KRDUMMY" "DRIVER"'
  python3 -c 'import sys; p, d = (open(f, "rb").read() for f in sys.argv[1:]); sys.exit(d not in p)' "$program" "$driver"
  check 'program: the very driver' $? 0
  check 'program: says what it is' "$(sed -n 's/^ *VALUE "\([A-Z].*\), "\(.*\)"$/\1 \2/p' <<<"$resources")" \
    "CompanyName\" Korinth
FileDescription\" Finds out whether this system accepts our driver signatures
FileVersion\" $version
InternalName\" loadprobe
OriginalFilename\" loadprobe.exe
ProductName\" loadprobe
ProductVersion\" $version"
fi
exit $((failures != 0))
