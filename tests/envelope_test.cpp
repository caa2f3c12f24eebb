#include "qcapi/config.h"
#include "support/codec_vectors.h"
#include "support/report_texts.h"
#include "transport/envelope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

using namespace std::string_literals;
using testing::IsEmpty;
using testing::SizeIs;

// ---- Building

class EnvelopeBuilding : public testing::Test
{
protected:
    EnvelopeBuilding() { std::memcpy(Glb_Local_Machine, "ABCD", 4); }
    ~EnvelopeBuilding() override { std::memset(Glb_Local_Machine, 0, sizeof Glb_Local_Machine); }

    // mess_long; the envelope is in `buffer`.
    int Build(const std::string& message, CDestinationsList* to, int priority = 7)
    {
        return Build(message.data(), static_cast<int>(message.size()), to, priority);
    }
    int Build(const char* message, int len, CDestinationsList* to, int priority = 7)
    {
        return DCON_Set_Header(reinterpret_cast<MON_MESS_DESTR*>(buffer.data()), message, len, to, priority);
    }
    void ExpectBuilt(int mess_long, const std::string& pieces)
    {
        const auto count = static_cast<std::size_t>(mess_long);
        EXPECT_EQ(buffer.First(count), FromPieces(pieces));
        EXPECT_TRUE(buffer.UntouchedFrom(count));
    }
    void ExpectRefused(int result)
    {
        EXPECT_EQ(result, 0);
        EXPECT_TRUE(buffer.UntouchedFrom(0));
        EXPECT_THAT(ReportTexts::Take(), SizeIs(1));
    }
    void AddUsers(int count)
    {
        for (int i = 1000; i < 1000 + count; ++i) {
            list.Add_in_PU_List(std::to_string(i).data());
        }
    }

    ReportTexts reports;
    CDestinationsList list{NORMAL_DEST};
    GuardedBuffer buffer{sizeof(MON_MESS_DESTR)};
};

TEST_F(EnvelopeBuilding, WithoutAddresseesTheMessageStartsAtSixteen)
{
    const int built = Build("HELLO", nullptr);
    EXPECT_EQ(built, 5 + 19);
    ExpectBuilt(built, "0100180064000700+41424344+0000+0800+48454C4C4F+000000");
}

TEST_F(EnvelopeBuilding, AnEmptyListIsTheSameAsNone)
{
    ExpectBuilt(Build("HELLO", &list), "0100180064000700+41424344+0000+0800+48454C4C4F+000000");
}

TEST_F(EnvelopeBuilding, AnEmptyMessageHasItsTail)
{
    ExpectBuilt(Build(nullptr, 0, nullptr), "0100130064000700+41424344+0000+0300+000000");
}

TEST_F(EnvelopeBuilding, OneUserAndOneInstitutionAreTwoGroupsOfTwentyBytes)
{
    list.Add_in_Instit_List("INST");
    list.Add_in_PU_List("USER");
    const int built = Build("M", &list, 0x0102);
    EXPECT_EQ(built, 1 + 19 + 20);
    ExpectBuilt(built, "0100280064000201+41424344+1400"
                       "+5055+0100+0400+55534552" // PU
                       "+494E+0100+0400+494E5354" // IN
                       "+0400+4D+000000");
}

TEST_F(EnvelopeBuilding, AllGroupsTravelInTheirOrderAndGenericOnesBehindThem)
{
    list.Add_in_Gen_To_List("XYabc", 0);
    list.Add_in_Gen_To_List("ZZ", 0);
    list.Add_in_Group_List("GROUP001");
    list.Add_in_Instit_List("IN01");
    list.Add_in_Exclude_List("XP01");
    list.Add_in_Branch_List("BRANCH01");
    list.Add_in_Branch_List("BRANCH02");
    list.Add_in_PU_List("PU01");
    list.Add_in_PU_List("PU02");
    list.Add_in_PU_List("PU03");
    const int built = Build("M", &list);
    ExpectBuilt(built, "01006D0064000700+41424344+5900"
                       "+5055+0300+0400+505530315055303250553033"
                       "+5355+0200+0800+4252414E43483031+4252414E43483032"
                       "+5850+0100+0400+58503031"
                       "+494E+0100+0400+494E3031"
                       "+4752+0100+0800+47524F5550303031"
                       "+5859+0100+0300+616263"
                       "+5A5A+0100+0000"
                       "+0400+4D+000000");
}

