// The description of every field of the system: one row for each of 2337 field ids. The rows are written once, in
// field/catalogue/; ids, descriptions and names derive from them here.
//
// The table is complete once FIELD_Check_Consistency has run, which the first record that is built sees to, and never
// changes after that: any thread may read it.
#pragma once

#include <array>
#include <span>

// The ids in the order of the catalogue: an id is the index of its row. Where a record has a field is for the
// record class to say.
enum FIELD_ID : int
{
#define GROUP(first, bytes)
#define FIELD(offset, id, type, length, decimals, leads_to, name) id,
#include "field/catalogue/all.def"
#undef GROUP
#undef FIELD
};

inline constexpr int MAX_FIELDS_DEFINED = 2337;

// ---- Types -----------------------------------------------------------------------------------------------------
// What a field's bytes mean, and the class that reads them. Binary numbers are little-endian.
inline constexpr int FLD_SHORT = 1;            // CShort          2 bytes, signed
inline constexpr int FLD_UNSIGNED_SHORT = 2;   // CUnsignedShort  2 bytes, unsigned
inline constexpr int FLD_UNSIGNED_INT = 3;     // CUnsignedInt    4 bytes, unsigned
inline constexpr int FLD_NUM_ASCII_INT = 4;    // CNumAsciiInt    digits, right-aligned, blanks in front; 8 are readable
inline constexpr int FLD_NUM_ASCII_DOUBLE = 5; // CNumAsciiDouble sign, blanks, digits, point, decimals; right-aligned
inline constexpr int FLD_ALPHA = 6;            // CAlpha          text, no terminator
inline constexpr int FLD_INT = 7;              // CInteger        4 bytes, signed, whatever the row's length is
inline constexpr int FLD_DATE = 8;             // CDate           YYYYMMDD

inline constexpr int FLD_ALPHA_TYPE_STRING = 10;        // alpha kind: padded with NUL bytes
inline constexpr int DFN_MAX_NUM_ASCII_DOUBLE_LEN = 26; // longest fixed-point field
inline constexpr int FIELD_LONGEST_NUM_ASCII_INT = 8;   // longest digits of the catalogue, and longest that can be read

// ---- Table -----------------------------------------------------------------------------------------------------
// How a row takes its offset from a running position, in table order.
inline constexpr int FLD_PLACE_NEXT = 0;  // there; the position advances by the length
inline constexpr int FLD_PLACE_GROUP = 1; // 0, and the position becomes 0: the row is the whole group, its parts follow
inline constexpr int FLD_PLACE_OVERLAY = 2; // there; the position stays, so that the next row shares the bytes
inline constexpr int FLD_PLACE_FIRST = 3;   // 0, and the position becomes the length: the first part opens the group
inline constexpr int FLD_PLACE_BACK = 4;    // `end_pos` bytes before it; the position goes on behind the row

// A row with offset and length 0 separates groups: behind it only a row that opens a group has a place.
struct FIELD_EQUIVALENCE
{
    int field_id;          // the row's own index
    int field_type;        // FLD_ type
    int field_reference;   // index of its reference function, 0 for none
    int field_offset;      // at first a placement code; after the check, bytes from the start of the group
    int field_len;         // bytes in a record
    int field_decimal_len; // decimals of a FLD_NUM_ASCII_DOUBLE; kind of a FLD_ALPHA
    int file_line;         // line in its file of the catalogue, for diagnostics
    int end_pos;           // 0, or the position that must be reached behind the row; for FLD_PLACE_BACK the way back
    int has_offset;        // 1 after the check if the row left the position where it was
};

using FIELD_TABLE = std::array<FIELD_EQUIVALENCE, MAX_FIELDS_DEFINED>;
extern FIELD_TABLE glb_field_equivalence;

// Completes glb_field_equivalence, once in the life of the process, and prints a line for every row that is not as it
// must be. Any thread may call it; all return when it is done.
void FIELD_Check_Consistency();

// Prints that a record of class `message_id` was asked for a field that its class does not have.
void FIELD_Report_No_Definition(int field_id, int message_id);

namespace qapi {

// The table as the catalogue gives it, before any check: placement codes in place of offsets.
FIELD_TABLE Fields_Of_Catalogue();

// What FIELD_Check_Consistency does, for any table.
void Check_Fields(std::span<FIELD_EQUIVALENCE> fields);

// The name by which hosts know a field, in lower case; null for a field that is reached by id alone. Lives as long as
// the process.
const char* Field_Name(int field_id);

// The id as it stands in the catalogue, for documents and messages.
const char* Field_Symbol(int field_id);

// False for a row that only keeps its place in the format: no record class has it.
bool Field_Is_Built(int field_id);

} // namespace qapi

using qapi::Check_Fields;
using qapi::Field_Is_Built;
using qapi::Field_Name;
using qapi::Field_Symbol;
using qapi::Fields_Of_Catalogue;
