#include "crash/market_stream.h"

#include "crash/row_text.h"
#include "scenario/record_builder.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace crash {

namespace {

// clang-format off
constexpr std::array kept_tables{
    KeptTable{22,    "qapi.branches",    "codigo_sucursal",                 8,  "direccion",            60},
    KeptTable{21,    "qapi.instit",      "codigo_unico",                    4,  "funcion",              16},
    KeptTable{25,    "qapi.city",        "codigo_3c",                       3,  "nombre[6]",            20},
    KeptTable{26,    "qapi.country",     "codigo",                          2,  "nombre[6]",            30},
    KeptTable{23,    "qapi.pryuser",     "codigo",                          4,  "codigo_sucursal",      8},
    KeptTable{28,    "qapi.money",       "codigo",                          3,  "nombre[6]",            20},
    KeptTable{54,    "qapi.insperm",     "codigo",                          5,  "direccion_swift",      60},
    KeptTable{30,    "qapi.supergrp",    "codigo",                          4,  "nombre",               240},
    KeptTable{31,    "qapi.voicegrp",    "codigo",                          4,  "nombre[1]",            40},
    KeptTable{35,    "qapi.emis",        "codigo_emisor",                   3,  "nombre",               30},
    KeptTable{66,    "qapi.comitent",    "codigo_comitente",                15, "nombre",               96},
    KeptTable{32026, "qapi.fiduciar",    "codigo_fiduciario",               3,  "nombre_fiduciario",    60},
    KeptTable{32053, "qapi.emp",         "codigo",                          4,  "nombre_completo",      40},
    KeptTable{32141, "qapi.subcomitent", "codigo_subcomitente_subcomitente", 15, "relleno_subcomitente", 30},
};
// clang-format on

constexpr std::size_t fewest_records = 2;
constexpr std::size_t most_records = 30;

void replace(std::string& text, const std::string& from, const std::string& to)
{
    text.replace(text.find(from), from.size(), to);
}

// In this environment voice groups are a primary table, and a user sees three markets: the table of orders is that of
// one of them.
std::string scenario()
{
    std::string text = SmallScenario();
    replace(text, R"("environment": "CO")", R"("environment": "MX")");
    replace(text, R"("orders_table": 71)", std::string(R"("orders_table": )") + MarketStream::orders_table);
    const std::string head = "\"tables\": [";
    text.insert(text.find(head) + head.size(), R"(
    {"name": "users", "records": [
      {"codigo": "U001", "codigo_sucursal": "NORTBOG1", "acceso_mercados_ver": {"hex": "AA", "times": 50}},
      {"codigo": "U002", "codigo_sucursal": "SURBMED1"}, {"codigo": "U003", "codigo_sucursal": "CORRBOG1"}]},
    {"name": "branches", "records": [
      {"codigo_sucursal": "NORTBOG1"}, {"codigo_sucursal": "SURBMED1"}, {"codigo_sucursal": "CORRBOG1"}]},
    {"name": "institutions", "records": [{"codigo_unico": "NORT"}, {"codigo_unico": "SURB"}, {"codigo_unico": "CORR"}]},
    {"name": "countries", "records": []}, {"name": "primary_users", "records": []},
    {"name": "permissions", "records": []}, {"name": "super_groups", "records": []},
    {"name": "voice_groups", "code": 31, "records": []}, {"name": "issuers", "records": []},
    {"name": "principals", "records": []}, {"name": "trusts", "records": []}, {"name": "employees", "records": []},
    {"name": "sub_principals", "records": []}, {"name": "currencies", "records": [{"codigo": "USD"}, {"codigo": "EUR"}]},)");
    return text;
}

const qm::Party maria{.machine = "L001", .user = "U001", .branch = "NORTBOG1"};
constexpr std::string_view about_her = "machine L001: ";

// Logs are named differently in requests, by which the store goes, and in messages.
std::string message_name(const qm::StoredMessage& message)
{
    const char type = message.log == qm::Log::P ? 'A' : message.log == qm::Log::A ? 'B' : 'C';
    return std::string(1, type) + ' ' + std::to_string(message.number) + ' ' + message.date;
}

std::string row_text(const qm::TableRow& row, std::size_t body_size)
{
    std::string body = row.body;
    body.resize(body_size); // a client completes it with zeros
    return Row_Text(row.crc32, row.environment, body);
}

} // namespace

std::span<const KeptTable> Kept_Tables()
{
    return kept_tables;
}

MarketStream::MarketStream(unsigned seed) : m_random(seed)
{
    qm::MarketOptions options;
    options.tell = [this](const std::string& line) {
        const std::lock_guard lock(m_lock);
        if (line.starts_with("login of maria")) {
            m_told.push_back(line);
        } else if (line.starts_with(about_her)) {
            m_told.push_back(line.substr(about_her.size()));
        }
    };
    m_market = std::make_unique<MarketThread>(scenario(), std::move(options));
    m_market->on_thread([this](qm::Market& market) {
        for (const KeptTable& table : kept_tables) {
            const qm::Table& its = *market.tables().Find(table.code);
            const auto record = qm::Make_Record(its.record_class());
            m_body_sizes[table.code] = static_cast<std::size_t>((*record)[DATA_INFO].m_len);
            for (const auto& [idx, row] : its.rows()) {
                m_contents[table.code].ever.insert(row_text(row, body_size(table.code)));
            }
        }
    });
    for (const KeptTable& table : kept_tables) {
        for (std::size_t i = 0; i < fewest_records; ++i) {
            insert(table, m_contents[table.code]);
        }
    }
}

