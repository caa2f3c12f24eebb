// A stream of received records, of any number, length and content, goes through the reader's whole path: views,
// filters, mailboxes, replicas, the steps of a session. The host takes every record that is announced, walks its fields
// and finishes it. Behind any stream a good order is still announced and a good table record still found.
//
// Input: records, each a control byte, a length of two bytes and the bytes. A control byte below 32 gives the record
// the number of a kind.
#include "arrm.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "reader/messages.h"
#include "reader/processed_log.h"
#include "reader/views.h"
#include "require.h"
#include "tblproc/global_tables.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblproc.h"

#include <qcapi/qcapi.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <span>
#include <string>

namespace {

constexpr unsigned connection = 1;
constexpr std::size_t longest_record = MESSAGE_TRANS_RECORD_SIZE;
constexpr const char* numbers[] = {"888", "888", "888", "888", "888", "888", "888", "888", "111", "113", "121",
                                   "112", "114", "132", "133", "134", "153", "176", "177", "291", "300", "575",
                                   "879", " 87", "201", "204", "205", "865", "116", "000", "999", "xyz"};

class Host : public CQcApi
{
public:
    ~Host() override { Logout(); }

    void OnMessageReceived(char* message_type, unsigned int message_num) override
    {
        ++announced;
        require(TakeMessage(message_type, message_num) == 0);
        std::array<char, 1024> path{};
        for (int steps = 0; steps < 60 && GetNextField(path.data(), m_value.data()) != 0; ++steps) {
        }
        char user[] = "usuario.nombre";
        GetField(user, m_value.data());
        GetFieldLONG(user);
        require(FinishMessageProcess(message_type, message_num) == 0);
    }

    int announced = 0;

private:
    std::array<char, 4200> m_value{};
};

Host& host()
{
    static Host* object = [] {
        auto* made = new Host;
        CQcApi::initialize_flag = QAPI_INITIALIZED;
        TBLPROC_Init_Tables();
        Flag_Mailboxes();
        COMMON_Set_Code_Data_Servers_List(1, "DSAB");
        LOG_Msg_Init();
        COMMON_Init();
        std::fill(std::begin(Glb_suscribed_message), std::end(Glb_suscribed_message), 1);
        for (int type = 1; type < MAX_CODE_ID; ++type) {
            COMMON_Global_Codes_Add(type, type);
            Glb_access_tables[type - 1] = {type, type};
            Glb_subscribed_global_table_type[type] = static_cast<unsigned>(type);
        }
        return made;
    }();
    return *object;
}

void receive(std::span<const char> record)
{
    std::array<char, CMSS_EXTRA_LEN> extra{};
    The_Receive_Buffer->Take(record);
    Glb_cur_order_msg->Init();
    Act_On_Message(Received_Number(), {"D", extra.data(), connection});
}

// A good order and a good record of cities.
void require_that_it_goes_on()
{
    const int before = host().announced;
    std::string order(1504, '\0');
    order.replace(0, 3, "111");
    order.replace(3 + 8, 2, "AB");
    receive(order);
    require(host().announced == before + 1);

    std::string city(300, '\0');
    city.replace(0, 4, "888I");
    city[4] = static_cast<char>(CITIES_CODE_ID);
    const std::uint32_t idx = 0x7FFFFFF0;
    std::memcpy(city.data() + 10, &idx, sizeof idx);
    receive(city);
    require(Glb_City_Table->Find_By_Idx(idx) != nullptr);
}

void empty_all()
{
    for (const auto& table : All_Global_Tables()) {
        table.delete_all_records();
    }
    Glb_Send_Mss->Initialize();
    Glb_Recv_Mss->Initialize();
    Glb_Log_Mss->Initialize();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    host();
    Open_Session(connection, nullptr);
    std::span<const char> rest(reinterpret_cast<const char*>(data), size);
    while (rest.size() >= 3) {
        const auto control = static_cast<unsigned char>(rest[0]);
        const std::size_t wanted = static_cast<unsigned char>(rest[1]) + 256U * static_cast<unsigned char>(rest[2]);
        const auto bytes = rest.subspan(3, std::min({wanted, rest.size() - 3, longest_record}));
        std::string record(bytes.begin(), bytes.end());
        if (control < std::size(numbers)) {
            record.replace(0, std::min<std::size_t>(3, record.size()), numbers[control]);
        }
        receive(record);
        rest = rest.subspan(3 + bytes.size());
    }
    require_that_it_goes_on();
    empty_all();
    return 0;
}
