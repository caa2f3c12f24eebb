// Stored vectors: lines of words, operands ahead of a lone "=" and results behind it.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct VectorLine
{
    std::string text;
    std::string operation;
    std::vector<std::string> operands;
    std::vector<std::string> results;
};

inline VectorLine split_vector_line(const std::string& text)
{
    VectorLine line{text, {}, {}, {}};
    std::istringstream words(text);
    words >> line.operation;
    std::vector<std::string>* side = &line.operands;
    for (std::string word; words >> word;) {
        if (word == "=") {
            side = &line.results;
        } else {
            side->push_back(word);
        }
    }
    return line;
}

// The lines of a file of tests/data; none if there is no such file.
inline std::vector<VectorLine> read_vectors(const std::string& name)
{
    std::vector<VectorLine> lines;
    std::ifstream file(std::string(TEST_DATA "/") + name);
    for (std::string text; std::getline(file, text);) {
        lines.push_back(split_vector_line(text));
    }
    return lines;
}
