// Which received messages are kept for the host, where, and by which name it hears of them.
#include "support/reader_fixture.h"
#include "support/session_fixture.h"

#include "qcapi/log.h"
#include "qcapi/session.h"
#include "reader/conditions.h"

#include <optional>
#include <set>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MessageDispatchTest : public ReaderTest
{
protected:
    static int waiting_in_all()
    {
        int waiting = 0;
        for (const GlobalTable& table : All_Global_Tables()) {
            waiting += table.is_mailbox ? table.get().Used_Num_Records() : 0;
        }
        return waiting;
    }
};

// ---- Rows

struct Row
{
    int number;
    TableId mailbox;
    const char* name;
};

std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.number;
}

class EachKind : public MessageDispatchTest, public testing::WithParamInterface<Row>
{
};

TEST_P(EachKind, GoesToItsMailboxAndIsAnnouncedByItsName)
{
    Want(GetParam().number);
    receive(MessageBytes::Of(GetParam().number));
    EXPECT_EQ(waiting(GetParam().mailbox), 1);
    EXPECT_EQ(waiting_in_all(), 1);
    EXPECT_THAT(take_lines(), ElementsAre(std::string("message ") + GetParam().name + " 1"));
}

TEST_P(EachKind, IsTakenAndFinishedByThatName)
{
    Want(GetParam().number);
    receive(MessageBytes::Of(GetParam().number));
    EXPECT_EQ(host.take(GetParam().name, 1), 0);
    EXPECT_EQ(taken(0, 3), static_cast<const std::string&>(MessageBytes::Of(GetParam().number)).substr(0, 3));
    EXPECT_EQ(host.finish(GetParam().name, 1), 0);
    EXPECT_EQ(waiting_in_all(), 0);
}

