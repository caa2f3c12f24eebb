// What the market has given out, in memory and in a file that may end anywhere.
#include "store/message_store.h"

#include "support/scratch_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace {

using qm::Audience;
using qm::Log;
using qm::LogPosition;
using qm::MessageStore;
using qm::StoredMessage;
using std::string_literals::operator""s;
using testing::HasSubstr;

constexpr const char* today = "20260115";

std::string order()
{
    std::string message = "111";
    message.resize(1504, '.');
    return message;
}

// ---- In memory

TEST(MessageStoreTest, NumbersAreCountedByLogAndByDay)
{
    MessageStore store;
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), order()).number, 1U);
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), order()).number, 2U);
    EXPECT_EQ(store.Add(Log::B, today, 80, Audience::All(), order()).number, 1U);
    EXPECT_EQ(store.Add(Log::P, today, 60, Audience::All(), order()).number, 1U);
    EXPECT_EQ(store.Add(Log::A, "20260116", 60, Audience::All(), order()).number, 1U);
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), order()).number, 3U);
    EXPECT_EQ(store.size(), 6U);
}

TEST(MessageStoreTest, MessageKnowsItsNumberDateAndLog)
{
    MessageStore store;
    for (int other = 0; other < 0x0102; ++other) {
        store.Add(Log::A, today, 60, Audience::All(), "111");
    }
    std::string expected = order();
    expected.replace(7, 1, "\0"s);
    expected.replace(17, 4, "\x03\x01\0\0"s);
    expected.replace(21, 1, "B");
    expected.replace(32, 8, today);
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), order()).message, expected);
}

TEST(MessageStoreTest, LogsHaveOtherLettersInMessagesThanInRequests)
{
    MessageStore store;
    EXPECT_EQ(store.Add(Log::P, today, 60, Audience::All(), order()).message[21], 'A');
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), order()).message[21], 'B');
    EXPECT_EQ(store.Add(Log::B, today, 60, Audience::All(), order()).message[21], 'C');
}

TEST(MessageStoreTest, MessagesOfTheFirstLogAloneArePersistent)
{
    MessageStore store;
    EXPECT_EQ(store.Add(Log::P, today, 60, Audience::All(), order()).message[7], 'S');
    std::string persistent = order();
    persistent[7] = 'S';
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), persistent).message[7], '\0');
    EXPECT_EQ(store.Add(Log::B, today, 80, Audience::All(), persistent).message[7], '\0');
}

TEST(MessageStoreTest, MessageWithoutAWholeEnvelopeIsFilledUp)
{
    MessageStore store;
    EXPECT_EQ(store.Add(Log::A, today, 60, Audience::All(), "252").message.size(), 83U);
    EXPECT_EQ(store.Add(Log::A, "1", 60, Audience::All(), {}).message.substr(32, 8), "1\0\0\0\0\0\0\0"s);
}

// ---- Who wants what

bool is_wanted(const StoredMessage& message, const LogPosition& position)
{
    return MessageStore::Is_Wanted(message, {position}, today);
}

TEST(MessageStoreTest, LaterNumbersOfTheDayAndLaterDaysAreWanted)
{
    const LogPosition position{.log = Log::A, .date = "20260114", .number = 7};
    EXPECT_FALSE(is_wanted({.date = "20260114", .number = 7}, position));
    EXPECT_TRUE(is_wanted({.date = "20260114", .number = 8}, position));
    EXPECT_TRUE(is_wanted({.date = "20260115", .number = 1}, position));
    EXPECT_FALSE(is_wanted({.date = "20260113", .number = 9}, position));
    EXPECT_FALSE(is_wanted({.date = "20251231", .number = 9}, position));
}

TEST(MessageStoreTest, WithoutADateTodayIsMeant)
{
    for (const std::string& none : {""s, "\0\0\0\0\0\0\0\0"s, "00000000"s, "        "s}) {
        const LogPosition position{.log = Log::A, .date = none, .number = 2};
        EXPECT_FALSE(is_wanted({.date = "20260114", .number = 9}, position)) << none;
        EXPECT_FALSE(is_wanted({.date = today, .number = 2}, position)) << none;
        EXPECT_TRUE(is_wanted({.date = today, .number = 3}, position)) << none;
        EXPECT_TRUE(is_wanted({.date = "20260116", .number = 1}, position)) << none;
    }
}

TEST(MessageStoreTest, LogWithoutAPositionIsNotWanted)
{
    const StoredMessage message{.log = Log::P, .date = today, .number = 1};
    EXPECT_FALSE(is_wanted(message, {.log = Log::A}));
    EXPECT_FALSE(MessageStore::Is_Wanted(message, {}, today));
    EXPECT_TRUE(MessageStore::Is_Wanted(message, {{.log = Log::A}, {.log = Log::P}}, today));
}

