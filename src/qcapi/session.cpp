#include "session.h"

#include "thrct.h"

#include <csignal>

Worker_Thread glb_thread_log{.name = "qapi-log"};
Worker_Thread glb_thread_read{.name = "qapi-reader"};
Worker_Thread glb_thread_send{.name = "qapi-sender"};
Worker_Thread glb_thread_dcon{.name = "qapi-connect"};

std::atomic<std::uint64_t> glb_master_thread{0};

std::atomic<int> Glb_Log_Flag{0};
std::atomic<unsigned> Glb_Proc_Flag{0};
unsigned glb_num_proc_msgs = 0;

ProcessLifetime<std::string> L_dir_name([] { return new std::string; });
ProcessLifetime<Master_Mutex> qapi::The_Master_Mutex([] { return new Master_Mutex; });
ProcessLifetime<std::mutex> qapi::The_Mailbox_Mutex([] { return new std::mutex; });

namespace {

thread_local Worker_Thread* this_worker = nullptr;

std::uint64_t this_thread_number()
{
    static std::atomic<std::uint64_t> last{0};
    static thread_local const std::uint64_t number = ++last;
    return number;
}

void* run_worker(void* worker)
{
    this_worker = static_cast<Worker_Thread*>(worker);
    pthread_setname_np(pthread_self(), this_worker->name);
    return this_worker->entry(this_worker->argument);
}

// Signals that the process gets from outside belong to the host's threads; faults stay with the thread that makes them.
class OutsideSignalsBlocked
{
public:
    OutsideSignalsBlocked()
    {
        sigset_t outside;
        sigfillset(&outside);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF}) {
            sigdelset(&outside, fault);
        }
        pthread_sigmask(SIG_SETMASK, &outside, &m_before);
    }
    ~OutsideSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    OutsideSignalsBlocked(const OutsideSignalsBlocked&) = delete;
    OutsideSignalsBlocked& operator=(const OutsideSignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

void start(Worker_Thread& worker, void* (*entry)(void*), void* argument)
{
    const OutsideSignalsBlocked inherited_by_the_worker;
    worker.entry = entry;
    worker.argument = argument;
    worker.result = pthread_create(&worker.id, nullptr, run_worker, &worker);
    worker.joinable = worker.result == 0;
}

} // namespace

void qapi::Start_Worker(Worker_Thread& worker, void* (*entry)(void*), void* argument)
{
    const unsigned started_before = THRCT_Get_Started_Threads();
    worker.counted = true;
    start(worker, entry, argument);
    if (worker.joinable) {
        THRCT_Wait_For_Another_Start(started_before);
    }
}

void qapi::Start_Uncounted_Worker(Worker_Thread& worker, void* (*entry)(void*), void* argument)
{
    worker.counted = false;
    start(worker, entry, argument);
}

void qapi::Join_Worker(Worker_Thread& worker)
{
    if (worker.joinable) {
        pthread_join(worker.id, nullptr);
        worker.joinable = false;
    }
}

Worker_Thread* qapi::This_Worker()
{
    return this_worker;
}

void qapi::Trace_Step(unsigned digit)
{
    Glb_Proc_Flag.store(Glb_Proc_Flag.load(std::memory_order_relaxed) * 16 + digit, std::memory_order_relaxed);
}

bool qapi::Is_Master_Thread()
{
    return this_thread_number() == glb_master_thread;
}

void qapi::Be_Master_Thread()
{
    glb_master_thread = this_thread_number();
}
