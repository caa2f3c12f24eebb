#include "child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace demo {

namespace {

constexpr int tenth = 100; // milliseconds
constexpr int could_not_run = 127;

struct Pipe
{
    int read_end = -1;
    int write_end = -1;
};

Pipe make_pipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    return {ends[0], ends[1]};
}

// Between fork and exec: system calls alone. The process ends with the one that started it, and has a group of its own,
// so that a Ctrl-C of the terminal reaches that one alone, which then ends it in order.
[[noreturn]] void become(char* const* words, const char* directory, int input, int output)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setpgid(0, 0);
    static_cast<void>(signal(SIGPIPE, SIG_DFL));
    if (chdir(directory) == 0) {
        const int errors = open("stderr.txt", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execv(words[0], words);
    }
    _exit(could_not_run);
}

// As a shell tells it.
int status_of(int wait_status)
{
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

void close_if_open(int& descriptor)
{
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1));
    }
}

} // namespace

Child::Child(const std::vector<std::string>& command, const std::filesystem::path& directory)
{
    std::vector<std::string> texts = command;
    std::vector<char*> words;
    words.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        words.push_back(text.data());
    }
    words.push_back(nullptr);
    const std::string place = directory.string();
    Pipe input = make_pipe();
    Pipe output = make_pipe();
    m_process = fork();
    if (m_process == 0) {
        become(words.data(), place.c_str(), input.read_end, output.write_end);
    }
    close(input.read_end);
    close(output.write_end);
    m_input = input.write_end;
    m_output = output.read_end;
    fcntl(m_output, F_SETFL, O_NONBLOCK);
    if (m_process < 0) {
        const int reason = errno;
        close_if_open(m_input);
        close_if_open(m_output);
        throw std::system_error(reason, std::generic_category(), "fork");
    }
}

Child::~Child()
{
    close_if_open(m_input);
    if (!exit_status()) {
        ::kill(m_process, SIGTERM);
    }
    constexpr int patience = 20;
    if (!ends_within(patience)) {
        kill();
    }
    close_if_open(m_output);
}

void Child::send(const std::string& line) const
{
    const std::string text = line + '\n';
    static_cast<void>(!write(m_input, text.data(), text.size())); // a pipe takes a short line as a whole
}

void Child::kill()
{
    if (!exit_status()) {
        ::kill(m_process, SIGKILL);
        int status = 0;
        waitpid(m_process, &status, 0);
        m_status = status_of(status);
    }
}

void Child::read()
{
    std::array<char, 4096> bytes{};
    ssize_t count = 0;
    while (m_output >= 0 && (count = ::read(m_output, bytes.data(), bytes.size())) > 0) {
        m_held.append(bytes.data(), static_cast<std::size_t>(count));
    }
    if (count == 0) {
        close_if_open(m_output);
    }
    for (std::size_t end = m_held.find('\n'); end != std::string::npos; end = m_held.find('\n')) {
        m_lines.push_back(m_held.substr(0, end));
        m_held.erase(0, end + 1);
    }
}

std::optional<std::string> Child::next_line()
{
    if (m_lines.empty()) {
        return {};
    }
    std::string line = std::move(m_lines.front());
    m_lines.pop_front();
    return line;
}

std::optional<int> Child::exit_status()
{
    int status = 0;
    if (!m_status && waitpid(m_process, &status, WNOHANG) == m_process) {
        m_status = status_of(status);
    }
    return m_status;
}

bool Child::ends_within(int tenths)
{
    for (int turn = 0; turn < tenths && !exit_status(); ++turn) {
        poll(nullptr, 0, tenth);
    }
    return exit_status().has_value();
}

} // namespace demo
