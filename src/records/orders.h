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
};

// Order in force.
class CGTOrder : public CMessage
{
public:
    explicit CGTOrder(char* data = nullptr) : CMessage(data, Layout_Of<CGTOrder>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Currency transaction (112).
class CMsgTransMon : public CMessage
{
public:
    explicit CMsgTransMon(char* data = nullptr) : CMessage(data, Layout_Of<CMsgTransMon>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Facts of the day by instrument and term.
class CGTHistoryTransDayTerm : public CMessage
{
public:
    explicit CGTHistoryTransDayTerm(char* data = nullptr) : CMessage(data, Layout_Of<CGTHistoryTransDayTerm>()) {}
    using CMessage::operator=;
    static Composition Compose();
};
