#!/usr/bin/env bash
# transcripts.bash FILE: runs the commands of FILE's ```console blocks and compares what they print with what FILE says.
# A command is a line that begins with "$ ". A last line that begins with "^C" stands for SIGINT sent at that moment, and
# "kill -TERM" in a command's comment for SIGTERM; it is sent when all the lines before the last have come.
# Any UUID is as good as any other.
set -uo pipefail

failures=0
commands=0
status=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
output=$scratch/output
# A program of its own, since the commands name heartbeat alone and "exec" takes no function.
if [ -n "${BRINDLE_EMULATOR:-}" ]; then
    printf '#!/bin/sh\nexec %s %s "$@"\n' "$BRINDLE_EMULATOR" "$(type -P heartbeat)" >"$scratch/heartbeat"
    chmod +x "$scratch/heartbeat"
    PATH=$scratch:$PATH
fi

# run_until_signal SIGNAL COMMAND LINES: adds the command's lines to $output, and sends the signal after so many.
run_until_signal() {
    local line lines=0
    exec {out}< <(eval "exec $2" 2>&1)
    local pid=$!
    while IFS= read -r line <&"$out"; do
        printf '%s\n' "$line" >>"$output"
        lines=$((lines + 1))
        if [ "$lines" -eq "$3" ]; then kill -s "$1" "$pid"; fi
    done
    exec {out}<&-
    wait "$pid"
}

hide_uuids() {
    sed -E 's/[0-9a-fA-F]{8}(-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12}/UUID/'
}

check() { # check COMMAND EXPECTED
    local command=$1 expected=$2 signal=
    commands=$((commands + 1))
    case $command in *"kill -TERM"*) signal=TERM ;; esac
    case $expected in *$'\n^C'*) signal=INT ;; esac
    : >"$output"
    if [ -n "$signal" ]; then
        expected=${expected/$'\n^C'/$'\n'}
        run_until_signal "$signal" "${command%%#*}" "$(($(wc -l <<<"$expected") - 2))"
    else
        (exit "$status")
        eval "$command" >"$output" 2>&1
    fi
    status=$?
    if ! diff -u --label "said in $file" --label printed <(printf '%s' "$expected" | hide_uuids) <(hide_uuids <"$output"); then
        echo "^^^ $command" >&2
        failures=$((failures + 1))
    fi
}

file=$1
command=
expected=
inside=0
while IFS= read -r line; do
    case $inside$line in
        '0```console') inside=1 ;;
        0*) ;;
        '1```' | '1$ '*)
            [ -z "$command" ] || check "$command" "$expected"
            command=${line#'$ '}
            expected=
            if [ "$line" = '```' ]; then inside=0 command=; fi
            ;;
        *) expected+=$line$'\n' ;;
    esac
done <"$file"

echo "$commands commands, $failures differ"
[ "$commands" -gt 0 ] && [ "$failures" -eq 0 ]
