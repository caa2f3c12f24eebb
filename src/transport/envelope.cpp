#include "transport/envelope.h"

#include "arrm.h"
#include "global.h"
#include "little_endian.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "qcapi/support.h"
#include "transport/clock_check.h"
#include "transport/generic_entry.h"
#include "transport/wsock.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <string_view>

const char Glb_DS_Id[] = "D";
const char Glb_GT_Id[] = "G";
const char Glb_BR_Id[] = "B";

std::atomic<unsigned> glb_num_sent_msgs{0};
std::atomic<const std::atomic<int>*> COM_sock_state{nullptr};
std::atomic<int> Glb_main_connected{0};

namespace {

// The fields are written one behind the other.
static_assert(offsetof(MON_MESS_DESTR, mess_long) == 2 && offsetof(MON_MESS_DESTR, mess_type) == 4);
static_assert(offsetof(MON_MESS_DESTR, priority) == 6 && offsetof(MON_MESS_DESTR, eq_src_name) == 8);
static_assert(offsetof(MON_MESS_DESTR, mess_buff) == HEAD_FIX_LEN);
static_assert(sizeof(MON_MESS_DESTR) <= std::numeric_limits<std::uint16_t>::max()); // what fits has a 16-bit length

constexpr std::size_t length_len = 2; // bytes of a length field

// ---- Building

// Writes from front to back.
class Writer
{
public:
    explicit Writer(char* at) : m_at(at) {}

    void Number(std::size_t value)
    {
        store_le(m_at, static_cast<std::uint16_t>(value));
        m_at += length_len;
    }
    void Bytes(const char* bytes, std::size_t count)
    {
        if (count > 0) {
            std::memcpy(m_at, bytes, count);
        }
        m_at += count;
    }
    void Zeros(std::size_t count)
    {
        std::memset(m_at, 0, count);
        m_at += count;
    }

private:
    char* m_at;
};

// Calls `visit(identifier, number, size, elements)` for each group in the order in which they travel.
template <typename Visitor> void for_each_group(CDestinationsList& list, Visitor visit)
{
    const int* numbers = list.Get_Numbers();
    for (int i = 0; i < NUM_DEST_LIST_TYPES; ++i) {
        if (numbers[i] > 0) {
            visit(CDestinationsList::Get_Ids()[i], static_cast<std::size_t>(numbers[i]),
                  static_cast<std::size_t>(CDestinationsList::Get_Sizes()[i]), list.Get_Adressees()[i]);
        }
    }
    const std::string_view generic(list.Get_Gen_Adress(), static_cast<std::size_t>(list.Get_Gen_Adress_Len()));
    For_Each_Generic_Entry(generic, [&visit](std::string_view entry) {
        visit(entry.data(), std::size_t{1}, entry.size() - GENERIC_ID_LEN, entry.data() + GENERIC_ID_LEN);
    });
}

std::size_t destinations_len(CDestinationsList* list)
{
    std::size_t total = 0;
    if (list != nullptr) {
        for_each_group(*list, [&total](const char*, std::size_t number, std::size_t size, const char*) {
            total += GROUP_HEAD_LEN + number * size;
        });
    }
    return total;
}

void write_destinations(Writer& writer, CDestinationsList* list)
{
    if (list != nullptr) {
        for_each_group(*list, [&writer](const char* id, std::size_t number, std::size_t size, const char* elements) {
            writer.Bytes(id, GENERIC_ID_LEN);
            writer.Number(number);
            writer.Number(size);
            writer.Bytes(elements, number * size);
        });
    }
}

bool fits_an_envelope(std::size_t groups_len, int len)
{
    constexpr std::size_t room = sizeof(MON_MESS_DESTR) - HEAD_FIX_DATA_LEN - ENVELOPE_TAIL_LEN;
    if (len >= 0 && groups_len <= room && static_cast<std::size_t>(len) <= room - groups_len) {
        return true;
    }
    COMMON_Put_Syslog_Message(
        1, "A message of %d bytes with %u bytes of addressees doesn't fit its envelope and is not sent", len,
        static_cast<unsigned>(groups_len));
    return false;
}

// ---- Taking off

bool is_clock_check(std::string_view message)
{
    constexpr std::size_t digits = 3;
    if (message.size() < digits) {
        return false;
    }
    int number = 0;
    for (const char digit : message.substr(0, digits)) {
        if (!ascii_digit(digit)) {
            return false;
        }
        number = number * 10 + (digit - FIRST_CHAR_NUMBER_CODE);
    }
    return number == MSS_TIME_CHECK;
}

// ---- Sending

MON_MESS_DESTR COM_msg_area;
MON_MESS_DESTR COM_msg_area2;

bool is_open()
{
    const std::atomic<int>* state = COM_sock_state.load(std::memory_order_acquire);
    return state != nullptr && state->load(std::memory_order_relaxed) == CONN_STATE_OPENED;
}

// The connection that a message for `target` belongs to, or null if there is none.
const char* identity_of(int target)
{
    if (target == DMDI_DEST) {
        return Glb_BR_Id;
    }
    return (target == NORMAL_DEST || target == DS_DEST) && is_open() ? Glb_DS_Id : nullptr;
}

// A longer one would be cut by the ring and travel with a length that is not its own.
bool fits_a_record(int envelope_len)
{
    if (envelope_len <= MESSAGE_TRANS_RECORD_SIZE) {
        return true;
    }
    COMMON_Put_Syslog_Message(1, "An envelope of %d bytes is longer than a record of %d and is not sent", envelope_len,
                              MESSAGE_TRANS_RECORD_SIZE);
    return false;
}

// The log's copy is mess_long bytes from mess_buff on, so it ends HEAD_FIX_LEN bytes behind the envelope; what an older
// message left there is not this one's.
void log_packet(MON_MESS_DESTR& area, int envelope_len, const char* identity, const char* log_text)
{
    std::memset(area.mess_buff + envelope_len - HEAD_FIX_LEN, 0, HEAD_FIX_LEN);
    LOG_Put_Msg(log_text, area.mess_buff, envelope_len, identity, 0, nullptr);
}

void send_packet(MON_MESS_DESTR& area, const char* message, int len, CDestinationsList* dest, int priority,
                 const char* log_text)
{
    const char* identity = identity_of(dest != nullptr ? dest->Get_Target() : NORMAL_DEST);
    if (identity == nullptr) {
        return;
    }
    const int envelope_len = DCON_Set_Header(&area, message, len, dest, priority);
    if (envelope_len == 0 || !fits_a_record(envelope_len)) {
        return;
    }
    if (log_text != nullptr && log_text[0] != '\0') {
        log_packet(area, envelope_len, identity, log_text);
    }
    if (identity == Glb_DS_Id && Glb_main_connected.load(std::memory_order_relaxed) != 0) {
        glb_num_sent_msgs.fetch_add(1, std::memory_order_relaxed);
        Glb_Send_Mss->Collect(0, reinterpret_cast<const char*>(&area), envelope_len, nullptr, CMSS_NO_EXTRA.data());
    }
}

} // namespace

