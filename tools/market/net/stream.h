// One TCP connection as bytes: what comes is handed on, what goes is queued and sent as the peer takes it. The faults
// that a market can play on the level of bytes are here.
#pragma once

#include "net/event_loop.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>

namespace qm {

class Stream
{
public:
    struct Events
    {
        std::function<void(std::string_view bytes)> received;
        std::function<void(const std::string& why)> closed; // once; the stream may be destroyed in it
        std::function<void()> drained{};                    // the queue has fallen below LOW_WATER
    };

    static constexpr std::size_t LOW_WATER = 256 * 1024;   // bytes queued
    static constexpr std::size_t HIGH_WATER = 1024 * 1024; // a sender of much looks at queued() and waits for drained

    // Takes the connected descriptor.
    Stream(EventLoop& loop, int descriptor, Events events);
    ~Stream(); // closes without a word
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Queues, and sends what the system takes.
    void Send(std::string_view bytes);
    [[nodiscard]] std::size_t queued() const { return m_out.size() - m_sent; }

    // For frames that were built once: sends from `bytes` as much as the system takes now, and gives how much that was.
    // Nothing may be queued.
    std::size_t Send_Now(std::string_view bytes);

    // ---- Faults

    void Close_After(std::uint64_t bytes); // that many more leave, then the connection is reset; 0 does it now
    void Stall(bool stalled);              // neither reads nor writes while it is
    [[nodiscard]] bool is_stalled() const { return m_stalled; }

    void Close(const std::string& why); // calls closed

    [[nodiscard]] std::uint64_t bytes_in() const { return m_bytes_in; }
    [[nodiscard]] std::uint64_t bytes_out() const { return m_bytes_out; }

private:
    void Ready(std::uint32_t events);
    void Read_Some();
    void Write_Some();
    void Watch_What_Matters();

    EventLoop& m_loop;
    int m_descriptor;
    Events m_events;
    std::string m_out;
    std::size_t m_sent = 0; // bytes of m_out
    bool m_stalled = false;
    bool m_was_above = false; // LOW_WATER
    std::uint64_t m_until_reset = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t m_bytes_in = 0;
    std::uint64_t m_bytes_out = 0;
};

// Waits for connections on a port of this machine; 0 takes one that is free.
class Listener
{
public:
    using Accepted = std::function<void(int descriptor, const std::string& peer)>;

    Listener(EventLoop& loop, const std::string& address, std::uint16_t port, Accepted accepted); // std::system_error
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    EventLoop& m_loop;
    int m_descriptor = -1;
    std::uint16_t m_port = 0;
    Accepted m_accepted;
};

} // namespace qm
