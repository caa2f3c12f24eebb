#include "wording.h"

#include "field/references.h"
#include "message_numbers.h"
#include "qcapi/message_names.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <vector>

namespace {

struct Reference
{
    int index;
    const char* words;
    const char* record; // class of the record that is found; null if the referring record decides
};

constexpr std::array references{
    Reference{REF_CITY, "city", "CGTCity"},
    Reference{REF_ISSUER, "issuer", "CGTEmisores"},
    Reference{REF_INSTITUTION, "institution", "CGTInstit"},
    Reference{REF_MARKET, "market", "CGTMarkets"},
    Reference{REF_CURRENCY, "currency", "CGTMoney"},
    Reference{REF_COUNTRY, "country", "CGTCountry"},
    Reference{REF_PRIMARY_USER, "primary user", "CGTPu"},
    Reference{REF_BRANCH, "branch", "CGTBranches"},
    Reference{REF_USER, "user", "CGTUser"},
    Reference{REF_VOICE_GROUP, "voice group", "CGTVoiceGroup"},
    Reference{REF_SUPER_GROUP, "super group", "CGTSuperGroup"},
    Reference{REF_INSTRUCTION, "standing instruction", "CGTInsPerm"},
    Reference{REF_BUYER, "buyer as a principal", "CGTComitentes"},
    Reference{REF_BUYER_TRUSTEE, "buyer's trustee", "CGTFiduciarios"},
    Reference{REF_SELLER_TRUSTEE, "seller's trustee", "CGTFiduciarios"},
    Reference{REF_EMPLOYEE, "employee", "CGTEmployee"},
    Reference{REF_SCHEME, "colour of the scheme", "CGTEsquema"},
    Reference{REF_SELLER, "seller as a principal", "CGTComitentes"},
    Reference{REF_SUB_PRINCIPAL, "sub-principal", "CGTSubComitente"},
    Reference{REF_OWN_PRINCIPAL, "own principal", "CGTComitentes"},
    Reference{REF_COUNTERPARTY, "counterparty as a principal", "CGTComitentes"},
    Reference{REF_OTHER_PRINCIPAL, "counterparty's principal", "CGTComitentes"},
    Reference{REF_RECEIVER, "user, branch or market", nullptr},
};

// The kinds of messages whose number is not that of their record class.
struct FurtherNumber
{
    std::string_view record;
    int number;
};
constexpr std::array further_numbers{FurtherNumber{"CMsgOrder", MSS_ORDEN_RFQ}};

// Which of the table kinds a record class is.
struct TableType
{
    std::string_view record;
    int type;
};
constexpr std::array table_types{
    TableType{"CGTOrder", 1},
    TableType{"CGTVoiceSummary", 2},
    TableType{"CGTVoiceGroup", 14},
    TableType{"CGTFixedIncomeMarkets", 15},
    TableType{"CGTHistoryTransDayTerm", 16},
    TableType{"CGTRates", 17},
};

std::vector<std::string> names_of_number(int number)
{
    const auto* code = std::find(std::begin(QAPI_Messages_Codes), std::end(QAPI_Messages_Codes), number);
    if (code == std::end(QAPI_Messages_Codes)) {
        return {};
    }
    const auto& names = QAPI_Messages_Names[code - std::begin(QAPI_Messages_Codes)];
    return {std::begin(names), std::end(names)};
}

std::vector<std::string> names_of_message(const RecordClass& record)
{
    std::vector<std::string> names = names_of_number(record.layout().Number());
    for (const FurtherNumber& further : further_numbers) {
        if (further.record == record.name) {
            const std::vector<std::string> more = names_of_number(further.number);
            names.insert(names.end(), more.begin(), more.end());
        }
    }
    return names;
}

// The three columns of a table kind are alike.
std::vector<std::string> names_of_table(const RecordClass& record)
{
    for (const TableType& table : table_types) {
        const auto* type =
            std::find(std::begin(QAPI_Global_Table_Types), std::end(QAPI_Global_Table_Types), table.type);
        if (table.record == record.name && type != std::end(QAPI_Global_Table_Types)) {
            return {QAPI_Global_Table_Names[type - std::begin(QAPI_Global_Table_Types)][0]};
        }
    }
    return {};
}

std::vector<std::string> names_of(const RecordClass& record)
{
    return record.layout().Number() == MSS_TABLA_GLOBAL ? names_of_table(record) : names_of_message(record);
}

std::string code(const std::string& text)
{
    return "`" + text + "`";
}

bool is_referred_to(std::string_view record)
{
    return std::any_of(references.begin(), references.end(), [record](const Reference& reference) {
        return reference.record != nullptr && reference.record == record;
    });
}

std::string fixed_point(int decimals)
{
    const std::string count = decimals == 0 ? "no" : std::to_string(decimals);
    return "fixed point, " + count + (decimals == 1 ? " decimal" : " decimals");
}

} // namespace

std::string Name_In_Page(const FieldPlace& field)
{
    return field.name != nullptr ? code(field.name) : std::string("*") + Field_Symbol(field.field_id) + "*";
}

std::string Type_In_Words(const FIELD_EQUIVALENCE& row)
{
    switch (row.field_type) {
    case FLD_SHORT:
        return "16 bits";
    case FLD_UNSIGNED_SHORT:
        return "16 bits unsigned";
    case FLD_INT:
        return "32 bits";
    case FLD_UNSIGNED_INT:
        return "32 bits unsigned";
    case FLD_NUM_ASCII_INT:
        return "digits";
    case FLD_NUM_ASCII_DOUBLE:
        return fixed_point(row.field_decimal_len);
    case FLD_DATE:
        return "date";
    default:
        return row.field_decimal_len == FLD_ALPHA_TYPE_STRING ? "text, NUL-padded" : "text";
    }
}

std::string Reference_In_Words(int reference)
{
    const auto* known = std::find_if(references.begin(), references.end(),
                                     [reference](const Reference& row) { return row.index == reference; });
    if (known == references.end()) {
        return {};
    }
    return known->record == nullptr ? known->words : std::string("[") + known->words + "](" + known->record + ".md)";
}

std::string Kind_In_Words(const RecordClass& record)
{
    std::string words;
    for (const std::string& name : names_of(record)) {
        words += (words.empty() ? "" : ", ") + code(name);
    }
    if (!words.empty()) {
        return words;
    }
    return is_referred_to(record.name) ? "none; a host reads it through the fields of other records that lead to it"
                                       : "none; no operation of a host takes it";
}

std::string First_Kind(const RecordClass& record)
{
    const std::vector<std::string> names = names_of(record);
    return names.empty() ? "" : code(names.front());
}
