// The tests' own codec of the wire, held against bytes written by hand and, where both exist, against the library.
#include "support/wire_codec.h"

#include "crypt/crypt.h"
#include "support/hex.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace {

const std::string counting_key = FromHex("0102030405060708090a0b0c0d0e0f10");

std::string words_text(std::size_t length)
{
    static const std::string all = [] {
        std::string text;
        while (text.size() < 60000) {
            text += "EURUSD 17200B " + std::to_string(text.size());
        }
        return text;
    }();
    return all.substr(0, length);
}

std::string noise(std::size_t length, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(length, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() & 255);
    }
    return bytes;
}

std::string mostly_zero(std::size_t length)
{
    std::string bytes(length, '\0');
    bytes[length / 2] = 'x';
    return bytes;
}

// ---- Frames

TEST(WireFrames, AFrameIsMarkLengthAndPayload)
{
    EXPECT_EQ(ToHex(MakeFrame("DTNC", "hello")), "44544e43"
                                                 "0500"
                                                 "68656c6c6f");
    EXPECT_EQ(ToHex(MakeFrame("DTCP", std::string(60000, 'x'))).substr(8, 4), "60ea");
}

TEST(WireFrames, TheAliveSignalIsAnEmptyFrame)
{
    EXPECT_EQ(ToHex(AliveFrame()), "445443500000");
    EXPECT_TRUE((WireFrame{"DTCP", ""}).is_alive_signal());
    EXPECT_FALSE((WireFrame{"DTNC", ""}).is_alive_signal());
    EXPECT_FALSE((WireFrame{"DTCP", "x"}).is_alive_signal());
}

TEST(WireFrames, AStreamFedByteByByteYieldsItsFrames)
{
    FrameReader reader;
    std::vector<WireFrame> frames;
    for (const char byte : MakeFrame("DTBC", "one") + AliveFrame() + MakeFrame("TEST", "two") + "DT") {
        reader.feed({&byte, 1});
        if (const auto frame = reader.next()) {
            frames.push_back(*frame);
        }
    }
    EXPECT_EQ(frames, (std::vector<WireFrame>{{"DTBC", "one"}, {"DTCP", ""}, {"TEST", "two"}}));
    EXPECT_EQ(reader.held(), "DT");
}

TEST(WireFrames, SeveralFramesComeOneByOne)
{
    FrameReader reader;
    reader.feed(MakeFrame("DTCP", "one") + MakeFrame("DTCP", "two"));
    EXPECT_EQ(reader.next(), (WireFrame{"DTCP", "one"}));
    EXPECT_EQ(reader.next(), (WireFrame{"DTCP", "two"}));
    EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(WireFrames, ALengthAboveSixtyThousandIsRefused)
{
    FrameReader reader;
    reader.feed(FromHex("44544350 61ea"));
    EXPECT_THROW(reader.next(), WireError);
}

// ---- Envelopes

TEST(WireEnvelopes, AMessageWithoutAddressees)
{
    EXPECT_EQ(ToHex(MakeEnvelope("700abc", {}, 7, 100, "L001")), "0100"
                                                                 "1900"
                                                                 "6400"
                                                                 "0700"
                                                                 "4c303031"
                                                                 "0000"
                                                                 "0900"
                                                                 "373030616263"
                                                                 "000000");
}

const std::vector<WireGroup> two_groups = {{"PU", {"AAAA", "BBBB"}}, {"GR", {"GROUP001"}}};

TEST(WireEnvelopes, GroupsStandAheadOfTheMessage)
{
    EXPECT_EQ(ToHex(MakeEnvelope("1", two_groups)), "0100"
                                                    "3000"
                                                    "6400"
                                                    "0400"
                                                    "53455256"
                                                    "1c00"
                                                    "505502000400"
                                                    "4141414142424242"
                                                    "475201000800"
                                                    "47524f5550303031"
                                                    "0400"
                                                    "31"
                                                    "000000");
}

TEST(WireEnvelopes, AreTakenApart)
{
    const WireEnvelope envelope = TakeEnvelope(MakeEnvelope("700abc", two_groups, 7, 1, "L001"));
    EXPECT_EQ(envelope.flags, 1);
    EXPECT_EQ(envelope.type, 1);
    EXPECT_EQ(envelope.priority, 7);
    EXPECT_EQ(envelope.machine, "L001");
    EXPECT_EQ(envelope.groups, two_groups);
    EXPECT_EQ(envelope.message, "700abc");
}

TEST(WireEnvelopes, BytesBehindThemAreLeftOut)
{
    EXPECT_EQ(TakeEnvelope(MakeEnvelope("700abc") + "more").message, "700abc");
}

TEST(WireEnvelopes, ThatAreCutAreRefused)
{
    const std::string whole = MakeEnvelope("700abc", two_groups);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THROW(TakeEnvelope(whole.substr(0, length)), WireError) << length;
    }
}

