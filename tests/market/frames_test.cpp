// Frames against the tests' own codec, in both directions, and against bytes written by hand.
#include "wire/frames.h"

#include "support/hex.h"
#include "support/wire_codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using qm::FrameDecoder;
using qm::FrameEncoder;
using qm::SendMode;
using testing::HasSubstr;
using Texts = std::vector<std::string>;

std::string appended(FrameEncoder& encoder, std::string_view payload)
{
    std::string out = "in front";
    EXPECT_TRUE(encoder.Append(out, payload));
    EXPECT_EQ(out.substr(0, 8), "in front");
    return out.substr(8);
}

std::string frame_of(SendMode mode, std::string_view payload)
{
    FrameEncoder encoder(mode);
    return appended(encoder, payload);
}

Texts all_of(FrameDecoder& decoder)
{
    Texts payloads;
    while (const auto payload = decoder.Next()) {
        payloads.emplace_back(*payload);
    }
    return payloads;
}

Texts fed(FrameDecoder& decoder, std::string_view bytes)
{
    decoder.Feed(bytes);
    return all_of(decoder);
}

// What is complained about in a stream, which must give nothing.
std::string complaint_about(std::string_view bytes)
{
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, bytes), Texts{});
    EXPECT_TRUE(decoder.is_broken());
    return decoder.complaint();
}

// Payloads of lengths at which forms change, and of all kinds: noise, texts and records full of zeros.
class Payloads
{
public:
    explicit Payloads(unsigned seed) : m_random(seed) {}

    std::string Next()
    {
        static constexpr std::array<std::size_t, 16> lengths{1,    2,    19,   60,   200,  1023, 1024, 1025,
                                                             1031, 1500, 1504, 2047, 2048, 2049, 3000, 4000};
        const std::size_t length = Below(2) == 0 ? lengths.at(Below(lengths.size())) : 1 + Below(4000);
        return Of_Kind(Below(3), length);
    }
    std::size_t Below(std::size_t limit) { return m_random() % limit; }

private:
    std::string Of_Kind(std::size_t kind, std::size_t length)
    {
        std::string bytes(length, '\0');
        for (std::size_t i = 0; i < length; ++i) {
            const auto any = static_cast<char>(m_random() & 255);
            bytes[i] = kind == 0 ? any : kind == 1 ? "EUR/USD 17.25"[(i + Below(20) / 19) % 13] : '\0';
        }
        for (std::size_t i = 0; kind == 2 && i < length; i += 1 + Below(100)) {
            bytes[i] = 'x';
        }
        return bytes;
    }

    std::mt19937 m_random;
};

constexpr std::array<int, 4> modes{0, 1, 2, 3};

class FramesInMode : public testing::TestWithParam<int>
{
protected:
    static SendMode Mode() { return static_cast<SendMode>(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(Each, FramesInMode, testing::ValuesIn(modes));

// ---- By hand

TEST(Frames, AnEnvelopeTravelsAsItIsInModePlain)
{
    const std::string envelope = FromHex("01001300640004004c30303100000300000000");
    EXPECT_EQ(ToHex(frame_of(SendMode::plain, envelope)), "445443501300" + ToHex(envelope));
}

TEST_P(FramesInMode, NothingMakesTheAliveSignal)
{
    EXPECT_EQ(ToHex(frame_of(Mode(), "")), "445443500000");
}

TEST(Frames, DictionaryServesBothEndsAcrossFrames)
{
    FrameEncoder encoder(SendMode::compress);
    const std::string first = appended(encoder, "aaaa"); // its packet would be as long
    const std::string second = appended(encoder, "aaaa");
    EXPECT_EQ(ToHex(first), "44544e430400"
                            "61616161");
    EXPECT_EQ(ToHex(second), "445442430300"
                             "81187f");
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, first + second), (Texts{"aaaa", "aaaa"}));
    EXPECT_EQ(decoder.last_mark(), "DTBC");
}

TEST(Frames, ZeroWordsAreLeftOutInTheBand)
{
    std::string payload(1024, '\0');
    payload.replace(0, 8, "ABCDEFGH");
    payload[64 * 8 + 15] = '\1'; // word 65
    const std::string frame = FromHex("44545243 3800"
                                      "0004 000000000000 0000000000000001 0000000000000002 0000000000000000"
                                      "0000000000000000 4142434445464748 0000000000000001");
    EXPECT_EQ(ToHex(frame_of(SendMode::compress, payload)), ToHex(frame));
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, frame), Texts{payload});
}

