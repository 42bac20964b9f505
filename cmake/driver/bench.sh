# shellcheck shell=bash disable=SC2154
# `./kel bench`: measurements of the registered component, and the soak run; measurements of the
# library and its store on this machine.

# What it takes: the product, the test back-end for the soak run, the program.
readonly KEL_BENCH_TARGETS=("${KEL_COMPONENT[@]}" kelos99 kel_bench)

# Sizes as delivered, without what the build leaves in the DLLs for debuggers.
print_sizes() { # PRESET
    local name strip=x86_64-w64-mingw32-strip stripped="$KEL_BUILD/$1/bench/stripped.dll"
    [[ "$1" == x64 ]] || strip=i686-w64-mingw32-strip
    for name in kelSDK.dll kelos1.dll; do
        "$strip" -o "$stripped" "$KEL_BUILD/$1/bin/$name"
        printf '%s: %d KB\n' "$name" "$(($(stat -c %s "$stripped") / 1024))"
    done
    rm -f "$stripped"
}

run_host_bench() {
    local folder="$KEL_BUILD/host-bench/accounts" status=0
    build_preset host-bench kel_bench
    echo "--- host"
    "$KEL_BUILD/host-bench/bench/bench" "$folder" || status=$?
    rm -rf "$folder"
    return "$status"
}

run_bench() { # arguments of the program; presets is set
    local preset status=0
    for preset in "${presets[@]}"; do
        if [[ "$preset" == host ]]; then
            [[ "${1:-}" == --soak ]] || run_host_bench || status=$?
            continue
        fi
        if [[ "$preset" == x86 ]]; then
            find_wine32
            if [[ "$wine32_kind" == none ]]; then
                say "x86 cannot run here: $wine32_why"
                continue
            fi
        fi
        build_preset "$preset" "${KEL_BENCH_TARGETS[@]}"
        (prepare_wine "$preset")
        echo "--- $preset"
        [[ "${1:-}" == --soak ]] || print_sizes "$preset"
        (become_program "$preset" "$KEL_BUILD/$preset/bench/bench.exe" "$@") || status=$?
        stop_server "$preset"
    done
    return "$status"
}

kel_bench() {
    local presets=() arguments=()
    while (($#)); do
        case "$1" in
            --x64 | --x86 | --host) presets+=("${1#--}") ;;
            --soak)
                arguments=(--soak)
                if [[ "${2:-}" =~ ^[1-9][0-9]*$ ]]; then
                    arguments+=("$2")
                    shift
                fi
                ;;
            *) fail_usage "bench does not know $1" ;;
        esac
        shift
    done
    ((${#presets[@]})) || presets=(host x64 x86)
    locked bench run_bench "${arguments[@]}"
}
