// What the message operations answer while no record is there to answer for.
#include "qcapi/config.h"
#include "support/session_fixture.h"

namespace {

constexpr const char* no_record_line = "error 14 There is no record previously taken / 0 0";

class AccessTest : public SessionTest
{
protected:
    RecordingHost host;
    char name[16] = "mercado";
    char data[16] = "untouched";
};

TEST_F(AccessTest, BeforeLoginEveryOperationSaysThatNothingRuns)
{
    EXPECT_EQ(host.take("Chat", 1), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.finish("Chat", 1), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.InitMessage(name), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.SetFieldBSTR(name, name, data), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.SetFieldDATE(name, name, data), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.SetFieldLONG(name, name, 1), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.SetFieldUINT(name, name, 1), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.SendMessage(name), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.LastAcknowledgedMessage(data, 1), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.SendMessageTo(data), 0);
}

TEST_F(AccessTest, ReadingWithoutATakenRecordGivesNothingAndIsReported)
{
    EXPECT_EQ(host.GetFieldBSTR(name, data), 0);
    EXPECT_EQ(host.GetFieldDATE(name, data), 0);
    EXPECT_STREQ(data, "untouched");
    EXPECT_EQ(host.GetFieldLONG(name), 0);
    EXPECT_EQ(host.IsDefined(name), 0);
    EXPECT_EQ(host.GetField(name, data), 0);
    EXPECT_STREQ(data, "");
    data[0] = 'x';
    EXPECT_EQ(host.GetNextField(name, data), 0);
    EXPECT_STREQ(data, "");
    EXPECT_STREQ(host.GetSField(name, data), "");
    EXPECT_EQ(host.count(no_record_line), 6);
}

TEST_F(AccessTest, ANameThatIsKnownButKeptNowhereIsIllegal)
{
    host.login();
    EXPECT_EQ(host.take("Login", 1), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(host.take("Global_Table", 1), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(host.TakeMessage(nullptr, 1), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(host.finish("", 1), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_TRUE(host.has("error 14 Illegal record type specified (Login) / 0 0"));
}

TEST_F(AccessTest, ARecordThatIsNotThereIsReportedForMessagesAndSilentForTables)
{
    host.login();
    EXPECT_EQ(host.take("chat_message", 4294967295U), QAPI_ERR_RECORD_NOT_FOUND);
    EXPECT_TRUE(host.has("error 14 Record (chat_message) number (-1) not found / 0 0"));
    EXPECT_EQ(host.finish("TARNEL", 7), QAPI_ERR_RECORD_NOT_FOUND);
    EXPECT_TRUE(host.has("error 14 Record (TARNEL) number (7) not found / 0 0"));
    EXPECT_EQ(host.finish("Posturas_Vigentes", 7), 0);
    EXPECT_EQ(host.take("Posturas_Vigentes", 7), QAPI_ERR_RECORD_NOT_FOUND);
}

TEST_F(AccessTest, AcknowledgingStoresNothing)
{
    host.login();
    EXPECT_EQ(host.LastAcknowledgedMessage(data, 5), 0);
}

TEST_F(AccessTest, AConditionNeedsAKnownKind)
{
    char kind[] = "no such kind";
    EXPECT_EQ(host.AddLoginCondition(kind, name, data, data), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    char chat[] = "Chat";
    EXPECT_EQ(host.AddLoginCondition(chat, name, data, data), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
}

TEST_F(AccessTest, AMessageFitsWhenItsNumberIsSubscribed)
{
    scratch.write("qapi.cfg", "data_server DSAB\ntransaction_feed 1\n");
    host.login();
    EXPECT_EQ(host.FitConditions(575, nullptr), 1);
    EXPECT_EQ(host.FitConditions(134, nullptr), 0); // in neither feed
    EXPECT_EQ(host.FitConditions(-1, nullptr), 0);
    EXPECT_EQ(host.FitConditions(1000, nullptr), 0);
}

} // namespace
