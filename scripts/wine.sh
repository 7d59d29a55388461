#!/usr/bin/env bash
# Runs a Windows program under Wine in one of the project's own prefixes, made on first use.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: wine.sh [--build-dir DIR] [--prefix NAME] [--hold-stderr|--exec] PROGRAM [ARGUMENT...]
Runs PROGRAM in one of the project's Wine prefixes and ends with its exit code.

  --prefix scan        Wine's own TWAIN manager and the virtual scanner; vscan.ini there is yours (the default)
  --prefix scan-tests  the same for tests: vscan.ini is always the one of the source tree
  --prefix tests       the tests' scriptable manager as C:\windows\twain_32.dll instead of Wine's; PROGRAM has a
                       Windows of its own meanwhile: the first of tests-1, tests-2, ... that nobody uses
  --prefix screen      like scan, with Wine's graphics on: for xvfb-run or a desktop
  --build-dir DIR      where bin/ and the prefixes (wine/NAME) are; default: build/mingw32 of the source tree
  --hold-stderr        shows what the program writes to stderr when it has ended: Wine's desktop process keeps
                       stderr open for a second or two, for which whoever reads a pipe would have to wait
  --exec               becomes Wine itself, for a program that its caller talks to and may kill
WINEDEBUG is passed on when it is set.
EOF
}

build_dir=$REPO/build/mingw32
prefix_name=scan
hold_stderr=
become=
while (($# > 0)); do
  case $1 in
    --build-dir) need_value "$@"; build_dir=$2; shift 2 ;;
    --prefix) need_value "$@"; prefix_name=$2; shift 2 ;;
    --hold-stderr) hold_stderr=yes; shift ;;
    --exec) become=yes; shift ;;
    --help) usage; exit 0 ;;
    --) shift; break ;;
    -*) fail "unknown option $1 (wine.sh --help lists the options)" ;;
    *) break ;;
  esac
done
(($# > 0)) || { usage >&2; exit 2; }
wine_dir=$build_dir/wine
mkdir -p -- "$wine_dir"
wine_dir=$(cd -- "$wine_dir" && pwd)

overrides='mscoree=;mshtml=;winemenubuilder.exe='
case $prefix_name in
  # Wine's manager would also load a source for cameras, each time: half of what opening a source takes.
  scan | scan-tests | screen) overrides+=';gphoto2.ds=' ;;
  tests)
    overrides+=';twain_32=n'
    # The lock is held as long as this script runs.
    number=1
    while exec 6>"$wine_dir/tests-$number.lock" && ! flock -n 6; do
      number=$((number + 1))
    done
    prefix_name=tests-$number
    ;;
  *) fail "unknown prefix '$prefix_name': scan, scan-tests, tests or screen" ;;
esac
[[ $prefix_name != screen || -n ${DISPLAY-} ]] ||
  fail "the prefix 'screen' needs a display: run this on a desktop, or with xvfb-run"
"$REPO/scripts/wine_prefix.sh" --build-dir "$build_dir" "$prefix_name" 6>&-

export WINEPREFIX=$wine_dir/$prefix_name WINEARCH=win32 WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES=$overrides
# Tests see the same ANSI code page (1252) on every machine. Elsewhere the user's locale stands, unless it is
# one in which Wine could not read names beyond ASCII: no UTF-8, or never generated on this machine.
if [[ $prefix_name == *tests* || $(locale charmap 2>/dev/null) != UTF-8 ]]; then
  export LC_ALL=C.UTF-8
fi

if [[ -n $become ]]; then
  # Wine's server would inherit the lock and never let go of it.
  [[ $prefix_name != tests-* ]] || fail "--exec doesn't go with the prefix 'tests'"
  exec wine "$@"
fi

# Wine lets SIGTERM and SIGHUP kill the program on the spot; SIGINT reaches it as Ctrl+C, which it can handle. So
# the program ignores the former, which timeout sends to all, and is sent the latter instead.
{ exec 3<&0; } 2>/dev/null || exec 3</dev/null
interrupt() {
  interrupted=yes ever_interrupted=yes
  [[ -n $program ]] || return 0
  # Wine loses signals while it starts.
  local tries=100
  while ((tries-- > 0)) && [[ -e /proc/$program/maps ]] && ! grep -q -m 1 kernelbase.dll "/proc/$program/maps"; do
    sleep 0.05
  done
  kill -INT "$program" 2>/dev/null || :
}

run() {
  program='' interrupted='' ever_interrupted=''
  trap interrupt INT TERM HUP
  # The shell has programs in the background ignore SIGINT.
  (trap '' TERM HUP; trap - INT; exec wine "$@" <&3 3<&-) &
  program=$!
  [[ -z $interrupted ]] || interrupt
  # A signal ends the wait, not the program.
  interrupted=yes
  while [[ -n $interrupted ]]; do
    interrupted='' rc=0
    wait "$program" || rc=$?
  done
  # Until the program handles Ctrl+C itself, Wine ends it with 0 for that.
  [[ -z $ever_interrupted ]] || ((rc != 0)) || rc=$((128 + 2))
}

# Wine's server outlives the program, so it inherits neither the lock nor the held output.
if [[ -z $hold_stderr ]]; then
  run "$@" 6>&-
else
  held=$(mktemp "$wine_dir/stderr.XXXXXX")
  exec 8>"$held"
  exec 7<"$held"
  rm -- "$held"
  run "$@" 2>&8 6>&- 7<&- 8>&-
  cat <&7 >&2
fi
exit "$rc"
