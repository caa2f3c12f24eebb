// A table of Markdown whose columns also line up as plain text.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

class MarkdownTable
{
public:
    using Row = std::vector<std::string>;

    // `numbers` are the columns that are aligned to the right.
    MarkdownTable(const Row& heads, std::initializer_list<std::size_t> numbers);

    // As many cells as there are columns.
    void add(Row cells);

    [[nodiscard]] std::string text() const;

private:
    struct Column
    {
        std::size_t width = 3; // a rule has three characters at least
        bool is_number = false;
    };

    [[nodiscard]] std::string line(const Row& cells) const;
    [[nodiscard]] std::string rule() const;

    std::vector<Column> m_columns;
    std::vector<Row> m_rows; // the heads are the first
};
