#!/usr/bin/env bash
# Runs the tests of the PowerShell module on a host of the lab: Test.sh FOLDER-OF-THE-PROGRAMS
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
bin=$1
pwsh=$("$root/scripts/powershell.sh") || exit $?
"$root/scripts/lab.sh" "$bin" down >/dev/null 2>&1 || true # another test's may be up
"$root/scripts/lab.sh" "$bin" up "$root/Suite/Lab/hosts/vlans.json"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
printf '#!/bin/sh\nexec "%s/scripts/wine.sh" "%s/vlanctl.exe" "$@"\n' "$root" "$bin" >"$folder/vlanctl"
chmod +x "$folder/vlanctl"
export VLANCTL="$folder/vlanctl" VLANAGENT_LAB="$root/scripts/lab.sh" VLANAGENT_BIN="$bin" HOME="$folder" NO_COLOR=1
export POWERSHELL_TELEMETRY_OPTOUT=1 POWERSHELL_UPDATECHECK=Off DOTNET_CLI_TELEMETRY_OPTOUT=1
exec timeout 240 "$pwsh" -NoProfile -NonInteractive -File "$root/Tests/Tools/PowerShell/VlanAgent.Tests.ps1" "$root"
