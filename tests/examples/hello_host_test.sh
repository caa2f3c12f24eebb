#!/bin/bash
# hello_host prints a stored chat, a live one and an order of the market with their fields, and a refusal.
source "$(dirname "$0")/market.sh"
expect_usage
start_market
tell_market "chat carla ana stored before the login" '^sent'
configure L001 N001 NORTNOR1

start_example ana ana-2026
wait_for example.out 'texto = stored before'
wait_for market.out 'table 71, 0 records'
tell_market "chat carla ana live" 'sent'
wait_for example.out 'texto = live'
tell_market "order carla 71 offer 4015.5 300 FIRST" '^order S001FIRST'
wait_for example.out 'codigo_unico_registro = 1'
end_example

rm -f qapi.log # what was said goes on in example.out
mv example.out first.out
start_example ana wrong
wait_for example.out 'refused: C'
end_example
head -n 1 example.out >>first.out # a refused login is tried again
mv first.out example.out
compare 's/^([A-Z][A-Za-z_]*) [0-9]+$/\1 NUMBER/; s/ (fecha[a-z_]*) = .*/ \1 = DATE/; s/ (hora[a-z_]*) = .*/ \1 = HOUR/
         s/ id = .*/ id = ID/'
