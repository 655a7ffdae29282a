# The packages: a plugin of somebody who has nothing but the kit. To be sourced.

check_minimal_plugin() {
    build_plugin examples/minimal-plugin "$place/minimal-plugin"
    fresh_tree
    cp "$place/minimal-plugin/GOX_minimal.release.dll" "$tree/tool/"
    sed -i 's|<processor>p<|<processor>Greeting<|' "$tree/tool/GOX/ci_configuration.xml"
    run_gox "${scripted[@]}"
    expect_status 0
    expect_said "1 succeeded"
    expect_in working_data/greeting.txt "Hello!"
}

# Every name that a library of the archive asks for is in it or Windows' own.
check_libraries() {
    local file name
    while read -r file; do
        while read -r name; do
            [ -n "$(find "$place/packed/tool" -iname "$name")" ] || is_of_windows "$name" ||
                fault "$(basename "$file") wants $name"
        done < <("$windows_triplet-objdump" -p "$file" | sed -n 's/.*DLL Name: //p')
    done < <(find "$place/packed/tool" -name '*.exe' -o -name '*.dll')
}

is_of_windows() {
    [ -n "$(find "$WINEPREFIX/drive_c/windows/system32" -iname "$1")" ]
}

check_sample_from_archive() {
    built_tree
    expect_said "15 action(s) in" "14 succeeded"
}

part_kit() {
    check "packages: all libraries are there" check_libraries
    check "packages: the sample" check_sample_from_archive
    check "packages: examples/minimal-plugin" check_minimal_plugin
}
