// A market: a data server of its own, on one thread of an EventLoop. It takes what a scenario says, serves any number
// of clients, runs an exchange between them, and plays faults on request.
//
//   net       bytes of a connection
//   wire      frames and envelopes in them
//   session   what one client says and is told
//   store     messages and tables that outlast a connection
//   exchange  orders and trades
//
// Whatever a client sends, the market lives on; what it does wrong ends its own connection at the most.
#pragma once

#include "exchange/exchange.h"
#include "feeds.h"
#include "journal.h"
#include "net/stream.h"
#include "scenario/scenario.h"
#include "session/client.h"
#include "store/message_store.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qm {

struct MarketOptions
{
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;                              // 0: one that is free
    std::filesystem::path store{};                       // of messages; empty: in memory
    bool quiet_feeds = false;                            // feeds wait until they are switched on
    std::size_t most_queued = 256U * 1024 * 1024;        // bytes for a client; one that reads more slowly is given up
    std::function<void(const std::string& line)> tell{}; // what happens, a line each, for the eye
};

class Market final : private ClientOwner, private ExchangeSink
{
public:
    Market(EventLoop& loop, Scenario scenario, MarketOptions options, Journal& journal);
    ~Market() override;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] const Exchange& exchange() const { return *m_exchange; }
    [[nodiscard]] const Scenario& scenario() const override { return m_scenario; }
    [[nodiscard]] const MessageStore& store() const override { return *m_store; }
    [[nodiscard]] const Tables& tables() const override { return *m_tables; }

    // A connected client, as the listener gives them; takes the descriptor.
    void Adopt(int descriptor, const std::string& peer);

    // A line as typed at the prompt (commands.h). Gives what it has to say, which may be several lines; one that can't
    // be done begins with "error: ".
    std::string Do(const std::string& line);
    [[nodiscard]] bool is_over() const { return m_over; } // "quit" was among them

private:
    friend class Commands;

    // ---- Coming and going of clients
    void On_Login(Client& client, std::string_view message) override;
    void On_Order(Client& client, std::string_view message, const Audience& audience) override;
    void On_Chat(Client& client, std::string_view message) override;
    void On_Closed(Client& client, const std::string& why) override;
    void On_Progress(Client& client, const std::string& text) override;
    [[nodiscard]] const Clock& clock() const override { return m_loop.clock(); }
    [[nodiscard]] Journal& journal() override { return m_journal; }
    [[nodiscard]] std::size_t most_queued() const override { return m_options.most_queued; }
    void Close_Stalled(const std::string& machine);
    void Collect();
    void Tick();

    // ---- What the exchange says
    void Say(Log log, std::uint16_t priority, const Audience& audience, std::string message) override;
    std::uint32_t Insert_Row(std::uint16_t table, std::string body) override;
    void Update_Row(std::uint16_t table, std::uint32_t idx, std::string body) override;
    void Delete_Row(std::uint16_t table, std::uint32_t idx) override;

    // ---- What a market is made of anew when it starts again
    void Start(std::unique_ptr<MessageStore> kept);
    void Restart(bool with_store);
    void Fill_Tables();
    void Bring_Back_Orders();

    [[nodiscard]] std::unique_ptr<MessageStore> Open_Store() const;
    std::string Take_Order(const Party& sender, std::string_view message, const Audience& audience);
    void Send_Chat(const Party& sender, std::string message, const Audience& audience);
    void Change_Row(char letter, std::uint16_t code, const TableRow& row);

    // The last ones are for commands. `name` is a machine, a client's number, or "all".
    std::string For_Each(const std::string& name, const std::function<void(Client&)>& action);
    std::string Change_Table(Table& table, const std::string& verb, std::uint32_t idx, const std::string& fields);
    [[nodiscard]] static std::string Body_Of_Fields(const Table& table, const TableRow* before,
                                                    const std::string& fields, std::string& complaint);
    [[nodiscard]] std::optional<Party> Party_Of_User(const std::string& code) const; // or name
    [[nodiscard]] bool Has_User_Name(const std::string& name) const;
    void Tell(const std::string& line) const;

    EventLoop& m_loop;
    Scenario m_scenario;
    MarketOptions m_options;
    Journal& m_journal;
    std::uint16_t m_port = 0;
    std::unique_ptr<MessageStore> m_store;
    std::unique_ptr<Tables> m_tables;
    std::unique_ptr<Exchange> m_exchange;
    std::unique_ptr<Feeds> m_feeds;
    std::unique_ptr<Listener> m_listener;
    std::map<std::uint64_t, std::unique_ptr<Client>> m_clients;
    std::uint64_t m_last_client = 0;
    std::map<std::string, char> m_overruled; // letters for logins, by user name
    EventLoop::Timer m_tick = 0;
    std::vector<EventLoop::Timer> m_events;
    bool m_is_silent = false; // while orders of before are brought back
    bool m_over = false;
};

} // namespace qm
