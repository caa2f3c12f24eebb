// The keys that are bytes and nothing else. One row a key: length, then the forms in which it is filled
// (keys/packed_key.h). Their fields' widths are those of the records' fields.
#pragma once

#include "keys/packed_key.h"

// clang-format off
#define QAPI_PLAIN_KEYS(KEY) \
    /* codes */ \
    KEY(CUserKey,                4, "user_code 4") \
    KEY(CMarketsKey,             3, "market_code 3") \
    KEY(CCityKey,                3, "city_code 3") \
    KEY(CCountryKey,             2, "country_code 2") \
    KEY(CMoneyKey,               3, "currency_code 3") \
    KEY(CPuKey,                  4, "pu_code 4") \
    KEY(CSuperGroupKey,          4, "super_group_code 4") \
    KEY(CVoiceGroupKey,          4, "voice_group_code 4") \
    KEY(CFixedIncomeMarketsKey,  4, "market_code 4") \
    KEY(CInstNumKey,             4, "instit_num 4") \
    KEY(CConnDmServerKey,        4, "server_code 4") \
    KEY(CPInsPermKey,            5, "instruction_code 5") \
    KEY(CPosturaKey,            10, "order_code 10") \
    KEY(CAceptacionKey,         10, "order_code 10") \
    KEY(CInstitKey,              4, "cod_instit 4") \
    KEY(CEmployeeKey,            4, "employee_code 4") \
    KEY(CEmisoresKey,            5, "code 5") \
    KEY(CGenDataKey,            12, "id_code 12") \
    /* institutions, branches, users */ \
    KEY(CBranchesKey,            8, "branch_code 8", "instit_code 4, fill") \
    KEY(CUserBv1Key,             9, "bv1_code 5, user_code 4") \
    KEY(CBranchUserKey,         12, "branch_code 8, user_code 4", "branch_code 8, fill") \
    KEY(CMarketUserKey,          7, "market 3, user_code 4") \
    KEY(CBranchesRfqsKey,       19, "market 3, cod_reply_branch 8, cod_request_branch 8") \
    KEY(CPInsVLX_BCKey,         15, "market 3, branch_code 8, pu_code 4", "market 3, inst_code 4, fill") \
    KEY(CNamecheckKey,          11, "market 3, branch_code 8") \
    KEY(CNmChkPlzKey,           40, "market 3, my_branch_code 8, othr_branch_code 8, c_v_flag 1, " \
                                    "initial_text_term 10, final_text_term 10") \
    /* principals, trustees, schemes, holidays */ \
    KEY(CComitentesKey,         16, "type_code 1, code 15") \
    KEY(CSubComitenteKey,       32, "class_code_father 1, code_father_subcom 15, class_code_subcom 1, code_subcom 15") \
    KEY(CSubComitenteSubKey,    16, "class_code 1, code_subcom 15") \
    KEY(CFiduciariosKey,         7, "cod_instit_nuestra 4, cod_fiduciario 3") \
    KEY(CEsquemaKey,            10, "esquema_code 8, #id_element 2") \
    KEY(CHolidayKey,            11, "country_dm_code 1, code 10") \
    /* currencies and rates; a cash rate's last three bytes are never written */ \
    KEY(CSpotKey,                7, "currency1 3, /, currency2 3") \
    KEY(CSpotMarketsKey,        10, "spot_key 7, market_code 3", "spot_key 7, fill", \
                                    "currency1 3, /, currency2 3, market_code 3") \
    KEY(CCurrencyKey,            4, "pais_dm 1, codigo 3") \
    KEY(CCashRateKey,           16, "currency 3, text_term 10") \
    KEY(CCcyPairTermKey,        32, "currency1 3, currency2 3, text_term 10, start_date 8, end_date 8") \
    KEY(CCcyPairKey,             7, "bandera_ndf_forward 1, codigo_moneda 3, codigo_moneda_contraparte 3") \
    /* terms, statistics, summaries */ \
    KEY(CTermKey,               13, "market 3, text_term 10") \
    KEY(CTermAltKey,            23, "market 3, text_term_alt 10, text_term 10") \
    KEY(CTermMaturityKey,       24, "market 3, level 1, maturity_date 8, sequence 2, text_term 10") \
    KEY(CStatisticsKey,         24, "market 3, history_date 8, sub_market 1, text_term 10, days 2") \
    KEY(CSummaryKey,            26, "market 3, xdays 2, days 2, term_text 10, level 1, maturity_date 8", \
                                    "market 3, fill", "market 3, xdays 2, days 2, term_text 10, fill") \
    KEY(CFixPriceKey,           26, "market 3, level 1, date_maturity 8, xdays 2, days 2, text 10") \
    KEY(CVoiceTermKey,           6, "market 3, voiceterm_code 3") \
    KEY(CVoiceSummaryKey,       44, "market 3, group_code 4, title_reference 12, text_term 10, currency 3, arrange 2, " \
                                    "xdays 2, days 2, value_date 2, cama_de_monto 1, tipo_operacion 2, linea_pico 1") \
    /* credit; an institution's branch is given to the local ones as its own two codes */ \
    KEY(CGTCreditAdmCodeKey,     7, "market 3, instit_code 4") \
    KEY(CCupoGKey,              20, "market 3, my_branch 8, other_branch 8, c_v 1", \
                                    "market 3, my_branch 8, other_instit 4, fill", "market 3, my_instit 4, fill") \
    KEY(CCupoLKey,              16, "market 3, my_instit 4, other_instit 4, c_v 1, city_subsidiary 4", \
                                    "market 3, my_branch 4, other_instit 4, c_v 1, +my_branch 4") \
    KEY(CCupoXPLKey,            26, "market 3, my_instit 4, other_instit 4, c_v 1, city_subsidiary 4, inf_rate 5, " \
                                    "sup_rate 5", \
                                    "market 3, my_branch 4, other_instit 4, c_v 1, +my_branch 4, inf_rate 5, " \
                                    "sup_rate 5", \
                                    "market 3, my_instit 4, other_instit 4, c_v 1, city_subsidiary 4, fill", \
                                    "market 3, my_branch 4, other_instit 4, c_v 1, +my_branch 4, fill") \
    KEY(CPolicyCreditKey,       13, "market 3, branch_code 8, m_s_flag 1, c_v_flag 1", "market 3, fill") \
    KEY(CFactRiesgoKey,         20, "market 3, mine_code_branch 8, other_code_instit 4, c_v_flag 1, range_inf 2, " \
                                    "range_sup 2") \
    KEY(CCompartCuposKey,        7, "market 3, mine_code_instit 4") \
    KEY(CCompartCuposMasterKey, 10, "master_market 3, mine_code_instit 4, market 3") \
    KEY(CConfCuposKey,           7, "market 3, cod_instit 4") \
    KEY(CLimInstitKey,          15, "mercado 3, cod_garantizadora 4, sucursal_limit 8") \
    /* settlement and collection; the last ten bytes of a pending collection are never written */ \
    KEY(CCobranzasKey,           8, "codigo_institucion_nuestra 4, codigo_institucion_cobranza 4") \
    KEY(CPendCobranzasKey,      56, "market 3, mine_cod_instit 4, other_cod_instit 4, c_v 1, cod_postura 10, " \
                                    "cod_postura_1 10, transaction_date 8, transaction_hour 6") \
    KEY(CAvgPurchasePriceKey,   16, "instit_branch 4, market 4, date 8") \
    KEY(CBuyAverPriceKey,       15, "mercado 3, cod_instit_sucur 4, fecha_registro 8") \
    KEY(CConfirmPendCodKey,     20, "cod_post 10, cod_post_1 10") \
    KEY(CConfirmPendMarketKey,  23, "market 3, cod_post 10, cod_post_1 10") \
    /* requests for quotes; an entry's first 13 bytes may be given as the value of its request's key */ \
    KEY(CRFQRequestKey,         21, "mercado 3, fecha_ronda 8, usuario_ronda 4, numero_ronda 6") \
    KEY(CRFQReqQuentarKey,      13, "market 3, user_code 4, rfq_code 6") \
    KEY(CRFQReqETCKey,          14, "firmid 4, instrument 4, rfq_code 6") \
    KEY(CRFQEntryQuentarKey,    21, "mercado 3, usuario_ronda 4, numero_ronda 6, codigo_sucursal 8", \
                                    "request_key 13, codigo_sucursal 8") \
    /* trades */ \
    KEY(CQuentarTradeKey,       30, "market 3, hour 6, order_code 10, order_code_1 10, c_v 1")
// clang-format on

#define QAPI_PLAIN_KEY(key, bytes, ...)                                                                                \
    class key : public qapi::PackedKey<key> /* NOLINT(bugprone-macro-parentheses): a class */                          \
    {                                                                                                                  \
    public:                                                                                                            \
        static constexpr int length = bytes;                                                                           \
        static constexpr qapi::PackedForm forms[] = {__VA_ARGS__};                                                     \
    };
QAPI_PLAIN_KEYS(QAPI_PLAIN_KEY)
#undef QAPI_PLAIN_KEY
