#!/bin/bash
# Builds the fuzz targets and runs each for a short time:
#
#     fuzz/run.sh [seconds per target] [target]...
#
# Ends with 1 when one of them found something. The inputs of findings lie in
# build/fuzz/findings/<target>/; such a file as an argument of
# build/fuzz/fuzz/fuzz_<target> brings the finding about again. What was learnt
# stays in build/fuzz/corpus/ for the next run.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-15}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || {
    echo "usage: fuzz/run.sh [seconds per target] [target]..." >&2
    exit 2
}
shift || true
targets=("$@")
if [ ${#targets[@]} = 0 ]; then
    for source in fuzz/fuzz_*.cpp; do
        name=$(basename "$source" .cpp)
        [ "$name" = fuzz_main ] || targets+=("${name#fuzz_}")
    done
fi

scripts/install-packages.sh build fuzz
cmake --preset fuzz
cmake --build --preset fuzz

dictionary_of() {
    case "$1" in
    agf | configuration | database_table | rules) echo -dict=fuzz/xml.dict ;;
    p4_tagged_output) echo -dict=fuzz/p4.dict ;;
    wildcards) echo -dict=fuzz/wildcards.dict ;;
    esac
}

# Memory is bounded three times: by the target itself, relative to the input, by
# the size of a single piece, and for the process as a whole.
limits=(-timeout=10 -max_len=20000 -malloc_limit_mb=256 -rss_limit_mb=2048)
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}

# In memory, as every input becomes a file.
memory=${TMPDIR:-/tmp}
[ ! -w /dev/shm ] || memory=/dev/shm
scratch=$(mktemp -d -p "$memory" gox_fuzz.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch

failed=()
for target in "${targets[@]}"; do
    corpus=build/fuzz/corpus/$target
    findings=build/fuzz/findings/$target
    mkdir -p "$corpus" "$findings"
    log=build/fuzz/$target.log
    echo "=== $target, $seconds s"
    # shellcheck disable=SC2046
    if "build/fuzz/fuzz/fuzz_$target" "${limits[@]}" -max_total_time="$seconds" $(dictionary_of "$target") \
        -artifact_prefix="$findings/" -print_final_stats=1 "$corpus" "fuzz/corpus/$target" \
        </dev/null >"$log" 2>&1; then
        sed -n 's/^stat::number_of_executed_units: */inputs: /p; s/^stat::peak_rss_mb: */peak MiB: /p' "$log"
    else
        tail -n 60 "$log"
        failed+=("$target")
    fi
done

for target in "${failed[@]}"; do
    echo "FOUND SOMETHING: $target (build/fuzz/$target.log, build/fuzz/findings/$target/)"
done
[ ${#failed[@]} = 0 ] && echo "Nothing was found."
