# For the tests of the examples: a scratch directory, programs that are spoken to and listened to there, and the
# comparison of what an example said. The environment gives EXAMPLE (program), GOLDEN (file) and RUNNER (put before a
# program to run it).
# shellcheck shell=bash
set -euo pipefail

scratch=$(mktemp -d)
declare -A process=() input=() # by name, of those that run
end() {
    [ ${#process[@]} -eq 0 ] || kill "${process[@]}" 2>/dev/null || true
    wait
    rm -rf "$scratch"
}
trap end EXIT
cd "$scratch"

fail() {
    echo "FAILED: $*"
    tail -n 50 ./*.out ./*.err 2>/dev/null || true
    exit 1
}

wait_for() { # FILE PATTERN [TIMES]: until it has so many such lines; the limit is for the slowest build
    local end=$((SECONDS + 90))
    while ((SECONDS < end)); do
        if [ "$(grep -Ec -- "$2" "$1" || true)" -ge "${3:-1}" ]; then return; fi
        sleep 0.05
    done
    fail "no \"$2\" in $1"
}

# Its input is what tell says; what it says goes to NAME.out and NAME.err. It works in DIRECTORY, where others have
# theirs, and it has no other's input open, which would never end.
start_in() { # DIRECTORY NAME PROGRAM ARGUMENTS
    local directory=$1 name=$2 fd
    shift 2
    mkfifo "$name.in"
    : >"$name.out"
    exec {fd}<>"$name.in"
    input[$name]=$fd
    (
        exec <"$name.in" >>"$name.out" 2>"$name.err"
        for fd in "${input[@]}"; do exec {fd}>&-; done
        cd "$directory"
        # shellcheck disable=SC2086
        exec $RUNNER "$@"
    ) &
    process[$name]=$!
}

tell() { # NAME LINE
    echo "$2" >&"${input[$1]}"
}

# Its input ends, and with it the program.
end_input() { # NAME
    local result=0 fd=${input[$1]}
    exec {fd}>&-
    wait "${process[$1]}" || result=$?
    unset "input[$1]" "process[$1]"
    rm "$1.in"
    [ $result -eq 0 ] || fail "$1 ends with $result"
}

start_example() { # ARGUMENTS
    start_in . example "$EXAMPLE" "$@"
}

end_example() {
    end_input example
}

compare() { # [SED_EXPRESSION]: of what differs from run to run
    sed -E "${1-}" example.out >seen.txt
    diff --text "$GOLDEN" seen.txt || fail "another output than $GOLDEN"
}

expect_usage() {
    local result=0
    # shellcheck disable=SC2086
    $RUNNER "$EXAMPLE" 2>usage.txt || result=$?
    [ $result -eq 2 ] && grep -q '^usage: ' usage.txt || fail "no usage"
}
