// Several threads send at once: each message leaves whole, with the stamp that was made for it.
#include "arrm.h"
#include "outbound/addressing.h"
#include "outbound/composed.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "records/session.h"
#include "support/outbound_fixture.h"
#include "support/recording_host.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int many = 300;
#else
constexpr int many = 2000;
#endif

class SendingThreads : public OutboundTest
{
protected:
    SendingThreads() { CQcApi::initialize_flag = QAPI_INITIALIZED; } // the object has put it back
    ~SendingThreads() override { CQcApi::initialize_flag = QAPI_NOT_INITIALIZED; }

    // A host's thread: an order, filled with one letter, for an addressee of that letter; and a trade.
    void Send_Orders()
    {
        std::string order = "Orden_Transaccion";
        std::string trade = "Tarnel";
        std::string market = "mercado";
        for (int i = 0; i < many; ++i) {
            const char letter = static_cast<char>('a' + i % 26);
            host.InitMessage(order.data());
            std::memset(Glb_send_order_msg->m_data + 200, letter, 1304);
            host.SetFieldLONG(order.data(), market.data(), i % 1000);
            host.SendMessageTo(("XY"s + letter).data());
            host.SendMessage(order.data());
            host.SendMessage(trade.data());
        }
    }
    // The reader's: tables asked for, one record each, data managers that turn up.
    static void Ask_For_Tables()
    {
        CMsgTablesReq request;
        CGTHeader record;
        for (int i = 0; i < many; ++i) {
            Put(request);
            Put(record);
            Add_Data_Managers(("D" + std::to_string(100 + i % 50)).data(), 1);
            Choose_Server(static_cast<unsigned>(i % 2));
        }
    }

    RecordingHost host;
    ReportTexts heard;
};

unsigned number_at(const std::string& bytes, std::size_t at, std::size_t width)
{
    unsigned value = 0;
    for (std::size_t i = width; i-- > 0;) {
        value = value * 256 + static_cast<unsigned char>(bytes.at(at + i));
    }
    return value;
}

struct Parts
{
    std::string groups;
    std::string message;
};

// The parts of a record whose lengths agree; what doesn't is told.
Parts parts_of(const TakenRecord& record)
{
    const std::string& data = record.data;
    EXPECT_EQ(record.extra, "\5"s + std::string(19, '\0'));
    EXPECT_EQ(number_at(data, 2, 2), data.size());
    const std::size_t groups_len = number_at(data, 12, 2);
    EXPECT_EQ(number_at(data, 14 + groups_len, 2), data.size() - 16 - groups_len);
    EXPECT_EQ(data.substr(data.size() - 3), std::string(3, '\0'));
    return {data.substr(14, groups_len), data.substr(16 + groups_len, data.size() - 19 - groups_len)};
}

// What one group of primary users holds, in front of whatever follows it.
std::size_t users_len(const std::string& groups)
{
    return groups.starts_with("PU") ? 6 + number_at(groups, 2, 2) * 4 : 0;
}

void expect_whole_order(const Parts& order)
{
    const char letter = order.message.at(200);
    EXPECT_EQ(order.message.size(), 1504U);
    EXPECT_EQ(order.message.substr(200), std::string(1304, letter));
    EXPECT_EQ(order.groups.substr(users_len(order.groups)), "XY\1\0\1\0"s + letter);
}

// A message to the server is stamped with the server to which it is addressed.
void expect_whole_request(const Parts& request)
{
    EXPECT_EQ(request.groups.size(), 10U);
    EXPECT_EQ(request.message.substr(3, 80), Stamped(0, request.groups.substr(8, 2)));
}

TEST_F(SendingThreads, EachMessageLeavesWholeAndInItsOwnEnvelope)
{
    std::thread reader(Ask_For_Tables);
    Send_Orders();
    reader.join();
    int orders = 0;
    int requests = 0;
    int records = 0;
    unsigned last_number = 0;
    for (TakenRecord record = Sent(); record.status != -1; record = Sent()) {
        const Parts parts = parts_of(record);
        const std::string number = parts.message.substr(0, 3);
        if (number == "111") {
            expect_whole_order(parts);
            ++orders;
        } else if (number == "133") {
            EXPECT_EQ(users_len(parts.groups), parts.groups.size());
            EXPECT_EQ(number_at(parts.message, 3 + 10, 4), ++last_number);
        } else if (number == "213") {
            expect_whole_request(parts);
            ++requests;
        } else {
            EXPECT_EQ(parts.message, "888" + std::string(19, '\0'));
            ++records;
        }
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(orders, many);
    EXPECT_EQ(last_number, static_cast<unsigned>(many));
    EXPECT_EQ(requests, many);
    EXPECT_EQ(records, many);
}

TEST_F(SendingThreads, AddressesOfAnotherThreadAreTakenWhole)
{
    std::atomic<bool> done{false};
    std::thread adds([&done] {
        while (!done) {
            Add_Host_Address("XYsomebody");
        }
    });
    std::string order = "Orden_Transaccion";
    for (int i = 0; i < many; ++i) {
        host.SendMessage(order.data());
        const std::string groups = parts_of(Sent()).groups;
        EXPECT_EQ(groups.size() % 14, 0U);
        for (std::size_t at = 0; at < groups.size(); at += 14) {
            EXPECT_EQ(groups.substr(at, 14), "XY\1\0\10\0somebody"s);
        }
    }
    done = true;
    adds.join();
}

// A session that is closed and opened again meanwhile: no record of the old one behind the new one's login.
TEST_F(SendingThreads, ALoginIsTheFirstOfItsConnection)
{
    std::atomic<bool> done{false};
    std::thread sends([&] {
        CMsgTablesReq request;
        while (!done) {
            Put(request);
        }
    });
    CMsgLogin login;
    for (unsigned connection = 1; connection < 100; ++connection) {
        Close_Session();
        Open_Session(connection, &login);
    }
    done = true;
    sends.join();
    unsigned current = 5;
    for (TakenRecord record = Sent(); record.status != -1; record = Sent()) {
        const unsigned connection = number_at(record.extra, 0, 4);
        if (connection != current) {
            EXPECT_EQ(record.data.substr(26, 3), "201");
            EXPECT_EQ(connection, current == 5 && connection == 1 ? 1 : current + 1);
            current = connection;
        }
    }
    EXPECT_EQ(current, 99U);
}

TEST_F(SendingThreads, NameAndPasswordAreReadWholeAndTogether)
{
    Take_Credentials("bbbb", "bbbb");
    std::thread logs_in([] {
        for (int i = 0; i < many; ++i) {
            Take_Credentials(i % 2 == 0 ? "aaaaaaaaaa" : "bbbb", i % 2 == 0 ? "aaaaaaaaaaaaaaaa" : "bbbb");
        }
    });
    for (int i = 0; i < many; ++i) {
        const Credentials seen = Copy_Credentials();
        const bool old_ones = seen.user_name == "bbbb" && seen.password == "bbbb";
        const bool new_ones = seen.user_name == "aaaaaaaaaa" && seen.password == "aaaaaaaaaaaaaaaa";
        EXPECT_TRUE(old_ones || new_ones) << seen.user_name << " " << seen.password;
    }
    logs_in.join();
}

} // namespace
