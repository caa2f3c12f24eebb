#include "tblproc/subscription.h"

#include "arrm.h"
#include "global.h"
#include "little_endian.h"
#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "reader/views.h"
#include "records/all_records.h"
#include "records/session.h"
#include "table/table_flags.h"
#include "tblproc/replica_lock.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblequiv.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>

namespace {

constexpr int level_primary = 1;

std::array<int, MAX_CODE_ID> L_Ref_Table_End_Rec{}; // by type: ends that are still awaited
int L_Ref_Table_Num = 0;                            // all of them

void queue(CMessage& message, CDestinationsList* list)
{
    COMMON_Put_Message_In_Send_Queue(&message, 4, list, 0, nullptr);
}

// Ahead of all requests of a subscription.
void announce_requests()
{
    CMsgTablesReq request;
    request[MSG_NUMBER_FIELD] = MSS_PEDIR_TABLAS;
    queue(request, nullptr);
}

constexpr int by_hash = 2;             // of start_protocol
constexpr std::size_t triple_len = 12; // idx, CRC, environment

// The codes of which a list is awaited: between the question and the last list.
std::bitset<MAX_TABLE_CODES> L_awaited_lists;

// The tables whose lists were worked off; nothing reads it.
std::set<int> L_persistent_table_codes;

// The code of the list that is being worked off.
int L_listed_code = 0;

// A table record of a header alone, or with values of 8 bytes behind it.
class TableRequest
{
public:
    explicit TableRequest(char letter)
    {
        m_header[MSG_NUMBER_FIELD] = MSS_TABLA_GLOBAL;
        m_header[I_OP].Set_Text(std::string(1, letter).c_str());
        m_header.m_data_len = GTABLE_MSG_HEADER_SIZE;
    }

    void Send_For(int code)
    {
        m_header[DATA_CODE] = static_cast<unsigned short>(code);
        queue(m_header, &glb_nul_dest_list_to_DS);
    }

    // Counts above 65535 go out as their low 16 bits.
    void Set_Count(unsigned count)
    {
        store_le<std::uint16_t>(m_bytes.data() + count_at, static_cast<std::uint16_t>(count));
    }
    void Set_Hash(std::uint32_t hash) { store_le<std::uint32_t>(m_bytes.data() + crc32_at, hash); }
    void Set_Idx(std::uint32_t idx) { store_le<std::uint32_t>(m_bytes.data() + idx_at, idx); }
    void Set_Identities(const DLONG* identities, std::size_t count)
    {
        char* at = m_bytes.data() + GTABLE_MSG_HEADER_SIZE;
        for (std::size_t i = 0; i < count; ++i, at += sizeof(std::uint64_t)) {
            store_le<std::uint32_t>(at, identities[i].low);
            store_le<std::uint32_t>(at + sizeof(std::uint32_t), identities[i].high);
        }
        Set_Count(static_cast<unsigned>(count));
        m_header.m_data_len = GTABLE_MSG_HEADER_SIZE + static_cast<int>(count * sizeof(std::uint64_t));
    }

private:
    static constexpr std::size_t count_at = 6;
    static constexpr std::size_t idx_at = 10;
    static constexpr std::size_t crc32_at = 14;

    std::array<char, LARGEST_RECORD_BUFFER> m_bytes{};
    CGTHeader m_header{m_bytes.data()};
};

void name_row(TABLE_ID_EQUIVALENCE& row, int code)
{
    if (row.code == TBLNUM_DYNAMIC_CODE) {
        row.code = code;
    } else if (row.code != code) {
        COMMON_Put_Syslog_Message(1, "\nError. Same table id it is used for more than one table (table id: %d)!!!.",
                                  row.type_id);
    }
}

// Asks by hash if the table is kept in a file and has records, or is published to the server; false if it is to be
// asked for as a whole.
bool ask_by_hash(const TABLE_ID_EQUIVALENCE& row, int code)
{
    CTableBase* table = row.start_protocol == by_hash ? row.Ptr_CTableBase() : nullptr;
    if (table == nullptr) {
        return false;
    }
    unsigned count = 0;
    std::uint32_t hash = 0;
    {
        const ReplicaLock lock;
        table->Initialize_Missing_Crc32s();
        count = static_cast<unsigned>(table->Used_Num_Records());
        hash = table->Get_Crc32();
    }
    if (count == 0 && (row.publish_flag & TABLE_PUBLISHED_TO_DS) == 0) {
        return false;
    }
    TableRequest query(DATA_HASH_QUERY_CHAR);
    query.Set_Count(count);
    query.Set_Hash(hash);
    L_awaited_lists.set(static_cast<std::size_t>(code));
    query.Send_For(code);
    return true;
}

// As many as the record says, as far as it has them.
std::span<const char> listed_triples(CGTHeader& header)
{
    const std::span<const char> record = The_Receive_Buffer->record();
    const std::size_t header_len = std::min<std::size_t>(record.size(), GTABLE_MSG_HEADER_SIZE);
    const std::span<const char> triples = record.subspan(header_len);
    const std::size_t said = static_cast<unsigned>(header[REC_NUM]) & 0xFFFFU;
    return triples.first(triple_len * std::min(said, triples.size() / triple_len));
}

void take_list(CTableBase& table, std::span<const char> triples)
{
    for (; !triples.empty(); triples = triples.subspan(triple_len)) {
        const char* data = triples.data();
        const IDX_ENV_CRC32_PAIR pair{.idx = load_le<std::uint32_t>(data),
                                      .crc32 = load_le<std::uint32_t>(data + 4),
                                      .env = load_le<std::uint32_t>(data + 8)};
        table.Set_Idx_For_Record_With_Env_Crc32(&pair, {.low = pair.crc32, .high = pair.env}, pair.idx);
    }
}

void post_primary_tables_received()
{
    char extra[CMSS_EXTRA_LEN];
    Store_News(extra, {.connection = Session_Connection()});
    Glb_Recv_Mss->Collect(PRIMARY_TABLES_RECEIVED, nullptr, 0, nullptr, extra);
}

} // namespace

