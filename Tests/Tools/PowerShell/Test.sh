#!/usr/bin/env bash
# Runs the tests of the PowerShell module on a host of the lab: Test.sh FOLDER-OF-THE-PROGRAMS VERSION
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
bin=$(cd "$1" && pwd)
pwsh=$("$root/scripts/powershell.sh") || exit $?
# One processor for all: a program and the server of its session, which take turns, are three times as quick on it.
cpu=$(awk '/^Cpus_allowed_list:/ { sub(/[^0-9].*/, "", $2); print $2 }' /proc/self/status)
taskset -c "$cpu" "$root/scripts/lab.sh" "$bin" down >/dev/null 2>&1 || true # another test's may be up
taskset -c "$cpu" "$root/scripts/lab.sh" "$bin" up "$root/Suite/Lab/hosts/vlans.json"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
program() { # NAME TEXT-OF-THE-SCRIPT
    printf '#!/bin/sh\n%s\n' "$2" >"$folder/$1"
    chmod +x "$folder/$1"
}
program vlanctl "exec taskset -c $cpu '$root/scripts/wine.sh' '$bin/vlanctl.exe' \"\$@\""
program lab "exec taskset -c $cpu '$root/scripts/lab.sh' '$bin' \"\$@\""
# In place of vlanctl: what it was given, behind more on standard error than a pipe holds.
program echo 'seq 20000 >&2; exec python3 -c "import json, sys; print(json.dumps(sys.argv[1:], ensure_ascii=False))" "$@"'
# And what a host would answer that is not to be had here: the files plan and done, the exit status in the file status.
program answer "echo '3 of 40, 12 s: create 12 Lab on Port A' >&2; case \"\$*\" in
*--dry-run*) cat '$folder/plan' ;;
*) cat '$folder/done'; exit \$(cat '$folder/status') ;;
esac"
export HOME="$folder" NO_COLOR=1 PATH="$folder:$PATH" VLANAGENT_TEST="$folder" PYTHONIOENCODING=utf-8
export POWERSHELL_TELEMETRY_OPTOUT=1 POWERSHELL_UPDATECHECK=Off DOTNET_CLI_TELEMETRY_OPTOUT=1
unset VLANCTL
status=0
for tests in Module Host; do
    timeout 120 "$pwsh" -NoProfile -NonInteractive -File "$root/Tests/Tools/PowerShell/$tests.Tests.ps1" \
        "$root/Tools/powershell/VlanAgent" "$2" || status=1
done
exit $status
