// The handles and callbacks of qcapi/host.h, on a session with a real connection.
#include "support/host_session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;
using quentar::Decimal;
using quentar::Message;
using quentar::Result;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::Not;

class HostTest : public HostSession
{
protected:
    // The n-th order that the market sends; n is its code, price and amount.
    Message numbered_order(int n)
    {
        market::Order sent;
        sent.cabeza.server_number = static_cast<std::uint32_t>(n);
        sent.code = six_digits(n);
        sent.amount = std::to_string(n);
        sent.price = std::to_string(n) + ".2500";
        return order(sent);
    }
    static std::string six_digits(int n)
    {
        const std::string digits = std::to_string(n);
        return std::string(6 - digits.size(), '0') + digits;
    }
    Message a_chat(int n, const std::string& text)
    {
        market::Chat chat;
        chat.cabeza.server_number = static_cast<std::uint32_t>(n);
        chat.chat.text = text;
        peer.send_chat(chat);
        return next_message();
    }
    std::string read_directly(std::string name)
    {
        std::array<char, 4096> data{};
        host.GetFieldBSTR(name.data(), data.data());
        return data.data();
    }
    int host_errors() { return count_of("error 14 "); }
    int take_directly(const Message& message)
    {
        std::string kind = message.kind();
        return host.TakeMessage(kind.data(), message.number());
    }
};

// ---- Values ----------------------------------------------------------------------------------------------------

TEST_F(HostTest, FieldsAreReadAsTheValuesThatTheyHold)
{
    bring_up();
    const Message message = numbered_order(7);
    EXPECT_EQ(message.kind(), "Orden_Transaccion");
    EXPECT_EQ(message.get<std::string>("usuario_postura"), "U001");
    EXPECT_EQ(message.get<int>("mercado"), 71);
    EXPECT_EQ(message.get<unsigned>("mercado"), 71U);
    EXPECT_EQ(message.get<std::int64_t>("MERCADO"), 71);
    EXPECT_EQ(message.get<std::string>("mercado"), "71");
    EXPECT_EQ(message.get<Decimal>("precio").to_string(), "7.2500");
    EXPECT_EQ(message.get<std::string>("precio"), "7.2500");
    EXPECT_EQ(message.get<int>("numero"), 7);
    EXPECT_EQ(host_errors(), 0);
}

TEST_F(HostTest, BlanksAndZerosBehindATextAreTrimmedAndThoseInFrontStay)
{
    bring_up();
    EXPECT_EQ(a_chat(1, "  hello there  ").get<std::string>("texto"), "  hello there");
    EXPECT_EQ(a_chat(2, "a\0b \0 \0"s).get<std::string>("texto"), "a\0b"s);
    EXPECT_EQ(a_chat(3, "   ").get<std::string>("texto"), "");
}

TEST_F(HostTest, DirectReadingTrimsNothing)
{
    bring_up();
    const Message message = a_chat(1, " hello ");
    ASSERT_EQ(take_directly(message), 0);
    EXPECT_EQ(read_directly("texto"), " hello ");
}

TEST_F(HostTest, AMissingFieldIsNothingToFindAndAReportToGet)
{
    bring_up();
    const Message message = numbered_order(1);
    EXPECT_EQ(message.find<int>("no_such_field"), std::nullopt);
    EXPECT_EQ(host_errors(), 0);
    EXPECT_EQ(message.get<int>("no_such_field"), 0);
    EXPECT_EQ(message.get<std::string>("no_such_field"), "");
    EXPECT_EQ(count("error 14 Illegal name field specified (no_such_field) in Orden_Transaccion message / 0"), 2);
}

TEST_F(HostTest, AValueThatDoesNotFitIsNothingToFind)
{
    bring_up();
    const Message message = numbered_order(300);
    EXPECT_EQ(message.find<int>("usuario_postura"), std::nullopt); // no number
    EXPECT_EQ(message.find<int>("precio"), std::nullopt);          // 300.25
    EXPECT_EQ(message.find<signed char>("numero"), std::nullopt);  // 300
    EXPECT_EQ(message.find<short>("numero"), short{300});
    EXPECT_EQ(message.get<char>("usuario_postura"), 'U');
}

