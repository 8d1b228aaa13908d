#!/usr/bin/env bash
# Runs the benchmarks and prints their ratios: ours to the plain form, ours to the lower bound, each of one run.
# The raw figures are build/bench/*.json, the table is build/bench/table.md; a run of all goes into docs/performance.md.
# A row that does not keep what its benchmark promises, in three tries of its program, is a failure.
# With --trial it measures, less exactly, rows drawn at random, until 20 seconds of CPU time are used up, and a promise is
# missed where the ratio is beyond it by 3 tenths. What is drawn follows from the seed it prints; ZARN_BENCH_SEED sets it,
# else the last commit. A row that takes more than 5 of the seconds is left out.
#
# usage: scripts/bench.sh [--trial|FILTER]     FILTER: a regular expression on the names
source "$(dirname "$0")/lib.sh"
take_arguments 1 '[^-].*|--trial' "$@"

need_packages scripts/packages.txt
build_preset release
mkdir -p build/bench
repetitions=5

# run PROGRAM RESULT OPTION...: measures what the options let through, into build/bench/RESULT.json. In random order, so that
# a slow moment of the machine does not fall on one side of a ratio.
run() {
    "$1" --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out="build/bench/$2.json" --benchmark_out_format=json "${@:3}" >/dev/null
}

# measure FILTER: what the filter lets through of all, but for the programs that an earlier try found in order.
measure() {
    local program name
    for program in build/release/bin/*_bench; do
        name=$(basename "$program")
        if [ -e "build/bench/$name.json" ] && make_rows "build/bench/$name.json" >/dev/null 2>&1; then
            continue
        fi
        say "$name"
        run "$program" "$name" --benchmark_filter="$1"
    done
}

# make_rows FILE...: the table of these results. Fails where a promise is not kept.
make_rows() {
    scripts/bench_table.py ${kind:+"$kind"} "$@"
}

# Behind a name's last part, its form, stands what says how it is measured.
how='/((iterations|repeats):[0-9]+|(real|manual|process)_time)'

# The rows of the table, each with all its forms: its program and its name.
rows() {
    local program
    for program in build/release/bin/*_bench; do
        "$program" --benchmark_list_tests | sed -E "s,$how,,g; s,/[^/]*\$,," | sort -u | sed "s,^,$program ,"
    done
}

# measure_trial SEED: rows in random order, at least one.
measure_trial() {
    local budget=20 row_limit=5 drawn=0 measured=0 repetitions=3 TIMEFORMAT='%U %S' program name used status scratch
    rm -f build/bench/*
    while [[ $budget -gt 0 || $measured -eq 0 ]] && read -r program name; do
        drawn=$((drawn + 1)) status=0
        # What is stopped does not remove its files.
        scratch=$(mktemp -d)
        used=$({ time (ulimit -c 0 -t "$row_limit" && TMPDIR=$scratch run "$program" "$drawn" --benchmark_min_time=0.1 \
            --benchmark_filter="^$name/[^/]+($how)*\$" 2>/dev/null); } 2>&1) || status=$?
        rm -rf "$scratch"
        budget=$(awk -v left="$budget" '{ printf "%.0f", left - $1 - $2 }' <<<"${used##*$'
'}")
        case $status in
            0) measured=$((measured + 1)) ;;
            137 | 152) rm -f "build/bench/$drawn.json" && echo "left out, since it takes long: $name" ;;
            *) echo "$program cannot measure $name" && return 1 ;;
        esac
    done < <(rows | awk -v seed="$1" 'BEGIN { srand(seed) } { print rand(), $0 }' | sort -g | cut -d' ' -f2-)
}

make_table() {
    "$@"
    {
        echo "$(machine)."
        echo
        make_rows build/bench/*.json
    } | tee build/bench/table.md
}

case ${1:-} in
    '') kind=--whole what=(measure .) ;;
    --trial)
        seed=${ZARN_BENCH_SEED:-$(commit_number)}
        say "A trial, ZARN_BENCH_SEED=$seed"
        kind=--trial what=(measure_trial "$seed")
        ;;
    *) what=(measure "$1") ;;
esac

# What else runs on a machine can spoil a ratio, but hardly thrice.
status=1
rm -f build/bench/*
for try in 1 2 3; do
    say "Measuring, try $try of 3"
    if make_table "${what[@]}"; then
        status=0
        break
    fi
done
[ "${kind:-}" != --whole ] || scripts/put_section.py docs/performance.md bench <build/bench/table.md
exit "$status"
