// What a peer must not send: bad marks and lengths, bad content, and a dictionary out of step.
#include "compress/bsd.h"
#include "compress/rle.h"
#include "support/report_texts.h"
#include "support/wsock_fixture.h"

#include <cstring>
#include <utility>

namespace {

const std::string receive_error = "Closed by this host, after a tcp-ip error encountered when receiving";
const std::string bad_code = "\xff\xff\xff"; // code 511, which no new dictionary knows

class WSocketHostile : public WSocketTest
{
protected:
    // The next frame is taken as if nothing had been.
    void Expect_Next_Is_Taken()
    {
        Feed_Envelope("next");
        EXPECT_EQ(Take_Messages(), Texts{Delivered("next")});
        EXPECT_EQ(socket.GetState(), CONN_STATE_OPENED);
    }
    void Expect_Bad_Frame(const std::string& frame)
    {
        Open();
        Feed(frame);
        EXPECT_EQ(Take_Statuses(), Statuses{5000});
        EXPECT_EQ(Inside::Held(socket), 0);
        Expect_Next_Is_Taken();
    }
    void Expect_Close()
    {
        EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
        socket.ForceClose();
        EXPECT_EQ(Take_Closing_Text(), receive_error);
    }
    void Lose_Dictionary()
    {
        Open();
        Feed(MakeFrame("DTBC", bad_code));
        EXPECT_EQ(Take_Statuses(), Statuses{5000});
        EXPECT_TRUE(Inside::Dictionary_Lost(socket));
    }
    WireEncoder encoder{2};
};

std::string With_Word(std::string block, std::size_t at, unsigned value)
{
    block[at] = static_cast<char>(value & 255);
    block[at + 1] = static_cast<char>(value >> 8);
    return block;
}

// ---- Marks and lengths

TEST_F(WSocketHostile, MarksThatAreNotSentAreBadData)
{
    for (const char* mark : {"DTCC", "DTCL", "DTCR", "DTPE", "TEST", "dtcp", "DTC\0"}) {
        Expect_Bad_Frame(MakeFrame({mark, 4}, MakeEnvelope("message")));
    }
}

TEST_F(WSocketHostile, LengthsAbove60000AreBadData)
{
    for (const unsigned len : {60'001U, 65'535U}) {
        Expect_Bad_Frame(LyingFrame("DTCP", len, Noise(1'000)));
    }
}

TEST_F(WSocketHostile, LengthOf60000IsAwaited)
{
    Open();
    Feed(LyingFrame("DTCP", 60'000));
    EXPECT_EQ(Inside::Awaited(socket), 60'000);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketHostile, GoodFrameBehindBadDataInTheSameReadIsDiscarded)
{
    Expect_Bad_Frame("XXXXXX" + MakeFrame("DTCP", MakeEnvelope("discarded")));
}

TEST_F(WSocketHostile, GoodFrameAheadOfBadDataIsDelivered)
{
    Open();
    Feed(MakeFrame("DTCP", MakeEnvelope("ahead")) + "XXXXXX");
    EXPECT_EQ(Take_Statuses(), (Statuses{22, 5000}));
    Expect_Next_Is_Taken();
}

// ---- Content

TEST_F(WSocketHostile, EnvelopesThatDoNotFitTheirFrameAreBadAlone)
{
    for (std::size_t len = 1; len < 16; ++len) {
        Expect_Bad_Frame(MakeFrame("DTCP", Zeros(len)));
    }
    Expect_Bad_Frame(MakeFrame("DTCP", With_Word(MakeEnvelope("abc"), 12, 7)));
    Expect_Bad_Frame(MakeFrame("DTCP", With_Word(MakeEnvelope("abc"), 12, 65'535)));
}

TEST_F(WSocketHostile, EnvelopeThatFillsItsFrameIsAMessageOfNoBytes)
{
    Open();
    Feed(MakeFrame("DTCP", With_Word(MakeEnvelope("abc"), 12, 6)));
    EXPECT_EQ(Take_Messages(), Texts{""});
}

TEST_F(WSocketHostile, FrameBehindABadEnvelopeInTheSameReadIsTaken)
{
    Open();
    Feed(MakeFrame("DTNC", Zeros(15)) + MakeFrame("DTCP", MakeEnvelope("behind")));
    EXPECT_EQ(Take_Statuses(), (Statuses{5000, 22}));
}

TEST_F(WSocketHostile, WhatCannotBeDecryptedIsZerosOfTheStatedLength)
{
    for (const char* mark : {"DTCE", "DTNE"}) {
        Open();
        std::string sealed = Sealed(MakeEnvelope(Noise(80)));
        sealed[18] = '#'; // the check word
        Feed(MakeFrame(mark, sealed));
        EXPECT_EQ(Take_Messages(), Texts{Zeros(99 - 16)}) << mark;
        Expect_Next_Is_Taken();
    }
}

TEST_F(WSocketHostile, LyingLengthsOfEncryptedFramesReachNothingBesideThem)
{
    const std::string sealed = Sealed(MakeEnvelope(Noise(80)));
    for (const char* mark : {"DTCE", "DTNE", "DTBE", "DTRE"}) {
        for (const unsigned len : {0U, 1U, 98U, 105U, 5'000U, 65'535U}) {
            Open();
            Feed(MakeFrame(mark, With_Word(sealed, 0, len)) + MakeFrame("DTCP", MakeEnvelope("next")));
            const std::vector<Record> records = Take_All();
            ASSERT_EQ(records.size(), 2U) << mark << len;
            EXPECT_LE(records.front().data.size(), sealed.size() - 16);
            EXPECT_EQ(records.back().data, Delivered("next"));
        }
    }
}

TEST_F(WSocketHostile, EncryptedFramesShorterThanTheirHeadAreBad)
{
    for (const char* mark : {"DTCE", "DTNE", "DTBE", "DTRE"}) {
        for (const std::size_t len : {1U, 2U, 19U}) {
            Expect_Bad_Frame(MakeFrame(mark, Noise(len)));
        }
    }
}

TEST_F(WSocketHostile, BytesBehindABlockMeanNothing)
{
    const std::string message = "12" + Zeros(1498);
    for (const std::size_t len : {5'001U, 60'000U}) {
        Open();
        std::string block = encoder.Encode(MakeEnvelope(message)).payload;
        block.resize(len, '#');
        std::memset(Inside::Work_Buffer(socket), 0xEE, TCP_MAX_BUF_LEN);
        Feed(MakeFrame("DTRC", block));
        EXPECT_EQ(Take_Messages(), Texts{Delivered(message)}) << len;
        EXPECT_EQ(Inside::Work_Buffer(socket)[RLE_MAX_LEN], '\xEE') << len;
    }
}

TEST_F(WSocketHostile, BlocksThatLieAreBadAlone)
{
    const std::string block = encoder.Encode(MakeEnvelope("12" + Zeros(1498))).payload;
    Expect_Bad_Frame(MakeFrame("DTRC", std::string(5'001, '\xff')));
    Expect_Bad_Frame(MakeFrame("DTRC", std::string(60'000, '\xff')));
    Expect_Bad_Frame(MakeFrame("DTRC", With_Word(block, 0, 2'049)));
    Expect_Bad_Frame(MakeFrame("DTRC", block.substr(0, block.size() - 1)));
    Expect_Bad_Frame(MakeFrame("DTRC", block.substr(0, 39)));
    Expect_Bad_Frame(MakeFrame("DTRC", "#"));
}

TEST_F(WSocketHostile, EncryptedBlockOfMoreThan2048BytesIsWarnedOf)
{
    const ReportTexts reports;
    const std::string block = encoder.Encode(MakeEnvelope("12" + Zeros(1498))).payload;
    for (const auto& [len, text] : {std::pair{2'049U, "2049"}, {65'535U, "65535"}}) {
        Expect_Bad_Frame(MakeFrame("DTRE", Sealed(With_Word(block, 0, len))));
        EXPECT_EQ(ReportTexts::Take(), Texts{std::string("0 Warning. Decompressed message lenght ") + text +
                                             " exceeds max allowed lenght 2048."});
    }
}

TEST_F(WSocketHostile, BlockOf2048BytesIsNotWarnedOf)
{
    const ReportTexts reports;
    Open();
    const std::string message = "12" + Zeros(2'048 - 21);
    Feed(MakeFrame("DTRE", Sealed(encoder.Encode(MakeEnvelope(message)).payload)));
    EXPECT_EQ(Take_Messages(), Texts{Delivered(message)});
    Expect_Bad_Frame(MakeFrame("DTRE", Sealed("#"))); // too short for a length
    EXPECT_EQ(ReportTexts::Take(), Texts{});
}

// ---- The dictionary out of step

TEST_F(WSocketHostile, BadCodeIsToldOnceAndLosesTheDictionary)
{
    Lose_Dictionary();
    EXPECT_EQ(socket.GetState(), CONN_STATE_OPENED);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketHostile, BadCodeUnderEncryptionLosesTheDictionaryToo)
{
    Open();
    Feed(MakeFrame("DTBE", Sealed(bad_code)));
    EXPECT_EQ(Take_Statuses(), Statuses{5000});
    EXPECT_TRUE(Inside::Dictionary_Lost(socket));
    EXPECT_EQ(socket.GetState(), CONN_STATE_OPENED);
}

TEST_F(WSocketHostile, FramesThatNeedNoDictionaryAreStillDelivered)
{
    Lose_Dictionary();
    const std::string zero_words = "12" + Zeros(1498);
    const std::string block = encoder.Encode(MakeEnvelope(zero_words)).payload;
    Feed(MakeFrame("DTCP", MakeEnvelope("one")) + MakeFrame("DTRC", block) + MakeFrame("DTNC", MakeEnvelope("three")) +
         MakeFrame("DTCE", Sealed(MakeEnvelope("four"))) + MakeFrame("DTRE", Sealed(block)) +
         MakeFrame("DTNE", Sealed(MakeEnvelope("six"))));
    EXPECT_EQ(Take_Messages(), (Texts{Delivered("one"), Delivered(zero_words), Delivered("three"), Delivered("four"),
                                      Delivered(zero_words), Delivered("six")}));
    EXPECT_TRUE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketHostile, NextFrameThatNeedsTheDictionaryClosesAndNothingBehindItIsDelivered)
{
    const std::string packet = encoder.Encode(MakeEnvelope(Compressible(300))).payload;
    for (const std::string& frame : {MakeFrame("DTBC", packet), MakeFrame("DTBE", Sealed(packet))}) {
        Lose_Dictionary();
        Feed(MakeFrame("DTCP", MakeEnvelope("ahead")) + frame + MakeFrame("DTCP", MakeEnvelope("behind")));
        EXPECT_EQ(Take_Messages(), Texts{Delivered("ahead")});
        Feed_Envelope("later");
        EXPECT_EQ(Take_Statuses(), Statuses{});
        Expect_Close();
    }
}

TEST_F(WSocketHostile, NextConnectionHasItsDictionary)
{
    Lose_Dictionary();
    Open();
    Feed(WireEncoder(2).Encode(MakeEnvelope(Compressible(300))).bytes());
    EXPECT_EQ(Take_Messages(), Texts{Delivered(Compressible(300), 6)});
}

TEST_F(WSocketHostile, CloseForAnotherReasonStillDeliversWithoutTheDictionary)
{
    Lose_Dictionary();
    socket.DoClose(1);
    Feed_Envelope("message");
    EXPECT_EQ(Take_Messages(), Texts{Delivered("message")});
}

TEST_F(WSocketHostile, CloseForThatReasonWithTheDictionaryInStepStillDelivers)
{
    Open();
    socket.DoClose(7);
    Feed_Envelope("message");
    EXPECT_EQ(Take_Messages(), Texts{Delivered("message")});
}

TEST_F(WSocketHostile, WhatCannotBeDecryptedAndFeedsTheDictionaryLosesIt)
{
    std::string sealed = Sealed(encoder.Encode(MakeEnvelope(Compressible(300))).payload);
    sealed[18] = '#';
    for (const auto& [mark, lost] : {std::pair{"DTCE", false}, {"DTRE", false}, {"DTNE", true}, {"DTBE", true}}) {
        Open();
        Feed(MakeFrame(mark, sealed));
        EXPECT_EQ(Take_All().size(), 1U) << mark;
        EXPECT_EQ(Inside::Dictionary_Lost(socket), lost) << mark;
        EXPECT_EQ(socket.GetState(), CONN_STATE_OPENED) << mark;
    }
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketHostile, PacketThatCannotBeDecryptedIsToldAndNotDelivered)
{
    Open();
    Feed(MakeFrame("DTBE", Zeros(64)));
    EXPECT_EQ(Take_Statuses(), Statuses{5000});
}

// ---- Discards that may have fed the dictionary

TEST_F(WSocketHostile, DiscardWithAMarkThatFeedsTheDictionaryLosesIt)
{
    for (const char* mark : {"DTBC", "DTNE", "DTBE", "DTNC"}) {
        for (const std::size_t ahead : {6U, 7U, 40U}) {
            Open();
            Feed(std::string(ahead, 'D') + mark + "XX");
            EXPECT_TRUE(Inside::Dictionary_Lost(socket)) << mark;
            Open();
            Feed(std::string(ahead, 'X') + mark);
            EXPECT_TRUE(Inside::Dictionary_Lost(socket)) << mark;
        }
    }
}

TEST_F(WSocketHostile, SuchAMarkIsFoundBehindOthersAndInsideThem)
{
    for (const char* discard : {"XXDTXDTBC", "XXDTCPDTBC", "XXDTDTBC", "XXDTBDTBC"}) {
        Open();
        Feed(discard);
        EXPECT_TRUE(Inside::Dictionary_Lost(socket)) << discard;
    }
}

TEST_F(WSocketHostile, DiscardThatBeginsWithSuchAMarkLosesIt)
{
    Open();
    Feed(LyingFrame("DTBC", 60'001));
    EXPECT_TRUE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketHostile, SuchAMarkAcrossTwoDiscardsLosesIt)
{
    for (const std::string mark : {"DTBC", "DTNE", "DTBE", "DTNC"}) {
        for (std::size_t cut = 1; cut < 4; ++cut) {
            Open();
            Feed("XXXXXX" + mark.substr(0, cut));
            EXPECT_FALSE(Inside::Dictionary_Lost(socket)) << mark << cut;
            Feed(mark.substr(cut) + "XXXXXX");
            EXPECT_TRUE(Inside::Dictionary_Lost(socket)) << mark << cut;
        }
    }
}

TEST_F(WSocketHostile, PartsOfAMarkWithAGoodHeaderBetweenThemDoNot)
{
    Open();
    Feed("XXXXXXDT");
    Feed(AliveFrame());
    Feed("BCXXXXXX");
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketHostile, PartsOfAMarkInTwoConnectionsDoNot)
{
    Open();
    Feed("XXXXXXDT");
    Open();
    Feed("BCXXXXXX");
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketHostile, DiscardWithoutSuchAMarkKeepsTheDictionary)
{
    Open();
    Feed(encoder.Encode(MakeEnvelope(Compressible(300))).bytes());
    Take_Messages();
    Feed("XDTCP  DTRC  DTCE  DTRE  DTDTDTB");
    EXPECT_EQ(Take_Statuses(), Statuses{5000});
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
    Feed(encoder.Encode(MakeEnvelope(Compressible(300))).bytes());
    EXPECT_EQ(Take_Messages(), Texts{Delivered(Compressible(300), 6)});
}

// ---- Without memory for the dictionary

TEST_F(WSocketHostile, WithoutADecompressorOnlyFramesThatNeedItClose)
{
    bsd_free(std::exchange(Inside::Decompressor(socket), nullptr));
    Open();
    Feed(MakeFrame("DTNC", MakeEnvelope("one")) + MakeFrame("DTNE", Sealed(MakeEnvelope("two"))));
    EXPECT_EQ(Take_Messages(), (Texts{Delivered("one"), Delivered("two")}));
    Feed(encoder.Encode(MakeEnvelope(Compressible(300))).bytes() + MakeFrame("DTCP", MakeEnvelope("behind")));
    EXPECT_EQ(Take_Statuses(), Statuses{});
    Expect_Close();
}

// ---- What follows a loss

TEST_F(WSocketHostile, NothingIsDeliveredBehindAnUnreadableFrameWhicheverReasonCloses)
{
    Lose_Dictionary();
    socket.DoClose(4);
    Feed(MakeFrame("DTBC", bad_code) + MakeFrame("DTCP", MakeEnvelope("behind")));
    EXPECT_EQ(Take_Messages(), Texts{});
    EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
}

TEST_F(WSocketHostile, MessagesThatNeedNoDictionaryAreDeliveredWhileClosing)
{
    Open();
    socket.DoClose(4);
    Feed_Envelope("last");
    EXPECT_EQ(Take_Messages(), Texts{Delivered("last")});
}

TEST_F(WSocketHostile, AFrameOfTheDictionaryInsideAnotherOneBehindADiscardLosesIt)
{
    Open();
    Feed("XXXXXX");
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
    Feed(MakeFrame("DTCP", MakeEnvelope("575 " + MakeFrame("DTNC", "swallowed"))));
    EXPECT_TRUE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketHostile, WithoutADiscardAMessageMaySpeakOfMarks)
{
    Open();
    Feed_Envelope("575 DTBC DTNC DTNE DTBE");
    EXPECT_FALSE(Inside::Dictionary_Lost(socket));
}

TEST_F(WSocketHostile, NoMoreMessagesAreDeliveredOnDemandButStatusesAre)
{
    Open();
    socket.Deliver_No_More();
    Feed_Envelope("unwanted");
    Feed("XXXXXX");
    EXPECT_EQ(Take_Statuses(), Statuses{5000});
}

} // namespace
