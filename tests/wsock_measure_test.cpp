// Compression measured on data that is not sent.
#include "support/wsock_fixture.h"

namespace {

class WSocketMeasure : public WSocketTest, public testing::WithParamInterface<int>
{
protected:
    // Of which no dictionary knows anything: those of measuring live as long as the process.
    static std::string Fresh_Noise(std::size_t len)
    {
        static unsigned seed = 1'000;
        return Noise(len, ++seed);
    }
    unsigned Measure(const std::string& data)
    {
        return socket.Compression_Test(data.data(), static_cast<unsigned short>(data.size()));
    }
};

TEST_P(WSocketMeasure, OutputThatIsLargerIsCounted)
{
    socket.Set_Compression_Under_Test(GetParam());
    const unsigned before = Measure(Compressible(1'200));
    EXPECT_EQ(Measure(Fresh_Noise(1'200)), before + 1);
    EXPECT_EQ(Measure(Compressible(1'200)), before + 1);
    EXPECT_EQ(Measure(Fresh_Noise(1'200)), before + 2);
}

INSTANTIATE_TEST_SUITE_P(Compressors, WSocketMeasure, testing::Values(0, 1, 2, 3));

TEST_F(WSocketMeasure, OutputOfTheSameLengthIsNotCounted)
{
    socket.Set_Compression_Under_Test(3);
    const unsigned before = Measure(Compressible(1'200));
    EXPECT_EQ(Measure(Noise(984) + Zeros(40)), before);
}

TEST_F(WSocketMeasure, OtherCompressorsTakeLongData)
{
    for (const int which : {0, 1, 2}) {
        socket.Set_Compression_Under_Test(which);
        const unsigned before = Measure(Compressible(1'200));
        EXPECT_EQ(Measure(Compressible(3'000)), before) << which;
    }
}

TEST_F(WSocketMeasure, MeasuringTouchesNoTraffic)
{
    Open(SENDPKTCOMPRESS);
    Measure(Noise(500));
    EXPECT_EQ(Wire(), "");
    Send(Noise(500));
    EXPECT_EQ(Frame().mark, "DTNC"); // the connection's dictionary has not seen it
}

TEST_F(WSocketMeasure, WhatIsTooLongForZeroWordsCountsAsLarger)
{
    socket.Set_Compression_Under_Test(3);
    const unsigned before = Measure(Compressible(1'200));
    EXPECT_EQ(Measure(Compressible(2'048)), before);
    EXPECT_EQ(Measure(Compressible(2'049)), before + 1);
    EXPECT_EQ(Measure(Noise(60'000)), before + 2);
}

} // namespace
