// What a client gets of the stored messages, in which order, and between which marks.
#include "session/log_rounds.h"

#include "support/market_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace qm {

// For complaints of tests.
static bool operator==(const LogPosition& one, const LogPosition& other)
{
    return one.log == other.log && one.date == other.date && one.number == other.number;
}

} // namespace qm

namespace {

using qm::Audience;
using qm::Log;
using qm::LogPosition;
using qm::LogRounds;
using qm::MessageStore;
using std::string_literals::operator""s;

constexpr const char* today = "20260115";
constexpr const char* yesterday = "20260114";

// ---- Requests

std::string entry(char letter, const std::string& server, const std::string& date, std::uint32_t number)
{
    return market::Record(25).letter(0, letter).text(1, server, 2).text(3, date, 8).u32(17, number).bytes();
}

std::string request(const std::string& entries)
{
    return market::Record(203, 983).text(83, entries, entries.size()).bytes();
}

std::vector<LogPosition> taken(const std::string& entries)
{
    return qm::Take_Log_Request(request(entries), "AB");
}

TEST(LogRequestTest, HasAPositionForEachLog)
{
    const std::vector<LogPosition> expected{{Log::P, yesterday, 0x01020304}, {Log::A, today, 5}, {Log::B, "", 0}};
    EXPECT_EQ(taken(entry('P', "AB", yesterday, 0x01020304) + entry('A', "AB", today, 5) + entry('B', "AB", "", 0)),
              expected);
}

TEST(LogRequestTest, OtherServersAndLettersArePassedOver)
{
    const std::vector<LogPosition> expected{{Log::A, today, 5}};
    EXPECT_EQ(taken(entry('P', "CD", today, 1) + entry('C', "AB", today, 2) + entry('\0', "AB", today, 3) +
                    entry('a', "AB", today, 4) + entry('A', "AB", today, 5)),
              expected);
}

TEST(LogRequestTest, EntryOfZerosEndsIt)
{
    EXPECT_TRUE(taken(std::string(25, '\0') + entry('A', "AB", today, 5)).empty());
}

TEST(LogRequestTest, FirstPositionOfALogHolds)
{
    const std::vector<LogPosition> expected{{Log::A, today, 5}};
    std::string entries;
    for (std::uint32_t number = 5; number < 41; ++number) {
        entries += entry('A', "AB", today, number);
    }
    EXPECT_EQ(taken(entries), expected);
}

TEST(LogRequestTest, OfAnyLengthGivesItsWholeEntries)
{
    const std::string whole = request(entry('P', "AB", today, 1) + entry('A', "AB", today, 2));
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::size_t expected = size < 108 ? 0 : size < 133 ? 1 : 2;
        EXPECT_EQ(qm::Take_Log_Request(whole.substr(0, size), "AB").size(), expected) << size;
    }
}

TEST(LogRequestTest, ServerIsNamedByTwoCharacters)
{
    EXPECT_TRUE(qm::Take_Log_Request(request(entry('A', "AB", today, 1)), "").empty());
    EXPECT_TRUE(qm::Take_Log_Request(request(entry('A', "AB", today, 1)), "ABC").empty());
}

// ---- Rounds

class LogRoundsTest : public testing::Test
{
protected:
    void store(char name, Log log = Log::A, const Audience& audience = Audience::All(), const char* date = today)
    {
        m_store.Add(log, date, static_cast<std::uint16_t>(100 + name), audience, std::string(84, name));
    }
    void store_all(const std::string& names)
    {
        for (const char name : names) {
            store(name);
        }
    }
    void begin(const std::vector<LogPosition>& positions = {{.log = Log::A}})
    {
        m_rounds.Begin(positions, m_party, today, m_store.size());
    }

    // What is sent, at most so much: '<' and '>' for the marks, else a message's name.
    std::string sent(std::size_t most = 1000)
    {
        std::string all;
        while (all.size() < most) {
            const auto item = m_rounds.Next(m_store);
            if (!item) {
                break;
            }
            const std::string number(item->message.substr(0, 3));
            all += number == "204" ? '<' : number == "205" ? '>' : item->message.back();
        }
        return all;
    }

    MessageStore m_store;
    qm::Party m_party{.machine = "L001", .user = "U001", .branch = "INSTBOGA"};
    LogRounds m_rounds{"DSAB"};
};

TEST_F(LogRoundsTest, NothingComesBeforeTheRequest)
{
    store_all("ab");
    EXPECT_FALSE(m_rounds.Begin_Second());
    EXPECT_EQ(sent(), "");
    EXPECT_FALSE(m_rounds.is_live());
}

TEST_F(LogRoundsTest, TwoRoundsAndThenWhatComes)
{
    store_all("ab");
    begin();
    EXPECT_EQ(sent(), "<ab>");
    store_all("cd");
    EXPECT_EQ(sent(), "");
    EXPECT_TRUE(m_rounds.Begin_Second());
    EXPECT_FALSE(m_rounds.is_live());
    EXPECT_EQ(sent(), "<cd>");
    EXPECT_TRUE(m_rounds.is_live());
    store_all("e");
    EXPECT_EQ(sent(), "e");
    EXPECT_EQ(sent(), "");
}

