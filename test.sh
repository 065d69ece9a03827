#!/usr/bin/env bash
# Sets up, builds and runs every test, under the plain and under the hardened build, or under the one that is named first.
# Other arguments go to ctest:
#   ./test.sh debug -R RegKey --output-on-failure
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

presets=(debug hardened)
case ${1:-} in
debug | hardened)
    presets=("$1")
    shift
    ;;
esac

scripts/setup.sh
export RAV_WINEPREFIX="$PWD/build/wine-test"
trap 'scripts/session.sh end' EXIT

for preset in "${presets[@]}"; do
    scripts/build.sh "$preset" >&2
done
# One session for all tests, begun here: ctest waits for the end of a test's pipe, and a session's services keep open that of
# the program that begins it.
scripts/session.sh begin

status=0
for preset in "${presets[@]}"; do
    echo "== tests, $preset build"
    ctest --test-dir "build/$preset" --output-on-failure -j2 "$@" || status=1
done
exit $status
