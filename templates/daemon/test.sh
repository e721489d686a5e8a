#!/bin/sh
# test.sh COMMAND...: starts the daemon with this command (its path, perhaps after an emulator), sends signals, and
# checks its exit status. Waits for its messages and its state, never for a time.
set -eu
work=$(mktemp -d)
daemon='' filler=''
trap 'kill -s KILL $daemon $filler 2>/dev/null || :; rm -rf "$work"' EXIT
mkfifo "$work/said" "$work/settings"
echo interval=1 >"$work/good"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# hears LINE: expects this as the next line of the daemon.
hears() {
    read -r line <&3 || fail "it ended before it said '$1'"
    [ "$line" = "$1" ] || fail "it said '$line', not '$1'"
}

# ends_with STATUS WHY: expects this exit status, and discards unread output.
ends_with() {
    status=0
    wait "$daemon" || status=$?
    daemon=
    exec 3<&-
    [ "$status" -eq "$1" ] || fail "$2: status $status, not $1"
    echo "$2: status $1"
}

# complains WHAT: expects one line on standard error that contains WHAT.
complains() {
    if [ "$(grep -c '' "$work/complaint")" -ne 1 ] || ! grep -qFe "$1" "$work/complaint"; then
        fail "not one line with '$1': $(cat "$work/complaint")"
    fi
}

for signal in TERM INT; do
    "$@" --config "$work/good" >"$work/said" &
    daemon=$!
    exec 3<"$work/said"
    hears 'a job every 1 s'
    hears 'job 1 done'
    [ -e "/proc/$daemon/status" ] || fail 'there is no /proc, which shows whether the main thread sleeps'
    until grep -q '^State:.[SZ]' "/proc/$daemon/status"; do :; done # until the main thread sleeps in its loop
    kill -s "$signal" "$daemon"
    if [ "$signal" = TERM ]; then ends_with 145 SIGTERM; else ends_with 132 SIGINT; fi
done

# A start that blocks in a pipe without settings, which it opens after it handles signals. SIGHUP does not end it.
for signal in TERM INT; do
    "$@" --config "$work/settings" >"$work/said" &
    daemon=$!
    exec 3<"$work/said" 4>"$work/settings"
    kill -s HUP "$daemon"
    kill -s "$signal" "$daemon"
    if [ "$signal" = TERM ]; then ends_with 145 'SIGTERM in the start'; else ends_with 132 'SIGINT in the start'; fi
    exec 4>&-
done

# A reload takes the new interval, and keeps the old one after an error.
# hears_after_jobs LINE: like hears, but skips jobs.
hears_after_jobs() {
    while read -r line <&3; do
        case $line in job*) ;; *) break ;; esac
    done
    [ "$line" = "$1" ] || fail "it said '$line', not '$1'"
}
cp "$work/good" "$work/changing"
"$@" --config "$work/changing" >"$work/said" 2>&1 &
daemon=$!
exec 3<"$work/said"
hears 'a job every 1 s'
echo interval=86400 >"$work/changing"
kill -s HUP "$daemon"
hears_after_jobs 'a job every 86400 s'
echo interval=never >"$work/changing"
kill -s HUP "$daemon"
hears "@NAME@: '$work/changing': interval: 'never' is not a whole number from 1 to 86400"
cp "$work/good" "$work/changing"
kill -s HUP "$daemon"
hears 'a job every 1 s'
read -r line <&3
case $line in job*) ;; *) fail "after the reloads it said '$line'" ;; esac
kill -s TERM "$daemon"
ends_with 145 'three reloads'

"$@" --config "$work/good" >/dev/full 2>"$work/complaint" &
daemon=$!
ends_with 1 'no room for output'
complains 'write to standard output: '

"$@" --config "$work/good" >"$work/said" 2>"$work/complaint" &
daemon=$!
exec 3<"$work/said"
hears 'a job every 1 s'
exec 3<&-
ends_with 1 'a worker that fails'
complains 'write to standard output: '

# The worker is blocked in a full pipe, and jobs accumulate.
exec 3<>"$work/said"
"$@" --config "$work/good" >"$work/said" 2>"$work/complaint" 3>&- &
daemon=$!
hears 'a job every 1 s'
yes >"$work/said" 3>&- &
filler=$!
ends_with 1 'a worker that is stuck'
filler= # ends with the pipe
complains '3 jobs wait for it'

# refuses SETTINGS COMPLAINT COMMAND...: expects status 2 and this complaint.
refuses() {
    echo "$1" >"$work/bad"
    complaint=$2
    shift 2
    timeout 30 "$@" 2>"$work/complaint" & # a daemon that accepts the settings would keep running
    daemon=$!
    ends_with 2 "$complaint"
    complains "$complaint"
}
refuses 'interval=soon' "'$work/bad': interval: 'soon' is not a whole number" "$@" --config "$work/bad"
refuses 'interval = 5' "'=' sets nothing; write interval=5 without blanks" "$@" --config "$work/bad"
refuses '#interval=9' "'#interval=' sets nothing; there are no comments" "$@" --config "$work/bad"
refuses "$(printf '\357\273\277interval=5')" "'\\xef\\xbb\\xbfinterval=' sets nothing" "$@" --config "$work/bad"
refuses "$(printf 'interval=5\033')" "'5\\x1b' is not a whole number" "$@" --config "$work/bad"
refuses '' "--interval: '0' is not a whole number" "$@" --config "$work/bad" --interval 0
refuses '' "'$work': Is a directory" "$@" --config "$work"
refuses '' "'$work/none': No such file or directory" "$@" --config "$work/none"
refuses '' "'stop' is no option" "$@" stop
refuses '' "'stop' is no option" "$@" -si 5 --config "$work/good" --interval=5 stop --help
refuses '' "--interval: 'x' is not a whole number" "$@" --version --interval x
"$@" --version | grep '^@NAME@ [0-9]' || fail '--version'
"$@" --help | grep '^Usage: ' || fail '--help'

"$@" --help >/dev/full 2>"$work/complaint" &
daemon=$!
ends_with 1 'no room for the help'
complains 'write to standard output: '
