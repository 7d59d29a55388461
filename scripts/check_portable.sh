#!/usr/bin/env bash
# Compiles every source of the products with clang, strictly by the C++17 standard, against MinGW's headers: what a
# second compiler refuses, Visual Studio's would most likely refuse too. Nothing is written.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"
cd -- "$REPO"

clang=$(command -v clang++-14 || command -v clang++) || fail "clang is not installed (Debian: apt-get install clang-14)"
gcc=$(command -v i686-w64-mingw32-g++-win32 || command -v i686-w64-mingw32-g++) ||
  fail "the cross compiler is not installed (setup.sh scan installs it)"
"$REPO/scripts/build.sh" products

flags=(--target=i686-w64-windows-gnu -fsyntax-only -std=c++17 -Wall -Wextra -pedantic-errors -Werror
  -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0501
  -Iinclude -Ism -Ishared -Ivirtual -Itools -Ibuild/mingw32/generated -Ibuild/mingw32/virtual/generated)
# The C++ library of the other compiler: its folders, as that compiler tells them.
while IFS= read -r folder; do
  flags+=(-isystem "$folder")
done < <("$gcc" -E -x c++ -v /dev/null 2>&1 | sed -n '/^#include <\.\.\.>/,/^End/ s|^ \(.*/c++.*\)|\1|p')

git ls-files 'sm/*.cpp' 'shared/*.cpp' 'virtual/*.cpp' 'tools/*.cpp' 'examples/*.cpp' |
  xargs -P "$(nproc)" -n 8 "$clang" "${flags[@]}" || fail "clang refuses what the other compiler takes"
say "clang takes all of it."
