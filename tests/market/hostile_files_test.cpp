// Damaged files of tables and of processed messages under a whole session: the host comes up level with the market,
// what is wrong is told, and the next start finds nothing wrong.
#include "market/support/resume_session.h"

#include "records/all_records.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::size_t city_size = 154;
constexpr std::size_t distance = city_size + 250; // of the slots
constexpr std::size_t value_at = 150 + 60;        // in a slot
constexpr const char* city_file = "qapi.city";
constexpr const char* numbers = "qapi.AB01.log"; // of chats

class HostileTables : public ResumeSession
{
protected:
    HostileTables()
    {
        log_in();
        sound_replica = replica();
        log_out();
        sound = scratch.read(city_file);
    }

    // The bytes of the cities 1 to 3 as they travel.
    static std::vector<std::string> replica()
    {
        std::vector<std::string> records;
        for (const unsigned idx : {1U, 2U, 3U}) {
            CGTCity* city = Glb_City_Table->Find_By_Idx(idx);
            records.emplace_back(city != nullptr ? std::string((*city)[DATA_INFO].Get_Ptr(), city_size) : "none");
        }
        return records;
    }

    // What was told of files since the last time.
    std::vector<std::string> told()
    {
        std::vector<std::string> lines;
        const std::vector<std::string> all = host->lines();
        for (; m_seen < all.size(); ++m_seen) {
            if (all[m_seen].starts_with("error ") && all[m_seen].find("file") != std::string::npos) {
                lines.push_back(all[m_seen]);
            }
        }
        return lines;
    }

    void start()
    {
        Forget_Tables();
        log_in();
        EXPECT_EQ(replica(), sound_replica);
        EXPECT_EQ(cities(), 3);
    }
    void expect_nothing_to_repair()
    {
        told();
        start();
        EXPECT_EQ(sent("25 cities"), 0);
        EXPECT_THAT(told(), IsEmpty());
        log_out();
    }
    // A start over this file, and one more. Returns what was told at the first one.
    std::vector<std::string> comes_up_with(const std::string& image)
    {
        scratch.write(city_file, image);
        told();
        start();
        log_out();
        const std::vector<std::string> lines = told();
        expect_nothing_to_repair();
        return lines;
    }

    std::vector<std::string> sound_replica;
    std::string sound;

private:
    std::size_t m_seen = 0;
};

TEST_F(HostileTables, SoundFileLeavesNothingToSend)
{
    EXPECT_EQ(sound.size(), 3 * distance + value_at + city_size + 10);
    EXPECT_THAT(comes_up_with(sound), IsEmpty());
}

TEST_F(HostileTables, FilesCutAnywhereAreFilledUp)
{
    for (std::size_t size = 0; size < sound.size(); size += 41) {
        SCOPED_TRACE(size);
        comes_up_with(sound.substr(0, size));
    }
    comes_up_with(sound.substr(0, sound.size() - 1));
}

TEST_F(HostileTables, BytesThatAreWrongInTheFileHeaderAreSurvived)
{
    for (std::size_t at = 0; at < 112; at += 3) {
        if (at >= 24 && at < 36) {
            continue; // the item of the file's kind: below
        }
        SCOPED_TRACE(at);
        std::string image = sound;
        image[at] = static_cast<char>(~image[at]);
        comes_up_with(image);
    }
}

TEST_F(HostileTables, BytesThatAreWrongInASlotAreMadeUpFor)
{
    for (std::size_t at = 2 * distance; at < 3 * distance; at += 2) {
        const std::size_t in_slot = at - 2 * distance;
        if (in_slot >= value_at && in_slot < value_at + city_size) {
            continue; // that the record isn't the one of its identity, nobody can see
        }
        SCOPED_TRACE(in_slot);
        std::string image = sound;
        image[at] = static_cast<char>(~image[at]);
        comes_up_with(image);
    }
}

TEST_F(HostileTables, CountersThatLieAreSurvived)
{
    const std::string none(4, '\0');
    const std::string huge(4, '\xFF');
    for (const std::size_t at : {44U, 68U, 92U}) { // slots added, highest slot, its copy
        SCOPED_TRACE(at);
        comes_up_with(std::string(sound).replace(at, 4, none));
        const std::vector<std::string> lines = comes_up_with(std::string(sound).replace(at, 4, huge));
        if (at == 68) {
            EXPECT_THAT(lines, Contains(HasSubstr("File qapi.city has a damaged header, highest record 4294967295")));
        }
    }
}

TEST_F(HostileTables, RecordLengthThatLiesCutsNoRecord)
{
    for (const char* length : {"\xFF\xFF\xFF\xFF", "\x9B\x00\x00\x00", "\x30\x00\x00\x00", "\x01\x00\x00\x00"}) {
        comes_up_with(std::string(sound).replace(2 * distance + 44, 4, std::string(length, 4)));
    }
}

TEST_F(HostileTables, FileOfAnotherKindIsToldAndStays)
{
    const std::string wrong = std::string(sound).replace(32, 1, "\x80");
    scratch.write(city_file, wrong);
    told();
    start();
    EXPECT_EQ(sent("25 cities"), 3);
    log_out();
    const std::vector<std::string> lines = told();
    EXPECT_THAT(lines, Contains(HasSubstr("File qapi.city has different file_code 128, it should be 127")));
    EXPECT_THAT(lines, Contains(HasSubstr("The file \"qapi.city\" could not be opened")));
    EXPECT_EQ(scratch.read(city_file), wrong);
}

