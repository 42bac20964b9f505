# shellcheck shell=bash
# `./kel check --faults [TABLE...]`: which small faults in the portable library no test sees.

check_faults() {
    ensure_preset_packages host
    ensure_sqlite
    locked faults python3 -B "$KEL_ROOT/cmake/driver/faults.py" "$KEL_ROOT" "$@"
}
