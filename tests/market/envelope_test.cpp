// Envelopes and clock checks against the tests' own codec and bytes written by hand.
#include "wire/envelope.h"

#include "support/clock_check_frame.h"
#include "support/wire_codec.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using qm::Append_Envelope;
using qm::Stamp_Clock_Check;
using qm::Take_Envelope;
using Codes = std::vector<std::string>;

std::string in_envelope(std::string_view message)
{
    std::string out;
    EXPECT_TRUE(Append_Envelope(out, message, 4, "L001"));
    return out;
}

qm::Audience audience_of(const std::vector<WireGroup>& groups)
{
    const std::string payload = MakeEnvelope("111", groups);
    const auto envelope = Take_Envelope(payload);
    EXPECT_TRUE(envelope.has_value());
    return envelope ? envelope->audience : qm::Audience{};
}

// An envelope whose groups are these bytes, its lengths right.
bool is_taken_with_groups(const std::string& groups)
{
    std::string payload = MakeEnvelope("111" + groups);
    payload.replace(12, 2, std::string{static_cast<char>(groups.size()), '\0'});
    payload.replace(14, 2, groups + std::string("\6\0", 2));
    payload.resize(payload.size() - groups.size() - 6);
    return Take_Envelope(payload + "111" + std::string(3, '\0')).has_value();
}

// ---- Building

TEST(Envelope, EmptyOneIsNineteenBytes)
{
    EXPECT_EQ(ToHex(in_envelope("")), "01001300640004004c30303100000300000000");
}

TEST(Envelope, IsAppendedAsTheOtherCodecReadsIt)
{
    std::string out = "in front";
    EXPECT_TRUE(Append_Envelope(out, "869 a check", 80, "DS", 1));
    const WireEnvelope taken = TakeEnvelope(std::string_view(out).substr(8));
    EXPECT_EQ(taken.flags, 1);
    EXPECT_EQ(taken.type, 1);
    EXPECT_EQ(taken.priority, 80);
    EXPECT_EQ(taken.machine, std::string("DS\0\0", 4));
    EXPECT_EQ(taken.groups, std::vector<WireGroup>{});
    EXPECT_EQ(taken.message, "869 a check");
}

TEST(Envelope, FourCharactersOfTheMachineCount)
{
    std::string out;
    Append_Envelope(out, "111", 60, "LONGER");
    EXPECT_EQ(TakeEnvelope(out).machine, "LONG");
}

TEST(Envelope, LongestMessageFitsAndALongerOneIsRefused)
{
    std::string out;
    EXPECT_TRUE(Append_Envelope(out, std::string(qm::LONGEST_MESSAGE, 'x'), 60, "L001"));
    EXPECT_EQ(out.size(), 65535U);
    EXPECT_EQ(TakeEnvelope(out).message.size(), qm::LONGEST_MESSAGE);
    EXPECT_FALSE(Append_Envelope(out, std::string(qm::LONGEST_MESSAGE + 1, 'x'), 60, "L001"));
    EXPECT_EQ(out.size(), 65535U);
}

// ---- Taking

TEST(Envelope, IsTakenApart)
{
    const std::string payload = MakeEnvelope("575 a chat", {}, 77, 100, "L001");
    const auto envelope = Take_Envelope(payload);
    ASSERT_TRUE(envelope.has_value());
    EXPECT_EQ(envelope->type, 100);
    EXPECT_EQ(envelope->priority, 77);
    EXPECT_EQ(envelope->machine, "L001");
    EXPECT_EQ(envelope->audience, qm::Audience{});
    EXPECT_EQ(envelope->message, "575 a chat");
    EXPECT_EQ(envelope->message.data(), payload.data() + 16);
}

TEST(Envelope, MayBeEmpty)
{
    const std::string payload = FromHex("01001300640004004c30303100000300000000");
    ASSERT_TRUE(Take_Envelope(payload).has_value());
    EXPECT_EQ(Take_Envelope(payload)->message, "");
}

