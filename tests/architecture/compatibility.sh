#!/usr/bin/env bash
# Compares docs/COMPATIBILITY.md with the public headers, and has a compiler read the calls of deprecated operations.
#   compatibility.sh COMPILER GENERATED-INCLUDE-FOLDER, from the project's root
# The operations that the page names are those whose comments point to it, and the other way round. The compiler warns
# of every deprecated operation where QLX_WARN_DEPRECATED is defined, and of none elsewhere.
set -euo pipefail

compiler=$1 generated=$2
page=docs/COMPATIBILITY.md
headers=(include/QLXClosedCaptionsUtilities/QLX*.h)
calls=tests/architecture/DeprecatedCalls.cpp

fail() {
    echo "$*" >&2
    exit 1
}

# The operations below comments that point to the page, as `class::name`, and globals as `name`.
pointing() {
    awk '
        FNR == 1 { class = ""; points = 0 }
        /^(class|struct) .*\{/ { class = $(NF - 1) "::" }
        /^};/ { class = "" }
        /^ *\/\/\// { if (/docs\/COMPATIBILITY\.md/) points = 1; next }
        points && !/^ *QLX_DEPRECATED_OPERATION/ {
            if (match($0, /[A-Za-z0-9_]+\(/)) print class substr($0, RSTART, RLENGTH - 1)
            else if (/^extern .*;/) print substr($NF, 1, length($NF) - 1)
            else next
            points = 0
        }' "${headers[@]}"
}

named() {
    grep -oE '`(QLX[A-Za-z0-9]+::|g)[A-Za-z0-9_]+`' "$page" | tr -d '`'
}

# The calls compiled, with the arguments as further options; prints what the compiler says.
compile() {
    "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Iinclude "-I$generated" -DQLX_STATIC_DEFINE "$@" "$calls" 2>&1
}

(($(pointing | wc -l) > 0)) || fail "no header points to $page"
diff <(named | sort -u) <(pointing | sort -u) >&2 ||
    fail "$page (<) and the comments that point to it (>) name other operations"

marked=$(cat "${headers[@]}" | grep -c '^ *QLX_DEPRECATED_OPERATION(')
commented=$(cat "${headers[@]}" | grep -c '^ */// @deprecated ')
((marked == commented)) || fail "$commented operations are said to be deprecated, $marked are marked"

silent=$(compile) || fail "$calls does not compile: $silent"
[[ -z $silent ]] || fail "without QLX_WARN_DEPRECATED: $silent"
spoken=$(compile -DQLX_WARN_DEPRECATED) || fail "$calls does not compile with QLX_WARN_DEPRECATED: $spoken"
warnings=$(grep -c 'warning: .* is deprecated: Always ' <<<"$spoken" || true)
((warnings == marked)) || fail "$warnings warnings for $marked deprecated operations: $spoken"
