#!/usr/bin/env bash
# scripts/affected in a made-up project: whose tests a change selects.
#   affected.sh SCRIPTS-FOLDER WORKING-FOLDER
set -euo pipefail

scripts=$1 project=$2
failures=0

# expect FOLDERS [PATH...]: what is printed for a change of these files; without one for what differs from build/passed
expect() {
    local expected=$1 printed
    shift
    printed=$("$project/scripts/affected" "$@" 2>"$project/said" | tr '\n' ' ')
    if [[ ${printed% } != "$expected" ]]; then
        printf 'affected %s: %s\n    expected: %s\n' "$*" "$printed" "$expected" >&2
        cat "$project/said" >&2
        failures=$((failures + 1))
    fi
}

rm -rf "$project"
mkdir -p "$project/scripts" "$project/build"
cp "$scripts/affected" "$scripts/lib.sh" "$project/scripts"
cd "$project"
for folder in base low middle high beside streams tool interop package architecture support; do
    mkdir -p "tests/$folder"
    echo "${folder}Tests.cpp" >"tests/$folder/CMakeLists.txt"
    touch "tests/$folder/${folder}Tests.cpp"
done
echo '#include "../low/Rows.h"' >tests/beside/besideTests.cpp
cat >tests/architecture/rooms.txt <<'END'
# comment
base:
low: base
middle: low base
high: middle base
beside: base
streams: high base
tools: public
tools/io: public streams

umbrella: public
Low.h: low
All.h: umbrella
END

expect "architecture high interop low middle streams tool" src/low/Parity.cpp
expect "architecture high interop low middle streams tool" ./src/low/deep/Parity.cpp
expect "architecture high interop low middle streams tool" include/Package/Low.h
expect "architecture high interop low middle streams tool" include/other/low/row.h
expect "architecture interop streams tool" streams/file/Klv.cpp
expect "architecture beside high interop middle streams tool" src/middle/A.cpp src/beside/B.h
expect all src/base/A.cpp
expect all include/Package/base/Data.h
expect all include/Package/All.h
expect all include/Package/Unknown.h
expect all src/CMakeLists.txt
expect all streams/CMakeLists.txt
expect all src/new/A.cpp
expect all CMakeLists.txt
expect all scripts/test
expect all tests/CMakeLists.txt
expect all tests/support/Pictures.h
expect all "src/low/A.cpp" '"src/low/\"B\".cpp"'
expect "architecture high" tests/high/highTests.cpp
expect "architecture beside low" tests/low/Rows.h
expect "architecture low" tests/low/CMakeLists.txt
expect "architecture" tests/architecture/rooms.txt
expect "architecture interop tool" tools/io/File.cpp
expect "architecture interop package tool" README.md
expect "architecture package" packaging/recipe
expect "architecture bench" bench/Low.cpp
expect "architecture" fuzz/Low.cpp

if "$project/scripts/affected" --all 2>"$project/said"; then
    echo "an unknown option is not refused" >&2
    failures=$((failures + 1))
fi

if ! command -v git >/dev/null; then
    echo "without git, what differs from a tree cannot be tested" >&2
    exit $((failures > 0 ? 1 : 77))
fi

# commit: prints its tree.
commit() {
    git add -A
    git -c user.name=test -c user.email=test@example.invalid -c commit.gpgSign=false commit -q -m test
    git rev-parse 'HEAD^{tree}'
}

rm said
mkdir -p src/high src/beside
touch src/high/A.cpp src/beside/B.cpp
printf '%s\n' /build/ /said >.gitignore
git init -q
expect all
commit >build/passed
expect "architecture"
echo >src/high/A.cpp
expect "architecture high interop streams tool"
commit >/dev/null
expect "architecture high interop streams tool"
touch tests/low/newTests.cpp
expect "architecture high interop low streams tool"
git mv src/beside/B.cpp src/high/B.cpp
expect "architecture beside high interop low streams tool"
commit >build/passed
expect "architecture"
echo 1234567890123456789012345678901234567890 >build/passed
expect all

exit $((failures > 0 ? 1 : 0))
