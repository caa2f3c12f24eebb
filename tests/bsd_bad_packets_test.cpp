// Packets that no compressor writes: they are refused, or read as told, and leave no trace.
#include "support/bsd_link.h"

#include <cstring>

namespace {

class BsdBadPackets : public BsdLink
{
protected:
    int Receive(const Bytes& packet)
    {
        GuardedBuffer out(3000);
        const int len = bsd_decompress(decomp.get(), packet.data(), static_cast<int>(packet.size()), out.data(), 3000);
        EXPECT_TRUE(out.Intact());
        return len;
    }

    // With the state unchanged in every word.
    void ExpectBad(const Bytes& packet)
    {
        bsd_db before{};
        std::memcpy(&before, &Db(decomp), sizeof before);
        EXPECT_EQ(Receive(packet), 20002);
        EXPECT_EQ(std::memcmp(&before, &Db(decomp), sizeof before), 0);
    }

    std::string Printed(const Bytes& packet)
    {
        testing::internal::CaptureStdout();
        Receive(packet);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    // A packet of 12-bit codes without the CLEAR at its end: the bits before 0001 0000 0000 and up to seven ones.
    static Bytes WithoutClear(const Bytes& packet)
    {
        std::vector<std::pair<unsigned, int>> bits;
        for (const unsigned char byte : packet) {
            for (int bit = 7; bit >= 0; --bit) {
                bits.emplace_back(byte >> bit & 1, 1);
            }
        }
        bits.resize(bits.size() / 12 * 12); // all codes have 12 bits, and less than one follows them
        EXPECT_EQ(PackCodes({bits.end() - 12, bits.end()}), (Bytes{0x10, 0x0F}));
        bits.resize(bits.size() - 12);
        return PackCodes(bits);
    }

    // Makes the packet that a CLEAR ends, with all packets before it received. `plain` is what it holds.
    void MakePacketWithClear(PacketSource& source, Bytes& plain, Bytes& packet)
    {
        for (int i = 0; i < 20; ++i) {
            plain = source.Noise(1000);
            packet = Compress(plain);
            if (Db(comp).clear_count > 0) {
                return;
            }
            ASSERT_EQ(Decompress(packet, plain), 1003);
        }
        FAIL() << "no CLEAR";
    }
};

TEST_F(BsdBadPackets, AStringWithoutACodeBeforeItIsBad)
{
    ExpectBad(PackCodes({{257, 9}}));
    ExpectBad(PackCodes({{258, 9}}));
}

TEST_F(BsdBadPackets, ACodeThreeAboveTheHighestIsBad)
{
    ExpectBad(PackCodes({{97, 9}, {259, 9}}));
}

// The second code stands for "aa", as 257 would, and becomes the code before the third: "aa" + "a" is 258.
TEST_F(BsdBadPackets, ACodeTwoAboveTheHighestIsTheStringBeingBuilt)
{
    EXPECT_EQ(Decompress(PackCodes({{97, 9}, {258, 9}, {257, 9}, {258, 9}}), BytesOf("aaaaaaaa")), 11);
    EXPECT_EQ(Db(decomp).max_ent, 259U);
    EXPECT_EQ(Db(decomp).lens[257], 2);
    EXPECT_EQ(Db(decomp).lens[258], 3);
    EXPECT_EQ(Db(decomp).lens[259], 3);
}

// "ab" is 257 and once more 261, which no compressor writes: as a plain packet, "abcd" is 259 ("abc") and 100.
TEST_F(BsdBadPackets, OfTwoEqualStringsTheFirstOneCounts)
{
    const Bytes packet = PackCodes({{97, 9}, {98, 9}, {257, 9}, {99, 9}, {97, 9}, {98, 9}});
    ASSERT_EQ(Decompress(packet, BytesOf("ababcab")), 10);
    ASSERT_EQ(Db(decomp).max_ent, 261U);
    bsd_incomp(decomp.get(), BytesOf("abcd").data(), 4);
    EXPECT_EQ(Db(decomp).max_ent, 262U);
    EXPECT_EQ(Db(decomp).bytes_out, 10U); // 7, and 18 bits
    EXPECT_EQ(Db(decomp).lens[262], 4);
    bsd_incomp(decomp.get(), BytesOf("abcd").data(), 4); // 262 alone: the strings behind the second "ab" are found too
    EXPECT_EQ(Db(decomp).max_ent, 262U);
    EXPECT_EQ(Db(decomp).bytes_out, 12U);
}

// With 4095 strings in use there is no string being built, and no code above the highest fits twelve bits.
TEST_F(BsdBadPackets, AFullDictionaryKnowsEveryCode)
{
    PacketSource source(1);
    ASSERT_NO_FATAL_FAILURE(FillDictionary(source));
    EXPECT_EQ(Receive(PackCodes({{97, 12}, {4095, 12}})), 1 + Db(decomp).lens[4095] + 3);
}

// With 4094 in use, 4095 is the string being built.
TEST_F(BsdBadPackets, TheLastCodeCanBeTheStringBeingBuilt)
{
    PacketSource source(2);
    ASSERT_NO_FATAL_FAILURE(FillDictionary(source, 4094));
    EXPECT_EQ(Receive(PackCodes({{97, 12}, {4095, 12}})), 3 + 3);
    EXPECT_EQ(Db(decomp).max_ent, 4095U);
}

TEST_F(BsdBadPackets, AClearWithInputBehindItIsBad)
{
    ExpectBad(PackCodes({{97, 9}, {256, 9}, {97, 9}}));
    ExpectBad(Bytes{0x80, 0x7F, 0xFF}); // and be it padding
}

TEST_F(BsdBadPackets, AClearAtTheEndEmptiesTheDictionaryOnce)
{
    Decompress(PackCodes({{97, 9}, {98, 9}, {256, 9}}), BytesOf("ab"));
    EXPECT_EQ(Db(decomp).max_ent, 256U);
    EXPECT_EQ(Db(decomp).clear_count, 1U);
    EXPECT_EQ(Db(decomp).in_count, 0U);
    EXPECT_EQ(Db(decomp).bytes_out, 0U);
    EXPECT_EQ(Db(decomp).uncomp_bytes, 2U);
}

TEST_F(BsdBadPackets, BitsThatAreNoWholeCodeAreLeft)
{
    EXPECT_EQ(Receive(Bytes{0x30}), 3);
    EXPECT_EQ(Receive(Bytes{0x30, 0x80}), 4);
}

TEST_F(BsdBadPackets, AreSilentWithoutDebug)
{
    EXPECT_EQ(Printed(PackCodes({{97, 9}, {256, 9}, {97, 9}})), "");
    EXPECT_EQ(Printed(PackCodes({{97, 9}, {300, 9}})), "");
}

TEST_F(BsdBadPackets, SayWhatIsWrongWithDebug)
{
    Connect(1);
    Receive(PackCodes({{97, 9}, {98, 9}})); // packet 0
    EXPECT_EQ(Printed(PackCodes({{97, 9}, {256, 9}, {97, 9}})), "bsd_decomp3: bad CLEAR\n");
    EXPECT_EQ(Printed(PackCodes({{97, 9}, {98, 9}, {300, 9}})),
              "bsd_decomp3: bad code 0x12c oldcode=0x62 max_ent=0x102 explen=5 seqno=1\n");
    EXPECT_EQ(Printed(PackCodes({{258, 9}})),
              "bsd_decomp3: bad code 0x102 oldcode=0x100 max_ent=0x101 explen=3 seqno=1\n");
}

TEST_F(BsdBadPackets, TheTextOfABadCodeIsThatOfAPacketWithoutRoom)
{
    Connect(1);
    GuardedBuffer out(4);
    const Bytes packet = PackCodes({{97, 9}, {98, 9}});
    testing::internal::CaptureStdout();
    EXPECT_EQ(bsd_decompress(decomp.get(), packet.data(), 3, out.data(), 4), 20002);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "bsd_decomp3: bad code 0x62 oldcode=0x61 max_ent=0x101 explen=4 seqno=0\n");
    EXPECT_TRUE(out.UntouchedFrom(1));
}

// The compressor cleared its dictionary here, and the receiver, that counts as it does, clears its own: the CLEAR is
// missed and the two are in step all the same.
TEST_F(BsdBadPackets, AMissingClearIsToldAndMadeUpFor)
{
    Connect(1);
    PacketSource source(3);
    Bytes plain;
    Bytes whole;
    ASSERT_NO_FATAL_FAILURE(MakePacketWithClear(source, plain, whole));
    const Bytes packet = WithoutClear(whole);
    const std::string number = std::to_string(Db(decomp).seqno);
    GuardedBuffer out(1003);
    testing::internal::CaptureStdout();
    EXPECT_EQ(bsd_decompress(decomp.get(), packet.data(), static_cast<int>(packet.size()), out.data(), 1003), 1003);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "bsd_decomp3: peer should have cleared dictionary on " + number + "\n");
    EXPECT_EQ(out.First(1000), plain);
    EXPECT_EQ(Db(decomp).clear_count, 1U);
    Send(source.Words(300));
}

