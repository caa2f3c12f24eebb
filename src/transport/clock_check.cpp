#include "transport/clock_check.h"

#include "arrm.h"
#include "global.h"
#include "little_endian.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "transport/envelope.h"
#include "transport/transport_clock.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <limits>
#include <string_view>

std::atomic<unsigned> L_next_check_time{0};
std::atomic<unsigned> L_process_last_time{0};
std::atomic<unsigned> L_process_this_time{0};

namespace {

// ---- The frame of a check that begins here

constexpr int frame_len = 207;
constexpr int frame_data_len = frame_len - HEAD_FIX_DATA_LEN; // 188 of message and the tail
constexpr std::uint16_t frame_type = 1;
constexpr std::string_view clock_check_number = "869";
constexpr int primary_user_offset = 3; // in the message

// ---- The time block

constexpr int stages = 6;
constexpr int first_home_stage = 2; // stamped where the check begins, when it leaves
constexpr int last_stage = 5;       // stamped there too, when it is back
constexpr std::uint16_t stage_step = 4;
constexpr int seconds_offset = 2;
constexpr int fractions_offset = seconds_offset + stages * 4;
constexpr int units_offset = fractions_offset + stages * 4;
static_assert(units_offset + stages * 4 == TIME_BLOCK_LEN);

struct Time_Stamp
{
    std::uint32_t seconds;
    std::uint32_t fraction;
    std::uint32_t units; // in a second
};

class Time_Block
{
public:
    explicit Time_Block(char* at) : m_at(at) {}

    [[nodiscard]] int Stage() const { return load_le<std::uint16_t>(m_at) / stage_step; }
    void Begin_At(int stage) { store_le(m_at, static_cast<std::uint16_t>(stage * stage_step)); }
    void Next_Stage() { store_le(m_at, static_cast<std::uint16_t>(load_le<std::uint16_t>(m_at) + stage_step)); }

    void Store(int stage, const Time_Stamp& stamp)
    {
        store_le(Field(seconds_offset, stage), stamp.seconds);
        store_le(Field(fractions_offset, stage), stamp.fraction);
        store_le(Field(units_offset, stage), stamp.units);
    }
    [[nodiscard]] Time_Stamp Load(int stage) const
    {
        return {load_le<std::uint32_t>(Field(seconds_offset, stage)),
                load_le<std::uint32_t>(Field(fractions_offset, stage)),
                load_le<std::uint32_t>(Field(units_offset, stage))};
    }

private:
    [[nodiscard]] char* Field(int field, int stage) const { return m_at + field + stage * 4; }

    char* m_at;
};

// ---- Stamping

constexpr std::int32_t no_zone_offset = std::numeric_limits<std::int32_t>::min();

// What was taken off the seconds at the latest stage 2. Read by whichever thread takes the answer from the socket.
std::atomic<std::int32_t> zone_offset_at_start{no_zone_offset};

// What local time is behind universal time, which is how mktime reads a universal time as a local one. Around a change
// of daylight saving it is a few hours early or late, at both ends alike.
std::int32_t zone_offset(std::uint32_t seconds)
{
    const std::time_t moment = seconds;
    std::tm parts{};
    gmtime_r(&moment, &parts);
    parts.tm_isdst = -1;
    return static_cast<std::int32_t>(std::mktime(&parts) - moment);
}

// An end measures with its own clock (1, 2, 5) and shows the other end the corrected one (0, 3, 4).
bool is_own_clock(int stage)
{
    return stage % 4 == 1 || stage % 4 == 2;
}

// Returns the zone's offset at the stamp.
std::int32_t stamp(Time_Block& block, int stage)
{
    unsigned fraction = 0;
    unsigned units = 0;
    const std::uint32_t seconds =
        is_own_clock(stage) ? COMMON_GetLocTime_Frc(&fraction, &units) : COMMON_GetTime_Frc(&fraction, &units);
    const std::int32_t offset = zone_offset(seconds);
    block.Store(stage, {seconds - static_cast<std::uint32_t>(offset), fraction, units});
    if (stage == first_home_stage) {
        zone_offset_at_start.store(offset, std::memory_order_relaxed);
    }
    return offset;
}

// Stamps up to the next even stage.
void stamp_and_pass(Time_Block& block)
{
    bool odd = false;
    do {
        const int stage = block.Stage();
        odd = stage % 2 != 0;
        stamp(block, stage);
        block.Next_Stage();
    } while (odd);
}

// ---- Finishing

// The peer writes most of the block, so any value may stand there: all sums are unsigned and wrap.
std::uint64_t in_units(const Time_Stamp& stamp, std::uint64_t units)
{
    return stamp.seconds * units + stamp.fraction;
}

std::uint64_t far_end_in_units(const Time_Stamp& stamp, std::uint64_t units)
{
    const std::uint64_t fraction = stamp.units != 0 ? stamp.fraction * units / stamp.units : 0;
    return stamp.seconds * units + fraction;
}

// Ticks by which the far end's clock is ahead of this one's. The low 32 bits bear the sign: they are narrowed before
// they widen to long, which differs from platform to platform.
long measured_offset(const Time_Block& block)
{
    const Time_Stamp left = block.Load(first_home_stage);
    const std::uint64_t units = left.units;
    const std::uint64_t between = (in_units(left, units) + in_units(block.Load(last_stage), units)) / 2;
    const std::uint64_t offset = far_end_in_units(block.Load(3), units) - between;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(offset));
}

