#!/bin/bash
# The demonstration: CASE is
#   lines        without a terminal it says all in lines, and nothing else
#   terminal     on a terminal it draws a page, and gives the cursor back
#   interrupted  on a terminal that wants no colour; Ctrl-C ends it, and it gives the cursor back
#   failing      a host that doesn't do what is expected ends it with a line that says so
# The environment gives BUILD (build directory), SCENARIO and RUNNER (put before a program to run it). Exit code 77 where
# there is no program that makes a terminal.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
export TMPDIR=$scratch
demo="$RUNNER $BUILD/examples/qapi-demo"

fail() {
    echo "FAILED: $*"
    tail -n 40 output errors 2>/dev/null || true
    exit 1
}

says() { grep -qE -- "$1" output || fail "it does not say \"$1\""; }
does_not_say() { ! grep -qE -- "$1" output || fail "it says \"$1\""; }

on_terminal() { # [VARIABLE=VALUE]: leaves all that was written to the terminal in output
    local result=0
    env TERM=xterm LANG=C.UTF-8 SHELL=/bin/sh "$@" script -qec "stty cols 90 rows 28; echo \$\$ >pid; exec $demo $BUILD $SCENARIO --hurried" \
        output </dev/null >/dev/null 2>errors || result=$?
    return $result
}

escape=$'\033\\['
page="${escape}H"
cursor_is_back="${escape}\\?25h"
colour="${escape}3[0-9]m"

needs_terminal() { SHELL=/bin/sh script -qec true /dev/null </dev/null >/dev/null 2>&1 || exit 77; }

case $1 in
lines)
    $demo "$BUILD" "$SCENARIO" >output 2>errors || fail "exit code $?"
    does_not_say "$escape"
    says 'Chat of Elena Mora: Good morning'
    says 'Mantenimiento_Transacciones: 100 at 4012.2500'
    says 'transmm_usuario_postura.nombre_completo = Carla Rivas'
    says 'OnDisconnection'
    says '^  ana +is killed'
    says '^  ana +its tables came from its files: 29 records in [0-9.]+ ms$'
    says '^  ana +was sent 21 records: .*cities 1(,|$)'
    says '^  ana +has all that she missed, and nothing twice'
    [ "$(grep -c 'Chat of Carla Rivas: Remember' output)" -eq 2 ] || fail "an unfinished chat does not come again once"
    [ "$(grep -c 'Chat of Elena Mora: Good morning' output)" -eq 1 ] || fail "a finished chat comes again"
    for host in ana carla; do
        grep -qE "^  $host +([0-9]+) +\\1 +[0-9]+$" output || fail "$host has not finished all"
        log=$(grep -oE "[^ ]+/$host/qapi.log" output) || fail "where is the log of $host?"
        [ -s "$log" ] || fail "$log is empty"
    done
    ;;
terminal)
    needs_terminal
    on_terminal || fail "exit code $?"
    says "$page"
    says "$colour"
    says '17/17'
    says 'killed'
    tail -c 3000 output | grep -qE "$cursor_is_back" || fail "no cursor"
    ;;
interrupted)
    needs_terminal
    on_terminal NO_COLOR=1 &
    for ((turn = 0; turn < 1200; turn++)); do
        ! grep -q 'Two hosts log in' output 2>/dev/null || break
        sleep 0.1
    done
    kill -INT "$(cat pid)"
    result=0
    wait $! || result=$?
    [ $result -eq 130 ] || fail "exit code $result"
    says "$page"
    says "$cursor_is_back"
    does_not_say "$colour"
    ;;
failing)
    mkdir -p build/examples build/tools/market
    ln -s "$BUILD/tools/market/qapi-market" build/tools/market/
    ln -s "$(command -v false)" build/examples/demo_trader
    result=0
    $demo build "$SCENARIO" >output 2>errors || result=$?
    [ $result -eq 1 ] || fail "exit code $result"
    grep -qE '^demo: (ana|carla) has ended with 1' errors || fail "no clear line"
    ;;
esac
