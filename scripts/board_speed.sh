#!/usr/bin/env bash
# What the virtual board costs the programs on it: each beside the same outside, in one run, with 400 more processes on the
# machine, by both ways to put the board's paths in their places. The table goes into docs/performance.md.
#
# usage: scripts/board_speed.sh [ROUNDS]
source "$(dirname "$0")/lib.sh"
take_arguments 1 '[1-9][0-9]*' "$@"

need_packages scripts/packages.txt
build_preset release zarn-and-board
sleepers=()
trap 'kill "${sleepers[@]}" 2>/dev/null' EXIT
for _ in $(seq 400); do
    sleep 100000 &
    sleepers+=($!)
done
mkdir -p build/bench
status=0
{
    echo "$(machine)."
    echo
    python3 scripts/board_speed.py "${1:-40}" build/release/bin/zarn-board
} | tee build/bench/board_speed.md || status=$?
[ -n "${1:-}" ] || scripts/put_section.py docs/performance.md board <build/bench/board_speed.md
exit "$status"
