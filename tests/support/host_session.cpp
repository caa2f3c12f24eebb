#include "support/host_session.h"

#include "support/forget_configuration.h"
#include "transport/dcon.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::seconds patience{60}; // more than any but a broken library needs

} // namespace

HostSession::HostSession()
{
    Forget_Configuration();
    Glb_connection_retry_wait = 0; // a test needn't wait for the next attempt
    peer.listen();
    host.on_connected = [this] { note("connected"); };
    host.on_refused = [this](char letter) { note(std::string("refused ") + letter); };
    host.on_disconnected = [this](const std::string& /*reason*/) { note("disconnected"); };
    host.on_error = [this](int code, const std::string& text, int next_action) {
        note("error " + std::to_string(code) + " " + text + " / " + std::to_string(next_action));
    };
    host.on_status = [this](int code, const std::string& text) {
        {
            const std::lock_guard acting(m_acting);
            if (m_on_status) {
                m_on_status(code);
            }
        }
        note("status " + std::to_string(code) + " " + text);
    };
    host.on_message = [this](quentar::Message message) {
        const std::lock_guard lock(m_lock);
        m_messages.push_back(std::move(message));
        m_changed.notify_all();
    };
}

// The market leaves first, so that the end waits for nobody.
HostSession::~HostSession()
{
    peer.close();
    peer.stop_listening();
    host.logout();
    Glb_connection_retry_wait = DEFAULT_CONNECTION_RETRY_WAIT;
    Forget_Configuration();
}

void HostSession::log_in(const std::string& more_lines)
{
    scratch.write("qapi.cfg",
                  "data_server = DSAB\nds_ip_address = 127.0.0.1\nds_tcp_port = " + std::to_string(peer.port()) +
                      "\nsend_mode = 1\nlocal_code = L001\nuser_code = U001\nbranch_code = BRANCH01\n"
                      "transaction_feed = 1\n" +
                      more_lines);
    ASSERT_EQ(host.login("maria", "Secret-1"), quentar::Result::ok);
}

void HostSession::bring_up()
{
    log_in();
    peer.bring_up();
    ASSERT_TRUE(hears("connected"));
}

void HostSession::lose_connection()
{
    const int before = count("disconnected");
    peer.close();
    ASSERT_TRUE(hears("disconnected", before + 1));
}

quentar::Result HostSession::log_out()
{
    std::thread market([this] {
        peer.receive_until_closed();
        peer.close();
    });
    const quentar::Result result = host.logout();
    market.join();
    return result;
}

quentar::Message HostSession::next_message()
{
    std::unique_lock lock(m_lock);
    if (!m_changed.wait_for(lock, patience, [this] { return !m_messages.empty(); })) {
        throw std::runtime_error("no message came");
    }
    quentar::Message message = std::move(m_messages.front());
    m_messages.pop_front();
    return message;
}

quentar::Message HostSession::order(const market::Order& order)
{
    peer.send_order(order);
    return next_message();
}

quentar::Message HostSession::chat(const std::string& text)
{
    market::Chat chat;
    chat.chat.text = text;
    peer.send_chat(chat);
    return next_message();
}

bool HostSession::hears(const std::string& line, int times)
{
    std::unique_lock lock(m_lock);
    return m_changed.wait_for(lock, patience,
                              [&] { return std::count(m_lines.begin(), m_lines.end(), line) >= times; });
}

int HostSession::count(const std::string& line)
{
    const std::lock_guard lock(m_lock);
    return static_cast<int>(std::count(m_lines.begin(), m_lines.end(), line));
}

int HostSession::count_of(const std::string& head)
{
    const std::lock_guard lock(m_lock);
    return static_cast<int>(
        std::count_if(m_lines.begin(), m_lines.end(), [&](const auto& line) { return line.starts_with(head); }));
}

void HostSession::on_status(std::function<void(int code)> act)
{
    const std::lock_guard acting(m_acting);
    m_on_status = std::move(act);
}

void HostSession::note(const std::string& line)
{
    const std::lock_guard lock(m_lock);
    m_lines.push_back(line);
    m_changed.notify_all();
}
