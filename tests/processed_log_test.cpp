// Which messages are handled before, and up to which number all are.
#include "reader/processed_log.h"

#include "little_endian.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "support/forget_configuration.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

namespace {

constexpr int untracked = 5;
constexpr int server = 8;

// A message's CABEZA: server AB, type B, of 2026-01-05.
class Header
{
public:
    explicit Header(unsigned number, const std::string& date = "20260105")
    {
        Put(server, "AB").Put(18, "B").Put(29, date);
        store_le(m_bytes.data() + 14, number);
    }
    Header& Put(std::size_t at, const std::string& bytes)
    {
        m_bytes.replace(at, bytes.size(), bytes);
        return *this;
    }
    char* bytes() { return m_bytes.data(); }
    char letter() { return m_bytes[18]; }

private:
    std::string m_bytes = std::string(80, '\0');
};

class ProcessedLogTest : public testing::Test
{
protected:
    ProcessedLogTest()
    {
        Forget_Configuration();
        COMMON_Set_Code_Data_Servers_List(2, "DSABDSCD");
        LOG_Msg_Init();
    }
    ~ProcessedLogTest() override { Forget_Configuration(); }

    static int is_processed(Header header) { return LOG_Is_Processed_Record(header.bytes(), nullptr); }
    static void given(Header header) { LOG_Register_Record(header.bytes()); }
    static void finished(Header header) { LOG_Update_Last_Proc_Message(header.bytes(), 1); }
    static void skipped(Header header) { LOG_Update_Last_Proc_Message(header.bytes(), 0); }

    static char letter(Header header, int priority)
    {
        std::array<char, 20> extra{};
        store_le(extra.data() + 6, static_cast<std::uint16_t>(priority));
        LOG_Is_Processed_Record(header.bytes(), extra.data());
        return header.letter();
    }

