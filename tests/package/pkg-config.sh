#!/usr/bin/env bash
# Builds and runs the consumers of both libraries with nothing but the compiler and pkg-config.
#   pkg-config.sh static|shared COMPILER MODULE-FOLDER LIBRARY-FOLDER WORKING-FOLDER
set -euo pipefail

variant=$1 compiler=$2 modules=$3 libraries=$4 work=$5
consumer=$(dirname "${BASH_SOURCE[0]}")/consumer
export PKG_CONFIG_PATH=$modules

# build MODULE SOURCE
build() {
    local module=$1 source=$2 program=$work/${2%.cpp}_$variant flags=() compile link needs_shared=no
    if [[ $variant == static ]]; then
        flags=(--static)
    fi
    read -ra compile < <(pkg-config --cflags "$module")
    read -ra link < <(pkg-config "${flags[@]}" --libs "$module")
    if [[ $variant == static ]]; then
        link=(-static "${link[@]}")
    fi
    "$compiler" -std=c++20 "${compile[@]}" "$consumer/$source" -o "$program" "${link[@]}"

    # The program must really use the variant that was asked for.
    if readelf -d "$program" | grep -q "NEEDED.*lib$module\."; then
        needs_shared=yes
    fi
    case $variant-$needs_shared in
    static-no | shared-yes) ;;
    *)
        echo "$variant consumer of $module, but needs the shared library: $needs_shared" >&2
        exit 1
        ;;
    esac
    LD_LIBRARY_PATH=$libraries "$program"
}

mkdir -p "$work"
build QLXClosedCaptionsUtilities main.cpp
build QLXClosedCaptionsUtilitiesStreams streams.cpp
