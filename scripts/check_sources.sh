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
  source_files -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.rc' -o -name '*.def*' \
    -o -name '*.sh' -o -name '*.py' -o -name '*.cmake' -o -name '*.txt' -o -name '*.md' -o -name '*.ini' -o -name '*.json' \)
}
# matching PATTERN: the text files with a line that matches.
matching() { text_files | xargs -r -d '\n' grep -lP -- "$1" || true; }

breach "A trace line shows its source file's path and is searched for these words, so no name may hold them:" \
  "$(source_files -name '*Coming*' -o -name '*Leaving*')"
breach "Lines end with blanks or a carriage return:" "$(matching '[ \t\r]$')"
breach "Tabs are used for indentation:" "$(matching '^ *\t')"
breach "The last line has no end:" \
  "$(text_files | xargs -r -d '\n' grep -LPz -- '\n\z|\A\z' || true)"
breach "Scripts are not executable (lib.sh is only sourced):" \
  "$(source_files -path './scripts/*.sh' ! -name lib.sh ! -executable -o -path ./.ci/run ! -executable)"

command -v clang-format-14 >/dev/null || fail "clang-format-14 is not installed (setup.sh test installs it)"
breach "clang-format-14 would write these otherwise (its option -i rewrites a file):" \
  "$(source_files -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.inc' \) |
    xargs -r -d '\n' clang-format-14 --dry-run 2>&1 | sed -nE 's/^([^:]+):[0-9]+:[0-9]+: .*/\1/p' | sort -u)"

# The rooms of sm/, from the ground up: a header builds on its own room and those before it.
readonly ROOMS=(base link session capabilities transfer oneshot)
upward_includes() {
  local -A floor=()
  local i header included
  for i in "${!ROOMS[@]}"; do
    for header in sm/"${ROOMS[i]}"/*.h; do
      floor[${header##*/}]=$i
    done
  done
  for i in "${!ROOMS[@]}"; do
    for header in sm/"${ROOMS[i]}"/*.h; do
      sed -nE 's|^ *# *include *["<]([^">]*/)?([^">]+)[">].*|\2|p' -- "$header" |
        while IFS= read -r included; do
          ((${floor[$included]:-0} <= i)) || echo "$header includes $included"
        done
    done
  done
}
shopt -s nullglob
breach "A header includes one of a room that stands after its own (${ROOMS[*]}):" "$(upward_includes)"
breach "TScanModule.h is for the files of sm/ that hold the class's methods:" \
  "$(source_files -name '*.h' -o -name '*.cpp' ! -path './sm/*' |
    xargs -r -d '\n' grep -lE '^ *# *include *["<](.*/)?TScanModule\.h[">]' || true)"

((breaches == 0)) || fail "$breaches rules are broken"
