// Which fields of a record go into which key, against tests/data/record_keys.txt.
#include "records/key_fields.h"
#include "support/vector_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace {

// A key of a class and, once its fields are there, of them in order: "CGTCity CCityKey: bytes CODIGO_3C_CITY".
std::vector<std::string> pinned_keys()
{
    std::vector<std::string> keys;
    std::string record;
    for (const std::string& line : read_lines("record_keys.txt")) {
        const std::vector<std::string> words = words_of(line);
        if (words.empty() || words[0][0] == '#') {
            continue;
        }
        if (words[0] == "class") {
            record = words.at(1);
        } else if (words[0] == "key") {
            keys.push_back(record + " " + words.at(1) + (words.size() > 2 ? " price:" : ":"));
        } else {
            keys.back() += " " + words[0] + " " + words.at(1);
        }
    }
    return keys;
}

std::string kind_of(const KeyFields& row, const KeyPart& part)
{
    if (row.form != KeyForm::arguments) {
        return "reads";
    }
    return part.by_value ? "value" : "bytes";
}

std::string line_of(const KeyFields& row)
{
    std::string line = std::string(row.record) + " " + std::string(row.key);
    line += row.form == KeyForm::of_price ? " price:" : ":";
    for (const KeyPart& part : row.Parts()) {
        line += " " + kind_of(row, part) + " " + Field_Symbol(part.field_id);
    }
    return line;
}

std::vector<std::string> keys_of_tree()
{
    std::vector<std::string> keys;
    std::transform(All_Key_Fields().begin(), All_Key_Fields().end(), std::back_inserter(keys), line_of);
    return keys;
}

std::vector<std::string> sorted(std::vector<std::string> lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST(RecordKeys, EveryKeyTakesTheFieldsThatArePinned)
{
    const std::vector<std::string> built = sorted(keys_of_tree());
    const std::vector<std::string> pinned = sorted(pinned_keys());
    for (const std::string& key : pinned) {
        EXPECT_TRUE(std::binary_search(built.begin(), built.end(), key)) << "only pinned: " << key;
    }
    for (const std::string& key : built) {
        EXPECT_TRUE(std::binary_search(pinned.begin(), pinned.end(), key)) << "only in the tree: " << key;
    }
    EXPECT_EQ(built.size(), pinned.size());
    EXPECT_EQ(pinned.size(), 74U);
}

} // namespace
