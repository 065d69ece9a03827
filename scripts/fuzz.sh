#!/usr/bin/env bash
# Lets the fuzzer damage hosts N times: scripts/fuzz.sh N [SEED [PRESET]], of the hardened build if none is named. What failed
# is printed at the end, with the round in which it did; the status is 1 then.
# A process and its Wine session take turns, so the two share a processor: to wake the other one up on another processor
# takes longer than what it is asked for.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
rounds=${1:?how many rounds?}
seed=${2:-1}
preset=${3:-hardened}
part=500 # rounds of one process
workers=$(nproc)
program=build/$preset/bin/FuzzTests.exe
results=build/fuzz
last=$(((rounds - 1) / part))

scripts/build.sh "$preset" FuzzTests CoreAgent TeamAgent NetCfg
rm -rf "$results"
mkdir -p "$results"

# Rounds FIRST to END of a worker's part; behind one that ended the process it goes on.
rounds_of() {
    local first=$1 end=$2 log=$3 at
    while [ "$first" -lt "$end" ]; do
        scripts/wine.sh "$program" $((end - first)) "$seed" "$first" >"$log" 2>&1 </dev/null && break
        cat "$log" >>"$results/failed"
        grep -q '^fuzz: .* rounds from' "$log" && break
        at=$(sed -n 's/^fuzz: .* in round \([0-9]*\) of seed .*/\1/p' "$log")
        first=$((${at:-$end} + 1))
    done
}

work() {
    local worker=$1 number first end
    export RAV_WINEPREFIX=$PWD/build/fuzz-wine-$worker
    taskset -cp "$worker" "$BASHPID" >/dev/null
    scripts/session.sh begin
    for ((number = worker; number <= last; number += workers)); do
        first=$((number * part))
        end=$((first + part < rounds ? first + part : rounds))
        rounds_of $first $end "$results/log-$worker"
        echo $((end - first)) >>"$results/done"
    done
    scripts/session.sh end
}

for ((worker = 0; worker < workers; ++worker)); do
    work "$worker" &
done
while [ -n "$(jobs -pr)" ]; do
    sleep 10
    [ ! -f "$results/done" ] || awk -v all="$rounds" -v time=$SECONDS \
        '{ n += $1 } END { printf "fuzz: %d of %d rounds, %.0f a second\n", n, all, n / time }' "$results/done"
done
wait
[ -f "$results/failed" ] || exit 0
grep -v '^\[' "$results/failed"
exit 1
