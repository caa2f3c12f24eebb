// Drafts of qcapi/host.h: what they refuse, and what leaves, as the market's own codec sees it.
#include "support/host_session.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;
using quentar::Decimal;
using quentar::Draft;
using quentar::Message;
using quentar::Result;

class HostDraftTest : public HostSession
{
protected:
    static Draft an_order()
    {
        Draft draft("Orden_Transaccion");
        draft.set("mercado", 71).set("usuario_postura", "U001").set("precio", Decimal::of_units(40122500, 4));
        return draft;
    }
};

// ---- What leaves -----------------------------------------------------------------------------------------------

TEST_F(HostDraftTest, AnOrderLeavesAsItWasSet)
{
    bring_up();
    Draft draft = an_order();
    draft.set("numero", 250).set("fecha_postura", "20260115").set("clase_mensaje", 1).to("PU", "L002");
    EXPECT_EQ(draft.send(host), Result::ok);
    const market::Order seen = peer.expect_order();
    EXPECT_EQ(seen.market, 71);
    EXPECT_EQ(seen.user, "U001");
    EXPECT_EQ(seen.price, "4012.2500");
    EXPECT_EQ(seen.amount, "250");
    EXPECT_EQ(seen.kind, 1);
    ASSERT_FALSE(peer.last().groups.empty());
    EXPECT_EQ(peer.last().groups.back(), (WireGroup{"PU", {std::string("L002")}}));
}

TEST_F(HostDraftTest, ADraftMayBeSentAgain)
{
    bring_up();
    Draft draft = an_order();
    EXPECT_EQ(draft.send(host), Result::ok);
    draft.set("mercado", 72);
    EXPECT_EQ(draft.send(host), Result::ok);
    EXPECT_EQ(peer.expect_order().market, 71);
    EXPECT_EQ(peer.expect_order().market, 72);
}

TEST_F(HostDraftTest, NothingOfOneDraftStaysInTheNext)
{
    bring_up();
    EXPECT_EQ(an_order().set("numero", 5).send(host), Result::ok);
    EXPECT_EQ(Draft("Orden_Transaccion").set("mercado", 3).send(host), Result::ok);
    EXPECT_EQ(peer.expect_order().amount, "5");
    const market::Order second = peer.expect_order();
    EXPECT_EQ(second.user, "");
    EXPECT_EQ(second.amount, "");
    EXPECT_EQ(second.market, 3);
}

TEST_F(HostDraftTest, AChatLeavesWithItsReceivers)
{
    bring_up();
    Draft chat("Chat");
    chat.set("receptor[2]", "U002").set("Receptor[1]", "U001").set("tipo_receptores", 'U').set("numero_receptores", 2);
    chat.set("texto", "hello").set("emisor", "U001");
    EXPECT_EQ(chat.problem(), "");
    EXPECT_EQ(chat.send(host), Result::ok);
    const market::SeenChat seen = peer.expect_chat();
    EXPECT_EQ(seen.chat.text, "hello");
    EXPECT_EQ(seen.chat.receiver_count, 2);
    EXPECT_EQ(seen.chat.receivers.substr(0, 12), "U001\0\0\0\0U002"s);
}

TEST_F(HostDraftTest, WhatIsSetLastHoldsWhateverItsCase)
{
    bring_up();
    Draft chat("Chat");
    chat.set("receptor[2]", "U002").set("RECEPTOR", "U009").set("receptor[2]", "U003").set("Receptor[2]", "U004");
    chat.set("TEXTO", "first").set("texto", "last").set("tipo_receptores", "U").set("numero_receptores", 2);
    EXPECT_EQ(chat.problem(), "");
    EXPECT_EQ(chat.send(host), Result::ok);
    const market::SeenChat seen = peer.expect_chat();
    EXPECT_EQ(seen.chat.text, "last");
    EXPECT_EQ(seen.chat.receivers.substr(0, 12), "U009\0\0\0\0U004"s);
}

TEST_F(HostDraftTest, ADraftThatIsChangedAndSentAgainSetsEachFieldOnce)
{
    bring_up();
    Draft draft = an_order();
    for (int amount = 1; amount <= 3; ++amount) {
        EXPECT_EQ(draft.set("NUMERO", amount).set("usuario_postura", "U00" + std::to_string(amount)).send(host),
                  Result::ok);
        const market::Order seen = peer.expect_order();
        EXPECT_EQ(seen.amount, std::to_string(amount));
        EXPECT_EQ(seen.user, "U00" + std::to_string(amount));
    }
}

