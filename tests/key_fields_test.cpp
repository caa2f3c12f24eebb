// The fields of the keys against a table that was made apart from them: tests/data/record_keys.txt.
#include "records/key_fields.h"

#include "message/message.h"
#include "records/all_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// "CLASS KEY[ price]: bytes A value B ..." for each key.
std::vector<std::string> wanted()
{
    std::ifstream file(TEST_DATA "/record_keys.txt");
    std::vector<std::string> keys;
    std::string record;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first == "class") {
            words >> record;
        } else if (first == "key") {
            keys.push_back(record + line.substr(3) + ":");
        } else if (!first.empty() && first[0] != '#') {
            keys.back() += " " + line;
        }
    }
    return keys;
}

std::string described(const KeyFields& key)
{
    std::string text = std::string(key.record) + " " + std::string(key.key);
    text += key.form == KeyForm::of_price ? " price:" : ":";
    for (const KeyPart& part : key.Parts()) {
        const bool computed = key.form != KeyForm::arguments;
        text += computed ? " reads " : part.by_value ? " value " : " bytes ";
        text += Field_Symbol(part.field_id);
    }
    return text;
}

} // namespace

TEST(KeyFields, AreThoseOfTheStoredTable)
{
    std::vector<std::string> found;
    for (const KeyFields& key : All_Key_Fields()) {
        found.push_back(described(key));
    }
    EXPECT_EQ(found, wanted());
    EXPECT_EQ(found.size(), 74U);
}

TEST(KeyFields, AreFieldsOfTheirClass)
{
    const auto classes = All_Record_Classes();
    for (const KeyFields& key : All_Key_Fields()) {
        const auto of_record =
            std::find_if(classes.begin(), classes.end(), [&](const RecordClass& each) { return each.name == key.record; });
        ASSERT_NE(of_record, classes.end()) << key.record;
        for (const KeyPart& part : key.Parts()) {
            EXPECT_NE(of_record->layout().Find(part.field_id), nullptr)
                << key.record << " " << key.key << " " << Field_Symbol(part.field_id);
        }
    }
}
