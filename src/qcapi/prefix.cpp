#include "qcapi/prefix.h"

#include "process_lifetime.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "tblproc/global_tables.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

// ---- Kinds of records ------------------------------------------------------------------------------------------

constexpr std::size_t longest_part = 16; // of a key, with a zero behind it

// A part of a key: zeros stand for what the code lacks.
using Code = std::array<char, longest_part>;
using Codes = std::array<Code, 2>;

struct Kind
{
    int type; // of the table; ZERO_CODE_ID if it needs no subscription
    CMessage& (*empty)();
    CMessage* (*find)(const Codes& codes);
};

template <class Made> Made* make()
{
    return new Made();
}

template <class Key> void fill(Key& key, const Codes& codes)
{
    constexpr auto& form = Key::forms[0];
    static_assert(std::all_of(form.begin(), form.end(), [](const auto& part) { return part.width < longest_part; }));
    if constexpr (form.Texts() == 1) {
        key.Init(codes[0].data());
    } else {
        key.Init(codes[0].data(), codes[1].data());
    }
}

// Table, type whose subscription counts; empty record and its class, key and its class.
// clang-format off
#define KINDS(X) \
    X(cities,         Glb_City_Table,          CITIES_CODE_ID,        L_CGTCity_Tmp,        CGTCity,         L_city_key,          CCityKey) \
    X(issuers,        Glb_Emisores_Table,      EMISORES_CODE_ID,      L_CGTEmisores_Tmp,    CGTEmisores,     L_CEmisoresKey,      CEmisoresKey) \
    X(institutions,   Glb_Instit_Table,        INSTIT_CODE_ID,        L_GTInstit_Tmp,       CGTInstit,       L_instit_key,        CInstitKey) \
    X(markets,        Glb_Markets_Table,       MARKETS_CODE_ID,       L_CGTMarkets_Tmp,     CGTMarkets,      L_market_key,        CMarketsKey) \
    X(currencies,     Glb_Money_Table,         MONEYS_CODE_ID,        L_CGTMoney_Tmp,       CGTMoney,        L_money_key,         CMoneyKey) \
    X(countries,      Glb_Country_Table,       COUNTRIES_CODE_ID,     L_CGTCountry_Tmp,     CGTCountry,      L_country_key,       CCountryKey) \
    X(primaries,      Glb_Primaryuser_Table,   PRIMARY_USERS_CODE_ID, L_CGTPu_Tmp,          CGTPu,           L_primaryuser_key,   CPuKey) \
    X(branches,       Glb_Branches_Table,      BRANCHES_CODE_ID,      L_CGTBranches_Tmp,    CGTBranches,     L_branches_key,      CBranchesKey) \
    X(users,          Glb_User_Table,          USER_CODE_ID,          L_CGTUser_Tmp,        CGTUser,         L_user_key,          CUserKey) \
    X(voice_groups,   Glb_IntVoiceGroup_Table, ZERO_CODE_ID,          L_CGTVoiceGroup_Tmp,  CGTVoiceGroup,   L_voicegroup_key,    CVoiceGroupKey) \
    X(super_groups,   Glb_IntSuperGroup_Table, SUPERGROUP_CODE_ID,    L_CGTSuperGroup_Tmp,  CGTSuperGroup,   L_supergroup_key,    CSuperGroupKey) \
    X(instructions,   Glb_InsPerm_Table,       INSTPERM_CODE_ID,      L_CGTInsPerm_Tmp,     CGTInsPerm,      L_insperm_key,       CPInsPermKey) \
    X(principals,     Glb_Comitentes_Table,    COMITENTES_CODE_ID,    L_CGTComitentes_Tmp,  CGTComitentes,   L_CComitentesKey,    CComitentesKey) \
    X(trustees,       Glb_Fiduciarios_Table,   FIDUCIARIOS_CODE_ID,   L_CGTFiduciarios_Tmp, CGTFiduciarios,  L_CFiduciariosKey,   CFiduciariosKey) \
    X(employees,      Glb_Employee_Table,      EMPLOYEE_CODE_ID,      L_CGTEmployee_Tmp,    CGTEmployee,     L_CEmployeeKey,      CEmployeeKey) \
    X(sub_principals, Glb_SubComitente_Table,  SUBCOMITENTE_CODE_ID,  L_CGTSubComitente_Tmp, CGTSubComitente, L_CSubComitenteSubKey, CSubComitenteSubKey)
