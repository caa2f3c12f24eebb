#include "market/support/recording_sink.h"

void RecordingSink::Say(qm::Log log, std::uint16_t priority, const qm::Audience& audience, std::string message)
{
    events.push_back("say " + message.substr(0, 3));
    said.push_back({.log = log, .priority = priority, .audience = audience, .message = std::move(message)});
}

std::uint32_t RecordingSink::Insert_Row(std::uint16_t table, std::string body)
{
    const std::uint32_t idx = ++m_last_idx;
    events.push_back("I " + std::to_string(idx));
    last_rows[idx] = rows[idx] = {.table = table, .body = std::move(body)};
    return idx;
}

void RecordingSink::Update_Row(std::uint16_t table, std::uint32_t idx, std::string body)
{
    events.push_back("A " + std::to_string(idx));
    if (!rows.contains(idx) || rows[idx].table != table) {
        complaints.push_back("no row to update: " + std::to_string(idx));
        return;
    }
    last_rows[idx] = rows[idx] = {.table = table, .body = std::move(body)};
}

void RecordingSink::Delete_Row(std::uint16_t table, std::uint32_t idx)
{
    events.push_back("B " + std::to_string(idx));
    if (!rows.contains(idx) || rows[idx].table != table) {
        complaints.push_back("no row to delete: " + std::to_string(idx));
        return;
    }
    rows.erase(idx);
}

std::vector<RecordingSink::Said> RecordingSink::With_Number(const std::string& three_digits) const
{
    std::vector<Said> found;
    for (const Said& one : said) {
        if (one.message.substr(0, 3) == three_digits) {
            found.push_back(one);
        }
    }
    return found;
}

void RecordingSink::Forget()
{
    said.clear();
    events.clear();
}
