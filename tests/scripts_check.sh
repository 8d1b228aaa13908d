#!/usr/bin/env bash
# Checks what of the scripts and the shell's completions can be told without building: scripts_check.sh ROOT
set -u
root=$1 failures=0

# expect WHAT EXPECTED ACTUAL
expect() {
    [ "$2" != "$3" ] || return 0
    printf '%s\n  expected: %s\n  but is:   %s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

for script in "$root"/scripts/*.sh; do
    name=scripts/$(basename "$script")
    [ "$name" != scripts/lib.sh ] || continue
    "$script" --help >out 2>err </dev/null
    expect "$name --help: status" 0 $?
    expect "$name --help: usage lines" 1 "$(grep -c "^usage: $name" out)"
    expect "$name --help: error stream" "" "$(cat err)"
    "$script" --no-such-option >out 2>err </dev/null
    expect "$name --no-such-option: status" 2 $?
    expect "$name --no-such-option: standard output" "" "$(cat out)"
    expect "$name --no-such-option: error stream" "$("$script" --help | grep '^usage:')" "$(cat err)"
done

[ "$failures" -gt 0 ] || echo "the scripts are in order"
[ "$failures" -eq 0 ]
