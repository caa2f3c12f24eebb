#include "markdown_table.h"

#include <algorithm>
#include <utility>

MarkdownTable::MarkdownTable(const Row& heads, std::initializer_list<std::size_t> numbers) : m_columns(heads.size())
{
    for (const std::size_t number : numbers) {
        m_columns[number].is_number = true;
    }
    add(heads);
}

void MarkdownTable::add(Row cells)
{
    for (std::size_t at = 0; at < m_columns.size(); ++at) {
        m_columns[at].width = std::max(m_columns[at].width, cells[at].size());
    }
    m_rows.push_back(std::move(cells));
}

std::string MarkdownTable::text() const
{
    std::string text = line(m_rows.front()) + rule();
    for (std::size_t at = 1; at < m_rows.size(); ++at) {
        text += line(m_rows[at]);
    }
    return text;
}

std::string MarkdownTable::line(const Row& cells) const
{
    std::string line;
    for (std::size_t at = 0; at < m_columns.size(); ++at) {
        const std::string padding(m_columns[at].width - cells[at].size(), ' ');
        line += "| " + (m_columns[at].is_number ? padding + cells[at] : cells[at] + padding) + " ";
    }
    return line + "|\n";
}

std::string MarkdownTable::rule() const
{
    std::string line;
    for (const Column& column : m_columns) {
        line += "| " + std::string(column.width - 1, '-') + (column.is_number ? ":" : "-") + " ";
    }
    return line + "|\n";
}
