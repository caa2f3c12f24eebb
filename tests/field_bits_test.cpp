#include "support/field_record.h"

#include "field/bits.h"

namespace {

using testing::ElementsAre;

using Raw = std::vector<unsigned char>;

TEST(FieldBits, AGroupMayStraddleTwoBytes)
{
    Raw bytes{0xC0, 0x01};
    EXPECT_EQ(FIELD_Get_Bits(bytes.data(), 3, 2), 7U);
    FIELD_Set_Bits(bytes.data(), 3, 2, 2);
    EXPECT_THAT(bytes, ElementsAre(0x80, 0x00));
    FIELD_Set_Bits(bytes.data(), 3, 2, 4);
    EXPECT_THAT(bytes, ElementsAre(0x00, 0x01));
}

TEST(FieldBits, AStoreLeavesTheOtherGroupsAndCutsTheValue)
{
    Raw bytes{0xFF, 0xFF};
    FIELD_Set_Bits(bytes.data(), 3, 2, 8);
    EXPECT_THAT(bytes, ElementsAre(0x3F, 0xFE));
    FIELD_Set_Bits(bytes.data(), 1, 0, 2);
    EXPECT_THAT(bytes, ElementsAre(0x3E, 0xFE));
}

TEST(FieldBits, AGroupOfEightBitsIsAByteAndOfAnotherWidthTwoBitsCount)
{
    Raw bytes{0x00, 0xA5, 0xFF};
    EXPECT_EQ(FIELD_Get_Bits(bytes.data(), 8, 1), 0xA5U);
    EXPECT_EQ(FIELD_Get_Bits(bytes.data(), 16, 1), 3U);
    EXPECT_EQ(FIELD_Get_Bits(bytes.data(), 9, 1), 2U); // bits 9 and 10 of A5: 0, 1
}

TEST(FieldBits, TheNumberOfABitHasSixteenBits)
{
    Raw bytes{0x02};
    EXPECT_EQ(FIELD_Get_Bits(bytes.data(), 1, 65537), 1U);
}

// Under the address sanitizer the byte behind would be seen.
TEST(FieldBits, TheByteBehindIsTouchedOnlyIfTheGroupReachesIntoIt)
{
    const auto byte = std::make_unique<unsigned char>(static_cast<unsigned char>(0));
    FIELD_Set_Bits(byte.get(), 2, 3, 3);
    EXPECT_EQ(FIELD_Get_Bits(byte.get(), 2, 3), 3U);
    EXPECT_EQ(*byte, 0xC0);
    FIELD_Init_Bits(byte.get(), 1, 3, 5);
    EXPECT_EQ(*byte, 0xED); // two groups of three bits; the last two bits stay
}

TEST(FieldBits, InitStoresIntoAllWholeGroups)
{
    Raw bytes{0, 0, 0};
    FIELD_Init_Bits(bytes.data(), 2, 4, 0x9);
    EXPECT_THAT(bytes, ElementsAre(0x99, 0x99, 0));
    FIELD_Init_Bits(bytes.data(), 2, 0, 1);
    EXPECT_THAT(bytes, ElementsAre(0x99, 0x99, 0));
}

TEST(FieldBits, EveryGroupReadsWhatWasStoredAndNothingElseChanges)
{
    for (unsigned width = 1; width <= 8; ++width) {
        for (unsigned position = 0; (position + 1) * width <= 24; ++position) {
            Raw bytes{0, 0, 0};
            FIELD_Set_Bits(bytes.data(), width, position, 0xFF);
            const unsigned all = bytes[0] + 0x100U * bytes[1] + 0x10000U * bytes[2];
            EXPECT_EQ(all, ((1U << width) - 1) << (width * position)) << width << " bits, group " << position;
            EXPECT_EQ(FIELD_Get_Bits(bytes.data(), width, position), (1U << width) - 1);
        }
    }
}

// ---- Named groups and fields ----

struct NamedGroup
{
    const S_Bits* group;
    unsigned grp_bits, position, set_value;
};

TEST(FieldBits, NamedGroupsStandWhereTheRecordsHaveThem)
{
    const NamedGroup groups[] = {
        {OWNER_CLS_ORDER_INDEX, 1, 0, 1},
        {AGGRESSOR_CLS_TRADE_FILTER_INDEX, 1, 0, 1},
        {OWNER_FEED_ORDER_INDEX, 1, 3, 1},
        {AGGRESSOR_FEED_ORDER_INDEX, 1, 3, 1},
        {OWNER_NOT_LEAVE_ORDER_INDEX, 1, 5, 1},
        {AGGRESSOR_LEAVE_ORDER_PROCESS_INDEX, 1, 5, 1},
        {OWNER_NAME_PENDING_TO_SHOW_INDEX, 1, 6, 1},
        {AGGRESSOR_NAME_PENDING_TO_SHOW_INDEX, 1, 6, 1},
        {OWNER_NAME_PENDING_TO_NOT_SHOW_INDEX, 1, 6, 0},
        {OWNER_NO_SPLIT_AMOUNT_INDEX, 1, 7, 1},
        {AGGRESSOR_NO_SPLIT_AMOUNT_INDEX, 1, 7, 1},
        {OWNER2_SPLIT_AMOUNT_INDEX, 1, 0, 1},
        {OWNER2_TWO_TRANSACTIONS_GENERATED_INDEX, 1, 6, 1},
        {OWNER2_NO_SHOW_NAME_INDEX, 1, 7, 1},
        {OWNER2_SHOW_NAME_INDEX, 1, 7, 0},
        {CONFCUPOS_NO_NAMEPENDING_INDEX, 1, 0, 0},
        {CONFCUPOS_NAMEPENDING_INDEX, 1, 0, 1},
        {CONFCUPOS_NO_BROKER_ADMIN_INDEX, 1, 1, 0},
        {CONFCUPOS_BROKER_ADMIN_INDEX, 1, 1, 1},
    };
    for (const NamedGroup& named : groups) {
        EXPECT_EQ(named.group->grp_bits, named.grp_bits);
        EXPECT_EQ(named.group->position, named.position);
        EXPECT_EQ(named.group->set_value, named.set_value);
    }
}

class FieldBitGroups : public FieldTest
{
};

TEST_F(FieldBitGroups, WorkAtTheFieldsPlaceWhateverPolicyAndElementSay)
{
    CField& field = Put('A', 2, {"\0\0", 2});
    static char elsewhere[2] = {'\x7f', '\x7f'};
    field.m_policy_f = [](CField*) { return elsewhere; };
    field.m_index = 2;
    field.m_elem_len = 1;
    field.Set_Bits(OWNER_FEED_ORDER_INDEX);
    EXPECT_EQ(Bytes(field), std::string("\x08\0", 2));
    EXPECT_EQ(field.Get_Bits(OWNER_FEED_ORDER_INDEX), 1U);
    field.Set_Bits(3, 2, 7);
    EXPECT_EQ(Bytes(field), std::string("\xC8\x01", 2));
    EXPECT_EQ(field.Get_Bits(3, 2), 7U);
    EXPECT_EQ(elsewhere[0], '\x7f');
}

TEST_F(FieldBitGroups, InitFillsTheFieldAndNoByteBehindIt)
{
    CField& field = Put('A', 2, {"\0\0", 2});
    field.Init_Bits(CONFCUPOS_NAMEPENDING_INDEX);
    EXPECT_EQ(Bytes(field.m_displacement, 3), "\xFF\xFF~");
    field.Init_Bits(4, 1);
    EXPECT_EQ(Bytes(field.m_displacement, 3), "\x11\x11~");
}

TEST_F(FieldBitGroups, LeaveTheKeptValueAsItIs)
{
    CField& field = Put('S', 2, {"\1\0", 2});
    EXPECT_EQ(static_cast<int>(field), 1);
    field.Set_Bits(8, 0, 9);
    EXPECT_EQ(static_cast<int>(field), 1);
    record.Init();
    EXPECT_EQ(static_cast<int>(field), 9);
}

TEST_F(FieldBitGroups, OutsideTheBufferReadAsZeroAndAreNotStored)
{
    CField& last = record.Put('A', 159, 1);
    last.Set_Bits(8, 1, 1);
    last.Set_Bits(3, 2, 7);
    EXPECT_EQ(last.Get_Bits(8, 1), 0U);
    EXPECT_EQ(last.Get_Bits(3, 2), 0U);
    EXPECT_EQ(last.Get_Bits(8, 0), static_cast<unsigned>('~'));
    CField& behind = record.Put('A', 159, 0);
    behind.Set_Bits(8, 0, 1);
    behind.Init_Bits(8, 1);
    EXPECT_EQ(behind.Get_Bits(8, 0), 0U);
    EXPECT_EQ(All(), std::string(160, '~'));
}

} // namespace
