#!/usr/bin/env bash
# Builds the package that hosts' developers take: a zip, another one with the debug information, and their sums.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: package.sh [--output DIR]
Writes ScanModule-VERSION-win32.zip, ScanModule-VERSION-win32-debug.zip and SHA256SUMS into DIR, build/package when
not said. The same sources make the same bytes: the times in the zips are that of the commit, or SOURCE_DATE_EPOCH
when that is set.
EOF
}

output=$REPO/build/package
while (($# > 0)); do
  case $1 in
    --output) need_value "$@"; output=$2; shift ;;
    --help) usage; exit 0 ;;
    *) fail "unknown option $1 (package.sh --help lists the options)" ;;
  esac
  shift
done
mkdir -p -- "$output"
output=$(cd -- "$output" && pwd)

# Without git's history, as in an archive of the sources, the public header's time serves.
epoch=${SOURCE_DATE_EPOCH:-$(git -C "$REPO" log -1 --format=%ct 2>/dev/null ||
  stat -c %Y -- "$REPO/include/scanmodule/scanmodule.h")}

"$REPO/scripts/setup.sh" package
build_dir=$REPO/build/mingw32
# The linker that makes ScanModule.lib may have been missing when the folder was configured.
if [[ -f $build_dir/CMakeCache.txt ]] && ! grep -q '^LLD_LINK:FILEPATH=/' "$build_dir/CMakeCache.txt"; then
  rm -- "$build_dir/CMakeCache.txt" "$build_dir/build.ninja"
fi
"$REPO/scripts/build.sh" products

version=$(sed -n 's/^#define SM_VERSION_TEXT "\(.*\)"$/\1/p' "$REPO/include/scanmodule/scanmodule.h")
name=ScanModule-$version-win32
stage=$(mktemp -d "$output/.stage.XXXXXX")
trap 'rm -rf -- "$stage"' EXIT

# archive COMPONENT ZIP: names are sorted, nothing but names, times and contents goes in.
archive() {
  run_step "Packing $2 ..." "$build_dir-package.log" \
    cmake --install "$build_dir" --prefix "$stage/$1/$name" --component "$1"
  find "$stage/$1" -exec touch -h -d "@$epoch" -- {} +
  rm -f -- "$output/$2"
  (cd -- "$stage/$1" && find "$name" -type f | LC_ALL=C sort | TZ=UTC zip -q -X -9 -@ "$output/$2")
}
umask 022
archive product "$name.zip"
archive debug "$name-debug.zip"
(cd -- "$output" && sha256sum -- "$name.zip" "$name-debug.zip" >SHA256SUMS)
(cd -- "$output" && ls -l -- "$name.zip" "$name-debug.zip" SHA256SUMS) >&2
