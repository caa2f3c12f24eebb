// The market and the hosts of the demonstration as processes, what is heard of them, and what is expected of them.
#pragma once

#include "child.h"
#include "screen.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace demo {

// What the stage runs, and how.
struct Programs
{
    std::filesystem::path market{};
    std::filesystem::path trader{};
    std::filesystem::path scenario{};
    bool hurried = false; // no pauses for whoever watches
};

struct HostSettings
{
    std::string name{};
    std::string password{};
    std::string user_code{};
    std::string machine{};
    std::string branch{};
    std::string title{};
};

// Something expected has not happened; what() says what.
class Failure : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// SIGINT or SIGTERM has come.
class Interruption
{
public:
    static void watch_for(); // from now on
};

// An order as a host has it.
struct Order
{
    bool is_bid = false;
    std::string price{};
    std::string amount{};
    std::string code{};
    std::string owner{};

    bool operator==(const Order&) const = default;
};

// What a host has told.
struct Heard
{
    int times_ready = 0;
    int times_lost = 0;
    bool leaves = false;                 // a chat unfinished
    std::map<std::string, Order> book{}; // by number of the record
    std::vector<std::string> chats{};
    std::vector<std::string> trades{};
    std::vector<std::string> paths{};   // of the last trade
    std::map<std::string, int> kinds{}; // finished
    bool has_ended = false;
    std::string last{};
};

class Stage
{
public:
    // What the processes leave behind is below `directory`.
    Stage(Programs programs, std::vector<HostSettings> settings, int market, std::filesystem::path directory);

    [[nodiscard]] Screen& screen() { return *m_screen; }
    [[nodiscard]] const Heard& heard(std::size_t host) const { return m_hosts.at(host).heard; }
    [[nodiscard]] const HostView& view(std::size_t host) const { return m_view.host_views.at(host); }
    [[nodiscard]] std::filesystem::path directory_of(std::size_t host) const;

    // A host is named by its place among the settings. All of these throw Failure when what they begin doesn't come
    // about, and Interruption.
    void start_market();
    void ask_market(const std::string& command, const std::string& answer); // which has this text in it
    void start_host(std::size_t at);
    void tell_host(std::size_t host, const std::string& command);
    void end_host(std::size_t at);
    void kill_host(std::size_t at); // what it had not finished counts as not received: it comes again
    void end_market();
    void expect(const std::string& what, const std::function<bool()>& has_happened);
    void expect_of_both(const std::string& what, const std::function<bool(const Heard&)>& has_happened);

    // What the host's log says of it, once its tables have come from their files: "40 records in 0.3 ms".
    [[nodiscard]] std::string tables_from_files(std::size_t at);

    // For who watches; nothing if nobody does.
    void pause(int milliseconds);

    // The open orders of a host, as code, amount and price, in the order of their codes.
    [[nodiscard]] std::string book_of(std::size_t host) const;

private:
    struct Counts
    {
        int finished = 0;
        int sent = 0;
        std::map<std::string, int> kinds{};
    };

    struct Host
    {
        HostSettings settings{};
        std::unique_ptr<Child> child{};
        Heard heard{};
        int starts = 0;
        std::string tables{};      // of this connection, with the counts of their records
        std::string sent_tables{}; // those of which records were sent
        Counts before{};           // those of its process that was killed
    };

    using Words = std::vector<std::string>;

    void write_configuration(const Host& host) const;
    [[nodiscard]] std::vector<Child*> children() const;
    [[nodiscard]] HostView& view_of(const Host& host);
    [[nodiscard]] std::string last_heard() const;
    void pump(int milliseconds);
    void read_all();
    void check_processes();
    void hear_market(const std::string& line);
    void hear_table(Host& host, const std::string& line);
    void await_tables(std::size_t at);
    void hear_host(std::size_t at, const std::string& line);
    void hear_session(std::size_t at, const Words& words);
    void hear_message(std::size_t at, const Words& words);
    void hear_row(Host& host, const Words& words);
    void show_book();

    Programs m_programs;
    int m_market_number;
    std::filesystem::path m_directory;
    View m_view;
    std::unique_ptr<Screen> m_screen; // ends behind the processes: it gives the terminal back
    std::array<Host, hosts> m_hosts;
    std::unique_ptr<Child> m_market;
    std::string m_port;
    std::vector<std::string> m_answers; // of the market to the last command
};

} // namespace demo
