// Records of the running log, byte by byte, from the calls that make them.
#include "arrm.h"
#include "global.h"
#include "support/log_session.h"

#include <array>
#include <fstream>

using namespace std::string_literals;

namespace {

class Log : public LogSession
{
protected:
    Log() { Start(); }

    StoredRecord Only_Record()
    {
        const std::vector<StoredRecord> records = Records();
        EXPECT_EQ(records.size(), 1U);
        return records.at(0);
    }
};

TEST_F(Log, TextRecordHasTheseBytes)
{
    LOG_Text("host %d of %d", 2, 3);
    const std::string header = "20261120093005\0\0"
                               "\x2f\0\0\0" // 47
                               "\0\0\0\0"
                               "\x0e\0\0\0" // 14
                               "\0\0\0\0"s;
    EXPECT_EQ(Written(), header + "ER-host 2 of 3\n");
}

TEST_F(Log, MessageRecordHasTheseBytes)
{
    const std::string extra = "\0\0\0\0\0\0\x07\0\0\0\0\0\0\0\0\0\0\0\0\0"s;
    LOG_Put_Msg("RM-Message Received", "ab\0c", 4, "D", 0, extra.data());
    const std::string header = "20261120093005\x07"
                               "D"
                               "\x7d\0\0\0" // 125
                               "\x04\0\0\0"
                               "\x5c\0\0\0" // 92
                               "\x01\0\0\0"s;
    const std::string label = "RM-Message Received"s + std::string(53, '\0');
    EXPECT_EQ(Written(), header + label + std::string(16, '\0') + "ab\0c\n"s);
}

TEST_F(Log, LeadingDashOfTheFormatIsDroppedAndNothingIsPutInItsPlace)
{
    LOG_Text("-RC%c-Status changed to closed connection", 'D');
    EXPECT_EQ(Only_Record().body, "RCD-Status changed to closed connection");
}

TEST_F(Log, OnlyTheFirstDashIsDropped)
{
    LOG_Text("--x");
    EXPECT_EQ(Only_Record().body, "-x");
}

TEST_F(Log, DashFromAnArgumentDoesNotTakeTheErrorMarkAway)
{
    LOG_Text("%s", "-user's own");
    EXPECT_EQ(Only_Record().body, "ER--user's own");
}

TEST_F(Log, EmptyTextIsARecordOfTheMarkAlone)
{
    LOG_Text("%s", "");
    LOG_Text("-%s", "");
    EXPECT_EQ(Bodies(), (std::vector<std::string>{"ER-", ""}));
}

TEST_F(Log, TextKeepsNewlinesAndZeroBytes)
{
    LOG_Text("-a%cb\n", 0);
    EXPECT_EQ(Only_Record().body, "a\0b\n"s);
}

TEST_F(Log, TextThatCannotBeFormattedLeavesARecordWithoutIt)
{
    const std::array<wchar_t, 3> outside_the_locale{L'a', static_cast<wchar_t>(0x7000), L'\0'};
    LOG_Text("%ls", outside_the_locale.data());
    EXPECT_EQ(Only_Record().body, "ER-");
}

class TextOfLength : public Log, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(TextOfLength, IsCutWhereTheRecordIsFull)
{
    const std::string text(GetParam(), 'x');
    LOG_Text("-%s", text.c_str());
    LOG_Text("%s", text.c_str());
    LOG_Text("-next");
    EXPECT_EQ(Bodies(), (std::vector{text.substr(0, 3267), "ER-" + text.substr(0, 3264), "next"s}));
}

INSTANTIATE_TEST_SUITE_P(AroundTheCut, TextOfLength,
                         testing::Values(3263, 3264, 3265, 3266, 3267, 3268, 3299, 3300, 3301, 5000));

TEST_F(Log, LongestTextMakesARecordOf3300Bytes)
{
    LOG_Text("-%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(Written().size(), 3300U);
    EXPECT_EQ(Only_Record().pkt_length, 3300U);
}

// A reader of the ring may treat the rest of the slot as the text's terminator.
TEST_F(Log, RestOfTheSlotIsZero)
{
    for (int i = 0; i < CMSS_INITIAL_NUM_RECORDS; ++i) {
        LOG_Text("%s", std::string(5000, 'x').c_str());
        LOG_Write_Pending();
    }
    for (int i = 0; i < CMSS_INITIAL_NUM_RECORDS; ++i) {
        LOG_Text("-short");
        char* slot = nullptr;
        int length = 0;
        ASSERT_EQ(Glb_Log_Mss->Init_Withdraw(&slot, &length, nullptr, nullptr), 0);
        EXPECT_EQ(std::string(slot + length, slot + 3300), std::string(3300 - 38, '\0'));
        Glb_Log_Mss->Take_Withdraw();
    }
}

TEST_F(Log, LabelOf72CharactersAndMoreHasNoTerminator)
{
    LOG_Put_Msg(std::string(72, 'a').c_str(), "p", 1, nullptr, 0, nullptr);
    LOG_Put_Msg((std::string(72, 'b') + "cut").c_str(), "p", 1, nullptr, 0, nullptr);
    const std::string behind = std::string(16, '\0') + "p";
    EXPECT_EQ(Bodies(), (std::vector{std::string(72, 'a') + behind, std::string(72, 'b') + behind}));
}

TEST_F(Log, MessageWithoutSourceAndExtraDataHasZerosThere)
{
    LOG_Put_Msg("SM", "p", 1, nullptr, 0, nullptr);
    const StoredRecord record = Only_Record();
    EXPECT_EQ(record.priority, '\0');
    EXPECT_EQ(record.source, '\0');
    EXPECT_EQ(record.status, 1U);
}

TEST_F(Log, PacketOf3179BytesFits)
{
    const std::string packet(3179, 'p');
    LOG_Put_Msg("SM", packet.data(), 3179, "G", 0, nullptr);
    const StoredRecord record = Only_Record();
    EXPECT_EQ(record.pkt_length, 3300U);
    EXPECT_EQ(record.data_length, 3179U);
    EXPECT_EQ(record.body.substr(88), packet);
}

TEST_F(Log, LongerPacketIsCutAndTheNextRecordTellsByHowMuch)
{
    const std::string packet(3300, 'p');
    LOG_Put_Msg("SM", packet.data(), 3300, "G", 0, nullptr);
    const std::vector<StoredRecord> records = Records();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].pkt_length, 3300U);
    EXPECT_EQ(records[0].data_length, 3300U);
    EXPECT_EQ(records[0].compressed_length, 3267U);
    EXPECT_EQ(records[0].body.substr(88), packet.substr(0, 3179));
    EXPECT_EQ(records[1].body, "ER-Size overflow od 121 in last record, The size must be changed.");
}

