#!/usr/bin/env bash
# Installs what is needed, builds the release preset and runs the whole suite; what of it root cannot show, once more as an
# ordinary user. Other lanes run what has something to find there: asan the unit tests and an eighth of the system tests, drawn
# by the commit, under the address, leak and undefined-behaviour sanitizers, tsan the tests of what has threads under the
# thread sanitizer, arm64 the unit tests but those of the virtual board, cross-built, on the board's processor.
# With --all every lane runs, and none of them a sample: asan and arm64 run the whole suite, the latter without the tests
# that trace a process, and every single call fails where the suite else draws some. Root ends with the clean room.
#
# usage: scripts/test.sh [--all | LANE...]     lanes: release asan tsan arm64
source "$(dirname "$0")/lib.sh"
take_arguments 4 '--all|release|asan|tsan|arm64' "$@"

all=false lanes=("$@")
case "$*" in
    "") lanes=(release) ;;
    --all)
        all=true lanes=(asan tsan arm64 release)
        export ZARN_WALK=all
        ;;
    *--all*) usage_error ;;
esac

# Becomes COMMAND in a mount namespace in which everyone may reach the checkout: a closed folder on the way to it is covered
# by an open one that holds nothing else.
# shellcheck disable=SC2016
reachable='root=$1 kept=$2 folder=$1 closed=
shift 2
while [ "$folder" != / ]; do
    [ "$(($(stat -c %a "$folder") % 2))" -eq 1 ] || closed=$folder
    folder=$(dirname "$folder")
done
if [ -n "$closed" ]; then
    mount --bind "$root" "$kept" && mount -t tmpfs -o mode=755 none "$closed" && mkdir -p "$root"
    for entry in "$kept"/*; do
        part=$root/${entry##*/}
        if [ -d "$entry" ]; then mkdir "$part"; else : >"$part"; fi
        mount --bind "$entry" "$part"
    done
    cd "$root"
fi
exec "$@"'

# Runs those tests of the release preset once more, as an ordinary user, that its last run skipped.
run_skipped_as_user() {
    local scratch names status=0
    names=$(sed -n 's/.*<testcase name="\([^"]*\)".* status="notrun".*/\1/p' "$test_results/release.xml" |
        sed 's/[.+*?^$()|]/\\&/g' | paste -sd'|')
    [ -n "$names" ] || return 0
    say "Testing as an ordinary user what root skipped"
    scratch=$(mktemp -d /tmp/zarn-user.XXXXXX)
    mkdir "$scratch/kept" "$scratch/home"
    echo "subdirs(\"$root/build/release\")" >"$scratch/CTestTestfile.cmake"
    chown -R 12345:12345 "$scratch"
    unshare --mount bash -c "$reachable" bash "$root" "$scratch/kept" \
        setpriv --reuid 12345 --regid 12345 --clear-groups --inh-caps=-all \
        env HOME="$scratch/home" TMPDIR="$scratch" ctest --test-dir "$scratch" -j "$(nproc)" --output-on-failure \
        --output-junit "$scratch/user.xml" -R "^($names)\$" || status=$?
    cp "$scratch/user.xml" "$test_results/release-user.xml"
    rm -rf "$scratch"
    return "$status"
}

run_lane() {
    case "$1" in
        asan)
            build_preset asan
            # What programs of an earlier build counted does not fit those of this one, which would say so.
            find build/asan -name '*.gcda' -delete
            # Whole missions cost the most here, and show the least that their parts have not shown.
            local drawn=() part
            if [ "${ZARN_WALK:-}" != all ]; then
                part=$(($(commit_number) % 8 + 1))
                say "Of the system tests part $part of 8 is drawn"
                drawn=(-E "system_test\\.[^$part]\$")
            fi
            run_tests asan "${drawn[@]}"
            ;;
        tsan)
            build_preset tsan threaded_tests
            run_tests tsan
            ;;
        arm64)
            local unit_only=(-L unit) targets=(unit_tests)
            ! $all || unit_only=() targets=()
            build_preset arm64 "${targets[@]}"
            run_tests arm64 "${unit_only[@]}"
            ;;
        release)
            need_packages scripts/packages-browser.txt || say "No chromium can be had: the tests of the report's page skip"
            build_preset release
            run_tests release
            [ "$(id -u)" -ne 0 ] || run_skipped_as_user
            ;;
    esac
}

need_packages scripts/packages.txt
[ "${lanes[*]}" = release ] || need_packages scripts/packages-dev.txt
for lane in "${lanes[@]}"; do
    run_lane "$lane"
done
if $all && [ "$(id -u)" -eq 0 ]; then
    scripts/clean_room.sh
fi
