# The tests that were built for Windows. To be sourced.

check_tests() {
    local result=$place/logs/tests_table.txt row
    if ! scripts/windows/run-tests.sh >"$result" 2>&1; then
        grep -q '^Failed' "$result" || fault "came to no end, see $result"
        while read -r row; do
            fault "$row"
        done < <(sed '1,/^Failed/d' "$result")
    fi
    remark "$(awk '/^tst_/ { passed += $2; left += $3 } END { print passed " rows, " left " left out" }' "$result")"
}

part_tests() {
    check "tests" check_tests
}
