#include "support/recording_host.h"

#include <algorithm>
#include <chrono>

bool RecordingHost::wait_for(const std::string& line)
{
    std::unique_lock lock(m_lock);
    return m_changed.wait_for(lock, std::chrono::seconds(60),
                              [&] { return std::find(m_lines.begin(), m_lines.end(), line) != m_lines.end(); });
}

bool RecordingHost::has(const std::string& line) const
{
    return count(line) > 0;
}

int RecordingHost::count(const std::string& line) const
{
    const std::lock_guard lock(m_lock);
    return static_cast<int>(std::count(m_lines.begin(), m_lines.end(), line));
}

int RecordingHost::count_of(const std::string& head) const
{
    const std::lock_guard lock(m_lock);
    return static_cast<int>(
        std::count_if(m_lines.begin(), m_lines.end(), [&](const auto& line) { return line.starts_with(head); }));
}

std::vector<std::string> RecordingHost::lines() const
{
    const std::lock_guard lock(m_lock);
    return m_lines;
}

void RecordingHost::forget_lines()
{
    const std::lock_guard lock(m_lock);
    m_lines.clear();
}

void RecordingHost::OnMessageReceived(char* message_type, unsigned int message_num)
{
    note("message " + std::string(message_type) + " " + std::to_string(message_num));
}

void RecordingHost::OnConnection(int result_code)
{
    note("connection " + std::to_string(result_code));
}

void RecordingHost::OnDisconnection(int reason_code, const char* reason_text)
{
    note("disconnection " + std::to_string(reason_code) + " " + reason_text);
}

void RecordingHost::OnError(int error_code, char* error_text, int next_action_code, int next_action_data)
{
    note("error " + std::to_string(error_code) + " " + error_text + " / " + std::to_string(next_action_code) + " " +
         std::to_string(next_action_data));
}

void RecordingHost::OnStatusChanged(int status_code, char* status_text)
{
    note("status " + std::to_string(status_code) + " " + status_text);
}

void RecordingHost::note(const std::string& line)
{
    if (in_callback) {
        in_callback(line);
    }
    const std::lock_guard lock(m_lock);
    m_lines.push_back(line);
    m_changed.notify_all();
}
