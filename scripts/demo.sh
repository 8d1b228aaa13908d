#!/usr/bin/env bash
# The whole tour on the virtual board, without root: two collected and analysed runs, one of them throttled by QoS
# settings, the analysis of an old tree, the comparison of both, the optimizer by hand and by search, the memory of a
# healthy version beside that of one that leaks, the devices of a healthy board beside those of one in trouble, the profile of a
# program on an untouched board beside that on a throttled one, the scheduler with a task that starves and with an inversion of
# priorities, a burst of memory, cores and scheduler in one table, spikes that only a watch for peaks sees, programs of known
# behaviour under profilers and traced, and benchmarks. Says at its end what was found, and makes a page of it for a browser.
# Root or sudo is needed only where packages are missing. Results are below build/demo/.
#
# usage: scripts/demo.sh
source "$(dirname "$0")/lib.sh"
take_arguments 0 '' "$@"

need_packages scripts/packages.txt
build_preset release zarn-and-board

demo=$root/build/demo
usr=$demo/usr
rm -rf "$demo"
mkdir -p "$usr" "$demo/log"
cp docs/examples/tour_*.json docs/examples/ddr_optimize_auto.json "$usr/"

# zarn_on_board SCENARIO BOARD CONFIGURATION [OPTION...]: runs zarn on the board of that name, which keeps its settings.
zarn_on_board() {
    board/zarn-board --build build/release --scenario "$1" --board "$demo/$2" --opt-usr "$usr" "${@:4}" -- \
        zarn "/opt/usr/$3"
}

# The newest run directory.
newest() { find "$usr/mnt/zarn" -maxdepth 1 -name 'zarn_data_*' | sort | tail -n 1; }

# keep_as NAME: the newest run can be named so in a configuration.
keep_as() { ln -sfn "$(basename "$(newest)")" "$usr/mnt/zarn/$1"; }

# The system calls of the board's workload, which tells its own account of them.
trace_workload() {
    board/zarn-board --build build/release --scenario idle --board "$demo/trace" --opt-usr "$usr" -- sh -c '
        counted_work calls 2000 >/opt/usr/account & program=$!
        until grep -qs "^State:.S" "/proc/$(pidof counted_work)/status"; do :; done
        zarn /opt/usr/tour_trace.json
        kill "$program" 2>/dev/null; wait'
}

# Two busy loops while a command runs.
under_load() {
    local loops=() status=0
    for _ in 1 2; do
        sh -c 'while :; do :; done' &
        loops+=($!)
    done
    "$@" || status=$?
    kill "${loops[@]}"
    wait "${loops[@]}" 2>/dev/null || true
    return "$status"
}

ticker=
stop_ticking() {
    [ -n "$ticker" ] || return 0
    kill "$ticker"
    wait "$ticker" 2>/dev/null || true
    ticker=
    printf '\r\033[K'
}
trap stop_ticking EXIT

# Seconds count in the title's line until they are stopped.
tick() {
    local second
    for ((second = 0; ; second++)); do
        printf '\r%s ... %d s' "$1" "$second"
        sleep 1
    done
}

stages=$(grep -c '^stage "' "$script") stage=0
# stage TITLE COMMAND...: a line for a stage of the tour; what it prints goes into log/, and is shown if it fails.
stage() {
    local title log begun=$SECONDS status=0
    stage=$((stage + 1))
    title="[$stage/$stages] $1"
    log=$demo/log/$stage.log
    if [ -t 1 ]; then
        tick "$title" &
        ticker=$!
    fi
    "${@:2}" >"$log" 2>&1 || status=$?
    stop_ticking
    if [ "$status" -ne 0 ] || ! grep -qFx '[Main] Collection jobs finished.' "$log"; then
        tail -n 20 "$log" >&2
        echo "$title failed, see $log" >&2
        exit 1
    fi
    printf '%s (%d s)\n' "$title" $((SECONDS - begun))
}

say "The tour"
begun=$SECONDS
stage "Baseline: CPU and DDR measured in parallel, then analysed" zarn_on_board camera_pipeline board tour_collect.json
keep_as baseline
stage "The bandwidth of some masters cut by hand" zarn_on_board camera_pipeline board tour_throttle.json
stage "The same measurement, throttled and under CPU load" under_load zarn_on_board camera_pipeline board tour_collect.json
keep_as throttled
stage "The baseline analysed again from its tree" zarn_on_board camera_pipeline board tour_history.json
stage "Both versions side by side" zarn_on_board camera_pipeline board tour_compare.json
comparison=$(newest)
stage "The optimizer searches bounds under a memory-hungry AI and image load" \
    zarn_on_board memory_hungry search ddr_optimize_auto.json --workdir "$demo/bench"
