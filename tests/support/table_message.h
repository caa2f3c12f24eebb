// Table messages as a server sends them, by hand, and the 20 types whose records stay in a replica.
#pragma once

#include "qcapi/config.h"
#include "tblproc/global_tables.h"

#include <cstdint>
#include <string>
#include <string_view>

struct TableMessage
{
    char letter = 'I';
    unsigned code = 0;
    std::uint32_t idx = 0;
    std::string data = {};
    std::uint32_t crc32 = 0;
    std::uint32_t environment = 0;
    unsigned rec_num = 0;
    unsigned flags = 0;

    [[nodiscard]] std::string bytes() const
    {
        return "888" + std::string(1, letter) + word(code, 2) + word(rec_num, 2) + word(flags, 2) + word(idx, 4) +
               word(crc32, 4) + word(environment, 4) + data;
    }

    // Little-endian.
    static std::string word(std::uint32_t value, int width)
    {
        std::string bytes;
        for (int i = 0; i < width; ++i) {
            bytes += static_cast<char>(value >> (8 * i));
        }
        return bytes;
    }
};

struct ReplicaType
{
    int type;
    int body; // bytes behind the header
    CMessage* (*find)(unsigned idx);
    bool tells;  // of collisions
    bool hashed; // has an identity
};

template <auto& table> CMessage* find_in(unsigned idx)
{
    return table->Find_By_Idx(idx);
}

// clang-format off
inline constexpr ReplicaType replica_types[] = {
    { 3,  312, find_in<Glb_Branches_Table>,               false, true},
    { 4,  699, find_in<Glb_User_Table>,                   true,  true},
    { 6,  108, find_in<Glb_Instit_Table>,                 false, true},
    { 7,  277, find_in<Glb_IntSuperGroup_Table>,          false, true},
    { 8,   33, find_in<Glb_Primaryuser_Table>,            false, true},
    { 9,  135, find_in<Glb_City_Table>,                   false, true},
    {10, 1018, find_in<Glb_Markets_Table>,                true,  true},
    {11,  146, find_in<Glb_Money_Table>,                  false, true},
    {12,  253, find_in<Glb_Country_Table>,                false, true},
    {13,  276, find_in<Glb_InsPerm_Table>,                false, true},
    {14,  303, find_in<Glb_IntVoiceGroup_Table>,          false, true},
    {15,  284, find_in<Glb_IntFixedIncomeMarkets_Table>,  true,  false},
    {16,  368, find_in<Glb_IntHistoryTransDayTerm_Table>, true,  false},
    {17,  107, find_in<Glb_IntRates_Table>,               true,  false},
    {18,   92, find_in<Glb_Emisores_Table>,               false, true},
    {19,  163, find_in<Glb_Comitentes_Table>,             false, true},
    {20,   87, find_in<Glb_Fiduciarios_Table>,            false, true},
    {21,  142, find_in<Glb_Employee_Table>,               false, true},
    {22,   96, find_in<Glb_Esquema_Table>,                false, true},
    {23,   63, find_in<Glb_SubComitente_Table>,           false, true},
};
// clang-format on

// A code of the type, of no other meaning.
inline constexpr unsigned code_of_type(int type)
{
    return 1000U + static_cast<unsigned>(type);
}

inline int records_of_type(int type)
{
    return Table_Of_Type(type)->get().Used_Num_Records();
}
