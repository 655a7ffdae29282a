#!/bin/bash
# Says which source files are not formatted as .clang-format wants them, and
# ends with 1 when there are any. --fix formats them instead.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh format

mode=(--dry-run --Werror)
[ "${1:-}" != --fix ] || mode=(-i)

find . \( -path ./build -o -path ./.git \) -prune -o -type f \( -name '*.h' -o -name '*.cpp' \) -print0 |
    sort -z | xargs -0 clang-format "${mode[@]}"
echo "The format is right."
