// The library's tables and files against the market's, without a connection between them: what the one queues is handed
// to the other. Whatever both have, one dialogue makes the replica the market's table, in memory and in the file, and
// brings just what it lacks.
#include "session/table_dialogue.h"

#include "persis/pers_file.h"
#include "records/all_records.h"
#include "support/table_message_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using qm::Table;
using qm::TableDialogue;
using qm::TableRow;

constexpr std::uint32_t environment = 0x4F430000; // "CO"

struct KeptType
{
    int type;
    int code;
    const char* record;
    int body; // bytes behind the header
    unsigned file_code;
    const char* file;
};

// clang-format off
constexpr KeptType kept_types[] = {
    { 3,    22, "CGTBranches",     312, 102, "qapi.branches"},
    { 6,    21, "CGTInstit",       108, 101, "qapi.instit"},
    { 7,    30, "CGTSuperGroup",   277, 133, "qapi.supergrp"},
    { 8,    23, "CGTPu",            33, 129, "qapi.pryuser"},
    { 9,    25, "CGTCity",         135, 127, "qapi.city"},
    {11,    28, "CGTMoney",        146, 130, "qapi.money"},
    {12,    26, "CGTCountry",      253, 128, "qapi.country"},
    {13,    54, "CGTInsPerm",      276, 131, "qapi.insperm"},
    {14,    31, "CGTVoiceGroup",   303, 134, "qapi.voicegrp"},
    {18,    35, "CGTEmisores",      92, 135, "qapi.emis"},
    {19,    66, "CGTComitentes",   163, 136, "qapi.comitent"},
    {20, 32026, "CGTFiduciarios",   87, 137, "qapi.fiduciar"},
    {21, 32053, "CGTEmployee",     142, 139, "qapi.emp"},
    {22, 32055, "CGTEsquema",       96, 140, "qapi.esq"},
    {23, 32141, "CGTSubComitente",  63, 141, "qapi.subcomitent"},
};
// clang-format on
constexpr const KeptType& cities = kept_types[4];

CMessage* find(int type, std::uint32_t idx)
{
    const auto* found = std::find_if(std::begin(replica_types), std::end(replica_types),
                                     [&](const ReplicaType& each) { return each.type == type; });
    return found->find(idx);
}

// The last byte that counts for the CRC, from the body's first.
std::size_t last_counting_byte(const KeptType& kept)
{
    const auto classes = qapi::All_Record_Classes();
    const auto found = std::find_if(classes.begin(), classes.end(),
                                    [&](const auto& each) { return kept.record == std::string(each.name); });
    const FieldPlace* counting = found->layout().Crc32_Field();
    return static_cast<std::size_t>(counting->displacement + counting->len - 1 - 22);
}

class ReplicaDialogue : public TableMessages
{
protected:
    ReplicaDialogue()
    {
        TableWorld::Use_Scheme("AB");
        for (const KeptType& kept : kept_types) {
            COMMON_Global_Codes_Add(kept.type, kept.code);
            m_tables.Add(static_cast<std::uint16_t>(kept.code), kept.record, environment);
        }
    }

    // ---- Both sides

    Table& table(const KeptType& kept) { return *m_tables.Find(static_cast<std::uint16_t>(kept.code)); }

    // Contents of a key: two letters over and over, so that the key has them wherever it stands. `version` tells
    // contents of one key apart.
    static std::string body(const KeptType& kept, unsigned key, unsigned version)
    {
        std::string bytes;
        while (bytes.size() < static_cast<std::size_t>(kept.body)) {
            bytes += static_cast<char>('A' + key % 26);
            bytes += static_cast<char>('a' + key / 26);
        }
        bytes.resize(static_cast<std::size_t>(kept.body));
        bytes[last_counting_byte(kept)] = static_cast<char>('0' + version % 10);
        return bytes;
    }

