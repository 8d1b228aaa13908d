#!/usr/bin/env bash
# What a measurement costs: CpuCollector for 60 samples at 1 s on this machine's own top and ps, once as the machine is,
# once with 400 more processes, and there one sample more that asks for the threads of every process, and one of
# MemCollector on those processes; TopdownCollector and HotFunCollector on the virtual board, where perf counts
# by the model and samples by this machine's kernel, beside a program at work; SchedCollector by the machine's own perf, if that may
# record; CpuPeakCollector while nothing is to be recorded; BenchCollector; a trace of a batch of system calls by SysCallCollector; and profiles of single programs, beside their own
# account. Prints zarn's own CPU seconds beside those of the tools it starts; a run of 60 samples goes into
# docs/performance.md.
#
# usage: scripts/overhead.sh [SAMPLES]
source "$(dirname "$0")/lib.sh"
take_arguments 1 '[1-9][0-9]*' "$@"

need_packages scripts/packages.txt
build_preset release zarn-and-board
samples=${1:-60}
usr=$(mktemp -d)
sleepers=()
trap 'kill "${sleepers[@]}" 2>/dev/null; rm -rf "$usr"' EXIT

# A private /opt/usr: by a mount namespace for root, else in a user namespace.
namespace=(unshare --mount --propagation private)
[ "$(id -u)" -eq 0 ] || namespace=(unshare --user --map-root-user --mount --propagation private)
# configure NAME SECTION: the collector alone.
configure() {
    cat >"$usr/config.json" <<EOT
{"ManagerParam": {"parallelCollectMode": ["$1"], "collectMode": [], "analyzeMode": [], "optimizeMode": [],
  "compareMode": {"comparatorName": [], "versionMap": {}}}, "$1": $2}
EOT
}
# run_mission NAME SECTION SHARES [SHARE]: runs the collector and prints what it cost, and what a share of it did.
run_mission() {
    configure "$1" "$2"
    "${namespace[@]}" sh -c 'mount -t tmpfs none /opt && mkdir /opt/usr && mount --bind "$1" /opt/usr &&
        exec python3 "$2" "$3" /opt/usr/config.json "$4" "$5"' sh \
        "$usr" "$root/scripts/overhead_of.py" "$root/build/release/bin/zarn" "$3" "${4:-process and pass}"
    rm -rf "${usr:?}/mnt"
}
# profile NAME SECTION SECONDS WHICH: runs the collector on the board, whose perf samples by WHICH, beside other work.
profile() {
    printf '\n%s on the board, seconds: %d, sampled by: %s\n\n' "$1" "$3" "$4"
    configure "$1" "$2"
    build/release/bin/zarn-board --scenario idle --perf "$4" --opt-usr "$usr" --workdir "$usr" -- \
        python3 "$root/scripts/overhead_of.py" "$root/build/release/bin/zarn" /opt/usr/config.json "$3" "second measured" \
        --workload
    rm -rf "${usr:?}/mnt"
}
# measure SAMPLES THREADS: CpuCollector; whether it asks for threads too is true or false.
measure() {
    local processes
    processes=$(ps -e --no-headers | wc -l)
    printf '\nCpuCollector, samples: %d, processes: %d, thread_collector: %s\n\n' "$1" "$processes" "$2"
    run_mission CpuCollector "{\"job\": [\"global\", \"core\", \"selected_process\"], \"interval\": 1, \"process\": [\"zarn\"],
        \"count\": $1, \"thread_collector\": $2, \"json_output\": true}" $((processes * $1))
}
# measure_memory SAMPLES: MemCollector on all processes called sleep.
measure_memory() {
    local processes
    processes=$(pidof sleep | wc -w)
    printf '\nMemCollector, samples: %d, processes watched: %d\n\n' "$1" "$processes"
    run_mission MemCollector "{\"job\": [\"process_mem\"], \"interval\": 1, \"process\": [\"sleep\"], \"count\": $1}" \
        $((processes * $1))
}
# measure_scheduler PASSES: SchedCollector on the whole system, a second each, where perf may record.
measure_scheduler() {
    perf sched record -o /dev/null -- true >/dev/null 2>&1 || return 0
    printf '\nSchedCollector, passes: %d of 1 s\n\n' "$1"
    run_mission SchedCollector "{\"job\": [\"global\"], \"count\": $1, \"sched\": {\"is_call_record\": false,
        \"duration\": 1, \"topN\": 10, \"sorted\": \"max\"}}" "$1" "second measured"
}
# measure_peaks SECONDS: CpuPeakCollector every 10 ms, with a limit that no core is ever above.
measure_peaks() {
    printf '\nCpuPeakCollector, seconds: %d, scanPeriod: 10\n\n' "$1"
    run_mission CpuPeakCollector "{\"scanDuration\": $(($1 * 1000)), \"scanPeriod\": 10, \"maxUsage\": 100.0,
        \"collectionDuration\": 1.0, \"collectionFrequency\": 99}" "$1" "second watched"
}
# measure_bench SECONDS: BenchCollector, with the machine's perf.
measure_bench() {
    printf '\nBenchCollector, all benchmarks, then the system counted for %d s\n\n' "$1"
    run_mission BenchCollector "{\"job\": [\"messaging\", \"pipe\", \"memset\", \"memcpy\", \"stat\"],
        \"stat\": {\"nodes\": [\"global\"], \"sleep\": $1}}" "$1" "second counted"
}
# measure_trace ROUNDS: SysCallCollector on the board's program of counted work, 19 system calls a round.
measure_trace() {
    local work=build/release/lib/zarn/board/tools/counted_work calls=$((19 * $1)) seconds
    "$work" calls "$1" >"$usr/traced" &
    until grep -qs "^State:.S" "/proc/$!/status"; do sleep 0.01; done
    printf '\nSysCallCollector, system calls: %d, saveDetailsToJson: true\n\n' "$calls"
    run_mission SysCallCollector '{"process": ["counted_work"], "duration": 600, "saveDetailsToJson": true}' "$calls" call
    wait $!
    "$work" calls_untraced "$1" >"$usr/untraced"
    seconds=$(sed -s -n '1s/.* in \([0-9.]*\) s:.*/\1/p' "$usr/traced" "$usr/untraced")
    awk -v both="$seconds" 'BEGIN { split(both, s, "\n")
        printf "\nThe calls take %.2f s traced and %.3f s untraced: the program runs %.0f times slower.\n", s[1], s[2], s[1] / s[2] }'
}
# measure_programs SECONDS: profiles of single programs on the virtual board, by this machine's valgrind and perf.
measure_programs() {
    build/release/bin/zarn-board --scenario idle --opt-usr "$usr" --workdir "$usr" -- \
        python3 "$root/scripts/overhead_programs.py" "$root/build/release/bin/zarn" "$1"
    rm -rf "${usr:?}/mnt"
}

mkdir -p build/bench
seconds=$(((samples + 5) / 6))
sampler=model
! perf record -e cpu-clock -a -g -o "$usr/perf.data" -- true >/dev/null 2>&1 || sampler=machine
{
    echo "$(machine)."
    profile TopdownCollector "{\"job\": [\"global\"], \"core\": [], \"process\": [], \"duration\": $seconds}" "$seconds" model
    profile HotFunCollector "{\"job\": [\"global\"], \"json_output\": true, \"duration\": $seconds, \"top\": 20}" \
        "$seconds" "$sampler"
    measure_scheduler "$seconds"
    measure_peaks "$seconds"
    measure_bench "$seconds"
    measure_trace $((samples * 1000))
    measure_programs "$seconds"
    measure "$samples" false
} | tee build/bench/overhead.md
for _ in $(seq 400); do
    sleep 100000 &
    sleepers+=($!)
done
{
    measure "$samples" false
    measure 1 true
    measure_memory 1
} | tee -a build/bench/overhead.md
[ "$samples" -ne 60 ] || scripts/put_section.py docs/performance.md overhead <build/bench/overhead.md
