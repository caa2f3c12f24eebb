// From the host's first call to four running threads, and back to a stopped state.
//
// initialize_flag is the whole lifecycle: 0, then 1 by Login or 2 by Connect, back to 0 by Logout or LogoutForce. After
// LogoutForce the threads end by themselves; whoever comes next (Login, Connect, Logout, the destructor) joins them
// first, so that no thread of an old session meets the rings of a new one.
#include "qcapi.h"

#include "arrm.h"
#include "config.h"
#include "lifecycle_gate.h"
#include "log.h"
#include "outbound/send_queue.h"
#include "prefix.h"
#include "reader/conditions.h"
#include "replay/replay.h"
#include "session.h"
#include "support.h"
#include "thrct.h"
#include "transport/dcon.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

std::atomic<int> CQcApi::initialize_flag{QAPI_NOT_INITIALIZED};
std::atomic<bool> CQcApi::atexitqapi{false};
int CQcApi::m_verbose_mode = 0;

namespace {

// Opens the callback lock, whoever holds callbacks back, for the stretch in which a thread waits for others: their last
// callbacks must get through.
class CallbacksLetThrough
{
public:
    CallbacksLetThrough() : m_hold(The_Master_Mutex->Give_Up()) { The_Master_Mutex->Begin_Open(); }
    ~CallbacksLetThrough()
    {
        The_Master_Mutex->End_Open();
        The_Master_Mutex->Take_Back(m_hold);
    }
    CallbacksLetThrough(const CallbacksLetThrough&) = delete;
    CallbacksLetThrough& operator=(const CallbacksLetThrough&) = delete;

private:
    Master_Mutex::Hold m_hold;
};

// Into a fixed text with a spare zero as its last byte.
template <std::size_t Size> void copy_text(char (&target)[Size], const char* text)
{
    std::memset(target, 0, Size);
    if (text != nullptr) {
        std::memcpy(target, text, strnlen(text, Size - 1));
    }
}

void post_stop(CMss_Arr& ring)
{
    ring.Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
}

// In the data-server role the stop records come from the connection thread alone, and the log ring gets none: Logout
// then waits in vain for the log thread, as that role's users are told.
//
// The request wakes the connection thread, which puts a stop record for the sender behind what waits in the outbound
// ring: what is to leave last must stand there before.
void request_stop(int role)
{
    Stop_Replay();
    DCON_Request(*glb_DCon_DESCR, DCON_NEXT_STATE_TERMINATE);
    if (role == QAPI_INITIALIZED) {
        post_stop(*Glb_Log_Mss);
        post_stop(*Glb_Recv_Mss);
        post_stop(*Glb_Send_Mss);
    }
    if (Glb_run_log_testing != 0) {
        Glb_Recv_Mss->Initialize_Keeping(TCP_SHUTTING_DOWN); // a replay is always far ahead of a host
        post_stop(*Glb_Recv_Mss);
        post_stop(*Glb_Send_Mss);
    }
}

// Only a session that logged in tells that it goes.
void end_session(int role)
{
    if (role == QAPI_INITIALIZED) {
        Send_Offline();
    }
    request_stop(role);
}

std::array<Worker_Thread*, 4> workers()
{
    return {&glb_thread_dcon, &glb_thread_read, &glb_thread_send, &glb_thread_log};
}

bool any_worker_left()
{
    const auto left = workers();
    return std::any_of(left.begin(), left.end(), [](const Worker_Thread* worker) { return worker->joinable; });
}

// All but the calling one, which is a worker only while the process exits.
void join_workers()
{
    for (Worker_Thread* worker : workers()) {
        if (worker != This_Worker()) {
            Join_Worker(*worker);
        }
    }
}

// Delivering the wait's own notice takes the callback lock on every thread but the master's. A callback that never
// returns would hold that thread there for ever, ahead of the 35 seconds that are to end it; so there the notice waits.
void wait_and_join_workers()
{
    std::optional<ReportHold> notice_waits;
    if (!Is_Master_Thread()) {
        notice_waits.emplace();
    }
    const CallbacksLetThrough pending_callbacks;
    THRCT_Wait_For_Threads_Termination();
    join_workers();
}

void tell_host_of_report(int code, char* text)
{
    if (CQcApi* api = Current_Api()) {
        api->CallReportError(code, text, QAPI_NEXT_ACTION_CONTINUE, 0);
    }
}

} // namespace

