// Any stream of table messages leaves the replicas sound: nothing is read or written outside the buffers, a table has
// as many records as it counts, each found again by its idx, with the bytes that the last message for it brought or
// none, and the message behind a bad one is applied.
//
// Input: messages back to back. Of each, one byte is the letter's place in a list (or, from there on, the letter), two
// are the code, one the idx, two the length of what follows: REC_NUM, FLAGS, identity and the record. A message ends
// early where the input does. A list, too, has numbers of one byte.
#include "arrm.h"
#include "global.h"
#include "input.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/session.h"
#include "qcapi/support.h"
#include "reader/views.h"
#include "require.h"
#include "support/table_message.h"
#include "table_files_home.h"
#include "tblproc/subscription.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblequiv.h"
#include "tblproc/tblproc.h"
#include "transport/destinations.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr std::string_view letters = "ICABzgRSUDtZHLQNP";
constexpr unsigned idx_end = 256;

// `check` looks for records under the first numbers.
std::string with_small_numbers(std::string list)
{
    constexpr std::size_t header_len = 22;
    constexpr std::size_t triple_len = 12;
    for (std::size_t at = header_len; at + triple_len <= list.size(); at += triple_len) {
        std::fill_n(list.begin() + static_cast<std::ptrdiff_t>(at) + 1, 3, '\0');
    }
    return list;
}

std::string next_message(Input& input)
{
    const unsigned letter = input.byte();
    std::string bytes = "888";
    bytes += letter < letters.size() ? letters[letter] : static_cast<char>(letter);
    bytes += TableMessage::word(input.word(), 2);
    const std::string idx = TableMessage::word(input.byte(), 4);
    std::string rest = input.text(input.word() % MESSAGE_TRANS_RECORD_SIZE);
    const std::string flags = rest.substr(0, std::min<std::size_t>(rest.size(), 4));
    if (flags.size() < 4) {
        return bytes + flags;
    }
    bytes = (bytes + flags + idx + rest.substr(4)).substr(0, MESSAGE_TRANS_RECORD_SIZE);
    return bytes[3] == 'H' || bytes[3] == 'L' ? with_small_numbers(std::move(bytes)) : bytes;
}

void receive(const std::string& bytes)
{
    The_Receive_Buffer->Take(bytes);
    TBLPROC_Process_Global_Table_Msg("D");
}

// The idx of the messages are below 256.
void check(const ReplicaType& type)
{
    int found = 0;
    for (unsigned idx = 0; idx < idx_end; ++idx) {
        if (CMessage* record = type.find(idx); record != nullptr) {
            ++found;
            require(static_cast<unsigned>((*record)[REC_IDX]) == idx);
            require(record->m_data_len == 22 + type.body);
        }
    }
    require(found == records_of_type(type.type));
}

// A record that comes in whole is there, whatever came before it.
void check_next_good_one(const ReplicaType& type)
{
    const TableMessage good{.letter = 'C',
                            .code = static_cast<unsigned>(type.type),
                            .idx = 200,
                            .data = std::string(static_cast<std::size_t>(type.body), '7'),
                            .crc32 = 1,
                            .environment = 0x12345678};
    receive(good.bytes());
    const CMessage* record = type.find(200);
    require(record != nullptr);
    require(std::memcmp(record->m_data + 22, good.data.data(), good.data.size()) == 0);
}

const bool prepared = [] {
    Set_Report_Host_Sink([](int, char*) {});
    TBLPROC_Init_Tables();
    Open_Session(1, nullptr);
    return std::freopen("/dev/null", "w", stdout) != nullptr; // a full list of servers is told there
}();

void start_again()
{
    for (const GlobalTable& table : All_Global_Tables()) {
        table.delete_all_records();
        table.get().m_use_crc32_computing = 0;
    }
    TBLEQUIV_Forget_Codes();
    COMMON_Global_Codes_Clean();
    for (int type = 1; type < MAX_CODE_ID; ++type) {
        COMMON_Global_Codes_Add(type, type);
    }
    COMMON_Global_Codes_Add(RATES_TABLE_ID, 0x1717); // as likely bytes as any
    Glb_access_tables[0] = {.table_code = 6906, .table_type = VOICE_GROUP_CODE_ID};
    Glb_access_tables[1] = {.table_code = 39999, .table_type = TABLE_CODE_ID};
    glb_dss_counter = 0;
    glb_dm_dest_list.CleanList();
    Glb_range_environment = 0;
    std::memset(Glb_environment, 0, sizeof Glb_environment);
    std::memset(Glb_subscribed_global_table_type, 0, sizeof Glb_subscribed_global_table_type);
    TBLPROC_Reset_Primary_Tables_Check();
    Glb_Recv_Mss->Initialize();
    Glb_Send_Mss->Initialize();
    Glb_Log_Mss->Initialize();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    require(prepared);
    const TableFilesHome home;
    start_again();
    Input input({data, size});
    while (!input.is_empty()) {
        receive(next_message(input));
    }
    require(glb_dss_counter >= 0 && glb_dss_counter <= DCON_MAX_DS_SERVERS);
    for (const ReplicaType& type : replica_types) {
        check(type);
        check_next_good_one(type);
        check(type);
    }
    return 0;
}
