// From the host's first call to four running threads, and back to a stopped state.
//
// initialize_flag is the whole lifecycle: 0, then 1 by Login or 2 by Connect, back to 0 by Logout or LogoutForce. After
// LogoutForce the threads end by themselves; whoever comes next (Login, Connect, Logout, the destructor) joins them
// first, so that no thread of an old session meets the rings of a new one.
#include "qcapi.h"

#include "arrm.h"
#include "config.h"
#include "dcon.h"
#include "log.h"
#include "session.h"
#include "support.h"
#include "thrct.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

std::atomic<int> CQcApi::initialize_flag{QAPI_NOT_INITIALIZED};
std::atomic<bool> CQcApi::atexitqapi{false};
int CQcApi::m_verbose_mode = 0;

namespace {

// True while one thread stops the session, so that a second Logout, or the exit hook, does not join the same threads.
std::atomic<bool> stop_under_way{false};

class StopClaim
{
public:
    StopClaim() : m_mine(CQcApi::initialize_flag != QAPI_NOT_INITIALIZED && !stop_under_way.exchange(true)) {}
    ~StopClaim()
    {
        if (m_mine) {
            stop_under_way = false;
        }
    }
    StopClaim(const StopClaim&) = delete;
    StopClaim& operator=(const StopClaim&) = delete;
    explicit operator bool() const { return m_mine; }

private:
    bool m_mine;
};

// Opens the callback lock for the stretch in which a thread waits for workers: their last callbacks must get through.
class CallbacksLetThrough
{
public:
    CallbacksLetThrough() : m_hold(The_Master_Mutex->Give_Up()) {}
    ~CallbacksLetThrough() { The_Master_Mutex->Take_Back(m_hold); }
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

template <std::size_t Size> void copy_text_if_given(char (&target)[Size], const char* text)
{
    if (text != nullptr && *text != '\0') {
        copy_text(target, text);
    }
}

void post_stop(CMss_Arr& ring)
{
    ring.Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
}

// In the data-server role the stop records come from the connection thread alone, and the log ring gets none: Logout
// then waits in vain for the log thread, as that role's users are told.
void request_stop(int role)
{
    DCON_Request(glb_DCon_DESCR, DCON_NEXT_STATE_TERMINATE);
    if (role == QAPI_INITIALIZED) {
        post_stop(*Glb_Log_Mss);
        post_stop(*Glb_Recv_Mss);
        post_stop(*Glb_Send_Mss);
    }
    if (Glb_run_log_testing != 0) {
        post_stop(*Glb_Recv_Mss);
        post_stop(*Glb_Send_Mss);
    }
}

std::array<Worker_Thread*, 4> workers()
{
    return {&glb_thread_dcon, &glb_thread_read, &glb_thread_send, &glb_thread_log};
}

bool is_master_thread()
{
    return pthread_equal(pthread_self(), glb_master_thread) != 0;
}

// Delivering the wait's own notice takes the callback lock on every thread but the master's. A callback that never
// returns would hold that thread there for ever, ahead of the 35 seconds that are to end it; so there the notice waits.
void join_workers()
{
    std::optional<ReportHold> notice_waits;
    if (!is_master_thread()) {
        notice_waits.emplace();
    }
    const CallbacksLetThrough pending_callbacks;
    THRCT_Wait_For_Threads_Termination();
    for (Worker_Thread* worker : workers()) {
        if (worker != This_Worker()) {
            Join_Worker(*worker);
        }
    }
}

void tell_host_of_report(int code, char* text)
{
    if (CQcApi* api = Cur_Qapi) {
        api->CallReportError(code, text, QAPI_NEXT_ACTION_CONTINUE, 0);
    }
}

} // namespace

CQcApi::CQcApi() : mutex_lock(*The_Mailbox_Mutex), master_mutex(*The_Master_Mutex)
{
    Cur_Qapi = this;
    initialize_flag = QAPI_NOT_INITIALIZED;
    Glb_Log_Flag = 0;
    atexitqapi = false;
    m_verbose_mode = 0;
    Glb_last_sent_message_num = 0;
    glb_master_thread = pthread_self();
    Set_Report_Host_Sink(tell_host_of_report);
    COMMON_Adjust_Time(0);
    Prepare_Connection(glb_DCon_DESCR);
}

CQcApi::~CQcApi()
{
    Logout();
    master_mutex.Open_Parked();
    if (Cur_Qapi == this) {
        Cur_Qapi = nullptr;
    }
}

int CQcApi::Login(char* user_name, char* password)
{
    copy_text_if_given(Gbl_User_Name, user_name);
    copy_text_if_given(Glb_User_Key, password);
    if (initialize_flag != QAPI_NOT_INITIALIZED || This_Worker() != nullptr) {
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
    initialize_flag = QAPI_INITIALIZED;
    Start_Threads(Process_Messages);
    static const int exit_hook = std::atexit(AtExitQcApi); // once per process
    static_cast<void>(exit_hook);
    return 0;
}

int CQcApi::Connect(char* thost, int tport, char* /*conf_data*/, int /*conf_code*/)
{
    copy_text(dest_host, thost);
    dest_port = static_cast<short>(tport);
    if (initialize_flag != QAPI_NOT_INITIALIZED || This_Worker() != nullptr) {
        return Report_Already_Initialized();
    }
    Join_Left_Threads();
    const int code = Initialize();
    if (code != 0) {
        Prepare_Rings(); // Initialize stopped before it came to them, and the threads run all the same
    }
    Start_Threads(Process_DS_Messages);
    initialize_flag = QAPI_INITIALIZED_AS_DS;
    return code;
}

int CQcApi::Report_Already_Initialized()
{
    char* text = Get_Error_Text(QAPI_ERR_ALREADY_INITIALIZED_TXT, DCON_Status_Word(glb_DCon_DESCR.DCON_state));
    LOG_Text("%s", text);
    CallReportError(QAPI_ERR_ALREADY_INITIALIZED, text, QAPI_NEXT_ACTION_CONTINUE, 0);
    return QAPI_ERR_ALREADY_INITIALIZED;
}

void CQcApi::Start_Threads(void* (*reader)(void*))
{
    Start_Worker(glb_thread_log, LOG_Process, nullptr);
    Start_Worker(glb_thread_read, reader, nullptr);
    Start_Worker(glb_thread_send, DCON_Do_Send, &glb_DCon_DESCR);
    Start_Worker(glb_thread_dcon, DCON_Init, &glb_DCon_DESCR);
}

int CQcApi::Logout()
{
    if (This_Worker() != nullptr) {
        return Stop_Without_Waiting(); // a thread can't wait for itself
    }
    Join_Left_Threads();
    const StopClaim claim;
    if (!claim) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    request_stop(initialize_flag);
    join_workers();
    initialize_flag = QAPI_NOT_INITIALIZED;
    Glb_Log_Flag = 0;
    CONF_Release_Replay_Texts();
    LOG_End();
    return 0;
}

int CQcApi::LogoutForce()
{
    return Stop_Without_Waiting();
}

int CQcApi::Stop_Without_Waiting()
{
    const StopClaim claim;
    if (!claim) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    request_stop(initialize_flag);
    initialize_flag = QAPI_NOT_INITIALIZED;
    Glb_Log_Flag = 0;
    return 0;
}

// After LogoutForce: waits for the threads that were left to end by themselves.
void CQcApi::Join_Left_Threads()
{
    const auto left = workers();
    if (initialize_flag != QAPI_NOT_INITIALIZED ||
        std::none_of(left.begin(), left.end(), [](const Worker_Thread* worker) { return worker->joinable; })) {
        return;
    }
    request_stop(QAPI_INITIALIZED); // once more and to all: after Connect nobody else stops the log thread
    join_workers();
    CONF_Release_Replay_Texts(); // a replay thread may have used them until now
    LOG_End();
}

// exit() may be called by any thread, also inside a callback on a worker: that one never comes back to end itself, so
// it counts itself out and gives its lock up for the others' last callbacks.
void CQcApi::AtExitQcApi()
{
    if (initialize_flag == QAPI_NOT_INITIALIZED || Cur_Qapi == nullptr) {
        LOG_End(); // threads that LogoutForce left may have lines waiting; the threads themselves are not waited for
        return;
    }
    atexitqapi = true;
    The_Master_Mutex->Open_For_Exit();
    if (This_Worker() == nullptr) {
        Cur_Qapi->Logout();
        return;
    }
    const StopClaim claim;
    if (!claim) {
        return;
    }
    THRCT_Decrease_App_Thread_Counter();
    request_stop(initialize_flag);
    join_workers();
    initialize_flag = QAPI_NOT_INITIALIZED;
    LOG_End();
}
