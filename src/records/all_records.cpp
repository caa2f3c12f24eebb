#include "records/all_records.h"

#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"
#include "records/session.h"

#include <array>

namespace {

template <class Record> std::unique_ptr<CMessage> make(char* data)
{
    return std::make_unique<Record>(data);
}

template <class Record> constexpr RecordClass row(const char* name, const char* meaning)
{
    return {name, meaning, Layout_Of<Record>, make<Record>};
}

constexpr std::array record_classes{
    row<CGTHeader>("CGTHeader", "header of table records"),
    row<CMsgLogin>("CMsgLogin", "login of a machine"),
    row<CMsgEqOffLine>("CMsgEqOffLine", "withdrawal of a machine"),
    row<CMsgLogReq>("CMsgLogReq", "request for stored messages"),
    row<CMsgLogBegin>("CMsgLogBegin", "begin of stored messages"),
    row<CMsgLogEnd>("CMsgLogEnd", "end of stored messages"),
    row<CMsgNextLogReq>("CMsgNextLogReq", "request for the next stored messages"),
    row<CMsgVrsCtrl>("CMsgVrsCtrl", "version control"),
    row<CMsgDMList>("CMsgDMList", "list of data managers"),
    row<CMsgDMTList>("CMsgDMTList", "list of data managers by type of server"),
    row<CMsgSubcripReq>("CMsgSubcripReq", "subscription of a table"),
    row<CMsgTablesReq>("CMsgTablesReq", "request for tables"),
    row<CMsgOrder>("CMsgOrder", "order"),
    row<CGTOrder>("CGTOrder", "order in force"),
    row<CMsgTransMon>("CMsgTransMon", "currency transaction"),
    row<CGTHistoryTransDayTerm>("CGTHistoryTransDayTerm", "facts of the day by instrument and term"),
    row<CMsgPrcMntTrans>("CMsgPrcMntTrans", "prices and amounts of the day"),
    row<CMsgPrcMntHour>("CMsgPrcMntHour", "prices by hour"),
    row<CMsgPrcMntHourTerm>("CMsgPrcMntHourTerm", "prices by hour and term"),
    row<CMsgPrcMntHourAmPm>("CMsgPrcMntHourAmPm", "prices of a morning or an afternoon"),
    row<CMsgPrcMntTransRentaFija>("CMsgPrcMntTransRentaFija", "maintenance of a fixed income transaction"),
    row<CMsgAvgPurchasePrice>("CMsgAvgPurchasePrice", "average purchase price"),
    row<CMsgPayInstruc>("CMsgPayInstruc", "payment instruction"),
    row<CMsgEndTransaction>("CMsgEndTransaction", "end of a transaction"),
    row<CMsgRFQUpdate>("CMsgRFQUpdate", "state of a request for quotes"),
    row<CMsgChat>("CMsgChat", "chat message"),
    row<CTarnelMsg>("CTarnelMsg", "trade for the back office: foreign exchange and derivatives"),
    row<CTarnelWhMsg>("CTarnelWhMsg", "trade for the back office: commodities"),
    row<CGTInstit>("CGTInstit", "institution"),
    row<CGTInsPerm>("CGTInsPerm", "permanent payment instruction"),
    row<CGTPu>("CGTPu", "primary user"),
    row<CGTCity>("CGTCity", "city"),
    row<CGTCountry>("CGTCountry", "country"),
    row<CGTMoney>("CGTMoney", "currency"),
    row<CGTVoiceGroup>("CGTVoiceGroup", "voice group"),
    row<CGTFixedIncomeMarkets>("CGTFixedIncomeMarkets", "fixed income market"),
    row<CGTRates>("CGTRates", "rate"),
    row<CGTEmisores>("CGTEmisores", "issuer"),
    row<CGTComitentes>("CGTComitentes", "principal"),
    row<CGTSubComitente>("CGTSubComitente", "principal of a principal"),
    row<CGTFiduciarios>("CGTFiduciarios", "trustee"),
    row<CGTEmployee>("CGTEmployee", "employee"),
    row<CGTEsquema>("CGTEsquema", "element of a scheme of colours and lines"),
    row<CGTBranches>("CGTBranches", "branch"),
    row<CGTBranchesRfqs>("CGTBranchesRfqs", "pair of branches that ask for quotes"),
    row<CGTUser>("CGTUser", "user"),
    row<CGTMarkets>("CGTMarkets", "market"),
    row<CGTMarketsOld>("CGTMarketsOld", "market, as older peers send it"),
    row<CGTVoiceSummary>("CGTVoiceSummary", "summary of an instrument on the floor"),
    row<CGTSuperGroup>("CGTSuperGroup", "super group of instruments"),
    row<CGTConnUser>("CGTConnUser", "connected user"),
};

} // namespace

std::span<const RecordClass> qapi::All_Record_Classes()
{
    return record_classes;
}
