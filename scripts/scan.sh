#!/usr/bin/env bash
# Scans with the virtual scanner, through the module and a real TWAIN manager (Wine's): installs what is
# missing, builds, and runs smscan with the options given. Pages land in out/ unless --output says otherwise.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

smscan=$REPO/build/mingw32/bin/smscan.exe

# Nothing is installed or built only to be told the options.
help() {
  echo "scan.sh hands its options to smscan; its default for --output is out/page%03d.bmp in $REPO."
  if [[ -f $smscan && -d $REPO/build/mingw32/wine/scan ]] && command -v wine >/dev/null; then
    exec "$REPO/scripts/wine.sh" --prefix scan "$smscan" --help
  fi
  cat <<'EOF'
smscan isn't built yet: the first scan builds it, and --help then tells all of its options. The main ones:
  --mode bw|gray|color  --resolution DPI  --paper a4|letter|...  --area L,T,R,B
  --pages N|all         --output PATTERN  (page%03d.bmp)
  --list                the sources       --caps  what the source offers
EOF
  exit 0
}
for argument in "$@"; do
  [[ $argument != --help && $argument != -h ]] || help
done

"$REPO/scripts/setup.sh" scan
"$REPO/scripts/build.sh" ScanModule smscan virtual_scanner

# Wine shows the Unix tree as drive Z:, and Unix paths name files there while Z: is the current drive: it is,
# unless the current folder lies inside a prefix. So --output is made absolute, and such a folder left.
absolute() {
  case $1 in
    '' | -* | /* | [A-Za-z]:*) printf '%s' "$1" ;;
    *) printf '%s/%s' "${PWD//%/%%}" "$1" ;;
  esac
}

readonly letter_o='^(-[lcqVh]*o)' # alone or behind options without a value
arguments=()
prefix=scan
output_given=
extension=bmp
previous=
for argument in "$@"; do
  if [[ $previous == --output || $previous =~ $letter_o$ ]]; then
    argument=$(absolute "$argument")
  elif [[ $previous == --format || $argument == --format=* ]]; then
    extension=${argument#*=}
  elif [[ $argument == --output=* ]]; then
    argument=--output=$(absolute "${argument#*=}")
  elif [[ $argument =~ $letter_o(.+) ]]; then
    argument=${BASH_REMATCH[1]}$(absolute "${BASH_REMATCH[2]}")
  fi
  [[ $argument != --output* && ! $argument =~ $letter_o ]] || output_given=yes
  [[ $argument != --ui && $argument != --select ]] || prefix=screen
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

# The prefix without graphics would show the window to nobody.
if [[ $prefix == screen && -z ${DISPLAY-} ]]; then
  say "$SCRIPT_NAME: --ui and --select show a window, and there is no display: run this on a desktop, or with
  xvfb-run. Without a window --source NAME chooses a source (--list tells the names)."
  exit 2
fi

[[ $(pwd -P) != "$REPO"/build/* ]] || cd -- "$REPO"
exec "$REPO/scripts/wine.sh" --prefix "$prefix" "$smscan" "${arguments[@]}"
