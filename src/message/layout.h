// What a record class looks like: its fields, where each stands, and by which name. A layout is made once for a class
// and shared by all its records, which have nothing of their own but their buffer and the fields that were touched.
//
// A class composes its layout in the order in which the record's bytes travel:
//
//     Composition CGTCity::Compose()
//     {
//         auto city = Composition::Of_Table_Record(CGTCITY_TYPE, CITY_AFTER_CABEZA_SIZE);
//         city.Add_Run(DATOS_CITY, CODIGO_TARNEL_CITY);
//         city.Crc32_Over(DATOS_CITY);
//         return city;
//     }
//
// Layouts are never destroyed and never change: any thread may read one, also after main has ended.
#pragma once

#include "field/flddescr.h"
#include "message/record_types.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class CField;

// Gives the address of a field's bytes in place of the record's own.
using policy_f = char*(CField*);

inline constexpr int MESSAGE_EXTRA_ALLOCATED_SIZE = 100; // spare bytes behind a record, for fields that don't travel
inline constexpr int MESSAGE_EXTRA_USED_SIZE = 20;       // of which these are copied with the record
inline constexpr int MAX_REFERENCED_FIELDS_IN_A_MESSAGE = 1200; // positions whose values are kept once they are read

namespace qapi {

// The hash of a name: of all characters up to the end, a '.' or a '['. Fields are looked up by it. Each character, a
// signed number, is joined to twice what stands before it; four are taken at a time, as names are looked up a lot.
[[nodiscard]] constexpr std::int32_t Name_Code(std::string_view name)
{
    const auto ends = [name](std::size_t at) { return name[at] == '.' || name[at] == '['; };
    const auto number = [name](std::size_t at) {
        return static_cast<std::uint32_t>(static_cast<signed char>(name[at]));
    };
    std::uint32_t code = 1000;
    std::size_t at = 0;
    for (; at + 4 <= name.size() && !(ends(at) || ends(at + 1) || ends(at + 2) || ends(at + 3)); at += 4) {
        code = (code << 4) ^ (number(at) << 3) ^ (number(at + 1) << 2) ^ (number(at + 2) << 1) ^ number(at + 3);
    }
    for (; at < name.size() && !ends(at); ++at) {
        code = (code << 1) ^ number(at);
    }
    return static_cast<std::int32_t>(code);
}

// ---- Positions -------------------------------------------------------------------------------------------------
// Every class id numbers the fields that its records were ever asked for, from 1 up; 0 stands for none.

using Positions = std::array<std::atomic<std::int16_t>, MAX_FIELDS_DEFINED>;
extern std::array<Positions, MAX_MESSAGES_TYPES> m_message_pos; // by class id and field id; 0 for none yet

// The position of a field in the records of class `message_id`, 0 if it has none yet.
[[nodiscard]] inline int Field_Position(int message_id, int field_id)
{
    return m_message_pos[static_cast<unsigned>(message_id)][static_cast<unsigned>(field_id)].load(
        std::memory_order_relaxed);
}

// The same, but gives it the next position if it has none. Any thread.
int Give_Field_Position(int message_id, int field_id);

// ---- Layout ----------------------------------------------------------------------------------------------------

// One field in the records of a class.
struct FieldPlace
{
    int position = 0;
    int field_id = 0;
    const char* name = nullptr; // null if the class doesn't name it
    int code = 0;               // Name_Code of the name
    int displacement = 0;       // bytes from the start of the record
    int len = 0;                // bytes in the buffer, 0 if the field lies behind it
    bool shares_bytes = false;  // with a field whose value is kept once it is read
    bool no_change = false;     // header field of a table record
    policy_f* policy = nullptr;
    int named_index = -1; // among the fields that a walk by name visits
};

// The bytes that a field's value takes: those of its number if it is a binary one, whatever its length is cut to.
[[nodiscard]] int Bytes_Of_Value(int field_id, int len);

// The displacement and length of a field whose group stands at `base`, cut to a record of `data_len` bytes and its
// spare ones. A field that begins behind all of them has length 0 and the displacement of the last byte.
[[nodiscard]] FieldPlace Place_Field(int field_id, int base, int data_len);

class RecordLayout
{
public:
    [[nodiscard]] int Message_Id() const { return m_message_id; }
    [[nodiscard]] int Message_Type() const { return m_message_type; } // 3 message, 2 order message, 1 table record
    [[nodiscard]] int Number() const { return m_number; }             // of the message; 0 for none
    [[nodiscard]] int Size() const { return m_size; }                 // bytes behind the number
    [[nodiscard]] int Data_Len() const { return m_size + 3; }         // bytes of the record
    [[nodiscard]] int End_Base() const { return m_end_base; }         // where a field that isn't defined is placed

