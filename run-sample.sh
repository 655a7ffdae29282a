#!/bin/bash
# Builds GOX and its sample plugins, lays out the sample data tree under
# build/sample and runs GOX in it. See --help.
set -euo pipefail
cd "$(dirname "$0")"

usage() {
    cat <<'TEXT'
usage: ./run-sample.sh [--configuration NAME] [--gui]

  --configuration NAME  the run configuration to use, one of
                        examples/tree/tool/GOX/<NAME>_configuration.xml:
                        default           everything but the unfinished pictures
                        failing           everything; a broken picture fails
                        nightly_textures  the textures alone, no packs
                        interactive       for a person at a display
  --gui                 open the windows; the configuration is "interactive"
                        unless another one is named

The exit status is that of GOX: 0 when every action succeeded, else 1.
TEXT
}

wrong_usage() {
    echo "run-sample.sh: $1" >&2
    usage >&2
    exit 2
}

configuration=
gui=
while [ $# -gt 0 ]; do
    case "$1" in
    --configuration=?*) configuration=${1#*=} ;;
    --configuration | --configuration=)
        [ -n "${2:-}" ] || wrong_usage "--configuration needs a name"
        configuration=$2
        shift
        ;;
    --gui) gui=yes ;;
    -h | --help)
        usage
        exit 0
        ;;
    *) wrong_usage "unknown option '$1'" ;;
    esac
    shift
done
configuration=${configuration:-${gui:+interactive}}
configuration=${configuration:-default}

if [ -n "$gui" ] && [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "run-sample.sh: --gui needs a display, and there is none." >&2
    exit 2
fi

scripts/install-packages.sh build sample
echo "Building GOX and the sample plugins..."
[ -f build/release/build.ninja ] || cmake --preset release
cmake --build --preset release --target gox
scripts/lay-out-sample.sh build/release build/sample

sample=$PWD/build/sample
tree=$sample/tree
started=$sample/started
touch "$started"
echo
echo "Running GOX with the configuration \"$configuration\" in $tree"
# Without --gui nobody is there: whatever the machine has, GOX is to see no
# display, so that it answers by itself what it would ask.
command=(./gox.release.bin --configuration="$configuration")
if [ -z "$gui" ]; then
    command=(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "${command[@]}" --dont_stop_on_error --nosplashscreen)
fi
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
    export XDG_RUNTIME_DIR=$sample/runtime
    (umask 077 && mkdir -p "$XDG_RUNTIME_DIR")
fi
status=0
(cd "$tree/tool" && exec "${command[@]}" </dev/null) || status=$?

echo
echo "Exit status: $status"
echo "Logs:"
for log in gox gox_warnings gox_error gox_startup_error gox_asset_graph_error gox_plugin_error; do
    [ ! -f "$tree/tool/$log.log" ] || printf '  %6d bytes  %s\n' "$(wc -c <"$tree/tool/$log.log")" "$tree/tool/$log.log"
done
echo "Written by this run:"
find "$tree/working_data" "$tree/retail_build" -type f -newer "$started" -printf '  %6s bytes  %p\n' | sort -k 3
exit "$status"
