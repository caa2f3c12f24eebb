// The forms of frames.
#include "support/report_texts.h"
#include "support/wsock_fixture.h"

#include "compress/bsd.h"
#include "qcapi/config.h"
#include "support/hex.h"
#include "transport/envelope.h"

#include <cstring>
#include <tuple>
#include <utility>

namespace {

enum Kind
{
    noise,
    compressible
};

std::string Payload(Kind kind, std::size_t len)
{
    return kind == noise ? Noise(len) : Compressible(len);
}

// ---- Marks and lengths

struct Form
{
    unsigned short mode;
    Kind kind;
    std::size_t len;
    std::string mark;
    std::size_t wire_len;
};

void PrintTo(const Form& form, std::ostream* out)
{
    *out << "mode " << form.mode << (form.kind == noise ? " noise " : " compressible ") << form.len;
}

class Forms : public WSocketTest, public testing::WithParamInterface<Form>
{
};

TEST_P(Forms, FrameHasTheMarkAndLengthOfItsFormAndRestoresToItsPayload)
{
    const Form& form = GetParam();
    const std::string payload = Payload(form.kind, form.len);
    Open(form.mode);
    EXPECT_EQ(Send(payload), static_cast<int>(form.wire_len));
    const WireFrame frame = Frame();
    EXPECT_EQ(frame.mark, form.mark);
    EXPECT_EQ(frame.payload.size(), form.wire_len);
    std::string expected = payload;
    expected.resize(form.mark == "DTCP" ? form.wire_len : form.len);
    EXPECT_EQ(WireDecoder().Decode(frame), expected);
    EXPECT_EQ(socket.Frames_Sent(), 1U);
}

// A sealed payload is 20 bytes and its data, in blocks of 8.
INSTANTIATE_TEST_SUITE_P(Encrypting, Forms,
                         testing::Values(Form{0, noise, 1, "DTCE", 28}, Form{0, noise, 16, "DTCE", 36},
                                         Form{0, noise, 207, "DTCE", 228}, Form{0, noise, 1023, "DTCE", 1044},
                                         Form{0, noise, 1024, "DTCE", 1044}, Form{0, noise, 1500, "DTCE", 1524},
                                         Form{0, noise, 2048, "DTCE", 2068}, Form{0, noise, 2049, "DTCE", 2076},
                                         Form{0, noise, 3300, "DTCE", 3324}, Form{0, compressible, 1500, "DTCE", 1524},
                                         Form{0, compressible, 3300, "DTCE", 3324}));
INSTANTIATE_TEST_SUITE_P(Plain, Forms,
                         testing::Values(Form{1, noise, 1, "DTCP", 1}, Form{1, noise, 16, "DTCP", 16},
                                         Form{1, noise, 207, "DTCP", 207}, Form{1, noise, 1023, "DTCP", 1023},
                                         Form{1, compressible, 1024, "DTCP", 1024}, Form{1, noise, 1500, "DTCP", 1500},
                                         Form{1, noise, 2048, "DTCP", 2048}, Form{1, compressible, 2049, "DTCP", 2049},
                                         Form{1, noise, 3300, "DTCP", 3300}));

// One byte over and over takes codes for 1, 2, 3 and so on of them, 9 bits each; the band's blocks have a head of 40.
INSTANTIATE_TEST_SUITE_P(
    Compressing, Forms,
    testing::Values(Form{2, noise, 1, "DTNC", 1}, Form{2, noise, 16, "DTNC", 16}, Form{2, noise, 207, "DTNC", 207},
                    Form{2, noise, 1023, "DTNC", 1023}, Form{2, noise, 1024, "DTCP", 1064},
                    Form{2, noise, 1500, "DTCP", 1544}, Form{2, noise, 2048, "DTCP", 2088},
                    Form{2, noise, 2049, "DTNC", 2049}, Form{2, noise, 3000, "DTNC", 3000},
                    Form{2, noise, 3300, "DTNC", 3300}, Form{2, compressible, 16, "DTBC", 7},
                    Form{2, compressible, 207, "DTBC", 23}, Form{2, compressible, 1023, "DTBC", 51},
                    Form{2, compressible, 1024, "DTRC", 48}, Form{2, compressible, 1500, "DTRC", 48},
                    Form{2, compressible, 2048, "DTRC", 48}, Form{2, compressible, 2049, "DTBC", 72},
                    Form{2, compressible, 3300, "DTBC", 92}));
INSTANTIATE_TEST_SUITE_P(
    CompressingAndEncrypting, Forms,
    testing::Values(Form{3, noise, 1, "DTNE", 28}, Form{3, noise, 16, "DTNE", 36}, Form{3, noise, 207, "DTNE", 228},
                    Form{3, noise, 1023, "DTNE", 1044}, Form{3, noise, 1024, "DTCE", 1044},
                    Form{3, noise, 1500, "DTCE", 1524}, Form{3, noise, 2048, "DTCE", 2068},
                    Form{3, noise, 2049, "DTNE", 2076}, Form{3, noise, 3300, "DTNE", 3324},
                    Form{3, compressible, 16, "DTBE", 28}, Form{3, compressible, 207, "DTBE", 44},
                    Form{3, compressible, 1023, "DTBE", 76}, Form{3, compressible, 1024, "DTRE", 68},
                    Form{3, compressible, 1500, "DTRE", 68}, Form{3, compressible, 2048, "DTRE", 68},
                    Form{3, compressible, 2049, "DTBE", 92}, Form{3, compressible, 3300, "DTBE", 116}));

using WSocketSend = WSocketTest;

TEST_F(WSocketSend, PlainFrameIsMarkLengthAndPayload)
{
    Open();
    EXPECT_EQ(Send("abc"), 3);
    EXPECT_EQ(ToHex(Wire()), "44544350"
                             "0300"
                             "616263");
}

// The worked bytes of docs/wire_format.md.
TEST_F(WSocketSend, AnEmptyEnvelopeTravelsAsTheWireFormatSaysIt)
{
    std::memcpy(Glb_Local_Machine, "L001", 4);
    MON_MESS_DESTR envelope;
    const unsigned short len = DCON_Set_Header(&envelope, "", 0, nullptr, PRD_ING_RET_NORMALES);
    Open(SENDPKTNORMAL);
    socket.AddRecToSend(reinterpret_cast<const char*>(&envelope), len);
    EXPECT_EQ(ToHex(Wire()), ToHex(FromHex("44544350 1300 0100 1300 6400 0400 4c303031 0000 0300 000000")));
    std::memset(Glb_Local_Machine, 0, 4);
}

TEST_F(WSocketSend, AliveSignalIsAFrameOfLengthZeroInEveryMode)
{
    for (unsigned short mode = 0; mode <= 3; ++mode) {
        Open(mode);
        EXPECT_EQ(Send(""), 0);
        EXPECT_EQ(ToHex(Wire()), "445443500000");
        EXPECT_EQ(socket.Frames_Sent(), 0U);
    }
}

TEST_F(WSocketSend, BytesBehindABandPayloadAreZeroWhateverTheQueueHeldThere)
{
    Open(SENDPKTCOMPRESS);
    Send(Noise(3300, 2));
    Wire();
    Send(Noise(1500));
    EXPECT_EQ(Frame(), (WireFrame{"DTCP", Noise(1500) + Zeros(44)}));
}

TEST_F(WSocketSend, OutputOfExactlyTheInputsLengthIsNoGain)
{
    const std::string eight = "abcdabef"; // seven codes of 9 bits
    Open(SENDPKTCOMPRESS);
    EXPECT_EQ(Send(eight), 8);
    EXPECT_EQ(Frame(), (WireFrame{"DTNC", eight}));
    Open(SENDPKTCOMYENCRYPT);
    EXPECT_EQ(Send(eight), 28);
    EXPECT_EQ(Frame().mark, "DTNE");
}

TEST_F(WSocketSend, BlockOfExactlyThePayloadsLengthIsNoGain)
{
    const std::string five_zero_words = Noise(984) + Zeros(40);
    Open(SENDPKTCOMPRESS);
    EXPECT_EQ(Send(five_zero_words), 1024);
    EXPECT_EQ(Frame(), (WireFrame{"DTCP", five_zero_words}));
    Open(SENDPKTCOMYENCRYPT);
    EXPECT_EQ(Send(five_zero_words), 1044);
    EXPECT_EQ(Frame().mark, "DTCE");
}

TEST_F(WSocketSend, SixZeroWordsAreAGain)
{
    Open(SENDPKTCOMPRESS);
    EXPECT_EQ(Send(Noise(976) + Zeros(48)), 1016);
    EXPECT_EQ(Frame().mark, "DTRC");
}

TEST_F(WSocketSend, BytesOfAnOlderPayloadDoNotCountInTheLastWord)
{
    Open(SENDPKTCOMPRESS);
    Send(Noise(1200));
    Wire();
    EXPECT_EQ(Send(Noise(8) + Zeros(1021)), 48); // the 1029th byte is the first of a word
    EXPECT_EQ(WireDecoder().Decode(Frame()), Noise(8) + Zeros(1021));
}

TEST_F(WSocketSend, PaddingOfTheCipherIsZero)
{
    Open(SENDPKTENCRYPT);
    Send(Noise(64));
    Wire();
    Send(Noise(9));
    WireFrame frame = Frame();
    ASSERT_EQ(frame.payload.substr(0, 2), FromHex("0900"));
    frame.payload[0] = 16; // all that was encrypted
    EXPECT_EQ(OpenDirect(frame.payload), Noise(9) + Zeros(7));
}

TEST_F(WSocketSend, KeyIsNewForEachFrame)
{
    Open(SENDPKTENCRYPT);
    Send("abc");
    const std::string first = Frame().payload.substr(2, 16);
    Send("abc");
    EXPECT_NE(Frame().payload.substr(2, 16), first);
}

TEST_F(WSocketSend, WhatIsTooLongToEncryptDoesNotLeaveInTheClear)
{
    Open(SENDPKTENCRYPT);
    EXPECT_EQ(Send(Noise(4001)), 4001);
    EXPECT_EQ(Frame(), (WireFrame{"DTCE", Zeros(4001)}));
}

TEST_F(WSocketSend, OneDictionaryServesAllFramesOfAConnectionInTheirOrder)
{
    for (const unsigned short mode : {SENDPKTCOMPRESS, SENDPKTCOMYENCRYPT}) {
        Open(mode);
        WireDecoder decoder;
        for (const std::size_t len : {3000U, 207U, 1500U, 16U, 2049U, 1U, 3300U, 1024U, 900U}) {
            for (const std::string& payload : {Noise(len), Compressible(len), Noise(len)}) {
                Send(payload);
                EXPECT_EQ(decoder.Decode(Frame()).substr(0, len), payload) << mode << ' ' << len;
            }
        }
    }
}

TEST_F(WSocketSend, DictionarySeesWhatTravelsPlain)
{
    Open(SENDPKTCOMPRESS);
    Send(Noise(200));
    EXPECT_EQ(Frame().mark, "DTNC");
    Send(Noise(200));
    EXPECT_EQ(Frame().mark, "DTBC");
}

TEST_F(WSocketSend, EachConnectionBeginsWithAnEmptyDictionary)
{
    Open(SENDPKTCOMPRESS);
    Send(Compressible(207));
    const std::string first = Wire();
    Open(SENDPKTCOMPRESS);
    Send(Compressible(207));
    EXPECT_EQ(Wire(), first);
}

// ---- Choices

TEST_F(WSocketSend, ModesRuleWhatIsChosen)
{
    for (const auto& [mode, plain, uncompressed] :
         {std::tuple{0, false, true}, {1, true, true}, {2, true, false}, {3, false, false}}) {
        Open(static_cast<unsigned short>(mode));
        EXPECT_EQ(Inside::Plain_Choice(socket), plain) << mode;
        EXPECT_EQ(Inside::Uncompressed_Choice(socket), uncompressed) << mode;
    }
}

TEST_F(WSocketSend, UnknownModeDoesBothAtFirst)
{
    Open(4);
    Send(Compressible(207));
    EXPECT_EQ(Frame().mark, "DTBE");
}

TEST_F(WSocketSend, UnknownModeKeepsTheChoicesOfTheConnectionBefore)
{
    for (const auto& [mode, mark] : {std::pair{0, "DTCE"}, {1, "DTCP"}, {2, "DTBC"}, {3, "DTBE"}}) {
        Open(static_cast<unsigned short>(mode));
        Open(65535);
        Send(Compressible(207));
        EXPECT_EQ(Frame().mark, mark);
    }
}

TEST_F(WSocketSend, NewModeCountsFromTheNextConnectionOn)
{
    Open(SENDPKTNORMAL);
    socket.Set_Send_Mode(SENDPKTCOMPRESS);
    Send(Compressible(207));
    EXPECT_EQ(Frame().mark, "DTCP");
}

TEST_F(WSocketSend, WithTheSslSettingEveryModeCompressesOnly)
{
    socket.Create(0, 1);
    for (unsigned short mode = 0; mode <= 3; ++mode) {
        Open(mode);
        Send(Compressible(207));
        EXPECT_EQ(Frame().mark, "DTBC") << mode;
        Send(Noise(1500));
        EXPECT_EQ(Frame(), (WireFrame{"DTCP", Noise(1500) + Zeros(44)})) << mode;
    }
}

TEST_F(WSocketSend, WithTheSslSettingOnlyTheSpecialWordAndModeOneSendPlain)
{
    socket.Create(0, 1);
    Inside::Choose_Special(socket);
    for (const auto& [mode, mark] : {std::pair{0, "DTBC"}, {1, "DTCP"}, {2, "DTBC"}, {3, "DTBC"}}) {
        Open(static_cast<unsigned short>(mode));
        Send(Compressible(207));
        EXPECT_EQ(Frame().mark, mark) << mode;
    }
}

// ---- Without memory for the dictionary

TEST_F(WSocketSend, MissingStatesAreReported)
{
    for (void** state : {&Inside::Compressor(socket), &Inside::Decompressor(socket)}) {
        bsd_free(std::exchange(*state, nullptr));
    }
    const ReportTexts reports;
    Inside::Report_Missing_Dictionaries(socket);
    EXPECT_EQ(ReportTexts::Take(),
              (Texts{"1 There was no memory for BSD compression", "1 There was no memory for BSD decompression"}));
}

TEST_F(WSocketSend, PresentStatesAreNot)
{
    const ReportTexts reports;
    Inside::Report_Missing_Dictionaries(socket);
    EXPECT_EQ(ReportTexts::Take(), Texts{});
}

TEST_F(WSocketSend, WithoutACompressorFramesLeaveAsIfThereWereNoGain)
{
    bsd_free(std::exchange(Inside::Compressor(socket), nullptr));
    Open(SENDPKTCOMPRESS);
    EXPECT_EQ(Send(Compressible(207)), 207);
    EXPECT_EQ(Frame(), (WireFrame{"DTNC", Compressible(207)}));
    Open(SENDPKTCOMYENCRYPT);
    Send(Compressible(207));
    const WireFrame frame = Frame();
    EXPECT_EQ(frame.mark, "DTNE");
    EXPECT_EQ(OpenDirect(frame.payload), Compressible(207));
}

} // namespace