void TBLPROC_Send_Global_Tables_Subscription(int table_level)
{
    announce_requests();
    if (table_level == level_primary) {
        TBLPROC_Reset_Primary_Tables_Check();
    }
    TableRequest request(DATA_INSCRIPTION_CHAR);
    for (int code = 1; code < MAX_TABLE_CODES; ++code) {
        const int type = gbl_code_table_type[code];
        if (type == ZERO_CODE_ID || TBLEQUIV_Row(type).level != table_level) {
            continue;
        }
        if (table_level == level_primary) {
            TBLPROC_Register_Ref_Table(type);
        }
        if (ask_by_hash(TBLEQUIV_Row(type), code)) {
            name_row(TBLEQUIV_Row(type), code);
        } else {
            request.Send_For(code);
        }
    }
}

void TBLPROC_Send_Global_Tables_Subscription()
{
    constexpr int first = DATAMANAGER_LIST_CODE;
    constexpr int last_but_one = TABLENUM_INDICATIVESMARK;
    constexpr int last = TABLENUM_CONNDMSERVER;
    L_persistent_table_codes.clear();
    announce_requests();
    TableRequest request(DATA_INSCRIPTION_CHAR);
    request.Send_For(first);
    for (int code = 1; code < MAX_TABLE_CODES; ++code) {
        const int type = gbl_code_table_type[code];
        if (type == ZERO_CODE_ID || code == first || code == last_but_one || code == last) {
            continue;
        }
        if (!ask_by_hash(TBLEQUIV_Row(type), code)) {
            request.Send_For(code);
        }
    }
    request.Send_For(last_but_one);
    request.Send_For(last);
}

// What an older connection was to answer is not awaited on this one.
void TBLPROC_Reset_Primary_Tables_Check()
{
    L_awaited_lists.reset();
    L_Ref_Table_End_Rec.fill(0);
    L_Ref_Table_Num = 0;
}

void TBLPROC_Register_Ref_Table(int table_type)
{
    if (table_type >= 0 && table_type < MAX_CODE_ID) {
        ++L_Ref_Table_End_Rec[static_cast<std::size_t>(table_type)];
        ++L_Ref_Table_Num;
    }
}

void TBLPROC_Check_Referenced_Table(int table_type)
{
    const TABLE_ID_EQUIVALENCE& row = TBLEQUIV_Row(table_type);
    if (row.level != level_primary) {
        return;
    }
    if (L_Ref_Table_Num < 1) {
        COMMON_Put_Syslog_Message(1,
                                  "\nError. Global Reference Table End of Transmition Received, but waiting reference "
                                  "variable is zero (%d)!!!.",
                                  table_type);
        return;
    }
    int& awaited = L_Ref_Table_End_Rec[static_cast<std::size_t>(row.type_id)];
    if (awaited >= 1) {
        --awaited;
        --L_Ref_Table_Num;
    } else {
        COMMON_Put_Syslog_Message(
            1, "\nError. Global Reference Table End of Transmition Received without been registered (%d)!!!.",
            table_type);
    }
    if (L_Ref_Table_Num == 0) {
        post_primary_tables_received();
    }
}

// The triples are taken out of the buffer before anything is sent.
void TBLPROC_Process_Hash_Answer(int /*table_type*/, CTableBase* table, int is_the_last_answer)
{
    CGTHeader& header = *Glb_cur_gt_header;
    header.Init();
    const auto code = static_cast<unsigned>(header[DATA_CODE]);
    if (table == nullptr || code >= L_awaited_lists.size() || !L_awaited_lists[code]) {
        return;
    }
    L_listed_code = static_cast<int>(code);
    const ReplicaLock lock;
    take_list(*table, listed_triples(header));
    if (is_the_last_answer != 0) {
        L_awaited_lists.reset(code);
        table->Check_Crc32_Updating(TBLPROC_Send_Delete_For_Missing_Call_Back, TBLPROC_Send_Ask_For_Missing_Call_Back);
        L_persistent_table_codes.insert(L_listed_code);
    }
}

void TBLPROC_Forget_Awaited_List(unsigned code)
{
    if (code < L_awaited_lists.size()) {
        L_awaited_lists.reset(code);
    }
}

void TBLPROC_Send_Delete_For_Missing_Call_Back(unsigned int idx)
{
    TableRequest request(DATA_DELETE_CHAR);
    request.Set_Idx(idx);
    request.Send_For(L_listed_code);
}

void TBLPROC_Send_Ask_For_Missing_Call_Back(int is_last_requirement, int num_of_records, const DLONG* env_crc32_ptr)
{
    TableRequest request(is_last_requirement != 0 ? DATA_HASH_LAST_ASK_CHAR : DATA_HASH_ASK_CHAR);
    request.Set_Identities(env_crc32_ptr, static_cast<std::size_t>(num_of_records));
    request.Send_For(L_listed_code);
}
