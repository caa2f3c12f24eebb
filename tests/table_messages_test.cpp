// What a table message does: every type with every letter, the range, the list of servers, what is left alone.
#include "tblproc/table_messages.h"

#include "reader/processed_log.h"
#include "support/recording_host.h"
#include "support/table_message_fixture.h"
#include "transport/dcon.h"

#include <algorithm>
#include <random>
#include <string>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string bytes_of(const CMessage& record)
{
    return {record.m_data, static_cast<std::size_t>(record.m_data_len)};
}

// ---- Every type ------------------------------------------------------------------------------------------------

class ReplicaTypes : public TableMessages, public testing::WithParamInterface<ReplicaType>
{
protected:
    ReplicaTypes() { Know_All_Types(); }

    // A record of the type: its key and its contents are made of `fill`. It comes from another environment, so that its
    // identity is its own.
    static TableMessage record(char letter, unsigned idx, char fill)
    {
        return {.letter = letter,
                .code = code_of_type(GetParam().type),
                .idx = idx,
                .data = std::string(static_cast<std::size_t>(GetParam().body), fill),
                .crc32 = idx * 16 + static_cast<unsigned char>(fill),
                .environment = servers_environment};
    }
    static int records() { return records_of_type(GetParam().type); }
    static CMessage* found(unsigned idx) { return GetParam().find(idx); }
};

TEST_P(ReplicaTypes, InsertedRecordIsFoundWithItsBytes)
{
    const TableMessage message = record('I', 70000, '1');
    Receive(message);
    ASSERT_NE(found(70000), nullptr);
    EXPECT_EQ(bytes_of(*found(70000)), message.bytes());
    EXPECT_EQ(Records_In_All_Tables(), 1);
    EXPECT_EQ(Glb_Not_Applied_Mss, 0U);
}

TEST_P(ReplicaTypes, CopyOfAnInsertedRecordLeavesOneRecord)
{
    Receive(record('I', 5, '1'));
    Receive(record('C', 5, '2'));
    EXPECT_EQ(records(), 1);
    EXPECT_EQ(bytes_of(*found(5)), record('C', 5, '2').bytes());
}

TEST_P(ReplicaTypes, UpdateReplacesTheRecordOfItsIdx)
{
    Receive(record('I', 5, '1'));
    Receive(record('I', 6, '2'));
    Receive(record('A', 5, '3'));
    EXPECT_EQ(records(), 2);
    EXPECT_EQ(bytes_of(*found(5)).substr(22), record('A', 5, '3').data);
    EXPECT_EQ(bytes_of(*found(6)).substr(22), record('I', 6, '2').data);
}

