# shellcheck shell=bash disable=SC2034
# Debian packages: which ones this project needs, and installing those that are missing.

# The systems whose packages these are.
KEL_SYSTEM=$(. /etc/os-release 2>/dev/null && echo "${PRETTY_NAME:-${ID:-}}") || KEL_SYSTEM=unknown
KEL_CODENAME=$(. /etc/os-release 2>/dev/null && [[ "${ID:-}" == debian ]] && echo "${VERSION_CODENAME:-}") || KEL_CODENAME=
readonly KEL_SYSTEM KEL_CODENAME KEL_DEBIANS=(bookworm trixie)

# What every build needs; what the Windows ones and their programs need besides, and each width's
# compiler; what the build for this machine needs.
readonly KEL_PACKAGES_ALL=(
    cmake ninja-build python3 googletest nlohmann-json3-dev libcli11-dev libxxhash-dev
)
readonly KEL_PACKAGES_WINDOWS=(
    mingw-w64-tools wine wine64 libwine-dev fonts-wine iso-codes xvfb xauth
)
readonly KEL_PACKAGES_x64=(g++-mingw-w64-x86-64-posix)
readonly KEL_PACKAGES_x86=(g++-mingw-w64-i686-posix)
readonly KEL_PACKAGES_HOST=(g++)
# Only a 32-bit tree of our own needs debootstrap; only `check` needs the clang tools.
readonly KEL_PACKAGES_TREE=(debootstrap)
readonly KEL_PACKAGES_CHECK=(clang-format-14 clang-tidy-14 git)

# Makes sure of what building these presets takes, all in one go.
ensure_preset_packages() { # PRESET...
    local preset packages=("${KEL_PACKAGES_ALL[@]}")
    for preset in "$@"; do
        case "$preset" in
            x64*) packages+=("${KEL_PACKAGES_WINDOWS[@]}" "${KEL_PACKAGES_x64[@]}") ;;
            x86*) packages+=("${KEL_PACKAGES_WINDOWS[@]}" "${KEL_PACKAGES_x86[@]}") ;;
            host*) packages+=("${KEL_PACKAGES_HOST[@]}") ;;
        esac
    done
    ensure_packages "${packages[@]}"
}

# Prints those of the given packages that are not installed; all where nothing is known of packages.
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
    mapfile -t missing < <(missing_packages "$@" | sort -u)
    ((${#missing[@]})) || return 0

    # What is missing elsewhere may well have another name there.
    if [[ " ${KEL_DEBIANS[*]} " != *" $KEL_CODENAME "* ]]; then
        fail "this is $KEL_SYSTEM, and the set-up knows Debian 12 and 13. Install what Debian has in these
packages, in a version as new as Debian 12's, and try again:
    ${missing[*]}"
    fi

    local as_root=()
    if ((EUID != 0)); then
        if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
            as_root=(sudo -n)
        else
            fail "these Debian packages are missing, and installing them needs root:
    apt-get install ${missing[*]}"
        fi
    fi
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
