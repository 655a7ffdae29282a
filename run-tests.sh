#!/bin/bash
# Installs what is missing, builds everything and runs all tests. --sanitize
# does the same with the address and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")"

preset=release
case "${1:-}" in
"") ;;
--sanitize) preset=asan ;;
*)
    echo "usage: ./run-tests.sh [--sanitize]" >&2
    exit 2
    ;;
esac

scripts/install-packages.sh build test
cmake --preset "$preset"
cmake --build --preset "$preset"

log=build/$preset/tests.log
status=0
ctest --preset "$preset" </dev/null 2>&1 | tee "$log" || status=$?

# "97% tests passed, 1 tests failed out of 34"
summary=$(sed -nE 's/^[0-9]+% tests passed, ([0-9]+) tests? failed out of ([0-9]+)$/\1 \2/p' "$log" | tail -n 1)
read -r failed total <<<"${summary:-0 0}"
echo "$((total - failed)) passed, $failed failed"
if [ "$total" = 0 ]; then
    echo "No test was run." >&2
    exit 1
fi
exit "$status"
