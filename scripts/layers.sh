#!/usr/bin/env bash
# Checks that the house stands as docs/ARCHITECTURE.md shows it. Ends with 1 and a line for each offence (place: what, why) when
# a file includes, or a target links, what lies above it or in a room that it has no business in, and when files or targets
# need each other in a circle. A.h and A.cpp count as one: when A.cpp includes B.h and B.cpp A.h, that is a circle.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C

# From the ground up. A room may use itself, what it stands on, and all that this stands on.
rooms='
    Common/Intf       stands on Common/Src
    Common/Src        stands on Common/Intf
    Common/Settings   stands on Common/Src
    Common/Library    stands on Common/Settings

    public headers    stand  on Common/Settings
    Src               stands on Common/Library, public headers
    Src/View          stands on Src
    Src/Vlan          stands on Src/View
    Src/Agent         stands on Src/Vlan
    Src/Exports       stands on Src/Agent

    Plan              stands on Src/Vlan

    Suite/Lab         stands on Common/Library, public headers
    Tools             stands on Plan

    Tests/Harness     stands on Src/Exports, Suite/Lab, Tools
    Tests             stands on Tests/Harness
    Bench             stands on Tests/Harness
'
# The public headers are those of Src that a release installs.
public=$(grep -oE '\bSrc/[A-Za-z]+\.h\b' cmake/RavInstall.cmake)

files() {
    find . -name '.?*' -prune -o -path ./build -prune -o -type f -regextype posix-extended -regex "$1" -print |
        sed 's|^\./||' | sort
}
mapfile -t sources < <(files '.*\.(h|c|cpp|rc|rc\.in)')
mapfile -t lists < <(files '.*/CMakeLists\.txt')

# include PLACE FILE FILE, for headers of our own
includes() {
    awk '
        FNR == NR { ours[$0]; next }
        /^[ \t]*#[ \t]*include[ \t]*["<]/ {
            path = $0
            sub(/^[^"<]*["<]/, "", path)
            sub(/[">].*$/, "", path)
            gsub(/\\/, "/", path)
            near = FILENAME
            sub(/[^\/]*$/, path, near)
            while (sub(/[^\/]+\/\.\.\//, "", near)) {}
            if (near in ours) path = near
            if (path in ours) print "include", FILENAME ":" FNR, FILENAME, path
        }' <(printf '%s\n' "${sources[@]}") "${sources[@]}"
}

# source PLACE TARGET FILE, and link PLACE TARGET NAME, where the name is a target of ours, another library or a word of CMake's
links() {
    awk '
        FNR == 1 { folder = FILENAME; sub(/[^\/]*$/, "", folder); depth = 0 }
        {
            sub(/#.*/, "")
            gsub(/"/, "")
            gsub(/[()]/, " & ")
            for (i = 1; i <= NF; ++i) take($i)
        }
        function take(word) {
            if (word == "(") { if (++depth == 1) { call = last; target = "" } }
            else if (word == ")") --depth
            else if (depth == 0) last = word
            else if (target == "") { target = word; linked = call ~ /^(target_link_libraries|add_dependencies)$/ }
            else if (word == "LIBS") linked = 1
            else if (linked) print "link", FILENAME ":" FNR, target, word
            else if (call ~ /^(rav_[a-z_]+|add_library|add_executable|target_sources)$/) {
                if (!sub(/^\$\{CMAKE_SOURCE_DIR\}\//, "", word)) word = folder word
                while (sub(/[^\/]+\/\.\.\//, "", word)) {}
                print "source", FILENAME ":" FNR, target, word
            }
        }' "${lists[@]}"
}

# What is above or to the side. A target stands in the highest room that it has a source in.
climbs() {
    awk -v rooms="$rooms" -v public="$public" -v sources="${sources[*]}" '
        BEGIN {
            for (i = split(public, names); i > 0; --i) isPublic[names[i]]
            for (i = split(rooms, lines, "\n"); i > 0; --i) {
                if (split(lines[i], sides, / stands? +on /) != 2) continue
                gsub(/^ +| +$/, "", sides[1])
                isRoom[sides[1]]
                may[sides[1], sides[1]]
                for (j = split(sides[2], below, /, */); j > 0; --j) { gsub(/^ +| +$/, "", below[j]); may[sides[1], below[j]] }
            }
            for (k in isRoom) for (i in isRoom) for (j in isRoom) if ((i, k) in may && (k, j) in may) may[i, j]
            for (i = split(sources, names, " "); i > 0; --i)
                if (room(names[i]) == "") print names[i] ":1: stands in no room of scripts/layers.sh"
        }
        function room(file) {
            if (file in isPublic) return "public headers"
            while (sub(/\/[^\/]*$/, "", file)) if (file in isRoom) return file
            return ""
        }
        function use(place, what, from, to) {
            if (from != "" && to != "" && !((from, to) in may)) print place ": " what ", but " from " does not stand on " to
        }
        $1 == "include" { use($2, $3 " includes " $4, room($3), room($4)) }
        $1 == "source" && room($4) != "" {
            if (!($3 in home) || (room($4), home[$3]) in may) home[$3] = room($4)
        }
        $1 != "include" { line[++count] = $0 }
        END {
            for (i = 1; i <= count; ++i) {
                split(line[i], word, " ")
                if (word[1] == "source") use(word[2], word[3] " is made of " word[4], home[word[3]], room(word[4]))
                else use(word[2], word[3] " links " word[4], home[word[3]], home[word[4]])
            }
        }'
}

# circles KIND: each need that is a part of a circle, for facts of this kind
circles() {
    awk -v kind="$1" '
        $1 == "source" { isTarget[$3] }
        $1 == kind { place[++count] = $2; from[count] = unit($3); to[count] = unit($4) }
        function unit(name) { if (kind == "include") sub(/\.[a-z.]+$/, "", name); return name }
        END {
            for (i = 1; i <= count; ++i)
                if (from[i] != to[i] && (kind == "include" || to[i] in isTarget)) print from[i], to[i], place[i]
        }' >"$scratch/needs"
    cut -d ' ' -f 1,2 "$scratch/needs" | { tsort 2>&1 >/dev/null || true; } | awk -v verb="$1s" '
        FILENAME != "-" { from[NR] = $1; to[NR] = $2; place[NR] = $3; count = NR; next }
        / input contains a loop/ { ++loop; next }
        { sub(/^tsort: /, ""); member[loop, $0] }
        END {
            for (; loop > 0; --loop)
                for (i = 1; i <= count; ++i)
                    if ((loop, from[i]) in member && (loop, to[i]) in member)
                        print place[i] ": " from[i] " " verb " " to[i] ", which leads back to " from[i] " in a circle"
        }' "$scratch/needs" -
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
{
    includes
    links
} >"$scratch/facts"
{
    climbs <"$scratch/facts"
    circles include <"$scratch/facts"
    circles link <"$scratch/facts"
} | sort -u >"$scratch/offences"
if [ -s "$scratch/offences" ]; then
    cat "$scratch/offences"
    exit 1
fi
