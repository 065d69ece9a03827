#!/usr/bin/env bash
# Configures and builds one preset: scripts/build.sh PRESET [TARGET...]. Silent when it is up to date.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=$1
shift
log=build/$preset.log
mkdir -p build

quietly() {
    "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        echo "build: '$*' failed" >&2
        exit 1
    }
}

if [ ! -f "build/$preset/build.ninja" ]; then
    echo "build: first build of '$preset', a few minutes" >&2
    quietly cmake --preset "$preset"
fi
quietly cmake --build "build/$preset" ${@:+--target "$@"}