TEST_F(LogRoundsTest, RoundsMayBeEmpty)
{
    begin();
    EXPECT_EQ(sent(), "<>");
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(), "<>");
    EXPECT_TRUE(m_rounds.is_live());
}

TEST_F(LogRoundsTest, RoundHasWhatWasStoredWhenItWasAskedFor)
{
    store_all("ab");
    begin();
    store_all("c");
    EXPECT_EQ(sent(2), "<a");
    store_all("d");
    EXPECT_EQ(sent(), "b>");
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(2), "<c");
    store_all("e");
    EXPECT_FALSE(m_rounds.is_live());
    EXPECT_EQ(sent(), "d>e");
}

TEST_F(LogRoundsTest, FirstRoundHasWhatThePositionsWant)
{
    store('a', Log::A, Audience::All(), yesterday);
    store_all("bcd");
    store('e', Log::B);
    store('f', Log::P);
    begin({{.log = Log::A, .date = today, .number = 2}, {.log = Log::B, .date = yesterday, .number = 9}});
    EXPECT_EQ(sent(), "<de>");
}

TEST_F(LogRoundsTest, WithoutADateTheFirstRoundHasTodays)
{
    store('a', Log::A, Audience::All(), yesterday);
    store('b');
    begin({{.log = Log::A}});
    EXPECT_EQ(sent(), "<b>");
}

TEST_F(LogRoundsTest, WhatComesLaterIsWantedWhateverThePositions)
{
    begin({{.log = Log::A, .date = "20270101", .number = 1000}});
    store('a');
    store('b', Log::P);
    EXPECT_EQ(sent(), "<>");
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(), "<ab>");
    store('c', Log::B);
    EXPECT_EQ(sent(), "c");
}

TEST_F(LogRoundsTest, MessagesForOthersAreLeftOut)
{
    const Audience us{.users = {"U001"}};
    const Audience others{.users = {"U002"}};
    store('a', Log::A, us);
    store('b', Log::A, others);
    begin();
    EXPECT_EQ(sent(), "<a>");
    store('c', Log::A, others);
    store('d', Log::A, us);
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(), "<d>");
    store('e', Log::A, others);
    store('f', Log::A, us);
    EXPECT_EQ(sent(), "f");
}

TEST_F(LogRoundsTest, SecondRequestThatComesEarlyIsKept)
{
    store_all("ab");
    begin();
    EXPECT_EQ(sent(2), "<a");
    EXPECT_TRUE(m_rounds.Begin_Second());
    store_all("c");
    EXPECT_EQ(sent(), "b><c>");
}

TEST_F(LogRoundsTest, ThereIsNoThirdRound)
{
    begin();
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(3), "<><");
    EXPECT_FALSE(m_rounds.Begin_Second());
    EXPECT_EQ(sent(), ">");
    EXPECT_FALSE(m_rounds.Begin_Second());
    EXPECT_EQ(sent(), "");
    EXPECT_TRUE(m_rounds.is_live());
}

TEST_F(LogRoundsTest, NewRequestBeginsAgain)
{
    store_all("abc");
    begin();
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(), "<abc><>");
    begin({{.log = Log::A, .date = today, .number = 1}});
    EXPECT_FALSE(m_rounds.is_live());
    EXPECT_EQ(sent(), "<bc>");
    m_rounds.Begin_Second();
    EXPECT_EQ(sent(), "<>");
    EXPECT_TRUE(m_rounds.is_live());
}

TEST_F(LogRoundsTest, MarksAreMessagesOfTheServer)
{
    const market::Cabeza cabeza{.machine = "DSAB", .server = "AB", .hour = "", .date = ""};
    begin();
    EXPECT_EQ(m_rounds.Next(m_store)->message, market::Make(204, 92, cabeza));
    EXPECT_EQ(m_rounds.Next(m_store)->message, market::Make(205, 123, cabeza));
}

TEST_F(LogRoundsTest, MessagesKeepTheirPriority)
{
    store('a');
    begin();
    EXPECT_EQ(m_rounds.Next(m_store)->priority, 5) << "of 204";
    EXPECT_EQ(m_rounds.Next(m_store)->priority, 100 + 'a');
    EXPECT_EQ(m_rounds.Next(m_store)->priority, 75) << "of 205";
}

TEST_F(LogRoundsTest, AnyOrderOfThingsGivesEachMessageOnce)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        m_store = MessageStore();
        m_rounds = LogRounds("DSAB");
        std::string expected;
        std::string all;
        bool has_begun = false;
        while (expected.size() < 20) {
            switch (random() % 4) {
            case 0:
                expected += static_cast<char>('a' + expected.size());
                store(expected.back());
                break;
            case 1:
                all += sent(random() % 4);
                break;
            case 2:
                if (!has_begun) {
                    begin();
                }
                has_begun = true;
                break;
            default:
                m_rounds.Begin_Second();
            }
        }
        if (!has_begun) {
            begin();
        }
        all += sent();
        m_rounds.Begin_Second();
        all += sent();
        EXPECT_EQ(std::count(all.begin(), all.end(), '<'), 2) << all;
        std::erase_if(all, [](char each) { return each == '<' || each == '>'; });
        EXPECT_EQ(all, expected);
    }
}

} // namespace
