#!/usr/bin/env bash
# Makes the documentation of the public headers: fails when one of their names is not described, or not right.
#   documentation.sh DOXYGEN OUTPUT-FOLDER, from the project's root
set -euo pipefail

doxygen=$1 output=$2
mkdir -p "$output"
printf '%s\n' '@INCLUDE = docs/Doxyfile' "OUTPUT_DIRECTORY = \"$output\"" | "$doxygen" -

if [[ ! -f $output/html/classQLXVANCPacket.html ]]; then
    echo "$output has no page of QLXVANCPacket" >&2
    exit 1
fi
