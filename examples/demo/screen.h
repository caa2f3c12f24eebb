// What the demonstration shows: on a terminal a page that is drawn anew at each change, elsewhere lines.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace demo {

constexpr std::size_t hosts = 2;

enum class State
{
    absent,
    connecting,
    connected,
    lost,
    killed,
    ended,
};

struct HostView
{
    std::string name{};
    std::string title{}; // who that is
    State state = State::absent;
    int tables = 0;
    int tables_wanted = 0;
    int records = 0;
    std::string last_table{}; // and how many records it has
    int received = 0;
    int finished = 0;
    int sent = 0;
};

struct BookLine
{
    std::string owner{};
    std::string amount{};
    std::string price{};
};

struct View
{
    std::array<HostView, hosts> host_views{};
    std::string market_title{};
    std::vector<BookLine> bids{}; // the best first
    std::vector<BookLine> offers{};
};

class Screen
{
public:
    // A page if standard output is a terminal with room for it. `view` is read whenever something is shown.
    static std::unique_ptr<Screen> make(const View& view);

    Screen() = default;
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    virtual ~Screen() = default;

    virtual void begin_step(const std::string& title, const std::string& explanation) = 0;
    virtual void say(const std::string& who, const std::string& text) = 0;
    virtual void refresh() = 0;   // what has changed is shown from then on
    virtual void show_book() = 0; // as it is now
    // Whether somebody watches, for whom events are slowed down.
    [[nodiscard]] virtual bool is_watched() const = 0;
};

} // namespace demo
