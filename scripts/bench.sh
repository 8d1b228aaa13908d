#!/usr/bin/env bash
# Runs the benchmarks and prints their ratios: ours to the plain form, ours to the lower bound, each of one run.
# The raw figures are build/bench/*.json, the table is build/bench/table.md; a run of all goes into docs/performance.md.
# A row that does not keep what its benchmark promises, in three tries of all, is a failure.
#
# usage: scripts/bench.sh [FILTER]     a regular expression on the names
source "$(dirname "$0")/lib.sh"
take_arguments 1 '[^-].*' "$@"

need_packages scripts/packages.txt
build_preset release
[ $# -gt 0 ] || whole=yes
mkdir -p build/bench

measure() {
    local program
    rm -f build/bench/*
    for program in build/release/bin/*_bench; do
        say "$(basename "$program")"
        # In random order, so that a slow moment of the machine does not fall on one side of a ratio.
        "$program" --benchmark_filter="$1" --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true \
            --benchmark_report_aggregates_only=true --benchmark_out="build/bench/$(basename "$program").json" --benchmark_out_format=json >/dev/null
    done
    {
        echo "$(machine)."
        echo
        scripts/bench_table.py ${whole:+--whole} build/bench/*.json
    } | tee build/bench/table.md
}

# What else runs on a machine can spoil a ratio, but hardly thrice.
status=1
for try in 1 2 3; do
    say "Measuring, try $try of 3"
    if measure "${1:-.}"; then
        status=0
        break
    fi
done
[ $# -gt 0 ] || scripts/put_section.py docs/performance.md bench <build/bench/table.md
exit "$status"
