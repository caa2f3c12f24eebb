// Prices and amounts of the day, by hour, by term, of a morning or an afternoon; maintenance of fixed income, payment
// instructions, the end of a transaction, requests for quotes, chat, trades for the back office.
#pragma once

#include "message/message.h"

// Prices and amounts of the day (87).
class CMsgPrcMntTrans : public CMessage
{
public:
    explicit CMsgPrcMntTrans(char* data = nullptr) : CMessage(data, Layout_Of<CMsgPrcMntTrans>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Prices by hour (176).
class CMsgPrcMntHour : public CMessage
{
public:
    explicit CMsgPrcMntHour(char* data = nullptr) : CMessage(data, Layout_Of<CMsgPrcMntHour>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Prices by hour and term (177).
class CMsgPrcMntHourTerm : public CMessage
{
public:
    explicit CMsgPrcMntHourTerm(char* data = nullptr) : CMessage(data, Layout_Of<CMsgPrcMntHourTerm>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Prices of a morning or an afternoon (300).
class CMsgPrcMntHourAmPm : public CMessage
{
public:
    explicit CMsgPrcMntHourAmPm(char* data = nullptr) : CMessage(data, Layout_Of<CMsgPrcMntHourAmPm>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Maintenance of a fixed income transaction (132).
class CMsgPrcMntTransRentaFija : public CMessage
{
public:
    explicit CMsgPrcMntTransRentaFija(char* data = nullptr) : CMessage(data, Layout_Of<CMsgPrcMntTransRentaFija>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Average purchase price (291).
class CMsgAvgPurchasePrice : public CMessage
{
public:
    explicit CMsgAvgPurchasePrice(char* data = nullptr) : CMessage(data, Layout_Of<CMsgAvgPurchasePrice>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CAvgPurchasePriceKey* to_fill) override;
};

// Payment instruction (153).
class CMsgPayInstruc : public CMessage
{
public:
    explicit CMsgPayInstruc(char* data = nullptr) : CMessage(data, Layout_Of<CMsgPayInstruc>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// End of a transaction (879).
class CMsgEndTransaction : public CMessage
{
public:
    explicit CMsgEndTransaction(char* data = nullptr) : CMessage(data, Layout_Of<CMsgEndTransaction>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// State of a request for quotes (308).
class CMsgRFQUpdate : public CMessage
{
public:
    explicit CMsgRFQUpdate(char* data = nullptr) : CMessage(data, Layout_Of<CMsgRFQUpdate>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Chat message (575).
class CMsgChat : public CMessage
{
public:
    explicit CMsgChat(char* data = nullptr) : CMessage(data, Layout_Of<CMsgChat>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Trade for the back office: foreign exchange and derivatives (133).
class CTarnelMsg : public CMessage
{
public:
    explicit CTarnelMsg(char* data = nullptr) : CMessage(data, Layout_Of<CTarnelMsg>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};

// Trade for the back office: commodities (134).
class CTarnelWhMsg : public CMessage
{
public:
    explicit CTarnelWhMsg(char* data = nullptr) : CMessage(data, Layout_Of<CTarnelWhMsg>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSeqKey* to_fill) override;
};
