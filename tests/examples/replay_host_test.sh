#!/bin/bash
# replay_host prints of a log what the host of that log saw, and of its translation the same; bounds leave out what they
# should; it touches nothing but the translation, and it tells what is wrong with its arguments.
source "$(dirname "$0")/market.sh"

# To the last line that is expected: a replay doesn't tell its end.
replay() { # LAST ARGUMENTS
    rm -f example.out
    start_in elsewhere example "$EXAMPLE" "${@:2}" --settings "$scratch/host/qapi.cfg"
    wait_for example.out "$1"
    end_example
}

translate() { # FILE ARGUMENTS
    ends_with 0 'bytes written to' "${@:2}" --settings ../host/qapi.cfg --translate "$scratch/$1"
}

ends_with() { # STATUS WORDS ARGUMENTS
    local result=0
    # shellcheck disable=SC2086
    (cd elsewhere && exec $RUNNER "$EXAMPLE" "${@:3}") >said.out 2>said.err </dev/null || result=$?
    [ $result -eq "$1" ] || fail "$* ends with $result"
    grep -qE -- "$2" said.err || fail "it does not say $2: $(cat said.err)"
}

nothing_is_left() {
    local left
    left=$(find elsewhere temporary -mindepth 1)
    [ -z "$left" ] || fail "left behind: $left"
    [ "$(cksum host/qapi.log)" = "$log_as_it_was" ] || fail "the log was changed"
}

# ---- The session whose log it is

expect_usage
mkdir host elsewhere temporary
export TMPDIR=$scratch/temporary
start_market
tell_market "chat carla ana stored before the login" '^sent'
configure L001 N001 NORTNOR1
mv qapi.cfg host
start_in host host "$CLIENTS/hello_host" ana ana-2026
wait_for host.out 'texto = stored before'
wait_for market.out 'table 71, 0 records'
tell_market "order carla 71 offer 4015.5 300 FIRST" '^order S001FIRST'
wait_for host.out 'codigo_unico_registro = 1'
tell_market "drop L001" 'reset on request'
wait_for host.out '^connected' 2
wait_for host.out 'codigo_unico_registro = 1' 2
tell_market "chat carla ana the last" '^sent'
wait_for host.out 'texto = the last'
end_input host
sed -i 's/^disconnected: .*/disconnected/' host.out # the log does not have the reason
log_as_it_was=$(cksum host/qapi.log)

# ---- All of it

replay 'texto = the last' ../host/qapi.log
diff --text host.out example.out || fail "not what the host saw"
nothing_is_left
cp example.out all.out

mkdir "a directory"
translate "a directory/plain.log" ../host/qapi.log
nothing_is_left
[ "$(stat -c %a "a directory/plain.log")" = 600 ] || fail "others may read the translation"
replay 'texto = the last' "../a directory/plain.log"
diff --text host.out example.out || fail "the translation says something else"
nothing_is_left

# ---- Parts of it: of a log that begins in another year

LC_ALL=C sed -E 's/20[0-9]{12}/20010101120000/g' "a directory/plain.log" >old.log
cat old.log "a directory/plain.log" >both.log
translate until.log ../both.log --end 2001
cmp old.log until.log
translate from.log ../both.log --start 20010101120001
cmp "a directory/plain.log" from.log
translate none.log ../both.log --start 20010101120001 --end 20020101
[ ! -s none.log ] || fail "records out of bounds"
replay 'texto = the last' ../both.log --start 2002 --end 29991231
diff --text host.out example.out || fail "another part"
nothing_is_left

# ---- What can't be

ends_with 2 '^usage: ' ../host/qapi.log --start yesterday
ends_with 2 '^usage: ' ../host/qapi.log another.log
ends_with 2 '^usage: ' ../host/qapi.log --end
ends_with 1 "can't open" missing.log --settings ../host/qapi.cfg
ends_with 1 "can't open" "$scratch" --settings ../host/qapi.cfg
ends_with 1 "can't read .*/elsewhere/qapi.cfg" ../host/qapi.log --translate "$scratch/untouched.log"
[ ! -e untouched.log ] || fail "it makes a translation without settings"
ends_with 1 'missing/plain.log' ../host/qapi.log --settings ../host/qapi.cfg --translate missing/plain.log
ends_with 1 '^Bad record read' ../host/qapi.cfg --settings ../host/qapi.cfg --translate "$scratch/untouched.log"
rm untouched.log
ends_with 1 'itself' ../host/qapi.log --settings ../host/qapi.cfg --translate ../host/qapi.log
nothing_is_left

# A signal leaves nothing behind either.
start_in elsewhere example "$EXAMPLE" ../host/qapi.log --settings ../host/qapi.cfg
wait_for example.out '^connected'
kill -TERM "${process[example]}"
result=0
wait "${process[example]}" || result=$?
unset "process[example]"
[ $result -eq 143 ] || fail "SIGTERM ends it with $result"
nothing_is_left

mv all.out example.out
compare 's/^([A-Z][A-Za-z_]*) [0-9]+$/\1 NUMBER/; s/ (fecha[a-z_]*) = .*/ \1 = DATE/; s/ (hora[a-z_]*) = .*/ \1 = HOUR/
         s/ id = .*/ id = ID/'
