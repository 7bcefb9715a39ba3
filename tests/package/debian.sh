#!/usr/bin/env bash
# Makes the Debian packages of a build folder, installs them on an empty root, runs the tool there, and builds the
# consumer with what is installed.
#   debian.sh BUILD-FOLDER WORKING-FOLDER VERSION SOVERSION COMPILER
# Ends with 77 where this cannot be tried.
set -euo pipefail

build=$1 work=$2 version=$3 soversion=$4 compiler=$5
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
subtitles=$here/../../examples/data/demo.srt

for needed in dpkg dpkg-deb dpkg-shlibdeps file gzip; do
    if ! command -v "$needed" >/dev/null; then
        echo "skipped: $needed is not installed (Debian packages dpkg-dev and file)"
        exit 77
    fi
done

fail() {
    echo "$*" >&2
    exit 1
}

# expect WHAT EXPECTED FOUND
expect() {
    [[ $3 == "$2" ]] || fail "$1: expected \"$2\", found \"$3\""
}

rm -rf "$work"
mkdir -p "$work/packages" "$work/root"
cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/packages" >"$work/cpack.txt" 2>&1 ||
    fail "$(cat "$work/cpack.txt")"

library=libqlxclosedcaptionsutilities$soversion
development=libqlxclosedcaptionsutilities-dev
architecture=$(dpkg --print-architecture)
files=()
packages=("$library" "$development" qlxcc)
containers=$library-containers
if grep -q "CPACK_COMPONENTS_ALL.*Containers" "$build/CPackConfig.cmake"; then
    packages+=("$containers")
fi
for package in "${packages[@]}"; do
    file=$work/packages/${package}_$version-1_$architecture.deb
    [[ -f $file ]] || fail "no package $file: $(ls "$work/packages")"
    files+=("$file")
done

# field PACKAGE-FILE FIELD
field() {
    dpkg-deb --field "$1" "$2"
}

# control PACKAGE-FILE FILE
control() {
    dpkg-deb --ctrl-tarfile "$1" | tar -xO "./$2"
}

expect "section of the library" libs "$(field "${files[0]}" Section)"
expect "section of -dev" libdevel "$(field "${files[1]}" Section)"
expect "trigger of the library" "activate-noawait ldconfig" "$(control "${files[0]}" triggers)"
expect "shlibs of the library" \
    "libQLXClosedCaptionsUtilities $soversion $library (>= $version-1)
libQLXClosedCaptionsUtilitiesStreams $soversion $library (>= $version-1)" "$(control "${files[0]}" shlibs | sort)"
expect "dependencies of -dev" "$library (= $version-1)" "$(field "${files[1]}" Depends)"
expect "recommendations of -dev" "libpugixml-dev" "$(field "${files[1]}" Recommends)"
[[ $(field "${files[0]}" Depends) == *libc6* ]] || fail "the library depends on no libc6"
[[ $(field "${files[2]}" Depends) == *libc6* ]] || fail "the tool depends on no libc6"
[[ $(field "${files[2]}" Depends) != *libqlx* ]] || fail "the tool depends on the shared library"
# FFmpeg's libraries come with the module alone.
for file in "${files[@]:0:3}"; do
    [[ $(field "$file" Depends) != *libav* ]] || fail "$file depends on FFmpeg's libraries"
done
if ((${#packages[@]} > 3)); then
    [[ $(field "${files[3]}" Depends) == *libavformat* ]] || fail "$containers depends on no libavformat"
    expect "recommendations of the tool" "$containers (= $version-1)" "$(field "${files[2]}" Recommends)"
    expect "suggestions of the library" "$containers" "$(field "${files[0]}" Suggests)"
fi

# On an empty root nothing else is installed, hence the unmet dependencies.
root=$work/root
mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
touch "$root/var/lib/dpkg/status"
if ((EUID == 0)); then
    dpkg --root="$root" --log=/dev/null --force-depends --install "${files[@]}" >"$work/dpkg.txt" 2>&1 ||
        fail "$(cat "$work/dpkg.txt")"
    for package in "${packages[@]}"; do
        expect "state of $package" "ii " "$(dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Abbrev}' "$package")"
    done
    expect "changed files" "" "$(dpkg --root="$root" --verify)"
else
    for file in "${files[@]}"; do
        dpkg-deb --extract "$file" "$root"
    done
fi

# The tool, as it lies there and, where this may be done, with nothing around it but the libraries that it needs.
tool=$root/usr/bin/qlxcc
expect "version" "qlxcc $version" "$("$tool" --version)"
expect "frames that are played" 4175 "$("$tool" play "$subtitles" --mode teletext --rate 25 --format jsonl -o - | wc -l)"
if ((EUID == 0)); then
    ldd "$tool" | grep -oE '/[^ ]+' | while read -r needed; do
        mkdir -p "$root$(dirname "$needed")"
        cp -L "$needed" "$root$needed"
    done
    expect "version on an empty root" "qlxcc $version" "$(chroot "$root" /usr/bin/qlxcc --version)"
fi
[[ $(gzip -dc "$root/usr/share/man/man1/qlxcc.1.gz") == ".TH QLXCC 1 "* ]] || fail "no manual page"
for page in "$here"/../../docs/*.1; do
    gzip -t "$root/usr/share/man/man1/$(basename "$page").gz" || fail "no manual page $(basename "$page")"
done
for schema in "$here"/../../docs/schemas/*.json; do
    cmp -s "$schema" "$root/usr/share/qlxcc/schemas/$(basename "$schema")" || fail "no schema $(basename "$schema")"
done
[[ -s $root/usr/share/bash-completion/completions/qlxcc ]] || fail "no completion for bash"
[[ $(head -n 1 "$root/usr/share/zsh/vendor-completions/_qlxcc") == "#compdef qlxcc" ]] || fail "no completion for zsh"
for package in "${packages[@]}"; do
    [[ -s $root/usr/share/doc/$package/copyright ]] || fail "no copyright file in $package"
done

# The consumer, by CMake and by pkg-config.
cmake -S "$here/consumer" -B "$work/consumer" -G Ninja "-DCMAKE_CXX_COMPILER=$compiler" -DCMAKE_CXX_FLAGS=-O0 \
    "-DCMAKE_PREFIX_PATH=$root/usr" >"$work/consumer.txt" 2>&1 || fail "$(cat "$work/consumer.txt")"
grep -Fq "$root/usr/" "$work/consumer/CMakeCache.txt" || fail "the consumer has found another installation"
cmake --build "$work/consumer" >"$work/consumer.txt" 2>&1 || fail "$(cat "$work/consumer.txt")"
(cd "$work/consumer" && ctest --no-tests=error --output-on-failure >"$work/consumer.txt" 2>&1) ||
    fail "$(cat "$work/consumer.txt")"
modules=$(dirname "$(find "$root/usr/lib" -name QLXClosedCaptionsUtilities.pc)")
"$here/pkg-config.sh" shared "$compiler" "$modules" "$(dirname "$modules")" "$work/pkg_config"

echo "${#packages[@]} packages: installed, run and built with"
