#!/usr/bin/env bash
# Runs the lab of a build: scripts/lab.sh FOLDER-OF-THE-PROGRAMS ARGS... When the driver cannot be started (status 3), the
# prefix's own Wine session is ended, and the command is given once more to a new one.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
lab=$1/lab.exe
shift
status=0
"$root/scripts/wine.sh" "$lab" "$@" || status=$?
[ $status -eq 3 ] || exit $status
echo "lab: the session is ended, and a new one begun" >&2
WINEPREFIX="${RAV_WINEPREFIX:-$root/build/wine}" "$root/scripts/wineserver.sh" -k
exec "$root/scripts/wine.sh" "$lab" "$@"
