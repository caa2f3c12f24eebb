#!/bin/bash
# feeder serves one client after the other: each gets the orders of its book and their changes, chats reach it, and what
# a client orders stands in the book.
source "$(dirname "$0")/processes.sh"

configure() { # MACHINE USER_CODE, and more lines
    cat >"$1/qapi.cfg" <<END
data_server = DSAB
local_code  = $1
user_code   = $2
branch_code = NORTNOR1
END
    printf '%s\n' "${@:3}" >>"$1/qapi.cfg"
}

listens() { # PROCESS PORT: a socket of the process waits for peers there
    local inode
    inode=$(awk -v port="$(printf ':%04X$' "$2")" '$2 ~ port && $4 == "0A" { print $10 }' /proc/net/tcp)
    [ -n "$inode" ] && find "/proc/$1/fd" -lname "socket:\[$inode\]" 2>/dev/null | grep -q .
}

wait_for_listener() { # TURNS
    local turn
    for ((turn = 0; turn < $1; turn++)); do
        if listens "${process[example]}" "$port"; then return; fi
        sleep 0.05
    done
    return 1
}

# On a port that no other program has; those above 32767 are given out for outgoing connections.
start_feeder() {
    local attempt
    for ((attempt = 0; attempt < 20; attempt++)); do
        port=$((10000 + (BASHPID * 61 + attempt * 997) % 20000))
        start_in SERV example "$EXAMPLE" 0.0.0.0 "$port"
        if wait_for_listener 200; then return; fi
        end_example
    done
    fail "no port"
}

start_client() { # PROGRAM ARGUMENTS
    wait_for_listener 1200 || fail "the feeder does not listen"
    start_in L001 client "$CLIENTS/$1" "${@:2}"
    wait_for client.out '^(connected|ready)'
}

end_client() {
    end_input client
    wait_for example.out '^user left' $((++served))
    mv client.out "client$served.out"
}

expect_usage
mkdir SERV L001
configure SERV FEED
served=0
start_feeder
configure L001 N001 'ds_ip_address = 127.0.0.1' "ds_tcp_port = $port" 'transaction_feed = 1' \
    'table_code = 31 Posturas_Vigentes' 'language = english'

tell example "order A 4012.25 100"
tell example "nonsense"
wait_for example.err '^not understood: nonsense' # so the order stands in the book ahead of the client
start_client hello_host ana ana-2026
wait_for client.out 'Posturas_Vigentes'
tell example "chat Good morning"
wait_for client.out 'texto = Good morning'
tell example "order A 4012.5 90"
tell example "order B 4013 10 offer"
tell example "remove A"
wait_for client.out 'Posturas_Vigentes' 5
end_client

start_client quoter ana ana-2026 N001 31 4012.00 100 100000000 # lines of its input are its ticks
wait_for client.out 'offer: in the book'
tell client ""
wait_for client.out 'offer: in the book' 2
end_client

start_client book ana ana-2026 31
wait_for client.out '^\+' 3
tell example "remove B"
wait_for client.out '^\+' 5
end_client

start_client demo_trader ana ana-2026 N001 31
tell client "chat FEED Good evening"
wait_for example.out '^chat: Good evening'
end_client
rm "client$served.out" # a page of its own
end_example

for said in client?.out; do
    echo "$said"
    cat "$said"
done >>example.out
compare 's/^([A-Z][A-Za-z_]*) [0-9]+$/\1 NUMBER/; s/ (fecha[a-z_]*) = .*/ \1 = DATE/; s/ (hora[a-z_]*) = .*/ \1 = HOUR/'