TEST_F(Log, PacketLongerThanARingRecordIsCutAlike)
{
    const std::string packet(60000, 'p');
    LOG_Put_Msg("SM", packet.data(), 60000, "G", 0, nullptr);
    const std::vector<StoredRecord> records = Records();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].data_length, 60000U);
    EXPECT_EQ(records[0].body.size(), 3267U);
    EXPECT_EQ(records[1].body, "ER-Size overflow od 56821 in last record, The size must be changed.");
}

TEST_F(Log, NegativeLengthAndMissingDataAreAnEmptyPacket)
{
    LOG_Put_Msg("SM", "p", -1, nullptr, 0, nullptr);
    LOG_Put_Msg("SM", nullptr, 100, nullptr, 0, nullptr);
    for (const StoredRecord& record : Records()) {
        EXPECT_EQ(record.data_length, 0U);
        EXPECT_EQ(record.body, "SM"s + std::string(86, '\0'));
    }
}

TEST_F(Log, TextsAndMessagesHaveTheirStatusInTheRing)
{
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
    int length = 0;
    LOG_Text("-t");
    LOG_Put_Msg("m", "p", 1, nullptr, 0, nullptr);
    EXPECT_EQ(Glb_Log_Mss->Withdraw(record.data(), &length, nullptr, nullptr), 0);
    EXPECT_EQ(Glb_Log_Mss->Withdraw(record.data(), &length, nullptr, nullptr), TCP_STATUS_LOG_SENT_PACKET);
}

