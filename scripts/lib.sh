# Shared by the scripts of this folder: where the project is, which packages a job needs, how a preset is built.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Prints a headline.
say() { printf '\n== %s\n' "$*"; }

# The packages of a list: one a line, "#" starts a comment.
packages_of() { sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' "$@"; }

# Installs what is missing of the lists named, as root or through sudo.
# need_packages LIST...
need_packages() {
    local missing=() name runner=()
    while read -r name; do
        dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q ' installed$' || missing+=("$name")
    done < <(packages_of "$@")
    [ ${#missing[@]} -eq 0 ] && return 0
    say "Installing ${missing[*]}"
    [ "$(id -u)" -eq 0 ] || runner=(sudo)
    "${runner[@]}" apt-get update -qq
    "${runner[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# The day, the processor, the system and the compiler, in a line: what figures are worth is told by them.
machine() {
    local model
    model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
    echo "$(date +%F), $(nproc) x ${model:-$(uname -m)}, $(awk '/^MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo)," \
        "Linux $(uname -r | cut -d- -f1), $(g++ --version | head -n 1)"
}

# Configures and builds a preset, with ccache where it is installed.
# build_preset PRESET [TARGET...]
build_preset() {
    local preset=$1 launcher=()
    shift
    if command -v ccache >/dev/null; then
        export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 # what is cached serves every checkout
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    say "Building preset $preset"
    cmake --preset "$preset" "${launcher[@]}" >"/dev/null"
    cmake --build --preset "$preset" ${*:+--target "$@"}
}
