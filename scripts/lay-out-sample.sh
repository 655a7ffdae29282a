#!/bin/bash
# Makes a data tree that GOX can run in:
#
#     scripts/lay-out-sample.sh <build folder> <sample folder>
#
# <build folder> holds a built GOX, of this system or of Windows. Below <sample folder> come to lie
#     sdk/      the plugin kit, installed from the build folder
#     plugins/  the build of the sample plugins against that kit
#     tree/     the data tree with the program in its folder tool/
# The tree is made afresh each time; what earlier runs wrote is gone.
set -euo pipefail
if [ $# != 2 ]; then
    echo "usage: $0 <build folder> <sample folder>" >&2
    exit 2
fi
source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir=$(cd "$1" && pwd)
mkdir -p "$2"
sample_dir=$(cd "$2" && pwd)
tree=$sample_dir/tree

shopt -s nullglob
programs=("$build_dir"/tool/gox.*.bin "$build_dir"/tool/gox.*.exe)
if [ ${#programs[@]} != 1 ]; then
    echo "$build_dir/tool: one program gox.<tag> is wanted there, and there are ${#programs[@]}" >&2
    exit 1
fi
program=${programs[0]}
ending=${program##*.}
tag=$(basename "$program" ".$ending")
tag=${tag#gox.}
toolchain=()
if [ "$ending" = exe ]; then
    toolchain=(-DCMAKE_TOOLCHAIN_FILE="$source_dir/cmake/windows_mingw.cmake")
fi

# The plugins are built as an outside author would build them: with nothing but
# the installed kit.
cmake --install "$build_dir" --component sdk --prefix "$sample_dir/sdk" >/dev/null
cmake -S "$source_dir/examples/plugins" -B "$sample_dir/plugins" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_PREFIX_PATH="$sample_dir/sdk" -DGOX_BUILD_TAG="$tag" \
    "${toolchain[@]}" >/dev/null
cmake --build "$sample_dir/plugins"

rm -rf "$tree"
mkdir -p "$tree/tool" "$tree/working_data" "$tree/retail_build"
cp -R "$source_dir/examples/tree/." "$tree/"
cp "$program" "$build_dir/tool/gox_layout.$tag.$ending" "$build_dir"/tool/*gox_contracts.* \
    "$sample_dir"/plugins/GOX_*."$tag".dll "$tree/tool/"
