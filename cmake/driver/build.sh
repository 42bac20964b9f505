# shellcheck shell=bash
# Configuring and compiling one preset: x64, x86 (both also with "-checked" behind), host or host-bench.

# The storage engine's source comes out of an npm package, once per user (cmake/Sqlite.cmake).
ensure_npm() {
    local version
    version=$(sed -n 's/^set(KEL_SQLITE_PACKAGE_VERSION \(.*\))$/\1/p' "$KEL_ROOT/cmake/Sqlite.cmake")
    [[ -d "$KEL_CACHE/sqlite-$version" ]] || command -v npm >/dev/null || ensure_packages npm
}

configure() {
    local preset=$1
    local tree="$KEL_BUILD/$preset" inputs=("$KEL_ROOT/CMakePresets.json")
    [[ "$preset" == host* ]] || inputs+=("$KEL_ROOT/cmake/toolchain-${preset%-checked}.cmake" "$KEL_ROOT/cmake/toolchain-common.cmake")

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
        ninja -C "$KEL_BUILD/$preset" "$@" 2>&1 </dev/null |
            { grep --line-buffered -vE '^ninja: (Entering directory|no work to do)|Re-checking globbed' || true; } >&2
    } || fail "building $preset failed"
}

configure_and_compile() {
    configure "$1"
    compile "$@"
}

# build_preset PRESET [TARGET...]
build_preset() {
    ensure_packages "${KEL_PACKAGES[@]}"
    ensure_npm
    locked "build-$1" configure_and_compile "$@"
}
