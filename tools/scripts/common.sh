# Shell functions that ./run, ./test, ./bench and the end-to-end tests share: speaking to a person, work that
# can be stopped, installing what is missing, and Wine. Sourced by bash.

if [ -t 1 ]; then
  bold=$'\e[1m' red=$'\e[31m' green=$'\e[32m' plain=$'\e[0m'
else
  bold='' red='' green='' plain=''
fi

# row LABEL TEXT...: one aligned line.
row() {
  printf '  %-10s %s\n' "$1" "${*:2}"
}

# die TEXT...: the reason and what to do about it, then the end.
die() {
  printf '%s%s%s\n' "$red" "$*" "$plain" >&2
  exit 2
}

# help_only TEXT ARGUMENT...: for a script that takes no argument but --help.
help_only() {
  case "$#${2:-}" in
    1) ;;
    2--help | 2-h)
      echo "$1"
      exit 0
      ;;
    *)
      echo "$1" >&2
      exit 2
      ;;
  esac
}

# begin WORK: makes the folder build/WORK for the logs and takes the tree for this script alone: two that build in
# it at once would break each other. From here on a signal stops the work at once.
begin() {
  logs=$PWD/build/$1
  mkdir -p "$logs" && exec 9>build/lock || die "Cannot write to $logs."
  flock -n 9 || die 'Another ./run, ./test or ./bench works in this folder: wait for its end, then try again.'
  trap 'stopped 1' HUP
  trap 'stopped 2' INT
  trap 'stopped 15' TERM
}

# work COMMAND...: runs what takes its time, in a process group of its own, so that a signal finds all of it.
# No standard input.
group=''
work() {
  local status=0
  set -m
  ("$@") 9>&- </dev/null &
  group=$!
  set +m
  wait "$group" || status=$?
  group=''
  return $status
}

# stopped SIGNAL: ends the work and this script. A prefix of Wine that was not ready goes with it.
stopped() {
  trap '' HUP INT TERM
  trap - EXIT
  if [ -n "$group" ]; then
    kill -TERM -- "-$group"
    local tries=0
    while kill -0 -- "-$group" && [ $((tries += 1)) -le 30 ]; do sleep 0.1; done
    kill -KILL -- "-$group"
  fi 2>/dev/null
  local prefix
  for prefix in build/*/prefix; do
    [ -d "$prefix" ] || continue
    WINEPREFIX=$PWD/$prefix stop_wine
    [ -e "$prefix/made" ] || rm -rf "$prefix"
  done
  printf '%s\n' "${red}Stopped.$plain" >&2
  exit $((128 + $1))
}

# build PRESET TARGET...: configures and builds, into $logs/build.log. Options that an earlier configuration of the
# folder was given are forgotten.
build() {
  local preset=$1 started=$SECONDS
  work cmake --preset "$preset" --fresh >"$logs/build.log" 2>&1 || {
    tail -n 20 "$logs/build.log" >&2
    die "build/$preset could not be configured: the lines above say why (all of it: $logs/build.log)."
  }
  work cmake --build --preset "$preset" --target "${@:2}" >>"$logs/build.log" 2>&1 || {
    tail -n 20 "$logs/build.log" >&2
    die "The build failed: mend what the lines above say (all of it: $logs/build.log), then try again."
  }
  row build "build/$preset, $((SECONDS - started)) s"
}

# need PROBE=PACKAGE...: installs the packages whose PROBE, a command or an absolute path, is not
# there.
need() {
  local pair missing=() as_root=()
  for pair in "$@"; do
    if ! command -v "${pair%%=*}" >/dev/null && ! [ -e "${pair%%=*}" ]; then
      missing+=("${pair#*=}")
    fi
  done
  if [ ${#missing[@]} -eq 0 ]; then
    row packages 'all there'
    return
  fi
  row packages "installing ${missing[*]}"
  command -v apt-get >/dev/null || die "No apt-get here: install ${missing[*]} by hand, then try again."
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || die "Run as root: apt-get install ${missing[*]}"
    as_root=(sudo)
  fi
  {
    "${as_root[@]}" apt-get update -qq &&
      "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
  } >"$logs/packages.log" 2>&1 9>&- ||
    die "apt-get could not install ${missing[*]}: see $logs/packages.log (network? package sources?)"
}

# The packages that building the product takes, and those that running it takes.
build_packages=(
  cmake=cmake ninja=ninja-build g++=g++ /usr/src/googletest=googletest
  x86_64-w64-mingw32-g++-posix=g++-mingw-w64-x86-64-posix
  osslsigncode=osslsigncode openssl=openssl)
wine_packages=(wine=wine /usr/lib/wine/wine64=wine64)

# use_prefix DIRECTORY: the Wine prefix that all later calls use. Crashes end the program at once
# instead of starting a debugger; nothing asks for Mono or Gecko or writes menus.
use_prefix() {
  export WINEPREFIX=$1 WINEDEBUG=-all
  export WINEDLLOVERRIDES='winedbg.exe,winemenubuilder.exe=d;mscoree,mshtml='
  driver_log=$WINEPREFIX/driver.log
}

# start_wine: makes the prefix when it is missing, and a session in it that lasts until stop_wine.
# The session's first program decides where drivers write, and a server that stays keeps its services
# up; started by the program under test they would hold its standard output open.
start_wine() {
  if [ ! -e "$WINEPREFIX/made" ]; then
    rm -rf "$WINEPREFIX"
    # The folders of a user come into the prefix, not into the home of who runs this.
    mkdir -p "$WINEPREFIX/home"
    HOME=$WINEPREFIX/home timeout --foreground 300 wineboot -i </dev/null >"$WINEPREFIX/boot.log" 2>&1 ||
      return 1
    timeout --foreground 60 wineserver -w
    touch "$WINEPREFIX/made"
  fi
  stop_wine
  : >"$driver_log"
  wineserver -p </dev/null >/dev/null 2>&1
  WINEDEBUG=-all,warn+debugstr timeout --foreground 60 wine cmd /c exit </dev/null >/dev/null 2>>"$driver_log"
}

stop_wine() {
  wineserver -k 2>/dev/null || true
  timeout --foreground 60 wineserver -w || true
}

# driver_lines: what drivers said since the session began, or since the log was emptied.
driver_lines() {
  tr -d '\r' <"$driver_log" | sed -n 's/^.*vDbgPrintExWithPrefix [^ ]* //p'
}

# stored_verdict: the number stored in the registry of the prefix; nothing when there is none.
stored_verdict() {
  wine reg query 'HKLM\SOFTWARE\Korinth' /v driver_signature_supported 2>/dev/null | tr -d '\r' |
    sed -n 's/^.*REG_DWORD *0x//p'
}

# service_exists and driver_file_exists: what the probe is to leave behind: neither.
service_exists() {
  wine sc query krdummy >/dev/null 2>&1
}

driver_file_exists() {
  [ -e "$WINEPREFIX/drive_c/windows/system32/drivers/krdummy.sys" ]
}
