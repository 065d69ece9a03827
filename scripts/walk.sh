#!/usr/bin/env bash
# The main job from beginning to end, on the lab's server: what each command prints, and what it changes in the registry.
# Ends with 1 when a step does not do what it should, or when something is left behind that should not be.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
bin=build/release/bin
folder=build/walk
mkdir -p "$folder"

heading() {
    printf '\n== %s\n' "$1"
}

fail() {
    printf 'walk: %s\n' "$*" >&2
    exit 1
}

# Shows a command and its output: run STATUS PROGRAM ARGS...
run() {
    local expected=$1 program=$2 status=0 argument text
    shift 2
    printf '\n$ ./run.sh %s' "$program"
    for argument in "$@"; do
        [[ $argument == *[^[:alnum:]/.,_-]* && $argument != Büro ]] && argument="\"$argument\""
        printf ' %s' "$argument"
    done
    printf '\n'
    if [ "$program" = lab ]; then
        scripts/lab.sh "$bin" "$@" 2>&1 </dev/null || status=$?
    else
        scripts/wine.sh "$bin/$program.exe" "$@" 2>&1 </dev/null || status=$?
    fi
    [ $status -eq 0 ] || printf '[exit status %d]\n' $status
    [ $status -eq "$expected" ] || fail "the last command should have ended with status $expected"
}

show() { run 0 "$@"; }
refused() { run 1 "$@"; } # fails on purpose

# All that the configuration of devices and drivers is made of, one value a line (one entry of a list a line), so that two
# of these can be compared. The requests that the lab's driver keeps are no configuration; `lab show` has them.
snapshot() {
    scripts/wine.sh reg query 'HKLM\SYSTEM\CurrentControlSet' /s </dev/null | iconv -f CP437 -t UTF-8 | tr -d '\r' | LC_ALL=C awk '
        /^HKEY/ {
            key = $0
            sub(/^.*CurrentControlSet\\/, "", key)
            kept = key ~ /^(Control\\(Class|Network)|Enum|Services)\\/ && key !~ /oXMSProtocol\\Parameters\\Requests/
            sub(/^Control\\Class\\\{4D36E972-E325-11CE-BFC1-08002BE10318\}/, "Class", key)
            sub(/^Control\\Network\\\{4D36E972-E325-11CE-BFC1-08002BE10318\}/, "Network", key)
            sub(/^Services\\oXMSProtocol\\Parameters/, "XMS", key)
            if (kept) print key "\t"
            next
        }
        kept && NF {
            sub(/^ +/, "")
            if (!match($0, / +REG_MULTI_SZ +/)) { print key "\t" $0; next }
            name = substr($0, 1, RSTART + RLENGTH - 1)
            count = split(substr($0, RSTART + RLENGTH), entries, /\\0/)
            for (entry = 1; entry <= count; ++entry)
                if (entries[entry] != "") print key "\t" name entries[entry]
        }' | LC_ALL=C sort >"$folder/$1.txt"
    [ -s "$folder/$1.txt" ] || fail "the registry cannot be read"
}

# changes BEFORE AFTER: below each key the values that went (-) and came (+). Ndi\Params is left out: it is the templates of
# the settings, many and the same for each VLAN.
changes() {
    local status=0
    LC_ALL=C diff --old-line-format='-%L' --new-line-format='+%L' --unchanged-line-format='' \
        "$folder/$1.txt" "$folder/$2.txt" >"$folder/changes.txt" || status=$?
    [ $status -le 1 ] || fail "the registry cannot be compared"
    sed 's/^\(.\)\([^\t]*\)\t\(.*\)$/\2\t\3\t\1/' "$folder/changes.txt" | LC_ALL=C sort -s -t $'\t' -k 1,2 |
        LC_ALL=C awk -F '\t' '
            $1 ~ /\\Ndi/ { next }
            $2 == "" { print $3 " " $1; key = $1; next }
            $1 != key { print "  " $1; key = $1 }
            { print "    " $3 " " $2 }'
}

# What the last VLAN of an adapter leaves in its place; docs/registry.md tells why.
staying() {
    cat <<'END'
  Class\0001
    - *PriorityVLANTag    REG_SZ    1
    + *PriorityVLANTag    REG_SZ    3
    + NetworkAddress    REG_SZ
END
}

scripts/wine.sh "$bin/lab.exe" down >/dev/null 2>&1 </dev/null || true # of a lab that is up
heading "A server without hardware (in place of the lab's host that was up)"
show lab up Suite/Lab/hosts/server.json
show vlanctl parents --all
snapshot before

heading "What would be refused, and why"
refused vlanctl validate --parent "Port C" --id 4095 --name "a|b"

heading "One VLAN"
show vlanctl create --parent "Port A" --id 10 --name Büro
snapshot first
cat <<'END'

-- What the first VLAN of an adapter changes in HKLM\SYSTEM\CurrentControlSet: - went, + came. docs/registry.md explains it.
   (Class and Network are short for the network class's keys below Control\Class and Control\Network, XMS for
   Services\oXMSProtocol\Parameters. The templates of the VLAN's settings, Class\0013\Ndi, are left out.)
END
changes before first

heading "Several VLANs"
show vlanctl create --parent "Port A" --id 20-22 --auto-names
show vlanctl create --parent "Port A" --id 0 --name Management
show vlanctl list
show vlanctl show "Port A/10"
show vlanctl settings "Port A/10"

heading "The other side: bindings, and what the driver was told"
show lab show

heading "Removing one, and then the rest"
show vlanctl remove "Port A/20" --yes
show vlanctl remove --all --parent "Port A" --yes
show vlanctl list
snapshot after
cat <<'END'

-- What stays behind, of all keys of devices and drivers: the adapter's address is empty (its own again), and its priority
   tagging stays as the VLANs left it.
END
changes before after | sed 's/ *$//' | tee "$folder/staying.txt"
staying | cmp -s - "$folder/staying.txt" || fail "this is not what should stay behind"
! grep -q 'Ndi' "$folder/changes.txt" || fail "templates of settings stay behind"

heading "A creation that is killed, and what mends it"
printf '\n$ ./run.sh vlanctl create --parent "Port B" --id 40-49 --auto-names --yes    (killed after its second VLAN)\n'
scripts/wine.sh "$bin/vlanctl.exe" create --parent "Port B" --id 40-49 --auto-names --yes >"$folder/killed.txt" 2>&1 </dev/null &
killed=$!
until grep -q '2 of 10' "$folder/killed.txt" || ! kill -0 $killed 2>/dev/null; do
    sleep 0.05
done
kill -9 $killed 2>/dev/null || fail "the creation was over before it could be killed"
wait $killed 2>/dev/null || true
sed 's/\r$//' "$folder/killed.txt"
show vlanctl doctor --repair --yes
show vlanctl doctor
show vlanctl list
show vlanctl remove --all --parent "Port B" --yes
show lab down