TEST_F(HostTest, AFieldOfAnotherRecordIsReadThroughItsCode)
{
    std::string user(699, '\0');
    user.replace(0, 4, "U001").replace(20, 10, "maria     ");
    peer.tables[24] = {{.idx = 9, .body = user}};
    bring_up();
    const Message message = numbered_order(1);
    EXPECT_EQ(message.get<std::string>("usuario_postura.nombre"), "maria");
    EXPECT_EQ(message.find<std::string>("usuario_postura.no_such_field"), std::nullopt);
    EXPECT_EQ(host_errors(), 0);
}

TEST_F(HostTest, ACodeThatNamesNoRecordLeadsToAnEmptyOne)
{
    bring_up();
    const Message message = numbered_order(1);
    EXPECT_EQ(message.find<std::string>("usuario_postura.nombre"), "");
    EXPECT_EQ(message.find<std::string>("usuario_postura.no_such_field"), std::nullopt);
}

TEST_F(HostTest, FieldsGoAsDeepAsTheyAreAskedTo)
{
    std::string user(699, '\0');
    user.replace(0, 4, "U001").replace(20, 10, "maria     ");
    peer.tables[24] = {{.idx = 9, .body = user}};
    bring_up();
    const Message message = numbered_order(1);
    const auto with_name =
        Contains(AllOf(Field(&quentar::Field::name, "usuario_postura.nombre"), Field(&quentar::Field::value, "maria")));
    const std::vector<quentar::Field> own = message.fields();
    const std::vector<quentar::Field> deep = message.fields(1);
    EXPECT_THAT(own, Not(with_name));
    EXPECT_THAT(deep, with_name);
    EXPECT_THAT(deep, Contains(Field(&quentar::Field::name, own.back().name)));
    EXPECT_EQ(std::count_if(deep.begin(), deep.end(),
                            [](const auto& field) { return field.name.find('.') == std::string::npos; }),
              static_cast<std::ptrdiff_t>(own.size()));
}

// ---- Fields ----------------------------------------------------------------------------------------------------

TEST_F(HostTest, FieldsAreTheRecordsOwnNamesAndValues)
{
    bring_up();
    const Message message = numbered_order(7);
    const std::vector<quentar::Field> all = message.fields();
    EXPECT_GT(all.size(), 100U);
    EXPECT_THAT(all, Each(Field(&quentar::Field::name, Not(HasSubstr(".")))));
    EXPECT_THAT(all, Contains(AllOf(Field(&quentar::Field::name, "precio"), Field(&quentar::Field::value, "7.2500"),
                                    Field(&quentar::Field::type, 5))));
    for (const quentar::Field& field : all) {
        EXPECT_EQ(field.value, message.get<std::string>(field.name)) << field.name;
    }
    EXPECT_EQ(host_errors(), 0);
}

TEST_F(HostTest, ElementsOfAChatAreFieldsToo)
{
    bring_up();
    market::Chat chat;
    chat.chat.receiver_kind = 'U';
    chat.chat.receiver_count = 2;
    chat.chat.receivers = "U001\0\0\0\0U002\0\0\0\0"s;
    peer.send_chat(chat);
    std::vector<std::string> receivers;
    for (const quentar::Field& field : next_message().fields()) {
        if (field.name.substr(0, 9) == "receptor[") {
            receivers.push_back(field.name + "=" + field.value);
        }
    }
    EXPECT_THAT(receivers, ElementsAre("receptor[1]=U001", "receptor[2]=U002"));
}

// ---- Finishing -------------------------------------------------------------------------------------------------

TEST_F(HostTest, AHandleThatGoesFinishesNothing)
{
    bring_up();
    unsigned number = 0;
    {
        Message first = numbered_order(1);
        number = first.number();
        const Message moved = std::move(first);
        EXPECT_EQ(moved.get<int>("numero"), 1);
        EXPECT_TRUE(first.is_gone()); // NOLINT(bugprone-use-after-move): what is left of it is nobody's
        EXPECT_EQ(first.finish(), Result::record_not_found);
    }
    EXPECT_EQ(Message(host, "Orden_Transaccion", number).get<int>("numero"), 1);
}

