// Records that are built before main, and used after it.
#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

namespace {

bool works(CMessage& record, int field_id)
{
    record[field_id].Set_Text("AB");
    return std::string(record[field_id].Get_Ptr(), 2) == "AB" && record.Find_Field("data_info") != nullptr;
}

// Declared first, and so destroyed behind the records below: by then all statics of later files are gone as well.
struct AfterMain
{
    ~AfterMain()
    {
        CGTFiduciarios built_after_main;
        if (!works(built_after_main, DATOS_ESPECIAL_FIDUCIARIO_FIDUCIARIOS) || !works(kept, CODIGO_3C_CITY)) {
            std::abort(); // the test program fails
        }
    }
    CGTCity& kept = *new CGTCity; // NOLINT(cppcoreguidelines-owning-memory): like the views and the empty records
};
AfterMain after_main;

CGTEmployee employee;
CMsgOrder order(CMessage::Without_Transactions());

std::array<char, 182 + 3 + MESSAGE_EXTRA_ALLOCATED_SIZE> buffer;
CGTComitentes view(buffer.data());

// What a complaint has to pass when nobody listens yet.
const bool complained_before_main = (employee[CODIGO_EMPLOYEE] += 1) == 0;

const bool worked_before_main = works(employee, CODIGO_EMPLOYEE);

} // namespace

TEST(StaticRecords, WorkBeforeMain)
{
    EXPECT_TRUE(worked_before_main);
    EXPECT_TRUE(complained_before_main);
    EXPECT_EQ(std::string(employee.m_data, 3), "888");
}

TEST(StaticRecords, ViewsMayBeBuiltOverStaticBuffers)
{
    EXPECT_EQ(std::string(buffer.data(), 3), "888");
    view[CLASE_CODIGO_COMITENTES] = "X";
    EXPECT_EQ(buffer[22], 'X');
}

TEST(StaticRecords, OrdersMayBeBuiltWithoutTransactions)
{
    EXPECT_EQ(order.m_use_transaction, 0);
    order[MERCADO] = 71;
    EXPECT_EQ(static_cast<int>(*order.Find_Field("mercado")), 71);
}