TEST(WireEnvelopes, WhoseNumbersDisagreeAreRefused)
{
    const std::string whole = MakeEnvelope("700abc", two_groups);
    for (const std::size_t position : {2U, 12U, 16U, 18U, 42U, 50U, 51U, 52U}) {
        std::string changed = whole;
        ++changed[position];
        EXPECT_THROW(TakeEnvelope(changed), WireError) << position;
    }
}

// ---- Encryption

TEST(WireEncryption, FiveBytesUnderACountingKey)
{
    const std::string sealed = SealDirect("HELLO", counting_key);
    EXPECT_EQ(ToHex(sealed), "0500" + ToHex(counting_key) + "0304" + "66e3f81f9c7078e0");
    EXPECT_EQ(OpenDirect(sealed), "HELLO");
}

TEST(WireEncryption, TheLibraryOpensWhatIsSealed)
{
    for (const std::size_t length : {1U, 7U, 8U, 9U, 200U, 4000U}) {
        const std::string plain = noise(length, 1);
        std::string buffer = SealDirect(plain, noise(16, static_cast<unsigned>(length)));
        const int shrunk =
            crypt_decrypt_data(0, buffer.data(), IDEA_DIRECT, 0, static_cast<unsigned short>(buffer.size()));
        buffer.resize(buffer.size() - static_cast<std::size_t>(shrunk));
        EXPECT_EQ(buffer, plain);
    }
}

TEST(WireEncryption, OpensWhatTheLibrarySealed)
{
    for (const std::size_t length : {1U, 7U, 8U, 9U, 200U, 4000U}) {
        const std::string plain = noise(length, 2);
        std::string buffer = plain + std::string(CRYPT_MAX_GROWTH, '\0');
        const int grown = crypt_encrypt_data(0, buffer.data(), IDEA_DIRECT, 0, static_cast<unsigned short>(length));
        buffer.resize(length + static_cast<std::size_t>(grown));
        EXPECT_EQ(OpenDirect(buffer), plain);
    }
}

TEST(WireEncryption, BadCheckWordAndBadLengthsAreRefused)
{
    const std::string sealed = SealDirect("HELLO", counting_key);
    for (const std::size_t position : {1U, 18U, 19U}) {
        std::string changed = sealed;
        ++changed[position];
        EXPECT_THROW(OpenDirect(changed), WireError) << position;
    }
    EXPECT_THROW(OpenDirect(sealed.substr(0, 27)), WireError);
    EXPECT_THROW(SealDirect(std::string(4001, 'x'), counting_key), WireError);
}

// ---- Send modes

std::string mark_in_mode(int mode, const std::string& plain)
{
    WireEncoder encoder(mode);
    return encoder.Encode(plain).mark;
}

TEST(WireModes, EachHasItsMarks)
{
    struct Case
    {
        std::string plain;
        std::array<std::string, 4> marks;
    };
    const Case cases[] = {
        {words_text(1023), {"DTCE", "DTCP", "DTBC", "DTBE"}},  {noise(1023, 3), {"DTCE", "DTCP", "DTNC", "DTNE"}},
        {mostly_zero(1024), {"DTCE", "DTCP", "DTRC", "DTRE"}}, {noise(1024, 3), {"DTCE", "DTCP", "DTCP", "DTCE"}},
        {mostly_zero(2048), {"DTCE", "DTCP", "DTRC", "DTRE"}}, {noise(2048, 3), {"DTCE", "DTCP", "DTCP", "DTCE"}},
        {words_text(2049), {"DTCE", "DTCP", "DTBC", "DTBE"}},  {noise(2049, 3), {"DTCE", "DTCP", "DTNC", "DTNE"}},
    };
    for (const Case& one : cases) {
        for (int mode = 0; mode < 4; ++mode) {
            EXPECT_EQ(mark_in_mode(mode, one.plain), one.marks[static_cast<unsigned>(mode)])
                << one.plain.size() << " in mode " << mode;
        }
    }
}

TEST(WireModes, NothingIsTheAliveSignalInAllOfThem)
{
    for (int mode = 0; mode < 4; ++mode) {
        EXPECT_TRUE(WireEncoder(mode).Encode("").is_alive_signal());
    }
}

