// What happens inside a slot: lent buffers, clipping, the zeroed tail.
#include "qcapi/support.h"
#include "support/ring_fixture.h"

#include <utility>

namespace {

using Report = std::pair<int, std::string>;

std::vector<Report> host_reports;
std::vector<std::string> report_lines;
CMss_Arr* reporting_ring = nullptr;

class RingReportTest : public RingTest
{
protected:
    void SetUp() override
    {
        reporting_ring = &ring;
        Set_Report_Line_Sink([](const char* text) { report_lines.emplace_back(text); });
        Set_Report_Host_Sink([](int code, char* text) { host_reports.emplace_back(code, text); });
    }
    void TearDown() override
    {
        Set_Report_Line_Sink(nullptr);
        Set_Report_Host_Sink(nullptr);
        host_reports.clear();
        report_lines.clear();
    }
};

TEST_F(RingReportTest, RecordOfExactlyTheRecordLengthIsNotClipped)
{
    Put("0123456789abcdef");
    EXPECT_EQ(Take(), "0123456789abcdef");
    EXPECT_TRUE(host_reports.empty());
}

TEST_F(RingReportTest, RecordOneByteTooLongIsClippedAndReported)
{
    Put("0123456789abcdefg");
    EXPECT_EQ(Take(), "0123456789abcdef");
    const std::string text = "A received message is longer with 1 than the maximum allowed";
    EXPECT_EQ(host_reports, (std::vector<Report>{{1, text}}));
    EXPECT_EQ(report_lines, std::vector<std::string>{text});
}

TEST_F(RingReportTest, LentBufferTakenWithTooGreatALengthIsClippedAndReported)
{
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    Write(buffer, "0123456789abcdef");
    ring.Take_Collect(rec_len + 300);
    EXPECT_EQ(Take(), "0123456789abcdef");
    EXPECT_EQ(host_reports,
              (std::vector<Report>{{1, "A received message is longer with 300 than the maximum allowed"}}));
}

TEST_F(RingReportTest, ReporterMayUseTheRingItself)
{
    Set_Report_Host_Sink([](int, char*) {
        reporting_ring->Initialize();
        reporting_ring->Collect(5, "report", 6, nullptr, nullptr);
    });
    Put("0123456789abcdefg");
    EXPECT_EQ(Take(), "report");
}

TEST_F(RingReportTest, ShortRecordIsJudgedByItsClippedLength)
{
    CMss_Arr narrow(slots, 4, CMSS_FIFO);
    narrow.Collect(22, "hello", 5, nullptr, nullptr);
    EXPECT_EQ(narrow.Get_Total_Collected(), 0U);
    EXPECT_EQ(host_reports.size(), 1U);
}

TEST_F(RingTest, TailOfTheSlotIsZeroedBehindAShorterRecord)
{
    for (int i = 0; i < slots; ++i) {
        Put(std::string(rec_len, 'x'));
        Take();
    }
    Put("short");
    EXPECT_EQ(Oldest_Slot(), std::string("short\0\0\0\0\0\0\0\0\0\0\0", rec_len));
}

TEST_F(RingTest, TailIsZeroedWhereALentBufferWasWritten)
{
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    std::memset(buffer, 'x', rec_len);
    ring.Take_Collect(2);
    Take();
    Turn(slots - 1);
    Put("short");
    EXPECT_EQ(Oldest_Slot(), std::string("short\0\0\0\0\0\0\0\0\0\0\0", rec_len));
}

TEST_F(RingTest, TailIsZeroedWhereAReaderWroteIntoTheSlot)
{
    Put("first");
    char* buffer = nullptr;
    int len = 0;
    ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
    std::memset(buffer, 'x', rec_len);
    ring.Take_Withdraw();
    Turn(slots - 1);
    Put("short");
    EXPECT_EQ(Oldest_Slot(), std::string("short\0\0\0\0\0\0\0\0\0\0\0", rec_len));
}

TEST_F(RingTest, NegativeLengthIsAnEmptyRecord)
{
    ring.Collect(22, "hello", -3, nullptr, nullptr);
    EXPECT_EQ(Oldest_Slot(), std::string(rec_len, '\0'));
    EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, 1}));
}

TEST_F(RingTest, NullDataIsAnEmptyRecord)
{
    ring.Collect(27, nullptr, 0, nullptr, nullptr);
    ring.Collect(27, nullptr, 9, nullptr, nullptr);
    EXPECT_EQ(Take(), "");
    EXPECT_EQ(taken_status, 27);
    EXPECT_EQ(Take(), "");
}

TEST_F(RingTest, RingOfOneSlotGrowsAtOnce)
{
    for (const int few : {1, 0, -4}) {
        CMss_Arr tiny(few, rec_len, CMSS_FIFO);
        EXPECT_EQ(tiny.Get_Total_Num_Records(), 1);
        tiny.Collect(5, "hello", 5, nullptr, nullptr);
        EXPECT_EQ(tiny.Get_Total_Num_Records(), 2);
        EXPECT_EQ(tiny.Is_Any_Pkt(), 1);
    }
}

