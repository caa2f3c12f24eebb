// Typed views of places in a record's buffer. A field reads and writes the bytes of its place as its type says; what a
// type can't do is reported, and changes nothing.
//
// A value that had to be parsed is kept until the record gets new contents: one byte of the record for each field tells
// whether it is. A write through an operator keeps the new value, and forgets those of fields that share its bytes.
// SetStr, bit groups and writes to the raw pointer leave kept values as they are: Init() of the record makes them
// fresh.
//
// Every class (field/field_classes.h) does what its type can and inherits a complaint for the rest. The complaint is
// reported with code 1:
//
//     Error!: NAME of type CLASS couldn't be OPERATOR RIGHT-HAND WORDS
//
// and the operator returns 0 or null. Comparisons return whether they hold. An assignment returns 1 if the field was
// written, but 0 where it takes a field of its own class. The pointers that are returned point into the record's buffer
// and are good as long as it is.
//
// A field belongs to one record and is used by the thread that works on it. A field that lies behind the buffer has
// length 0: it reads as 0 or an empty text, and what is written to it is dropped. So is what is written to a field
// whose policy leads elsewhere: those bytes are not the record's. Nothing is read or written outside the buffer.
#pragma once

#include "calclib/calclib.h"
#include "field/bits.h"
#include "field/flddescr.h"
#include "field/references.h"
#include "message/layout.h"

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

class CMessage;
class CField;

// Finds the record that a field's code names, or that of element `index` of a repeating field. Returns a CMessage*,
// null if there is none. *status, if not null: 0 found, 1 none (the result may be an empty record), 2 an element of a
// repeating field. With `flag` 1 a code that names no record is told to the running log.
using CField_Ref_Fun = void*(CField* field, int index, int* status, int flag);

class CField
{
public:
    CField(CMessage* parent, const qapi::FieldPlace& place);
    virtual ~CField() = default;
    CField(const CField&) = delete;

    // The address of the field's bytes: what the policy says if there is one, else its place in the record. All reads
    // and writes of a value go through it, whichever element is current.
    char* Get_Data_Ptr()
    {
        if (m_policy_f != nullptr) {
            return m_policy_f(this);
        }
        m_data = Place();
        return m_data;
    }

    // The same, but of the current element of a repeating field. m_len bytes can be read there.
    char* Get_Ptr() { return m_policy_f == nullptr && m_index < 1 ? Place() : Policy_Or_Element_Ptr(); }
    operator char*() { return Get_Ptr(); }
    operator const void*() { return Get_Ptr(); }

    // Bytes that can be read from `at`, an address that the two above gave: to the end of the buffer, or the field's
    // length where a policy led elsewhere.
    [[nodiscard]] int Readable(const char* at) const;

    // The first byte at the field's place, whatever policy and element say.
    operator char() { return m_len > 0 ? *Place() : '\0'; }

    bool IsEmptyField();                  // its last byte is 0
    bool IsOnlyChar(int c, int n);        // its first n bytes, all if n is 0, are c
    void Clean();                         // fills it with zeros
    int MemCmp(const void* bytes);        // memcmp with as many bytes as it is long
    void Set_Text(std::string_view text); // assigns a text of any length, cut or padded with zeros to the field

    // Gives this object a name, which is not copied. Records find fields by the names that their classes gave.
    void Set_Name(const char* name, int code);
    [[nodiscard]] bool Is_Named() const { return m_field_name != nullptr && m_field_name_code != 0; }

    // Where in `text` the field's name ends; null if the text doesn't begin with it. `code` is the text's Name_Code.
    const char* Do_Matching_Name(const char* text, int code) const;

    // Registers the function behind an index, 1 to 29; any other index prints a line and changes nothing.
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

    // Back from an element to the whole field.
    void Forget_Element()
    {
        m_index = 0;
        m_elem_len = 0;
        m_len = m_whole_len;
    }

    // ---- What a type may do ------------------------------------------------------------------------------------

    // Writes the value as a text with a terminator: `dest` must hold m_len + 1 bytes. Returns the terminator's address.
    virtual char* operator>>(void* dest);

    // Copies bytes from the beginning of the field, the smaller of m_len - start and size - 1, and a terminator, whose
    // address is returned. `start` shortens the copy and doesn't move its source. A `size` of 0 copies nothing.
    virtual char* GetStr(void* dest, int start, int size);

    // Copies a text, cut or padded with zeros to the field.
    virtual int SetStr(const char* text);

    virtual operator int();
    virtual operator unsigned int();
    virtual operator CALC_MNUM*(); // lives in the field until it is read again

    virtual int operator+(CField& other);
    virtual int operator-(CField& other);
    virtual CALC_MNUM* operator+(CALC_MNUM* value);
    virtual CALC_MNUM* operator-(CALC_MNUM* value);
    virtual int operator+=(int days);

    // A text that is assigned must be as long as the field, unless the class says that it stops at a terminator.
    virtual int operator=(CField& other);
    virtual int operator=(int value);
    virtual int operator=(const char* text);
    virtual int operator=(short value);
    virtual int operator=(unsigned short value);
    virtual int operator=(unsigned int value);
    virtual int operator=(CALC_MNUM* value);

