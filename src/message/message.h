// A record: a flat buffer, and the fields that describe it. Every message and every table record is one. Its class says
// where its fields stand (message/layout.h); a field object comes to life when the field is first asked for, and stays.
//
// A record owns its buffer, or is a view on a buffer of someone else: a message that just arrived, the row of a table.
// Either way m_data_len bytes travel, and MESSAGE_EXTRA_ALLOCATED_SIZE spare ones stand behind them for fields that
// don't. A view's buffer must have both: a record never looks how long it is.
//
//   0            3                           m_data_len                m_data_len + 20      + 100
//   | number     | envelope or header, body  | spare, copied           | spare              |
//
// A record is used by one thread at a time. Records may be constructed before main, on any thread, and used after main.
#pragma once

#include "cvarray.h"
#include "field/field.h"
#include "message/keys.h"
#include "message/layout.h"
#include "message/table_base.h"

#include <array>
#include <atomic>
#include <memory>
#include <span>
#include <vector>

// This process's environment: part of the identity of the records it makes. Written by the thread that handles the
// login.
extern std::atomic<std::uint32_t> Glb_range_environment;

inline constexpr int MAX_FIELD_PATH = 1023; // characters of the longest path, and of the buffer behind a cursor

namespace qapi {

// A record's field objects by position, and for each a byte that tells whether its value is kept. Most positions never
// have an object, and most records of a table have none at all: objects come in blocks, of which a record has those
// that it needs. Pointers stay valid while the record lives.
class FieldSlots
{
public:
    [[nodiscard]] CField* at(int position) const
    {
        const Block* block = (*m_blocks)[static_cast<unsigned>(position) / block_size];
        return block != nullptr ? block->fields[static_cast<unsigned>(position) % block_size].get() : nullptr;
    }
    CField& put(int position, std::unique_ptr<CField> field);

    [[nodiscard]] char& Kept_Flag(int position)
    {
        return Block_Of(position).kept[static_cast<unsigned>(position) % block_size];
    }
    void Forget_Values()
    {
        for_each_block([](Block& block) { block.kept.fill(0); });
    }

    template <class Function> void for_each(Function function) const
    {
        for_each_block([&](const Block& block) {
            for (const auto& field : block.fields) {
                if (field != nullptr) {
                    function(*field);
                }
            }
        });
    }

private:
    static constexpr unsigned block_size = 64;
    struct Block
    {
        std::array<char, block_size> kept{};
        std::array<std::unique_ptr<CField>, block_size> fields;
    };
    using Blocks = std::array<Block*, MAX_FIELDS_DEFINED / block_size + 1>;
    struct Owned
    {
        Blocks by_position{};
        std::vector<std::unique_ptr<Block>> blocks;
    };
    static constexpr Blocks no_blocks{};

    Block& Block_Of(int position);
    template <class Function> void for_each_block(Function function) const
    {
        if (m_owned != nullptr) {
            for (const auto& block : m_owned->blocks) {
                function(*block);
            }
        }
    }

    const Blocks* m_blocks = &no_blocks;
    std::unique_ptr<Owned> m_owned; // null until the first object is made
};

} // namespace qapi

class CMessage
{
public:
    // A record without a class of its own, which has no fields until they are asked for: `size` bytes behind the
    // number. `data` null: the record owns its buffer, zeroed. Else it is a view on `data`.
    CMessage(char* data, int size);

    virtual ~CMessage();
    CMessage(const CMessage&) = delete;

    // Given as `data`: the record owns its buffer and takes no part in transactions.
    static char* Without_Transactions();

    // ---- Contents ----------------------------------------------------------------------------------------------
    void Set_Owner_Table_Data(CTableBase* table, int position);

    // Turns a view to another buffer of m_data_len bytes and the spare ones. The caller keeps it.
    void Set_Data_Buff(char* data);

    void Zero_Data_Buffer();  // all but the number, spare bytes included
    void Clean_Data_Buffer(); // the same, but values that were read stay in force until Init

    // Copies the other record with its first 20 spare bytes, then Init. What a shorter one lacks becomes zeros.
    CMessage& operator=(CMessage& other);

    // Copies the record from `raw`, then Init. The first form takes m_data_len bytes; the second what is there, and
    // zeros for the rest.
    void Update_Message_Info(const char* raw);
    void Update_Message_Info(std::span<const char> raw);

    void Backup(char* to) const;    // m_data_len bytes
    void Restore(const char* from); // the same back; values that were read stay in force until Init

    // ---- Fields ------------------------------------------------------------------------------------------------

    // The field of an id of the catalogue, whole if it is a repeating one. A field that the class has not defined is
    // reported, and made where the class's composition ended. Lives as long as the record.
    CField& operator[](int field_id)
    {
        CField* field = m_field.at(qapi::Field_Position(m_message_id, field_id));
        if (field == nullptr || field->m_elem_len != 0) {
            return Touch(field_id);
        }
        return *field;
    }

    // The field that a path names, in any case: "precio"; "usuario.nombre", a field of the record that the code usuario
    // names; "receptor[2]", an element; "receptor[2].nombre". Null if there is none or the path exceeds MAX_FIELD_PATH.
    CField* Find_Field(const char* path);

    // Walks the named fields, also those of the records that codes name. *cursor is the caller's text of MAX_FIELD_PATH
    // + 1 bytes, empty at first. Returns the next field, with *cursor where its name is to be written, or behind its
    // text if it is an element of a repeating field; the caller writes the name and passes the start of the text again.
    // Null at the end.
    CField* Next_Field(char** cursor);

