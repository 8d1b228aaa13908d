#!/usr/bin/env bash
# How good the optimizer's search is: five scenarios, 20 seeds each. Prints the tables, and puts those of 20 seeds into
# docs/optimizer.md. Takes some minutes.
#
# usage: scripts/optimizer_quality.sh [SEEDS]
source "$(dirname "$0")/lib.sh"
take_arguments 1 '[1-9][0-9]*' "$@"

need_packages scripts/packages.txt
build_preset release optimizer_quality
seeds=${1:-20}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

say "Searching, $seeds seeds"
scenarios=
for name in camera_pipeline ai_burst throttled_cpu memory_hungry image_flood; do
    scenarios+=${scenarios:+,}board/scenarios/$name.json
done
build/release/bin/optimizer_quality "$scenarios" board/virtual_node/config/Config.yaml "$seeds" 2 \
    "$scratch/table.md" >"$scratch/lines" 2>&1 || { tail -n 3 "$scratch/lines" >&2; exit 1; }
cat "$scratch/table.md"
[ "$seeds" -ne 20 ] || scripts/put_section.py docs/optimizer.md quality <"$scratch/table.md"
