#!/bin/bash
# Runs the tests that were built for Windows (build.sh --tests) under Wine, as ctest has
# them, and prints a table: program, rows that passed, rows that are left out, rows that
# failed. What is left out stands below it with its reason: by the test itself, or by
# left-out-tests.txt, where no row may stand that passes. With NAMES only these programs.
#     scripts/windows/run-tests.sh [NAMES...]
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/windows/cache.sh
. scripts/windows/wine.sh
windows_limit=${GOX_WINDOWS_LIMIT:-600} # some have hundreds of rows

scripts/install-packages.sh windows-run
build=$PWD/build/windows
logs=$build/test-logs
list=$PWD/scripts/windows/left-out-tests.txt
mkdir -p "$logs"

# reason_for NAME: empty when nothing leaves it out.
reason_for() {
    awk -F ' -- ' -v name="$1" '$1 == name { print $2 }' "$list"
}

# rows_of NAME RESULT: the rows of a log with this result, as "program::function(row)".
# A row ends with the first ")" that has nothing or a blank behind it.
rows_of() {
    tr -d '\r' <"$logs/$1.txt" |
        sed -nE "s/^$2 *: ([A-Z_0-9]+::)?([^(]*\(.*)/$1::\2/p" | sed -E 's/\)( .*|$)/)/' | sort -u
}

# run_test NAME COMMAND...: appends to the log of the program. Each line of a test that
# ends has a last one with its count of rows.
run_test() {
    local name=$1 status=0 ends
    shift
    ends=$(grep -ac '^Totals' "$logs/$name.txt" || true)
    (cd "$(dirname "$1")" && on_windows "./$name.exe" "${@:2}" -o -,txt >>"$logs/$name.txt" 2>&1) || status=$?
    if [ "$(grep -ac '^Totals' "$logs/$name.txt" || true)" -eq "$ends" ]; then
        unexpected+=("$name came to no end, status $status")
        failed=$((failed + 1))
    fi
}

# run_program NAME: all of its tests, and its line of the table.
run_program() {
    local name=$1 row reason passed left_out=0 failed=0
    : >"$logs/$name.txt"
    while IFS= read -r -u 4 command; do
        eval "run_test $name $command"
    done 4< <(printf '%s\n' "$commands" | grep "/$name.exe\"")
    while IFS= read -r row; do
        if reason=$(reason_for "$row") && [ -n "$reason" ]; then
            reasons+=("$row: $reason")
            left_out=$((left_out + 1))
        else
            failed=$((failed + 1))
            unexpected+=("$row")
        fi
    done < <(rows_of "$name" 'FAIL!')
    while IFS= read -r row; do
        if [ -n "$(reason_for "$row")" ]; then
            failed=$((failed + 1))
            unexpected+=("$row is in left-out-tests.txt and passes")
        fi
    done < <(rows_of "$name" PASS)
    while IFS= read -r row; do
        reasons+=("$row")
        left_out=$((left_out + 1))
    done < <(tr -d '\r' <"$logs/$name.txt" | sed -nE "s/^SKIP *: ([A-Z_0-9]+::)?/$name::/p")
    passed=$(rows_of "$name" PASS | wc -l)
    printf '%-28s %7d %9d %7d\n' "$name" "$passed" "$left_out" "$failed"
}

commands=$(ctest --test-dir "$build" -N -V | sed -n 's/^[0-9]*: Test command: *//p' | sed -E 's/^([^" ]+)/"\1"/')
names=("$@")
if [ $# -eq 0 ]; then
    mapfile -t names < <(printf '%s\n' "$commands" | sed -nE 's/^"[^"]*\/(tst_[^"]*)\.exe".*/\1/p' | sort -u)
fi
start_display
prepare_wine
WINEPATH+=";$(windows_path "$build/tool")"
unexpected=()
reasons=()
printf '%-28s %7s %9s %7s\n' program passed 'left out' failed
for name in "${names[@]}"; do
    run_program "$name"
done
printf '\nLeft out:\n'
printf '  %s\n' "${reasons[@]}"
if [ ${#unexpected[@]} -gt 0 ]; then
    printf '\nFailed, see %s:\n' "$logs"
    printf '  %s\n' "${unexpected[@]}"
    exit 1
fi
