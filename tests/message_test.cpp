#include "message/message.h"

#include "global.h"

#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"
#include "records/session.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string text(CMessage& record, int field_id)
{
    CField& field = record[field_id];
    return {field.Get_Ptr(), static_cast<std::size_t>(field.m_len)};
}

std::string start_of(const CMessage& record, std::size_t count = 3)
{
    return {record.m_data, count};
}

// A buffer of someone else, full of 'x', with guard bytes behind the record's spare ones.
template <std::size_t data_len> struct Borrowed
{
    std::array<char, data_len + MESSAGE_EXTRA_ALLOCATED_SIZE + 8> bytes;
    Borrowed() { bytes.fill('x'); }
    [[nodiscard]] bool guard_is_whole() const { return std::string(bytes.end() - 8, bytes.end()) == "xxxxxxxx"; }
};

constexpr int city_len = 157;
using CityBuffer = Borrowed<city_len>;

} // namespace

TEST(Message, OwnsAZeroedBufferUnlessOneIsGiven)
{
    const CGTCity city;
    EXPECT_EQ(city.m_data_len, city_len);
    EXPECT_EQ(city.m_data_is_allocated, 1);
    EXPECT_EQ(city.m_use_transaction, 1);
    EXPECT_EQ(std::accumulate(city.m_data + 3, city.m_data + city_len + 100, 0), 0);
}

TEST(Message, MembersBeginAsARecordWithoutTableAndLinks)
{
    const CMsgChat chat;
    EXPECT_EQ(chat.m_type, 3);
    EXPECT_EQ(chat.m_table_ptr, nullptr);
    EXPECT_EQ(chat.m_pos_in_table, -1);
    EXPECT_EQ(chat.m_Trades_To_Do.Capacity() + chat.m_Orders_To_Trade.Capacity() + chat.m_Orders_Linked.Capacity(), 0);
    EXPECT_EQ(chat.m_Term_Linked, nullptr);
    EXPECT_TRUE(chat.m_env_crc32_to_use.is_zero());
}

TEST(Message, MarkerGivesAnOwnBufferWithoutTransactions)
{
    const CGTCity city(CMessage::Without_Transactions());
    EXPECT_EQ(city.m_data_is_allocated, 1);
    EXPECT_EQ(city.m_use_transaction, 0);
}

TEST(Message, FieldsTellWhetherTheRecordTakesPartInTransactions)
{
    CGTCity city;
    CGTCity without(CMessage::Without_Transactions());
    EXPECT_EQ(city[CODIGO_3C_CITY].m_no_change_message_flag, 0);
    EXPECT_EQ(without[CODIGO_3C_CITY].m_no_change_message_flag, 1);
    for (const int of_header : {MSG_NUMBER_FIELD, I_OP, DATA_CODE, ENV_CRC32, ENVIRONMENT, CRC32}) {
        EXPECT_EQ(city[of_header].m_no_change_message_flag, 1) << Field_Symbol(of_header);
    }
    EXPECT_EQ(city[REC_NUM].m_no_change_message_flag, 0);
    EXPECT_EQ(city[REC_IDX].m_no_change_message_flag, 0);
}

TEST(Message, ViewWritesItsNumberAndNothingElse)
{
    CityBuffer buffer;
    CGTCity city(buffer.bytes.data());
    EXPECT_EQ(city.m_data, buffer.bytes.data());
    EXPECT_EQ(city.m_data_is_allocated, 0);
    EXPECT_EQ(city.m_use_transaction, 0);
    EXPECT_EQ(std::string(buffer.bytes.begin(), buffer.bytes.end()), "888" + std::string(buffer.bytes.size() - 3, 'x'));
}

TEST(Message, NumberBelow100KeepsItsBlank)
{
    const CMsgPrcMntTrans prices;
    EXPECT_EQ(start_of(prices), " 87");
}

TEST(Message, TypesTellOrdersTableRecordsAndOtherMessagesApart)
{
    EXPECT_EQ(CMsgOrder().m_type, 2);
    EXPECT_EQ(CGTOrder().m_type, 1);
    EXPECT_EQ(CMsgTransMon().m_type, 3);
}

TEST(Message, TurnsToAnotherBufferAndReadsItAfresh)
{
    CityBuffer first;
    CityBuffer second;
    CGTCity city(first.bytes.data());
    city[REC_NUM] = 7;
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 7);
    std::memcpy(&second.bytes[6], "\x09\x00", 2);
    city.Set_Data_Buff(second.bytes.data());
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 9);
}

TEST(Message, ZeroingKeepsTheNumberAndClearsSpareBytesToo)
{
    CityBuffer buffer;
    CGTCity city(buffer.bytes.data());
    city.Zero_Data_Buffer();
    EXPECT_EQ(start_of(city), "888");
    EXPECT_EQ(std::accumulate(buffer.bytes.begin() + 3, buffer.bytes.begin() + city_len + 100, 0), 0);
    EXPECT_TRUE(buffer.guard_is_whole());
}

TEST(Message, CleaningLeavesValuesInForceThatWereRead)
{
    CGTCity city;
    city[REC_NUM] = 7;
    city.Clean_Data_Buffer();
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 7);
    city.Init();
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 0);
}

