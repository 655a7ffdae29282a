#!/bin/bash
# Runs the sample under Wine and on this system, each time in a fresh tree, and
# compares exit status, set of files, the bytes of what was made, logs and console:
# every configuration, names of many letters and scripts, a second run after which
# nothing is out of date.
# Wanted are build/release (run-sample.sh) and build/windows (build.sh).
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/windows/cache.sh
. scripts/windows/wine.sh

scripts/install-packages.sh windows-run
scripts/lay-out-sample.sh build/release build/sample >/dev/null
scripts/lay-out-sample.sh build/windows build/windows-sample >/dev/null
mapfile -t configurations < <(basename -as _configuration.xml examples/tree/tool/GOX/*_configuration.xml)
place=$PWD/build/windows-compared
options=(--dont_stop_on_error --nosplashscreen)

fresh_trees() {
    rm -rf "${place:?}"
    mkdir -p "$place/here" "$place/windows"
    cp -R build/sample/tree "$place/here/tree"
    cp -R build/windows-sample/tree "$place/windows/tree"
}

# Beyond 260 letters, beyond any code page, in odd letter case.
add_names() {
    local textures folder
    for textures in "$place"/{here,windows}/tree/raw_data/textures; do
        folder=terrain/$(printf 'a_folder_with_a_long_name_%04d/' {1..12})
        mkdir -p "$textures/$folder" "$textures/units/Кириллица" "$textures/ui/UPPER Case"
        cp "$textures/terrain/Grass.png" "$textures/${folder}Deep.png"
        cp "$textures/terrain/Grass.png" "$textures/units/Кириллица/Рыцарь.png"
        cp "$textures/terrain/Grass.png" "$textures/units/日本語.png"
        cp "$textures/terrain/Grass.png" "$textures/ui/UPPER Case/X.PNG"
    done
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
            -e 's/^(Duration:) .*/\1 SOME/' "$file"
    done
}

# run_both CONFIGURATION [OPTIONS...]
run_both() {
    local arguments=(--configuration="$1" "${options[@]}" "${@:2}")
    in_tree here env -u DISPLAY -u WAYLAND_DISPLAY ./gox.release.bin "${arguments[@]}"
    in_tree windows on_windows ./gox.release.exe "${arguments[@]}"
}

compare() {
    make_comparable here
    make_comparable windows
    if diff -r "$place/here" "$place/windows"; then
        echo "sample, $1: the same, status $(cat "$place/here/status.txt")"
    else
        echo "sample, $1: DIFFERS"
        failed=1
    fi
}

start_display
prepare_wine
failed=0
for configuration in "${configurations[@]}"; do
    fresh_trees
    run_both "$configuration"
    compare "$configuration"
done
fresh_trees
add_names
run_both default
compare "names"
fresh_trees
run_both default
sleep 3 # what was written right now counts as uncertain
run_both default --only_out_of_date
compare "a second run"
exit "$failed"
