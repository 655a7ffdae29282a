# What a run finds round it: a console, a person at it or nobody, servers, links. To be
# sourced.

check_no_tree() {
    fresh_tree
    rm -r "$tree/raw_data"
    run_gox
    expect_status 1
    expect_said "There is no data tree: the folder $(wine_path raw_data) does not exist."
}

# The box of a double click, with nothing between Qt and the display of Wine.
check_box() {
    fresh_tree
    rm -r "$tree/raw_data"
    unset WINEQT_QPA_PLATFORM
    run_beside close_box --
    expect_status 1
    expect_said "There is no data tree: the folder"
    expect_not_said "(no window)"
    run_beside close_box -- --dont_stop_on_error
    expect_status 1
    expect_said "(no window)"
}

check_code_page() {
    fresh_tree
    run_beside code_page -- "${sample[@]}"
    expect_status 0
    expect_said "before 437, within 65001, after 437"
    script <<<$'crashes collect_files throw\nprocessor p\naction a'
    run_beside code_page -- "${scripted[@]}"
    [ "$status" != 0 ] || fault "status 0"
    expect_said "GOX crashed in " "before 437, within 65001, after 437"
}

# What a crash leaves is no other run; what runs at the same time is one.
check_other_runs() {
    local first
    fresh_tree
    script <<<$'crashes execute throw\nprocessor p\naction a'
    run_gox "${scripted[@]}"
    [ "$status" != 0 ] || fault "status 0"
    expect_said "GOX crashed in p / a: "
    [ -e "$tree/tool/gox.lock" ] || fault "no lock is left"
    script <<<$'processor p\naction a\nwrites <working>/a.txt\nawaits go_on.txt'
    rm "$tree/tool/gox.log"
    (cd "$tree/tool" && on_windows ./gox.release.exe "${scripted[@]}" >"$place/first.txt") &
    first=$!
    until [ -e "$tree/tool/gox.log" ]; do
        sleep 0.1
        kill -0 "$first"
    done
    script <<<$'processor p\naction b\nwrites <working>/b.txt'
    run_gox "${scripted[@]}"
    expect_status 0
    expect_said "Remark: Another GOX runs in this tree, process "
    expect_not_said " on "
    touch "$tree/tool/go_on.txt"
    wait "$first" || fault "the first one ended with status $?"
    ! grep "Another GOX" "$place/first.txt" || fault "the first one was told of another"
    expect_gone tool/gox.lock
    expect_in working_data/a.txt "made by a"
}

# Nobody is asked there, as in a service.
check_hidden_station() {
    fresh_tree
    unset WINEQT_QPA_PLATFORM
    run_beside hidden -- --configuration=none
    [ "$status" != 125 ] || not_tried "Wine has no other window station"
    expect_status 1
    expect_said "Failed to load configuration!"
    run_beside hidden -- "${sample[@]}"
    expect_status 0
}

# Without a console Qt would show a box about it.
check_no_platform() {
    fresh_tree
    rm -r "$tree/tool/platforms"
    run_gox "${sample[@]}"
    [ "$status" != 0 ] || fault "status 0"
    expect_said "no Qt platform plugin could be initialized"
    unset WINEQT_QPA_PLATFORM
    run_gox -platform nonsense
    [ "$status" != 0 ] || fault "status 0"
    expect_said "no Qt platform plugin could be initialized"
}

check_server() {
    local shares=$WINEPREFIX/dosdevices/unc/server
    fresh_tree
    mkdir -p "$shares"
    ln -sfn "$tree" "$shares/share"
    on_tree cmd /c 'dir \\server\share\tool'
    grep -q gox.release.exe "$place/out.txt" || not_tried "Wine lists no folder of a server"
    on_tree "$beside" in '\\server\share\tool' '\\server\share\tool\gox.release.exe' "${sample[@]}"
    expect_status 0
    expect_said "//server/share/tool/GOX/default_configuration.xml" "14 succeeded"
    [ "$(targets | wc -l)" -gt 15 ] || fault "targets are missing"
}

# link_folder LINK TARGET, below the tree.
link_folder() {
    on_tree cmd /c mklink /J "$(windows_path "$tree/$1")" "$(windows_path "$tree/$2")"
    [ -e "$tree/$1" ] || not_tried "Wine makes no junctions, and shows links of this system as folders"
}

check_junctions() {
    fresh_tree
    mkdir "$tree/elsewhere"
    cp "$tree/raw_data/textures/terrain/Grass.png" "$tree/elsewhere/"
    link_folder raw_data/textures/terrain/linked elsewhere
    link_folder raw_data/textures/terrain/Cliffs/loop raw_data/textures
    run_gox "${sample[@]}"
    expect_status 0
    expect_said "16 action(s) in"
    [ -s "$tree/working_data/terrain/linked/Grass.tex" ] || fault "what was linked is not built"
}

check_removed_folder() {
    fresh_tree
    mkdir "$tree/raw_data/textures/going"
    run_beside remove "$(windows_path "$tree/raw_data/textures/going")" -- "${sample[@]}"
    ! grep -q 'still shows it' "$place/out.txt" || not_tried "Wine goes on to show such a folder"
    expect_status 0
    expect_said "14 succeeded"
    remark "$(grep 'the system says' "$place/out.txt")"
}

part_surroundings() {
    check "no raw_data, nobody there" check_no_tree
    check "no raw_data, after a double click" check_box
    check "the console's code page" check_code_page
    check "other runs, and a crashed one" check_other_runs
    check "a window station that nobody sees" check_hidden_station
    check "no platform plugin, no console" check_no_platform
    check "a tree on a server" check_server
    check "junctions and a loop of them" check_junctions
    check "a folder that is being removed" check_removed_folder
}
