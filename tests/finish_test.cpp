// A host is done with a record: early, late, never, twice, in the callback, on any thread.
#include "support/reader_fixture.h"
#include "support/session_fixture.h"

#include "qcapi/log.h"
#include "qcapi/session.h"

#include <array>
#include <atomic>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FinishTest : public ReaderTest
{
protected:
    static int waiting_chats() { return waiting(TableId::Glb_Chat_Message_Table); }
};

TEST_F(FinishTest, AFinishedRecordIsGoneAndItsNumberIsProcessed)
{
    receive_chat("one", 7);
    EXPECT_EQ(host.finish("mensaje_CHARLA", 1), 0);
    EXPECT_EQ(waiting_chats(), 0);
    EXPECT_EQ(position().processed, 7U);
    EXPECT_EQ(position().date, "20260105");
}

TEST_F(FinishTest, AnUnfinishedRecordHoldsTheNumbersUp)
{
    receive_chat("one", 7);
    receive_chat("two", 8);
    receive_chat("three", 9);
    host.finish("Chat", 3);
    EXPECT_EQ(position().processed, 6U);
    host.finish("Chat", 1);
    EXPECT_EQ(position().processed, 7U);
    host.finish("Chat", 2);
    EXPECT_EQ(position().processed, 8U);
}

TEST_F(FinishTest, TheSecondTimeIsReported)
{
    receive_chat("one", 7);
    take_lines();
    host.finish("Chat", 1);
    EXPECT_EQ(host.finish("Chat", 1), 18);
    EXPECT_THAT(take_lines(), ElementsAre("error 14 Record (Chat) number (1) not found / 0 0"));
}

TEST_F(FinishTest, ANameWithoutAMailboxIsReported)
{
    for (const char* name : {"Login", "Global_Table", "", "no such kind"}) {
        EXPECT_EQ(host.finish(name, 1), 15);
        EXPECT_THAT(take_lines(),
                    ElementsAre("error 14 Illegal record type specified (" + std::string(name) + ") / 0 0"));
    }
    EXPECT_EQ(host.FinishMessageProcess(nullptr, 1), 15);
    EXPECT_THAT(take_lines(), ElementsAre("error 14 Illegal record type specified () / 0 0"));
}

TEST_F(FinishTest, AnEmptyNameIsNotThatOfTheTakenRecord)
{
    receive_chat("one");
    host.take("Chat", 1);
    EXPECT_EQ(host.finish("", 1), 15);
    EXPECT_EQ(waiting_chats(), 1);
}

TEST_F(FinishTest, ATableRecordIsFinishedAsOftenAsOneLikes)
{
    Want_Table(1001, 1);
    receive(MessageBytes::Of_Table('I', 1001, 5));
    take_lines();
    EXPECT_EQ(host.finish("Posturas_Vigentes", 1), 0);
    EXPECT_EQ(host.finish("Posturas_Vigentes", 1), 0);
    EXPECT_EQ(host.finish("Indices_Vigentes", 99), 0);
    EXPECT_EQ(waiting(TableId::Glb_Order_Table), 0);
    EXPECT_THAT(take_lines(), IsEmpty());
    EXPECT_EQ(position().received, 0U);
}

TEST_F(FinishTest, ItIsInTheLog)
{
    LOG_Init("", scratch.path().c_str());
    receive_chat("one", 7);
    host.finish("Chat", 1);
    host.FinishMessageProcess(nullptr, 2);
    LOG_End();
    const std::vector<std::string> lines = text_lines_of_log(scratch.read("qapi.log"));
    EXPECT_THAT(lines,
                testing::Contains("ER-FinishMessageProcess called with message_type=\"Chat\" and message_num=1"));
    EXPECT_THAT(lines, testing::Contains("ER-FinishMessageProcess called with message_type=\"\" and message_num=2"));
}

TEST_F(FinishTest, InsideTheCallback)
{
    int result = -1;
    host.in_callback = [&](const std::string& line) {
        if (line == "message Chat 1") {
            EXPECT_EQ(host.take("Chat", 1), 0);
            EXPECT_EQ(text("texto"), "one");
            result = host.finish("Chat", 1);
        }
    };
    receive_chat("one", 7);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(waiting_chats(), 0);
    EXPECT_EQ(position().processed, 7U);
}

TEST_F(FinishTest, OnAnotherThread)
{
    receive_chat("one", 7);
    int result = -1;
    std::thread([&] { result = host.finish("Chat", 1); }).join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(position().processed, 7U);
}

TEST_F(FinishTest, BehindTheConnectionThereIsNothingLeftToFinishAndRepeatsAreRefused)
{
    receive_chat("one", 7);
    Clear_Tables_Of_The_Connection(*The_Mailbox_Mutex);
    EXPECT_EQ(host.finish("Chat", 1), 18);
    receive_chat("one", 7);
    EXPECT_EQ(waiting_chats(), 0);
    LOG_Msg_Init(); // the next login starts without it
    receive_chat("one", 7);
    EXPECT_EQ(waiting_chats(), 1);
}

TEST_F(FinishTest, TheTakenRecordIsReadUntilItsPlaceIsTaken)
{
    receive_chat("one");
    host.take("Chat", 1);
    host.finish("Chat", 1);
    EXPECT_EQ(text("texto"), "one");
    Clear_Tables_Of_The_Connection(*The_Mailbox_Mutex);
    EXPECT_EQ(text("texto"), "one");
}

// ---- Threads

// Three threads finish while new records take the places that get free, few enough that a place is soon taken again: a
// number that is marked done for another record leaves its own pending.
TEST_F(FinishTest, APlaceThatIsTakenAgainMarksNoOtherRecordAsDone)
{
    constexpr unsigned rounds = 3000;
    receive_chat("stays", 1);
    std::atomic<unsigned> announced{1};
    std::atomic<unsigned> next{2};
    std::atomic<unsigned> done{1};
    std::array<std::thread, 3> hosts;
    for (std::thread& each : hosts) {
        each = std::thread([&] {
            for (unsigned number = next++; number <= rounds; number = next++) {
                while (announced < number) {
                    std::this_thread::yield();
                }
                EXPECT_EQ(host.finish("Chat", number), 0);
                ++done;
            }
        });
    }
    for (unsigned number = 2; number <= rounds; ++number) {
        while (number - done > 3) {
            std::this_thread::yield();
        }
        receive(MessageBytes::Of(chat, number));
        announced = number;
    }
    for (std::thread& each : hosts) {
        each.join();
    }
    EXPECT_EQ(waiting_chats(), 1);
    EXPECT_EQ(position().processed, 0U);
    host.finish("Chat", 1); // nothing is pending behind it: it sets the number itself
    EXPECT_EQ(position().processed, 1U);
}

// A Logout clears the mailboxes under their lock and then closes the files: what was found there must be noted by then.
TEST_F(FinishTest, TheNumberIsNotedBeforeTheMailboxIsLetGo)
{
    constexpr int many_times = 1000;
    receive_chat("one", 7);
    L_proc_messages.lock();
    std::thread other([&] { EXPECT_EQ(host.finish("Chat", 1), 0); });
    for (int held = 0; held < many_times; ++held) {
        if (The_Mailbox_Mutex->try_lock()) {
            held = 0; // the other one hasn't come yet
            const bool is_gone = waiting_chats() == 0;
            The_Mailbox_Mutex->unlock();
            if (is_gone) {
                ADD_FAILURE() << "taken out, and not noted";
                break;
            }
        }
        std::this_thread::yield();
    }
    L_proc_messages.unlock();
    other.join();
    EXPECT_EQ(position().processed, 7U);
}

} // namespace
