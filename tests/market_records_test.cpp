// The records as the tests' market writes and reads them, against bytes put together by hand.
#include "support/market_records.h"

#include "support/wire_codec.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

using namespace market;

namespace {

using testing::ElementsAre;
using Pieces = std::vector<std::pair<std::size_t, std::string>>;

// Zeros with these bytes in them.
std::string Zeros(std::size_t size, const Pieces& pieces)
{
    std::string bytes(size, '\0');
    for (const auto& [offset, piece] : pieces) {
        bytes.replace(offset, piece.size(), piece);
    }
    return bytes;
}

// What a client stamps into its messages, and more.
std::string Stamped(int number, std::size_t size, const Pieces& pieces = {})
{
    const std::string bytes = Zeros(size, {{0, std::to_string(number)},
                                           {3, "L001"},
                                           {11, "AB"},
                                           {13, "\x07"},
                                           {18, "\x01"},
                                           {22, "U001"},
                                           {26, "093005"},
                                           {32, "20260115"},
                                           {55, "BRANCH01"}});
    std::string filled = bytes;
    for (const auto& [offset, piece] : pieces) {
        filled.replace(offset, piece.size(), piece);
    }
    return filled;
}

const Stamp the_stamp{.machine = "L001",
                      .server = "AB",
                      .sender_number = 7,
                      .server_number = 256,
                      .user = "U001",
                      .hour = "093005",
                      .date = "20260115",
                      .branch = "BRANCH01"};

template <class Action> std::string ComplaintOf(Action action)
{
    try {
        action();
    } catch (const WireError& error) {
        return error.what();
    }
    return "none";
}

// ---- Bytes

TEST(RecordTest, FieldsStandAtTheirOffsetsOverZeros)
{
    EXPECT_EQ(Record(12).text(1, "AB", 3).number(4, 7, 3).u16(7, 0x0102).letter(9, 'x').bytes(),
              std::string("\0AB\0  7\x02\x01x\0\0", 12));
    EXPECT_EQ(Record(5).u32(1, 0x01020304).bytes(), std::string("\0\x04\x03\x02\x01", 5));
    EXPECT_EQ(Record(87, 4).bytes(), std::string(" 87\0", 4));
}

TEST(RecordTest, RefusesWhatDoesNotFit)
{
    EXPECT_EQ(ComplaintOf([] { Record(10).text(0, "ABC", 2); }), "\"ABC\" is longer than its field at 0");
    EXPECT_EQ(ComplaintOf([] { Record(10).text(9, "A", 2); }), "a field at 9 does not fit into its record");
    EXPECT_EQ(ComplaintOf([] { Record(10).number(2, 1000, 3); }), "\"1000\" is longer than its field at 2");
}

TEST(RecordReaderTest, ReadsWhatStandsThere)
{
    const std::string bytes("111AB\0  7\x02\x01 2.50", 16);
    RecordReader reader(bytes, "a record", 16);
    EXPECT_EQ(reader.record_number(), 111);
    EXPECT_EQ(reader.text(3, 3), "AB");
    EXPECT_EQ(reader.number(6, 3), 7);
    EXPECT_EQ(reader.u16(9), 0x0102);
    EXPECT_EQ(reader.amount(11, 5), "2.50");
    reader.expect_nothing_else();
}

TEST(RecordReaderTest, ABinaryNumberOfFourBytesHasTheHighestLast)
{
    EXPECT_EQ(RecordReader(std::string("111\x04\x03\x02\xFE", 7), "a record", 7).u32(3), 0xFE020304);
}

TEST(RecordReaderTest, ComplainsOfALengthAByteOrANumberThatIsNotDue)
{
    EXPECT_EQ(ComplaintOf([] { RecordReader("1111", "a record", 5); }), "a record has 4 bytes where 5 are due");
    EXPECT_EQ(ComplaintOf([] { RecordReader("111\x05", "a record", 4).expect_nothing_else(); }),
              "a record has 5 at byte 3, where nothing stands");
    EXPECT_EQ(ComplaintOf([] { RecordReader("111x", "a record", 4).number(3, 1); }),
              "a record has no number at 3 but \"x\"");
    EXPECT_EQ(ComplaintOf([] { RecordReader("111x", "a record", 4).expect_number(112); }),
              "a record has the number 111");
    EXPECT_EQ(ComplaintOf([] { RecordReader("111x", "a record", 4).text(3, 2); }), "a record ends before byte 5");
}

TEST(RecordReaderTest, TheNumberMayHaveBlanksInFront)
{
    EXPECT_EQ(NumberOf(" 87..."), 87);
    EXPECT_EQ(NumberOf("888"), 888);
    EXPECT_EQ(NumberOf("8 8"), -1);
    EXPECT_EQ(NumberOf("   "), -1);
    EXPECT_EQ(NumberOf("88"), -1);
}

// ---- From the market

TEST(MarketRecordsTest, ALoginReplyHasItsFields)
{
    EXPECT_EQ(Make(LoginReply{.letter = 'c', .expiry = "45", .number = 513, .log = 'S'}),
              Zeros(518, {{0, "201SERV"},
                          {11, "AB"},
                          {21, "S"},
                          {26, "120000"},
                          {32, "20260115"},
                          {83, "L001c"},
                          {114, "  45"},
                          {192, "BR4C"},
                          {219, "20260115"},
                          {227, "\x01\x02"}}));
}

TEST(MarketRecordsTest, ARangeIsATableRecordWithTheLetterG)
{
    EXPECT_EQ(Make(Range{.low = 0x01020304, .high = 5, .environment = "MX"}),
              Zeros(32, {{0, "888g"}, {22, "\x04\x03\x02\x01\x05"}, {30, "MX"}}));
}

TEST(MarketRecordsTest, ATableRecordHasItsHeaderAndItsBody)
{
    EXPECT_EQ(Make(TableRecord{.letter = 'A',
                               .code = 0x0119,
                               .idx = 0x11121314,
                               .crc32 = 0x21222324,
                               .environment = 0x31323334,
                               .body = "BOG",
                               .count = 2}),
              Zeros(25, {{0, "888A\x19\x01\x02"},
                         {10, "\x14\x13\x12\x11\x24\x23\x22\x21\x34\x33\x32\x31"
                              "BOG"}}));
    EXPECT_EQ(EndOfTable(24), Zeros(22, {{0, "888z\x18"}}));
}

TEST(MarketRecordsTest, AServerListSaysItsKindItsNumberAndTheCodes)
{
    EXPECT_EQ(ServerListBody(5, {"DSAB", "DSCD"}), Zeros(64, {{0, "\x05"}, {2, "\x02"}, {4, "DSABDSCD"}}));
}

TEST(MarketRecordsTest, TheLogBeginsAndEnds)
{
    EXPECT_EQ(LogBegin(), Zeros(92, {{0, "204SERV"}, {11, "AB"}, {26, "120000"}, {32, "20260115"}}));
    EXPECT_EQ(LogEnd(), Zeros(123, {{0, "205SERV"}, {11, "AB"}, {26, "120000"}, {32, "20260115"}}));
}

TEST(MarketRecordsTest, AnyKindHasAnEnvelope)
{
    const Cabeza cabeza{.machine = "MACH",
                        .persistent = 'S',
                        .processed = 'P',
                        .server = "XY",
                        .sender_number = 3,
                        .server_number = 0x0405,
                        .log = 'A',
                        .user = "U002",
                        .hour = "235959",
                        .date = "20251231",
                        .branch = "INSTBOG1"};
    EXPECT_EQ(Make(87, 1002, cabeza), Zeros(1002, {{0, " 87MACHS"},
                                                   {10, "PXY\x03"},
                                                   {17, "\x05\x04"},
                                                   {21, "AU002235959"},
                                                   {32, "20251231"},
                                                   {54, "INSTBOG1"}}));
}

// ---- Both ways

TEST(MarketRecordsTest, AnOrderHasItsFieldsAndReadsBack)
{
    Order order{.number = 121, .kind = 8, .market = 5};
    order.cabeza.user = "U001";
    const std::string bytes = Zeros(1504, {{0, "121SERV"},
                                           {11, "AB"},
                                           {22, "U001120000"},
                                           {32, "20260115"},
                                           {83, " 8"},
                                           {91, "U001000001BRANCH01"},
                                           {142, "  5"},
                                           {146, "D"},
                                           {164, "20260115120000"},
                                           {217, "          4012.2500"},
                                           {246, "          100"},
                                           {513, "USD"}});
    EXPECT_EQ(Make(order), bytes);
    const Order read = TakeOrder(bytes);
    EXPECT_EQ(read.cabeza, order.cabeza);
    EXPECT_EQ(read.market, 5);
    EXPECT_EQ(read.price, "4012.2500");
    EXPECT_EQ(Make(read), bytes);
}

TEST(MarketRecordsTest, OnlyOrdersAreTakenForOrders)
{
    EXPECT_EQ(ComplaintOf([] { TakeOrder(Make(112, 1504, {})); }), "an order has the number 112");
}

TEST(MarketRecordsTest, TheDataOfAnOrderAreTheBytesThatItsTableRecordHas)
{
    const std::string data = OrderData(Make(Order{}));
    EXPECT_EQ(data.size(), 1194U);
    EXPECT_EQ(data.substr(4, 4), "U001"); // 91 in the message, 26 in the record
}

TEST(MarketRecordsTest, AChatHasItsFields)
{
    Chat chat;
    chat.chat = {.text = "hello", .receiver_count = 2, .receiver_kind = 'U', .receivers = "U002U003"};
    EXPECT_EQ(Make(chat), Zeros(3823, {{0, "575SERV"},
                                       {11, "AB"},
                                       {26, "120000"},
                                       {32, "20260115"},
                                       {83, "chat"},
                                       {147, "TU20260115120000"},
                                       {167, "U001hello"},
                                       {2219, "  2UU002U003"}}));
}

TEST(MarketRecordsTest, AChatFromAClientMayBeCut)
{
    const std::string bytes = Stamped(575, 3300, {{167, "U001hello"}, {2219, "  2UU002"}});
    const SeenChat seen = TakeChat(bytes);
    EXPECT_EQ(seen.stamp, the_stamp);
    EXPECT_EQ(seen.chat.sender, "U001");
    EXPECT_EQ(seen.chat.text, "hello");
    EXPECT_EQ(seen.chat.receiver_count, 2);
    EXPECT_EQ(seen.chat.receivers, "U002");
}

// ---- From the client

TEST(MarketRecordsTest, ALoginIsTakenApart)
{
    const Login login = TakeLogin(Stamped(201, 518,
                                          {{83, "L001"},
                                           {88, "maria"},
                                           {113, "S  80L001"},
                                           {128, "3003Secret-1"},
                                           {164, "d"},
                                           {198, "U"},
                                           {291, "192.0.2.1"}}));
    EXPECT_EQ(login.stamp, the_stamp);
    EXPECT_EQ(login.machine, "L001");
    EXPECT_EQ(login.branch_password, "L001");
    EXPECT_EQ(login.user_name, "maria");
    EXPECT_EQ(login.password, "Secret-1");
    EXPECT_EQ(login.password_form, 'U');
    EXPECT_EQ(login.version, "3003");
    EXPECT_EQ(login.client_kind, 'd');
    EXPECT_EQ(login.user_flag, 'S');
    EXPECT_EQ(login.expiry, 80);
    EXPECT_EQ(login.address, "192.0.2.1");
}

TEST(MarketRecordsTest, ALoginWithAStrayByteIsRefused)
{
    EXPECT_EQ(ComplaintOf([] {
                  TakeLogin(Stamped(201, 518, {{300, "x"}, {400, "y"}}));
              }),
              "a login has 121 at byte 400, where nothing stands");
    EXPECT_EQ(ComplaintOf([] {
                  TakeLogin(Stamped(201, 518, {{54, "x"}}));
              }),
              "a login has 120 at byte 54, where nothing stands");
}

TEST(MarketRecordsTest, AnOfflineMessageIsTakenApart)
{
    const Offline offline = TakeOffline(Stamped(202, 99, {{83, "L001Umaria"}, {98, "S"}}));
    EXPECT_EQ(offline.stamp, the_stamp);
    EXPECT_EQ(offline.machine, "L001");
    EXPECT_EQ(offline.machine_flag, 'U');
    EXPECT_EQ(offline.user_name, "maria");
    EXPECT_EQ(offline.user_flag, 'S');
}

TEST(MarketRecordsTest, ALogRequestHasEntriesUpToTheFirstThatIsEmpty)
{
    const LogRequest request = TakeLogRequest(
        Stamped(203, 983, {{83, "PAB20260114"}, {100, "\x02\x01"}, {108, "AAB20260115"}, {133, "BCD20260113"}}));
    EXPECT_EQ(request.stamp, the_stamp);
    EXPECT_THAT(request.entries,
                ElementsAre(LogRequest::Entry{'P', "AB", "20260114", 0x0102},
                            LogRequest::Entry{'A', "AB", "20260115", 0}, LogRequest::Entry{'B', "CD", "20260113", 0}));
}

TEST(MarketRecordsTest, ALogRequestHasZerosInTheHourAndBehindItsEntries)
{
    EXPECT_EQ(ComplaintOf([] {
                  TakeLogRequest(Stamped(203, 983, {{83, "PAB202601141"}}));
              }),
              "a log request has 49 at byte 94, where nothing stands");
    EXPECT_EQ(ComplaintOf([] {
                  TakeLogRequest(Stamped(203, 983, {{109, "x"}}));
              }),
              "a log request has 120 at byte 109, where nothing stands");
}

TEST(MarketRecordsTest, ALogRequestMayBeFull)
{
    Pieces pieces;
    for (std::size_t i = 0; i < 36; ++i) {
        pieces.emplace_back(83 + 25 * i, "PAB");
    }
    EXPECT_EQ(TakeLogRequest(Stamped(203, 983, pieces)).entries.size(), 36U);
}

TEST(MarketRecordsTest, RequestsWithoutABodyAreAStampAlone)
{
    EXPECT_EQ(TakeTablesRequest(Stamped(213, 178)), the_stamp);
    EXPECT_EQ(TakeTablesRequestEnd(Stamped(214, 178)), the_stamp);
    EXPECT_EQ(TakeNextLogRequest(Stamped(252, 83)), the_stamp);
    EXPECT_EQ(ComplaintOf([] {
                  TakeTablesRequest(Stamped(213, 178, {{83, "x"}}));
              }),
              "a request for tables has 120 at byte 83, where nothing stands");
}

TEST(MarketRecordsTest, AVersionMessageIsTakenApart)
{
    const Version version = TakeVersion(Stamped(253, 194,
                                                {{83, "L001BRANCH01BR4C"},
                                                 {100, " 13.008"},
                                                 {108, "20260102235901"},
                                                 {122, "\x02"},
                                                 {126, "\x03"},
                                                 {156, "QAPIU001maria"}}));
    EXPECT_EQ(version.stamp, the_stamp);
    EXPECT_EQ(version.machine, "L001");
    EXPECT_EQ(version.branch, "BRANCH01");
    EXPECT_EQ(version.branch_4c, "BR4C");
    EXPECT_EQ(version.kind, 1);
    EXPECT_EQ(version.objects, "3.008");
    EXPECT_EQ(version.date, "20260102");
    EXPECT_EQ(version.hour, "235901");
    EXPECT_EQ(version.data_files, 2U);
    EXPECT_EQ(version.object_files, 3U);
    EXPECT_EQ(version.system, "QAPI");
    EXPECT_EQ(version.user, "U001");
    EXPECT_EQ(version.user_name, "maria");
}

TEST(MarketRecordsTest, ATableRequestIsTakenApart)
{
    const std::string ask = Zeros(30, {{0, "888P\x19\x01\x02"}, {10, "\x01\x02\x03\x04\x05"}, {18, "\x06"}, {29, "x"}});
    const TableRequest request = TakeTableRequest(ask);
    EXPECT_EQ(request.letter, 'P');
    EXPECT_EQ(request.code, 0x0119);
    EXPECT_EQ(request.count, 2);
    EXPECT_EQ(request.idx, 0x04030201U);
    EXPECT_EQ(request.crc32, 5U);
    EXPECT_EQ(request.environment, 6U);
    EXPECT_EQ(request.payload, std::string(7, '\0') + "x");
    EXPECT_EQ(ComplaintOf([] {
                  TakeTableRequest(Zeros(22, {{0, "888S"}, {8, "x"}}));
              }),
              "a table request has 120 at byte 8, where nothing stands");
}

TEST(MarketRecordsTest, APresenceRecordIsTakenApart)
{
    const Presence presence = TakePresence(Zeros(180, {{0, "888I\x10"},
                                                       {10, "\xA0\x86\x01"},
                                                       {20, "CO"},
                                                       {22, "BRANCH01maria"},
                                                       {40, "U001"},
                                                       {50, " 1BR4CL001"},
                                                       {73, "P"},
                                                       {75, "DSAB"},
                                                       {83, "192.0.2.1"},
                                                       {173, "2"}}));
    EXPECT_EQ(presence.header, (TableRequest{'I', 16, 0, 100000, 0, 0x4F430000, ""}));
    EXPECT_EQ(presence.branch, "BRANCH01");
    EXPECT_EQ(presence.user_name, "maria");
    EXPECT_EQ(presence.user, "U001");
    EXPECT_EQ(presence.client_flag, 1);
    EXPECT_EQ(presence.branch_4c, "BR4C");
    EXPECT_EQ(presence.machine, "L001");
    EXPECT_EQ(presence.user_kind, 'P');
    EXPECT_EQ(presence.server, "DSAB");
    EXPECT_EQ(presence.address, "192.0.2.1");
    EXPECT_EQ(presence.state, 2);
}

} // namespace
