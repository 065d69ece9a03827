#!/usr/bin/env bash
# Sets up, builds and runs every test, under the plain and under the hardened build, or under the one that is named first.
# Other arguments go to ctest:
#   ./test.sh debug -R RegKey --output-on-failure
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

case ${1:-} in
-h | --help | help)
    sed -n '2,/^set/ { /^set/d; s/^# \{0,1\}//; p }' test.sh
    exit
    ;;
esac
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
scripts/powershell.sh >/dev/null || true # PowerShellTest is skipped then: it says why
# The processors that this may use, at most four; a test at a time on each. Their sessions are begun here: ctest waits for the
# end of a test's pipe, and a session's services keep open that of the program that begins it.
cpus=($(awk '/^Cpus_allowed_list:/ {
    for (i = split($2, ranges, ","); i > 0; --i) {
        n = split(ranges[i], range, "-")
        for (cpu = range[1]; cpu <= range[n]; ++cpu) print cpu
    } }' /proc/self/status | sort -n | head -n 4))
export RAV_CPUS="${cpus[*]}"
printf -v slots '{ "id": "%s", "slots": 1 },' "${cpus[@]}"
echo "{ \"version\": { \"major\": 1, \"minor\": 0 }, \"local\": [ { \"cpus\": [ ${slots%,} ] } ] }" >build/cpus.json
scripts/session.sh begin

status=0
for preset in "${presets[@]}"; do
    echo "== tests, $preset build"
    ctest --test-dir "build/$preset" --output-on-failure -j${#cpus[@]} --resource-spec-file "$PWD/build/cpus.json" "$@" || status=1
done
exit $status
