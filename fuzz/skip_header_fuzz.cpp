// Property: whatever a frame carries, taking its envelope off stays inside its bytes, a bad envelope moves nothing, and
// the door makes exactly one record of it, or none of a clock check that ends here. Byte 0 gives the identity of the
// connection ('D' for the one whose checks are sent on), the others are the payload.
#include "arrm.h"
#include "global.h"
#include "qcapi/support.h"
#include "require.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

namespace {

// A heap buffer of exactly the payload's size, so that a byte beside it is noticed.
struct Payload
{
    Payload(const std::uint8_t* data, std::size_t size)
        : bytes(std::make_unique<char[]>(size)), len(static_cast<int>(size))
    {
        std::copy_n(data, size, bytes.get());
    }
    std::unique_ptr<char[]> bytes;
    int len;
};

// What is sent on is at most one clock check, the whole envelope as it was stamped.
void drain_sent(const Payload& payload)
{
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
    int len = 0;
    if (Glb_Send_Mss->Withdraw(record.data(), &len, nullptr, nullptr) != -1) {
        require(len == payload.len);
        require(std::memcmp(record.data(), payload.bytes.get(), static_cast<std::size_t>(len)) == 0);
    }
    require(Glb_Send_Mss->Is_Any_Pkt() == 0);
}

int skip(const Payload& payload, const char* identity)
{
    const char* data = payload.bytes.get();
    int len = payload.len;
    const int found = DCON_Skip_Header(&data, &len, identity);
    require(len >= 0 && data + len == payload.bytes.get() + payload.len);
    require(found == DCON_MESSAGE_BAD ? len == payload.len : len <= payload.len - HEAD_FIX_DATA_LEN);
    drain_sent(payload);
    return found;
}

void pass_door(const Payload& payload, const char* identity, int found)
{
    static CMss_Arr ring(CMSS_INITIAL_NUM_RECORDS, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO);
    DCON_Put_Message_In_Recv_Array(&ring, TCP_STATUS_PACKET_RECEIVED, payload.bytes.get(), payload.len, identity,
                                   nullptr, 0, 0);
    drain_sent(payload);
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
    std::array<char, CMSS_EXTRA_LEN> extra{};
    int len = 0;
    const int status = ring.Withdraw(record.data(), &len, nullptr, extra.data());
    const int expected = found == DCON_MESSAGE_GOOD ? TCP_STATUS_PACKET_RECEIVED : TCP_BAD_DATA_RECEIVED;
    require(status == (found == DCON_MESSAGE_DONE ? -1 : expected));
    require(ring.Is_Any_Pkt() == 0);
    if (found == DCON_MESSAGE_GOOD) {
        const int shown = std::min(payload.len, CMSS_EXTRA_LEN);
        require(std::memcmp(extra.data(), payload.bytes.get(), static_cast<std::size_t>(shown)) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::array<char, 2> identity{static_cast<char>(data[0]), '\0'};
    const int found = skip(Payload(data + 1, size - 1), identity.data());
    require(found == DCON_MESSAGE_DONE || found == DCON_MESSAGE_GOOD || found == DCON_MESSAGE_BAD);
    pass_door(Payload(data + 1, size - 1), identity.data(), found);
    COMMON_Adjust_Time(0);
    return 0;
}
