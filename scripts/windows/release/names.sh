# Long names, names of all scripts, odd letter case. To be sourced.

# A tree with so long a name that most of its files are beyond 260 letters.
check_long_paths() {
    local tree
    tree=$place/long/$(printf 'a_folder_with_a_long_name_%04d/' {1..6})tree
    local folder=terrain/deep_below_all_others_and_more/deep_below_all_others_and_more
    mkdir -p "$(dirname "$tree")"
    fresh_tree
    mkdir -p "$tree/raw_data/textures/$folder"
    cp "$tree/raw_data/textures/terrain/Grass.png" "$tree/raw_data/textures/$folder/Grass.png"
    cp "$tree/raw_data/textures/ui/rules.gox" "$tree/raw_data/textures/$folder/"
    [ ${#tree} -gt 200 ] || fault "the tree's name is too short"
    run_gox "${sample[@]}" --report=report.json
    expect_status 0
    expect_said "16 action(s) in"
    [ -s "$tree/working_data/$folder/Grass.tex" ] || fault "the target is not there"
    sleep 3 # what was written right now counts as uncertain
    run_gox "${sample[@]}" --only_out_of_date
    expect_said "Everything is up to date"
    run_beside hold "$(windows_path "$tree/raw_data/textures/$folder/Grass.png")" -- "${sample[@]}"
    expect_status 1
    expect_in tool/gox_error.log "$folder/Grass.png: it can't be opened"
    rm -rf "$place/long"
}

# The tree itself lies below letters that no code page has together.
check_scripts() {
    local tree="$place/Дерево 日本 ελ/tree"
    mkdir -p "$(dirname "$tree")"
    fresh_tree
    cp "$tree/raw_data/textures/terrain/Grass.png" "$tree/raw_data/textures/terrain/Трава 草.png"
    cp "$tree/tool/GOX/default_configuration.xml" "$tree/tool/GOX/ночь_configuration.xml"
    run_gox --configuration=ночь --dont_stop_on_error --report=отчёт.json
    expect_status 0
    expect_said "Z:$tree/tool/GOX/ночь_configuration.xml" "16 action(s) in" "Z:$tree/tool/gox.log"
    expect_in tool/отчёт.json "трава 草.png"
    [ -s "$tree/working_data/terrain/Трава 草.tex" ] || fault "the target is not there"
    rm -rf "$(dirname "$tree")"
}

# The tree is a drive, as `subst` makes one, or the tool folder is.
check_drive() {
    fresh_tree
    ln -sfn "$tree" "$WINEPREFIX/dosdevices/t:"
    on_tree "$beside" in 'T:\tool' 'T:\tool\gox.release.exe' "${sample[@]}"
    expect_status 0
    expect_said "T:/tool/GOX/default_configuration.xml" "14 succeeded" "T:/tool/gox.log"
    ! grep -q ://  "$place/out.txt" "$tree/tool/gox.log" || fault "two slashes in a path"
    ln -sfn "$tree/tool" "$WINEPREFIX/dosdevices/t:"
    on_tree "$beside" in 'T:\' 'T:\gox.release.exe' "${sample[@]}"
    expect_status 1
    expect_said "There is no data tree: the folder T:/raw_data does not exist."
    rm "$WINEPREFIX/dosdevices/t:"
}

check_letter_case() {
    local there
    built_tree
    built=$(tr '[:upper:]' '[:lower:]' <<<"$built" | sort)
    fresh_tree
    (
        cd "$tree"
        mv raw_data RAW_Data
        mv RAW_Data/textures RAW_Data/TEXTURES
        mv RAW_Data/db RAW_Data/Db
        mv RAW_Data/TEXTURES/ui/rules.gox RAW_Data/TEXTURES/ui/Rules.GOX
        mv working_data Working_DATA
        mv tool/GOX tool/gOx
        mv retail_build Retail_Build
    )
    there=$(windows_path "$place/TREE/TOOL")
    there=${there/Z:/z:}
    on_tree "$beside" in "$there" "$there\\GOX.Release.EXE" --CONFIGURATION=Default --DONT_stop_on_error
    expect_status 0
    expect_said "14 succeeded"
    mv "$tree/Working_DATA" "$tree/working_data"
    mv "$tree/Retail_Build" "$tree/retail_build"
    diff <(echo "$built") <(targets | tr '[:upper:]' '[:lower:]' | sort) || fault "other targets than there should be"
}

part_names() {
    check "paths beyond 260 letters" check_long_paths
    check "names beyond the code page" check_scripts
    check "a tree that is a drive" check_drive
    check "odd letter case" check_letter_case
}
