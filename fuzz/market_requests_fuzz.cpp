// Whatever a client asks for, of the log or of tables, in any order and between changes of the market: positions are of
// known logs, a round ends, no answer is longer than the market has records for, and behind it all a client that asks
// properly gets the log and equal tables.
//
// Input: steps back to back. Of each, one byte is its kind, two the length of what follows, and that is cut where the
// input ends.
#include "market/support/replica.h"
#include "require.h"
#include "session/log_rounds.h"
#include "session/table_dialogue.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace {

constexpr std::uint16_t code = 25;
constexpr std::uint32_t environment = 0x4F430000;
constexpr std::size_t most_rows = 100; // or stored messages: what one input may grow

class Market
{
public:
    Market()
    {
        for (int row = 0; row < 12; ++row) {
            cities().Insert(std::to_string(row));
        }
        m_store.Add(qm::Log::A, "20260115", 60, qm::Audience::All(), "111");
    }

    void step(unsigned kind, std::string_view bytes)
    {
        switch (kind % 6) {
        case 0:
            ask_for_log(bytes);
            break;
        case 1:
            m_rounds.Begin_Second();
            break;
        case 2:
            take_some(bytes.size());
            break;
        case 3:
            ask_for_table(bytes);
            break;
        case 4:
            change(bytes);
            break;
        default:
            if (m_store.size() < most_rows) {
                m_store.Add(qm::Log::P, bytes.substr(0, 8), 60, qm::Audience::All(), std::string(bytes));
            }
        }
    }

    void require_a_good_log()
    {
        ask_for_log({});
        take_some(m_store.size() + 2);
        require(m_rounds.Begin_Second());
        take_some(2);
        require(m_rounds.is_live());
    }
    void require_equal_tables()
    {
        Replica replica(code);
        replica.put(1, {{1, environment}, "left over"});
        std::deque<std::string> requests{replica.begin()};
        for (; !requests.empty(); requests.pop_front()) {
            for (const std::string& message : m_dialogue.On_Request(requests.front(), m_tables).messages) {
                for (std::string& answer : replica.take(message)) {
                    requests.push_back(std::move(answer));
                }
            }
        }
        require(replica.is_complete() && replica.hash() == cities().Hash());
    }

private:
    qm::Table& cities() { return *m_tables.Find(code); }

    void ask_for_log(std::string_view message)
    {
        const auto positions = qm::Take_Log_Request(message, "AB");
        require(positions.size() <= 3);
        m_rounds.Begin(positions, {.machine = "L001"}, "20260115", m_store.size());
    }
    void take_some(std::size_t most)
    {
        for (; most > 0; --most) {
            const auto item = m_rounds.Next(m_store);
            if (!item) {
                break;
            }
            require(item->message.size() >= 83);
        }
    }
    void ask_for_table(std::string_view message)
    {
        const std::size_t most = 2 * m_changed + cities().rows().size() + 1;
        const auto answer = m_dialogue.On_Request(message, m_tables);
        require(answer.messages.size() <= most);
        require(answer.messages.empty() || answer.note.empty());
        for (const std::string& each : answer.messages) {
            require(each.size() >= 22);
        }
    }

    // The first byte is the row, the second the letter.
    void change(std::string_view bytes)
    {
        if (bytes.size() < 2) {
            return;
        }
        const auto idx = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[0]));
        const std::string body(bytes.substr(2));
        ++m_changed;
        if (bytes[1] == qm::ROW_INSERTED && cities().rows().size() < most_rows) {
            m_dialogue.Wants_Change(code, qm::ROW_INSERTED, cities().Insert(body).idx);
        } else if (bytes[1] == qm::ROW_DELETED && cities().Delete(idx)) {
            m_dialogue.Wants_Change(code, qm::ROW_DELETED, idx);
        } else if (cities().Update(idx, body) != nullptr) {
            m_dialogue.Wants_Change(code, qm::ROW_UPDATED, idx);
        }
    }

    qm::MessageStore m_store;
    qm::LogRounds m_rounds{"DSAB"};
    qm::Tables m_tables = [] {
        qm::Tables tables;
        tables.Add(code, "CGTCity", environment);
        return tables;
    }();
    qm::TableDialogue m_dialogue;
    std::size_t m_changed = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Market market;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (rest.size() >= 3) {
        const auto byte = [&](std::size_t at) { return static_cast<unsigned>(static_cast<unsigned char>(rest[at])); };
        const unsigned kind = byte(0);
        const std::string_view bytes = rest.substr(3, byte(1) + 256 * byte(2));
        market.step(kind, bytes);
        rest.remove_prefix(3 + bytes.size());
    }
    market.require_equal_tables();
    market.require_a_good_log();
    return 0;
}
