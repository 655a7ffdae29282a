# Running programs of Windows under Wine. To be sourced, behind cache.sh and in the root
# of the repository. What Wine keeps is large and quickly made anew.
export WINEPREFIX=$PWD/build/windows-wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
windows_rights=() # a command in front of every program
windows_limit=${GOX_WINDOWS_LIMIT:-120} # seconds that one program may take

# Wine wants a display even for programs that show nothing. It ends with this script.
start_display() {
    local display
    exec {display}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>/dev/null)
    display_server=$!
    trap 'timeout 20 wineserver -w || true; kill "$display_server"' EXIT
    read -r -t 30 -u "$display" DISPLAY || { echo "No display for Wine: Xvfb does not start." >&2; exit 1; }
    export DISPLAY=:$DISPLAY
}

# The name of a place of this machine, as Wine has it.
windows_path() {
    local path=Z:$1
    echo "${path//\//\\}"
}

# Where programs find the libraries, and Qt's variables, which Wine takes from names
# of its own alone.
prepare_wine() {
    local runtime file
    WINEPATH=$(windows_path "$windows_prefix/bin")
    for runtime in libstdc++-6.dll libwinpthread-1.dll; do
        file=$("$windows_triplet-g++-posix" -print-file-name=$runtime)
        WINEPATH+=";$(windows_path "$(dirname "$(readlink -f "$file")")")"
    done
    export WINEPATH WINEQT_QPA_PLATFORM=offscreen WINEQT_FORCE_STDERR_LOGGING=1
    WINEQT_QPA_FONTDIR=$(windows_path /usr/share/fonts/truetype/dejavu)
    export WINEQT_QPA_FONTDIR
    [ -d "$WINEPREFIX" ] || "${windows_rights[@]}" timeout --kill-after=5 120 wineboot --init >/dev/null 2>&1
}

# on_windows PROGRAM [ARGUMENTS...]: its status, 124 when the time was up.
on_windows() {
    "${windows_rights[@]}" timeout --kill-after=5 "$windows_limit" wine "$@" </dev/null
}
