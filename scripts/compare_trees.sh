#!/usr/bin/env bash
# Runs every configuration of docs/examples with the build of an earlier revision and with this tree's, and compares
# what they leave and print, byte for byte. For changes that users must not see.
#
# Both run on the virtual board of the same seed, with tools that print recorded samples, so that only times differ
# from run to run; these are masked: time stamps, what a mission cost, the seconds between peaks. The search of the
# optimizer draws from the system's random numbers, so of the files and lines of a configuration that searches all
# numbers are masked. The trees, as compared, stay in build/compare/. Status 1 if anything differs.
#
# usage: scripts/compare_trees.sh REVISION
source "$(dirname "$0")/lib.sh"

take_arguments 1 '[^-].*' "$@"
[ $# -eq 1 ] || usage_error
revision=$(git rev-parse --verify "$1^{commit}")

need_packages scripts/packages.txt
work=$root/build/compare
rm -rf "$work/runs" "$work/old-source" "$work/tools"
mkdir -p "$work/old-source" "$work/tools"

# Tools of the machine that the missions run, in front of PATH: what they print was recorded.
make_tools() {
    local data=$root/tests/data
    cat >"$work/tools/top" <<TOOL
#!/bin/sh
case " \$* " in
    *' -1 '*) exec cat $data/top-4.0.2/two_cores_unfiltered.txt ;;
    *' -H '*) exec cat $data/top-4.0.2/threads.txt ;;
esac
exec cat $data/top-4.0.2/plain.txt
TOOL
    cat >"$work/tools/ps" <<TOOL
#!/bin/sh
case " \$* " in *' -L '*) exec cat $data/ps-4.0.2/threads_of_14.txt ;; esac
exec cat $data/ps-4.0.2/processes.txt
TOOL
    # The bandwidth table of the kernel moves with the time; this one moves from reading to reading.
    cat >"$work/tools/cat" <<'TOOL'
#!/bin/sh
[ "$*" = /proc/qos/bwstat/bandwidth ] || exec /bin/cat "$@"
n=$(($(/bin/cat "$COMPARE_COUNTER" 2>/dev/null || echo 0) + 1))
echo "$n" >"$COMPARE_COUNTER"
echo ' mpamid | bandwidth(MB/s) | bw_low | bw_high | hardlimit '
for id in 0 1 2 3 5 6 7 8 9 10; do
    echo " $id | $(((id * 977 + n * n * 1531) % 9000)) | 0 | 51 | 1 "
done
TOOL
    chmod +x "$work"/tools/*
}

# run_examples SIDE SOURCE: runs the examples on a board of that checkout, each after the trees that it names have been
# made, and keeps of each what it printed and the tree of runs that it left.
run_examples() {
    local side=$work/runs/$1 source=$2 usr=$work/runs/$1/usr example name
    mkdir -p "$side/kept"
    for example in "$root"/docs/examples/*.json; do
        name=$(basename "$example" .json)
        rm -rf "$usr" "$side/counter"
        mkdir -p "$usr/mnt/zarn"
        for tree in $(grep -o '/opt/usr/mnt/zarn/[a-z_]*/' "$example" | sort -u); do
            run_zarn "$root/docs/examples/tour_collect.json" >/dev/null 2>&1
            mv "$usr"/mnt/zarn/zarn_data_* "$usr/mnt/zarn/$(basename "$tree")"
        done
        echo "$1: $name"
        run_zarn "$example" >"$side/$name.out" 2>"$side/$name.err" || echo "status $?" >>"$side/$name.out"
        mv "$usr/mnt/zarn" "$side/kept/$name"
        mv "$side/$name.out" "$side/$name.err" "$side/kept/$name/"
        mask "$side/kept/$name" "$example"
    done
}

# run_zarn EXAMPLE: on the board of the caller's `source`, in the caller's `usr`.
run_zarn() {
    cp "$1" "$usr/config.json"
    mkdir -p "$side/workdir"
    COMPARE_COUNTER=$side/counter "$source/board/zarn-board" --build "$source/build/release" --opt-usr "$usr" \
        --workdir "$side/workdir" -- env PATH="$work/tools:$PATH" "$source/build/release/bin/zarn" /opt/usr/config.json
}

# mask FOLDER EXAMPLE: takes out of the names and texts of files what differs from run to run.
mask() {
    local path numbers=()
    # Parallel collectors print their lines in any order.
    if grep -Eq '"parallelCollectMode": \[[^]]*,' "$2"; then
        for path in "$1"/*.out "$1"/*.err; do sort -o "$path" "$path"; done
    fi
    if grep -q '"mode": "auto"' "$2"; then
        numbers=(-e 's/-?[0-9]+(\.[0-9]+)?(e[-+]?[0-9]+)?/N/g')
    fi
    find "$1" -type f -exec sed -E -i -e 's/[0-9]{17}/TIME/g' -e 's/(cost time: )[0-9.e-]+s/\1Ns/' \
        -e 's/("peak_interval":)\[[-0-9,]*\]/\1[]/g' "${numbers[@]}" {} +
    find "$1" -depth -name '*[0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9]*' | while read -r path; do
        mv "$path" "$(dirname "$path")/$(basename "$path" | sed -E 's/[0-9]{17}/TIME/')"
    done
}

say "Building the revision $revision"
git archive "$revision" | tar -x -C "$work/old-source"
(cd "$work/old-source" && bash -c 'source scripts/lib.sh && build_preset release zarn-and-board')
build_preset release zarn-and-board

make_tools
say "Running the examples"
run_examples old "$work/old-source"
run_examples new "$root"

say "Comparing"
if diff -r "$work/runs/old/kept" "$work/runs/new/kept"; then
    echo "$(find "$work/runs/new/kept" -type f | wc -l) files of $(ls "$work/runs/new/kept" | wc -l) examples are alike"
else
    echo "the trees differ: build/compare/runs/{old,new}/kept" >&2
    exit 1
fi
