#include "page.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <unistd.h>

namespace demo {

namespace {

constexpr std::size_t narrowest = 80;
constexpr std::size_t widest = 100;
constexpr std::size_t fewest_rows = 24;
constexpr std::size_t book_rows = 4;
constexpr std::size_t rows_above_said = 17;
constexpr std::size_t most_said = 11;

struct Symbols
{
    const char* dot;
    const char* full;
    const char* empty;
    const char* horizontal;
    const char* vertical;
};

bool speaks_utf8()
{
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            const std::string locale = value;
            return locale.find("UTF-8") != std::string::npos || locale.find("utf8") != std::string::npos;
        }
    }
    return false;
}

const Symbols& symbols()
{
    static const Symbols chosen = speaks_utf8() ? Symbols{"●", "█", "░", "─", "│"} : Symbols{"*", "#", ".", "-", "|"};
    return chosen;
}

std::string repeated(const char* symbol, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += symbol;
    }
    return text;
}

bool begins_character(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

std::size_t width_of(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins_character));
}

std::string cut(const std::string& text, std::size_t width)
{
    std::size_t characters = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (begins_character(text[at]) && ++characters > width) {
            return text.substr(0, at);
        }
    }
    return text;
}

struct Look
{
    Colour colour;
    const char* word;
};

Look look_of(State state)
{
    constexpr std::array looks{Look{Colour::dim, "absent"},      Look{Colour::yellow, "coming up"},
                               Look{Colour::green, "connected"}, Look{Colour::red, "lost"},
                               Look{Colour::red, "killed"},      Look{Colour::dim, "ended"}};
    return looks.at(static_cast<std::size_t>(state));
}

} // namespace

std::string fit(const std::string& text, std::size_t width)
{
    const std::string shown = cut(text, width);
    return shown + std::string(width - width_of(shown), ' ');
}

std::string fit_right(const std::string& text, std::size_t width)
{
    const std::string shown = cut(text, width);
    return std::string(width - width_of(shown), ' ') + shown;
}

std::string paint(Colour colour, const std::string& text)
{
    static const char* refusal = std::getenv("NO_COLOR");
    static const bool is_on = isatty(STDOUT_FILENO) != 0 && (refusal == nullptr || *refusal == '\0');
    constexpr std::array codes{"", "\033[1m", "\033[2m", "\033[31m", "\033[32m", "\033[33m", "\033[35m", "\033[36m"};
    return is_on && colour != Colour::none ? codes.at(static_cast<std::size_t>(colour)) + text + "\033[0m" : text;
}

Page::Page(const View& view) : m_view(view) {}

bool Page::fits(const Size& terminal)
{
    return terminal.columns >= narrowest && terminal.rows >= fewest_rows;
}

void Page::begin_step(const std::string& title, const std::string& explanation)
{
    m_title = title;
    m_explanation = explanation;
}

void Page::say(const std::string& who, const std::string& text)
{
    m_said.push_back({who, text});
    if (m_said.size() > most_said) {
        m_said.pop_front();
    }
}

std::vector<std::string> Page::lines(const Size& terminal)
{
    m_width = std::clamp(terminal.columns, narrowest, widest) - 1; // a full line would move to the next one
    std::vector<std::string> all{
        title_line(),
        paint(Colour::dim, repeated(symbols().horizontal, m_width)),
        paint(Colour::cyan, fit(m_title, m_width)),
        paint(Colour::dim, fit(m_explanation, m_width)),
        "",
    };
    add_hosts(all);
    add_book(all);
    const std::size_t room = terminal.rows > rows_above_said ? terminal.rows - rows_above_said - 1 : 1;
    const std::size_t first = m_said.size() - std::min({m_said.size(), most_said, room});
    for (std::size_t at = first; at < m_said.size(); ++at) {
        all.push_back(said_line(m_said[at]));
    }
    return all;
}

