#!/bin/bash
# Builds what GOX for Windows needs and the distribution has no package of: zlib,
# SQLite, libzip, Graphviz and Qt, from the distribution's source packages with
# its MinGW compilers. The results are kept in the folder that the environment
# variable GOX_WINDOWS_CACHE names (~/.cache/gox-windows by default). A run that
# was stopped goes on where it was; one with nothing to do ends at once. With
# --are-there nothing is built: the status says whether everything is.
set -euo pipefail
cd "$(dirname "$0")"
scripts=$PWD
. ./cache.sh

# Source package and the version that this script is written for; what the
# distribution puts behind it (+dfsg, its own patches) may differ.
declare -A version=(
    [xxhash]=here
    [zlib]=1.2.13
    [sqlite3]=3.40.1
    [libzip]=1.7.3
    [graphviz]=2.42.2
    [qtbase-opensource-src]=5.15.8
    [qtsvg-opensource-src]=5.15.8
)
host_qt_tools=/usr/lib/qt5/bin
sources=$GOX_WINDOWS_CACHE/sources
build=$GOX_WINDOWS_CACHE/build
stamps=$GOX_WINDOWS_CACHE/stamps
jobs=${GOX_WINDOWS_JOBS:-$(nproc)}

# step PACKAGE NAME FUNCTION [ARGUMENTS...]: runs it in the build folder unless it has
# ended well before, with this version of the package. What it prints goes to a file,
# whose end is shown when it fails.
step() {
    local name=$2-${version[$1]} log=$build/$2.log
    shift 2
    [ ! -f "$stamps/$name" ] || return 0
    [ "$task" = build ] || exit 1
    echo "$name..."
    # In the background, since as a condition its own failures would not end it.
    (cd "$build" && "$@") </dev/null >"$log" 2>&1 &
    if ! wait $!; then
        tail -n 25 "$log" >&2
        echo "build-libraries.sh: the step '$name' failed, all of its output is in $log" >&2
        exit 1
    fi
    : >"$stamps/$name"
}

# The package client with lists of its own, that has the sources of what the
# machine's own lists have in binary form.
source_client() {
    local client=$sources/client
    apt-get -q -o Dir::Etc::SourceList="$client/sources.list" -o Dir::Etc::SourceParts=/nonexistent \
        -o Dir::State::Lists="$client/lists" -o Dir::Cache="$client/cache" -o APT::Sandbox::User= "$@"
}

list_sources() {
    local client=$sources/client system
    [ ! -f "$client/updated" ] || return 0
    mkdir -p "$client/lists/partial" "$client/cache/archives/partial"
    system=$(. /etc/os-release && echo "$ID")
    apt-get indextargets --format '$(ORIGIN) $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
        LC_ALL=C sort -ru | sed -n "s|^$system |deb-src [signed-by=/usr/share/keyrings/$system-archive-keyring.gpg] |Ip" \
        >"$client/sources.list"
    source_client update
    : >"$client/updated"
}

# Fetches a source package and unpacks it, with the distribution's patches, as
# the folder <package>.
unpack() {
    local package=$1 wanted=${version[$1]} found
    list_sources
    found=$(source_client --print-uris --download-only source "$package" |
        sed -n "s/^'[^']*' \(${package}_[^ ]*\.dsc\) .*/\1/p")
    case "$found" in
    "${package}_$wanted"[-+.]*) ;;
    *)
        echo "Wanted is the source package '$package' of version $wanted, the distribution has '$found'."
        return 1
        ;;
    esac
    (cd "$sources" && source_client --download-only source "$package")
    rm -rf "$package"
    dpkg-source -x --no-check --no-copy "$sources/$found" "$package"
    echo "$found" >"$stamps/$package.version"
    install -D -m 644 "$package/debian/copyright" "$windows_prefix/licences/$package.txt"
}

# Used from its header alone, which is that of this machine.
take_xxhash() {
    install -D -m 644 -t "$windows_prefix/include" /usr/include/xxhash.h
}