TEST(Frames, PayloadOfTheBandWithoutAZeroWordIsAsLongAsItsBlockWouldHaveBeen)
{
    const std::string payload(1500, 'x');
    EXPECT_EQ(ToHex(frame_of(SendMode::compress, payload)), "44544350"
                                                            "0806" +
                                                                ToHex(payload + std::string(44, '\0')));
}

TEST(Frames, WhatIsEncryptedIsOpened)
{
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, FromHex("44544345 1c00 0500 0102030405060708090a0b0c0d0e0f10 0304 66e3f81f9c7078e0")),
              Texts{"HELLO"});
}

TEST(Frames, EncryptedFrameIsItsHeadAndWholeBlocks)
{
    const std::string frame = frame_of(SendMode::encrypt, "nine byte");
    EXPECT_EQ(frame.size(), 6 + 20 + 16);
    EXPECT_EQ(ToHex(frame.substr(0, 8)), "44544345"
                                         "2400"
                                         "0900");
    EXPECT_NE(frame.substr(8, 16), frame_of(SendMode::encrypt, "nine byte").substr(8, 16)) << "each has its own key";
}

// ---- Against the tests' codec

TEST(Frames, PlainAndCompressedOnesAreThoseOfTheOtherCodecToTheByte)
{
    for (const int mode : {1, 2}) {
        FrameEncoder encoder(static_cast<SendMode>(mode));
        WireEncoder other(mode);
        other.overlong = true;
        Payloads payloads(1);
        for (int i = 0; i < 1000; ++i) {
            const std::string payload = payloads.Next();
            ASSERT_EQ(appended(encoder, payload), other.Encode(payload).bytes()) << mode << " " << i;
        }
    }
}

TEST_P(FramesInMode, OtherCodecReadsWhatIsSentAndWouldHaveMarkedItAlike)
{
    FrameEncoder encoder(Mode());
    WireEncoder other(GetParam());
    WireDecoder decoder;
    Payloads payloads(2);
    for (int i = 0; i < 1000; ++i) {
        const std::string payload = payloads.Next();
        FrameReader reader;
        reader.feed(appended(encoder, payload));
        const WireFrame frame = reader.next().value();
        ASSERT_EQ(reader.held(), "");
        ASSERT_EQ(frame.mark, other.Encode(payload).mark) << i;
        ASSERT_EQ(decoder.Decode(frame).substr(0, payload.size()), payload) << i;
    }
}

TEST_P(FramesInMode, WhatTheOtherCodecSendsIsReadInAnyPieces)
{
    WireEncoder encoder(GetParam());
    Payloads payloads(3);
    Texts sent;
    std::string stream;
    for (int i = 0; i < 1000; ++i) {
        sent.push_back(payloads.Next());
        stream += encoder.Encode(sent.back()).bytes() + (i % 7 == 0 ? AliveFrame() : "");
    }
    FrameDecoder decoder;
    Texts taken;
    for (std::size_t at = 0, size = 0; at < stream.size(); at += size) {
        size = 1 + payloads.Below(payloads.Below(10) == 0 ? 20000 : 900);
        const Texts some = fed(decoder, std::string_view(stream).substr(at, size));
        taken.insert(taken.end(), some.begin(), some.end());
    }
    EXPECT_TRUE(taken == sent);
    EXPECT_EQ(decoder.alive_signals(), 143U);
    EXPECT_EQ(decoder.complaint(), "");
}

std::string stream_of_open_marks()
{
    const std::string mostly_zeros = std::string(1020, '\0') + "end.";
    std::string stream = WireEncoder(1).Encode("plain").bytes() + WireEncoder(0).Encode("plain").bytes();
    WireEncoder compressing(2);
    for (const std::string& payload : {std::string("aaaa"), std::string("aaaaaaaaaa"), mostly_zeros}) {
        stream += compressing.Encode(payload).bytes();
    }
    return stream;
}

