// Frames found in the stream, and records made of them.
#include "support/bsd_link.h"
#include "support/clock_check_frame.h"
#include "support/wsock_fixture.h"

#include <algorithm>
#include <cstring>

namespace {

using WSocketReceive = WSocketTest;

std::string Three_Frames()
{
    return MakeFrame("DTCP", MakeEnvelope("one")) + MakeFrame("DTCE", Sealed(MakeEnvelope("two"))) +
           MakeFrame("DTNC", MakeEnvelope("three"));
}

Texts Three_Messages()
{
    return {Delivered("one"), Delivered("two"), Delivered("three")};
}

// ---- Reassembly

TEST_F(WSocketReceive, TwoFramesAndTheHalfOfAThirdGiveTwoRecordsAndThenTheThird)
{
    Open();
    const std::string bytes = Three_Frames();
    const std::size_t cut = bytes.size() - 10;
    Feed(bytes.substr(0, cut));
    EXPECT_EQ(Take_Messages(), (Texts{Delivered("one"), Delivered("two")}));
    Feed(bytes.substr(cut));
    EXPECT_EQ(Take_Messages(), Texts{Delivered("three")});
    EXPECT_EQ(socket.Frames_Received(), 3U);
    EXPECT_EQ(Inside::Held(socket), 0);
}

TEST_F(WSocketReceive, StreamMayBeCutAnywhere)
{
    const std::string bytes = Three_Frames();
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        Open();
        Feed(bytes.substr(0, cut));
        Feed(bytes.substr(cut));
        EXPECT_EQ(Take_Messages(), Three_Messages()) << cut;
    }
}

TEST_F(WSocketReceive, StreamMayComeByteByByte)
{
    Open();
    for (const char byte : Three_Frames()) {
        Feed({&byte, 1});
    }
    EXPECT_EQ(Take_Messages(), Three_Messages());
}

TEST_F(WSocketReceive, NothingHappensBelowTheSixBytesOfAHeader)
{
    Open();
    Feed("DTCP\x13");
    EXPECT_EQ(Inside::Held(socket), 5);
    EXPECT_EQ(Inside::Awaited(socket), 0);
    Feed(Zeros(1));
    EXPECT_EQ(Inside::Held(socket), 0);
    EXPECT_EQ(Inside::Awaited(socket), 19);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketReceive, EvenABadMarkIsJudgedByItsSixthByte)
{
    Open();
    Feed("TEST\x01");
    EXPECT_EQ(Take_Statuses(), Statuses{});
    Feed(Zeros(1));
    EXPECT_EQ(Take_Statuses(), Statuses{5000});
}

