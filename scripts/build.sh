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

# When the last build of these targets began, and what it left: where nothing has changed since, nothing is started.
# The time of a change (-cnewer) tells also of a file that an older one took the place of, and of what was deleted.
began=$build_dir/built/$(IFS=-; printf '%s' "${targets[*]:-all}")
readonly inputs=(CMakeLists.txt CMakePresets.json bench cmake examples include recorder shared sm tests tools virtual)
products() { stat -c '%n %s %.Y' -- "$build_dir"/bin/*.*; }
is_up_to_date() {
  [[ -z $with_tests && -f $build_dir/build.ninja && -f $began && -f $began.products ]] &&
    [[ $(products 2>&1) == "$(<"$began.products")" ]] &&
    [[ -z $(find "${inputs[@]/#/$REPO/}" -cnewer "$began" -print -quit 2>&1) ]]
}

build() {
  mkdir -p -- "${began%/*}"
  rm -f -- "$began.products"
  : >"$began"
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
  products >"$began.products" 2>&1 || true
}

is_up_to_date || locked "$build_dir.lock" build