TEST_P(ReplicaTypes, UpdateOfAnUnknownIdxIsDropped)
{
    Receive(record('I', 5, '1'));
    Receive(record('A', 6, '2'));
    EXPECT_EQ(records(), 1);
    EXPECT_EQ(found(6), nullptr);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_P(ReplicaTypes, DeleteTakesTheRecordOfItsIdxOut)
{
    Receive(record('I', 5, '1'));
    Receive(record('I', 6, '2'));
    Receive(record('B', 5, '\0'));
    EXPECT_EQ(found(5), nullptr);
    EXPECT_NE(found(6), nullptr);
    EXPECT_EQ(records(), 1);
}

TEST_P(ReplicaTypes, DeleteOfAnUnknownIdxChangesNothing)
{
    Receive(record('I', 5, '1'));
    Receive(record('B', 6, '1'));
    EXPECT_EQ(records(), 1);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_P(ReplicaTypes, NoOtherLetterChangesTheReplica)
{
    Receive(record('I', 5, '1'));
    for (int letter = 0; letter < 256; ++letter) {
        if (std::string("ICABgz").find(static_cast<char>(letter)) == std::string::npos) {
            Receive(record(static_cast<char>(letter), 5, '2'));
        }
    }
    EXPECT_EQ(records(), 1);
    EXPECT_EQ(bytes_of(*found(5)), record('I', 5, '1').bytes());
    EXPECT_EQ(Records_In_All_Tables(), 1);
    EXPECT_EQ(Glb_Not_Applied_Mss, 0U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_THAT(Take_Sent(), IsEmpty());
}

TEST_P(ReplicaTypes, EndOfTheTableLeavesItsRecords)
{
    Receive(record('I', 5, '1'));
    TBLPROC_Register_Ref_Table(GetParam().type);
    Receive({.letter = 'z', .code = code_of_type(GetParam().type)});
    EXPECT_EQ(records(), 1);
}

// Types 16 and 17 are secondary.
TEST_P(ReplicaTypes, EndOfTheTableCountsForPrimaryTables)
{
    TBLPROC_Register_Ref_Table(GetParam().type);
    Receive({.letter = 'z', .code = code_of_type(GetParam().type)});
    const bool is_primary = GetParam().type != 16 && GetParam().type != 17;
    EXPECT_EQ(Take_Primary_Tables_Received().has_value(), is_primary);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_P(ReplicaTypes, ReplacedRecordIsToldOfWhereTheTableTells)
{
    Receive(record('I', 5, '1'));
    Receive(record('I', 5, '2'));
    EXPECT_EQ(ReportTexts::Take().size(), GetParam().tells ? 1U : 0U);
}

TEST_P(ReplicaTypes, ShortRecordReadsZerosBehindIt)
{
    Receive(record('I', 4, '1')); // what the buffer held before is longer
    TableMessage message = record('I', 5, '2');
    message.data.resize(10);
    Receive(message);
    message.data.resize(static_cast<std::size_t>(GetParam().body), '\0');
    ASSERT_NE(found(5), nullptr);
    EXPECT_EQ(bytes_of(*found(5)), message.bytes());
}

TEST_P(ReplicaTypes, HeaderAloneIsARecordOfZeros)
{
    TableMessage message = record('I', 5, '1');
    message.data.clear();
    Receive(message);
    EXPECT_EQ(bytes_of(*found(5)).substr(22), std::string(static_cast<std::size_t>(GetParam().body), '\0'));
}

TEST_P(ReplicaTypes, RecordLongerThanItsClassIsCut)
{
    TableMessage message = record('I', 5, '1');
    message.data += std::string(1500, 'x');
    Receive(message);
    EXPECT_EQ(bytes_of(*found(5)), record('I', 5, '1').bytes());
}

TEST_P(ReplicaTypes, IdentityOfTheServersStaysAsItCame)
{
    Receive(record('I', 5, '1'));
    const CMessage& kept = *found(5);
    const bool has_identity = kept.m_env_crc32 == DLONG{5 * 16 + '1', servers_environment};
    EXPECT_EQ(has_identity, GetParam().hashed);
}

TEST_P(ReplicaTypes, TheOlderFormMakesTheSameChanges)
{
    Receive_In_The_Older_Form(record('I', 5, '1'));
    Receive_In_The_Older_Form(record('C', 6, '2'));
    Receive_In_The_Older_Form(record('C', 7, '3'));
    Receive_In_The_Older_Form(record('A', 5, '4'));
    Receive_In_The_Older_Form(record('B', 6, '2'));
    Receive_In_The_Older_Form(record('R', 7, '5'));
    EXPECT_EQ(records(), 2);
    EXPECT_EQ(bytes_of(*found(5)).substr(22), record('A', 5, '4').data);
    EXPECT_EQ(bytes_of(*found(7)), record('C', 7, '3').bytes());
}

TEST_P(ReplicaTypes, TheOlderFormCountsNoEnds)
{
    TBLPROC_Register_Ref_Table(GetParam().type);
    Receive_In_The_Older_Form({.letter = 'z', .code = code_of_type(GetParam().type)});
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    EXPECT_THAT(Take_Sent(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, ReplicaTypes, testing::ValuesIn(replica_types),
                         [](const auto& each) { return std::to_string(each.param.type); });

// ---- Types and codes without a rule ------------------------------------------------------------------------------

TEST_F(TableMessages, MessagesOfUnknownCodesAreCountedAndChangeNothing)
{
    Know_All_Types();
    unsigned count = 0;
    for (const unsigned code : {0U, 999U, 1024U, 39999U, 40000U, 40001U, 65535U}) {
        for (const char letter : {'I', 'C', 'A', 'B', 'z', 'H', '\0'}) {
            Receive({.letter = letter, .code = code, .idx = 1, .data = "data"});
            EXPECT_EQ(Glb_Not_Applied_Mss, ++count);
        }
    }
    EXPECT_EQ(Records_In_All_Tables(), 0);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(TableMessages, OrdersAndSummariesHaveNoReplica)
{
    Know_All_Types();
    Receive({.letter = 'I', .code = code_of_type(1), .idx = 1, .data = "data"});
    Receive({.letter = 'z', .code = code_of_type(2)});
    EXPECT_EQ(Glb_Not_Applied_Mss, 2U);
    EXPECT_EQ(Records_In_All_Tables(), 0);
}

TEST_F(TableMessages, TypesBeyondTheKnownOnesAreCounted)
{
    COMMON_Global_Codes_Add(24, 50);
    COMMON_Global_Codes_Add(39999, 51);
    Receive({.letter = 'I', .code = 50});
    Receive({.letter = 'I', .code = 51});
    EXPECT_EQ(Glb_Not_Applied_Mss, 2U);
}

TEST_F(TableMessages, TheOlderFormCountsTheSame)
{
    Receive_In_The_Older_Form({.letter = 'I', .code = 999});
    Receive_In_The_Older_Form({.letter = 'I', .code = 40000});
    EXPECT_EQ(Glb_Not_Applied_Mss, 2U);
}

// One table may have several codes: every market has its own of some.
TEST_F(TableMessages, SeveralCodesOfATypeLeadToOneReplica)
{
    COMMON_Global_Codes_Add(RATES_TABLE_ID, 6917);
    COMMON_Global_Codes_Add(RATES_TABLE_ID, 14017);
    Receive({.letter = 'I', .code = 6917, .idx = 1});
    Receive({.letter = 'I', .code = 14017, .idx = 2});
    EXPECT_EQ(records_of_type(RATES_TABLE_ID), 2);
}

// ---- Views -------------------------------------------------------------------------------------------------------

TEST_F(TableMessages, ValuesReadFromTheRecordBeforeAreForgotten)
{
    Know_All_Types();
    Receive({.letter = 'I', .code = code_of_type(9), .idx = 1, .data = "AAA"});
    EXPECT_EQ(static_cast<unsigned>((*Glb_cur_city_msg)[REC_IDX]), 1U);
    Receive({.letter = 'I', .code = code_of_type(9), .idx = 2, .data = "BBB"});
    Receive({.letter = 'I', .code = code_of_type(12), .idx = 3, .data = "CC"});
    EXPECT_NE(Glb_City_Table->Find_By_Idx(2), nullptr);
    EXPECT_NE(Glb_Country_Table->Find_By_Idx(3), nullptr);
}

TEST_F(TableMessages, NoLockIsHeldBehindAMessage)
{
    Know_All_Types();
    for (const char letter : {'I', 'A', 'B', 'z', 'x'}) {
        Receive({.letter = letter, .code = code_of_type(4), .idx = 1});
        const ReplicaLock lock;
    }
}

// ---- Range and environment ---------------------------------------------------------------------------------------

std::string range(std::uint32_t lowest, std::uint32_t highest, const std::string& environment)
{
    return TableMessage::word(lowest, 4) + TableMessage::word(highest, 4) + environment;
}

TEST_F(TableMessages, RangeIsTheWholeNumberLine)
{
    Receive({.letter = 'g', .data = range(500, 600, "AR")});
    EXPECT_EQ(glb_min_pu_connected_gtable_rec_index, 500U);
    EXPECT_EQ(glb_min_gtable_rec_index, 1U);
    EXPECT_EQ(glb_max_gtable_rec_index, 0xFFFFFFFFU);
    EXPECT_EQ(glb_valid_range, 1);
    EXPECT_STREQ(Glb_environment, "AR");
}

TEST_F(TableMessages, EnvironmentIsTheUpperHalfOfItsWord)
{
    Receive({.letter = 'g', .data = range(1, 2, "MX")});
    EXPECT_EQ(Glb_range_environment, std::uint32_t{'X'} << 24 | std::uint32_t{'M'} << 16);
    Receive({.letter = 'g', .data = range(1, 2, "\xFF\xFE")});
    EXPECT_EQ(Glb_range_environment, 0xFEFF0000U);
}

TEST_F(TableMessages, RangeOfARandomRecordIsTaken)
{
    std::mt19937 random(20261122);
    for (int round = 0; round < 200; ++round) {
        std::string bytes = "888g";
        for (unsigned left = static_cast<unsigned>(random() % 60); left > 0; --left) {
            bytes += static_cast<char>(random());
        }
        Receive_Bytes(bytes);
        EXPECT_EQ(glb_min_gtable_rec_index, 1U);
        EXPECT_EQ(Glb_environment[2], '\0');
    }
    EXPECT_EQ(Glb_Not_Applied_Mss, 0U);
}

TEST_F(TableMessages, RangeAsksForThePrimaryTables)
{
    COMMON_Global_Codes_Add(CITIES_CODE_ID, 25);
    COMMON_Global_Codes_Add(RATES_TABLE_ID, 6917);
    Receive({.letter = 'g', .data = range(1, 2, "AR")});
    EXPECT_THAT(Take_Asked_For(), ElementsAre(25U));
}

TEST_F(TableMessages, ARepeatedRangeRepeatsTheSubscription)
{
    COMMON_Global_Codes_Add(CITIES_CODE_ID, 25);
    Receive({.letter = 'g', .data = range(1, 2, "AR")});
    Receive({.letter = 'g', .data = range(1, 2, "AR")});
    EXPECT_THAT(Take_Asked_For(), ElementsAre(25U, 25U));
    Receive({.letter = 'z', .code = 25});
    EXPECT_EQ(Take_Primary_Tables_Received(), connection); // counted once
}

TEST_F(TableMessages, InMxItsPrimaryTablesAreAskedForToo)
{
    Glb_access_tables[0] = {.table_code = 6906, .table_type = FIXEDINCOMEMARKETS_TABLE_ID};
    Glb_access_tables[1] = {.table_code = 6907, .table_type = FIXEDINCOMEMARKETS_TABLE_ID};
    Receive({.letter = 'g', .data = range(1, 2, "MX")});
    EXPECT_THAT(Take_Asked_For(), ElementsAre(6906U));
}

TEST_F(TableMessages, TheOlderFormKeepsTheServersRangeAndSubscribesNothing)
{
    COMMON_Global_Codes_Add(CITIES_CODE_ID, 25);
    Receive_In_The_Older_Form({.letter = 'g', .data = range(500, 600, "MX")});
    EXPECT_EQ(glb_min_gtable_rec_index, 500U);
    EXPECT_EQ(glb_max_gtable_rec_index, 600U);
    EXPECT_EQ(glb_valid_range, 1);
    EXPECT_EQ(glb_min_pu_connected_gtable_rec_index, 0U);
    EXPECT_STREQ(Glb_environment, "");
    EXPECT_EQ(Glb_range_environment, 0U);
    EXPECT_THAT(Take_Sent(), IsEmpty());
}

// ---- The list of servers -----------------------------------------------------------------------------------------

class ServerList : public TableMessages
{
protected:
    ServerList() { Know_All_Types(); }

    static TableMessage list(char letter, int kind, int number, const std::string& codes)
    {
        return {.letter = letter,
                .code = code_of_type(5),
                .data = TableMessage::word(static_cast<std::uint32_t>(kind), 2) +
                        TableMessage::word(static_cast<std::uint32_t>(number), 2) + codes};
    }

    // Of a message: number 5 of the server's.
    static std::string envelope_from(const std::string& server)
    {
        return "CLIEN   " + server + std::string(4, '\0') + TableMessage::word(5, 4) + std::string(11, ' ') +
               "20261122" + std::string(43, ' ');
    }

    static std::string servers() { return {glb_dss[0], 4U * static_cast<unsigned>(glb_dss_counter)}; }
    static std::string managers()
    {
        const int count = glb_dm_dest_list.Get_Numbers()[0];
        return {glb_dm_dest_list.Get_Adressees()[0], 4U * static_cast<unsigned>(count)};
    }
    static std::string codes(int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += "S" + std::to_string(100 + i);
        }
        return text;
    }
};

TEST_F(ServerList, DataServersJoinThoseThatAreKnown)
{
    COMMON_Set_Code_Data_Servers_List(1, "DS01");
    Receive(list('I', 5, 2, "DS02DS01"));
    Receive(list('C', 5, 1, "DS03"));
    EXPECT_EQ(servers(), "DS01DS02DS03");
    EXPECT_EQ(managers(), "");
}

// The code is a part of file names.
TEST_F(ServerList, ACodeThatIsNoNameIsReportedAndDoesNotJoin)
{
    COMMON_Set_Code_Data_Servers_List(1, "DS01");
    Receive(list('I', 5, 3, std::string("DS/BDS02DS\0\0", 12)));
    EXPECT_EQ(servers(), "DS01DS02");
    EXPECT_EQ(ReportTexts::Take().size(), 2U);
}

// A message of a server that isn't known counts as handled.
TEST_F(ServerList, MessagesOfAServerThatJoinedAreHandled)
{
    LOG_Msg_Init();
    std::string header = envelope_from("02");
    EXPECT_EQ(LOG_Is_Processed_Record(header.data(), nullptr), 1);
    Receive(list('I', 5, 1, "DS02"));
    EXPECT_EQ(LOG_Is_Processed_Record(header.data(), nullptr), 0);
}

TEST_F(ServerList, WhatIsKnownOfAServerOutlivesItsRepetition)
{
    LOG_Msg_Init();
    Receive(list('I', 5, 1, "DS02"));
    std::string header = envelope_from("02");
    LOG_Is_Processed_Record(header.data(), nullptr);
    LOG_Register_Record(header.data());
    Receive(list('I', 5, 2, "DS03DS02"));
    EXPECT_EQ(LOG_Is_Processed_Record(header.data(), nullptr), 1);
}

TEST_F(ServerList, DataManagersJoinTheAddresseesOfOrders)
{
    Receive(list('I', 1, 2, "DM01DM02"));
    Receive(list('C', 1, 2, "DM02DM03"));
    EXPECT_EQ(managers(), "DM01DM02DM03");
    EXPECT_EQ(servers(), "");
}

TEST_F(ServerList, NoMoreCodesAreReadThanTheListHas)
{
    for (const int number : {16, 300, 32767}) {
        Receive(list('I', 5, number, codes(15) + "OVERFLOW"));
        Receive(list('I', 1, number, codes(15) + "OVERFLOW"));
        EXPECT_EQ(servers(), codes(15)) << number;
        EXPECT_EQ(managers(), codes(15)) << number;
    }
}

TEST_F(ServerList, ANegativeNumberIsNone)
{
    for (const int number : {-1, -32768}) {
        Receive(list('I', 5, number, codes(15)));
        Receive(list('I', 1, number, codes(15)));
    }
    EXPECT_EQ(servers(), "");
    EXPECT_EQ(managers(), "");
}

TEST_F(ServerList, OtherKindsOfServersAndOtherLettersAreIgnored)
{
    for (const int kind : {0, 2, 3, 4, 6, 257, -1}) {
        Receive(list('I', kind, 1, "XXXX"));
    }
    for (const char letter : {'A', 'B', 'R', 'U', 'D', 'S', 'H', 'L', 't', 'Z', '\0'}) {
        Receive(list(letter, 5, 1, "XXXX"));
        Receive(list(letter, 1, 1, "XXXX"));
    }
    EXPECT_EQ(servers(), "");
    EXPECT_EQ(managers(), "");
    EXPECT_EQ(Glb_Not_Applied_Mss, 0U);
}

TEST_F(ServerList, ServersBeyondThirtySixAreLeftOut)
{
    testing::internal::CaptureStdout();
    for (int part = 0; part < 3; ++part) {
        Receive(list('I', 5, 15, codes(45).substr(static_cast<unsigned>(part) * 60, 60)));
    }
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                HasSubstr("Error: The limit of Data Servers has been exceeded"));
    EXPECT_EQ(servers(), codes(36));
}

TEST_F(ServerList, ItsEndCountsAmongThePrimaryTables)
{
    TBLPROC_Register_Ref_Table(DATAMANAGER_LIST_ID);
    Receive(list('z', 5, 1, "DS02"));
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
    EXPECT_EQ(servers(), "");
}

TEST_F(ServerList, TheOlderFormTakesTheSameCodes)
{
    Receive_In_The_Older_Form(list('I', 5, 16, codes(15)));
    Receive_In_The_Older_Form(list('C', 1, 1, "DM01"));
    EXPECT_EQ(servers(), codes(15));
    EXPECT_EQ(managers(), "DM01");
}

TEST_F(ServerList, InTheOlderFormItsEndIsTheEndOfTheBringUp)
{
    RecordingHost host;
    glb_DCon_DESCR->fhost[0] = 0x0100007F;
    Receive_In_The_Older_Form(list('z', 5, 0, ""));
    glb_DCon_DESCR->fhost[0] = 0;
    EXPECT_THAT(host.lines(), ElementsAre("connection 0"));
    EXPECT_EQ(Glb_Log_Flag, 1);
    const std::vector<std::string> sent = Take_Sent();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].substr(0, 3), "203");
}

TEST_F(ServerList, InTheOlderFormNoOtherTablesEndIs)
{
    RecordingHost host;
    for (int type = 1; type < MAX_CODE_ID; ++type) {
        if (type != 5) {
            Receive_In_The_Older_Form({.letter = 'z', .code = code_of_type(type)});
        }
    }
    EXPECT_THAT(host.lines(), IsEmpty());
    EXPECT_EQ(Glb_Log_Flag, 0);
}

// ---- Anything ----------------------------------------------------------------------------------------------------

TEST_F(TableMessages, OneBadMessageNeverCostsTheNextGoodOne)
{
    Know_All_Types();
    std::mt19937 random(20261122);
    testing::internal::CaptureStdout();
    for (unsigned round = 0; round < 3000; ++round) {
        std::string bytes =
            TableMessage{.letter = static_cast<char>(random()),
                         .code = static_cast<unsigned>(random() % 2 == 0 ? 1000 + random() % 26 : random()),
                         .idx = static_cast<unsigned>(random() % 50),
                         .rec_num = static_cast<unsigned>(random())}
                .bytes();
        for (unsigned left = static_cast<unsigned>(random() % 1200); left > 0; --left) {
            bytes += static_cast<char>(random());
        }
        bytes.resize(random() % 2 == 0 ? bytes.size() : random() % bytes.size());
        Receive_Bytes(bytes);
    }
    testing::internal::GetCapturedStdout();
    const TableMessage good{.letter = 'C',
                            .code = code_of_type(9),
                            .idx = 0xFFFFFFFF,
                            .data = "BUE",
                            .crc32 = 1,
                            .environment = servers_environment};
    Receive(good);
    ASSERT_NE(Glb_City_Table->Find_By_Idx(0xFFFFFFFF), nullptr);
    EXPECT_EQ(bytes_of(*Glb_City_Table->Find_By_Idx(0xFFFFFFFF)).substr(0, 25), good.bytes());
}

} // namespace
