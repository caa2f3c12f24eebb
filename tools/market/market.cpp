#include "market.h"

#include "commands.h"
#include "exchange/open_orders.h"
#include "message_numbers.h"
#include "scenario/record_builder.h"
#include "session/chat.h"
#include "session/header.h"
#include "session/login.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace qm {

namespace {

constexpr Clock::Time tick = std::chrono::seconds(1);
constexpr std::uint32_t idx_of_a_client = 100'000; // record numbers that each client gets
constexpr std::size_t longest_chat = 3823;
constexpr std::uint16_t of_data_managers = 1;
constexpr std::uint16_t of_data_servers = 5;

// The machine of the feeds' users: nobody logs in from it, so what is for it alone isn't kept.
constexpr const char* feed_machine = "FEED";
const Party the_market{.machine = "MRKT", .user = {}, .branch = {}};

// A client's text on one line, and nothing that a terminal obeys.
std::string on_one_line(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, '?');
    return text;
}

bool is_for_feeds_alone(const Audience& audience)
{
    static const Audience feeds{.machines = {feed_machine}};
    return audience == feeds;
}

} // namespace

Market::Market(EventLoop& loop, Scenario scenario, MarketOptions options, Journal& journal)
    : m_loop(loop), m_scenario(std::move(scenario)), m_options(std::move(options)), m_journal(journal),
      m_port(m_options.port)
{
    Start(Open_Store());
    Tick();
    for (const Event& event : m_scenario.events) {
        m_events.push_back(m_loop.After(event.at, [this, &event] {
            Tell("> " + event.command);
            Tell(Do(event.command));
        }));
    }
}

Market::~Market()
{
    m_loop.Cancel(m_tick);
    for (const EventLoop::Timer event : m_events) {
        m_loop.Cancel(event);
    }
    m_clients.clear();
}

std::string Market::Do(const std::string& line)
{
    return Commands(*this).Do(line);
}

void Market::Tell(const std::string& line) const
{
    if (m_options.tell && !line.empty()) {
        m_options.tell(line);
    }
}

// ---- Starting --------------------------------------------------------------------------------------------------

std::unique_ptr<MessageStore> Market::Open_Store() const
{
    return m_options.store.empty() ? std::make_unique<MessageStore>() : std::make_unique<MessageStore>(m_options.store);
}

void Market::Start(std::unique_ptr<MessageStore> kept)
{
    m_store = std::move(kept);
    m_tables = std::make_unique<Tables>();
    m_exchange = std::make_unique<Exchange>(m_scenario.markets, clock(), static_cast<ExchangeSink&>(*this));
    Fill_Tables();
    Bring_Back_Orders();
    m_feeds = std::make_unique<Feeds>(
        m_loop, m_scenario.feeds,
        [this](const std::string& user) {
            Party party = Party_Of_User(user).value_or(Party{.user = user});
            party.machine = feed_machine;
            return party;
        },
        [this](const Party& sender, const std::string& order) { return Take_Order(sender, order, {}).empty(); });
    if (!m_options.quiet_feeds) {
        m_feeds->Switch(0, true);
    }
    m_listener =
        std::make_unique<Listener>(m_loop, m_options.address, m_port,
                                   [this](int descriptor, const std::string& peer) { Adopt(descriptor, peer); });
    m_port = m_listener->port();
}

void Market::Restart(bool with_store)
{
    m_journal.Event(0, "restart", with_store ? "with its store" : "empty");
    m_listener.reset();
    m_feeds.reset();
    for (const auto& [id, client] : m_clients) {
        m_journal.Event(id, "closed", "restart");
    }
    m_clients.clear();
    std::unique_ptr<MessageStore> kept = std::move(m_store);
    if (!with_store) {
        kept.reset();
        if (!m_options.store.empty()) {
            std::filesystem::remove(m_options.store);
        }
        kept = Open_Store();
    } else if (!m_options.store.empty()) {
        kept.reset(); // the file is closed before it is read
        kept = Open_Store();
    }
    Start(std::move(kept));
}

void Market::Fill_Tables()
{
    const std::uint32_t environment = m_scenario.environment_word();
    Table& servers = m_tables->Add(SERVERS_TABLE, {}, environment);
    for (const auto& [type, codes] :
         {std::pair(of_data_managers, m_scenario.data_managers), std::pair(of_data_servers, m_scenario.data_servers)}) {
        for (std::string& body : Server_List_Bodies(type, codes)) {
            servers.Insert(std::move(body));
        }
    }
    for (const ScenarioTable& described : m_scenario.tables) {
        Table& table = m_tables->Add(described.code, described.record_class, environment);
        m_journal.Name_Table(described.code, described.record_class);
        for (const std::string& body : described.bodies) {
            table.Insert(body);
        }
    }
    for (const MarketDescription& market : m_scenario.markets) {
        m_tables->Add(market.orders_table, "CGTOrder", environment);
        m_journal.Name_Table(market.orders_table, "CGTOrder");
    }
}

