#!/bin/sh
# scripts.sh help | quiet | other_user: tries the scripts in script/ in a copy of the tree, without installing or building
# anything: in place of apt-get, sudo and cmake there are stand-ins.
#   help         every script prints its usage, and nothing else happens
#   quiet        what apt and the build say goes into logs, which are named when something fails
#   other_user   script/test says in one line that another user has built; as root, or the test is skipped (status 77)
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
mkdir -p "$tree" "$work/stand-ins" "$work/tmp"
cp -R "$source/script" "$source/benchmarks" "$source/CMakeLists.txt" "$source/CMakePresets.json" "$tree"
export TMPDIR="$work/tmp" PATH="$work/stand-ins:$PATH"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# stand_in COMMAND: the rest of its script comes from standard input.
stand_in() {
    { echo '#!/bin/sh' && echo "echo '$1' \"\$@\" >>'$work/called'" && cat; } >"$work/stand-ins/$1"
    chmod +x "$work/stand-ins/$1"
}

echo 0 >"$work/apt_status"

# An old CMake, so that script/bootstrap wants a newer one.
stand_in cmake <<'END'
if [ "$1" = --version ]; then echo 'cmake version 3.0.0'; exit; fi
seq -f 'line %.0f of the build' 300
exit 1
END
stand_in sudo <<'END'
exec "$@"
END
stand_in apt-get <<END
seq -f 'line %.0f of apt' 300
exit "\$(cat '$work/apt_status')"
END

help() {
    find "$tree" -printf '%p %T@ %s\n' | sort >"$work/before"
    for script in "$tree"/script/*; do
        [ -x "$script" ] || continue
        name=$(basename "$script")
        # From a directory elsewhere, and by a relative path.
        (cd "$work/tmp" && "../tree/script/$name" --help) >"$work/said" 2>"$work/complaints" </dev/null || fail "$name --help: status $?"
        [ ! -s "$work/complaints" ] || fail "$name --help complains: $(cat "$work/complaints")"
        grep -qE "(^|[ /])$name( |\$)" "$work/said" || fail "$name --help shows no usage: $(cat "$work/said")"
        if grep -E '^#|shellcheck' "$work/said"; then fail "$name --help shows its source"; fi
        [ ! -e "$work/called" ] || fail "$name --help calls $(cat "$work/called")"
    done
    "$tree/script/test" release --help | cmp - "$work/help_of_test" || fail '--help behind a preset is no preset'
    find "$tree" -printf '%p %T@ %s\n' | sort | diff "$work/before" - || fail 'a script has changed the tree'
    [ -z "$(ls -A "$work/tmp")" ] || fail "this was left in TMPDIR: $(ls -A "$work/tmp")"
}

# fails_and_names LAST_LINE: script/demo fails, says little, and names a log whose last line is this.
fails_and_names() {
    if "$tree/script/demo" >"$work/said" 2>&1; then fail 'script/demo succeeds without a build'; fi
    cat "$work/said"
    [ "$(grep -c '' "$work/said")" -lt 30 ] || fail 'that was too much'
    log=$(sed -n '$s/.* is in //p' "$work/said")
    grep -qx "$1" "$work/said" || fail "the end of $log is not shown"
    [ "$(cd "$tree" && tail -n 1 "$log")" = "$1" ] || fail "'$log' is not a log that ends with '$1'"
}

quiet() {
    echo 100 >"$work/apt_status"
    fails_and_names 'line 300 of apt'
    rm "$work"/tmp/*
    echo 0 >"$work/apt_status"
    fails_and_names 'line 300 of the build'
    grep -q 'installing.* cmake' "$work/said" || fail 'it does not say what it installs'
    [ -z "$(ls -A "$work/tmp")" ] || fail "this was left in TMPDIR: $(ls -A "$work/tmp")"
}

other_user() {
    if [ "$(id -u)" -ne 0 ]; then
        echo 'scripts.sh: only root can run script/test as another user, so that was not tried'
        exit 77
    fi
    chmod -R a+rX "$work"
    mkdir -p "$tree/build/dev"
    touch "$tree/build/dev/CMakeCache.txt"
    for preset in dev asan; do # one that root has built, and one that is not built
        status=0
        setpriv --reuid=65534 --clear-groups "$tree/script/test" "$preset" >"$work/said" 2>"$work/complaint" || status=$?
        cat "$work/complaint"
        [ "$status" -eq 1 ] || fail "status $status"
        if [ "$(grep -c '' "$work/complaint")" -ne 1 ] || ! grep -q "^script/test: 'build.* belongs to root" "$work/complaint"; then
            fail 'not one line that says who has built'
        fi
        [ ! -e "$work/called" ] || fail "it calls $(cat "$work/called") first"
    done
}

case ${1:-} in
    help)
        "$source/script/test" --help >"$work/help_of_test"
        help
        ;;
    quiet | other_user) "$1" ;;
    *) fail "'${1:-}' is not one of help, quiet, other_user" ;;
esac