int DCON_Groups_Len(CDestinationsList* dest)
{
    return static_cast<int>(destinations_len(dest));
}

unsigned short DCON_Set_Header(MON_MESS_DESTR* out, const char* message, int len, CDestinationsList* dest, int priority)
{
    const std::size_t groups_len = destinations_len(dest);
    if (!fits_an_envelope(groups_len, len)) {
        return 0;
    }
    const std::size_t data_len = static_cast<std::size_t>(len) + ENVELOPE_TAIL_LEN;
    const std::size_t mess_long = HEAD_FIX_DATA_LEN + groups_len + data_len;
    Writer writer(reinterpret_cast<char*>(out));
    writer.Number(ENVIA_EQUIPO);
    writer.Number(mess_long);
    writer.Number(MENSAJE_NORMAL);
    writer.Number(static_cast<std::uint16_t>(priority));
    writer.Bytes(Glb_Local_Machine, sizeof out->eq_src_name);
    writer.Number(groups_len);
    write_destinations(writer, dest);
    writer.Number(data_len);
    writer.Bytes(message, static_cast<std::size_t>(len));
    writer.Zeros(ENVELOPE_TAIL_LEN);
    return static_cast<unsigned short>(mess_long);
}

int DCON_Skip_Header(const char** data, int* len, const char* source)
{
    const char* envelope = *data;
    const int envelope_len = *len;
    if (envelope == nullptr || envelope_len < HEAD_FIX_DATA_LEN) {
        return DCON_MESSAGE_BAD;
    }
    const int head_len = HEAD_FIX_DATA_LEN + load_le<std::uint16_t>(envelope + HEAD_FIX_LEN);
    if (head_len > envelope_len) {
        return DCON_MESSAGE_BAD;
    }
    const char* message = envelope + head_len;
    const int message_len = envelope_len - head_len;
    const int found = is_clock_check({message, static_cast<std::size_t>(message_len)})
                          ? qapi::Run_Clock_Check(envelope, envelope_len, message, message_len, source)
                          : DCON_MESSAGE_GOOD;
    if (found != DCON_MESSAGE_BAD) {
        *data = message;
        *len = message_len;
    }
    return found;
}

void COM_Send_Pkt(char* message, int len, CDestinationsList* dest, int priority, const char* log_text)
{
    send_packet(COM_msg_area, message, len, dest, priority, log_text);
}

void COM_Send_Pkt2(char* message, int len, CDestinationsList* dest, int priority, const char* log_text)
{
    send_packet(COM_msg_area2, message, len, dest, priority, log_text);
}

void COM_Get_Target_DS_List(int target, CDestinationsList** list)
{
    switch (target) {
    case 1:
        *list = &glb_ds_dest_list_to_DGI;
        break;
    case 2:
        *list = &glb_ds_dest_list_to_DS;
        break;
    default:
        *list = &glb_ds_dest_list;
    }
}
