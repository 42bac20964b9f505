# shellcheck shell=bash disable=SC2154,SC2016
# `./kel check`: layout by clang-format, faults by clang-tidy, and what only shows without optimising.

readonly KEL_CHECK_PRESETS=(x64-single host-single)

project_sources() { # patterns
    git -C "$KEL_ROOT" ls-files --cached --others --exclude-standard -- "$@" | sort -u | while read -r file; do
        [[ ! -f "$KEL_ROOT/$file" ]] || echo "$file"
    done
}

check_format() {
    local files=()
    mapfile -t files < <(project_sources '*.h' '*.cpp')
    ((${#files[@]})) || return 0
    if (cd "$KEL_ROOT" && clang-format-14 --dry-run -Werror "${files[@]}"); then
        echo "clang-format: ${#files[@]} files, all in order"
    else
        echo "clang-format: differences found; put right with clang-format-14 -i FILE"
        return 1
    fi
}

# Prints "OBJECT_SOURCE KEY" for every compiled source of a preset: KEY is a hash over everything
# its verdict depends on, i.e. the settings and each file of the project that it includes.
tidy_keys() {
    local preset=$1 tree="$KEL_BUILD/$1"
    ninja -C "$tree" -t deps | awk -v root="$KEL_ROOT/" -v tree="$tree/" '
        /^[^ ].*: #deps/ { if (source != "") print source, files; source = ""; files = ""; next }
        /^ / {
            file = $1
            if (substr(file, 1, 1) != "/") file = tree file
            # Normalises a/../b, which the compiler leaves in.
            while (sub(/\/[^\/]+\/\.\.\//, "/", file)) {}
            if (index(file, root) != 1 || index(file, tree "_deps") == 1 || file ~ /\/(private|googletest)\//) next
            if (source == "") source = file
            files = files " " file
        }
        END { if (source != "") print source, files }
    ' | while read -r source files; do
        [[ "$source" == *.cpp && "$source" != "$KEL_BUILD"/* ]] || continue
        # shellcheck disable=SC2086  # a list of files without blanks
        echo "$source $(cat "$KEL_ROOT/.clang-tidy" $files 2>/dev/null | sha256sum | cut -c1-40)"
    done
}

# What clang must be told to be the cross compiler: target and the compiler's own include folders.
tidy_arguments() {
    local preset=$1 folder
    printf '%s\n' --quiet -p "$KEL_BUILD/$preset" --extra-arg=-Wno-error --extra-arg=-Wno-unknown-warning-option
    if [[ "$preset" != host* ]]; then
        printf '%s\n' --extra-arg-before=--target=x86_64-w64-mingw32 --extra-arg-before=-nostdinc++
        # The compiler's own intrinsics and clang's exclude each other; clang brings its own.
        x86_64-w64-mingw32-g++-posix -xc++ -E -v /dev/null 2>&1 >/dev/null |
            sed -n '/^#include </,/^End/s/^ //p' | while read -r folder; do
            folder=$(readlink -f -- "$folder")
            [[ "$folder" == */lib/gcc/*/include || "$folder" == */include-fixed ]] ||
                echo "--extra-arg=-isystem$folder"
        done
    fi
}

# Checks one source; leaves a mark when it is clean, so that it is skipped until something changes.
# Called by xargs: SOURCE KEY ARGUMENTS...
tidy_one() {
    local source=$1 key=$2 output
    shift 2
    if output=$(clang-tidy-14 "$@" "$source" 2>/dev/null); then
        touch "$KEL_BUILD/check/$key"
    else
        printf '%s\n' "$output"
        return 1
    fi
}

check_tidy() {
    local preset arguments=() source key todo=() all=0 status=0
    mkdir -p "$KEL_BUILD/check"
    export KEL_BUILD
    export -f tidy_one
    local seen=" "
    for preset in "${KEL_CHECK_PRESETS[@]}"; do
        mapfile -t arguments < <(tidy_arguments "$preset")
        todo=()
        while read -r source key; do
            # The portable library is in both presets; its first verdict counts.
            [[ "$seen" == *" $source "* ]] && continue
            seen+="$source "
            all=$((all + 1))
            [[ -e "$KEL_BUILD/check/$key" ]] || todo+=("$source" "$key")
        done < <(tidy_keys "$preset" | sort -u)
        ((${#todo[@]})) || continue
        printf '%s\0' "${todo[@]}" |
            xargs -0 -n 2 -P "$(nproc)" bash -c 'tidy_one "${@: -2:1}" "${@: -1}" "${@:1:$#-2}"' kel-check "${arguments[@]}" ||
            status=1
    done
    if ((status == 0)); then
        echo "clang-tidy: $all sources, no findings"
    else
        echo "clang-tidy: findings above"
    fi
    return "$status"
}

# The tests of the tree that is not optimised: code that works only as long as it is inlined fails
# here, and types of one name that differ have failed when its programs were linked.
check_plain() {
    local -i total_passed=0 total_failed=0 total_skipped=0
    run_ctest host-single
    add_results host-single
    ((total_failed == 0))
}

check_all() {
    local preset status=0
    # Each version of these tools lays out and complains a little differently; this one is Debian 12's.
    if [[ "$KEL_CODENAME" == trixie ]]; then
        locked in-bookworm kel_in bookworm check
        return
    fi
    ensure_packages "${KEL_PACKAGES_CHECK[@]}"
    # Generated headers and the list of includes come from a build, which also shows that each source
    # includes what it uses.
    for preset in "${KEL_CHECK_PRESETS[@]}"; do
        build_preset "$preset"
    done
    check_format || status=1
    check_tidy || status=1
    check_plain || status=1
    return "$status"
}
