#!/bin/bash
# What has to hold on Windows before a release, tried under Wine with the packages as
# people get them. The result is a table, a line a check: passed, FAILED with what was
# otherwise than it has to be, or not tried with the reason. The status is 1 when one
# failed. Parts may be named; without a name all of them are checked.
set -euo pipefail
cd "$(dirname "$0")/../.."

parts=(sample tests kit interrupts options names held_files read_only surroundings)
for part in "$@"; do
    if [[ " ${parts[*]} " != *" $part "* ]]; then
        echo "usage: scripts/windows/check-release.sh [PART...], of ${parts[*]}" >&2
        exit 2
    fi
done
[ $# = 0 ] || parts=("$@")
place=$PWD/build/windows-release
mkdir -p "$place/logs"
. scripts/windows/cache.sh
. scripts/windows/wine.sh
. scripts/windows/release/table.sh
. scripts/windows/release/tree.sh
for part in "${parts[@]}"; do
    . "scripts/windows/release/$part.sh"
done

prepare() {
    scripts/install-packages.sh build sample windows windows-run
    cmake --preset release
    cmake --build --preset release --target gox
    scripts/windows/build.sh --tests
    unpack_archives
    make_template
    build_helper
}

echo "Building GOX here and for Windows, and its packages..."
# In the background, since as a condition its own failures would not end it.
(prepare) </dev/null >"$place/logs/prepare.txt" 2>&1 &
wait $! || { echo "That failed, see $place/logs/prepare.txt" >&2; exit 1; }
# Read-only files are so for an administrator too, as on Windows.
[ "$(id -u)" != 0 ] || windows_rights=(setpriv "--bounding-set=-dac_override,-dac_read_search")
start_display
prepare_wine
unset WINEPATH # the packages have to do without
for part in "${parts[@]}"; do
    "part_$part"
done
exit "$table_failed"
