# shellcheck shell=bash
# Configuring and compiling one preset (CMakePresets.json).

# Before CMake asks for it, so that what it does, and what goes wrong, is seen.
ensure_sqlite() { "$KEL_ROOT/cmake/driver/fetch-sqlite" >/dev/null || exit 1; }

# A compiler cache, where this machine has one, takes part. It has to be told that it may keep what
# was compiled with precompiled headers; whether the time of day is in a source it cannot see then,
# and in ours it is not.
use_ccache() {
    command -v ccache >/dev/null || return 0
    export CMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER-ccache}
    export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
    export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:+$CCACHE_SLOPPINESS,}pch_defines,time_macros
}

configure() {
    local preset=$1
    local tree="$KEL_BUILD/$preset" inputs=("$KEL_ROOT/CMakePresets.json")
    [[ "$preset" == host* ]] || inputs+=("$KEL_ROOT/cmake/toolchain-${preset%%-*}.cmake" "$KEL_ROOT/cmake/toolchain-common.cmake")

    # A checkout that was copied or moved with its build folder: CMake refuses such a tree.
    if [[ -f "$tree/CMakeCache.txt" ]] &&
        ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$KEL_ROOT" "$tree/CMakeCache.txt"; then
        rm -rf "$tree"
    fi
    # Ninja itself notices a changed CMakeLists.txt, but neither presets nor the toolchain file.
    if [[ -f "$tree/build.ninja" && -f "$tree/.configured" ]]; then
        local input stale=
        for input in "${inputs[@]}"; do
            [[ "$input" -nt "$tree/.configured" ]] && stale=1
        done
        # A compiler cache that was there then may be gone.
        input=$(sed -n 's/^CMAKE_CXX_COMPILER_LAUNCHER:[A-Z]*=//p' "$tree/CMakeCache.txt")
        [[ -z "$input" ]] || command -v "$input" >/dev/null || stale=1
        [[ "$stale" ]] || return 0
    fi

    say "configuring $preset"
    mkdir -p "$tree"
    touch "$tree/.configuring"
    # Afresh: flags that the toolchain file gives would otherwise stay as they were cached.
    if ! (cd "$KEL_ROOT" && cmake --fresh --preset "$preset") >"$tree/configure.log" 2>&1 </dev/null; then
        cat "$tree/configure.log" >&2
        fail "configuring $preset failed"
    fi
    mv "$tree/.configuring" "$tree/.configured"
}

# An up-to-date tree prints nothing.
compile() {
    local preset=$1
    shift
    {
        NINJA_STATUS="[$preset %f/%t, %es] " ninja -C "$KEL_BUILD/$preset" "$@" 2>&1 </dev/null |
            { grep --line-buffered -vE '^ninja: (Entering directory|no work to do)|Re-checking globbed' || true; } >&2
    } || fail "building $preset failed"
}

configure_and_compile() {
    use_ccache
    configure "$1"
    compile "$@"
}

# build_preset PRESET [TARGET...]
build_preset() {
    ensure_preset_packages "$1"
    ensure_sqlite
    locked "build-$1" configure_and_compile "$@"
}

# What programs need to find the component and a database behind it.
readonly KEL_COMPONENT=(kelSDK kelos1)

configure_and_compile_for() { # PRESET PROGRAM
    local tree="$KEL_BUILD/$1" program=$2 targets=("${KEL_COMPONENT[@]}")
    use_ccache
    configure "$1"
    [[ "$program" == */* ]] || program="$tree/bin/$program"
    program=$(realpath -m -- "$program")
    if [[ "$program" == "$tree"/* ]]; then
        program=${program#"$tree"/}
        # Something that the build makes, or something else that lies there.
        ! ninja -C "$tree" -t query "$program" >/dev/null 2>&1 || targets+=("$program")
    fi
    compile "$1" "${targets[@]}"
}

# build_for PRESET PROGRAM: the component, and the program if the build makes it.
build_for() {
    ensure_preset_packages "$1"
    ensure_sqlite
    locked "build-$1" configure_and_compile_for "$@"
}