CQcApi::CQcApi() : mutex_lock(*The_Mailbox_Mutex), master_mutex(*The_Master_Mutex), m_fit_fields(*The_Conditions)
{
    if (This_Worker() == nullptr) {
        const LifecycleStretch stretch(Lifecycle_Gate->enter());
        Join_Left_Threads();      // of an object that was deleted in a callback
        if (!any_worker_left()) { // else the connection is that of another object
            Prepare_Connection(*glb_DCon_DESCR);
        }
    }
    Set_Current_Api(this);
    initialize_flag = QAPI_NOT_INITIALIZED;
    Glb_Log_Flag = 0;
    atexitqapi = false;
    m_verbose_mode = 0;
    Glb_last_sent_message_num = 0;
    Be_Master_Thread();
    Set_Report_Host_Sink(tell_host_of_report);
    COMMON_Adjust_Time(0);
    PREFIX_Register();
}

CQcApi::~CQcApi()
{
    Logout();
    if (Current_Api() == this) {
        Set_Current_Api(nullptr);
    }
    master_mutex.Free(); // behind that: who waits for a turn finds no object any more
}

int CQcApi::Login(char* user_name, char* password)
{
    Take_Credentials(user_name, password);
    if (initialize_flag != QAPI_NOT_INITIALIZED || This_Worker() != nullptr) {
        return Report_Already_Initialized();
    }
    const LifecycleStretch stretch(Lifecycle_Gate->try_enter());
    if (!stretch) {
        return Report_Already_Initialized();
    }
    Join_Left_Threads();
    if (Glb_Prev_Date_Log_Req_Successfullty != 0 && Glb_Status_Init_Ask_Log == 0) {
        CallReportError(QAPI_ERR_DATE_NOT_EXIST_DS,
                        Get_Error_Text(QAPI_ERR_DATE_NOT_EXIST_DS_TXT, Glb_Prev_Date_Log_Req_Copy),
                        QAPI_NEXT_ACTION_EXIT, 0);
        return QAPI_ERR_DATE_NOT_EXIST_DS;
    }
    dest_port = 0; // an address given to an earlier Connect is not this login's
    int code = Initialize();
    if (code != 0) {
        CallReportError(code, Get_Error_Text("%s", last_error_msg.c_str()),
                        code == QAPI_ERR_CONFIG_BAD_DATA ? QAPI_NEXT_ACTION_EXIT : QAPI_NEXT_ACTION_CONTINUE, 0);
    } else {
        code = Process_Tmp_Config_File();
        if (code != 0) {
            LOG_Text("Error (%d) to process file (%s).", code, QAPI_TMP_CONFIG_FILE_NAME);
        }
    }
    if (code != 0) {
        LOG_End(); // no log thread will run: what was logged so far goes to the file here
        return code;
    }
    Prepare_Replay();
    initialize_flag = QAPI_INITIALIZED;
    // Once per process, and before the threads run: their first callback may call exit().
    static const int exit_hook = std::atexit(AtExitQcApi);
    static_cast<void>(exit_hook);
    Start_Threads(Process_Messages);
    return 0;
}

int CQcApi::Connect(char* thost, int tport, char* /*conf_data*/, int /*conf_code*/)
{
    copy_text(dest_host, thost);
    dest_port = static_cast<short>(tport);
    if (initialize_flag != QAPI_NOT_INITIALIZED || This_Worker() != nullptr) {
        return Report_Already_Initialized();
    }
    const LifecycleStretch stretch(Lifecycle_Gate->try_enter());
    if (!stretch) {
        return Report_Already_Initialized();
    }
    Join_Left_Threads();
    const int code = Initialize();
    if (code != 0) {
        Prepare_Rings(); // Initialize stopped before it came to them, and the threads run all the same
    }
    Prepare_Replay();
    // Ahead of the threads, so that a callback that comes at once finds the operations working, and a Logout in it
    // isn't forgotten.
    initialize_flag = QAPI_INITIALIZED_AS_DS;
    Start_Threads(Process_DS_Messages);
    return code;
}

int CQcApi::Report_Already_Initialized()
{
    char* text = Get_Error_Text(QAPI_ERR_ALREADY_INITIALIZED_TXT, DCON_Status_Word(glb_DCon_DESCR->DCON_state));
    LOG_Text("%s", text);
    CallReportError(QAPI_ERR_ALREADY_INITIALIZED, text, QAPI_NEXT_ACTION_CONTINUE, 0);
    return QAPI_ERR_ALREADY_INITIALIZED;
}

