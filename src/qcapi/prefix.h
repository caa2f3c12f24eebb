// From a field that holds a code to the record that it names. Each function finds it in the table of its kind by the
// key that the field's bytes make, sometimes together with those of another field of the record, and sets *status to
// 0. Where it finds none, or the table isn't subscribed, it gives the empty record of that kind and leaves *status as
// it is; field/references.h has the form that all share. With `flag` not 0, a code that names no record is told to the
// running log, if the field's last byte isn't 0.
//
// The caller holds ReplicaLock until it is done with the record: keys and empty records are shared, and a record is
// the reader's to change.
#pragma once

#include "field/field.h"

// One row a function: index, name, kind of the record (the rows of prefix.cpp), fields that make the key.
// clang-format off
#define QAPI_PREFIXES(X) \
    X(REF_CITY,            PREFIX_City_from_codigo_3c,                       cities,       THE_FIELD) \
    X(REF_ISSUER,          PREFIX_Emisores_from_codigo,                      issuers,      THE_FIELD) \
    X(REF_INSTITUTION,     PREFIX_Institucion_from_codigo_institucion,       institutions, THE_FIELD) \
    X(REF_MARKET,          PREFIX_Market_from_codigo,                        markets,      THE_FIELD) \
    X(REF_CURRENCY,        PREFIX_Money_from_codigo,                         currencies,   THE_FIELD) \
    X(REF_COUNTRY,         PREFIX_Country_from_codigo,                       countries,    THE_FIELD) \
    X(REF_PRIMARY_USER,    PREFIX_Primaryuser_from_codigo,                   primaries,    THE_FIELD) \
    X(REF_BRANCH,          PREFIX_Sucursal_from_codigo_sucursal,             branches,     THE_FIELD) \
    X(REF_USER,            PREFIX_User_from_codigo_usuario,                  users,        THE_FIELD) \
    X(REF_VOICE_GROUP,     PREFIX_VoiceGroup_from_codigo_grupo,              voice_groups, THE_FIELD) \
    X(REF_SUPER_GROUP,     PREFIX_SuperGroup_from_codigo,                    super_groups, THE_FIELD) \
    X(REF_INSTRUCTION,     PREFIX_InsPerm_from_codigo,                       instructions, THE_FIELD) \
    X(REF_BUYER,           PREFIX_Comitentes_from_identificacion_comprador,  principals, \
        TIPO_IDENTIFICACION_COMPRADOR_TMONEDA, IDENTIFICACION_COMPRADOR_TMONEDA) \
    X(REF_BUYER_TRUSTEE,   PREFIX_Fiduciarios_from_codigo_comprador,         trustees, \
        CODIGO_INSTITUCION_COMPRADOR_TMONEDA, THE_FIELD) \
    X(REF_SELLER_TRUSTEE,  PREFIX_Fiduciarios_from_codigo_vendedor,          trustees, \
        CODIGO_INSTITUCION_VENDEDOR_TMONEDA, THE_FIELD) \
    X(REF_EMPLOYEE,        PREFIX_Employee_from_codigo,                      employees,    THE_FIELD) \
    X(REF_SELLER,          PREFIX_Comitentes_from_identificacion_vendedor,   principals, \
        TIPO_IDENTIFICACION_VENDEDOR_TMONEDA, IDENTIFICACION_VENDEDOR_TMONEDA) \
    X(REF_SUB_PRINCIPAL,   PREFIX_SubComitente_from_codigo_comitente,        sub_principals, \
        CLASE_CODIGO_COMITENTES, CODIGO_COMITENTE_COMITENTES) \
    X(REF_OWN_PRINCIPAL,   PREFIX_Comitente_from_id_comitente_propio,        principals, \
        TIPO_ID_COMITENTE_PROPIO, ID_COMITENTE_PROPIO) \
    X(REF_COUNTERPARTY,    PREFIX_Comitente_from_identificacion_contraparte, principals, \
        TIPO_IDENTIFICACION_CONTRAPARTE, IDENTIFICACION_CONTRAPARTE) \
    X(REF_OTHER_PRINCIPAL, PREFIX_Comitente_from_id_comitente_contraparte,   principals, \
        TIPO_ID_COMITENTE_CONTRAPARTE, ID_COMITENTE_CONTRAPARTE)
// clang-format on

#define QAPI_DECLARE_PREFIX(reference, name, ...) CField_Ref_Fun name; // NOLINT(bugprone-macro-parentheses): a function
QAPI_PREFIXES(QAPI_DECLARE_PREFIX)
#undef QAPI_DECLARE_PREFIX

// The element of the session's scheme that a colour names; none in a session without a scheme. Only the colours of the
// two records that have one lead here.
CField_Ref_Fun PREFIX_Esquema_from_codigo;

// The user, branch or market that receiver `index`, from 1, of a chat message is: *status is 2, whether it is known or
// not, and the field stands at that element. Null for a receiver that the message doesn't have, or of another kind.
CField_Ref_Fun PREFIX_Chat_from_tipo_receptores;

namespace qapi {
inline constexpr int receiver_length = 8; // bytes of one receiver's code
inline constexpr int most_receivers = 200;
} // namespace qapi

// Registers the functions behind their indexes.
void PREFIX_Register();
