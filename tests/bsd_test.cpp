// Both ends of a connection, packet by packet: what travels, what arrives, and that the two states stay in step.
#include "support/bsd_link.h"

#include <array>

namespace {

using BsdTest = BsdLink;

TEST_F(BsdTest, NewStatesHaveTheFixedParameters)
{
    for (const BsdOwner* state : {&comp, &decomp}) {
        const bsd_db& db = Db(*state);
        EXPECT_EQ(db.totlen, 40104); // (5003 + 10) * 8
        EXPECT_EQ(db.hsize, 5003U);
        EXPECT_EQ(db.hshift, 4);
        EXPECT_EQ(db.maxbits, 12);
        EXPECT_EQ(db.maxmaxcode, 4095U);
        EXPECT_EQ(db.max_ent, 256U);
        EXPECT_EQ(db.n_bits, 9);
        EXPECT_EQ(db.checkpoint, 10000U);
        EXPECT_EQ(db.unit, 3);
        EXPECT_EQ(db.clear_count, 0U);
        EXPECT_NE(db.dict, nullptr);
    }
    EXPECT_EQ(Db(comp).lens, nullptr);
    ASSERT_NE(Db(decomp).lens, nullptr);
    EXPECT_EQ(Db(decomp).lens[0], 1);
    EXPECT_EQ(Db(decomp).lens[255], 1);
}

TEST(BsdStates, NewStatesWorkBeforeTheyAreInitialised)
{
    const BsdOwner comp(bsd_comp_alloc());
    const BsdOwner decomp(bsd_decomp_alloc());
    GuardedBuffer packet(4);
    ASSERT_EQ(bsd_compress(comp.get(), BytesOf("aaaa").data(), packet.data(), 4, 4), 4);
    EXPECT_EQ(packet.First(4), (Bytes{0x30, 0xC0, 0x4C, 0x3F}));
    GuardedBuffer out(7);
    ASSERT_EQ(bsd_decompress(decomp.get(), packet.data(), 4, out.data(), 7), 7);
    EXPECT_EQ(out.First(4), BytesOf("aaaa"));
    EXPECT_EQ(Db(comp).clear_count, 0U);
}

TEST(BsdMemory, FreeingNothingIsHarmless)
{
    bsd_free(nullptr);
}

// 97 in nine bits and seven ones: 0 0110 0001 1111111.
TEST_F(BsdTest, OneByteIsOneCodeAndOnes)
{
    EXPECT_EQ(Compress(BytesOf("a")), (Bytes{0x30, 0xFF}));
}

// 97, 257 ("aa", the string that this very code completes) and 97.
TEST_F(BsdTest, AStringMayBeUsedByTheCodeThatFollowsIt)
{
    const Bytes packet = Compress(BytesOf("aaaa"));
    EXPECT_EQ(packet, (Bytes{0x30, 0xC0, 0x4C, 0x3F}));
    EXPECT_EQ(Decompress(packet, BytesOf("aaaa")), 7);

    // Now 258 is "aaa": 258 and 97.
    EXPECT_EQ(Compress(BytesOf("aaaa")), (Bytes{0x81, 0x18, 0x7F}));
}

// "abab" is 97, 98, 257 ("ab"): 001100001 001100010 100000001 11111. The next "ab" is 257 alone: 100000001 1111111.
TEST_F(BsdTest, TheDictionaryIsKeptFromPacketToPacket)
{
    EXPECT_EQ(Compress(BytesOf("abab")), (Bytes{0x30, 0x98, 0xA0, 0x3F}));
    EXPECT_EQ(Compress(BytesOf("ab")), (Bytes{0x80, 0xFF}));
}

// 256 codes of 9 bits make 255 strings, up to 511: the next one needs 10 bits, and the first of the next packet has
// them.
TEST_F(BsdTest, TheWidthGrowsAtTheEndOfAPacket)
{
    Bytes packet(256);
    for (std::size_t i = 0; i < packet.size(); ++i) {
        packet[i] = static_cast<unsigned char>(i);
    }
    Send(packet);
    EXPECT_EQ(Db(comp).max_ent, 511U);
    EXPECT_EQ(Db(comp).n_bits, 10);
    EXPECT_EQ(Compress(Bytes{255}), (Bytes{0x3F, 0xFF})); // 0011111111 111111
}

TEST_F(BsdTest, TheCountersTakeTheOverheadOff)
{
    Send(BytesOf("aaaa"));
    EXPECT_EQ(Db(decomp).in_count, 4U);
    EXPECT_EQ(Db(decomp).uncomp_bytes, 4U);
    EXPECT_EQ(Db(decomp).bytes_out, 4U);
    EXPECT_EQ(Db(decomp).seqno, 1);
}

TEST_F(BsdTest, PacketsThatDoNotShrinkAreCountedAlikeOnBothEnds)
{
    PacketSource source(1);
    SendPlain(source.Noise(700));
    EXPECT_EQ(Db(comp).incomp_count, 1U);
    EXPECT_EQ(Db(comp).incomp_bytes, 700U);
    EXPECT_EQ(Db(decomp).incomp_count, 1U);
    EXPECT_EQ(Db(decomp).incomp_bytes, 700U);
    Send(source.Equal(700));
    EXPECT_EQ(Db(comp).comp_count, 1U);
    EXPECT_EQ(Db(comp).uncomp_count, 2U);
    EXPECT_EQ(Db(decomp).uncomp_count, 2U);
    EXPECT_EQ(Db(decomp).uncomp_bytes, 1400U);
}

// 97, 257, 97: four bytes for four.
TEST_F(BsdTest, APacketOfEqualLengthCountsAsOneThatDoesNotShrink)
{
    Send(BytesOf("aaaa"));
    EXPECT_EQ(Db(comp).comp_count, 0U);
    EXPECT_EQ(Db(comp).incomp_count, 1U);
    EXPECT_EQ(Db(comp).incomp_bytes, 4U);
}

TEST_F(BsdTest, AnEmptyPacketIsNothing)
{
    GuardedBuffer out(8);
    for (const int len : {0, -1, -60000}) {
        EXPECT_EQ(bsd_compress(comp.get(), nullptr, out.data(), len), 0);
        EXPECT_EQ(bsd_decompress(decomp.get(), nullptr, len, out.data()), 3);
        bsd_incomp(decomp.get(), nullptr, len);
    }
    EXPECT_TRUE(out.UntouchedFrom(0));
    EXPECT_EQ(Db(comp).seqno, 0);
    ExpectInStep();
}

TEST_F(BsdTest, AnEmptyPacketBehindAFullDictionarySendsNoClear)
{
    PacketSource source(2);
    ASSERT_NO_FATAL_FAILURE(FillDictionary(source));
    GuardedBuffer out(8);
    EXPECT_EQ(bsd_compress(comp.get(), nullptr, out.data(), 0), 0);
    EXPECT_EQ(Db(comp).max_ent, 4095U);
}

TEST_F(BsdTest, WithoutOutputTheDictionaryAdvances)
{
    bsd_incomp(comp.get(), BytesOf("abab").data(), 4);
    EXPECT_EQ(bsd_compress(comp.get(), BytesOf("abab").data(), nullptr, 4), 3); // 257, 257: 18 bits
    EXPECT_EQ(Compress(BytesOf("ab")), (Bytes{0x80, 0xFF}));
}

TEST_F(BsdTest, ACompressorsStateDecompressesNothing)
{
    GuardedBuffer out(16);
    EXPECT_EQ(bsd_decompress(comp.get(), Bytes{0x30, 0xFF}.data(), 2, out.data(), 16), 20002);
    EXPECT_TRUE(out.UntouchedFrom(0));
    EXPECT_EQ(Db(comp).seqno, 0);
}

// 19999 + 3 is the number of a bad packet too.
TEST_F(BsdTest, APacketOf19999BytesIsToldFromABadOneByItsNumber)
{
    const Bytes plain(19999, 'x');
    const Bytes packet = Compress(plain);
    EXPECT_EQ(Decompress(packet, plain), 20002);
    EXPECT_EQ(Db(decomp).seqno, 1);
    ExpectInStep();
    EXPECT_EQ(Decompress(PackCodes({{4095, 12}}), {}), 20002);
    EXPECT_EQ(Db(decomp).seqno, 1);
}

TEST_F(BsdTest, ALargeBufferIsUntouchedBehindTheData)
{
    PacketSource source(10);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_NO_FATAL_FAILURE(Send(source.Any(300), 64));
    }
    EXPECT_GT(Db(comp).clear_count, 0U);
}