TEST_F(HostTest, AnAssignedHandleFinishesNothing)
{
    bring_up();
    Message message = numbered_order(1);
    const unsigned number = message.number();
    message = numbered_order(2);
    EXPECT_EQ(message.get<int>("numero"), 2);
    EXPECT_EQ(Message(host, "Orden_Transaccion", number).get<int>("numero"), 1);
}

TEST_F(HostTest, AFinishedRecordIsReadByNoHandle)
{
    bring_up();
    Message message = numbered_order(1);
    const Message second(host, message.kind(), message.number());
    EXPECT_EQ(second.get<int>("numero"), 1); // it is the taken one now
    EXPECT_EQ(message.finish(), Result::ok);
    EXPECT_TRUE(message.is_gone());
    EXPECT_EQ(message.finish(), Result::record_not_found);
    const Message next = numbered_order(2); // takes its place
    EXPECT_EQ(message.find<int>("numero"), std::nullopt);
    EXPECT_EQ(second.find<int>("numero"), std::nullopt);
    EXPECT_EQ(next.get<int>("numero"), 2);
}

// ---- Connections -----------------------------------------------------------------------------------------------

TEST_F(HostTest, AHandleReadsNothingOnceItsConnectionIsClosed)
{
    bring_up();
    Message message = numbered_order(1);
    EXPECT_EQ(message.get<int>("numero"), 1);
    lose_connection();
    EXPECT_TRUE(message.is_gone());
    EXPECT_EQ(message.find<int>("numero"), std::nullopt);
    EXPECT_TRUE(message.fields().empty());
    EXPECT_EQ(message.finish(), Result::record_not_found);
}

TEST_F(HostTest, InTheCallbackOfTheLossHandlesAreGoneAlready)
{
    bring_up();
    const Message message = numbered_order(1);
    std::atomic<bool> was_gone = false;
    on_status([&](int code) { was_gone = code == QAPI_STATUS_DISCONNECTED ? message.is_gone() : was_gone.load(); });
    lose_connection();
    on_status(nullptr);
    EXPECT_TRUE(was_gone);
}

TEST_F(HostTest, ARecordOfTheNextConnectionIsNotTakenForAnOldOne)
{
    bring_up();
    std::vector<Message> old;
    for (int n = 1; n <= 3; ++n) {
        old.push_back(numbered_order(n));
    }
    lose_connection();
    peer.bring_up();
    ASSERT_TRUE(hears("connected", 2));
    const Message next = numbered_order(11);
    EXPECT_EQ(next.get<int>("numero"), 11);
    for (const Message& message : old) {
        EXPECT_TRUE(message.is_gone());
        EXPECT_EQ(message.find<int>("numero"), std::nullopt);
    }
    EXPECT_EQ(next.get<int>("numero"), 11);
}

TEST_F(HostTest, LogoutMakesHandlesGo)
{
    bring_up();
    const Message message = numbered_order(1);
    EXPECT_EQ(log_out(), Result::ok);
    EXPECT_TRUE(message.is_gone());
    EXPECT_EQ(message.find<int>("numero"), std::nullopt);
    EXPECT_EQ(host.logout(), Result::not_initialized);
}

TEST(Handle, OfNothingReadsNothing)
{
    Message message;
    EXPECT_TRUE(message.is_gone());
    EXPECT_EQ(message.find<int>("numero"), std::nullopt);
    EXPECT_TRUE(message.fields().empty());
    EXPECT_EQ(message.finish(), Result::record_not_found);
}

TEST(Handle, OutlivesItsHost)
{
    auto host = std::make_unique<quentar::Host>();
    Message message(*host, "Chat", 1);
    EXPECT_FALSE(message.is_gone());
    host.reset();
    EXPECT_TRUE(message.is_gone());
    EXPECT_EQ(message.find<int>("numero"), std::nullopt);
    EXPECT_EQ(message.finish(), Result::record_not_found);
}

// ---- Several readers -------------------------------------------------------------------------------------------

TEST_F(HostTest, LiveHandlesReadTheirOwnRecordsInTurn)
{
    bring_up();
    const Message first = numbered_order(1);
    const Message second = numbered_order(2);
    const Message third = a_chat(3, "hello");
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(first.get<int>("numero"), 1);
        EXPECT_EQ(second.get<int>("numero"), 2);
        EXPECT_EQ(third.get<std::string>("texto"), "hello");
    }
    EXPECT_EQ(host_errors(), 0);
}

