#!/usr/bin/env bash
# Installs what a job needs and this machine lacks. Made for Debian 12 on 64-bit PCs; needs root or sudo only when
# something is missing, and asks apt nothing when nothing is.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: setup.sh scan|test|screens
Installs what is missing for building the programs and running them ("scan"; benchmarks need no more), or for the
tests and the checks of the sources as well ("test"), or for taking pictures of windows ("screens").
EOF
}

job=${1-}
case $job in
  scan | test | screens) (($# == 1)) || { usage >&2; exit 2; } ;;
  --help) usage; exit 0 ;;
  *) usage >&2; exit 2 ;;
esac

# Each row: the first job that needs it, a Debian package, and a file by which its presence is seen. The one list
# of what is needed.
readonly REQUIREMENTS=(
  'scan g++-mingw-w64-i686-win32 /usr/bin/i686-w64-mingw32-g++-win32'
  'scan binutils-mingw-w64-i686  /usr/bin/i686-w64-mingw32-windres'
  'scan cmake                    /usr/bin/cmake'
  'scan ninja-build              /usr/bin/ninja'
  'scan libz-mingw-w64-dev       /usr/i686-w64-mingw32/lib/libz.a'
  'scan wine                     /usr/bin/wine'
  'scan wine32:i386              /usr/lib/wine/wine'
  'scan nlohmann-json3-dev       /usr/include/nlohmann/json.hpp'
  'test doctest-dev              /usr/include/doctest/doctest.h'
  'test libstb-dev               /usr/include/stb/stb_image.h'
  'test python3-pil              /usr/lib/python3/dist-packages/PIL'
  'test poppler-utils            /usr/bin/pdfimages'
  'test clang-format-14          /usr/bin/clang-format-14'
  'screens xvfb                  /usr/bin/Xvfb'
  'screens xauth                 /usr/bin/xauth'
  'screens imagemagick           /usr/bin/import'
  'screens x11-utils             /usr/bin/xwininfo'
  'screens fonts-wine            /usr/share/wine/fonts/marlett.ttf'
  'screens fonts-liberation      /usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf'
)

missing=()
for requirement in "${REQUIREMENTS[@]}"; do
  read -r needed_by package file <<<"$requirement"
  [[ $needed_by == scan || $needed_by == "$job" ]] || continue
  [[ -e $file ]] || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

say "Missing on this machine: ${missing[*]}"

# by_hand REASON: what to do when this script can't install.
by_hand() {
  fail "$1
  What has to be there before this can go on: ${missing[*]}
  On Debian 12, as root:
    dpkg --add-architecture i386
    apt-get update
    apt-get install -y -t bookworm --no-install-recommends ${missing[*]}"
}

ID='' VERSION_ID='' VERSION_CODENAME='' PRETTY_NAME='an unknown system'
# shellcheck source=/dev/null
[[ ! -r /etc/os-release ]] || source /etc/os-release
[[ $ID == debian && $VERSION_ID == 12 ]] ||
  by_hand "this is $PRETTY_NAME; packages are installed on Debian 12 only."
[[ $(dpkg --print-architecture) == amd64 ]] ||
  by_hand "this is a $(dpkg --print-architecture) machine; packages are installed on amd64 only."

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || by_hand "installing needs root, and there is no sudo."
  as_root=(sudo)
  # Without a terminal sudo could ask for a password for ever.
  [[ -t 0 ]] || as_root+=(-n)
  "${as_root[@]}" true || by_hand "installing needs root, and sudo does not let this user."
fi
as_root+=(env DEBIAN_FRONTEND=noninteractive)

log_dir=$REPO/build
mkdir -p -- "$log_dir"
log=$log_dir/setup.log
: >"$log"

# logged COMMAND...: as root, its output at the end of the log.
logged() { "${as_root[@]}" "$@" >>"$log" 2>&1 </dev/null; }

if ! dpkg --print-foreign-architectures | grep -qx i386; then
  say "Adding the i386 architecture to dpkg (for 32-bit Wine) ..."
  logged dpkg --add-architecture i386 || by_hand "dpkg --add-architecture i386 failed; see $log"
fi

# One index that is out of step makes this fail though all that is needed is there: the install decides.
say "Updating the package lists ..."
logged apt-get -o DPkg::Lock::Timeout=120 update ||
  say "  apt-get update reported errors (see $log); trying to install all the same"

# The release is pinned because 32-bit Wine wants i386 libraries of exactly the versions of the amd64 ones.
# Where newer ones are installed already, the pin is what stands in the way: then without it.
say "Installing ${missing[*]} (about a minute, once) ..."
install=(apt-get -o DPkg::Lock::Timeout=120 install -y --no-install-recommends)
if ! logged "${install[@]}" -t "$VERSION_CODENAME" "${missing[@]}"; then
  say "  the release's own versions can't be installed; trying the newest ones"
  if ! logged "${install[@]}" "${missing[@]}"; then
    tail -n 30 -- "$log" >&2
    by_hand "apt-get install failed (its output: $log). Is the network reachable, and are Debian's package
  sources in /etc/apt?"
  fi
fi
say "Installed."
