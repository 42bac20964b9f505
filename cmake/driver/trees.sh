# shellcheck shell=bash disable=SC2034
# Small Debians of our own, made by debootstrap in the user's cache, where every checkout finds them.
#
# One for 32-bit Wine, which cannot be installed beside most 64-bit systems (the libraries of both
# architectures must be of exactly the same version); and the one that `./kel test --in` runs in.

readonly KEL_TREE32="$KEL_CACHE/wine32-$KEL_CODENAME"

# Prints the address this machine installs Debian itself from, out of both forms of apt sources;
# nothing if there is none, in which case debootstrap has a default of its own.
debian_mirror() {
    local codename=$1
    {
        # One-line form: deb [options] URI suite components
        cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
            sed -n 's/^deb[[:space:]]\+\(\[[^]]*\][[:space:]]*\)\?//p' |
            awk -v suite="$codename" '$2 == suite { print $1 }'
        # Paragraph form: fields in any order
        awk -v suite="$codename" '
            function flush_paragraph() {
                if (uris != "" && enabled && (" " suites " ") ~ (" " suite " ")) print uris
                uris = suites = ""; enabled = 1
            }
            BEGIN { enabled = 1 }
            FNR == 1 || /^[[:space:]]*$/ { flush_paragraph() }
            tolower($1) == "uris:" { uris = $2 }
            tolower($1) == "suites:" { $1 = ""; suites = $0 }
            tolower($1) == "enabled:" && tolower($2) == "no" { enabled = 0 }
            END { flush_paragraph() }
        ' /etc/apt/sources.list.d/*.sources 2>/dev/null
    } | grep -m1 -E '^(https?|file):' || true
}

# make_tree TREE ARCHITECTURE CODENAME [PACKAGE...]: a Debian, unless it is there. It is made under
# another name and renamed when complete: one that was interrupted is never taken for a usable one.
make_tree() {
    local tree=$1 architecture=$2 codename=$3 mirror partial="$1.partial" log="$KEL_BUILD/debootstrap.log"
    local packages=("${@:4}")
    [[ ! -d "$tree" ]] || return 0
    mirror=$(debian_mirror "$KEL_CODENAME")
    say "making a Debian tree (once per user, a few minutes, 1 GB): $tree"
    rm -rf --one-file-system "$partial"
    # debootstrap mounts /proc and /sys inside the tree; in a mount namespace of its own they are
    # gone with it, even when it is killed.
    if ! unshare --mount --propagation private \
        debootstrap "--arch=$architecture" --variant=minbase ${packages:+"--include=$(IFS=, && echo "${packages[*]}")"} \
        "$codename" "$partial" ${mirror:+"$mirror"} >"$log" 2>&1 </dev/null 9>&-; then
        rm -rf --one-file-system "$partial"
        tail -n 5 "$log" >&2
        return 1
    fi
    find "$partial/var/cache/apt/archives" -name '*.deb' -delete
    mv "$partial" "$tree"
}

# The same, alone: two checkouts may want one at the same moment.
make_tree_once() {
    ensure_packages "${KEL_PACKAGES_TREE[@]}"
    mkdir -p "$KEL_CACHE" "$KEL_BUILD"
    (flock 9 && make_tree "$@") 9>"$1.lock"
}

# Whether this user can make trees and work in them; says why not in plain words.
trees_possible() {
    if ((EUID != 0)); then
        echo "a Debian tree of its own needs root"
        return 1
    elif ! unshare --mount --propagation slave mount --bind /usr /usr 2>/dev/null; then
        echo "this machine allows no private mounts, which a Debian tree of its own needs"
        return 1
    fi
}

# Sets wine32_kind to "system" (wine32 is installed and works), "tree" or "none"; for "none",
# wine32_why holds the reason in plain words. Makes the tree when it is missing and can be made.
find_wine32() {
    [[ -z "${wine32_kind:-}" ]] || return 0
    wine32_kind=none
    wine32_why=
    if [[ -x /usr/lib/wine/wine ]] && /usr/lib/wine/wine --version >/dev/null 2>&1; then
        wine32_kind=system
    elif ! wine32_why="32-bit Wine is not installed, and $(trees_possible)"; then
        return 0
    elif [[ -d "$KEL_TREE32" ]] || make_tree_once "$KEL_TREE32" i386 "$KEL_CODENAME" wine32; then
        if "$KEL_ROOT/cmake/driver/enter-tree32" "$KEL_TREE32" /usr/lib/wine/wine --version >/dev/null 2>&1; then
            wine32_kind=tree
        else
            wine32_why="32-bit programs do not start in the tree $KEL_TREE32"
        fi
    else
        wine32_why="making the 32-bit tree failed (see $KEL_BUILD/debootstrap.log)"
    fi
}

# kel_in CODENAME ARGUMENT...: `./kel` with these arguments in that Debian, of which a tree is made
# with nothing in it; it keeps what the driver installs there. It shares nothing with this machine but
# the checkout, without its build folder, and the cache.
kel_in() {
    local codename=$1 tree="$KEL_CACHE/debian-$1" why
    shift
    why=$(trees_possible) || fail "no work in another Debian: $why"
    make_tree_once "$tree" amd64 "$codename" ca-certificates ||
        fail "making the tree failed (see $KEL_BUILD/debootstrap.log)"
    # The registry of npm, as this machine has it set, is not known inside.
    ensure_sqlite
    mkdir -p "$KEL_BUILD/in-$codename"
    # Processes of its own, too: what the tests leave behind ends with them.
    unshare --mount --propagation private --pid --fork --kill-child \
        "$KEL_ROOT/cmake/driver/enter-debian" "$tree" "$KEL_ROOT" "$KEL_BUILD/in-$codename" "$KEL_CACHE" "$@"
}