bool MarketStream::has_clients()
{
    return m_market->command("clients") != "0 clients";
}

std::string MarketStream::command(const std::string& line)
{
    std::string said = m_market->command(line);
    if (said.starts_with("error")) {
        throw std::runtime_error("the market refuses \"" + line + "\": " + said);
    }
    return said;
}

// ---- What it says and changes ----------------------------------------------------------------------------------

void MarketStream::stream(int events)
{
    for (int event = 0; event < events; ++event) {
        if (any(2) == 0) {
            change(kept_tables.at(any(kept_tables.size())));
        } else if (any(3) == 0) {
            trade();
        } else {
            command("chat pedro " + std::string(any(4) == 0 ? "all " : "maria ") + any_text(300) + ".");
        }
    }
    note_messages();
}

std::string MarketStream::mark()
{
    command("chat pedro maria mark");
    note_messages();
    return m_messages.back();
}

// Two orders that meet: messages of all three logs.
void MarketStream::trade()
{
    const std::string number = std::to_string(m_orders = (m_orders + 1) % 100'000);
    command("order maria 71 bid 4012 10 M" + number);
    command("order pedro 71 offer 4012 10 P" + number);
}

std::string MarketStream::any_text(std::size_t longest)
{
    std::string text(any(static_cast<unsigned>(longest) + 1), ' ');
    std::generate(text.begin(), text.end(), [this] { return static_cast<char>('a' + any(26)); });
    return text;
}

// With a digit in front: two records under one key, of which a client keeps one, would be no table of a market, and
// those of the scenario begin with letters.
std::string MarketStream::any_key(const KeptTable& table, const Content& content)
{
    std::string key(table.key_width, ' ');
    do {
        std::generate(key.begin(), key.end(), [this] { return static_cast<char>('A' + any(26)); });
        key.front() = static_cast<char>('0' + any(10));
    } while (content.used.contains(key));
    return key;
}

void MarketStream::change(const KeptTable& table)
{
    Content& content = m_contents[table.code];
    const std::size_t count = content.keys.size();
    const unsigned choice = any(3);
    if (count <= fewest_records || (choice == 0 && count < most_records)) {
        insert(table, content);
        return;
    }
    const auto chosen = std::next(content.keys.begin(), any(static_cast<unsigned>(count)));
    if (choice == 1 || count >= most_records) {
        remove(table, content, chosen->first);
    } else {
        update(table, content, chosen->first);
    }
}

void MarketStream::insert(const KeptTable& table, Content& content)
{
    const std::string key = any_key(table, content);
    const std::string said = command("table " + std::to_string(table.code) + " insert {\"" + table.key + "\":\"" + key +
                                     "\",\"" + table.text + "\":\"" + any_text(table.text_width) + "\"}");
    const auto idx = static_cast<std::uint32_t>(std::stoul(said.substr(said.find(' ') + 1)));
    content.keys[idx] = key;
    content.used.insert(key);
    m_highest_idx = std::max(m_highest_idx, idx);
    note_row(table, content, idx);
}

void MarketStream::update(const KeptTable& table, Content& content, std::uint32_t idx)
{
    command("table " + std::to_string(table.code) + " update " + std::to_string(idx) + " {\"" + table.text + "\":\"" +
            any_text(table.text_width) + "\"}");
    note_row(table, content, idx);
}

void MarketStream::remove(const KeptTable& table, Content& content, std::uint32_t idx)
{
    command("table " + std::to_string(table.code) + " delete " + std::to_string(idx));
    content.used.erase(content.keys.at(idx));
    content.keys.erase(idx);
}

// ---- What it knows ---------------------------------------------------------------------------------------------

void MarketStream::note_row(const KeptTable& table, Content& content, std::uint32_t idx)
{
    m_market->on_thread([&](qm::Market& market) {
        content.ever.insert(row_text(market.tables().Find(table.code)->rows().at(idx), body_size(table.code)));
    });
}

void MarketStream::note_messages()
{
    m_market->on_thread([this](qm::Market& market) {
        for (; m_looked_at < market.store().size(); ++m_looked_at) {
            const qm::StoredMessage& message = market.store().at(m_looked_at);
            if (message.audience.has(maria)) {
                m_messages.push_back(message_name(message));
            }
        }
    });
}

std::vector<std::string> MarketStream::take_told()
{
    const std::lock_guard lock(m_lock);
    return std::exchange(m_told, {});
}

std::set<std::string> MarketStream::wanted(const std::vector<qm::LogPosition>& positions)
{
    std::set<std::string> names;
    m_market->on_thread([&](qm::Market& market) {
        const std::size_t count = market.store().size();
        for (std::size_t i = 0; i < count; ++i) {
            const qm::StoredMessage& message = market.store().at(i);
            if (message.audience.has(maria) &&
                qm::MessageStore::Is_Wanted(message, positions, market.store().at(count - 1).date)) {
                names.insert(message_name(message));
            }
        }
    });
    return names;
}

std::map<std::uint32_t, std::string> MarketStream::rows(std::uint16_t code)
{
    std::map<std::uint32_t, std::string> rows;
    m_market->on_thread([&](qm::Market& market) {
        for (const auto& [idx, row] : market.tables().Find(code)->rows()) {
            rows[idx] = row_text(row, body_size(code));
        }
    });
    return rows;
}

bool MarketStream::has_ever_had(std::uint16_t code, const std::string& row) const
{
    return m_contents.at(code).ever.contains(row);
}

} // namespace crash
