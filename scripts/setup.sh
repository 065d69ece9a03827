#!/usr/bin/env bash
# Installs what is missing of the packages that the build and the tests need; with the argument "checks" also what the checks
# of .ci/run need, with "manual" what makes the manual instead, with "package" what the packages of a release take besides,
# with "fleet" what the demonstration with many hosts does. Silent when nothing is missing.
set -euo pipefail

packages=(
    g++-mingw-w64-x86-64-posix # compiler for Windows
    lld                        # its linker
    clang-14                   # the module as Microsoft's compiler sees it
    wine64                     # runs what it makes
    cmake ninja-build          # build
    googletest                 # test framework, compiled for Windows in the build
    libcli11-dev               # command lines of the tools
    nlohmann-json3-dev         # host files, --json
    libspdlog-dev              # the benchmarks' yardstick for the trace log
    python3-jsonschema         # the schema of desired state, as editors see it
)
case ${1:-} in
checks) packages+=(clang-format clang-tidy lowdown wixl msitools) ;;
manual) packages=(lowdown) ;;
package) packages+=(lowdown wixl msitools) ;;
fleet) packages+=(ansible-core) ;;
esac

fail() {
    echo "setup: $*" >&2
    exit 1
}

command -v apt-get >/dev/null && command -v dpkg-query >/dev/null ||
    fail "this needs Debian 12 (apt-get was not found); see CONTRIBUTING.md for the list of packages"

missing=()
for package in "${packages[@]}"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null && sudo -n true 2>/dev/null ||
        fail "missing packages: ${missing[*]}; run this as root or as a user with sudo"
    as_root=(sudo -n)
fi

echo "setup: installing ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update >"$log" 2>&1 && ! grep -q '^\(W\|E\): Failed to fetch' "$log" ||
    fail "the package lists cannot be fetched (is there a network?): $(grep -m1 '^[WE]:' "$log")"
"${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}" >"$log" 2>&1 ||
    fail "a package cannot be installed: $(grep -m1 '^E:' "$log")"
