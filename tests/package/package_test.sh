#!/usr/bin/env bash
# Installs the package and builds hosts against what was installed, in each way that docs/packaging.md tells of; the
# hosts scan, under Wine. Prints each failed check; fails if there is one.
# shellcheck disable=SC2317 # the ways are called by name, through check
set -euo pipefail

(($# == 2)) || { echo "usage: package_test.sh SOURCE_DIR BUILD_DIR" >&2; exit 2; }
readonly source_dir=$1 build_dir=$2
# A folder that breaks what isn't quoted.
readonly work="$build_dir/package test"
readonly package=$work/ScanModule
compiler=$(command -v i686-w64-mingw32-gcc-win32 || command -v i686-w64-mingw32-gcc)
lld_link=$(command -v lld-link-14 || command -v lld-link) || { echo 'lld-link is missing: setup.sh test'; exit 1; }
readonly compiler lld_link toolchain=$source_dir/cmake/mingw32.cmake
rm -rf -- "$work"
mkdir -p -- "$work"
cd -- "$work"
log=$work/log

failed=0
# check NAME COMMAND...: reports a command that fails, with what it printed.
check() {
  # In a condition "set -e" would not count.
  set +e
  (set -e; "${@:2}") >"$log" 2>&1 </dev/null
  local rc=$?
  set -e
  ((rc == 0)) && return
  printf 'FAILED: %s\n' "$1"
  sed 's/^/  /' -- "$log"
  failed=$((failed + 1))
}

# scans DIR PROGRAM [ARGUMENT...]: runs a host with the DLL beside it; it must scan a page and end with 0.
scans() {
  cp -- "$package/bin/ScanModule.dll" "$1"
  (cd -- "$1" && "$source_dir/scripts/wine.sh" --build-dir "$build_dir" --prefix scan-tests "${@:2}")
}

# same TEXT COMMAND...: the command prints that text.
same() { diff <(printf '%s\n' "$1") <("${@:2}"); }

is_whole() { (cd -- "$package" && sha256sum --quiet -c SHA256SUMS); }
libraries() { same $'ScanModule.lib\ncmake\nlibScanModule.dll.a\npkgconfig' env LC_ALL=C ls "$package/lib"; }
# Every file that a text of the package links to is in it.
links_lead_somewhere() {
  local text link
  for text in "$package"/*.md "$package"/docs/*.md; do
    for link in $(grep -oP '\]\((?!http|#)\K[^)#]+' "$text"); do
      [[ -e ${text%/*}/$link ]] || { echo "$text links to $link"; return 1; }
    done
  done
}
# Neither the builder's folders nor symbols; nothing but the debug files has them.
holds_no_path() { ! grep -rlF -- "$source_dir" "$package"; }
is_stripped() {
  local file
  for file in "$package"/bin/*.{dll,ds,exe}; do
    i686-w64-mingw32-nm "$file" 2>&1 | grep -q 'no symbols' || { echo "$file has symbols"; return 1; }
    grep -qaF "${file##*/}.debug" "$file" || { echo "$file doesn't name its debug file"; return 1; }
    [[ -s $file.debug ]] || { echo "$file.debug is missing"; return 1; }
    # The text of a version resource is UTF-16.
    tr -d '\0' <"$file" | LC_ALL=C grep -a "OriginalFilename.*${file##*/}" >/dev/null || { echo "$file has no version"; return 1; }
  done
}
debug_names_lines() {
  i686-w64-mingw32-addr2line -e "$package/bin/ScanModule.dll.debug" \
    "0x$(i686-w64-mingw32-nm "$package/bin/ScanModule.dll.debug" | awk '/ T _smOpenDS@8$/ {print $1}')" |
    grep -qE 'sm/Exports\.cpp:[0-9]+$'
}

one_line() {
  mkdir one-line
  $compiler "$package/examples/simplest.c" -I"$package/include" -L"$package/lib" -lScanModule -o one-line/simplest.exe
  scans one-line simplest.exe
}

with_pkg_config() {
  mkdir pkg-config
  export PKG_CONFIG_PATH=$package/lib/pkgconfig
  local flags
  eval "flags=($(pkg-config --cflags --libs scanmodule))"
  $compiler "$package/examples/oneshot.c" "${flags[@]}" -o pkg-config/oneshot.exe
  scans pkg-config oneshot.exe page.bmp color 75
  [[ -s pkg-config/page.bmp ]]
}

# The package's own CMake project, which finds it by find_package.
with_find_package() {
  cmake -S "$package/examples" -B find-package -G Ninja --toolchain mingw32.cmake
  ninja -C find-package
  VSCAN_PAGES=3 scans find-package pages.exe 2
  [[ -s find-package/page2.bmp && ! -e find-package/page3.bmp ]]
}

as_subproject() {
  cmake -S "$source_dir/tests/package/subproject" -B subproject -G Ninja --toolchain "$toolchain" \
    -DSCANMODULE_SOURCES="$source_dir"
  ninja -C subproject
  (cd subproject && "$source_dir/scripts/wine.sh" --build-dir "$build_dir" --prefix scan-tests simplest.exe)
}

# LLVM's linker reads libraries as Microsoft's does.
with_microsofts_library() {
  mkdir lld
  $compiler -c -ffreestanding -I"$package/include" "$source_dir/tests/package/bare.c" -o lld/bare.obj
  $lld_link lld/bare.obj "$package/lib/ScanModule.lib" -entry:start -subsystem:console -safeseh:no \
    -out:lld/bare.exe
  local rc=0
  scans lld bare.exe || rc=$?
  ((rc == 111))
}

refuses_64_bit() {
  if cmake -S "$source_dir/tests/package/refused" -B refused -G Ninja -DCMAKE_PREFIX_PATH="$package" 2>cmake-log; then
    return 1
  fi
  tr -s ' \n' ' ' <cmake-log | grep -F 'ScanModule.dll is a 32-bit Windows library' | grep -F 'pointers of 8 bytes'
}

for component in product debug; do
  cmake --install "$build_dir" --prefix "$package" --component $component >"$log" || { cat -- "$log"; exit 1; }
done
check 'SHA256SUMS holds for all files' is_whole
check 'lib/ holds the import libraries and nothing that looks like one' libraries
check 'links in texts lead somewhere' links_lead_somewhere
check 'no file names a folder of the build machine' holds_no_path
check 'what is shipped is stripped, has a version, and its debug information beside it' is_stripped
check 'the debug information names lines' debug_names_lines
check 'one line: -lScanModule' one_line
check 'pkg-config' with_pkg_config
check 'find_package' with_find_package
check 'add_subdirectory' as_subproject
check 'ScanModule.lib' with_microsofts_library
check 'a 64-bit build is refused, and told why' refuses_64_bit
((failed == 0)) || { echo "$failed checks failed"; exit 1; }
