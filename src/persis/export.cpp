#include "persis/pers_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>

namespace {

struct Closer
{
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, Closer>;

class Export
{
public:
    Export(CPersFile& from, const char* output_name) : m_from(from), m_output_name(output_name) {}

    // False if it could not be written, which was told.
    bool run();
    void print_summary() const;

private:
    bool open();
    bool take(unsigned slot);
    bool write_value(unsigned slot);
    bool tell_failed_write() const;

    CPersFile& m_from;
    const char* m_output_name;
    File m_output;
    std::array<char, PERSIS_BUFFER_MAX_SIZE> m_value{};
    unsigned m_exported = 0;
    unsigned m_length = 0; // of the first record, and so of all
    unsigned m_deleted = 0;
    int m_lowest_version = 0;
    int m_highest_version = 0;
};

bool Export::run()
{
    if (!open()) {
        std::printf(PERSIS_FILE_ERROR, m_output_name, static_cast<unsigned>(errno));
        return false;
    }
    m_lowest_version = m_highest_version = m_from.m_record_p->Get_Version();
    const std::uint64_t end = std::uint64_t{m_from.m_header.max_number_of_records} + 1;
    for (std::uint64_t slot = 1; slot <= end; ++slot) {
        if (!take(static_cast<unsigned>(slot))) {
            return tell_failed_write();
        }
    }
    return std::fclose(m_output.release()) == 0 || tell_failed_write();
}

// The output may not be the file itself: opening it would empty it.
bool Export::open()
{
    std::error_code ignored;
    if (std::filesystem::equivalent(m_from.m_file_name, m_output_name, ignored)) {
        errno = EINVAL;
        return false;
    }
    m_output.reset(std::fopen(m_output_name, "wbe"));
    return m_output != nullptr;
}

bool Export::take(unsigned slot)
{
    const int loaded = m_from.Load_Record(slot, m_value.data(), nullptr);
    const bool deleted = m_from.m_record_header.deleted != 0;
    m_deleted += deleted ? 1 : 0;
    if (loaded == 0 || deleted) {
        return true;
    }
    m_lowest_version = std::min(m_lowest_version, m_from.m_record_p->Get_Version());
    m_highest_version = std::max(m_highest_version, m_from.m_record_p->Get_Version());
    return write_value(slot);
}

bool Export::write_value(unsigned slot)
{
    const unsigned length = std::min<unsigned>(m_from.m_record_header.record_length, PERSIS_BUFFER_MAX_SIZE);
    if (m_exported++ == 0) {
        m_length = length;
    } else if (length != m_length) {
        std::printf("Illegal record length , record:(%u) length:(%u)\n", slot, length);
    }
    return std::fwrite(m_value.data(), 1, m_length, m_output.get()) == m_length;
}

bool Export::tell_failed_write() const
{
    std::printf("Couldn't write to file \"%s\" , error = %u\n", m_output_name, static_cast<unsigned>(errno));
    return false;
}

void Export::print_summary() const
{
    std::printf("File %s has been generated\n", m_output_name);
    std::printf("Exported records       : %u\n", m_exported);
    std::printf("Record length          : %u\n", m_length);
    std::printf("Marked as deleted      : %u\n", m_deleted);
    std::printf("Version                : %d-%d\n", m_lowest_version, m_highest_version);
}

} // namespace

int PERSIS_Export(const char* pers_file_name, const char* output_file_name)
{
    CPersFile from(0, pers_file_name, 0);
    if (from.Open(DO_NOT_RENAME) == 0) {
        std::printf(PERSIS_FILE_ERROR, pers_file_name, static_cast<unsigned>(errno));
        return 0;
    }
    const std::string output = output_file_name != nullptr ? output_file_name : std::string(pers_file_name) + "_plain";
    Export the_export(from, output.c_str());
    if (!the_export.run()) {
        return 0;
    }
    the_export.print_summary();
    return 1;
}
