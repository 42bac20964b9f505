# shellcheck shell=bash disable=SC2034
# What every part of the driver shares: folders, messages, locks. Expects KEL_ROOT.

readonly KEL_BUILD="$KEL_ROOT/build"
readonly KEL_CACHE="${XDG_CACHE_HOME:-$HOME/.cache}/kelSDK"

# Messages go to stderr: stdout belongs to the program that `run` starts.
say() { printf 'kel: %s\n' "$*" >&2; }

fail() {
    say "$*"
    exit 1
}

# elapsed SINCE: what has passed since $SECONDS was that, in words.
elapsed() {
    local seconds=$((SECONDS - $1))
    if ((seconds < 60)); then
        printf '%d s' "$seconds"
    else
        printf '%d min %d s' $((seconds / 60)) $((seconds % 60))
    fi
}

# A mistake in the command line.
fail_usage() {
    printf 'kel: %s\nTry "./kel help".\n' "$*" >&2
    exit 2
}

# locked NAME COMMAND...: runs the command in a subshell, alone in this checkout under that name.
# Whatever stays behind after the command must not inherit descriptor 9, or the lock outlives it.
locked() {
    local name=$1
    shift
    mkdir -p "$KEL_BUILD"
    (
        if ! flock --nonblock 9; then
            say "waiting for another kel to finish ($name)"
            flock 9
        fi
        "$@"
    ) 9>"$KEL_BUILD/.lock-$name"
}
