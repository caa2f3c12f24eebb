// Patterns by plain recursion: exponential in the number of %, and as plain as their rules.
#pragma once

#include <string_view>

class IsLikeModel
{
public:
    static bool Matches(std::string_view field, std::string_view pattern)
    {
        const IsLikeModel model(field, pattern);
        return model.matches(0, 0);
    }

private:
    IsLikeModel(std::string_view field, std::string_view pattern) : m_field(field), m_pattern(pattern) {}

    [[nodiscard]] bool field_ends(std::size_t at) const { return at >= m_field.size() || m_field[at] == '\0'; }

    [[nodiscard]] bool matches(std::size_t f, std::size_t p) const
    {
        if (p == m_pattern.size()) {
            return field_ends(f);
        }
        if (field_ends(f)) {
            return p + 1 == m_pattern.size() && m_pattern[p] == '%';
        }
        switch (m_pattern[p]) {
        case '%':
            return run(f, p);
        case '[':
            return set(f, p);
        case '*':
        case '_':
            return matches(f + 1, p + 1);
        default:
            return m_pattern[p] == m_field[f] && matches(f + 1, p + 1);
        }
    }

    [[nodiscard]] bool run(std::size_t f, std::size_t p) const
    {
        if (p + 1 == m_pattern.size()) {
            return true;
        }
        for (; !field_ends(f); ++f) {
            if (matches(f, p + 1)) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool set(std::size_t f, std::size_t p) const
    {
        ++p;
        const bool negated = p < m_pattern.size() && m_pattern[p] == '^';
        if (negated) {
            ++p;
        }
        for (; p < m_pattern.size(); ++p) {
            if (m_pattern[p] == ']') {
                return false;
            }
            if ((m_pattern[p] == m_field[f]) != negated) {
                break;
            }
        }
        const std::size_t close = p < m_pattern.size() ? m_pattern.find(']', p) : std::string_view::npos;
        return close != std::string_view::npos && matches(f + 1, close + 1);
    }

    std::string_view m_field;
    std::string_view m_pattern;
};
