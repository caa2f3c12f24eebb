// The market's side of the dialogue by hashes, against a client that keeps its own copy.
#include "session/table_dialogue.h"

#include "market/support/replica.h"
#include "support/market_records.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

namespace {

using qm::Table;
using qm::TableDialogue;
using qm::TableRow;
using std::string_literals::operator""s;

constexpr std::uint16_t code = 25;
constexpr std::uint16_t unknown = 99;
constexpr std::uint32_t environment = 0x4F430000; // "CO"

Replica::Row as_replicated(const TableRow& row)
{
    return {{row.crc32, row.environment}, row.body};
}

std::string identity(const TableRow& row)
{
    return market::Record(8).u32(0, row.crc32).u32(4, row.environment).bytes();
}

// The letters of messages.
std::string letters(const std::vector<std::string>& messages)
{
    std::string all;
    for (const std::string& each : messages) {
        all += each.at(3);
    }
    return all;
}

class TableDialogueTest : public testing::Test
{
protected:
    TableDialogueTest() : m_table(m_tables.Add(code, "", environment)) {}

    void fill(int rows)
    {
        for (int row = 0; row < rows; ++row) {
            m_table.Insert("row " + std::to_string(row));
        }
    }
    void copy_to(Replica& replica) const
    {
        for (const auto& [idx, row] : m_table.rows()) {
            replica.put(idx, as_replicated(row));
        }
    }
    std::vector<std::string> ask(const std::string& message)
    {
        TableDialogue::Answer answer = m_dialogue.On_Request(message, m_tables);
        m_note = answer.note;
        return answer.messages;
    }
    std::vector<std::string> ask(char letter, std::string_view identities = {}, std::uint16_t table = code)
    {
        return ask(Replica(table).request(letter, identities));
    }
    void open() // a dialogue
    {
        ASSERT_EQ(letters(ask('Q')).back(), 'L');
    }

    // What the market does when a row changes: the message, if the client is to have it now.
    std::vector<std::string> changed(char letter, const TableRow& row)
    {
        if (m_dialogue.Wants_Change(code, letter, row.idx)) {
            return {qm::Table_Message(letter, code, row)};
        }
        return {};
    }
    std::vector<std::string> insert(const std::string& body) { return changed('I', m_table.Insert(body)); }
    std::vector<std::string> update(std::uint32_t idx, const std::string& body)
    {
        return changed('A', *m_table.Update(idx, body));
    }
    std::vector<std::string> remove(std::uint32_t idx)
    {
        EXPECT_TRUE(m_table.Delete(idx));
        return changed('B', {.idx = idx});
    }

    void talk(Replica& replica)
    {
        std::deque<std::string> requests{replica.begin()};
        for (; !requests.empty(); requests.pop_front()) {
            for (const std::string& message : ask(requests.front())) {
                for (std::string& answer : replica.take(message)) {
                    requests.push_back(std::move(answer));
                }
            }
        }
    }
    void expect_equal(const Replica& replica)
    {
        Replica expected(code);
        copy_to(expected);
        EXPECT_EQ(replica.rows(), expected.rows());
        EXPECT_EQ(replica.hash(), m_table.Hash());
    }

