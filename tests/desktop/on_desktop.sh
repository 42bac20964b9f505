#!/bin/bash
# on_desktop.sh PROGRAM [ARGS...]: runs a Windows program on a virtual screen of its own and passes its output
# and exit status on.
set -euo pipefail
coproc screen { exec Xvfb -displayfd 1 -screen 0 1024x768x24 -nolisten tcp 2>/dev/null; }
# shellcheck disable=SC2154  # set by coproc
trap 'kill "$screen_PID" 2>/dev/null || true' EXIT
if ! read -r -t 30 number <&"${screen[0]}"; then
    echo "no virtual screen: Xvfb did not start"
    echo "0 passed, 1 failed"
    exit 1
fi
# The process that holds Wine's desktop outlives the last program without a screen by a second; a
# program started meanwhile would get that desktop and show nothing.
sleep 3
# Ending the screen makes Wine's desktop process complain after the program's last line.
status=0
DISPLAY=:$number "$KEL_WINE_RUN" "$KEL_WIDTH" "$@" 2> >(grep -v '^X connection' >&2) || status=$?
exec 2>/dev/null
exit "$status"
