#!/usr/bin/env bash
# Installs what a job needs and this machine lacks. Made for Debian 12 on 64-bit PCs; needs root or sudo only when
# something is missing, and asks apt nothing when nothing is.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: setup.sh JOB
Installs what is missing for building the programs and running them ("scan"; benchmarks need no more), and for
  test     the tests and the checks of the sources
  package  the package
  screens  taking pictures of windows
  csharp   the test of the worker's C# client, which is left out otherwise
  fuzz     the native build with sanitizers; this one alone needs nothing of a scan's
EOF
}

job=${1-}
case $job in
  scan | test | package | screens | csharp | fuzz) (($# == 1)) || { usage >&2; exit 2; } ;;
  --help) usage; exit 0 ;;
  *) usage >&2; exit 2 ;;
esac

# Each row: the jobs that need it (all but fuzz need what a scan needs), a Debian package, and what shows that it is there:
# commands or files, one of which is enough; other distributions have other names. The one list of what is needed.
readonly REQUIREMENTS=(
  'scan g++-mingw-w64-i686-win32 i686-w64-mingw32-g++-win32|i686-w64-mingw32-g++'
  'scan binutils-mingw-w64-i686  i686-w64-mingw32-windres'
  'scan,fuzz cmake               cmake'
  'scan,fuzz ninja-build         ninja'
  'scan libz-mingw-w64-dev       /usr/i686-w64-mingw32/lib/libz.a|/usr/i686-w64-mingw32/sys-root/mingw/lib/libz.a'
  'scan nlohmann-json3-dev       /usr/include/nlohmann/json.hpp|/usr/local/include/nlohmann/json.hpp'
  'scan wine                     wine'
  'scan wine32:i386              /usr/lib/wine/wine|/usr/lib/wine/i386-windows|/usr/lib32/wine'
  'test doctest-dev              /usr/include/doctest/doctest.h|/usr/local/include/doctest/doctest.h'
  'test libstb-dev               /usr/include/stb/stb_image.h|/usr/local/include/stb/stb_image.h'
  'test clang-format-14          clang-format-14'
  'test python3-pil              /usr/lib/python3/dist-packages/PIL'
  'test poppler-utils            pdfimages'
  'test pkgconf                  pkg-config'
  'test,package lld-14           lld-link-14|lld-link'
  'package zip                   zip'
  'screens xvfb                  Xvfb'
  'screens xauth                 xauth'
  'screens imagemagick           import'
  'screens x11-utils             xwininfo'
  'screens xdotool               xdotool'
  'screens fonts-wine            /usr/share/wine/fonts/marlett.ttf'
  'screens fonts-liberation      /usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf'
  'csharp mono-mcs               mcs'
  'csharp mono-runtime           mono'
  'csharp libmono-system-xml-linq4.0-cil               /usr/lib/mono/4.5/System.Xml.Linq.dll'
  'csharp libmono-system-runtime-serialization4.0-cil  /usr/lib/mono/4.5/System.Runtime.Serialization.dll'
  # Not gcc-multilib: it can't be installed beside other cross compilers.
  'fuzz clang-14                 clang++-14'
  'fuzz libclang-rt-14-dev       /usr/lib/llvm-14/lib/clang/14.0.6/lib/linux/libclang_rt.fuzzer-i386.a'
  'fuzz libc6-dev-i386           /usr/lib32/crt1.o'
  'fuzz lib32stdc++-12-dev       /usr/lib/gcc/x86_64-linux-gnu/12/32/libstdc++.a'
)

# is_there SIGNS: whether one of the commands or files is.
is_there() {
  local sign signs
  IFS='|' read -ra signs <<<"$1"
  for sign in "${signs[@]}"; do
    # A command's name may also be that of a folder here.
    if [[ $sign == /* ]]; then
      [[ ! -e $sign ]] || return 0
    elif command -v -- "$sign" >/dev/null; then
      return 0
    fi
  done
  return 1
}

missing=()
unseen=()
for requirement in "${REQUIREMENTS[@]}"; do
  read -r needed_by package signs <<<"$requirement"
  [[ ,$needed_by, == *",$job,"* || (,$needed_by, == *,scan,* && $job != fuzz) ]] || continue
  is_there "$signs" && continue
  missing+=("$package")
  unseen+=("${signs//|/ or }")
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
    apt-get install -y -t bookworm --no-install-recommends ${missing[*]}
  Elsewhere, what your system calls these; this script goes on as soon as it finds
$(printf '    %s\n' "${unseen[@]}")"
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
