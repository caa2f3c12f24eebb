// Fields of a record by id: those that its class has, and those that it has not.
#include "message/message.h"
#include "records/all_records.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"
#include "records/session.h"
#include "support/report_texts.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

// What `work` prints.
template <class Work> std::string printed_by(Work work)
{
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

// A record in the middle of other bytes, of which nothing may change.
class Guarded
{
public:
    explicit Guarded(const RecordClass& of) : m_size(of.layout().Data_Len() + MESSAGE_EXTRA_ALLOCATED_SIZE)
    {
        m_bytes.assign(static_cast<std::size_t>(m_size) + 2 * margin, 'G');
        std::memset(m_bytes.data() + margin, '7', static_cast<std::size_t>(m_size));
        m_record = of.make(m_bytes.data() + margin);
    }
    CMessage& record() { return *m_record; }
    [[nodiscard]] bool inside(const char* address) const
    {
        return address >= m_bytes.data() + margin && address < m_bytes.data() + margin + m_size;
    }
    [[nodiscard]] bool margins_are_whole() const
    {
        const std::string whole(margin, 'G');
        return std::string(m_bytes.data(), margin) == whole &&
               std::string(m_bytes.data() + margin + m_size, margin) == whole;
    }

private:
    static constexpr std::size_t margin = 64;
    int m_size;
    std::vector<char> m_bytes;
    std::unique_ptr<CMessage> m_record;
};

void write_every_way(CField& field)
{
    static const std::string text(3000, '5');
    std::array<CALC_MNUM, COMMON_CALC_SIZE> number{};
    calc_stom("12.5", number.data());
    field = 123;
    field = text.c_str();
    field = 7U;
    field = static_cast<short>(7);
    field = static_cast<unsigned short>(7);
    field = number.data();
    field.SetStr(text.c_str());
    field.Set_Text("abc");
    field += 1;
    field.Set_Bits(3, 2, 5);
    field.Init_Bits(2, 1);
    field.Clean();
}

void read_every_way(CField& field)
{
    static std::vector<char> text(4000);
    static_cast<void>(static_cast<int>(field));
    static_cast<void>(static_cast<unsigned>(field));
    static_cast<void>(static_cast<CALC_MNUM*>(field));
    static_cast<void>(static_cast<char>(field));
    field >> text.data();
    field.GetStr(text.data(), 0, 100);
    static_cast<void>(field.IsEmptyField());
    static_cast<void>(field.IsOnlyChar('x', 0));
    static_cast<void>(field.MemCmp(text.data()));
    static_cast<void>(field.Get_Bits(3, 2));
    static_cast<void>(field == 5);
    static_cast<void>(field == static_cast<const char*>(text.data()));
}

class EveryClass : public testing::TestWithParam<RecordClass>
{
};

} // namespace

TEST_P(EveryClass, AnswersForEveryIdInsideItsBuffer)
{
    Guarded guarded(GetParam());
    const ReportTexts reports;
    std::string outside;
    printed_by([&] {
        for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
            CField& field = guarded.record()[id];
            const bool its_own = field.m_policy_f == nullptr; // or its bytes may be elsewhere
            const char* last = field.Get_Ptr() + (field.m_len > 0 ? field.m_len - 1 : 0);
            if (field.m_len < 0 || (its_own && !(guarded.inside(field.Get_Ptr()) && guarded.inside(last)))) {
                outside.append(Field_Symbol(id)).append(" ");
            }
            read_every_way(field);
            write_every_way(field);
        }
    });
    EXPECT_EQ(outside, "");
    EXPECT_TRUE(guarded.margins_are_whole());
}

TEST_P(EveryClass, KeepsNoValueBeyondItsFlags)
{
    Guarded guarded(GetParam());
    std::string wrong;
    printed_by([&] {
        for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
            const bool flagged = guarded.record()[id].m_msg_field_init_pointer != nullptr;
            if (flagged != (guarded.record().GetFieldPos(id) < 1200)) {
                wrong.append(Field_Symbol(id)).append(" ");
            }
        }
    });
    EXPECT_EQ(wrong, "");
}

INSTANTIATE_TEST_SUITE_P(Records, EveryClass,
                         testing::ValuesIn(All_Record_Classes().begin(), All_Record_Classes().end()),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(MessageFields, PositionsBeginAtOneAndAreTheClassesOwn)
{
    CMsgOrder order;
    CMsgOrder another;
    EXPECT_EQ(order.GetFieldPos(MSG_NUMBER_FIELD), 1);
    EXPECT_EQ(order.GetFieldPos(CODIGO_PRIMARYUSER), 2);
    EXPECT_EQ(another.GetFieldPos(MERCADO), order.GetFieldPos(MERCADO));
}

TEST(MessageFields, UndefinedFieldIsReportedOnceAndThenExists)
{
    CGTCity city;
    CField* field = nullptr;
    const std::string told = printed_by([&] { field = &city[PRECIO]; });
    EXPECT_EQ(told, "Error: field line (" + std::to_string(glb_field_equivalence[PRECIO].file_line) +
                        ") should be defined in message-id 79\n");
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(&city[PRECIO], field); }), "");
    EXPECT_EQ(field->m_displacement, 22 + 130) << "where the composition ended";
    EXPECT_EQ(field->m_len, 157 - 152) << "cut to the record";
    EXPECT_EQ(field->m_field_name, nullptr);
}

