// A process with its standard input and output on pipes. What it says on its error stream goes into a file of its
// directory.
#pragma once

#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace demo {

class Child
{
public:
    // Runs in `directory`, which must be there. Throws std::system_error if there is no process to be had.
    Child(const std::vector<std::string>& command, const std::filesystem::path& directory);
    // Ends it, if it still runs: asked first, and killed when it doesn't hear.
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void send(const std::string& line) const; // lost if it has ended
    void kill();                              // at once, without a word to it

    [[nodiscard]] int output() const { return m_output; } // to be polled; -1 once that has ended
    void read();                                          // what is there
    std::optional<std::string> next_line();               // of what was read

    // As a shell has it: 128 and the signal if one ended it. Nothing while it runs.
    std::optional<int> exit_status();

private:
    [[nodiscard]] bool ends_within(int tenths);

    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
    std::string m_held; // the beginning of a line
    std::deque<std::string> m_lines;
    std::optional<int> m_status;
};

} // namespace demo
