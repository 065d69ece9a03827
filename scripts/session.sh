#!/usr/bin/env bash
# Begins or ends the Wine session of the prefix in RAV_WINEPREFIX: scripts/session.sh begin|end
# A session keeps open the pipes of the program that begins it; one that is begun here has none of them.
set -euo pipefail
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
