// One TCP connection as bytes: what comes is handed on, what goes is queued and sent as the peer takes it. The faults
// that a market can play on the level of bytes are here.
#pragma once

#include "net/event_loop.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace qm {

// A descriptor that is closed with its owner.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { Reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    void Reset(int number = -1); // closes what it has
    [[nodiscard]] int get() const { return m_number; }
    explicit operator bool() const { return m_number >= 0; }

private:
    int m_number;
};

// All its callbacks come from the loop, but that of Close, and the stream may be destroyed in any of them. Send,
// Send_Now and Close_After call none: a connection that ends in them says so from the loop's next round.
class Stream
{
public:
    struct Events
    {
        std::function<void(std::string_view bytes)> received;
        std::function<void(const std::string& why)> closed; // once

        // The queue has fallen below LOW_WATER after it had reached it; and, after a Send_Now that took less than it
        // was given, the queue is empty and the system takes more.
        std::function<void()> drained{};
    };

    static constexpr std::size_t LOW_WATER = 256 * 1024;   // bytes queued
    static constexpr std::size_t HIGH_WATER = 1024 * 1024; // a sender of much looks at queued() and waits for drained

    // Takes the connected descriptor, and makes it one that doesn't block.
    Stream(EventLoop& loop, int descriptor, Events events);
    ~Stream(); // closes without a word
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Queues, and sends what the system takes. The queue has no limit: whoever sends to a client that doesn't read
    // looks at queued().
    void Send(std::string_view bytes);
    [[nodiscard]] std::size_t queued() const { return m_out.size() - m_sent; }

    // For frames that were built once: sends from `bytes` as much as the system takes now, and gives how much that was:
    // nothing while something is queued or the stream is stalled.
    std::size_t Send_Now(std::string_view bytes);

    // ---- Faults

    // That many more bytes leave, what is queued among them, and when they have arrived the connection is reset; 0 does
    // it now, and drops also what the system has not sent yet.
    void Close_After(std::uint64_t bytes);
    void Stall(bool stalled); // neither reads nor writes while it is
    [[nodiscard]] bool is_stalled() const { return m_stalled; }

    void Close(const std::string& why); // calls closed; what is queued is dropped
    [[nodiscard]] bool is_closed() const { return !m_descriptor; }

    [[nodiscard]] std::uint64_t bytes_in() const { return m_bytes_in; }
    [[nodiscard]] std::uint64_t bytes_out() const { return m_bytes_out; }

private:
    // What a callback under way needs even when the stream is destroyed in it.
    struct Shared
    {
        Events events;
        bool is_there = true; // the stream
    };

    void Ready(std::uint32_t events);
    void Read_Some();
    void Write_Some();
    void Tell_Drained();
    void Watch_What_Matters();
    [[nodiscard]] std::uint32_t What_Matters() const;

    [[nodiscard]] bool Takes_Bytes() const;
    std::size_t Send_Out(std::string_view bytes);
    void Send_Failed(int error);
    void Queue(std::string_view bytes);
    void Drop_Queue();

    [[nodiscard]] bool Has_All_Arrived() const;
    void Reset_When_All_Arrived();
    void Reset();
    void Shut();

    EventLoop& m_loop;
    Descriptor m_descriptor;
    std::shared_ptr<Shared> m_shared;
    std::string m_out;
    std::size_t m_sent = 0; // bytes of m_out
    bool m_stalled = false;
    bool m_was_above = false;    // LOW_WATER
    bool m_was_short = false;    // Send_Now
    std::uint32_t m_watched = 0; // events
    std::uint64_t m_until_reset = std::numeric_limits<std::uint64_t>::max();
    Descriptor m_reset_timer;   // looks whether the last bytes have arrived
    std::string m_send_failure; // why nothing more can be sent
    std::uint64_t m_bytes_in = 0;
    std::uint64_t m_bytes_out = 0;
};

// Waits for connections on a port of this machine; 0 takes one that is free. Who can't be accepted for lack of
// descriptors is turned away.
class Listener
{
public:
    using Accepted = std::function<void(int descriptor, const std::string& peer)>;

    // On an IPv4 address. `accepted` takes the descriptor; the listener may be destroyed in it.
    Listener(EventLoop& loop, const std::string& address, std::uint16_t port, Accepted accepted); // std::system_error
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    struct Shared
    {
        Accepted accepted;
        bool is_there = true; // the listener
    };

    void Accept_All();
    bool Turn_One_Away();

    EventLoop& m_loop;
    Descriptor m_descriptor;
    Descriptor m_spare; // given up for the moment in which somebody is turned away
    std::uint16_t m_port = 0;
    std::shared_ptr<Shared> m_shared;
};

} // namespace qm
