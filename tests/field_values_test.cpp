// Values that were read: how long they are kept, and what a write to other bytes leaves of them.
#include "field/field_classes.h"
#include "records/orders.h"
#include "records/reference.h"
#include "support/report_texts.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

namespace {

std::string decimals(CField& field)
{
    std::array<char, 33> text{};
    calc_mtos(field, text.data(), 20, 8, 0, 1);
    return text.data();
}

} // namespace

TEST(KeptValues, AWriteForgetsThoseOfFieldsThatShareItsBytesAndNoOthers)
{
    CMsgOrder order;
    order[MILISEGUNDO] = 1;
    order[MERCADO] = 71;
    order.m_data[3 + 37] = '9'; // behind the backs of both
    order.m_data[87 + 55] = '9';
    order[CABEZA] = std::string(80, '4').c_str();
    EXPECT_EQ(static_cast<int>(order[MILISEGUNDO]), 4444);
    EXPECT_EQ(static_cast<int>(order[MERCADO]), 71);
    order[MILISEGUNDO] = 5;
    EXPECT_EQ(*order[MILISEGUNDO].m_msg_field_init_pointer, 1) << "the written value is kept";
}

TEST(KeptValues, ZeroBehindATextThatWasSetFromANumberMakesItsNeighbourBeReadAgain)
{
    CMsgOrder order;
    order[MILISEGUNDO] = 1234;
    order[FECHA] = 20261121; // MILISEGUNDO stands behind it
    EXPECT_EQ(std::string(order[MILISEGUNDO].Get_Ptr(), 4), std::string("\0"
                                                                        "234",
                                                                        4));
    EXPECT_EQ(static_cast<int>(order[MILISEGUNDO]), 234);
}

TEST(KeptValues, AWriteElsewhereLeavesThePriceUnrounded)
{
    CMsgOrder order;
    order[PRECIO] = "2.12345678";
    ASSERT_EQ(decimals(order[PRECIO]), "2.12345678");
    order[TIEMPO_VALIDEZ] = static_cast<unsigned short>(5); // shares bytes with others, not with the price
    EXPECT_EQ(decimals(order[PRECIO]), "2.12345678");
}

TEST(KeptValues, AWriteElsewhereLeavesANegativeNumber)
{
    CMsgOrder order;
    order[MILISEGUNDO] = -3;
    order[MONEDA] = 7; // a text: its terminator touches its neighbour alone
    EXPECT_EQ(static_cast<int>(order[MILISEGUNDO]), -3);
}

TEST(KeptValues, AWriteElsewhereDoesNotEndWhatRestoreLeftInForce)
{
    CMsgOrder order;
    order[MILISEGUNDO] = 1111;
    std::vector<char> before(static_cast<std::size_t>(order.m_data_len));
    order.Backup(before.data());
    order[MILISEGUNDO] = 2222;
    order.Restore(before.data());
    order[TIEMPO_VALIDEZ] = static_cast<unsigned short>(5);
    EXPECT_EQ(static_cast<int>(order[MILISEGUNDO]), 2222);
}

TEST(KeptValues, FourByteNumberSeesWritesToTheBytesBehindItsRow)
{
    CGTUser user;
    EXPECT_EQ(static_cast<int>(user[GRUPO_STRESS]), 0);
    user[BANDERA_ACTIVO_STRESS] = "S";
    EXPECT_EQ(static_cast<int>(user[GRUPO_STRESS]), 'S' << 16);
}

TEST(KeptValues, UndefinedFieldSeesWritesToADefinedOneOverIt)
{
    CGTCity city;
    testing::internal::CaptureStdout();
    city[NUMERO_REMITENTE] = 7U;
    testing::internal::GetCapturedStdout();
    city[DATA_INFO] = std::string(200, '9').c_str();
    EXPECT_EQ(static_cast<unsigned>(city[NUMERO_REMITENTE]), 0x39393939U);
}

TEST(KeptValues, DefinedFieldSeesWritesToAnUndefinedOneOverIt)
{
    CGTMarkets market;
    EXPECT_EQ(static_cast<int>(market[CODIGO_MARKETS]), 0);
    testing::internal::CaptureStdout();
    CField& undefined = market[DATOS_CITY]; // at 22, where a market's code is
    testing::internal::GetCapturedStdout();
    undefined = ("  7" + std::string(132, 'x')).c_str();
    EXPECT_EQ(static_cast<int>(market[CODIGO_MARKETS]), 7);
}

TEST(KeptValues, NumberOfAFourByteFieldReachesOverTheFlagsBehindIt)
{
    CGTUser user;
    user[BANDERA_ACTIVO_STRESS] = "S";
    user[GRUPO_STRESS] = 3;
    EXPECT_EQ(user[BANDERA_ACTIVO_STRESS].Get_Ptr()[0], 0);
}

// ---- Numbers that aren't there ----

TEST(NullNumbers, AreReportedAndChangeNothing)
{
    const ReportTexts reports;
    CMsgOrder order;
    order[PRECIO] = "2.5";
    CALC_MNUM* none = nullptr;
    CField& price = order[PRECIO];
    EXPECT_FALSE(price < none);
    EXPECT_FALSE(price > none);
    EXPECT_FALSE(price == none);
    EXPECT_FALSE(price != none);
    EXPECT_EQ(price + none, nullptr);
    EXPECT_EQ(price - none, nullptr);
    EXPECT_EQ(price = none, 0);
    EXPECT_EQ(decimals(price), "2.50000000");
    std::vector<std::string> wanted;
    for (const std::string operation : {"<", ">", "==", "!=", "+", "-", "="}) {
        wanted.push_back("1 Error!: precio of type CNumAsciiDouble couldn't be " + operation + " CALC_MNUM *");
    }
    EXPECT_EQ(ReportTexts::Take(), wanted);
}

TEST(UnsignedFields, TakeTextsOfTheirWholeRange)
{
    CGTCity city;
    const auto assigned = [&](const char* text) {
        city[REC_IDX] = text;
        return static_cast<unsigned>(city[REC_IDX]);
    };
    EXPECT_EQ(assigned("3000000000"), 3000000000U);
    EXPECT_EQ(assigned("99999999999999999999"), 4294967295U);
    EXPECT_EQ(assigned("-1"), 4294967295U);
    EXPECT_EQ(assigned("-99999999999"), 2147483648U);
    EXPECT_EQ(assigned(" 12x"), 12U);
}
