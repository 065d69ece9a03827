#!/usr/bin/env bash
# Brings the lab up and down again and again, with the Wine session ending in between, in a prefix of its own:
#   Rounds.sh WINE.SH FOLDER-OF-THE-PROGRAMS HOST.json PREFIX ROUNDS
# In every other round another service has started the same driver before, and keeps the device.
set -euo pipefail
wine=$1 bin=$2 host=$3 rounds=$5
export RAV_WINEPREFIX=$4 WINEPREFIX=$4
session() { "$(dirname "$wine")/wineserver.sh" "$1"; }
trap 'session -k' EXIT

step() {
    "$wine" "$@" </dev/null || {
        echo "round $round: '$*' ended with $?" >&2
        exit 1
    }
}

image=$("$wine" winepath -w "$bin/oXMSProtocol.sys" </dev/null 2>/dev/null | tr -d '\r')
for round in $(seq "$rounds"); do
    echo "== round $round"
    step "$bin/lab.exe" up "$host"
    session -k
    step "$bin/lab.exe" down
    if [ $((round % 2)) = 0 ]; then
        "$wine" sc create Twin type= kernel binPath= "$image" </dev/null >/dev/null 2>&1 || true # it stays there
        step net start Twin
    fi
    step "$bin/lab.exe" up "$host"
    step "$bin/vlanctl.exe" create --parent "Port B" --id 1-3 --auto-names
    step "$bin/lab.exe" down
done
