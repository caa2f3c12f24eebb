#include "global.h"
#include "qcapi/support.h"
#include "support/clock_check_frame.h"
#include "support/codec_vectors.h"
#include "support/fake_system.h"
#include "support/taken_record.h"
#include "transport/clock_check.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using namespace std::string_literals;

constexpr unsigned evening = 1'700'000'000;
const std::string no_extra(CMSS_EXTRA_LEN, '\0');

class InboundDoor : public testing::Test
{
protected:
    InboundDoor()
    {
        // Slots that have held something.
        for (int i = 0; i < CMSS_INITIAL_NUM_RECORDS; ++i) {
            ring.Collect(22, "old", 3, "old", "old old old old old");
            TakeRecord(ring);
        }
        Glb_Send_Mss->Initialize();
    }
    ~InboundDoor() override
    {
        glb_ME_test = 0;
        COMMON_Adjust_Time(0);
        Glb_Send_Mss->Initialize();
    }

    void Put(int status, const std::string& data, const char* source = identity, char* extra = nullptr)
    {
        DCON_Put_Message_In_Recv_Array(&ring, status, data.data(), static_cast<int>(data.size()), source, extra, 0, 0);
    }
    void PutMessage(const std::string& payload, char* extra = nullptr)
    {
        Put(TCP_STATUS_PACKET_RECEIVED, payload, identity, extra);
    }
    TakenRecord Taken() { return TakeRecord(ring); }
    bool IsAnyRecord() { return ring.Is_Any_Pkt() != 0; }
    void ExpectBad(const std::string& extra)
    {
        const TakenRecord record = Taken();
        EXPECT_EQ(record.status, 5000);
        EXPECT_EQ(record.data, "Desk");
        EXPECT_EQ(record.source, identity);
        EXPECT_EQ(record.extra, extra);
        EXPECT_FALSE(IsAnyRecord());
    }

    static constexpr const char* identity = "Desk";
    const std::string envelope = FromHex("0100 1700 6400 0700 41424344 0000 0700 31313141 000000");
    const std::string addressed = FromHex("0100 2100 6400 0700 41424344 0a00 5055 0100 0400 55534552"
                                          "0700 31313141 000000");
    char given_extra[CMSS_EXTRA_LEN + 1] = "extra extra extra ex";
    FakeSystem system{evening};
    CMss_Arr ring{CMSS_INITIAL_NUM_RECORDS, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO};
};

TEST_F(InboundDoor, AMessageComesWithoutItsEnvelopeWhoseStartIsTheExtraData)
{
    PutMessage(addressed, given_extra);
    const TakenRecord record = Taken();
    EXPECT_EQ(record.status, 22);
    EXPECT_EQ(record.data, "111A\0\0\0"s);
    EXPECT_EQ(record.source, identity);
    EXPECT_EQ(ToHex(record.extra), "0100210064000700414243440a00505501000400");
    EXPECT_FALSE(IsAnyRecord());
}

TEST_F(InboundDoor, APayloadShorterThanTheExtraDataLeavesZerosBehindIt)
{
    GuardedBuffer exact(17);
    std::memcpy(exact.data(), envelope.data(), 17);
    DCON_Put_Message_In_Recv_Array(&ring, 22, reinterpret_cast<const char*>(exact.data()), 17, identity, nullptr, 0, 0);
    const TakenRecord record = Taken();
    EXPECT_EQ(record.data, "1");
    EXPECT_EQ(ToHex(record.extra), "0100170064000700414243440000070031000000");
}

TEST_F(InboundDoor, EveryTruncationIsBadOrAShorterMessage)
{
    for (std::size_t size = 0; size <= addressed.size(); ++size) {
        GuardedBuffer exact(size);
        std::memcpy(exact.data(), addressed.data(), size);
        DCON_Put_Message_In_Recv_Array(&ring, 22, reinterpret_cast<const char*>(exact.data()), static_cast<int>(size),
                                       identity, nullptr, 0, 0);
        EXPECT_TRUE(exact.Intact());
        if (size < 26) {
            ExpectBad(no_extra);
        } else {
            EXPECT_EQ(Taken().data, addressed.substr(26, size - 26));
        }
    }
}

TEST_F(InboundDoor, AnEnvelopeThatDoesNotFitIsToldWithTheIdentityAndTheGivenExtraData)
{
    PutMessage("too short", given_extra);
    ExpectBad("extra extra extra ex");
}

TEST_F(InboundDoor, BadDataWithoutAnIdentityIsToldAllTheSame)
{
    Put(TCP_STATUS_PACKET_RECEIVED, "too short", nullptr);
    const TakenRecord record = Taken();
    EXPECT_EQ(record.status, 5000);
    EXPECT_EQ(record.data, "");
    EXPECT_EQ(record.source, nullptr);
}

TEST_F(InboundDoor, AMessageWithoutBytesIsBadData)
{
    DCON_Put_Message_In_Recv_Array(&ring, 22, nullptr, 100, identity, nullptr, 0, 0);
    ExpectBad(no_extra);
    DCON_Put_Message_In_Recv_Array(&ring, 22, envelope.data(), -1, identity, nullptr, 0, 0);
    ExpectBad(no_extra);
}

