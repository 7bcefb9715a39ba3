#!/usr/bin/env bash
# scripts/lint in a made-up project: what it passes over, and that it finds whatever a change brings in.
#   lint.sh SOURCE-FOLDER WORKING-FOLDER
set -euo pipefail

source=$1 work=$2
failures=0
export XDG_CACHE_HOME=$work/cache

# expect RESULT KNOWN [KNOWN]: lints; RESULT is `passes` or `fails`, KNOWN how many of the two sources clang-tidy knows
# (and cppcheck, when it knows another number).
expect() {
    local printed result=passes
    printed=$(scripts/lint build 2>&1) || result=fails
    if [[ $result != "$1" || $printed != "clang-tidy: 2 sources, $2 of them known
cppcheck: 2 sources, ${3-$2} of them known"* ]]; then
        printf 'line %s: expected %s; it %s:\n%s\n' "${BASH_LINENO[0]}" "$*" "$result" "$printed" >&2
        failures=$((failures + 1))
    fi
}

# entry SOURCE: of the database of compile commands, as CMake writes it: a path with blanks stands in quotes.
entry() {
    local quote=''
    if [[ $PWD/$1 == *' '* ]]; then
        quote='\"'
    fi
    printf '{\n  "directory": "%s",\n' "$PWD/build"
    printf '  "command": "/usr/bin/clang++ -DTEXT=%s %s -std=c++20 -o A.o -c %s",\n' \
        '\\\"a\\\"' "$quote-I$PWD/src$quote" "$quote$PWD/$1$quote"
    printf '  "file": "%s"\n' "$PWD/$1"
}

# sources: the two of them, without a defect
sources() {
    printf '%s\n' '#pragma once' 'void halve(int* value);' 'inline int half(int value) {' '    return value / 2;' '}' \
        >src/room/Half.h
    printf '%s\n' '#include "room/Half.h"' 'void halve(int* value) {' '    *value = half(*value);' '}' \
        >src/room/Halve.cpp
    printf '%s\n' '#include "room/Half.h"' 'int quarter(int value) {' '    int* none = 0; // NOLINT' \
        '    halve(none == &value ? none : &value);' '    return half(value);' '}' >src/room/Quarter.cpp
}

project() {
    mkdir -p scripts src/room streams tools build include
    cp "$source"/scripts/{lint,fingerprint.sh,lib.sh} scripts
    cp "$source"/{.clang-tidy,.cppcheck-suppressions} .
    printf '[\n%s\n},\n%s\n}\n]\n' "$(entry src/room/Halve.cpp)" "$(entry src/room/Quarter.cpp)" \
        >build/compile_commands.json
    sources
}

rm -rf "$work"
mkdir -p "$work/first" "$work/another place"
cd "$work/another place"
project
expect passes 0
cd "$work/first"
project
expect passes 2

# A comment is all that keeps a defect from being found; clang-tidy forgets no defect, cppcheck has found none.
sed -i 's|// NOLINT||' src/room/Quarter.cpp
expect fails 1
expect fails 1 2
sources
expect passes 2

# In a header of both.
echo 'inline int* nothing() { return 0; }' >>src/room/Half.h
expect fails 0
sources
echo '// A comment.' >>src/room/Half.h
expect passes 0
sources
expect passes 2

# A header that is found in front of the other one.
mkdir src/room/room
sed '$a inline int* nothing() { return 0; }' src/room/Half.h >src/room/room/Half.h
expect fails 0
rm -r src/room/room
expect passes 2

# What has not changed is not even read.
mkdir "$work/bin"
# shellcheck disable=SC2016 # For the script itself.
printf '%s\n' '#!/bin/sh' 'test "$1" = --version && exec /usr/bin/clang++ "$@"' >"$work/bin/clang++"
chmod +x "$work/bin/clang++"
PATH=$work/bin:$PATH expect passes 2
echo '// A comment.' >>src/room/Half.h
PATH=$work/bin:$PATH expect passes 0
sources

# What only cppcheck finds, in one source and from one to the other, of which only one has changed.
echo 'int last() { const int two[2] = {0, 0}; return two[2]; }' >>src/room/Quarter.cpp
expect fails 1
expect fails 2 1
sources
echo 'void crash() { halve(nullptr); }' >>src/room/Quarter.cpp
expect fails 1
expect fails 2 1
sources
expect passes 2

# A name that both sources have for themselves: they cannot be looked at as one text.
for file in src/room/Halve.cpp src/room/Quarter.cpp; do
    printf '%s\n' 'namespace {' 'int one() {' '    return 1;' '}' '} // namespace' >>$file
done
printf '%s\n' 'int two() {' '    return 2 * one();' '}' >>src/room/Halve.cpp
printf '%s\n' 'int three() {' '    return 3 * one();' '}' >>src/room/Quarter.cpp
expect passes 0
expect passes 2

# A name taken from elsewhere that only the other source uses.
sources
echo 'namespace other { int six(); }' >>src/room/Half.h
echo 'using other::six;' >>src/room/Halve.cpp
printf '%s\n' 'using other::six;' 'int seven() {' '    return six() + 1;' '}' >>src/room/Quarter.cpp
expect fails 0
sources
expect passes 2

# Names that stand in no other source are looked at together: one that is used, then one that is not.
echo 'namespace other { int five(); int six(); }' >>src/room/Half.h
printf '%s\n' 'using other::five;' 'int eight() {' '    return five() + 3;' '}' >>src/room/Halve.cpp
printf '%s\n' 'using other::six;' 'int seven() {' '    return six() + 1;' '}' >>src/room/Quarter.cpp
expect passes 0
echo '// A comment.' >>src/room/Half.h
sed -i 's/return five() + 3;/return 8;/' src/room/Halve.cpp
expect fails 0
sources
expect passes 2

# The configuration and the flags.
echo '# A comment.' >>.cppcheck-suppressions
expect passes 2 0
sed -i 's/modernize-use-nullptr,/&\n  modernize-use-trailing-return-type,/' .clang-tidy
expect fails 0 2
cp "$source/.clang-tidy" .
expect passes 2
sed -i 's/-std=c++20/& -DMORE/' build/compile_commands.json
expect passes 0

# What stands in the other folders is looked at as well.
from=src/room
for folder in streams tools; do
    mkdir -p $folder
    mv $from/Quarter.cpp $folder
    sed -i "s|$from/Quarter|$folder/Quarter|" build/compile_commands.json
    sed -i 's|int\* none = 0;.*|int* none = 0;|' $folder/Quarter.cpp
    expect fails 1
    from=$folder
done

# A name with a blank.
mv tools/Quarter.cpp 'tools/Last Quarter.cpp'
printf '[\n%s\n},\n%s\n}\n]\n' "$(entry src/room/Halve.cpp)" "$(entry 'tools/Last Quarter.cpp')" \
    >build/compile_commands.json
expect fails 1
sed -i 's|int\* none = 0;|& // NOLINT|' 'tools/Last Quarter.cpp'
expect passes 1
expect passes 2

exit $((failures > 0 ? 1 : 0))
