// qapi-field-pages: writes the reference of fields, one page for each record class and an index. See the usage text.

#include "page.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace {

constexpr int exit_written = 0;
constexpr int exit_trouble = 2;

constexpr const char* usage = R"(usage: qapi-field-pages DIRECTORY

Writes into DIRECTORY, which is made if need be, a page of Markdown for each
record class, CLASS.md, with a row for each of its fields, and index.md.

  -h  this text

Exit codes: 0 all pages are written; 2 one can't be, or the arguments are wrong.
)";

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

int trouble(const std::string& path, const char* reason)
{
    std::fprintf(stderr, "qapi-field-pages: can't write %s: %s\n", path.c_str(), reason);
    return exit_trouble;
}

int write_page(const std::string& path, const std::string& text)
{
    File file(std::fopen(path.c_str(), "w"), &std::fclose);
    if (file == nullptr) {
        return trouble(path, std::strerror(errno));
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    if (std::fclose(file.release()) != 0 || !written) {
        return trouble(path, std::strerror(errno));
    }
    return exit_written;
}

// The index comes last: the build takes its time for that of all pages.
int write_pages(const std::string& directory)
{
    for (const RecordClass& record : All_Record_Classes()) {
        if (const int code = write_page(directory + "/" + record.name + ".md", Page_Of(record)); code != exit_written) {
            return code;
        }
    }
    return write_page(directory + "/index.md", Index_Page());
}

} // namespace

int main(int count, char** arguments)
{
    const std::string_view argument = count == 2 ? arguments[1] : "-";
    if (argument.starts_with('-') || argument.empty()) {
        const bool help = argument == "-h";
        std::fputs(usage, help ? stdout : stderr);
        return help ? exit_written : exit_trouble;
    }
    const std::string directory(argument);
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        return trouble(directory, error.message().c_str());
    }
    return write_pages(directory);
}
