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
if grep -E 'libav|libpng|libuchardet|libzvbi' <<<"$needed"; then
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
# Russian, in windows-1251.
printf '1\n00:00:01,000 --> 00:00:02,000\n\xCF\xF0\xE8\xE2\xE5\xF2, \xEA\xE0\xEA \xE4\xE5\xEB\xE0? \xDD\xF2\xEE \xF0\xF3\xF1\xF1\xEA\xE8\xE9 \xF2\xE5\xEA\xF1\xF2.\n' >"$work/a.srt"

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
    encodings)
        # Without it nothing fails: the text is taken for the usual encoding.
        for tree in moved alone; do
            said=$("$work/$tree/$programs/qlxcc" convert "$work/a.srt" -o - --to-format srt 2>&1)
            wanted=$([[ $tree == moved ]] && echo windows-1251 || echo windows-1252)
            [[ $said == *"read as $wanted"* ]] || fail "$tree: qlxcc convert says: $said"
        done
        ;;
    screens)
        expect moved "No such file" show "$work/none.klv" --rate 25 --at 0 --png "$work/b.ppm"
        expect alone "$missing" show "$work/none.klv" --rate 25 --at 0 --png "$work/b.ppm"
        ;;
    *) fail "unknown module: $module" ;;
    esac
done