// clang-format on

// NOLINTBEGIN(bugprone-macro-parentheses): names
#define OBJECTS(kind, table, type, record, record_class, key, key_class)                                               \
    constinit ProcessLifetime<record_class> record(make<record_class>);                                                \
    constinit ProcessLifetime<key_class> key(make<key_class>);
KINDS(OBJECTS)
#undef OBJECTS
constinit ProcessLifetime<CGTEsquema> L_CGTEsquema_Tmp(make<CGTEsquema>);
constinit ProcessLifetime<CEsquemaKey> L_CEsquemaKey(make<CEsquemaKey>);

template <auto& table, auto& record, auto& key> constexpr Kind kind_of(int type)
{
    return {type, []() -> CMessage& { return *record; },
            [](const Codes& codes) -> CMessage* {
                fill(*key, codes);
                return table->Find_NKey_Record(&*key, 1);
            }};
}

#define KIND(kind, table, type, record, record_class, key, key_class)                                                  \
    constexpr Kind kind = kind_of<table, record, key>(type);
KINDS(KIND)
#undef KIND
// NOLINTEND(bugprone-macro-parentheses)

bool is_subscribed(int type)
{
    return type == ZERO_CODE_ID || Glb_subscribed_code_table_id[type].load(std::memory_order_relaxed) != 0;
}

// ---- References ------------------------------------------------------------------------------------------------

constexpr int THE_FIELD = -1;
constexpr int NO_FIELD = -2;

struct Prefix
{
    const Kind& kind;
    std::array<int, 2> sources; // fields that make the key

    template <class... Fields>
    constexpr explicit Prefix(const Kind& led_to, int first, Fields... more) : kind(led_to), sources{first, more...}
    {
        std::fill(sources.begin() + 1 + sizeof...(more), sources.end(), NO_FIELD);
    }
    [[nodiscard]] bool needs_record() const
    {
        return std::any_of(sources.begin(), sources.end(), [](int source) { return source >= 0; });
    }
};

// The bytes at `at`, which the field gave, as far as there are any.
Code code_at(const CField& field, const char* at)
{
    Code code{};
    const int count = std::min({field.m_len, field.Readable(at), static_cast<int>(code.size())});
    std::copy_n(at, std::max(count, 0), code.data());
    return code;
}

Code code_of(CField& field, int source)
{
    if (source == THE_FIELD) {
        return code_at(field, field.Get_Data_Ptr());
    }
    CField& other = (*field.m_parent)[source];
    return code_at(other, other.Get_Ptr());
}

Codes codes_of(CField& field, const std::array<int, 2>& sources)
{
    Codes codes{};
    for (std::size_t part = 0; part < sources.size() && sources[part] != NO_FIELD; ++part) {
        codes[part] = code_of(field, sources[part]);
    }
    return codes;
}

void set(int* status, int value)
{
    if (status != nullptr) {
        *status = value;
    }
}

void PREFIX_Check_Referenced_Field(CField& field, int flag)
{
    if (flag != 0 && !field.IsEmptyField()) {
        LOG_Text("Referenced Field was not found while searching Global Table. Field Id: (%d). Field Name: (%s)",
                 field.m_field_id, field.m_field_name != nullptr ? field.m_field_name : "");
    }
}

CMessage* found_or_empty(CMessage* found, CMessage& empty, CField& field, int* status, int flag)
{
    if (found == nullptr) {
        PREFIX_Check_Referenced_Field(field, flag);
        return &empty;
    }
    set(status, 0);
    return found;
}

