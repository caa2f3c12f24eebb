// The connection driver: the thread that owns the life of the one connection, and the sender thread. They speak to the
// rest of the library only through rings.
#pragma once

#include "arrm.h"
#include "global.h"

#include <atomic>
#include <cstdint>

// States of the connection, and their words for people, indexed by the state.
inline constexpr int DCON_ST_OPENING = 1;
inline constexpr int DCON_ST_OPENCHK = 2;
inline constexpr int DCON_ST_NORMCON = 4;
inline constexpr int DCON_ST_CLOSE = 5;
inline constexpr int DCON_ST_TERMIN = 6;
inline constexpr int DCON_ST_CLOSE_AND_RESTART = 7;

// The word of a state; "None" for one that has none.
const char* DCON_Status_Word(int state);

// Requests to the connection thread.
inline constexpr int DCON_NEXT_STATE_VOID = 0;
inline constexpr int DCON_NEXT_STATE_TERMINATE = 1;
inline constexpr int DCON_NEXT_STATE_RESTART = 2;

inline constexpr int DEFAULT_MODE_SEND = 2;

extern const char Glb_DS_Id[]; // identity of the data-server connection

struct DCON_DESCR
{
    unsigned number_of_hosts = 0; // index of the last filled entry of fhost, not a count
    std::atomic<unsigned> current_host{0};
    std::uint32_t fhost[DCON_MAX_DS_SERVERS] = {};    // IPv4 addresses in network order; 0 means not set
    std::uint16_t tcp_port[DCON_MAX_DS_SERVERS] = {}; // host order, same index
    int modesend = DEFAULT_MODE_SEND;
    int use_ssl = 0;
    int ticking_message = 0;
    CMss_Arr* pRecv_Mss = nullptr;
    CMss_Arr* pSend_Mss = nullptr;
    CMss_Arr* pLog_Mss = nullptr;
    const char* id_ptr = Glb_DS_Id;
    int id_len = 1;
    std::atomic<int> DCON_state{0};                        // written by the connection thread, read for reports
    std::atomic<int> DCON_terminate{DCON_NEXT_STATE_VOID}; // changed through DCON_Request alone
};

// Its state before any Initialize is one that threads can run on: no host, no rings, nothing to do but wait for a stop.
extern DCON_DESCR glb_DCon_DESCR;

// Asks the connection thread for the next state and wakes it. A termination stays until DCON_Clear_Request; a restart
// only takes the place of no request at all.
void DCON_Request(DCON_DESCR& descr, int request);

// Before the threads of a session start, in the thread that starts them.
void DCON_Clear_Request(DCON_DESCR& descr);

void* DCON_Init(void* descr);    // thread function of the connection thread
void* DCON_Do_Send(void* descr); // thread function of the sender thread

// Writes the platform word of the version report; `word` must hold 16 bytes.
int GetCompilationPlatform(char* word);
