// The records of a session as a market writes and reads them: bytes at offsets, written apart from the library, whose
// record classes and field catalogue have no part in this. Two equal mistakes can't hide each other.
//
// Make(...) builds what a market sends; Take...(...) takes apart what a client sends, and throws WireError at a wrong
// length, a wrong number, or a byte that is not zero where no field stands.
//
// Texts are padded with zeros and read without them; numbers in characters stand at the right, behind blanks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace market {

// ---- Bytes

// A record that is built field by field over zeros.
class Record
{
public:
    explicit Record(std::size_t size) : m_bytes(size, '\0') {}
    Record(int number, std::size_t size); // with its three digits in front

    Record& text(std::size_t offset, std::string_view text, std::size_t width);
    Record& letter(std::size_t offset, char letter) { return text(offset, {&letter, 1}, 1); }
    Record& number(std::size_t offset, std::string_view digits, std::size_t width); // at the right, behind blanks
    Record& number(std::size_t offset, int value, std::size_t width);
    Record& u16(std::size_t offset, std::uint16_t value);
    Record& u32(std::size_t offset, std::uint32_t value);

    [[nodiscard]] const std::string& bytes() const { return m_bytes; }

private:
    [[nodiscard]] char* Place(std::size_t offset, std::size_t width);

    std::string m_bytes;
};

// A record that is taken apart, and remembers which of its bytes have been looked at.
class RecordReader
{
public:
    // `what` is its name in complaints. The number is looked at.
    RecordReader(std::string_view bytes, std::string what, std::size_t size);

    [[nodiscard]] int record_number() const { return m_number; }
    RecordReader& expect_number(int number);

    std::string text(std::size_t offset, std::size_t width);
    std::string bytes(std::size_t offset, std::size_t width); // with their zeros
    char letter(std::size_t offset);
    int number(std::size_t offset, std::size_t width); // 0 for blanks or zeros
    std::string amount(std::size_t offset, std::size_t width);
    std::uint16_t u16(std::size_t offset);
    std::uint32_t u32(std::size_t offset);

    void expect_nothing_else() const; // all other bytes are 0

private:
    std::string_view Part(std::size_t offset, std::size_t width);
    [[noreturn]] void Complain(const std::string& text) const;

    std::string m_bytes;
    std::string m_what;
    std::vector<bool> m_seen;
    int m_number = 0;
};

int NumberOf(std::string_view message); // the three digits, -1 if they are none

// ---- The envelope inside a message, CABEZA

// As the market writes it, and as clients write it into orders: each field at its place.
struct Cabeza
{
    std::string machine = "SERV";
    char persistent = '\0';
    char processed = '\0';
    std::string server = "AB"; // bytes 2 and 3 of the server's code
    std::uint32_t sender_number = 0;
    std::uint32_t server_number = 0;
    char log = '\0';
    std::string user{};
    std::string hour = "120000";
    std::string date = "20260115";
    std::string branch{}; // institution (4), city (3), agency (1)

    bool operator==(const Cabeza&) const = default;
};

// As clients stamp all other messages: the branch stands one byte further than above, and nothing else is set.
struct Stamp
{
    std::string machine{};
    std::string server{};
    std::uint32_t sender_number = 0;
    std::uint32_t server_number = 0;
    std::string user{};
    std::string hour{};
    std::string date{};
    std::string branch{};

    bool operator==(const Stamp&) const = default;
};

// ---- From the market

struct LoginReply // 201
{
    char letter = 'S'; // accepted; any other refuses
    std::string expiry = "80";
    std::string date = "20260115"; // of the last message that the server has from this client
    std::uint32_t number = 0;
    std::string branch_4c = "BR4C";
    std::string machine = "L001";
    char log = '\0';             // 'S': not for this client
    std::string sender = "SERV"; // one that starts with '$': not for this client
};
std::string Make(const LoginReply& reply);

struct Range // "g"
{
    std::uint32_t low = 100000;
    std::uint32_t high = 199999;
    std::string environment = "CO";
};
std::string Make(const Range& range);

