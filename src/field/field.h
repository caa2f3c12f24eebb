// Typed views of places in a record's buffer. A field reads and writes the bytes of its place as its type says; what a
// type can't do is reported, and changes nothing.
//
// A value that had to be parsed is kept until the record gets new contents: one byte of the record for each field tells
// whether it is. A write through an operator keeps the new value, and forgets the kept values of all other fields if
// some of them share its bytes. SetStr, bit groups and writes to the raw pointer leave kept values as they are: Init()
// of the record makes them fresh.
//
// Every class does what its type can and inherits a complaint for the rest. The complaint is reported with code 1:
//
//     Error!: NAME of type CLASS couldn't be OPERATOR RIGHT-HAND WORDS
//
// and the operator returns 0 or null. Comparisons return whether they hold; an assignment returns 1, but 0 where it
// takes a field of its own class. The pointers that are returned point into the record's buffer and are good as long as
// it is.
//
// A field belongs to one record and is used by the thread that works on it. A field that lies behind the buffer has
// length 0: it reads as 0 or an empty text, and what is written to it is dropped.
#pragma once

#include "calclib/calclib.h"
#include "field/flddescr.h"
#include "field/references.h"
#include "message/layout.h"

#include <array>
#include <atomic>
#include <ctime>
#include <memory>
#include <string_view>

class CMessage;
class CField;

// Finds the record that a field's code names, or that of element `index` of a repeating field. Returns a CMessage*,
// null if there is none. *status, if not null: 0 found, 1 none (the result may be an empty record), 2 an element of a
// repeating field. With `flag` 1 a code that names no record is told to the running log.
using CField_Ref_Fun = void*(CField* field, int index, int* status, int flag);

// ---- Bit groups ------------------------------------------------------------------------------------------------
// A field may be a row of groups of bits, the lowest first. A group of `grp_bits` bits (1 to 8, of another width 2 bits
// count) number `position` begins at bit grp_bits * position, a number of 16 bits, and may straddle two bytes.
struct S_Bits
{
    unsigned grp_bits;  // bits in a group
    unsigned position;  // number of the group, from 0
    unsigned set_value; // what is to be stored
};

extern const S_Bits Glb_CLS_Bits;
extern const S_Bits Glb_FEED_Bits;
extern const S_Bits Glb_LEAVE_Bits;
extern const S_Bits Glb_NPENDING_ToShow_Bits;
extern const S_Bits Glb_NPENDING_To_NOT_Show_Bits;
extern const S_Bits Glb_NO_SPLIT_AMOUNT_Bits;
extern const S_Bits Glb_Owner2_Split_Amount_Bits;
extern const S_Bits Glb_Owner2_Two_Transactions_Generated_Bits;
extern const S_Bits Glb_Owner2_No_Show_Name_Bits;
extern const S_Bits Glb_Owner2_Show_Name_Bits;
extern const S_Bits Glb_NO_Namepending_Bits;
extern const S_Bits Glb_Namepending_Bits;
extern const S_Bits Glb_NO_Broker_Admin_Bits;
extern const S_Bits Glb_Broker_Admin_Bits;

