// The table records that name the world of the system: institutions, places, instruments, principals, branches, users,
// markets.
#pragma once

#include "message/message.h"

// Institution.
class CGTInstit : public CHashedRecord
{
public:
    explicit CGTInstit(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTInstit>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CInstitKey* to_fill) override;
};

// Permanent payment instruction.
class CGTInsPerm : public CHashedRecord
{
public:
    explicit CGTInsPerm(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTInsPerm>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CPInsPermKey* to_fill) override;
};

// Primary user.
class CGTPu : public CHashedRecord
{
public:
    explicit CGTPu(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTPu>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CPuKey* to_fill) override;
};

// City.
class CGTCity : public CHashedRecord
{
public:
    explicit CGTCity(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTCity>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CCityKey* to_fill) override;
};

// Country.
class CGTCountry : public CHashedRecord
{
public:
    explicit CGTCountry(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTCountry>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CCountryKey* to_fill) override;
};

// Currency.
class CGTMoney : public CHashedRecord
{
public:
    explicit CGTMoney(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTMoney>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CMoneyKey* to_fill) override;
};

// Voice group.
class CGTVoiceGroup : public CHashedRecord
{
public:
    explicit CGTVoiceGroup(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTVoiceGroup>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CVoiceGroupKey* to_fill) override;
};

// Fixed income market.
class CGTFixedIncomeMarkets : public CMessage
{
public:
    explicit CGTFixedIncomeMarkets(char* data = nullptr) : CMessage(data, Layout_Of<CGTFixedIncomeMarkets>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CFixedIncomeMarketsKey* to_fill) override;
};

// Rate.
class CGTRates : public CMessage
{
public:
    explicit CGTRates(char* data = nullptr) : CMessage(data, Layout_Of<CGTRates>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Issuer.
class CGTEmisores : public CHashedRecord
{
public:
    explicit CGTEmisores(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTEmisores>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CEmisoresKey* to_fill) override;
};

// Principal.
class CGTComitentes : public CHashedRecord
{
public:
    explicit CGTComitentes(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTComitentes>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CComitentesKey* to_fill) override;
};

// Principal of a principal.
class CGTSubComitente : public CHashedRecord
{
public:
    explicit CGTSubComitente(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTSubComitente>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSubComitenteKey* to_fill) override;
    void Init_Key(CSubComitenteSubKey* to_fill) override;
};

// Trustee.
class CGTFiduciarios : public CHashedRecord
{
public:
    explicit CGTFiduciarios(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTFiduciarios>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CFiduciariosKey* to_fill) override;
};

// Employee.
class CGTEmployee : public CHashedRecord
{
public:
    explicit CGTEmployee(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTEmployee>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CEmployeeKey* to_fill) override;
};

// Element of a scheme of colours and lines.
class CGTEsquema : public CHashedRecord
{
public:
    explicit CGTEsquema(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTEsquema>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CEsquemaKey* to_fill) override;
};

// Branch.
class CGTBranches : public CHashedRecord
{
public:
    explicit CGTBranches(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTBranches>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CBranchesKey* to_fill) override;
};

// Pair of branches that ask for quotes.
class CGTBranchesRfqs : public CMessage
{
public:
    explicit CGTBranchesRfqs(char* data = nullptr) : CMessage(data, Layout_Of<CGTBranchesRfqs>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CBranchesRfqsKey* to_fill) override;
};

// User.
class CGTUser : public CHashedRecord
{
public:
    explicit CGTUser(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTUser>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CUserBv1Key* to_fill) override;
    void Init_Key(CUserKey* to_fill) override;
    void Init_Key(CBranchesKey* to_fill) override;
    void Init_Key(CBranchUserKey* to_fill) override;
};

// Market.
class CGTMarkets : public CHashedRecord
{
public:
    explicit CGTMarkets(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTMarkets>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CMarketsKey* to_fill) override;
    void Init_Key(CSpotMarketsKey* to_fill) override;
};

// Market, as older peers send it.
class CGTMarketsOld : public CMessage
{
public:
    explicit CGTMarketsOld(char* data = nullptr) : CMessage(data, Layout_Of<CGTMarketsOld>()) {}
    using CMessage::operator=;
    static Composition Compose();
};

// Summary of an instrument on the floor.
class CGTVoiceSummary : public CMessage
{
public:
    explicit CGTVoiceSummary(char* data = nullptr) : CMessage(data, Layout_Of<CGTVoiceSummary>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CVoiceSummaryKey* to_fill) override;
};

// Super group of instruments.
class CGTSuperGroup : public CHashedRecord
{
public:
    explicit CGTSuperGroup(char* data = nullptr) : CHashedRecord(data, Layout_Of<CGTSuperGroup>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CSuperGroupKey* to_fill) override;
};

// Connected user.
class CGTConnUser : public CMessage
{
public:
    explicit CGTConnUser(char* data = nullptr) : CMessage(data, Layout_Of<CGTConnUser>()) {}
    using CMessage::operator=;
    static Composition Compose();

    using CMessage::Init_Key;
    void Init_Key(CBranchUserKey* to_fill) override;
};
