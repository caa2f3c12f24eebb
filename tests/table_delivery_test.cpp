// Changes of tables as the host hears of them.
#include "support/reader_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned code = 1071;

struct Row
{
    unsigned type;
    TableId mailbox;
    const char* name;
    int size; // bytes behind the header
};

std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.name;
}

const Row order{1, TableId::Glb_Order_Table, "Posturas_Vigentes", 1194};
const Row summary{2, TableId::Glb_VoiceSummary_Table, "Resumenes_Vigentes", 693};
const Row group{14, TableId::Glb_VoiceGroup_Table, "Grupos_Vigentes", 303};
const Row market{15, TableId::Glb_FixedIncomeMarkets_Table, "Mercados_Renta_Fija_Vigentes", 284};
const Row facts{16, TableId::Glb_HistoryTransDayTerm_Table, "Hechos_Vigentes", 368};
const Row rate{17, TableId::Glb_Rates_Table, "Indices_Vigentes", 107};

class TableDeliveryTest : public ReaderTest
{
protected:
    std::string announced(const Row& row, unsigned number) const
    {
        return std::string("message ") + row.name + ' ' + std::to_string(number);
    }
    // The body of the record that is kept under that number.
    std::string body(const Row& row, unsigned number)
    {
        EXPECT_EQ(host.take(row.name, number), 0);
        return taken(22, row.size);
    }
    std::string own_idx() { return std::to_string(host.GetFieldLONG(std::string("codigo_unico_registro").data())); }
};

class EachTable : public TableDeliveryTest, public testing::WithParamInterface<Row>
{
protected:
    EachTable() { Want_Table(code, GetParam().type); }

    std::string of_x() const { return std::string(static_cast<std::size_t>(GetParam().size), 'x'); }
    std::string of_zeros() const { return std::string(static_cast<std::size_t>(GetParam().size), '\0'); }
};

TEST_P(EachTable, TellsInsertionUpdateCopyAndDeletion)
{
    for (const char operation : {'I', 'A', 'C', 'B'}) {
        receive(MessageBytes::Of_Table(operation, code, 5, of_x()));
    }
    EXPECT_THAT(take_lines(), ElementsAre(announced(GetParam(), 1), announced(GetParam(), 2), announced(GetParam(), 3),
                                          announced(GetParam(), 4)));
    EXPECT_EQ(waiting(GetParam().mailbox), 4);
}

TEST_P(EachTable, TellsNoOtherOperation)
{
    for (int operation = 0; operation < 256; ++operation) {
        if (std::string("IACB").find(static_cast<char>(operation)) == std::string::npos) {
            receive(MessageBytes::Of_Table(static_cast<char>(operation), code, 5));
        }
    }
    EXPECT_EQ(waiting(GetParam().mailbox), 0);
    EXPECT_EQ(host.count(announced(GetParam(), 1)), 0);
}

TEST_P(EachTable, KeepsTheBodyAndTheIdxOfTheServers)
{
    receive(MessageBytes::Of_Table('I', code, 4711, of_x()));
    EXPECT_EQ(body(GetParam(), 1), of_x());
    EXPECT_EQ(own_idx(), "4711");
    EXPECT_EQ(host.finish(GetParam().name, 1), 0);
    EXPECT_EQ(waiting(GetParam().mailbox), 0);
}

TEST_P(EachTable, KeepsAllChangesOfOneRecord)
{
    receive(MessageBytes::Of_Table('I', code, 5, "first"));
    receive(MessageBytes::Of_Table('A', code, 5, "second"));
    EXPECT_EQ(body(GetParam(), 1).substr(0, 6), std::string("first\0", 6));
    EXPECT_EQ(body(GetParam(), 2).substr(0, 6), "second");
}

TEST_P(EachTable, ADeletionOfAnUnknownRecordHasNoBody)
{
    receive(MessageBytes::Of_Table('B', code, 5, of_x()));
    EXPECT_EQ(body(GetParam(), 1), of_zeros());
    EXPECT_EQ(own_idx(), "5");
}