TEST_F(BsdBadPackets, AClearInTimeIsNotToldOf)
{
    Connect(1);
    PacketSource source(3);
    Bytes plain;
    Bytes packet;
    ASSERT_NO_FATAL_FAILURE(MakePacketWithClear(source, plain, packet));
    EXPECT_EQ(Printed(packet), "");
    ExpectInStep();
}

TEST_F(BsdBadPackets, EveryRoomTooSmallIsRefusedWithoutAWriteBesideIt)
{
    PacketSource source(4);
    Send(source.Records(400));
    const Bytes plain = source.Records(200);
    const Bytes packet = Compress(plain);
    bsd_db before{};
    std::memcpy(&before, &Db(decomp), sizeof before);
    for (int room = 202; room >= 0; --room) {
        GuardedBuffer out(static_cast<std::size_t>(room));
        EXPECT_EQ(bsd_decompress(decomp.get(), packet.data(), static_cast<int>(packet.size()), out.data(), room),
                  20002);
        EXPECT_TRUE(out.UntouchedFrom(static_cast<std::size_t>(std::max(room - 3, 0))));
    }
    EXPECT_EQ(std::memcmp(&before, &Db(decomp), sizeof before), 0);
    EXPECT_EQ(Decompress(packet, plain), 203);
    ExpectInStep();
}

