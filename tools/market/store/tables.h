// The market's tables, by code: what clients subscribe to, and the market's side of the dialogue by hashes.
//
// A client that has a table already asks with the count and the hash of its records ('Q'). If they are the market's,
// the end of the table is all it gets. Else it gets the list of idx, CRC and environment of all records ('H', the last
// one 'L'), asks for those that it lacks ('N', the last one 'P'), and gets them and the end of the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

struct TableRow
{
    std::uint32_t idx = 0;
    std::uint32_t crc32 = 0; // with the environment the record's identity
    std::uint32_t environment = 0;
    std::string body{}; // behind the header of 22 bytes

    bool operator==(const TableRow&) const = default;
};

// The letters of changes: insert, update, delete.
inline constexpr char ROW_INSERTED = 'I';
inline constexpr char ROW_UPDATED = 'A';
inline constexpr char ROW_DELETED = 'B';

// Message 888 of one row, and the one that ends a table's transmission.
std::string Table_Message(char letter, std::uint16_t code, const TableRow& row);
std::string End_Of_Table(std::uint16_t code);

class Table
{
public:
    Table(std::uint16_t code, std::string record_class, std::uint32_t environment);

    [[nodiscard]] std::uint16_t code() const { return m_code; }
    [[nodiscard]] const std::string& record_class() const { return m_record_class; } // "CGTCity"; empty: no class
    [[nodiscard]] const std::map<std::uint32_t, TableRow>& rows() const { return m_rows; }

    // The CRC is that of the record class, over the bytes that count; a table without a class has it over all. Insert
    // takes the next free idx.
    const TableRow& Insert(std::string body);
    const TableRow* Update(std::uint32_t idx, std::string body); // null if there is no such row
    bool Delete(std::uint32_t idx);

    [[nodiscard]] std::uint32_t Hash() const; // as clients compute it

    // ---- The dialogue

    // What answers a 'Q': the end of the table, or the list. `count` and `hash` are the client's; the count is not
    // trusted, as it has 16 bits.
    [[nodiscard]] std::vector<std::string> Answer_Query(std::uint32_t hash) const;
    [[nodiscard]] bool Is_Equal(std::uint32_t hash) const { return hash == Hash(); }

    // The records with these identities, in the order of idx, and the end of the table. `asked` are values of 8 bytes,
    // CRC and environment; unknown ones are passed over.
    [[nodiscard]] std::vector<std::string> Answer_Asks(std::string_view asked) const;

    [[nodiscard]] std::vector<std::string> Whole() const; // all records, and the end of the table

private:
    std::uint16_t m_code;
    std::string m_record_class;
    std::uint32_t m_environment;
    std::uint32_t m_last_idx = 0;
    std::map<std::uint32_t, TableRow> m_rows;
};

} // namespace qm