// Typed writes go to the field's own place, whichever element its path tells of.
TEST_F(HostDraftTest, DirectSettingOfAnElementWritesTheFirstOne)
{
    bring_up();
    std::string kind = "Chat";
    const auto set = [&](std::string field, std::string value) {
        value.resize(8);
        return host.SetFieldBSTR(kind.data(), field.data(), value.data());
    };
    ASSERT_EQ(host.InitMessage(kind.data()), 0);
    EXPECT_EQ(set("tipo_receptores", "U"), 0);
    std::string count = "numero_receptores";
    EXPECT_EQ(host.SetFieldLONG(kind.data(), count.data(), 2), 0);
    EXPECT_EQ(set("receptor[2]", "U002"), 0);
    EXPECT_EQ(set("receptor[3]", "U003"), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
    EXPECT_EQ(host.SendMessage(kind.data()), 0);
    EXPECT_EQ(peer.expect_chat().chat.receivers, "U002");
}

TEST_F(HostDraftTest, AReplyIsACopyOfTheReceivedRecordWithWhatWasSet)
{
    bring_up();
    market::Order sent;
    sent.code = "000042";
    sent.amount = "10";
    Message message = order(sent);
    sent.cabeza.server_number = 2;
    sent.amount = "20";
    const Message other = order(sent);
    EXPECT_EQ(Draft(message).set("mercado", 72).send(host), Result::ok);
    EXPECT_EQ(message.finish(), Result::ok);
    const market::Order seen = peer.expect_order();
    EXPECT_EQ(seen.code, "000042");
    EXPECT_EQ(seen.amount, "10");
    EXPECT_EQ(seen.market, 72);
    EXPECT_EQ(other.get<int>("numero"), 20);
}

TEST_F(HostDraftTest, AReplyToARecordThatIsGoneIsNotSent)
{
    bring_up();
    Message message = order({});
    const Draft reply(message);
    EXPECT_EQ(message.finish(), Result::ok);
    EXPECT_EQ(reply.send(host), Result::record_not_found);
    EXPECT_EQ(Draft("Chat").set("texto", "last").send(host), Result::ok);
    EXPECT_EQ(peer.expect_chat().chat.text, "last"); // and no order ahead of it
}

TEST_F(HostDraftTest, AReplyToNothingIsNotSent)
{
    bring_up();
    EXPECT_EQ(Draft(Message()).result(), Result::unknown_kind);
    EXPECT_EQ(Draft(Message(host, "Chat", 1)).send(host), Result::record_not_found);
}

TEST_F(HostDraftTest, DraftsOfTwoThreadsDoNotMix)
{
    bring_up();
    constexpr int rounds = 600;
    std::atomic<int> ready = 0;
    const auto send = [&](int market, const std::string& user) {
        for (++ready; ready < 2;) {
        }
        for (int round = 0; round < rounds; ++round) {
            EXPECT_EQ(Draft("Orden_Transaccion").set("mercado", market).set("usuario_postura", user).send(host),
                      Result::ok);
        }
    };
    std::thread other([&] { send(72, "U072"); });
    send(71, "U071");
    other.join();
    for (int round = 0; round < 2 * rounds; ++round) {
        const market::Order seen = peer.expect_order();
        EXPECT_EQ(seen.user, "U0" + std::to_string(seen.market));
    }
}

// ---- What is refused -------------------------------------------------------------------------------------------

class Refusals : public testing::Test
{
protected:
    static std::string problem(const std::string& kind, const std::string& field, const std::string& value)
    {
        return Draft(kind).set(field, value).problem();
    }
    static std::string problem(const std::string& field, const Decimal& value)
    {
        const Draft draft = std::move(Draft("Orden_Transaccion").set(field, value));
        EXPECT_EQ(draft.result(), draft.problem().empty() ? Result::ok : Result::unknown_field);
        return draft.problem();
    }
};

TEST_F(Refusals, AnUnknownKindOrField)
{
    EXPECT_EQ(Draft("No_Such_Kind").result(), Result::unknown_kind);
    EXPECT_EQ(problem("Orden_Transaccion", "no_such_field", "x"), "no_such_field is no field of the message");
    EXPECT_EQ(problem("Orden_Transaccion", "usuario_postura.nombre", "x"),
              "usuario_postura.nombre is no field of the message");
    EXPECT_EQ(problem("Chat", "receptor[201]", "x"), "receptor[201] is no field of the message");
}

TEST_F(Refusals, ATextThatIsLongerThanItsField)
{
    QapiField field{};
    ASSERT_EQ(CQcApi::DescribeField("Orden_Transaccion", "usuario_postura", &field), 0);
    const auto length = static_cast<std::size_t>(field.length);
    EXPECT_EQ(problem("Orden_Transaccion", "usuario_postura", std::string(length, 'x')), "");
    EXPECT_EQ(problem("Orden_Transaccion", "usuario_postura", std::string(length + 1, 'x')),
              "usuario_postura is shorter than the text");
}

TEST_F(Refusals, ANumberThatItsFieldCannotHold)
{
    EXPECT_EQ(problem("precio", Decimal::of_units(40122500, 4)), "");
    EXPECT_EQ(problem("precio", *Decimal::parse("4012.12345678901")), "precio has fewer decimals than the number");
    EXPECT_EQ(problem("precio", *Decimal::parse("12345678901234567890")), "precio has no room for the number");
    EXPECT_EQ(problem("mercado", -1), "mercado takes no negative number");
    EXPECT_EQ(problem("mercado", Decimal::of_units(15, 1)), "mercado has fewer decimals than the number");
    EXPECT_EQ(problem("mercado", Decimal(1234567890123)), "mercado has no room for the number");
    EXPECT_EQ(problem("Orden_Transaccion", "precio", "4,5"), "precio takes numbers alone");
    EXPECT_EQ(problem("Orden_Transaccion", "precio", ""), "precio takes numbers alone");
}

TEST_F(Refusals, TheNinthDecimalOfAFieldThatHasRoomForIt)
{
    const auto total = [](const char* value) {
        return problem("Precios_Montos_Transados", "precio_x_monto_total_dia", value);
    };
    EXPECT_EQ(total("9999999999999999.999999990"), "");
    EXPECT_EQ(total("0.00000001"), "");
    EXPECT_EQ(total("0.000000001"), "precio_x_monto_total_dia has fewer decimals than the number");
    EXPECT_EQ(total("10000000000000000"), "precio_x_monto_total_dia has no room for the number");
}

TEST_F(Refusals, ACharacterForANumber)
{
    EXPECT_EQ(Draft("Orden_Transaccion").set("precio", '4').problem(), "precio is no text");
}

TEST_F(Refusals, AnAddresseeThatTheLibraryWouldLeaveOut)
{
    const auto result = [](const char* id, const std::string& name) {
        return Draft("Orden_Transaccion").to(id, name).result();
    };
    EXPECT_EQ(result("PU", "L002"), Result::ok);
    EXPECT_EQ(result("PU", std::string(147, 'x')), Result::ok); // 150 bytes with its zero
    EXPECT_EQ(result("PU", std::string(148, 'x')), Result::illegal_address);
    EXPECT_EQ(result("P", "L002"), Result::illegal_address);
    EXPECT_EQ(result("PU", ""), Result::illegal_address);
    EXPECT_EQ(Draft("Orden_Transaccion").to("PU", std::string(100, 'x')).to("PU", std::string(50, 'x')).result(),
              Result::illegal_address);
}

TEST_F(Refusals, TheFirstOneIsKept)
{
    Draft draft("Orden_Transaccion");
    draft.set("no_such_field", 1).to("", "").set("mercado", 71);
    EXPECT_EQ(draft.result(), Result::unknown_field);
    EXPECT_EQ(draft.problem(), "no_such_field is no field of the message");
}

TEST_F(HostDraftTest, ADraftWithAFailureSendsNothing)
{
    bring_up();
    EXPECT_EQ(an_order().set("no_such_field", 1).send(host), Result::unknown_field);
    EXPECT_EQ(Draft("Chat").set("texto", "last").send(host), Result::ok);
    EXPECT_EQ(peer.expect_chat().chat.text, "last"); // and no order ahead of it
}

TEST_F(HostDraftTest, AFailureWhileItIsComposedSendsNothing)
{
    bring_up();
    EXPECT_EQ(Draft("Instruccion_De_Pago").send(host), Result::unknown_kind); // is received and never composed
    EXPECT_EQ(an_order().send(host), Result::ok);
    EXPECT_EQ(peer.expect_order().market, 71); // and nothing ahead of it
}

TEST_F(HostDraftTest, WithoutASessionNothingIsSent)
{
    EXPECT_EQ(an_order().send(host), Result::not_initialized);
}

} // namespace
