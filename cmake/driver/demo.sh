# shellcheck shell=bash disable=SC2154
# `./kel demo`: the demonstration, then the form, which works its own windows like a person.

# A display of the user's is used where there is one; otherwise the form gets a virtual one.
readonly KEL_DEMO="$KEL_BUILD/demo"
readonly KEL_NO_SCREEN=3 # exit status of the form and of on-screen

# Whether the form's windows lie in one window of their own, with frames drawn by Wine: without it
# frames are a window manager's, which a virtual screen does not have and a picture does not show.
frame_form() { # on|off
    local program='HKCU\Software\Wine\AppDefaults\kelform.exe\Explorer'
    (
        use_wine x64
        if [[ "$1" == on ]]; then
            wine_quietly reg add "$program" /v Desktop /d kelform /f
            wine_quietly reg add 'HKCU\Software\Wine\Explorer\Desktops' /v kelform /d 1280x800 /f
        else
            wine_quietly reg delete "$program" /f
        fi
    )
}

# work_form [COMMAND...]: the self-test, run by that command.
work_form() {
    "$@" "$KEL_ROOT/cmake/driver/wine-run" x64 "$KEL_BUILD/x64/bin/kelform.exe" --selftest \
        --lists "$(windows_path /usr/share/iso-codes/json)" --pictures "$(windows_path "$KEL_DEMO")"
}

show_form() {
    local status=$KEL_NO_SCREEN
    printf '\n== The form at work: types, tabs and clicks by itself\n\n'
    rm -f "$KEL_DEMO"/*.png
    frame_form on
    if [[ "${DISPLAY:-}" ]]; then
        status=0
        work_form || status=$?
        ((status != KEL_NO_SCREEN)) || say "the display $DISPLAY cannot be used; taking a virtual one"
    fi
    if ((status == KEL_NO_SCREEN)); then
        status=0
        work_form "$KEL_ROOT/cmake/driver/on-screen" || status=$?
    fi
    frame_form off
    case "$status" in
        0)
            printf '\nThe form did as expected. Pictures of its windows:\n'
            printf '  %s\n' "$KEL_DEMO"/*.png
            ;;
        "$KEL_NO_SCREEN")
            printf '\n*** THE FORM WAS NOT SHOWN AND NOT TRIED: there is no display and none could be made.\n'
            return 0
            ;;
        *) printf '\n*** THE FORM FAILED ITS OWN CHECKS (exit status %d); look for FAIL above.\n' "$status" ;;
    esac
    return "$status"
}

kel_demo() {
    no_arguments demo $#
    local status=0 begun=$SECONDS
    ensure_preset_packages x64
    ensure_sqlite
    say "packages and sources are there: $(elapsed "$begun")"
    begun=$SECONDS
    build_preset x64 "${KEL_COMPONENT[@]}" kel_demo kelform
    say "built: $(elapsed "$begun")"
    begun=$SECONDS
    (prepare_wine x64)
    say "Wine is ready: $(elapsed "$begun")"
    mkdir -p "$KEL_DEMO"
    (become_program x64 "$KEL_BUILD/x64/bin/demo.exe" \
        "$(windows_path /usr/share/iso-codes/json)" "$(windows_path "$KEL_DEMO/demo.account")") || status=$?
    show_form || status=1
    stop_server x64
    return "$status"
}
