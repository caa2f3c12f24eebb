#!/bin/bash
# Runs the example host against the demonstration market: a session comes up, messages arrive and are read by name, an
# order and a chat go out and come back, the market drops the connection, and the host gets it back by itself. Takes a
# few seconds. Shows the end of the running log that the session leaves behind.
# Usage: demo.sh BUILD_DIRECTORY
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
market_pid= host_pid=
end() {
    kill $market_pid $host_pid 2>/dev/null || true
    rm -rf "$scratch"
}
trap end EXIT
cd "$scratch"

# Each program reads commands from a pipe of its own, and what it says is shown under its name.
mkfifo market.in host.in
exec {to_market}<>market.in {to_host}<>host.in
heading() { echo && echo "--- $*"; }
show() { tee "$1.out" | sed -u "s/^/  $1  /"; }

wait_until() { # PROGRAM PATTERN [TIMES]: until the program has said so, that often
    local tenth
    for ((tenth = 0; tenth < 600; tenth++)); do
        if [ "$(grep -Ec -- "$2" "$1.out" || true)" -ge "${3:-1}" ]; then return; fi
        sleep 0.1
    done
    echo "demo: $1 has not said \"$2\" within a minute" >&2
    exit 1
}
touch market.out host.out

heading "a market listens"
"$build/examples/demo_market" <market.in > >(show market) {to_market}>&- {to_host}>&- &
market_pid=$!
wait_until market '^[0-9]+$'
read -r port <market.out

heading "a host logs in: tables come, then stored messages, then live ones; it sends an order and a chat"
"$build/examples/trading_host" "$scratch" "$port" <host.in > >(show host) {to_market}>&- {to_host}>&- &
host_pid=$!
wait_until host 'received Chat'
wait_until market 'chat of U001'
wait_until host 'received Posturas_Vigentes'

heading "the market drops the connection: the library connects again, and all that belongs to a session starts anew"
echo d >&"$to_market"
wait_until host 'OnConnection: 0' 2
wait_until host 'received Posturas_Vigentes' 2

heading "the host logs out"
echo q >&"$to_host"
wait $host_pid
sleep 0.3 # the last lines come through a pipe

heading "the end of qapi.log, made readable by qapi-log-view"
"$build/tools/log_view/qapi-log-view" qapi.log | tail -n 20 | cut -c1-150