TEST_P(EachTable, TakesTheHighestCode)
{
    Want_Table(39999, GetParam().type);
    receive(MessageBytes::Of_Table('I', 39999, 5));
    EXPECT_THAT(take_lines(), ElementsAre(announced(GetParam(), 1)));
}

INSTANTIATE_TEST_SUITE_P(Tables, EachTable, testing::Values(order, summary, group, market, facts, rate),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- Deletions of what is kept

template <class Table> std::string kept_in(ProcessLifetime<Table>& replica, unsigned idx, int size)
{
    std::string body;
    for (int at = 0; at < size; ++at) {
        body += static_cast<char>('a' + at % 26);
    }
    auto record = TableWorld::Record_Of(replica);
    body.copy(record.m_data + 22, body.size());
    record.Init();
    record[REC_IDX] = idx;
    const ReplicaLock lock;
    replica->Insert_Local_Record(&record, nullptr);
    return body;
}

TEST_F(TableDeliveryTest, ADeletedGroupIsShownAsTheReplicaHasIt)
{
    Want_Table(code, group.type);
    const std::string kept = kept_in(Glb_IntVoiceGroup_Table, 5, group.size);
    receive(MessageBytes::Of_Table('B', code, 5));
    EXPECT_EQ(body(group, Glb_Unic_Number), kept);
    EXPECT_EQ(own_idx(), "5");
}

TEST_F(TableDeliveryTest, ADeletedMarketIsShownAsTheReplicaHasIt)
{
    Want_Table(code, market.type);
    const std::string kept = kept_in(Glb_IntFixedIncomeMarkets_Table, 5, market.size);
    receive(MessageBytes::Of_Table('B', code, 5));
    EXPECT_EQ(body(market, Glb_Unic_Number), kept);
}

TEST_F(TableDeliveryTest, ADeletedFactIsShownAsTheReplicaHasIt)
{
    Want_Table(code, facts.type);
    const std::string kept = kept_in(Glb_IntHistoryTransDayTerm_Table, 5, facts.size);
    receive(MessageBytes::Of_Table('B', code, 5, "whatever the server sent"));
    EXPECT_EQ(body(facts, Glb_Unic_Number), kept);
}

TEST_F(TableDeliveryTest, ADeletedRateIsShownAsTheReplicaHasIt)
{
    Want_Table(code, rate.type);
    const std::string kept = kept_in(Glb_IntRates_Table, 5, rate.size);
    receive(MessageBytes::Of_Table('B', code, 5));
    EXPECT_EQ(body(rate, Glb_Unic_Number), kept);
}

TEST_F(TableDeliveryTest, ADeletionOfAnotherRecordShowsNothingOfIt)
{
    Want_Table(code, rate.type);
    kept_in(Glb_IntRates_Table, 5, rate.size);
    receive(MessageBytes::Of_Table('B', code, 6));
    EXPECT_EQ(body(rate, Glb_Unic_Number), std::string(static_cast<std::size_t>(rate.size), '\0'));
}

TEST_F(TableDeliveryTest, TheReplicaStillHasTheRecordWhenTheHostHearsOfItsDeletion)
{
    Want_Table(code, rate.type);
    kept_in(Glb_IntRates_Table, 5, rate.size);
    int kept = -1;
    host.in_callback = [&](const std::string&) { kept = waiting(TableId::Glb_IntRates_Table); };
    receive(MessageBytes::Of_Table('B', code, 5));
    EXPECT_EQ(kept, 1);
}

// ---- Codes

TEST_F(TableDeliveryTest, OfACodeThatIsNotSubscribedTheHostHearsNothing)
{
    for (const unsigned unknown : {0U, 1072U, 39999U, 40000U, 65535U}) {
        receive(MessageBytes::Of_Table('I', unknown, 5));
    }
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_F(TableDeliveryTest, OfTypesWithoutAMailboxTheHostHearsNothing)
{
    for (const unsigned type : {3U, 5U, 13U, 18U, 23U, 24U, 1000U, 4294967295U}) {
        Want_Table(code, type);
        receive(MessageBytes::Of_Table('B', code, 5));
    }
    EXPECT_EQ(host.count("message Posturas_Vigentes 1"), 0);
    for (const std::string& line : take_lines()) {
        EXPECT_FALSE(line.starts_with("message ")) << line;
    }
}

TEST_F(TableDeliveryTest, NoFilterStandsBeforeTheTables)
{
    Want_Table(code, order.type);
    Glb_suscribed_message[888] = 0;
    receive(MessageBytes::Of_Table('I', code, 5, std::string(80, 'Z'))); // where a message has its envelope
    receive(MessageBytes::Of_Table('I', code, 5, std::string(80, 'Z')));
    EXPECT_EQ(waiting(order.mailbox), 2);
    EXPECT_EQ(position().received, 0U);
}

TEST_F(TableDeliveryTest, AShortChangeBehindALongOneHasNothingOfIt)
{
    Want_Table(code, order.type);
    receive(std::string(3300, '9'));
    receive(MessageBytes::Of_Table('I', code, 5, "short"));
    EXPECT_EQ(body(order, 1), "short" + std::string(1194 - 5, '\0'));
}

TEST_F(TableDeliveryTest, AChangeThatEndsInItsHeaderIsSafe)
{
    Want_Table(0, order.type);
    for (const char* bytes : {"888", "888I", "888B"}) {
        receive(bytes);
    }
    EXPECT_THAT(take_lines(), ElementsAre(announced(order, 1), announced(order, 2)));
}

// Nothing is awaited, so whoever counts an end complains.
TEST_F(TableDeliveryTest, AnEndOfSummariesIsCountedAndOneOfOrdersIsNot)
{
    Want_Table(1071, 1);
    Want_Table(1072, 2);
    receive(MessageBytes::Of_Table('z', 1071, 0));
    EXPECT_THAT(take_lines(), IsEmpty());
    receive(MessageBytes::Of_Table('z', 1072, 0));
    EXPECT_THAT(take_lines(), testing::Contains(testing::HasSubstr("waiting reference variable is zero (2)")));
}

TEST_F(TableDeliveryTest, OrdersAndSummariesInForceHaveNoReplica)
{
    const unsigned before = Glb_Not_Applied_Mss;
    Want_Table(1071, 1);
    Want_Table(1072, 2);
    for (const char letter : {'I', 'A', 'C', 'B', 'z'}) {
        receive(MessageBytes::Of_Table(letter, 1071, 1));
        receive(MessageBytes::Of_Table(letter, 1072, 1));
    }
    EXPECT_EQ(Glb_Not_Applied_Mss, before);
}

// A value that was read stays with a view until it is told of new bytes.
TEST_F(TableDeliveryTest, ValuesOfTheRecordBeforeAreNotShown)
{
    Want_Table(1031, 14);
    CGTVoiceGroup& view = *Glb_cur_voicegroup;
    receive(MessageBytes::Of_Table('I', 1031, 5, "G001"));
    EXPECT_EQ(static_cast<unsigned>(view[REC_IDX]), 5U);
    EXPECT_EQ(static_cast<char>(view[I_OP]), 'I');
    receive(MessageBytes::Of_Table('B', 1031, 7));
    ASSERT_EQ(host.take("Grupos_Vigentes", 2), 0);
    EXPECT_EQ(host.GetFieldLONG(std::string("codigo_unico_registro").data()), 7);
    EXPECT_EQ(static_cast<unsigned>(view[REC_IDX]), 7U);
}

TEST_F(TableDeliveryTest, FourOperationsReachHosts)
{
    int reach = 0;
    for (int operation = -128; operation < 256; ++operation) {
        reach += GlobalTables_SendTo_MessageReceived(operation);
    }
    EXPECT_EQ(reach, 4);
    for (const int operation : {73, 65, 67, 66}) {
        EXPECT_EQ(GlobalTables_SendTo_MessageReceived(operation), 1);
    }
}

} // namespace
