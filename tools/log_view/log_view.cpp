// qapi-log-view: prints a running log as lines for people. See the usage text.

#include "print_entry.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr int exit_sound = 0;
constexpr int exit_damaged = 1;
constexpr int exit_trouble = 2;

constexpr const char* usage = R"(usage: qapi-log-view [-x] [FILE]

Prints a running log (qapi.log, qapi1.log ...) from FILE, or from standard input
without FILE or with "-", one line a record:

  date  time  text     TEXT | length
  date  time  message  LABEL | priority | source | length of the packet

Bytes outside printable ASCII are written as \xHH. Damage is told in a line with
its offset and the bytes skipped; reading goes on at the next sound record.

  -x  after a message, its packet as lines of sixteen bytes
  -h  this text

Exit codes: 0 every record is sound; 1 damage was met; 2 the log can't be read,
the lines can't be written, or the arguments are wrong.
)";

struct Options
{
    bool with_packets = false;
    bool help = false;
    bool wrong = false;
    const char* path = "-";
};

Options read_arguments(int count, char** arguments)
{
    Options options;
    bool path_given = false;
    for (int at = 1; at < count; ++at) {
        const std::string_view argument = arguments[at];
        if (argument == "-x") {
            options.with_packets = true;
        } else if (argument == "-h") {
            options.help = true;
        } else if (path_given || (argument.size() > 1 && argument.front() == '-')) {
            options.wrong = true;
        } else {
            options.path = arguments[at];
            path_given = true;
        }
    }
    return options;
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File open_input(const char* path)
{
    if (std::string_view(path) == "-") {
        return {stdin, [](std::FILE*) { return 0; }};
    }
    return {std::fopen(path, "rb"), &std::fclose};
}

// Returns whether every record was sound. A reader that has gone away (a pager that was left) ends the work.
bool print_entries(std::FILE* input, bool with_packets)
{
    LogReader reader([input](std::span<char> room) { return std::fread(room.data(), 1, room.size(), input); });
    bool sound = true;
    for (LogEntry entry; std::ferror(stdout) == 0 && reader.next(entry);) {
        sound = sound && entry.kind != LogEntry::Kind::damage;
        const std::string lines = Readable_Entry(entry, with_packets);
        std::fwrite(lines.data(), 1, lines.size(), stdout);
    }
    return sound;
}

int trouble(const char* what)
{
    std::fprintf(stderr, "qapi-log-view: can't %s: %s\n", what, std::strerror(errno));
    return exit_trouble;
}

} // namespace

int main(int count, char** arguments)
{
    const Options options = read_arguments(count, arguments);
    if (options.wrong || options.help) {
        std::fputs(usage, options.help ? stdout : stderr);
        return options.help ? exit_sound : exit_trouble;
    }
    const File input = open_input(options.path);
    if (input == nullptr) {
        return trouble("open the log");
    }
    const bool sound = print_entries(input.get(), options.with_packets);
    if (std::ferror(input.get()) != 0) {
        return trouble("read the log");
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        return trouble("write the lines");
    }
    return sound ? exit_sound : exit_damaged;
}
