#!/usr/bin/env bash
# Sets up, builds and runs the programs of the project under Wine.
#   ./run.sh                 the walk: the main job from beginning to end, with what it changes in the registry
#   ./run.sh NAME ARGS...    one program: vlanctl, lab, bench, or one of Wine's (reg)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

case ${1:-} in
-h | --help | help)
    sed -n '2,/^set/ { /^set/d; s/^# \{0,1\}//; p }' run.sh
    exit
    ;;
esac
scripts/setup.sh
targets=(programs)
[ "${1:-}" != bench ] || targets+=(bench)
scripts/build.sh release "${targets[@]}" >&2
export RAV_WINEPREFIX="$PWD/build/wine"
bin=build/release/bin
# The session outlasts its last program by five minutes, so that one command after another is quick. Only a server that is
# started with this knows it; one that runs already is left as it is.
scripts/wine.sh
WINEPREFIX="$RAV_WINEPREFIX" scripts/wineserver.sh -p300
scripts/wine.sh wineboot >/dev/null 2>&1 </dev/null

[ $# -gt 0 ] || exec scripts/walk.sh

name=$1
shift
case $name in
vlanctl | lab | bench)
    [ -f "$bin/$name.exe" ] || {
        echo "run: '$name' is not built by this version" >&2
        exit 2
    }
    # vlanctl needs a host to work on; the lab's server is as good as any.
    if [ "$name" = vlanctl ] && ! scripts/wine.sh "$bin/lab.exe" show >/dev/null 2>&1; then
        # It is up after all when another command has been quicker.
        scripts/lab.sh "$bin" up Suite/Lab/hosts/server.json >&2 ||
            scripts/wine.sh "$bin/lab.exe" show >/dev/null 2>&1
    fi
    [ "$name" != lab ] || exec scripts/lab.sh "$bin" "$@"
    exec scripts/wine.sh "$bin/$name.exe" "$@"
    ;;
reg)
    exec scripts/wine.sh reg "$@"
    ;;
*)
    echo "run: there is no program '$name'; there are vlanctl, lab, bench and reg" >&2
    exit 2
    ;;
esac
