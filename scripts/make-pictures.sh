#!/bin/bash
# Makes the pictures of docs/pictures/ again, from the sample tree and the real
# program. See --help.
set -euo pipefail
cd "$(dirname "$0")/.."

# Each name is the file's, without .png, in the order in which they are taken.
pictures=(
    shadowing-files actions-popup selection rule-list rule-editor build
    filter preferences configuration-editor graph-settings graph
)

usage() {
    cat <<TEXT
usage: scripts/make-pictures.sh [--only NAME] [--to FOLDER]

Builds GOX, lays out the sample tree, drives GOX in it on a display that nobody
sees and takes a picture of each window. The same program on the same system gives
the same bytes.

  --only NAME  write only this one of:
               ${pictures[*]}
  --to FOLDER  write them there and not to docs/pictures
TEXT
}

wrong_usage() {
    echo "make-pictures.sh: $1" >&2
    usage >&2
    exit 2
}

only=
target=$PWD/docs/pictures
while [ $# -gt 0 ]; do
    case "$1" in
    --only | --to)
        [ -n "${2:-}" ] || wrong_usage "$1 needs a value"
        if [ "$1" = --only ]; then only=$2; else target=$(realpath -m "$2"); fi
        shift
        ;;
    -h | --help)
        usage
        exit 0
        ;;
    *) wrong_usage "unknown option '$1'" ;;
    esac
    shift
done
[ -z "$only" ] || [[ " ${pictures[*]} " == *" $only "* ]] || wrong_usage "there is no picture '$only'"

# The windows show paths, so the tree lies in the same place each time.
place=/tmp/gox-sample
processes=()
clean_up() {
    for process in "${processes[@]}"; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    rm -rf "${place:?}"
}

give_up() {
    echo "make-pictures.sh: $1" >&2
    exit 1
}

#-- the stage -------------------------------------------------------------------

scripts/install-packages.sh build sample pictures
echo "Building GOX and the sample plugins..."
[ -f build/release/build.ninja ] || cmake --preset release
cmake --build --preset release --target gox
scripts/lay-out-sample.sh build/release build/pictures
stage=$PWD/build/pictures
read -ra qt <<<"$(pkg-config --cflags --libs Qt5Widgets)"
c++ -std=c++17 -shared -fPIC -I. scripts/make-pictures-preload.cpp "${qt[@]}" -o "$stage/preload.so"

mkdir "$place" || give_up "$place is there already. Another run of this script works in it, or one was killed; then remove it."
trap clean_up EXIT
trap 'exit 1' INT TERM HUP
mkdir -p "$target" "$place/home" "$place/runtime"
chmod 700 "$place/runtime"

cat >"$place/fonts.conf" <<TEXT
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
    <dir>/usr/share/fonts/truetype/dejavu</dir>
    <cachedir>$stage/fonts</cachedir>
    <match target="pattern">
        <edit name="family" mode="assign" binding="same"><string>DejaVu Sans</string></edit>
    </match>
    <match target="font">
        <edit name="antialias" mode="assign"><bool>true</bool></edit>
        <edit name="hinting" mode="assign"><bool>true</bool></edit>
        <edit name="hintstyle" mode="assign"><const>hintslight</const></edit>
        <edit name="rgba" mode="assign"><const>none</const></edit>
    </match>
</fontconfig>
TEXT
cat >"$place/openbox.xml" <<TEXT
<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
    <focus><focusNew>yes</focusNew></focus>
    <placement><policy>Smart</policy><center>yes</center></placement>
</openbox_config>
TEXT

# Nothing of whoever runs this gets in: theme, fonts, scale, language, settings.
clean=(
    env -i "PATH=$PATH" "HOME=$place/home" "XDG_CONFIG_HOME=$place/home" "XDG_RUNTIME_DIR=$place/runtime"
    "FONTCONFIG_FILE=$place/fonts.conf" LC_ALL=C.UTF-8 TZ=UTC
    QT_FONT_DPI=96 QT_AUTO_SCREEN_SCALE_FACTOR=0 QT_SCALE_FACTOR=1
)

x() { timeout 10 "${clean[@]}" xdotool "$@"; }

# shot WINDOW FILE. Of a window that has just gone, import would wait for ever.
shot() { timeout 10 "${clean[@]}" import -silent -window "$1" "$2" 2>/dev/null; }

seconds_to_wait=30

screen_now() {
    shot root "$stage/screen.png" || return 0
    echo " What was on the screen then: $stage/screen.png"
}

# Polls a command until it succeeds.
wait_for() {
    local what=$1
    shift
    local end=$((SECONDS + seconds_to_wait))
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || give_up "$what did not come within $seconds_to_wait s.$(screen_now)"
        if [ -n "${program:-}" ] && ! kill -0 "$program" 2>/dev/null; then
            cat "$place/program.txt" >&2
            give_up "GOX ended while waiting for: $what"
        fi
        sleep 0.05
    done
}

display_is_up() { [ -s "$place/display" ]; }
manager_is_up() { x get_desktop >/dev/null 2>&1; }

