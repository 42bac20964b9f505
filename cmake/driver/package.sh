# shellcheck shell=bash disable=SC2034,SC2154
# `./kel package`: installers and registration-free archives, under build/packages/.

readonly KEL_PACKAGES_PACKAGE=(wixl git)

product_version() {
    sed -n 's/^#define KEL_VERSION_\(MAJOR\|MINOR\|REVISION\) //p' "$KEL_ROOT/core/version.h" | paste -sd .
}

# The DLLs of the product, as Windows paths.
shipped_dlls() {
    local name
    while IFS=$'\t' read -r name _; do
        [[ "$name" != *.dll ]] || windows_path "$KEL_BUILD/$1/bin/$name"$'\n'
    done <"$KEL_BUILD/$1/shipped.txt"
}

# make_installer WIDTH VERSION OUTPUT: OUTPUT.msi, with what it was made of in the folder OUTPUT.
make_installer() {
    local width=$1 version=$2 output=$3
    python3 -B "$KEL_ROOT/packaging/packages.py" --width "$width" --version "$version" \
        --bin "$KEL_BUILD/$width/bin" --shipped "$KEL_BUILD/$width/shipped.txt" \
        --keys "$KEL_BUILD/packages/keys-$width.txt" --out "$output" >&2 ||
        fail "describing the package failed ($width)"
    (cd "$output" && wixl -a "$width" -o "$output.msi" kelSDK.wxs) >&2 || fail "wixl failed ($width)"
}

make_packages() {
    local width=$1 folder="$KEL_BUILD/packages" dlls name
    mkdir -p "$folder"
    (prepare_wine "$width")
    # What registration writes is asked from the DLLs themselves.
    mapfile -t dlls < <(shipped_dlls "$width")
    (become_program "$width" "$KEL_BUILD/$width/packaging/record_keys.exe" "${dlls[@]}") </dev/null |
        tr -d '\r' >"$folder/keys-$width.txt" || fail "the DLLs do not register ($width)"
    name=kelSDK-$(product_version)-$width
    make_installer "$width" "$(product_version)" "$folder/$name"
    rm -f "$folder/$name.zip"
    (cd "$folder/$name/files" && python3 -m zipfile -c "$folder/$name.zip" ./*)
    echo "$folder/$name.msi"
    echo "$folder/$name.zip"
}

kel_package() {
    local presets rest width flag='' own_flag=--test status=0 made=()
    parse_presets "$@"
    ((${#rest[@]} == 0)) || fail_usage "package takes no names: ${rest[*]}"
    ((${#presets[@]})) || presets=(x64 x86)
    ensure_packages "${KEL_PACKAGES_PACKAGE[@]}"
    for width in "${presets[@]}"; do
        [[ "$width" != host ]] || fail_usage "packages are made for x64 and x86"
        build_preset "$width" kel_shipped record_keys
        if [[ "$width" == x86 ]]; then
            find_wine32
            if [[ "$wine32_kind" == none ]]; then
                say "no package for x86, whose registration cannot be run here: $wine32_why"
                continue
            fi
        fi
        locked "package-$width" make_packages "$width"
        made+=("$width")
    done
    if [[ "$flag" ]]; then
        for width in "${made[@]}"; do
            locked "package-$width" test_packages "$width" || status=1
        done
    fi
    stop_server x64
    stop_server x86
    return "$status"
}