std::string stream_of_sealed_marks()
{
    WireEncoder encoder(3);
    std::string stream;
    for (const std::string& payload : {std::string("aaaa"), std::string("aaaaaaaaaa"), std::string(1024, '\0')}) {
        stream += encoder.Encode(payload).bytes() + AliveFrame();
    }
    return stream;
}

TEST(FrameDecoder, StreamMayBeCutAnywhere)
{
    for (const std::string& stream : {stream_of_open_marks(), stream_of_sealed_marks()}) {
        FrameDecoder whole;
        const Texts expected = fed(whole, stream);
        ASSERT_GE(expected.size(), 3U);
        ASSERT_EQ(whole.complaint(), "");
        for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
            FrameDecoder decoder;
            Texts taken = fed(decoder, std::string_view(stream).substr(0, cut));
            const Texts rest = fed(decoder, std::string_view(stream).substr(cut));
            taken.insert(taken.end(), rest.begin(), rest.end());
            ASSERT_EQ(taken, expected) << cut;
        }
    }
}

TEST(FrameDecoder, EachMarkIsTold)
{
    std::set<std::string> marks;
    for (const std::string& stream : {stream_of_open_marks(), stream_of_sealed_marks()}) {
        FrameDecoder decoder;
        decoder.Feed(stream);
        while (decoder.Next()) {
            marks.insert(decoder.last_mark());
        }
    }
    EXPECT_EQ(marks, (std::set<std::string>{"DTCP", "DTBC", "DTCE", "DTRC", "DTNE", "DTBE", "DTRE", "DTNC"}));
}

TEST(FrameDecoder, ConnectionsOfOneProcessDontMeet)
{
    std::array<FrameEncoder, 2> encoders{FrameEncoder(SendMode::both), FrameEncoder(SendMode::both)};
    std::array<FrameDecoder, 2> decoders;
    Payloads payloads(4);
    for (int i = 0; i < 400; ++i) {
        const std::size_t which = payloads.Below(2);
        const std::string payload = payloads.Next();
        ASSERT_EQ(fed(decoders.at(which), appended(encoders.at(which), payload)), Texts{payload}) << i;
    }
}

// ---- Limits

TEST_P(FramesInMode, LongestPayloadPassesAndALongerOneIsRefused)
{
    const std::size_t longest = GetParam() % 3 == 0 ? 4000 : 59994; // sealed ones are the short ones
    FrameEncoder encoder(Mode());
    FrameDecoder decoder;
    EXPECT_EQ(encoder.longest_payload(), longest);
    EXPECT_EQ(fed(decoder, appended(encoder, std::string(longest, 'x'))), Texts{std::string(longest, 'x')});
    std::string out = "before";
    EXPECT_FALSE(encoder.Append(out, std::string(longest + 1, 'x')));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(fed(decoder, appended(encoder, "behind")), Texts{"behind"});
}

TEST(FrameDecoder, LongestFrameIsTaken)
{
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, MakeFrame("DTCP", std::string(60000, 'x')) + MakeFrame("DTCP", "next")),
              (Texts{std::string(60000, 'x'), "next"}));
}

TEST(FrameDecoder, PacketWhoseLengthIsTheCodeOfABadOneIsGood)
{
    const std::string payload(19999, 'x');
    WireEncoder encoder(2);
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, encoder.Encode(payload).bytes()), Texts{payload});
}

TEST(FrameDecoder, EmptyFrameOfAnyMarkIsASignOfLife)
{
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, MakeFrame("DTCP", "") + MakeFrame("DTBC", "") + MakeFrame("DTRE", "")), Texts{});
    EXPECT_EQ(decoder.alive_signals(), 3U);
    EXPECT_EQ(decoder.complaint(), "");
}

TEST(FrameDecoder, BytesBehindABlockWithoutZeroWordsMeanNothing)
{
    WireEncoder encoder(2);
    const std::string payload = std::string(1020, '\0') + "end.";
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, MakeFrame("DTRC", encoder.Encode(payload).payload + std::string(5000, 'x'))),
              Texts{payload});
}

// ---- Complaints

