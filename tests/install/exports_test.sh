#!/bin/bash
# The shared library shows a host the interface and nothing else: CQcApi's members, what run-time type information needs,
# and Cur_Qapi. The archive shows all its names to the linker, so they must be such that no host has them too: the
# system's own, by their families, and the rest in namespace qapi. Arguments: the library, the archive.
set -euo pipefail
library=$1
archive=$2

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

own='CQcApi|CMss_Arr|CvArray|CDestinationsList|DAsyncSocket|WSocket|Mss_Rec|Cur_Qapi|(COM|COMMON|CONF|DCON|WSOCK|LOG|QAPI|QCAPI|THRCT)_|[Gg](lb|bl)_|L_|Do_m?Sleep|L_Get'
own+='|FIELD_|glb_(field_equivalence|cabeza_dfn)|(usuario|empleado)_data'
own+='|(calc|bsd|RLE)_|GM(Nt|Mx|Num|Dec|Comma)|GetCompilationPlatform|tolowerstr|str_isnum|[A-Z0-9]+_[A-Z0-9_]+$'
own+='|(PERSIS|TABLE_KEY|TBLPROC|TBLEQUIV|PREFIX)_|G_table_'
own+='|GlobalTables_SendTo_|Locate_Record|Is_Like|Send(VersionInformation|_Msg_Qapi_Connected)'
own+='|Get_Market_Access_Since_Table_User|Set_Subscription_MX_Primary_Tables'
classes='CQcApi|DAsyncSocket|WSocket|C(Field|Short|UnsignedShort|Integer|UnsignedInt|NumAsciiInt|NumAsciiDouble|Alpha|Date)'
classes+='|C(Message|HashedRecord|TableBase|FitFields|CondField)|C(Msg|GT|Tarnel)[A-Za-z]*|C[A-Z][A-Za-z0-9]*Key[A-Za-z]*'
classes+='|C(PersFile|File_d|Pers_d|File_Header|Record_(Header|Data|Crc32_Data|Marked_Data)|[A-Z][A-Za-z_]*_Record)'
classes+='|C(Table(List)?|Vector(At)?|IdxOrder|Map2?Key(Order|Table))(<.*>)?|TABLE_ID_EQUIVALENCE'
function_types='^typeinfo( name)? for .*\)$' # clang's sanitizer names what it calls through pointers
common=$(nm --defined-only --extern-only --demangle "$archive" | sed -nE 's/^[0-9a-f]* [A-Za-z] //p' |
    grep -Ev "^($own)|^([a-z]+ )?($classes)::|qapi::|std::|__|^(decltype|operator (new|delete)|DW\.ref|void$|char const\* const$)|for ($classes)$|$function_types" || true)
[ -z "$common" ] || fail "names of the archive that a host may have too:"$'\n'"$common"
echo "$(wc -l <<<"$exported") symbols, all of the interface; the archive's names are its own"
