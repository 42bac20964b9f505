# shellcheck shell=bash disable=SC2034
# A small 32-bit Debian of our own. The 32-bit Wine cannot be installed beside most 64-bit systems
# (the libraries of both architectures must be of exactly the same version), so it gets a tree in
# the user's cache, where every checkout finds it.

readonly KEL_TREE32="$KEL_CACHE/wine32-i386"

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

# The tree is made under another name and renamed when complete: one that was interrupted is never
# taken for a usable one.
make_tree32() {
    [[ -d "$KEL_TREE32" ]] && return 0
    local codename mirror partial="$KEL_TREE32.partial" log="$KEL_BUILD/debootstrap.log"
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
    mirror=$(debian_mirror "$codename")
    say "making a 32-bit Debian tree for 32-bit Wine (once per user, a few minutes, 1 GB): $KEL_TREE32"
    rm -rf --one-file-system "$partial"
    # debootstrap mounts /proc and /sys inside the tree; in a mount namespace of its own they are
    # gone with it, even when it is killed.
    if ! unshare --mount --propagation private \
        debootstrap --arch=i386 --variant=minbase --include=wine32 "$codename" "$partial" ${mirror:+"$mirror"} \
        >"$log" 2>&1 </dev/null 9>&-; then
        rm -rf --one-file-system "$partial"
        tail -n 5 "$log" >&2
        return 1
    fi
    find "$partial/var/cache/apt/archives" -name '*.deb' -delete
    mv "$partial" "$KEL_TREE32"
}

# Sets wine32_kind to "system" (wine32 is installed and works), "tree" or "none"; for "none",
# wine32_why holds the reason in plain words. Makes the tree when it is missing and can be made.
find_wine32() {
    [[ -z "${wine32_kind:-}" ]] || return 0
    wine32_kind=none
    wine32_why=
    if [[ -x /usr/lib/wine/wine ]] && /usr/lib/wine/wine --version >/dev/null 2>&1; then
        wine32_kind=system
    elif ((EUID != 0)); then
        wine32_why="32-bit Wine is not installed, and making a tree for it needs root"
    elif ! unshare --mount --propagation slave mount --bind /usr /usr 2>/dev/null; then
        wine32_why="32-bit Wine is not installed, and this machine allows no private mounts, which its own tree needs"
    elif [[ -d "$KEL_TREE32" ]] || {
        ensure_packages "${KEL_PACKAGES_TREE[@]}"
        mkdir -p "$KEL_CACHE" "$KEL_BUILD"
        # Two checkouts may want it at the same moment.
        (flock 9 && make_tree32) 9>"$KEL_CACHE/wine32.lock"
    }; then
        if "$KEL_ROOT/cmake/driver/enter-tree32" "$KEL_TREE32" /usr/lib/wine/wine --version >/dev/null 2>&1; then
            wine32_kind=tree
        else
            wine32_why="32-bit programs do not start in the tree $KEL_TREE32"
        fi
    else
        wine32_why="making the 32-bit tree failed (see $KEL_BUILD/debootstrap.log)"
    fi
}