    // The replica has this row, wherever it has it from.
    static void hold(const KeptType& kept, const TableRow& row)
    {
        Receive_Bytes(qm::Table_Message('I', static_cast<std::uint16_t>(kept.code), row));
    }
    void fill(const KeptType& kept, unsigned rows)
    {
        for (unsigned key = 0; key < rows; ++key) {
            table(kept).Insert(body(kept, key, 0));
        }
    }

    // ---- Sessions

    // The client is there again with what it has, and the market knows nothing of the session before.
    void connect()
    {
        Take_Sent();
        m_dialogue = std::make_unique<TableDialogue>();
        Receive({.letter = 'g', .data = TableMessage::word(1000, 4) + TableMessage::word(2000, 4) + "CO"});
    }

    // The process was killed and starts again: it has what its files have.
    static void kill()
    {
        Forget_Table_Files();
        for (const GlobalTable& table : All_Global_Tables()) {
            table.delete_all_records();
        }
    }

    std::vector<std::string> ask(const std::string& request)
    {
        return request.starts_with("888") ? m_dialogue->On_Request(request, m_tables).messages
                                          : std::vector<std::string>();
    }

    // Carries messages to and fro until none is left, or so many have come from the market. Gives their letters.
    std::string talk(std::size_t most = SIZE_MAX)
    {
        std::string letters;
        std::deque<std::string> requests;
        const auto take_requests = [&] {
            for (std::string& request : Take_Sent()) {
                requests.push_back(std::move(request));
            }
        };
        for (take_requests(); !requests.empty(); requests.pop_front()) {
            for (const std::string& answer : ask(requests.front())) {
                if (letters.size() == most) {
                    return letters;
                }
                letters += answer.at(3);
                Receive_Bytes(answer);
                take_requests();
            }
        }
        return letters;
    }

    static std::size_t records_in(const std::string& letters)
    {
        return static_cast<std::size_t>(std::count(letters.begin(), letters.end(), 'I'));
    }

    std::size_t missing(const KeptType& kept)
    {
        CTableBase& replica = Table_Of_Type(kept.type)->get();
        std::size_t count = 0;
        for (const auto& [idx, row] : table(kept).rows()) {
            count += replica.Get_Record_By_Env_Crc32({row.crc32, row.environment}) == nullptr ? 1 : 0;
        }
        return count;
    }
    std::size_t missing()
    {
        std::size_t count = 0;
        for (const KeptType& kept : kept_types) {
            count += missing(kept);
        }
        return count;
    }

    // ---- What a dialogue leaves

    void expect_equal_in_memory(const KeptType& kept)
    {
        EXPECT_EQ(static_cast<std::size_t>(records_of_type(kept.type)), table(kept).rows().size());
        for (const auto& [idx, row] : table(kept).rows()) {
            CMessage* record = find(kept.type, idx);
            ASSERT_NE(record, nullptr) << idx;
            EXPECT_EQ(std::string(record->m_data + 22, static_cast<std::size_t>(kept.body)), row.body);
            EXPECT_EQ(record->m_env_crc32, (DLONG{row.crc32, row.environment}));
            EXPECT_EQ((DLONG{record->Word_Of(CRC32), record->Word_Of(ENVIRONMENT)}), record->m_env_crc32);
            EXPECT_EQ(record->Word_Of(REC_IDX), idx);
            EXPECT_EQ(Table_Of_Type(kept.type)->get().Get_Record_By_Env_Crc32(record->m_env_crc32), record);
        }
        EXPECT_EQ(Table_Of_Type(kept.type)->get().Get_Crc32(), table(kept).Hash());
    }

    // By a reader of its own.
    void expect_equal_in_file(const KeptType& kept)
    {
        std::multimap<std::string, std::string> expected;
        for (const auto& [idx, row] : table(kept).rows()) {
            expected.emplace(TableMessage::word(row.crc32, 4) + TableMessage::word(row.environment, 4), row.body);
        }
        const auto size = static_cast<unsigned>(kept.body) + 19;
        CPersFile file(kept.file_code, kept.file, size);
        ASSERT_EQ(file.Open(DO_NOT_RENAME), 1);
        std::multimap<std::string, std::string> found;
        std::string bytes(size, '\0');
        std::string identity(8, '\0');
        for (unsigned slot = 1; file.Load_Next_Record(&slot, bytes.data(), identity.data()) != 0; ++slot) {
            found.emplace(identity, bytes.substr(0, static_cast<std::size_t>(kept.body)));
        }
        EXPECT_EQ(found, expected);
    }

