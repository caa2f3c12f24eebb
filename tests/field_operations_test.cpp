// Every operation on every class: what it gives, or what it says.
#include "support/field_record.h"

#include <cstdlib>
#include <functional>
#include <ostream>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* names[] = {"CShort",       "CUnsignedShort",  "CInteger", "CUnsignedInt",
                                 "CNumAsciiInt", "CNumAsciiDouble", "CAlpha",   "CDate"};

std::string Shown(bool value)
{
    return value ? "true" : "false";
}
std::string Shown(int value)
{
    return std::to_string(value);
}
std::string Shown(unsigned value)
{
    return std::to_string(value);
}
std::string Shown(CALC_MNUM* value)
{
    std::array<char, 33> text{};
    if (value != nullptr) {
        calc_mtos(value, text.data(), 20, 2, 0, 1);
    }
    return value != nullptr ? text.data() : "null";
}

// What stands at the right hand.
struct World
{
    CField& own;   // of the same class, with the same value
    CField& other; // of another class
    CALC_MNUM* seven;
    short number = 7;
    unsigned short unsigned_number = 7;
};

// The text that an operation wrote, if the address it returned is that of the terminator.
template <class Write> std::string Written(Write write)
{
    char dest[40];
    std::memset(dest, '~', sizeof dest);
    const char* end = write(static_cast<void*>(dest));
    if (end == nullptr) {
        return "null";
    }
    return *end == '\0' ? std::string(static_cast<const char*>(dest), end) : "no terminator";
}

struct Operation
{
    const char* name;
    const char* words; // of the complaint, behind the class
    std::function<std::string(CField&, World&)> run;
    std::vector<const char*> results; // by class; X a complaint, S one that names CShort, - elsewhere
    const char* class_words = nullptr;
};

std::ostream& operator<<(std::ostream& out, const Operation& operation)
{
    return out << operation.name;
}

#define RUN(expression)                                                                                                \
    [](CField& f, World& w) -> std::string {                                                                           \
        (void)w;                                                                                                       \
        return Shown(expression);                                                                                      \
    }
#define WRITE(expression)                                                                                              \
    [](CField& f, World&) -> std::string { return Written([&f](void* dest) { return expression; }); }