CMessage* follow(const Prefix& prefix, CField* field, int* status, int flag)
{
    CMessage& empty = prefix.kind.empty();
    if (!is_subscribed(prefix.kind.type) || field == nullptr || (prefix.needs_record() && field->m_parent == nullptr)) {
        return &empty;
    }
    CMessage* found = prefix.kind.find(codes_of(*field, prefix.sources));
    return found_or_empty(found, empty, *field, status, flag);
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): a function
#define PREFIX(reference, name, kind, ...)                                                                             \
    void* name(CField* field, int /*index*/, int* status, int flag)                                                    \
    {                                                                                                                  \
        static constexpr Prefix prefix(kind, __VA_ARGS__);                                                             \
        return follow(prefix, field, status, flag);                                                                    \
    }
QAPI_PREFIXES(PREFIX)
#undef PREFIX
// NOLINTEND(bugprone-macro-parentheses)

// ---- Schemes ---------------------------------------------------------------------------------------------------

namespace {

// The field of a record's colour, NO_FIELD for a record without one.
int colour_field(const CMessage& record)
{
    switch (record.m_message_id) {
    case CGTHISTORYTRANSDAYTERM_TYPE:
        return COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM;
    case CGTVOICESUMMARY_TYPE:
        return COLOR_VOICESUMMARY;
    default:
        return NO_FIELD;
    }
}

} // namespace

void* PREFIX_Esquema_from_codigo(CField* field, int /*index*/, int* status, int flag)
{
    CMessage& empty = *L_CGTEsquema_Tmp;
    if (!is_subscribed(ESQUEMA_CODE_ID) || Glb_Esquema_Code[0] == '\0' || field == nullptr ||
        field->m_parent == nullptr) {
        return &empty;
    }
    const int colour = colour_field(*field->m_parent);
    if (colour == NO_FIELD) {
        return &empty;
    }
    const unsigned element = (*field->m_parent)[colour];
    L_CEsquemaKey->Init(Glb_Esquema_Code, element);
    return found_or_empty(Glb_Esquema_Table->Find_NKey_Record(&*L_CEsquemaKey, 1), empty, *field, status, flag);
}

// ---- Receivers of chats ----------------------------------------------------------------------------------------

namespace {

using qapi::most_receivers;
using qapi::receiver_length;

const Kind* kind_of_receivers(char type)
{
    switch (type) {
    case 'U':
        return &users;
    case 'S':
        return &branches;
    case 'M':
        return &markets;
    default:
        return nullptr;
    }
}

} // namespace

// The number of receivers is the sender's word: what lies behind the field is no receiver.
void* PREFIX_Chat_from_tipo_receptores(CField* field, int index, int* status, int /*flag*/)
{
    if (field == nullptr || index < 1 || field->m_parent == nullptr) {
        return nullptr;
    }
    field->Forget_Element();
    const char type = (*field->m_parent)[TIPO_RECEPTORES_CHAT];
    const int receivers = (*field->m_parent)[NUMERO_RECEPTORES_CHAT];
    if (index > std::min({receivers, most_receivers, field->m_len / receiver_length})) {
        return nullptr;
    }
    field->m_index = index;
    field->m_len = field->m_elem_len = receiver_length;
    const Kind* kind = kind_of_receivers(type);
    if (kind == nullptr) {
        return nullptr;
    }
    set(status, 2);
    CMessage* found = kind->find({code_at(*field, field->Get_Ptr()), Code{}});
    return found != nullptr ? found : &kind->empty();
}

void PREFIX_Register()
{
#define REGISTER(reference, name, ...) CField::Set_Reference_Call(reference, name);
    QAPI_PREFIXES(REGISTER)
#undef REGISTER
    CField::Set_Reference_Call(REF_SCHEME, PREFIX_Esquema_from_codigo);
    CField::Set_Reference_Call(REF_RECEIVER, PREFIX_Chat_from_tipo_receptores);
}