    qm::Tables m_tables;
    Table& m_table;
    TableDialogue m_dialogue;
    std::string m_note;
};

// ---- Subscriptions

TEST_F(TableDialogueTest, SubscriptionGivesTheWholeTable)
{
    fill(2);
    EXPECT_EQ(ask('S'), m_table.Whole());
    EXPECT_TRUE(m_dialogue.is_subscribed(code));
}

TEST_F(TableDialogueTest, UnknownTableEndsAtOnce)
{
    EXPECT_EQ(ask('S', {}, unknown), std::vector{market::EndOfTable(unknown)});
    EXPECT_EQ(ask('Q', {}, unknown), std::vector{market::EndOfTable(unknown)});
    EXPECT_FALSE(m_dialogue.is_open(unknown));
    EXPECT_TRUE(m_dialogue.is_subscribed(unknown)) << "it may come to be";
}

TEST_F(TableDialogueTest, ChangesGoToSubscribedTablesOnly)
{
    EXPECT_TRUE(insert("before").empty());
    ask('S');
    EXPECT_EQ(letters(insert("behind")), "I");
    EXPECT_EQ(letters(update(1, "other")), "A");
    EXPECT_EQ(letters(remove(1)), "B");
    EXPECT_FALSE(m_dialogue.Wants_Change(unknown, 'I', 1));
}

TEST_F(TableDialogueTest, EqualReplicaGetsTheEndAndThenChanges)
{
    fill(3);
    Replica replica(code);
    copy_to(replica);
    EXPECT_EQ(ask(replica.begin()), std::vector{market::EndOfTable(code)});
    EXPECT_FALSE(m_dialogue.is_open(code));
    EXPECT_EQ(letters(insert("new")), "I");
}

// ---- Between the query and the last ask

TEST_F(TableDialogueTest, NothingIsSentUntilTheLastAsk)
{
    fill(2);
    open();
    EXPECT_TRUE(insert("new").empty());
    EXPECT_TRUE(update(1, "other").empty());
    EXPECT_TRUE(remove(2).empty());
    EXPECT_TRUE(ask('N', identity(m_table.rows().at(1))).empty());
    EXPECT_TRUE(m_dialogue.is_open(code));
}

TEST_F(TableDialogueTest, ChangesFollowTheEndAsWhatTheyHaveComeTo)
{
    fill(2);
    open();
    insert("new");
    update(3, "newer");
    update(1, "other");
    remove(2);
    const std::vector<std::string> expected{
        market::EndOfTable(code), qm::Table_Message('I', code, m_table.rows().at(1)),
        qm::Table_Message('B', code, {.idx = 2}), qm::Table_Message('I', code, m_table.rows().at(3))};
    EXPECT_EQ(ask('P'), expected);
    EXPECT_FALSE(m_dialogue.is_open(code));
    EXPECT_EQ(letters(insert("live")), "I");
}

TEST_F(TableDialogueTest, RowThatCameAndWentIsForgotten)
{
    fill(1);
    open();
    for (int round = 0; round < 1000; ++round) {
        insert("passing");
        remove(m_table.rows().rbegin()->first);
    }
    EXPECT_EQ(letters(ask('P')), "z");
}

TEST_F(TableDialogueTest, AsksAreCollectedUpToTheLastOne)
{
    fill(3);
    open();
    EXPECT_TRUE(ask('N', identity(m_table.rows().at(3))).empty());
    EXPECT_EQ(ask('P', identity(m_table.rows().at(1))),
              m_table.Answer_Asks(identity(m_table.rows().at(1)) + identity(m_table.rows().at(3))));
    EXPECT_EQ(letters(ask('P')), "z") << "what was asked for has been given";
}

TEST_F(TableDialogueTest, MoreAsksThanTheListHadRowsAreDropped)
{
    fill(2);
    open();
    const std::string real = identity(m_table.rows().at(1));
    ask('N', real + "nonsense" + real);
    ask('N', identity(m_table.rows().at(2)));
    EXPECT_EQ(ask('P'), m_table.Answer_Asks(real));
}

TEST_F(TableDialogueTest, AskHasAsManyIdentitiesAsItHasBytesFor)
{
    fill(2);
    open();
    const std::string first = identity(m_table.rows().at(1));
    const std::string second = identity(m_table.rows().at(2));
    std::string message = Replica(code).request('N', first + second);
    ask(message.substr(0, message.size() - 1));
    EXPECT_EQ(ask('P', second), m_table.Answer_Asks(first + second));
    message[6] = 1;
    message[3] = 'P';
    EXPECT_EQ(ask(message), m_table.Answer_Asks(first)) << "its count says one";
}

TEST_F(TableDialogueTest, SecondQueryBeginsAgain)
{
    fill(3);
    open();
    ask('N', identity(m_table.rows().at(1)));
    update(2, "other");
    open();
    EXPECT_EQ(letters(ask('P')), "z");
}

TEST_F(TableDialogueTest, SubscriptionInsteadOfAsksTellsOfDeletionsToo)
{
    fill(2);
    open();
    remove(1);
    EXPECT_EQ(letters(ask('S')), "BIz");
    EXPECT_FALSE(m_dialogue.is_open(code));
}

// ---- Requests that are none

TEST_F(TableDialogueTest, ClientDeletesNothing)
{
    fill(1);
    EXPECT_TRUE(ask('B').empty());
    EXPECT_EQ(m_note, "a client deletes no records of the market's tables");
    EXPECT_EQ(m_table.rows().size(), 1U);
}

TEST_F(TableDialogueTest, AskWithoutAListIsNoted)
{
    fill(1);
    EXPECT_TRUE(ask('N', identity(m_table.rows().at(1))).empty());
    EXPECT_EQ(m_note, "records are asked for without a list");
    EXPECT_TRUE(ask('P', {}, unknown).empty());
    EXPECT_NE(m_note, "");
}

TEST_F(TableDialogueTest, WhatIsNoRequestIsNoted)
{
    const std::string query = Replica(code).request('Q');
    for (const std::string& message :
         {""s, "888"s, query.substr(0, 21), "887" + query.substr(3), "888I" + query.substr(4)}) {
        EXPECT_TRUE(ask(message).empty()) << message;
        EXPECT_NE(m_note, "") << message;
    }
    EXPECT_FALSE(m_dialogue.is_subscribed(code));
    ask(query);
    EXPECT_EQ(m_note, "");
}

// ---- Whole dialogues

class RandomDialogue : public TableDialogueTest, public testing::WithParamInterface<unsigned>
{
protected:
    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }
    std::string body() { return "row " + std::to_string(below(5000)); }
    std::uint32_t any_idx()
    {
        auto row = m_table.rows().begin();
        std::advance(row, below(static_cast<unsigned>(m_table.rows().size())));
        return row->first;
    }
    std::vector<std::string> change()
    {
        if (m_table.rows().empty() || below(3) == 0) {
            return insert(body());
        }
        return below(2) == 0 ? update(any_idx(), body()) : remove(any_idx());
    }

