#!/usr/bin/env bash
# Kills vlanctl at random moments of what it changes, and has the doctor mend the host after each:
#   scripts/killrandom.sh [N] [SEED]     (300 kills; a seed of its own)
# On a lab and a Wine prefix of its own. Ends with 1 when there is a kill after which the host is not whole again.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
kills=${1:-300}
seed=${2:-$RANDOM}
preset=${RAV_PRESET:-release}
scripts/build.sh "$preset" programs >&2
bin=build/$preset/bin
export RAV_WINEPREFIX="$PWD/build/wine-kill"
log=build/killrandom.log
RANDOM=$seed
ports=("Port A" "Port B" "Port E" "Port F")

lab() { scripts/lab.sh "$bin" "$@" >/dev/null 2>&1 </dev/null; }
vlanctl() { scripts/wine.sh "$bin/vlanctl.exe" "$@" </dev/null 2>&1 | tr -d '\r'; }
host_up() {
    lab down || true
    lab up Suite/Lab/hosts/server.json
}
ids_of() { vlanctl list --parent "$1" --json | sed -n 's/.*"id": \([0-9]*\).*/\1/p'; }

scripts/wine.sh
scripts/session.sh begin
trap 'scripts/session.sh end' EXIT
host_up
yes=()
[[ $(vlanctl create --help) != *--yes* ]] || yes=(--yes)
healthy=$(vlanctl doctor --repair --yes)

# Sets `command` and its kind: one VLAN or three of them created, one or all of a parent removed.
choose() {
    local port=${ports[RANDOM % ${#ports[@]}]} id=$((RANDOM % 4000 + 1)) present
    mapfile -t present < <(ids_of "$port")
    kind=$((RANDOM % 4))
    [ ${#present[@]} -gt 0 ] || kind=$((kind % 2))
    [ ${#present[@]} -lt 8 ] || kind=3
    case $kind in
    0)
        [ $((RANDOM % 3)) -gt 0 ] || [ ${#present[@]} -eq 0 ] || id=0
        command=(create --parent "$port" --id $id --name "V$id" "${yes[@]}")
        ;;
    1) command=(create --parent "$port" --id "$id-$((id + 2))" --auto-names "${yes[@]}") ;;
    2) command=(remove "$port/${present[RANDOM % ${#present[@]}]}" --yes) ;;
    3) command=(remove --all --parent "$port" --yes) ;;
    esac
}

# What is wrong with the host after the repair; nothing when it is whole.
examine() {
    local text
    vlanctl doctor --repair --yes >"$log" || { echo "doctor --repair: status $?: $(cat "$log")"; return; }
    text=$(vlanctl doctor) || { echo "doctor: status $?: $text"; return; }
    text=$(vlanctl list) || { echo "list: status $?: $text"; return; }
    [[ $text != *damaged* ]] || echo "list: $text"
}

longest=(0 0 0 0) # of each kind, in milliseconds: about how long it takes
tried=0 late=0 whole=0 repaired=0 unmended=0
while [ $tried -lt "$kills" ]; do
    choose
    begin=$(date +%s%3N)
    scripts/wine.sh "$bin/vlanctl.exe" "${command[@]}" >"$log" 2>&1 </dev/null &
    program=$!
    if [ "${longest[kind]}" -eq 0 ]; then # the first of its kind shows how long they take
        wait $program || true
        longest[kind]=$(($(date +%s%3N) - begin))
        continue
    fi
    pause=$((longest[kind] / 3 + RANDOM % (longest[kind] * 2 / 3))) # before that a program only starts and reads
    sleep "$((pause / 1000)).$(printf %03d $((pause % 1000)))"
    tried=$((tried + 1))
    kill -9 $program 2>/dev/null || true
    status=0
    wait $program 2>/dev/null || status=$?
    if [ $status -eq 137 ]; then
        longest[kind]=$((longest[kind] * 21 / 20))
    else # it takes less by now
        longest[kind]=$((longest[kind] * 9 / 10))
        late=$((late + 1))
    fi
    fault=$(examine)
    if [ -n "$fault" ]; then
        unmended=$((unmended + 1))
        printf 'killed after %d ms: vlanctl %s\n%s\n\n' $pause "${command[*]}" "$fault"
        host_up
    elif [ "$(cat "$log")" = "$healthy" ]; then
        whole=$((whole + 1))
    else
        repaired=$((repaired + 1))
    fi
done
printf '%d kills with seed %d: %d came too late; %d hosts were whole, %d were mended, %d were not\n' \
    "$kills" "$seed" $late $whole $repaired $unmended
[ $unmended -eq 0 ]
