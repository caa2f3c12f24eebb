#include "store/tables.h"

#include "little_endian.h"
#include "qcapi/support.h"
#include "records/all_records.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>
#include <utility>

namespace qm {

namespace {

constexpr char end_of_table = 'z';
constexpr char in_list = 'H';
constexpr char last_in_list = 'L';

constexpr std::size_t header_len = 22;
constexpr std::size_t triple_len = 12;    // idx, CRC, environment
constexpr std::size_t most_triples = 233; // that fit a message
constexpr std::size_t asked_len = 8;      // CRC, environment

std::string header(char letter, std::uint16_t code)
{
    std::string message = "888";
    message.resize(header_len);
    message[3] = letter;
    store_le(message.data() + 4, code);
    return message;
}

using Triple = std::array<char, triple_len>;

Triple triple_of(const TableRow& row)
{
    Triple triple{};
    store_le(triple.data(), row.idx);
    store_le(triple.data() + 4, row.crc32);
    store_le(triple.data() + 8, row.environment);
    return triple;
}

const FieldPlace* counting_bytes(const std::string& record_class)
{
    if (record_class.empty()) {
        return nullptr;
    }
    constexpr int table_record = 1;
    const auto classes = All_Record_Classes();
    const auto found = std::find_if(classes.begin(), classes.end(),
                                    [&](const RecordClass& each) { return each.name == record_class; });
    if (found == classes.end() || found->layout().Message_Type() != table_record) {
        throw std::runtime_error("\"" + record_class + "\" is no class of table records");
    }
    return found->layout().Crc32_Field();
}

} // namespace

std::string Table_Message(char letter, std::uint16_t code, const TableRow& row)
{
    std::string message = header(letter, code);
    store_le(message.data() + 10, row.idx);
    store_le(message.data() + 14, row.crc32);
    store_le(message.data() + 18, row.environment);
    if (letter != ROW_DELETED) {
        message += row.body;
    }
    return message;
}

std::string End_Of_Table(std::uint16_t code)
{
    return header(end_of_table, code);
}

// ---- Rows ----------------------------------------------------------------------------------------------------------

Table::Table(std::uint16_t code, std::string record_class, std::uint32_t environment)
    : m_code(code), m_record_class(std::move(record_class)), m_environment(environment),
      m_counting(counting_bytes(m_record_class))
{
}

// A client completes a body that is shorter than its class with zeros.
std::uint32_t Table::Crc_Of(const std::string& body) const
{
    if (m_counting == nullptr) {
        return COMMON_Get_Crc32(body.data(), static_cast<int>(body.size()), 0);
    }
    const std::size_t at = static_cast<std::size_t>(m_counting->displacement) - header_len;
    std::string bytes = body.substr(std::min(at, body.size()));
    bytes.resize(static_cast<std::size_t>(m_counting->len));
    return COMMON_Get_Crc32(bytes.data(), m_counting->len, 0);
}

void Table::Give_Identity(TableRow& row)
{
    row.environment = m_environment;
    row.crc32 = Crc_Of(row.body);
    while (!m_idx_of_crc.emplace(row.crc32, row.idx).second) {
        ++row.crc32;
    }
}

const TableRow& Table::Insert(std::string body)
{
    do {
        ++m_last_idx;
    } while (m_last_idx == 0 || m_rows.contains(m_last_idx));
    TableRow& row = m_rows[m_last_idx];
    row.idx = m_last_idx;
    row.body = std::move(body);
    Give_Identity(row);
    return row;
}

const TableRow* Table::Update(std::uint32_t idx, std::string body)
{
    const auto found = m_rows.find(idx);
    if (found == m_rows.end()) {
        return nullptr;
    }
    TableRow& row = found->second;
    m_idx_of_crc.erase(row.crc32);
    row.body = std::move(body);
    Give_Identity(row);
    return &row;
}

bool Table::Delete(std::uint32_t idx)
{
    const auto found = m_rows.find(idx);
    if (found == m_rows.end()) {
        return false;
    }
    m_idx_of_crc.erase(found->second.crc32);
    m_rows.erase(found);
    return true;
}

// ---- The dialogue --------------------------------------------------------------------------------------------------

std::uint32_t Table::Hash() const
{
    std::uint32_t hash = 0xFFFFFFFF;
    for (const auto& [idx, row] : m_rows) {
        const Triple triple = triple_of(row);
        hash = COMMON_Get_Crc32(triple.data(), static_cast<int>(triple.size()), hash);
    }
    return hash;
}

std::vector<std::string> Table::List() const
{
    std::vector<std::string> messages;
    auto row = m_rows.begin();
    for (std::size_t left = m_rows.size(); left > 0 || messages.empty();) {
        const std::size_t count = std::min(left, most_triples);
        left -= count;
        std::string& message = messages.emplace_back(header(left > 0 ? in_list : last_in_list, m_code));
        store_le(message.data() + 6, static_cast<std::uint16_t>(count));
        for (std::size_t each = 0; each < count; ++each, ++row) {
            const Triple triple = triple_of(row->second);
            message.append(triple.data(), triple.size());
        }
    }
    return messages;
}

std::vector<std::string> Table::Answer_Query(std::uint32_t hash) const
{
    return Is_Equal(hash) ? std::vector{End_Of_Table(m_code)} : List();
}

std::vector<std::string> Table::Answer_Asks(std::string_view asked) const
{
    std::set<std::uint32_t> wanted;
    for (; asked.size() >= asked_len; asked.remove_prefix(asked_len)) {
        const auto found = m_idx_of_crc.find(load_le<std::uint32_t>(asked.data()));
        if (found != m_idx_of_crc.end() && load_le<std::uint32_t>(asked.data() + 4) == m_environment) {
            wanted.insert(found->second);
        }
    }
    std::vector<std::string> messages;
    messages.reserve(wanted.size() + 1);
    for (const std::uint32_t idx : wanted) {
        messages.push_back(Table_Message(ROW_INSERTED, m_code, m_rows.at(idx)));
    }
    messages.push_back(End_Of_Table(m_code));
    return messages;
}

std::vector<std::string> Table::Whole() const
{
    std::vector<std::string> messages;
    for (const auto& [idx, row] : m_rows) {
        messages.push_back(Table_Message(ROW_INSERTED, m_code, row));
    }
    messages.push_back(End_Of_Table(m_code));
    return messages;
}

// ---- All of them ---------------------------------------------------------------------------------------------------

Table& Tables::Add(std::uint16_t code, std::string record_class, std::uint32_t environment)
{
    if (m_tables.contains(code)) {
        throw std::runtime_error("there are two tables of code " + std::to_string(code));
    }
    return m_tables.emplace(code, Table(code, std::move(record_class), environment)).first->second;
}

Table* Tables::Find(std::uint16_t code)
{
    const auto found = m_tables.find(code);
    return found != m_tables.end() ? &found->second : nullptr;
}

const Table* Tables::Find(std::uint16_t code) const
{
    const auto found = m_tables.find(code);
    return found != m_tables.end() ? &found->second : nullptr;
}

} // namespace qm