TEST(MessageFields, UndefinedFieldBehindTheBufferHasNoLength)
{
    CGTHeader header;
    CField* field = nullptr;
    printed_by([&] { field = &header[CODIGO_POSTURA_ACEPTACION]; }); // offset 1163 of its group
    EXPECT_EQ(field->m_len, 0);
    EXPECT_EQ(field->Get_Ptr(), header.m_data + header.Buffer_Size() - 1);
}

TEST(MessageFields, UndefinedFieldInTheSpareBytesIsCutAtTheirEnd)
{
    CGTHeader header; // 22 bytes and 100 spare ones; groups it lacks are placed at 22
    CField* field = nullptr;
    printed_by([&] { field = &header[BANDERA_OPCIONALIDAD]; }); // offset 234
    EXPECT_EQ(field->m_len, 0);
    printed_by([&] { field = &header[HORA_PARA_TITILAR]; }); // offset 71, 6 bytes
    EXPECT_EQ(field->m_displacement, 93);
    EXPECT_EQ(field->m_len, 6);
    printed_by([&] { field = &header[DATOS_POSTURA]; }); // offset 55, 1118 bytes
    EXPECT_EQ(field->m_len, 122 - 77);
}

TEST(MessageFields, PositionBeyondTheFlagsIsToldAndNotKept)
{
    CGTCity city;
    char* flag = nullptr;
    EXPECT_EQ(printed_by([&] { flag = city.Get_Field_Init_Pointer(1200); }),
              "Error: number of referenced fields are beyond the threshold, 1200\n");
    EXPECT_EQ(flag, nullptr);
    EXPECT_EQ(printed_by([&] { flag = city.Get_Field_Init_Pointer(1199); }), "");
    EXPECT_NE(flag, nullptr);
}

TEST(MessageFields, ValueIsReadOnceForEachContents)
{
    CGTCity city;
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 0);
    city.m_data[6] = 5; // behind the field's back
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 0);
    city.Init();
    EXPECT_EQ(static_cast<int>(city[REC_NUM]), 5);
}

TEST(MessageFields, WriteToABlockShowsInTheFieldsInside)
{
    CGTOrder order;
    EXPECT_EQ(static_cast<int>(order[MERCADO]), 0);
    const std::string block = std::string(55, 'x') + " 42" + std::string(1136, 'y');
    order[DATOS_GLOBALES] = block.c_str();
    EXPECT_EQ(static_cast<int>(order[MERCADO]), 42);
}

// ---- Elements of a repeating field -----------------------------------------------------------------------------

namespace {

// Makes the element that is asked for the current one, as the receivers of a chat do.
void* element_of_receivers(CField* field, int index, int* status, int /*flag*/)
{
    static CGTUser user;
    field->m_index = 0;
    if (index < 1 || index > 200) {
        return nullptr;
    }
    field->m_index = index;
    field->m_len = 8;
    field->m_elem_len = 8;
    if (status != nullptr) {
        *status = 2;
    }
    return &user;
}

class Receivers : public testing::Test
{
protected:
    Receivers()
    {
        CField::Set_Reference_Call(REF_RECEIVER, element_of_receivers);
        for (int i = 0; i < 200; ++i) {
            std::memset(m_chat.m_data + 83 + 2140 + 8 * i, 'A' + i % 26, 8);
        }
    }
    ~Receivers() override { CField::Set_Reference_Call(REF_RECEIVER, nullptr); }

    void expect_whole()
    {
        CField* whole = m_chat.Find_Field("receptor");
        ASSERT_NE(whole, nullptr);
        EXPECT_EQ(whole->m_len, 1600);
        EXPECT_EQ(whole->Get_Ptr(), m_chat.m_data + 83 + 2140);
    }

    CMsgChat m_chat;
};

} // namespace

TEST_F(Receivers, ElementIsEightBytesAtItsPlace)
{
    CField* third = m_chat.Find_Field("receptor[3]");
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(std::string(third->Get_Ptr(), static_cast<std::size_t>(third->m_len)), "CCCCCCCC");
}

TEST_F(Receivers, WholeFieldIsBackWithoutAnIndex)
{
    m_chat.Find_Field("receptor[3]");
    expect_whole();
}

TEST_F(Receivers, WholeFieldIsBackById)
{
    m_chat.Find_Field("receptor[3]");
    EXPECT_EQ(m_chat[RECEPTOR_CHAT].m_len, 1600);
    EXPECT_EQ(m_chat[RECEPTOR_CHAT].m_index, 0);
}

TEST_F(Receivers, WholeFieldIsBackInTheNextMessage)
{
    CField* element = m_chat.Find_Field("receptor[200]");
    ASSERT_NE(element, nullptr);
    m_chat.Init();
    EXPECT_EQ(element->m_len, 1600);
    EXPECT_EQ(element->m_index, 0);
    EXPECT_EQ(element->Get_Ptr(), m_chat.m_data + 83 + 2140);
}

TEST_F(Receivers, ElementOfOneRecordIsNotTheOthers)
{
    CMsgChat other;
    CField& whole = other[RECEPTOR_CHAT];
    m_chat.Find_Field("receptor[3]");
    EXPECT_EQ(whole.m_len, 1600);
    EXPECT_EQ(whole.m_index, 0);
}
