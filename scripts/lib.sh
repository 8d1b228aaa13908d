# Shared by the scripts of this folder: where the project is, how a script is called, which packages a job needs, how a
# preset is built and packed.

set -euo pipefail
script=$(readlink -f -- "$0")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Prints the comment at the head of the script, which is its help and holds the line "usage: ...".
print_help() { awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$script"; }

# Ends a script that was called in a way that it does not know.
usage_error() {
    print_help | grep '^usage:' >&2
    exit 2
}

# Answers --help, and refuses more than MOST arguments or one that is not, as a whole, of PATTERN, an extended regular
# expression.
# take_arguments MOST PATTERN ARGUMENT...
take_arguments() {
    local most=$1 pattern=$2 argument
    shift 2
    for argument in "$@"; do
        [ "$argument" != --help ] || { print_help; exit 0; }
    done
    [ $# -le "$most" ] || usage_error
    for argument in "$@"; do
        [[ $argument =~ ^($pattern)$ ]] || usage_error
    done
}

# A number that the last commit draws: what is a sample of something is the same one as long as that commit is.
commit_number() {
    local digits
    digits=$(git rev-parse HEAD 2>/dev/null | cut -c1-7) || true
    echo $((16#${digits:-0}))
}

# Prints a headline.
say() { printf '\n== %s\n' "$*"; }

# The lines of a list: a package each, and a command that does as well; "#" starts a comment.
packages_of() { sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' "$@"; }

# Installs what is missing of the lists named, as root or through sudo. A package whose line names a command besides is not
# missing where that command is found, whoever put it there.
# need_packages LIST...
need_packages() {
    local missing=() name instead runner=()
    while read -r name instead; do
        [ -z "$instead" ] || ! command -v "$instead" >/dev/null || continue
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
        export CCACHE_BASEDIR=$root # what is cached serves every checkout
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    say "Building preset $preset"
    cmake --preset "$preset" "${launcher[@]}" >"/dev/null"
    cmake --build --preset "$preset" ${*:+--target "$@"}
}

# Where the results of tests are put, in JUnit's form: a file for each run.
test_results=$root/build/test_results

# Runs the suite of a built preset, or what options let through of it; NAME is that of the results, else the preset's.
# run_tests PRESET[:NAME] [CTEST_OPTION...]
run_tests() {
    local preset=${1%%:*} name=${1##*:}
    say "Testing preset $preset"
    mkdir -p "$test_results"
    rm -rf "$test_results/$name.xml" "build/$preset/test_results"
    ln -sfn "$root/build/$preset/test_results" "$test_results/$name" # where parts of test programs leave their own
    export ZARN_WALK_SEED=${ZARN_WALK_SEED:-$(commit_number)}
    ctest --preset "$preset" -j "$(nproc)" --output-junit "$test_results/$name.xml" "${@:2}"
}

# Makes the Debian packages of a built folder below it, in packages/. The times in them are that of the last commit.
# pack FOLDER [CPACK_OPTION...]
pack() {
    rm -rf "$1/packages"
    export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
    (umask 022 && cd "$1" && cpack -G DEB "${@:2}" >/dev/null)
}
