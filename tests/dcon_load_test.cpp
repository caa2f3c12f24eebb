// Many connections, and all threads at once.
#include "support/driver_fixture.h"
#include "transport/inbound_door.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int many_connections = sanitized ? 200 : 1000;
constexpr int drops = sanitized ? 60 : 200;

std::ptrdiff_t entries_of(const char* directory)
{
    return std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator());
}

// With the real clock, and no wait between attempts.
class DriverLoadTest : public testing::Test, public DriverThreads
{
protected:
    DriverLoadTest()
    {
        Glb_connection_retry_wait = 0;
        peer.listen();
        Add_Host(peer.port());
    }
    ~DriverLoadTest() override { End(); }

    void End()
    {
        Request_Stop();
        peer.close();
        while (!Have_Ended()) {
            if (peer.is_awaited()) {
                peer.accept();
                peer.close();
            }
            std::this_thread::yield();
        }
        Join();
    }

    TestPeer peer;
};

TEST_F(DriverLoadTest, ManyConnectionsLeaveNothingBehind)
{
    const int inbound_slots = Glb_Recv_Mss->Get_Total_Num_Records(); // of earlier tests
    const int outbound_slots = Glb_Send_Mss->Get_Total_Num_Records();
    Start();
    std::ptrdiff_t descriptors = 0;
    std::ptrdiff_t threads = 0;
    for (int i = 0; i < many_connections; ++i) {
        peer.accept();
        Skip_To(opened);
        while (Glb_Send_Mss->Get_Total_Pending() != 0) { // a ring grows as long as the sender gets no turn
            std::this_thread::yield();
        }
        if (i == 10) {
            descriptors = entries_of("/proc/self/fd");
            threads = entries_of("/proc/self/task");
        }
        if (i == many_connections - 1) {
            EXPECT_LT(entries_of("/proc/self/fd"), descriptors + 5); // the fixture's own come as they are needed
            EXPECT_EQ(entries_of("/proc/self/task"), threads);
        }
        peer.close();
        Skip_To(closed);
    }
    EXPECT_LE(Glb_Recv_Mss->Get_Total_Num_Records(), std::max(inbound_slots, 96));
    EXPECT_LE(Glb_Send_Mss->Get_Total_Num_Records(), std::max(outbound_slots, 96));
}

// "575 SENDER NUMBER FILLING", whose filling and length follow from the number.
std::string numbered(const std::string& sender, int number)
{
    const auto length = static_cast<std::size_t>(number * 37 % 2900);
    return "575 " + sender + " " + std::to_string(number) + " " +
           std::string(length, static_cast<char>('a' + number % 26));
}

struct Numbered
{
    std::string sender;
    int number = -1;
};

Numbered taken_apart(const std::string& message)
{
    const std::size_t number_at = message.find(' ', 4) + 1;
    return {message.substr(4, number_at - 5), std::stoi(message.substr(number_at))};
}

class DriverUnderLoadTest : public DriverLoadTest, public testing::WithParamInterface<int>
{
protected:
    DriverUnderLoadTest() { descr->modesend = GetParam(); }

    // Numbers without end. A ring that is well filled is left to empty.
    void Produce(const std::string& name)
    {
        for (int number = 0; !m_enough; ++number) {
            Send(numbered(name, number));
            while (Glb_Send_Mss->Get_Total_Pending() > 100 && !m_enough) {
                std::this_thread::yield();
            }
        }
    }
    // As the reader of a session does. The peer's numbers begin at 0 with each connection and lack none.
    void Read()
    {
        int next = 0;
        for (TakenRecord record = Next_Record(); record.status != stopped; record = Next_Record()) {
            if (record.status == opened) {
                next = 0;
            } else if (record.status == closed) {
                Glb_Send_Mss->Initialize_Keeping(stopped);
            } else if (record.status == message_came) {
                record.data.resize(record.data.find('\0')); // an encrypted frame brings some zeros more
                ASSERT_EQ(record.data, numbered("peer", next));
                ++next;
                ++m_read;
            }
        }
    }
    // One connection: some messages each way, and an end at a random point. Numbers are left out: what is queued
    // while no connection stands is dropped, and what the reader throws away may be queued for the next one already.
    void Serve_Once()
    {
        peer.send_mode = static_cast<int>(m_random() % 4);
        peer.accept();
        std::vector<int> latest(2, -1);
        const unsigned rounds = static_cast<unsigned>(m_random() % 20);
        for (unsigned i = 0; i < rounds; ++i) {
            const std::string message = peer.receive_message().message;
            const Numbered taken = taken_apart(message);
            ASSERT_EQ(message, numbered(taken.sender, taken.number));
            int& before = latest.at(taken.sender == "left" ? 0 : 1);
            ASSERT_GT(taken.number, before);
            before = taken.number;
            peer.send_message(numbered("peer", static_cast<int>(i)));
        }
        Leave();
    }
    void Leave()
    {
        switch (m_random() % 4) {
        case 0:
            peer.reset();
            break;
        case 1:
            peer.half_close();
            peer.receive_until_closed();
            peer.close();
            break;
        case 2:
            Request_Restart();
            peer.receive_until_closed();
            peer.close();
            break;
        default:
            peer.close();
            break;
        }
    }

    std::atomic<bool> m_enough{false};
    std::atomic<int> m_read{0};
    std::minstd_rand m_random{static_cast<unsigned>(GetParam() + 1)};
};

INSTANTIATE_TEST_SUITE_P(Modes, DriverUnderLoadTest, testing::Values(0, 1, 2, 3));

TEST_P(DriverUnderLoadTest, WhatArrivesIsWholeAndInOrderWithinItsConnection)
{
    Start();
    std::thread reader([this] { Read(); });
    std::thread left([this] { Produce("left"); });
    std::thread right([this] { Produce("right"); });
    for (int i = 0; i < drops && !HasFatalFailure(); ++i) {
        Serve_Once();
    }
    m_enough = true;
    left.join();
    right.join();
    End();
    reader.join();
    EXPECT_GT(m_read, 0);
}

} // namespace
