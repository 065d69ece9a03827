#!/usr/bin/env bash
# Makes the manual of vlanctl from docs/vlanctl.md: scripts/manual.sh [FOLDER] writes vlanctl.1, for man, and vlanctl.html, one
# page that needs nothing else, into the folder, build/manual without one.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
folder=${1:-build/manual}
source=docs/vlanctl.md
scripts/setup.sh manual
mkdir -p "$folder"
version=$(sed -n 's/^project(.*VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)

# A page for man begins with a name, by which it is found; its sections are the document's. Links are names there, and programs
# stand in the path.
text=$(sed -e 's/\.\/run\.sh vlanctl/vlanctl/g' "$source")
sed -e 's/\[\([^]]*\)\]([^)]*)/\1/g' -e '1s/.*/# NAME\n\nvlanctl - lists, creates, changes and removes VLANs\n\n# DESCRIPTION/' -e 's/^## /# /' <<<"$text" |
    lowdown -s -tman -M title=VLANCTL -M section=1 -M "source=VLAN agent $version" >"$folder/vlanctl.1"

{
    cat <<'HEAD'
<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>vlanctl</title>
<style>
:root { color-scheme: light dark; --ink: #1b1f24; --paper: #fff; --line: #c3cad1; --box: #f4f6f8; --link: #0a58ca; }
@media (prefers-color-scheme: dark) {
:root { --ink: #e6eaee; --paper: #15191e; --line: #3d4752; --box: #1f252c; --link: #7fb2ff; } }
body { font: 16px/1.55 system-ui, sans-serif; color: var(--ink); background: var(--paper); margin: 2rem auto; max-width: 60rem;
       padding: 0 1rem; }
h1 { font-size: 1.7rem; } h2 { font-size: 1.25rem; margin-top: 2.2rem; border-bottom: 1px solid var(--line); }
a { color: var(--link); }
table { border-collapse: collapse; width: 100%; font-size: .93rem; }
th, td { text-align: left; vertical-align: top; padding: .35rem .8rem .35rem 0; border-bottom: 1px solid var(--line); }
code { font-size: .9em; background: var(--box); padding: .1em .25em; border-radius: 3px; }
pre { background: var(--box); padding: .8rem; overflow-x: auto; border-radius: 5px; } pre code { padding: 0; }
@media print { body { margin: 0; max-width: none; } pre { white-space: pre-wrap; } }
</style>
</head>
<body>
<main>
HEAD
    lowdown -thtml <<<"$text"
    printf '</main>\n</body>\n</html>\n'
} >"$folder/vlanctl.html"
