# For the tests of examples that log in to a market: one of its own for each. The environment gives what processes.sh
# asks for, and MARKET (program) and SCENARIO (file).
# shellcheck shell=bash
# shellcheck source=tests/examples/processes.sh
source "$(dirname "${BASH_SOURCE[0]}")/processes.sh"

start_market() {
    start_in . market "$MARKET" --scenario "$SCENARIO" --quiet-feeds
    wait_for market.out '^[0-9]+$'
    port=$(head -n 1 market.out)
}

tell_market() { # COMMAND ANSWER
    tell market "$1"
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
