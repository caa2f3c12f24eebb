// Files of processed messages that are cut, damaged, in the way or not to be written, and codes that are no names: each
// costs what it holds, with a report, and nothing else.
#include "support/processed_files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace fs = std::filesystem;

class HostileFiles : public ProcessedFiles
{
protected:
    // What comes is tracked, and remembered by the next process.
    void expect_that_it_goes_on()
    {
        EXPECT_FALSE(is_processed(MessageHeader(9, "20260106")));
        handled(MessageHeader(9, "20260106"));
        EXPECT_EQ(position(), "9 9 20260106");
        start();
        EXPECT_TRUE(is_processed(MessageHeader(9, "20260106")));
        EXPECT_EQ(position(), "9 9 20260106");
    }

    [[nodiscard]] std::string damage_of(const std::string& name) const
    {
        return "20 The header of the following log file was damaged and starts again " + directory.path(name).string();
    }
    [[nodiscard]] std::string opening_error(const std::string& name) const
    {
        return "20 The following log file couldn't be opened " + directory.path(name).string();
    }
};

// ---- Cut and damaged

// A record with a date above all days would refuse its number for ever.
TEST_F(HostileFiles, ARecordWithADamagedDateIsNotProcessed)
{
    directory.write(file_b, sound_file().substr(0, 700) + Record_Bytes(7, 1,
                                                                       "\xB2"
                                                                       "0260105"));
    start();
    EXPECT_FALSE(is_processed(MessageHeader(7)));
    handled(MessageHeader(7));
    EXPECT_TRUE(is_processed(MessageHeader(7)));
    EXPECT_EQ(bytes_at(700), Record_Bytes(7, 1, "20260105"));
}

TEST_F(HostileFiles, CutAtEveryByteWhatIsWholeCounts)
{
    const std::string whole = sound_file();
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        directory.write(file_b, whole.substr(0, size));
        start();
        EXPECT_EQ(position(), size < 16 ? "0 0 " : "7 7 20260105") << size;
        EXPECT_EQ(is_processed(MessageHeader(7)), size >= 716) << size;
        EXPECT_EQ(bytes_at(0).size(), size < 16 ? 28U : std::min<std::size_t>(size, 28)) << size;
        const bool torn = size > 0 && size < 16;
        EXPECT_EQ(ReportTexts::Take(), torn ? std::vector{damage_of(file_b)} : std::vector<std::string>()) << size;
        expect_that_it_goes_on();
    }
}

TEST_F(HostileFiles, WithAnyByteFlippedItGoesOn)
{
    const std::string whole = sound_file();
    for (std::size_t at = 0; at < whole.size(); at += at < 28 || at >= 690 ? 1 : 37) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(~damaged[at]);
        directory.write(file_b, damaged);
        start();
        EXPECT_EQ(is_processed(MessageHeader(7)), at < 704 || at >= 716) << at;
        const bool is_seen = (at >= 8 && at < 16) || at == 2 || at == 3 || at == 6 || at == 7;
        EXPECT_EQ(ReportTexts::Take().size(), is_seen ? 1U : 0U) << at;
        expect_that_it_goes_on();
    }
}

TEST_F(HostileFiles, AHeaderWithoutADateIsNoHeader)
{
    for (const char* date : {"2026O105", "        ", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "2026"}) {
        directory.write(file_b, Record_Bytes(9, 8, date) + sound_file().substr(28));
        start();
        EXPECT_EQ(position(), "0 0 ") << date;
        EXPECT_THAT(ReportTexts::Take(), ElementsAre(damage_of(file_b)));
        EXPECT_EQ(bytes_at(0), std::string(28, '\0'));
        EXPECT_TRUE(is_processed(MessageHeader(7)));
    }
}

// Whoever asked for what is behind the last of all numbers would hear of nothing any more on that day.
TEST_F(HostileFiles, NumbersFarBehindTheEndStartAgain)
{
    for (const auto& [received, processed] : {std::pair(0xFFFFFFFFU, 7U), std::pair(7U, 0x01000007U)}) {
        directory.write(file_b, Record_Bytes(received, processed, "20260105") + sound_file().substr(28));
        start();
        EXPECT_EQ(position(), "0 0 ");
        EXPECT_THAT(ReportTexts::Take(), ElementsAre(damage_of(file_b)));
        EXPECT_TRUE(is_processed(MessageHeader(7)));
        expect_that_it_goes_on();
        EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    }
}

