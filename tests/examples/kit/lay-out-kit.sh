#!/bin/sh
# Lays out the plugin kit as an outside author gets it, and builds plugins against it:
#
#     lay-out-kit.sh <build folder> <kit folder> <tag>
#
# Below <kit folder> come to lie
#     kit/      the kit, installed from the build folder
#     sources/  the sources of the plugins, from where no relative path leads to those
#               of GOX
#     build/    the finished plugins
# All but build/ is made afresh, with the times of the files that it comes from, so
# that what a former run compiled is compiled again only when it has changed.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build_dir=$1
tag=$3
mkdir -p "$2"
cd "$2"
rm -rf kit sources packages other
cmake --install "$build_dir" --component sdk --prefix kit
mkdir sources
cp -p "$here/CMakeLists.txt" sources
cp -Rp "$here/../../../examples/minimal-plugin" sources/minimal

# A line such as "`notes_plugin.cpp`:" of the guide names the file that the fenced
# parts behind it make up.
guide=kit/share/doc/gox-sdk/plugin-guide.md
mkdir sources/notes
awk '/^```/ { inside = !inside; next }
     inside { print > file }
     !inside && /^`.*`:$/ { file = "sources/notes/" substr($0, 2, length($0) - 3) }' $guide
touch -r $guide sources/notes/*

cmake -S sources -B build -G Ninja "-DCMAKE_PREFIX_PATH=$PWD/kit" "-DGOX_BUILD_TAG=$tag" \
    "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror"
cmake --build build
