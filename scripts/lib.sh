# Shell functions of the scripts beside this file; sourced, never run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
cd "$root" || exit

jobs=$(nproc)
export CMAKE_BUILD_PARALLEL_LEVEL=$jobs CTEST_PARALLEL_LEVEL=$jobs

# usage SYNOPSIS: ends a script that was called wrongly.
usage() {
    echo "usage: $1" >&2
    exit 2
}

stage_times=() # of each stage that has passed: wall and CPU milliseconds, heading

# read_clocks: `wall` and `cpu` become milliseconds: since some moment, and those of all processes that this one started
# and that have ended.
read_clocks() {
    local fields ticks
    ticks=$(getconf CLK_TCK)
    wall=$((${EPOCHREALTIME//[!0-9]/} / 1000))
    # Behind the name, which may have blanks: the 14th and 15th field.
    fields=$(<"/proc/$$/stat")
    read -r -a fields <<<"${fields##*) }"
    cpu=$(((fields[13] + fields[14]) * 1000 / ticks))
}

# stage HEADING COMMAND...: one step of a script, with its duration; a failing step ends the script.
stage() {
    local heading=$1 wall cpu wall_before cpu_before
    shift
    printf '\n== %s\n' "$heading"
    read_clocks
    wall_before=$wall cpu_before=$cpu
    "$@"
    read_clocks
    stage_times+=("$((wall - wall_before)) $((cpu - cpu_before)) $heading")
    printf '== done in %d s\n' $(((wall - wall_before + 500) / 1000))
}

# show_stage_times: a table of the stages so far
show_stage_times() {
    local wall cpu heading
    printf '\n%8s %8s  %s\n' 'wall s' 'CPU s' stage
    while read -r wall cpu heading; do
        printf '%6d.%d %6d.%d  %s\n' $((wall / 1000)) $((wall % 1000 / 100)) $((cpu / 1000)) $((cpu % 1000 / 100)) \
            "$heading"
    done < <(printf '%s\n' "${stage_times[@]}")
}

# quietly COMMAND...: shows the command's output only when it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    if ((status != 0)); then
        cat "$log" >&2
    fi
    rm -f "$log"
    return "$status"
}

# install_packages [build]: installs what is missing of scripts/packages; asks for root rights only then.
install_packages() {
    local wanted package missing=() elevate=()
    wanted=$(scripts/packages "$@")
    for package in $wanted; do
        if [[ $(dpkg-query -W -f='${Status}' "$package" 2>/dev/null) != "install ok installed" ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        echo "all packages are installed"
        return
    fi
    if ((EUID != 0)); then
        elevate=(sudo)
    fi
    echo "installing ${missing[*]}"
    quietly "${elevate[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update
    quietly "${elevate[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}