TEST_F(EnvelopeBuilding, AGenericEntryWithoutTerminatorIsLeftOut)
{
    list.Add_in_Gen_To_List("XYabc", 0);
    list.Add_in_Gen_To_List("ZZdef", 5);
    ExpectBuilt(Build("M", &list), "01001D0064000700+41424344+0900+5859+0100+0300+616263+0400+4D+000000");
}

TEST_F(EnvelopeBuilding, AGenericEntryOfLessThanTwoLettersEndsTheWalk)
{
    list.Add_in_Gen_To_List("X", 0);
    list.Add_in_Gen_To_List("ZZdef", 0);
    ExpectBuilt(Build("M", &list), "0100140064000700+41424344+0000+0400+4D+000000");
}

TEST_F(EnvelopeBuilding, WhatAnOlderGenericListLeftIsNotRead)
{
    list.Add_in_Gen_To_List("XYabcdef", 0);
    list.CleanList();
    list.Add_in_Gen_To_List("ZZ", 2);
    ExpectBuilt(Build("M", &list), "0100140064000700+41424344+0000+0400+4D+000000");
}

TEST_F(EnvelopeBuilding, AGenericListThatIsFullToTheLastByteTravels)
{
    list.Add_in_Gen_To_List(("XY" + std::string(147, 'x')).data(), 0);
    ExpectBuilt(Build("M", &list), "0100AD0064000700+41424344+9900+5859+0100+9300+78*147+0400+4D+000000");
}

TEST_F(EnvelopeBuilding, TheLongestMessageFillsTheBufferAndOneMoreByteIsRefused)
{
    const std::string message(3993, 'x');
    ExpectBuilt(Build(message, nullptr), "0100AC0F64000700+41424344+0000+9C0F+78*3993+000000");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    buffer = GuardedBuffer(sizeof(MON_MESS_DESTR));
    ExpectRefused(Build(message + "x", nullptr));
}

TEST_F(EnvelopeBuilding, AddresseesTakeTheirRoomFromTheMessage)
{
    AddUsers(300); // 1206 bytes
    EXPECT_EQ(Build(std::string(2787, 'x'), &list), 4012);
    EXPECT_TRUE(buffer.UntouchedFrom(4012));
    buffer = GuardedBuffer(sizeof(MON_MESS_DESTR));
    ExpectRefused(Build(std::string(2788, 'x'), &list));
}

TEST_F(EnvelopeBuilding, MoreAddresseesThanAnEnvelopeHoldsAreRefused)
{
    AddUsers(300);
    for (int i = 1000; i < 1300; ++i) {
        list.Add_in_Branch_List(("branch" + std::to_string(i)).substr(2).data());
        list.Add_in_Exclude_List(std::to_string(i).data());
    }
    ExpectRefused(Build("M", &list));
}

TEST_F(EnvelopeBuilding, LengthsOutOfAllReasonAreRefused)
{
    for (const int len : {-1, INT_MIN, 65535, 65536, INT_MAX}) {
        ExpectRefused(Build("M", len, nullptr));
    }
}

// ---- Taking off

struct Skipped
{
    int result;
    std::ptrdiff_t moved;
    int len;
    bool operator==(const Skipped&) const = default;
};

void PrintTo(const Skipped& skipped, std::ostream* out)
{
    *out << skipped.result << ", moved " << skipped.moved << ", " << skipped.len << " left";
}

