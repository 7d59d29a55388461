#!/usr/bin/env bash
# Installs what is missing, checks the sources, builds everything (warnings are errors), runs all tests under Wine
# and, where it can be built, the module natively under sanitizers (fuzz.sh).
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: test.sh [--preset mingw32|mingw32-debug] [options of ctest]
Without options all tests are run on the release build, and fuzz.sh for a few seconds. Useful options of ctest:
  -R REGEX   only the tests whose names match        -N   only list the tests
  -V         show what passing tests print, too      --rerun-failed
EOF
}

preset=mingw32
ctest_options=()
while (($# > 0)); do
  case $1 in
    --preset) need_value "$@"; preset=$2; shift ;;
    --help) usage; exit 0 ;;
    *) ctest_options+=("$1") ;;
  esac
  shift
done

build_dir=$REPO/build/$preset
"$REPO/scripts/setup.sh" test
"$REPO/scripts/check_sources.sh"
# Making a Wine prefix is mostly waiting, so it's done beside the compiler's work.
"$REPO/scripts/wine_prefix.sh" --build-dir "$build_dir" base &
prefix=$!
"$REPO/scripts/build.sh" --preset "$preset" --with-tests
wait "$prefix" || fail "there is no Wine prefix to run the tests in"

# The virtual scanner's settings of whoever calls this are not the tests' settings.
for variable in "${!VSCAN_@}"; do
  unset "$variable"
done

# One more than there are processors, as some tests wait for a source that hangs.
jobs=$(($(nproc) + 1))
rc=0
ctest --test-dir "$build_dir" --output-on-failure --no-tests=error -j "$jobs" "${ctest_options[@]}" || rc=$?

# The whole suite includes a short native run under sanitizers.
((${#ctest_options[@]} > 0)) || "$REPO/scripts/fuzz.sh" --if-possible || rc=1

# Each test program ends with two lines of doctest's: "[doctest] test cases: 3 | 3 passed | ..." and the same
# for assertions. Their sums are the totals.
log=$build_dir/Testing/Temporary/LastTest.log
if [[ -f $log ]]; then
  awk '/^\[doctest\] test cases:/ { programs++; cases += $4; cases_failed += $9 }
       /^\[doctest\] assertions:/ { checks += $3; checks_failed += $8 }
       END { printf "Totals: %d test programs, %d test cases (%d failed), %d assertions (%d failed)\n",
             programs, cases, cases_failed, checks, checks_failed }' "$log"
fi
((rc == 0)) || say "Tests failed. Their whole output: $log"
exit "$rc"
