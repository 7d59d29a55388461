#!/usr/bin/env bash
# Runs a Windows program under Wine in a prefix of the project's own, made on first use inside the build
# folder; nobody's ~/.wine is touched and no display is needed.
# shellcheck disable=SC2317 # most functions are called by name, through run_step and locked
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: wine.sh [--build-dir DIR] [--prefix NAME] [--hold-stderr] PROGRAM [ARGUMENT...]
       wine.sh [--build-dir DIR] [--prefix NAME] --prepare
Runs PROGRAM in one of the project's Wine prefixes and ends with its exit code.

  --prefix scan        Wine's own TWAIN manager and the virtual scanner; vscan.ini there is yours (the default)
  --prefix scan-tests  the same for tests: vscan.ini is always the one of the source tree
  --prefix tests       the tests' scriptable manager as C:\windows\twain_32.dll instead of Wine's
  --prefix screen      like scan, with Wine's graphics on: for xvfb-run or a desktop
  --build-dir DIR      where bin/ and the prefixes (wine/NAME) are; default: build/mingw32 of the source tree
  --prepare            only makes the prefix and brings its files up to date
  --hold-stderr        shows what the program writes to stderr when it has ended: Wine's desktop process keeps
                       stderr open for a second or two, for which whoever reads a pipe would have to wait
WINEDEBUG is passed on when it is set.
EOF
}

build_dir=$REPO/build/mingw32
prefix_name=scan
prepare_only=
hold_stderr=
while (($# > 0)); do
  case $1 in
    --build-dir) need_value "$@"; build_dir=$2; shift 2 ;;
    --prefix) need_value "$@"; prefix_name=$2; shift 2 ;;
    --prepare) prepare_only=yes; shift ;;
    --hold-stderr) hold_stderr=yes; shift ;;
    --help) usage; exit 0 ;;
    --) shift; break ;;
    -*) fail "unknown option $1 (wine.sh --help lists the options)" ;;
    *) break ;;
  esac
done
[[ -n $prepare_only ]] || (($# > 0)) || { usage >&2; exit 2; }
command -v wine >/dev/null || fail "Wine is not installed; scripts/setup.sh installs what is missing"
mkdir -p -- "$build_dir"
build_dir=$(cd -- "$build_dir" && pwd)
wine_dir=$build_dir/wine
prefix=$wine_dir/$prefix_name

overrides='mscoree=;mshtml=;winemenubuilder.exe='
case $prefix_name in
  # Loading Wine's own camera source would take longer than the rest of a small scan.
  scan | scan-tests | screen) overrides+=';gphoto2.ds=' ;;
  tests) overrides+=';twain_32=n' ;;
  *) fail "unknown prefix '$prefix_name': scan, scan-tests, tests or screen" ;;
esac
export WINEARCH=win32 WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES=$overrides
# Tests see the same ANSI code page (1252) on every machine. Elsewhere the user's locale stands, unless it is
# one in which Wine could not read file names beyond ASCII.
locale=${LC_ALL:-${LC_CTYPE:-${LANG:-C}}}
if [[ $prefix_name == *tests || $locale != *[Uu][Tt][Ff]* ]]; then
  export LC_ALL=C.UTF-8
fi

# in_prefix DIR COMMAND...: without a display even where there is one, so that Wine can't show its own
# "updating" window.
in_prefix() { env -u DISPLAY -u WAYLAND_DISPLAY WINEPREFIX="$1" "${@:2}"; }

# A server still running would write its copy of the registry after ours was copied or moved.
stop_server() {
  in_prefix "$1" wineserver -k || true
  in_prefix "$1" wineserver -w
}

# No graphics, so no display is needed; and a crash ends the program with a backtrace, where Wine would wait for
# a click on a window that nobody sees.
initialise_base() {
  in_prefix "$1" wineboot -i &&
    in_prefix "$1" wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f &&
    in_prefix "$1" wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f &&
    stop_server "$1" &&
    [[ -f $1/drive_c/windows/twain_32.dll ]]
}

# What an interrupted run left behind; its Wine may still be at work there.
discard() {
  [[ -d $1 ]] || return 0
  stop_server "$1"
  rm -rf -- "$1"
}

# The prefix all others are copied from. It gets its name when it is complete.
make_base() {
  discard "$wine_dir/base.new"
  mkdir -p -- "$wine_dir/base.new"
  run_step "Making a Wine prefix below $wine_dir (once, about 15 s) ..." "$wine_dir/create.log" \
    initialise_base "$wine_dir/base.new"
  mv -- "$wine_dir/base.new" "$wine_dir/base"
}

make_prefix() {
  [[ -d $prefix ]] && return # another run was faster
  [[ -d $wine_dir/base ]] || make_base
  discard "$prefix.new"
  # Half a gigabyte of Wine's own files is hard-linked; what programs write to is copied.
  cp -al -- "$wine_dir/base" "$prefix.new"
  (cd -- "$wine_dir/base" && find . -type f -not -path './drive_c/windows/system32/*' \
    -exec cp -a --remove-destination --parents -t "$prefix.new" {} +)
  if [[ $prefix_name == screen ]]; then
    in_prefix "$prefix.new" wine reg delete 'HKCU\Software\Wine\Drivers' /v Graphics /f >/dev/null
    stop_server "$prefix.new"
  fi
  mv -- "$prefix.new" "$prefix"
}

# install_file FILE TARGET: replaces TARGET when it differs; in one step, and never through a hard link.
install_file() {
  cmp -s -- "$1" "$2" && return
  cp -- "$1" "$2.new.$$"
  mv -f -- "$2.new.$$" "$2"
}

install_built() {
  if [[ -f $build_dir/bin/$1 ]]; then
    install_file "$build_dir/bin/$1" "$2"
  else
    say "wine.sh: $build_dir/bin/$1 is not built, so the prefix '$prefix_name' has no $3"
  fi
}

install_files() {
  local sources=$prefix/drive_c/windows/twain_32 settings=$REPO/virtual/vscan.ini
  if [[ $prefix_name == tests ]]; then
    install_built tests/twain_32.dll "$prefix/drive_c/windows/twain_32.dll" "scriptable TWAIN manager"
    return
  fi
  # Wine's manager knows the sources sane.ds and gphoto2.ds only; Debian's Wine has a mere placeholder for the
  # first one.
  install_built vscan.ds "$sources/sane.ds" "virtual scanner"
  if [[ $prefix_name == scan-tests || ! -e $sources/vscan.ini ]]; then
    install_file "$settings" "$sources/vscan.ini"
  fi
}

[[ -d $prefix ]] || locked "$wine_dir/lock" make_prefix
[[ -O $prefix ]] || fail "$prefix belongs to another user (was a script run with sudo?); remove $wine_dir"
install_files
[[ -z $prepare_only ]] || exit 0

export WINEPREFIX=$prefix
if [[ -z $hold_stderr ]]; then
  exec wine "$@"
fi
held=$(mktemp "$wine_dir/stderr.XXXXXX")
exec 8>"$held"
exec 7<"$held"
rm -- "$held"
rc=0
wine "$@" 2>&8 7<&- 8>&- || rc=$?
cat <&7 >&2
exit "$rc"
