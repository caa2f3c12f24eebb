// The input of replay and translation: what is read of a log, where it begins and ends, and what spoils it.
#include "replay/log_source.h"

#include "compress/rle.h"
#include "qcapi/log.h"
#include "support/log_records.h"
#include "support/read_log_source.h"
#include "support/report_texts.h"
#include "support/scratch_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <sys/stat.h>

using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class LogSourceTest : public testing::Test
{
protected:
    using Texts = std::vector<std::string>;

    ~LogSourceTest() override { LOG_End(); }

    Texts Read(const std::string& bytes, const std::string& start = "", const std::string& end = "")
    {
        directory.write("in.log", bytes);
        const auto source = LogSource::Open("in.log", start, end);
        return source != nullptr ? Read_All(*source) : Texts{"doesn't open"};
    }
    // The record with its body as one block of zero-word suppression.
    static LogRecord Compressed(LogRecord record)
    {
        alignas(8) std::array<unsigned char, RLE_MAX_LEN> plain{};
        alignas(8) std::array<unsigned char, RLE_MAX_BLOCK> block{};
        std::copy(record.body.begin(), record.body.end(), plain.begin());
        const auto length = static_cast<unsigned short>(record.body.size());
        const unsigned made = RLE_Compression(plain.data(), block.data(), length);
        record.body.assign(block.begin(), block.begin() + made);
        return record;
    }

    // What the running log says of it.
    std::string Log_Of(const std::string& bytes)
    {
        LOG_Init("", directory.path().c_str());
        Read(bytes);
        LOG_End();
        return directory.read("qapi.log");
    }

    ScratchDirectory directory;
    ReportTexts reports;
};

constexpr const char* bad_record = "Bad record read, there is no possible to continue";

const LogRecord text = LogRecord::Text("ER-a line\nand another");
const LogRecord message = LogRecord::Message("575" + std::string(90, 'x'));

// ---- Records ---------------------------------------------------------------------------------------------------

