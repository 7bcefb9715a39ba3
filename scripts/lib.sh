# Shell functions of the scripts beside this file; sourced, never run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit

jobs=$(nproc)
export CMAKE_BUILD_PARALLEL_LEVEL=$jobs CTEST_PARALLEL_LEVEL=$jobs

# stage HEADING COMMAND...: one step of a script, with its duration; a failing step ends the script.
stage() {
    local heading=$1 start=$SECONDS
    shift
    printf '\n== %s\n' "$heading"
    "$@"
    printf '== done in %d s\n' $((SECONDS - start))
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
