#!/usr/bin/env bash
# Makes a Wine prefix of the project's own inside the build folder, where it is missing, and brings the files in
# it up to date. Nobody's ~/.wine is touched and no display is needed.
# shellcheck disable=SC2317 # most functions are called by name, through run_step and locked
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: wine_prefix.sh [--build-dir DIR] NAME
Makes the prefix DIR/wine/NAME; DIR is build/mingw32 of the source tree when not said. NAME is one of those that
wine.sh --help tells of, tests-1, tests-2 and so on, or "base": the one that all others are copied from.
EOF
}

build_dir=$REPO/build/mingw32
while (($# > 0)); do
  case $1 in
    --build-dir) need_value "$@"; build_dir=$2; shift 2 ;;
    --help) usage; exit 0 ;;
    -*) fail "unknown option $1 (wine_prefix.sh --help lists the options)" ;;
    *) break ;;
  esac
done
(($# == 1)) || { usage >&2; exit 2; }
prefix_name=$1
[[ $prefix_name =~ ^(base|scan|scan-tests|screen|tests-[1-9][0-9]*)$ ]] ||
  fail "unknown prefix '$prefix_name': base, scan, scan-tests, screen or tests-1, tests-2 and so on"
command -v wine >/dev/null || fail "Wine is not installed; scripts/setup.sh test installs what is missing"
mkdir -p -- "$build_dir"
build_dir=$(cd -- "$build_dir" && pwd)
wine_dir=$build_dir/wine
prefix=$wine_dir/$prefix_name

export WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=' LC_ALL=C.UTF-8

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

# The prefix gets its name when it is complete.
make_base() {
  [[ -d $wine_dir/base ]] && return # another run was faster
  discard "$wine_dir/base.new"
  mkdir -p -- "$wine_dir/base.new"
  run_step "Making a Wine prefix below $wine_dir (once, about 15 s) ..." "$wine_dir/create.log" \
    initialise_base "$wine_dir/base.new"
  mv -- "$wine_dir/base.new" "$wine_dir/base"
}

copy_base() {
  make_base
  [[ -d $prefix ]] && return
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

make_prefix() { if [[ $prefix_name == base ]]; then make_base; else copy_base; fi; }

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
    say "$SCRIPT_NAME: $build_dir/bin/$1 is not built, so the prefix '$prefix_name' has no $3"
  fi
}

install_files() {
  local sources=$prefix/drive_c/windows/twain_32 settings=$REPO/virtual/vscan.ini
  case $prefix_name in
    base) ;;
    tests-*)
      install_built tests/twain_32.dll "$prefix/drive_c/windows/twain_32.dll" "scriptable TWAIN manager"
      ;;
    *)
      # Wine's manager knows the sources sane.ds and gphoto2.ds only; Debian's Wine has a mere placeholder for
      # the first one.
      install_built vscan.ds "$sources/sane.ds" "virtual scanner"
      if [[ $prefix_name == scan-tests || ! -e $sources/vscan.ini ]]; then
        install_file "$settings" "$sources/vscan.ini"
      fi
      ;;
  esac
}

[[ -d $prefix ]] || locked "$wine_dir/lock" make_prefix
[[ -O $prefix ]] || fail "$prefix belongs to another user (was a script run with sudo?); remove $wine_dir"
install_files
