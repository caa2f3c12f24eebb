# For the tests of the examples: a market of its own in a scratch directory, an example that logs in to it, and the
# comparison of what the example said. The environment gives MARKET, EXAMPLE (programs), SCENARIO, GOLDEN (files) and
# RUNNER (put before a program to run it).
# shellcheck shell=bash
set -euo pipefail

scratch=$(mktemp -d)
market=() example=() # process, if it runs
end() {
    [ ${#example[@]} -eq 0 ] || kill "${example[@]}" 2>/dev/null || true
    [ ${#market[@]} -eq 0 ] || kill "${market[@]}" 2>/dev/null || true
    wait
    rm -rf "$scratch"
}
trap end EXIT
cd "$scratch"

fail() {
    echo "FAILED: $*"
    tail -n 50 market.out example.out example.err 2>/dev/null || true
    exit 1
}

wait_for() { # FILE PATTERN [TIMES]: until it has so many such lines; the limit is for the slowest build
    local turn
    for ((turn = 0; turn < 1200; turn++)); do
        if [ "$(grep -Ec -- "$2" "$1" || true)" -ge "${3:-1}" ]; then return; fi
        sleep 0.05
    done
    fail "no \"$2\" in $1"
}

start_market() {
    mkfifo market.in
    : >market.out
    exec {to_market}<>market.in
    # shellcheck disable=SC2086
    $RUNNER "$MARKET" --scenario "$SCENARIO" --quiet-feeds <market.in >>market.out 2>&1 {to_market}>&- &
    market=($!)
    wait_for market.out '^[0-9]+$'
    port=$(head -n 1 market.out)
}

tell_market() { # COMMAND ANSWER
    echo "$1" >&"$to_market"
    wait_for market.out "$2"
}

configure() { # MACHINE USER_CODE BRANCH
    cat >qapi.cfg <<END
data_server      = DSAB
ds_ip_address    = 127.0.0.1
ds_tcp_port      = $port
local_code       = $1
user_code        = $2
branch_code      = $3
transaction_feed = 1
table_code       = 71 Posturas_Vigentes
language         = english
END
}

start_example() { # ARGUMENTS
    mkfifo example.in
    : >example.out
    exec {to_example}<>example.in
    # shellcheck disable=SC2086
    $RUNNER "$EXAMPLE" "$@" <example.in >>example.out 2>example.err {to_market}>&- {to_example}>&- &
    example=($!)
}

# Its input ends, and with it the example.
end_example() {
    exec {to_example}>&-
    local result=0
    wait "${example[@]}" || result=$?
    example=()
    rm example.in
    [ $result -eq 0 ] || fail "$EXAMPLE ends with $result"
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