TEST_F(RingTest, NegativeLengthOfALentBufferIsAnEmptyRecord)
{
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    ring.Take_Collect(-1);
    EXPECT_EQ(Take(), "");
    EXPECT_EQ(taken_status, 22);
}

TEST_F(RingTest, RingOfRecordsWithoutBytesCarriesStatusesOnly)
{
    CMss_Arr bare(slots, -1, CMSS_FIFO);
    bare.Collect(27, nullptr, 0, nullptr, nullptr);
    int len = 7;
    char nothing = '#';
    EXPECT_EQ(bare.Withdraw(&nothing, &len, nullptr, nullptr), 27);
    EXPECT_EQ(len, 0);
    EXPECT_EQ(nothing, '#');
}

TEST_F(RingTest, LentBufferIsNotVisibleBeforeItIsTaken)
{
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    Write(buffer, "in place");
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    EXPECT_EQ(inside.Posts(), 0);
    ring.Take_Collect(8);
    EXPECT_EQ(inside.Posts(), 1);
    EXPECT_EQ(Counters(), (Counts{1, 0, 1, 0, 0}));
    EXPECT_EQ(Take(), "in place");
    EXPECT_EQ(taken_status, 22);
}

TEST_F(RingTest, LentBufferKeepsSourceAndExtraDataOfTheSlot)
{
    ring.Collect(22, "first", 5, source_name, extra_bytes);
    Take();
    Turn(slots - 1);
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    ring.Take_Collect(0);
    EXPECT_EQ(inside.Live()[0]->source, source_name);
    EXPECT_EQ(std::string(inside.Live()[0]->extra_data, CMSS_EXTRA_LEN), "abcdefghijklmnopqrst");
}

TEST_F(RingTest, LentBufferIsNotZeroed)
{
    Put("leftover");
    Take();
    Turn(slots - 1);
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    ring.Take_Collect(3);
    EXPECT_EQ(Oldest_Slot(), std::string("leftover\0\0\0\0\0\0\0\0", rec_len));
}

TEST_F(RingTest, LentBufferStaysInPlaceWhenTakingItGrowsTheRing)
{
    for (int turned = 0; turned < slots; ++turned) {
        CMss_Arr fresh(slots, rec_len, CMSS_FIFO);
        for (int i = 0; i < turned + 5; ++i) {
            fresh.Collect(i, "record", 6, nullptr, nullptr);
            if (i < turned) {
                fresh.Dropped();
            }
        }
        char* written = nullptr;
        fresh.Init_Collect(99, &written);
        Write(written, "in place");
        fresh.Take_Collect(8);
        EXPECT_EQ(fresh.Get_Total_Num_Records(), 12);
        const Mss_Rec* newest = CMss_Arr_Test_Access(fresh).Live().back();
        EXPECT_EQ(newest->buf.get(), written) << "turned by " << turned;
        EXPECT_EQ(std::string(newest->buf.get(), 8), "in place");
    }
}

TEST_F(RingTest, ZeroCopyReadHandsOutTheRecordAndCountsItAtTheFirstStep)
{
    ring.Collect(22, "hello", 5, source_name, extra_bytes);
    char* buffer = nullptr;
    int len = 0;
    const char* source = nullptr;
    std::array<char, CMSS_EXTRA_LEN> extra{};
    EXPECT_EQ(ring.Init_Withdraw(&buffer, &len, &source, extra.data()), 22);
    EXPECT_EQ(std::string(buffer, static_cast<unsigned>(len)), "hello");
    EXPECT_EQ(source, source_name);
    EXPECT_EQ(std::string(extra.data(), extra.size()), "abcdefghijklmnopqrst");
    EXPECT_EQ(Counters(), (Counts{1, 1, 0, 0, 0}));
    EXPECT_EQ(ring.Is_Any_Pkt(), 1);
    ring.Take_Withdraw();
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
}

TEST_F(RingTest, ZeroCopyReadOfAnEmptyRingReturnsMinusOneAndHoldsNoLock)
{
    char* buffer = nullptr;
    int len = 77;
    EXPECT_EQ(ring.Init_Withdraw(&buffer, &len, nullptr, nullptr), -1);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(len, 77);
    ring.Initialize(); // would wait for a reader
}

TEST_F(RingTest, RecordBeingReadStaysInPlaceWhileTheRingGrows)
{
    for (int turned = 0; turned < slots; ++turned) {
        ring.Initialize();
        Turn(turned);
        Put_Numbers(0, 5);
        char* buffer = nullptr;
        int len = 0;
        ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
        Put_Numbers(5, ring.Get_Total_Num_Records());
        EXPECT_EQ(std::string(buffer, static_cast<unsigned>(len)), "record 0");
        ring.Take_Withdraw();
        Expect_Numbers(1, 9);
    }
}

} // namespace
