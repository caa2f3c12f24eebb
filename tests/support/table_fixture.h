// Tables of cities, open to look into, and a fixture with the process-wide numbers of tables put back.
#pragma once

#include "support/report_texts.h"

#include "keys/order_keys.h"
#include "keys/plain_keys.h"
#include "records/reference.h"
#include "table/table.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// A city whose code also fills the keys of other tables: a number, and a key of several words.
class City : public CGTCity
{
public:
    explicit City(char* data = nullptr) : CGTCity(data) {}
    City(unsigned idx, const std::string& code, const std::string& name = "") : CGTCity(nullptr)
    {
        Be(idx, code, name);
    }
    using CGTCity::operator=;
    using CGTCity::Init_Key;

    City& Be(unsigned idx, const std::string& code, const std::string& name = "")
    {
        (*this)[REC_IDX] = idx;
        (*this)[CODIGO_3C_CITY].Set_Text(code);
        (*this)[NOMBRE_CITY_1].Set_Text(name);
        return *this;
    }
    City& With_Identity(DLONG identity)
    {
        (*this)[CRC32] = static_cast<unsigned>(identity.low);
        (*this)[ENVIRONMENT] = static_cast<unsigned>(identity.high);
        return *this;
    }

    void Init_Key(CBranchesNumKey* to_fill) override
    {
        const char* code = (*this)[CODIGO_3C_CITY].Get_Ptr();
        to_fill->Init(static_cast<std::uint32_t>(code[2]) << 16 | static_cast<std::uint32_t>(code[1]) << 8 |
                      static_cast<std::uint32_t>(code[0]));
    }
    void Init_Key(COrderKeyLoginName* to_fill) override
    {
        const char* code = (*this)[CODIGO_3C_CITY].Get_Ptr();
        to_fill->Init("MKT", "the same in all.", "D", (std::string(code, 3) + "       ").c_str());
    }
};

inline unsigned Idx_Of(CMessage& record)
{
    return static_cast<unsigned>(record[REC_IDX]);
}
inline std::string Text_Of(CMessage& record, int field_id)
{
    const std::string bytes(record[field_id].Get_Ptr(), static_cast<std::size_t>(record[field_id].m_len));
    return bytes.substr(0, bytes.find('\0'));
}
inline std::string Code_Of(CMessage& record)
{
    return Text_Of(record, CODIGO_3C_CITY);
}
inline std::string Name_Of(CMessage& record)
{
    return Text_Of(record, NOMBRE_CITY_1);
}
inline DLONG Identity_In_Buffer(CMessage& record)
{
    return {static_cast<unsigned>(record[CRC32]), static_cast<unsigned>(record[ENVIRONMENT])};
}

// Writes down what the table asks of it.
class FakeTableFile : public qapi::TableFile
{
public:
    void Load(const Take& take) override
    {
        for (unsigned number = 1; number <= m_kept.size(); ++number) {
            const std::string& data_info = m_kept[number - 1];
            take(number, data_info, m_identities_kept[number - 1]);
        }
    }
    unsigned Get_Next_Free() override { return m_next++; }
    void Save_Record(unsigned number, const char* data_info, const char* env_crc32) override
    {
        m_calls.push_back("save " + std::to_string(number) + " " + std::string(data_info, 3));
        m_identities.emplace_back(env_crc32, 8);
    }
    void Delete_Record(unsigned number) override { m_calls.push_back("delete " + std::to_string(number)); }

    std::vector<std::string> Take_Calls() { return std::exchange(m_calls, {}); }

    unsigned m_next = 1;
    std::vector<std::string> m_kept; // what a load finds: DATA_INFO and ENV_CRC32 of numbers from 1 up
    std::vector<std::string> m_identities_kept;
    std::vector<std::string> m_calls;
    std::vector<std::string> m_identities; // ENV_CRC32 of each save
};

template <class REC, class KEYS> class OpenTable : public CTable<REC, KEYS, CTableList>
{
    using Base = CTable<REC, KEYS, CTableList>;

public:
    OpenTable() : Base(INITIAL_TABLE_RECORDS, nullptr) {}
    using Base::m_key_maps;
    using Room = typename Base::Room;
    using Base::m_recs;
    using Base::m_room;
    using Base::m_tlists;

    FakeTableFile& With_File()
    {
        auto file = std::make_unique<FakeTableFile>();
        FakeTableFile& kept = *file;
        this->m_Pers_File = std::move(file);
        return kept;
    }
};

using IdxTable = OpenTable<City, CMapKeyOrder<CIdxKey, City>>;
using OneKeyTable = OpenTable<City, CMapKeyOrder<CCityKey, City>>;
using TwoKeyTable = OpenTable<City, CMap2KeyOrder<CCityKey, CEnvCrc32Key, City>>;

class TableTest : public testing::Test
{
protected:
    static constexpr unsigned our_environment = 7;

    TableTest() { Put_Back(our_environment); }
    ~TableTest() override { Put_Back(0); }

    static void Put_Back(unsigned environment)
    {
        Glb_range_environment = environment;
        Glb_range_limit_err_msg = 0;
        Glb_Unic_Number = 0;
        Give_Range(0, Glb_range_limit);
    }
    static void Give_Range(unsigned lowest, unsigned end)
    {
        glb_min_gtable_rec_index = lowest;
        glb_max_gtable_rec_index = end;
    }

    template <class Table>
    static City& Insert(Table& table, unsigned idx, const std::string& code, const std::string& name = "")
    {
        City city(idx, code, name);
        return *table.Insert_Local_Record(&city, nullptr);
    }
    template <class Table>
    static City* Update(Table& table, unsigned idx, const std::string& code, const std::string& name = "")
    {
        City city(idx, code, name);
        return table.Update_Local_Record(&city);
    }
    template <class Table> static City* Delete(Table& table, unsigned idx)
    {
        City city(idx, "");
        return table.Delete_Local_Record(&city);
    }
    template <class Table> static City* By_Code(Table& table, const std::string& code)
    {
        City city(0, code);
        return table.Find_NKey_Record(static_cast<CMessage*>(&city), 1);
    }

    // The codes in the order of key 1.
    template <class Table> static std::vector<std::string> Codes(Table& table)
    {
        std::vector<std::string> codes;
        for (int pos = table.m_key_maps.Begin(); pos >= 0; pos = table.m_key_maps.Next()) {
            codes.push_back(Code_Of(table.m_recs[pos]));
        }
        return codes;
    }

    ReportTexts reports;
};
