// Random streams of orders from four clients over real connections: every trade reaches both its parties once,
// everybody sees the same trades, and what was placed is what was traded, withdrawn or is left.
#include "market/support/market_client.h"
#include "market/support/market_thread.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>

using namespace market;

namespace {

constexpr int orders_of_a_client = 150;

std::string FourUsers()
{
    std::string users;
    for (int i = 1; i <= 4; ++i) {
        const std::string digit = std::to_string(i);
        users += (i > 1 ? "," : "") + std::string(R"({"name":"user)") + digit + R"(","password":"secret","code":"U00)" +
                 digit + R"(","branch":"NORTBOG1","machine":"L00)" + digit + R"("})";
    }
    return R"({"server":"DSAB","data_managers":["DM01"],"environment":"CO","users":[)" + users +
           R"(],"markets":[{"number":71,"currency":"USD"}]})";
}

// What a client has heard: amounts that it traded by its own order's code, and the trades of all.
struct Heard
{
    std::map<std::string, long> traded{};
    std::set<std::string> transactions{};
    std::vector<std::string> ends{};
};

std::string number_at(const std::string& message, std::size_t offset, std::size_t width)
{
    return RecordReader(message, "a trade", message.size()).amount(offset, width);
}

class FourClients : public ::testing::TestWithParam<unsigned>
{
protected:
    FourClients() : random(GetParam())
    {
        for (int i = 1; i <= 4; ++i) {
            const std::string digit = std::to_string(i);
            clients.push_back(std::make_unique<MarketClient>(market.port(), "L00" + digit, "U00" + digit));
            clients.back()->bring_up("user" + digit);
        }
    }

    int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }

    // Everything that the market says to a client up to its answer to a last request.
    void hear(std::size_t client)
    {
        const std::string user = "U00" + std::to_string(client + 1);
        clients[client]->send_request('S', 39'999);
        for (std::string message = clients[client]->next(); NumberOf(message) != 888;
             message = clients[client]->next()) {
            take(heard[client], user, message);
        }
    }

    static void take(Heard& heard, const std::string& user, const std::string& message)
    {
        if (NumberOf(message) == 879) {
            heard.ends.push_back(message.substr(83));
        }
        if (NumberOf(message) != 112) {
            return;
        }
        // Both orders' codes: that of the order that rested, and that of the one that came.
        EXPECT_TRUE(heard.transactions.insert(message.substr(1361 + 43, 6)).second) << "a trade was told twice";
        const long amount = std::stol(number_at(message, 167 + 159, 13));
        for (const std::string& code : {message.substr(167 + 4, 10), message.substr(1361 + 62, 10)}) {
            if (code.starts_with(user)) {
                heard.traded[code] += amount;
            }
        }
    }

    MarketThread market{FourUsers()};
    std::mt19937 random;
    std::vector<std::unique_ptr<MarketClient>> clients;
    std::array<Heard, 4> heard;
    std::map<std::string, long> placed;
};

INSTANTIATE_TEST_SUITE_P(Seeds, FourClients, ::testing::Range(1U, 5U));

TEST_P(FourClients, LoseNoOrderAndTradeNoneTwice)
{
    for (int i = 0; i < orders_of_a_client; ++i) {
        for (std::size_t client = 0; client < 4; ++client) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "%06d", i);
            const long amount = 1 + pick(50);
            const std::string price = std::to_string(4000 + pick(10)) + ".0000";
            clients[client]->place(71, pick(2) == 0 ? 'D' : 'O', price, std::to_string(amount), code.data());
            placed["U00" + std::to_string(client + 1) + code.data()] = amount;
        }
    }
    std::size_t open = 0;
    for (std::size_t client = 0; client < 4; ++client) {
        hear(client); // all of its own orders have been taken then
    }
    for (std::size_t client = 0; client < 4; ++client) {
        hear(client); // what the others' orders did meanwhile
        EXPECT_EQ(heard[client].ends, heard[0].ends);
    }
    std::map<std::string, long> left;
    market.on_thread([&](qm::Market& its) {
        for (const auto& order : its.exchange().Open_Orders(71)) {
            left[order.code] = static_cast<long>(order.order.amount);
            ++open;
        }
    });
    for (const auto& [code, amount] : placed) {
        const Heard& its_user = heard[static_cast<std::size_t>(code[3] - '1')];
        const auto traded = its_user.traded.find(code);
        EXPECT_EQ(amount, (traded != its_user.traded.end() ? traded->second : 0) + left[code]) << code;
    }
    EXPECT_GT(heard[0].ends.size(), 50U); // they did meet
    EXPECT_GT(open, 0U);
}

} // namespace
