// Which of the tables that the configuration names are asked for: those of the markets that the user may see and, where
// the environment is MX, four that all users have.
#include "tblproc/table_messages.h"

#include "field/bits.h"
#include "qcapi/config.h"
#include "records/reference.h"
#include "tblproc/subscription.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

unsigned Glb_subscribed_global_table_type[MAX_TABLE_CODES];

namespace {

constexpr std::array mx_primary_codes = {31, 36, 6906, 14006};
constexpr std::array mx_markets = {"69", "140", "141"};

constexpr unsigned bits_of_market = 2; // in ACCESO_MERCADOS_VER
constexpr unsigned may_see = 2;

std::span<const INFO_TABLE_CODE> configured_tables()
{
    const auto* end = std::find_if(std::begin(Glb_access_tables), std::end(Glb_access_tables),
                                   [](const auto& row) { return row.table_code == 0 && row.table_type == 0; });
    return {std::begin(Glb_access_tables), end};
}

bool environment_is_mx()
{
    return std::strcmp(Glb_environment, MX_ENVIRONMENT) == 0;
}

bool is_primary_in_mx(int code)
{
    return std::find(mx_primary_codes.begin(), mx_primary_codes.end(), code) != mx_primary_codes.end();
}

void open_table(const INFO_TABLE_CODE& table)
{
    COMMON_Global_Codes_Add(table.table_type, table.table_code);
    Glb_subscribed_global_table_type[table.table_code] = static_cast<unsigned>(table.table_type);
}

// A table's code is its market's number and one of its own: two digits or, from five digits on, three are the market's.
std::string market_of(int code)
{
    const std::string text = std::to_string(code);
    return text.substr(0, text.size() > 4 ? 3 : 2);
}

bool is_left_out(int code, const std::string& market)
{
    return environment_is_mx() &&
           (is_primary_in_mx(code) || std::find(mx_markets.begin(), mx_markets.end(), market) == mx_markets.end());
}

// Behind the field's end there is no market, whatever bytes follow.
bool sees_market(CGTUser& user, unsigned market)
{
    CField& access = user[ACCESO_MERCADOS_VER];
    return Bytes_Of_Bits(bits_of_market, market) <= static_cast<unsigned>(access.m_len) &&
           access.Get_Bits(bits_of_market, market) == may_see;
}

} // namespace

void Set_Subscription_MX_Primary_Tables()
{
    if (!environment_is_mx()) {
        return;
    }
    for (const INFO_TABLE_CODE& table : configured_tables()) {
        if (is_primary_in_mx(table.table_code)) {
            open_table(table);
            TBLPROC_Register_Ref_Table(table.table_type);
        }
    }
}

void Get_Market_Access_Since_Table_User(CGTUser* user)
{
    if (std::memcmp((*user)[CODIGO_USUARIO].Get_Ptr(), Glb_User_Code, sizeof Glb_User_Code - 1) != 0) {
        return;
    }
    for (const INFO_TABLE_CODE& table : configured_tables()) {
        const std::string market = market_of(table.table_code);
        if (!is_left_out(table.table_code, market) &&
            sees_market(*user, static_cast<unsigned>(std::strtoul(market.c_str(), nullptr, 10)))) {
            open_table(table);
        }
    }
}
