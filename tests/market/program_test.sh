#!/bin/bash
# The program qapi-market as a shell sees it: its options, its first line, its ends.
#
#   program_test.sh MARKET SCENARIO
#
# The environment gives RUNNER (put before a program to run it).
set -uo pipefail

market=$1
scenario=$2
scratch=$(mktemp -d)
started=
trap '[ -z "$started" ] || kill "$started" 2>/dev/null; rm -rf "$scratch"' EXIT

fail() {
    echo "FAILED: $*"
    cat "$scratch"/output "$scratch"/errors 2>/dev/null
    exit 1
}

# Exit code, then arguments; standard input is this function's.
expect_exit() {
    local expected=$1
    shift
    timeout 60 $RUNNER "$market" "$@" >"$scratch/output" 2>"$scratch/errors"
    local code=$?
    [ "$code" = "$expected" ] || fail "exit code $code in place of $expected: $*"
}

said() { grep -qe "$1" "$scratch/output" || fail "not said: $1"; }
complained() { grep -qe "$1" "$scratch/errors" || fail "no complaint: $1"; }

wait_for_line() { # in a file
    for _ in $(seq 3000); do
        grep -qe "$2" "$1" 2>/dev/null && return
        read -rt 0.02 <> <(:) || true
    done
    fail "never said: $2"
}

# ---- The command line

expect_exit 0 --help </dev/null
for option in --scenario --port --address --store --journal --brief-journal --send-mode --quiet-feeds --quiet; do
    said "$option"
done

timeout 60 $RUNNER "$market" </dev/null >"$scratch/output" 2>"$scratch/errors" && fail "runs without a scenario"
complained "scenario is required"
timeout 60 $RUNNER "$market" --scenario "$scenario" --port 65536 </dev/null >/dev/null 2>"$scratch/errors" && fail "takes port 65536"
timeout 60 $RUNNER "$market" --scenario "$scenario" --send-mode loud </dev/null >/dev/null 2>"$scratch/errors" && fail "takes any mode"

expect_exit 2 --scenario "$scratch/none.json" </dev/null
complained "none.json"
sed 's/"server": "DSAB"/"server": "D"/' "$scenario" >"$scratch/wrong.json"
expect_exit 2 --scenario "$scratch/wrong.json" </dev/null
complained 'wrong.json: server: expected 4 characters, found "D"'
expect_exit 2 --scenario "$scenario" --address nowhere </dev/null
expect_exit 2 --scenario "$scenario" --journal "$scratch/none/journal" </dev/null
complained "none/journal"
expect_exit 2 --scenario "$scenario" --store "$scratch/none/store" </dev/null
complained "none/store"

# ---- Commands from a file; the last line has no end, and nothing is done behind "quit"

printf 'help\norder ana 71 bid 1 5 FIRST\nbook 71\nquit\nbook 72' >"$scratch/lines"
expect_exit 0 --scenario "$scenario" --quiet-feeds --quiet --store "$scratch/store" <"$scratch/lines"
head -1 "$scratch/output" | grep -qx '[0-9]*' || fail "the first line is no port"
said "N001FIRST"
said "bye"
[ "$(tail -1 "$scratch/output")" = bye ] || fail "something is done behind quit"
printf 'quit' | expect_exit 0 --scenario "$scenario" --quiet-feeds
printf 'quit' >"$scratch/lines"
expect_exit 0 --scenario "$scenario" --quiet-feeds <"$scratch/lines"

# ---- The port is the first line, also when there is something to tell

sleep_input=$scratch/input
mkfifo "$sleep_input"
$RUNNER "$market" --scenario "$scenario" --quiet-feeds --store "$scratch/store" <"$sleep_input" >"$scratch/output" 2>"$scratch/errors" &
started=$!
exec 3>"$sleep_input"
wait_for_line "$scratch/output" "brought back"
head -1 "$scratch/output" | grep -qx '[0-9]*' || fail "the first line is no port"
said "^1 open order brought back"

# ---- A port that is taken

expect_exit 2 --scenario "$scenario" --port "$(head -1 "$scratch/output")" </dev/null

# ---- SIGTERM

$RUNNER "$market" --scenario "$scenario" --quiet-feeds <"$sleep_input" >"$scratch/term" 2>&1 &
term=$!
wait_for_line "$scratch/term" '^[0-9]'
kill -TERM "$term"
wait "$term"
code=$?
[ "$code" = 0 ] || fail "exit code $code behind SIGTERM"

# ---- Nobody reads its output any longer

{ timeout 60 $RUNNER "$market" --scenario "$scenario" --quiet-feeds --journal "$scratch/journal" 2>/dev/null; echo $? >"$scratch/code"; } \
    < <(printf 'help\n%.0s' $(seq 500); echo quit) | head -1 >/dev/null
[ "$(cat "$scratch/code")" = 0 ] || fail "exit code $(cat "$scratch/code") when nobody reads"

echo quit >&3
wait "$started" || fail "quit"
started=