    // "RECEIVED PROCESSED DATE"
    static std::string position(int of_server = 0, int type = 1)
    {
        std::string date = "        ";
        unsigned long processed = 0;
        const unsigned received = LOG_Get_Last_Processed_Message(of_server, type, date.data(), &processed);
        return std::to_string(received) + ' ' + std::to_string(processed) + ' ' + date.c_str();
    }
};

// ---- Types

TEST_F(ProcessedLogTest, TheLetterTellsPersistenceAndPriority)
{
    Header persistent(1);
    persistent.Put(4, "S");
    EXPECT_EQ(letter(persistent, 80), 'A');
    EXPECT_EQ(letter(Header(1), 0), 'B');
    EXPECT_EQ(letter(Header(1), 79), 'B');
    EXPECT_EQ(letter(Header(1), 80), 'C');
    EXPECT_EQ(letter(Header(1), 65535), 'C');
}

TEST_F(ProcessedLogTest, WithoutAnEnvelopeThePriorityIsZero)
{
    Header header(1);
    header.Put(18, "x");
    LOG_Is_Processed_Record(header.bytes(), nullptr);
    EXPECT_EQ(header.letter(), 'B');
}

TEST_F(ProcessedLogTest, AnUntrackedMessageTakesNoPart)
{
    Header header(9);
    header.Put(untracked, "S").Put(18, "x");
    EXPECT_EQ(LOG_Is_Processed_Record(header.bytes(), nullptr), 0);
    EXPECT_EQ(header.letter(), 'x');
    header.Put(18, "B");
    given(header);
    skipped(header);
    EXPECT_EQ(is_processed(Header(9)), 0);
    EXPECT_EQ(position(), "0 0 ");
}

// ---- Repeats

TEST_F(ProcessedLogTest, APendingMessageIsRefusedUntilItIsFinished)
{
    EXPECT_EQ(is_processed(Header(7)), 0);
    given(Header(7));
    EXPECT_EQ(is_processed(Header(7)), 1);
    EXPECT_EQ(is_processed(Header(8)), 0);
    EXPECT_EQ(is_processed(Header(7, "20260106")), 0);
    finished(Header(7));
    EXPECT_EQ(is_processed(Header(7)), 0);
}

TEST_F(ProcessedLogTest, TheSameNumberOfAnotherServerOrTypeIsAnotherMessage)
{
    given(Header(7));
    Header other(7);
    other.Put(server, "CD");
    EXPECT_EQ(is_processed(other), 0);
    Header persistent(7);
    persistent.Put(4, "S");
    EXPECT_EQ(is_processed(persistent), 0);
}

TEST_F(ProcessedLogTest, AMessageOfAServerThatIsNotConfiguredIsTakenForProcessed)
{
    Header header(7);
    header.Put(server, "ZZ");
    EXPECT_EQ(is_processed(header), 1);
    given(header);
    finished(header);
    EXPECT_EQ(position(), "0 0 ");
}

TEST_F(ProcessedLogTest, NumberZeroIsNeverProcessedAndLeavesNothing)
{
    given(Header(0));
    EXPECT_EQ(is_processed(Header(0)), 0);
    finished(Header(5));
    finished(Header(0));
    skipped(Header(0, "20260109"));
    EXPECT_EQ(position(), "5 5 20260105");
    Header unknown(0);
    unknown.Put(server, "ZZ");
    EXPECT_EQ(is_processed(unknown), 0);
}

TEST_F(ProcessedLogTest, AServerThatBecomesKnownLaterIsTracked)
{
    Header header(7);
    header.Put(server, "EF");
    EXPECT_EQ(is_processed(header), 1);
    COMMON_Set_Code_Data_Servers_List(1, "DSEF");
    EXPECT_EQ(LOG_DS_Files_Init(2), 1);
    EXPECT_EQ(is_processed(header), 0);
    finished(header);
    EXPECT_EQ(position(2), "7 7 20260105");
}

TEST_F(ProcessedLogTest, AnIndexOutOfRangeIsNoServer)
{
    EXPECT_EQ(LOG_DS_Files_Init(-1), 1);
    EXPECT_EQ(LOG_DS_Files_Init(DCON_MAX_DS_SERVERS), 1);
}

// ---- Numbers

TEST_F(ProcessedLogTest, FinishedInOrderTheNumbersGoAlong)
{
    given(Header(3));
    finished(Header(3));
    given(Header(4));
    finished(Header(4));
    EXPECT_EQ(position(), "4 4 20260105");
}

TEST_F(ProcessedLogTest, TheLowestPendingMessageHoldsTheOthersUp)
{
    given(Header(3, "20260104"));
    given(Header(4));
    given(Header(5));
    finished(Header(5));
    EXPECT_EQ(position(), "5 2 20260104");
    finished(Header(3, "20260104"));
    EXPECT_EQ(position(), "5 3 20260105");
}

TEST_F(ProcessedLogTest, AMessageOfAnEarlierDayIsLowerWhateverItsNumber)
{
    given(Header(900, "20260104"));
    given(Header(1, "20260105"));
    given(Header(2, "20260105"));
    finished(Header(1, "20260105"));
    EXPECT_EQ(position(), "1 899 20260104");
}

TEST_F(ProcessedLogTest, NothingIsHeldUpWhereTradesAreSubscribed)
{
    Glb_suscribed_message[133] = 1;
    given(Header(3));
    given(Header(4));
    finished(Header(4));
    EXPECT_EQ(position(), "4 4 20260105");
}

TEST_F(ProcessedLogTest, TheLastPendingMessageSetsBothNumbersEvenBack)
{
    skipped(Header(50));
    given(Header(20));
    finished(Header(20));
    EXPECT_EQ(position(), "20 20 20260105");
}

TEST_F(ProcessedLogTest, ASkippedMessageSetsBothNumbersIfNothingIsPending)
{
    skipped(Header(8));
    EXPECT_EQ(position(), "8 8 20260105");
}

TEST_F(ProcessedLogTest, ASkippedMessageBehindAPendingOneRaisesTheReceivedNumberAlone)
{
    given(Header(3));
    skipped(Header(8));
    EXPECT_EQ(position(), "8 0 ");
    skipped(Header(6));
    EXPECT_EQ(position(), "8 0 ");
}

TEST_F(ProcessedLogTest, ServersAndTypesHaveNumbersOfTheirOwn)
{
    finished(Header(3));
    Header other(4);
    finished(other.Put(server, "CD"));
    Header stored(5);
    finished(stored.Put(18, "A"));
    Header low(6);
    finished(low.Put(18, "C"));
    EXPECT_EQ(position(0, 1), "3 3 20260105");
    EXPECT_EQ(position(1, 1), "4 4 20260105");
    EXPECT_EQ(position(0, 0), "5 5 20260105");
    EXPECT_EQ(position(0, 2), "6 6 20260105");
}

TEST_F(ProcessedLogTest, ALetterOfNoTypeMovesNothing)
{
    for (const char* letter : {"@", "D", "S", "\xFF"}) {
        Header header(3);
        header.Put(18, letter);
        given(header);
        finished(header);
        skipped(header);
    }
    EXPECT_EQ(position(0, 0) + position(0, 1) + position(0, 2), "0 0 0 0 0 0 ");
}

TEST_F(ProcessedLogTest, TheDateIsTheOneThatWasSentLast)
{
    std::array<char, 9> date{};
    given(Header(3));
    skipped(Header(0, "20260109"));
    COMMON_Get_Last_Sent_Date(date.data());
    EXPECT_STREQ(date.data(), "20260109");
    finished(Header(3, "20260108"));
    COMMON_Get_Last_Sent_Date(date.data());
    EXPECT_STREQ(date.data(), "20260108");
    COMMON_Adjust_Time(0);
}

TEST_F(ProcessedLogTest, OutOfRangeTheAnswerIsOneAndTheOutputsStay)
{
    for (const auto& [of_server, type] :
         {std::pair(-1, 0), std::pair(2, 0), std::pair(36, 0), std::pair(0, -1), std::pair(0, 3)}) {
        std::string date = "untouched";
        unsigned long processed = 99;
        EXPECT_EQ(LOG_Get_Last_Processed_Message(of_server, type, date.data(), &processed), 1U);
        EXPECT_EQ(date, "untouched");
        EXPECT_EQ(processed, 99U);
    }
}

TEST_F(ProcessedLogTest, ANewStartKnowsNothing)
{
    given(Header(3));
    finished(Header(4));
    LOG_Msg_Init();
    EXPECT_EQ(position(), "0 0 ");
    EXPECT_EQ(is_processed(Header(3)), 0);
}

TEST_F(ProcessedLogTest, NoSentMessageIsStored)
{
    EXPECT_EQ(LOG_Load_Record(nullptr, nullptr, 0), 0);
    EXPECT_EQ(LOG_Load_Record(nullptr, nullptr, 5), 1);
}

TEST_F(ProcessedLogTest, ThreadsMayGiveAndFinishAtOnce)
{
    std::array<std::thread, 3> threads;
    for (unsigned each = 0; each < threads.size(); ++each) {
        threads[each] = std::thread([each] {
            for (unsigned i = 0; i < 500; ++i) {
                given(Header(2 + each + 3 * i));
                finished(Header(2 + each + 3 * i));
            }
        });
    }
    for (std::thread& each : threads) {
        each.join();
    }
    given(Header(1));
    given(Header(2000));
    finished(Header(2000));
    EXPECT_EQ(position(), "2000 0 20260105");
}

} // namespace
