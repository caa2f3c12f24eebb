#!/bin/bash
# The pair of stunnel configurations in examples/stunnel, with throw-away certificates and free ports: bytes go through
# the tunnel and come back; a client whose certificate the market does not know is refused, and so is a market that
# shows another certificate than the client's. Arguments: the directory of the configurations, the program tunnel_peer
# and what is put before it to run it. Exit code 77 where stunnel or openssl is missing.
set -euo pipefail
configurations=$1
shift
peer=("$@")

stunnel=$(PATH=$PATH:/usr/sbin command -v stunnel || PATH=$PATH:/usr/sbin command -v stunnel4 || true)
if [ -z "$stunnel" ] || ! command -v openssl >/dev/null; then
    echo "stunnel or openssl is not installed"
    exit 77
fi

scratch=$(mktemp -d)
children=()
end_children() {
    local child
    for child in "${children[@]}"; do
        kill "$child" 2>/dev/null || true
        wait "$child" 2>/dev/null || true
    done
    children=()
}
trap 'end_children; rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
    echo "FAILED: $*"
    tail -n 20 server.log client.log 2>/dev/null || true
    exit 1
}

certificate() { # name
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=$1" -keyout "$1.key" -out "$1.crt" 2>openssl.log ||
        fail "no certificate for $1"
}

# A configuration with the given values in place of its own; each must have been there.
configure() { # file, result, NAME=VALUE...
    cp "$configurations/$1" "$2"
    local setting
    for setting in "${@:3}"; do
        grep -q "^${setting%%=*} = " "$2" || fail "$1 has no ${setting%%=*}"
        sed -i "s|^${setting%%=*} = .*|${setting%%=*} = ${setting#*=}|" "$2"
    done
}

# Until the condition holds, while the child lives, ten seconds at most.
wait_until() { # child, condition
    local child=$1 turn
    shift
    for turn in $(seq 100); do
        ! "$@" || return 0
        kill -0 "$child" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}

# An end of the tunnel. Somebody may take a port between its choice and its use: other ports are tried then.
start_end() { # name; configures by the function configure_NAME PORT; leaves the port in $port
    local turn
    for turn in 1 2 3 4 5; do
        port=$("${peer[@]}" free)
        "configure_$1" "$port"
        sed -i '1i debug = 6' "$1.conf" # tells what it is bound to
        : >"$1.log"
        "$stunnel" "$1.conf" >"$1.log" 2>&1 &
        children+=($!)
        ! wait_until $! grep -q "bound to 127.0.0.1:$port" "$1.log" || return 0
    done
    fail "$1 does not start"
}

configure_server() {
    configure server.conf server.conf accept="127.0.0.1:$1" connect="127.0.0.1:$echo_port" cert="$scratch/market.crt" \
        key="$scratch/market.key" CAfile="$scratch/clients.crt"
}

configure_client() {
    configure client.conf client.conf accept="127.0.0.1:$1" connect="127.0.0.1:$server_port" \
        cert="$scratch/$identity.crt" key="$scratch/$identity.key" CAfile="$scratch/$expected_market.crt"
}

exchange() { # bytes
    local result=0
    "${peer[@]}" exchange "$port" "$1" || result=$?
    echo "$result"
}

for name in market client second_client stranger other_market; do
    certificate "$name"
done
cat client.crt second_client.crt >clients.crt

"${peer[@]}" echo echo.port &
children+=($!)
wait_until $! test -e echo.port || fail "the echo does not start"
echo_port=$(cat echo.port)
start_end server
server_port=$port

for identity in client second_client; do
    expected_market=market
    start_end client
    [ "$(exchange 5)" = 0 ] || fail "five bytes of $identity do not come back"
    [ "$(exchange 1000000)" = 0 ] || fail "a million bytes of $identity do not come back"
    echo "-- bytes of $identity went through and came back"
done

identity=stranger
start_end client
[ "$(exchange 5)" = 1 ] || fail "a client with a strange certificate gets an answer"
grep -q "CERT: .*not found\|Rejected by CERT\|certificate verify failed" server.log || fail "the server did not look at the certificate"
echo "-- a client with a strange certificate is refused"

identity=client
expected_market=other_market
start_end client
[ "$(exchange 5)" = 1 ] || fail "a market with a strange certificate is answered"
grep -q "certificate verify failed" client.log || fail "the client did not look at the certificate"
echo "-- a market with a strange certificate is refused"

expected_market=market
start_end client
[ "$(exchange 5)" = 0 ] || fail "the server does not go on after a refusal"
