// Shows what a host saw: replays a running log (qapi.log, qapi1.log ...) and prints the host's side of it, or writes
// the log out with all packets in the clear. It works in a directory of its own, so that no file of a live host is
// touched.
#include <qcapi/host.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>

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
    return !arguments.log.empty();
}

// Made empty, the working directory while it lives, and removed with all that a session leaves.
class OwnDirectory
{
public:
    OwnDirectory()
    {
        std::string name = (fs::temp_directory_path() / "replay-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), name);
        }
        m_path = name;
        fs::current_path(m_path);
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
    fs::path m_before = fs::current_path();
    fs::path m_path;
};

// The host's own settings, with the log in place of the connection.
void write_settings(const fs::path& from, const Arguments& arguments)
{
    std::ifstream settings(from);
    if (!settings) {
        throw std::runtime_error("can't read " + from.string());
    }
    std::ofstream file("qapi.cfg");
    for (std::string line; std::getline(settings, line);) {
        if (line.find("testing_") == std::string::npos) {
            file << line << '\n';
        }
    }
    file << "testing_file \"" << arguments.log << "\"\n";
    for (const auto& [directive, value] : {std::pair("testing_output_file", arguments.output),
                                           {"testing_start", arguments.start},
                                           {"testing_end", arguments.end}}) {
        if (!value.empty()) {
            file << directive << " \"" << value << "\"\n";
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

int translate(const Arguments& arguments)
{
    quentar::Host host;
    const Progress progress(arguments);
    return login(host) ? 0 : 1;
}

int replay()
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
        return 1;
    }
    for (std::string line; std::getline(std::cin, line);) { // a replay doesn't tell its end
    }
    return 0;
}

int run(Arguments arguments)
{
    const fs::path settings = fs::absolute(arguments.settings);
    arguments.log = fs::canonical(arguments.log).string();
    if (!arguments.output.empty()) {
        arguments.output = fs::absolute(arguments.output).string();
    }
    const OwnDirectory directory;
    write_settings(settings, arguments);
    return arguments.output.empty() ? replay() : translate(arguments);
}

} // namespace

int main(int count, char** words)
{
    Arguments arguments;
    if (!take(arguments, count, words)) {
        std::cerr
            << "usage: replay_host LOG [--settings QAPI.CFG] [--start TIME] [--end TIME] [--translate FILE]\n"
               "Prints what a host with these settings sees of the log, to the end of its input; or writes the\n"
               "log's records to FILE with all packets in the clear. TIME is YYYYMMDDHHMMSS or a beginning of it.\n";
        return 2;
    }
    try {
        return run(arguments);
    } catch (const std::exception& problem) {
        std::cerr << "replay_host: " << problem.what() << '\n';
        return 1;
    }
}