TEST_F(Log, NothingIsQueuedWhileNoLogIsOpen)
{
    LOG_End();
    LOG_Text("-t");
    LOG_Put_Msg("m", "p", 1, nullptr, 0, nullptr);
    EXPECT_EQ(Glb_Log_Mss->Is_Any_Pkt(), 0);
}

TEST_F(Log, ReportIsAnErrorLineWhateverItBeginsWith)
{
    LOG_Put_Err_Msg("-lost %d%%", 3);
    COMMON_Put_Syslog_Message(1, "%s", "%s is no format here");
    EXPECT_EQ(Bodies(), (std::vector<std::string>{"ER--lost 3%", "ER-%s is no format here"}));
}

TEST_F(Log, StampIsLocalTimeOfTheCorrectedClock)
{
    Set_Time_Zone("<+0530>-5:30");
    Step(3600 + 1);
    LOG_Text("-t");
    EXPECT_EQ(Only_Record().hour, "160006");
    std::array<char, 9> date;
    std::array<char, 7> hour;
    LOG_Get_Current_time(hour.data(), date.data());
    EXPECT_STREQ(date.data(), "20261120");
    EXPECT_STREQ(hour.data(), "160006");
}

TEST_F(Log, EachSecondHasItsOwnStampAlsoBackwards)
{
    for (const int seconds : {0, 1, -2, 1}) {
        Step(seconds);
        LOG_Text("-t");
    }
    std::vector<std::string> hours;
    for (const StoredRecord& record : Records()) {
        hours.push_back(record.hour);
    }
    EXPECT_EQ(hours, (std::vector<std::string>{"093005", "093006", "093004", "093005"}));
}

TEST_F(Log, CurrentTimeWritesOnlyWhatIsAskedFor)
{
    std::array<char, 10> date{"#########"};
    std::array<char, 8> hour{"#######"};
    LOG_Get_Current_time(nullptr, date.data());
    LOG_Get_Current_time(hour.data(), nullptr);
    LOG_Get_Current_time(nullptr, nullptr);
    EXPECT_EQ(std::string(date.begin(), date.end()), "20261120\0\0"s);
    EXPECT_EQ(std::string(hour.begin(), hour.end()), "093005\0\0"s);
}

// ---- The worked example of docs/file_formats.md -------------------------------------------------------------------

// Bytes of the page's lines "    0000  32 30 ..."; what stands behind the sixteen columns is for people.
std::string example_bytes()
{
    const auto page = std::filesystem::path(__FILE__).parent_path().parent_path() / "docs" / "file_formats.md";
    std::ifstream file(page);
    std::string bytes;
    std::string line;
    while (std::getline(file, line) && !line.starts_with("## Running log")) {
    }
    while (std::getline(file, line) && !line.starts_with("## ")) {
        if (line.size() > 10 && line.find_first_not_of(' ') == 4 && line.find("  ", 4) == 8) {
            const std::string digits = line.substr(10, 47);
            for (std::size_t at = 0; at + 1 < digits.size() && digits[at] != ' '; at += 3) {
                bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
            }
        }
    }
    return bytes;
}

TEST_F(Log, WritesTheExampleOfTheFormatPage)
{
    const std::string extra = "\0\0\0\0\0\0\x05\0\0\0\0\0\0\0\0\0\0\0\0\0"s;
    LOG_Text("-ROD-Status changed to open connection");
    LOG_Put_Msg("RM-Message Received", "00042101", 8, "D", 0, extra.data());
    EXPECT_EQ(Written(), example_bytes());
}

} // namespace
