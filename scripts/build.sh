#!/usr/bin/env bash
# Configures a build folder where needed and builds in it.
# shellcheck disable=SC2317 # build is called by name, through locked
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'EOF'
usage: build.sh [--preset mingw32|mingw32-debug] [--with-tests] [TARGET...]
Builds the targets, or everything, in build/PRESET (mingw32 when not said).

  --with-tests  sees to it that the tests belong to everything: a folder configured on a machine without what
                they need is configured again
EOF
}

preset=mingw32
with_tests=
targets=()
while (($# > 0)); do
  case $1 in
    --preset) need_value "$@"; preset=$2; shift ;;
    --with-tests) with_tests=yes ;;
    --help) usage; exit 0 ;;
    -*) fail "unknown option $1 (build.sh --help lists the options)" ;;
    *) targets+=("$1") ;;
  esac
  shift
done
build_dir=$REPO/build/$preset

configure() {
  run_step "Configuring (preset $preset) ..." "$build_dir-configure.log" \
    env -C "$REPO" cmake --preset "$preset" "$@"
}

build() {
  # A cache that was made before the folder moved here is of no use.
  if [[ -f $build_dir/CMakeCache.txt ]]; then
    local home
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build_dir/CMakeCache.txt")
    [[ $home -ef $REPO ]] || rm -rf -- "$build_dir"/{CMakeCache.txt,CMakeFiles,build.ninja,tests}
  fi
  [[ -f $build_dir/build.ninja ]] || configure
  if [[ -n $with_tests && ! -f $build_dir/tests/CTestTestfile.cmake ]]; then
    configure -DBUILD_TESTING=ON
    [[ -f $build_dir/tests/CTestTestfile.cmake ]] ||
      fail "the tests were left out; $build_dir-configure.log says why (setup.sh test installs what they need)"
  fi
  run_step "Bringing build/$preset up to date ..." "$build_dir-build.log" ninja -C "$build_dir" "${targets[@]}"
}

locked "$build_dir.lock" build