TEST(Message, AssignmentTakesTheRecordAndTwentySpareBytes)
{
    CGTCity from;
    std::memset(from.m_data, 'a', static_cast<std::size_t>(from.Buffer_Size()));
    CityBuffer buffer;
    CGTCity to(buffer.bytes.data());
    to = from;
    EXPECT_EQ(std::string(buffer.bytes.data(), city_len + 100), std::string(city_len + 20, 'a') + std::string(80, 'x'));
}

TEST(Message, AssignmentMakesReadValuesFresh)
{
    CGTCity from;
    CGTCity to;
    from[REC_NUM] = 5;
    to[REC_NUM] = 6;
    to = from;
    EXPECT_EQ(static_cast<int>(to[REC_NUM]), 5);
}

TEST(Message, AssignmentFromAShorterRecordFillsWithZeros)
{
    CGTHeader header;
    std::memset(header.m_data, 'a', static_cast<std::size_t>(header.Buffer_Size()));
    CMsgChat chat;
    std::memset(chat.m_data, 'b', static_cast<std::size_t>(chat.Buffer_Size()));
    static_cast<CMessage&>(chat) = header;
    EXPECT_EQ(std::string(chat.m_data, 122), std::string(122, 'a'));
    EXPECT_EQ(std::string(chat.m_data + 122, 3823 + 20 - 122), std::string(3823 + 20 - 122, '\0'));
    EXPECT_EQ(chat.m_data[3823 + 20], 'b');
}

TEST(Message, UpdateTakesTheRecordWithoutSpareBytes)
{
    const std::string raw(city_len, 'r');
    CityBuffer buffer;
    CGTCity city(buffer.bytes.data());
    city[REC_NUM] = 1;
    city.Update_Message_Info(raw.data());
    EXPECT_EQ(std::string(buffer.bytes.data(), city_len + 1), raw + "x");
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 'r' * 256 + 'r');
}

TEST(Message, UpdateFromAShortRecordReadsZerosBehindIt)
{
    CMsgChat chat;
    std::memset(chat.m_data, 'b', static_cast<std::size_t>(chat.m_data_len));
    const std::string raw(MESSAGE_TRANS_RECORD_SIZE, 'r');
    chat.Update_Message_Info(std::span(raw));
    EXPECT_EQ(chat.m_data[3299], 'r');
    EXPECT_EQ(std::accumulate(chat.m_data + 3300, chat.m_data + 3823, 0), 0);
}

TEST(Message, BackupComesBackAndReadValuesStayUntilInit)
{
    CGTCity city;
    city[REC_NUM] = 5;
    std::array<char, city_len> kept{};
    city.Backup(kept.data());
    city[REC_NUM] = 6;
    city.Restore(kept.data());
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 6);
    city.Init();
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 5);
}

TEST(Message, BackupIsTheWholeRecordAndComesBackWhole)
{
    CGTCity city;
    std::memset(city.m_data, 'a', 157);
    std::string kept(158, '#');
    city.Backup(kept.data());
    EXPECT_EQ(kept, std::string(157, 'a') + "#");
    std::memset(city.m_data, 'b', 158);
    city.Restore(kept.data());
    EXPECT_EQ(std::string(city.m_data, 158), std::string(157, 'a') + "b");
}

TEST(Message, AssignmentToItselfMakesReadValuesFresh)
{
    CGTCity city;
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 0);
    city.m_data[6] = 5;
    CGTCity& same = city;
    city = same;
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 5);
}

TEST(Message, RecordsOfAllThreadsShareOneLayout)
{
    std::vector<const RecordLayout*> layouts(4);
    std::vector<std::thread> threads;
    threads.reserve(layouts.size());
    for (auto& layout : layouts) {
        threads.emplace_back([&layout] {
            CMsgEndTransaction record;
            record[MERCADO_LOGTRANSACTION] = 12;
            layout = &record.Layout_In_Force();
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(layouts, std::vector<const RecordLayout*>(4, layouts[0]));
}

TEST(Message, DefaultsOfWhatClassesMayDoOtherwise)
{
    CGTCity city;
    city.Take_Unic_Number(77);
    EXPECT_EQ(city.m_unic_number, 77U);
    EXPECT_EQ(city.Check_Pers_Data(100), 0);
    EXPECT_EQ(city.Do_We_Maintain_It(), 0);
}

TEST(Message, PlainRecordHasNoFieldsUntilTheyAreAskedFor)
{
    CMessage plain(nullptr, 200);
    EXPECT_EQ(plain.m_data_len, 203);
    EXPECT_EQ(plain.m_message_id, CMESSAGE_TYPE);
    EXPECT_TRUE(plain.Layout_In_Force().Fields().empty());
    EXPECT_EQ(plain.Find_Field("mercado"), nullptr);
    testing::internal::CaptureStdout();
    plain[MSG_NUMBER_FIELD] = 111;
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(start_of(plain), "111");
}

TEST(Message, EnvironmentAndCrc32ReadAsOneTextOfEightBytes)
{
    CGTCity city;
    city[CRC32] = 0x04030201U;
    city[ENVIRONMENT] = 0x08070605U;
    EXPECT_EQ(text(city, ENV_CRC32), "\x01\x02\x03\x04\x05\x06\x07\x08");
}
