// Any stream of table messages leaves the replicas sound: nothing is read or written outside the buffers, a table has
// as many records as it counts, each found again by its idx, with the bytes that the last message for it brought or
// none, and the message behind a bad one is applied.
//
// Input: messages back to back. Of each, one byte is the letter's place in a list (or, from there on, the letter), two
// are the code, one the idx, two the length of what follows: REC_NUM, FLAGS, identity and the record. A message ends
// early where the input does.
#include "arrm.h"
#include "global.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "reader/views.h"
#include "require.h"
#include "support/table_message.h"
#include "tblproc/subscription.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblproc.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view letters = "ICABzgRSUDtZHLQNP";
constexpr unsigned idx_end = 256;

class Input
{
public:
    explicit Input(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool is_empty() const { return m_bytes.empty(); }
    unsigned byte()
    {
        const unsigned value = m_bytes.empty() ? 0 : m_bytes.front();
        m_bytes = m_bytes.subspan(m_bytes.empty() ? 0 : 1);
        return value;
    }
    unsigned word() { return byte() | byte() << 8U; }
    std::string text(std::size_t len)
    {
        const auto taken = m_bytes.first(std::min(len, m_bytes.size()));
        m_bytes = m_bytes.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

private:
    std::span<const std::uint8_t> m_bytes;
};

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
    return (bytes + flags + idx + rest.substr(4)).substr(0, MESSAGE_TRANS_RECORD_SIZE);
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
    return std::freopen("/dev/null", "w", stdout) != nullptr; // a full list of servers is told there
}();

void start_again()
{
    for (const GlobalTable& table : All_Global_Tables()) {
        table.delete_all_records();
    }
    COMMON_Global_Codes_Clean();
    for (int type = 1; type < MAX_CODE_ID; ++type) {
        COMMON_Global_Codes_Add(type, type);
    }
    COMMON_Global_Codes_Add(RATES_TABLE_ID, 0x1717); // as likely bytes as any
    Glb_access_tables[0] = {.table_code = 6906, .table_type = VOICE_GROUP_CODE_ID};
    Glb_access_tables[1] = {.table_code = 39999, .table_type = TABLE_CODE_ID};
    glb_dss_counter = 0;
    TBLPROC_Reset_Primary_Tables_Check();
    Glb_Recv_Mss->Initialize();
    Glb_Send_Mss->Initialize();
    Glb_Log_Mss->Initialize();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    require(prepared);
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
