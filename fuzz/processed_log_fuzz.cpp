// Any bytes as a file of processed messages, and any messages over it. Whatever the file says, a message that was
// finished is known from then on, number 0 never is, and the next start has the numbers and the date that this one had,
// if they may be those of the file.
//
// Input: a length of two bytes and so many bytes of the file; then steps of six bytes: what is done, a day, a number.
#include "little_endian.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "qcapi/support.h"
#include "reader/processed_log.h"
#include "require.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t step_len = 6;

const fs::path& directory()
{
    static const fs::path* made = [] {
        std::string pattern = (fs::temp_directory_path() / "qapi-fuzz-XXXXXX").string();
        require(mkdtemp(pattern.data()) != nullptr);
        LOG_Init("", pattern.c_str());
        Set_Report_Line_Sink(nullptr); // damage is reported; a run would fill the log with it
        COMMON_Set_Code_Data_Servers_List(1, "DSAB");
        std::atexit([] { fs::remove_all(directory()); });
        return new fs::path(pattern);
    }();
    return *made;
}

using Header = std::array<char, 80>;

Header header_of(std::uint32_t number, std::string_view date)
{
    Header header{};
    std::string_view("AB").copy(header.data() + 8, 2);
    store_le(header.data() + 14, number);
    header[18] = 'B';
    date.copy(header.data() + 29, 8);
    return header;
}

struct Position
{
    unsigned received = 0;
    unsigned long processed = 0;
    std::array<char, 8> date{};

    bool operator==(const Position&) const = default;
};

Position position()
{
    Position position;
    position.received = LOG_Get_Last_Processed_Message(0, 1, position.date.data(), &position.processed);
    return position;
}

// A number that is held up by a pending message far ahead of all that were finished looks like damage to the next
// start.
bool is_believed(const Position& left)
{
    constexpr std::uint64_t missing_numbers = 1'000'000;
    const std::uint64_t highest = std::max<std::uint64_t>(left.received, left.processed);
    return highest * 100 <= fs::file_size(directory() / "qapi.AB01.log") + missing_numbers * 100;
}

bool is_processed(Header header)
{
    return LOG_Is_Processed_Record(header.data(), nullptr) == 1;
}

void take_step(std::string_view step)
{
    const std::string date = "2026010" + std::to_string(static_cast<unsigned char>(step[1]) % 10);
    const auto number = load_le<std::uint32_t>(step.data() + 2);
    const Header header = header_of(number, date);
    const int kind = static_cast<unsigned char>(step[0]) % 3;
    if (kind == 0) {
        LOG_Register_Record(header.data());
    } else {
        LOG_Update_Last_Proc_Message(header.data(), kind == 1 ? 1 : 0);
    }
    require(is_processed(header) == (number != 0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    if (rest.size() < 2) {
        return 0;
    }
    const std::size_t length = std::min<std::size_t>(load_le<std::uint16_t>(rest.data()), rest.size() - 2);
    std::ofstream(directory() / "qapi.AB01.log", std::ios::binary) << rest.substr(2, length);
    LOG_Msg_Init();
    rest.remove_prefix(2 + length);
    for (; rest.size() >= step_len; rest.remove_prefix(step_len)) {
        take_step(rest);
    }
    const Position before = position();
    LOG_Msg_Init();
    require(position() == (is_believed(before) ? before : Position{}));
    return 0;
}