search=$(newest)
stage "The memory of a healthy version" zarn_on_board memory_steady healthy tour_memory.json
keep_as healthy
stage "The memory of a version that leaks" zarn_on_board memory_leak leaking tour_memory.json
keep_as leaking
stage "Both versions' memory side by side" zarn_on_board memory_steady healthy tour_memory_compare.json
memory=$(newest)
stage "The AI cores, AI CPUs and buffers of a healthy board" zarn_on_board device_healthy devices tour_device.json
keep_as device_healthy
stage "The same with the AI block throttled, a slow thread and an owner that keeps buffers" \
    zarn_on_board device_trouble trouble tour_device.json
keep_as device_trouble
# By the board's model, so that a processor without its counters shows the same.
profile=(--perf model --workdir "$demo/bench")
stage "Where the cycles of a program go" zarn_on_board frame_worker cycles tour_profile.json "${profile[@]}"
keep_as profile_baseline
stage "The same with the processor's bandwidth cut" zarn_on_board frame_worker_throttled waits tour_profile.json "${profile[@]}"
keep_as profile_throttled
stage "Both versions' functions side by side" zarn_on_board frame_worker cycles tour_profile_compare.json "${profile[@]}"
profile=$(newest)
stage "What the scheduler did to a task that starves" zarn_on_board starved_task starved tour_starved.json
keep_as starved
stage "The same with an inversion of priorities" zarn_on_board priority_inversion inversion tour_inversion.json
keep_as inversion
stage "Memory, cores and scheduler through a shared burst, in one table" zarn_on_board shared_burst burst tour_burst.json
burst=$(newest)
stage "Spikes of 300 ms, by samples of 5 s and by a watch for peaks" zarn_on_board short_spike spike tour_spike.json
spike=$(newest)
# One of them beside zarn, for perf; zarn starts the others.
counted_on_board() {
    board/zarn-board --build build/release --scenario idle --opt-usr "$usr" --workdir "$demo/bench" -- sh -c '
        counted_work loops >"$1" & work=$!
        until grep -qs begun "$1"; do sleep 0.1; done
        zarn /opt/usr/tour_programs.json
        kill -INT $work
        wait $work' sh "$demo/log/counted_work"
}
stage "Programs whose work is counted under cachegrind, massif and perf" counted_on_board
programs=$(newest) programs_log=$demo/log/$stage.log
stage "The system calls of a program, and its own account of them" trace_workload
trace=$(newest)
stage "Benchmarks of this machine, and what the processor does for a program" zarn_on_board frame_worker bench tour_bench.json
bench=$(newest)
echo "The tour took $((SECONDS - begun)) s."

say "What was found"
scripts/demo_findings.py "$usr/mnt/zarn/baseline" "$comparison" "$search" "$memory" "$profile" "$bench"
scripts/demo_moments.py "$burst" "$demo/burst" "$spike" "$demo/spike"
scripts/demo_programs.py "$programs" "$programs_log" "$demo/log/counted_work"
scripts/demo_trace.py "$trace" "$usr/account"

for name in comparison search memory profile burst spike programs trace bench; do
    ln -sfn "$(basename "${!name}")" "$usr/mnt/zarn/$name"
done
# One page of all runs, by the names they have, or why there is none.
mapfile -t runs < <(find "$usr/mnt/zarn" -type l -printf '%l\t%p\n' | sort | cut -f 2)
report=$demo/report.html
if [ -x build/release/bin/zarn-report ]; then
    build/release/bin/zarn-report "${runs[@]}" -o "$report"
else
    report="none: zarn-report was not built, which takes node 18 or later and npm"
fi

say "Where the files lie"
cat <<EOT
baseline run      $usr/mnt/zarn/baseline/          raw_data/ json/ csv/ env_info/
throttled run     $usr/mnt/zarn/throttled/
comparison tables $comparison/csv/cpu/cpu_comparator_result.csv
                  $comparison/csv/ddr/soc_ddr_comp_info.csv
search log        $(find "$search/raw_data/ddr" -name 'soc_ddr_opt_info_1_*.log')
memory tables     $memory/csv/mem/
devices           $usr/mnt/zarn/device_healthy/ and device_trouble/
profiles          $usr/mnt/zarn/profile_baseline/ and profile_throttled/
function table    $profile/csv/hotFun/hotfun_process_frame_worker_info.csv
scheduler         $usr/mnt/zarn/starved/ and inversion/
shared burst      $burst/csv/correlation/
spikes            $spike/raw_data/cpu_peak/
programs          $programs/raw_data/cachegrind/ massif/ callgrind/
system calls      $trace/json/ and raw_data/sys_call/
benchmarks        $bench/raw_data/bench/ and json/
what zarn said    $demo/log/
report            $report
EOT
