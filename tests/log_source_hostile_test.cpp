// Logs that are cut, lie about their lengths or are no logs at all, and files that change while they are read: what is
// read is what a plain model reads, it comes to an end, and it takes no more memory than a small log does.
#include "replay/log_source.h"

#include "replay/output_file.h"
#include "support/log_records.h"
#include "support/read_log_source.h"
#include "support/report_texts.h"
#include "support/scratch_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <optional>
#include <random>
#include <string_view>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace std::string_literals;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Texts = std::vector<std::string>;

constexpr const char* unfit = "1 Uncompressed packet does not fit the original length\n";

// ---- Model -----------------------------------------------------------------------------------------------------

// The body that a block stands for; none if it is no block.
std::optional<std::string> restored(std::string_view block)
{
    constexpr std::size_t header = 40;
    if (block.size() < header || block.size() > header + 2048) {
        return std::nullopt;
    }
    const std::size_t length = static_cast<unsigned char>(block[0]) + 256U * static_cast<unsigned char>(block[1]);
    if (length == 0 || length > 2048) {
        return std::nullopt;
    }
    std::string plain;
    std::string_view words = block.substr(header);
    for (std::size_t word = 0; word < (length + 7) / 8; ++word) {
        const auto mask = static_cast<unsigned char>(block[8 + word / 64 * 8 + 7 - word % 64 / 8]);
        if ((mask >> word % 8 & 1) == 0) {
            plain += std::string(8, '\0');
        } else if (words.size() < 8) {
            return std::nullopt;
        } else {
            plain += words.substr(0, 8);
            words.remove_prefix(8);
        }
    }
    plain.resize(length);
    return plain;
}

