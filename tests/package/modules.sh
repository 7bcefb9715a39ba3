#!/usr/bin/env bash
# The installed tool needs no large library to start with, finds its modules wherever the installation has been moved to,
# and says what is missing where they are not.
#   modules.sh PREFIX PROGRAM-FOLDER LIBRARY-FOLDER WORKING-FOLDER MODULE...
# The folders are those below the prefix; the modules are those that should be there.
set -euo pipefail

prefix=$1 programs=$2 libraries=$3 work=$4
shift 4

fail() {
    echo "$*" >&2
    exit 1
}

needed=$(ldd "$prefix/$programs/qlxcc")
if grep -E 'libav|libpng|libzvbi' <<<"$needed"; then
    fail "qlxcc starts with these libraries"
fi

rm -rf "$work"
mkdir -p "$work"
cp -R "$prefix" "$work/moved"
mkdir -p "$work/alone/$programs"
cp "$prefix/$programs/qlxcc" "$work/alone/$programs"
# Both are files of the kind that ends too early, which only the module finds out.
printf '\x06\x0e\x2b\x34\x02\x05\x01\x01\x0d\x01\x02\x01\x01\x02\x04\x00' >"$work/a.mxf"
printf '\x89PNG\r\n\x1a\n' >"$work/a.png"

# expect TREE PATTERN ARGUMENT...: what the tool of that tree says when it fails
expect() {
    local tree=$1 pattern=$2 said
    shift 2
    said=$("$work/$tree/$programs/qlxcc" "$@" 2>&1) && fail "$tree: qlxcc $* ends with 0"
    [[ $said =~ $pattern ]] || fail "$tree: qlxcc $* says: $said"
}

for module in "$@"; do
    file=$prefix/$libraries/qlxcc/qlxcc-$module.so
    if [[ $module == containers ]]; then
        # It is the library's.
        file=$(echo "$prefix/$libraries"/QLXClosedCaptionsUtilitiesStreams/QLXClosedCaptionsUtilitiesStreams-containers-*.so)
    fi
    [[ -f $file ]] || fail "not installed: $file"
    missing="$(basename "$file"): cannot open shared object file"
    case $module in
    containers)
        expect moved "cut short or damaged" scan "$work/a.mxf"
        expect alone "$missing" scan "$work/a.mxf"
        ;;
    png)
        expect moved "PNG file ends in the middle" line21 read "$work/a.png"
        expect alone "$missing" line21 read "$work/a.png"
        ;;
    screens)
        expect moved "No such file" show "$work/none.klv" --rate 25 --at 0 --png "$work/b.ppm"
        expect alone "$missing" show "$work/none.klv" --rate 25 --at 0 --png "$work/b.ppm"
        ;;
    *) fail "unknown module: $module" ;;
    esac
done
