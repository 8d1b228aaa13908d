#!/usr/bin/env bash
# Runs every fuzz target for a while. A finding stays in fuzz/regressions/<target>/, where the suite replays it.
# SECONDS are for each target; with --budget they are for all together, however many there are. What a run of
# all for so many seconds each came to goes into docs/performance.md.
#
# usage: scripts/fuzz.sh [--budget] SECONDS [TARGET...]
source "$(dirname "$0")/lib.sh"
take_arguments 1000 '--budget|[0-9]+|[a-z][a-z_]*' "$@"

budget=false
[ "${1:-}" != --budget ] || { budget=true && shift; }
[[ ${1:-} =~ ^[0-9]+$ ]] || usage_error
seconds=$1
shift
need_packages scripts/packages.txt scripts/packages-dev.txt
build_preset fuzz fuzz_targets
targets=("$@")
everything=false
[ ${#targets[@]} -gt 0 ] || everything=true
! $everything || mapfile -t targets < <(cd build/fuzz/bin && ls -d fuzz_* | sed 's/^fuzz_//')
if $budget; then
    seconds=$((seconds * $(nproc) / ${#targets[@]}))
    [ "$seconds" -gt 0 ] || seconds=1 # 0 would be for ever
fi

# fuzz_one TARGET: prints its executions, or the end of its log when it found something.
fuzz_one() {
    local target=$1 log=build/fuzz/$1.log
    mkdir -p "build/fuzz/grown/$target" "fuzz/regressions/$target"
    if ! "build/fuzz/bin/fuzz_$target" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=4096 \
        -close_fd_mask=3 -artifact_prefix="fuzz/regressions/$target/" -print_final_stats=1 \
        "build/fuzz/grown/$target" "fuzz/corpus/$target" >"$log" 2>&1; then
        tail -n 40 "$log"
        echo "$target: a finding, see fuzz/regressions/$target/"
        return 1
    fi
    rmdir --ignore-fail-on-non-empty "fuzz/regressions/$target"
    printf '%-28s %12s executions\n' "$target" "$(executions "$target")"
}

executions() { awk '/number_of_executed_units/ { print $2 }' "build/fuzz/$1.log"; }
export -f fuzz_one executions
export seconds

say "Fuzzing ${#targets[@]} targets, $seconds s each"
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'fuzz_one {}'
if $everything && ! $budget; then
    {
        printf '%s.\n\n| target | seconds | executions | findings |\n|---|---|---|---|\n' "$(machine)"
        for target in "${targets[@]}"; do
            printf '| `%s` | %s | %s | 0 |\n' "$target" "$seconds" "$(executions "$target")"
        done
    } | scripts/put_section.py docs/performance.md fuzz
fi
