#include "transport/dcon.h"

#include "thrct.h"

#include <array>
#include <cstring>

DCON_DESCR glb_DCon_DESCR;

const char* DCON_Status_Word(int state)
{
    static constexpr std::array<const char*, 7> words{"None",         "Opening at", "Trying since", "Open init",
                                                      "Connected at", "Closing at", "Terminating"};
    const auto index = static_cast<unsigned>(state);
    return index < words.size() ? words[index] : words[0];
}

void DCON_Request(DCON_DESCR& descr, int request)
{
    if (request == DCON_NEXT_STATE_TERMINATE) {
        descr.DCON_terminate.store(request);
    } else {
        int none = DCON_NEXT_STATE_VOID;
        descr.DCON_terminate.compare_exchange_strong(none, request);
    }
    descr.DCON_terminate.notify_all();
}

void DCON_Clear_Request(DCON_DESCR& descr)
{
    descr.DCON_terminate.store(DCON_NEXT_STATE_VOID);
}

namespace {

void wait_for_termination(DCON_DESCR& descr)
{
    for (;;) {
        const int request = descr.DCON_terminate.load();
        if (request == DCON_NEXT_STATE_TERMINATE) {
            return;
        }
        descr.DCON_terminate.wait(request);
    }
}

// Each ring's consumer ends on the first stop record that it takes.
void post_stop_records(DCON_DESCR& descr)
{
    descr.pRecv_Mss->Collect(TCP_SHUTTING_DOWN, descr.id_ptr, descr.id_len, descr.id_ptr, nullptr);
    descr.pSend_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
    if (descr.pLog_Mss != nullptr) {
        descr.pLog_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
    }
}

} // namespace

void* DCON_Init(void* descr)
{
    DCON_DESCR& connection = *static_cast<DCON_DESCR*>(descr);
    const CountedThread counted;
    wait_for_termination(connection);
    connection.DCON_state = DCON_ST_TERMIN;
    post_stop_records(connection);
    return nullptr;
}

// With no connection open, a record is taken and gone.
void* DCON_Do_Send(void* descr)
{
    DCON_DESCR& connection = *static_cast<DCON_DESCR*>(descr);
    const CountedThread counted;
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record;
    int status = 0;
    int len = 0;
    do {
        status = connection.pSend_Mss->Wait_For_Any_Pkt() != 0
                     ? connection.pSend_Mss->Withdraw(record.data(), &len, nullptr, nullptr)
                     : -1;
    } while (status != TCP_SHUTTING_DOWN);
    return nullptr;
}

int GetCompilationPlatform(char* word)
{
    static constexpr char linux_word[] = "Linux";
    std::memcpy(word, linux_word, sizeof linux_word);
    return 1;
}
