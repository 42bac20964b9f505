#!/bin/bash
# on_desktop.sh PROGRAM [ARGS...]: runs a Windows program on a virtual screen of its own and passes
# its output and exit status on.
exec "${KEL_WINE_RUN%/*}/on-screen" "$KEL_WINE_RUN" "$KEL_WIDTH" "$@"
