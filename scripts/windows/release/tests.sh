# The tests that were built for Windows. To be sourced.

check_tests() {
    local result=$place/logs/tests_table.txt
    scripts/windows/run-tests.sh >"$result" 2>&1 || fault "$(sed -n '/^Failed/,$p' "$result")"
    remark "$(awk '/^tst_/ { passed += $2; left += $3 } END { print passed " rows, " left " left out" }' "$result")"
}

part_tests() {
    check "tests" check_tests
}
