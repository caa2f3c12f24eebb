#!/bin/bash
# quoter places its orders, moves them at each tick, hears of a trade, and withdraws what is left.
source "$(dirname "$0")/market.sh"
expect_usage
start_market
configure L001 N001 NORTNOR1

# Its timer is far away: lines of its input are the ticks.
start_example ana ana-2026 N001 71 4012.00 100 100000000
wait_for example.out 'offer: in the book'
tell example ""
wait_for example.out 'offer: in the book' 2
tell_market "order carla 71 offer 4012 100 HIT" '^order S001HIT' # takes the bid
wait_for example.out 'traded'
tell example ""
wait_for example.out 'offer: in the book' 3
end_example
tell_market "book 71" '^0 orders'
compare