inline constexpr const S_Bits* OWNER_CLS_ORDER_INDEX = &Glb_CLS_Bits;
inline constexpr const S_Bits* AGGRESSOR_CLS_TRADE_FILTER_INDEX = &Glb_CLS_Bits;
inline constexpr const S_Bits* OWNER_FEED_ORDER_INDEX = &Glb_FEED_Bits;
inline constexpr const S_Bits* AGGRESSOR_FEED_ORDER_INDEX = &Glb_FEED_Bits;
inline constexpr const S_Bits* OWNER_NOT_LEAVE_ORDER_INDEX = &Glb_LEAVE_Bits;
inline constexpr const S_Bits* AGGRESSOR_LEAVE_ORDER_PROCESS_INDEX = &Glb_LEAVE_Bits;
inline constexpr const S_Bits* OWNER_NAME_PENDING_TO_SHOW_INDEX = &Glb_NPENDING_ToShow_Bits;
inline constexpr const S_Bits* AGGRESSOR_NAME_PENDING_TO_SHOW_INDEX = &Glb_NPENDING_ToShow_Bits;
inline constexpr const S_Bits* OWNER_NAME_PENDING_TO_NOT_SHOW_INDEX = &Glb_NPENDING_To_NOT_Show_Bits;
inline constexpr const S_Bits* OWNER_NO_SPLIT_AMOUNT_INDEX = &Glb_NO_SPLIT_AMOUNT_Bits;
inline constexpr const S_Bits* AGGRESSOR_NO_SPLIT_AMOUNT_INDEX = &Glb_NO_SPLIT_AMOUNT_Bits;
inline constexpr const S_Bits* OWNER2_SPLIT_AMOUNT_INDEX = &Glb_Owner2_Split_Amount_Bits;
inline constexpr const S_Bits* OWNER2_TWO_TRANSACTIONS_GENERATED_INDEX = &Glb_Owner2_Two_Transactions_Generated_Bits;
inline constexpr const S_Bits* OWNER2_NO_SHOW_NAME_INDEX = &Glb_Owner2_No_Show_Name_Bits;
inline constexpr const S_Bits* OWNER2_SHOW_NAME_INDEX = &Glb_Owner2_Show_Name_Bits;
inline constexpr const S_Bits* CONFCUPOS_NO_NAMEPENDING_INDEX = &Glb_NO_Namepending_Bits;
inline constexpr const S_Bits* CONFCUPOS_NAMEPENDING_INDEX = &Glb_Namepending_Bits;
inline constexpr const S_Bits* CONFCUPOS_NO_BROKER_ADMIN_INDEX = &Glb_NO_Broker_Admin_Bits;
inline constexpr const S_Bits* CONFCUPOS_BROKER_ADMIN_INDEX = &Glb_Broker_Admin_Bits;

// Stores, reads one group; stores `value` into all groups of `len` bytes. The byte behind a group's first one is
// touched only if the group reaches into it.
void FIELD_Set_Bits(unsigned char* base, unsigned grp_bits, unsigned position, unsigned value);
unsigned FIELD_Get_Bits(const unsigned char* base, unsigned grp_bits, unsigned position);
void FIELD_Init_Bits(unsigned char* base, unsigned len, unsigned grp_bits, unsigned value);

// ---- Field -----------------------------------------------------------------------------------------------------
class CField
{
public:
    CField(CMessage* parent, const FieldPlace& place);
    virtual ~CField() = default;
    CField(const CField&) = delete;

    // The address of the field's bytes: what the policy says if there is one, else its place in the record. All reads
    // and writes of a value go through it.
    char* Get_Data_Ptr();

    // The same, but of the current element of a repeating field.
    char* Get_Ptr();
    operator char*() { return Get_Ptr(); }
    operator const void*() { return Get_Ptr(); }

    // The first byte at the field's place, whatever policy and element say.
    operator char();

    bool IsEmptyField();                  // its last byte is 0
    bool IsOnlyChar(int c, int n);        // its first n bytes, all if n is 0, are c
    void Clean();                         // fills it with zeros
    int MemCmp(const void* bytes);        // memcmp with as many bytes as it is long
    void Set_Text(std::string_view text); // copies a text of any length, cut or padded with zeros to the field

    void Set_Name(const char* name, int code); // the name is not copied
    bool Is_Named() const { return m_field_name != nullptr && m_field_name_code != 0; }

    // Where in `text` the field's name ends; null if the text doesn't begin with it. `code` is the text's Name_Code.
    const char* Do_Matching_Name(const char* text, int code) const;

    // Registers the function behind an index, 1 to 29.
    static void Set_Reference_Call(int index, CField_Ref_Fun* function);

