#include "screen.h"

#include "page.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace demo {

namespace {

// ---- Lines -----------------------------------------------------------------------------------------------------

class Lines final : public Screen
{
public:
    Lines(const View& view, bool is_terminal) : m_view(view), m_is_terminal(is_terminal) {}

    void begin_step(const std::string& title, const std::string& explanation) override
    {
        print("\n--- " + title + ": " + explanation);
    }
    void say(const std::string& who, const std::string& text) override { print("  " + fit(who, 7) + text); }
    void refresh() override {}
    void show_book() override
    {
        const std::size_t rows = std::max(m_view.bids.size(), m_view.offers.size());
        for (std::size_t row = 0; row < rows; ++row) {
            const BookLine bid = row < m_view.bids.size() ? m_view.bids[row] : BookLine{};
            const BookLine offer = row < m_view.offers.size() ? m_view.offers[row] : BookLine{};
            say(row == 0 ? "book" : "", fit(bid.owner, 12) + fit_right(bid.amount, 6) + fit_right(bid.price, 11) +
                                            " | " + fit(offer.price, 11) + fit_right(offer.amount, 6) + "  " +
                                            offer.owner);
        }
    }
    [[nodiscard]] bool is_watched() const override { return m_is_terminal; }

private:
    static void print(const std::string& line)
    {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }

    const View& m_view;
    bool m_is_terminal;
};

// ---- A page ----------------------------------------------------------------------------------------------------

Size size_of_terminal()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

class Terminal final : public Screen
{
public:
    explicit Terminal(const View& view) : m_page(view)
    {
        write_out("\033[?25l"); // no cursor
    }
    ~Terminal() override
    {
        draw();
        write_out("\033[J\033[?25h");
    }

    void begin_step(const std::string& title, const std::string& explanation) override
    {
        m_page.begin_step(title, explanation);
        draw();
    }
    void say(const std::string& who, const std::string& text) override { m_page.say(who, text); }
    void refresh() override { draw(); }
    void show_book() override {}
    [[nodiscard]] bool is_watched() const override { return true; }

private:
    // All in one piece, so that it doesn't flicker. What was there before goes when the terminal has another size.
    void draw()
    {
        const Size size = size_of_terminal();
        std::string text = size == m_size ? "\033[H" : "\033[2J\033[H";
        m_size = size;
        for (const std::string& line : m_page.lines(size)) {
            text += line + "\033[K\r\n";
        }
        write_out(text);
    }

    static void write_out(const std::string& text)
    {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }

    Page m_page;
    Size m_size;
};

} // namespace

std::unique_ptr<Screen> Screen::make(const View& view)
{
    const char* kind = std::getenv("TERM");
    const bool is_terminal = isatty(STDOUT_FILENO) != 0;
    const bool moves_cursor = is_terminal && kind != nullptr && std::string(kind) != "dumb";
    if (moves_cursor && Page::fits(size_of_terminal())) {
        return std::make_unique<Terminal>(view);
    }
    return std::make_unique<Lines>(view, is_terminal);
}

} // namespace demo
