// How the library enters the host: the five wrappers, one callback at a time, and the host's own say in when they come.
#include "qcapi.h"

#include "log.h"
#include "session.h"

// A host may define the variable itself; its definition then takes the place of this one.
__attribute__((weak)) CQcApi* Cur_Qapi = nullptr;

namespace {

// The stretch of one callback. Nothing is taken on the master thread, which is in the host's own flow already.
class CallbackTurn
{
public:
    explicit CallbackTurn(CQcApi& api) : m_taken(api.TakeMasterMutex() != 0) {}
    ~CallbackTurn()
    {
        if (m_taken) {
            The_Master_Mutex->Unlock(); // not by way of the object, which the callback may have deleted
        }
    }
    CallbackTurn(const CallbackTurn&) = delete;
    CallbackTurn& operator=(const CallbackTurn&) = delete;

private:
    bool m_taken;
};

} // namespace

void CQcApi::OnMessageReceived(char* /*message_type*/, unsigned int /*message_num*/) {}
void CQcApi::OnConnection(int /*result_code*/) {}
void CQcApi::OnDisconnection(int /*reason_code*/, const char* /*reason_text*/) {}
void CQcApi::OnError(int /*error_code*/, char* /*error_text*/, int /*next_action_code*/, int /*next_action_data*/) {}
void CQcApi::OnStatusChanged(int /*status_code*/, char* /*status_text*/) {}

void CQcApi::CallMessageReceived(char* message_type, unsigned int message_num)
{
    {
        const CallbackTurn turn(*this);
        OnMessageReceived(message_type, message_num);
    }
    LOG_Text("OnMessageReceived Called with message_type=\"%s\" and message_num=%u", message_type, message_num);
}

void CQcApi::CallOnConnection(int result_code)
{
    const CallbackTurn turn(*this);
    OnConnection(result_code);
}

void CQcApi::CallOnDisconnection(int reason_code, const char* reason_text)
{
    const CallbackTurn turn(*this);
    OnDisconnection(reason_code, reason_text);
}

void CQcApi::CallReportError(int error_code, char* error_text, int next_action_code, int next_action_data)
{
    const CallbackTurn turn(*this);
    OnError(error_code, error_text, next_action_code, next_action_data);
}

void CQcApi::CallStatusChanged(int status_code, char* status_text)
{
    if (atexitqapi) {
        return;
    }
    const CallbackTurn turn(*this);
    OnStatusChanged(status_code, status_text);
}

void CQcApi::CallDataReceived(const char* /*source_id*/, char* /*message_name*/, char* /*message_data*/) {}

int CQcApi::TakeMasterMutex()
{
    if (pthread_equal(pthread_self(), glb_master_thread) != 0) {
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
