// field_pages_check DIRECTORY: whether there is a page for each record class, with as many rows as its layout has
// fields, and no link to a page that isn't there. Tells what is wrong; exit code 1 if anything is.

#include "records/all_records.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

bool complain(const fs::path& page, const std::string& what)
{
    std::printf("%s: %s\n", page.c_str(), what.c_str());
    return false;
}

bool links_lead_somewhere(const fs::path& page, const std::string& line)
{
    bool sound = true;
    for (std::size_t at = line.find("]("); at != std::string::npos; at = line.find("](", at + 1)) {
        const std::string target = line.substr(at + 2, line.find(')', at) - at - 2);
        // What the pages have outside their directory is not the program's.
        if (!target.starts_with("../") && !fs::exists(page.parent_path() / target)) {
            sound = complain(page, "a link to " + target);
        }
    }
    return sound;
}

bool is_sound(const fs::path& page, std::size_t rows_wanted)
{
    std::ifstream file(page);
    bool sound = file.is_open() || complain(page, "can't be read");
    std::size_t rows = 0;
    for (std::string line; std::getline(file, line);) {
        rows += line.starts_with('|') ? 1 : 0;
        sound = links_lead_somewhere(page, line) && sound;
        sound = (line.find('{') == std::string::npos || complain(page, "a field that it doesn't have")) && sound;
    }
    return (rows == rows_wanted + 2 || complain(page, std::to_string(rows) + " rows with the head")) && sound;
}

} // namespace

int main(int count, char** arguments)
{
    const fs::path directory = count == 2 ? arguments[1] : ".";
    bool sound = is_sound(directory / "index.md", All_Record_Classes().size());
    for (const RecordClass& record : All_Record_Classes()) {
        sound = is_sound(directory / (std::string(record.name) + ".md"), record.layout().Fields().size()) && sound;
    }
    return sound ? 0 : 1;
}
