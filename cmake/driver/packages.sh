# shellcheck shell=bash disable=SC2034
# Debian packages: which ones this project needs, and installing those that are missing.

# Build and test, both widths. Read by every command.
readonly KEL_PACKAGES=(
    g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools
    wine wine64 libwine-dev fonts-wine
    cmake ninja-build g++ python3 git googletest catch2 nlohmann-json3-dev iso-codes
    xvfb xauth
)
# Only a 32-bit tree of our own needs debootstrap; only `check` needs the clang tools.
readonly KEL_PACKAGES_TREE=(debootstrap)
readonly KEL_PACKAGES_CHECK=(clang-format-14 clang-tidy-14)

# Prints those of the given packages that are not installed.
missing_packages() {
    local installed package
    installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF -- "$package installed" <<<"$installed" || echo "$package"
    done
}

# Installs those of the given packages that are missing; touches neither apt nor the network when
# nothing is.
ensure_packages() {
    local missing=()
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0

    local as_root=()
    if ((EUID != 0)); then
        if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
            as_root=(sudo -n)
        else
            fail "these Debian packages are missing, and installing them needs root:
    apt-get install ${missing[*]}"
        fi
    fi
    command -v apt-get >/dev/null || fail "these packages are missing and this is not a Debian system: ${missing[*]}"

    say "installing ${missing[*]}"
    local log="$KEL_BUILD/apt.log"
    mkdir -p "$KEL_BUILD"
    if ! { "${as_root[@]}" apt-get update &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
        tail -n 20 "$log" >&2
        fail "apt-get could not install ${missing[*]} (full output: $log)"
    fi
}