// A change of the zone between the two stamps of this end would move the clock by half of it. Such a check tells
// nothing and a new one begins at once. (A block that never was at stage 2 here has nothing to compare with.)
bool is_zone_unchanged(std::int32_t offset)
{
    const std::int32_t at_start = zone_offset_at_start.load(std::memory_order_relaxed);
    return at_start == no_zone_offset || at_start == offset;
}

void finish(Time_Block& block)
{
    const bool sound = is_zone_unchanged(stamp(block, last_stage));
    if (sound) {
        COMMON_Adjust_Time(measured_offset(block));
    }
    const unsigned now = Transport_Seconds();
    L_process_this_time = now;
    L_process_last_time = 0;
    L_next_check_time = sound ? now + CLOCK_CHECK_INTERVAL : now;
}

bool is_from_server(const char* source)
{
    return source != nullptr && source[0] == Glb_DS_Id[0];
}

} // namespace

int qapi::Run_Clock_Check(const char* envelope, int envelope_len, const char* message, int message_len,
                          const char* source)
{
    if (message_len < TIME_BLOCK_OFFSET + TIME_BLOCK_LEN) {
        return DCON_MESSAGE_BAD;
    }
    // The transport hands out its own buffer as const; a check is the one message whose bytes change on the way.
    Time_Block block(const_cast<char*>(message) + TIME_BLOCK_OFFSET);
    const int stage = block.Stage();
    if (stage > last_stage) {
        return DCON_MESSAGE_BAD;
    }
    if (stage == last_stage) {
        finish(block);
        return DCON_MESSAGE_DONE;
    }
    const bool goes_on = is_from_server(source);
    if (goes_on && envelope_len > MESSAGE_TRANS_RECORD_SIZE) {
        return DCON_MESSAGE_BAD;
    }
    stamp_and_pass(block);
    if (goes_on) {
        Glb_Send_Mss->Collect(0, envelope, envelope_len, nullptr, CMSS_NO_EXTRA.data());
    }
    return DCON_MESSAGE_GOOD;
}

void DCON_Format_time_message()
{
    L_next_check_time = Transport_Seconds() + CLOCK_CHECK_INTERVAL;
    std::array<char, frame_len> frame{};
    char* message = frame.data() + HEAD_FIX_DATA_LEN;
    store_le(frame.data(), ENVIA_EQUIPO);
    store_le(frame.data() + 2, static_cast<std::uint16_t>(frame_len));
    store_le(frame.data() + 4, frame_type);
    store_le(frame.data() + 6, static_cast<std::uint16_t>(PRD_ING_RET_NORMALES));
    std::memcpy(frame.data() + 8, Glb_Local_Machine, 4);
    store_le(frame.data() + HEAD_FIX_LEN + 2, static_cast<std::uint16_t>(frame_data_len));
    clock_check_number.copy(message, clock_check_number.size());
    std::memcpy(message + primary_user_offset, Glb_Local_Machine, 4);
    Time_Block(message + TIME_BLOCK_OFFSET).Begin_At(first_home_stage);
    const char* data = frame.data();
    int len = frame_len;
    DCON_Skip_Header(&data, &len, Glb_DS_Id); // stamps it and sends it off, as it does with one that arrives
}
