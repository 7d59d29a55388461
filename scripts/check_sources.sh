#!/usr/bin/env bash
# Checks rules of the source tree that a compiler does not know. Prints each breach; fails if there is one.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"
cd -- "$REPO"

breaches=0
# breach TEXT FILES: reports the files, one per line, when there are any.
breach() {
  [[ -n $2 ]] || return 0
  say "$1"
  say "  ${2//$'\n'/$'\n'  }"
  breaches=$((breaches + 1))
}

# source_files TEST...: the tree's own files, without what builds and scans leave behind.
source_files() {
  find . \( -path ./build -o -path ./out -o -name .git \) -prune -o \( "$@" \) -print | sort
}
text_files() {
  source_files -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.c' -o -name '*.rc' -o -name '*.def*' \
    -o -name '*.sh' -o -name '*.cmake' -o -name '*.txt' -o -name '*.md' -o -name '*.ini' -o -name '*.json' \)
}
# matching PATTERN: the text files with a line that matches.
matching() { text_files | xargs -r -d '\n' grep -lP -- "$1" || true; }

breach "A trace line shows its source file's path and is searched for these words, so no name may hold them:" \
  "$(source_files -name '*Coming*' -o -name '*Leaving*')"
breach "Lines end with blanks or a carriage return:" "$(matching '[ \t\r]$')"
breach "Tabs are used for indentation:" "$(matching '^ *\t')"
breach "The last line has no end:" \
  "$(text_files | while IFS= read -r file; do
    [[ ! -s $file || -z $(tail -c 1 -- "$file") ]] || echo "$file"
  done)"
breach "Scripts are not executable (lib.sh is only sourced):" \
  "$(source_files -path './scripts/*.sh' ! -name lib.sh ! -executable -o -path ./.ci/run ! -executable)"

((breaches == 0)) || fail "$breaches rules are broken"
