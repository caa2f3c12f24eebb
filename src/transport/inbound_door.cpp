#include "transport/inbound_door.h"

#include "global.h"
#include "little_endian.h"
#include "transport/envelope.h"

#include <algorithm>
#include <array>
#include <cstring>

std::atomic<unsigned> glb_ME_test{0};

namespace {

using Extra = std::array<char, CMSS_EXTRA_LEN>;

// A slot keeps the extra data of an older record where a new one brings none.
constexpr Extra no_extra{};

constexpr unsigned leave_envelope = 1U | 2U;
constexpr unsigned take_envelope_all_the_same = 32U;

std::atomic<bool> door_is_closed{false};

bool envelopes_stay()
{
    const unsigned test = glb_ME_test.load(std::memory_order_relaxed);
    return (test & leave_envelope) != 0 && (test & take_envelope_all_the_same) == 0;
}

// The start of an envelope, zeros where there is less.
Extra start_of(const char* envelope, int len)
{
    Extra start{};
    if (envelope != nullptr && len > 0) {
        std::memcpy(start.data(), envelope, static_cast<std::size_t>(std::min(len, CMSS_EXTRA_LEN)));
    }
    return start;
}

void put_status(CMss_Arr& ring, int status, const char* data, int len, const char* source, const char* extra)
{
    ring.Collect(status, data, len, source, extra != nullptr ? extra : no_extra.data());
}

void put_bad_data(CMss_Arr& ring, const char* source, const char* extra)
{
    const int len = source != nullptr ? static_cast<int>(std::strlen(source)) : 0;
    put_status(ring, TCP_BAD_DATA_RECEIVED, source, len, source, extra);
}

void put_message(CMss_Arr& ring, const char* data, int len, const char* source, const char* extra)
{
    const Extra start = start_of(data, len);
    switch (envelopes_stay() ? DCON_MESSAGE_GOOD : DCON_Skip_Header(&data, &len, source)) {
    case DCON_MESSAGE_GOOD:
        ring.Collect(TCP_STATUS_PACKET_RECEIVED, data, len, source, start.data());
        break;
    case DCON_MESSAGE_BAD:
        put_bad_data(ring, source, extra);
        break;
    default: // a clock check that ended here
        break;
    }
}

} // namespace

void DCON_Put_Message_In_Recv_Array(CMss_Arr* ring, int status, const char* data, int len, const char* source,
                                    char* extra, int /*extra_len*/, int /*raw*/)
{
    if (ring == nullptr || door_is_closed.load(std::memory_order_relaxed)) {
        return;
    }
    if (status == TCP_STATUS_PACKET_RECEIVED) {
        put_message(*ring, data, len, source, extra);
    } else {
        put_status(*ring, status, data, len, source, extra);
    }
}

void DCON_Do_Not_Receive_Msgs()
{
    door_is_closed.store(true, std::memory_order_relaxed);
}

void qapi::Store_News(char (&extra)[CMSS_EXTRA_LEN], Connection_News news)
{
    std::memset(extra, 0, sizeof extra);
    store_le(extra, news.connection);
    store_le(extra + sizeof news.connection, news.host);
}

Connection_News qapi::Load_News(const char* extra)
{
    return {load_le<std::uint32_t>(extra), load_le<std::uint32_t>(extra + sizeof(std::uint32_t))};
}
