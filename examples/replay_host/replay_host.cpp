// Shows what a host saw: replays a running log (qapi.log, qapi1.log ...) and prints the host's side of it, or writes
// the log out with all packets in the clear. It works in a directory of its own, so that no file of a live host is
// touched.
#include <qcapi/host.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

namespace fs = std::filesystem;

struct Arguments
{
    std::string log;
    std::string settings = "qapi.cfg"; // of the host whose log it is
    std::string start;
    std::string end;
    std::string output;
};

bool is_time(const std::string& text)
{
    constexpr std::size_t longest = 14; // YYYYMMDDHHMMSS
    return text.size() <= longest && text.find_first_not_of("0123456789") == std::string::npos;
}

bool take(Arguments& arguments, int count, char** words)
{
    for (int at = 1; at < count; ++at) {
        const std::string word = words[at];
        std::string* target = word == "--settings"    ? &arguments.settings
                              : word == "--start"     ? &arguments.start
                              : word == "--end"       ? &arguments.end
                              : word == "--translate" ? &arguments.output
                                                      : nullptr;
        if (target != nullptr && at + 1 < count) {
            *target = words[++at];
        } else if (word.rfind("--", 0) != 0 && arguments.log.empty()) {
            arguments.log = word;
        } else {
            return false;
        }
    }
    return !arguments.log.empty() && is_time(arguments.start) && is_time(arguments.end);
}

// Signals that would end the process, but for those that whoever started it wants ignored.
sigset_t ending_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action
        {
        };
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals, number);
        }
    }
    return signals;
}

// Made empty, the working directory while it lives, and removed with all that a session leaves; by a signal too, which
// a thread waits for. The library's threads are started later, and so have it blocked.
class OwnDirectory
{
public:
    OwnDirectory()
    {
        std::string name = (fs::temp_directory_path() / "replay-XXXXXX").string();
        const sigset_t signals = ending_signals();
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), name);
        }
        m_path = name;
        fs::current_path(m_path);
        std::thread([name, signals] { remove_at_signal(name, signals); }).detach();
    }
    ~OwnDirectory()
    {
        std::error_code ignored;
        fs::current_path(m_before, ignored);
        fs::remove_all(m_path, ignored);
    }
    OwnDirectory(const OwnDirectory&) = delete;
    OwnDirectory& operator=(const OwnDirectory&) = delete;

private:
    static void remove_at_signal(const std::string& path, const sigset_t& signals)
    {
        int number = 0;
        if (sigwait(&signals, &number) == 0) {
            std::error_code ignored;
            for (int attempt = 0; attempt < 100 && fs::exists(path, ignored); ++attempt) {
                fs::remove_all(path, ignored); // a thread of the session may make a file meanwhile
            }
            std::_Exit(128 + number); // as a shell tells it
        }
    }

    fs::path m_before = fs::current_path();
    fs::path m_path;
};

