#include "journal.h"

#include "market/support/manual_clock.h"
#include "support/market_records.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

using namespace qm;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class JournalTest : public testing::Test
{
protected:
    JournalTest()
    {
        setenv("TZ", "UTC", 1);
        tzset();
        std::filesystem::remove(m_path);
    }
    ~JournalTest() override { std::filesystem::remove(m_path); }

    [[nodiscard]] std::vector<std::string> Lines() const
    {
        std::ifstream in(m_path);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    // The line of one message.
    ordered_json LineOf(const std::string& message, bool with_fields = true)
    {
        Journal journal(m_clock, m_path, with_fields);
        journal.Message(1, "L001", Journal::Direction::in, message);
        journal.Flush();
        return ordered_json::parse(Lines().back());
    }

    ManualClock m_clock;
    std::filesystem::path m_path =
        testing::TempDir() + "qm_journal_" + std::to_string(getpid()) + ".jsonl"; // NOLINT(concurrency-mt-unsafe)
};

std::string City()
{
    std::string body(135, '\0');
    body.replace(0, 3, "NOR");
    body.replace(5, 12, "Puerto Norte");
    return market::Make(market::TableRecord{.letter = 'I', .code = 25, .idx = 7, .body = body});
}

} // namespace

TEST_F(JournalTest, WritesALineForAMessage)
{
    Journal journal(m_clock, m_path, false);
    m_clock.advance(Clock::Time(123));
    journal.Message(3, "L001", Journal::Direction::in, market::Make(market::Order{}));
    journal.Message(4, "L002", Journal::Direction::out, market::LogBegin());
    journal.Flush();
    EXPECT_THAT(Lines(),
                ElementsAre(R"({"time":"2026-01-15T12:00:00.123","client":3,"machine":"L001","direction":"in",)"
                            R"("number":111,"kind":"Orden_Transaccion","bytes":1504})",
                            R"({"time":"2026-01-15T12:00:00.123","client":4,"machine":"L002","direction":"out",)"
                            R"("number":204,"kind":"Log_Begin","bytes":92})"));
}

TEST_F(JournalTest, WritesALineForAnEvent)
{
    Journal journal(m_clock, m_path, true);
    journal.Event(1, "connected", "127.0.0.1:40000");
    journal.Flush();
    EXPECT_THAT(Lines(), ElementsAre(R"({"time":"2026-01-15T12:00:00.000","client":1,"event":"connected",)"
                                     R"("text":"127.0.0.1:40000"})"));
}

TEST_F(JournalTest, ShowsTheFieldsOfAnOrder)
{
    ordered_json fields = LineOf(market::Make(market::Order{}))["fields"];
    EXPECT_EQ(fields["mercado"], 71);
    EXPECT_EQ(fields["usuario_postura"], "U001");
    EXPECT_EQ(fields["mcod_postura"], "000001");
    EXPECT_EQ(fields["o_d"], "D");
    EXPECT_EQ(fields["precio"], "4012.2500");
    EXPECT_EQ(fields["numero"], "100");
    EXPECT_FALSE(fields.contains("sub_mercado"));
}

TEST_F(JournalTest, ReadsAllOrdersWithOneClass)
{
    for (const int number : {111, 113, 121}) {
        EXPECT_EQ(LineOf(market::Make(market::Order{.number = number}))["fields"]["mercado"], 71) << number;
    }
}

TEST_F(JournalTest, TellsOneMessageFromTheNext)
{
    Journal journal(m_clock, m_path, true);
    journal.Message(1, "L001", Journal::Direction::in, market::Make(market::Order{.user = "U001"}));
    journal.Message(1, "L001", Journal::Direction::in, market::Make(market::Order{.market = 72, .user = ""}));
    journal.Flush();
    ordered_json second = ordered_json::parse(Lines().at(1))["fields"];
    EXPECT_EQ(second["mercado"], 72);
    EXPECT_FALSE(second.contains("usuario_postura"));
}

TEST_F(JournalTest, ShowsARecordOfATableWithAFixedCode)
{
    ordered_json line = LineOf(City());
    EXPECT_EQ(line["kind"], "Global_Table");
    EXPECT_EQ(line["letter"], "I");
    EXPECT_EQ(line["code"], 25);
    EXPECT_EQ(line["bytes"], 157);
    EXPECT_EQ(line["fields"].dump(), R"({"codigo_3c":"NOR","nombre":"Puerto Norte"})");
}