TEST_F(WSocketReceive, LongestFrameIsTaken)
{
    Open();
    const std::string message = Noise(60'000 - 19);
    Feed(MakeFrame("DTCP", MakeEnvelope(message)));
    EXPECT_EQ(Take_Messages(), Texts{Delivered(message)});
    Feed_Envelope("next");
    EXPECT_EQ(Take_Messages(), Texts{Delivered("next")});
}

TEST_F(WSocketReceive, FramesBehindTheLongestOneComeInTheSameLook)
{
    Open();
    const std::string message = Noise(60'000 - 19);
    Feed(MakeFrame("DTCP", MakeEnvelope(message)) + Three_Frames());
    Texts expected = Three_Messages();
    expected.insert(expected.begin(), Delivered(message));
    EXPECT_EQ(Take_Messages(), expected);
}

TEST_F(WSocketReceive, NothingIsReadBehindTheInboundBuffer)
{
    Open();
    std::memset(Inside::Work_Buffer(socket), 0xEE, TCP_MAX_BUF_LEN);
    const std::string frame = MakeFrame("DTCP", MakeEnvelope(Noise(60'000 - 19)));
    Feed(frame + frame);
    EXPECT_EQ(Take_Messages().size(), 2U);
    EXPECT_EQ(std::string(Inside::Work_Buffer(socket), TCP_MAX_BUF_LEN), std::string(TCP_MAX_BUF_LEN, '\xEE'));
}

// Each of these frames takes two reads.
TEST_F(WSocketReceive, PeerThatSendsFasterThanIsTakenGetsEightReadsALook)
{
    Open();
    const int room = 400'000;
    setsockopt(stream->Far(), SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    const std::string frame = MakeFrame("DTCP", MakeEnvelope(Noise(60'000 - 19)));
    for (int i = 0; i < 5; ++i) {
        if (stream->Write(frame) != frame.size()) {
            GTEST_SKIP() << "the system's buffers are too small";
        }
    }
    Look();
    EXPECT_EQ(Take_Messages().size(), 4U);
    Look();
    EXPECT_EQ(Take_Messages().size(), 1U);
}

// ---- Alive signals

TEST_F(WSocketReceive, AliveSignalIsCountedAndGivesNoRecord)
{
    Open();
    Feed(AliveFrame());
    EXPECT_EQ(socket.Alive_Signals_Received(), 1U);
    EXPECT_EQ(socket.Frames_Received(), 0U);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketReceive, EveryMarkOfLengthZeroIsAnAliveSignal)
{
    Open();
    for (const char* mark : {"DTCP", "DTBC", "DTCE", "DTRC", "DTNE", "DTBE", "DTRE", "DTNC"}) {
        Feed(MakeFrame(mark, ""));
    }
    EXPECT_EQ(socket.Alive_Signals_Received(), 8U);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketReceive, TenThousandAliveSignalsInOneBufferAreCounted)
{
    Open();
    std::string bytes;
    for (int i = 0; i < 10'000; ++i) {
        bytes += AliveFrame();
    }
    Feed(bytes);
    EXPECT_EQ(socket.Alive_Signals_Received(), 10'000U);
    EXPECT_EQ(Inside::Held(socket), 0);
    Feed_Envelope("next");
    EXPECT_EQ(Take_Messages(), Texts{Delivered("next")});
}

TEST_F(WSocketReceive, TenThousandAliveSignalsByteByByteAreCounted)
{
    Open();
    const std::string signal = AliveFrame();
    for (int i = 0; i < 60'000; ++i) {
        Feed(signal.substr(static_cast<std::size_t>(i % 6), 1));
    }
    EXPECT_EQ(socket.Alive_Signals_Received(), 10'000U);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

// ---- Records

struct Arrival
{
    std::string mark;
    int mode; // of the sending end
    std::size_t message_len;
    bool noise;
    std::size_t zeros; // behind the message
};

void PrintTo(const Arrival& arrival, std::ostream* out)
{
    *out << arrival.mark << " of " << arrival.message_len;
}

class Arrivals : public WSocketTest, public testing::WithParamInterface<Arrival>
{
protected:
    [[nodiscard]] static std::string Message()
    {
        const Arrival& arrival = GetParam();
        return arrival.noise ? Noise(arrival.message_len) : "12" + Zeros(arrival.message_len - 2);
    }
    WireEncoder encoder{GetParam().mode};
};

TEST_P(Arrivals, RecordHasTheMessageItsZerosTheStartOfTheEnvelopeAndTheIdentity)
{
    Open(SENDPKTNORMAL); // takes every mark in every mode
    std::memset(Inside::Work_Buffer(socket), 0xEE, TCP_MAX_BUF_LEN);
    const std::string envelope = MakeEnvelope(Message());
    const WireFrame frame = encoder.Encode(envelope);
    ASSERT_EQ(frame.mark, GetParam().mark);
    Feed(frame.bytes());
    const std::optional<Record> record = Take();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, 22);
    EXPECT_EQ(record->data, Delivered(Message(), GetParam().zeros));
    EXPECT_EQ(record->extra, envelope.substr(0, 20));
    EXPECT_EQ(record->text(), "D");
    EXPECT_EQ(socket.Frames_Received(), 1U);
}

TEST_P(Arrivals, DictionariesStayInStep)
{
    Open(SENDPKTENCRYPT);
    const std::string message = Message();
    for (int i = 0; i < 5; ++i) {
        Feed(encoder.Encode(MakeEnvelope(message)).bytes());
        const Texts messages = Take_Messages();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages.front().substr(0, message.size() + 3), Delivered(message));
    }
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
}

INSTANTIATE_TEST_SUITE_P(AllMarks, Arrivals,
                         testing::Values(Arrival{"DTCP", 1, 300, true, 3}, Arrival{"DTCP", 2, 1500, true, 3},
                                         Arrival{"DTBC", 2, 300, false, 6}, Arrival{"DTBC", 2, 3300, false, 6},
                                         Arrival{"DTCE", 0, 300, true, 3}, Arrival{"DTCE", 3, 1500, true, 3},
                                         Arrival{"DTRC", 2, 1500, false, 3}, Arrival{"DTRC", 2, 2029, false, 3},
                                         Arrival{"DTNE", 3, 300, true, 3}, Arrival{"DTNE", 3, 3300, true, 3},
                                         Arrival{"DTBE", 3, 300, false, 6}, Arrival{"DTBE", 3, 3300, false, 6},
                                         Arrival{"DTRE", 3, 1500, false, 3}, Arrival{"DTRE", 3, 2029, false, 3},
                                         Arrival{"DTNC", 2, 300, true, 3}, Arrival{"DTNC", 2, 3300, true, 3}));

TEST_F(WSocketReceive, HandMadePacketOfTheDictionaryIsRestored)
{
    Open();
    // 16 zero bytes and "aaa": codes 0, 257, 258, 259, 260 and 0, then 97 and 97 twice over, 9 bits each.
    const Bytes packet = PackCodes({{0, 9}, {257, 9}, {258, 9}, {259, 9}, {260, 9}, {0, 9}, {97, 9}, {263, 9}});
    Feed(MakeFrame("DTBC", {reinterpret_cast<const char*>(packet.data()), packet.size()}));
    EXPECT_EQ(Take_Messages(), Texts{"aaa" + Zeros(3)});
}

TEST_F(WSocketReceive, BytesBehindTheEnvelopeArePartOfTheRecord)
{
    Open();
    WireEncoder encoder(2);
    encoder.overlong = true;
    Feed(encoder.Encode(MakeEnvelope(Noise(1481))).bytes());
    EXPECT_EQ(Take_Messages(), Texts{Delivered(Noise(1481), 3 + 44)});
}

TEST_F(WSocketReceive, AddresseesAreTakenOffWithTheEnvelope)
{
    Open();
    Feed(MakeFrame("DTCP", MakeEnvelope("message", {{"EQ", {"ABCD", "EFGH"}}, {"US", {"12"}}})));
    EXPECT_EQ(Take_Messages(), Texts{Delivered("message")});
}

TEST_F(WSocketReceive, PacketOf19999BytesIsGoodThoughItsResultIsThatOfABadOne)
{
    Open();
    WireEncoder encoder(2);
    const std::string message = Compressible(19'980);
    const WireFrame frame = encoder.Encode(MakeEnvelope(message));
    ASSERT_EQ(frame.mark, "DTBC");
    Feed(frame.bytes());
    EXPECT_EQ(Take_Messages(), Texts{Delivered(message, 6)});
    Feed(encoder.Encode(MakeEnvelope(message)).bytes());
    EXPECT_EQ(Take_Messages(), Texts{Delivered(message, 6)});
}

// ---- A clock check that feeds the dictionary

TEST_F(WSocketReceive, ClockCheckReachesTheDictionaryUnstamped)
{
    Open();
    Glb_Send_Mss->Initialize();
    WireEncoder encoder(2);
    const CheckFrame check = CheckFrame::WithWord(12);
    encoder.Encode(check.bytes); // as if it had not gained
    Feed(MakeFrame("DTNC", check.bytes));
    EXPECT_EQ(Take_All().size(), 1U);
    EXPECT_EQ(Glb_Send_Mss->Is_Any_Pkt(), 1);
    for (const std::string& message : {"text" + check.bytes, "more" + check.bytes, Compressible(300)}) {
        const WireFrame frame = encoder.Encode(MakeEnvelope(message));
        ASSERT_EQ(frame.mark, "DTBC");
        Feed(frame.bytes());
        EXPECT_EQ(Take_Messages(), Texts{Delivered(message, 6)});
    }
    Glb_Send_Mss->Initialize();
}

// ---- What goes with a status

TEST_F(WSocketReceive, StatusesCarryTheConnectionsNumberAndItsHost)
{
    socket.Set_Host_Index(7);
    for (std::uint32_t number = 1; number <= 3; ++number) {
        Open();
        Feed("XXXXXX");
        const std::optional<Record> record = Take();
        ASSERT_TRUE(record);
        EXPECT_EQ(record->status, 5000);
        EXPECT_EQ(record->data, "D");
        EXPECT_EQ(record->text(), "D");
        EXPECT_EQ(record->news().connection, number);
        EXPECT_EQ(record->news().host, 7U);
        EXPECT_EQ(socket.Connection_Number(), number);
    }
}

TEST_F(WSocketReceive, BadEnvelopeIsToldWithTheConnectionsNumberToo)
{
    socket.Set_Host_Index(3);
    Open();
    Feed(MakeFrame("DTCP", "short"));
    const std::optional<Record> record = Take();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, 5000);
    EXPECT_EQ(record->data, "D");
    EXPECT_EQ(record->news().connection, 1U);
    EXPECT_EQ(record->news().host, 3U);
}

TEST_F(WSocketReceive, WithoutARingNothingIsTold)
{
    Open();
    socket.Set_Ring(nullptr);
    Feed_Envelope("message");
    EXPECT_EQ(socket.Frames_Received(), 1U);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

} // namespace
