// What the sources of the API class share: the worker threads of a session and the words that several of them read.
#pragma once

#include "master_mutex.h"
#include "process_lifetime.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <pthread.h>
#include <string>

class CQcApi;
struct DCON_DESCR;

namespace qapi {

// One of the four threads of a session. Filled by the thread that starts the session, which also joins it.
struct Worker_Thread
{
    const char* name; // at most 15 characters, as the system's tools show it
    pthread_t id{};
    int result = 0;        // of the thread's creation
    bool joinable = false; // started and not joined yet; stays so after LogoutForce
    bool counted = false;  // by itself, in thrct
    void* (*entry)(void*) = nullptr;
    void* argument = nullptr;
};

// Returns when the thread runs and has counted itself.
void Start_Worker(Worker_Thread& worker, void* (*entry)(void*), void* argument);

// For one that doesn't count itself.
void Start_Uncounted_Worker(Worker_Thread& worker, void* (*entry)(void*), void* argument);
void Join_Worker(Worker_Thread& worker);

// The worker that the calling thread is, or null.
Worker_Thread* This_Worker();

// The API object, or null; written by its constructor and destructor.
CQcApi* Current_Api();
void Set_Current_Api(CQcApi* api);

// True on the thread that built the API object.
bool Is_Master_Thread();
void Be_Master_Thread();

// Behind CQcApi::master_mutex and CQcApi::mutex_lock: threads may outlive the object, so the locks outlive it too.
extern ProcessLifetime<Master_Mutex> The_Master_Mutex;
extern ProcessLifetime<std::mutex> The_Mailbox_Mutex;

// How many records of Glb_Recv_Mss the reader has acted on, but for those that it posts to itself. Counts over the life
// of the process. Any thread.
std::uint64_t Records_Acted_On();

// Adds a step to Glb_Proc_Flag. For the reader.
void Trace_Step(unsigned digit);

// Brings a connection descriptor to its state before any configuration: the rings, and no host.
void Prepare_Connection(DCON_DESCR& descr);

// Empties the inbound and outbound rings and clears the request to the connection thread, before threads start.
void Prepare_Rings();

} // namespace qapi

using qapi::Be_Master_Thread;
using qapi::Current_Api;
using qapi::Is_Master_Thread;
using qapi::Join_Worker;
using qapi::Prepare_Connection;
using qapi::Prepare_Rings;
using qapi::Set_Current_Api;
using qapi::Start_Worker;
using qapi::The_Mailbox_Mutex;
using qapi::The_Master_Mutex;
using qapi::This_Worker;
using qapi::Trace_Step;
using qapi::Worker_Thread;

extern Worker_Thread glb_thread_log;
extern Worker_Thread glb_thread_read;
extern Worker_Thread glb_thread_send;
extern Worker_Thread glb_thread_dcon;

// The thread that built the API object, by a number of its own: the system gives an ended thread's id to a new one.
extern std::atomic<std::uint64_t> glb_master_thread;

extern std::atomic<int> Glb_Log_Flag;       // 1 once the primary tables have arrived, until Logout
extern std::atomic<unsigned> Glb_Proc_Flag; // the reader's last eight steps, four bits each, for post-mortem reading
extern unsigned glb_num_proc_msgs;          // messages that the reader has taken

// The directory of the session, taken at Initialize.
extern ProcessLifetime<std::string> L_dir_name;
