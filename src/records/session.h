// The records that open and keep a session: login and withdrawal of a machine, requests for stored messages and for
// tables, version control, the lists of data managers, subscriptions.
#pragma once

#include "message/message.h"

// Header of table records.
class CGTHeader : public CMessage
{
public:
    explicit CGTHeader(char* data = nullptr) : CMessage(data, Layout_Of<CGTHeader>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Login of a machine (201).
class CMsgLogin : public CMessage
{
public:
    explicit CMsgLogin(char* data = nullptr) : CMessage(data, Layout_Of<CMsgLogin>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Withdrawal of a machine (202).
class CMsgEqOffLine : public CMessage
{
public:
    explicit CMsgEqOffLine(char* data = nullptr) : CMessage(data, Layout_Of<CMsgEqOffLine>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Request for stored messages (203).
class CMsgLogReq : public CMessage
{
public:
    explicit CMsgLogReq(char* data = nullptr) : CMessage(data, Layout_Of<CMsgLogReq>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Begin of stored messages (204).
class CMsgLogBegin : public CMessage
{
public:
    explicit CMsgLogBegin(char* data = nullptr) : CMessage(data, Layout_Of<CMsgLogBegin>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// End of stored messages (205).
class CMsgLogEnd : public CMessage
{
public:
    explicit CMsgLogEnd(char* data = nullptr) : CMessage(data, Layout_Of<CMsgLogEnd>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Request for the next stored messages (252).
class CMsgNextLogReq : public CMessage
{
public:
    explicit CMsgNextLogReq(char* data = nullptr) : CMessage(data, Layout_Of<CMsgNextLogReq>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Version control (253).
class CMsgVrsCtrl : public CMessage
{
public:
    explicit CMsgVrsCtrl(char* data = nullptr) : CMessage(data, Layout_Of<CMsgVrsCtrl>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// List of data managers (865).
class CMsgDMList : public CMessage
{
public:
    explicit CMsgDMList(char* data = nullptr) : CMessage(data, Layout_Of<CMsgDMList>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// List of data managers by type of server.
class CMsgDMTList : public CMessage
{
public:
    explicit CMsgDMTList(char* data = nullptr) : CMessage(data, Layout_Of<CMsgDMTList>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Subscription of a table.
class CMsgSubcripReq : public CMessage
{
public:
    explicit CMsgSubcripReq(char* data = nullptr) : CMessage(data, Layout_Of<CMsgSubcripReq>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Request for tables (213).
class CMsgTablesReq : public CMessage
{
public:
    explicit CMsgTablesReq(char* data = nullptr) : CMessage(data, Layout_Of<CMsgTablesReq>()) {}
    using CMessage::operator=;
    static Composition Compose();
};
