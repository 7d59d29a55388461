#!/usr/bin/env bash
# Builds and runs the benchmark programs (bin/bench_*.exe of the release build), one after the other.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: bench.sh [--prefix NAME] [BENCHMARK...]
Runs all benchmarks, or those named ("strips" is bench_strips.exe), in one of the prefixes of wine.sh; without
--prefix in scan-tests, with Wine's own TWAIN manager and the virtual scanner at its defaults. Ends with exit
code 1 when a benchmark judges its numbers too bad.
EOF
}

prefix=scan-tests
names=()
while (($# > 0)); do
  case $1 in
    --prefix) need_value "$@"; prefix=$2; shift ;;
    --help) usage; exit 0 ;;
    -*) fail "unknown option $1 (bench.sh --help lists the options)" ;;
    *) names+=("$1") ;;
  esac
  shift
done

"$REPO/scripts/setup.sh" scan
"$REPO/scripts/build.sh" benchmarks

bin=$REPO/build/mingw32/bin
programs=()
if ((${#names[@]} > 0)); then
  for name in "${names[@]}"; do
    program=$bin/bench_${name#bench_}.exe
    [[ -f $program ]] || fail "there is no benchmark '$name' ($program is not built)"
    programs+=("$program")
  done
else
  shopt -s nullglob
  programs=("$bin"/bench_*.exe)
  ((${#programs[@]} > 0)) || fail "there are no benchmarks: $bin/bench_*.exe matches nothing"
fi

# The virtual scanner's settings of whoever calls this would change what is measured.
for variable in "${!VSCAN_@}"; do
  unset "$variable"
done

cd -- "$bin"
failed=()
for program in "${programs[@]}"; do
  printf '== %s\n' "${program##*/}"
  "$REPO/scripts/wine.sh" --prefix "$prefix" "$program" || failed+=("${program##*/}")
done
((${#failed[@]} == 0)) || fail "these failed: ${failed[*]}"
