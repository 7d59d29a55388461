#!/usr/bin/env bash
# Builds and runs the benchmark programs (bin/bench_*.exe of the release build), one after the other.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: bench.sh [--prefix NAME] [BENCHMARK...]
Runs all benchmarks, or those named ("strips" is bench_strips.exe), in one of the prefixes of wine.sh; without
--prefix in scan-tests, with Wine's own TWAIN manager and the virtual scanner at its defaults. "commands" measures
scan.sh and the size of the library, "worker" smworker beside smscan. Ends with exit code 1 and names the rows when values are above their limits.
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
if ((${#names[@]} == 0)); then
  shopt -s nullglob
  for program in "$bin"/bench_*.exe; do
    name=${program##*/bench_}
    names+=("${name%.exe}")
  done
  ((${#names[@]} > 0)) || fail "there are no benchmarks: $bin/bench_*.exe matches nothing"
  names+=(commands worker)
fi

# The virtual scanner's settings of whoever calls this would change what is measured.
for variable in "${!VSCAN_@}"; do
  unset "$variable"
done

# row NAME VALUE LIMIT: prints a row of the table, in thousandths; remembers whether the value is above the limit.
failed=()
row() {
  local verdict=good
  (($2 <= $3)) || { verdict='TOO MUCH'; failed+=("$1"); }
  printf '%-44s %4d.%03d %4d.%03d  %s\n' "$1" $(($2 / 1000)) $(($2 % 1000)) $(($3 / 1000)) $(($3 % 1000)) "$verdict"
}

# shortest RUNS LIMIT FOLDER COMMAND...: the milliseconds of the fastest run, of three times as many where it is above
# the limit; a busy machine only ever adds to them. The folder is emptied before each.
shortest() {
  local runs=$1 limit=$2 folder=$3 best=999999 start now i
  shift 3
  for ((i = 0; i < runs || (i < 3 * runs && best > limit); i++)); do
    rm -f -- "${folder:?}"/*
    start=${EPOCHREALTIME/[.,]/}
    "$@" >/dev/null 2>&1 || fail "this failed: $*"
    now=${EPOCHREALTIME/[.,]/}
    ((now - start >= best * 1000)) || best=$(((now - start) / 1000))
  done
  echo "$best"
}

# Runs a program and shows what it prints; remembers its rows that are above their limits.
run_program() {
  local output line had=${#failed[@]} rc=0
  exec {output}>&1
  while IFS= read -r line; do
    [[ $line =~ ^(.*[^ ])\ +[0-9.]+\ +[0-9.]+\ +TOO\ MUCH ]] || continue
    failed+=("${BASH_REMATCH[1]}")
  done < <("$REPO/scripts/wine.sh" --prefix "$prefix" "./bench_$1.exe" | tr -d '\r' | tee "/dev/fd/$output"
    exit "${PIPESTATUS[0]}")
  exec {output}>&-
  wait $! || rc=$?
  ((rc == 0 || ${#failed[@]} > had)) || failed+=("$1")
}

measure_commands() {
  local pages took
  pages=$(mktemp -d "$REPO/build/pages.XXXXXX")
  printf '%-44s %8s %8s\n' '' value 'at most'
  row 'ScanModule.dll, MB' $(($(stat -c %s "$bin/ScanModule.dll") / 1000)) 265
  "$REPO/scripts/scan.sh" --output "$pages/warm.bmp" >/dev/null 2>&1 || fail "scan.sh failed"
  took=$(shortest 10 250 "$pages" "$REPO/scripts/scan.sh" --output "$pages/page.bmp")
  row 'scan.sh, from call to page, s' "$took" 250
  # 4,000 pages a minute.
  took=$(VSCAN_PAGES=50 shortest 5 750 "$pages" "$REPO/scripts/scan.sh" --mode gray --resolution 300 --pages all \
    --output "$pages/%03d.bmp")
  row '50 pages, gray, 300 dpi, s' "$took" 750
  rm -r -- "$pages"
}

cd -- "$bin"
for name in "${names[@]}"; do
  name=${name#bench_}
  printf '== %s\n' "$name"
  if [[ $name == commands ]]; then
    measure_commands
  elif [[ $name == worker ]]; then
    python3 "$REPO/bench/worker.py" "$REPO" "$REPO/scripts/wine.sh" --prefix "$prefix" --exec || failed+=("$name")
  else
    [[ -f bench_$name.exe ]] || fail "there is no benchmark '$name' ($bin/bench_$name.exe is not built)"
    run_program "$name"
  fi
done
((${#failed[@]} == 0)) || fail "above their limits, or failed: $(printf '"%s" ' "${failed[@]}")"
