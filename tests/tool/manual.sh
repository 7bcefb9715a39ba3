#!/usr/bin/env bash
# The manual pages against the help of qlxcc: every command has its page, every option of a command stands in the
# options of its page, once, and no page names an option that there is not. What an option was called before is in the
# page alone, and is taken.
#   manual.sh QLXCC PAGES-FOLDER
set -euo pipefail

qlxcc=$1 pages=$2
failures=0

fail() {
    echo "$*" >&2
    failures=$((failures + 1))
}

# The commands and the options that the help of a command lists, one a line.
commands() {
    "$qlxcc" "$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z0-9][a-z0-9-]*\) .*/\1/p'
}
options() {
    "$qlxcc" "$@" --help | sed -n '/^Options:/,/^$/s/^  \(-[^ ]*\).*/\1/p' | tr , '\n'
}

# takes COMMAND... OPTION: whether a command takes an option with a value that its help does not name.
takes() {
    local said
    said=$("$qlxcc" "$@" 2>&1 || true)
    grep -Eq '^qlxcc: --[a-z-]+: 1 required [A-Z]+ missing ' <<<"$said"
}

# plain FILE: the text of a page as its source has it, without escapes and fonts.
plain() {
    sed -e 's/\\f[A-Z]//g' -e 's/\\-/-/g' -e 's/\\ / /g' -e 's/\\(dq/"/g' "$1"
}

# named: the options in a text, one a line.
named() {
    grep -oE -e '(^|[^a-zA-Z0-9-])--?[a-zA-Z][a-zA-Z0-9-]*' | grep -oE -e '-.*' | sed 's/^[^-]*//' | sort -u || true
}

# The options of a page that stand in front of their descriptions.
described() {
    plain "$1" | awk '/^\.TP/ { tag = 1; next } tag && !/^\./ { tag = 0 } tag { print; tag = 0 }' | named
}

# repeated PAGE: what stands twice: "the synopsis -o", "OPTIONS -o". A command in a synopsis and a section of options
# have theirs for themselves.
repeated() {
    plain "$1" | awk '
        /^\.SH/ { section = substr($0, 5) }
        section == "SYNOPSIS" && /^\.B qlxcc/ { ++part }
        section == "SYNOPSIS" && /^\.[BR]+ .*\[ -/ { print "synopsis " part, $3 }
        /^\.TP/ { tag = 1; next }
        tag && !/^\./ { tag = 0 }
        tag { tag = 0; while (match($0, /(^|[^a-zA-Z0-9-])--?[a-zA-Z][a-zA-Z0-9-]*/)) {
            option = substr($0, RSTART, RLENGTH); sub(/^[^-]*/, "", option)
            print section, option; $0 = substr($0, RSTART + RLENGTH) } }' | sort | uniq -d
}

# missing FILE-1 FILE-2: the lines of the first that the second has not.
missing() {
    comm -23 <(sort -u <<<"$1") <(sort -u <<<"$2")
}

overview=$pages/qlxcc.1
overview_text=$(plain "$overview")
all_commands=$(commands)
common=$(options | sort -u)
everything=$common
count=0
for command in $all_commands; do
    own=$(options "$command")
    inner_commands=$(commands "$command")
    for inner in $inner_commands; do
        own+=$'\n'$(options "$command" "$inner")
    done
    page=$pages/qlxcc-$command.1
    count=$((count + 1))
    if [[ ! -f $page ]]; then
        fail "qlxcc $command has no page $page"
        continue
    fi
    if ! grep -Fxq ".BR qlxcc-$command (1)" <<<"$overview_text"; then
        fail "$overview does not name qlxcc-$command(1)"
    fi
    for option in $(missing "$own" "$(described "$page")"); do
        fail "$page does not describe $option"
    done
    for option in $(missing "$(described "$page")" "$own"$'\n'"$common"); do
        if takes "$command" "$option"; then
            own+=$'\n'$option
        fi
        for inner in $inner_commands; do
            if takes "$command" "$inner" "$option"; then
                own+=$'\n'$option
            fi
        done
    done
    everything+=$'\n'$own
    # --version is that of qlxcc alone.
    for option in $(missing "$(described "$page")" "$own"$'\n'"$(grep -v '^--version$' <<<"$common")"); do
        fail "$page describes $option, which qlxcc $command does not take"
    done
done
for option in $(missing "$common" "$(described "$overview")"); do
    fail "$overview does not describe $option"
done

shopt -s nullglob
for page in "$pages"/*.1; do
    name=$(basename "$page" .1)
    if [[ $name != qlxcc ]] && ! grep -Fxq "${name#qlxcc-}" <<<"$all_commands"; then
        fail "$page: there is no command ${name#qlxcc-}"
    fi
    while IFS= read -r option; do
        fail "$page has this twice: $option"
    done < <(repeated "$page")
    # `iconv -l` is somebody else's.
    for option in $(missing "$(plain "$page" | sed 's/iconv -l//' | named)" "$everything"); do
        fail "$page names $option, which no command takes"
    done
    for other in $(plain "$page" | sed -n 's/^\.BR \(qlxcc[a-z0-9-]*\) (1).*/\1/p'); do
        [[ -f $pages/$other.1 ]] || fail "$page refers to $other(1), which is not there"
    done
    if command -v mandoc >/dev/null; then
        mandoc -T lint -W warning "$page" >&2 || fail "$page is not a clean page"
    fi
done

# A help text that this script cannot read would make all of it look right.
if ((count < 10 || $(sort -u <<<"$everything" | wc -l) < 50)); then
    fail "only $count commands and $(sort -u <<<"$everything" | wc -l) options were found in the help"
fi
if ((failures > 0)); then
    exit 1
fi
echo "$count commands and their pages agree"
