// Rows with their identities, and what answers who asks for them.
#include "store/tables.h"

#include "message/message.h"
#include "records/all_records.h"
#include "support/market_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using qm::Table;
using qm::TableRow;
using std::string_literals::operator""s;

constexpr std::uint16_t code = 25;
constexpr std::uint32_t environment = 0x4F430000; // "CO"

// As the market's clients compute it, one bit at a time.
std::uint32_t crc_of(std::string_view bytes)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char each : bytes) {
        crc ^= static_cast<unsigned char>(each);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return crc;
}

std::string word(std::uint32_t value)
{
    return market::Record(4).u32(0, value).bytes();
}

std::string triple(const TableRow& row)
{
    return word(row.idx) + word(row.crc32) + word(row.environment);
}

std::string identity(const TableRow& row)
{
    return word(row.crc32) + word(row.environment);
}

std::string insertion(const TableRow& row)
{
    return market::Make(market::TableRecord{.letter = 'I',
                                            .code = code,
                                            .idx = row.idx,
                                            .crc32 = row.crc32,
                                            .environment = row.environment,
                                            .body = row.body});
}

class TablesTest : public testing::Test
{
protected:
    void fill(int rows)
    {
        for (int row = 0; row < rows; ++row) {
            m_table.Insert("row " + std::to_string(row));
        }
    }

    Table m_table{code, "", environment};
};

// ---- Rows

TEST_F(TablesTest, RowsAreNumberedFromOneAndNoNumberIsUsedTwice)
{
    EXPECT_EQ(m_table.Insert("a").idx, 1U);
    EXPECT_EQ(m_table.Insert("b").idx, 2U);
    EXPECT_TRUE(m_table.Delete(2));
    EXPECT_EQ(m_table.Insert("c").idx, 3U);
    EXPECT_FALSE(m_table.Delete(2));
    EXPECT_EQ(m_table.rows().size(), 2U);
}

TEST_F(TablesTest, UpdateGivesANewIdentityUnderTheSameIdx)
{
    m_table.Insert("a");
    const TableRow expected{.idx = 1, .crc32 = crc_of("b"), .environment = environment, .body = "b"};
    const TableRow* const row = m_table.Update(1, "b");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(*row, expected);
    EXPECT_EQ(m_table.rows().at(1), expected);
    EXPECT_EQ(m_table.Update(2, "b"), nullptr);
}

TEST_F(TablesTest, WithoutAClassAllBytesCount)
{
    EXPECT_EQ(m_table.Insert("123456789").crc32, 0x340BC6D9U);
    EXPECT_EQ(m_table.Insert("").crc32, 0xFFFFFFFFU);
}

TEST_F(TablesTest, IdentityIsThatOfTheRecordClass)
{
    std::mt19937 random(7);
    CTableBase owner;
    Glb_range_environment = environment;
    int classes = 0;
    for (const RecordClass& each : All_Record_Classes()) {
        if (each.layout().Crc32_Field() == nullptr) {
            continue;
        }
        const auto record = each.make(nullptr);
        std::string body(static_cast<std::size_t>(record->m_data_len) - 22, '\0');
        std::generate(body.begin(), body.end(), [&] { return static_cast<char>(random()); });
        body.copy(record->m_data + 22, body.size());
        record->Set_Owner_Table_Data(&owner, 0);
        record->Init();
        record->Init_Crc32();
        Table table(code, each.name, environment);
        const TableRow& row = table.Insert(body);
        EXPECT_EQ((DLONG{row.crc32, row.environment}), record->m_env_crc32) << each.name;
        ++classes;
    }
    Glb_range_environment = 0;
    EXPECT_GT(classes, 0);
}

TEST_F(TablesTest, BodyThatIsShorterThanItsClassCountsAsCompletedWithZeros)
{
    Table cities(code, "CGTCity", environment);
    std::string whole = "QTO";
    whole.resize(135);
    EXPECT_EQ(cities.Insert("QTO").crc32, crc_of(whole));
    EXPECT_EQ(Table(code, "CGTCity", environment).Insert("").crc32, crc_of(std::string(135, '\0')));
}

TEST_F(TablesTest, ClassThatComputesNoneHasAllBytesCount)
{
    EXPECT_EQ(Table(code, "CGTRates", environment).Insert("rate").crc32, crc_of("rate"));
}

TEST_F(TablesTest, EqualContentsCountUp)
{
    const std::uint32_t crc = crc_of("same");
    for (std::uint32_t row = 0; row < 3; ++row) {
        EXPECT_EQ(m_table.Insert("same").crc32, crc + row);
    }
    EXPECT_EQ(m_table.Update(2, "same")->crc32, crc + 1) << "its own identity is not taken";
    m_table.Delete(1);
    EXPECT_EQ(m_table.Insert("same").crc32, crc);
}

TEST_F(TablesTest, ClassesOfTableRecordsAloneAreTaken)
{
    EXPECT_THROW(Table(code, "CGTNothing", environment), std::runtime_error);
    EXPECT_THROW(Table(code, "CMsgOrder", environment), std::runtime_error);
}

