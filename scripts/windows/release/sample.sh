# The sample beside that of Linux, and the tests. To be sourced.

part_sample() {
    scripts/windows/compare-sample.sh >"$place/logs/sample.txt" 2>&1 || true
    check "sample: comes to its end" grep -q 'sample, a second run' "$place/logs/sample.txt"
    while read -r name; do
        check "sample: $name" grep -q "^sample, $name: the same" "$place/logs/sample.txt"
    done < <(sed -nE 's/^sample, ([^:]*):.*/\1/p' "$place/logs/sample.txt")
}
