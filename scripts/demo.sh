#!/usr/bin/env bash
# The whole tour on the virtual board, without root: two collected and analysed runs, one of them throttled by QoS
# settings, the analysis of an old tree, the comparison of both, and the optimizer by hand and by search.
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
mkdir -p "$usr"
cp docs/examples/tour_*.json docs/examples/ddr_optimize_auto.json "$usr/"

# zarn_on_board SCENARIO BOARD CONFIGURATION [OPTION...]: runs zarn on the board of that name, which keeps its settings.
zarn_on_board() {
    board/zarn-board --build build/release --scenario "$1" --board "$demo/$2" --opt-usr "$usr" "${@:4}" -- \
        zarn "/opt/usr/$3"
}

# The newest run directory.
newest() { ls -d "$usr"/mnt/zarn/zarn_data_* | tail -n 1; }

# keep_as NAME: the newest run can be named so in a configuration.
keep_as() { ln -sfn "$(basename "$(newest)")" "$usr/mnt/zarn/$1"; }

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

# rows FILE PATTERN...: the head line and the rows that begin with a pattern, as a table.
rows() {
    local file=$1
    shift
    { head -n 1 "$file"; for row in "$@"; do grep "^$row" "$file"; done; } | column -s, -t
}

say "1. Baseline: CPU and DDR measured in parallel, then analysed"
zarn_on_board camera_pipeline board tour_collect.json
keep_as baseline

say "2. Bandwidth of three masters cut by hand"
zarn_on_board camera_pipeline board tour_throttle.json

say "3. The same measurement, throttled and under CPU load"
under_load zarn_on_board camera_pipeline board tour_collect.json
keep_as throttled

say "4. The baseline analysed again from its tree"
zarn_on_board camera_pipeline board tour_history.json

say "5. Both versions side by side"
zarn_on_board camera_pipeline board tour_compare.json
comparison=$(newest)

say "6. The optimizer searches bounds under a memory-hungry AI and image load"
zarn_on_board memory_hungry search ddr_optimize_auto.json --workdir "$demo/bench" >"$demo/search.out"
search=$(newest)

say "CPU load, baseline and loaded"
rows "$comparison/csv/cpu/cpu_comparator_result.csv" cpu_us_avg cpu_id_avg load_avg_1_min_max tasks_total_avg
say "DDR bandwidth in percent of the peak, untouched and throttled by QoS settings"
rows "$comparison/csv/ddr/soc_ddr_comp_info.csv" 'total_mean' 'cpu_' 'imgp_vpc_' 'isp_viproc_'
say "Frame rates of the search (the labels stand as the optimizer writes them)"
grep -E 'best bw|best cpu perf|benchmark :|optimized :' "$search"/raw_data/ddr/soc_ddr_opt_info_1_*.log | tail -n 5
say "Files to look at"
cat <<EOT
baseline run      $usr/mnt/zarn/baseline/          raw_data/ json/ csv/ env_info/
throttled run     $usr/mnt/zarn/throttled/
comparison tables $comparison/csv/cpu/cpu_comparator_result.csv
                  $comparison/csv/ddr/soc_ddr_comp_info.csv
search log        $(ls "$search"/raw_data/ddr/soc_ddr_opt_info_1_*.log)
EOT
