#!/usr/bin/env bash
# Loads the completion scripts that qlxcc prints, and completes with them as the shells do.
#   completion.sh QLXCC WORKING-FOLDER
set -euo pipefail

qlxcc=$1 work=$2
failures=0

fail() {
    echo "$*" >&2
    failures=$((failures + 1))
}

rm -rf "$work"
mkdir -p "$work/rushes"
touch "$work/film.srt" "$work/film part 2.srt"
"$qlxcc" completion bash >"$work/qlxcc.bash"
"$qlxcc" completion zsh >"$work/_qlxcc"
cd "$work"

# completed WORD...: what bash offers for the last word, one candidate a line.
completed() {
    bash --norc --noprofile -u -c '
        source ./qlxcc.bash
        COMP_WORDS=(qlxcc "$@") COMP_CWORD=$#
        _qlxcc
        if ((${#COMPREPLY[@]} > 0)); then
            printf "%s\n" "${COMPREPLY[@]}"
        fi' bash "$@" 2>&1
}

# expect CANDIDATES WORD...: the candidates, sorted and joined by commas.
expect() {
    local expected=$1 found
    shift
    found=$(completed "$@" | LC_ALL=C sort | paste -s -d ,)
    if [[ $found != "$expected" ]]; then
        fail "bash: qlxcc $*: expected \"$expected\", found \"$found\""
    fi
}

# contain CANDIDATE WORD...: the candidate is among others.
contain() {
    local expected=$1 found
    shift
    found=$(completed "$@")
    if ! grep -Fxq -e "$expected" <<<"$found"; then
        fail "bash: qlxcc $*: \"$expected\" is missing"
    fi
}

status=0
"$qlxcc" completion fish >refusal.txt 2>&1 || status=$?
if [[ $status != 2 || $(cat refusal.txt) != "qlxcc: SHELL: fish not in {bash,zsh} (see qlxcc completion --help)" ]]; then
    fail "another shell gives $status and: $(cat refusal.txt)"
fi

# Commands, and commands of commands.
expect play pl
expect completion comp
contain scte104 ""
expect build,parse scte104 ""
expect build scte104 b
expect build --log-folder rushes scte104 b

# Options by their long and short names, those of the whole program as well.
expect --mode play film.srt --mo
contain -o play film.srt -
contain --log-folder play --l
contain --log-folder scte104 build --log
contain --event-id scte104 build --e
expect --version --v
expect "" play --vers

# Values.
expect captions,cea608,cea708,teletext play film.srt --mode ""
expect teletext play film.srt --mode te
expect teletext play film.srt --mode = te
expect captions,cea608,cea708,teletext play film.srt --mode =
contain 29.97 play film.srt --mode teletext --rate 29
contain v210 play film.srt --to-format v
contain klv scte104 build time-signal --to-format k
# Older names are not offered, and go on working.
expect "" scan film.srt --fo
contain v210 play film.srt --format v
contain klv scte104 build time-signal --format k
expect ProviderAdvertisementEnd,ProviderAdvertisementStart scte104 build segmentation --segmentation-type ProviderA
expect UMID,URI,Undefined,UserDefined scte104 build segmentation --upid-type U
expect "" play film.srt --width ""
expect bash,zsh completion ""
expect splice-cancel,splice-end,splice-end-immediate,splice-null,splice-start,splice-start-immediate scte104 build sp
contain time-signal scte104 build splice-null --pre-roll 4000 ""

# The name of a file where one is due, the folders where a folder is; nothing in the place of other values.
expect "film part 2.srt,film.srt" play "fi"
expect "film part 2.srt" play 'film\ p'
expect film.srt play --mode teletext --from 00 : 00 : 10.5 film.
expect film.srt scan film.s
contain film.srt play film.srt -o film.s
expect rushes --log-folder ""
expect film.srt scte35 - ">" film.s

# Every command and option of the help pages.
check_help() {
    local name
    while read -r name; do
        contain "$name" "$@" "${name:0:2}"
    done < <("$qlxcc" "$@" --help | grep -oE '^  (-[a-zA-Z],)?--[a-z0-9-]+' | grep -oE -e '--[a-z0-9-]+')
    while read -r name; do
        contain "$name" "$@" "$name"
        check_help "$@" "$name"
    done < <("$qlxcc" "$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z0-9-]*\) .*/\1/p')
}
check_help

if command -v zsh >/dev/null; then
    zsh -n _qlxcc || fail "zsh: the script is broken"
    # In a pseudo-terminal, as somebody types: a tabulator behind each beginning.
    zsh -f >zsh.txt <<'END' || fail "zsh: no pseudo-terminal"
zmodload zsh/zpty
zpty shell TERM=dumb zsh -f -i
answer() {  # COMMAND PATTERN: writes the command, reads until the pattern
    zpty -w -n shell "$1"
    zpty -r shell output "*$2*"
    print -r -- $output
}
answer $'fpath=($PWD $fpath); autoload -Uz compinit; compinit -u -D; PS1=; print -r READ""Y\n' READY
answer $'qlxcc() { print -r -- "<<${(j:|:)@}>>"; }; print -r DON""E\n' DONE
answer $'qlxcc pl\tfilm.s\t--mo\tte\t--rate=29\t-o rus\t\n' '>>'
answer $'qlxcc scte104 bu\ttime\t--js\tfilm.s\t\n' '>>'
answer $'qlxcc scte104 build seg\t--segmentation-t\tNetworkS\t--upid-t\tEI\t\n' '>>'
zpty -d shell
END
    for expected in 'play|film.srt|--mode=teletext|--rate=29.97|-o|rushes' \
        'scte104|build|time-signal|--json-file=film.srt' \
        'scte104|build|segmentation|--segmentation-type=NetworkStart|--upid-type=EIDR'; do
        grep -Fq "<<$expected>>" zsh.txt || fail "zsh: $expected is missing in: $(cat -v zsh.txt)"
    done
fi

if ((failures > 0)); then
    exit 1
fi
echo "all completions are as expected"
