// How a replica is brought level with the server: what is asked, what is taken from the server's list, what goes.
#include "support/table_message_fixture.h"

#include "little_endian.h"
#include "qcapi/support.h"
#include "records/reference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr unsigned city_code = 25;

struct Listed
{
    std::uint32_t idx = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t env = 0;
};

std::uint32_t word_at(const std::string& message, std::size_t offset)
{
    return load_le<std::uint32_t>(message.data() + offset);
}

class HashDialogue : public TableMessages
{
protected:
    HashDialogue()
    {
        COMMON_Global_Codes_Add(CITIES_CODE_ID, city_code);
        TBLPROC_Send_Global_Tables_Subscription(1);
        Take_Sent();
    }

    // A record that came from the server.
    static void Come(std::uint32_t idx, const std::string& code, std::uint32_t crc32,
                     std::uint32_t environment = 0x4F430000)
    {
        Receive_Bytes(record(DATA_INSERT_CHAR, idx, code, crc32, environment));
    }

    static std::string header(char letter, std::uint16_t count)
    {
        std::string bytes(22, '\0');
        bytes.replace(0, 3, "888");
        bytes[3] = letter;
        store_le<std::uint16_t>(bytes.data() + 4, city_code);
        store_le<std::uint16_t>(bytes.data() + 6, count);
        return bytes;
    }

    static std::string record(char letter, std::uint32_t idx, const std::string& code, std::uint32_t crc32,
                              std::uint32_t environment)
    {
        std::string bytes = header(letter, 0);
        store_le<std::uint32_t>(bytes.data() + 10, idx);
        store_le<std::uint32_t>(bytes.data() + 14, crc32);
        store_le<std::uint32_t>(bytes.data() + 18, environment);
        bytes += code;
        bytes.resize(22 + 135);
        return bytes;
    }

    static std::string list(char letter, const std::vector<Listed>& triples)
    {
        std::string bytes = header(letter, static_cast<std::uint16_t>(triples.size()));
        for (const Listed& each : triples) {
            std::array<char, 12> triple{};
            store_le<std::uint32_t>(triple.data(), each.idx);
            store_le<std::uint32_t>(triple.data() + 4, each.crc32);
            store_le<std::uint32_t>(triple.data() + 8, each.env);
            bytes.append(triple.data(), triple.size());
        }
        return bytes;
    }
    static void Answer(char letter, const std::vector<Listed>& triples) { Receive_Bytes(list(letter, triples)); }

    // Asks again, as at the next connection, and gives the question.
    static std::string Ask()
    {
        TBLPROC_Send_Global_Tables_Subscription(1);
        const auto sent = Take_Sent();
        EXPECT_EQ(sent.size(), 2U);
        return sent.back();
    }

    static std::string Code_Under(std::uint32_t idx)
    {
        CGTCity* city = Glb_City_Table->Find_By_Idx(idx);
        return city != nullptr ? std::string((*city)[CODIGO_3C_CITY].Get_Ptr(), 3) : std::string();
    }

    static int Count() { return Glb_City_Table->Used_Num_Records(); }

    static constexpr std::uint32_t env = 0x4F430000;
};

TEST_F(HashDialogue, TableWithoutRecordsIsAskedForAsAWhole)
{
    const std::string asked = Ask();
    EXPECT_EQ(asked.substr(0, 4), "888S");
    EXPECT_EQ(asked.size(), 22U);
}

TEST_F(HashDialogue, TableWithRecordsTellsTheirNumberAndHash)
{
    Come(7, "BOG", 0x11111111);
    Come(3, "MED", 0x22222222);
    const std::string asked = Ask();
    EXPECT_EQ(asked.substr(0, 4), "888Q");
    EXPECT_EQ(load_le<std::uint16_t>(asked.data() + 6), 2);
    std::array<char, 24> triples{};
    const std::array<std::uint32_t, 6> words = {3, 0x22222222, env, 7, 0x11111111, env};
    for (std::size_t i = 0; i < words.size(); ++i) {
        store_le<std::uint32_t>(triples.data() + 4 * i, words[i]);
    }
    EXPECT_EQ(word_at(asked, 14), COMMON_Get_Crc32(triples.data(), 24, 0));
    EXPECT_EQ(word_at(asked, 10), 0U);
    EXPECT_EQ(word_at(asked, 18), 0U);
}