// Of the settings' own the last one would count, and one that is left out here would stay.
bool is_of_replay(const std::string& line)
{
    std::string directive;
    std::istringstream(line) >> directive;
    std::transform(directive.begin(), directive.end(), directive.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return directive.rfind("testing_", 0) == 0;
}

// The host's own settings, with the log in place of the connection. A directive's value can't hold a blank, and a path
// may: so both files are named by links.
void write_settings(const fs::path& from, const Arguments& arguments)
{
    std::ifstream settings(from);
    std::ofstream file("qapi.cfg");
    for (std::string line; std::getline(settings, line);) {
        if (!is_of_replay(line)) {
            file << line << '\n';
        }
    }
    fs::create_symlink(arguments.log, "input");
    file << "testing_file input\n";
    if (!arguments.output.empty()) {
        fs::create_symlink(arguments.output, "output");
        file << "testing_output_file output\n";
    }
    for (const auto& [directive, time] :
         {std::pair("testing_start", arguments.start), {"testing_end", arguments.end}}) {
        if (!time.empty()) {
            file << directive << ' ' << time << '\n';
        }
    }
}

void print(const quentar::Message& message)
{
    std::cout << message.kind() << ' ' << message.number() << '\n';
    for (const quentar::Field& field : message.fields()) {
        if (!field.value.empty() && field.value != "0" && field.value.size() <= 40) { // groups of fields are longer
            std::cout << "    " << field.name << " = " << field.value << '\n';
        }
    }
    std::cout << std::flush;
}

// Tells how much of the log has been written out, while it lives.
class Progress
{
public:
    explicit Progress(const Arguments& arguments)
        : m_output(arguments.output), m_size(fs::file_size(arguments.log)), m_before(size_of_output())
    {
    }
    ~Progress()
    {
        m_ended = true;
        m_thread.join();
        std::fprintf(stderr, "\r%ju bytes written to %s\n", static_cast<std::uintmax_t>(size_of_output() - m_before),
                     m_output.c_str());
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    [[nodiscard]] std::uintmax_t size_of_output() const
    {
        std::error_code missing;
        const std::uintmax_t size = fs::file_size(m_output, missing);
        return missing ? 0 : size;
    }

    void run() const
    {
        while (!m_ended) {
            if (m_size != 0) {
                std::fprintf(stderr, "\r%3ju %%", 100 * (size_of_output() - m_before) / m_size);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    std::string m_output;
    std::uintmax_t m_size;
    std::uintmax_t m_before;
    std::atomic<bool> m_ended{false};
    std::thread m_thread{[this] { run(); }};
};

bool login(quentar::Host& host)
{
    const quentar::Result result = host.login("replay", "replay");
    if (result != quentar::Result::ok) {
        std::cerr << quentar::text_of(result) << ". " << quentar::advice_of(result) << '\n';
    }
    return result == quentar::Result::ok;
}

// The library says what is wrong with the log or the output in the session's own running log, which goes with the
// directory.
bool tell_damage()
{
    bool is_damaged = false;
    std::ifstream log("qapi.log");
    for (std::string line; std::getline(log, line);) {
        for (const char* text :
             {"ER-Bad record read", "ER-Erroneous log message", "ER-Input log file", "ER-Output log file"}) {
            if (const std::size_t at = line.find(text); at != std::string::npos) {
                std::cerr << line.substr(at + 3) << std::endl;
                is_damaged = true;
            }
        }
    }
    return is_damaged;
}

bool translate(const Arguments& arguments)
{
    quentar::Host host;
    const Progress progress(arguments);
    return login(host);
}

bool replay()
{
    quentar::Host host;
    host.on_connected = [] { std::cout << "connected" << std::endl; };
    host.on_disconnected = [](const std::string&) { std::cout << "disconnected" << std::endl; };
    host.on_error = [](int code, const std::string& text, int) { std::cerr << code << ' ' << text << std::endl; };
    host.on_message = [](quentar::Message message) {
        print(message);
        message.finish();
    };
    if (!login(host)) {
        return false;
    }
    for (std::string line; std::getline(std::cin, line);) { // a replay doesn't tell its end
    }
    return true;
}

// The library tells only its running log what is wrong with log and output, and that goes with the directory. It opens
// both for reading and writing.
void check_files(const fs::path& settings, const Arguments& arguments)
{
    if (!std::ifstream(settings)) {
        throw std::runtime_error("can't read " + settings.string());
    }
    if (!fs::is_regular_file(arguments.log) || !std::fstream(arguments.log)) {
        throw std::runtime_error("can't open " + arguments.log);
    }
    if (arguments.output.empty()) {
        return;
    }
    const int output = open(arguments.output.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600); // it may hold passwords
    if (output == -1) {
        throw std::system_error(errno, std::generic_category(), arguments.output);
    }
    close(output);
    if (fs::equivalent(arguments.log, arguments.output)) {
        throw std::runtime_error("a log can't be translated into itself");
    }
}

int run(Arguments arguments)
{
    const fs::path settings = fs::absolute(arguments.settings);
    arguments.log = fs::absolute(arguments.log).string();
    if (!arguments.output.empty()) {
        arguments.output = fs::absolute(arguments.output).string();
    }
    check_files(settings, arguments);
    const OwnDirectory directory;
    write_settings(settings, arguments);
    const bool is_done = arguments.output.empty() ? replay() : translate(arguments);
    return !tell_damage() && is_done ? 0 : 1;
}

} // namespace

int main(int count, char** words)
{
    Arguments arguments;
    if (!take(arguments, count, words)) {
        std::cerr
            << "usage: replay_host LOG [--settings QAPI.CFG] [--start TIME] [--end TIME] [--translate FILE]\n"
               "Prints what a host with these settings sees of the log, until its standard input ends (Ctrl-D): what\n"
               "isn't printed by then is left out. Or writes the log's records to FILE with all packets in the clear.\n"
               "TIME is YYYYMMDDHHMMSS or a beginning of it.\n";
        return 2;
    }
    try {
        return run(arguments);
    } catch (const std::exception& problem) {
        std::cerr << "replay_host: " << problem.what() << '\n';
        return 1;
    }
}