// ---- In a file

class StoreInAFile : public testing::Test
{
protected:
    static constexpr const char* name = "messages";
    static constexpr std::size_t header = 12;

    void add(MessageStore& store, int count)
    {
        for (; count > 0; --count) {
            const auto size = static_cast<unsigned char>(store.size());
            const Log log = size % 2 == 0 ? Log::A : Log::P;
            store.Add(log, today, size, {.machines = {"L001", "L002"}, .excluded = {std::string(size, 'x')}},
                      std::string(83, static_cast<char>('a' + size)));
        }
    }
    std::string bytes_of(int count)
    {
        std::filesystem::remove(m_directory.path(name));
        MessageStore store(m_directory.path(name));
        add(store, count);
        return m_directory.read(name);
    }
    MessageStore opened() { return MessageStore(m_directory.path(name)); }
    MessageStore opened_with(const std::string& bytes)
    {
        m_directory.write(name, bytes);
        return opened();
    }
    std::string complaint(const std::filesystem::path& path)
    {
        try {
            const MessageStore store(path);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    }

    // The first `count` that `add` adds, and no more.
    void expect_first(const MessageStore& store, std::size_t count)
    {
        MessageStore expected;
        add(expected, static_cast<int>(count));
        ASSERT_EQ(store.size(), count);
        for (std::size_t at = 0; at < count; ++at) {
            const StoredMessage& one = store.at(at);
            const StoredMessage& other = expected.at(at);
            EXPECT_EQ(std::tie(one.log, one.date, one.number, one.priority, one.audience, one.message),
                      std::tie(other.log, other.date, other.number, other.priority, other.audience, other.message));
        }
    }

    ScratchDirectory m_directory;
};

TEST_F(StoreInAFile, HasWhatWasAddedAndGoesOnCounting)
{
    bytes_of(3);
    MessageStore store = opened();
    expect_first(store, 3);
    add(store, 2);
    EXPECT_EQ(store.at(3).number, 2U);
    EXPECT_EQ(store.at(4).number, 3U);
    store = MessageStore();
    expect_first(opened(), 5);
}

TEST_F(StoreInAFile, EveryPartOfAnAudienceIsKept)
{
    const Audience audience{.everyone = true,
                            .machines = {"L001"},
                            .users = {"U001", "U002"},
                            .branches = {"INSTBOGA"},
                            .institutions = {"INST", ""},
                            .excluded = {"L009"}};
    MessageStore(m_directory.path(name)).Add(Log::B, today, 80, audience, order());
    EXPECT_EQ(opened().at(0).audience, audience);
}

TEST_F(StoreInAFile, IsAsDocumented)
{
    MessageStore(m_directory.path(name)).Add(Log::A, today, 0x0150, {.users = {"U1"}}, std::string(83, 'm'));
    const std::string bytes = m_directory.read(name);
    std::string message(83, 'm');
    message.replace(7, 1, "\0"s).replace(17, 5, "\x01\0\0\0B"s).replace(32, 8, today);
    EXPECT_EQ(bytes.substr(0, 16), "QMSTORE\n\x01\0\0\0\x85\0\0\0"s);
    const std::string fields = "A\x01\0\0\0\x50\x01\0"s; // log, number, priority, not for everyone
    const std::string date = "\x08\0\0\0"
                             "20260115"s;
    const std::string lists = "\0\0\0\0\x01\0\0\0\x02\0\0\0U1\0\0\0\0\0\0\0\0\0\0\0\0"s;
    EXPECT_EQ(bytes.substr(20), fields + date + lists + "\x53\0\0\0"s + message);
}

TEST_F(StoreInAFile, IsCutAtTheFirstEntryThatIsNotWhole)
{
    const std::size_t two = bytes_of(2).size();
    const std::string whole = bytes_of(3);
    for (std::size_t cut = two; cut < whole.size(); ++cut) {
        expect_first(opened_with(whole.substr(0, cut)), 2);
        ASSERT_EQ(m_directory.read(name), whole.substr(0, two)) << cut;
    }
}

TEST_F(StoreInAFile, GoesOnBehindTheCutOfAnyLength)
{
    const std::string whole = bytes_of(3);
    for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
        MessageStore store = opened_with(whole.substr(0, cut));
        add(store, static_cast<int>(3 - store.size()));
        ASSERT_EQ(m_directory.read(name), whole) << cut;
    }
}

TEST_F(StoreInAFile, AFlippedByteEndsItBeforeItsEntry)
{
    const std::size_t one = bytes_of(1).size();
    const std::size_t two = bytes_of(2).size();
    const std::string whole = bytes_of(3);
    for (std::size_t at = header; at < whole.size(); ++at) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x40);
        expect_first(opened_with(damaged), at < one ? 0 : at < two ? 1 : 2);
    }
}