    void expect_equal(const KeptType& kept)
    {
        SCOPED_TRACE(kept.record);
        expect_equal_in_memory(kept);
        expect_equal_in_file(kept);
    }
    void expect_equal()
    {
        for (const KeptType& kept : kept_types) {
            expect_equal(kept);
        }
    }

    // Another one has nothing to say.
    void expect_equal_hashes()
    {
        connect();
        for (const std::string& request : Take_Sent()) {
            const std::vector<std::string> answers = ask(request);
            EXPECT_TRUE(!request.starts_with("888") || (answers.size() == 1 && answers.front().at(3) == 'z'));
        }
    }

    qm::Tables m_tables;
    std::unique_ptr<TableDialogue> m_dialogue = std::make_unique<TableDialogue>();
};

// ---- Single cases

TEST_F(ReplicaDialogue, NewClientGetsAllTables)
{
    for (const KeptType& kept : kept_types) {
        fill(kept, 3);
    }
    connect();
    EXPECT_EQ(talk(), "IIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIzIIIz");
    expect_equal();
    EXPECT_TRUE(Take_Primary_Tables_Received());
    expect_equal_hashes();
}

TEST_F(ReplicaDialogue, RestartedClientGetsNumbersAlone)
{
    fill(cities, 300);
    table(cities).Delete(1); // so that its numbers aren't those of a load
    connect();
    talk();
    kill();
    connect();
    EXPECT_EQ(talk(), "zzzHLzzzzzzzzzzzz");
    expect_equal();
    expect_equal_hashes();
}

TEST_F(ReplicaDialogue, LostFileCostsItsTableAlone)
{
    fill(kept_types[0], 5);
    fill(cities, 4);
    connect();
    talk();
    kill();
    std::filesystem::remove(scratch.path("qapi.city"));
    connect();
    EXPECT_EQ(records_in(talk()), 4U);
    expect_equal();
}

TEST_F(ReplicaDialogue, SecondConnectionKeepsWhatIsInMemory)
{
    fill(cities, 4);
    connect();
    talk();
    std::filesystem::remove(scratch.path("qapi.city"));
    connect();
    EXPECT_EQ(records_in(talk()), 0U);
    expect_equal_in_memory(cities);
}

TEST_F(ReplicaDialogue, HundredsOfMissingRecordsAreAskedForInSeveralMessages)
{
    fill(cities, 1);
    connect();
    talk();
    fill(cities, 676);
    table(cities).Delete(2); // the first city once more
    connect();
    EXPECT_EQ(records_in(talk()), 675U);
    expect_equal();
}

TEST_F(ReplicaDialogue, ListThatWasCutIsForgotten)
{
    fill(cities, 600);
    connect();
    talk();
    kill();
    for (std::uint32_t idx = 100; idx < 400; ++idx) {
        table(cities).Delete(idx);
    }
    for (unsigned key = 100; key < 400; key += 2) {
        table(cities).Insert(body(cities, key, 1));
    }
    connect();
    EXPECT_EQ(talk(4), "zzzH");
    connect();
    EXPECT_EQ(records_in(talk()), 150U);
    expect_equal();
    expect_equal_hashes();
}

// One dialogue takes the record for the other row, since contents aren't compared.
TEST_F(ReplicaDialogue, IdentityOfAnotherRowIsMadeGoodByTheNextDialogue)
{
    fill(cities, 2);
    connect();
    talk();
    const auto& rows = table(cities).rows();
    TableRow impostor = rows.at(1);
    impostor.crc32 = rows.at(2).crc32;
    Receive({.letter = 'B', .code = static_cast<unsigned>(cities.code), .idx = 2});
    hold(cities, impostor);
    connect();
    EXPECT_EQ(records_in(talk()), 1U);
    EXPECT_EQ(records_of_type(CITIES_CODE_ID), 1);
    connect();
    EXPECT_EQ(records_in(talk()), 1U);
    expect_equal();
    expect_equal_hashes();
}