void CQcApi::Start_Threads(void* (*reader)(void*))
{
    Start_Worker(glb_thread_log, LOG_Process, nullptr);
    Start_Worker(glb_thread_read, reader, nullptr);
    Start_Worker(glb_thread_send, DCON_Do_Send, &*glb_DCon_DESCR);
    if (Glb_run_log_testing == 0) {
        Start_Worker(glb_thread_dcon, DCON_Init, &*glb_DCon_DESCR);
        return;
    }
    LOG_Set_Source_Messages(Glb_logging_test_name, Glb_logging_start, Glb_logging_end);
    if (Glb_run_log_output != 0) {
        Translate_Log();
    } else {
        Start_Uncounted_Worker(glb_thread_dcon, LOG_Do_Testing, nullptr);
    }
}

// Inside the gate. The session ends with the translation. After Connect the log thread is stopped too, which a Logout
// leaves running there: the call comes back, and the process may go on.
void CQcApi::Translate_Log()
{
    char begins[] = "Initiating log translation";
    CallStatusChanged(TCP_STATUS_OPEN_CONNECTION, begins);
    LOG_Decompress(Glb_logging_test_output_name);
    char ends[] = "Finalizing log translation";
    CallStatusChanged(TCP_STATUS_CLOSED_CONNECTION, ends);
    if (initialize_flag == QAPI_INITIALIZED) {
        Send_Offline();
    }
    request_stop(QAPI_INITIALIZED);
    Finish_Session();
}

int CQcApi::Logout()
{
    if (This_Worker() != nullptr) {
        return LogoutForce(); // a thread can't wait for itself
    }
    if (Lifecycle_Gate->is_mine()) {
        return QAPI_ERR_NOT_INITIALIZED_YET; // in a callback of a Login that is not done, or of a Logout
    }
    const CallbacksLetThrough pending_callbacks; // the thread in the gate may wait for one that waits for this one
    const LifecycleStretch stretch(Lifecycle_Gate->enter());
    if (!stretch) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    Join_Left_Threads();
    const int role = initialize_flag;
    if (role == QAPI_NOT_INITIALIZED) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    end_session(role);
    Finish_Session();
    return 0;
}

// Inside the gate, when the threads have been asked to stop.
void CQcApi::Finish_Session()
{
    wait_and_join_workers();
    initialize_flag = QAPI_NOT_INITIALIZED;
    Glb_Log_Flag = 0;
    CONF_Release_Replay_Texts();
    LOG_Close_in_out_Files();
    LOG_End();
    m_fit_fields.EraseAll();
}

// Needs no gate: it touches no thread, and a stop that comes twice does no harm.
int CQcApi::LogoutForce()
{
    const int role = initialize_flag.exchange(QAPI_NOT_INITIALIZED);
    if (role == QAPI_NOT_INITIALIZED) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    end_session(role);
    Glb_Log_Flag = 0;
    return 0;
}

// Inside the gate. After LogoutForce: waits for the threads that were left to end by themselves.
void CQcApi::Join_Left_Threads()
{
    if (initialize_flag != QAPI_NOT_INITIALIZED || !any_worker_left()) {
        return;
    }
    request_stop(QAPI_INITIALIZED); // once more and to all: after Connect nobody else stops the log thread
    wait_and_join_workers();
    CONF_Release_Replay_Texts(); // a replay thread may have used them until now
    LOG_End();
}

// exit() may be called by any thread at any moment. As a rule this is a Logout. But a thread that is inside a callback
// never comes back from here: a worker can't end itself then, so it counts itself out, and a thread that was in its
// own Logout won't finish that, so the rest is done here. Neither tells the host, who may answer with exit() again.
void CQcApi::AtExitQcApi()
{
    const bool inside_callback = This_Worker() != nullptr || Lifecycle_Gate->is_mine();
    CQcApi* api = Current_Api();
    if (api == nullptr || (initialize_flag == QAPI_NOT_INITIALIZED && !Lifecycle_Gate->is_taken())) {
        LOG_End(); // threads that LogoutForce left may have lines waiting; the threads themselves are not waited for
        return;
    }
    atexitqapi = true;
    The_Master_Mutex->Begin_Open(); // for good
    if (inside_callback) {
        Stop_At_Exit();
    } else {
        api->Logout();
    }
    LOG_End();
}

void CQcApi::Stop_At_Exit()
{
    The_Master_Mutex->Give_Up();
    if (const Worker_Thread* self = This_Worker(); self != nullptr && self->counted) {
        THRCT_Decrease_App_Thread_Counter();
    }
    const bool may_join = Lifecycle_Gate->is_mine() || Lifecycle_Gate->try_enter(); // else another thread's Logout does
    if (const int role = initialize_flag; role != QAPI_NOT_INITIALIZED) {
        end_session(role);
    }
    THRCT_Wait_Without_Notice();
    if (may_join) {
        join_workers();
    }
    initialize_flag = QAPI_NOT_INITIALIZED;
}
