#!/usr/bin/env bash
# configuration_table.bash PROGRAM PAGE...: PROGRAM (examples/entries) reads what each row of the pages' tables puts into a
# file, and its entries are compared. Cells are for printf; a "nothing" has no backquotes.
set -uo pipefail
program=$1
shift
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

rows=0
failures=0
while IFS='|' read -r _ content entries _; do
    rows=$((rows + 1))
    content=${content#*\`}
    content=${content%\`*}
    printf '%b' "$content" >"$scratch/content"
    # shellcheck disable=SC2016 # backquotes: each entry goes on a line of its own, without them
    entries=$(sed -E 's/^ *nothing *$//; s/`, `/\n/g; s/^ *`|` *$//g' <<<"$entries")
    printf '%b' "${entries:+$entries\n}" >"$scratch/expected"
    # shellcheck disable=SC2086 # words
    ${BRINDLE_EMULATOR:-} "$program" "$scratch/content" >"$scratch/found"
    if ! diff -a -L "said of $content" -L found -u "$scratch/expected" "$scratch/found"; then
        failures=$((failures + 1))
    fi
done < <(grep -h '^| `' "$@")

echo "$rows rows, $failures differ"
[ "$rows" -gt 20 ] && [ "$failures" -eq 0 ]
