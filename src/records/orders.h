// The large records of the market: an order as a message and as a record of the table of orders, a currency
// transaction, the facts of the day. The first three share the group DATOS_GLOBALES.
//
// usuario_sucursal_intermediario and usuario_empleado share their bytes: which of the two the record holds is told by
// bandera_sector_financiero, 'E' for the employee. The other one reads as an empty text, and what is written to it is
// dropped, so the flag is set first. The same holds for the fields ending in _1, with a flag of their own.
#pragma once

#include "message/message.h"

// Order (111).
class CMsgOrder : public CMessage
{
public:
    explicit CMsgOrder(char* data = nullptr) : CMessage(data, Layout_Of<CMsgOrder>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
    void Init_Key(COrderKey* to_fill) override;
};

// Order in force.
class CGTOrder : public CMessage
{
public:
    explicit CGTOrder(char* data = nullptr) : CMessage(data, Layout_Of<CGTOrder>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(COrderKey* to_fill) override;
    void Init_Key(CInstrumentFeedKey* to_fill) override;
    void Init_Key(COrderKeyLoginName* to_fill) override;
    void Init_Key(CPosturaKey* to_fill) override;
    void Init_Key(CBranchesKey* to_fill) override;
    void Init_Key(CUserKey* to_fill) override;
    void Init_Key(CMarketUserKey* to_fill) override;
    void Init_Key(CPriceOrderKey* to_fill) override;
    void Init_Key(CPriceOrderKey* to_fill, const char* o_d, int fill) override;
    void Init_Key(CPriceG7MarketKey* to_fill, const char* o_d, int fill) override;
    void Init_Key(CPriceVoicemarketKey* to_fill, const char* o_d, int fill) override;
    void Init_Key(CPriceG7MarketKey* to_fill) override;
    void Init_Key(CPriceVoicemarketKey* to_fill) override;
    void Init_Key(CSummaryKey* to_fill) override;
    void Init_Key(CTermKey* to_fill) override;
    void Init_Key(CVoiceSummaryKey* to_fill) override;
};

// Currency transaction (112).
class CMsgTransMon : public CMessage
{
public:
    explicit CMsgTransMon(char* data = nullptr) : CMessage(data, Layout_Of<CMsgTransMon>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Facts of the day by instrument and term.
class CGTHistoryTransDayTerm : public CMessage
{
public:
    explicit CGTHistoryTransDayTerm(char* data = nullptr) : CMessage(data, Layout_Of<CGTHistoryTransDayTerm>()) {}
    using CMessage::operator=;
    static Composition Compose();
};