TEST_F(HostileTables, DirectoryOrDeviceInTheWayIsToldAndTheTableLivesInMemory)
{
    fs::remove(city_file);
    fs::create_directory(city_file);
    for (int round = 0; round < 2; ++round) {
        told();
        start();
        EXPECT_EQ(sent("25 cities"), 3);
        log_out();
        EXPECT_THAT(told(), Contains(HasSubstr("The file \"qapi.city\" could not be opened, error = 21")));
        fs::remove(city_file);
        fs::create_symlink("/", city_file);
    }
    fs::remove(city_file);
    start();
    log_out();
    expect_nothing_to_repair();
}

// While it lives, no file of this process grows beyond `bytes`; the running log, which is one of them, may fail
// quietly.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        m_handler = signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    sighandler_t m_handler = SIG_DFL;
};

TEST_F(HostileTables, RecordsThatFindNoRoomAreToldAndComeWithTheNextStart)
{
    fs::remove(city_file);
    {
        const FileSizeLimit full(distance); // room for the file's header alone
        told();
        start();
        EXPECT_EQ(sent("25 cities"), 3);
        log_out();
        EXPECT_THAT(told(), Contains(HasSubstr("Record 1 could not be written to the file qapi.city, error = 27")));
    }
    start();
    EXPECT_EQ(sent("25 cities"), 3);
    log_out();
    expect_nothing_to_repair();
}

// ---- Numbers

class HostileNumbers : public ResumeSession
{
protected:
    HostileNumbers()
    {
        market->command("chat pedro maria hello");
        log_in();
        finish_chats(1);
        log_out();
        for (const auto& entry : fs::directory_iterator(".")) {
            const std::string name = entry.path().filename();
            if (name.starts_with("qapi.AB0")) {
                sound[name] = scratch.read(name);
            }
        }
    }

    // Until so many chats have come in all; those that are pending are finished.
    void finish_chats(int count)
    {
        market->wait_until([&](qm::Market&) { return host->count_of("message Chat ") >= count; });
        finish_all();
    }
    void finish_all()
    {
        const std::vector<std::string> lines = host->lines();
        for (; m_seen < lines.size(); ++m_seen) {
            if (lines[m_seen].starts_with("message Chat ")) {
                EXPECT_EQ(host->finish("Chat", static_cast<unsigned>(std::stoul(lines[m_seen].substr(13)))), 0);
            }
        }
    }
    int chats() { return host->count_of("message Chat "); }
    int damages() { return host->count_of("error 20 The header of the following log file was damaged"); }

    // A start over these bytes: the message of before comes again or not, the next one comes, and both stay away from
    // the start behind that.
    void goes_on_with(const std::string& name, const std::string& bytes)
    {
        scratch.write(name, bytes);
        const int before = chats();
        market->command("chat pedro maria again");
        log_in();
        finish_chats(before + 1);
        log_out();
        finish_all();
        const int settled = chats();
        const int told = damages();
        log_in();
        market->command("chat pedro maria last");
        finish_chats(settled + 1);
        log_out();
        EXPECT_EQ(chats(), settled + 1);
        EXPECT_EQ(damages(), told);
    }

    std::map<std::string, std::string> sound;

private:
    std::size_t m_seen = 0;
};

TEST_F(HostileNumbers, FilesCutAnywhereGoOn)
{
    ASSERT_EQ(sound.size(), 3U);
    for (const auto& [name, bytes] : sound) {
        for (std::size_t size = 0; size < bytes.size(); size += size < 28 ? 3 : 17) {
            SCOPED_TRACE(name + " " + std::to_string(size));
            goes_on_with(name, bytes.substr(0, size));
        }
    }
}

TEST_F(HostileNumbers, WrongBytesGoOn)
{
    for (std::size_t at = 0; at < 128; at += at < 28 || at >= 96 ? 1 : 17) {
        SCOPED_TRACE(at);
        std::string bytes = sound.at(numbers);
        const bool is_low_byte_of_number = at == 0 || at == 1 || at == 4 || at == 5; // of one that may well be
        if (at < bytes.size() && !is_low_byte_of_number) {
            bytes[at] = static_cast<char>(~bytes[at]);
            goes_on_with(numbers, bytes);
        }
    }
}

TEST_F(HostileNumbers, NumbersThatLieGoOn)
{
    for (const std::string& number : {std::string(4, '\0'), std::string(4, '\xFF')}) {
        goes_on_with(numbers, std::string(sound.at(numbers)).replace(0, 4, number));
        goes_on_with(numbers, std::string(sound.at(numbers)).replace(4, 4, number));
    }
}

// A server without files takes part in nothing: its messages wait for a start that can keep what was finished.
TEST_F(HostileNumbers, DirectoryInTheWayIsToldAndTheMessagesComeWhenItIsGone)
{
    fs::remove(numbers);
    fs::create_directory(numbers);
    const int before = chats();
    market->command("chat pedro maria again");
    log_in();
    EXPECT_EQ(host->count_of("error 20 The following log file couldn't be opened"), 1);
    log_out();
    EXPECT_EQ(chats(), before);
    fs::remove(numbers);
    goes_on_with(numbers, sound.at(numbers));
    EXPECT_GE(chats(), before + 2);
}

} // namespace