TEST(FrameDecoder, BadMarkIsJudgedWithItsSixthByte)
{
    FrameDecoder decoder;
    decoder.Feed(std::string_view("TEST\1", 5));
    EXPECT_EQ(decoder.Next(), std::nullopt);
    EXPECT_FALSE(decoder.is_broken());
    decoder.Feed(std::string_view("\0", 1));
    EXPECT_EQ(decoder.Next(), std::nullopt);
    EXPECT_EQ(decoder.complaint(), "bad frame at byte 0: 54 45 53 54 is no mark");
}

TEST(FrameDecoder, LengthAboveTheLimitIsRefused)
{
    EXPECT_EQ(complaint_about(FromHex("44544350 61ea")), "bad frame at byte 0: a length of 60001 bytes is above 60000");
}

TEST(FrameDecoder, ComplaintTellsWhereAndWhatCameAheadIsGiven)
{
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, MakeFrame("DTCP", "one") + AliveFrame() + MakeFrame("DTNC", "two") + "GET / HTTP"),
              (Texts{"one", "two"}));
    EXPECT_EQ(decoder.complaint(), "bad frame at byte 24: 47 45 54 20 is no mark");
}

TEST(FrameDecoder, BrokenOneStaysSo)
{
    FrameDecoder decoder;
    EXPECT_EQ(fed(decoder, "garbage"), Texts{});
    const std::string complaint = decoder.complaint();
    EXPECT_EQ(fed(decoder, MakeFrame("DTCP", "good")), Texts{});
    EXPECT_EQ(fed(decoder, MakeFrame("XXXX", "other")), Texts{});
    EXPECT_EQ(decoder.complaint(), complaint);
}

TEST(FrameDecoder, WhatCantBeDecryptedBreaksIt)
{
    const std::string sealed = SealDirect("HELLO", "0123456789abcdef");
    std::string wrong_check = sealed;
    wrong_check[18] = 'X';
    std::string longer = sealed;
    longer[0] = '\x09';
    for (const std::string& bad :
         {std::string("x"), sealed.substr(0, 19), sealed.substr(0, 27), sealed + "x", wrong_check, longer}) {
        for (const char* mark : {"DTCE", "DTBE", "DTRE", "DTNE"}) {
            EXPECT_EQ(complaint_about(MakeFrame(mark, bad)), "bad frame at byte 0: what it carries can't be decrypted")
                << mark << " " << ToHex(bad);
        }
    }
}

TEST(FrameDecoder, BadPacketOfTheDictionaryBreaksIt)
{
    const std::string unknown_code = FromHex("817f"); // 258, and nothing is in the dictionary
    EXPECT_THAT(complaint_about(MakeFrame("DTBC", unknown_code)), HasSubstr("no packet of the dictionary"));
    EXPECT_THAT(complaint_about(MakeFrame("DTBE", SealDirect(unknown_code, "0123456789abcdef"))),
                HasSubstr("no packet of the dictionary"));
}

TEST(FrameDecoder, PacketLongerThanAnyPayloadBreaksIt)
{
    WireEncoder encoder(2);
    FrameDecoder decoder;
    const std::string bomb = encoder.Encode(std::string(60094, 'x')).bytes();
    EXPECT_EQ(fed(decoder, bomb), Texts{});
    EXPECT_THAT(decoder.complaint(), HasSubstr("no packet of the dictionary"));
}

TEST(FrameDecoder, BadBlockWithoutZeroWordsBreaksIt)
{
    const std::string good = WireEncoder(2).Encode(std::string(1020, '\0') + "end.").payload;
    std::string too_long = good;
    too_long[1] = '\x09'; // 2304 bytes
    std::string empty = good;
    empty[1] = '\0';
    for (const std::string& bad : {good.substr(0, 39), good.substr(0, 47), too_long, empty}) {
        EXPECT_THAT(complaint_about(MakeFrame("DTRC", bad)), HasSubstr("no block without zero words")) << ToHex(bad);
        EXPECT_THAT(complaint_about(MakeFrame("DTRE", SealDirect(bad, "0123456789abcdef"))),
                    HasSubstr("no block without zero words"));
    }
}

} // namespace
