// Groups of bits inside a field: a row of small numbers, the lowest bits first. A group of `grp_bits` bits (1 to 8, of
// another width 2 bits count) number `position` begins at bit grp_bits * position, a number of 16 bits, and may
// straddle two bytes: group 2 of three bits, bits 6 to 8, of the bytes C0 01 is 7.
#pragma once

struct S_Bits
{
    unsigned grp_bits;  // bits in a group
    unsigned position;  // number of the group, from 0
    unsigned set_value; // what is to be stored
};

// ---- The groups that have names --------------------------------------------------------------------------------
extern const S_Bits Glb_CLS_Bits;
extern const S_Bits Glb_FEED_Bits;
extern const S_Bits Glb_LEAVE_Bits;
extern const S_Bits Glb_NPENDING_ToShow_Bits;
extern const S_Bits Glb_NPENDING_To_NOT_Show_Bits;
extern const S_Bits Glb_NO_SPLIT_AMOUNT_Bits;
extern const S_Bits Glb_Owner2_Split_Amount_Bits;
extern const S_Bits Glb_Owner2_Two_Transactions_Generated_Bits;
extern const S_Bits Glb_Owner2_No_Show_Name_Bits;
extern const S_Bits Glb_Owner2_Show_Name_Bits;
extern const S_Bits Glb_NO_Namepending_Bits;
extern const S_Bits Glb_Namepending_Bits;
extern const S_Bits Glb_NO_Broker_Admin_Bits;
extern const S_Bits Glb_Broker_Admin_Bits;

inline constexpr const S_Bits* OWNER_CLS_ORDER_INDEX = &Glb_CLS_Bits;
inline constexpr const S_Bits* AGGRESSOR_CLS_TRADE_FILTER_INDEX = &Glb_CLS_Bits;
inline constexpr const S_Bits* OWNER_FEED_ORDER_INDEX = &Glb_FEED_Bits;
inline constexpr const S_Bits* AGGRESSOR_FEED_ORDER_INDEX = &Glb_FEED_Bits;
inline constexpr const S_Bits* OWNER_NOT_LEAVE_ORDER_INDEX = &Glb_LEAVE_Bits;
inline constexpr const S_Bits* AGGRESSOR_LEAVE_ORDER_PROCESS_INDEX = &Glb_LEAVE_Bits;
inline constexpr const S_Bits* OWNER_NAME_PENDING_TO_SHOW_INDEX = &Glb_NPENDING_ToShow_Bits;
inline constexpr const S_Bits* AGGRESSOR_NAME_PENDING_TO_SHOW_INDEX = &Glb_NPENDING_ToShow_Bits;
inline constexpr const S_Bits* OWNER_NAME_PENDING_TO_NOT_SHOW_INDEX = &Glb_NPENDING_To_NOT_Show_Bits;
inline constexpr const S_Bits* OWNER_NO_SPLIT_AMOUNT_INDEX = &Glb_NO_SPLIT_AMOUNT_Bits;
inline constexpr const S_Bits* AGGRESSOR_NO_SPLIT_AMOUNT_INDEX = &Glb_NO_SPLIT_AMOUNT_Bits;
inline constexpr const S_Bits* OWNER2_SPLIT_AMOUNT_INDEX = &Glb_Owner2_Split_Amount_Bits;
inline constexpr const S_Bits* OWNER2_TWO_TRANSACTIONS_GENERATED_INDEX = &Glb_Owner2_Two_Transactions_Generated_Bits;
inline constexpr const S_Bits* OWNER2_NO_SHOW_NAME_INDEX = &Glb_Owner2_No_Show_Name_Bits;
inline constexpr const S_Bits* OWNER2_SHOW_NAME_INDEX = &Glb_Owner2_Show_Name_Bits;
inline constexpr const S_Bits* CONFCUPOS_NO_NAMEPENDING_INDEX = &Glb_NO_Namepending_Bits;
inline constexpr const S_Bits* CONFCUPOS_NAMEPENDING_INDEX = &Glb_Namepending_Bits;
inline constexpr const S_Bits* CONFCUPOS_NO_BROKER_ADMIN_INDEX = &Glb_NO_Broker_Admin_Bits;
inline constexpr const S_Bits* CONFCUPOS_BROKER_ADMIN_INDEX = &Glb_Broker_Admin_Bits;

// ---- Groups in any bytes ---------------------------------------------------------------------------------------
// Stores, reads one group; stores `value` into all groups of `len` bytes. The byte behind a group's first one is
// touched only if the group reaches into it.
void FIELD_Set_Bits(unsigned char* base, unsigned grp_bits, unsigned position, unsigned value);
[[nodiscard]] unsigned FIELD_Get_Bits(const unsigned char* base, unsigned grp_bits, unsigned position);
void FIELD_Init_Bits(unsigned char* base, unsigned len, unsigned grp_bits, unsigned value);

namespace qapi {

// Bytes from the start of a field up to the end of the last one that the group reaches into.
[[nodiscard]] unsigned Bytes_Of_Bits(unsigned grp_bits, unsigned position);

} // namespace qapi

using qapi::Bytes_Of_Bits;
