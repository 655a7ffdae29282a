#!/bin/bash
# Sends all sources of program, kit and plugins through the MinGW compiler, over the
# Qt headers of this machine: what only Windows compiles is seen without any library
# for Windows. Nothing is made but the generated headers.
set -euo pipefail
cd "$(dirname "$0")/../.."

scripts/install-packages.sh build sample windows-syntax
folder=build/windows-syntax
PKG_CONFIG_LIBDIR=$(pkg-config --variable pc_path pkg-config)
export PKG_CONFIG_LIBDIR
cmake -S scripts/windows/syntax -B "$folder" -G Ninja --log-level=WARNING \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/windows_mingw.cmake" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$PWD/scripts/windows/syntax/compile.sh" \
    -DQt5_DIR="$(qmake -query QT_INSTALL_LIBS)/cmake/Qt5" \
    -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=NEVER \
    -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=NEVER >/dev/null
cmake --build "$folder" -- --quiet -k 0
echo "All sources are right for Windows, as far as the compiler sees."