TEST_F(StoreInAFile, EntriesThatAreNoMessagesEndIt)
{
    const std::string good = bytes_of(1);
    for (const std::string& entry : {""s, "A"s, std::string(300, 'A'), std::string(60, '\0')}) {
        std::filesystem::remove(m_directory.path(name));
        ASSERT_EQ(qm::EntryFile(m_directory.path(name)).Append(entry), "");
        const std::string framed = m_directory.read(name).substr(header);
        expect_first(opened_with(good + framed + good.substr(header)), 1);
    }
}

TEST_F(StoreInAFile, AnotherFileIsRefusedAndLeftAlone)
{
    for (const std::string& other : {"x"s, "QMSTOREx\x01\0\0\0"s, "{\"users\":[]}"s}) {
        m_directory.write(name, other);
        EXPECT_THAT(complaint(name), HasSubstr("messages: is no store of messages")) << other;
        EXPECT_EQ(m_directory.read(name), other);
    }
    m_directory.write(name, "QMSTORE\n\x02\0\0\0"s);
    EXPECT_THAT(complaint(name), HasSubstr("messages: is a store of another version"));
}

TEST_F(StoreInAFile, WhatIsNoFileIsRefused)
{
    std::filesystem::create_directory(name);
    EXPECT_THAT(complaint(name), HasSubstr("messages: can't be opened: Is a directory"));
    EXPECT_THAT(complaint("nowhere/messages"), HasSubstr("nowhere/messages: can't be opened: No such file"));
    EXPECT_THAT(complaint("/dev/null"), HasSubstr("/dev/null: is no regular file"));
}

TEST_F(StoreInAFile, OneMarketHasItAtATime)
{
    const MessageStore first = opened();
    EXPECT_THAT(complaint(name), HasSubstr("messages: is in use by another market"));
}

// The superuser may write everything.
TEST_F(StoreInAFile, WithoutPermissionItIsRefused)
{
    constexpr int skipped = 77;
    bytes_of(1);
    std::filesystem::permissions(name, std::filesystem::perms::none);
    const pid_t child = fork();
    if (child == 0) {
        const bool may_not = geteuid() != 0 || seteuid(65534) == 0;
        _exit(!may_not ? skipped : complaint(name).ends_with("messages: can't be opened: Permission denied") ? 0 : 1);
    }
    ASSERT_GT(child, 0);
    int status = -1;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == skipped) {
        GTEST_SKIP() << "root can't become another user here";
    }
    EXPECT_EQ(status, 0);
}

// A full disk, as the process sees it.
TEST_F(StoreInAFile, GoesOnInMemoryWhenTheFileTakesNoMore)
{
    const std::size_t two = bytes_of(2).size();
    const std::string whole = bytes_of(3);
    const pid_t child = fork();
    if (child == 0) {
        m_directory.write(name, whole.substr(0, two));
        MessageStore store = opened();
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{.rlim_cur = two + 20, .rlim_max = RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        add(store, 1);
        limit.rlim_cur = RLIM_INFINITY; // room again would leave a gap in the numbers
        setrlimit(RLIMIT_FSIZE, &limit);
        add(store, 1);
        const bool told = store.complaint().find("messages: can't be written: File too large") != std::string::npos;
        _exit(told && store.size() == 4 && m_directory.read(name) == whole.substr(0, two) ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(StoreInAFile, WhatWasAddedSurvivesAKill)
{
    std::array<int, 2> pipe_ends{};
    ASSERT_EQ(pipe(pipe_ends.data()), 0);
    fcntl(pipe_ends[1], F_SETPIPE_SZ, 4096); // so far may the child be ahead
    const pid_t child = fork();
    if (child == 0) {
        MessageStore store = opened();
        for (char done = 'x'; write(pipe_ends[1], &done, 1) == 1;) { // one that was added, for each byte but the first
            store.Add(Log::A, today, 60, Audience::All(), order());
        }
        _exit(1);
    }
    ASSERT_GT(child, 0);
    close(pipe_ends[1]);
    std::array<char, 200> seen{};
    std::size_t added = 0;
    while (added <= seen.size()) {
        const ssize_t count = read(pipe_ends[0], seen.data(), seen.size());
        ASSERT_GT(count, 0);
        added += static_cast<std::size_t>(count);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    while (const ssize_t more = read(pipe_ends[0], seen.data(), seen.size())) {
        added += static_cast<std::size_t>(more);
    }
    close(pipe_ends[0]);
    const MessageStore store = opened();
    EXPECT_GE(store.size(), added - 1);
    EXPECT_LE(store.size(), added);
    EXPECT_EQ(store.at(store.size() - 1).number, store.size());
}

} // namespace
