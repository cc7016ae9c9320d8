#!/bin/bash
# image_rows_e2e.sh IDENTITIES COMPILER...: the driver's rows of image_e2e.sh, each on an image that it is there to
# find. COMPILER is the command that builds the driver, but for the name of its output.
set -u
identities=$1 build=("${@:2}")
here=$(realpath "$(dirname "$0")")
source "$here/lib.sh"
cd "$work" || exit

# finds EXPECTED [OPTION...]: builds and signs an image with other options; the rows that fail begin as EXPECTED
# says, with '+' between them. The image is built.sys unsigned and signed.sys signed.
finds() {
  rm -f signed.sys
  "${build[@]}" -o built.sys "${@:2}" && osslsigncode sign -h sha256 -certs "$identities/maker-chain.pem" \
    -key "$identities/maker-leaf.key" -in built.sys -out signed.sys >log || exit
  check "${*:2}: ${1:-nothing} fails" "$(failing built signed.sys)" "$1"
}

# failing ORIGIN IMAGE: the first words of each row that fails.
failing() { "$here/image_e2e.sh" "$1" "$2" 2>&1 | sed -nE 's/^FAIL  driver: ([^ ,]+ ?[^ ,]*).*/\1/p' | paste -sd+; }

# changed OFFSET BYTES: the image that was signed last, with other bytes.
changed() {
  cp signed.sys changed.sys
  printf "$2" | dd of=changed.sys bs=1 seek="$1" conv=notrunc status=none
}

finds 'PE32+' -Wl,--subsystem,console
finds imports -DDbgPrint=DbgPrintReturnControlC
finds 'PE32++relocations not' -Wl,--disable-reloc-section
finds 'sections begin' -Wl,--section-alignment,0x200
finds 'no section' -Wl,--omagic
finds 'version of' -Wl,--major-os-version,99
finds 'version of' -Wl,--minor-subsystem-version,0
check 'given: an older version is fine' "$(failing given signed.sys)" ''
finds 'version of' -Wl,--major-subsystem-version,10
check 'given: a newer version is found' "$(failing given signed.sys)" 'version of'
finds 'unwind data' -fno-asynchronous-unwind-tables
finds ''
check 'unsigned is found' "$(failing built built.sys)" 'the signature+one entry+revision 2.0'
changed 1536 K
check 'a changed byte is found' "$(failing built changed.sys)" 'checksum and'
changed "$(stat -c %s signed.sys)" '\0\0\0\0\0\0\0\0'
check 'bytes behind the signature are found' "$(failing built changed.sys)" 'checksum and+the signature'
changed $(($(stat -c %s built.sys) + 5)) '\1'
check 'another revision is found' "$(failing built changed.sys)" 'checksum and+revision 2.0'
finish
