# shellcheck shell=bash disable=SC2154,SC2016
# Running the tests of several presets with CTest and adding up what their programs report.

# Runs CTest for a preset, and says which program has ended; its own output goes to a log, each
# program's to a file of its own.
run_ctest() {
    local preset=$1 tree="$KEL_BUILD/$1" begun=$SECONDS
    rm -rf "$tree/test-results"
    { ctest --test-dir "$tree" --no-tests=ignore 2>&1 </dev/null || true; } | tee "$tree/ctest.log" |
        sed -un "s|^ *\([0-9]*/[0-9]*\) Test *#[0-9]*: \([^ ]*\) [ .]*|kel: $preset \1: \2 |p" >&2
    say "$preset is tested: $(elapsed "$begun")"
}

test_names() { ctest --test-dir "$KEL_BUILD/$1" -N | sed -n 's/^ *Test *#[0-9]*: //p'; }

# Adds one preset's results to total_passed, total_failed, total_skipped; shows every failure in full.
add_results() {
    local preset=$1 name result passed failed skipped
    local -i sum_passed=0 sum_failed=0 sum_skipped=0
    while read -r name; do
        result="$KEL_BUILD/$preset/test-results/$name"
        if [[ -f "$result.counts" ]]; then
            read -r passed failed skipped <"$result.counts"
        else
            passed=0 failed=1 skipped=0
            mkdir -p "${result%/*}"
            echo "kel: timed out, or did not start" >>"$result.log"
        fi
        if ((failed > 0)); then
            printf '\n--- %s: %s failed; its output:\n' "$preset" "$name"
            cat "$result.log"
            printf -- '--- end of %s\n\n' "$name"
        fi
        ((sum_passed += passed, sum_failed += failed, sum_skipped += skipped, 1))
    done < <(test_names "$preset")
    echo "$preset: $(counts_line "$sum_passed" "$sum_failed" "$sum_skipped")"
    ((total_passed += sum_passed, total_failed += sum_failed, total_skipped += sum_skipped, 1))
}

counts_line() {
    printf '%d passed, %d failed' "$1" "$2"
    (($3 == 0)) || printf ', %d skipped' "$3"
    printf '\n'
}

# However a test run ends, it leaves no program and no server behind.
finish_tests() {
    local preset
    ((${#jobs[@]} == 0)) || kill "${jobs[@]}" 2>/dev/null || true
    for preset in "${prepared[@]}"; do
        end_use "$preset"
        stop_server "$preset"
    done
}

# test_presets PRESET...: everything is built before anything runs; then the presets run side by
# side, since each has a prefix of its own, and within a preset one test after the other, since the
# tests of one prefix share its registry.
test_presets() {
    local preset job begun number=0
    runnable=() prepared=() jobs=()
    trap finish_tests EXIT
    local -i total_passed=0 total_failed=0 total_skipped=0
    ensure_preset_packages "$@"
    for preset in "$@"; do
        begun=$SECONDS number=$((number + 1))
        say "building $preset ($number of $#: $*), then the tests"
        build_preset "$preset"
        say "$preset is built: $(elapsed "$begun")"
    done
    begun=$SECONDS
    for preset in "$@"; do
        if [[ "${preset%-checked}" == x86 ]]; then
            find_wine32
            if [[ "$wine32_kind" == none ]]; then
                local -i left_out
                left_out=$(test_names "$preset" | wc -l)
                ((left_out > 0)) || left_out=1
                echo "$preset: $left_out test programs not run: $wine32_why"
                ((total_skipped += left_out, 1))
                continue
            fi
        fi
        # Announced before it is prepared: nobody stops the server between the two.
        if [[ "$preset" != host ]]; then
            announce_use "$preset"
            prepared+=("$preset")
            (prepare_wine "$preset")
        fi
        runnable+=("$preset")
    done

    say "Wine is ready: $(elapsed "$begun"); testing ${runnable[*]} side by side"

    # Dates and numbers in texts must not depend on who runs the tests.
    export LC_ALL=C.UTF-8
    for preset in "${runnable[@]}"; do
        run_ctest "$preset" &
        jobs+=($!)
    done
    for job in "${!jobs[@]}"; do
        preset=${runnable[job]}
        wait "${jobs[job]}"
        add_results "$preset"
    done
    jobs=()

    counts_line "$total_passed" "$total_failed" "$total_skipped"
    ((total_failed == 0 && total_passed > 0))
}
