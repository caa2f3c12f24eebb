// Blocks of tagged items by themselves.
#include "support/record_file.h"

#include <functional>

using testing::ElementsAre;

namespace {

// Writes what it is told, and keeps the values of the codes that it knows, up to 9.
class Block : public CPers_d
{
public:
    using CPers_d::CPers_d;

    void Serialize() override { write(*this); }
    void Print_Data() override {}
    int Unserialize_Content(int code) override
    {
        if (code > 9) {
            return 0;
        }
        std::string value(size, '?');
        taken.push_back(Get_Data(value.data(), size, 1) != 0 ? std::to_string(code) + " " + ToHex(value) : "not whole");
        return 1;
    }

    std::function<void(Block&)> write;
    unsigned size = 4;
    std::vector<std::string> taken;
};

class PersisBlock : public RecordFileTest
{
protected:
    PersisBlock() { file.open("cities"); }

    int Write(const std::function<void(Block&)>& items, int max_write_len = 0)
    {
        block.write = items;
        return block.Write_Data(max_write_len);
    }
    int Read(const std::string& hex)
    {
        Put(FromHex(hex));
        file.Forget();
        block.taken.clear();
        return block.Read_Data();
    }

    CFile_d file;
    Block block{&file};
    const std::string extra = std::string(32, '0');
};

TEST_F(PersisBlock, ItemsStandInTheOrderTheyWereSet)
{
    const CALC_MNUM amount[9] = {CALC_SGNNEG, 0, 0, 0, 12, 5000, 0, 0, 1};
    EXPECT_EQ(Write([&](Block& b) {
                  b.Set_Char(1, 'c');
                  b.Set_Short(2, -2);
                  b.Set_UShort(3, 0xFFFE);
                  b.Set_Int(4, -2);
                  b.Set_UInt(5, 0x12345678);
                  b.Set_Long(6, 6);
                  b.Set_ULong(7, 7);
                  b.Set_Bool(8, true);
                  b.Set_Calc(9, amount);
              }),
              24 + 9 * 8 + 1 + 2 + 2 + 16 + 1 + 18);
    EXPECT_EQ(ToHex(Bytes()), "70000000"
                              "09000000" +
                                  extra +
                                  "01000000"
                                  "01000000"
                                  "63"
                                  "02000000"
                                  "02000000"
                                  "feff"
                                  "03000000"
                                  "02000000"
                                  "feff"
                                  "04000000"
                                  "04000000"
                                  "feffffff"
                                  "05000000"
                                  "04000000"
                                  "78563412"
                                  "06000000"
                                  "04000000"
                                  "06000000"
                                  "07000000"
                                  "04000000"
                                  "07000000"
                                  "08000000"
                                  "01000000"
                                  "01"
                                  "09000000"
                                  "12000000"
                                  "ffff000000000000"
                                  "0c008813"
                                  "000000000100");
}

TEST_F(PersisBlock, OneItemMayFillTheWholeBlock)
{
    const std::string value(3293, 'v');
    EXPECT_EQ(Write([&](Block& b) { b.Set_Data(1, value.data(), 3292); }), 3324);
    EXPECT_EQ(Bytes().size(), 3324U);
    EXPECT_EQ(Write([&](Block& b) { b.Set_Data(1, value.data(), 3293); }), 0);
    EXPECT_EQ(Write([&](Block& b) { b.Set_Data(1, value.data(), 4294967295U); }), 0);
}

TEST_F(PersisBlock, BlockAboveItsRoomGetsItsHeadAlone)
{
    EXPECT_EQ(Write([](Block& b) { b.Set_Int(1, 1); }, 35), 36);
    EXPECT_EQ(ToHex(Bytes()), "0c00000001000000" + extra);
    EXPECT_EQ(Write([](Block& b) { b.Set_Int(1, 1); }, 36), 36);
    EXPECT_EQ(Bytes().size(), 36U);
}

TEST_F(PersisBlock, ReaderPassesWhatItDoesNotKnow)
{
    EXPECT_EQ(Read("1700000002000000" + extra +
                   "0a00000003000000ffffff"
                   "0200000004000000a1b2c3d4"),
              1);
    EXPECT_THAT(block.taken, ElementsAre("2 a1b2c3d4"));
}

TEST_F(PersisBlock, ShortValueHasZerosBehindItAndALongOneIsCut)
{
    EXPECT_EQ(Read("1700000002000000" + extra +
                   "0100000002000000a1b2"
                   "0200000005000000a1b2c3d4e5"),
              1);
    EXPECT_THAT(block.taken, ElementsAre("1 a1b20000", "2 a1b2c3d4"));
}

TEST_F(PersisBlock, FirstFourBytesAreTurnedIfTheFileAsksForIt)
{
    block.size = 6;
    block.Use_Big_End();
    EXPECT_EQ(Read("0e00000001000000" + extra + "0100000006000000a1b2c3d4e5f6"), 1);
    EXPECT_THAT(block.taken, ElementsAre("1 d4c3b2a1e5f6"));
    block.Not_Use_Big_End();
    EXPECT_EQ(block.Get_Big_End(), 0);
}

TEST_F(PersisBlock, ItemThatIsNotWholeRefusesTheBlock)
{
    EXPECT_EQ(Read("0c00000001000000" + extra + "0100000005000000a1b2c3d4"), 0);
    EXPECT_THAT(block.taken, ElementsAre("not whole"));
    EXPECT_EQ(Read("0c00000001000000" + extra + "01000000ffffffffa1b2c3d4"), 0);
    EXPECT_EQ(Read("0c00000001000000" + extra + "0a000000ffffffffa1b2c3d4"), 0);
    EXPECT_EQ(Read("0700000001000000" + extra + "01000000040000"), 0);
}

TEST_F(PersisBlock, HeadThatLiesRefusesTheBlock)
{
    const std::string item = "0100000004000000a1b2c3d4";
    EXPECT_EQ(Read("0c00000001000000" + extra + item), 1);
    EXPECT_EQ(Read("0d00000001000000" + extra + item), 0);                        // more than the file has
    EXPECT_EQ(Read("0c00000002000000" + extra + item), 0);                        // an item too many
    EXPECT_EQ(Read("0c000000ffffffff" + extra + item), 0);                        // a number below 0
    EXPECT_EQ(Read("0000000001000000" + extra + item), 0);                        // no bytes
    EXPECT_EQ(Read("ffffffff01000000" + extra + item), 0);                        // a length below 0
    EXPECT_EQ(Read("0c00000001000000" + extra + "00000000" + item.substr(8)), 0); // code 0
    EXPECT_EQ(Read("0c0000000100000000"), 0);
}

TEST_F(PersisBlock, LengthAbove3300IsRefused)
{
    const std::string rest = std::string(6584, '0'); // 3292 bytes
    EXPECT_EQ(Read("e40c000001000000" + extra + "0a000000dc0c0000" + rest), 1);
    EXPECT_EQ(Read("e50c000001000000" + extra + "0a000000dd0c0000" + rest + "00"), 0);
}

TEST_F(PersisBlock, WindowShowsWhatWasWritten)
{
    file.Read_Ahead();
    Write([](Block& b) { b.Set_Int(1, 1); });
    EXPECT_EQ(block.Read_Data(), 1);
    Write([](Block& b) { b.Set_Int(1, 2); });
    EXPECT_EQ(block.Read_Data(), 1);
    EXPECT_THAT(block.taken, ElementsAre("1 01000000", "1 02000000"));
}

TEST_F(PersisBlock, PlacesBeyondAnyFileFail)
{
    block.Set_Position(0xFFFFFFFFFFFFFFF0U);
    EXPECT_EQ(block.Read_Data(), 0);
    EXPECT_EQ(Write([](Block& b) { b.Set_Int(1, 1); }), 0);
    EXPECT_EQ(errno, EFBIG);
}

} // namespace
