#!/usr/bin/env bash
# Makes the packages of a release: scripts/package.sh [BUILD [FOLDER]]. From a build, release without one, FOLDER (build/package)
# gets VlanAgent-VERSION.zip, which holds everything, and VlanAgent-VERSION.msi, the installer for hosts, both with what they are
# made of (VlanAgent.spdx.json).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:-release}
folder=${2:-build/package}
scripts/setup.sh package
scripts/build.sh "$build" programs
version=$(sed -n 's/^project(.*VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=VlanAgent-$version
tree=$folder/$name
host=$folder/host # what goes onto a host, but for the module

rm -rf "$folder"
mkdir -p "$folder"
cmake --install "build/$build" --prefix "$tree" --strip >"$folder/install.log"
scripts/manual.sh "$tree/docs"
scripts/sbom.py "$version" "$tree/bin/VlanAgent.dll" "$tree/bin/vlanctl.exe" >"$tree/VlanAgent.spdx.json"
(cd "$folder" && cmake -E tar cf "$name.zip" --format=zip "$name")

mkdir -p "$host/bin" "$folder/module"
cp "$tree/bin/vlanctl.exe" "$tree/bin/VlanAgent.dsc.resource.json" "$host/bin"
cp -r "$tree/powershell" "$tree/docs" "$tree/README.md" "$tree/CHANGELOG.md" "$tree/VlanAgent.spdx.json" "$host"
cp "$tree/bin/VlanAgent.dll" "$folder/module"
find "$host" -type f | LC_ALL=C sort |
    wixl-heat -p "$host/" --component-group Files --var var.TREE --directory-ref INSTALLDIR --win64 >"$folder/files.wxs"
cp cmake/VlanAgent.wxs "$folder"
(cd "$folder" && wixl -a x64 -D Win64=yes -D "VERSION=$version" -D TREE=host -o "$name.msi" VlanAgent.wxs files.wxs)

# What the compiler of installers has no words for: the search paths of programs and of PowerShell's modules, and the versions of
# programs, without which one that somebody has put there by hand would count as newer.
of_file() {
    msiinfo export "$folder/$name.msi" File | tr -d '\r' | awk -F '\t' -v file="$1" -v column="$2" '$3 == file { print $column }'
}
vlanctl=$(of_file vlanctl.exe 2)
[ -n "$vlanctl" ] || {
    echo "package: the installer has no vlanctl.exe" >&2
    exit 1
}
queries=(
    "CREATE TABLE \`Environment\` (\`Environment\` CHAR(72) NOT NULL, \`Name\` CHAR(255) NOT NULL LOCALIZABLE, \`Value\` CHAR(255) LOCALIZABLE, \`Component_\` CHAR(72) NOT NULL PRIMARY KEY \`Environment\`)"
    "INSERT INTO \`Environment\` (\`Environment\`, \`Name\`, \`Value\`, \`Component_\`) VALUES ('Path', '=-*PATH', '[~];[INSTALLDIR]bin', '$vlanctl')"
    "INSERT INTO \`Environment\` (\`Environment\`, \`Name\`, \`Value\`, \`Component_\`) VALUES ('Modules', '=-*PSModulePath', '[~];[INSTALLDIR]powershell', '$vlanctl')"
    "INSERT INTO \`InstallExecuteSequence\` (\`Action\`, \`Sequence\`) VALUES ('RemoveEnvironmentStrings', 3300)"
    "INSERT INTO \`InstallExecuteSequence\` (\`Action\`, \`Sequence\`) VALUES ('WriteEnvironmentStrings', 5200)"
)
for file in Module "$(of_file vlanctl.exe 1)"; do
    queries+=("UPDATE \`File\` SET \`Version\` = '$version.0', \`Language\` = '1033' WHERE \`File\` = '$file'")
    queries+=("DELETE FROM \`MsiFileHash\` WHERE \`File_\` = '$file'")
done
for query in "${queries[@]}"; do
    msibuild "$folder/$name.msi" -q "$query"
done
