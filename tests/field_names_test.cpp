// A field's name, and the record that its code names.
#include "support/field_record.h"

namespace {

// ---- Names ----

TEST_F(FieldTest, IsNamedWithNameAndCode)
{
    CField& field = Put('A', 1, "x");
    EXPECT_TRUE(field.Is_Named());
    field.Set_Name("f", 0);
    EXPECT_FALSE(field.Is_Named());
    field.Set_Name(nullptr, 5);
    EXPECT_FALSE(field.Is_Named());
}

TEST_F(FieldTest, MatchesTheNameThatATextBeginsWith)
{
    CField& field = Put('A', 1, "x");
    field.Set_Name("nombre", qapi::Name_Code("nombre"));
    const auto rest = [&](const char* text) {
        const char* end = field.Do_Matching_Name(text, qapi::Name_Code("nombre"));
        return end != nullptr ? std::string(end) : "null";
    };
    EXPECT_EQ(rest("nombre[2]"), "[2]");
    EXPECT_EQ(rest("nombre.x"), ".x");
    EXPECT_EQ(rest("nombre"), "");
    EXPECT_EQ(rest("nombre_corto"), "_corto");
    EXPECT_EQ(rest("nombr"), "null");
    EXPECT_EQ(rest("Nombre"), "null");
    EXPECT_EQ(rest(""), "null");
    EXPECT_EQ(field.Do_Matching_Name("nombre", 5), nullptr);
    field.Set_Name(nullptr, 0);
    EXPECT_EQ(field.Do_Matching_Name("nombre", 0), nullptr);
}

// ---- References ----

struct Asked
{
    CField* field;
    int index, flag;
};
Asked asked{};
char found;

void* find(CField* field, int index, int* status, int flag)
{
    asked = {field, index, flag};
    if (status != nullptr) {
        *status = 2;
    }
    return &found;
}

TEST_F(FieldTest, CallsTheFunctionThatItsRowNames)
{
    CField& field = Put('A', 1, "x");
    field.m_ref_value = 29;
    CField::Set_Reference_Call(29, find);
    int status = 77;
    EXPECT_EQ(field.Do_Reference_Call(4, 1, &status), &found);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(asked.field, &field);
    EXPECT_EQ(asked.index, 4);
    EXPECT_EQ(asked.flag, 1);
    EXPECT_EQ(field.Do_Reference_Call(4, 1, nullptr), &found);
    CField::Set_Reference_Call(29, nullptr);
}

TEST_F(FieldTest, WithoutAFunctionALookUpFindsNothing)
{
    CField& field = Put('A', 1, "x");
    for (const int reference : {0, 28, 30, -1}) {
        field.m_ref_value = reference;
        int status = 77;
        EXPECT_EQ(field.Do_Reference_Call(0, 0, &status), nullptr);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(field.Do_Reference_Call(0, 0, nullptr), nullptr);
    }
}

TEST_F(FieldTest, ReferenceFunctionsAreOneToTwentyNine)
{
    for (const int index : {0, 30, -1}) {
        testing::internal::CaptureStdout();
        CField::Set_Reference_Call(index, find);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "Error: bad reference value for fields, " + std::to_string(index) + "\n");
    }
}

} // namespace
