// A thread of which a test can tell that it has come to rest (in a lock, a semaphore, or by ending), so that "it waits
// for us" is seen and not guessed from the time.
#pragma once

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

class RestingThread
{
public:
    template <typename Work>
    explicit RestingThread(Work work)
        : m_thread([this, work = std::move(work)] {
              m_id = gettid();
              work();
              m_ended = true;
          })
    {
    }
    ~RestingThread() { Join(); }
    RestingThread(const RestingThread&) = delete;
    RestingThread& operator=(const RestingThread&) = delete;

    // Returns when the thread sleeps or has ended.
    void Wait_For_Rest() const
    {
        while (!m_ended && (m_id == 0 || State() != 'S')) {
            std::this_thread::yield();
        }
    }
    [[nodiscard]] bool Ended() const { return m_ended; }
    std::thread::native_handle_type Handle() { return m_thread.native_handle(); }
    void Join()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    // The letter behind the name in parentheses; 'X' when the thread is gone.
    [[nodiscard]] char State() const
    {
        std::ifstream file("/proc/self/task/" + std::to_string(m_id) + "/stat");
        const std::string line{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        const std::size_t name_end = line.rfind(')');
        return name_end == std::string::npos ? 'X' : line[name_end + 2];
    }

    std::atomic<pid_t> m_id{0};
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};
