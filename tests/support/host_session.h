// A host with the conveniences of qcapi/host.h and a market that plays its part, on a real connection. What the host
// hears is written down as lines; its messages are kept as handles.
#pragma once

#include <qcapi/host.h>

#include "support/session_fixture.h"
#include "support/session_peer.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

class HostSession : public SessionTest
{
protected:
    HostSession();
    ~HostSession() override;

    void log_in(const std::string& more_lines = {});
    void bring_up(); // log in, and to the steady state

    // The market closes, and the host has heard of it.
    void lose_connection();

    // The market reads to the end and leaves, so that the host needn't wait for it.
    quentar::Result log_out();

    // The next message of those that came; waits for it.
    quentar::Message next_message();

    // What the market sends, as the host got it.
    quentar::Message order(const market::Order& order);
    quentar::Message chat(const std::string& text);

    // Waits for a line, as often as told.
    [[nodiscard]] bool hears(const std::string& line, int times = 1);
    [[nodiscard]] int count(const std::string& line);
    [[nodiscard]] int count_of(const std::string& head); // lines that begin so

    // Runs on each change of the status, from now on; none ends that. The host's own functions stay as they are.
    void on_status(std::function<void(int code)> act);

    SessionPeer peer;
    quentar::Host host;

private:
    void note(const std::string& line);

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
    std::deque<quentar::Message> m_messages;
    std::mutex m_acting; // while the status function runs or changes
    std::function<void(int code)> m_on_status;
};