TEST_F(HostileFiles, NumbersALittleBehindTheEndAreTakenAndTheNextMessagePutsThemRight)
{
    directory.write(file_b, Record_Bytes(1'000'007, 1'000'000, "20260105") + sound_file().substr(28));
    start();
    EXPECT_EQ(position(), "1000007 1000000 20260105");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    expect_that_it_goes_on();
}

TEST_F(HostileFiles, AHighNumberThatHasItsRecordIsTaken)
{
    start();
    handled(MessageHeader(0xFFFFFFFF));
    start();
    EXPECT_EQ(position(), "4294967295 4294967295 20260105");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(HostileFiles, AnyBytesAreSurvived)
{
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        std::string bytes(random() % 1200, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random() % 256);
        }
        directory.write(file_b, bytes);
        start();
        handled(MessageHeader(9, "99991231"));
        start();
        EXPECT_TRUE(is_processed(MessageHeader(9, "99991231")));
        EXPECT_EQ(position(), "9 9 99991231");
    }
}

// ---- Not to be opened

TEST_F(HostileFiles, ADirectoryInTheWayClosesTheThreeOfItsServerAlone)
{
    fs::create_directory("qapi.AB02.log");
    const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    start("DSCD");
    const auto of_one_server = descriptors();
    start("DSABDSCD");
    EXPECT_EQ(descriptors(), of_one_server);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(opening_error("qapi.AB02.log")));
    EXPECT_TRUE(is_processed(MessageHeader(7)));
    handled(MessageHeader(7));
    EXPECT_EQ(directory.read(file_b), std::string(28, '\0'));
    EXPECT_EQ(position(0), "0 0 ");
    EXPECT_FALSE(is_processed(MessageHeader(7).Of_Server("CD")));
    handled(MessageHeader(7).Of_Server("CD"));
    EXPECT_EQ(position(1), "7 7 20260105");
    EXPECT_EQ(bytes_at(700, "qapi.CD01.log"), Record_Bytes(7, 1, "20260105"));
}

TEST_F(HostileFiles, AServerThatJoinsWithoutFilesLeavesTheOthersAlone)
{
    fs::create_directory("qapi.CD00.log");
    start();
    handled(MessageHeader(7));
    COMMON_Set_Code_Data_Servers_List(1, "DSCD");
    EXPECT_EQ(LOG_DS_Files_Init(1), 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(opening_error("qapi.CD00.log")));
    EXPECT_TRUE(is_processed(MessageHeader(8).Of_Server("CD")));
    handled(MessageHeader(8));
    EXPECT_EQ(bytes_at(0), Record_Bytes(8, 8, "20260105"));
}

TEST_F(HostileFiles, APipeOrADeviceIsNoFile)
{
    ASSERT_EQ(mkfifo("qapi.AB00.log", 0600), 0);
    fs::create_symlink("/dev/null", "qapi.CD01.log");
    start("DSABDSCD");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(opening_error("qapi.AB00.log"), opening_error("qapi.CD01.log")));
}

TEST_F(HostileFiles, AFileThatMayNotBeWrittenIsReported)
{
    directory.write(file_b, sound_file());
    fs::permissions(file_b, fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(".", fs::perms::all);
    const bool was_root = geteuid() == 0;
    if (was_root && seteuid(65534) != 0) { // root may write anything
        GTEST_SKIP() << "root can't become another user here";
    }
    if (eaccess(directory.path().c_str(), X_OK) != 0) {
        static_cast<void>(seteuid(0));
        GTEST_SKIP() << "the directory of temporary files is root's alone";
    }
    start();
    if (was_root) {
        ASSERT_EQ(seteuid(0), 0);
    }
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(opening_error(file_b)));
    EXPECT_TRUE(is_processed(MessageHeader(8)));
    EXPECT_EQ(directory.read(file_b), sound_file());
}

