#!/usr/bin/env bash
# Kills every operation at every one of its platform calls, mends the host, and tells where it came back to:
#   scripts/killsweep.sh [PRESET] [OPERATION...]     (debug, and all of them)
# Ends with 1 when there is a point from which a host does not come back; each is shown with what is wrong afterwards.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=${1:-debug}
shift $(($# > 0))
scripts/build.sh "$preset" KillTests >&2
export RAV_WINEPREFIX="$PWD/build/wine-test"
tests=build/$preset/bin/KillTests.exe
scripts/session.sh begin
trap 'scripts/session.sh end' EXIT
operations=("$@")
[ $# -gt 0 ] || mapfile -t operations < <(scripts/wine.sh "$tests" --list 2>/dev/null | tr -d '\r')

folder=build/killsweep
rm -rf "$folder"
mkdir -p "$folder"
printf '%s\n' "${operations[@]}" |
    xargs -P "$(nproc)" -I {} sh -c 'scripts/wine.sh "$1" --sweep {} >"$2/{}.txt" 2>&1 </dev/null || true' _ "$tests" "$folder"

status=0
for operation in "${operations[@]}"; do
    tail -n 1 "$folder/$operation.txt" | tr -d '\r' | grep "^$operation " || echo "$operation broke off"
done >"$folder/table"
for operation in "${operations[@]}"; do
    head -n -1 "$folder/$operation.txt" | tr -d '\r'
done
printf '%-24s%12s%12s%12s%12s%12s\n' operation points before after between 'not mended'
cat "$folder/table"
awk '{ if (NF != 6) broken = 1; for (i = 2; i <= 6; ++i) sum[i] += $i }
     END { printf "%-24s%12d%12d%12d%12d%12d\n", "all", sum[2], sum[3], sum[4], sum[5], sum[6]; exit broken || sum[6] > 0 }' \
    "$folder/table" || status=1
exit $status
