#include "records/all_records.h"

#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"
#include "records/session.h"

#include <algorithm>
#include <array>

namespace {

template <class Record> std::unique_ptr<CMessage> make(char* data)
{
    return std::make_unique<Record>(data);
}

#define RECORD(class_name, meaning)                                                                                    \
    RecordClass                                                                                                        \
    {                                                                                                                  \
#class_name, meaning, Layout_Of < class_name>, make < class_name>                                              \
    }
constexpr std::array record_classes{
    RECORD(CGTHeader, "header of table records"),
    RECORD(CMsgLogin, "login of a machine"),
    RECORD(CMsgEqOffLine, "withdrawal of a machine"),
    RECORD(CMsgLogReq, "request for stored messages"),
    RECORD(CMsgLogBegin, "begin of stored messages"),
    RECORD(CMsgLogEnd, "end of stored messages"),
    RECORD(CMsgNextLogReq, "request for the next stored messages"),
    RECORD(CMsgVrsCtrl, "version control"),
    RECORD(CMsgDMList, "list of data managers"),
    RECORD(CMsgDMTList, "list of data managers by type of server"),
    RECORD(CMsgSubcripReq, "subscription of a table"),
    RECORD(CMsgTablesReq, "request for tables"),
    RECORD(CMsgOrder, "order"),
    RECORD(CGTOrder, "order in force"),
    RECORD(CMsgTransMon, "currency transaction"),
    RECORD(CGTHistoryTransDayTerm, "facts of the day by instrument and term"),
    RECORD(CMsgPrcMntTrans, "prices and amounts of the day"),
    RECORD(CMsgPrcMntHour, "prices by hour"),
    RECORD(CMsgPrcMntHourTerm, "prices by hour and term"),
    RECORD(CMsgPrcMntHourAmPm, "prices of a morning or an afternoon"),
    RECORD(CMsgPrcMntTransRentaFija, "maintenance of a fixed income transaction"),
    RECORD(CMsgAvgPurchasePrice, "average purchase price"),
    RECORD(CMsgPayInstruc, "payment instruction"),
    RECORD(CMsgEndTransaction, "end of a transaction"),
    RECORD(CMsgRFQUpdate, "state of a request for quotes"),
    RECORD(CMsgChat, "chat message"),
    RECORD(CTarnelMsg, "trade for the back office: foreign exchange and derivatives"),
    RECORD(CTarnelWhMsg, "trade for the back office: commodities"),
    RECORD(CGTInstit, "institution"),
    RECORD(CGTInsPerm, "permanent payment instruction"),
    RECORD(CGTPu, "primary user"),
    RECORD(CGTCity, "city"),
    RECORD(CGTCountry, "country"),
    RECORD(CGTMoney, "currency"),
    RECORD(CGTVoiceGroup, "voice group"),
    RECORD(CGTFixedIncomeMarkets, "fixed income market"),
    RECORD(CGTRates, "rate"),
    RECORD(CGTEmisores, "issuer"),
    RECORD(CGTComitentes, "principal"),
    RECORD(CGTSubComitente, "principal of a principal"),
    RECORD(CGTFiduciarios, "trustee"),
    RECORD(CGTEmployee, "employee"),
    RECORD(CGTEsquema, "element of a scheme of colours and lines"),
    RECORD(CGTBranches, "branch"),
    RECORD(CGTBranchesRfqs, "pair of branches that ask for quotes"),
    RECORD(CGTUser, "user"),
    RECORD(CGTMarkets, "market"),
    RECORD(CGTMarketsOld, "market, as older peers send it"),
    RECORD(CGTVoiceSummary, "summary of an instrument on the floor"),
    RECORD(CGTSuperGroup, "super group of instruments"),
    RECORD(CGTConnUser, "connected user"),
};
#undef RECORD

} // namespace

std::span<const RecordClass> qapi::All_Record_Classes()
{
    return record_classes;
}