    // Calls the field's reference function. Null, with *status 1, if it has none.
    void* Do_Reference_Call(int index, int flag, int* status);

    // Bit groups at the field's place. Groups outside the buffer read as 0 and aren't stored.
    void Set_Bits(const S_Bits* bits) { Set_Bits(bits->grp_bits, bits->position, bits->set_value); }
    void Set_Bits(unsigned grp_bits, unsigned position, unsigned value);
    unsigned Get_Bits(const S_Bits* bits) { return Get_Bits(bits->grp_bits, bits->position); }
    unsigned Get_Bits(unsigned grp_bits, unsigned position);
    void Init_Bits(const S_Bits* bits) { Init_Bits(bits->grp_bits, bits->set_value); }
    void Init_Bits(unsigned grp_bits, unsigned value);

    // ---- What a type may do ------------------------------------------------------------------------------------

    // Writes the value as a text with a terminator: `dest` must hold m_len + 1 bytes. Returns the terminator's address.
    virtual char* operator>>(void* dest);

    // Copies bytes from the beginning of the field, the smaller of m_len - start and size - 1, and a terminator, whose
    // address is returned.
    virtual char* GetStr(void* dest, int start, int size);
    virtual int SetStr(const char* text);

    virtual operator int();
    virtual operator unsigned int();
    virtual operator CALC_MNUM*(); // lives in the field until it is read again

    virtual bool operator==(CField& other);
    virtual bool operator!=(CField& other);
    virtual bool operator<(CField& other);
    virtual bool operator>(CField& other);
    virtual int operator=(CField& other); // NOLINT(misc-unconventional-assign-operator): the stated result
    virtual int operator+(CField& other);
    virtual int operator-(CField& other);
    virtual int operator+=(int days);

    virtual bool operator==(int value);
    virtual bool operator!=(int value);
    virtual int operator=(int value); // NOLINT(misc-unconventional-assign-operator)
    virtual bool operator==(const char* text);
    virtual bool operator!=(const char* text);
    virtual int operator=(const char* text); // NOLINT(misc-unconventional-assign-operator)
    virtual bool operator==(short value);
    virtual bool operator!=(short value);
    virtual int operator=(short value); // NOLINT(misc-unconventional-assign-operator)
    virtual bool operator==(unsigned short value);
    virtual bool operator!=(unsigned short value);
    virtual int operator=(unsigned short value); // NOLINT(misc-unconventional-assign-operator)
    virtual bool operator==(unsigned int value);
    virtual bool operator!=(unsigned int value);
    virtual int operator=(unsigned int value); // NOLINT(misc-unconventional-assign-operator)
    virtual bool operator==(CALC_MNUM* value);
    virtual bool operator!=(CALC_MNUM* value);
    virtual bool operator<(CALC_MNUM* value);
    virtual bool operator>(CALC_MNUM* value);
    virtual int operator=(CALC_MNUM* value); // NOLINT(misc-unconventional-assign-operator)
    virtual CALC_MNUM* operator+(CALC_MNUM* value);
    virtual CALC_MNUM* operator-(CALC_MNUM* value);

    int m_field_id;
    CMessage* m_parent;
    char* m_data = nullptr;         // last address that Get_Data_Ptr computed
    char* m_msg_field_init_pointer; // byte of the record: 1 if the kept value is good; null if none is ever kept
    int m_type;                     // FLD_ type
    int m_len;                      // bytes in the buffer; of an element, while one is current
    int m_decimal_len;              // decimals; kind of a text
    int m_displacement;             // bytes from the start of the record
    int m_no_change_message_flag;   // 1 if the record doesn't take part in transactions
    int m_index = 0;                // current element of a repeating field, 0 for none
    int m_elem_len = 0;             // bytes of an element
    policy_f* m_policy_f;           // null: the place in the record
    int m_ref_value;                // index of the reference function, 0 for none
    const char* m_field_name;       // lower case; null for none
    int m_field_name_code;          // Name_Code of it
    bool m_shares_bytes;            // with a field whose value is kept

