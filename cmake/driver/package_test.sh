# shellcheck shell=bash disable=SC2154
# `./kel package --test`: each installer and archive in a Wine prefix of its own, made afresh.

# Every key and value below the given ones, or of all that programs write to, one line each.
registry_lines() {
    local root
    (($#)) || set -- "HKEY_LOCAL_MACHINE\\Software" "HKEY_CURRENT_USER\\Software"
    for root in "$@"; do
        rm -f "$scratch/export.reg"
        wine_quietly regedit /E "$(windows_path "$scratch/export.reg")" "$root"
        [[ -f "$scratch/export.reg" ]] || continue # no such key
        iconv -f UTF-16 -t UTF-8 "$scratch/export.reg" | tr -d '\r' |
            awk '/^\[/ { key = $0; print; next } key != "" && $0 != "" { print key " " $0 }'
    done | sort
}

# Files and registry, to be compared; without what Wine leaves behind itself, whatever was installed:
# its installer's own folder and the upper keys of its records, its settings of a screen.
snapshot() {
    find "$WINEPREFIX/drive_c" -printf '%p\n' | sort | grep -v '/drive_c/windows/Installer$'
    registry_lines | grep -vixE \
        -e '\[.*\\Wine\\Temporary System Parameters(\\.*)?\]' \
        -e '\[.*\\Installer(\\(Features|Products|UpgradeCodes|Folders|UserData|UserData\\S-[-0-9]+(\\[a-z]+)?))?\]'
}

installed_file() { [[ -f "$place/$1" ]]; }

verify() { # WHAT COMMAND...
    local what=$1
    shift
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "FAILED: package $width: $what"
    fi
}

fails() { ! "$@" >/dev/null; }

same_lines() { # FILE FILE
    diff "$1" "$2" >"$scratch/difference.txt" || { head -n 40 "$scratch/difference.txt" && false; }
}

# Without output, unless it fails.
quietly() {
    "$@" >"$scratch/output.txt" 2>&1 </dev/null || { tail -n 30 "$scratch/output.txt" && false; }
}

run_program() { quietly setsid --wait "${wine_loader[@]}" "$@" 9>&-; }
installer() { run_program msiexec "$1" "$(windows_path "$2")" /qn "${@:3}"; }
client() { run_program cscript.exe //nologo "$(windows_path "$KEL_ROOT/tests/scripts/client.vbs")"; }

# demonstrate FOLDER: the demonstration, out of a folder, on an account of its own that is made from
# the folder's lists.
demonstrate() {
    rm -f "$scratch"/demo.account*
    run_program "$1/demo.exe" "$(windows_path "$scratch/demo.account")" &&
        grep -qF "${1##*/}\\iso-codes" "$scratch/output.txt"
}

# The form tries itself, on an account made from the installed lists.
try_form() {
    quietly "$KEL_ROOT/cmake/driver/on-screen" "${wine_loader[@]}" "$place/kelform.exe" --selftest 9>&-
}

# Wine has the user's start menu even for all users.
shortcut_made() {
    find "$WINEPREFIX/drive_c" -path '*/Start Menu/Programs/kelSDK/*.lnk' | grep -q .
}

version_installed() {
    registry_lines "HKEY_LOCAL_MACHINE\\Software\\kelSDK" | sed -n 's/.*"Version"="\(.*\)"/\1/p'
}

products_installed() {
    registry_lines "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall" |
        grep -c '"DisplayName"="kelSDK' || true
}

# What is registered, in a form that does not depend on where the DLLs lie. Wine's own routine
# registers interfaces for programs of the other width as well; each installer does its own.
classes() {
    registry_lines "HKEY_LOCAL_MACHINE\\Software\\Classes" |
        grep -viE '\\Classes\\(Installer|Wow6432Node)' |
        sed -E 's/"[A-Z]:[^"]*\\\\((kelSDK|kelos1)\.dll)"/"\1"/; s/(HELPDIR\] @=).*/\1/' >"$scratch/$1"
}

register() { # [/u]
    local name
    while IFS=$'\t' read -r name _; do
        [[ "$name" != *.dll ]] ||
            wine_quietly regsvr32 /s "$@" "$(windows_path "$KEL_BUILD/$width/bin/$name")"
    done <"$KEL_BUILD/$width/shipped.txt"
}

# The 32-bit version beside the 64-bit one, as far as a prefix without 32-bit programs has it: a
# class of it is registered, and the name is common to both.
test_other_width() {
    local class key
    class=$(awk -F '\t' '$2 == "kelos1.IHostDLL\\CLSID" { print $4 }' "$KEL_BUILD/packages/keys-$width.txt")
    key="HKLM\\Software\\Classes\\Wow6432Node\\CLSID\\$class"
    wine_quietly reg add "$key\\InprocServer32" /f
    register
    register /u
    verify "the other width keeps its name" named
    wine_quietly reg delete "$key" /f
    register /u
    verify "which goes with the last" fails named
}

named() { registry_lines "HKEY_CLASSES_ROOT\\kelos1.IHostDLL" | grep -q "$class"; }

test_installer() {
    local package=$1 later=$2
    # Wine's script host registers a library of its own when it runs first.
    client >/dev/null || true
    register
    classes registered.txt
    register /u
    [[ "$width" != x64 ]] || test_other_width
    snapshot >"$scratch/before.txt"
    verify "installs" installer /i "$package.msi"
    local file
    while read -r file; do
        verify "installed $file" installed_file "$file"
    done < <(cd "$package/files" && find . -type f ! -name '*.manifest' -printf '%P\n')
    verify "is in the start menu" shortcut_made
    verify "a script uses it" client
    verify "the demonstration runs" demonstrate "$place"
    verify "the form works" try_form

    classes installed.txt
    verify "writes what the DLLs write" same_lines "$scratch/registered.txt" "$scratch/installed.txt"

    rm "$place/kelos1.dll"
    wine_quietly reg delete 'HKCR\kelos1.IHostDLL' /f
    # What msiexec /fa PACKAGE stands for, which this Wine does not know.
    verify "is repaired" installer /i "$package.msi" REINSTALL=ALL REINSTALLMODE=amus
    verify "the lost file is back" installed_file kelos1.dll
    verify "a script uses it again" client

    verify "is updated" installer /i "$later.msi"
    verify "there is one product" test "$(products_installed)" = 1
    verify "it is the later one" test "$(version_installed)" = 99.0.0
    classes updated.txt
    verify "identifiers stay" same_lines "$scratch/installed.txt" "$scratch/updated.txt"
    verify "the earlier one is refused" fails installer /i "$package.msi"
    verify "a script uses the update" client

    verify "is removed" installer /x "$later.msi"
    snapshot >"$scratch/after.txt"
    verify "nothing is left" same_lines "$scratch/before.txt" "$scratch/after.txt"
}

# Without registration: nothing of the component is in this prefix's registry any more.
test_archive() {
    local folder="$WINEPREFIX/drive_c/portable"
    mkdir -p "$folder"
    python3 -m zipfile -e "$1.zip" "$folder"
    verify "nothing is registered" fails client
    verify "the demonstration runs by its manifests" demonstrate "$folder"
    rm "$folder/demo.exe.manifest"
    verify "only by them" fails demonstrate "$folder"
    rm -rf "$folder"
}

# Both widths in one 64-bit prefix. Wine has no 32-bit programs there to try the other one with.
test_side_by_side() {
    local other=${1%x64}x86
    [[ -f "$other.msi" ]] || return 0
    verify "is installed" installer /i "$1.msi"
    verify "the 32-bit one is installed beside it" installer /i "$other.msi"
    verify "in its own place" test -f "${place/Program Files/Program Files (x86)}/kelSDK.dll"
    verify "the 32-bit one is removed" installer /x "$other.msi"
    verify "a script uses the 64-bit one all the same" client
    verify "the 64-bit one is removed" installer /x "$1.msi"
}

test_packages() {
    local width=$1 package scratch place passed=0 failed=0
    package="$KEL_BUILD/packages/kelSDK-$(product_version)-$width"
    scratch="$KEL_BUILD/packages/test-$width"
    use_wine "$width"
    # In a folder of its own: the Unix paths of both widths stay apart, and the build's prefix as it is.
    export WINEPREFIX="$scratch/wine"
    mkdir -p "$scratch"
    rm -f "$WINEPREFIX/.complete"
    make_prefix
    # Shortcuts belong in the prefix, not among the menus of whoever runs the test.
    export WINEDLLOVERRIDES="winemenubuilder.exe="
    start_server
    place="$WINEPREFIX/drive_c/Program Files/kelSDK"
    make_installer "$width" 99.0.0 "$scratch/later"
    test_installer "$package" "$scratch/later"
    test_archive "$package"
    [[ "$width" != x64 ]] || test_side_by_side "$package"
    "${wine_server[@]}" -k >/dev/null 2>&1 </dev/null || true
    echo "package $width: $passed passed, $failed failed"
    ((failed == 0))
}
