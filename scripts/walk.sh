#!/usr/bin/env bash
# The main job from beginning to end, on the lab's server: what each command prints, and what is changed in the registry.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
bin=build/release/bin
folder=build/walk
mkdir -p "$folder"

heading() {
    printf '\n== %s\n' "$1"
}

# Shows a command and its output; a failure that is meant to happen is shown with its status.
show() {
    printf '\n$ %s\n' "$*"
    local program=$1
    shift
    local status=0
    scripts/wine.sh "$bin/$program.exe" "$@" 2>&1 </dev/null || status=$?
    [ $status -eq 0 ] || printf '[exit status %d]\n' $status
}

# The keys that VLANs live in, one value a line, so that two of these can be compared.
snapshot() {
    local key
    for key in 'Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}' 'Services\oXMSProtocol\Parameters\Adapters' \
        'Services\oXMSProtocol\Parameters\Configuration' 'Services\Tcpip\Parameters\Interfaces'; do
        scripts/wine.sh reg query "HKLM\\SYSTEM\\CurrentControlSet\\$key" /s 2>/dev/null </dev/null | tr -d '\r'
    done | awk '/^HKEY/ { key = $0; sub(/.*CurrentControlSet\\/, "", key); print key; next } NF { sub(/^ +/, ""); print key "  " $0 }' |
        sort >"$folder/$1.txt"
}

changes() {
    printf '\n-- registry: %s\n' "$3"
    diff --old-line-format='- %L' --new-line-format='+ %L' --unchanged-line-format='' \
        "$folder/$1.txt" "$folder/$2.txt" || true
}

scripts/wine.sh "$bin/lab.exe" down >/dev/null 2>&1 </dev/null || true
heading "A server without hardware"
show lab up Suite/Lab/hosts/server.json
show vlanctl parents --all
snapshot before

heading "What would be refused, and why"
show vlanctl validate --parent "Port C" --id 4095 --name "a|b"

heading "One VLAN"
show vlanctl create --parent "Port A" --id 10 --name Büro
snapshot first
changes before first "what the first VLAN of an adapter writes"

heading "Several VLANs"
show vlanctl create --parent "Port A" --id 20-22 --auto-names
show vlanctl create --parent "Port A" --id 0 --name Management
show vlanctl list
show vlanctl show "Port A/10"
show vlanctl settings "Port A/10"
show lab show

heading "Removing one, and then the rest"
show vlanctl remove "Port A/20" --yes
show vlanctl remove --all --parent "Port A" --yes
show vlanctl list
snapshot after
changes before after "what stays behind"
show lab down
