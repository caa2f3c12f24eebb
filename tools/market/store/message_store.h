// All messages that the market has given out, in their order, with their numbers: what a client that comes back is
// served from. Kept in memory, and in a file if one is named, so that a market that starts again goes on where it was.
//
// Numbers are counted by log and by day, from 1.
#pragma once

#include "audience.h"
#include "store/entry_file.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

// The logs that a client keeps apart: P of persistent messages, A of others, B of those of priority 80 and more.
enum class Log : char
{
    P = 'P',
    A = 'A',
    B = 'B'
};

// None for a letter that names no log.
std::optional<Log> Log_Of_Letter(char letter);

struct StoredMessage
{
    Log log = Log::A;
    std::string date{}; // YYYYMMDD
    std::uint32_t number = 0;
    std::uint16_t priority = 0;
    Audience audience{};
    std::string message{}; // with its number written in
};

// From where a client wants one log: behind that number of that day. An empty date stands for today.
struct LogPosition
{
    Log log = Log::A;
    std::string date{};
    std::uint32_t number = 0;
};

class MessageStore
{
public:
    MessageStore() = default; // in memory

    // Reads what the file has, up to the first entry that isn't whole (a market that was killed), cuts it off there and
    // goes on behind it. Throws std::runtime_error with the file's name if it isn't a store or can't be written.
    explicit MessageStore(const std::filesystem::path& file);

    // Gives the message its number: writes it (NUMERO_DATASERVER), its date (FECHA), by which clients tell where they
    // stand, the letter of its log (LOG: A, B, C for P, A, B) and, for log P, the mark of persistence into its CABEZA.
    // A message without a whole CABEZA (83 bytes) is filled up with zeros. It is in the file when Add returns. The
    // reference is good until the next Add.
    const StoredMessage& Add(Log log, std::string_view date, std::uint16_t priority, Audience audience,
                             std::string message);

    [[nodiscard]] std::size_t size() const { return m_messages.size(); }
    [[nodiscard]] const StoredMessage& at(std::size_t position) const { return m_messages.at(position); }

    // True if a client that stands at these positions still wants the message. A log that it doesn't name isn't wanted.
    static bool Is_Wanted(const StoredMessage& message, const std::vector<LogPosition>& positions,
                          std::string_view today);

    // Why nothing more is written to the file (a full disk); empty while all is well. The store goes on in memory.
    [[nodiscard]] const std::string& complaint() const { return m_complaint; }

private:
    void Write(const StoredMessage& message);

    std::vector<StoredMessage> m_messages;
    std::map<std::pair<Log, std::string>, std::uint32_t> m_last_numbers;
    std::optional<EntryFile> m_file;
    std::string m_complaint;
};

} // namespace qm
