// A host that writes down every callback as a line of text, and lets a test wait for one.
#pragma once

#include <qcapi/qcapi.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

class RecordingHost : public CQcApi
{
public:
    RecordingHost() = default;
    ~RecordingHost() override { Logout(); }

    int login(std::string user = "user", std::string password = "password")
    {
        return Login(user.data(), password.data());
    }
    int connect(std::string host, int port) { return Connect(host.data(), port, nullptr, 0); }
    int take(std::string name, unsigned number) { return TakeMessage(name.data(), number); }
    int finish(std::string name, unsigned number) { return FinishMessageProcess(name.data(), number); }

    int compose(std::string name) { return InitMessage(name.data()); }
    int set(std::string name, std::string field, std::string value)
    {
        return SetFieldBSTR(name.data(), field.data(), value.data()); // as long as the field, or longer
    }
    int set_number(std::string name, std::string field, long value)
    {
        return SetFieldLONG(name.data(), field.data(), value);
    }
    int address(std::string text) { return SendMessageTo(text.data()); }
    int send(std::string name) { return SendMessage(name.data()); }

    // Runs in each callback, on its thread, before the line is written down.
    std::function<void(const std::string& line)> in_callback;

    // True when such a line has come; waits for it, and gives up after a time that only a broken library needs.
    bool wait_for(const std::string& line);
    [[nodiscard]] bool has(const std::string& line) const;
    [[nodiscard]] int count(const std::string& line) const;
    [[nodiscard]] int count_of(const std::string& head) const; // lines that begin so
    [[nodiscard]] std::vector<std::string> lines() const;
    void forget_lines();

    void OnMessageReceived(char* message_type, unsigned int message_num) override;
    void OnConnection(int result_code) override;
    void OnDisconnection(int reason_code, const char* reason_text) override;
    void OnError(int error_code, char* error_text, int next_action_code, int next_action_data) override;
    void OnStatusChanged(int status_code, char* status_text) override;

private:
    void note(const std::string& line);

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
};
