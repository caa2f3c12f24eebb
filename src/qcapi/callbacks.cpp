// How the library enters the host: the five wrappers, one callback at a time, and the host's own say in when they come.
#include "qcapi.h"

#include "log.h"
#include "session.h"
#include "support.h"

#include <atomic>

// A host may define the variable itself; its definition then takes the place of this one.
__attribute__((weak)) CQcApi* Cur_Qapi = nullptr;

// Worker threads look at the pointer while another thread may delete the object.
CQcApi* qapi::Current_Api()
{
    return std::atomic_ref(Cur_Qapi).load();
}

void qapi::Set_Current_Api(CQcApi* api)
{
    std::atomic_ref(Cur_Qapi).store(api);
}

namespace {

// The stretch of one callback. Nothing is taken on the master thread, which is in the host's own flow already. The
// lock is reached past the object: the callback ahead of this one, or this one, may delete it.
class CallbackTurn
{
public:
    explicit CallbackTurn(const CQcApi* api) : m_taken(!Is_Master_Thread())
    {
        if (m_taken) {
            The_Master_Mutex->Lock();
        }
        m_host_is_there = Current_Api() == api;
    }
    ~CallbackTurn()
    {
        if (m_taken) {
            The_Master_Mutex->Unlock();
        }
    }
    CallbackTurn(const CallbackTurn&) = delete;
    CallbackTurn& operator=(const CallbackTurn&) = delete;
    explicit operator bool() const { return m_host_is_there; }

private:
    bool m_taken;
    bool m_host_is_there;
};

} // namespace

void CQcApi::OnMessageReceived(char* /*message_type*/, unsigned int /*message_num*/) {}
void CQcApi::OnConnection(int /*result_code*/) {}
void CQcApi::OnDisconnection(int /*reason_code*/, const char* /*reason_text*/) {}
void CQcApi::OnError(int /*error_code*/, char* /*error_text*/, int /*next_action_code*/, int /*next_action_data*/) {}
void CQcApi::OnStatusChanged(int /*status_code*/, char* /*status_text*/) {}

void CQcApi::CallMessageReceived(char* message_type, unsigned int message_num)
{
    if (const CallbackTurn turn(this); turn) {
        OnMessageReceived(message_type, message_num);
    }
    LOG_Text("OnMessageReceived Called with message_type=\"%s\" and message_num=%u", message_type, message_num);
}

void CQcApi::CallOnConnection(int result_code)
{
    if (const CallbackTurn turn(this); turn) {
        OnConnection(result_code);
    }
}

void CQcApi::CallOnDisconnection(int reason_code, const char* reason_text)
{
    if (const CallbackTurn turn(this); turn) {
        OnDisconnection(reason_code, reason_text);
    }
}

void CQcApi::CallReportError(int error_code, char* error_text, int next_action_code, int next_action_data)
{
    if (const CallbackTurn turn(this); turn) {
        OnError(error_code, error_text, next_action_code, next_action_data);
    }
}

// The exit may begin while this thread waits for its turn.
void CQcApi::CallStatusChanged(int status_code, char* status_text)
{
    if (const CallbackTurn turn(this); turn && !atexitqapi) {
        OnStatusChanged(status_code, status_text);
    }
}

void CQcApi::CallDataReceived(const char* /*source_id*/, char* /*message_name*/, char* /*message_data*/) {}

CQcApi::ReportsHeld::ReportsHeld() : m_hold(std::make_unique<ReportHold>()) {}

CQcApi::ReportsHeld::~ReportsHeld() = default;

void CQcApi::ReportsHeld::Drop()
{
    m_hold->Drop();
}

int CQcApi::TakeMasterMutex()
{
    if (Is_Master_Thread()) {
        return 0;
    }
    master_mutex.Lock();
    return 1;
}

void CQcApi::ReleaseMasterMutex()
{
    master_mutex.Unlock();
}

void CQcApi::ProcessMyEvents()
{
    master_mutex.Let_Waiting_Threads_In();
}