TEST_F(HostTest, TwoThreadsReadTwoLiveHandlesThousandsOfTimes)
{
    bring_up();
    const Message first = numbered_order(1);
    const Message second = numbered_order(2);
    std::atomic<int> wrong = 0;
    const auto read = [&wrong](const Message& message, int value) {
        for (int round = 0; round < 3000; ++round) {
            wrong += message.find<int>("numero") != value ? 1 : 0;
            wrong += message.get<Decimal>("precio") != Decimal::of_units(value * 100 + 25, 2) ? 1 : 0;
        }
    };
    std::thread other([&] { read(second, 2); });
    read(first, 1);
    other.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(HostTest, AThreadThatReadsWhileTheConnectionClosesReadsItsRecordOrNothing)
{
    bring_up();
    const Message first = numbered_order(1);
    const Message second = numbered_order(2);
    std::atomic<int> wrong = 0;
    const auto read = [&wrong](const Message& message, int value) {
        for (std::optional<int> found = value; found; found = message.find<int>("numero")) {
            wrong += *found != value ? 1 : 0;
        }
    };
    std::thread one([&] { read(first, 1); });
    std::thread two([&] { read(second, 2); });
    lose_connection();
    peer.bring_up();
    EXPECT_EQ(numbered_order(13).get<int>("numero"), 13); // takes the place of one of them
    one.join();
    two.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(HostTest, AThreadThatReadsDuringALogoutReadsItsRecordOrNothing)
{
    bring_up();
    const Message message = numbered_order(1);
    std::atomic<int> wrong = 0;
    std::thread reader([&] {
        for (std::optional<int> found = 1; found; found = message.find<int>("numero")) {
            wrong += *found != 1 ? 1 : 0;
        }
    });
    EXPECT_EQ(log_out(), Result::ok);
    reader.join();
    EXPECT_EQ(wrong, 0);
}

// A report waits for the callback that runs; a reader that waited so with the lock in its hand would stop both.
TEST_F(HostTest, AReportOfOneThreadDoesNotStopTheCallbackThatReads)
{
    bring_up();
    const Message message = numbered_order(1);
    std::atomic<bool> reading = false;
    std::atomic<int> read = 0;
    on_status([&](int code) {
        reading = true;
        for (int round = 0; round < 200 && code == QAPI_STATUS_DISCONNECTED; ++round) {
            read += message.get<int>("no_such_field") == 0 ? 1 : 0;
        }
    });
    std::thread other([&] {
        while (!reading) {
            static_cast<void>(message.get<int>("no_such_field"));
        }
        for (int round = 0; round < 200; ++round) {
            static_cast<void>(message.get<int>("no_such_field"));
        }
    });
    lose_connection();
    other.join();
    on_status(nullptr);
    EXPECT_EQ(read, 200);
}

// ---- Direct calls ----------------------------------------------------------------------------------------------

TEST_F(HostTest, DirectCallsAndHandlesKeepTheirOwnRecords)
{
    bring_up();
    const Message first = numbered_order(1);
    const Message second = numbered_order(2);
    ASSERT_EQ(take_directly(second), 0);
    EXPECT_EQ(first.get<int>("numero"), 1);
    EXPECT_EQ(read_directly("codigo_postura"), read_directly("codigo_postura"));
    char amount[] = "numero";
    EXPECT_EQ(host.GetFieldLONG(amount), 2);
    EXPECT_EQ(first.get<int>("numero"), 1);
    EXPECT_EQ(host.GetFieldLONG(amount), 2);
}

TEST_F(HostTest, ADirectReadingWithoutATakenRecordDoesNotSeeAHandlesRecord)
{
    bring_up();
    const Message message = numbered_order(1);
    EXPECT_EQ(message.get<int>("numero"), 1);
    char amount[] = "numero";
    EXPECT_EQ(host.GetFieldLONG(amount), 0);
    EXPECT_EQ(count("error 14 There is no record previously taken / 0"), 1);
    EXPECT_EQ(host_errors(), 1);
}

TEST_F(HostTest, ADirectFinishIsSeenByTheHandle)
{
    bring_up();
    const Message message = numbered_order(1);
    EXPECT_EQ(message.get<int>("numero"), 1);
    std::string kind = message.kind();
    EXPECT_EQ(host.FinishMessageProcess(kind.data(), message.number()), 0);
    const Message next = numbered_order(2);
    EXPECT_EQ(message.find<int>("numero"), std::nullopt);
}

TEST_F(HostTest, AReplyByDirectCallsCopiesTheRecordThatTheHostTook)
{
    bring_up();
    const Message first = numbered_order(1);
    const Message second = numbered_order(2);
    ASSERT_EQ(take_directly(second), 0);
    EXPECT_EQ(first.get<int>("numero"), 1);
    std::string none;
    std::string market_field = "mercado";
    EXPECT_EQ(host.InitMessage(none.data()), 0);
    EXPECT_EQ(first.get<int>("numero"), 1);
    EXPECT_EQ(host.SetFieldLONG(none.data(), market_field.data(), 72), 0);
    EXPECT_EQ(host.SendMessage(none.data()), 0);
    const market::Order seen = peer.expect_order();
    EXPECT_EQ(seen.amount, "2");
    EXPECT_EQ(seen.market, 72);
}

// ---- Callbacks and results -------------------------------------------------------------------------------------

TEST_F(HostTest, EveryCallbackHasItsFunction)
{
    log_in();
    peer.accept();
    peer.expect_login();
    peer.refuse_login('C');
    EXPECT_TRUE(hears("refused C"));
    peer.receive_until_closed();
    peer.close(); // a refused client gives its peer eight seconds for that
    EXPECT_TRUE(hears("disconnected"));
    EXPECT_EQ(count_of("error 8 "), 1);
    EXPECT_TRUE(hears("status 21 Connected"));
    EXPECT_TRUE(hears("status 20 Disconnected"));
}

TEST(HostResults, FunctionsThatAreNotSetAreNotCalled)
{
    const ScratchDirectory scratch;
    quentar::Host host;
    EXPECT_EQ(host.login("maria", "secret"), Result::config_not_found);
    EXPECT_EQ(host.logout(), Result::not_initialized);
    EXPECT_EQ(host.logout_without_waiting(), Result::not_initialized);
    EXPECT_EQ(host.add_condition("no such kind", "mercado", "=", "71"), Result::unknown_kind);
    EXPECT_EQ(host.add_condition("Chat", "mercado", "=", "71"), Result::unknown_field);
}

class DerivedHost : public quentar::Host
{
public:
    DerivedHost()
    {
        on_error = [this](int code, const std::string&, int) { codes.push_back(code); };
    }
    ~DerivedHost() override { logout(); }
    std::vector<int> codes;
};

TEST(HostResults, AClassMayDeriveFromHost)
{
    const ScratchDirectory scratch;
    DerivedHost host;
    EXPECT_EQ(host.login("maria", "secret"), Result::config_not_found);
    EXPECT_THAT(host.codes, ElementsAre(2));
}

TEST(HostResults, HaveTextsWithoutPlacesForValues)
{
    EXPECT_EQ(quentar::text_of(Result::ok), "");
    EXPECT_EQ(quentar::text_of(Result::config_not_found), "Config file does not exist");
    EXPECT_EQ(quentar::text_of(Result::record_not_found), "Record number not found");
    EXPECT_EQ(quentar::text_of(Result::status_not_expected), "The connection changed to status, detail");
    EXPECT_EQ(quentar::text_of(Result::not_initialized), "Call Login or Connect first.");
    EXPECT_STREQ(quentar::advice_of(Result::wrong_password), "Correct the password.");
    EXPECT_STREQ(quentar::advice_of(Result::ok), "");
    EXPECT_EQ(quentar::text_of(static_cast<Result>(99)), "Unknown result 99");
}

TEST(HostResults, EveryCodeHasATextThatIsFitToPrint)
{
    for (int code = 1; code <= 29; ++code) {
        const std::string text = quentar::text_of(static_cast<Result>(code));
        EXPECT_THAT(text, Not(HasSubstr("%"))) << code;
        EXPECT_THAT(text, Not(HasSubstr("()"))) << code;
        EXPECT_THAT(text, Not(HasSubstr("  "))) << code;
        EXPECT_FALSE(text.empty() || text.back() == ' ') << code;
    }
}

} // namespace
