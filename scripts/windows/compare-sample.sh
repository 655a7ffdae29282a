#!/bin/bash
# Runs the sample under Wine and on this system, each time in a fresh tree, and
# compares exit status, set of files, the bytes of what was made, logs and console.
# Wanted are build/windows-sample (build.sh) and build/sample (run-sample.sh).
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/windows/cache.sh
. scripts/windows/wine.sh

scripts/install-packages.sh windows-run
configurations=(default failing nightly_textures)
place=$PWD/build/windows-compared
options=(--dont_stop_on_error --nosplashscreen)

# fresh_tree SAMPLE RUN
fresh_tree() {
    rm -rf "${place:?}/$2"
    mkdir -p "$place/$2"
    cp -R "$1/tree" "$place/$2/tree"
}

# in_tree RUN COMMAND...: its console and status beside the tree.
in_tree() {
    local run=$place/$1 status=0
    shift
    (cd "$run/tree/tool" && "$@" </dev/null >"$run/out.txt" 2>"$run/err.txt") || status=$?
    echo "$status" >"$run/status.txt"
}

# What must be equal, without what tells the systems apart: line ends, the place of the
# tree, names of programs and libraries, durations. The record of a build has times.
make_comparable() {
    local run=$place/$1 file
    rm -f "$run"/tree/tool/{gox,gox_layout}.*.{bin,exe} "$run"/tree/tool/*.{so,dll} \
        "$run"/tree/tool/gox_build_record.sqlite
    for file in "$run"/*.txt "$run"/tree/tool/*.log; do
        sed -i -E -e 's/\r$//' -e "s#(Z:)?$run/tree#TREE#g" -e 's/in [0-9.]+ s:/in SOME s:/' \
            -e 's/^(Duration:) [0-9]+ /\1 SOME /' "$file"
    done
}

start_display
prepare_wine
failed=0
for configuration in "${configurations[@]}"; do
    fresh_tree build/sample here
    fresh_tree build/windows-sample windows
    in_tree here env -u DISPLAY -u WAYLAND_DISPLAY ./gox.release.bin --configuration="$configuration" "${options[@]}"
    in_tree windows on_windows ./gox.release.exe --configuration="$configuration" "${options[@]}"
    make_comparable here
    make_comparable windows
    if diff -r "$place/here" "$place/windows"; then
        echo "sample, $configuration: the same, status $(cat "$place/here/status.txt")"
    else
        echo "sample, $configuration: DIFFERS"
        failed=1
    fi
done
exit "$failed"
