// What the record classes add to their layouts: redirected fields, fields in spare bytes, the buffer that views share,
// the envelope template.
#include "records/all_records.h"
#include "records/envelope_template.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/receive_buffer.h"
#include "records/reference.h"
#include "records/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string bytes_of(CMessage& record, int field_id)
{
    CField& field = record[field_id];
    return {field.Get_Data_Ptr(), static_cast<std::size_t>(field.m_len)};
}

std::string at(const CMessage& record, int offset, std::size_t count)
{
    return {record.m_data + offset, count};
}

} // namespace

// ---- Fields that share their bytes with another ----------------------------------------------------------------

template <class Record> class SharedUsers : public testing::Test
{
};
using RecordsWithSharedUsers = testing::Types<CMsgOrder, CMsgTransMon>;
TYPED_TEST_SUITE(SharedUsers, RecordsWithSharedUsers);

TYPED_TEST(SharedUsers, FlagSaysWhichOfTheTwoReads)
{
    TypeParam record;
    record[USUARIO_SUCURSAL_INTERMEDIARIO] = "ABCD";
    record[USUARIO_SUCURSAL_INTERMEDIARIO_1] = "EFGH";
    EXPECT_EQ(bytes_of(record, USUARIO_SUCURSAL_INTERMEDIARIO), "ABCD");
    EXPECT_EQ(bytes_of(record, USUARIO_EMPLEADO), std::string(4, '\0'));
    EXPECT_EQ(bytes_of(record, USUARIO_SUCURSAL_INTERMEDIARIO_1), "EFGH");

    record[BANDERA_SECTOR_FINANCIERO] = "E";
    EXPECT_EQ(bytes_of(record, USUARIO_SUCURSAL_INTERMEDIARIO), std::string(4, '\0'));
    EXPECT_EQ(bytes_of(record, USUARIO_EMPLEADO), "ABCD");
    EXPECT_EQ(bytes_of(record, USUARIO_EMPLEADO_1), std::string(4, '\0')) << "has a flag of its own";

    record[BANDERA_SECTOR_FINANCIERO_1] = "E";
    EXPECT_EQ(bytes_of(record, USUARIO_EMPLEADO_1), "EFGH");
}

TYPED_TEST(SharedUsers, WriteToTheOtherOneIsDropped)
{
    TypeParam record;
    record[USUARIO_EMPLEADO] = "XXXX";
    record[USUARIO_EMPLEADO_1].SetStr("XXXX");
    record[USUARIO_EMPLEADO].Clean();
    EXPECT_EQ(bytes_of(record, USUARIO_SUCURSAL_INTERMEDIARIO), std::string(4, '\0'));
    EXPECT_EQ(bytes_of(record, USUARIO_EMPLEADO), std::string(4, '\0'));
    TypeParam another;
    EXPECT_EQ(bytes_of(another, USUARIO_EMPLEADO), std::string(4, '\0')) << "nothing is left in what all share";
}

// ---- Fields in spare bytes -------------------------------------------------------------------------------------

TEST(Records, NumberOfAChatStandsSevenBytesBehindTheRecord)
{
    CMsgChat chat;
    chat[REC_IDX] = 0x01020304U;
    EXPECT_EQ(at(chat, 3823 + 7, 4), "\x04\x03\x02\x01");
    EXPECT_EQ(chat.m_data_len, 3823);
}

TEST(Records, TailOfAnOrderFollowsItself)
{
    CMsgOrder order;
    EXPECT_EQ(order[REC_IDX].m_displacement, 1504 + 7);
    EXPECT_EQ(order[ENVIRONMENT].m_displacement, 1515 + 15);
    EXPECT_EQ(order[CODIGO_DATASERVER_ORDEN].m_displacement, 1534);
    EXPECT_EQ(order[BANDERA_DIFERIDO].m_displacement, 1536);
    EXPECT_EQ(order[CODIGO_DATASERVER_ORDEN].m_len, 2);
}

TEST(Records, NumberOfAPaymentInstructionLiesOverItsHourAndItsOrder)
{
    CMsgPayInstruc instruction;
    instruction[HORA_IP] = "123456";
    instruction[CODIGO_POSTURA_IP] = "ABCDEFGHIJ";
    instruction[REC_IDX] = 0x58585858U;
    EXPECT_EQ(bytes_of(instruction, HORA_IP), "1234XX");
    EXPECT_EQ(bytes_of(instruction, CODIGO_POSTURA_IP), "XXCDEFGHIJ");
}

