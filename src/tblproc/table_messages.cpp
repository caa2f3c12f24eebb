#include "tblproc/table_messages.h"

#include "little_endian.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "qcapi/session.h"
#include "reader/processed_log.h"
#include "reader/views.h"
#include "session/exchange.h"
#include "tblproc/global_tables.h"
#include "tblproc/replica_lock.h"
#include "tblproc/subscription.h"
#include "tblproc/tblequiv.h"
#include "tblproc/tblproc.h"
#include "transport/destinations.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

unsigned Glb_Not_Applied_Mss = 0;
char Glb_environment[2 + 1];
std::uint32_t glb_min_pu_connected_gtable_rec_index = 0;

namespace {

// ---- Changes -----------------------------------------------------------------------------------------------------

template <auto& view, auto& table> void change_replica(char letter)
{
    const ReplicaLock lock;
    view->Init();
    switch (letter) {
    case DATA_INSERT_CHAR:
    case DATA_COPY_CHAR:
        table->Insert_Local_Record(&*view, nullptr);
        break;
    case DATA_UPDATE_CHAR:
        table->Update_Local_Record(&*view);
        break;
    case DATA_DELETE_CHAR:
        table->Delete_Local_Record(&*view);
        break;
    default:
        break;
    }
}

constexpr int data_managers = 1; // DMT_TIPO_SERVIDOR
constexpr int data_servers = 5;

void know_server(const char* code)
{
    const int index = glb_dss_counter;
    COMMON_Set_Code_Data_Servers_List(1, code);
    if (glb_dss_counter != index && LOG_DS_Files_Init(index) == 0) {
        glb_dss_counter = index;
    }
}

// The list of servers is no table: what it names is known from then on.
void take_servers(char letter)
{
    if (letter != DATA_INSERT_CHAR && letter != DATA_COPY_CHAR) {
        return;
    }
    CMsgDMTList& list = *Glb_cur_dmtlist;
    list.Init();
    const CField& codes = list[DMT_CODIGO_EQUIPOS];
    const int count = std::clamp<int>(list[DMT_NUMERO], 0, codes.m_len / DEST_SIZE);
    const char* code = list[DMT_CODIGO_EQUIPOS].Get_Ptr();
    const int kind = list[DMT_TIPO_SERVIDOR];
    if (kind == data_managers) {
        Add_Data_Managers(code, count);
    } else if (kind == data_servers) {
        for (int each = 0; each < count; ++each, code += DEST_SIZE) {
            if (*code != '\0') { // a list that is shorter than it says
                know_server(code);
            }
        }
    }
}

// What a record of a type does, with the record in the buffer of the views.
struct TableRule
{
    int type;
    void (*change)(char letter);
};

// clang-format off
constexpr TableRule rules[] = {
    {BRANCHES_CODE_ID,            change_replica<Glb_cur_branches,           Glb_Branches_Table>},
    {USER_CODE_ID,                change_replica<Glb_cur_user,               Glb_User_Table>},
    {DATAMANAGER_LIST_ID,         take_servers},
    {INSTIT_CODE_ID,              change_replica<Glb_cur_instit,             Glb_Instit_Table>},
    {SUPERGROUP_CODE_ID,          change_replica<Glb_cur_supergroup_msg,     Glb_IntSuperGroup_Table>},
    {PRIMARY_USERS_CODE_ID,       change_replica<Glb_cur_primaryuser_msg,    Glb_Primaryuser_Table>},
    {CITIES_CODE_ID,              change_replica<Glb_cur_city_msg,           Glb_City_Table>},
    {MARKETS_CODE_ID,             change_replica<Glb_cur_markets_msg,        Glb_Markets_Table>},
    {MONEYS_CODE_ID,              change_replica<Glb_cur_money_msg,          Glb_Money_Table>},
    {COUNTRIES_CODE_ID,           change_replica<Glb_cur_country_msg,        Glb_Country_Table>},
    {INSTPERM_CODE_ID,            change_replica<Glb_cur_insperm_msg,        Glb_InsPerm_Table>},
    {VOICE_GROUP_CODE_ID,         change_replica<Glb_cur_voicegroup,         Glb_IntVoiceGroup_Table>},
    {FIXEDINCOMEMARKETS_TABLE_ID, change_replica<Glb_cur_fixedincomemarkets, Glb_IntFixedIncomeMarkets_Table>},
    {HISTORYTRANSDAYTERM_CODE_ID, change_replica<Glb_cur_historytransdayterm, Glb_IntHistoryTransDayTerm_Table>},
    {RATES_TABLE_ID,              change_replica<Glb_cur_rates,              Glb_IntRates_Table>},
    {EMISORES_CODE_ID,            change_replica<Glb_cur_CGTEmisores,        Glb_Emisores_Table>},
    {COMITENTES_CODE_ID,          change_replica<Glb_cur_CGTComitentes,      Glb_Comitentes_Table>},
    {FIDUCIARIOS_CODE_ID,         change_replica<Glb_cur_CGTFiduciarios,     Glb_Fiduciarios_Table>},
    {EMPLOYEE_CODE_ID,            change_replica<Glb_cur_CGTEmployee,        Glb_Employee_Table>},
    {ESQUEMA_CODE_ID,             change_replica<Glb_cur_CGTEsquema,         Glb_Esquema_Table>},
    {SUBCOMITENTE_CODE_ID,        change_replica<Glb_cur_CGTSubComitente,    Glb_SubComitente_Table>},
};
// clang-format on

constexpr int first_type = BRANCHES_CODE_ID; // orders and summaries, before it, have mailboxes alone

consteval bool stand_in_order_of_types()
{
    int type = first_type;
    return std::all_of(std::begin(rules), std::end(rules),
                       [&type](const TableRule& rule) { return rule.type == type++; }) &&
           type == MAX_CODE_ID;
}
static_assert(stand_in_order_of_types());

// Null for a code that no known table has, and for a type without a rule.
const TableRule* rule_of(unsigned code)
{
    const int type = code < MAX_TABLE_CODES ? gbl_code_table_type[code] : ZERO_CODE_ID;
    return type >= first_type && type < MAX_CODE_ID ? &rules[type - first_type] : nullptr;
}

// ---- The range of idx values -------------------------------------------------------------------------------------
//
//   offset width  in DATA_INFO
//        0     4  lowest idx
//        4     4  highest idx
//        8     2  the servers' environment

const char* range_in_buffer()
{
    CMsgDMTList& view = *Glb_cur_dmtlist;
    view.Init();
    return view[DATA_INFO].Get_Ptr();
}

// The environment's two characters are the upper half of the word that the records born here carry.
void take_environment(const char* environment)
{
    std::memcpy(Glb_environment, environment, sizeof Glb_environment - 1);
    std::array<char, sizeof(std::uint32_t)> word{};
    std::memcpy(word.data() + 2, environment, 2);
    Glb_range_environment = load_le<std::uint32_t>(word.data());
}

// The range is a promise for this client's record among the connected users alone; others come with the servers' idx.
void start_with_range()
{
    const char* range = range_in_buffer();
    glb_min_pu_connected_gtable_rec_index = load_le<std::uint32_t>(range);
    glb_min_gtable_rec_index = 1;
    glb_max_gtable_rec_index = std::numeric_limits<std::uint32_t>::max();
    glb_valid_range = 1;
    take_environment(range + 8);
    TBLPROC_Load_Persistent_Files(glb_min_gtable_rec_index, glb_max_gtable_rec_index);
    Set_Subscription_MX_Primary_Tables();
    TBLPROC_Send_Global_Tables_Subscription(1);
}

void keep_range()
{
    const char* range = range_in_buffer();
    glb_min_gtable_rec_index = load_le<std::uint32_t>(range);
    glb_max_gtable_rec_index = load_le<std::uint32_t>(range + 4);
    glb_valid_range = 1;
    TBLPROC_Load_Persistent_Files(glb_min_gtable_rec_index, glb_max_gtable_rec_index);
}

// ---- Both forms --------------------------------------------------------------------------------------------------

void open_markets_of_user()
{
    Get_Market_Access_Since_Table_User(&*Glb_cur_user);
}

// Date and number of the request are those of the login reply, which were taken when it came.
void start_at_end_of_servers(int type)
{
    if (type != DATAMANAGER_LIST_ID) {
        return;
    }
    COMMON_Log_Req(0);
    COMMON_Send_Log_Req();
    Glb_Log_Flag = 1;
    if (CQcApi* api = Current_Api()) {
        api->CallOnConnection(0);
    }
}

// Tables that are kept in files can be asked for by hash.
void take_hash_answer(int type, bool is_last)
{
    constexpr int by_hash = 2;
    const TABLE_ID_EQUIVALENCE& row = TBLEQUIV_Row(type);
    if (row.start_protocol == by_hash) {
        TBLPROC_Process_Hash_Answer(type, row.Ptr_CTableBase(), is_last ? 1 : 0);
    }
}

// What the letters that change no table do.
struct Form
{
    void (*take_range)();
    void (*table_ended)(int type);
    void (*hash_answered)(int type, bool is_last);
    void (*user_came)(); // with any letter
};

constexpr Form form_of_today{start_with_range, TBLPROC_Check_Referenced_Table, take_hash_answer, open_markets_of_user};
constexpr Form older_form{keep_range, start_at_end_of_servers, [](int, bool) {}, [] {}};

void process(const Form& form)
{
    CGTOrder& record = *Glb_cur_gt_order_msg;
    record.Init();
    const char letter = record[I_OP];
    if (letter == DATA_RANGE_CHAR) {
        form.take_range();
        return;
    }
    const TableRule* rule = rule_of(record[DATA_CODE]);
    if (rule == nullptr) {
        ++Glb_Not_Applied_Mss;
        return;
    }
    rule->change(letter);
    if (letter == DATA_END_TRANS_CHAR) {
        TBLPROC_Forget_Awaited_List(static_cast<unsigned>(record[DATA_CODE]));
        form.table_ended(rule->type);
    } else if (letter == DATA_HASH_ANSWER_CHAR || letter == DATA_HASH_LAST_ANSWER_CHAR) {
        form.hash_answered(rule->type, letter == DATA_HASH_LAST_ANSWER_CHAR);
    }
    if (rule->type == USER_CODE_ID) {
        form.user_came();
    }
}

} // namespace

void TBLPROC_Process_Global_Table_Msg(const char* /*source*/)
{
    process(form_of_today);
}

void COMMON_Process_Global_Table_Msg()
{
    process(older_form);
}