TEST_F(HashDialogue, EndAloneLeavesTheTableAsItIs)
{
    Come(7, "BOG", 1);
    Ask();
    Receive_Bytes(header(DATA_END_TRANS_CHAR, 0));
    EXPECT_EQ(Code_Under(7), "BOG");
    EXPECT_THAT(Take_Sent(), IsEmpty());
    EXPECT_TRUE(Take_Primary_Tables_Received());
}

TEST_F(HashDialogue, ListBehindTheEndOfTheTableChangesNothing)
{
    Come(7, "BOG", 1);
    Ask();
    Receive_Bytes(header(DATA_END_TRANS_CHAR, 0));
    Come(8, "MED", 2);
    Answer(DATA_HASH_ANSWER_CHAR, {{.idx = 9, .crc32 = 3, .env = env}});
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {});
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(Code_Under(8), "MED");
    EXPECT_THAT(Take_Sent(), IsEmpty());
}

TEST_F(HashDialogue, EmptyLastListAsksForNothingAndDropsEverything)
{
    Come(7, "BOG", 1);
    Come(8, "MED", 2);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {});
    EXPECT_EQ(Count(), 0);
    const auto sent = Take_Sent();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent.front(), header(DATA_HASH_LAST_ASK_CHAR, 0));
}

TEST_F(HashDialogue, RecordTakesTheServersNumber)
{
    Come(7, "BOG", 1);
    const CGTCity* before = Glb_City_Table->Find_By_Idx(7);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 70, .crc32 = 1, .env = env}});
    EXPECT_EQ(Glb_City_Table->Find_By_Idx(7), nullptr);
    EXPECT_EQ(Glb_City_Table->Find_By_Idx(70), before);
    EXPECT_EQ(Code_Under(70), "BOG");
}

TEST_F(HashDialogue, ListsBeforeTheLastOneCount)
{
    Come(7, "BOG", 1);
    Come(8, "MED", 2);
    Ask();
    Answer(DATA_HASH_ANSWER_CHAR, {{.idx = 7, .crc32 = 1, .env = env}});
    EXPECT_THAT(Take_Sent(), IsEmpty());
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 8, .crc32 = 2, .env = env}});
    EXPECT_EQ(Count(), 2);
}

TEST_F(HashDialogue, AsksForWhatItLacks)
{
    Come(7, "BOG", 1);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 7, .crc32 = 1, .env = env}, {.idx = 9, .crc32 = 5, .env = 6}});
    const auto sent = Take_Sent();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent.front().substr(0, 22), header(DATA_HASH_LAST_ASK_CHAR, 1));
    EXPECT_EQ(sent.front().size(), 30U);
    EXPECT_EQ(word_at(sent.front(), 22), 5U); // the CRC first
    EXPECT_EQ(word_at(sent.front(), 26), 6U);
}

class HashAsks : public HashDialogue, public ::testing::WithParamInterface<int>
{
};

TEST_P(HashAsks, GoOutByThreeHundredAndTwenty)
{
    const int lacking = GetParam();
    Come(7, "BOG", 1);
    Ask();
    std::vector<Listed> list;
    for (int i = 0; i < lacking; ++i) {
        list.push_back({.idx = 100U + static_cast<unsigned>(i), .crc32 = 1000U + static_cast<unsigned>(i), .env = env});
        if (list.size() == 233) {
            Answer(DATA_HASH_ANSWER_CHAR, list);
            list.clear();
        }
    }
    Answer(DATA_HASH_LAST_ANSWER_CHAR, list);
    std::vector<std::pair<char, int>> asks;
    for (const std::string& message : Take_Sent()) {
        EXPECT_EQ(message.size(), 22U + 8 * load_le<std::uint16_t>(message.data() + 6));
        asks.emplace_back(message[3], load_le<std::uint16_t>(message.data() + 6));
    }
    if (lacking == 319) {
        EXPECT_THAT(asks, ElementsAre(std::pair('P', 319)));
    } else if (lacking == 320) {
        EXPECT_THAT(asks, ElementsAre(std::pair('N', 320), std::pair('P', 0)));
    } else {
        EXPECT_THAT(asks, ElementsAre(std::pair('N', 320), std::pair('P', 1)));
    }
}
INSTANTIATE_TEST_SUITE_P(Counts, HashAsks, ::testing::Values(319, 320, 321));

