// Where the codes in records lead, in tables of its own: what makes a code, and what stands in a record that it names.
#pragma once

#include "field/flddescr.h"
#include "support/table_world.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace reference_model {

using Parts = std::vector<std::string>; // bytes of a code, field by field

// A kind of record: the type of its table, 0 if it needs no subscription, and the fields of its key.
struct ModelKind
{
    int type;
    std::vector<int> key;
    std::unique_ptr<CMessage> (*make)();
    CMessage* (*insert)(CMessage& record);
};

template <auto& table> ModelKind model_kind(int type, std::vector<int> key)
{
    using Record = decltype(TableWorld::Record_Of(table));
    return {type, std::move(key), []() -> std::unique_ptr<CMessage> { return std::make_unique<Record>(); },
            [](CMessage& record) -> CMessage* {
                return table->Insert_Local_Record(static_cast<Record*>(&record), nullptr);
            }};
}

inline const ModelKind branches = model_kind<Glb_Branches_Table>(3, {CODIGO_SUCURSAL_BRANCHES});
inline const ModelKind users = model_kind<Glb_User_Table>(4, {CODIGO_USUARIO});
inline const ModelKind institutions = model_kind<Glb_Instit_Table>(6, {CODIGO_UNICO_INSTITUCION});
inline const ModelKind super_groups = model_kind<Glb_IntSuperGroup_Table>(7, {CODIGO_VOICESUPERGROUP});
inline const ModelKind primaries = model_kind<Glb_Primaryuser_Table>(8, {CODIGO_PU});
inline const ModelKind cities = model_kind<Glb_City_Table>(9, {CODIGO_3C_CITY});
inline const ModelKind markets = model_kind<Glb_Markets_Table>(10, {CODIGO_MARKETS});
inline const ModelKind currencies = model_kind<Glb_Money_Table>(11, {CODIGO_MONEY});
inline const ModelKind countries = model_kind<Glb_Country_Table>(12, {CODIGO_COUNTRY});
inline const ModelKind instructions = model_kind<Glb_InsPerm_Table>(13, {CODIGO_IP});
inline const ModelKind voice_groups = model_kind<Glb_IntVoiceGroup_Table>(0, {CODIGO_VOICEGROUP});
inline const ModelKind issuers = model_kind<Glb_Emisores_Table>(18, {DATOS_CODIGO_EMISOR});
inline const ModelKind principals =
    model_kind<Glb_Comitentes_Table>(19, {CLASE_CODIGO_COMITENTES, CODIGO_COMITENTE_COMITENTES});
inline const ModelKind trustees =
    model_kind<Glb_Fiduciarios_Table>(20, {CODIGO_INSTITUCION_NUESTRA_FIDUCIARIOS, CODIGO_FIDUCIARIO_FIDUCIARIOS});
inline const ModelKind employees = model_kind<Glb_Employee_Table>(21, {CODIGO_EMPLOYEE});
inline const ModelKind sub_principals =
    model_kind<Glb_SubComitente_Table>(23, {CLASE_CODIGO_SUBCOMITENTE_SUBCOMITENTE, CODIGO_SUBCOMITENTE_SUBCOMITENTE});

inline constexpr int own = -1; // the field that is followed

struct ModelReference
{
    int index;
    const ModelKind& kind;
    std::vector<int> sources; // fields whose bytes make the key
};

inline const ModelReference model_references[] = {
    {1, cities, {own}},
    {2, issuers, {own}},
    {3, institutions, {own}},
    {4, markets, {own}},
    {5, currencies, {own}},
    {6, countries, {own}},
    {7, primaries, {own}},
    {8, branches, {own}},
    {9, users, {own}},
    {10, voice_groups, {own}},
    {11, super_groups, {own}},
    {12, instructions, {own}},
    {13, principals, {TIPO_IDENTIFICACION_COMPRADOR_TMONEDA, IDENTIFICACION_COMPRADOR_TMONEDA}},
    {14, trustees, {CODIGO_INSTITUCION_COMPRADOR_TMONEDA, own}},
    {15, trustees, {CODIGO_INSTITUCION_VENDEDOR_TMONEDA, own}},
    {16, employees, {own}},
    {18, principals, {TIPO_IDENTIFICACION_VENDEDOR_TMONEDA, IDENTIFICACION_VENDEDOR_TMONEDA}},
    {19, sub_principals, {CLASE_CODIGO_COMITENTES, CODIGO_COMITENTE_COMITENTES}},
    {20, principals, {TIPO_ID_COMITENTE_PROPIO, ID_COMITENTE_PROPIO}},
    {21, principals, {TIPO_IDENTIFICACION_CONTRAPARTE, IDENTIFICACION_CONTRAPARTE}},
    {22, principals, {TIPO_ID_COMITENTE_CONTRAPARTE, ID_COMITENTE_CONTRAPARTE}},
};

inline int index_of(int field_id)
{
    return glb_field_equivalence[static_cast<std::size_t>(field_id)].field_reference;
}

// Null for a field that leads nowhere, or whose code is no text: the colours and the receivers.
inline const ModelReference* reference_of(int field_id)
{
    const auto* found = std::find_if(std::begin(model_references), std::end(model_references),
                                     [=](const ModelReference& each) { return each.index == index_of(field_id); });
    return found != std::end(model_references) ? found : nullptr;
}

inline Parts code_in(CMessage& record, CField& field, const ModelReference& reference)
{
    Parts code;
    for (const int source : reference.sources) {
        CField& part = source == own ? field : record[source];
        code.emplace_back(part.Get_Data_Ptr(), static_cast<std::size_t>(part.m_len));
    }
    return code;
}

inline void write_key(CMessage& record, const ModelKind& kind, const Parts& code)
{
    for (std::size_t i = 0; i < code.size(); ++i) {
        CField& part = record[kind.key[i]];
        code[i].copy(part.Get_Data_Ptr(), static_cast<std::size_t>(part.m_len));
    }
    record.Forget_Values();
}

inline CMessage* put(CMessage& record, const ModelKind& kind, const Parts& code)
{
    static unsigned next_idx = 1;
    write_key(record, kind, code);
    record[REC_IDX] = next_idx++;
    return kind.insert(record);
}

inline CMessage* put(const ModelKind& kind, const Parts& code)
{
    return put(*kind.make(), kind, code);
}

} // namespace reference_model
