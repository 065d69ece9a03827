#!/usr/bin/env bash
# Begins or ends the Wine session of the prefix in RAV_WINEPREFIX: scripts/session.sh begin|end
# A session keeps open the pipes of the program that begins it; one that is begun here has none of them.
# With processors in RAV_CPUS ("0 1") there is a session on each of them, in a prefix of its own ("PREFIX-0"): a program and the
# server of its session take turns, and to wake the other one up on another processor takes longer than what it is asked for.
set -euo pipefail
if [ -n "${RAV_CPUS:-}" ]; then
    sessions=()
    for cpu in $RAV_CPUS; do
        RAV_CPUS='' RAV_WINEPREFIX="${RAV_WINEPREFIX:?}-$cpu" taskset -c "$cpu" "$0" "$@" &
        sessions+=($!)
    done
    for session in "${sessions[@]}"; do
        wait "$session"
    done
    exit
fi
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export WINEPREFIX="${RAV_WINEPREFIX:?}"

case $1 in
begin)
    "$scripts/wine.sh" cmd /c exit >/dev/null 2>&1 </dev/null
    # The server is there first; it doesn't learn to stay while it runs.
    for step in -k -w -p; do
        "$scripts/wineserver.sh" $step
    done
    "$scripts/wine.sh" wineboot >/dev/null 2>&1 </dev/null
    ;;
end)
    "$scripts/wineserver.sh" -k
    "$scripts/wineserver.sh" -w
    ;;
*)
    echo "session: begin or end, not '$1'" >&2
    exit 2
    ;;
esac
