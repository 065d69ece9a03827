#!/usr/bin/env bash
# Prints the path of a PowerShell 7, installed below build/ when the machine has none but has the .NET SDK. Ends with 77 and says
# why when there can be none.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
version=7.6.9
folder=$PWD/build/powershell
export DOTNET_CLI_TELEMETRY_OPTOUT=1 DOTNET_NOLOGO=1 DOTNET_SKIP_FIRST_TIME_EXPERIENCE=1
export DOTNET_CLI_HOME="${DOTNET_CLI_HOME:-$PWD/build/dotnet}"

skip() {
    echo "skipped: no PowerShell here ($*)" >&2
    exit 77
}

if command -v pwsh; then
    exit
fi
if [ ! -x "$folder/pwsh" ]; then
    command -v dotnet >/dev/null || skip "neither pwsh nor the .NET SDK is installed"
    log=$(mktemp)
    trap 'rm -f "$log"' EXIT
    rm -rf "$folder" # what an interruption has left
    timeout 120 dotnet tool install --tool-path "$folder" PowerShell --version "$version" >"$log" 2>&1 ||
        skip "it cannot be installed: $(grep -m1 -i error "$log" || tail -n 1 "$log")"
fi
echo "$folder/pwsh"
