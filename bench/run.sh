#!/bin/sh
# Builds the benchmarks and runs them:
#     ./bench/run.sh [--quick] [--trees FOLDER] [SECTION]...
# A section is the name of a source bench_<section>.cpp, such as start-up.
# Trees of up to 1,000,000 empty files are kept in FOLDER, build/bench-trees by
# default. The exit status is 1 when a figure is missed.
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${GOX_BENCH_BUILD:-$root/build/bench}
mkdir -p "$build"
log=$build/bench-build.log
if ! { cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
             -DGOX_BUILD_BENCH=ON -DGOX_BUILD_TESTS=OFF &&
       cmake --build "$build" --target gox_bench; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 2
fi
if [ -z "$XDG_RUNTIME_DIR" ]; then
    mkdir -p -m 700 "$build/runtime"
    export XDG_RUNTIME_DIR="$build/runtime"
fi
exec "$build/bench/gox_bench" --trees "$root/build/bench-trees" "$@"