// Their rows and places in the books, but not a word of them to anybody: it has been said.
void Market::Bring_Back_Orders()
{
    m_exchange->Count_Trades_From(Last_Trade_Number(*m_store));
    m_is_silent = true;
    const std::vector<OrderLeftOpen> orders = Orders_Left_Open(*m_store);
    for (const OrderLeftOpen& order : orders) {
        m_exchange->Take(order.message, order.sender, {});
    }
    m_is_silent = false;
    if (!orders.empty()) {
        // Behind the port, which a script takes from the first line.
        m_loop.Post([tell = m_options.tell, count = orders.size()] {
            if (tell) {
                tell(std::to_string(count) + (count == 1 ? " open order" : " open orders") + " brought back");
            }
        });
    }
}

// ---- Clients ---------------------------------------------------------------------------------------------------

void Market::Adopt(int descriptor, const std::string& peer)
{
    const std::uint64_t id = ++m_last_client;
    m_clients[id] = std::make_unique<Client>(m_loop, descriptor, id, peer, static_cast<ClientOwner&>(*this));
    m_journal.Event(id, "connected", peer);
}

void Market::On_Login(Client& client, std::string_view message)
{
    const LoginRequest request = Take_Login(message);
    const auto is_in_use = [&](const std::string& machine) {
        return std::any_of(m_clients.begin(), m_clients.end(), [&](const auto& other) {
            return other.second->is_logged_in() && !other.second->stream().is_stalled() &&
                   other.second->party().machine == machine;
        });
    };
    const Judgement judgement = Judge_Login(request, m_scenario, m_overruled, is_in_use);
    if (judgement.letter != 'S') {
        Tell(on_one_line("login of " + request.user_name + " from machine " + request.machine + " refused with " +
                         judgement.letter));
        client.Refuse(judgement.letter, judgement.party);
        return;
    }
    Tell("login of " + request.user_name + " from machine " + request.machine);
    Close_Stalled(request.machine);
    client.Accept(judgement.party);
    const auto low = static_cast<std::uint32_t>(client.id() % 10'000) * idx_of_a_client;
    client.Send_Message(Range_Message(low, low + idx_of_a_client - 1, m_scenario.environment));
}

// A host takes a connection that stalls for lost some time, and comes back.
void Market::Close_Stalled(const std::string& machine)
{
    for (const auto& [id, client] : m_clients) {
        if (client->is_logged_in() && client->party().machine == machine) {
            client->Close("stalled, and its machine logs in anew");
        }
    }
}

void Market::On_Order(Client& client, std::string_view message, const Audience& audience)
{
    const Party sender = client.party();
    std::string order(message);
    Stamp_Sender(order, sender);
    const std::string refusal = Take_Order(sender, order, audience);
    if (refusal.empty()) {
        return;
    }
    m_journal.Event(client.id(), "refused", refusal);
    Tell("order of " + sender.user + " refused: " + refusal);
    // For this moment alone: it bears no number and isn't stored, so nobody fills the store with bad orders.
    std::string answer =
        Make_Chat(the_market, sender.user, "Order refused: " + refusal, clock().date(), clock().hour());
    Stamp_Header(answer, the_market, m_scenario.server, clock().date(), clock().hour());
    client.Send_Message(answer);
}

std::string Market::Take_Order(const Party& sender, std::string_view message, const Audience& audience)
{
    return m_exchange->Take(message, sender, audience);
}

void Market::On_Chat(Client& client, std::string_view message)
{
    std::string chat(message.substr(0, longest_chat));
    Stamp_Chat_Sender(chat, client.party());
    Tell("chat of " + on_one_line(Text_Of_Chat(chat)));
    Send_Chat(client.party(), std::move(chat), Audience_Of_Chat(message, client.party()));
}

void Market::Send_Chat(const Party& sender, std::string message, const Audience& audience)
{
    Stamp_Header(message, sender, m_scenario.server, clock().date(), clock().hour());
    Say(Log::A, PRIORITY_OF_MESSAGES, audience, std::move(message));
}

void Market::On_Closed(Client& client, const std::string& why)
{
    m_journal.Event(client.id(), "closed", why);
    Tell((client.party().machine.empty() ? client.peer() : "machine " + client.party().machine) + ": " + why);
    m_loop.Post([this] { Collect(); });
}

void Market::On_Progress(Client& client, const std::string& text)
{
    Tell(on_one_line("machine " + client.party().machine + ": " + text));
}

void Market::Collect()
{
    std::erase_if(m_clients, [](const auto& client) { return client.second->is_closed(); });
}

void Market::Tick()
{
    m_tick = m_loop.After(tick, [this] { Tick(); });
    for (const auto& [id, client] : m_clients) {
        client->Tick();
    }
    m_journal.Flush();
}

// ---- What the exchange says ------------------------------------------------------------------------------------

void Market::Say(Log log, std::uint16_t priority, const Audience& audience, std::string message)
{
    if (m_is_silent || is_for_feeds_alone(audience)) {
        return;
    }
    const std::string date = clock().date();
    Stamp_Server(message, m_scenario.server, date, clock().hour());
    const bool was_sound = m_store->complaint().empty();
    m_store->Add(log, date, priority, audience, std::move(message));
    if (was_sound && !m_store->complaint().empty()) {
        Tell("messages are no longer stored: " + m_store->complaint());
        m_journal.Event(0, "store", m_store->complaint());
    }
    for (const auto& [id, client] : m_clients) {
        client->Look_At_Store();
    }
}

std::uint32_t Market::Insert_Row(std::uint16_t table, std::string body)
{
    const TableRow& row = m_tables->Find(table)->Insert(std::move(body));
    Change_Row(ROW_INSERTED, table, row);
    return row.idx;
}

void Market::Update_Row(std::uint16_t table, std::uint32_t idx, std::string body)
{
    if (const TableRow* row = m_tables->Find(table)->Update(idx, std::move(body))) {
        Change_Row(ROW_UPDATED, table, *row);
    }
}

void Market::Delete_Row(std::uint16_t table, std::uint32_t idx)
{
    if (m_tables->Find(table)->Delete(idx)) {
        Change_Row(ROW_DELETED, table, {.idx = idx, .environment = m_scenario.environment_word()});
    }
}

void Market::Change_Row(char letter, std::uint16_t code, const TableRow& row)
{
    for (const auto& [id, client] : m_clients) {
        client->Table_Changed(letter, code, row);
    }
}

// ---- For commands ----------------------------------------------------------------------------------------------

std::string Market::For_Each(const std::string& name, const std::function<void(Client&)>& action)
{
    std::size_t count = 0;
    for (const auto& [id, client] : m_clients) {
        if (!client->is_closed() && (name == "all" || name == std::to_string(id) || name == client->party().machine)) {
            action(*client);
            ++count;
        }
    }
    return count > 0 ? std::to_string(count) + (count == 1 ? " client" : " clients") : "error: no client " + name;
}

std::string Market::Change_Table(Table& table, const std::string& verb, std::uint32_t idx, const std::string& fields)
{
    if (verb == "delete") {
        if (!table.Delete(idx)) {
            return "error: no record " + std::to_string(idx);
        }
        Change_Row(ROW_DELETED, table.code(), {.idx = idx, .environment = m_scenario.environment_word()});
        return "deleted";
    }
    const auto found = table.rows().find(idx);
    if (verb == "update" && found == table.rows().end()) {
        return "error: no record " + std::to_string(idx);
    }
    std::string complaint;
    std::string body = Body_Of_Fields(table, verb == "update" ? &found->second : nullptr, fields, complaint);
    if (!complaint.empty()) {
        return "error: " + complaint;
    }
    const TableRow& row = verb == "update" ? *table.Update(idx, std::move(body)) : table.Insert(std::move(body));
    Change_Row(verb == "update" ? ROW_UPDATED : ROW_INSERTED, table.code(), row);
    return "record " + std::to_string(row.idx);
}

std::string Market::Body_Of_Fields(const Table& table, const TableRow* before, const std::string& fields,
                                   std::string& complaint)
{
    const std::unique_ptr<CMessage> record = Make_Record(table.record_class());
    const auto values = nlohmann::json::parse(fields, nullptr, false);
    if (record == nullptr || !values.is_object()) {
        complaint = record == nullptr ? "this table's records have no named fields" : "expected {\"field\":value, ...}";
        return {};
    }
    if (before != nullptr) {
        const std::string message = Table_Message(ROW_UPDATED, table.code(), *before);
        record->Update_Message_Info(std::span(message.data(), message.size()));
    }
    for (const auto& [name, value] : values.items()) {
        if (std::string wrong = Set_Field(*record, name, value); !wrong.empty()) {
            complaint.append(name).append(": ").append(wrong);
            return {};
        }
    }
    return Body_Of(*record);
}

std::optional<Party> Market::Party_Of_User(const std::string& code) const
{
    const auto found = std::find_if(m_scenario.users.begin(), m_scenario.users.end(),
                                    [&](const User& user) { return user.code == code || user.name == code; });
    if (found == m_scenario.users.end()) {
        return {};
    }
    Party party{.machine = found->machine, .user = found->code, .branch = found->branch};
    if (party.machine.empty()) { // any
        const auto client = std::find_if(m_clients.begin(), m_clients.end(), [&](const auto& item) {
            return item.second->is_logged_in() && item.second->party().user == party.user;
        });
        party.machine = client != m_clients.end() ? client->second->party().machine : std::string();
    }
    return party;
}

bool Market::Has_User_Name(const std::string& name) const
{
    return std::any_of(m_scenario.users.begin(), m_scenario.users.end(),
                       [&](const User& user) { return user.name == name; });
}

} // namespace qm
