#!/usr/bin/env bash
# Runs the console blocks of the README and compares what they print with what stands there.
#   readme.sh README WORKING-FOLDER DATA-FOLDER QLXCC             the blocks of the tool, and the pictures
#   readme.sh README WORKING-FOLDER DATA-FOLDER EXAMPLES-BUILD    those that run an example
# A block is fenced by ```console and ```. In it a line `$ COMMAND` is run (a \ at its end continues it), and what
# follows is its output, standard error included, to the letter, except that a line `...` stands for any lines or none.
# The commands share the working folder, in which examples/data has the subtitles of the demo.
set -euo pipefail

readme=$(realpath "$1") work=$2 data=$(realpath "$3") programs=$(realpath "$4")
failures=0
count=0
mode=tool
[[ -d $programs ]] && mode=examples

fail() {
    echo "$*" >&2
    failures=$((failures + 1))
}

rm -rf "$work"
mkdir -p "$work/bin" "$work/tour/examples" "$work/tour/build"
ln -s "$data" "$work/tour/examples/data"
if [[ $mode == tool ]]; then
    ln -s "$programs" "$work/bin/qlxcc"
else
    ln -s "$programs" "$work/tour/build/examples"
fi
PATH=$(realpath "$work/bin"):$PATH
work=$(realpath "$work")
cd "$work/tour"

# agree FOUND EXPECTED: whether two files agree; in the second a line `...` stands for any lines.
agree() {
    awk '
        FILENAME == ARGV[1] { found[++have] = $0; next }
        { wanted[++want] = $0 }
        # Each run of lines between two cuts is taken where it is found first; the last one must end the output.
        function matches(at, first, last,    line) {
            if (at + last - first > have) return 0
            for (line = first; line <= last; ++line) if (found[at + line - first] != wanted[line]) return 0
            return 1
        }
        END {
            at = 1
            first = 1
            cut = 0
            for (line = 1; line <= want + 1; ++line) {
                if (line <= want && wanted[line] != "...") continue
                last = line - 1
                if (last >= first || line > want) {
                    if (line > want && cut) {
                        if (have - (last - first) < at) exit 1
                        at = have - (last - first)
                    } else if (cut) {
                        while (at <= have && !matches(at, first, last)) ++at
                    }
                    if (!matches(at, first, last)) exit 1
                    at += last - first + 1
                }
                first = line + 1
                cut = 1
            }
            exit at != have + 1
        }' "$1" "$2"
}

# check COMMAND EXPECTED-FILE PLACE
check() {
    local found=$work/found.txt status=0
    bash -o pipefail -c "$1" >"$found" 2>&1 </dev/null || status=$?
    # Only a command that says what is wrong may fail.
    if ((status != 0)) && ! grep -q '^qlxcc: ' "$2"; then
        fail "README.md:$3: $1 ends with $status"
    fi
    if ! agree "$found" "$2"; then
        fail "README.md:$3: $1 prints something else:"
        diff "$2" "$found" | head -n 20 >&2 || true
    fi
    count=$((count + 1))
}

# wanted COMMAND: whether this run is for it.
wanted() {
    if [[ $1 == build/examples/* ]]; then
        [[ $mode == examples ]]
    else
        [[ $mode == tool ]]
    fi
}

finish_command() {
    if [[ -n $command ]] && wanted "$command"; then
        check "$command" "$work/expected.txt" "$place"
    fi
    command=
}

number=0 place=0 command='' inside=no
while IFS= read -r line || [[ -n $line ]]; do
    number=$((number + 1))
    if [[ $inside == no ]]; then
        [[ $line == '```console' ]] && inside=yes
        continue
    fi
    if [[ $line == '```' ]]; then
        finish_command
        inside=no
    elif [[ $command == *\\ ]]; then
        command=${command%\\}${line#"${line%%[![:space:]]*}"}
    elif [[ $line == '$ '* ]]; then
        finish_command
        command=${line#'$ '} place=$number
        : >"$work/expected.txt"
    else
        printf '%s\n' "$line" >>"$work/expected.txt"
    fi
done <"$readme"
[[ $inside == no ]] || fail "a console block has no end"

if [[ $mode == tool ]]; then
    # The pictures that the README shows, pixel by pixel: they are those that its commands make.
    for picture in show line21; do
        for file in "$(dirname "$readme")/docs/images/$picture.png" "$picture.png"; do
            ffmpeg -v error -i "$file" -f rawvideo -pix_fmt rgb24 - >"$work/pixels-$(basename "$(dirname "$file")")" ||
                fail "$file cannot be read"
        done
        cmp "$work/pixels-images" "$work/pixels-." || fail "docs/images/$picture.png is another picture than the tour's"
    done
    least=12
else
    # Every line of the code that the README quotes stands in an example.
    sources=$(sed 's/^ *//' "$data"/../*/main.cpp)
    while IFS= read -r line; do
        grep -Fxq -e "$line" <<<"$sources" || fail "README.md quotes code that is in no example: $line"
    done < <(sed -n '/^```cpp$/,/^```$/p' "$readme" | grep -v '^```' | sed 's/^ *//' | grep -v '^$')
    least=3
fi

# A README that this script cannot read would look right.
((count >= least)) || fail "only $count commands were found in the README"
((failures == 0)) || exit 1
echo "$count commands print what the README shows"
