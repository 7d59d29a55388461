#!/usr/bin/env bash
# Scans thousands of small pages in one process by each mechanism, and has the module live thousands of lives;
# prints what the process holds meanwhile and fails when it grows.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: endurance.sh [COUNT [RUN...]]
COUNT pages or lives each, 10000 when not said (some minutes). RUN: native, file, pushed, pulled, one-shot, cycles;
all of them when none is named. Ends with exit code 1 when something grows after the first hundred.
EOF
}

if [[ ${1-} == --help ]]; then
  usage
  exit 0
fi
"$REPO/scripts/setup.sh" test
"$REPO/scripts/build.sh" --with-tests endurance

# The virtual scanner's settings of whoever calls this would change what is measured.
for variable in "${!VSCAN_@}"; do
  unset "$variable"
done
cd -- "$REPO/build/mingw32/bin"
exec "$REPO/scripts/wine.sh" --prefix tests endurance.exe "${@:-10000}"
