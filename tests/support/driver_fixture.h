// The connection thread and the sender thread on a descriptor of the test's own, with the process's rings, and the
// verbs of the tests that drive them.
#pragma once

#include "arrm.h"
#include "support/manual_time.h"
#include "support/taken_record.h"
#include "support/test_peer.h"
#include "transport/dcon.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

// Sanitizers make everything slow; what only repeats is repeated less under them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#elif defined(__has_feature)
inline constexpr bool sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool sanitized = false;
#endif

// Statuses by the names that the tests use.
inline constexpr int cant_connect = 7;
inline constexpr int closed = 20;
inline constexpr int opened = 21;
inline constexpr int message_came = 22;
inline constexpr int stopped = 27;

// A port that refuses connects and that nobody else is given, while this lives. Whoever shares it (as the library and
// TestPeer do) may listen there.
class ReservedPort
{
public:
    ReservedPort();
    [[nodiscard]] std::uint16_t number() const { return m_number; }
    void take(); // listens, so that nobody else can
    void release() { m_socket.Reset(); }

private:
    OwnedDescriptor m_socket;
    std::uint16_t m_number = 0;
};

class DriverThreads
{
public:
    DriverThreads();
    ~DriverThreads(); // End or Join come first
    DriverThreads(const DriverThreads&) = delete;
    DriverThreads& operator=(const DriverThreads&) = delete;

    void Add_Host(std::uint16_t port, const char* address = "127.0.0.1");
    void Listen_At(std::uint16_t port) { descr->tcp_port[0] = port; }

    void Start();
    void Request_Stop() const { DCON_Request(*descr, DCON_NEXT_STATE_TERMINATE); }
    void Request_Restart() const { DCON_Request(*descr, DCON_NEXT_STATE_RESTART); }
    [[nodiscard]] bool Have_Ended() const;
    void Join(); // throws when they haven't ended after a minute

    // Into the outbound ring, in an envelope.
    static void Send(const std::string& message) { Send_Of(0, message); }
    static void Send_Of(unsigned connection, const std::string& message); // of the session over that connection

    // From the inbound ring. Waits; a minute without one throws.
    static TakenRecord Next_Record();
    static TakenRecord Expect_Status(int status); // the next one is of this status
    static TakenRecord Skip_To(int status);
    static bool Is_Any_Record() { return Glb_Recv_Mss->Is_Any_Pkt() != 0; }
    static void Expect_Message(const std::string& message); // the next one is this message

    const std::unique_ptr<DCON_DESCR> descr = std::make_unique<DCON_DESCR>();

private:
    unsigned m_hosts = 0;
    std::future<void*> m_sender;
    std::future<void*> m_driver;
};

// The descriptor's socket is the driver's; here it gets the smallest buffer for sending.
void Shrink_Send_Buffer(DCON_DESCR& descr);

// Looks until it holds, a minute at most; true if it did.
template <typename Condition> bool Becomes(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// With time in the test's hand, and one peer.
class DriverTest : public testing::Test, public DriverThreads
{
protected:
    DriverTest();
    ~DriverTest() override;

    // Stops the threads. A fixture whose members they use calls it in its destructor: a port that they still connect
    // to must not become another program's.
    void End();

    // The driver connects to the peer; both ends stand.
    void Connect();
    void Take_Connection();
    void Drop(); // the peer reads what there is and leaves; the driver tells it

    // Whoever sends notes the time behind it, still under the lock, so that is waited for.
    void Settle();
    void Step(int seconds);
    void Step_With_Live_Peer(int seconds); // it sends an alive signal every ten seconds

    // Second by second until the threads have ended; how many it took, or -1 if `most` were not enough.
    int Seconds_Until_The_End(int most);

    // The peer's next message; a clock check ahead of it is answered.
    void Expect_At_Peer(const std::string& message) { EXPECT_EQ(peer.receive_message().message, message); }

    [[nodiscard]] unsigned Connections() const { return descr->DWsock.Connection_Number(); }

    inline static std::atomic<std::int64_t> wall_step{0}; // seconds by which somebody set the system's clock
    inline static std::atomic<std::int64_t> tick_step{0};

    ManualTime time;
    TestPeer peer;
};
