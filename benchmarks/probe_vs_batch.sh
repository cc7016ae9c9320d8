#!/bin/bash
# probe_vs_batch.sh: wall time of loadprobe.exe against the batch file that one would write instead
# (copy, sc create, start, stop, delete, reg add, del), in the same Wine session. Prints the ratio;
# exit status 1 when the program is less than FLOOR times as fast. Run ./run once before.
set -eu
cd "$(dirname "$0")/.."
source tools/scripts/common.sh
help_only 'usage: benchmarks/probe_vs_batch.sh' "$@"

FLOOR=3
rounds=15
program=$PWD/build/windows/tools/loadprobe/loadprobe.exe
driver=$PWD/build/windows/tools/loadprobe/driver/krdummy.sys
[ -e "$program" ] || die "No $program: ./run builds it."
use_prefix "$PWD/build/run/prefix"
start_wine || die "Wine could not make its prefix: see $WINEPREFIX/boot.log."
work=$(mktemp -d)
trap 'stop_wine; rm -rf "$work"' EXIT

cp "$driver" "$work/source.sys"
cat >"$work/probe.bat" <<'EOF'
@echo off
set target=C:\windows\system32\drivers\krdummy.sys
copy /y source.sys %target% >nul
sc create krdummy type= kernel start= demand binPath= %target% >nul
set supported=0
sc start krdummy >nul && set supported=1
sc stop krdummy >nul
sc delete krdummy >nul
reg add HKLM\SOFTWARE\Korinth /v driver_signature_supported /t REG_DWORD /d %supported% /f >nul
del %target%
EOF
sed -i 's/$/\r/' "$work/probe.bat"
cd "$work"

# took COMMAND...: wall time of one run in microseconds; it must store the verdict 1 and leave no
# service.
took() {
  local start end
  wine reg delete 'HKLM\SOFTWARE\Korinth' /f >/dev/null 2>&1 || true
  start=${EPOCHREALTIME/./}
  timeout 60 "$@" </dev/null >/dev/null 2>&1 || true
  end=${EPOCHREALTIME/./}
  [ "$(stored_verdict)" = 1 ] || die "$* did not store the verdict."
  ! service_exists || die "$* left its service behind."
  echo $((end - start))
}

# In turns, so that both meet the same machine; the shortest round of each counts.
batch=0 probe=0
for ((round = 0; round < rounds; round++)); do
  time=$(took wine cmd /c probe.bat)
  if [ $batch -eq 0 ] || [ "$time" -lt $batch ]; then batch=$time; fi
  time=$(took wine "$program")
  if [ $probe -eq 0 ] || [ "$time" -lt $probe ]; then probe=$time; fi
done
ratio=$((batch * 10 / probe))
echo "loadprobe.exe is $((ratio / 10)).$((ratio % 10)) times as fast as the batch file (floor: $FLOOR)"
[ $ratio -ge $((FLOOR * 10)) ]
