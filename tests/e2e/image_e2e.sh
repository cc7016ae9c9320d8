#!/bin/bash
# image_e2e.sh built|given DRIVER [PROGRAM VERSION]: the driver, built here or given as KR_DRIVER_IMAGE, and the
# program around it, from their bytes. A driver that the system could refuse for another reason than its
# signature makes the verdict worthless.
set -u
origin=$1 driver=$2 program=${3:-} version=${4:-}
source "$(dirname "$0")/lib.sh"

# dump FILE EXPRESSION: what a sed expression finds in the headers, in one line.
dump() { x86_64-w64-mingw32-objdump -p "$1" | sed -nE "$2" | tr '\t' ' ' | tr -s ' ' | paste -sd' '; }
kind='s/^.*file format //p; s/^(Magic|Subsystem|DllCharacteristics)\t+([0-9a-f]+).*/\2/p'

# number SIZE OFFSET: in the driver.
mapfile -t bytes < <(od -An -v -tu1 -w1 "$driver")
number() {
  local value=0 at
  for ((at = $2 + $1 - 1; at >= $2; --at)); do value=$((value << 8 | ${bytes[at]:-0})); done
  echo "$value"
}
pe=$(number 4 0x3c)

check 'driver: PE32+, x86-64, native, high entropy, dynamic base and NX alone' \
  "$(dump "$driver" "$kind")" 'pei-x86-64 020b 00000001 00000160'
check 'driver: imports' "$(dump "$driver" 's/^.*DLL Name: //p; s/^\t[0-9a-f]+\t +[0-9]+  //p')" 'ntoskrnl.exe DbgPrint'
check 'driver: relocations not stripped' $(($(number 2 pe+22) & 1)) 0
# What memory integrity asks of a kernel image.
check 'driver: sections begin pages' $(($(number 4 pe+56) % 0x1000)) 0
table=$((pe + 24 + $(number 2 pe+20)))
both=0
for ((section = 0; section < $(number 2 pe+6); ++section)); do
  flags=$(number 4 table+40*section+36)
  (((flags & 0xA0000000) != 0xA0000000)) || ((++both))
done
check 'driver: no section writable and executable' $((section > 0)),$both 1,0
versions=($((10 * $(number 2 pe+64) + $(number 2 pe+66))) $((10 * $(number 2 pe+72) + $(number 2 pe+74))))
if [ "$origin" = built ]; then
  check 'driver: version of system and subsystem' "${versions[*]}" '61 61'
  check 'driver: unwind data for each move of the stack' \
    "$(x86_64-w64-mingw32-objdump -p "$driver" | grep -c 'pc+0x.*\(alloc\|push\)')" \
    "$(x86_64-w64-mingw32-objdump -d "$driver" | grep -cE '	(push|sub .*,%rsp)')"
else
  check 'driver: version of system and subsystem' $((versions[0] <= 61 && versions[1] <= 61)) 1
fi
check 'driver: checksum and digests' "$(osslsigncode verify -in "$driver" 2>/dev/null |
  grep -cE 'MISMATCH|invalid PE checksum|PE checksum *: 0+$')" 0
read -r start size <<<"$(dump "$driver" 's/^Entry 4 (.*) Security Directory.*/0x\1/p; ' | sed 's/ / 0x/')"
check 'driver: the signature ends the file' $((start + size)) "$(stat -c %s "$driver")"
check 'driver: one entry fills the directory' $((($(number 4 start) + 7) & ~7)) $((size))
check 'driver: revision 2.0, PKCS#7 signed data' "$(number 4 start+4)" $((0x00020200))

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
  check 'program: says what it is' "$(sed -n 's/^ *VALUE "\([A-Z].*\), "\(.*\)"$/\1 \2/p' <<<"$resources")" \
    "CompanyName\" Korinth
FileDescription\" Finds out whether this system accepts our driver signatures
FileVersion\" $version
InternalName\" loadprobe
OriginalFilename\" loadprobe.exe
ProductName\" loadprobe
ProductVersion\" $version"
  check 'program: a manifest that asks for no rights and names four systems' "$(python3 - "$program" <<'PY'
import re, sys, xml.dom.minidom
with open(sys.argv[1], "rb") as file:
    text = re.search(rb"<assembly .*</assembly>", file.read(), re.DOTALL).group()
tags = xml.dom.minidom.parseString(text).getElementsByTagName
print(tags("requestedExecutionLevel")[0].getAttribute("level"), len(tags("supportedOS")))
PY
  )" 'asInvoker 4'
  osslsigncode remove-signature -in "$driver" -out "$work/bare.sys" >/dev/null
  check 'program: the very driver, and the tool for those who verify finds it' \
    "$("$(dirname "$0")/../../tools/scripts/verify_image.sh" --read "$program" | sed -nE 's/^.* ([0-9a-f]{64}).*/\1/p')" \
    "$(sha256sum "$program" "$driver" "$work/bare.sys" | cut -d' ' -f1)"
fi
finish
