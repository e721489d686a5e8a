#!/usr/bin/env bash
# transcripts.bash FILE...: runs the commands of each FILE's ```console blocks and compares what they print with what it
# says.
# A command is a line that begins with "$ ". A last line that begins with "^C" stands for SIGINT sent at that moment, and
# "kill -TERM" in a command's comment for SIGTERM; it is sent when all the lines before the last have come.
# Any UUID is as good as any other. Last of all, a SIGTERM that no FILE can show: one that comes before the loop waits.
set -uo pipefail

failures=0
commands=0
status=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
output=$scratch/output
program=$(type -P heartbeat)
# Programs of their own, since the commands name the examples alone and "exec" takes no function.
if [ -n "${BRINDLE_EMULATOR:-}" ]; then
    for example in heartbeat minimal entries; do
        printf '#!/bin/sh\nexec %s %s "$@"\n' "$BRINDLE_EMULATOR" "${program%/*}/$example" >"$scratch/$example"
        chmod +x "$scratch/$example"
    done
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
    if ! diff -u -L "said in $file" -L printed <(printf '%s' "$expected" | hide_uuids) <(hide_uuids <"$output"); then
        echo "^^^ $command" >&2
        failures=$((failures + 1))
    fi
}

for file; do
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
done

# heartbeat opens its settings after init(), and gets no further before they end. A signal does not end the reading.
mkfifo "$scratch/settings"
# shellcheck disable=SC2016 # check expands it
check 'heartbeat --config "$scratch/settings" --interval 30 & exec 3>"$scratch/settings"
    kill -s INT $!; wait $!; echo $?' \
    $'132\n'

# A callback that cannot write; values at their bounds, and beyond.
# shellcheck disable=SC2016
check 'heartbeat | head -n 1; echo ${PIPESTATUS[0]}' \
    $'heartbeat: run UUID\nheartbeat: write to standard output: Broken pipe\n1\n'
check 'heartbeat --beats=1000000 --interval=1 --help | grep Usage' $'Usage: heartbeat [options]\n'
# shellcheck disable=SC2016
check 'for wrong in 0 1000001 3x 99999999999; do heartbeat --beats=$wrong; done 2>&1 | grep -c "is not a whole number"; heartbeat --name= 2>&1 | head -n 1; heartbeat --config /
    heartbeat --faster 2>/dev/null; echo $?' \
    $'4\nheartbeat: --name: may not be empty\nheartbeat: \'/\': Is a directory\n2\n'

# shellcheck disable=SC2016
check 'exec 4> >(:); wait $!; heartbeat >&4; echo $?; exec 4>&-' \
    $'heartbeat: write to standard output: Broken pipe\n1\n'
if [ -z "${BRINDLE_EMULATOR:-}" ]; then # which has timers of its own
    check '(ulimit -i 0; heartbeat)' $'heartbeat: run UUID\nheartbeat: start the timer: Resource temporarily unavailable\n'
fi
mkdir "$scratch/bin" "$scratch/etc"
cp "$program" "$scratch/bin"
echo "name=usual beats=1" >"$scratch/etc/heartbeat.conf"
# shellcheck disable=SC2016
check '${BRINDLE_EMULATOR:-} "$scratch/bin/heartbeat"' $'usual: run UUID\nusual: beat 1\n'

echo "$commands commands, $failures differ"
[ "$commands" -gt 1 ] && [ "$failures" -eq 0 ]