TEST_F(HostileFiles, WhenTheCauseIsGoneTheNextStartOpensThem)
{
    fs::create_directory(file_b);
    start();
    fs::remove(file_b);
    start();
    expect_that_it_goes_on();
}

// ---- Codes

TEST_F(HostileFiles, ACodeThatIsNoNameIsRefused)
{
    for (const auto& [code, shown] :
         {std::pair(std::string("DS/B"), "44 53 2F 42"), std::pair(std::string("DS./"), "44 53 2E 2F"),
          std::pair(std::string("DS\0\0", 4), "44 53 00 00"), std::pair(std::string("DSA\0", 4), "44 53 41 00"),
          std::pair(std::string("DS\nB"), "44 53 0A 42"), std::pair(std::string("DSA\x7F"), "44 53 41 7F"),
          std::pair(std::string("DS\xC3\xA1"), "44 53 C3 A1")}) {
        start(code);
        EXPECT_THAT(ReportTexts::Take(),
                    ElementsAre(std::string("20 The code of a data server can't stand in a file name: ") + shown));
        EXPECT_TRUE(is_processed(MessageHeader(7).Of_Server(code.substr(2))));
        LOG_End();
        EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 1) << shown; // the running log
    }
}

TEST_F(HostileFiles, DotsAndBlanksStayInTheDirectory)
{
    start("DS..DS  ");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_TRUE(directory.has("qapi...00.log"));
    EXPECT_TRUE(directory.has("qapi.  02.log"));
}

TEST_F(HostileFiles, ARefusedCodeCostsTheOthersNothing)
{
    start("DS/BDSAB");
    handled(MessageHeader(7));
    EXPECT_EQ(position(1), "7 7 20260105");
    EXPECT_EQ(directory.read(file_b), sound_file());
}

// ---- Not to be written

// The limit of this process, until the object goes. Without the library's care the signal would end the process.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

TEST_F(HostileFiles, ANumberBeyondTheLimitOfFileSizesIsReportedOnceAndTheProcessLives)
{
    start();
    {
        const FileSizeLimit limit(1000);
        handled(MessageHeader(0xFFFFFFFF));
        handled(MessageHeader(0xFFFFFFFE));
        handled(MessageHeader(10)); // begins behind the limit
        handled(MessageHeader(9));  // ends below it
        EXPECT_THAT(ReportTexts::Take(),
                    ElementsAre(testing::AllOf(StartsWith("20 The following log file couldn't be written "),
                                               EndsWith("qapi.AB01.log: File too large"))));
        EXPECT_TRUE(is_processed(MessageHeader(9)));
        EXPECT_FALSE(is_processed(MessageHeader(10)));
        EXPECT_FALSE(is_processed(MessageHeader(0xFFFFFFFF)));
        EXPECT_EQ(bytes_at(0), Record_Bytes(9, 9, "20260105"));
        handled(MessageHeader(11));
        EXPECT_EQ(ReportTexts::Take().size(), 1U); // the writes had got better in between
    }
    EXPECT_EQ(fs::file_size(file_b), 928U);
    handled(MessageHeader(10));
    EXPECT_TRUE(is_processed(MessageHeader(10)));
}

TEST_F(HostileFiles, WithoutRoomForAHeaderItIsReportedAndTheNumbersAreKeptInMemory)
{
    {
        const FileSizeLimit limit(0);
        start();
        EXPECT_EQ(ReportTexts::Take().size(), 3U); // one a file
        handled(MessageHeader(7));
        EXPECT_EQ(position(), "7 7 20260105");
        EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    }
    handled(MessageHeader(8));
    EXPECT_EQ(bytes_at(0), Record_Bytes(8, 8, "20260105"));
}

// A file that another program cut while it was open reads as one without the record.
TEST_F(HostileFiles, ARecordThatIsGoneIsNotProcessed)
{
    start();
    handled(MessageHeader(7));
    fs::resize_file(file_b, 0);
    EXPECT_FALSE(is_processed(MessageHeader(7)));
    handled(MessageHeader(8));
    EXPECT_EQ(bytes_at(0), Record_Bytes(8, 8, "20260105"));
}

} // namespace
