// The layouts of tests/data/record_layouts.txt.
#pragma once

#include "support/vector_file.h"

#include <ostream>
#include <string>
#include <vector>

// A line of the file, and its words: symbol, name, type, offset, length, decimals, reference.
struct PinnedField
{
    std::string symbol;
    std::string name; // "-" for none
    std::string type;
    int offset = 0;
    int length = 0;
    std::string decimals; // "-" for a text or date
    int reference = 0;

    [[nodiscard]] bool is_named() const { return name != "-"; }
    [[nodiscard]] int decimal_count() const { return decimals == "-" ? 0 : std::stoi(decimals); }
};

struct PinnedClass
{
    std::string name;
    int id = 0;
    int type = 0;
    int number = 0;
    int size = 0;
    int data_len = 0;
    std::string crc; // "-" for none
    int base = 0;
    std::vector<PinnedField> fields;

    // The field of a symbol, null if the class hasn't got it.
    [[nodiscard]] const PinnedField* find(const std::string& symbol) const
    {
        const auto found = std::find_if(fields.begin(), fields.end(),
                                        [&](const PinnedField& field) { return field.symbol == symbol; });
        return found != fields.end() ? &*found : nullptr;
    }
};

inline std::ostream& operator<<(std::ostream& out, const PinnedClass& pinned)
{
    return out << pinned.name;
}

// "id 79  type 1  number 888  size 154  m_data_len 157  crc DATOS_CITY  base 22"
inline void read_head(PinnedClass& pinned, const std::vector<std::string>& words)
{
    pinned.id = std::stoi(words.at(1));
    pinned.type = std::stoi(words.at(3));
    pinned.number = std::stoi(words.at(5));
    pinned.size = std::stoi(words.at(7));
    pinned.data_len = std::stoi(words.at(9));
    pinned.crc = words.at(11);
    pinned.base = std::stoi(words.at(13));
}

inline PinnedField read_field(const std::vector<std::string>& words)
{
    return {words.at(0), words.at(1),           words.at(2), std::stoi(words.at(3)), std::stoi(words.at(4)),
            words.at(5), std::stoi(words.at(6))};
}

inline std::vector<PinnedClass> read_pinned_classes()
{
    std::vector<PinnedClass> classes;
    for (const std::string& line : read_lines("record_layouts.txt")) {
        const std::vector<std::string> words = words_of(line);
        if (words.empty() || words[0][0] == '#') {
            continue;
        }
        if (words[0] == "class") {
            classes.emplace_back().name = words.at(1);
        } else if (words[0] == "id") {
            read_head(classes.back(), words);
        } else {
            classes.back().fields.push_back(read_field(words));
        }
    }
    return classes;
}

// The classes, read once.
inline const std::vector<PinnedClass>& pinned_classes()
{
    static const std::vector<PinnedClass> classes = read_pinned_classes();
    return classes;
}
