#!/usr/bin/env bash
# Makes the tables of docs/optimizer.md anew: five scenarios, 20 seeds each. Takes some minutes.
# Usage: scripts/optimizer_quality.sh [BUILD_DIRECTORY [SEEDS]]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd -P)
build=${1:-$root/build/release}
seeds=${2:-20}
page=$root/docs/optimizer.md

ninja -C "$build" optimizer_quality >&2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

scenarios=
for name in camera_pipeline ai_burst throttled_cpu memory_hungry image_flood; do
    scenarios+=${scenarios:+,}$root/board/scenarios/$name.json
done
"$build/bin/optimizer_quality" "$scenarios" "$root/board/virtual_node/config/Config.yaml" "$seeds" 2 \
    "$scratch/table.md" >"$scratch/lines" 2>&1 || { tail -n 3 "$scratch/lines" >&2; exit 1; }

# The tables stand between two marks.
awk -v table="$scratch/table.md" '
    /<!-- tables end -->/ { skip = 0 }
    !skip { print }
    /<!-- tables begin/ { skip = 1; while ((getline line < table) > 0) print line }
' "$page" >"$scratch/page.md"
cp "$scratch/page.md" "$page"
