// The keys by which tables find records. A record fills those of the tables it may live in: CMessage has one operation
// for each key, which does nothing unless the record's class knows better. Any record fills CIdxKey and CEnvCrc32Key.
#pragma once

// clang-format off
#define RECORD_KEYS(KEY) \
    KEY(CPriceOrderKey)        KEY(COrderKey)           KEY(COrderKeyLoginName)     KEY(CInstrumentFeedKey) \
    KEY(CNamecheckKey)         KEY(CNmChkPlzKey)        KEY(CPosturaKey)            KEY(CAceptacionKey) \
    KEY(CSummaryKey)           KEY(CTermKey)            KEY(CTermAltKey)            KEY(CTermMaturityKey) \
    KEY(CBranchesRfqsKey)      KEY(CBranchesKey)        KEY(CBranchesNumKey)        KEY(CUserKey) \
    KEY(CEmisoresKey)          KEY(CComitentesKey)      KEY(CFiduciariosKey)        KEY(CEmployeeKey) \
    KEY(CAvgPurchasePriceKey)  KEY(CEsquemaKey)         KEY(CSubComitenteKey)       KEY(CSubComitenteSubKey) \
    KEY(CMarketUserKey)        KEY(CSuperGroupKey)      KEY(CVoiceTermKey)          KEY(CVoiceSummaryKey) \
    KEY(CPriceG7MarketKey)     KEY(CPriceVoicemarketKey) KEY(CCurrencyKey)          KEY(CCashRateKey) \
    KEY(CPInsVLX_BCKey)        KEY(CMarketsKey)         KEY(CSpotMarketsKey)        KEY(CInstNumKey) \
    KEY(CConfigCreditKey)      KEY(CPolicyCreditKey)    KEY(CCupoGKey)              KEY(CCupoLKey) \
    KEY(CCupoXPLKey)           KEY(CCobranzasKey)       KEY(CPendCobranzasKey)      KEY(CFactRiesgoKey) \
    KEY(CCompartCuposKey)      KEY(CCompartCuposMasterKey) KEY(CConfCuposKey)       KEY(CLimInstitKey) \
    KEY(CBuyAverPriceKey)      KEY(CGTCreditAdmCodeKey) KEY(CConfirmPendKey)        KEY(CConfirmPendCodKey) \
    KEY(CConfirmPendMarketKey) KEY(CGenDataKey)         KEY(CFixPriceKey)           KEY(CUserBv1Key) \
    KEY(CCcyPairKey)           KEY(CConnDmServerKey)    KEY(CHolidayKey)            KEY(CRFQRequestKey) \
    KEY(CInstitKey)            KEY(CPInsPermKey)        KEY(CSeqKey)                KEY(CPuKey) \
    KEY(CCityKey)              KEY(CCountryKey)         KEY(CMoneyKey)              KEY(CFixedIncomeMarketsKey) \
    KEY(CVoiceGroupKey)        KEY(CBranchUserKey)

// The prices' keys are also filled as the bound of a range: with the side, 'D' for bids, and a byte that fills what
// stands behind it; and, of a linked order, for what it is linked to.
#define RECORD_PRICE_KEYS(KEY) \
    KEY(CPriceOrderKey)        KEY(CPriceG7MarketKey)   KEY(CPriceVoicemarketKey)
// clang-format on

class CMapService;
class CIdxKey;
class CEnvCrc32Key;
#define DECLARE_KEY(key) class key; // NOLINT(bugprone-macro-parentheses): the name of a type
RECORD_KEYS(DECLARE_KEY)
#undef DECLARE_KEY
