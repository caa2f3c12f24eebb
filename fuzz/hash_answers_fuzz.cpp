// Any stream of lists, records and questions leaves a replica sound: its file has the records that it has, each is
// found by its idx and by its identity, and a list of just these records changes nothing and asks for nothing.
//
// Input: steps. The low half of a byte tells what comes, bit 4 which of two tables it is for. Then, by step: for a
// record one byte each of idx, identity, key and contents; for a list a byte each of the number of triples and of what
// its count says beyond it, and two bytes a triple, idx and identity. Numbers of records lie above those that a load
// gives out, so that no input knows how many were given out before it.
#include "arrm.h"
#include "global.h"
#include "input.h"
#include "little_endian.h"
#include "outbound/send_queue.h"
#include "persis/table_pers_file.h"
#include "qcapi/config.h"
#include "qcapi/session.h"
#include "qcapi/support.h"
#include "reader/views.h"
#include "require.h"
#include "support/table_message.h"
#include "table/table_state.h"
#include "table_files_home.h"
#include "tblproc/subscription.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblequiv.h"
#include "tblproc/tblproc.h"

#include <cstdint>
#include <cstring>
#include <set>
#include <span>
#include <string>

namespace {

constexpr std::uint32_t first_idx = 0x40000000;
constexpr std::uint32_t our_environment = 0x4F430000; // "CO"
constexpr std::uint32_t their_environment = 0x584D0000;
constexpr std::size_t header_len = 22;

struct Kept
{
    TableId id;
    int type;
    int code;
    std::size_t body; // bytes behind the header
    unsigned file_code;
    const char* file;
    CMessage* (*find)(unsigned idx);
};
// A range opens the files of all tables, which takes most of an input's time: here just these two are opened.
// clang-format off
constexpr Kept both_tables[] = {
    {TableId::Glb_City_Table,        CITIES_CODE_ID,        CITIES_TABLE_CODE,        135, PERS_CITY_CODE,   "qapi.city",    find_in<Glb_City_Table>},
    {TableId::Glb_Primaryuser_Table, PRIMARY_USERS_CODE_ID, PRIMARY_USERS_TABLE_CODE,  33, PERS_PYUSER_CODE, "qapi.pryuser", find_in<Glb_Primaryuser_Table>},
};
// clang-format on

CTableBase& replica(const Kept& kept)
{
    return Table_Of_Type(kept.type)->get();
}

void receive(const TableMessage& message)
{
    The_Receive_Buffer->Take(message.bytes());
    TBLPROC_Process_Global_Table_Msg("D");
    Glb_Send_Mss->Initialize();
    Glb_Recv_Mss->Initialize();
}

// ---- Steps

std::uint32_t crc_of(unsigned identity)
{
    return identity / 2 + 1; // 0 would stand for none
}
std::uint32_t environment_of(unsigned identity)
{
    return identity % 2 == 0 ? our_environment : their_environment;
}

void send_record(const Kept& kept, char letter, Input& input)
{
    const std::uint32_t idx = first_idx + input.byte();
    const unsigned identity = input.byte();
    std::string body(4, static_cast<char>('a' + input.byte() % 16)); // the key
    body.resize(kept.body, static_cast<char>(input.byte()));
    receive({.letter = letter,
             .code = static_cast<unsigned>(kept.code),
             .idx = idx,
             .data = body,
             .crc32 = crc_of(identity),
             .environment = environment_of(identity)});
}

std::string triple(std::uint32_t idx, std::uint32_t crc32, std::uint32_t environment)
{
    return TableMessage::word(idx, 4) + TableMessage::word(crc32, 4) + TableMessage::word(environment, 4);
}

void send_list(const Kept& kept, char letter, Input& input)
{
    const unsigned triples = input.byte();
    const unsigned beyond = input.byte();
    std::string list;
    for (unsigned each = 0; each < triples && !input.is_empty(); ++each) {
        const std::uint32_t idx = first_idx + input.byte();
        const unsigned identity = input.byte();
        list += triple(idx, crc_of(identity), environment_of(identity));
    }
    const auto said = static_cast<unsigned>(list.size() / 12) + beyond;
    receive({.letter = letter, .code = static_cast<unsigned>(kept.code), .data = list, .rec_num = said});
}

void send_header(const Kept& kept, char letter)
{
    receive({.letter = letter, .code = static_cast<unsigned>(kept.code), .idx = first_idx});
}

void connect()
{
    TBLPROC_Send_Global_Tables_Subscription(1);
    Glb_Send_Mss->Initialize();
}

void restart()
{
    for (const Kept& kept : both_tables) {
        const GlobalTable& table = Global_Table(kept.id);
        table.keep_in(nullptr);
        table.delete_all_records();
        table.keep_in(qapi::PersTableFile::Open(kept.file_code, kept.file, static_cast<unsigned>(kept.body) + 19));
        table.load();
    }
    connect();
}

void take_step(Input& input)
{
    const unsigned kind = input.byte();
    const Kept& kept = both_tables[kind >> 4 & 1];
    constexpr char letters[] = "IICABzHL";
    switch (kind & 15) {
    case 5:
        send_header(kept, 'z');
        break;
    case 6:
    case 7:
        send_list(kept, letters[kind & 15], input);
        break;
    case 8:
        connect();
        break;
    case 9:
        TBLPROC_Send_Global_Tables_Subscription();
        Glb_Send_Mss->Initialize();
        break;
    case 10:
        restart();
        break;
    case 11:
        TBLPROC_Reset_Primary_Tables_Check();
        break;
    case 12:
    case 13:
    case 14:
        send_header(kept, "ZNt"[(kind & 15) - 12]);
        break;
    case 15:
        qapi::Close_Session();
        qapi::Open_Session(1, nullptr);
        break;
    default:
        send_record(kept, letters[kind & 15], input);
        break;
    }
}

// ---- What holds

// The records of the file, each found in memory; gives them as a list has them.
std::string check_file(const Kept& kept)
{
    const auto size = static_cast<unsigned>(kept.body) + 19;
    CPersFile file(kept.file_code, kept.file, size);
    require(file.Open(DO_NOT_RENAME) == 1);
    std::string data(size, '\0');
    std::string identity(8, '\0');
    std::set<CMessage*> found;
    std::string list;
    for (unsigned slot = 1; file.Load_Next_Record(&slot, data.data(), identity.data()) != 0; ++slot) {
        const auto crc32 = load_le<std::uint32_t>(identity.data());
        const auto environment = load_le<std::uint32_t>(identity.data() + 4);
        CMessage* record = replica(kept).Get_Record_By_Env_Crc32({crc32, environment});
        require(record != nullptr && found.insert(record).second);
        require(record->m_unic_number == slot);
        require(std::memcmp(record->m_data + header_len, data.data(), kept.body) == 0);
        require(record->Word_Of(CRC32) == crc32 && record->Word_Of(ENVIRONMENT) == environment);
        const std::uint32_t idx = record->Word_Of(REC_IDX);
        require(kept.find(idx) == record);
        list += triple(idx, crc32, environment);
    }
    require(static_cast<int>(found.size()) == replica(kept).Used_Num_Records());
    return list;
}

// Over ends that are awaited, what the answer says of a list of all there is.
void check_equal_list(const Kept& kept, const std::string& list)
{
    constexpr std::size_t most = 233 * 12;
    if (list.empty() || list.size() > most) {
        return;
    }
    const unsigned hash = replica(kept).Get_Crc32();
    connect();
    receive({.letter = 'L',
             .code = static_cast<unsigned>(kept.code),
             .data = list,
             .rec_num = static_cast<unsigned>(list.size() / 12)});
    require(replica(kept).Get_Crc32() == hash);
    require(check_file(kept) == list);
}

const bool prepared = [] {
    Set_Report_Host_Sink([](int, char*) {});
    TBLPROC_Init_Tables();
    Glb_range_environment = our_environment;
    glb_min_gtable_rec_index = 1;
    glb_max_gtable_rec_index = 0xFFFFFFFF;
    qapi::Open_Session(1, nullptr);
    return true;
}();

void start_again()
{
    TBLPROC_Reset_Primary_Tables_Check();
    TBLEQUIV_Forget_Codes();
    COMMON_Global_Codes_Clean();
    for (const Kept& kept : both_tables) {
        COMMON_Global_Codes_Add(kept.type, kept.code);
    }
    restart();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    require(prepared);
    const TableFilesHome home;
    start_again();
    Input input({data, size});
    while (!input.is_empty()) {
        take_step(input);
    }
    for (const Kept& kept : both_tables) {
        check_equal_list(kept, check_file(kept));
    }
    return 0;
}