TEST(Records, DataOfAnOrderMessageBeginWhereItsOrderDoes)
{
    CMsgOrder order;
    EXPECT_EQ(order[DATA_INFO].m_displacement, 87);
    EXPECT_EQ(order[DATA_INFO].m_len, 1504 - 87) << "cut to the record";
    CGTOrder record;
    EXPECT_EQ(record[DATA_INFO].m_displacement, 22);
    EXPECT_EQ(record[DATA_INFO].m_len, 1216 - 22);
}

// ---- Kinds -----------------------------------------------------------------------------------------------------

TEST(Records, TableRecordsHaveNoEnvelopeAndMessagesNoOperation)
{
    for (const RecordClass& each : All_Record_Classes()) {
        const RecordLayout& layout = each.layout();
        EXPECT_EQ(layout.Find(CABEZA) == nullptr, layout.Message_Type() == 1) << each.name;
        EXPECT_EQ(layout.Find(I_OP) != nullptr, layout.Message_Type() == 1) << each.name;
    }
}

TEST(Records, TableRecordIsKnownByItsNumberAndTheOperationBehindIt)
{
    CGTCity city;
    city[I_OP] = "A";
    EXPECT_EQ(at(city, 0, 4), "888A");
}

TEST(Records, NameOfAnOrderHasAPrefixInATransaction)
{
    CMsgOrder order;
    CGTOrder record;
    CMsgTransMon trade;
    EXPECT_EQ(order.Find_Field("mercado"), &order[MERCADO]);
    EXPECT_EQ(record.Find_Field("mercado"), &record[MERCADO]);
    EXPECT_EQ(trade.Find_Field("mercado"), nullptr);
    EXPECT_EQ(trade.Find_Field("transmm_mercado"), &trade[MERCADO]);
}

TEST(Records, FirstOfTwoNamesWinsInATransaction)
{
    CMsgTransMon trade;
    EXPECT_EQ(trade.Find_Field("usuario"), &trade[USUARIO]);
    EXPECT_NE(&trade[USUARIO], &trade[SCND_USUARIO]);
    std::size_t names = 0;
    for (const FieldPlace& place : trade.Layout_In_Force().Fields()) {
        names += place.name != nullptr ? 1 : 0;
    }
    EXPECT_EQ(names - trade.Layout_In_Force().Named().size(), 26U);
}

TEST(Records, DatesThatShareTheirBytesReadAlike)
{
    CMsgTransMon trade;
    trade[FECHA] = "20261121";
    EXPECT_EQ(bytes_of(trade, FECHA_ALFANUMERICA), "20261121");
}

TEST(Records, ClassesThatShareAnIdWorkBesideEachOther)
{
    CGTConnUser connected;
    CGTUser user;
    EXPECT_EQ(connected.m_message_id, user.m_message_id);
    user[CODIGO_USUARIO] = "USER";
    connected[CODIGO_USUARIO_CONNUSER] = "CONN";
    EXPECT_EQ(at(user, 22, 4), "USER");
    EXPECT_EQ(at(connected, 22 + 18, 4), "CONN");
    EXPECT_NE(user.GetFieldPos(CODIGO_USUARIO), connected.GetFieldPos(CODIGO_USUARIO_CONNUSER));
}

TEST(Records, FieldOfTheOtherClassWithTheIdIsReported)
{
    CGTUser user;
    testing::internal::CaptureStdout();
    user[SUCURSAL_CONNUSER];
    user[SUCURSAL_CONNUSER];
    const std::string told = testing::internal::GetCapturedStdout();
    EXPECT_EQ(told, "Error: field line (" + std::to_string(glb_field_equivalence[SUCURSAL_CONNUSER].file_line) +
                        ") should be defined in message-id 28\n");
}

TEST(Records, LargestBufferHasRoomForEveryClass)
{
    int largest = 0;
    for (const RecordClass& each : All_Record_Classes()) {
        largest = std::max(largest, each.make(nullptr)->Buffer_Size());
    }
    EXPECT_EQ(largest, LARGEST_RECORD_BUFFER);
}

// ---- Shared buffer ---------------------------------------------------------------------------------------------

TEST(ReceiveBuffer, AnyClassReadsWhatWasLaidIn)
{
    ReceiveBuffer buffer;
    CMsgOrder order(buffer.data());
    CMsgChat chat(buffer.data());
    CMsgOrder sent;
    sent[CODIGO_POSTURA] = "AB12CD34EF";
    buffer.Take({sent.m_data, static_cast<std::size_t>(sent.m_data_len)});
    order.Init();
    EXPECT_EQ(at(chat, 0, 3), "111");
    EXPECT_EQ(bytes_of(order, CODIGO_POSTURA), "AB12CD34EF");
}