build_zlib() {
    # The distribution's sources are without the makefile for this system.
    (cd zlib && "$windows_triplet-gcc" -O2 -c ./*.c && "$windows_triplet-ar" rcs libz.a ./*.o)
    install -D -m 644 -t "$windows_prefix/include" zlib/zlib.h zlib/zconf.h
    install -D -m 644 -t "$windows_prefix/lib" zlib/libz.a
}

# The package has the sources in pieces; joining them is done with the tools of
# this machine.
build_sqlite() {
    mkdir -p sqlite3-made
    (cd sqlite3-made && ../sqlite3/configure --disable-tcl --disable-readline && make sqlite3.c sqlite3.h)
    (cd sqlite3-made && "$windows_triplet-gcc" -O2 -DSQLITE_THREADSAFE=1 -c sqlite3.c &&
        "$windows_triplet-ar" rcs libsqlite3.a sqlite3.o)
    install -D -m 644 -t "$windows_prefix/include" sqlite3-made/sqlite3.h
    install -D -m 644 -t "$windows_prefix/lib" sqlite3-made/libsqlite3.a
}

build_libzip() {
    cmake -S libzip -B libzip-made -G Ninja -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_COMPILER="$windows_triplet-gcc" -DCMAKE_RC_COMPILER="$windows_triplet-windres" \
        -DCMAKE_FIND_ROOT_PATH="$windows_prefix" -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER \
        -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY \
        -DCMAKE_INSTALL_PREFIX="$windows_prefix" -DBUILD_SHARED_LIBS=ON -DENABLE_COMMONCRYPTO=OFF \
        -DENABLE_GNUTLS=OFF -DENABLE_MBEDTLS=OFF -DENABLE_OPENSSL=OFF -DENABLE_WINDOWS_CRYPTO=OFF \
        -DENABLE_BZIP2=OFF -DENABLE_LZMA=OFF -DBUILD_TOOLS=OFF -DBUILD_REGRESS=OFF -DBUILD_EXAMPLES=OFF \
        -DBUILD_DOC=OFF
    cmake --build libzip-made -j "$jobs" --target install
}

build_graphviz() {
    make -f "$scripts/graphviz.mk" -j "$jobs" SOURCE="$build/graphviz" OUT="$build/graphviz-made" \
        CC="$windows_triplet-gcc" AR="$windows_triplet-ar" PREFIX="$windows_prefix" install
}

configure_qt() {
    rm -rf qtbase-made
    mkdir qtbase-made
    local ccache=()
    if command -v ccache >/dev/null; then ccache=(-ccache); fi
    cd qtbase-made
    ../qtbase-opensource-src/configure -opensource -confirm-license -release -prefix "$windows_prefix" \
        -xplatform win32-g++ -device-option CROSS_COMPILE="$windows_triplet-" \
        -external-hostbindir "$host_qt_tools" "${ccache[@]}" \
        -qt-zlib -qt-pcre -qt-libpng -qt-libjpeg -qt-freetype -qt-harfbuzz -qt-doubleconversion \
        -no-opengl -no-feature-vulkan -no-openssl -no-schannel -no-dbus -no-icu \
        -no-sql-sqlite -no-sql-odbc -no-feature-tabletevent \
        -nomake examples -nomake tests -nomake tools
}

# Qt's makefiles and its CMake package look for them there.
link_qt_tools() {
    local tool
    mkdir -p "$windows_prefix/bin"
    for tool in moc rcc uic qmake qvkgen; do
        ln -sf "$host_qt_tools/$tool" "$windows_prefix/bin/$tool"
    done
    mkdir -p "$windows_prefix/mkspecs"
    cp -R qtbase-opensource-src/mkspecs/win32-g++ qtbase-opensource-src/mkspecs/common "$windows_prefix/mkspecs/"
}

# In the order in which they need each other: a plain make would build the tools
# of the host first, which this machine has.
qt_parts=(
    corelib/qtzlib.pro 3rdparty/pcre2 corelib winmain testlib network
    3rdparty/libpng 3rdparty/libjpeg 3rdparty/freetype 3rdparty/harfbuzz-ng gui
    platformsupport/eventdispatchers platformsupport/themes platformsupport/fontdatabases
    platformsupport/accessibility platformsupport/windowsuiautomation widgets
    plugins/platforms/windows plugins/platforms/offscreen plugins/platforms/minimal
    plugins/imageformats/ico plugins/imageformats/jpeg plugins/imageformats/gif
    plugins/styles/windowsvista
)

build_qt_part() {
    local project=$1 folder=$1
    case "$project" in
    *.pro) folder=$(dirname "$project") ;;
    *) project=$project/$(basename "$project").pro ;;
    esac
    local makefile
    makefile=Makefile.$(basename "$project" .pro)
    mkdir -p "qtbase-made/src/$folder"
    cd "qtbase-made/src/$folder"
    "$host_qt_tools/qmake" -qtconf "$build/qtbase-made/bin/qt.conf" -o "$makefile" \
        "$build/qtbase-opensource-src/src/$project"
    make -f "$makefile" -j "$jobs"
    make -f "$makefile" install
}

# The library, and the plugins that show the program's icons.
build_qt_svg() {
    mkdir -p qtsvg-made
    cd qtsvg-made
    "$host_qt_tools/qmake" -qtconf "$build/qtbase-made/bin/qt.conf" "$build/qtsvg-opensource-src/qtsvg.pro"
    make -j "$jobs"
    make install
}

task=build
if [ "${1:-}" = --are-there ]; then
    task=look
else
    "$scripts/../install-packages.sh" windows
    mkdir -p "$sources" "$build" "$stamps"
    link_compilers
fi
for package in zlib sqlite3 libzip graphviz qtbase-opensource-src qtsvg-opensource-src; do
    step "$package" "unpack-$package" unpack "$package"
done
step xxhash xxhash take_xxhash
step zlib zlib build_zlib
step sqlite3 sqlite3 build_sqlite
step libzip libzip build_libzip
step qtbase-opensource-src qt-configure configure_qt
step qtbase-opensource-src qt-tools link_qt_tools
for part in "${qt_parts[@]}"; do
    step qtbase-opensource-src "qt-${part//\//-}" build_qt_part "$part"
done
step qtsvg-opensource-src qt-svg build_qt_svg
step graphviz graphviz build_graphviz
# What they were built in is large. A step that comes anew unpacks what it needs first.
step qtbase-opensource-src tidy rm -rf "$build"/*/ "$sources"
