# Ctrl-C, Ctrl-Break and the close of the console. To be sourced.

# The middle one of three actions is at hand when the helper sends the event.
interrupted_tree() {
    fresh_tree
    script <<'TEXT'
        processor p
        action first
        writes <working>/first.txt
        action second
        writes <working>/second.txt
        takes 600000
        action third
        writes <working>/third.txt
TEXT
}

run_and_send() {
    run_beside send "$1" ../working_data/first.txt -- "${scripted[@]}" --report=report.json
}

usual_code_page=437 # of a console that is new

# The next run takes no notice of the one that was stopped.
expect_good_next() {
    script <<<$'processor p\naction a\nwrites <working>/a.txt'
    run_gox "${scripted[@]}"
    expect_status 0
    expect_not_said "Another GOX"
    expect_in working_data/a.txt "made by a"
}

# Whether a program hears of such an event at all.
is_told_of() {
    fresh_tree
    on_tree "$beside" send "$1" ready.txt "$beside" listen ready.txt
    [ "$status" = "$((10 + $2))" ]
}

# check_event EVENT NUMBER
check_event() {
    local event=$1
    if ! is_told_of "$@"; then
        event=thread_$2
        is_told_of "$event" "$2" || not_tried "Wine does not tell programs of it"
        remark "from the program's handler on, since Wine does not send it"
    fi
    interrupted_tree
    run_and_send "$event"
    expect_status 1
    expect_said "Stopping, waiting for p / second..." "failed: p / second: aborted" "Stopped from outside." \
        "1 succeeded" "1 failed" "1 not run" "Report: "
    expect_in tool/gox.log "=== p / second ==="
    expect_in tool/gox_error.log aborted
    expect_in tool/report.json '"stopped"'
    expect_in working_data/first.txt "made by first"
    expect_gone working_data/{second,third}.txt tool/gox.lock
    [ "$(targets | wc -l)" = 3 ] || fault "other targets than there should be"
    expect_good_next
}

# An action that does not care: the second event ends the process at once.
check_two_events() {
    interrupted_tree
    sed -i 's/^takes.*/&\nignores_abort/' "$tree/tool/script.txt"
    run_and_send ctrl_c+ctrl_c
    [ "$status" != 0 ] || fault "status 0"
    expect_said "Stopping, waiting for p / second..."
    expect_said "code page $usual_code_page"
    expect_gone working_data/second.txt
    expect_good_next
}

# Nothing is built yet, so nobody has to be waited for.
check_early_event() {
    fresh_tree
    script <<<$'trace trace.txt\nprocessor p\ncollecting_awaits never.txt\naction a\nwrites <working>/a.txt'
    run_beside send ctrl_c trace.txt -- "${scripted[@]}"
    [ "$status" != 0 ] || fault "status 0"
    expect_said "code page $usual_code_page"
    expect_gone working_data/a.txt
    expect_good_next
}

part_interrupts() {
    check "Ctrl-C" check_event ctrl_c 0
    check "Ctrl-Break" check_event ctrl_break 1
    check "close of the console" check_event close 2
    check "Ctrl-C twice" check_two_events
    check "Ctrl-C ahead of the build" check_early_event
}
