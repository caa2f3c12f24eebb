// The lock that lets one callback run at a time. Beside a plain mutex it knows three things:
//
//  - its own thread: a report raised inside a callback reaches OnError on the same thread, so a thread that holds the
//    lock may take it again, and a thread that holds nothing may release without harm;
//  - its queue: threads get it in the order in which they asked. ProcessMyEvents opens it for an instant, and those
//    who wait must be served in that instant, which a plain mutex does not promise;
//  - parking: between two ProcessMyEvents the master thread holds it while it runs the host's own code. A process that
//    exits meanwhile must be able to open it, or the pending callbacks would keep the worker threads from ending.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace qapi {

class Master_Mutex
{
public:
    void Lock();
    void Unlock(); // nothing happens unless the calling thread holds it
    [[nodiscard]] bool Is_Mine();
    [[nodiscard]] bool Is_Free();
    [[nodiscard]] int Waiting(); // threads that asked and have not got it yet

    // Lets every thread that waits now have its turn, then parks the lock with the calling thread.
    void Let_Waiting_Threads_In();

    // What a thread held of the lock: how often it took it (0: not at all), and whether it parked it.
    struct Hold
    {
        int depth = 0;
        bool parked = false;
    };

    // Gives up all that the calling thread holds, to be taken back later.
    Hold Give_Up();
    void Take_Back(Hold hold);

    // Frees the lock, whoever holds it, a thread that has ended among them. For the end of the API object: the next one
    // starts with a free lock.
    void Free();

    // Between the two, a parked lock is open and nobody parks it again: a session stops, and the last callbacks of its
    // threads must get through. The process's exit begins and does not end it.
    void Begin_Open();
    void End_Open();

private:
    void wait_for_turn(std::unique_lock<std::mutex>& lock);
    void pass_on();
    void free_it();

    std::mutex m_guard; // held for moments only, never during a callback
    std::condition_variable m_turn;
    std::uint64_t m_next_ticket = 0;
    std::uint64_t m_now_serving = 0;
    std::thread::id m_owner;
    int m_depth = 0; // how often the owner took it; 0: free
    bool m_parked = false;
    int m_open = 0; // stretches of Begin_Open
};

} // namespace qapi

using qapi::Master_Mutex;
