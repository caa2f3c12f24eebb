// The eight classes of fields. What each can do stands here; anything else is reported by CField.
//
//   class            bytes                                     = (CField&)    compares with      assigns
//   CShort           2, signed                                 CShort         int, short         int, short, unsigned,
//   text CUnsignedShort   2, unsigned                               same           int, unsigned short  int, unsigned,
//   text CInteger         4, signed, whatever m_len says            same           int                int, text
//   CUnsignedInt     4, unsigned                               same           int, unsigned      int, unsigned, text
//   CNumAsciiInt     digits, right-aligned                     same           int                int, text
//   CNumAsciiDouble  fixed point, right-aligned                same           CALC_MNUM*         CALC_MNUM*, text, 0
//   CAlpha           text without a terminator                 same           text, a character  text, int
//   CDate            YYYYMMDD                                  any field      text               text
//
// A number never takes a sum out of its type: sums and differences of binary values and digits wrap at 32 bits.
#pragma once

#include "field/field.h"

#include <ctime>

// ---- Binary numbers --------------------------------------------------------------------------------------------
// Little-endian. What the buffer's end cuts off reads as 0. A value that is assigned is cut to the type's width.
namespace qapi {

template <class Self, class Value> class BinaryField : public CField
{
public:
    using CField::CField;
    using CField::operator=;
    using CField::operator+;
    using CField::operator-;

    operator int() override { return static_cast<int>(Get()); }
    operator unsigned int() override { return static_cast<unsigned>(Get()); }
    operator CALC_MNUM*() override;
    int operator+(CField& other) override;
    int operator-(CField& other) override;
    int operator=(CField& other) override;
    int operator=(int value) override { return Put(static_cast<Value>(value)); }
    int operator=(const char* text) override; // up to a terminator

    void Set_Value(); // reads the buffer

protected:
    Value Get()
    {
        if (!Is_Kept()) {
            Set_Value();
        }
        return m_value;
    }
    int Put(Value value);

    int Compare_Same_Class(CField& other) override;
    Order Compare_Int(int value) override;

private:
    Value m_value = 0;
    std::array<CALC_MNUM, COMMON_CALC_SIZE> m_svalue{};
};

} // namespace qapi

class CShort : public qapi::BinaryField<CShort, short>
{
public:
    using BinaryField::BinaryField;
    using BinaryField::operator=;
    using BinaryField::operator-;

    int operator-(CField& other) override; // reads both values and returns 0
    int operator=(CShort& other) { return *this = static_cast<CField&>(other); }
    int operator=(short value) override { return Put(value); }
    int operator=(unsigned short value) override; // returns 0
    int operator=(unsigned int value) override;   // a value that needs more than 16 bits is refused

private:
    [[nodiscard]] const char* Class_Name() const override { return "CShort"; }
    Order Compare_Short(short value) override { return Get() - value; }
};

class CUnsignedShort : public qapi::BinaryField<CUnsignedShort, unsigned short>
{
public:
    using BinaryField::BinaryField;
    using BinaryField::operator=;

    int operator=(CUnsignedShort& other) { return *this = static_cast<CField&>(other); }
    int operator=(unsigned short value) override { return Put(value); }
    int operator=(unsigned int value) override; // a value that needs more than 16 bits is refused

private:
    [[nodiscard]] const char* Class_Name() const override { return "CUnsignedShort"; }
    Order Compare_Unsigned_Short(unsigned short value) override { return Get() - value; }
};

class CInteger : public qapi::BinaryField<CInteger, int>
{
public:
    using BinaryField::BinaryField;
    using BinaryField::operator=;

    int operator=(CInteger& other) { return *this = static_cast<CField&>(other); }

private:
    [[nodiscard]] const char* Class_Name() const override { return "CInteger"; }
};

class CUnsignedInt : public qapi::BinaryField<CUnsignedInt, unsigned>
{
public:
    using BinaryField::BinaryField;
    using BinaryField::operator=;

    int operator=(CUnsignedInt& other) { return *this = static_cast<CField&>(other); }
    int operator=(unsigned int value) override { return Put(value); }

private:
    [[nodiscard]] const char* Class_Name() const override { return "CUnsignedInt"; }
    Order Compare_Unsigned_Int(unsigned int value) override;
};

extern template class qapi::BinaryField<CShort, short>;
extern template class qapi::BinaryField<CUnsignedShort, unsigned short>;
extern template class qapi::BinaryField<CInteger, int>;
extern template class qapi::BinaryField<CUnsignedInt, unsigned>;

// ---- Digits ----------------------------------------------------------------------------------------------------
// Written without a sign: the digits of a negative value are characters below '0', and 0 is all blanks. A value too
// long for the field is reported, and its last digits are written. Read, blanks count for nothing, a '-' anywhere makes
// the value negative, a NUL is a digit 0, any other byte is its code minus 48. Nothing longer than
// FIELD_LONGEST_NUM_ASCII_INT can be read.
class CNumAsciiInt : public CField
{
public:
    using CField::CField;
    using CField::operator=;
    using CField::operator+;
    using CField::operator-;

    char* operator>>(void* dest) override; // left-justified
    operator int() override { return Get(); }
    operator unsigned int() override { return static_cast<unsigned>(Get()); }
    operator CALC_MNUM*() override;
    int operator+(CField& other) override;
    int operator-(CField& other) override;
    int operator=(CField& other) override;
    int operator=(CNumAsciiInt& other) { return *this = static_cast<CField&>(other); }
    int operator=(int value) override;
    int operator=(const char* text) override; // up to a terminator

