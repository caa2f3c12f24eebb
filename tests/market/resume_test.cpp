// What a host that starts again has from its files, and what the market still sends it.
#include "market/support/resume_session.h"

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
    for (const std::string& line : host->lines()) {
        if (line.starts_with("message Chat ")) {
            EXPECT_EQ(host->finish("Chat", static_cast<unsigned>(std::stoul(line.substr(13)))), 0);
        }
    }
    log_out();
    Forget_Tables();
    log_in();
    market->command("chat pedro maria again");
    market->wait_until([&](qm::Market&) { return host->count_of("message Chat ") >= 2; });
    EXPECT_EQ(host->count_of("message Chat "), 2);
}

} // namespace
