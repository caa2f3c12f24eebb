#include "support/field_record.h"

namespace {

using testing::IsEmpty;

class Field : public FieldTest
{
protected:
    // A policy that leads to a text of zeros, or to the field's own place.
    static char* Empty(CField* /*field*/) { return empty; }
    static char* Home(CField* field) { return field->m_parent->m_data + field->m_displacement; }
    inline static char empty[8] = {};
};

// ---- Construction ----

TEST_F(Field, TakesItsDescriptionFromItsRowAndItsPlace)
{
    qapi::FieldPlace place;
    place.position = 7;
    place.field_id = DATA_CODE;
    place.name = "data_code";
    place.code = 99;
    place.displacement = 20;
    place.len = 2;
    place.shares_bytes = true;
    const CField& field = record.Put(place);
    EXPECT_EQ(field.m_field_id, DATA_CODE);
    EXPECT_EQ(field.m_parent, &record);
    EXPECT_EQ(field.m_type, FLD_UNSIGNED_SHORT);
    EXPECT_EQ(field.m_len, 2);
    EXPECT_EQ(field.m_displacement, 20);
    EXPECT_EQ(field.m_index, 0);
    EXPECT_EQ(field.m_elem_len, 0);
    EXPECT_EQ(field.m_policy_f, nullptr);
    EXPECT_EQ(field.m_msg_field_init_pointer, record.Get_Field_Init_Pointer(7));
    EXPECT_STREQ(field.m_field_name, "data_code");
    EXPECT_EQ(field.m_field_name_code, 99);
    EXPECT_TRUE(field.m_shares_bytes);
}

TEST_F(Field, EveryTypeGetsItsClass)
{
    EXPECT_NE(dynamic_cast<CShort*>(&record.Put('S', 3, 2)), nullptr);
    EXPECT_NE(dynamic_cast<CUnsignedShort*>(&record.Put('W', 3, 2)), nullptr);
    EXPECT_NE(dynamic_cast<CUnsignedInt*>(&record.Put('L', 3, 4)), nullptr);
    EXPECT_NE(dynamic_cast<CNumAsciiInt*>(&record.Put('N', 3, 4)), nullptr);
    EXPECT_NE(dynamic_cast<CNumAsciiDouble*>(&record.Put('D', 3, 4)), nullptr);
    EXPECT_NE(dynamic_cast<CAlpha*>(&record.Put('A', 3, 4)), nullptr);
    EXPECT_NE(dynamic_cast<CInteger*>(&record.Put('I', 3, 4)), nullptr);
    EXPECT_NE(dynamic_cast<CDate*>(&record.Put('F', 3, 8)), nullptr);
}

TEST_F(Field, AnUnknownTypeIsPrintedAndGivesNoField)
{
    qapi::FieldPlace place;
    place.field_id = DATA_CODE;
    FIELD_EQUIVALENCE& row = glb_field_equivalence[DATA_CODE];
    for (const int type : {0, 9}) {
        row.field_type = type;
        testing::internal::CaptureStdout();
        EXPECT_EQ(qapi::Create_Field(&record, place), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error: bad field type, id = " + std::to_string(DATA_CODE) +
                                                              ", line =" + std::to_string(row.file_line) + " \n");
    }
    row.field_type = FLD_UNSIGNED_SHORT;
}

TEST_F(Field, TellsWhetherChangesAreTransactions)
{
    qapi::FieldPlace place;
    place.field_id = DATA_CODE;
    EXPECT_EQ(record.Put(place).m_no_change_message_flag, 0);
    place.no_change = true;
    EXPECT_EQ(record.Put(place).m_no_change_message_flag, 1);
    CMessage without(CMessage::Without_Transactions(), 10);
    place.no_change = false;
    EXPECT_EQ(qapi::Create_Field(&without, place)->m_no_change_message_flag, 1);
}

TEST_F(Field, IsCutAtTheRecordsEndAndInTheSpareBytesAtTheirs)
{
    EXPECT_EQ(qapi::Place_Field(DATA_INFO, 0, 60).len, 41); // at 19
    EXPECT_EQ(qapi::Place_Field(DATA_INFO, 41, 60).len, 100);
    EXPECT_EQ(qapi::Place_Field(DATA_INFO, 141, 60).len, 0);
    EXPECT_EQ(qapi::Place_Field(DATA_INFO, 141, 60).displacement, 159);
    EXPECT_EQ(qapi::Place_Field(DATA_CODE, 61, 60).len, 2); // at 62, whole
}

// ---- Addresses ----

TEST_F(Field, PointersAreItsPlace)
{
    CField& field = Put('A', 4, "abcd");
    EXPECT_EQ(field.m_data, nullptr);
    EXPECT_EQ(field.Get_Data_Ptr(), record.m_data + 3);
    EXPECT_EQ(field.m_data, record.m_data + 3);
    EXPECT_EQ(field.Get_Ptr(), record.m_data + 3);
    EXPECT_EQ(static_cast<char*>(field), record.m_data + 3);
    EXPECT_EQ(static_cast<const void*>(field), record.m_data + 3);
    EXPECT_EQ(static_cast<char>(field), 'a');
}

TEST_F(Field, FollowsTheRecordToAnotherBuffer)
{
    CField& field = Put('A', 4, "abcd");
    std::vector<char> buffer(160, 'z');
    record.Set_Data_Buff(buffer.data());
    EXPECT_EQ(field.Get_Ptr(), buffer.data() + 3);
    EXPECT_TRUE(field == "zzzz");
}

TEST_F(Field, TheCurrentElementMovesGetPtrAlone)
{
    CField& field = Put('A', 8, "aabbccdd");
    field.m_elem_len = 2;
    field.m_len = 2;
    field.m_index = 3;
    EXPECT_EQ(field.Get_Ptr(), record.m_data + 7);
    EXPECT_EQ(field.Get_Data_Ptr(), record.m_data + 3);
    EXPECT_EQ(static_cast<char>(field), 'a');
    field.Forget_Element();
    EXPECT_EQ(field.Get_Ptr(), record.m_data + 3);
    EXPECT_EQ(field.m_len, 8);
    EXPECT_EQ(field.m_elem_len, 0);
}

TEST_F(Field, NoElementLeavesTheBuffer)
{
    CField& field = Put('A', 8, "aabbccdd");
    field.m_elem_len = 8;
    for (const int index : {20, 1000, 2147483647}) {
        field.m_index = index;
        EXPECT_EQ(field.Get_Ptr(), record.m_data + 152) << index;
    }
    field.m_index = 2;
    field.m_elem_len = -2147483647;
    EXPECT_EQ(field.Get_Ptr(), record.m_data);
}

TEST_F(Field, APolicyLeadsReadsElsewhereAndLeavesDataAlone)
{
    CField& field = Put('A', 4, "abcd");
    field.Get_Data_Ptr();
    field.m_policy_f = Empty;
    field.m_data = nullptr;
    EXPECT_EQ(field.Get_Data_Ptr(), empty);
    EXPECT_EQ(field.m_data, nullptr);
    field.m_index = 2;
    EXPECT_EQ(field.Get_Ptr(), empty);
    EXPECT_TRUE(field == "");
    EXPECT_EQ(static_cast<char>(field), 'a');
}

TEST_F(Field, WritesThroughAPolicyThatLeadsElsewhereAreDropped)
{
    for (const char type : {'S', 'W', 'I', 'L', 'N', 'D', 'A', 'T', 'F'}) {
        SCOPED_TRACE(type);
        CField& field = record.Put(type, 10, 8);
        field.m_policy_f = Empty;
        const std::string before = All();
        EXPECT_EQ(field = "20240131", 0);
        field.Clean();
        field.Set_Text("7");
        if (type == 'A') {
            EXPECT_EQ(field.SetStr("abc"), 0);
            EXPECT_EQ(field = 5, 0);
            field.m_len = 1;
            EXPECT_EQ(field = 5, 0);
        }
        EXPECT_EQ(All(), before);
        EXPECT_EQ(std::string(empty, 8), std::string(8, '\0'));
    }
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Field, WritesThroughAPolicyThatLeadsHomeAreStored)
{
    CField& field = Put('A', 4, "abcd");
    field.m_policy_f = Home;
    EXPECT_EQ(field = "wxyz", 1);
    EXPECT_EQ(Bytes(field), "wxyz");
}

// The policy's choice depends on another field: what it gave once says nothing about the next time.
TEST_F(Field, AValueReadThroughAPolicyIsNotKept)
{
    CField& field = Put('N', 3, "123");
    field.m_policy_f = Home;
    EXPECT_EQ(static_cast<int>(field), 123);
    field.m_policy_f = Empty;
    EXPECT_EQ(static_cast<int>(field), 0);
}

// ---- Bytes ----

TEST_F(Field, IsEmptyIfItsLastByteIsZero)
{
    EXPECT_FALSE(Put('A', 3, {"\0\0x", 3}).IsEmptyField());
    EXPECT_TRUE(Put('A', 3, {"ab\0", 3}).IsEmptyField());
    EXPECT_TRUE(record.Put('A', 159, 0).IsEmptyField());
}

TEST_F(Field, KnowsWhetherItsFirstBytesAreOneCharacter)
{
    CField& field = Put('A', 4, "xxxy");
    EXPECT_TRUE(field.IsOnlyChar('x', 3));
    EXPECT_FALSE(field.IsOnlyChar('x', 4));
    EXPECT_FALSE(field.IsOnlyChar('x', 0));
    EXPECT_TRUE(Put('A', 2, "  ").IsOnlyChar(' ', 0));
    EXPECT_TRUE(Put('A', 2, "\xA0\xA0").IsOnlyChar(0xA0, 0));
}

TEST_F(Field, BytesBehindTheBufferCountAsZeros)
{
    CField& field = record.Put('A', 156, 4);
    EXPECT_FALSE(field.IsOnlyChar('~', 5));
    std::memset(record.m_data + 156, 0, 4);
    EXPECT_TRUE(field.IsOnlyChar('\0', 2147483647));
}

TEST_F(Field, CleanFillsWithZerosAndForgetsTheValue)
{
    CField& field = Put('N', 3, "123");
    EXPECT_EQ(static_cast<int>(field), 123);
    field.Clean();
    EXPECT_EQ(Bytes(2, 5), std::string("~\0\0\0~", 5));
    EXPECT_EQ(static_cast<int>(field), 0);
}

TEST_F(Field, MemCmpLooksAtItsLength)
{
    CField& field = Put('A', 3, "bcd");
    EXPECT_EQ(field.MemCmp("bcdX"), 0);
    EXPECT_GT(field.MemCmp("bca"), 0);
    EXPECT_LT(field.MemCmp("bd"), 0);
}

TEST_F(Field, SetTextCutsOrPadsToTheField)
{
    CField& alpha = Put('A', 9, "~~~~~~~~~");
    alpha.Set_Text("127.0.0.1");
    EXPECT_EQ(Bytes(alpha), "127.0.0.1");
    alpha.Set_Text("ab");
    EXPECT_EQ(Bytes(alpha), std::string("ab\0\0\0\0\0\0\0", 9));
    alpha.Set_Text("0123456789");
    EXPECT_EQ(Bytes(alpha.m_displacement, 10), "012345678~");
    alpha.Set_Text("");
    EXPECT_EQ(Bytes(alpha), std::string(9, '\0'));
}

TEST_F(Field, SetTextGivesOtherTypesTheirValue)
{
    CField& number = Put('S', 2, "~~");
    number.Set_Text("12345");
    EXPECT_EQ(static_cast<int>(number), 12345);
    CField& digits = Put('N', 4, "~~~~");
    digits.Set_Text("7");
    EXPECT_EQ(Bytes(digits), "   7");
    CField& date = Put('F', 8, "~~~~~~~~");
    date.Set_Text("");
    EXPECT_EQ(Bytes(date), std::string(8, '\0'));
}

// ---- Kept values ----

TEST_F(Field, AValueIsKeptUntilTheRecordHasNewContents)
{
    CField& field = Put('N', 3, "123");
    EXPECT_EQ(*field.m_msg_field_init_pointer, 0);
    EXPECT_EQ(static_cast<int>(field), 123);
    EXPECT_EQ(*field.m_msg_field_init_pointer, 1);
    std::memcpy(field.Get_Ptr(), "456", 3);
    EXPECT_EQ(static_cast<int>(field), 123);
    record.Init();
    EXPECT_EQ(static_cast<int>(field), 456);
}

TEST_F(Field, AWriteToBytesOfItsOwnLeavesOtherValues)
{
    CField& a = Put('N', 3, "111");
    CField& b = Put('N', 3, "222");
    EXPECT_EQ(static_cast<int>(b), 222);
    std::memcpy(b.Get_Ptr(), "333", 3);
    EXPECT_EQ(a = 5, 1);
    EXPECT_EQ(static_cast<int>(b), 222);
}

TEST_F(Field, WithoutAPlaceForItsFlagAValueIsReadEachTime)
{
    for (const char type : {'S', 'N', 'D', 'F'}) {
        CField& field = record.Put(type, 10, 8);
        field.m_msg_field_init_pointer = nullptr;
        Fill(10, "20240131");
        const std::string before =
            type == 'F' ? std::to_string(static_cast<unsigned>(field)) : std::to_string(static_cast<int>(field));
        std::memcpy(record.m_data + 10, "19991231", 8);
        const std::string after =
            type == 'F' ? std::to_string(static_cast<unsigned>(field)) : std::to_string(static_cast<int>(field));
        EXPECT_NE(before, after) << type;
        EXPECT_EQ(field = "20240131", 1);
        field.Clean();
    }
}

// ---- Behind the buffer ----

TEST_F(Field, BehindTheBufferReadsAsNothingAndDropsWhatIsWritten)
{
    for (const char type : {'S', 'W', 'I', 'L', 'N', 'D', 'A', 'T', 'F'}) {
        SCOPED_TRACE(type);
        CField& field = record.Put(type, 159, 0);
        const std::string before = All();
        EXPECT_EQ(static_cast<char>(field), '\0');
        EXPECT_EQ(field.MemCmp("x"), 0);
        if (type != 'F') {
            EXPECT_EQ(static_cast<int>(field), 0);
        }
        EXPECT_EQ(field = "20240131", 0);
        field.Clean();
        EXPECT_EQ(All(), before);
        if (type == 'A') {
            char dest[2] = "x";
            EXPECT_EQ(field >> dest, dest);
            EXPECT_EQ(dest[0], '\0');
            EXPECT_EQ(field = 5, 0);
            EXPECT_TRUE(field == "anything"); // over no byte
        }
        EXPECT_EQ(All(), before);
    }
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// Every operation at every length and distance from the end; the sanitizers see what leaves the buffer.
TEST_F(Field, NoOperationLeavesTheBuffer)
{
    std::vector<char> dest(64);
    const std::string text(63, '9');
    for (const char type : {'S', 'W', 'I', 'L', 'N', 'D', 'A', 'T', 'F'}) {
        for (int len = 0; len <= 28; ++len) {
            FieldRecord small(3);
            const int buffer = small.Buffer_Size();
            CField& field = small.Put(type, std::min(buffer - len, buffer - 1), len, 4);
            CField& other = small.Put(type, buffer - 1, 1, 4);
            CField& date = small.Put('F', 10, 8);
            for (int step = 0; step < 2; ++step) {
                static_cast<void>(field >> dest.data());
                static_cast<void>(field.GetStr(dest.data(), 0, 64));
                static_cast<void>(static_cast<int>(field) + static_cast<int>(static_cast<unsigned>(field) & 1U));
                static_cast<void>(static_cast<CALC_MNUM*>(field));
                static_cast<void>(field == other || field < other || other > field || field != other);
                static_cast<void>(date = field);
                static_cast<void>(field += 1);
                static_cast<void>(field = 12345);
                static_cast<void>(field = 0);
                static_cast<void>(other = field);
                static_cast<void>(field = other);
                static_cast<void>(field = text.c_str() + 30);
                static_cast<void>(field == text.c_str());
                field.Set_Text("123456789.5");
                small.Init();
            }
        }
    }
}

} // namespace
