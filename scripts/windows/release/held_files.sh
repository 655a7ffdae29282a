# Files that another program holds open and shares with nobody. To be sourced.

# held FILE: the sample's tree is built again while somebody has this file of it.
held() {
    local file=$1
    shift
    run_beside hold "$(windows_path "$tree/$file")" -- "$@"
    expect_gone tool/gox.lock
}

# Once the file is free all is as it was.
expect_good_again() {
    run_gox "${sample[@]}"
    expect_status 0
    expect_targets "$built"
}

check_held_rules() {
    built_tree
    held raw_data/textures/rules.gox "${sample[@]}"
    expect_said "raw_data/textures/rules.gox: "
    expect_good_again
}

check_held_configuration() {
    built_tree
    held tool/GOX/nightly_textures_configuration.xml --configuration=nightly_textures --dont_stop_on_error
    expect_status 1
    expect_said "GOX/nightly_textures_configuration.xml: "
    expect_targets "$built"
    held tool/GOX/default_configuration.xml "${sample[@]}"
    expect_status 1
    expect_said "GOX/default_configuration.xml: "
    expect_targets "$built"
    expect_good_again
}

check_held_table() {
    built_tree
    held "raw_data/db/$1" "${sample[@]}"
    expect_status 1
    expect_said "raw_data/db/$1: "
    expect_targets "$built"
    expect_good_again
}

check_held_picture() {
    built_tree
    held raw_data/textures/ui/Frame.png "${sample[@]}"
    expect_status 1
    expect_in tool/gox_error.log "raw_data/textures/ui/Frame.png: "
    expect_targets "$built"
    expect_good_again
}

check_held_folder() {
    built_tree
    held raw_data/textures/units "${sample[@]}"
    [ "$status" != 0 ] || not_tried "Wine lists such a folder all the same"
    expect_said "raw_data/textures/units"
    expect_targets "$built"
    expect_good_again
}

check_held_target() {
    built_tree
    held working_data/ui/Frame.tex "${sample[@]}"
    expect_status 1
    expect_in tool/gox_error.log "working_data/ui/Frame.tex: can't be written: "
    expect_targets "$built"
    expect_good_again
}

# As a virus scanner does it: the target is in use when its action wants to replace it.
check_briefly_held_target() {
    built_tree
    rm "$tree/working_data/ui/Cursor.tex"
    echo of_old >"$tree/working_data/ui/Frame.tex"
    run_beside hold_briefly ../working_data/ui/Cursor.tex ../working_data/ui/Frame.tex -- "${sample[@]}"
    expect_status 0
    expect_targets "$built"
}

check_held_log() {
    built_tree
    echo of_old >"$tree/tool/gox.log"
    held tool/gox.log "${sample[@]}"
    expect_status 0
    expect_said "tool/gox.log: "
    expect_in tool/gox.log of_old
    expect_good_again
}

check_held_lock() {
    built_tree
    printf '4711\ngox\nelsewhere\n' >"$tree/tool/gox.lock"
    run_beside hold "$(windows_path "$tree/tool/gox.lock")" -- "${sample[@]}"
    expect_status 0
    rm -f "$tree/tool/gox.lock"
    expect_good_again
}

check_held_record() {
    built_tree
    held tool/gox_build_record.sqlite "${sample[@]}" --only_out_of_date
    expect_said "gox_build_record.sqlite: can't be written: Sharing violation, so everything is built"
    expect_targets "$built"
    expect_good_again
    run_gox "${sample[@]}" --only_out_of_date
    expect_status 0
}

check_held_report() {
    built_tree
    echo of_old >"$tree/tool/report.json"
    held tool/report.json "${sample[@]}" --report=report.json
    expect_status 1
    expect_said "report.json: "
    expect_good_again
}

check_held_agf() {
    built_tree
    held raw_data/assets/units.agf "${sample[@]}"
    expect_in tool/gox_asset_graph_error.log "raw_data/assets/units.agf: "
    expect_good_again
}

check_held_plugin() {
    built_tree
    held tool/GOX_packs.release.dll "${sample[@]}"
    expect_said GOX_packs.release.dll
    expect_good_again
}

part_held_files() {
    check "held: rule file" check_held_rules
    check "held: run configuration" check_held_configuration
    check "held: table of the database" check_held_table assets.xml
    check "held: schema of the database" check_held_table schema.xml
    check "held: asset graph file" check_held_agf
    check "held: picture" check_held_picture
    check "held: folder" check_held_folder
    check "held: target" check_held_target
    check "held: target, for a moment" check_briefly_held_target
    check "held: plugin" check_held_plugin
    check "held: log" check_held_log
    check "held: lock" check_held_lock
    check "held: build record" check_held_record
    check "held: report" check_held_report
}
