#!/bin/bash
# The shared library shows a host the interface and nothing else: CQcApi's members, what run-time type information needs,
# and Cur_Qapi. Argument: the library.
set -euo pipefail
library=$1

fail() {
    echo "FAILED: $*"
    exit 1
}

readelf -d "$library" | grep -q 'SONAME.*\[libqapi\.so\.3\]' || fail "the SONAME is not libqapi.so.3"

# Lines "TYPE NAME", the name demangled.
exported=$(nm --dynamic --defined-only --demangle "$library" | sed -E 's/^[0-9a-f]* //')
for wanted in 'T CQcApi::CQcApi()' 'T CQcApi::Login(char*, char*)' 'T CQcApi::OnError(int, char*, int, int)' \
    'B CQcApi::initialize_flag' 'V Cur_Qapi' 'D vtable for CQcApi' 'D typeinfo for CQcApi'; do
    # Data may stand in other sections under a sanitizer, so only the kinds function, weak object and data are told apart.
    pattern=$(sed -E 's/[][().*]/\\&/g; s/^[BD] /[BDVR] /' <<<"$wanted")
    grep -Eq "^$pattern\$" <<<"$exported" || fail "not exported: $wanted"
done
leaked=$(grep -Ev '^[A-Za-z] (CQcApi::|(vtable|typeinfo|typeinfo name) for CQcApi$|Cur_Qapi$)' <<<"$exported" || true)
[ -z "$leaked" ] || fail "exported beside the interface:"$'\n'"$leaked"
echo "$(wc -l <<<"$exported") symbols, all of the interface"
