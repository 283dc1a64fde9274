# shellcheck shell=bash
# Functions shared by the scripts of this folder. Source it from the top of the tree.

# Debian packages needed to build the libraries, the program and the tests.
# shellcheck disable=SC2034 # used by the scripts that source this
build_packages=(
    g++ cmake ninja-build pkgconf python3
    libgtest-dev libgmock-dev zlib1g-dev libbz2-dev liblzma-dev libzstd-dev libsqlite3-dev
)

# usage: prints the head comment of the script.
usage() {
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "scripts/${0##*/}"
}

# answer_help ARGUMENT...: prints the usage and ends the script if the first argument is --help.
answer_help() {
    if [[ ${1:-} == --help || ${1:-} == -h ]]; then
        usage
        exit 0
    fi
}

# refuse TEXT: reports a usage error and ends the script.
refuse() {
    echo "scripts/${0##*/}: $1; --help prints the usage" >&2
    exit 2
}

# no_arguments ARGUMENT...: for scripts that accept only --help.
no_arguments() {
    answer_help "$@"
    (($# == 0)) || refuse "unexpected argument $1"
}

# need_packages PACKAGE...: installs missing packages, which requires root. Does nothing, and uses no
# network, if none is missing. Without dpkg, the build itself reports what is missing.
need_packages() {
    command -v dpkg-query >/dev/null || return 0
    local package missing=() log
    for package; do
        # shellcheck disable=SC2016 # a format of dpkg-query's
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    if ((EUID != 0)); then
        echo "${0##*/}: these packages are missing: ${missing[*]}" >&2
        echo "${0##*/}: run this as root once, or: apt-get install ${missing[*]}" >&2
        return 1
    fi
    echo "installing ${missing[*]}"
    log=$(mktemp)
    export DEBIAN_FRONTEND=noninteractive
    # An unreachable source matters only if a package comes from it.
    apt-get update >"$log" 2>&1 || true
    if ! apt-get install -y --no-install-recommends "${missing[@]}" >>"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# build_preset PRESET [TARGET...]: configures and builds in build/PRESET. Shows progress; prints the
# output of CMake and the compiler on failure.
build_preset() {
    local preset=$1 log=build/$1/build.log
    shift
    mkdir -p "build/$preset"
    : >"$log"
    if with_progress "$preset: configuring" "$log" cmake --preset "$preset" &&
        with_progress "$preset: building" "$log" \
            as_preset "$preset" cmake --build --preset "$preset" -j "$(nproc)" \
            ${1:+--target "$@"} -- -k 0; then
        return 0
    fi
    grep -vE '^\[[0-9]+/[0-9]+\] ' "$log"
    return 1
}

# with_progress TEXT LOG COMMAND...: runs a command that counts its steps, such as ninja or ctest,
# and appends its output to LOG. Shows the text on standard error: on a terminal with the current
# step, otherwise once.
with_progress() {
    local text=$1 log=$2 line status=0
    shift 2
    if [[ ! -t 2 ]]; then
        echo "$text ..." >&2
        "$@" >>"$log" 2>&1
        return
    fi
    printf '%s' "$text" >&2
    "$@" 2>&1 | tee -a "$log" | while IFS= read -r line; do
        if [[ $line =~ ^[\ \[]*([0-9]+/[0-9]+)(\]| Test) ]]; then
            printf '\r\e[K%s %s' "$text" "${BASH_REMATCH[1]}" >&2
        fi
    done || status=$?
    printf '\r\e[K' >&2
    return "$status"
}

# as_preset PRESET COMMAND...: runs a command that executes programs built with the preset.
as_preset() {
    local preset=$1
    shift
    # The thread sanitizer needs a fixed part of the address space, where a kernel with strong
    # randomization may place libraries.
    if [[ $preset == tsan ]] && setarch -R true 2>/dev/null; then
        setarch -R "$@"
    else
        "$@"
    fi
}
