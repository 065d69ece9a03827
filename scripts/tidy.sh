#!/usr/bin/env bash
# Runs clang-tidy over the sources of the debug build: scripts/tidy.sh [FILE...]. Silent when there is nothing to mend.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
command -v clang-tidy >/dev/null || {
    echo "tidy: the package clang-tidy is missing" >&2
    exit 2
}
scripts/build.sh debug
folder=build/tidy
mkdir -p "$folder"

# The commands of the build, for a compiler that has to be told target and header folders. The compiler's own headers
# (intrinsics) are left to clang.
includes=$(x86_64-w64-mingw32-g++-posix -v -x c++ -E /dev/null 2>&1 >/dev/null |
    sed -n '/^#include <\.\.\.>/,/^End of search list/{/^ /p}' | grep -vE '/gcc/[^/]*/[^/]*/include(-fixed)?$' |
    sed 's/^ */ -isystem /' | tr -d '\n')
sed -e 's/ -specs=[^ ]*//; s/ -Wno-restrict//' -e "s| -D_UCRT| -D_UCRT --target=x86_64-w64-mingw32 $includes|" \
    build/debug/compile_commands.json >"$folder/compile_commands.json"

if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(git ls-files '*.cpp')
fi
found=$(printf '%s\n' "${files[@]}" | xargs -P 2 -n 4 clang-tidy --quiet -p "$folder" 2>/dev/null |
    grep -E '(warning|error):' | sed "s|$PWD/||" | sort -u) || true
[ -z "$found" ] || {
    printf '%s\n' "$found"
    exit 1
}
