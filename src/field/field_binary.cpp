#include "field/field_classes.h"
#include "field/numbers_in_text.h"
#include "little_endian.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

using namespace qapi;

// ---- What the four share ---------------------------------------------------------------------------------------

template <class Self, class Value> void qapi::BinaryField<Self, Value>::Set_Value()
{
    const char* at = Get_Data_Ptr();
    const auto there = static_cast<std::size_t>(Readable(at));
    std::array<char, sizeof(Value)> bytes{};
    std::memcpy(bytes.data(), at, std::min(there, bytes.size()));
    m_value = load_le<Value>(bytes.data());
    Keep();
}

template <class Self, class Value> int qapi::BinaryField<Self, Value>::Put(Value value)
{
    std::array<char, sizeof(Value)> bytes{};
    store_le(bytes.data(), value);
    const std::span<char> to = To_Write(sizeof(Value));
    if (to.empty()) {
        return 0;
    }
    std::memcpy(to.data(), bytes.data(), to.size());
    m_value = value;
    Keep();
    return 1;
}

template <class Self, class Value> qapi::BinaryField<Self, Value>::operator CALC_MNUM*()
{
    std::array<char, 12> text{};
    const Value value = Get();
    std::snprintf(text.data(), text.size(), std::is_signed_v<Value> ? "%d" : "%u", value);
    calc_stom(text.data(), m_svalue.data());
    return m_svalue.data();
}

template <class Self, class Value> int qapi::BinaryField<Self, Value>::operator+(CField& other)
{
    return Is_Of_Same_Class(other) ? Wrapped_Sum(*this, other) : CField::operator+(other);
}

template <class Self, class Value> int qapi::BinaryField<Self, Value>::operator-(CField& other)
{
    return Is_Of_Same_Class(other) ? Wrapped_Difference(*this, other) : CField::operator-(other);
}

template <class Self, class Value> int qapi::BinaryField<Self, Value>::operator=(CField& other)
{
    if (!Is_Of_Same_Class(other)) {
        return CField::operator=(other);
    }
    Put(static_cast<BinaryField&>(other).Get());
    return 0;
}

template <class Self, class Value> int qapi::BinaryField<Self, Value>::operator=(const char* text)
{
    return Put(static_cast<Value>(std::is_same_v<Value, unsigned> ? Saturated_Unsigned(text)
                                                                  : static_cast<unsigned>(Saturated_Int(text))));
}

template <class Self, class Value> int qapi::BinaryField<Self, Value>::Compare_Same_Class(CField& other)
{
    return Order_Of(Get(), static_cast<BinaryField&>(other).Get());
}

// An unsigned value and an int are compared as unsigned numbers.
template <class Self, class Value> CField::Order qapi::BinaryField<Self, Value>::Compare_Int(int value)
{
    using Common = std::common_type_t<Value, int>;
    return Order_Of(static_cast<Common>(Get()), static_cast<Common>(value));
}

template class qapi::BinaryField<CShort, short>;
template class qapi::BinaryField<CUnsignedShort, unsigned short>;
template class qapi::BinaryField<CInteger, int>;
template class qapi::BinaryField<CUnsignedInt, unsigned>;

// ---- What one of them has ---------------------------------------------------------------------------------------

namespace {

std::array<char, 12> decimal(unsigned value)
{
    std::array<char, 12> text{};
    std::snprintf(text.data(), text.size(), "%u", value);
    return text;
}

} // namespace

int CShort::operator-(CField& other)
{
    if (!Is_Of_Same_Class(other)) {
        return BinaryField::operator-(other);
    }
    Get();
    static_cast<CShort&>(other).Get();
    return 0;
}

int CShort::operator=(unsigned short value)
{
    Put(static_cast<short>(value));
    return 0;
}

int CShort::operator=(unsigned int value)
{
    const auto low = static_cast<std::int16_t>(value);
    if (static_cast<unsigned>(int{low}) != value) {
        return Complain("=", decimal(value).data());
    }
    return Put(low);
}

// The report names the class as CShort: hosts know it so.
int CUnsignedShort::operator=(unsigned int value)
{
    const auto low = static_cast<std::uint16_t>(value);
    if (low != value) {
        return Complain("CShort", "=", decimal(value).data());
    }
    return Put(low);
}

CField::Order CUnsignedInt::Compare_Unsigned_Int(unsigned int value)
{
    return Order_Of(Get(), value);
}
