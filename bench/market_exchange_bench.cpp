// How many orders a second an exchange takes, every second of them crossing one that rests, with all the messages and
// rows that follow. The peer copies the same bytes and does nothing else.
#include "exchange/exchange.h"
#include "ratio.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

using namespace qm;

namespace {

constexpr int market = 71;
constexpr std::int64_t price = 40'122'500;
constexpr int pairs = 50;      // of an order that rests and one that takes it, in a round
constexpr int standing = 1000; // orders on each side that are never reached
constexpr std::size_t users = 4;

// Keeps nothing, or what it was given, so that it can be copied.
class Drain : public ExchangeSink
{
public:
    void Say(Log /*log*/, std::uint16_t /*priority*/, const Audience& /*audience*/, std::string message) override
    {
        Keep(std::move(message));
    }
    std::uint32_t Insert_Row(std::uint16_t /*table*/, std::string body) override
    {
        Keep(std::move(body));
        return ++m_last_idx;
    }
    void Update_Row(std::uint16_t /*table*/, std::uint32_t /*idx*/, std::string body) override
    {
        Keep(std::move(body));
    }
    void Delete_Row(std::uint16_t /*table*/, std::uint32_t /*idx*/) override {}

    bool is_keeping = false;
    std::vector<std::string> kept{};

private:
    void Keep(std::string bytes)
    {
        benchmark::DoNotOptimize(bytes.data());
        if (is_keeping) {
            kept.push_back(std::move(bytes));
        }
    }

    std::uint32_t m_last_idx = 0;
};

struct ClientOrder
{
    Party sender{};
    std::string message{};
};

class Hall
{
public:
    Hall()
    {
        for (int i = 0; i < standing; ++i) {
            Take(Order(i, Side::bid, price - 100 * (i + 1), Code('D', i)));
            Take(Order(i, Side::offer, price + 100 * (i + 1), Code('O', i)));
        }
        for (int i = 0; i < pairs; ++i) {
            m_round.push_back(Order(i, i % 2 == 0 ? Side::bid : Side::offer, price, Code('A', i)));
            m_round.push_back(Order(i + 1, i % 2 == 0 ? Side::offer : Side::bid, price, Code('A', i)));
        }
    }

    void Take_Round()
    {
        for (const ClientOrder& order : m_round) {
            Take(order);
        }
    }

    // All that the market says in a round.
    std::vector<std::string> Said_In_A_Round()
    {
        m_drain.is_keeping = true;
        Take_Round();
        m_drain.is_keeping = false;
        return std::exchange(m_drain.kept, {});
    }

private:
    static std::string Code(char letter, int number) { return std::string(1, letter).append(std::to_string(number)); }

    ClientOrder Order(int user, Side side, std::int64_t at, const std::string& code)
    {
        const Party& sender = m_parties[static_cast<std::size_t>(user) % users];
        return {.sender = sender, .message = Exchange::Make_Order(sender, 1, market, side, at, 100, code, m_clock)};
    }

    void Take(const ClientOrder& order)
    {
        if (!m_exchange.Take(order.message, order.sender, m_audience).empty()) {
            std::abort();
        }
    }

    std::array<Party, users> m_parties = {{{.machine = "M001", .user = "U001", .branch = "BNK1CIT1"},
                                           {.machine = "M002", .user = "U002", .branch = "BNK2CIT1"},
                                           {.machine = "M003", .user = "U003", .branch = "BNK3CIT1"},
                                           {.machine = "M004", .user = "U004", .branch = "BNK4CIT1"}}};
    Audience m_audience{.institutions = {"BNK1", "BNK2"}};
    Clock m_clock;
    Drain m_drain;
    Exchange m_exchange{{{.number = market, .orders_table = 501, .currency = "USD"}}, m_clock, m_drain};
    std::vector<ClientOrder> m_round;
};

void ExchangeTakesOrders(benchmark::State& state)
{
    Hall hall;
    const std::vector<std::string> said = hall.Said_In_A_Round();
    std::array<char, 4096> copy{};
    std::vector<double> ours;
    std::vector<double> peers;
    for (auto unused : state) {
        static_cast<void>(unused);
        ours.push_back(nanoseconds_of([&] { hall.Take_Round(); }, 1));
        peers.push_back(nanoseconds_of(
            [&] {
                for (const std::string& bytes : said) {
                    std::memcpy(copy.data(), bytes.data(), bytes.size());
                    benchmark::DoNotOptimize(copy);
                }
            },
            1));
    }
    const double round = 2.0 * pairs;
    const double our_time = median(ours);
    const double peer_time = median(peers);
    state.counters["orders_per_second"] = round / our_time * 1e9;
    state.counters["copied_per_second"] = round / peer_time * 1e9;
    state.counters["copy_to_exchange"] = peer_time / our_time;
}

void BookMatchesOrders(benchmark::State& state)
{
    OrderBook book;
    std::uint64_t id = 0;
    for (int i = 1; i <= standing; ++i) {
        book.Place({.id = ++id, .side = Side::bid, .price = price - 100 * i, .amount = 100});
        book.Place({.id = ++id, .side = Side::offer, .price = price + 100 * i, .amount = 100});
    }
    for (auto unused : state) {
        static_cast<void>(unused);
        book.Place({.id = ++id, .side = Side::bid, .price = price, .amount = 100});
        benchmark::DoNotOptimize(book.Place({.id = ++id, .side = Side::offer, .price = price, .amount = 100}));
    }
    state.SetItemsProcessed(2 * state.iterations());
}

} // namespace

BENCHMARK(ExchangeTakesOrders)->Iterations(1001)->Unit(benchmark::kMillisecond);
BENCHMARK(BookMatchesOrders);
