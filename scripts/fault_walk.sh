#!/usr/bin/env bash
# Lets every fallible call of a run fail once with each plausible error, and interrupts runs at random calls, where the
# suite draws a sample of both. The table of it goes into docs/performance.md.
#
# usage: scripts/fault_walk.sh
source "$(dirname "$0")/lib.sh"
take_arguments 0 '' "$@"

need_packages scripts/packages.txt
build_preset release fault_system_test
say "Walking over all faults"
log=build/release/fault_walk.log
ZARN_WALK=all build/release/bin/fault_system_test --gtest_filter='FaultInjection.*' | tee "$log"
{
    printf '%s.\n\n| walk | faults | runs at fault |\n|---|---|---|\n' "$(machine)"
    awk '/^\[ RUN/ { walk = $NF; sub(/.*\./, "", walk) }
        / faults injected, / { print "| " walk " | " $1 " | " $4 " |" }' "$log"
} | tee build/release/fault_walk.md
scripts/put_section.py docs/performance.md faults <build/release/fault_walk.md
