#!/bin/sh
# new_daemon.sh BUILD_DIR COMPILER: installs the library to a new directory and there makes a daemon, which is built without
# a warning and passes its own test. Its reports to a service manager, its scripts and its unit are tried as well.
# Then what is refused. Without root, busybox or systemd-analyze the test counts as skipped (status 77), at the end.
set -eu
build=$1 compiler=$2 here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >"$work/install.log"
new_daemon=$prefix/bin/brindle-new-daemon

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

cd "$work"
"$new_daemon" --help | grep '^  brindle-new-daemon NAME'
"$new_daemon" pump-1d
if grep -r '@NAME@' pump-1d; then fail 'the name is not everywhere'; fi
built=$work/built
cmake -G Ninja -S "$work/pump-1d" -B "$built" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >"$work/configure.log"
cmake --build "$built"
ctest --test-dir "$built" --no-tests=error --output-on-failure

# ends_with STATUS WHY: the daemon that was started last.
ends_with() {
    status=0
    wait "$daemon" || status=$?
    [ "$status" -eq "$1" ] || fail "$2: status $status, not $1"
}

# Started with both signals blocked, and its start blocks as well.
mkfifo never
env --block-signal=INT,TERM "$built/pump-1d" --config never &
daemon=$!
exec 3>never
kill -s TERM "$daemon"
ends_with 145 'started with the signals blocked'
exec 3>&-

# The system makes no thread for an expiry, since the daemon may have no more memory.
mkfifo speech
"$built/pump-1d" --interval 2 >speech 2>complaint &
daemon=$!
exec 3<speech
read -r line <&3
until grep -q '^State:.S' "/proc/$daemon/status"; do :; done # its timer has started
prlimit --pid "$daemon" --as=1
ends_with 1 'no thread for an expiry'
exec 3<&-
grep 'no expiry for three periods' complaint
echo "heard '$line'"

cmake --install "$built"
echo interval=7 >"$prefix/etc/pump-1d.conf"
cmake --install "$built" >"$work/again.log"
grep -qx interval=7 "$prefix/etc/pump-1d.conf" || fail 'a new installation overwrites the settings'
for script in openrc init procd; do
    rm -f "$prefix/etc/init.d/pump-1d" # has OpenRC's until procd's comes
    cmake --install "$built" --component "$script"
done
"$prefix/sbin/pump-1d" --help | grep -F "Default: $prefix/etc/pump-1d.conf"
unit=$prefix/lib/systemd/system/pump-1d.service
# What test.sh has found both signals to end the daemon with.
grep -x 'SuccessExitStatus=132 145' "$unit"
"$here/notify.py" "$prefix/sbin/pump-1d"

# The scripts for small systems. script/lint checks OpenRC's, which is not started here.
skipped=
if [ "$(id -u)" -eq 0 ] && command -v busybox && unshare --mount true; then
    unshare --mount "$here/services.sh" "$prefix" "$work"
else
    skipped='the scripts for busybox and procd, which need root, mount namespaces and busybox'
fi

# refused COMPLAINT NAME [DIRECTORY]: in one line, with status 2, and with nothing done.
refused() {
    complaint=$1
    shift
    find "$work/refusals" >"$work/before"
    status=0
    (cd "$work/refusals" && "$new_daemon" "$@" 2>"$work/said") || status=$?
    find "$work/refusals" | diff "$work/before" -
    [ "$status" -eq 2 ] || fail "new-daemon $*: status $status"
    { [ "$(grep -c '' "$work/said")" -eq 1 ] && grep -F "$complaint" "$work/said"; } || fail "$(cat "$work/said")"
}
mkdir "$work/refusals" "$work/refusals/full"
touch "$work/refusals/full/.hidden" "$work/refusals/file"
for name in 9pump -pump --faster pump- Pump 'pump house' pump/house pump.d pump_d 'pümp' "pump
house"; do
    refused 'is not a name for a daemon: take 1 to 31 lower-case letters' "$name"
done
for name in '' abcdefghijklmnopqrstuvwxyz-12345; do refused 'characters: take 1 to 31' "$name"; done
for name in all clean help install package test brindle root www-data nogroup; do refused "take another name, such as ${name}d" "$name"; done
refused 'usage: ' pump here there
refused 'is not empty' pump full
refused 'is there, and no directory' pump full/.hidden

# Where the longest name and an empty directory will do; but a file may have no more than 512 bytes, or 1,024.
cd "$work/refusals"
mkdir empty
find . >"$work/before"
for directory in empty new; do
    (ulimit -f 1 && exec "$new_daemon" abcdefghijklmnopqrstuvwxyz-1234 "$directory") 2>&1 | cat >"$work/said"
    grep "'$directory' could not be written, and nothing is left of it" "$work/said"
    find . | diff "$work/before" -
done
(cd empty && "$new_daemon" abcdefghijklmnopqrstuvwxyz-1234 .)

if [ -n "$skipped" ] || ! command -v systemd-analyze; then
    echo "skipped: ${skipped:-the unit, which needs systemd-analyze}"
    exit 77
fi
# It also ends with 0 where it only ignores a line.
if ! systemd-analyze verify "$unit" >"$work/said" 2>&1 || grep pump-1d "$work/said"; then fail "$(cat "$work/said")"; fi
# In tenths: the unit reaches 0.2, of 10 for one that is exposed to everything.
systemd-analyze security --no-pager --offline=true --threshold=2 "$unit" >"$work/security" || fail "$(cat "$work/security")"
tail -n 1 "$work/security"