TEST_F(JournalTest, ShowsARecordOfATableThatWasNamed)
{
    std::string body(1194, '\0');
    body.replace(55, 3, " 71");
    const std::string row = market::Make(market::TableRecord{.letter = 'A', .code = 71, .body = body});
    EXPECT_FALSE(LineOf(row).contains("fields"));
    Journal journal(m_clock, m_path, true);
    journal.Name_Table(71, "CGTOrder");
    journal.Message(1, "L001", Journal::Direction::out, row);
    journal.Flush();
    EXPECT_EQ(ordered_json::parse(Lines().back())["fields"]["mercado"], 71);
}

TEST_F(JournalTest, ShowsNoFieldsOfWhatIsNoRecord)
{
    EXPECT_EQ(LineOf(market::EndOfTable(25))["letter"], "z");
    EXPECT_FALSE(LineOf(market::EndOfTable(25)).contains("fields"));
    EXPECT_FALSE(LineOf(market::Make(market::Range{})).contains("fields"));
}

TEST_F(JournalTest, HidesPasswords)
{
    std::string login = "201" + std::string(80 + 435, '\0');
    login.replace(83 + 5, 3, "ana");
    login.replace(83 + 35, 6, "branch");
    login.replace(83 + 49, 6, "secret");
    ordered_json line = LineOf(login);
    EXPECT_EQ(line["fields"]["nombre_usuario"], "ana");
    EXPECT_EQ(line["fields"]["clave_usuario_16"], "***");
    EXPECT_EQ(line["fields"]["texto_clave_sucursal"], "***");
    EXPECT_THAT(line.dump(), testing::Not(testing::HasSubstr("secret")));
    EXPECT_THAT(line.dump(), testing::Not(testing::HasSubstr("branch")));
}

TEST_F(JournalTest, TakesAnyBytes)
{
    EXPECT_EQ(LineOf("")["number"], -1);
    EXPECT_EQ(LineOf("11")["number"], -1);
    EXPECT_EQ(LineOf("\xFF\xFE\xFD")["number"], -1);
    EXPECT_EQ(LineOf("-11")["number"], -1);
    EXPECT_EQ(LineOf("   ")["number"], -1);
    EXPECT_EQ(LineOf(" 87")["kind"], "Precios_Montos_Transados");
    EXPECT_EQ(LineOf("999")["number"], 999);
    EXPECT_FALSE(LineOf("999").contains("kind"));
    EXPECT_FALSE(LineOf("888I").contains("letter"));
    EXPECT_EQ(LineOf(std::string("888\xE1\x19\0", 6))["letter"], "\u00E1");
    EXPECT_EQ(LineOf("111")["fields"], ordered_json::object());
    EXPECT_EQ(LineOf("111" + std::string(50'000, '\xFF'))["bytes"], 50'003);
}

TEST_F(JournalTest, KeepsItsLinesInABuffer)
{
    Journal journal(m_clock, m_path, false);
    journal.Event(1, "connected", "");
    EXPECT_THAT(Lines(), IsEmpty());
    journal.Event(1, "x", std::string(70'000, 'x'));
    EXPECT_EQ(Lines().empty(), false);
}

TEST_F(JournalTest, WritesTheRestWhenItEnds)
{
    {
        Journal journal(m_clock, m_path, false);
        journal.Event(1, "connected", "\xE1");
    }
    EXPECT_EQ(ordered_json::parse(Lines().at(0))["text"], "\u00E1");
}

TEST_F(JournalTest, AppendsToItsFile)
{
    LineOf("204");
    LineOf("205");
    EXPECT_EQ(Lines().size(), 2U);
}

TEST_F(JournalTest, SaysThatItsFileCantBeWritten)
{
    EXPECT_THAT([&] { Journal(m_clock, "/no/such/folder/journal", false); },
                testing::ThrowsMessage<std::runtime_error>(
                    "The journal /no/such/folder/journal can't be written: No such file or directory"));
}

TEST_F(JournalTest, WritesNothingWithoutAFile)
{
    Journal journal(m_clock);
    EXPECT_FALSE(journal.is_on());
    journal.Message(1, "L001", Journal::Direction::in, "111");
    journal.Event(1, "connected", "");
    journal.Flush();
    EXPECT_FALSE(std::filesystem::exists(m_path));
}
