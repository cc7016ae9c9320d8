#!/bin/bash
# Holds a program against a build of these sources: see usage below.
set -u
called_in=$PWD
cd "$(dirname "$0")/../.." || exit 2
source tools/scripts/common.sh

usage() {
  cat <<'EOF'
usage: tools/scripts/verify_image.sh                  build these sources and describe the program
       tools/scripts/verify_image.sh PROGRAM          describe a loadprobe.exe and hold it against that build
       tools/scripts/verify_image.sh --read PROGRAM   describe it only
       tools/scripts/verify_image.sh --help           this text

Describing prints the SHA-256 of the program and of the driver inside it, with and without their
signatures, and who signed them; whether a system trusts the signers it does not say. The build, in
build/verify, needs the compiler and the tools that PROGRAM was built with. Two things must come out
the same to the byte: the driver before signing, and the program around the driver that PROGRAM
carries. Exit status: 0 when they do, 1 when not, 2 when this script could not get so far.
EOF
}

# driver_of PROGRAM OUT: the resource DRIVER/KRDUMMY. In a .res file a resource's data follows its
# header, which begins with the sizes of both, the type and the name.
driver_of() {
  local at size header
  x86_64-w64-mingw32-windres -i "$1" -O res -o "$work/program.res" 2>"$work/log" || return
  at=$(LC_ALL=C grep -aboP 'D\0R\0I\0V\0E\0R\0\0\0K\0R\0D\0U\0M\0M\0Y\0\0\0' "$work/program.res" | cut -d: -f1)
  [[ $at =~ ^[0-9]+$ ]] || return
  read -r size header < <(od -An -tu4 -j $((at - 8)) -N8 "$work/program.res")
  tail -c +$((at - 8 + header + 1)) "$work/program.res" | head -c "$size" >"$2"
}

# bare FILE OUT: FILE as it was before it was signed.
bare() {
  rm -f "$2"
  osslsigncode remove-signature -in "$1" -out "$2" >"$work/log" 2>&1 || cp "$1" "$2"
}

# describe WHAT FILE
describe() {
  row "$1" "SHA-256 $(sha256sum <"$2" | cut -d' ' -f1)"
  bare "$2" "$work/bare"
  if cmp -s "$2" "$work/bare"; then
    row '' 'not signed'
    return
  fi
  row '' "SHA-256 $(sha256sum <"$work/bare" | cut -d' ' -f1) before signing"
  osslsigncode verify -in "$2" 2>&1 | awk '
    /invalid PE checksum|MISMATCH/ { print "CHANGED after signing" }
    /^Signature Index: / { signer = 1 }
    signer && sub(/^[ \t]*Subject: /, "") { print "signed by " $0 }
    signer && sub(/^[ \t]*Issuer *: /, "") { issuer = $0 }
    signer && sub(/^[ \t]*Serial *: /, "") { print "  issued by " issuer ", serial " $0; signer = 0 }
    sub(/^[ \t]*(Timestamp time|The signature is timestamped): /, "") { print "  time stamp " $0 }' |
    while IFS= read -r line; do row '' "$line"; done
}

# describe_program PROGRAM: also leaves its driver in $work/driver.
describe_program() {
  [ -f "$1" ] || die "No such file: $1."
  driver_of "$1" "$work/driver" || die "$1 carries no resource DRIVER, KRDUMMY: is it a loadprobe.exe?"
  describe program "$1"
  describe driver "$work/driver"
}

# build_reference OPTION...
build_reference() {
  {
    cmake --preset windows -B build/verify -DKR_TESTS=OFF "$@" &&
      cmake --build build/verify --target loadprobe
  } >"$logs/build.log" 2>&1 || {
    tail -n 20 "$logs/build.log" >&2
    die "The reference build failed: all of it is in $logs/build.log."
  }
}

# same WHAT FILE FILE
same() {
  if cmp -s "$2" "$3"; then
    row "$1" "${green}the same$plain, to the byte"
  else
    row "$1" "${red}NOT the same$plain: $(cmp "$2" "$3" 2>&1 | sed 's/^.*differ: /they differ at /')"
    status=1
  fi
}

read_only=no
case "${1:-}" in
  --help | -h)
    usage
    exit 0
    ;;
  --read)
    read_only=yes
    shift
    ;;
esac
if [ $# -gt 1 ] || [[ ${1:-} == -* ]] || { [ $# -eq 0 ] && [ $read_only = yes ]; }; then
  usage >&2
  exit 2
fi
program=${1:+$(cd "$called_in" && realpath -- "$1")}
status=0
work=$(mktemp -d) || die "No temporary folder in ${TMPDIR:-/tmp}: is the disk full?"
trap 'rm -rf "$work"' EXIT
if [ $read_only = yes ]; then
  describe_program "$program"
  exit
fi

logs=$PWD/build/verify
mkdir -p "$logs" || die "Cannot write to $logs."
need "${build_packages[@]}"
built=build/verify/tools/loadprobe
build_reference -DKR_DRIVER_IMAGE=
cp $built/driver/unsigned/krdummy.sys "$work/unsigned" || die "The reference build has no unsigned driver."
if [ -z "$program" ]; then
  describe_program $built/loadprobe.exe
  exit
fi
describe_program "$program"
bare "$work/driver" "$work/bare"
echo 'held against a build of these sources:'
same driver "$work/bare" "$work/unsigned"
build_reference -DKR_DRIVER_IMAGE="$work/driver"
bare "$program" "$work/bare"
same program "$work/bare" $built/loadprobe.exe
exit $status
