#!/usr/bin/env bash
# Many hosts converged by Ansible: scripts/fleet-demo.sh [N], 3 without a number. Each is a host of the lab in a Wine prefix of its own
# below build/fleet. The playbook runs twice (everything changes, then nothing), then one host is broken, and the others go on.
# A table tells what it took. Ends with 1 when one of these is otherwise.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
count=${1:-3}
build=${RAV_BUILD:-release}
bin=$root/build/$build/bin
fleet=$root/build/fleet
broken=host$(((count + 1) / 2))
[[ $count =~ ^[1-9][0-9]*$ ]] || {
    echo "fleet-demo: how many hosts?" >&2
    exit 2
}
scripts/setup.sh fleet
scripts/build.sh "$build" programs
export ANSIBLE_CONFIG=$root/deploy/ansible/ansible.cfg ANSIBLE_NOCOLOR=1 ANSIBLE_LOCALHOST_WARNING=False
export ANSIBLE_HOME=$fleet/ansible ANSIBLE_LOCAL_TEMP=$fleet/ansible/tmp ANSIBLE_DISPLAY_SKIPPED_HOSTS=False
export ANSIBLE_CALLBACK_RESULT_FORMAT=yaml LC_ALL=C.UTF-8

hosts=()
for ((i = 1; i <= count; ++i)); do
    hosts+=("host$i")
done
on() { # HOST COMMAND...: on that host
    local host=$1
    shift
    RAV_CPUS='' RAV_WINEPREFIX=$fleet/$host "$@"
}
end() {
    for host in "${hosts[@]}"; do
        [ ! -d "$fleet/$host" ] || on "$host" scripts/session.sh end || true
    done
}
trap end EXIT
rm -rf "$fleet"
mkdir -p "$fleet"

# What Ansible runs on a host. The process that watches over a change lives on; under Wine it would keep open a pipe that it
# was started with.
write_command() {
    cat >"$fleet/$1-vlanctl" <<END
#!/bin/sh
export RAV_CPUS= RAV_WINEPREFIX='$fleet/$1'
out=\$(mktemp) && err=\$(mktemp) && trap 'rm -f "\$out" "\$err"' EXIT
'$root/scripts/wine.sh' '$fleet/$1-suite/vlanctl.exe' "\$@" >"\$out" 2>"\$err"
status=\$?
cat "\$out"
cat "\$err" >&2
exit \$status
END
    chmod +x "$fleet/$1-vlanctl"
}
bring_up() {
    mkdir "$fleet/$1-suite" # traces and records of changes lie in a host's own folder
    cp "$bin"/{lab,vlanctl}.exe "$bin"/{VlanAgent,CoreAgent,TeamAgent,NetCfg}.dll "$bin"/*.sys "$fleet/$1-suite"
    write_command "$1"
    on "$1" scripts/session.sh begin
    on "$1" scripts/lab.sh "$fleet/$1-suite" up Suite/Lab/hosts/server.json
}
echo "== $count hosts come up"
start=$SECONDS
for host in "${hosts[@]}"; do
    bring_up "$host" >"$fleet/$host.log" 2>&1 || {
        cat "$fleet/$host.log" >&2
        exit 1
    }
done
up=$((SECONDS - start))

inventory() { # the name of one VLAN more
    echo "all:"
    echo "  vars:"
    echo "    vlanagent_confirm_within: 60"
    echo "  hosts:"
    for host in "${hosts[@]}"; do
        cat <<END
    $host:
      ansible_connection: local
      ansible_remote_tmp: $fleet/ansible/remote
      vlanagent_command: [$fleet/$host-vlanctl]
      vlanagent_path: $fleet/$host.json
      vlanagent_state:
        parents:
          Port A:
            vlans:
              - { id: 10, name: Sales }
              - { id: 20, name: Voice of $host }
          Port B:
            vlans:
              - { id: 30, name: $1 }
END
    done
}
play() { # what, expected status, what every host but the broken one has to show
    local status=0 start=$SECONDS host
    printf '\n== %s\n' "$1"
    ansible-playbook -i "$fleet/inventory.yml" --diff "${@:4}" deploy/ansible/site.yml >"$fleet/play.txt" 2>&1 || status=$?
    seconds=$((SECONDS - start))
    cat "$fleet/play.txt"
    [ "$status" = "$2" ] || {
        echo "fleet-demo: the playbook ended with $status, not $2" >&2
        exit 1
    }
    for host in "${hosts[@]}"; do
        if [ "$2" != 0 ] && [ "$host" = "$broken" ]; then
            continue
        fi
        grep -q "^$host *: .*$3" "$fleet/play.txt" || {
            echo "fleet-demo: $host does not show $3" >&2
            exit 1
        }
    done
}
memory() { # of all that runs for the hosts, in MiB
    local total=0 size process
    for process in /proc/[0-9]*; do
        if tr '\0' '\n' 2>/dev/null <"$process/environ" | grep -q "^WINEPREFIX=$fleet/"; then
            size=$(awk '/^Pss:/ { print $2 }' "$process/smaps_rollup" 2>/dev/null) || size=0
            total=$((total + ${size:-0}))
        fi
    done
    echo $((total / 1024))
}

inventory Storage >"$fleet/inventory.yml"
play "the first run, in check mode: what would change" 0 'changed=1' --check
play "the first run: everything changes" 0 'changed=1'
first=$seconds
play "the second run: nothing changes" 0 'changed=0'
second=$seconds
used=$(memory)

on "$broken" scripts/wine.sh reg delete 'HKLM\SOFTWARE\CORVO\NETWORK_SERVICES\RAV2' /v InstalledDir /f >/dev/null 2>&1
inventory Backup >"$fleet/inventory.yml"
play "$broken has lost its suite, and all get another name for a VLAN" 2 'changed=1'
grep -q "^$broken *: .*failed=1" "$fleet/play.txt" || {
    echo "fleet-demo: $broken does not fail" >&2
    exit 1
}

printf '\n| hosts | up | first run | second run | memory |\n|---|---|---|---|---|\n| %s | %s s | %s s | %s s | %s MiB |\n' \
    "$count" "$up" "$first" "$second" "$used"
