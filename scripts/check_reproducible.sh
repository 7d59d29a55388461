#!/usr/bin/env bash
# Builds the package twice, from two copies of the sources in two folders, and compares the results byte for byte.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || fail "this script takes no options"
"$REPO/scripts/setup.sh" package
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
SOURCE_DATE_EPOCH=$(git -C "$REPO" log -1 --format=%ct)
export SOURCE_DATE_EPOCH

# Paths of different lengths, one with a blank; and not within the same second.
for copy in a 'another copy'; do
  say "Building the package in $work/$copy ..."
  mkdir -- "$work/$copy"
  git -C "$REPO" ls-files -z | tar -C "$REPO" --null --files-from=- -c | tar -C "$work/$copy" -x
  "$work/$copy/scripts/package.sh" --output "$work/$copy/out" 2>"$work/log" || { cat -- "$work/log" >&2; exit 1; }
done

(cd -- "$work/a/out" && cat SHA256SUMS)
for file in "$work/a/out"/*; do
  cmp -- "$file" "$work/another copy/out/${file##*/}" || fail "two builds of the same sources differ"
done
say "Both builds are the same, byte for byte."
