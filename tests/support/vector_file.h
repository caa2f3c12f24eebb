// Stored vectors: files of tests/data whose lines are words.
#pragma once

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// The lines of a file; none if there is no such file, so a test counts what it got.
inline std::vector<std::string> read_lines(const std::string& name)
{
    std::vector<std::string> lines;
    std::ifstream file(std::string(TEST_DATA "/") + name);
    for (std::string text; std::getline(file, text);) {
        lines.push_back(text);
    }
    return lines;
}

inline std::vector<std::string> words_of(const std::string& line)
{
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

// A line "OPERATION OPERANDS = RESULTS".
struct VectorLine
{
    std::string text;
    std::string operation;
    std::vector<std::string> operands;
    std::vector<std::string> results;
};

inline VectorLine split_vector_line(const std::string& text)
{
    const std::vector<std::string> words = words_of(text);
    if (words.empty()) {
        return {};
    }
    const auto equals = std::find(words.begin(), words.end(), "=");
    const auto results = equals == words.end() ? equals : equals + 1;
    return {text, words.front(), {words.begin() + 1, equals}, {results, words.end()}};
}

inline std::vector<VectorLine> read_vectors(const std::string& name)
{
    std::vector<VectorLine> lines;
    for (const std::string& text : read_lines(name)) {
        lines.push_back(split_vector_line(text));
    }
    return lines;
}
