# A data tree with the program as people get it, unpacked from its archive, and runs in
# it. To be sourced, with $place set, behind table.sh.
tree=$place/tree
template=$place/template
beside=$place/beside.exe
sample=(--configuration=default --dont_stop_on_error --nosplashscreen)
scripted=(--configuration=ci --dont_stop_on_error --nosplashscreen)

# The two archives, made and unpacked.
unpack_archives() {
    rm -rf "$place"/{packed,kit,archives}
    mkdir -p "$place"/{packed,kit,archives}
    cpack --config build/windows/CPackConfig.cmake -B "$place/archives"
    (cd "$place/packed" && cmake -E tar xf "$place"/archives/gox-[0-9]*-windows.zip)
    (cd "$place/kit" && cmake -E tar xf "$place"/archives/gox-sdk-*-windows.zip)
}

# The sample, its plugins and one that does what a script says.
make_template() {
    local plugins=$place/plugins tag=release
    rm -rf "$template"
    mkdir -p "$template"/data/{working_data,retail_build}
    cp -R examples/tree/. "$template/data/"
    cp -R "$place/packed/tool" "$template/tool"
    build_plugin examples/plugins "$plugins"
    cp "$plugins"/GOX_*."$tag".dll "build/windows/tool/plugins/GOX_scripted.$tag.dll" \
        "$windows_prefix/bin/libzip.dll" "$template/tool/"
    echo '<configuration><silent>true</silent><no_progress_dialog>true</no_progress_dialog>
        <processors><processor>p</processor></processors></configuration>' >"$template/data/tool/GOX/ci_configuration.xml"
}

# build_plugin SOURCES FOLDER: against the unpacked kit, as its authors do it.
build_plugin() {
    cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_PREFIX_PATH="$place/kit" \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/windows_mingw.cmake"
    cmake --build "$2"
}

build_helper() {
    "$windows_triplet-gcc-posix" -Wall -Wextra -Werror -O1 -municode -static -o "$beside" \
        scripts/windows/release/beside.c
}

# Programs and libraries, which no run changes, are the same files in all trees.
fresh_tree() {
    rm -rf "$tree"
    cp -R "$template/data" "$tree"
    cp -Rl "$template/tool/." "$tree/tool/"
}

# What the scripted plugin does, from standard input.
script() {
    sed 's/^ *//' >"$tree/tool/script.txt"
}

# on_tree COMMAND...: under Wine in the tool folder; status, out.txt and err.txt are kept.
on_tree() {
    status=0
    (cd "$tree/tool" && on_windows "$@" >"$place/out.txt" 2>"$place/err.txt") || status=$?
    sed -i 's/\r$//' "$place/out.txt" "$place/err.txt"
    echo "--- $*: status $status"
    cat "$place/out.txt" "$place/err.txt"
    [ "$status" != 124 ] || fault "it came to no end: $*"
}

run_gox() {
    on_tree ./gox.release.exe "$@"
}

# run_beside COMMAND [ARGUMENTS...] -- [OPTIONS...]: see beside.c.
run_beside() {
    local command=()
    while [ "$1" != -- ]; do
        command+=("$1")
        shift
    done
    shift
    on_tree "$beside" "${command[@]}" gox.release.exe "$@"
    [ "$status" != 125 ] || fault "the helper could not do its part: $(grep '^beside' "$place/err.txt")"
}

# A tree that was built once.
built_tree() {
    fresh_tree
    run_gox "${sample[@]}"
    expect_status 0
    built=$(targets)
    rm -f "$tree"/tool/*.log
}
