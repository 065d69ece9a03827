#!/usr/bin/env bash
# Controls the Wine server of the prefix in WINEPREFIX and no other: -p keeps it running, -k ends it.
set -uo pipefail
server=/usr/lib/wine/wineserver64
[ -x "$server" ] || server=$(command -v wineserver)
[ -d "${WINEPREFIX:?}" ] || exit 0
"$server" "$@" >/dev/null 2>&1 </dev/null
exit 0
