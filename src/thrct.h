// Counter of the library's running threads. Logout waits for it to reach 0, at most 35 seconds, and then ends the
// process by a deliberate crash: a host whose callback never returns must not go on half stopped.
#pragma once

inline constexpr int THRCT_WAIT_ROUNDS = 35; // of one second each

void THRCT_Init();
void THRCT_Increase_App_Thread_Counter();
void THRCT_Decrease_App_Thread_Counter();
int THRCT_Get_App_Thread_Counter();

// How many threads have ever counted themselves; and to wait until it is another number. Whoever starts a thread waits
// so, lest a stop right behind the start find the counter at 0 and not wait for that thread.
unsigned THRCT_Get_Started_Threads();
void THRCT_Wait_For_Another_Start(unsigned started_before);

namespace qapi {

// The stretch in which a thread counts as one of the library's.
class CountedThread
{
public:
    CountedThread() { THRCT_Increase_App_Thread_Counter(); }
    ~CountedThread() { THRCT_Decrease_App_Thread_Counter(); }
    CountedThread(const CountedThread&) = delete;
    CountedThread& operator=(const CountedThread&) = delete;
};

} // namespace qapi

using qapi::CountedThread;

// Reports "Waiting threads termination........", then waits. A round ends early when the counter reaches 0.
void THRCT_Wait_For_Threads_Termination();

// The same wait and the same end, without a word to the host.
void THRCT_Wait_Without_Notice();

// Writes through a null pointer. Does not return.
[[noreturn]] void THRCT_Force_Segmentation();

// Kept for symmetry with THRCT_Init; the mutex lives as long as the process, since threads may count down at any time.
void THRCT_End_Thread_Count_Mutex();
