// The request for stored messages in whole sessions: what a process before has left in its files is what the next one
// asks behind.
#include "support/market_session.h"

#include "qcapi/config.h"
#include "tblproc/tblproc.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

class LogRequestSession : public MarketSession
{
protected:
    static market::Order order_of(std::uint32_t number, const std::string& date)
    {
        market::Order order;
        order.cabeza.server_number = number;
        order.cabeza.date = date;
        return order;
    }
    static std::string today()
    {
        std::array<char, 10> date{};
        L_Get_Other_Date(0, date.data(), nullptr);
        return date.data();
    }

    // A process: the orders 5, 6 and 7 of each of the first two logs come, and all but 6 are finished.
    void leave_order_6_unfinished(const std::string& more_lines = {})
    {
        log_in(more_lines);
        bring_up();
        for (const char persistent : {'S', '\0'}) {
            for (const std::uint32_t number : {5U, 6U, 7U}) {
                market::Order order = order_of(number, today());
                order.cabeza.persistent = persistent;
                peer.send_order(order);
                const unsigned here = announced("Orden_Transaccion", ++m_orders);
                if (number != 6) {
                    EXPECT_EQ(host.finish("Orden_Transaccion", here), 0);
                }
            }
        }
        EXPECT_EQ(log_out(), 0);
        Forget_Tables();
    }

    // "P AB 6", without the date, of each entry of the next process's request.
    std::vector<std::string> next_request(const std::string& more_lines = {})
    {
        log_in(more_lines);
        peer.accept();
        peer.expect_login();
        peer.accept_login();
        peer.send_range();
        peer.serve_primary_tables();
        std::vector<std::string> entries;
        for (const market::LogRequest::Entry& each : peer.expect_log_request().entries) {
            entries.push_back(std::string(1, each.log) + " " + each.server + " " + std::to_string(each.last_message));
        }
        return entries;
    }

private:
    int m_orders = 0;
};

TEST_F(LogRequestSession, GoesOnBehindTheLastReceivedMessageOfOtherLogs)
{
    leave_order_6_unfinished();
    EXPECT_THAT(next_request("log_last_processed_message L\n"), ElementsAre("P AB 5", "A AB 7", "B AB 0"));
}

TEST_F(LogRequestSession, GoesOnBehindTheLastFinishedMessageIfAsked)
{
    leave_order_6_unfinished();
    EXPECT_THAT(next_request("log_last_processed_message F\n"), ElementsAre("P AB 5", "A AB 5", "B AB 0"));
}

TEST_F(LogRequestSession, BeginsAnewIfAsked)
{
    leave_order_6_unfinished();
    EXPECT_THAT(next_request("log_last_processed_message N\n"), ElementsAre("P AB 5", "A AB 0", "B AB 0"));
}

TEST_F(LogRequestSession, WithBackOfficeFeedNothingIsHeldUpAndPersistentMessagesComeFromTheFirst)
{
    leave_order_6_unfinished("tarnel_feed 1\n");
    EXPECT_THAT(next_request("tarnel_feed 1\nlog_last_processed_message F\n"),
                ElementsAre("P AB 0", "A AB 7", "B AB 0"));
}

TEST_F(LogRequestSession, TheUnfinishedMessageComesAgainAndTheOthersDoNot)
{
    leave_order_6_unfinished();
    log_in("log_last_processed_message F\n");
    for (const std::uint32_t number : {5U, 6U, 7U}) {
        peer.first_log.push_back(market::Make(order_of(number, today())));
    }
    bring_up();
    peer.send_chat({});
    announced("Chat");
    EXPECT_EQ(host.count_of("message Orden_Transaccion "), 7);
    EXPECT_EQ(log_out(), 0);
}

// ---- Servers that the market names during the session

TEST_F(LogRequestSession, AServerOfTheListGetsItsFilesAndItsEntries)
{
    log_in();
    peer.tables[8] = {{.idx = 1, .body = market::ServerListBody(5, {"DSAB", "DSCD"})}};
    bring_up();
    EXPECT_TRUE(scratch.has("qapi.CD02.log"));
    market::Order order = order_of(9, today());
    order.cabeza.server = "CD";
    peer.send_order(order);
    EXPECT_EQ(host.finish("Orden_Transaccion", announced("Orden_Transaccion")), 0);
    EXPECT_EQ(log_out(), 0);
    Forget_Tables();
    EXPECT_THAT(next_request("data_server DSCD\n"),
                ElementsAre("P AB 0", "P CD 0", "A AB 0", "A CD 9", "B AB 0", "B CD 0"));
}

TEST_F(LogRequestSession, AServerThatIsNoNameIsToldAndTheOthersGoOn)
{
    log_in();
    peer.tables[8] = {{.idx = 1, .body = market::ServerListBody(5, {"DS/B", std::string("DSC\0", 4), "DSEF"})}};
    bring_up();
    EXPECT_EQ(host.count_of("error 20 The code of a data server can't stand in a file name: 44 53 2F 42"), 1);
    EXPECT_EQ(host.count_of("error 20 The code of a data server can't stand in a file name: 44 53 43 00"), 1);
    EXPECT_TRUE(scratch.has("qapi.EF00.log"));
    EXPECT_EQ(glb_dss_counter, 2);
    peer.send_order(order_of(9, today()));
    announced("Orden_Transaccion");
    EXPECT_EQ(log_out(), 0);
}

} // namespace
