#!/bin/bash
# Runs the example host against a small server with two ports: connection, alive signal, a lost connection, another one
# to the same port, and, when nobody listens there any more, rotation to the second port. Takes about half a minute,
# since an alive signal is due behind 20 seconds of silence. Shows the running log that the session leaves behind.
# Usage: demo.sh BUILD_DIRECTORY
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
server_pid= host_pid=
end() {
    kill $server_pid $host_pid 2>/dev/null || true
    rm -rf "$scratch"
}
trap end EXIT
cd "$scratch"

# Each program reads commands from a pipe of its own, and what it says is shown under its name.
mkfifo server.in host.in
exec {to_server}<>server.in {to_host}<>host.in
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
touch server.out host.out

heading "a server listens at two ports, A and B"
"$build/examples/echo_peer" 0 0 <server.in > >(show server) {to_server}>&- {to_host}>&- &
server_pid=$!
wait_until server '^[0-9]+ [0-9]+$'
read -r port_a port_b < <(grep -E '^[0-9]+ [0-9]+$' server.out)

heading "a host logs in"
"$build/examples/hello_host" "$scratch" "$port_a" "$port_b" <host.in > >(show host) {to_server}>&- {to_host}>&- &
host_pid=$!
wait_until host 'Connected'

heading "nobody has anything to say: behind 20 seconds the library sends an alive signal"
wait_until server 'alive signal$'

heading "the server drops the connection: it held for more than 15 seconds, so the next goes to the same port"
echo a >&"$to_server"
wait_until host 'Connected' 2

heading "the server closes port A for good: four failed attempts later it is B's turn"
echo A >&"$to_server"
wait_until host 'Connected' 3

heading "the host logs out"
echo q >&"$to_host"
wait $host_pid
sleep 0.3 # the last lines come through a pipe

heading "qapi.log, made readable by qapi-log-view"
"$build/tools/log_view/qapi-log-view" qapi.log
