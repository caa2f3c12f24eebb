// The forms of tests/data/key_forms.txt.
#pragma once

#include "support/vector_file.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

struct PinnedPart
{
    std::string name; // as it stands in the file
    std::size_t offset = 0;
    std::size_t width = 0;

    [[nodiscard]] bool is_fill() const { return name == "fill"; }
    [[nodiscard]] bool is_itself() const { return name.size() == 1; }
    [[nodiscard]] bool is_number() const { return name[0] == '='; }
    [[nodiscard]] bool is_rest() const { return name.find('+') != std::string::npos; }
    [[nodiscard]] bool is_text() const { return !is_fill() && !is_itself() && !is_number() && !is_rest(); }
};

struct PinnedForm
{
    std::string key;
    std::size_t length = 0;
    std::vector<PinnedPart> parts;

    [[nodiscard]] std::size_t texts() const { return count(&PinnedPart::is_text); }
    [[nodiscard]] std::size_t numbers() const { return count(&PinnedPart::is_number) + count(&PinnedPart::is_fill); }

private:
    [[nodiscard]] std::size_t count(bool (PinnedPart::*kind)() const) const
    {
        return static_cast<std::size_t>(
            std::count_if(parts.begin(), parts.end(), [kind](const PinnedPart& part) { return (part.*kind)(); }));
    }
};

inline const std::vector<PinnedForm>& pinned_forms()
{
    static const std::vector<PinnedForm> forms = [] {
        std::vector<PinnedForm> read;
        for (const std::string& line : read_lines("key_forms.txt")) {
            const std::vector<std::string> words = words_of(line);
            if (words.empty() || words[0][0] != 'C') {
                continue;
            }
            read.push_back({words[0], std::stoul(words.at(1)), {}});
            for (std::size_t i = 2; i + 2 < words.size(); i += 3) {
                read.back().parts.push_back({words[i], std::stoul(words.at(i + 1)), std::stoul(words.at(i + 2))});
            }
        }
        return read;
    }();
    return forms;
}

// The forms of a key, the main one first.
inline std::vector<PinnedForm> pinned_forms_of(const std::string& key)
{
    std::vector<PinnedForm> forms;
    std::copy_if(pinned_forms().begin(), pinned_forms().end(), std::back_inserter(forms),
                 [&](const PinnedForm& form) { return form.key == key; });
    return forms;
}
