# Shell functions of scripts/lint: how sources are compiled, and a digest of all that the tools see of each of them.
# They work on these variables: root, database (the build folder), work (a folder for temporary files).
# shellcheck shell=bash disable=SC2016,SC2154

declare -A entries=() # what compile_commands.json says of a file: one object or several, each with a comma behind it

# read_database: fills `entries`. CMake writes each key on a line of its own. What is looked at is each source with its
# own includes: precompiled headers are left out.
read_database() {
    local line entry='' file='' rest
    while IFS= read -r line; do
        if [[ $line == *' -include-pch '* ]]; then
            rest=${line#* -include-pch }
            rest=${rest#*.pch}
            line=${line%% -include-pch *}${rest#\\\"}
        fi
        case $line in
        '{') entry=$line ;;
        '}'*) entries[$file]+=$entry$'\n},' ;;
        *) entry+=$'\n'$line ;;
        esac
        if [[ $line == '  "file": "'* ]]; then
            file=${line#*: \"}
            file=${file%\"*}
        fi
    done <"$database/compile_commands.json"
}

# write_database SOURCE...: their part of it. clang-tidy also looks at sources that this build leaves out, as if they
# were compiled like a neighbour; cppcheck has a database without those. The part of each source alone goes into
# $work/NUMBER.entries.
write_database() {
    local source file neighbour number=0 built='' all=''
    for source in "$@"; do
        file=$root/$source
        built+=${entries[$file]-}
        for neighbour in "${file%/*}"/*.cpp; do
            if [[ -z ${entries[$file]-} && -n ${entries[$neighbour]-} ]]; then
                entries[$file]=${entries[$neighbour]//"$neighbour"/"$file"}
                touch "$work/$number.left_out"
            fi
        done
        if [[ -z ${entries[$file]-} ]]; then
            echo "$database does not say how $source is compiled" >&2
            return 1
        fi
        printf '%s\n' "${entries[$file]}" >"$work/$number.entries"
        all+=${entries[$file]}
        number=$((number + 1))
    done
    printf '[%s]\n' "${all%,}" >"$work/compile_commands.json"
    if [[ -n $built ]]; then
        printf '[%s]\n' "${built%,}" >"$work/cppcheck.json"
    fi
}

# without_places: a text without the places of the checkout and of its build folder
without_places() {
    local text
    text=$(cat)
    text=${text//"$database"/@build}
    printf '%s\n' "${text//"$root"/@root}"
}

# with_files NUMBER COMMAND...: the command with the source and the project's headers that it includes
with_files() {
    local number=$1
    shift
    sed 's/^source://; s/\\$//' "$work/$number.dependencies" | xargs "$@"
}

# describe NUMBER FLAG...: the flags, what the compiler reads, and the digests of the files: comments and what #if
# leaves out are seen as well.
describe() {
    local number=$1
    shift
    printf '%s\n' "$@" | without_places
    clang++ "$@" -w -E -CC -P "-fmacro-prefix-map=$root=@root" \
        -MMD -MT source -MF "$work/$number.dependencies" || return
    with_files "$number" sha256sum -- | without_places
}

# fingerprint NUMBER: writes $work/NUMBER.print: the digest, and the size of what the compiler reads. There is none
# when the compiler cannot read it.
fingerprint() {
    local number=$1 command words flags
    local text=$work/$number.text
    cd "$database" || return
    while IFS= read -r command; do
        command=${command#*: \"}
        command=${command%\"*}
        command=${command//\\\"/\"}
        # It is written for a shell.
        eval "words=(${command//\\\\/\\})"
        flags=()
        set -- "${words[@]:1}"
        while (($# > 0)); do
            case $1 in
            -c) ;;
            -o) shift ;;
            *) flags+=("$1") ;;
            esac
            shift
        done
        describe "$number" "${flags[@]}" >>"$text" 2>/dev/null || return 0
    done < <(grep '^  "command": ' "$work/$number.entries")
    if [[ ! -s $text ]]; then
        return 0
    fi
    printf '%s %s\n' "$(sha256sum <"$text" | cut -c 1-64)" "$(stat -c %s "$text")" >"$work/$number.print"
    rm "$text"
}

# edited NUMBER: whether one of its files has been written since the run began
edited() {
    local files
    files=$(with_files "$1" sh -c 'find "$@" -cnewer "$0"' "$work/start") || return 0
    [[ -n $files ]]
}
