#!/bin/bash
# fetch_sqlite.sh SOURCES: how the storage engine's source is fetched, from a registry on this machine
# and by an npm that is a script. SOURCES is the folder with the right files.
set -euo pipefail
fetch=${BASH_SOURCE[0]%/*}/../../cmake/driver/fetch-sqlite
work=$(mktemp -d)
server=
trap 'kill $server 2>/dev/null || true; rm -rf "$work"' EXIT
passed=0 failed=0
name=$(sed -n 's/^readonly PACKAGE=\([^ ]*\) VERSION=\(.*\)/\1-\2.tgz/p' "$fetch")
package=${name%-*}

# An archive as the registry has it; with an argument, one line of that in the place of the source.
archive() {
    rm -rf "${work:?}/package"
    mkdir -p "$work/package/deps/sqlite3" "$work/registry/$package/-"
    cp "$sources"/sqlite3.[ch] "$work/package/deps/sqlite3/"
    (($# == 0)) || echo "$1" >"$work/package/deps/sqlite3/sqlite3.c"
    tar -czf "$work/registry/$package/-/$name" -C "$work" package
}

# try ADDRESS NPM: fetches into an empty cache with an .npmrc of that address and with that npm; leaves
# status and words.
try() {
    rm -rf "${work:?}/home"
    mkdir -p "$work/home" "$work/bin"
    printf 'registry=%s\n' "$1" >"$work/home/.npmrc"
    printf '#!/bin/bash\n[[ "$1" != config ]] || { sed "s/.*=//" "$HOME/.npmrc"; exit; }\n%s\n' "$2" >"$work/bin/npm"
    chmod +x "$work/bin/npm"
    status=0
    words=$(env -u XDG_CACHE_HOME HOME="$work/home" PATH="$work/bin:$PATH" no_proxy=127.0.0.1 "$fetch" 2>&1) || status=$?
}

has() { [[ "$words" == *"$1"* ]]; }
right_files() { cmp -s "$sources/sqlite3.c" "$(tail -n 1 <<<"$words")/sqlite3.c"; }

check() { # WHAT COMMAND...
    local what=$1
    shift
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf 'FAILED: %s (status %s)\n%s\n' "$what" "$status" "$words"
    fi
}

sources=$1
mkdir -p "$work/registry"
python3 -u -m http.server --bind 127.0.0.1 --directory "$work/registry" 0 >"$work/server.log" 2>&1 &
server=$!
for _ in {1..100}; do
    port=$(sed -n 's/.*port \([0-9]*\).*/\1/p' "$work/server.log")
    [[ -z "$port" ]] || break
    sleep 0.1
done

archive
try "http://127.0.0.1:$port/" 'echo "npm was asked"; exit 1'
check "comes from the registry that is set" right_files
check "npm is not asked then" test "$status" = 0
try "http://127.0.0.1:1/" "cp '$work/registry/$package/-/$name' ."
check "npm brings it where the registry does not" right_files
try "http://127.0.0.1:1/" 'echo "npm error code E418" >&2; exit 1'
check "fails where both fail" test "$status" != 0
check "npm's own words are shown" has "E418"
archive "int other;"
try "http://127.0.0.1:$port/" 'echo "npm error code E418" >&2; exit 1'
check "another source is not taken" test "$status" != 0
check "it is said that it is another" has "does not hold the expected"
check "npm is asked for a better one" has "E418"
check "nothing of it stays" test -z "$(ls "$work/home/.cache/kelSDK")"

echo "$passed passed, $failed failed"
