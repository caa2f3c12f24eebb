// qapi-market: the command line, and the prompt on standard input.
#include "commands.h"
#include "market.h"

#include <CLI/CLI.hpp>
#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr int exit_trouble = 2;

struct Arguments
{
    std::string scenario{};
    std::string journal{};
    std::string send_mode{};
    qm::MarketOptions market{};
    bool brief_journal = false;
    bool quiet = false;
};

void describe(CLI::App& app, Arguments& arguments)
{
    app.description(
        "A market for development, demonstrations and tests: a data server that hosts of this library, and\n"
        "anything else that speaks its wire, log in to. Prints its port, then takes commands on standard\n"
        "input; \"help\" lists them. Ends with \"quit\", or with the end of the input if that is a terminal.");
    app.add_option("--scenario", arguments.scenario, "who and what is in the market, a file of JSON")->required();
    app.add_option("--port", arguments.market.port, "to listen on; 0 takes one that is free")->capture_default_str();
    app.add_option("--address", arguments.market.address, "to listen on")->capture_default_str();
    app.add_option("--store", arguments.market.store, "file that keeps the messages, made if it isn't there");
    app.add_option("--journal", arguments.journal, "file that gets everything in and out as lines of JSON");
    app.add_flag("--brief-journal", arguments.brief_journal, "leave the fields of messages out of it");
    app.add_option("--send-mode", arguments.send_mode, "in place of the scenario's")
        ->check(CLI::IsMember({"encrypt", "plain", "compress", "both"}));
    app.add_flag("--quiet-feeds", arguments.market.quiet_feeds, "feeds wait for the command \"feed\"");
    app.add_flag("--quiet", arguments.quiet, "say nothing but the port and the answers to commands");
}

qm::SendMode mode_of(const std::string& name)
{
    constexpr std::array names = {"encrypt", "plain", "compress", "both"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (name == names[i]) {
            return static_cast<qm::SendMode>(i);
        }
    }
    return qm::SendMode::compress;
}

void say(const std::string& text)
{
    if (!text.empty()) {
        std::printf("%s\n", text.c_str());
        std::fflush(stdout);
    }
}

// Lines from standard input, as they come. A file can't be waited for, and is read at once.
class Prompt
{
public:
    Prompt(qm::EventLoop& loop, qm::Market& market) : m_loop(loop), m_market(market)
    {
        try {
            m_loop.Watch(STDIN_FILENO, EPOLLIN, [this](std::uint32_t /*events*/) { Read_Some(); });
        } catch (const std::system_error&) {
            m_loop.Post([this] {
                while (Read_Some()) {
                }
            });
        }
    }

private:
    bool Read_Some() // false at the end
    {
        std::array<char, 4096> buffer{};
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count <= 0) {
            m_loop.Forget(STDIN_FILENO);
            Do_Lines("\n"); // the last line may have no end
            if (isatty(STDIN_FILENO) != 0) {
                m_loop.Stop();
            }
            return false;
        }
        Do_Lines({buffer.data(), static_cast<std::size_t>(count)});
        return !m_market.is_over();
    }

    void Do_Lines(std::string_view bytes)
    {
        m_held += bytes;
        for (std::size_t end = m_held.find('\n'); end != std::string::npos && !m_market.is_over();
             end = m_held.find('\n')) {
            const std::string line = m_held.substr(0, end);
            m_held.erase(0, end + 1);
            say(m_market.Do(line));
        }
    }

    qm::EventLoop& m_loop;
    qm::Market& m_market;
    std::string m_held;
};

// SIGINT and SIGTERM end the loop like "quit".
class EndBySignal
{
public:
    explicit EndBySignal(qm::EventLoop& loop)
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        sigprocmask(SIG_BLOCK, &signals, nullptr);
        m_descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
        loop.Watch(m_descriptor, EPOLLIN, [&loop](std::uint32_t /*events*/) { loop.Stop(); });
    }
    ~EndBySignal() { close(m_descriptor); }
    EndBySignal(const EndBySignal&) = delete;
    EndBySignal& operator=(const EndBySignal&) = delete;

private:
    int m_descriptor = -1;
};

int run(Arguments& arguments)
{
    qm::Scenario scenario = qm::Read_Scenario(arguments.scenario);
    if (!arguments.send_mode.empty()) {
        scenario.send_mode = mode_of(arguments.send_mode);
    }
    if (!arguments.quiet) {
        arguments.market.tell = say;
    }
    std::signal(SIGPIPE, SIG_IGN); // whoever read the port need not read on
    const qm::Clock clock;
    qm::EventLoop loop(clock);
    qm::Journal journal = arguments.journal.empty() ? qm::Journal(clock)
                                                    : qm::Journal(clock, arguments.journal, !arguments.brief_journal);
    qm::Market market(loop, std::move(scenario), arguments.market, journal);
    say(std::to_string(market.port()));
    const EndBySignal end(loop);
    const Prompt prompt(loop, market);
    loop.Run();
    return 0;
}

} // namespace

int main(int count, char** words)
{
    Arguments arguments;
    CLI::App app;
    describe(app, arguments);
    CLI11_PARSE(app, count, words);
    try {
        return run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return exit_trouble;
    }
}