TEST_F(BsdTest, APlainPacketBringsTheReceiversDictionaryAndLengthsUpToDate)
{
    SendPlain(BytesOf("abab"));
    EXPECT_EQ(Db(decomp).max_ent, Db(comp).max_ent);
    EXPECT_EQ(Db(decomp).lens[257], 2);
    SendPlain(BytesOf("abac")); // "ab", "ac": "aba" is 259, "ac" is 260
    EXPECT_EQ(Db(decomp).lens[259], 3);
    Send(BytesOf("abab"));
}

TEST_F(BsdTest, AConnectStartsWithAnEmptyDictionary)
{
    PacketSource source(3);
    for (int i = 0; i < 40; ++i) {
        Send(source.Any(1000));
    }
    Connect(0);
    EXPECT_EQ(Compress(BytesOf("aaaa")), (Bytes{0x30, 0xC0, 0x4C, 0x3F}));
    EXPECT_EQ(Db(comp).seqno, 1);
}

TEST_F(BsdTest, ThousandsOfPacketsStayInStepAcrossClears)
{
    PacketSource source(4);
    for (int i = 0; i < 3000; ++i) {
        if (source.Below(4) == 0) {
            ASSERT_NO_FATAL_FAILURE(SendPlain(source.Any(700)));
        } else {
            ASSERT_NO_FATAL_FAILURE(Send(source.Any(700)));
        }
    }
    EXPECT_GT(Db(comp).clear_count, 5U);
    EXPECT_EQ(Db(comp).clear_count, Db(decomp).clear_count);
}

