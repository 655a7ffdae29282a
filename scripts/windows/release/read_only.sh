# Files that are read-only, as those of Perforce are until they are opened. To be sourced.

# read_only FILE...: below the tree. Wine makes an attribute of it.
read_only() {
    (cd "$tree" && chmod a-w "$@")
}

expect_kept() {
    [[ $(stat -c %A "$tree/$1") != *w* ]] || fault "no longer read-only: $1"
}

check_read_only_sources() {
    built_tree
    find "$tree/raw_data" "$tree/old_raw_data" "$tree/tool/GOX" -type f -exec chmod a-w {} +
    run_gox "${sample[@]}" --only_out_of_date
    expect_status 0
    expect_said "Everything is up to date"
    run_gox "${sample[@]}"
    expect_status 0
    expect_targets "$built"
    expect_kept raw_data/textures/rules.gox
}

check_read_only_target() {
    built_tree
    read_only working_data/ui/Frame.tex
    run_gox "${sample[@]}"
    expect_status 1
    expect_in tool/gox_error.log "working_data/ui/Frame.tex: can't be written: it is read-only"
    expect_targets "$built"
    expect_kept working_data/ui/Frame.tex
}

check_read_only_logs() {
    built_tree
    touch "$tree"/tool/{gox,gox_error,gox_startup_error}.log
    read_only tool/{gox,gox_error,gox_startup_error}.log
    run_gox "${sample[@]}"
    expect_status 0
    expect_said "Cannot write $(wine_path tool/gox.log): " "Cannot write $(wine_path tool/gox_error.log): " \
        "Cannot write $(wine_path tool/gox_startup_error.log): "
    expect_targets "$built"
}

# The path below the tree as GOX tells it.
wine_path() {
    echo "Z:$tree/$1"
}

check_read_only_record() {
    built_tree
    read_only tool/gox_build_record.sqlite
    run_gox "${sample[@]}" --only_out_of_date
    expect_status 0
    echo x >>"$tree/raw_data/textures/ui/rules.gox"
    run_gox "${sample[@]}" --only_out_of_date
    expect_said "$(wine_path tool/gox_build_record.sqlite): can't be written"
    expect_kept tool/gox_build_record.sqlite
}

check_read_only_report() {
    built_tree
    echo of_old >"$tree/tool/report.json"
    read_only tool/report.json
    run_gox "${sample[@]}" --report=report.json
    expect_status 1
    expect_said "Cannot write $(wine_path tool/report.json): it is read-only"
    expect_in tool/report.json of_old
}

# Windows gives the attribute to folders that it shows in another way, and lets anybody
# write to them all the same. Here only root can do that.
check_read_only_folders() {
    [ "$(id -u)" = 0 ] || not_tried "only root may write to such a folder here"
    windows_rights=()
    timeout 20 wineserver -w # that of the rights so far
    built_tree
    find "$tree" -type d -exec chmod a-w {} +
    sleep 3 # what was written right now counts as uncertain
    run_gox "${sample[@]}" --only_out_of_date --report=report.json
    expect_status 0
    expect_said "Everything is up to date" "Report: "
    run_gox "${sample[@]}"
    expect_status 0
    expect_targets "$built"
    chmod -R u+w "$tree"
    timeout 20 wineserver -w
}

# Of a run that was killed: nobody has that number.
check_read_only_lock() {
    built_tree
    printf '99999999\ngox.release\n' >"$tree/tool/gox.lock"
    read_only tool/gox.lock
    run_gox "${sample[@]}"
    expect_status 0
    expect_not_said "Another GOX"
}

part_read_only() {
    check "read-only: rules, configurations, tables, pictures" check_read_only_sources
    check "read-only: target" check_read_only_target
    check "read-only: logs" check_read_only_logs
    check "read-only: build record" check_read_only_record
    check "read-only: lock that was left" check_read_only_lock
    check "read-only: folders" check_read_only_folders
    check "read-only: report" check_read_only_report
}