TEST(Envelope, BytesBehindItAreNotOfTheMessage)
{
    const std::string payload = MakeEnvelope("111") + std::string(44, '\0');
    ASSERT_TRUE(Take_Envelope(payload).has_value());
    EXPECT_EQ(Take_Envelope(payload)->message, "111");
}

TEST(Envelope, AddresseesAreThoseOfTheirGroups)
{
    const qm::Audience audience = audience_of({{"PU", {"L001", "L002"}},
                                               {"SU", {"INSTMEXA"}},
                                               {"XP", {"L003"}},
                                               {"IN", {"BAN1", "BAN2"}},
                                               {"GR", {"GROUP001"}},
                                               {"ZZ", {"anything"}}});
    const qm::Audience expected{
        .machines = {"L001", "L002"}, .branches = {"INSTMEXA"}, .institutions = {"BAN1", "BAN2"}, .excluded = {"L003"}};
    EXPECT_EQ(audience, expected);
}

TEST(Envelope, GenericGroupsAddToTheListsOfTheirIdentifier)
{
    const std::string terminated("L002\0", 5);
    const qm::Audience audience = audience_of({{"PU", {"L001"}},
                                               {"PU", {terminated}},
                                               {"PU", {"L9"}},
                                               {"SU", {"INSTMEXB"}},
                                               {"IN", {"BANK"}},
                                               {"XP", {"L004"}}});
    EXPECT_EQ(audience.machines, (Codes{"L001", "L002", "L9"}));
    EXPECT_EQ(audience.branches, Codes{"INSTMEXB"});
    EXPECT_EQ(audience.institutions, Codes{"BANK"});
    EXPECT_EQ(audience.excluded, Codes{"L004"});
}

TEST(Envelope, CodesLoseTheirPaddingAndEmptyOnesAreLeftOut)
{
    const qm::Audience audience =
        audience_of({{"PU", {"L1  ", std::string("L2\0\0", 4), std::string(4, '\0'), "    "}}, {"SU", {"INST   A"}}});
    EXPECT_EQ(audience.machines, (Codes{"L1", "L2"}));
    EXPECT_EQ(audience.branches, Codes{"INST   A"});
}

TEST(Envelope, GroupMayBeEmpty)
{
    EXPECT_TRUE(is_taken_with_groups(FromHex("5055 0000 0400")));
    EXPECT_TRUE(is_taken_with_groups(FromHex("5055 0100 0000"))); // a text without a character
    EXPECT_TRUE(is_taken_with_groups(FromHex("5055 0100 0400 4c303031")));
}

TEST(Envelope, CountsAndSizesThatCantBeAreRefused)
{
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 0200 0400 4c303031")));           // an element is missing
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 0100 0500 4c303031")));           // a byte is
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 ffff ffff 4c303031")));           // nearly all are
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 ffff 0000")));                    // many of nothing
    EXPECT_FALSE(is_taken_with_groups(FromHex("5a5a ffff 0000")));                    // of another kind too
    EXPECT_FALSE(is_taken_with_groups(FromHex("5a5a 0200 0400 4c303031")));           // of another kind too
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 0200 0300 4c3030 4c3030")));      // a list of short codes
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 0100 0400 4c303031 50")));        // half a group
    EXPECT_FALSE(is_taken_with_groups(FromHex("5055 0100 0400 4c303031 5055 0100"))); // a head without its end
}

TEST(Envelope, EveryShorterPayloadIsNone)
{
    const std::string payload = MakeEnvelope("111 an order", {{"PU", {"L001"}}, {"IN", {"BANK"}}});
    ASSERT_TRUE(Take_Envelope(payload).has_value());
    for (std::size_t length = 0; length < payload.size(); ++length) {
        EXPECT_FALSE(Take_Envelope(std::string_view(payload).substr(0, length)).has_value()) << length;
    }
}

