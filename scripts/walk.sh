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

# Shows a command and its output; one that fails ends the walk.
show() {
    printf '\n$ %s\n' "$*"
    scripts/wine.sh "$bin/$1.exe" "${@:2}" 2>&1 </dev/null
}

# The same for one that is refused on purpose.
refused() {
    local status=0
    show "$@" || status=$?
    printf '[exit status %d]\n' "$status"
    [ "$status" -eq 1 ]
}

# All that VLANs, their miniports and their bindings are made of, one value a line, so that two of these can be compared.
keys=(
    'Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}' 'Control\Network\{4D36E972-E325-11CE-BFC1-08002BE10318}'
    'Enum\PCI' 'Enum\ROOT\NET' 'Services\Tcpip\Parameters\Interfaces'
    'Services\oXMSProtocol\Parameters\Adapters' 'Services\oXMSProtocol\Parameters\Configuration'
    'Services\oXMSProtocol\Linkage' 'Services\Tcpip\Linkage' 'Services\Tcpip6\Linkage' 'Services\MsLldp\Linkage'
    'Services\VMSP\Linkage'
)
snapshot() {
    local key
    for key in "${keys[@]}"; do
        # A key that is not there has nothing to show.
        scripts/wine.sh reg query "HKLM\\SYSTEM\\CurrentControlSet\\$key" /s 2>/dev/null </dev/null || true
    done | tr -d '\r' | iconv -c -f CP437 -t UTF-8 | grep -v '^reg: ' |
        awk '/^HKEY/ { key = $0; sub(/.*CurrentControlSet\\/, "", key); print key; next }
             NF { sub(/^ +/, ""); print key "  " $0 }' | sort >"$folder/$1.txt"
}

# What is in one snapshot and not in the other; with a fourth argument only the lines that match it.
changes() {
    printf '\n-- registry: %s\n' "$3"
    diff --old-line-format='- %L' --new-line-format='+ %L' --unchanged-line-format='' \
        "$folder/$1.txt" "$folder/$2.txt" | grep -E "${4:-.}" || true
}

scripts/wine.sh "$bin/lab.exe" down >/dev/null 2>&1 </dev/null || true
heading "A server without hardware"
show lab up Suite/Lab/hosts/server.json
show vlanctl parents --all
snapshot before

heading "What would be refused, and why"
refused vlanctl validate --parent "Port C" --id 4095 --name "a|b"

heading "One VLAN"
show vlanctl create --parent "Port A" --id 10 --name Büro
snapshot first
# The settings and what Windows itself keeps of a miniport are left out here.
changes before first "what the first VLAN of an adapter writes" \
    '(Class\\.*\\[0-9]{4}|Interfaces\\.*|oXMSProtocol\\.*)  (VLAN|Vlan|Tag|Rav|XMS|Log|Netw|Supp|Mini|Phys|Total|Adapter|Enable|Bind|\*Prio)'

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
changes before after "what stays behind, bindings and devices included"
show lab down