// ---- Messages

TEST_F(TablesTest, MessageHasTheRowBehindItsHeader)
{
    const TableRow row{.idx = 0x01020304, .crc32 = 0x05060708, .environment = environment, .body = "body"};
    EXPECT_EQ(qm::Table_Message('A', 0x0A0B, row), "888A\x0B\x0A\0\0\0\0\x04\x03\x02\x01\x08\x07\x06\x05\0\0CObody"s);
    EXPECT_EQ(qm::Table_Message('I', code, row), insertion(row));
    EXPECT_EQ(qm::End_Of_Table(code), market::EndOfTable(code));
}

TEST_F(TablesTest, DeletionHasNoBody)
{
    const TableRow row{.idx = 5, .crc32 = 6, .environment = 7, .body = "body"};
    EXPECT_EQ(qm::Table_Message('B', code, row), "888B\x19\0\0\0\0\0\x05\0\0\0\x06\0\0\0\x07\0\0\0"s);
}

TEST_F(TablesTest, WholeTableIsItsRowsAndAnEnd)
{
    EXPECT_EQ(m_table.Whole(), std::vector{market::EndOfTable(code)});
    fill(2);
    EXPECT_EQ(m_table.Whole(), (std::vector{insertion(m_table.rows().at(1)), insertion(m_table.rows().at(2)),
                                            market::EndOfTable(code)}));
}

// ---- The dialogue

TEST_F(TablesTest, HashRunsOverIdxAndIdentityInAscendingOrder)
{
    EXPECT_EQ(m_table.Hash(), 0xFFFFFFFFU);
    fill(300);
    m_table.Delete(100);
    m_table.Update(7, "seven");
    std::string triples;
    for (const auto& [idx, row] : m_table.rows()) {
        triples += triple(row);
    }
    EXPECT_EQ(m_table.Hash(), crc_of(triples));
}

TEST_F(TablesTest, EqualHashIsAnsweredWithTheEnd)
{
    fill(3);
    EXPECT_TRUE(m_table.Is_Equal(m_table.Hash()));
    EXPECT_EQ(m_table.Answer_Query(m_table.Hash()), std::vector{market::EndOfTable(code)});
}

// The letters and counts of the messages that list so many rows, such as "H233 L1".
std::string list_of(Table& table)
{
    std::string form;
    std::string triples;
    std::string expected;
    for (const std::string& message : table.Answer_Query(table.Hash() + 1)) {
        const market::TableRequest answer = market::TakeTableRequest(message);
        EXPECT_EQ(answer.payload.size(), 12U * answer.count);
        EXPECT_EQ(answer.code, code);
        form += (form.empty() ? "" : " ") + std::string(1, answer.letter) + std::to_string(answer.count);
        triples += answer.payload;
    }
    for (const auto& [idx, row] : table.rows()) {
        expected += triple(row);
    }
    EXPECT_EQ(triples, expected);
    return form;
}

TEST_F(TablesTest, ListIsCutIntoMessagesAndTheLastOneSaysSo)
{
    struct Case
    {
        int rows;
        const char* form;
    };
    for (const Case& each : {Case{0, "L0"}, Case{1, "L1"}, Case{232, "L232"}, Case{233, "L233"}, Case{234, "H233 L1"},
                             Case{466, "H233 L233"}, Case{467, "H233 H233 L1"}}) {
        m_table = Table(code, "", environment);
        fill(each.rows);
        EXPECT_EQ(list_of(m_table), each.form) << each.rows;
    }
}

TEST_F(TablesTest, AskedRowsComeInTheOrderOfTheirIdxAndOnce)
{
    fill(4);
    const auto& rows = m_table.rows();
    const std::string asked = identity(rows.at(4)) + identity(rows.at(2)) + identity(rows.at(4));
    EXPECT_EQ(m_table.Answer_Asks(asked),
              (std::vector{insertion(rows.at(2)), insertion(rows.at(4)), market::EndOfTable(code)}));
    EXPECT_EQ(m_table.Answer_Asks({}), std::vector{market::EndOfTable(code)});
}

TEST_F(TablesTest, UnknownIdentitiesArePassedOver)
{
    fill(2);
    TableRow old = m_table.rows().at(1);
    m_table.Update(1, "new");
    TableRow foreign = m_table.rows().at(2);
    foreign.environment = 0x45430000;
    const std::string half = identity(m_table.rows().at(2)).substr(0, 7);
    EXPECT_EQ(m_table.Answer_Asks(identity(old) + identity(foreign) + half), std::vector{market::EndOfTable(code)});
}

// ---- All of them

TEST_F(TablesTest, AreFoundByTheirCodes)
{
    qm::Tables tables;
    tables.Add(25, "CGTCity", environment).Insert("QTO");
    EXPECT_THROW(tables.Add(25, "", environment), std::runtime_error);
    EXPECT_EQ(tables.Find(24), nullptr);
    ASSERT_NE(tables.Find(25), nullptr);
    EXPECT_EQ(tables.Find(25)->rows().size(), 1U);
    EXPECT_EQ(tables.all().size(), 1U);
}

} // namespace