    // Of the market's rows the replica has about `share` in ten, some under another idx, and rows of its own.
    void fill_both(Replica& replica, unsigned rows, unsigned share)
    {
        for (; rows > 0; --rows) {
            m_table.Insert(body());
        }
        for (const auto& [idx, row] : m_table.rows()) {
            if (below(10) < share) {
                replica.put(below(4) == 0 ? idx + 1 : idx, as_replicated(row));
            }
        }
        for (unsigned own = below(1 + share * 20); own > 0; --own) {
            replica.put(below(2000), {{static_cast<std::uint32_t>(m_random()), environment}, "own"});
        }
    }
    std::size_t missing_from(const Replica& replica) const
    {
        std::set<Replica::Identity> own;
        for (const auto& [idx, row] : replica.rows()) {
            own.insert(row.identity);
        }
        std::size_t missing = 0;
        for (const auto& [idx, row] : m_table.rows()) {
            missing += own.contains({row.crc32, row.environment}) ? 0 : 1;
        }
        return missing;
    }

    std::mt19937 m_random{GetParam()};
};

TEST_P(RandomDialogue, LeavesTheReplicaEqualAndSendsWhatIsMissing)
{
    Replica replica(code);
    fill_both(replica, below(900), below(11));
    const std::size_t missing = missing_from(replica);
    talk(replica);
    EXPECT_TRUE(replica.is_complete());
    EXPECT_EQ(replica.received(), missing);
    expect_equal(replica);
}

TEST_P(RandomDialogue, LeavesTheReplicaEqualWhateverChangesMeanwhile)
{
    Replica replica(code);
    fill_both(replica, below(60), below(11));
    std::deque<std::string> requests{replica.begin()};
    std::deque<std::string> answers;
    for (int step = 0; step < 400 || !requests.empty() || !answers.empty(); ++step) {
        std::vector<std::string> sent;
        if (const unsigned turn = below(3); turn == 0 && step < 400) {
            sent = change();
        } else if (turn == 1 && !requests.empty()) {
            sent = ask(requests.front());
            requests.pop_front();
        } else if (!answers.empty()) {
            const std::vector<std::string> more = replica.take(answers.front());
            requests.insert(requests.end(), more.begin(), more.end());
            answers.pop_front();
        }
        answers.insert(answers.end(), sent.begin(), sent.end());
    }
    EXPECT_TRUE(replica.is_complete());
    expect_equal(replica);
}

TEST_P(RandomDialogue, SecondOneSendsNothing)
{
    Replica replica(code);
    fill_both(replica, 1 + below(100), 5);
    talk(replica);
    const std::size_t lists = replica.lists();
    const std::size_t received = replica.received();
    talk(replica);
    EXPECT_EQ(replica.lists(), lists);
    EXPECT_EQ(replica.received(), received);
    expect_equal(replica);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDialogue, testing::Range(0U, 40U));

TEST_F(TableDialogueTest, ListIsEmptyWhenTheMarketsTableIs)
{
    Replica replica(code);
    replica.put(7, {{1, environment}, "left over"});
    talk(replica);
    EXPECT_TRUE(replica.is_complete());
    EXPECT_EQ(replica.lists(), 1U);
    expect_equal(replica);
}

TEST_F(TableDialogueTest, HundredsOfMissingRowsAreAskedForInTwoMessages)
{
    for (const int rows : {319, 320, 321}) {
        m_table = Table(code, "", environment);
        fill(rows);
        Replica replica(code);
        replica.put(1000, {{1, environment}, "left over"});
        talk(replica);
        EXPECT_EQ(replica.asked(), static_cast<std::size_t>(rows));
        EXPECT_EQ(replica.received(), static_cast<std::size_t>(rows));
        expect_equal(replica);
    }
}

} // namespace