TEST_F(InboundDoor, AStatusIsHandedOnAsItIs)
{
    Put(TCP_STATUS_CLOSED_CONNECTION, envelope, identity, given_extra);
    const TakenRecord record = Taken();
    EXPECT_EQ(record.status, 20);
    EXPECT_EQ(record.data, envelope);
    EXPECT_EQ(record.source, identity);
    EXPECT_EQ(record.extra, "extra extra extra ex");
}

TEST_F(InboundDoor, AStatusWithoutExtraDataBringsZeros)
{
    Put(TCP_STATUS_OPEN_CONNECTION, "D");
    EXPECT_EQ(Taken().extra, no_extra);
    DCON_Put_Message_In_Recv_Array(&ring, TCP_TICKING_MESSAGE, nullptr, 0, nullptr, nullptr, 0, 0);
    const TakenRecord tick = Taken();
    EXPECT_EQ(tick.status, 29);
    EXPECT_EQ(tick.data, "");
    EXPECT_EQ(tick.extra, no_extra);
}

TEST_F(InboundDoor, WithoutARingNothingHappens)
{
    CheckFrame frame = CheckFrame::WithWord(8);
    DCON_Put_Message_In_Recv_Array(nullptr, 22, frame.bytes.data(), 207, "D", nullptr, 0, 0);
    EXPECT_EQ(frame.bytes, CheckFrame::WithWord(8).bytes);
    EXPECT_EQ(Glb_Send_Mss->Is_Any_Pkt(), 0);
}

TEST_F(InboundDoor, AMessageThatIsLeftAloneKeepsItsEnvelope)
{
    for (const unsigned bits : {1U, 2U, 3U, 0xDFU}) {
        glb_ME_test = bits;
        PutMessage(envelope);
        const TakenRecord record = Taken();
        EXPECT_EQ(record.status, 22);
        EXPECT_EQ(record.data, envelope);
        EXPECT_EQ(record.extra, envelope.substr(0, 20));
    }
}

TEST_F(InboundDoor, OtherBitsTakeTheEnvelopeOff)
{
    for (const unsigned bits : {32U, 33U, 34U, 0xFFU, 0xDCU}) {
        glb_ME_test = bits;
        PutMessage(envelope);
        EXPECT_EQ(Taken().data.size(), 7U) << bits;
    }
}

TEST_F(InboundDoor, AClockCheckThatEndsHereLeavesNoRecordAndMovesTheClock)
{
    setenv("TZ", "UTC0", 1);
    const unsigned now = COMMON_GetTime();
    DCON_Format_time_message();
    CheckFrame frame(TakeRecord(*Glb_Send_Mss).data);
    frame.Stamp(3, now + 7, frame.Fraction(2), 100);
    frame.SetWord(20);
    Put(TCP_STATUS_PACKET_RECEIVED, frame.bytes, "D");
    EXPECT_FALSE(IsAnyRecord());
    EXPECT_EQ(Glb_Send_Mss->Is_Any_Pkt(), 0);
    EXPECT_EQ(Glb_time_diff, 700);
}

TEST_F(InboundDoor, AClockCheckThatGoesOnIsARecordToo)
{
    CheckFrame frame = CheckFrame::WithWord(4);
    Put(TCP_STATUS_PACKET_RECEIVED, frame.bytes, "D");
    const TakenRecord record = Taken();
    const TakenRecord sent = TakeRecord(*Glb_Send_Mss);
    EXPECT_EQ(record.status, 22);
    EXPECT_EQ(record.data, sent.data.substr(16));
    EXPECT_EQ(record.extra, sent.data.substr(0, 20));
    EXPECT_EQ(CheckFrame(sent.data).Word(), 12U);
}

TEST_F(InboundDoor, AClockCheckAtAStageThatIsNoneIsBadData)
{
    PutMessage(CheckFrame::WithWord(24).bytes);
    ExpectBad(no_extra);
    PutMessage(CheckFrame::WithWord(8).bytes.substr(0, 186));
    ExpectBad(no_extra);
}

// In a process of its own: there is no way back.
TEST_F(InboundDoor, OnceClosedItDropsEverything)
{
    const auto put_behind_a_closed_door = [this] {
        DCON_Do_Not_Receive_Msgs();
        PutMessage(envelope);
        Put(TCP_STATUS_OPEN_CONNECTION, "D");
        std::_Exit(IsAnyRecord() ? 1 : 0);
    };
    EXPECT_EXIT(put_behind_a_closed_door(), testing::ExitedWithCode(0), "");
}

TEST(ConnectionNews, TravelInTheExtraDataLittleEndian)
{
    char extra[CMSS_EXTRA_LEN];
    std::memset(extra, '#', sizeof extra);
    Store_News(extra, {.connection = 0x01020304, .host = 0xA1A2A3A4});
    EXPECT_EQ(ToHex(std::string(extra, sizeof extra)), "04030201a4a3a2a1" + std::string(24, '0'));
    const Connection_News news = Load_News(extra);
    EXPECT_EQ(news.connection, 0x01020304U);
    EXPECT_EQ(news.host, 0xA1A2A3A4U);
}

} // namespace
