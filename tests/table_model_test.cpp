// Random sequences of changes on tables of each shape beside a model, compared as a whole after every step.
// QAPI_MODEL_STEPS gives the number of steps if 10,000 are not enough.
#include "support/table_model.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

namespace {

std::string bytes_of_code(const std::string& code)
{
    std::string bytes = code;
    bytes.resize(3, '\0');
    return bytes;
}

std::string by_code(unsigned /*idx*/, const std::string& code)
{
    return bytes_of_code(code);
}

// Numbers of which the code's first byte is the lowest.
std::string by_number(unsigned /*idx*/, const std::string& code)
{
    const std::string bytes = bytes_of_code(code);
    return {bytes.rbegin(), bytes.rend()};
}

std::string by_idx(unsigned idx, const std::string& /*code*/)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(idx >> shift));
    }
    return bytes;
}

// ---- Shapes ----------------------------------------------------------------------------------------------------

struct Mailbox
{
    using Table = IdxTable;
    static constexpr int flag = TABLE_NOT_PUBLISHED | TABLE_USE_OWN_UNIQUE_IDX;
    static constexpr ModelRules rules{.key = by_idx, .own_idx = true, .key_is_idx = true};
};

struct ReplicaByIdx
{
    using Table = IdxTable;
    static constexpr int flag = TABLE_NOT_PUBLISHED;
    static constexpr ModelRules rules{.key = by_idx, .key_is_idx = true};
};

struct OneKey
{
    using Table = OneKeyTable;
    static constexpr int flag = TABLE_NOT_PUBLISHED;
    static constexpr ModelRules rules{.key = by_code};
};

struct TwoKeys
{
    using Table = TwoKeyTable;
    static constexpr int flag = TABLE_NOT_PUBLISHED | TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION;
    static constexpr ModelRules rules{.key = by_code, .tells = false, .two_keys = true};
};

struct TwoKeysWithGivenIdentities
{
    using Table = TwoKeyTable;
    static constexpr int flag = TABLE_NOT_PUBLISHED;
    static constexpr ModelRules rules{.key = by_code, .two_keys = true, .identities_given = true};
};

struct LongKey
{
    using Table = OpenTable<City, CMap2KeyOrder<COrderKeyLoginName, CEnvCrc32Key, City>>;
    static constexpr int flag = TABLE_NOT_PUBLISHED;
    static constexpr ModelRules rules{.key = by_code, .two_keys = true};
};

struct KeyOfItsOwnOrder
{
    using Table = OpenTable<City, CMap2KeyOrder<CBranchesNumKey, CEnvCrc32Key, City>>;
    static constexpr int flag = TABLE_NOT_PUBLISHED;
    static constexpr ModelRules rules{.key = by_number, .two_keys = true};
};

// ---- The test --------------------------------------------------------------------------------------------------

