#include "field/bits.h"

#include <cstdint>

// clang-format off
//                                               bits, group, value
const S_Bits Glb_CLS_Bits                         {1,    0,    1};
const S_Bits Glb_FEED_Bits                        {1,    3,    1};
const S_Bits Glb_LEAVE_Bits                       {1,    5,    1};
const S_Bits Glb_NPENDING_ToShow_Bits             {1,    6,    1};
const S_Bits Glb_NPENDING_To_NOT_Show_Bits        {1,    6,    0};
const S_Bits Glb_NO_SPLIT_AMOUNT_Bits             {1,    7,    1};
const S_Bits Glb_Owner2_Split_Amount_Bits         {1,    0,    1};
const S_Bits Glb_Owner2_Two_Transactions_Generated_Bits{1, 6,  1};
const S_Bits Glb_Owner2_No_Show_Name_Bits         {1,    7,    1};
const S_Bits Glb_Owner2_Show_Name_Bits            {1,    7,    0};
const S_Bits Glb_NO_Namepending_Bits              {1,    0,    0};
const S_Bits Glb_Namepending_Bits                 {1,    0,    1};
const S_Bits Glb_NO_Broker_Admin_Bits             {1,    1,    0};
const S_Bits Glb_Broker_Admin_Bits                {1,    1,    1};
// clang-format on

namespace {

constexpr unsigned bits_in_byte = 8;

// Where a group stands: its first byte, and its place in the word that begins there.
struct Group
{
    unsigned byte;
    unsigned shift;
    unsigned mask;

    Group(unsigned grp_bits, unsigned position)
    {
        const auto bit = static_cast<std::uint16_t>(grp_bits * position);
        byte = bit / bits_in_byte;
        shift = bit % bits_in_byte;
        mask = grp_bits >= 1 && grp_bits <= bits_in_byte ? (1U << grp_bits) - 1 : 3;
    }

    [[nodiscard]] bool straddles() const { return mask << shift > 0xFF; }
};

} // namespace

void FIELD_Set_Bits(unsigned char* base, unsigned grp_bits, unsigned position, unsigned value)
{
    const Group group(grp_bits, position);
    const unsigned clear = group.mask << group.shift;
    const unsigned set = (value & group.mask) << group.shift;
    unsigned char* at = base + group.byte;
    at[0] = static_cast<unsigned char>((at[0] & ~clear) | set);
    if (group.straddles()) {
        at[1] = static_cast<unsigned char>((at[1] & ~(clear >> bits_in_byte)) | set >> bits_in_byte);
    }
}

unsigned FIELD_Get_Bits(const unsigned char* base, unsigned grp_bits, unsigned position)
{
    const Group group(grp_bits, position);
    const unsigned char* at = base + group.byte;
    const unsigned word = group.straddles() ? at[0] | static_cast<unsigned>(at[1]) << bits_in_byte : at[0];
    return word >> group.shift & group.mask;
}

void FIELD_Init_Bits(unsigned char* base, unsigned len, unsigned grp_bits, unsigned value)
{
    const std::uint64_t count = grp_bits != 0 ? std::uint64_t{len} * bits_in_byte / grp_bits : 0;
    for (std::uint64_t position = 0; position < count; ++position) {
        FIELD_Set_Bits(base, grp_bits, static_cast<unsigned>(position), value);
    }
}

unsigned qapi::Bytes_Of_Bits(unsigned grp_bits, unsigned position)
{
    const Group group(grp_bits, position);
    return group.byte + (group.straddles() ? 2 : 1);
}