// Each good packet comes behind one that was spoilt in some way. A spoilt packet may also be a good one of other
// content; then both ends start again.
TEST_F(BsdBadPackets, TheNextGoodPacketIsReadAsIfTheBadOneHadNotCome)
{
    PacketSource source(5);
    int bad = 0;
    for (int i = 0; i < 2000; ++i) {
        const Bytes plain = source.Any(400);
        const Bytes packet = Compress(plain);
        Bytes spoilt = packet;
        spoilt[source.Below(static_cast<unsigned>(spoilt.size()))] ^= static_cast<unsigned char>(1 + source.Below(255));
        spoilt.push_back(0xFF); // a code of ones too many, for most widths
        spoilt.push_back(0xFF);
        if (Receive(spoilt) != 20002) {
            Restart();
            continue;
        }
        ++bad;
        ASSERT_EQ(Decompress(packet, plain), static_cast<int>(plain.size()) + 3);
        ASSERT_NO_FATAL_FAILURE(ExpectInStep());
        if (source.Below(3) == 0) {
            ASSERT_NO_FATAL_FAILURE(SendPlain(source.Any(300)));
        }
    }
    EXPECT_GT(bad, 1000);
}

TEST_F(BsdBadPackets, NoiseNeverHarmsTheStateOrTheNeighbours)
{
    PacketSource source(6);
    for (int i = 0; i < 3000; ++i) {
        const Bytes noise = source.Noise(1 + source.Below(60));
        Receive(noise);
        if (source.Below(5) == 0) {
            bsd_incomp(decomp.get(), noise.data(), static_cast<int>(noise.size()));
        }
        ASSERT_LE(Db(decomp).max_ent, 4095U);
        ASSERT_LE(Db(decomp).n_bits, 12);
    }
}

} // namespace
