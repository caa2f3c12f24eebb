// The market's tables, by code: what clients subscribe to, and the market's side of the dialogue by hashes.
//
// A client that has a table already asks with the count and the hash of its records ('Q'). If they are the market's,
// the end of the table is all it gets. Else it gets the list of idx, CRC and environment of all records ('H', the last
// one 'L'), asks for those that it lacks ('N', the last one 'P'), and gets them and the end of the table.
#pragma once

#include "message/layout.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
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

// Message 888 of one row, and the one that ends a table's transmission. A deletion carries the idx and no body.
std::string Table_Message(char letter, std::uint16_t code, const TableRow& row);
std::string End_Of_Table(std::uint16_t code);

class Table
{
public:
    // Throws std::runtime_error for a class that isn't one of table records.
    Table(std::uint16_t code, std::string record_class, std::uint32_t environment);

    [[nodiscard]] std::uint16_t code() const { return m_code; }
    [[nodiscard]] const std::string& record_class() const { return m_record_class; } // "CGTCity"; empty: no class
    [[nodiscard]] const std::map<std::uint32_t, TableRow>& rows() const { return m_rows; }

    // The CRC is that of the record class, over the bytes that count; a table without a class, or of one that computes
    // none, has it over all. Of rows with equal contents each later one counts up, as clients find rows by it. Insert
    // takes the next free idx.
    const TableRow& Insert(std::string body);
    const TableRow* Update(std::uint32_t idx, std::string body); // null if there is no such row
    bool Delete(std::uint32_t idx);

    [[nodiscard]] std::uint32_t Hash() const; // as clients compute it

    // ---- The dialogue

    // What answers a 'Q' with the hash of a client's records: the end of the table, or the list.
    [[nodiscard]] std::vector<std::string> Answer_Query(std::uint32_t hash) const;
    [[nodiscard]] bool Is_Equal(std::uint32_t hash) const { return hash == Hash(); }

    // The records with these identities, in the order of idx, and the end of the table. `asked` are values of 8 bytes,
    // CRC and environment; unknown ones are passed over.
    [[nodiscard]] std::vector<std::string> Answer_Asks(std::string_view asked) const;

    [[nodiscard]] std::vector<std::string> Whole() const; // all records, and the end of the table

private:
    [[nodiscard]] std::vector<std::string> List() const;
    [[nodiscard]] std::uint32_t Crc_Of(const std::string& body) const;
    void Give_Identity(TableRow& row); // of its body

    std::uint16_t m_code;
    std::string m_record_class;
    std::uint32_t m_environment;
    const FieldPlace* m_counting = nullptr; // the bytes of the class's CRC; null: all
    std::uint32_t m_last_idx = 0;
    std::map<std::uint32_t, TableRow> m_rows;
    std::unordered_map<std::uint32_t, std::uint32_t> m_idx_of_crc;
};

class Tables
{
public:
    // Throws std::runtime_error like the table's constructor, and if there is one of this code.
    Table& Add(std::uint16_t code, std::string record_class, std::uint32_t environment);

    [[nodiscard]] Table* Find(std::uint16_t code); // null if there is none
    [[nodiscard]] const Table* Find(std::uint16_t code) const;
    [[nodiscard]] const std::map<std::uint16_t, Table>& all() const { return m_tables; }

private:
    std::map<std::uint16_t, Table> m_tables;
};

} // namespace qm
