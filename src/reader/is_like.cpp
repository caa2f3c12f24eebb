// Patterns, without recursion: of all runs only the last one that was met is ever made longer. Whatever the items
// behind an earlier one could match further on, they match at the first place too, and leave the later runs more room.
// So many % cost no more than one: the product of both lengths at most.
#include "reader/conditions.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

std::string_view counted(const char* text, int len)
{
    return {text, static_cast<std::size_t>(std::max(len, 0))};
}

// How many characters of the pattern its first item, which is no %, takes if it matches; 0 if it doesn't.
std::size_t match_set(char c, std::string_view pattern)
{
    const std::size_t members = pattern.size() > 1 && pattern[1] == '^' ? 2 : 1;
    const std::size_t close = pattern.find(']', members);
    if (close == std::string_view::npos) {
        return 0;
    }
    const std::string_view set = pattern.substr(members, close - members);
    const bool matches = members == 1 ? set.find(c) != std::string_view::npos
                                      : set.find_first_not_of(c) != std::string_view::npos; // one that differs will do
    return matches ? close + 1 : 0;
}

std::size_t match_item(char c, std::string_view pattern)
{
    switch (pattern.front()) {
    case '*':
    case '_':
        return 1;
    case '[':
        return match_set(c, pattern);
    default:
        return pattern.front() == c ? 1 : 0;
    }
}

bool is_like(std::string_view field, std::string_view pattern)
{
    bool met_run = false;
    std::string_view field_of_run;   // from where the pattern behind the run is tried
    std::string_view pattern_of_run; // behind it
    while (!field.empty() || !pattern.empty()) {
        if (field.empty()) {
            return pattern == "%"; // a longer run leaves still more of the pattern
        }
        if (pattern == "%") {
            return true;
        }
        if (!pattern.empty() && pattern.front() == '%') {
            pattern.remove_prefix(1);
            met_run = true;
            field_of_run = field;
            pattern_of_run = pattern;
            continue;
        }
        const std::size_t taken = pattern.empty() ? 0 : match_item(field.front(), pattern);
        if (taken != 0) {
            field.remove_prefix(1);
            pattern.remove_prefix(taken);
            continue;
        }
        if (!met_run) {
            return false;
        }
        field_of_run.remove_prefix(1);
        field = field_of_run;
        pattern = pattern_of_run;
    }
    return true;
}

} // namespace

int Is_Like(const char* f_cont, int f_len, const char* pattern, int patt_len)
{
    const std::string_view field = counted(f_cont, f_len);
    return is_like(field.substr(0, field.find('\0')), counted(pattern, patt_len)) ? 1 : 0;
}