class EnvelopeTakingOff : public testing::Test
{
protected:
    // The bytes stand in a guarded buffer of exactly their length.
    static Skipped Skip(const std::string& bytes)
    {
        GuardedBuffer frame(bytes.size());
        std::memcpy(frame.data(), bytes.data(), bytes.size());
        const char* const start = reinterpret_cast<const char*>(frame.data());
        const char* data = start;
        int len = static_cast<int>(bytes.size());
        const int result = DCON_Skip_Header(&data, &len, "D");
        EXPECT_TRUE(frame.Intact());
        EXPECT_EQ(frame.First(bytes.size()), BytesOf(bytes));
        return {result, data - start, len};
    }
    static Skipped Bad(std::size_t len) { return {DCON_MESSAGE_BAD, 0, static_cast<int>(len)}; }

    const std::string plain = FromHex("0100 1700 6400 0700 41424344 0000 0700 31313141 000000");
    const std::string addressed = FromHex("0100 2b00 6400 0700 41424344 1400 5055 0100 0400 55534552"
                                          "494e 0100 0400 494e5354 0700 31313141 000000");
};

TEST_F(EnvelopeTakingOff, MovesFromTheEnvelopeToTheMessage)
{
    EXPECT_EQ(Skip(plain), (Skipped{DCON_MESSAGE_GOOD, 16, 7}));
}

TEST_F(EnvelopeTakingOff, StepsOverTheAddressees)
{
    EXPECT_EQ(Skip(addressed), (Skipped{DCON_MESSAGE_GOOD, 36, 7}));
}

TEST_F(EnvelopeTakingOff, BytesBehindTheEnvelopeStayOnTheMessage)
{
    EXPECT_EQ(Skip(plain + "xyz"), (Skipped{DCON_MESSAGE_GOOD, 16, 10}));
}

TEST_F(EnvelopeTakingOff, EveryTruncationIsBadOrAShorterMessage)
{
    for (std::size_t len = 0; len < addressed.size(); ++len) {
        const Skipped shorter{DCON_MESSAGE_GOOD, 36, static_cast<int>(len) - 36};
        EXPECT_EQ(Skip(addressed.substr(0, len)), len < 36 ? Bad(len) : shorter) << len;
    }
}

TEST_F(EnvelopeTakingOff, AnyDestinationLengthIsHeldAgainstTheFrame)
{
    std::string frame = plain;
    frame[12] = 7;
    EXPECT_EQ(Skip(frame), (Skipped{DCON_MESSAGE_GOOD, 23, 0}));
    frame[12] = 8;
    EXPECT_EQ(Skip(frame), Bad(frame.size()));
    frame[12] = frame[13] = '\xFF';
    EXPECT_EQ(Skip(frame), Bad(frame.size()));
}

TEST_F(EnvelopeTakingOff, AFrameWithoutBytesIsBad)
{
    const char* data = nullptr;
    int len = 100;
    EXPECT_EQ(DCON_Skip_Header(&data, &len, "D"), DCON_MESSAGE_BAD);
    data = plain.data();
    len = -1;
    EXPECT_EQ(DCON_Skip_Header(&data, &len, "D"), DCON_MESSAGE_BAD);
}

TEST_F(EnvelopeTakingOff, AMessageWithoutANumberIsPlain)
{
    for (const std::string& start :
         {"ABC"s, "86"s, "8"s, ""s, "86A"s, "8:9"s, " 86"s, "+86"s, "8\0009"s, "\xB8\xB6\xB9"s}) {
        const std::string message = start + std::string(300, start.size() < 3 ? '-' : '9');
        EXPECT_EQ(Skip(plain.substr(0, 16) + message).result, DCON_MESSAGE_GOOD) << start;
    }
    EXPECT_EQ(Skip(plain.substr(0, 16) + "86").result, DCON_MESSAGE_GOOD);
}

TEST_F(EnvelopeTakingOff, OnlyNumber869IsAClockCheck)
{
    EXPECT_EQ(Skip(plain.substr(0, 16) + "868 too short for a time block").result, DCON_MESSAGE_GOOD);
    EXPECT_EQ(Skip(plain.substr(0, 16) + "869 too short for a time block").result, DCON_MESSAGE_BAD);
    EXPECT_EQ(Skip(plain.substr(0, 16) + "870 too short for a time block").result, DCON_MESSAGE_GOOD);
}

} // namespace