TEST_F(HashDialogue, ListsThatNobodyAskedForChangeNothing)
{
    Come(7, "BOG", 1);
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {}); // no question before
    EXPECT_EQ(Count(), 1);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 7, .crc32 = 1, .env = env}});
    Take_Sent();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {}); // behind the last one
    EXPECT_EQ(Count(), 1);
    EXPECT_THAT(Take_Sent(), IsEmpty());
}

TEST_F(HashDialogue, QuestionOfAnOlderConnectionIsForgotten)
{
    Come(7, "BOG", 1);
    Ask();
    TBLPROC_Reset_Primary_Tables_Check(); // another connection opens
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {});
    EXPECT_EQ(Count(), 1);
}

TEST_F(HashDialogue, MarksOfADialogueThatBrokeOffDoNotCount)
{
    Come(7, "BOG", 1);
    Ask();
    Answer(DATA_HASH_ANSWER_CHAR, {{.idx = 7, .crc32 = 1, .env = env}});
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {});
    EXPECT_EQ(Count(), 0);
}

TEST_F(HashDialogue, OfTwoRecordsUnderOneNumberTheLaterStays)
{
    Come(7, "BOG", 1);
    Come(8, "MED", 2);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 9, .crc32 = 1, .env = env}, {.idx = 9, .crc32 = 2, .env = env}});
    EXPECT_EQ(Count(), 1);
    EXPECT_EQ(Code_Under(9), "MED");
    Take_Sent();
    EXPECT_EQ(Ask().substr(0, 4), "888Q");
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 8, .crc32 = 1, .env = env}, {.idx = 9, .crc32 = 2, .env = env}});
    Come(8, "BOG", 1);
    EXPECT_EQ(Count(), 2);
}

TEST_F(HashDialogue, IdentityUnderTwoNumbersTakesTheLast)
{
    Come(7, "BOG", 1);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 9, .crc32 = 1, .env = env}, {.idx = 5, .crc32 = 1, .env = env}});
    EXPECT_EQ(Code_Under(5), "BOG");
    EXPECT_EQ(Count(), 1);
}

TEST_F(HashDialogue, ListThatSaysMoreThanItHoldsIsReadAsFarAsItGoes)
{
    Come(7, "BOG", 1);
    Ask();
    Receive_Bytes(header(DATA_HASH_LAST_ANSWER_CHAR, 65535));
    EXPECT_THAT(Take_Sent(), ElementsAre(header(DATA_HASH_LAST_ASK_CHAR, 0)));
}

TEST_F(HashDialogue, HalfATripleIsNone)
{
    Come(7, "BOG", 1);
    Ask();
    std::string bytes = list(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 9, .crc32 = 5, .env = 6}, {.idx = 10}});
    bytes.pop_back();
    Receive_Bytes(bytes);
    EXPECT_EQ(Take_Sent().at(0).substr(0, 22), header(DATA_HASH_LAST_ASK_CHAR, 1));
}

TEST_F(HashDialogue, TriplesBeyondTheNumberAreNotRead)
{
    Come(7, "BOG", 1);
    Ask();
    std::string bytes = list(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 7, .crc32 = 1, .env = env}, {.idx = 9, .crc32 = 5}});
    bytes[6] = 1;
    Receive_Bytes(bytes);
    EXPECT_THAT(Take_Sent(), ElementsAre(header(DATA_HASH_LAST_ASK_CHAR, 0)));
}

TEST_F(HashDialogue, AskFollowsItsTablesCode)
{
    Come(7, "BOG", 1);
    Ask();
    EXPECT_EQ(TBLEQUIV_Row(CITIES_CODE_ID).code, 25);
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {});
    EXPECT_EQ(Take_Sent().at(0).substr(0, 6), std::string("888P\x19\0", 6));
}