    // What a class knows of these stands in its Compare functions. Classes declare no comparison of their own: one that
    // C++ may turn round would be as good as the one that was meant.
    bool operator==(CField& other) { return Is_Equal(Compare_Field(other), "CField &"); }
    bool operator!=(CField& other) { return Is_Unequal(Compare_Field(other), "CField &"); }
    bool operator<(CField& other) { return Is_Less(Compare_Field(other), "CField &"); }
    bool operator>(CField& other) { return Is_Greater(Compare_Field(other), "CField &"); }
    bool operator==(int value) { return Is_Equal(Compare_Int(value), "int"); }
    bool operator!=(int value) { return Is_Unequal(Differ_From_Int(value), "int"); }
    bool operator==(const char* text) { return Is_Equal(Compare_Text(text), "char *"); }
    bool operator!=(const char* text) { return Is_Unequal(Compare_Text(text), "char *"); }
    bool operator==(short value) { return Is_Equal(Compare_Short(value), "short"); }
    bool operator!=(short value) { return Is_Unequal(Compare_Short(value), "short"); }
    bool operator==(unsigned short value) { return Is_Equal(Compare_Unsigned_Short(value), "unsigned short"); }
    bool operator!=(unsigned short value) { return Is_Unequal(Compare_Unsigned_Short(value), "unsigned short"); }
    bool operator==(unsigned int value) { return Is_Equal(Compare_Unsigned_Int(value), "unsigned int"); }
    bool operator!=(unsigned int value) { return Is_Unequal(Compare_Unsigned_Int(value), "unsigned int"); }
    bool operator==(CALC_MNUM* value) { return Is_Equal(Compare_Number(value), "CALC_MNUM *"); }
    bool operator!=(CALC_MNUM* value) { return Is_Unequal(Compare_Number(value), "CALC_MNUM *"); }
    bool operator<(CALC_MNUM* value) { return Is_Less(Compare_Number(value), "CALC_MNUM *"); }
    bool operator>(CALC_MNUM* value) { return Is_Greater(Compare_Number(value), "CALC_MNUM *"); }

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

protected:
    [[nodiscard]] virtual const char* Class_Name() const = 0;

    // How the value stands to another: below 0, 0 or above 0; nothing if the type can't be compared with it.
    using Order = std::optional<int>;
    virtual int Compare_Same_Class(CField& other) = 0;
    virtual Order Compare_Int(int /*value*/) { return {}; }
    virtual Order Differ_From_Int(int value) { return Compare_Int(value); } // asked by != alone
    virtual Order Compare_Text(const char* /*text*/) { return {}; }
    virtual Order Compare_Short(short /*value*/) { return {}; }
    virtual Order Compare_Unsigned_Short(unsigned short /*value*/) { return {}; }
    virtual Order Compare_Unsigned_Int(unsigned int /*value*/) { return {}; }
    virtual Order Compare_Number(const CALC_MNUM* /*value*/) { return {}; }

    // Reports what the field couldn't do, in the words above. Returns 0.
    int Complain(const char* operation, const char* right_hand) const;
    int Complain(const char* class_name, const char* operation, const char* right_hand) const;

    [[nodiscard]] bool Is_Of_Same_Class(const CField& other) const;

    // Values read through a policy are not kept: it may lead elsewhere the next time.
    [[nodiscard]] bool Is_Kept() const { return m_msg_field_init_pointer != nullptr && *m_msg_field_init_pointer != 0; }
    void Keep() const
    {
        if (m_msg_field_init_pointer != nullptr && m_policy_f == nullptr) {
            *m_msg_field_init_pointer = 1;
        }
    }

    // The field's bytes to be read.
    [[nodiscard]] std::span<const char> Bytes();

    // Copies them, as far as they fit, and a terminator. Returns the terminator's address.
    char* Copy_Bytes(std::span<char> text);

    // The first `count` bytes to be written, as far as the buffer goes; none if a write is to be dropped. To_Write is
    // for values: it forgets the kept values of fields that share the bytes.
    [[nodiscard]] std::span<char> Writable(int count);
    [[nodiscard]] std::span<char> To_Write(int count);

    static std::array<std::atomic<CField_Ref_Fun*>, MAX_REF_CALL> m_ref_func;

private:
    [[nodiscard]] char* Place() const { return *m_record_data + m_displacement; }
    char* Policy_Or_Element_Ptr();
    [[nodiscard]] int Room() const; // bytes from the field's place to the end of the buffer
    [[nodiscard]] bool Has_Bits(unsigned grp_bits, unsigned position) const;

    Order Compare_Field(CField& other);
    bool Is_Equal(Order order, const char* right_hand) const;
    bool Is_Unequal(Order order, const char* right_hand) const;
    bool Is_Less(Order order, const char* right_hand) const;
    bool Is_Greater(Order order, const char* right_hand) const;

    char* const* m_record_data; // where the record keeps the address of its buffer
    int m_whole_len;            // m_len while no element is current
};

namespace qapi {

// The field object that a row's type asks for; null, and a line on standard output, for a type outside 1 to 8.
std::unique_ptr<CField> Create_Field(CMessage* parent, const FieldPlace& place);

} // namespace qapi
