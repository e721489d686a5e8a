#!/bin/bash
# services.sh PREFIX WORK: starts, reloads and stops the daemon pump-1d by its scripts for busybox and for procd. Runs in a
# mount namespace, where /dev and /run are the test's, and so is the receiver behind /dev/log.
set -euo pipefail
prefix=$1 work=$2 here=$(cd "$(dirname "$0")" && pwd)
settings=$prefix/etc/pump-1d.conf
export PIDFILE=$work/run/pump-1d.pid OUTPUT=$work/log

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

is_running() {
    [ "$(readlink "/proc/$1/exe")" = "$prefix/sbin/pump-1d" ]
}

finish() {
    kill "$logger"
    if is_running "$(cat "$PIDFILE" 2>/dev/null)"; then kill -s KILL "$(cat "$PIDFILE")"; fi
}

chmod 755 "$work" # the daemon is nobody
mkdir "$work/dev" "$work/run" "$work/tools"
for device in null zero urandom; do
    touch "$work/dev/$device"
    mount --bind "/dev/$device" "$work/dev/$device"
done
mount --rbind "$work/dev" /dev
mount --bind "$work/run" /run
ln -s "$(command -v busybox)" "$work/tools/start-stop-daemon"
export PATH=$work/tools:$PATH
mkfifo "$OUTPUT"
exec 3<>"$OUTPUT"
"$here/syslog.py" /dev/log >&3 &
logger=$!
trap finish EXIT
until [ -S /dev/log ]; do kill -0 "$logger"; done

# logs LINE: the next but jobs, and but what a daemon says that is stopped right after its start.
logs() {
    while read -r -t 60 line <&3; do
        case $line in *'job '*' done' | *'a job every 7 s') ;; *) break ;; esac
    done
    [ "$line" = "$1" ] || fail "the log has '$line', not '$1'"
    echo "$line"
}

# a_life SYSTEM INFO ERR COMMAND...: the log marks a line with INFO or ERR. A stop right after the start comes first.
a_life() {
    local system=$1 info=$2 err=$3 pid
    shift 3
    echo interval=7 >"$settings" # what is said of it is skipped
    "$@" start
    pid=$(cat "$PIDFILE")
    "$@" stop
    while is_running "$pid"; do :; done
    echo interval=1 >"$settings"
    "$@" start
    pid=$(cat "$PIDFILE")
    logs "${info}a job every 1 s"
    [ "$(stat -c %U "/proc/$pid")" = nobody ] || fail "$system: it is not nobody"
    echo interval=86400 >"$settings"
    "$@" reload
    logs "${info}a job every 86400 s"
    echo interval=x >"$settings"
    "$@" reload
    logs "$err'$settings': interval: 'x' is not a whole number from 1 to 86400"
    is_running "$pid" || fail "$system: a mistake in the file ends it"
    "$@" stop
    while is_running "$pid"; do :; done
    echo "$system: started, reloaded and stopped"
}

a_life busybox 'info ' 'err ' /bin/sh "$prefix/etc/init.d/S50pump-1d"
if [ -e "$PIDFILE" ]; then fail 'busybox: the stop leaves its file'; fi
# A stop leaves the process alone that a stale file names. Why a start fails is in the log.
echo $$ >"$PIDFILE"
/bin/sh "$prefix/etc/init.d/S50pump-1d" stop
/bin/sh "$prefix/etc/init.d/S50pump-1d" start || true # it may run for a moment
logs "err '$settings': interval: 'x' is not a whole number from 1 to 86400"
a_life procd '' 'pump-1d: ' "$here/rc.common" "$prefix/etc/init.d/pump-1d"

# The default file lies in a directory that the daemon may not search.
chmod 700 "$prefix/etc"
status=0
said=$(start-stop-daemon -S -c nobody -x "$prefix/sbin/pump-1d" 2>&1) || status=$?
[ "$status: $said" = "2: pump-1d: '$settings': Permission denied" ] || fail "$status: $said"

# The system makes no thread: a user that runs nothing else may have one.
status=0
said=$(prlimit --nproc=1 setpriv --reuid=61234 --clear-groups "$prefix/sbin/pump-1d" 2>&1) || status=$?
[ "$status: $said" = '1: pump-1d: make the thread for signals: Resource temporarily unavailable' ] || fail "$status: $said"
