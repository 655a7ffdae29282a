# Options as people on Windows write them. To be sourced.

check_slash_options() {
    fresh_tree
    run_gox /configuration=default /dont_stop_on_error /nosplashscreen
    expect_status 0
    expect_said "GOX/default_configuration.xml" "14 succeeded"
    run_gox /configuration nightly_textures /DONT_STOP_ON_ERROR /explian
    expect_status 0
    expect_said "GOX/nightly_textures_configuration.xml" "no option 'explian'; did you mean --explain?"
}

check_backslashes() {
    fresh_tree
    mkdir "$tree/out"
    run_gox "${sample[@]}" '/report=..\out\report.xml'
    expect_status 0
    expect_in out/report.xml 'tests="11"'
    run_gox "${sample[@]}" "--report=$(windows_path "$tree/out/report.json")"
    expect_status 0
    expect_in out/report.json '"succeeded"'
    run_gox "${sample[@]}" '--report=..\raw_data\report.json'
    expect_status 1
    expect_said "names a file that GOX reads"
}

check_slash_help() {
    fresh_tree
    for option in /help '/?' /h --help; do
        run_gox "$option"
        expect_status 0
        expect_said "An option may begin with / as well, such as /configuration=NAME."
    done
    run_gox /version
    expect_status 0
    expect_said "GOX 1."
}

part_options() {
    check "/name options" check_slash_options
    check "paths with backslashes" check_backslashes
    check "/name options in the help" check_slash_help
}
