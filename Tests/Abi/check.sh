#!/usr/bin/env bash
# The module as Microsoft's compiler sees it: compiles the sources, without making code, for that compiler's target, and
# compares the tables of operations, as it lays them out, with the contract of the suite's modules (the *.txt here). The
# headers of Windows and of the library are the cross compiler's.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
compiler=clang++-14
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

command -v $compiler >/dev/null || {
    echo "abi: $compiler is missing; scripts/setup.sh installs it" >&2
    exit 1
}

# The library's headers come before the compiler's own, and those before Windows'. What the cross compiler has of intrinsics is
# for itself.
mapfile -t headers < <(x86_64-w64-mingw32-g++-posix -v -x c++ -E /dev/null 2>&1 >/dev/null |
    sed -n '/^#include <\.\.\.>/,/^End of search list/{/^ /p}' | xargs realpath | grep -vE '/gcc/.*/include(-fixed)?$')
includes=()
for header in "${headers[@]}"; do
    [[ $header != */c++* ]] || includes+=(-isystem "$header")
done
includes+=(-isystem "$($compiler -print-resource-dir)/include")
for header in "${headers[@]}"; do
    [[ $header == */c++* ]] || includes+=(-isystem "$header")
done
# The headers take the compiler for the one they know, but for its layouts.
flags=(--target=x86_64-pc-windows-msvc -std=c++20 -nostdinc "${includes[@]}" -fms-extensions -fno-ms-compatibility -U_MSC_VER
    -D_UCRT -D__MINGW32__ -D__MINGW64__ -D__GNUC__=12 -w
    -DWINVER=0x0A00 -D_WIN32_WINNT=0x0A00 -DNOMINMAX -DWIN32_LEAN_AND_MEAN -DRAV_VLAN_AGENT_EXPORTS -I.)

status=0
find Common Src -name '*.cpp' -print0 | xargs -0 -P 2 -n 4 $compiler "${flags[@]}" -fsyntax-only || status=1

for source in Src/Agent/RavVlanAgent.cpp Src/RavCoreInterface.cpp Tests/Abi/Interfaces.cpp; do
    $compiler "${flags[@]}" -S -emit-llvm -o /dev/null -Xclang -fdump-vtable-layouts "$source" >>"$folder/dump.txt" || status=1
done

# In the dump a table begins with a line "VFTable for 'Base' in 'Class' (n entries)."; entry 0 is no operation.
for contract in Tests/Abi/*.txt; do
    awk -v contract="$contract" '
        function operation(text, signature,    name) {
            if (text ~ /::~/)
                return text ~ /deleting\]/ ? "destructor" : text
            sub(/ \[pure\]$/, "", text)
            name = text
            sub(/\(.*/, "", name)
            signature = substr(text, length(name) + 1)
            sub(/.*[ :*&]/, "", name)
            return name signature
        }
        function fits(wanted, found) {
            return wanted == found || (wanted !~ /\(/ && wanted == substr(found, 1, length(wanted)) &&
                                       substr(found, length(wanted) + 1, 1) == "(")
        }
        function complain(text) {
            print "abi: " contract ", table of " table ": " text
            failed = 1
        }
        FNR == NR {
            if ($1 == "table")
                tables[substr($0, 7)] = 1
            else if ($1 ~ /^[0-9]+$/) {
                if (!slots++)
                    first = $1
                else if ($1 != first + slots - 1) {
                    table = "this file"
                    complain("slot " $1 " is out of order")
                }
                wanted[slots] = $0
                sub(/^ *[0-9]+ /, "", wanted[slots])
            }
            next
        }
        /^VFTable for / {
            table = $0
            sub(/^VFTable for /, "", table)
            sub(/ \([0-9]+ entr.*$/, "", table)
            compared = (table in tables) && !(table in seen)
            if (compared) {
                seen[table] = 1
                entries = $(NF - 1)
                sub(/^\(/, "", entries)
                if (entries != slots + 1)
                    complain("it has " entries - 1 " slots instead of " slots)
            }
        }
        compared && NF == 0 { compared = 0 }
        compared && /^ *[0-9]+ \| / && $1 > 0 && $1 <= slots {
            found = $0
            sub(/^ *[0-9]+ \| /, "", found)
            found = operation(found)
            if (!fits(wanted[$1], found))
                complain("slot " first + $1 - 1 " holds " found ", should hold " wanted[$1])
        }
        END {
            for (table in tables) {
                if (!(table in seen))
                    complain("it is not there")
            }
            if (!slots || failed)
                exit 1
        }' "$contract" "$folder/dump.txt" >&2 || status=1
done
exit $status
