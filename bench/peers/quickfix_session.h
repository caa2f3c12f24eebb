// The peer of a session: a QuickFIX initiator with its message store and log in files, whose callback reads five fields
// of every message. Whoever listens at the port speaks FIX 4.4 as SERVER to CLIENT.
#pragma once

#include <functional>
#include <memory>
#include <string>

class QuickfixSession
{
public:
    // `on_message` runs on the session's thread behind the reading of the five fields.
    QuickfixSession(const std::string& directory, int port, std::function<void()> on_message);
    ~QuickfixSession();
    QuickfixSession(const QuickfixSession&) = delete;
    QuickfixSession& operator=(const QuickfixSession&) = delete;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};