TEST(Envelope, LengthsThatDontAgreeAreRefused)
{
    const std::string good = MakeEnvelope("111");
    for (const std::size_t at : {0U, 2U, 12U, 14U}) { // flags, whole, groups, message
        for (const int by : {-1, 1}) {
            std::string bad = good + std::string(300, '\0');
            bad[at] = static_cast<char>(bad[at] + by);
            EXPECT_FALSE(Take_Envelope(bad).has_value()) << at << " " << by;
        }
    }
    std::string no_tail = FromHex("01001200640004004c30303100000200000000");
    EXPECT_FALSE(Take_Envelope(no_tail).has_value());
}

// ---- Clock check

constexpr std::timespec noon{.tv_sec = 1'768'478'400, .tv_nsec = 678'901'234}; // 2026-01-15 12:00:00.678901234 UTC

class ClockCheck : public testing::Test
{
protected:
    ClockCheck() { Go_To("UTC0"); }
    ~ClockCheck() override
    {
        unsetenv("TZ");
        tzset();
    }

    static void Go_To(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    static CheckFrame At_Stage(unsigned stage)
    {
        CheckFrame frame = CheckFrame::WithWord(4 * stage);
        frame.Stamp(2, 1000, 50, 100);
        return frame;
    }

    // The message of a check, stamped if it can be, and as the frame it came in.
    static bool Stamped(CheckFrame& frame)
    {
        std::string message = frame.bytes.substr(16);
        const bool is_stamped = Stamp_Clock_Check(message, noon);
        frame.bytes.replace(16, message.size(), message);
        return is_stamped;
    }
};

TEST_F(ClockCheck, StagesThreeAndFourAreStampedAndNothingElse)
{
    CheckFrame frame = At_Stage(3);
    CheckFrame expected = At_Stage(5);
    expected.Stamp(3, 1'768'478'400, 678, 1000);
    expected.Stamp(4, 1'768'478'400, 678, 1000);
    EXPECT_TRUE(Stamped(frame));
    EXPECT_EQ(ToHex(frame.bytes), ToHex(expected.bytes));
    EXPECT_EQ(frame.Word(), 20U);
}

TEST_F(ClockCheck, BytesOfTheBlockAreThoseOfThePage)
{
    std::string message = "869" + std::string(94, ' ') + "\x0c" + std::string(73, '\0');
    ASSERT_TRUE(Stamp_Clock_Check(message, noon));
    EXPECT_EQ(message.substr(0, 97), "869" + std::string(94, ' '));
    EXPECT_EQ(ToHex(message.substr(97)), ToHex(FromHex("1400"
                                                       "00000000 00000000 00000000 c0d66869 c0d66869 00000000"
                                                       "00000000 00000000 00000000 a6020000 a6020000 00000000"
                                                       "00000000 00000000 00000000 e8030000 e8030000 00000000")));
}

TEST_F(ClockCheck, SecondsAreThoseOfLocalTime)
{
    Go_To("XXX6"); // six hours behind
    CheckFrame frame = At_Stage(3);
    EXPECT_TRUE(Stamped(frame));
    EXPECT_EQ(frame.Seconds(3), 1'768'478'400U - 6 * 3600);
    EXPECT_EQ(frame.Seconds(4), 1'768'478'400U - 6 * 3600);
}

TEST_F(ClockCheck, OnlyACheckAtStageThreeIsOne)
{
    for (const unsigned word : {0U, 4U, 8U, 11U, 13U, 16U, 20U, 24U, 65535U}) {
        CheckFrame frame = CheckFrame::WithWord(word);
        const std::string before = frame.bytes;
        EXPECT_FALSE(Stamped(frame)) << word;
        EXPECT_EQ(frame.bytes, before) << word;
    }
}

TEST_F(ClockCheck, OtherMessagesAndShortOnesAreNone)
{
    const std::string good = At_Stage(3).bytes.substr(16);
    for (std::size_t length = 0; length < 97 + 74; ++length) {
        std::string message = good.substr(0, length);
        EXPECT_FALSE(Stamp_Clock_Check(message, noon)) << length;
    }
    std::string shortest = good.substr(0, 97 + 74);
    EXPECT_TRUE(Stamp_Clock_Check(shortest, noon));
    std::string other = "868" + good.substr(3);
    EXPECT_FALSE(Stamp_Clock_Check(other, noon));
}

} // namespace