TEST_P(EachKind, IsDroppedIfItIsNotSubscribed)
{
    receive(MessageBytes::Of(GetParam().number));
    EXPECT_EQ(waiting_in_all(), 0);
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_P(EachKind, IsDroppedIfACopyOfItIsPending)
{
    Want(GetParam().number);
    receive(MessageBytes::Of(GetParam().number, 7));
    receive(MessageBytes::Of(GetParam().number, 7));
    EXPECT_EQ(waiting_in_all(), 1);
}

TEST_P(EachKind, ReadsZerosWhereItIsShorterThanItsRecord)
{
    Want(GetParam().number);
    receive(std::string(3300, '9'));
    receive(MessageBytes::Of(GetParam().number));
    ASSERT_EQ(host.take(GetParam().name, 1), 0);
    const int len = Glb_taken_message_ptr->m_data_len;
    const std::string body = taken(83, len - 83);
    const bool idx_lies_inside = GetParam().number == 153; // its value is 1
    EXPECT_EQ(std::count(body.begin(), body.end(), '\0'), len - 83 - (idx_lies_inside ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(
    Messages, EachKind,
    testing::Values(Row{87, TableId::Glb_PrcMntTrans_Message_Table, "Precios_Montos_Transados"},
                    Row{111, TableId::Glb_Order_Message_Table, "Orden_Transaccion"},
                    Row{112, TableId::Glb_Trans_Moneda_Message_Table, "Mantenimiento_Transacciones"},
                    Row{113, TableId::Glb_Order_Message_Table, "Orden_Transaccion"},
                    Row{114, TableId::Glb_LogOrderTable_Message_Table, "Historia_Posturas"},
                    Row{121, TableId::Glb_Order_Message_Table, "Orden_Transaccion"},
                    Row{132, TableId::Glb_PrcMnt_Trans_Renta_Fija_Table, "Mantenimiento_Transaccion_Renta_Fija"},
                    Row{133, TableId::Glb_Tarnel_Message_Table, "Tarnel"},
                    Row{134, TableId::Glb_Tarnel_Wh_Message_Table, "TarnelWh"},
                    Row{153, TableId::Glb_PayInstruct_Message_Table, "Instruccion_De_Pago"},
                    Row{176, TableId::Glb_PrcMntHour_Message_Table, "Precios_Por_Hora"},
                    Row{177, TableId::Glb_PrcMntHourTerm_Message_Table, "Precios_Por_Hora_Por_Plazo"},
                    Row{291, TableId::Glb_Average_Puchase_Price_Message_Table, "Precios_Promedio_Compra"},
                    Row{300, TableId::Glb_PrcMntHourAmPm_Message_Table, "Precios_Por_Hora_Am_Pm"},
                    Row{575, TableId::Glb_Chat_Message_Table, "Chat"},
                    Row{879, TableId::Glb_EndTransaction_Message_Table, "Fin_Transaccion"}),
    [](const auto& row) { return "Number" + std::to_string(row.param.number); });

class EachOrder : public MessageDispatchTest, public testing::WithParamInterface<int>
{
};

TEST_P(EachOrder, OfClass8IsAnnouncedAsARequestForQuotesAndFetchedUnderEitherName)
{
    Want(GetParam());
    receive(MessageBytes::Of(GetParam()).Put(83, " 8"));
    EXPECT_THAT(take_lines(), ElementsAre("message Orden_Transaccion_RFQ 1"));
    EXPECT_EQ(waiting(TableId::Glb_Order_Message_Table), 1);
    EXPECT_EQ(host.take("Orden_Transaccion_RFQ", 1), 0);
    EXPECT_EQ(host.take("Orden_Transaccion", 1), 0);
}

TEST_P(EachOrder, OfAnotherClassIsAnOrder)
{
    Want(GetParam());
    receive(MessageBytes::Of(GetParam()).Put(83, "18"));
    EXPECT_THAT(take_lines(), ElementsAre("message Orden_Transaccion 1"));
}

INSTANTIATE_TEST_SUITE_P(Numbers, EachOrder, testing::Values(111, 113, 121));

// ---- Other numbers

const std::set<int> kept_numbers{87, 111, 112, 113, 114, 121, 132, 133, 134, 153, 176, 177, 291, 300, 575, 879};
const std::set<int> steps{201, 204, 205, 888};

TEST_F(MessageDispatchTest, AllOtherNumbersAreDroppedWithoutAWord)
{
    for (int number = 0; number < 1000; ++number) {
        Want(number);
        if (!kept_numbers.contains(number) && !steps.contains(number)) {
            receive(MessageBytes::Of(number));
        }
    }
    EXPECT_EQ(waiting_in_all(), 0);
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_F(MessageDispatchTest, AMessageOfAnyNumberCostsTheNextOneNothing)
{
    for (int number = 0; number < 1000; ++number) {
        Want(number);
        receive(MessageBytes::Of(number));
        receive(std::to_string(number));
    }
    take_lines();
    receive_chat("good morning");
    EXPECT_THAT(take_lines(), ElementsAre(testing::StartsWith("message Chat ")));
}

TEST_F(MessageDispatchTest, NumbersBeyondThreeDigitsAndBelowZeroAreNoRow)
{
    for (const int number : {-1, -575, -2147483647 - 1, 1000, 65536 + 575, 2147483647}) {
        std::array<char, 20> extra{};
        Act_On_Message(number, {"D", extra.data(), 1});
        EXPECT_EQ(Fit_Conditions(number, nullptr), 0);
    }
    EXPECT_EQ(waiting_in_all(), 0);
}

TEST_F(MessageDispatchTest, WhatHasNoDigitsIsDropped)
{
    Want(0);
    for (const std::string& bytes : {std::string(), std::string("x"), std::string("abc"), std::string("   "),
                                     std::string(3300, '\xFF'), std::string(3300, '\0')}) {
        receive(bytes);
    }
    EXPECT_EQ(waiting_in_all(), 0);
    EXPECT_THAT(take_lines(), IsEmpty());
}

// ---- Filters

TEST_F(MessageDispatchTest, AMessageThatIsNotWantedCountsAsProcessed)
{
    receive(MessageBytes::Of(chat, 12));
    EXPECT_EQ(position().received, 12U);
    EXPECT_EQ(position().processed, 12U);
    EXPECT_EQ(position().date, "20260105");
}

TEST_F(MessageDispatchTest, AMessageThatWaitsForTheHostDoesNotCountAsProcessed)
{
    receive_chat("one", 12);
    EXPECT_EQ(position().received, 0U);
    EXPECT_EQ(position().processed, 0U);
}

TEST_F(MessageDispatchTest, Kind134StaysDroppedWhateverTheFeeds)
{
    scratch.write("qapi.cfg", "data_server DSAB\ntransaction_feed 1\ntarnel_feed 1\n");
    std::string error;
    ASSERT_EQ(CONF_Read_File("qapi.cfg", error), 0);
    receive(MessageBytes::Of(134));
    receive(MessageBytes::Of(133));
    EXPECT_THAT(take_lines(), ElementsAre("message Tarnel 1"));
}

TEST_F(MessageDispatchTest, AMessageOfAnUnknownServerIsDroppedAndMovesNothing)
{
    Want(chat);
    receive(MessageBytes::Of(chat, 5).Put(3 + 8, "ZZ"));
    EXPECT_EQ(waiting_in_all(), 0);
    EXPECT_EQ(position().received, 0U);
}

TEST_F(MessageDispatchTest, AMessageWithoutTrackingIsKeptFromAnyServerAsOftenAsItComes)
{
    Want(chat);
    for (int i = 0; i < 2; ++i) {
        receive(MessageBytes::Of(chat, 5).Put(3 + 5, "S").Put(3 + 8, "ZZ"));
    }
    EXPECT_EQ(waiting(TableId::Glb_Chat_Message_Table), 2);
}

TEST_F(MessageDispatchTest, TheKeptRecordHasTheLetterOfItsLog)
{
    Want(chat);
    receive(MessageBytes::Of(chat).Put(3 + 4, "S"), 80);
    receive(MessageBytes::Of(chat), 79);
    receive(MessageBytes::Of(chat), 80);
    std::string letters;
    for (unsigned number = 1; number <= 3; ++number) {
        host.take("Chat", number);
        letters += taken(3 + 18, 1);
    }
    EXPECT_EQ(letters, "ABC");
}

TEST_F(MessageDispatchTest, ARefusedRepeatIsToldToTheLog)
{
    LOG_Init("", scratch.path().c_str());
    receive_chat("one", 7);
    receive_chat("one", 7);
    LOG_End();
    EXPECT_THAT(text_lines_of_log(scratch.read("qapi.log")), testing::Contains("ER-It was already processed "));
}

// ---- Records

TEST_F(MessageDispatchTest, AShortMessageBehindALongOneHasNothingOfIt)
{
    receive_chat(std::string(1500, 'x'));
    receive_chat("short");
    ASSERT_EQ(host.take("Chat", 2), 0);
    EXPECT_EQ(field("texto").bytes, "short" + std::string(2048 - 5 + 1, '\0'));
}

TEST_F(MessageDispatchTest, ANumberIsTheRecordsOwnWhateverItsClass)
{
    Want(114);
    Want(121);
    receive(MessageBytes::Of(121));
    receive(MessageBytes::Of(114));
    ASSERT_EQ(host.take("Orden_Transaccion", 1), 0);
    EXPECT_EQ(taken(0, 3), "121");
    ASSERT_EQ(host.take("Historia_Posturas", 2), 0);
    EXPECT_EQ(taken(0, 3), "114");
}

TEST_F(MessageDispatchTest, ValuesThatOtherViewsKeptAreNotTheNextRecords)
{
    receive_chat("good morning");
    const int before = (*Glb_cur_chat_msg)[NUMERO_RECEPTORES_CHAT];
    EXPECT_EQ(before, 0);
    receive(MessageBytes::Of(chat).Put(
        static_cast<std::size_t>((*Glb_cur_chat_msg)[NUMERO_RECEPTORES_CHAT].m_displacement), "  7"));
    EXPECT_NE(static_cast<int>((*Glb_cur_chat_msg)[NUMERO_RECEPTORES_CHAT]), before);
}

TEST_F(MessageDispatchTest, ValuesThatWereReadOfOneRecordAreNotTheNextOnes)
{
    Want(111);
    receive(MessageBytes::Of(111).Put(83, " 8"));
    receive(MessageBytes::Of(111).Put(83, " 1"));
    EXPECT_THAT(take_lines(), ElementsAre("message Orden_Transaccion_RFQ 1", "message Orden_Transaccion 2"));
}

TEST_F(MessageDispatchTest, ARecordIsKeptThoughTheObjectIsGone)
{
    std::optional<RecordingHost> other(std::in_place);
    other.reset();
    receive_chat("one");
    EXPECT_EQ(waiting(TableId::Glb_Chat_Message_Table), 1);
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_F(MessageDispatchTest, NoLockIsHeldWhenTheHostHearsOfARecord)
{
    int free = 0;
    host.in_callback = [&](const std::string&) {
        if (The_Mailbox_Mutex->try_lock()) {
            ++free;
            The_Mailbox_Mutex->unlock();
        }
        if (The_Replica_Mutex.try_lock()) {
            ++free;
            The_Replica_Mutex.unlock();
        }
    };
    receive_chat("one");
    EXPECT_EQ(free, 2);
}

} // namespace
