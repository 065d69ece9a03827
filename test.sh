#!/usr/bin/env bash
# Sets up, builds and runs every test, under the plain and under the hardened build. Arguments go to ctest:
#   ./test.sh -R RegKey --output-on-failure
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

scripts/setup.sh
export RAV_WINEPREFIX="$PWD/build/wine-test"
trap 'WINEPREFIX="$RAV_WINEPREFIX" scripts/wineserver.sh -k' EXIT

for preset in debug hardened; do
    scripts/build.sh "$preset" >&2
done
# One session for all tests, begun here: its services keep open the pipe of the program that starts them, and ctest waits
# for the end of a test's pipe. The server is there first; it doesn't learn to stay while it runs.
scripts/wine.sh cmd /c exit </dev/null
WINEPREFIX="$RAV_WINEPREFIX" scripts/wineserver.sh -k
WINEPREFIX="$RAV_WINEPREFIX" scripts/wineserver.sh -w
WINEPREFIX="$RAV_WINEPREFIX" scripts/wineserver.sh -p
scripts/wine.sh wineboot >/dev/null 2>&1 </dev/null

status=0
for preset in debug hardened; do
    echo "== tests, $preset build"
    ctest --test-dir "build/$preset" --output-on-failure -j2 "$@" || status=1
done
exit $status