std::size_t number_in(std::string_view bytes, std::size_t at)
{
    std::size_t value = 0;
    for (std::size_t i = 4; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

// What a translation has of a log: its records, and how it ends.
struct Model
{
    Texts records;
    Texts told;

    Model(std::string_view log, const std::string& start, const std::string& end)
    {
        while (log.size() >= 32 && log[0] == '2') {
            std::string head(log.substr(0, 32));
            log.remove_prefix(32);
            if (head.compare(0, std::min<std::size_t>(end.size(), 14), end, 0, 14) > 0) {
                records.emplace_back("beyond");
                return;
            }
            if (number_in(head, 24) > 61440) {
                for (const std::size_t field : {16U, 20U, 24U, 28U}) {
                    head.replace(field, 4, LogRecord::Turned(head.substr(field, 4)));
                }
            }
            const std::size_t length = number_in(head, 24);
            const bool is_early = head.compare(0, std::min<std::size_t>(start.size(), 14), start, 0, 14) < 0;
            if (length >= log.size() || (length > 61440 && !is_early)) {
                break;
            }
            if (!is_early) {
                Take(head, std::string(log.substr(0, length + 1)));
            }
            log.remove_prefix(length + 1);
        }
        records.emplace_back("end");
    }

private:
    void Take(std::string head, std::string body)
    {
        if (number_in(head, 28) == 1) {
            body.pop_back();
            body = restored(body).value_or(body);
            if (body.size() != std::uint64_t{number_in(head, 20)} + 88) {
                told.emplace_back(unfit);
            }
            body += '\n';
            head.replace(28, 4, LogRecord::Number(0));
        }
        head.replace(16, 4, LogRecord::Number(32 + body.size()));
        head.replace(24, 4, LogRecord::Number(body.size() - 1));
        records.push_back(head + body);
    }
};

// ---- Fixture ---------------------------------------------------------------------------------------------------

class LogSourceHostile : public testing::Test
{
protected:
    ~LogSourceHostile() override { close(memory); }

    void Put(const std::string& bytes) const { directory.write("in.log", bytes); }

    void ExpectAsInTheModel(const std::string& bytes, const std::string& start = "", const std::string& end = "") const
    {
        ASSERT_EQ(ftruncate(memory, 0), 0);
        ASSERT_EQ(pwrite(memory, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        const auto source = LogSource::Open(("/proc/self/fd/" + std::to_string(memory)).c_str(), start, end);
        ASSERT_NE(source, nullptr);
        const Model model(bytes, start, end);
        ASSERT_EQ(Read_All(*source), model.records);
        ASSERT_EQ(ReportTexts::Take(), model.told);
    }

    // A body of 24 words, of which a third are zero, and its block.
    static LogRecord Compressed()
    {
        LogRecord record = LogRecord::Message("111" + std::string(101, 'o'));
        std::string words;
        std::uint32_t mask = 0;
        for (std::size_t word = 0; word < 24; ++word) {
            const std::string bytes = record.body.substr(word * 8, 8);
            if (bytes != std::string(8, '\0')) {
                mask |= 1U << word;
                words += bytes;
            }
        }
        record.body = "\xC0"s + std::string(11, '\0') + LogRecord::Turned(LogRecord::Number(mask)) +
                      std::string(24, '\0') + words;
        return record;
    }

    static LogRecord CutPacket()
    {
        LogRecord record = LogRecord::Message("575" + std::string(50, 'c'));
        record.data_length = 3300;
        return record;
    }

    ScratchDirectory directory;
    ReportTexts reports;
    const int memory = memfd_create("log", MFD_CLOEXEC); // thousands of logs would keep a disk busy
    const std::string first = LogRecord::Text("ER-at eight", "20261120080000").bytes();
    const std::string stored = LogRecord::Message("575" + std::string(90, 'x'), "RM", "20261120090000").bytes();
    const std::string sound = first + stored + Compressed().bytes() + Compressed().bytes_of_the_other_order() +
                              CutPacket().bytes() + LogRecord::Text("ER-a line\nand more").bytes_of_the_other_order() +
                              LogRecord::Text("", "20261120100000").bytes();
};

TEST_F(LogSourceHostile, TheSoundLogIsReadToItsEnd)
{
    const Model model(sound, "", "");
    ASSERT_EQ(model.records.size(), 8U);
    EXPECT_EQ(model.records[2].size(), 32 + 192 + 1U);
    EXPECT_THAT(model.told, ElementsAre(unfit));
    ExpectAsInTheModel(sound);
}

// ---- Cut -------------------------------------------------------------------------------------------------------

TEST_F(LogSourceHostile, ALogCutAtAnyByteGivesItsWholeRecords)
{
    for (std::size_t size = 0; size <= sound.size(); ++size) {
        ExpectAsInTheModel(sound.substr(0, size));
        ExpectAsInTheModel(sound.substr(0, size), "2026112009", "20261120093005");
    }
}

TEST_F(LogSourceHostile, ALogThatBeginsAtAnyByteEndsOrGoesOn)
{
    for (std::size_t begin = 0; begin <= sound.size(); ++begin) {
        ExpectAsInTheModel(sound.substr(begin));
    }
}

// ---- Lies ------------------------------------------------------------------------------------------------------

TEST_F(LogSourceHostile, AnyNumberMayLie)
{
    const std::size_t record_starts[] = {0, first.size(), first.size() + stored.size()};
    for (const std::size_t start : record_starts) {
        for (const std::size_t field : {16U, 20U, 24U, 28U}) {
            for (const std::size_t lie : {0x0U, 0x1U, 0x2U, 0x27U, 0x28U, 0x7FFU, 0x828U, 0x829U, 0xF000U, 0xF001U,
                                          0xFFFFU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
                for (const std::string& bytes : {LogRecord::Number(lie), LogRecord::Turned(LogRecord::Number(lie))}) {
                    std::string log = sound + std::string(100'000, '2');
                    log.replace(start + field, 4, bytes);
                    ExpectAsInTheModel(log);
                    ExpectAsInTheModel(log, "2026112010");
                }
            }
        }
    }
}

TEST_F(LogSourceHostile, ALengthThatIsTakenForTheOtherOrderTurnsAllFour)
{
    std::string log = LogRecord::Text("x").bytes();
    log.replace(20, 12, "\x03\0\0\0\0\0\x01\0\0\0\0\x01"s); // 0x10000, which is 256 the other way round; status 1
    log += std::string(254, 'y') + "\n";
    Put(log);
    const auto source = LogSource::Open("in.log", "", "");
    EXPECT_THAT(Read_All(*source),
                ElementsAre("20261120093005"s + "\0\0"s + LogRecord::Number(289) + "\0\0\0\x03"s +
                                LogRecord::Number(256) + LogRecord::Number(0) + "x\n" + std::string(254, 'y') + "\n",
                            "end"));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(unfit));
}

TEST_F(LogSourceHostile, AnyByteOfABlockMayLie)
{
    const std::string block = Compressed().bytes();
    for (std::size_t at = 32; at < block.size(); ++at) {
        for (const int flip : {0x01, 0x80, 0xFF}) {
            std::string log = block;
            log[at] = static_cast<char>(log[at] ^ flip);
            ExpectAsInTheModel(log + first);
        }
    }
}

// ---- Anything --------------------------------------------------------------------------------------------------

TEST_F(LogSourceHostile, DamagedLogsReadAsInTheModel)
{
    std::mt19937 random(20261120);
    const auto below = [&random](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
    for (int round = 0; round < 3000; ++round) {
        std::string log = sound + sound;
        for (std::size_t damages = below(4); damages > 0; --damages) {
            const std::size_t at = below(log.size());
            switch (below(3)) {
            case 0:
                log[at] = static_cast<char>(random());
                break;
            case 1:
                log.erase(at, below(60));
                break;
            default:
                log.insert(at, sound.substr(below(sound.size()), below(60)));
                break;
            }
        }
        ExpectAsInTheModel(log, below(4) == 0 ? "2026112009" : "", below(4) == 0 ? "2026112009" : "");
    }
}

TEST_F(LogSourceHostile, AnyBytesReadAsInTheModel)
{
    std::mt19937 random(4711);
    for (int round = 0; round < 3000; ++round) {
        std::string log(random() % 300, '\0');
        std::generate(log.begin(), log.end(), [&random] { return static_cast<char>(random()); });
        for (const std::size_t at : {0U, 16U, 20U, 24U, 28U}) { // small lengths, or nothing would be read
            if (log.size() > 32 && random() % 4 != 0) {
                log.replace(at, 4, at == 0 ? "2026" : LogRecord::Number(random() % (at == 28 ? 2 : 300)));
            }
        }
        ExpectAsInTheModel(log);
    }
}

TEST_F(LogSourceHostile, BoundsOfAnyFormBoundSomething)
{
    for (const std::string& bound : {"2"s, "3"s, "1"s, "20261120080000"s, "20261120080000\xFF"s, "\0"s, "\xFF"s,
                                     "20261120\0"s, "no time at all"s, std::string(5000, '2')}) {
        ExpectAsInTheModel(sound, bound, "");
        ExpectAsInTheModel(sound, "", bound);
        ExpectAsInTheModel(sound, bound, bound);
    }
}

// ---- Files that change -----------------------------------------------------------------------------------------

class LogSourceOfAChangingFile : public LogSourceHostile
{
protected:
    LogSourceOfAChangingFile()
    {
        std::string log;
        for (int number = 0; number < records; ++number) {
            log += line;
        }
        Put(log);
        source = LogSource::Open("in.log", "", "");
        EXPECT_EQ(source->Next(*record), LogSource::Step::record);
    }

    [[nodiscard]] Texts Rest() const { return Read_All(*source); }

    static constexpr int records = 1000;
    const std::string line = LogRecord::Text(std::string(967, 'l')).bytes(); // 1000 bytes
    const std::unique_ptr<ExpandedRecord> record = std::make_unique<ExpandedRecord>();
    std::unique_ptr<LogSource> source;
};

TEST_F(LogSourceOfAChangingFile, OneThatIsCutWhileItIsReadEndsWithAWholeRecord)
{
    std::filesystem::resize_file("in.log", 700'500);
    const Texts rest = Rest();
    EXPECT_EQ(rest.size(), 699 + 1U);
    EXPECT_EQ(rest.back(), "end");
    EXPECT_THAT(Texts(rest.begin(), rest.end() - 1), Each(line));
}

TEST_F(LogSourceOfAChangingFile, OneThatIsEmptiedEndsBehindWhatWasReadAhead)
{
    std::filesystem::resize_file("in.log", 0);
    const Texts rest = Rest();
    EXPECT_LT(rest.size(), 300U);
    EXPECT_EQ(rest.back(), "end");
    EXPECT_THAT(Texts(rest.begin(), rest.end() - 1), Each(line));
}

TEST_F(LogSourceOfAChangingFile, WhatIsAppendedIsNotRead)
{
    std::ofstream("in.log", std::ios::binary | std::ios::app) << line << line;
    EXPECT_EQ(Rest().size(), records - 1 + 1U);
}

TEST_F(LogSourceOfAChangingFile, OneThatIsCutAndGrowsAgainEndsWhereItEndedAtFirst)
{
    std::filesystem::resize_file("in.log", 0);
    std::filesystem::resize_file("in.log", 5'000'000); // zeros, which begin no record
    EXPECT_LT(Rest().size(), 300U);
}

TEST_F(LogSourceOfAChangingFile, AnotherInItsPlaceIsNotRead)
{
    directory.write("other.log", first);
    std::filesystem::rename("other.log", "in.log");
    EXPECT_EQ(Rest().size(), records - 1 + 1U);
}

// ---- What is no file -------------------------------------------------------------------------------------------

TEST_F(LogSourceHostile, WhatIsNoFileIsRefusedWithoutWaiting)
{
    std::filesystem::create_directory("directory");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::filesystem::create_symlink("pipe", "link to a pipe");
    std::filesystem::create_symlink("nothing", "link to nothing");
    std::filesystem::create_symlink("loop", "loop");
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "socket"};
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    for (const std::string& name :
         {"directory"s, "directory/"s, "."s, "pipe"s, "link to a pipe"s, "link to nothing"s, "loop"s, "socket"s,
          "in.log/"s, "missing/in.log"s, "/dev/null"s, "/dev/full"s, "/dev/random"s, std::string(5000, 'n')}) {
        EXPECT_EQ(LogSource::Open(name.c_str(), "", ""), nullptr) << name;
    }
    close(listener);
    EXPECT_FALSE(std::filesystem::exists("nothing"));
}

TEST_F(LogSourceHostile, APipeThatHasALogInItIsRefusedToo)
{
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int end = open("pipe", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    ASSERT_EQ(write(end, sound.data(), sound.size()), static_cast<ssize_t>(sound.size()));
    EXPECT_EQ(LogSource::Open("pipe", "", ""), nullptr);
    close(end);
}

TEST_F(LogSourceHostile, ALinkToALogIsTheLog)
{
    Put(first);
    std::filesystem::create_symlink("in.log", "link");
    const auto source = LogSource::Open("link", "", "");
    ASSERT_NE(source, nullptr);
    EXPECT_THAT(Read_All(*source), ElementsAre(first, "end"));
}

// ---- Large files -----------------------------------------------------------------------------------------------

class LargeLog : public LogSourceHostile
{
protected:
    // Records of the longest body there is, whose bytes are holes of the file: it takes little room on the disk.
    void PutHoles(int records) const
    {
        LogRecord record = LogRecord::Text(std::string(61440, '\0'));
        const std::string head = record.bytes().substr(0, 32);
        const int file = open("in.log", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        off_t at = 0;
        for (int number = 0; number < records; ++number, at += hole) {
            EXPECT_EQ(pwrite(file, head.data(), head.size(), at), 32);
        }
        EXPECT_EQ(pwrite(file, first.data(), first.size(), at), static_cast<ssize_t>(first.size()));
        close(file);
    }

    // Bytes on the heap; 0 in programs whose heap is a sanitizer's.
    static std::size_t heap()
    {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    }

    static constexpr off_t hole = 32 + 61440 + 1;
};

TEST_F(LargeLog, IsReadInTheMemoryOfASmallOne)
{
    constexpr int holes = 3500; // 215 MB
    PutHoles(holes);
    const auto source = LogSource::Open("in.log", "", "");
    const auto record = std::make_unique<ExpandedRecord>();
    const std::size_t before = heap();
    int records = 0;
    while (source->Next(*record) == LogSource::Step::record) {
        ++records;
        ASSERT_LE(heap(), before);
    }
    EXPECT_EQ(records, holes + 1);
    EXPECT_EQ(record->bytes(), first);
}

TEST_F(LargeLog, IsWrittenInTheMemoryOfASmallOne)
{
    PutHoles(300);
    const auto source = LogSource::Open("in.log", "", "");
    const auto record = std::make_unique<ExpandedRecord>();
    OutputFile out;
    ASSERT_TRUE(out.Open("out.log"));
    const std::size_t before = heap();
    while (source->Next(*record) == LogSource::Step::record) {
        ASSERT_TRUE(out.Write(record->bytes()));
        ASSERT_LE(heap(), before);
    }
    ASSERT_TRUE(out.Flush());
    EXPECT_EQ(std::filesystem::file_size("out.log"), std::filesystem::file_size("in.log"));
}

TEST_F(LargeLog, WhatIsAheadOfTheRangeIsPassedOver)
{
    PutHoles(3500);
    const auto source = LogSource::Open("in.log", "20261120093006", "");
    EXPECT_THAT(Read_All(*source), ElementsAre("end"));
}

// A record ahead of the range may be as long as its number says: here 4 GB, and the file has them.
TEST_F(LargeLog, RecordsBehindFourGigabytesAreRead)
{
    std::string early = LogRecord::Text("", "20261120070000").bytes();
    early.replace(24, 4, "\xFF\xFF\xFF\xFF");
    Put(early);
    const std::int64_t behind = std::int64_t{32} + 0xFFFFFFFF + 1;
    std::filesystem::resize_file("in.log", static_cast<std::uintmax_t>(behind));
    std::ofstream("in.log", std::ios::binary | std::ios::app) << first << stored;
    const auto source = LogSource::Open("in.log", "2026112008", "");
    EXPECT_THAT(Read_All(*source), ElementsAre(first, Model(stored, "", "").records[0], "end"));
}

TEST_F(LargeLog, ZerosBehindTheRecordsEndIt)
{
    Put(first);
    std::filesystem::resize_file("in.log", std::uintmax_t{6} << 30);
    const auto source = LogSource::Open("in.log", "", "");
    EXPECT_THAT(Read_All(*source), ElementsAre(first, "end"));
}

} // namespace