Xvfb -displayfd 3 -screen 0 1280x1024x24 -dpi 96 -nolisten tcp 3>"$place/display" >"$place/xvfb.txt" 2>&1 &
processes=($!)
wait_for "the display" display_is_up
clean+=("DISPLAY=:$(cat "$place/display")")
"${clean[@]}" openbox --sm-disable --config-file "$place/openbox.xml" >"$place/openbox.txt" 2>&1 &
processes=($! "${processes[@]}")
wait_for "the window manager" manager_is_up

#-- the hands -------------------------------------------------------------------

# start_gox [name=value...]: in a fresh tree and with no settings of an earlier run.
start_gox() {
    rm -rf "${place:?}/tree" "${place:?}/home"
    mkdir "$place/home"
    cp -R "$stage/tree" "$place/tree"
    # Away from all windows: what is below the pointer looks different.
    x mousemove 1279 1023
    (cd "$place/tree/tool" && exec "${clean[@]}" "LD_PRELOAD=$stage/preload.so" "$@" \
        ./gox.release.bin -style fusion --configuration=interactive >"$place/program.txt" 2>&1) &
    program=$!
    processes=("$program" "${processes[@]}")
}

end_gox() {
    kill "$program"
    wait "$program" || true
    processes=("${processes[@]:1}")
    program=
}

# When two windows close one right after the other, the manager may give the keyboard
# to none; then the window that is waited for is given it.
is_active() {
    local active title
    active=$(x getactivewindow 2>/dev/null) || return 1
    if title=$(x getwindowname "$active" 2>/dev/null); then
        [ "$active" != "$window" ] && [[ $title =~ $1 ]] && window=$active
    else
        x search --onlyvisible --class gox search --name "$1" windowactivate >/dev/null 2>&1 || true
        return 1
    fi
}

is_popped_up() { window=$(x search --onlyvisible --class gox search --name '^GOX$' 2>/dev/null); }

# wait_for_window WHAT PATTERN: until a window with that title, another one than the
# last time, has the keyboard; leaves its id in $window.
window=
wait_for_window() { wait_for "the window of $1" is_active "$2"; }

# One after the other, as a person types.
keys() { x key --delay 60 "$@"; }

# go_to TEXT: to the row of a tree that begins with it. What was typed is forgotten
# after 0.4 s, which nothing tells.
go_to() {
    sleep 1
    x type --delay 30 "$1"
}

# Whether $window has looked the same for half a second.
looks_finished() {
    shot "$window" "$place/now.ppm" || return 1
    if cmp -s "$place/now.ppm" "$place/former.ppm"; then
        times_the_same=$((times_the_same + 1))
    else
        times_the_same=0
        mv "$place/now.ppm" "$place/former.ppm"
    fi
    sleep 0.1
    [ "$times_the_same" -ge 5 ]
}

# take NAME: a picture of $window, and the end where no other is wanted.
take() {
    [ -z "$only" ] || [ "$only" = "$1" ] || return 0
    rm -f "$place/former.ppm"
    wait_for "a picture of $1 that stays as it is" looks_finished
    # A palette, and neither dates nor anything else besides the pixels.
    "${clean[@]}" mogrify -format png -strip +dither -colors 256 -depth 8 \
        -define png:format=png8 -define png:compression-level=9 -define png:exclude-chunks=all "$place/former.ppm"
    mv "$place/former.png" "$target/$1.png"
    echo "$target/$1.png"
    [ -z "$only" ] || exit 0
}

#-- the play --------------------------------------------------------------------

start_gox
wait_for_window "the question about files that hide others" '^GOX$'
take shadowing-files
keys Return
choice='^GOX - Select Data Files'
wait_for_window "the choice of files" "$choice"

go_to textures
keys Right
go_to units
keys space
wait_for "the list of actions" is_popped_up
take actions-popup
keys space Down Down space Escape
wait_for_window "the choice of files" "$choice"
keys Right Tab
go_to units
keys Right shift+Tab
take selection

go_to knight
keys Menu Down Return
wait_for_window "the rules of a file" '^GOX - Rules'
keys Down Down
take rule-list
keys Return
wait_for_window "the rule editor" '^GOX - Rule'
keys Up Up Up Up Right
take rule-editor
keys Escape
wait_for_window "the choice of files" "$choice"

keys alt+a alt+s
wait_for_window "the build at its end" '^GOX - Done'
keys F8
take build
end_gox

# The windows that have no button in the normal run.
start_gox GOX_SHOW_BUTTONS=1
wait_for_window "the question about files that hide others" '^GOX$'
keys Return
wait_for_window "the choice of files" "$choice"
keys ctrl+1
wait_for_window "the filter" '^GOX - Filter'
keys End
take filter
keys Escape
wait_for_window "the choice of files" "$choice"
keys ctrl+2
wait_for_window "the preferences" '^GOX - Preferences'
take preferences
keys Escape
wait_for_window "the choice of files" "$choice"
keys ctrl+4
wait_for_window "the configuration editor" '^GOX - Configuration'
take configuration-editor
keys Escape
wait_for_window "the remark on configurations" '^GOX$'
keys Return
wait_for_window "the choice of files" "$choice"
keys Tab Tab
go_to units
keys space ctrl+5
wait_for_window "what to draw" '^GOX - Graph Settings'
take graph-settings
keys Return
wait_for_window "the graph" '^GOX - Data flow'
take graph
end_gox
