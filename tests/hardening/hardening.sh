#!/bin/bash
# hardening.sh TREE OBJDUMP NM: what every DLL and program of the product must be like as a file.
# They are those of TREE/shipped.txt; KEL_WIDTH says which width they are of.
set -euo pipefail
tree=$1 objdump=$2 nm=$3
passed=0 failed=0

# Nothing else is needed on a machine.
readonly SYSTEM_DLLS="advapi32 comctl32 comdlg32 gdi32 imm32 kernel32 msvcrt ole32 oleaut32 shell32 shlwapi user32 uuid version"
readonly ENTRY_POINTS="DllCanUnloadNow DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer"

check() { # WHAT COMMAND...
    local what=$1
    shift
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "FAILED: $file: $what"
    fi
}

contains() { [[ "$1" == *"$2"* ]]; }
lacks() { [[ "$1" != *"$2"* ]]; }
same() { [[ "$1" == "$2" ]] || { printf '  found:  %s\n  expect: %s\n' "$1" "$2" && false; }; }

# Lines of the part of the headers that begins with a line like $1, to the next empty line.
part() { awk -v start="$1" '$0 ~ start { on = 1 } on && /^[[:space:]]*$/ { exit } on' <<<"$headers"; }

check_address_space() {
    local flags
    flags=$(part '^DllCharacteristics')
    check "address of the system's choice" contains "$flags" DYNAMIC_BASE
    check "data are not executable" contains "$flags" NX_COMPAT
    check "relocations are there" lacks "$headers" "relocations stripped"
    check "a section of relocations" contains "$sections" " .reloc "
    if [[ "$KEL_WIDTH" == x64* ]]; then
        check "addresses from the whole space" contains "$flags" HIGH_ENTROPY_VA
        check "image base above 4 GB" test $((0x$(awk '$1 == "ImageBase" { print $2 }' <<<"$headers"))) -gt $((1 << 32))
    fi
    # Sections come as two lines, the second with their properties.
    check "no section both writable and executable" same \
        "$(awk '$1 ~ /^[0-9]+$/ { name = $2; getline; if (/CODE/ && !/READONLY/) print name }' <<<"$sections")" ""
    # Such relocations are applied at start by making code writable for a moment.
    check "no run-time relocations in code" same \
        "$(awk '$3 ~ /^_+RUNTIME_PSEUDO_RELOC_LIST__$/ { print $1 }' <<<"$symbols")" \
        "$(awk '$3 ~ /^_+RUNTIME_PSEUDO_RELOC_LIST_END__$/ { print $1 }' <<<"$symbols")"
}

check_dependencies() {
    local dll name foreign=""
    while read -r dll; do
        name=${dll,,}
        [[ " $SYSTEM_DLLS " == *" ${name%.dll} "* ]] || foreign+=" $dll"
    done < <(sed -n 's/^[[:space:]]*DLL Name: //p' <<<"$headers")
    check "only the system's DLLs are needed" same "$foreign" ""
    local exports
    exports=$(sed -n 's/^[[:space:]]*\[ *[0-9]*\].* \([A-Za-z_][A-Za-z0-9_@]*\)$/\1/p' \
        < <(sed -n '/Ordinal\/Name Pointer/,/^$/p' <<<"$headers") | sort | xargs)
    if [[ "$file" == *.dll ]]; then
        check "the entry points and nothing else are exported" same "$exports" "$ENTRY_POINTS"
    else
        check "nothing is exported" same "$exports" ""
        check "no DLL from the current directory" contains "$headers" SetDefaultDllDirectories
    fi
}

# One call stands at the end of each function with an array on its stack.
check_stack_protector() {
    local calls
    calls=$("$objdump" -d --no-show-raw-insn "$tree/bin/$file" | grep -c 'call.*<_*stack_chk_fail>' || true)
    check "stack protector: $calls functions" test "$calls" -ge 20
}

check_version() {
    local texts
    texts=$("${objdump%objdump}strings" -el "$tree/bin/$file")
    for text in "OriginalFilename" "$file" "FileDescription" "FileVersion" "ProductVersion" "kelSDK"; do
        check "version resource has $text" grep -qxF -- "$text" <<<"$texts"
    done
}

while IFS=$'\t' read -r file _; do
    headers=$("$objdump" -p "$tree/bin/$file")
    sections=$("$objdump" -h "$tree/bin/$file")
    symbols=$("$nm" "$tree/bin/$file")
    check_address_space
    check_dependencies
    check_stack_protector
    check_version
done <"$tree/shipped.txt"

# In the client's process the component has no say in where DLLs are looked for; its own calls must.
file=sources
root=$(dirname -- "${BASH_SOURCE[0]}")/../..
check "a DLL loaded by name comes from the system's folder" same \
    "$(cd "$root"; grep -rlE 'LoadLibrary(Ex)?[AW]?\(' --include='*.cpp' --include='*.h' \
        automation core registry backend engine client server hosts apps |
        xargs -r grep -L LOAD_LIBRARY_SEARCH_SYSTEM32 || true)" ""

echo "$passed passed, $failed failed"
((failed == 0))