// Codes 97, 257, 97 of 9 bits, and in the second packet 258, 97.
TEST(WireModes, TheDictionaryLearnsFromFrameToFrame)
{
    WireEncoder encoder(2);
    EXPECT_EQ(encoder.Encode("aaaa"), (WireFrame{"DTNC", "aaaa"}));
    EXPECT_EQ(ToHex(encoder.Encode("aaaa").bytes()), "44544243"
                                                     "0300"
                                                     "81187f");
}

TEST(WireModes, ADecoderIsTaughtByPlainFrames)
{
    WireDecoder decoder;
    EXPECT_EQ(decoder.Decode({"DTNC", "aaaa"}), "aaaa");
    EXPECT_EQ(decoder.Decode({"DTBC", FromHex("81187f")}), "aaaa");
}

TEST(WireModes, PlainFramesWithoutDictionaryTeachNothing)
{
    WireDecoder decoder;
    EXPECT_EQ(decoder.Decode({"DTCP", "aaaa"}), "aaaa");
    EXPECT_EQ(decoder.Decode({"DTCE", SealDirect("aaaa", counting_key)}), "aaaa");
    EXPECT_EQ(decoder.Decode({"DTBC", FromHex("30c04c3f")}), "aaaa");
}

TEST(WireModes, ABlockOfOneWordIsPinned)
{
    WireEncoder encoder(2);
    std::string plain(1024, '\0');
    plain.back() = 'z';
    EXPECT_EQ(ToHex(encoder.Encode(plain).payload), "0004000000000000" + std::string(16, '0') + "8000000000000000" +
                                                        std::string(32, '0') + "000000000000007a");
}

// 1024 bytes without a zero word would be 1064.
TEST(WireModes, AnOverlongFrameCarriesZerosBehindItsPayload)
{
    WireEncoder encoder(2);
    encoder.overlong = true;
    const std::string plain = noise(1024, 4);
    EXPECT_EQ(encoder.Encode(plain), (WireFrame{"DTCP", plain + std::string(40, '\0')}));
    EXPECT_EQ(encoder.Encode(noise(1023, 4)).mark, "DTNC");
    EXPECT_EQ(encoder.Encode(mostly_zero(1024)).mark, "DTRC");
}

TEST(WireModes, FramesHaveKeysOfTheirOwn)
{
    WireEncoder encoder(0);
    EXPECT_NE(encoder.Encode("hello").payload.substr(2, 16), encoder.Encode("hello").payload.substr(2, 16));
}

TEST(WireModes, AnUnknownMarkIsRefused)
{
    WireDecoder decoder;
    for (const char* mark : {"DTCC", "DTCL", "DTCR", "DTPE", "TEST"}) {
        EXPECT_THROW(decoder.Decode({mark, "x"}), WireError) << mark;
    }
}

TEST(WireModes, BadFormsAreRefused)
{
    WireDecoder decoder;
    EXPECT_THROW(decoder.Decode({"DTBC", FromHex("ffffffff")}), WireError);
    EXPECT_THROW(decoder.Decode({"DTRC", "too short"}), WireError);
    EXPECT_THROW(decoder.Decode({"DTCE", "too short"}), WireError);
}

class EveryMode : public testing::TestWithParam<int>
{
protected:
    void ExpectRoundTrip(const std::string& plain)
    {
        const WireFrame frame = encoder.Encode(plain);
        ASSERT_EQ(decoder.Decode(frame), plain) << frame.mark << " of " << plain.size();
    }

    WireEncoder encoder{GetParam()};
    WireDecoder decoder;
};

TEST_P(EveryMode, CarriesEveryLength)
{
    for (unsigned length = 1; length <= 3300; ++length) {
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(words_text(length)));
    }
}

TEST_P(EveryMode, CarriesAMixtureOfAllKinds)
{
    for (unsigned length = 1; length <= 3300; length += 11) {
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(noise(length, length)));
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(words_text(length)));
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(mostly_zero(length)));
    }
}

INSTANTIATE_TEST_SUITE_P(Wire, EveryMode, testing::Range(0, 4));

// The longest payload that isn't encrypted, and the length whose result looks like that of a bad packet.
TEST(WireModes, LongPayloadsArriveCompressed)
{
    WireEncoder encoder(2);
    WireDecoder decoder;
    for (const std::size_t length : {19999U, 60000U}) {
        const WireFrame frame = encoder.Encode(words_text(length));
        EXPECT_EQ(frame.mark, "DTBC");
        EXPECT_EQ(decoder.Decode(frame), words_text(length));
    }
}

} // namespace
