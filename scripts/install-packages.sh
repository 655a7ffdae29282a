#!/bin/bash
# Installs what is missing for one or more purposes, through the distribution's
# package client:  scripts/install-packages.sh build|sample|test|format|fuzz|pictures|windows-...
# Nothing is asked and nothing is touched when everything is there.
set -euo pipefail

packages_for() {
    case "$1" in
    build) echo build-essential cmake ninja-build pkg-config qtbase5-dev libqt5svg5 libsqlite3-dev libxxhash-dev graphviz libgraphviz-dev fonts-dejavu-core ;;
    sample) echo libzip-dev ;;
    test) echo libzip-dev libbenchmark-dev xvfb libxml2-utils python3-jsonschema ;;
    format) echo clang-format ;;
    fuzz) echo clang ;;
    pictures) echo xvfb openbox xdotool imagemagick ;;
    windows-syntax) echo g++-mingw-w64-x86-64-posix ;;
    windows) echo g++-mingw-w64-x86-64-posix cmake ninja-build pkg-config dpkg-dev qtbase5-dev libxxhash-dev tcl bison flex gawk perl ;;
    windows-run) echo wine wine64 xvfb ;;
    *)
        echo "install-packages.sh: unknown purpose '$1' (build, sample, test, format, fuzz, pictures, windows-syntax, windows, windows-run)" >&2
        exit 2
        ;;
    esac
}

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

wanted=()
for purpose in "$@"; do
    list=$(packages_for "$purpose")
    read -ra names <<<"$list"
    wanted+=("${names[@]}")
done

if ! command -v dpkg-query >/dev/null; then
    echo "This is no Debian system, so nothing is installed. Needed are the counterparts of: ${wanted[*]}" >&2
    exit 0
fi

missing=()
for package in "${wanted[@]}"; do
    is_installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing: ${missing[*]}" >&2
        echo "Installing them needs root or sudo. As root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    # With nobody there to type a password sudo has to fail and not to wait.
    as_root=(sudo)
    [ -t 0 ] || as_root=(sudo -n)
fi

echo "Installing: ${missing[*]}"
# A machine that is being set up may be busy with packages for a while.
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=120)
"${apt[@]}" update </dev/null
"${apt[@]}" install -y --no-install-recommends "${missing[@]}" </dev/null
