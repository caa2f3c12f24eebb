#include "support/driver_fixture.h"

#include "qcapi/config.h"
#include "qcapi/support.h"
#include "transport/inbound_door.h"

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>

namespace {

constexpr auto a_minute = std::chrono::minutes(1);

void must_work(bool worked, const char* what)
{
    if (!worked) {
        throw std::runtime_error(std::string("a driver test can't ") + what);
    }
}

} // namespace

// Bound to the port and not listening: the system gives the port to nobody who doesn't ask for it by its number.
ReservedPort::ReservedPort() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int on = 1;
    setsockopt(m_socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t length = sizeof address;
    must_work(bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
                  getsockname(m_socket.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0,
              "reserve a port");
    m_number = ntohs(address.sin_port);
}

void ReservedPort::take()
{
    must_work(listen(m_socket.get(), 1) == 0, "take a port");
}

// ---- The threads ---------------------------------------------------------------------------------------------------

DriverThreads::DriverThreads()
{
    std::memcpy(Glb_Local_Machine, "ABCD", 4);
    Glb_Send_Mss->Initialize();
    Glb_Recv_Mss->Initialize();
    COMMON_Adjust_Time(0);
    descr->pRecv_Mss = &*Glb_Recv_Mss;
    descr->pSend_Mss = &*Glb_Send_Mss;
}

DriverThreads::~DriverThreads()
{
    Glb_connection_retry_wait = DCON_SLEEP_TIME;
    COMMON_Adjust_Time(0);
    std::memset(Glb_Local_Machine, 0, sizeof Glb_Local_Machine);
}

void DriverThreads::Add_Host(std::uint16_t port, const char* address)
{
    descr->number_of_hosts = m_hosts;
    descr->fhost[m_hosts] = inet_addr(address);
    descr->tcp_port[m_hosts] = port;
    ++m_hosts;
}

// The stop finds the sender by its flag, so that thread runs first.
void DriverThreads::Start()
{
    DCON_Clear_Request(*descr);
    m_sender = std::async(std::launch::async, DCON_Do_Send, descr.get());
    must_work(Becomes([this] { return descr->sender_running.load(); }), "start the sender");
    m_driver = std::async(std::launch::async, DCON_Init, descr.get());
}

bool DriverThreads::Have_Ended() const
{
    const auto has_ended = [](const std::future<void*>& thread) {
        return !thread.valid() || thread.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    };
    return has_ended(m_sender) && has_ended(m_driver);
}

void DriverThreads::Join()
{
    for (std::future<void*>* thread : {&m_driver, &m_sender}) {
        if (thread->valid()) {
            must_work(thread->wait_for(a_minute) == std::future_status::ready, "wait longer for its threads");
            thread->get();
        }
    }
}

void DriverThreads::Send_Of(unsigned connection, const std::string& message)
{
    const std::string envelope = MakeEnvelope(message);
    char extra[CMSS_EXTRA_LEN];
    Store_News(extra, {.connection = connection, .host = 0});
    Glb_Send_Mss->Collect(0, envelope.data(), static_cast<int>(envelope.size()), nullptr, extra);
}

TakenRecord DriverThreads::Next_Record()
{
    must_work(Becomes([] { return Is_Any_Record(); }), "wait longer for a record");
    return TakeRecord(*Glb_Recv_Mss);
}

TakenRecord DriverThreads::Expect_Status(int status)
{
    TakenRecord record = Next_Record();
    EXPECT_EQ(record.status, status) << record.data;
    return record;
}

TakenRecord DriverThreads::Skip_To(int status)
{
    TakenRecord record;
    do {
        record = Next_Record();
    } while (record.status != status);
    return record;
}

void DriverThreads::Expect_Message(const std::string& message)
{
    const TakenRecord record = Expect_Status(message_came);
    EXPECT_EQ(record.data, message + std::string(3, '\0'));
    EXPECT_EQ(record.source, Glb_DS_Id);
}

void Shrink_Send_Buffer(DCON_DESCR& descr)
{
    const TransportLock lock(descr.DCON_lock);
    const int least = 1;
    must_work(setsockopt(descr.DWsock.Get_Sockfd(), SOL_SOCKET, SO_SNDBUF, &least, sizeof least) == 0,
              "shrink a buffer");
}

// ---- The fixture ---------------------------------------------------------------------------------------------------

namespace {

std::int64_t (*manual_ticks)(int*) = nullptr;
std::int64_t (*manual_wall)() = nullptr;

constexpr std::int64_t far_above = 1'000'000'000;

} // namespace

// A test's clock starts where it likes: the ticks fall from far above, which makes a new count of them.
DriverTest::DriverTest()
{
    manual_ticks = time.calls.ticks;
    manual_wall = time.calls.wall_seconds;
    time.calls.ticks = [](int* per_second) { return manual_ticks(per_second) + tick_step; };
    time.calls.wall_seconds = [] { return manual_wall() + wall_step; };
    wall_step = 0;
    tick_step = far_above;
    COMMON_GetTime();
    tick_step = 0;
    COMMON_GetTime();
    descr->modesend = SENDPKTNORMAL; // frames can then be looked at one by one
}

DriverTest::~DriverTest()
{
    End();
}

void DriverTest::End()
{
    Request_Stop();
    peer.close();
    time.run_free();
    Join();
}

void DriverTest::Settle()
{
    time.settle();
    const TransportLock lock(descr->DCON_lock);
}

void DriverTest::Step(int seconds)
{
    for (int i = 0; i < seconds; ++i) {
        Settle();
        time.advance_seconds(1);
    }
    Settle();
}

void DriverTest::Connect()
{
    peer.listen();
    Add_Host(peer.port());
    Start();
    Take_Connection();
}

void DriverTest::Take_Connection()
{
    peer.accept();
    Expect_Status(opened);
    const TransportLock lock(
        descr->DCON_lock); // the driver holds it until its first check of the clock waits to be sent
}

// The peer has read everything, so its close is an end of the stream and no reset.
void DriverTest::Drop()
{
    Send("575 last");
    Expect_At_Peer("575 last");
    Settle();
    peer.close();
    Expect_Status(closed);
}

void DriverTest::Step_With_Live_Peer(int seconds)
{
    for (int i = 1; i <= seconds; ++i) {
        Step(1);
        if (i % 10 == 0) {
            peer.send_alive_signal();
        }
    }
    Settle();
}

int DriverTest::Seconds_Until_The_End(int most)
{
    for (int passed = 0; passed <= most; ++passed) {
        must_work(Becomes([this] { return Have_Ended() || time.parked() > 0; }), "wait longer for its threads");
        if (Have_Ended()) {
            return passed;
        }
        time.advance_seconds(1);
    }
    return -1;
}