template <class Shape> class TableModelTest : public TableTest
{
protected:
    TableModelTest()
    {
        m_table.Set_Table_Flag(Shape::flag);
        m_table.m_use_crc32_computing = Shape::rules.identities_given ? 1 : 0;
        m_model.end = glb_max_gtable_rec_index;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // Few enough of each to meet again.
    ModelCity any_city()
    {
        ModelCity city;
        city.idx = below(60);
        city.code = {static_cast<char>('A' + below(8)), static_cast<char>('A' + below(8)), 'X'};
        city.name = std::string(1, static_cast<char>('a' + below(4)));
        if (below(4) == 0) {
            city.in_buffer = {below(12), below(3) + 6}; // of the neighbours' environments, or as if from ours
        }
        return city;
    }

    static void fill(City& city, const ModelCity& from)
    {
        city.Be(from.idx, from.code, from.name).With_Identity(from.in_buffer);
    }

    void Do_Step()
    {
        switch (below(16)) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
            return Insert(any_city());
        case 5:
        case 6:
            return Repeat();
        case 7:
        case 8:
        case 9:
            return Update(any_city());
        case 10:
            return Update_In_Place();
        case 11:
        case 12:
        case 13:
            return Delete();
        case 14:
            return Load();
        default:
            return Turn_Something();
        }
    }

    void Insert(const ModelCity& from)
    {
        City city;
        fill(city, from);
        const City* inserted = m_table.Insert_Local_Record(&city, nullptr);
        EXPECT_EQ(inserted->m_pos_in_table, m_model.Insert(from));
    }

    // The server sends a record again, as it was or with another name.
    void Repeat()
    {
        if (m_model.m_cities.empty()) {
            return;
        }
        ModelCity from = any_of_model()->second;
        from.name = below(2) == 0 ? from.name : "z";
        below(2) == 0 ? Insert(from) : Update(from);
    }

    void Update(const ModelCity& from)
    {
        City city;
        fill(city, from);
        const City* updated = m_table.Update_Local_Record(&city);
        EXPECT_EQ(updated != nullptr ? updated->m_pos_in_table : -1, m_model.Update(from));
    }

    void Update_In_Place()
    {
        if (m_model.by_idx.empty()) {
            return;
        }
        const int pos = std::next(m_model.by_idx.begin(), below(static_cast<unsigned>(m_model.by_idx.size())))->second;
        const ModelCity now = any_city();
        const std::string code = below(2) == 0 ? now.code : m_model.m_cities[pos].code;
        City& city = m_table.m_recs[pos];
        city.Be(m_model.m_cities[pos].idx, code, now.name);
        EXPECT_EQ(m_table.Update_Local_Record(&city), &city);
        m_model.Update_In_Place(pos, code, now.name);
    }

    void Delete()
    {
        const unsigned idx = below(4) != 0 && !m_model.m_cities.empty() ? any_of_model()->second.idx : below(60);
        City city(idx, "none");
        City copy;
        const int pos = m_model.Delete(idx);
        switch (below(3)) {
        case 0:
            EXPECT_EQ(m_table.Take_Out(idx, copy), pos >= 0);
            break;
        case 1:
            if (City* found = m_table.Find_By_Idx(idx); found != nullptr) {
                EXPECT_NE(m_table.Delete_Record(found), nullptr);
            }
            break;
        default: {
            const City* deleted = m_table.Delete_Local_Record(&city);
            EXPECT_EQ(deleted != nullptr ? deleted->m_pos_in_table : -1, pos);
        }
        }
    }

    // The steps by which a file's records come in.
    void Load()
    {
        if (Shape::rules.own_idx) {
            return;
        }
        ModelCity from = any_city();
        from.in_buffer = {};
        from.number = 77;
        const int pos = m_table.Search_Next_Free_Pos();
        City& city = m_table.m_recs[pos];
        City source;
        fill(source, from);
        m_table.m_room = decltype(m_table)::Room::by_keys;
        city = source;
        m_table.m_room = decltype(m_table)::Room::none;
        city.Take_Unic_Number(from.number);
        m_table.Check_Delete_Existing_Records(&city, 0, 1);
        m_table.m_key_maps.Add_Record(pos, &city, 0);
        EXPECT_EQ(pos, m_model.Load(from));
    }

    // Seldom: the range of idx values, the running number, or everything goes.
    void Turn_Something()
    {
        switch (below(20)) {
        case 0:
            m_table.Delete_All_Records();
            m_model.Delete_All();
            break;
        case 1:
            m_model.lowest = below(30);
            m_model.end = m_model.lowest + 1 + below(30);
            Give_Range(m_model.lowest, m_model.end);
            break;
        case 2:
            m_model.Glb_number = 0xFFFFFFF0U + below(16);
            Glb_Unic_Number = m_model.Glb_number;
            break;
        case 3:
            m_model.Glb_number = below(60);
            Glb_Unic_Number = m_model.Glb_number;
            break;
        default:
            break;
        }
    }

    // ---- Comparison ----
    void Compare()
    {
        Compare_Pool();
        Compare_Records();
        Compare_Indexes();
        EXPECT_EQ(Glb_Unic_Number, m_model.Glb_number);
        EXPECT_EQ(m_table.m_last_operation, m_model.last_operation);
        EXPECT_EQ(ReportTexts::Take(), std::exchange(m_model.lines, {}));
    }

    void Compare_Pool()
    {
        EXPECT_EQ(m_table.Used_Num_Records(), static_cast<int>(m_model.m_cities.size()));
        EXPECT_EQ(m_table.m_recs.max_number, m_model.positions);
        EXPECT_EQ(m_table.m_recs.max_used, m_model.most_used);
        int pos = m_table.m_recs.first_free;
        for (const int free : m_model.free) {
            EXPECT_EQ(pos, free);
            EXPECT_FALSE(m_table.m_recs.Is_Used(free));
            pos = m_table.m_recs.Has(pos) ? m_table.m_recs.Next(pos) : -3;
        }
        EXPECT_EQ(pos, m_table.m_recs.end_of_list);
        EXPECT_EQ(m_table.m_recs.last_free, m_model.free.back());
    }

    void Compare_Records()
    {
        for (const auto& [pos, expected] : m_model.m_cities) {
            City& city = m_table.m_recs[pos];
            EXPECT_TRUE(m_table.m_recs.Is_Used(pos));
            EXPECT_EQ(city.m_table_ptr, &m_table);
            EXPECT_EQ(city.m_pos_in_table, pos);
            EXPECT_EQ(Idx_Of(city), expected.idx);
            EXPECT_EQ(std::memcmp(city.m_data + 22, expected.code.data(), 3), 0);
            EXPECT_EQ(std::memcmp(city.m_data + 27, expected.name.c_str(), expected.name.size() + 1), 0);
            EXPECT_EQ(Identity_In_Buffer(city), expected.in_buffer);
            EXPECT_EQ(city.m_env_crc32, expected.identity);
            EXPECT_EQ(city.m_unic_number, expected.number);
        }
    }

    void Compare_Indexes()
    {
        auto& maps = m_table.m_key_maps;
        EXPECT_EQ(maps.m_key_idx.Size(), m_model.by_idx.size());
        EXPECT_EQ(maps.m_key1_mkt.Size(), m_model.by_key.size());
        for (unsigned idx = 0; idx < 64; ++idx) {
            const auto found = m_model.by_idx.find(idx);
            EXPECT_EQ(maps.Search_By_Idx(idx), found != m_model.by_idx.end() ? found->second : -1);
        }
        for (const auto& [idx, pos] : m_model.by_idx) {
            EXPECT_EQ(maps.Search_By_Idx(idx), pos);
        }
        Compare_Walk(maps.m_key1_mkt, m_model.by_key);
        if constexpr (Shape::rules.two_keys) {
            EXPECT_EQ(maps.m_key2_mkt.Size(), m_model.by_identity.size());
            Compare_Walk(maps.m_key2_mkt, m_model.by_identity);
        }
        for (const auto& [pos, city] : m_model.m_cities) {
            const auto found = m_model.by_key.find(m_model.Key(city));
            EXPECT_EQ(maps.Search_Key_Record(static_cast<CMessage*>(&m_table.m_recs[pos]), 1),
                      found != m_model.by_key.end() ? found->second : -1);
        }
    }

    template <class KeyTable> static void Compare_Walk(KeyTable& table, const TableModel::Index& index)
    {
        int pos = table.Begin();
        for (const auto& entry : index) {
            EXPECT_EQ(pos, entry.second);
            pos = table.Next();
        }
        EXPECT_EQ(pos, -1);
    }

    auto any_of_model()
    {
        return std::next(m_model.m_cities.begin(), below(static_cast<unsigned>(m_model.m_cities.size())));
    }

    typename Shape::Table m_table;
    TableModel m_model{Shape::rules};
    std::mt19937 m_random{20261122};
};

using Shapes =
    testing::Types<Mailbox, ReplicaByIdx, OneKey, TwoKeys, TwoKeysWithGivenIdentities, LongKey, KeyOfItsOwnOrder>;
TYPED_TEST_SUITE(TableModelTest, Shapes);

TYPED_TEST(TableModelTest, TableAgreesWithPlainMapsAfterEveryStep)
{
    const char* wanted = std::getenv("QAPI_MODEL_STEPS");
    const long steps = wanted != nullptr ? std::strtol(wanted, nullptr, 10) : 10'000;
    for (long step = 0; step < steps; ++step) {
        this->Do_Step();
        this->Compare();
        ASSERT_FALSE(this->HasFailure()) << "step " << step;
    }
}

} // namespace