TEST_F(BsdTest, LongPacketsStayInStep)
{
    PacketSource source(5);
    for (int i = 0; i < 30; ++i) {
        ASSERT_NO_FATAL_FAILURE(Send(source.Any(60000)));
    }
}

// Noise fills the dictionary in some 4000 bytes and never compresses: at the first look, after 10000, a CLEAR is due.
TEST_F(BsdTest, AClearGoesOutBehindTenThousandBytesOnAFullDictionary)
{
    PacketSource source(6);
    for (int i = 0; i < 9; ++i) {
        Send(source.Noise(1000));
    }
    EXPECT_EQ(Db(comp).max_ent, 4095U);
    EXPECT_EQ(Db(comp).clear_count, 0U);
    Send(source.Noise(1000));
    EXPECT_EQ(Db(comp).clear_count, 1U);
    EXPECT_EQ(Db(decomp).max_ent, 256U);
    EXPECT_EQ(Db(decomp).in_count, 0U);
    EXPECT_EQ(Db(decomp).n_bits, 9);
}

TEST_F(BsdTest, AFallingRatioClearsThoughThePacketsStillShrink)
{
    PacketSource source(7);
    for (int i = 0; i < 200 && Db(comp).ratio == 0; ++i) { // until a full dictionary has shown what it can do
        ASSERT_NO_FATAL_FAILURE(Send(source.Records(1400)));
    }
    ASSERT_GT(Db(comp).ratio, 512U);
    for (int i = 0; i < 200 && Db(comp).clear_count == 0; ++i) { // a part of each packet is worse from now on
        Bytes packet = source.Records(1000);
        const Bytes noise = source.Noise(200);
        packet.insert(packet.end(), noise.begin(), noise.end());
        ASSERT_NO_FATAL_FAILURE(Send(packet));
    }
    EXPECT_EQ(Db(comp).clear_count, 1U);
    EXPECT_EQ(Db(comp).incomp_count, 0U);
}

TEST_F(BsdTest, TheCountersAreThinnedOutByAQuarterNearEightMillion)
{
    const Bytes packet(60000, 'x');
    unsigned before = 0;
    for (int i = 0; i < 200 && Db(comp).in_count >= before; ++i) {
        before = Db(comp).in_count;
        ASSERT_NO_FATAL_FAILURE(Send(packet));
    }
    ASSERT_LT(Db(comp).in_count, before);
    EXPECT_EQ(Db(comp).clear_count, 0U);
    EXPECT_GE(before + 60000, 0x7FFFFFU);
    EXPECT_EQ(Db(comp).in_count, before + 60000 - (before + 60000) / 4);
    EXPECT_EQ(Db(comp).checkpoint, Db(comp).in_count + 10000);
}

TEST_F(BsdTest, OutputBehindTheRoomIsCountedAndNotWritten)
{
    PacketSource source(8);
    const Bytes packet = source.Records(90);
    const Bytes whole = Compress(packet);
    const auto state = Shared(Db(comp));
    for (std::size_t room = whole.size() + 1; room-- > 0;) {
        Connect(0);
        GuardedBuffer out(room);
        EXPECT_EQ(bsd_compress(comp.get(), packet.data(), out.data(), 90, static_cast<int>(room)),
                  static_cast<int>(whole.size()));
        EXPECT_TRUE(out.Intact());
        EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + static_cast<int>(room), out.data()));
        EXPECT_EQ(Shared(Db(comp)), state);
    }
}

TEST_F(BsdTest, ANegativeRoomIsNoRoom)
{
    GuardedBuffer out(4);
    EXPECT_EQ(bsd_compress(comp.get(), BytesOf("aaaa").data(), out.data(), 4, -5), 4);
    EXPECT_EQ(bsd_decompress(decomp.get(), Bytes{0x30, 0xFF}.data(), 2, out.data(), -5), 20002);
    EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST_F(BsdTest, AgreesWithTheStoredVectors)
{
    int packets = 0;
    for (const auto& line : VectorLines("bsd_vectors.txt")) {
        if (line[0] == "init") {
            Connect(0);
            continue;
        }
        const Bytes plain = BytesFromHex(line[2]);
        const Bytes packet = Compress(plain);
        ASSERT_EQ(packet, BytesFromHex(line[3])) << "packet " << packets;
        if (line[1] == "sent") {
            ASSERT_EQ(Decompress(packet, plain), static_cast<int>(plain.size()) + 3);
        } else {
            bsd_incomp(decomp.get(), plain.data(), static_cast<int>(plain.size()));
        }
        ASSERT_NO_FATAL_FAILURE(ExpectInStep());
        const bsd_db& db = Db(comp);
        const std::array<unsigned, 7> state = {db.max_ent, db.n_bits,     db.in_count,   db.bytes_out,
                                               db.ratio,   db.checkpoint, db.clear_count};
        for (std::size_t i = 0; i < state.size(); ++i) {
            ASSERT_EQ(state[i], std::stoul(line[4 + i])) << "packet " << packets << ", number " << i;
        }
        ++packets;
    }
    EXPECT_EQ(packets, 160);
}

} // namespace