TEST_F(HashDialogue, CodeOfARowThatHasNoneIsFilledIn)
{
    COMMON_Global_Codes_Add(VOICE_GROUP_CODE_ID, 31);
    world.Put(Glb_IntVoiceGroup_Table, 1, {});
    TBLPROC_Send_Global_Tables_Subscription(1);
    EXPECT_EQ(TBLEQUIV_Row(VOICE_GROUP_CODE_ID).code, 31);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// ---- Two codes of one type

class TwoCodes : public HashDialogue
{
protected:
    TwoCodes()
    {
        Come(7, "BOG", 1);
        Come(8, "MED", 2);
        COMMON_Global_Codes_Add(CITIES_CODE_ID, 26);
        ReportTexts::Take();
        TBLPROC_Send_Global_Tables_Subscription(1);
    }
    static void Answer_Other(const std::vector<Listed>& triples)
    {
        std::string bytes = list(DATA_HASH_LAST_ANSWER_CHAR, triples);
        bytes[4] = 26;
        Receive_Bytes(bytes);
    }
};

TEST_F(TwoCodes, AreToldAndAskedForEach)
{
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("1 \nError. Same table id it is used for more than one table (table id: 9)!!!."));
    const auto sent = Take_Sent();
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[1].substr(3, 3), std::string("Q\x19\0", 3));
    EXPECT_EQ(sent[2].substr(3, 3), std::string("Q\x1A\0", 3));
    EXPECT_EQ(TBLEQUIV_Row(CITIES_CODE_ID).code, 25);
}

TEST_F(TwoCodes, HaveAListAndAnAskEach)
{
    Take_Sent();
    Answer(DATA_HASH_LAST_ANSWER_CHAR, {{.idx = 7, .crc32 = 1, .env = env}});
    EXPECT_EQ(Code_Under(7), "BOG");
    EXPECT_EQ(Count(), 1) << "what the other code had is gone";
    EXPECT_THAT(Take_Sent(), ElementsAre(header(DATA_HASH_LAST_ASK_CHAR, 0)));
    Answer_Other({{.idx = 8, .crc32 = 2, .env = env}});
    const auto sent = Take_Sent();
    ASSERT_EQ(sent.size(), 1U) << "so that the other code's end comes";
    EXPECT_EQ(sent[0].substr(3, 5), std::string("P\x1A\0\x01\0", 5));
    EXPECT_EQ(Code_Under(7), "BOG") << "the first list has named it";
}

// ---- A table of this client's own

class OwnTable : public HashDialogue
{
protected:
    OwnTable()
    {
        Global_Table(TableId::Glb_City_Table).set_flags(TABLE_PUBLISHED_TO_DS);
        TBLEQUIV_Row(CITIES_CODE_ID).publish_flag = TABLE_PUBLISHED_TO_DS;
    }
    ~OwnTable() override { TBLEQUIV_Row(CITIES_CODE_ID).publish_flag = flags; }

    const int flags = TBLEQUIV_Row(CITIES_CODE_ID).publish_flag;
};

TEST_F(OwnTable, WithoutRecordsIsAskedForByHashToo)
{
    const std::string asked = Ask();
    EXPECT_EQ(asked.substr(0, 8), header(DATA_HASH_QUERY_CHAR, 0).substr(0, 8));
    EXPECT_EQ(word_at(asked, 14), 0xFFFFFFFFU);
}

TEST_F(OwnTable, HasWhatItLacksDeletedAtTheServer)
{
    Come(7, "BOG", 1);
    Ask();
    Answer(DATA_HASH_LAST_ANSWER_CHAR,
           {{.idx = 7, .crc32 = 1, .env = env}, {.idx = 0x01020304, .crc32 = 5, .env = env}});
    std::string deletion = header(DATA_DELETE_CHAR, 0);
    deletion.replace(10, 4, "\x04\x03\x02\x01");
    EXPECT_THAT(Take_Sent(), ElementsAre(header(DATA_HASH_LAST_ASK_CHAR, 0), deletion));
}

// ---- Large tables

class LargeTable : public HashDialogue, public ::testing::WithParamInterface<std::uint32_t>
{
};

TEST_P(LargeTable, TellsTheLowHalfOfItsNumberOfRecords)
{
    const std::uint32_t records = GetParam();
    for (std::uint32_t idx = 1; idx <= records; ++idx) {
        Come(idx, TableMessage::word(idx, 3), idx);
    }
    ASSERT_EQ(Count(), static_cast<int>(records));
    const std::string asked = Ask();
    EXPECT_EQ(asked[3], DATA_HASH_QUERY_CHAR);
    EXPECT_EQ(load_le<std::uint16_t>(asked.data() + 6), records % 65536);
    EXPECT_EQ(load_le<std::uint16_t>(asked.data() + 8), 0) << "the flags stay";
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Counts, LargeTable, ::testing::Values(65535U, 65536U, 100'000U));

} // namespace
