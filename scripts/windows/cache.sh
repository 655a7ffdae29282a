# The folder that keeps what GOX for Windows needs and the distribution has no
# package of. To be sourced.
GOX_WINDOWS_CACHE=${GOX_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/gox-windows}
export GOX_WINDOWS_CACHE
windows_triplet=x86_64-w64-mingw32
windows_prefix=$GOX_WINDOWS_CACHE/prefix

# The compilers with posix threads, under the names without an ending.
link_compilers() {
    local links=$GOX_WINDOWS_CACHE/links tool
    mkdir -p "$links"
    for tool in gcc g++; do
        ln -sf "$(command -v "$windows_triplet-$tool-posix")" "$links/$windows_triplet-$tool"
    done
    PATH=$links:$PATH
}