    // Back from an element to the whole field.
    void Forget_Element();

protected:
    virtual const char* Class_Name() const = 0;

    // Reports what the field couldn't do, in the words above.
    void Complain(const char* operation, const char* right_hand) { Complain(Class_Name(), operation, right_hand); }
    void Complain(const char* class_name, const char* operation, const char* right_hand);

    bool Is_Kept() const { return m_msg_field_init_pointer != nullptr && *m_msg_field_init_pointer != 0; }
    void Keep() const
    {
        if (m_msg_field_init_pointer != nullptr) {
            *m_msg_field_init_pointer = 1;
        }
    }

    // Bytes from the field's place to the end of the buffer.
    int Room() const;

    // Copies `count` bytes, at most those to the end of the buffer, to the field's place. False, and nothing copied, if
    // the policy leads elsewhere: what it gives is not the record's to change.
    bool Store(const char* from, int count);

    static std::array<std::atomic<CField_Ref_Fun*>, MAX_REF_CALL> m_ref_func;

private:
    bool Is_Redirected();
};

// ---- The eight classes -----------------------------------------------------------------------------------------

// What the four binary classes share. A value that is written is cut to the type's width.
template <class Self, class Value> class BinaryField : public CField
{
public:
    using CField::CField;
    using CField::operator=;
    using CField::operator==;
    using CField::operator!=;

    operator int() override { return static_cast<int>(Get()); }
    operator unsigned int() override { return static_cast<unsigned>(Get()); }
    operator CALC_MNUM*() override;

    bool operator==(CField& other) override;
    bool operator!=(CField& other) override;
    bool operator<(CField& other) override;
    bool operator>(CField& other) override;
    int operator=(CField& other) override; // NOLINT(misc-unconventional-assign-operator)
    int operator+(CField& other) override;
    int operator-(CField& other) override;
    bool operator==(int value) override;
    bool operator!=(int value) override;
    int operator=(int value) override;        // NOLINT(misc-unconventional-assign-operator)
    int operator=(const char* text) override; // NOLINT(misc-unconventional-assign-operator)

    bool operator==(Self& other) { return Get() == other.Get(); }
    bool operator!=(Self& other) { return Get() != other.Get(); }
    bool operator<(Self& other) { return Get() < other.Get(); }
    bool operator>(Self& other) { return Get() > other.Get(); }
    int operator=(Self& other); // NOLINT(misc-unconventional-assign-operator)
    int operator+(Self& other);
    int operator-(Self& other);

    void Set_Value(); // reads the buffer

protected:
    Value Get();
    int Put(Value value);

    Value m_value = 0;

private:
    std::array<CALC_MNUM, COMMON_CALC_SIZE> m_svalue{};
};

class CShort : public BinaryField<CShort, short>
{
public:
    using BinaryField::BinaryField;
    using BinaryField::operator=;
    using BinaryField::operator==;
    using BinaryField::operator!=;
    using BinaryField::operator-;

    bool operator==(short value) override;
    bool operator!=(short value) override;
    int operator=(short value) override;          // NOLINT(misc-unconventional-assign-operator)
    int operator=(unsigned short value) override; // NOLINT(misc-unconventional-assign-operator)
    int operator=(unsigned int value) override;   // NOLINT(misc-unconventional-assign-operator)
    int operator-(CField& other) override;
    int operator-(CShort& other); // reads both values and returns 0

private:
    const char* Class_Name() const override { return "CShort"; }
};

class CUnsignedShort;
class CInteger;
class CUnsignedInt;
class CNumAsciiInt;
class CNumAsciiDouble;
class CAlpha;
class CDate;

namespace qapi {

// The field object that a row's type asks for; null, and a line on standard output, for a type outside 1 to 8.
std::unique_ptr<CField> Create_Field(CMessage* parent, const FieldPlace& place);

} // namespace qapi