struct TableRecord // 888
{
    char letter = 'I';
    std::uint16_t code = 0;
    std::uint32_t idx = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t environment = 0;
    std::string body{};
    std::uint16_t count = 0; // of elements, where there are several
};
std::string Make(const TableRecord& record);
std::string EndOfTable(std::uint16_t code);                                               // "z"
std::string ServerListBody(std::uint16_t type, const std::vector<std::string>& machines); // 1 managers, 5 servers

std::string Make(int number, std::size_t size, const Cabeza& cabeza); // any kind of message, without a body
std::string LogBegin();                                               // 204
std::string LogEnd();                                                 // 205

// ---- Both ways

struct Order
{
    int number = 111; // or 113, 121
    Cabeza cabeza{};
    int kind = 1; // 8 is a request for quotes
    int market = 71;
    std::string user = "U001";
    std::string code = "000001";
    std::string branch = "BRANCH01";
    char side = 'D';
    std::string date = "20260115";
    std::string hour = "120000";
    std::string price = "4012.2500";
    std::string amount = "100";
    std::string currency = "USD";
};
std::string Make(const Order& order);
Order TakeOrder(std::string_view message);

// What an order and a record of the table of orders have in common, to move it from one to the other.
std::string OrderData(std::string_view order_message);

struct ChatText
{
    std::string id = "chat";
    char kind = 'T';
    char origin = 'U';
    std::string date = "20260115";
    std::string hour = "120000";
    std::string sender = "U001";
    std::string text{};
    int receiver_count = 0;
    char receiver_kind = '\0';
    std::string receivers{}; // their codes, one behind the other
};
struct Chat // from the market
{
    Cabeza cabeza{};
    ChatText chat{};
};
std::string Make(const Chat& chat);
struct SeenChat // from a client
{
    Stamp stamp{};
    ChatText chat{};
};
SeenChat TakeChat(std::string_view message);

// ---- From the client

struct Login // 201
{
    Stamp stamp{};
    std::string machine{};
    std::string branch_password{};
    std::string user_name{};
    std::string password{};
    char password_form = '\0';
    std::string version{};
    char client_kind = '\0';
    char user_flag = '\0';
    int expiry = 0;
    std::string address{};
};
Login TakeLogin(std::string_view message);

struct Offline // 202
{
    Stamp stamp{};
    std::string machine{};
    char machine_flag = '\0';
    std::string user_name{};
    char user_flag = '\0';
};
Offline TakeOffline(std::string_view message);

struct LogRequest // 203
{
    struct Entry
    {
        char log = '\0'; // 'P', 'A', 'B'
        std::string server{};
        std::string date{};
        std::uint32_t last_message = 0;

        bool operator==(const Entry&) const = default;
    };
    Stamp stamp{};
    std::vector<Entry> entries{};
};
LogRequest TakeLogRequest(std::string_view message);

// 213 asks for tables, 214 ends that, 252 asks for the second round of the log: a stamp and nothing else.
Stamp TakeTablesRequest(std::string_view message);
Stamp TakeTablesRequestEnd(std::string_view message);
Stamp TakeNextLogRequest(std::string_view message);

struct Version // 253
{
    Stamp stamp{};
    std::string machine{};
    std::string branch{};
    std::string branch_4c{};
    int kind = 0;
    std::string objects{};
    std::string date{};
    std::string hour{};
    std::uint32_t data_files = 0;
    std::uint32_t object_files = 0;
    std::string system{};
    std::string user{};
    std::string user_name{};
};
Version TakeVersion(std::string_view message);

struct TableRequest // 888 that asks for a table or talks about its hash
{
    char letter = '\0';
    std::uint16_t code = 0;
    std::uint16_t count = 0;
    std::uint32_t idx = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t environment = 0;
    std::string payload{}; // values of 8 bytes

    bool operator==(const TableRequest&) const = default;
};
TableRequest TakeTableRequest(std::string_view message);

struct Presence // 888 that inserts the client among the connected users
{
    TableRequest header{};
    std::string branch{};
    std::string user_name{};
    std::string user{};
    int client_flag = 0;
    std::string branch_4c{};
    std::string machine{};
    char user_kind = '\0';
    std::string server{}; // the whole code
    std::string address{};
    int state = 0;
};
Presence TakePresence(std::string_view message);

} // namespace market
