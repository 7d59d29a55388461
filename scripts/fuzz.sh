#!/usr/bin/env bash
# Builds the module, the virtual scanner and the readers of bitmaps natively, with the address and the undefined
# behaviour sanitizer, and runs them on the kept inputs and then on new ones.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

readonly TARGETS=(module scanner readers recording)
readonly COMPILER=clang++-14
# New inputs may be as long as the longest kept ones; a run takes a millisecond or two.
readonly LIMITS=(-max_len=2048 -len_control=0 -timeout=20 -rss_limit_mb=2560)

usage() {
  cat <<EOF
usage: fuzz.sh [--seconds N] [--seed N] [--if-possible] [target...]
Targets: ${TARGETS[*]} (default: all). Each runs on the inputs in tests/native/corpus, then for N seconds
(default 4) on new ones.
  --seed N        which new ones (default 1; 0 takes others each time)
  --if-possible   where the compiler or its 32-bit libraries are missing: say so and succeed
An input that fails stays in build/native/found (build/native/TARGET FILE runs it again), one that reaches new code
in build/native/new/TARGET.
EOF
}

seconds=4 seed=1 if_possible=false
chosen=()
while (($# > 0)); do
  case $1 in
    --seconds) need_value "$@"; seconds=$2; shift ;;
    --seed) need_value "$@"; seed=$2; shift ;;
    --if-possible) if_possible=true ;;
    --help) usage; exit 0 ;;
    *) [[ " ${TARGETS[*]} " == *" $1 "* ]] || { usage >&2; exit 2; }; chosen+=("$1") ;;
  esac
  shift
done
[[ $seconds =~ ^[0-9]+$ && $seed =~ ^[0-9]+$ ]] || { usage >&2; exit 2; }
((${#chosen[@]} > 0)) || chosen=("${TARGETS[@]}")

build_dir=$REPO/build/native
mkdir -p -- "$build_dir/found" "$build_dir/work"

# can_build: whether this machine makes and runs such programs; says what is missing.
can_build() {
  command -v "$COMPILER" >/dev/null || { say "There is no $COMPILER."; return 1; }
  command -v ninja >/dev/null || { say "There is no ninja."; return 1; }
  local try=$build_dir/try
  printf '#include <string>\nextern "C" int LLVMFuzzerTestOneInput(const char*, unsigned) { return %s; }\n' \
    'static_cast<int>(std::string().size())' >"$try.cpp"
  "$COMPILER" -m32 -fsanitize=address,undefined,fuzzer -idirafter /usr/include/x86_64-linux-gnu -o "$try" \
    "$try.cpp" >"$try.log" 2>&1 && "$try" -runs=1 >>"$try.log" 2>&1 && return 0
  say "$COMPILER makes no 32-bit programs with sanitizers here; see $try.log."
  return 1
}

# Tried once: where the packages can't be had, every later run would wait for apt in vain.
tried=$build_dir/setup-tried
if ! can_build && { [[ -e $tried ]] || ! : >"$tried" || ! "$REPO/scripts/setup.sh" fuzz || ! can_build; }; then
  needed="What it needs: setup.sh fuzz, which is tried once by itself."
  $if_possible || fail "the native build is not possible. $needed"
  say "LEFT OUT: the native run under sanitizers. $needed"
  exit 0
fi

run_step "Configuring the native build ..." "$build_dir/configure.log" \
  cmake -G Ninja -S "$REPO/tests/native" -B "$build_dir" -DCMAKE_CXX_COMPILER="$COMPILER"
run_step "Building it with sanitizers ..." "$build_dir/build.log" \
  cmake --build "$build_dir" --target "${chosen[@]}"

# What the programs write stays in one folder.
cd -- "$build_dir/work"
symbolizer=$(command -v llvm-symbolizer-14 || true)
export ASAN_OPTIONS=quarantine_size_mb=16${symbolizer:+:external_symbolizer_path=$symbolizer}
for target in "${chosen[@]}"; do
  kept=$REPO/tests/native/corpus/$target
  new=$build_dir/new/$target
  log=$build_dir/$target.log
  mkdir -p -- "$kept" "$new"
  run_step "$target: the kept inputs ..." "$log" \
    "$build_dir/$target" "${LIMITS[@]}" -runs=0 -artifact_prefix="$build_dir/found/" "$kept"
  if ((seconds > 0)); then
    run_step "$target: new inputs for $seconds seconds ..." "$log" "$build_dir/$target" "${LIMITS[@]}" \
      -seed="$seed" -max_total_time="$seconds" -artifact_prefix="$build_dir/found/" "$new" "$kept"
    say "  $(sed -nE 's/^Done ([0-9]+) runs.*/\1 inputs/p' "$log")"
  fi
done