    // The code by which a name is looked up, of the part in front of '.' and '['.
    static int Get_Code(const char* name);

    // The position of a field in the records of this class id, given out at its first use.
    [[nodiscard]] int GetFieldPos(int field_id) const;

    // The byte that tells whether the value at a position is kept; null, and a line on standard output, from
    // MAX_REFERENCED_FIELDS_IN_A_MESSAGE on: those values are read anew each time.
    char* Get_Field_Init_Pointer(int position);

    // Forgets all values that were read, so that the next reads see the buffer.
    void Forget_Values() { m_field.Forget_Values(); }

    // Forgets the values whose bytes meet the `count` bytes from `displacement` on.
    void Forget_Values_Over(int displacement, int count);

    // True if a field that the class has not defined may lie over those that it has.
    [[nodiscard]] bool Has_Undefined_Fields() const { return m_has_undefined_fields; }

    // Told by a field of which an element became current: Init goes back to the whole field.
    void Has_Elements() { m_has_elements = true; }

    // A field's bytes, and the value of a 32-bit one, without an object for a field that has none: records of tables
    // are found by theirs, and there are a lot of them.
    const char* Bytes_Of(int field_id);
    std::uint32_t Word_Of(int field_id);
    void Put_Word(int field_id, std::uint32_t value);

    [[nodiscard]] const qapi::RecordLayout& Layout_In_Force() const { return *m_layout; }
    [[nodiscard]] int Buffer_Size() const { return m_data_len + MESSAGE_EXTRA_ALLOCATED_SIZE; }

    // ---- Identity ----------------------------------------------------------------------------------------------

    // Brings m_env_crc32 up to date with the contents. Returns 1 if that changed ENVIRONMENT and CRC32 in the buffer
    // too.
    int Init_Crc32();

    // ---- What classes may do otherwise -------------------------------------------------------------------------
    virtual int Do_We_Maintain_It();
    virtual void Init(); // the buffer has new contents
    virtual void Take_Unic_Number(unsigned int number) { m_unic_number = number; }
    virtual int Check_Pers_Data(int /*version*/) { return 0; }
    virtual void Add_Services_Map(CMapService* /*map*/) {}

    virtual void Init_Key(CIdxKey* to_fill);      // 0 and REC_IDX
    virtual void Init_Key(CEnvCrc32Key* to_fill); // m_env_crc32
// NOLINTBEGIN(bugprone-macro-parentheses): the names of types
#define KEY(key)                                                                                                       \
    virtual void Init_Key(key* /*to_fill*/) {}
    RECORD_KEYS(KEY)
#undef KEY
#define KEY(key)                                                                                                       \
    virtual void Init_Key(key* /*to_fill*/, const char* /*o_d*/, int /*fill*/) {}                                      \
    virtual void Init_Lnk_Key(key* /*to_fill*/, const char* /*o_d*/, int /*fill*/) {}
    RECORD_PRICE_KEYS(KEY)
#undef KEY
    // NOLINTEND(bugprone-macro-parentheses)
    virtual void Init_Key(CUserKey* /*to_fill*/, int /*which*/) {}
    virtual void Init_Key(CSummaryKey* /*to_fill*/, int /*which*/) {}

    int m_type = 3;             // 3 message, 2 order message, 1 table record
    int m_msg_displacement = 0; // where a field that isn't defined is placed
    CTableBase* m_table_ptr = nullptr;
    int m_pos_in_table = -1;
    char* m_data = nullptr;
    int m_data_is_allocated = 0; // 1 if the record owns its buffer
    int m_data_len = 0;          // bytes of the record
    int m_transaction = 0;       // table processing uses these two
    int m_generic_use = 0;
    unsigned m_unic_number = 0;
    int m_use_transaction = 0; // 1 if it owns its buffer and was not built without transactions
    int m_message_id = 0;      // class id
    DLONG m_env_crc32_to_use;  // identity to take at the next Init_Crc32, 0 for none
    int m_is_checked = 0;      // the order logic uses these two
    int m_confirm_status = 0;
    unsigned m_assigned_idx = 0;
    DLONG m_env_crc32; // identity

protected:
    // A record of a class.
    CMessage(char* data, const qapi::RecordLayout& layout);

private:
    CMessage(char* data, int size, const qapi::RecordLayout& layout);
    CField& Touch(int field_id);
    CField& Field_At(const qapi::FieldPlace& place);
    CField& Make_Field(const qapi::FieldPlace& place);
    [[nodiscard]] bool Is_Identity_Taken();

    // The place of a 32-bit field that has no object and lies in the buffer, null for others.
    [[nodiscard]] const qapi::FieldPlace* Bare_Word(int field_id) const;

    const qapi::RecordLayout* m_layout;
    std::unique_ptr<char[]> m_own_data;
    qapi::FieldSlots m_field;
    bool m_has_undefined_fields = false;
    bool m_has_elements = false; // an element of some field may be current

public:                                   // last, so that what every look-up touches lies together
    CvArray<CMessage*> m_Trades_To_Do{0}; // links kept by the order logic
    CvArray<CMessage*> m_Orders_To_Trade{0};
    CvArray<CMessage*> m_Orders_Linked{0};
    CMessage* m_Term_Linked = nullptr;
};

// A table record whose identity follows from its contents: every change of them brings it up to date.
class CHashedRecord : public CMessage
{
public:
    void Init() override;

protected:
    using CMessage::CMessage;
};
