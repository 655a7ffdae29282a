#!/bin/bash
# Builds GOX for Windows, with --tests its tests too. The libraries come first, see
# build-libraries.sh.
set -euo pipefail
cd "$(dirname "$0")/../.."

target=(--target gox)
case "${1:-}" in
"") ;;
--tests) target=() ;;
*)
    echo "usage: scripts/windows/build.sh [--tests]" >&2
    exit 2
    ;;
esac

scripts/windows/build-libraries.sh
cmake --preset windows >/dev/null
cmake --build --preset windows "${target[@]}"
