#include "crash/left_files.h"

#include "crash/row_text.h"

#include "little_endian.h"
#include "persis/pers_file.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace crash {

namespace {

constexpr std::size_t distance = 100;
constexpr std::size_t record_width = 28;
constexpr std::size_t word_of_finished = 4;
constexpr std::size_t date_in_record = 8;
constexpr std::size_t date_width = 8;

} // namespace

NumberFile::NumberFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    m_bytes.assign(std::istreambuf_iterator<char>(file), {});
}

std::uint32_t NumberFile::word_at(std::size_t offset) const
{
    return offset + sizeof(std::uint32_t) <= m_bytes.size() ? load_le<std::uint32_t>(m_bytes.data() + offset) : 0;
}

std::string NumberFile::date_at(std::size_t record) const
{
    const std::size_t at = record + date_in_record;
    const std::string date = at < m_bytes.size() ? m_bytes.substr(at, date_width) : std::string();
    return date.substr(0, date.find('\0'));
}

bool NumberFile::is_finished(std::uint32_t number, const std::string& date) const
{
    const std::size_t record = distance * number;
    return word_at(record) == number && word_at(record + word_of_finished) == 1 && date_at(record) >= date;
}

NumberFiles::NumberFiles(const std::filesystem::path& directory)
    : m_files{NumberFile(directory / "qapi.AB00.log"), NumberFile(directory / "qapi.AB01.log"),
              NumberFile(directory / "qapi.AB02.log")}
{
}

bool NumberFiles::has_finished(const std::string& message) const
{
    std::istringstream words(message);
    char type = 0;
    std::uint32_t number = 0;
    std::string date;
    words >> type >> number >> date;
    return of(type).is_finished(number, date);
}

std::uint32_t Received_Now(const std::filesystem::path& path)
{
    std::array<char, record_width> header{};
    std::ifstream(path, std::ios::binary).read(header.data(), header.size());
    return load_le<std::uint32_t>(header.data());
}

std::vector<std::string> Rows_In_File(const std::filesystem::path& path, std::size_t body_size)
{
    const std::filesystem::path copy = path.parent_path() / "copy_of_a_table";
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
    CPersFile file(0, copy.c_str(), 0);
    if (file.Open(DO_NOT_RENAME) == 0) {
        throw std::runtime_error("the file " + path.filename().string() + " doesn't load");
    }
    std::vector<std::string> rows;
    std::array<char, PERSIS_BUFFER_MAX_SIZE> body{};
    std::array<char, PERSIS_IDENTITY_SIZE> identity{};
    for (unsigned slot = 1; file.Load_Next_Record(&slot, body.data(), identity.data()) != 0; ++slot) {
        rows.push_back(Row_Text(load_le<std::uint32_t>(identity.data()), load_le<std::uint32_t>(identity.data() + 4),
                                {body.data(), body_size}));
    }
    return rows;
}

} // namespace crash
