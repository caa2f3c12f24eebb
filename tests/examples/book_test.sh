#!/bin/bash
# book tells the orders that stand when it comes, their changes, and all of them again behind a lost connection.
source "$(dirname "$0")/market.sh"
expect_usage
start_market
tell_market "order carla 71 offer 4015.5 300 A" '^order S001A'
tell_market "order elena 71 bid 4012.25 100 B" '^order C001B'
tell_market "order elena 72 bid 4380 100 X" '^order C001X' # of another market
configure L001 N001 NORTNOR1

start_example ana ana-2026 71
wait_for example.out '^\+' 2
tell_market "order diego 71 offer 4012.25 40 C" '^order S002C' # trades with B
wait_for example.out '^-'
tell_market "withdraw carla 71 A" '^withdrawn'
wait_for example.out '^-' 2
tell_market "drop L001" 'reset on request'
wait_for example.out '^\+' 4
end_example
compare