std::string Page::title_line() const
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_begin);
    constexpr std::size_t clock_width = 6;
    return paint(Colour::bold, fit("Quentar API: a market and two hosts on this machine", m_width - clock_width)) +
           paint(Colour::dim, fit_right(std::to_string(seconds.count()) + " s", clock_width));
}

// ---- The hosts, side by side -----------------------------------------------------------------------------------

std::size_t Page::half() const
{
    constexpr std::size_t separator = 3;
    return (m_width - separator) / 2;
}

void Page::add_hosts(std::vector<std::string>& all) const
{
    const std::string between = paint(Colour::dim, std::string(" ").append(symbols().vertical).append(" "));
    for (std::string (Page::*line)(const HostView&) const :
         {&Page::host_line, &Page::tables_line, &Page::counts_line}) {
        all.push_back((this->*line)(m_view.host_views[0]) + between + (this->*line)(m_view.host_views[1]));
    }
    all.emplace_back();
}

std::string Page::host_line(const HostView& host) const
{
    const Look look = look_of(host.state);
    constexpr std::size_t word_width = 10;
    return paint(look.colour, symbols().dot) + " " + paint(Colour::bold, fit(host.title, half() - 2 - word_width)) +
           paint(look.colour, fit_right(look.word, word_width));
}

std::string Page::tables_line(const HostView& host) const
{
    const std::string count = std::to_string(host.tables) + "/" + std::to_string(host.tables_wanted);
    constexpr std::size_t count_width = 6;
    constexpr std::size_t used = 7 + 12 + count_width + 1;
    return fit("tables", 7) + bar(host) + fit_right(host.tables_wanted > 0 ? count : "", count_width) + " " +
           paint(Colour::dim, fit(host.last_table, half() - used));
}

std::string Page::bar(const HostView& host)
{
    constexpr std::size_t width = 12;
    const auto wanted = static_cast<std::size_t>(std::max(host.tables_wanted, 1));
    const std::size_t full = std::min(width, static_cast<std::size_t>(host.tables) * width / wanted);
    return paint(Colour::green, repeated(symbols().full, full)) +
           paint(Colour::dim, repeated(symbols().empty, width - full));
}

std::string Page::counts_line(const HostView& host) const
{
    return fit("received " + fit(std::to_string(host.received), 4) + "finished " +
                   fit(std::to_string(host.finished), 4) + "sent " + std::to_string(host.sent),
               half());
}

// ---- The book, bids beside offers ------------------------------------------------------------------------------

void Page::add_book(std::vector<std::string>& all) const
{
    all.push_back(paint(Colour::cyan, fit("Order book of " + m_view.market_title, m_width)));
    all.push_back(paint(Colour::dim, fit_right("amount      bid", half()) + "   " + fit("offer     amount", half())));
    for (std::size_t row = 0; row < book_rows; ++row) {
        all.push_back(paint(Colour::green, bid_line(row)) + " " + paint(Colour::dim, symbols().vertical) + " " +
                      paint(Colour::magenta, offer_line(row)));
    }
    all.emplace_back();
}

std::string Page::bid_line(std::size_t row) const
{
    const BookLine bid = row < m_view.bids.size() ? m_view.bids[row] : BookLine{};
    return fit(bid.owner, half() - 17) + fit_right(bid.amount, 6) + fit_right(bid.price, 11);
}

std::string Page::offer_line(std::size_t row) const
{
    const BookLine offer = row < m_view.offers.size() ? m_view.offers[row] : BookLine{};
    return fit(offer.price, 10) + fit_right(offer.amount, 6) + "  " + fit(offer.owner, half() - 18);
}

// ---- What happened ---------------------------------------------------------------------------------------------

std::string Page::said_line(const Said& said) const
{
    constexpr std::size_t who_width = 8;
    const Colour colour = said.who == m_view.host_views[0].name   ? Colour::green
                          : said.who == m_view.host_views[1].name ? Colour::magenta
                                                                  : Colour::yellow;
    return paint(colour, fit(said.who, who_width)) + fit(said.text, m_width - who_width);
}

} // namespace demo
