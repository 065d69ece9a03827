#!/usr/bin/env bash
# Runs one Windows program in the project's own Wine prefix: scripts/wine.sh PROGRAM.exe ARGS...
# RAV_WINEPREFIX chooses another prefix; it is created on first use. Without a program that is all that is done.
# A test to which ctest gives a processor runs on it, in the prefix of that processor (see session.sh).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX="${RAV_WINEPREFIX:-$root/build/wine}"
start=()
if [[ ${CTEST_RESOURCE_GROUP_0_CPUS:-} =~ ^id:([0-9]+), ]]; then
    WINEPREFIX+=-${BASH_REMATCH[1]}
    start=(taskset -c "${BASH_REMATCH[1]}")
fi
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
wine=/usr/lib/wine/wine64
[ -x "$wine" ] || wine=$(command -v wine64)

if [ ! -f "$WINEPREFIX/.ready" ]; then
    mkdir -p "$WINEPREFIX"
    # Several tests may start at once on a new prefix: one of them makes it.
    exec 9>"$WINEPREFIX.lock"
    flock 9
    if [ ! -f "$WINEPREFIX/.ready" ]; then
        "$wine" wineboot --init >"$WINEPREFIX.log" 2>&1 </dev/null 9>&-
        # Drivers do not start in the session that made the prefix.
        "$root/scripts/wineserver.sh" -k 9>&-
        "$root/scripts/wineserver.sh" -w 9>&-
        touch "$WINEPREFIX/.ready"
    fi
    exec 9>&-
fi
[ $# -gt 0 ] || exit 0

# Wine needs a page at an address of its own. In one of some thousand starts the heap of a program is there already, and the
# program ends with 1 before it has begun, without a word. A heap that is not put anywhere at random is never there.
! setarch -R true 2>/dev/null || start+=(setarch -R) # a container may forbid it
exec "${start[@]}" "$wine" "$@"
