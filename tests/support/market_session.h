// A host of the library and a market that plays its part, on a real connection.
#pragma once

#include "support/recording_host.h"
#include "support/session_fixture.h"
#include "support/session_peer.h"

#include <string>

class MarketSession : public SessionTest
{
protected:
    MarketSession();
    ~MarketSession() override;

    // Logs the host in with the usual configuration, the given lines behind it.
    void log_in(const std::string& more_lines = {});

    // To the steady state, and the host has heard of it.
    void bring_up();

    // The market reads to the end and leaves, so that the host needn't wait for it.
    int log_out();

    // The host has been told so often that it is connected.
    [[nodiscard]] bool connected(int times) { return hears_times("connection 0", times); }
    [[nodiscard]] bool hears_times(const std::string& line, int times);

    // Of the record that the host takes; "" if it has none.
    std::string field_of(const std::string& kind, unsigned number, std::string name);

    // The number in the host's last line "message KIND NUMBER"; waits for one behind the first `seen`.
    unsigned announced(const std::string& kind, int times = 1);

    SessionPeer peer;
    RecordingHost host;
};
