#!/usr/bin/env bash
# A clean Debian 12 in a folder of its own, made by debootstrap from the mirror and with the settings of this machine's
# apt and npm. There the packages of this checkout are installed, run and purged, and the README's commands run as they stand in a
# fresh clone of what is committed. That takes as long as a whole build and test without a compiler cache.
# With --demo only the first command runs, in a copy of this checkout at the same path and with its release build, so
# that nothing is compiled: that the packages listed suffice to build is then shown by the configuring alone.
# Everything that is mounted for it is mounted in a namespace that ends with the step. Needs root.
#
# usage: scripts/clean_room.sh [--demo]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --demo "$@"
[ "$(id -u)" -eq 0 ] || { echo "scripts/clean_room.sh needs root, to make another system and to enter it" >&2; exit 1; }

# The log is the steps' times.
times=()
# step TITLE COMMAND...
step() {
    local begun=$SECONDS
    say "Clean room: $1"
    "${@:2}"
    times+=("$(printf '%5d s  %s' $((SECONDS - begun)) "$1")")
}

room=
# Nothing is removed through a mount, should one be left against all expectation.
leave() {
    [ -n "$room" ] || return 0
    rm -f "$room.log"
    if grep -qF " $room" /proc/self/mountinfo; then
        echo "something is still mounted below $room; it is left" >&2
    else
        rm -rf --one-file-system "$room"
    fi
}
trap leave EXIT

# The mirror that serves bookworm to this machine, and the proxy on the way there, which debootstrap asks the environment for.
make_room() {
    local mirror
    apt-get update -qq
    mirror=$(apt-cache policy | awk '$3 == "bookworm/main" { print $2; exit }')
    [ -n "$mirror" ] || { echo "this machine's apt knows no mirror of bookworm" >&2; return 1; }
    eval "$(apt-config shell http_proxy Acquire::http::Proxy https_proxy Acquire::https::Proxy)"
    export http_proxy=${http_proxy:-} https_proxy=${https_proxy:-}
    room=$(mktemp -d /var/tmp/zarn-room.XXXXXX)
    chmod 755 "$room"
    unshare --mount --propagation private \
        debootstrap --variant=minbase --include=ca-certificates bookworm "$room" "$mirror" >"$room.log" 2>&1 ||
        { tail -n 20 "$room.log" >&2; return 1; }
    rm -rf "$room/etc/apt"
    cp -a /etc/apt "$room/etc/apt"
    cp -a /usr/share/keyrings/. "$room/usr/share/keyrings/"
    cp -L /etc/resolv.conf /etc/hosts "$room/etc/"
    # Where npm's packages come through a proxy of this machine's own, whose certificate npm is told.
    [ ! -e /etc/npmrc ] || cp /etc/npmrc "$room/etc/"
    cp -a /usr/local/share/ca-certificates "$room/usr/local/share/"
    in_room update-ca-certificates >/dev/null 2>&1
}

# Runs a shell's text in the room, which is the root of all that it sees; arguments follow.
# shellcheck disable=SC2016
in_room() {
    unshare --mount --pid --fork --kill-child --propagation private bash -c 'set -e
        mount --bind "$1" "$1"
        mount -t proc proc "$1/proc"
        mount --rbind /sys "$1/sys"
        mount --rbind /dev "$1/dev"
        cd "$1"
        mkdir -p .machine
        pivot_root . .machine
        umount -l .machine
        rmdir /.machine
        cd /root
        exec env -i HOME=/root TERM="${TERM:-dumb}" DEBIAN_FRONTEND=noninteractive \
            PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
            ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} \
            bash -euo pipefail -c "$2" bash "${@:3}"' bash "$room" "$@"
}

# Every file but those in which the package system keeps its own books, caches and logs.
files_of_room() {
    (cd "$room" && find . -xdev \( -path ./proc -o -path ./sys -o -path ./dev -o -path ./tmp -o -path ./run -o \
        -path ./var/lib/dpkg -o -path ./var/lib/apt -o -path ./var/cache -o -path ./var/log \) -prune -o -print | sort)
}

try_packages() {
    mkdir "$room/tmp/packages"
    cp build/release/packages/*.deb "$room/tmp/packages/"
    in_room 'apt-get update -qq'
    files_of_room >"$room/tmp/before"
    # shellcheck disable=SC2016
    in_room 'apt-get install -y -qq --no-install-recommends /tmp/packages/*.deb >/dev/null
        export HOME=/tmp/home
        mkdir -p /opt/usr /tmp/usr "$HOME"
        cd /usr/share/doc/zarn/examples
        cp cpu_collect_analyze.json /opt/usr/
        cp ddr_collect_analyze.json /tmp/usr/
        zarn /opt/usr/cpu_collect_analyze.json | tee /tmp/zarn.out | grep -Fx "[CpuAnalyzer] CpuAnalyzer Finished!"
        zarn-board --opt-usr /tmp/usr -- zarn /opt/usr/ddr_collect_analyze.json | tee /tmp/board.out |
            grep -Fx "[DdrAnalyzer] DdrAnalyzer Finished!"
        ls /opt/usr/mnt/zarn/zarn_data_*/json/ /tmp/usr/mnt/zarn/zarn_data_*/json/
        cd / && rm -rf /opt/usr
        apt-get purge -y -qq zarn zarn-board zarn-board-libs >/dev/null
        apt-get autoremove --purge -y -qq >/dev/null
        ! dpkg-query -W "zarn*" 2>/dev/null | grep .'
    files_of_room | diff "$room/tmp/before" - || { echo "the packages left something, or took something away" >&2; return 1; }
    echo "Purging left nothing behind."
}

run_commands() { # FOLDER COMMAND...
    local command
    for command in "${@:2}"; do
        # shellcheck disable=SC2016
        step "$command" in_room 'cd "$1" && $2' "$1" "$command"
    done
}

copy_checkout() {
    mkdir -p "$room$root/build"
    git ls-files -z | xargs -0 cp -a --parents -t "$room$root"
    cp -a build/release "$room$root/build/"
}

# check_page FOLDER: what the demo made for a browser in that checkout, which is kept in build/clean_room.
check_page() {
    rm -rf build/clean_room
    mkdir -p build/clean_room
    [ ! -e "$room$1/build/demo/report.html" ] || cp -t build/clean_room "$room$1/build/demo/report.html"
    scripts/demo_check.sh build/clean_room
}

need_packages scripts/packages.txt scripts/packages-dev.txt
build_preset release zarn-and-board
pack build/release
mapfile -t commands < <(sed -n 's|^    \(\./scripts/[a-z_]*\.sh\).*|\1|p' README.md)
[ ${#commands[@]} -eq 2 ] || { echo "the README has ${#commands[@]} commands instead of two" >&2; exit 1; }
step "a clean Debian 12" make_room
step "the packages installed, run and purged" try_packages
if [ $# -gt 0 ]; then
    step "this checkout with its release build" copy_checkout
    run_commands "$root" "${commands[0]}"
    checkout=$root
else
    step "a clone of what is committed" git clone -q "$root" "$room/srv/zarn"
    run_commands /srv/zarn "${commands[@]}"
    checkout=/srv/zarn
fi
step "the demo's page in the browser of this machine" check_page "$checkout"
say "Clean room: times"
printf '%s\n' "${times[@]}"
