# The table of check-release.sh: a line a check. To be sourced, with $place set.
table_failed=0
notes=$place/notes.txt

# Of the check at hand: something is not as it has to be.
fault() {
    echo "FAILED: $*"
    echo "FAILED $*" >>"$notes"
}

# Ends the check at hand.
not_tried() {
    echo "not tried: $*"
    echo "not tried: $*" >>"$notes"
    exit 0
}

# Goes into the line of a check that passed.
remark() {
    echo "($*)" >>"$notes"
}

# check NAME FUNCTION [ARGUMENTS...]: what it prints goes to a file.
check() {
    local name=$1 log
    log=$place/logs/${name//[^a-zA-Z0-9]/_}.txt
    shift
    : >"$notes"
    # In the background, since as a condition its own failures would not end it.
    ("$@") </dev/null >"$log" 2>&1 &
    wait $! || fault "ended with status $?" >>"$log"
    if grep -q '^FAILED' "$notes"; then
        table_failed=1
        printf '%-48s FAILED, see %s\n' "$name" "$log"
        sed -n 's/^FAILED /    /p' "$notes"
    elif grep -q '^not tried' "$notes"; then
        printf '%-48s %s\n' "$name" "$(grep '^not tried' "$notes")"
    else
        printf '%-48s passed%s\n' "$name" "$(sed 's/^/ /' "$notes")"
    fi
}

# What the last run of run_gox is to have left.

expect_status() {
    [ "$status" = "$1" ] || fault "status $status and not $1"
}

# expect_said TEXT...: on its console.
expect_said() {
    local text
    for text in "$@"; do
        grep -qF -- "$text" "$place/out.txt" "$place/err.txt" || fault "not said: $text"
    done
}

expect_not_said() {
    ! grep -qF -- "$1" "$place/out.txt" "$place/err.txt" || fault "said: $1"
}

# expect_in FILE TEXT: below the tree.
expect_in() {
    tr -d '\r' <"$tree/$1" | grep -F -- "$2" >/dev/null || fault "not in $1: $2"
}

# expect_gone FILE...: below the tree.
expect_gone() {
    local file
    for file in "$@"; do
        [ ! -e "$tree/$file" ] || fault "is there: $file"
    done
}

# Targets with their bytes, a line each.
targets() {
    (cd "$tree" && find working_data retail_build -type f -exec sha1sum {} + | sort -k 2)
}

# expect_targets TARGETS: these and no others, no half one among them.
expect_targets() {
    diff <(echo "$1") <(targets) || fault "other targets than there should be"
}
