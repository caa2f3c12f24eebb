// What a host that starts again has from its files, and what the market still sends it.
#include "market/support/resume_session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <malloc.h>

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace {

using Resume = ResumeSession;

TEST_F(Resume, TablesComeFromTheFilesAndNothingIsSentAgain)
{
    log_in();
    EXPECT_EQ(sent("25 cities"), 3);
    log_out();
    Forget_Tables();
    EXPECT_EQ(cities(), 0);
    log_in();
    EXPECT_EQ(cities(), 3);
    EXPECT_EQ(sent("25 cities"), 0);
    log_out();
    EXPECT_THAT(scratch.read("qapi.log"), HasSubstr("Tables loaded from their files: 0 records in "));
    EXPECT_THAT(scratch.read("qapi.log"), HasSubstr("Tables loaded from their files: 3 records in "));
}

TEST_F(Resume, JustWhatHasChangedIsSent)
{
    log_in();
    log_out();
    Forget_Tables();
    market->command("table 25 delete 1");
    market->command(R"(table 25 insert {"codigo_3c":"PER","nombre":"Pereira"})");
    log_in();
    EXPECT_EQ(sent("25 cities"), 1);
    EXPECT_EQ(cities(), 3);
    log_out();
    Forget_Tables();
    log_in();
    EXPECT_EQ(sent("25 cities"), 0);
    EXPECT_EQ(cities(), 3);
}

TEST_F(Resume, DeletionsThatWereMissedWhileTheConnectionWasLostAreMadeUpFor)
{
    log_in();
    market->command("stall L001");
    market->command("table 25 delete 2");
    const int before = host->count("connection 0");
    market->command("drop L001");
    market->wait_until([&](qm::Market& its) {
        return host->count("connection 0") > before && its.Do("clients").find("live") != std::string::npos;
    });
    EXPECT_EQ(cities(), 2);
    EXPECT_EQ(sent("25 cities"), 0);
}

TEST_F(Resume, LostFileIsAskedForAsAWhole)
{
    log_in();
    log_out();
    Forget_Tables();
    std::filesystem::remove(scratch.path("qapi.city"));
    log_in();
    EXPECT_EQ(sent("25 cities"), 3);
    EXPECT_EQ(cities(), 3);
}

TEST_F(Resume, FinishedMessagesDoNotComeAgain)
{
    market->command("chat pedro maria hello");
    log_in();
    market->wait_until([&](qm::Market&) { return host->count_of("message Chat ") == 1; });
    finish_first_chat();
    log_out();
    Forget_Tables();
    log_in();
    market->command("chat pedro maria again");
    market->wait_until([&](qm::Market&) { return host->count_of("message Chat ") >= 2; });
    EXPECT_EQ(host->count_of("message Chat "), 2);
}

TEST_F(Resume, LogIsAskedForBehindTheLastFinishedMessageOfEachType)
{
    market->command("chat pedro maria one");
    market->command("chat pedro maria two");
    log_in();
    EXPECT_THAT(asked(), MatchesRegex("P 0 of [0-9]{8}, A 0, B 0"));
    market->wait_until([&](qm::Market&) { return host->count_of("message Chat ") == 2; });
    finish_first_chat();
    log_out();
    Forget_Tables();
    log_in();
    EXPECT_THAT(asked(), MatchesRegex("P 0 of [0-9]{8}, A 1 of [0-9]{8}, B 0"));
}

// ---- Many sessions over the same files

class ManySessions : public ResumeSession
{
protected:
    static constexpr int rounds = 50;

    // Bytes that are allocated; none that a sanitizer counts.
    static std::size_t bytes_in_use() { return mallinfo2().uordblks; }

    template <class Round> std::size_t growth_over(const Round& round)
    {
        const std::size_t bytes = bytes_in_use();
        for (int i = 0; i < rounds; ++i) {
            round();
            host->forget_lines();
        }
        return bytes_in_use() - std::min(bytes, bytes_in_use());
    }

    // A ring doubles now and then and stays so; what every session leaves is in each of five times fifty.
    template <class Round> void expect_no_growth(const Round& round)
    {
        round();
        host->forget_lines();
        const int descriptors = open_descriptors();
        std::size_t least = growth_over(round);
        for (int i = 0; i < 4; ++i) {
            least = std::min(least, growth_over(round));
        }
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_LT(least, rounds * std::size_t{64});
    }
};

TEST_F(ManySessions, OverTheirFilesGrowInNothing)
{
    expect_no_growth([&] {
        log_in();
        log_out();
    });
    EXPECT_EQ(cities(), 3);
}

TEST_F(ManySessions, ThatReadTheirFilesAnewGrowInNothing)
{
    expect_no_growth([&] {
        Forget_Tables();
        log_in();
        log_out();
    });
}

TEST_F(ManySessions, ThatAreRefusedGrowInNothing)
{
    market->command("refuse maria N");
    expect_no_growth([&] {
        const int before = host->count_of("error 7 ");
        ASSERT_EQ(host->login("maria", "secret"), 0);
        market->wait_until([&](qm::Market&) { return host->count_of("error 7 ") > before; });
        log_out();
    });
}

} // namespace