    void Set_Value(); // reads the buffer

private:
    [[nodiscard]] const char* Class_Name() const override { return "CNumAsciiInt"; }
    int Compare_Same_Class(CField& other) override;
    Order Compare_Int(int value) override;

    int Get()
    {
        if (!Is_Kept()) {
            Set_Value();
        }
        return m_value;
    }

    int m_value = 0;
    std::array<CALC_MNUM, COMMON_CALC_SIZE> m_svalue{};
};

// ---- Fixed point -----------------------------------------------------------------------------------------------
// A sign position, blanks, digits, a point and m_decimal_len decimals; no point without decimals. -12.5 in 19 bytes
// with 4 decimals is a minus, eleven blanks, 12.5000. What is assigned is brought into this form. A null number, such
// as a field that can't be cast gives, is reported.
class CNumAsciiDouble : public CField
{
public:
    using CField::CField;
    using CField::operator=;
    using CField::operator+;
    using CField::operator-;

    char* operator>>(void* dest) override; // left-justified
    operator int() override;               // the digits that the text begins with
    operator unsigned int() override { return static_cast<unsigned>(static_cast<int>(*this)); }
    operator CALC_MNUM*() override { return Get(); }

    // Each form has its own result, one for each thread, good until the next call.
    CALC_MNUM* operator+(CALC_MNUM* value) override;
    CALC_MNUM* operator-(CALC_MNUM* value) override;
    CALC_MNUM* operator+(CNumAsciiDouble& other);
    CALC_MNUM* operator-(CNumAsciiDouble& other);

    int operator=(CField& other) override;
    int operator=(CNumAsciiDouble& other) { return *this = static_cast<CField&>(other); }
    int operator=(int value) override;        // 0 alone
    int operator=(const char* text) override; // up to a terminator
    int operator=(CALC_MNUM* value) override;

    void Set_Value(); // reads the buffer

private:
    [[nodiscard]] const char* Class_Name() const override { return "CNumAsciiDouble"; }
    int Compare_Same_Class(CField& other) override;
    Order Compare_Number(const CALC_MNUM* value) override;

    CALC_MNUM* Get()
    {
        if (!Is_Kept()) {
            Set_Value();
        }
        return m_value.data();
    }

    std::array<char, DFN_MAX_NUM_ASCII_DOUBLE_LEN + 2> m_str_value{};
    std::array<CALC_MNUM, COMMON_CALC_SIZE> m_value{};
};

// ---- Texts -----------------------------------------------------------------------------------------------------
// What texts and dates share. Two texts are compared over the length of the one at the left hand, or up to a
// terminator.
namespace qapi {

class TextField : public CField
{
public:
    using CField::CField;
    using CField::operator=;

    char* operator>>(void* dest) override;
    char* GetStr(void* dest, int start, int size) override;

protected:
    int Compare_Same_Class(CField& other) override;
    Order Compare_Text(const char* text) override;

    // Copies up to m_len of these bytes into the field, and fills the rest of it with zeros. False if it is dropped.
    bool Copy_Padded(std::span<const char> bytes);
};

} // namespace qapi

// A field of kind FLD_ALPHA_TYPE_STRING takes a text up to its terminator and is padded with zeros; any other takes as
// many bytes as it is long. A number is written as its decimal text, followed by zeros, with one more behind the field
// unless the buffer ends there: the value of the neighbour is forgotten. A field of one byte takes the number's low
// byte.
class CAlpha : public qapi::TextField
{
public:
    using TextField::TextField;
    using TextField::operator=;
    using TextField::operator+;
    using TextField::operator-;

    int SetStr(const char* text) override;
    operator int() override;               // the first byte, signed
    int operator+(CField& other) override; // 0
    int operator-(CField& other) override; // 0
    int operator=(CField& other) override;
    int operator=(CAlpha& other) { return *this = static_cast<CField&>(other); }
    int operator=(int value) override;
    int operator=(const char* text) override;

    void Set_Value() { Keep(); } // a text is always read where it stands

private:
    [[nodiscard]] const char* Class_Name() const override { return "CAlpha"; }
    Order Compare_Int(int value) override; // a field of one byte
    Order Differ_From_Int(int /*value*/) override { return {}; }

    int m_alpha_type = m_decimal_len;
};

class CDate : public qapi::TextField
{
public:
    using TextField::TextField;
    using TextField::operator=;
    using TextField::operator+;
    using TextField::operator-;

    operator unsigned int() override; // noon of the day, seconds since the epoch
    int operator+(CDate& other);      // both are reported
    int operator-(CDate& other);
    int operator+=(int days) override; // noon keeps a change of the hour from moving the date
    int operator=(CField& other) override;
    int operator=(CDate& other) { return *this = static_cast<CField&>(other); }
    int operator=(const char* text) override; // m_len bytes

    void Set_Value(); // reads the buffer

private:
    [[nodiscard]] const char* Class_Name() const override { return "CDate"; }
    int Assign(std::span<const char> bytes);
    void Load()
    {
        if (!Is_Kept()) {
            Set_Value();
        }
    }

    std::tm m_tm{};
    int m_tm_valid = 0;
    std::array<char, 16> m_str_value{};
};
