#!/usr/bin/env bash
# Has a compiler read the examples in the comments of the core's public headers, each in a function of its own behind
# all of them and ExamplePrelude.h; fails when one does not compile, or when a header has none.
#   examples.sh SOURCE-TO-MAKE COMPILER OPTION..., from the project's root
# An example is what is indented by five blanks or more behind // or ///. What is no C++ is indented by less.
set -euo pipefail

source=$1
shift
folder=tests/architecture

# These need none: they have nothing but names of other headers.
without=(include/qlx/qlx.h)

mapfile -t headers < <(find include/qlx -name '*.h' | LC_ALL=C sort)
mkdir -p "$(dirname "$source")"

# Blocks of one comment belong together; the compiler is told where each line stands.
awk -v folder="$folder" '
    function close_block() { if (open) { print "}\n}"; open = 0 }; empty = 0 }
    BEGIN {
        for (number = 1; number < ARGC; ++number) {
            name = ARGV[number]
            sub(/^include\//, "", name)
            print "#include <" name ">"
        }
        print "#include \"" folder "/ExamplePrelude.h\""
    }
    FNR == 1 {
        close_block()
        space = FILENAME
        sub(/^include\/qlx\//, "", space); sub(/\.h$/, "", space)
        gsub(/[^A-Za-z0-9]/, "_", space)
    }
    /^ *\/\/\/?     +[^ ]/ {
        if (!open) {
            printf "namespace example::%s {\nvoid line%d() {\n", space, FNR
            open = 1
        }
        match($0, /\/\/\/? */)
        printf "#line %d \"%s\"\n%s\n", FNR, FILENAME, substr($0, RSTART + RLENGTH)
        next
    }
    /^ *\/\/\/?$/ { next }
    { close_block() }
    END { close_block() }' "${headers[@]}" >"$source.new"
mv "$source.new" "$source"

status=0
for header in "${headers[@]}"; do
    needs=1
    for name in "${without[@]}"; do [[ $header == "$name" ]] && needs=0; done
    has=0
    grep -qF "\"$header\"" "$source" && has=1
    if ((needs != has)); then
        ((has)) && echo "$header has an example, and examples.sh says that it needs none" >&2
        ((needs)) && echo "$header has no example in its comments" >&2
        status=1
    fi
done
((status == 0)) || exit 1

"$@" -I. "$source"