TEST_F(LogSourceTest, TextsStayAsTheyAreAndMessagesBecomeLikeThem)
{
    EXPECT_THAT(Read(text.bytes() + message.bytes() + text.bytes()),
                ElementsAre(text.bytes(), message.expanded(), text.bytes(), "end"));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(LogSourceTest, StoredAndCompressedBodiesBecomeTheSame)
{
    EXPECT_NE(Compressed(message).body, message.body);
    EXPECT_THAT(Read(Compressed(message).bytes()), ElementsAre(message.expanded(), "end"));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(LogSourceTest, BodiesOfTwoKilobytesAreTheLongestThatMayBeCompressed)
{
    const LogRecord longest = LogRecord::Message("575" + std::string(2048 - 88 - 3, '\1'));
    EXPECT_THAT(Read(Compressed(longest).bytes()), ElementsAre(longest.expanded(), "end"));
    const LogRecord longer = LogRecord::Message("575" + std::string(3179 - 3, '\1'));
    EXPECT_THAT(Read(longer.bytes()), ElementsAre(longer.expanded(), "end"));
}

TEST_F(LogSourceTest, NumbersOfTheOtherByteOrderAreTurned)
{
    EXPECT_THAT(Read(text.bytes_of_the_other_order() + Compressed(message).bytes_of_the_other_order()),
                ElementsAre(text.bytes(), message.expanded(), "end"));
}

TEST_F(LogSourceTest, ATranslationReadsAsItself)
{
    const std::string translated = text.bytes() + message.expanded();
    EXPECT_THAT(Read(translated), ElementsAre(text.bytes(), message.expanded(), "end"));
}

TEST_F(LogSourceTest, APacketThatWasCutIsToldAndTaken)
{
    LogRecord cut = LogRecord::Message(std::string(3179, 'c'));
    cut.data_length = 3300;
    EXPECT_THAT(Read(cut.bytes()), ElementsAre(cut.expanded(), "end"));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Uncompressed packet does not fit the original length\n"));
}

TEST_F(LogSourceTest, ARecordKnowsItsPacketAsFarAsItIsThere)
{
    LogRecord cut = message;
    cut.data_length = 4000;
    directory.write("in.log", message.bytes() + cut.bytes() + text.bytes() + LogRecord::Text("RM").bytes());
    const auto source = LogSource::Open("in.log", "", "");
    const auto record = std::make_unique<ExpandedRecord>();
    Texts packets;
    while (source->Next(*record) == LogSource::Step::record) {
        packets.emplace_back(record->packet());
    }
    const std::string packet = message.body.substr(88);
    EXPECT_THAT(packets, ElementsAre(packet, packet, "", ""));
}

// ---- Bounds ----------------------------------------------------------------------------------------------------

class LogSourceBounds : public LogSourceTest
{
protected:
    static LogRecord At(const std::string& hour) { return LogRecord::Text("at " + hour, "20261120" + hour); }

    const std::string log = At("080000").bytes() + LogRecord::Message("a", "RM", "20261120090000").bytes() +
                            At("100000").bytes() + At("110000").bytes();
    const std::string nine = LogRecord::Message("a", "RM", "20261120090000").expanded();
    const std::string ten = At("100000").bytes();
};

TEST_F(LogSourceBounds, AreWithinTheRange)
{
    EXPECT_THAT(Read(log, "20261120090000", "20261120100000"), ElementsAre(nine, ten, "beyond"));
    EXPECT_THAT(Read(log, "20261120090001", "20261120105959"), ElementsAre(ten, "beyond"));
    EXPECT_THAT(Read(log, "20261120110001", ""), ElementsAre("end"));
}

TEST_F(LogSourceBounds, AreComparedAsFarAsTheyGo)
{
    EXPECT_THAT(Read(log, "2026112009", "2026112010"), ElementsAre(nine, ten, "beyond"));
    EXPECT_EQ(Read(log, "20261120", "20261120").size(), 5U);
    EXPECT_THAT(Read(log, "", "20261119"), ElementsAre("beyond"));
    EXPECT_THAT(Read(log, "20261120090000 and more", "20261120100000 and more"), ElementsAre(nine, ten, "beyond"));
}

TEST_F(LogSourceBounds, BehindTheLaterOneItStaysSo)
{
    directory.write("in.log", log);
    const auto source = LogSource::Open("in.log", "", "20261120080000");
    EXPECT_THAT(Read_All(*source), ElementsAre(At("080000").bytes(), "beyond"));
    EXPECT_THAT(Read_All(*source), ElementsAre("beyond"));
}

TEST_F(LogSourceBounds, TheSearchForTheEarlierOneCanBeStopped)
{
    directory.write("in.log", log);
    const auto record = std::make_unique<ExpandedRecord>();
    const auto source = LogSource::Open("in.log", "20261120100000", "");
    EXPECT_EQ(source->Next(*record, [] { return true; }), LogSource::Step::end);
    EXPECT_EQ(source->Next(*record, [] { return false; }), LogSource::Step::record);
}

TEST_F(LogSourceBounds, RecordsAheadArePassedOverInEitherByteOrder)
{
    const std::string early = LogRecord::Message("early", "RM", "20261120070000").bytes_of_the_other_order();
    EXPECT_THAT(Read(early + log, "20261120100000", "20261120100000"), ElementsAre(ten, "beyond"));
}

// ---- Bad input -------------------------------------------------------------------------------------------------

TEST_F(LogSourceTest, WhatBeginsWithNoYearIsRefusedAtOnce)
{
    for (const std::string& start : {"1"s, "ELF"s, std::string(1, '\0')}) {
        std::string bytes = text.bytes();
        bytes.replace(0, start.size(), start);
        EXPECT_THAT(Read(bytes + text.bytes()), ElementsAre("end"));
    }
    EXPECT_THAT(Log_Of("no log at all, but one that has 32 bytes"), HasSubstr(bad_record));
}

TEST_F(LogSourceTest, BehindABadRecordNothingIsLookedFor)
{
    EXPECT_THAT(Read(text.bytes() + "x" + text.bytes()), ElementsAre(text.bytes(), "end"));
}

TEST_F(LogSourceTest, ALogThatIsCutAnywhereGivesItsWholeRecords)
{
    const std::string first = text.bytes();
    const std::string second = Compressed(message).bytes();
    const std::string whole = first + second;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::size_t records = (size >= first.size() ? 1U : 0U) + (size == whole.size() ? 1U : 0U);
        EXPECT_EQ(Read(whole.substr(0, size)).size(), records + 1) << size;
    }
}

TEST_F(LogSourceTest, ALengthThatNoRecordHasEndsIt)
{
    for (const std::string& length : {"\xFF\xFF\xFF\xFF"s, "\x01\xF0\x01\x01"s, "\0\0\xF0\x01"s}) {
        std::string bytes = text.bytes();
        bytes.replace(24, 4, length);
        EXPECT_THAT(Read(bytes + std::string(100'000, '2')), ElementsAre("end"));
        EXPECT_THAT(Read(bytes + std::string(100'000, '2'), "2027"), ElementsAre("end"));
    }
}

TEST_F(LogSourceTest, TheLongestBodyIsRead)
{
    const LogRecord longest = LogRecord::Text(std::string(61440, 'x'));
    EXPECT_THAT(Read(longest.bytes() + text.bytes()), ElementsAre(longest.bytes(), text.bytes(), "end"));
}

// It tells how much is written of it.
TEST_F(LogSourceTest, ALengthOfTheRecordThatLiesIsPutRight)
{
    std::string bytes = text.bytes();
    bytes.replace(16, 4, "\xFF\xFF\xFF\x7F");
    EXPECT_THAT(Read(bytes), ElementsAre(text.bytes(), "end"));
}

TEST_F(LogSourceTest, ABlockThatIsNoneIsTakenAsItStands)
{
    LogRecord bad = Compressed(message);
    bad.body.pop_back();
    EXPECT_THAT(Read(bad.bytes()), ElementsAre(bad.expanded(), "end"));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Uncompressed packet does not fit the original length\n"));
}

// ---- Files -----------------------------------------------------------------------------------------------------

TEST_F(LogSourceTest, WhatIsWrittenBehindItsEndIsNotItsOwn)
{
    directory.write("in.log", text.bytes() + text.bytes());
    const auto source = LogSource::Open("in.log", "", "");
    directory.write("in.log", text.bytes() + text.bytes() + message.bytes());
    EXPECT_THAT(Read_All(*source), ElementsAre(text.bytes(), text.bytes(), "end"));
}

TEST_F(LogSourceTest, AFileThatGetsShorterEndsThere)
{
    directory.write("in.log", text.bytes() + text.bytes());
    const auto source = LogSource::Open("in.log", "", "");
    std::filesystem::resize_file("in.log", text.bytes().size() + 5);
    EXPECT_THAT(Read_All(*source), ElementsAre(text.bytes(), "end"));
}

TEST_F(LogSourceTest, AnythingButAFileIsNoLog)
{
    std::filesystem::create_directory("a directory");
    ASSERT_EQ(mkfifo("a pipe", 0600), 0);
    for (const char* name : {"a directory", "a pipe", "/dev/zero", "missing", ""}) {
        EXPECT_EQ(LogSource::Open(name, "", ""), nullptr) << name;
    }
    EXPECT_EQ(LogSource::Open(nullptr, "", ""), nullptr);
}

} // namespace