    // The fields in the order of their positions.
    [[nodiscard]] std::span<const FieldPlace> Fields() const { return m_fields; }

    // The field of an id, null if the class has not defined it.
    [[nodiscard]] const FieldPlace* Find(int field_id) const;

    // The field whose bytes give the record's CRC-32, null if the class has none.
    [[nodiscard]] const FieldPlace* Crc32_Field() const { return m_crc32_field < 0 ? nullptr : Find(m_crc32_field); }

    // The fields whose names have this code, in the order of their positions.
    [[nodiscard]] std::span<const FieldPlace* const> With_Code(int code) const;

    // The fields that a walk visits: the named ones in order, of several with one name the first.
    [[nodiscard]] std::span<const FieldPlace* const> Named() const { return m_named; }

    RecordLayout(const RecordLayout&) = delete;
    RecordLayout& operator=(const RecordLayout&) = delete;

private:
    friend class Composition;
    RecordLayout() = default;
    void Number_Fields();
    void Mark_Shared_Bytes();
    void Index_Names();

    struct CodeSlot
    {
        int code = 0;
        std::uint16_t first = 0; // in m_by_code
        std::uint16_t count = 0; // 0: the slot is empty
    };

    int m_message_id = 0;
    int m_message_type = 3;
    int m_number = 0;
    int m_size = 0;
    int m_end_base = 0;
    int m_crc32_field = -1;
    std::vector<FieldPlace> m_fields;
    std::vector<std::int16_t> m_index_of_id;  // in m_fields, -1 for none
    std::vector<const FieldPlace*> m_by_code; // grouped by code
    std::vector<CodeSlot> m_code_slots;       // open addressing; a power of two
    std::vector<const FieldPlace*> m_named;
    std::vector<std::unique_ptr<const std::string>> m_made_names; // those with a prefix
};

// The layout of records without a class: no field, class id 0.
const RecordLayout& Plain_Layout();

// ---- Composition -----------------------------------------------------------------------------------------------
// Fields are placed relative to a base, which a message moves behind its number and its envelope, and a table record
// behind its header; At moves it on. They get the catalogue's names, and positions in the order of the calls.
class Composition
{
public:
    // A message: the number at 0, then base 3. `body_size` counts the bytes behind the envelope.
    static Composition Of_Message(int message_id, int number, int body_size);

    // A table record: number 888, its header, then base 22. `data_size` counts the bytes behind the header.
    static Composition Of_Table_Record(int message_id, int data_size);

    // A record without fields, of a size that it is told.
    static Composition Plain();

    // A record class whose messages are orders.
    Composition& Is_Order();

    // From here on no field has a name; or one that begins with `prefix`, null for the plain names.
    Composition& Without_Names();
    Composition& With_Prefix(const char* prefix);

    // One field; and the same, moving the base behind it.
    Composition& Init_Field(int field_id);
    Composition& Init_Field_Advancing(int field_id);

    // The rows of the catalogue from `first` to `last`, both included, without those that no record class has.
    Composition& Add_Run(int first, int last);

    // The 27 parts of the envelope. Init_Field_Advancing(CABEZA), the whole of it, then moves the base to the body.
    Composition& Init_Header_Msg();

    // Moves the base: to a byte of the record, to the end of what travels, behind a field.
    Composition& At(int base);
    Composition& At_End();
    Composition& Behind(int field_id);

    // Takes the names of these fields away.
    Composition& Unnamed(std::initializer_list<int> field_ids);

    // The field whose bytes give the record's CRC-32.
    Composition& Crc32_Over(int field_id);

    // The function that gives the address of a field's bytes.
    Composition& With_Policy(int field_id, policy_f* policy);

    // The layout, kept as long as the process lives.
    [[nodiscard]] const RecordLayout& Keep();

private:
    Composition(int message_id, int number, int size);
    void Construct_Global_Table_Header();
    const char* Name_Of(int field_id);
    FieldPlace& Placed(int field_id);

    std::unique_ptr<RecordLayout> m_layout;
    int m_base = 0;
    bool m_named = true;
    const char* m_prefix = nullptr;
};

// The layout of a record class, composed when it is first asked for.
template <class Record> const RecordLayout& Layout_Of()
{
    static const RecordLayout& layout = Record::Compose().Keep();
    return layout;
}

} // namespace qapi

using qapi::Composition;
using qapi::FieldPlace;
using qapi::Layout_Of;
using qapi::RecordLayout;
