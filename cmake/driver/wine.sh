# shellcheck shell=bash disable=SC2154
# Private Wine prefixes under build/, one per Windows preset ("width" here): making them, registering our DLLs in them,
# running programs in them.

# How long an idle Wine server stays, in seconds: consecutive runs start warm, nothing stays for ever.
readonly KEL_SERVER_LINGERS=300

# Sets wine_loader and wine_server (commands, as arrays) and the environment for one width.
use_wine() {
    local width=$1
    export WINEPREFIX="$KEL_BUILD/wine-$width"
    export WINEDEBUG="${WINEDEBUG--all}"
    # Those of another Wine, if the user has one, would lead away from ours.
    unset WINELOADER WINESERVER WINEDLLPATH

    # Wine reads arguments and file names in the character set of the locale; ASCII means that there
    # is none, or one that is not installed.
    [[ "$(locale charmap 2>/dev/null)" == UTF-8 ]] || export LC_ALL=C.UTF-8

    if [[ "${width%-checked}" == x64 ]]; then
        export WINEARCH=win64
        wine_loader=(/usr/lib/wine/wine64)
        wine_server=(/usr/lib/wine/wineserver64)
        return
    fi
    export WINEARCH=win32
    wine_loader=(/usr/lib/wine/wine)
    wine_server=(/usr/lib/wine/wineserver)
    find_wine32
    case "$wine32_kind" in
        tree)
            local enter=("$KEL_ROOT/cmake/driver/enter-tree32" "$KEL_TREE32")
            wine_loader=("${enter[@]}" "${wine_loader[@]}")
            wine_server=("${enter[@]}" "${wine_server[@]}")
            ;;
        none) fail "no 32-bit run: $wine32_why" ;;
    esac
}

# Runs a Windows command for our own purposes, with its output in a log, detached from terminal and
# pipes: Wine's background services keep what they inherit for as long as they live.
wine_quietly() {
    mkdir -p "$KEL_BUILD"
    setsid --wait "${wine_loader[@]}" "$@" >>"$KEL_BUILD/wine.log" 2>&1 </dev/null 9>&-
}

# Starts the server with all its services, unless it is running.
start_server() {
    setsid --wait "${wine_server[@]}" "-p$KEL_SERVER_LINGERS" >/dev/null 2>&1 </dev/null 9>&- ||
        return 0 # already there
    wine_quietly cmd /c exit
}

# Processes that use a prefix leave a file named by their process id, so that the first test run to
# end does not stop the server under somebody else.
announce_use() {
    mkdir -p "$KEL_BUILD/wine-$1.users"
    : >"$KEL_BUILD/wine-$1.users/$BASHPID"
}

end_use() { rm -f "$KEL_BUILD/wine-$1.users/$BASHPID"; }

in_use() {
    local file
    for file in "$KEL_BUILD/wine-$1.users"/*; do
        [[ -e "$file" ]] || continue
        # A process that ended but was not collected by its parent has no program any more.
        [[ -e "/proc/${file##*/}/exe" ]] && return 0
        rm -f "$file"
    done
    return 1
}

stop_server() {
    local width=$1
    [[ -d "$KEL_BUILD/wine-$width" ]] || return 0
    in_use "$width" && return 0
    (
        use_wine "$width"
        "${wine_server[@]}" -k >/dev/null 2>&1 </dev/null || true
    )
}

# Makes the prefix; a prefix without the mark at the end was interrupted and is made again.
make_prefix() {
    local mark="$WINEPREFIX/.complete"
    [[ -f "$mark" ]] && return 0
    say "making the Wine prefix $WINEPREFIX"
    "${wine_server[@]}" -k >/dev/null 2>&1 </dev/null 9>&- || true
    rm -rf "$WINEPREFIX"
    # Without these overrides Wine asks about installing .NET and a browser when it has a display,
    # and puts entries into the user's own menus.
    WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=" wine_quietly wineboot -i ||
        fail "making the Wine prefix failed (see $KEL_BUILD/wine.log)"
    # A crashed program prints where it crashed and then ends with the exception as its exit status.
    # The debugger's usual mode shows a dialog where there is a display, and its way of ending the
    # program sometimes makes the exit status 0.
    wine_quietly reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' \
        /v Debugger /d 'winedbg --command detach %ld %ld' /f
    # Debian keeps Wine's own fonts where Wine does not look: the letters and signs of windows.
    cp /usr/share/wine/fonts/{marlett,tahoma,tahomabd}.ttf "$WINEPREFIX/drive_c/windows/Fonts/"
    "${wine_server[@]}" -k >/dev/null 2>&1 </dev/null 9>&- || true
    touch "$mark"
}

# Unix path to the path a Windows program knows it by.
windows_path() {
    local path="Z:$1"
    printf '%s' "${path//\//\\}"
}

# Registers every DLL of this width that can register itself, the product's and those the tests
# bring, if it has changed since the last time.
register_dlls() {
    local width=$1 dll sum
    for dll in "$KEL_BUILD/$width/bin"/*.dll "$KEL_BUILD/$width/tests"/*.dll; do
        [[ -f "$dll" ]] || continue
        grep -qa DllRegisterServer "$dll" || continue
        sum=$(sha256sum "$dll") # with the path in it: a moved checkout registers anew
        local mark="$WINEPREFIX/.registered-${dll##*/}"
        [[ -f "$mark" && "$(<"$mark")" == "$sum" ]] && continue
        say "registering ${dll##*/} ($width)"
        rm -f "$mark"
        wine_quietly regsvr32 /s "$(windows_path "$dll")" ||
            fail "${dll##*/} ($width) could not be registered (see $KEL_BUILD/wine.log)"
        printf '%s\n' "$sum" >"$mark"
    done
}

make_prefix_and_register() {
    make_prefix
    start_server
    register_dlls "$1"
}

# Leaves the prefix of this width ready: made, server running, everything registered.
prepare_wine() {
    use_wine "$1"
    locked "wine-$1" make_prefix_and_register "$1"
}

# become_program WIDTH PROGRAM [ARGS...]: replaces this process by the Windows program or script.
# The prefix must have been prepared. Only the lower 8 bits of an exit status survive on Unix.
become_program() {
    local width=$1 program=$2
    shift 2
    if [[ ! -f "$program" && "$program" != */* && -f "$KEL_BUILD/$width/bin/$program" ]]; then
        program="$KEL_BUILD/$width/bin/$program"
    fi
    [[ -f "$program" ]] || fail "no such program: $program"
    program=$(readlink -f -- "$program")

    use_wine "$width"
    [[ -f "$WINEPREFIX/.complete" ]] || fail "nothing is set up for $width yet: run ./kel build first"
    start_server
    announce_use "$width"
    case "${program,,}" in
        *.vbs | *.js | *.wsf)
            exec "${wine_loader[@]}" cscript.exe //nologo "$(windows_path "$program")" "$@" 9>&-
            ;;
        *) exec "${wine_loader[@]}" "$program" "$@" 9>&- ;;
    esac
}
