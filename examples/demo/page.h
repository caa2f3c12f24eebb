// A page of the demonstration as lines of text: the step, the two hosts, the order book, and what happened last.
#pragma once

#include "screen.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace demo {

// The text with exactly so many characters: cut, or filled up with blanks behind it or in front of it.
std::string fit(const std::string& text, std::size_t width);
std::string fit_right(const std::string& text, std::size_t width);

enum class Colour
{
    none,
    bold,
    dim,
    red,
    green,
    yellow,
    magenta,
    cyan,
};

// In colour if standard output is a terminal, and the environment has no NO_COLOR.
std::string paint(Colour colour, const std::string& text);

struct Size
{
    std::size_t columns = 0;
    std::size_t rows = 0;

    bool operator==(const Size&) const = default;
};

class Page
{
public:
    explicit Page(const View& view);

    static bool fits(const Size& terminal);

    void begin_step(const std::string& title, const std::string& explanation);
    void say(const std::string& who, const std::string& text);

    // For a terminal of this size, which it doesn't fill to the last line.
    [[nodiscard]] std::vector<std::string> lines(const Size& terminal);

private:
    struct Said
    {
        std::string who;
        std::string text;
    };

    [[nodiscard]] std::string title_line() const;
    [[nodiscard]] std::string host_line(const HostView& host) const;
    [[nodiscard]] std::string tables_line(const HostView& host) const;
    [[nodiscard]] std::string counts_line(const HostView& host) const;
    [[nodiscard]] static std::string bar(const HostView& host);
    [[nodiscard]] std::string bid_line(std::size_t row) const;
    [[nodiscard]] std::string offer_line(std::size_t row) const;
    [[nodiscard]] std::string said_line(const Said& said) const;
    [[nodiscard]] std::size_t half() const;
    void add_hosts(std::vector<std::string>& all) const;
    void add_book(std::vector<std::string>& all) const;

    const View& m_view;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::string m_title;
    std::string m_explanation;
    std::deque<Said> m_said;
    std::size_t m_width = 0; // of the page that is being composed
};

} // namespace demo
