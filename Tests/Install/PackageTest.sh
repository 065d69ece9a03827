#!/usr/bin/env bash
# Makes the packages of a build, and installs and removes the installer on a host of the lab with a VLAN:
# PackageTest.sh BUILD. The lab's programs stand in for the suite, in a folder without the module.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$1
bin=$root/build/$build/bin
work=$root/build/$build/package-test
for tool in wixl msibuild msiinfo lowdown; do
    command -v "$tool" >/dev/null || {
        echo "skipped: $tool is not installed (scripts/setup.sh package)"
        exit 77
    }
done
fail() {
    echo "$*" >&2
    exit 1
}
wine() { "$root/scripts/wine.sh" "$@" 2>/dev/null; }
environment() { wine reg query 'HKLM\SYSTEM\CurrentControlSet\Control\Session Manager\Environment' /v "$1"; }
install() { wine msiexec "$@" /qn; }

rm -rf "$work"
"$root/scripts/package.sh" "$build" "$work/package"
msi=$(ls "$work"/package/VlanAgent-*.msi)
zip=$(ls "$work"/package/VlanAgent-*.zip)
(cd "$work" && cmake -E tar tf "$zip") >"$work/zip.txt"
for file in bin/VlanAgent.dll bin/vlanctl.exe bin/VlanAgent.dsc.resource.json powershell/VlanAgent/VlanAgent.psd1 docs/vlanctl.html \
    docs/vlanctl.1 VlanAgent.spdx.json include/Src/RavVlanAgentIntf.h; do
    grep -q "/$file\$" "$work/zip.txt" || fail "the zip has no $file"
done
"$root/Tests/Install/SbomTest.py" "${zip%.zip}"

export RAV_WINEPREFIX=$work/prefix RAV_CPUS='' # a prefix of its own, not one for each processor
unset CTEST_RESOURCE_GROUP_0_CPUS
trap '"$root/scripts/session.sh" end || true' EXIT
suite=$work/suite
mkdir -p "$suite"
cp "$bin"/{lab.exe,CoreAgent.dll,TeamAgent.dll,NetCfg.dll} "$bin"/*.sys "$suite"
"$root/scripts/session.sh" begin
windows_msi=$(wine winepath -w "$msi" | tr -d '\r')
programs="$RAV_WINEPREFIX/drive_c/Program Files/VLAN agent"
vlanctl="$programs/bin/vlanctl.exe"

! install /i "$windows_msi" || fail "it is installed although there is no suite"
[ ! -e "$programs" ] || fail "a refused installation leaves files behind"

"$root/scripts/lab.sh" "$suite" up "$root/Suite/Lab/hosts/workstation.json"
install /i "$windows_msi" || fail "it cannot be installed"
[ -f "$suite/VlanAgent.dll" ] || fail "the module is not in the suite's folder"
environment PATH | grep -q 'VLAN agent.bin' || fail "PATH does not name it"
environment PSModulePath | grep -q 'VLAN agent.powershell' || fail "PSModulePath does not name it"
wine "$vlanctl" create --parent 1 --id 10 --name Kept --yes >/dev/null || fail "the installed vlanctl creates no VLAN"
before=$(wine "$vlanctl" list -o csv)
grep -q Kept <<<"$before" || fail "there is no VLAN: $before"

install /x "$windows_msi" || fail "it cannot be removed"
[ ! -e "$vlanctl" ] && [ ! -e "$suite/VlanAgent.dll" ] || fail "files stay behind"
! environment PATH | grep -q 'VLAN agent.bin' || fail "PATH still names it"
install /i "$windows_msi" || fail "it cannot be installed again"
[ "$(wine "$vlanctl" list -o csv)" = "$before" ] || fail "the VLANs are not as they were"
