#!/bin/bash
# Runs the tests that were built for Windows (build.sh --tests) under Wine and prints a
# table: program, rows that passed, rows that left-out-tests.txt leaves out, rows that
# failed. What is left out stands below it with its reason.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/windows/cache.sh
. scripts/windows/wine.sh

scripts/install-packages.sh windows-run
build=$PWD/build/windows
logs=$build/test-logs
list=$PWD/scripts/windows/left-out-tests.txt
mkdir -p "$logs"

# reason_for NAME: empty when nothing leaves it out.
reason_for() {
    awk -F ' -- ' -v name="$1" '$1 == name { print $2 }' "$list"
}

# Rows of a log that did not pass, as "program::function(row)".
failed_rows() {
    tr -d '\r' <"$logs/$1.txt" | sed -nE "s/^FAIL!  : [A-Z_0-9]+::([^(]*\(.*\)) .*/$1::\1/p" | sed -E 's/\) .*/)/' | sort -u
}

run_program() {
    local program=$1 name=$2 status=0 row left_out=0 failed=0 passed
    if [ -n "$(reason_for "$name")" ]; then
        printf '%-28s %7s %9s %7s\n' "$name" - all -
        return
    fi
    (cd "$(dirname "$program")" && on_windows "./$name.exe" -o -,txt >"$logs/$name.txt" 2>&1) || status=$?
    passed=$(grep -ac '^PASS' "$logs/$name.txt" || true)
    while read -r row; do
        if [ -n "$(reason_for "$row")" ]; then
            left_out=$((left_out + 1))
        else
            failed=$((failed + 1))
            unexpected+=("$row")
        fi
    done < <(failed_rows "$name")
    # Without its last line it came to no end.
    if ! grep -aq '^Totals' "$logs/$name.txt"; then
        failed=$((failed + 1))
        unexpected+=("$name came to no end, status $status")
    fi
    printf '%-28s %7d %9d %7d\n' "$name" "$passed" "$left_out" "$failed"
}

start_display
prepare_wine
WINEPATH+=";$(windows_path "$build/tool")"
unexpected=()
printf '%-28s %7s %9s %7s\n' program passed 'left out' failed
while read -r program; do
    run_program "$program" "$(basename "$program" .exe)"
done < <(find "$build/tests" -name 'tst_*.exe' | sort)
printf '\nLeft out:\n'
grep -v '^#' "$list" | sed 's/ -- /: /; s/^/  /'
if [ ${#unexpected[@]} -gt 0 ]; then
    printf '\nFailed, see %s:\n' "$logs"
    printf '  %s\n' "${unexpected[@]}"
    exit 1
fi