TEST_F(ReplicaDialogue, EmptyListEmptiesTheFileToo)
{
    fill(cities, 3);
    connect();
    talk();
    for (std::uint32_t idx = 1; idx <= 3; ++idx) {
        table(cities).Delete(idx);
    }
    connect();
    EXPECT_EQ(records_in(talk()), 0U);
    EXPECT_EQ(records_of_type(CITIES_CODE_ID), 0);
    expect_equal();
}

// ---- Large tables: 16 bits of a query tell the number of records, and the market doesn't look at them

class LargeTable : public ReplicaDialogue, public ::testing::WithParamInterface<unsigned>
{
protected:
    static constexpr const KeptType& primary_users = kept_types[3];
    static std::string user(unsigned key, char version)
    {
        return TableMessage::word(key, 4) + std::string(28, '.') + version;
    }
};

TEST_P(LargeTable, IsMadeEqualByWhatItLacks)
{
    Table& users = table(primary_users);
    for (unsigned key = 0; key < GetParam(); ++key) {
        users.Insert(user(key, 'a'));
    }
    connect();
    EXPECT_EQ(records_in(talk()), GetParam());
    kill();
    users.Update(3, user(2, 'b'));
    users.Delete(GetParam());
    users.Insert(user(GetParam(), 'a'));
    connect();
    EXPECT_EQ(records_of_type(PRIMARY_USERS_CODE_ID), static_cast<int>(GetParam()));
    EXPECT_EQ(records_in(talk()), 2U);
    expect_equal(primary_users);
    expect_equal_hashes();
}
INSTANTIATE_TEST_SUITE_P(Counts, LargeTable, ::testing::Values(65535U, 65536U, 100'000U));

// ---- Any states

class AnyStates : public ReplicaDialogue, public ::testing::WithParamInterface<unsigned>
{
protected:
    static constexpr int rounds = 10; // of fifteen tables each

    AnyStates() // the files are there
    {
        connect();
        talk();
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // ---- The market's side

    static unsigned key_of(const TableRow& row)
    {
        return static_cast<unsigned>(row.body[0] - 'A') + 26 * static_cast<unsigned>(row.body[1] - 'a');
    }
    std::uint32_t any_idx(const KeptType& kept)
    {
        auto row = table(kept).rows().begin();
        std::advance(row, below(static_cast<unsigned>(table(kept).rows().size())));
        return row->first;
    }
    bool has_key(const KeptType& kept, unsigned key)
    {
        const auto& rows = table(kept).rows();
        return std::any_of(rows.begin(), rows.end(), [&](const auto& each) { return key_of(each.second) == key; });
    }

    // One change; gives what a client that is live gets of it.
    std::vector<std::string> change(const KeptType& kept)
    {
        const auto code = static_cast<std::uint16_t>(kept.code);
        Table& its = table(kept);
        const unsigned key = below(keys);
        char letter = 'B';
        TableRow row;
        if (!has_key(kept, key)) {
            letter = 'I';
            row = its.Insert(body(kept, key, below(3)));
        } else if (row.idx = any_idx(kept); below(2) == 0) {
            letter = 'A';
            row = *its.Update(row.idx, body(kept, key_of(its.rows().at(row.idx)), below(10)));
        } else {
            its.Delete(row.idx);
        }
        if (m_dialogue->Wants_Change(code, letter, row.idx)) {
            return {qm::Table_Message(letter, code, row)};
        }
        return {};
    }
    void change_market(const KeptType& kept)
    {
        if (below(8) == 0) {
            table(kept) = Table(static_cast<std::uint16_t>(kept.code), kept.record, environment);
        }
        for (unsigned changes = below(10); changes > 0; --changes) {
            change(kept);
        }
    }

    // ---- The replica's side

    // The same contents and identity, perhaps under another idx.
    void take_over(const KeptType& kept, TableRow row)
    {
        row.idx = below(2) == 0 ? row.idx : below(60);
        hold(kept, row);
    }
    void take_over_changed(const KeptType& kept, TableRow row)
    {
        row.crc32 = static_cast<std::uint32_t>(m_random());
        row.idx = below(2) == 0 ? row.idx : below(60);
        if (below(2) == 0) { // or with the same contents
            row.body = body(kept, key_of(row), below(10));
        }
        hold(kept, row);
    }
    void take_its_own(const KeptType& kept)
    {
        const auto crc = static_cast<std::uint32_t>(m_random());
        hold(kept, {.idx = below(60), .crc32 = crc, .environment = environment, .body = body(kept, below(keys), 9)});
    }
    void lose(const KeptType& kept, std::uint32_t idx)
    {
        Receive({.letter = 'B', .code = static_cast<unsigned>(kept.code), .idx = idx});
    }
    void change_replica(const KeptType& kept)
    {
        for (unsigned lost = below(8); lost > 0; --lost) {
            lose(kept, below(60));
        }
        for (unsigned changes = below(6); changes > 0; --changes) {
            const unsigned kind = table(kept).rows().empty() ? 3 : below(4);
            if (kind == 3) {
                take_its_own(kept);
            } else if (const TableRow row = table(kept).rows().at(any_idx(kept)); kind == 2) {
                take_over_changed(kept, row);
            } else {
                take_over(kept, row);
            }
        }
    }
    void kill_and_lose_files()
    {
        const unsigned share = below(4);
        for (const KeptType& kept : kept_types) {
            if (below(4) < share) {
                std::filesystem::remove(scratch.path(kept.file));
            }
        }
        kill();
    }

    void change_both()
    {
        for (const KeptType& kept : kept_types) {
            change_market(kept);
            change_replica(kept);
        }
        if (below(6) == 0) {
            kill_and_lose_files();
        }
    }

    // ---- Rounds

    // A session of which the replica has seen the beginning.
    void cut_session()
    {
        connect();
        talk(below(200));
    }

    // Messages are under way in both directions while the market's rows change.
    void talk_beside_changes()
    {
        std::deque<std::string> requests;
        std::deque<std::string> answers;
        const auto append = [](std::deque<std::string>& to, const std::vector<std::string>& from) {
            to.insert(to.end(), from.begin(), from.end());
        };
        append(requests, Take_Sent());
        for (int step = 0; step < 300 || !requests.empty() || !answers.empty(); ++step) {
            const unsigned turn = below(3);
            if (turn == 0 && step < 300) {
                append(answers, change(kept_types[below(std::size(kept_types))]));
            } else if (turn == 1 && !requests.empty()) {
                append(answers, ask(requests.front()));
                requests.pop_front();
            } else if (!answers.empty()) {
                Receive_Bytes(answers.front());
                append(requests, Take_Sent());
                answers.pop_front();
            }
        }
    }

    void expect_a_dialogue_that_sends_what_is_missing()
    {
        connect();
        const std::size_t lacking = missing();
        EXPECT_EQ(records_in(talk()), lacking);
        expect_equal();
        expect_equal_hashes();
    }

    static constexpr unsigned keys = 40;
    std::mt19937 m_random{GetParam()};
};

TEST_P(AnyStates, OneDialogueMakesThemEqualAndSendsWhatIsMissing)
{
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        change_both();
        expect_a_dialogue_that_sends_what_is_missing();
    }
}

TEST_P(AnyStates, WholeDialogueMakesGoodWhatACutOneLeft)
{
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        change_both();
        cut_session();
        change_both();
        expect_a_dialogue_that_sends_what_is_missing();
    }
}

TEST_P(AnyStates, ChangesMeanwhileArriveBehindTheDialogue)
{
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        change_both();
        connect();
        talk_beside_changes();
        expect_equal();
        expect_equal_hashes();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AnyStates, ::testing::Range(0U, 8U));

} // namespace
