#!/usr/bin/env bash
# Scans with the virtual scanner, through the module and a real TWAIN manager (Wine's): installs what is
# missing, builds, and runs smscan with the options given. Pages land in out/ unless --output says otherwise.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

"$REPO/scripts/setup.sh" scan
"$REPO/scripts/build.sh" ScanModule smscan virtual_scanner

# Wine shows the Unix tree as drive Z:, and Unix paths name files there while Z: is the current drive: it is,
# unless the current folder lies inside a prefix. So --output is made absolute, and such a folder left.
absolute() {
  case $1 in
    - | /* | [A-Za-z]:*) printf '%s' "$1" ;;
    *) printf '%s/%s' "${PWD//%/%%}" "$1" ;;
  esac
}

arguments=()
output_given=
extension=bmp
previous=
for argument in "$@"; do
  if [[ $previous == --output ]]; then
    argument=$(absolute "$argument")
  elif [[ $previous == --format || $argument == --format=* ]]; then
    extension=${argument#*=}
  elif [[ $argument == --output=* ]]; then
    argument=--output=$(absolute "${argument#*=}")
  fi
  [[ $argument != --output* ]] || output_given=yes
  [[ $argument != --help ]] ||
    echo "scan.sh hands its options to smscan; its default for --output is out/page%03d.bmp in $REPO."
  arguments+=("$argument")
  previous=$argument
done
if [[ -z $output_given ]]; then
  mkdir -p -- "$REPO/out"
  if [[ $PWD -ef $REPO ]]; then
    arguments+=(--output "out/page%03d.$extension")
  else
    arguments+=(--output "${REPO//%/%%}/out/page%03d.$extension")
  fi
fi

[[ $(pwd -P) != "$REPO"/build/* ]] || cd -- "$REPO"
exec "$REPO/scripts/wine.sh" --prefix scan "$REPO/build/mingw32/bin/smscan.exe" "${arguments[@]}"
