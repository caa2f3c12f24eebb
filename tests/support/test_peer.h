// The market's end of a connection, on a real socket of 127.0.0.1, step by step from the test's own thread. Whatever
// can't be done, or does not happen within a minute, throws std::runtime_error, which fails the test; no sound library
// comes near that minute.
//
// Not reading is simply not asking for anything: what the library sends then stays in the system's buffers.
#pragma once

#include "support/wire_codec.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A descriptor that is closed with its owner.
class OwnedDescriptor
{
public:
    OwnedDescriptor() = default;
    explicit OwnedDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~OwnedDescriptor() { Reset(); }
    OwnedDescriptor(OwnedDescriptor&& other) noexcept;
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept;

    [[nodiscard]] int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }
    void Reset();

private:
    int m_descriptor = -1;
};

// How the far end's clock stands: so many seconds ahead of the clock of the seam, and what it stamps behind the
// seconds.
struct FarClock
{
    std::int64_t ahead_seconds = 0;
    std::uint32_t fraction = 0;
    std::uint32_t units = 100;
};

class TestPeer
{
public:
    // ---- Coming and going

    // On the given port, or on one that is free; what listened before does so no more. The port stays known.
    void listen(std::uint16_t at_port = 0);
    void stop_listening() { m_listener.Reset(); }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    // Waits for a connection, which takes the place of the one before.
    void accept();
    [[nodiscard]] bool is_awaited() const; // somebody waits to be accepted
    [[nodiscard]] int accepted_count() const { return m_accepted; }

    // The other way round: tries until the port listens.
    void connect_to(std::uint16_t far_port);
    [[nodiscard]] std::uint16_t own_port() const; // of the connection, at this end

    void half_close(); // the far end reads to the end, this one goes on reading
    void close() { m_connection.Reset(); }
    void reset(); // the far end's reads and writes fail

    // Buffers as small as the system has them, for this object's connections from now on.
    void small_buffers();

    // ---- Sending

    void send(std::string_view bytes);

    // Each piece a write of its own, and the rest, if there is one, the last. `between` is called behind each piece.
    void send_split(std::string_view bytes, const std::vector<std::size_t>& pieces,
                    const std::function<void()>& between = {});
    void send_frame(std::string_view mark, std::string_view payload) { send(MakeFrame(mark, payload)); }
    void send_alive_signal() { send(AliveFrame()); }
    void send_envelope(const std::string& envelope) { send(encoder.Encode(envelope).bytes()); }
    void send_message(std::string_view message) { send_envelope(MakeEnvelope(message)); }

    // ---- Receiving

    // The next frame as it is. The decoder doesn't see it.
    WireFrame receive_frame();

    // The next message. Alive signals and clock checks are passed over and counted, and the checks answered.
    WireEnvelope receive_message();

    // The same, of what is there already; none if that is no message. What has begun to arrive is waited for.
    std::optional<WireEnvelope> receive_message_if_any();

    // All bytes up to the end of the connection, those ahead of it that no frame was made of included.
    std::string receive_until_closed();
    [[nodiscard]] bool was_reset() const { return m_was_reset; } // that is how it ended

    [[nodiscard]] bool has_unread() const; // bytes or an end, here or in the system's buffers

    [[nodiscard]] int alive_signals() const { return m_alive_signals; }
    [[nodiscard]] int clock_checks() const { return m_clock_checks; }

    // Both ends of the codec, new with each connection.
    int send_mode = 1; // of the next connections
    WireEncoder encoder;
    WireDecoder decoder;

    FarClock far_clock;

private:
    void Begin(OwnedDescriptor connection);
    bool Read_More(); // false at the end
    std::optional<WireEnvelope> Message_In(const WireFrame& frame);
    void Answer_Clock_Check(WireEnvelope check);
    [[nodiscard]] int Connection() const;

    OwnedDescriptor m_listener;
    OwnedDescriptor m_connection;
    FrameReader m_frames;
    std::uint16_t m_port = 0;
    bool m_small_buffers = false;
    bool m_was_reset = false;
    int m_accepted = 0;
    int m_alive_signals = 0;
    int m_clock_checks = 0;
};

// A port at which a connect neither succeeds nor fails: it listens, and has no room for one more.
class FullBacklog
{
public:
    FullBacklog();
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    // Takes who waits, so that a connect that is under way succeeds when the system repeats it, within a second or two.
    void make_room();

private:
    OwnedDescriptor m_listener;
    OwnedDescriptor m_waiting; // fills the backlog
    std::uint16_t m_port = 0;
};
