# Shell functions of scripts/lint: how sources are compiled, and a digest of all that the tools see of each of them.
# They work on these variables: root, database (the build folder), work (a folder for temporary files), cache (what is
# remembered from run to run).
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

# read_surroundings: `surroundings` becomes a digest of what decides, beside a source's flags and files, which files it
# includes: the compiler, the headers that there are, and what is installed.
read_surroundings() {
    surroundings=$(
        set +o pipefail # Not each of these folders need be there.
        {
            clang++ --version
            printf '%s\n' "${CPATH-}" "${CPLUS_INCLUDE_PATH-}"
            stat -c %y /var/lib/dpkg/status 2>/dev/null || true
            find "$root"/{src,streams,tools,include,tests/support} "$database/include" -type f ! -name '*.cpp' \
                ! -name CMakeLists.txt 2>/dev/null | LC_ALL=C sort | without_places
        } | sha256sum
    )
}

# write_database SOURCE...: their part of it. clang-tidy also looks at sources that this build leaves out, as if they
# were compiled like a neighbour; cppcheck has a database without those. The part of each source alone goes into
# $work/NUMBER.entries; what it is remembered by goes into $work/NUMBER.key.
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
        all+=${entries[$file]}
        printf '%s\n' "${entries[$file]}" >"$work/$number.entries"
        file=${entries[$file]//"$database"/@build}
        printf '%s\n' "$surroundings" "${file//"$root"/@root}" >"$work/$number.key"
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

# with_places: the other way
with_places() {
    local text
    text=$(cat)
    text=${text//@build/"$database"}
    printf '%s\n' "${text//@root/"$root"}"
}

# with_files NUMBER COMMAND...: the command with the source and the project's headers that it includes
with_files() {
    local number=$1
    shift
    awk 'index($0, ENVIRON["root"] "/") == 1 || index($0, "/usr/") != 1' "$work/$number.files" | xargs -d '\n' "$@"
}

# describe NUMBER FLAG...: the flags, what the compiler reads, and the digests of the files: comments and what #if
# leaves out are seen as well.
describe() {
    local number=$1
    shift
    printf '%s\n' "$@" | without_places
    clang++ "$@" -w -E -CC -P "-fmacro-prefix-map=$root=@root" \
        -MD -MT source -MF "$work/$number.dependencies" || return
    sed 's/^source://; s/\\$//' "$work/$number.dependencies" | xargs printf '%s\n' >>"$work/$number.files"
    with_files "$number" sha256sum -- | without_places
}

# recall NUMBER...: of the sources whose flags, surroundings and files are those of an earlier run, $work/NUMBER.print and
# $work/NUMBER.files become what they were then: all that the compiler read, with its digest, is remembered under the
# digest of $work/NUMBER.key.
recall() {
    local number digest memory
    local -a memories=()
    (cd "$work" && printf '%s.key\0' "$@" | xargs -0 sha256sum --) >"$work/keys"
    while read -r digest number; do
        memory=$cache/read-$digest
        printf '%s\n' "$memory" >"$work/${number%.key}.memory"
        if [[ -f $memory ]]; then
            memories+=("$memory")
            printf '%s %s\n' "${number%.key}" "$memory"
        fi
    done <"$work/keys" >"$work/memories"
    if ((${#memories[@]} == 0)); then
        return
    fi
    # Each file once, whatever the number of those that include it.
    printf '%s\0' "${memories[@]}" | xargs -0 tail -q -n +2 -- | cut -c 67- | LC_ALL=C sort -u | with_places |
        { xargs -d '\n' sha256sum -- 2>/dev/null || true; } >"$work/sums"
    awk '
        FILENAME == ARGV[1] { sum[substr($0, 67)] = substr($0, 1, 64); next }
        {
            number = ENVIRON["work"] "/" $1
            memory = substr($0, length($1) + 2)
            print_of = ""
            files = ""
            same = (getline print_of < memory) > 0
            while (same && (getline line < memory) > 0) {
                name = substr(line, 67)
                if (name ~ /^@root/) {
                    name = ENVIRON["root"] substr(name, 6)
                } else if (name ~ /^@build/) {
                    name = ENVIRON["database"] substr(name, 7)
                }
                same = sum[name] == substr(line, 1, 64)
                files = files name "\n"
            }
            close(memory)
            if (same && files != "") {
                printf "%s", files > (number ".files")
                close(number ".files")
                print print_of > (number ".print")
                close(number ".print")
                print memory > (ENVIRON["work"] "/recalled")
            }
        }' "$work/sums" "$work/memories"
    if [[ -f $work/recalled ]]; then
        xargs -d '\n' touch -c -- <"$work/recalled"
    fi
}

# memorize NUMBER: for `recall`
memorize() {
    local new
    new=$(mktemp "$cache/new.XXXXXX")
    {
        cat "$work/$1.print"
        LC_ALL=C sort -u "$work/$1.files" | xargs -d '\n' sha256sum -- | without_places
    } >"$new"
    if edited "$1"; then
        rm "$new"
    else
        mv "$new" "$(<"$work/$1.memory")"
    fi
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
    memorize "$number"
}

# edited NUMBER: whether one of its files has been written since the run began
edited() {
    local files
    files=$(with_files "$1" sh -c 'find "$@" -cnewer "$0"' "$work/start") || return 0
    [[ -n $files ]]
}