// clang-format off
const std::vector<Operation> operations = {
//   operation         complaint                 run                             Short    UShort   Int      UInt     Digits   Double   Alpha    Date
    {">>",             ">> CField",              WRITE(f >> dest),               {"X",    "X",     "X",     "X",     "7",     "7.00",  "abc",   "20240131"}, "Dest pointer"},
    {"GetStr",         "GetStrCopy CField",      WRITE(f.GetStr(dest, 0, 40)),   {"X",    "X",     "X",     "X",     "X",     "X",     "abc",   "20240131"}, "Dest pointer"},
    {"SetStr",         "GetStrCopy CField",      RUN(f.SetStr("xyz")),           {"X",    "X",     "X",     "X",     "X",     "X",     "1",     "X"}, "Dest pointer"},
    {"+=",             "+= int",                 RUN(f += 1),                    {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "1"}, "Dest pointer"},
    {"to int",         "cast int",               RUN(static_cast<int>(f)),       {"7",    "7",     "7",     "7",     "7",     "7",     "97",    "X"}},
    {"to unsigned",    "cast unsigned int",      RUN(static_cast<unsigned>(f)),  {"7",    "7",     "7",     "7",     "7",     "7",     "X",     "1706702400"}},
    {"to CALC_MNUM*",  "cast CALC_MNUM *",       RUN(static_cast<CALC_MNUM*>(f)),{"7.00", "7.00",  "7.00",  "7.00",  "7.00",  "7.00",  "X",     "X"}},
    {"== own",         "== CField &",            RUN(f == w.own),                {"true", "true",  "true",  "true",  "true",  "true",  "true",  "true"}},
    {"!= own",         "!= CField &",            RUN(f != w.own),                {"false","false", "false", "false", "false", "false", "false", "false"}},
    {"< own",          "< CField &",             RUN(f < w.own),                 {"false","false", "false", "false", "false", "false", "false", "false"}},
    {"> own",          "> CField &",             RUN(f > w.own),                 {"false","false", "false", "false", "false", "false", "false", "false"}},
    {"= own",          "= CField &",             RUN(f = w.own),                 {"0",    "0",     "0",     "0",     "0",     "0",     "0",     "0"}},
    {"+ own",          "+ CField &",             RUN(f + w.own),                 {"14",   "14",    "14",    "14",    "14",    "X",     "0",     "X"}},
    {"- own",          "- CField &",             RUN(f - w.own),                 {"0",    "0",     "0",     "0",     "0",     "X",     "0",     "X"}},
    {"== other",       "== CField &",            RUN(f == w.other),              {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"!= other",       "!= CField &",            RUN(f != w.other),              {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"< other",        "< CField &",             RUN(f < w.other),               {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"> other",        "> CField &",             RUN(f > w.other),               {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"= other",        "= CField &",             RUN(f = w.other),               {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "-"}},
    {"+ other",        "+ CField &",             RUN(f + w.other),               {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"- other",        "- CField &",             RUN(f - w.other),               {"X",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"== int",         "== int",                 RUN(f == 7),                    {"true", "true",  "true",  "true",  "true",  "X",     "X",     "X"}},
    {"!= int",         "!= int",                 RUN(f != 7),                    {"false","false", "false", "false", "false", "X",     "X",     "X"}},
    {"= int",          "= int",                  RUN(f = 8),                     {"1",    "1",     "1",     "1",     "1",     "X",     "1",     "X"}},
    {"= 0",            "= int",                  RUN(f = 0),                     {"1",    "1",     "1",     "1",     "1",     "1",     "1",     "X"}},
    {"== text",        "== char *",              RUN(f == "abc"),                {"X",    "X",     "X",     "X",     "X",     "X",     "true",  "false"}},
    {"!= text",        "!= char *",              RUN(f != "abc"),                {"X",    "X",     "X",     "X",     "X",     "X",     "false", "true"}},
    {"= text",         "= char *",               RUN(f = "20250102"),            {"1",    "1",     "1",     "1",     "1",     "1",     "1",     "1"}},
    {"== short",       "== short",               RUN(f == w.number),             {"true", "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"!= short",       "!= short",               RUN(f != w.number),             {"false","X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"= short",        "= short",                RUN(f = w.number),              {"1",    "X",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"== ushort",      "== unsigned short",      RUN(f == w.unsigned_number),    {"X",    "true",  "X",     "X",     "X",     "X",     "X",     "X"}},
    {"!= ushort",      "!= unsigned short",      RUN(f != w.unsigned_number),    {"X",    "false", "X",     "X",     "X",     "X",     "X",     "X"}},
    {"= ushort",       "= unsigned short",       RUN(f = w.unsigned_number),     {"0",    "1",     "X",     "X",     "X",     "X",     "X",     "X"}},
    {"== uint",        "== unsigned int",        RUN(f == 7U),                   {"X",    "X",     "X",     "true",  "X",     "X",     "X",     "X"}},
    {"!= uint",        "!= unsigned int",        RUN(f != 7U),                   {"X",    "X",     "X",     "false", "X",     "X",     "X",     "X"}},
    {"= uint",         "= unsigned int",         RUN(f = 8U),                    {"1",    "1",     "X",     "1",     "X",     "X",     "X",     "X"}},
    {"= large uint",   "= 65536",                RUN(f = 65536U),                {"S",    "S",     "-",     "1",     "-",     "-",     "-",     "-"}},
    {"== CALC_MNUM*",  "== CALC_MNUM *",         RUN(f == w.seven),              {"X",    "X",     "X",     "X",     "X",     "true",  "X",     "X"}},
    {"!= CALC_MNUM*",  "!= CALC_MNUM *",         RUN(f != w.seven),              {"X",    "X",     "X",     "X",     "X",     "false", "X",     "X"}},
    {"< CALC_MNUM*",   "< CALC_MNUM *",          RUN(f < w.seven),               {"X",    "X",     "X",     "X",     "X",     "false", "X",     "X"}},
    {"> CALC_MNUM*",   "> CALC_MNUM *",          RUN(f > w.seven),               {"X",    "X",     "X",     "X",     "X",     "false", "X",     "X"}},
    {"= CALC_MNUM*",   "= CALC_MNUM *",          RUN(f = w.seven),               {"X",    "X",     "X",     "X",     "X",     "1",     "X",     "X"}},
    {"+ CALC_MNUM*",   "+ CALC_MNUM *",          RUN(f + w.seven),               {"X",    "X",     "X",     "X",     "X",     "14.00", "X",     "X"}},
    {"- CALC_MNUM*",   "- CALC_MNUM *",          RUN(f - w.seven),               {"X",    "X",     "X",     "X",     "X",     "0.00",  "X",     "X"}},
};
// clang-format on

class FieldOperations : public FieldTest, public testing::WithParamInterface<Operation>
{
protected:
    static void SetUpTestSuite()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    CField& PutClass(std::size_t index)
    {
        switch (index) {
        case 0:
            return Put('S', 2, {"\7\0", 2});
        case 1:
            return Put('W', 2, {"\7\0", 2});
        case 2:
            return Put('I', 4, {"\7\0\0\0", 4});
        case 3:
            return Put('L', 4, {"\7\0\0\0", 4});
        case 4:
            return Put('N', 3, "  7");
        case 5:
            return Put('D', 8, "    7.00", 2);
        case 6:
            return Put('A', 3, "abc");
        default:
            return Put('F', 8, "20240131");
        }
    }
};

TEST_P(FieldOperations, DoWhatTheirTypeCanAndReportTheRest)
{
    const Operation& operation = GetParam();
    auto seven = Number("7");
    for (std::size_t index = 0; index < std::size(names); ++index) {
        SCOPED_TRACE(names[index]);
        next = 3;
        CField& field = PutClass(index);
        World world{PutClass(index), PutClass(index == 6 ? 4 : 6), seven.data()};
        const std::string before = All();
        const std::string expected = operation.results[index];
        const std::string result = operation.run(field, world);
        if (expected == "-") {
            ReportTexts::Take();
        } else if (expected == "X" || expected == "S") {
            const char* class_words = operation.class_words != nullptr ? operation.class_words : names[index];
            EXPECT_TRUE(result == "0" || result == "false" || result == "null") << result;
            EXPECT_THAT(ReportTexts::Take(),
                        ElementsAre(Complaint(std::string(expected == "S" ? "CShort" : class_words) + " couldn't be " +
                                              operation.words)));
            EXPECT_EQ(All(), before);
        } else {
            EXPECT_EQ(result, expected);
            EXPECT_THAT(ReportTexts::Take(), IsEmpty());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Table, FieldOperations, testing::ValuesIn(operations),
                         [](const auto& tested) { return "Row" + std::to_string(tested.index); });

TEST(FieldOperators, WorkOnTheClassesThemselvesWithoutACast)
{
    const ReportTexts reports;
    FieldRecord record(60);
    auto& a = dynamic_cast<CShort&>(record.Put('S', 3, 2));
    auto& b = dynamic_cast<CShort&>(record.Put('S', 5, 2));
    auto& integer = dynamic_cast<CInteger&>(record.Put('I', 7, 4));
    EXPECT_EQ(a = 5, 1);
    EXPECT_EQ(a = 6U, 1);
    EXPECT_EQ(a = "7", 1);
    EXPECT_EQ(b = a, 0);
    EXPECT_EQ(integer = 7, 1);
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a == 7);
    EXPECT_EQ(a + b, 14);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_FALSE(a == integer);
    EXPECT_FALSE(integer != a);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error!: f of type CShort couldn't be == CField &",
                                                 "1 Error!: f of type CInteger couldn't be != CField &"));
}

TEST(FieldOperators, AFieldWithoutANameComplainsWithAnEmptyOne)
{
    const ReportTexts reports;
    FieldRecord record(60);
    CField& field = record.Put('S', 3, 2);
    field.Set_Name(nullptr, 0);
    EXPECT_FALSE(field == "x");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error!:  of type CShort couldn't be == char *"));
}

} // namespace
