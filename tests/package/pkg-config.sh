#!/usr/bin/env bash
# Builds and runs the consumer with nothing but the compiler and pkg-config.
#   pkg-config.sh static|shared COMPILER MODULE-FOLDER LIBRARY-FOLDER WORKING-FOLDER
set -euo pipefail

variant=$1 compiler=$2 modules=$3 libraries=$4 work=$5
source=$(dirname "${BASH_SOURCE[0]}")/consumer/main.cpp
export PKG_CONFIG_PATH=$modules

flags=()
if [[ $variant == static ]]; then
    flags=(--static)
fi
read -ra compile < <(pkg-config --cflags QLXClosedCaptionsUtilities)
read -ra link < <(pkg-config "${flags[@]}" --libs QLXClosedCaptionsUtilities)
if [[ $variant == static ]]; then
    link=(-static "${link[@]}")
fi

mkdir -p "$work"
"$compiler" -std=c++20 "${compile[@]}" "$source" -o "$work/consumer_$variant" "${link[@]}"

# The program must really use the variant that was asked for.
needs_shared=no
if readelf -d "$work/consumer_$variant" | grep -q 'NEEDED.*libQLXClosedCaptionsUtilities'; then
    needs_shared=yes
fi
case $variant-$needs_shared in
static-no | shared-yes) ;;
*)
    echo "$variant consumer, but needs the shared library: $needs_shared" >&2
    exit 1
    ;;
esac
LD_LIBRARY_PATH=$libraries "$work/consumer_$variant"