TEST(ReceiveBuffer, WhatAShortRecordDoesNotFillReadsAsZeros)
{
    ReceiveBuffer buffer;
    CMsgChat chat(buffer.data());
    std::memset(buffer.data(), 'o', static_cast<std::size_t>(ReceiveBuffer::size()));
    const std::string raw(MESSAGE_TRANS_RECORD_SIZE, 'n');
    buffer.Take(raw);
    chat.Init();
    EXPECT_EQ(at(chat, 3299, 2), std::string("n\0", 2));
    EXPECT_EQ(std::string(buffer.data() + 3300, LARGEST_RECORD_BUFFER - 3300),
              std::string(LARGEST_RECORD_BUFFER - 3300, '\0'));
}

TEST(ReceiveBuffer, RecordThatIsTooLongIsCut)
{
    ReceiveBuffer buffer;
    buffer.Take(std::string(5000, 'n'));
    EXPECT_EQ(std::string(buffer.data(), LARGEST_RECORD_BUFFER), std::string(LARGEST_RECORD_BUFFER, 'n'));
}

// ---- Envelope template -----------------------------------------------------------------------------------------

TEST(EnvelopeTemplate, BranchStandsOneByteBehindItsField)
{
    CABEZA_DFN envelope{};
    std::memcpy(envelope.fecha, "20261121", 8);
    std::memcpy(envelope.sucursal, "BANKQTO1", 8);
    envelope.numero_remitente = 0x01020304;
    CMsgVrsCtrl message;
    message[CABEZA] = reinterpret_cast<const char*>(&envelope);
    EXPECT_EQ(bytes_of(message, FECHA), "20261121");
    EXPECT_EQ(at(message, 3 + 10, 4), "\x04\x03\x02\x01");
    EXPECT_EQ(at(message, 3 + 52, 8), "BANKQTO1");
    EXPECT_EQ(bytes_of(message, SUCURSAL), std::string("\0BANKQTO", 8));
}

TEST(EnvelopeTemplate, MembersStandAtTheirBytes)
{
    const std::vector<std::size_t> offsets{offsetof(CABEZA_DFN, codigo_primaryuser),
                                           offsetof(CABEZA_DFN, bandera_mensaje_persistente),
                                           offsetof(CABEZA_DFN, no_guardar_log_destinatarios),
                                           offsetof(CABEZA_DFN, guardar_log_remitente),
                                           offsetof(CABEZA_DFN, marca_procesado),
                                           offsetof(CABEZA_DFN, codigo_dataserver),
                                           offsetof(CABEZA_DFN, numero_remitente),
                                           offsetof(CABEZA_DFN, numero_dataserver),
                                           offsetof(CABEZA_DFN, log),
                                           offsetof(CABEZA_DFN, usuario),
                                           offsetof(CABEZA_DFN, hora),
                                           offsetof(CABEZA_DFN, fecha),
                                           offsetof(CABEZA_DFN, milisegundo),
                                           offsetof(CABEZA_DFN, bandera_destinatarios),
                                           offsetof(CABEZA_DFN, bandera_tipo_horas),
                                           offsetof(CABEZA_DFN, hora_local_remitente),
                                           offsetof(CABEZA_DFN, relleno_1_cabeza),
                                           offsetof(CABEZA_DFN, sucursal),
                                           offsetof(CABEZA_DFN, bandera_institucion_especial_remitente),
                                           offsetof(CABEZA_DFN, funcion_institucion_remitente),
                                           offsetof(CABEZA_DFN, diezmilesima_local_remitente),
                                           offsetof(CABEZA_DFN, relleno_2_cabeza)};
    EXPECT_EQ(offsets, (std::vector<std::size_t>{0,  4,  5,  6,  7,  8,  10, 14, 18, 19, 23,
                                                 29, 38, 42, 43, 44, 50, 52, 60, 61, 76, 80}));
}

TEST(EnvelopeTemplate, EightyBytesOfItTravel)
{
    CABEZA_DFN envelope{};
    std::memset(&envelope, 'e', sizeof envelope);
    CMsgVrsCtrl message;
    message[CABEZA] = reinterpret_cast<const char*>(&envelope);
    EXPECT_EQ(at(message, 3, 81), std::string(80, 'e') + '\0');
}

TEST(EnvelopeTemplate, ProcessHasOneThatBeginsEmpty)
{
    const std::string zeros(sizeof glb_cabeza_dfn, '\0');
    EXPECT_EQ(std::memcmp(&glb_cabeza_dfn, zeros.data(), zeros.size()), 0);
}
