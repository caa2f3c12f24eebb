#include "field/field_classes.h"
#include "field/numbers_in_text.h"
#include "message/message.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

using namespace qapi;

namespace {

// Copies what fits, and zeros behind it. The bytes may overlap. False if there is no room at all.
bool fill_padded(std::span<char> to, std::span<const char> bytes)
{
    const std::size_t count = std::min(bytes.size(), to.size());
    if (count != 0) {
        std::memmove(to.data(), bytes.data(), count);
    }
    std::fill(to.begin() + static_cast<std::ptrdiff_t>(count), to.end(), '\0');
    return !to.empty();
}

} // namespace

// ---- What texts and dates share --------------------------------------------------------------------------------

char* qapi::TextField::operator>>(void* dest)
{
    return Copy_Bytes({static_cast<char*>(dest), static_cast<std::size_t>(m_len) + 1});
}

char* qapi::TextField::GetStr(void* dest, int start, int size)
{
    auto* text = static_cast<char*>(dest);
    if (size <= 0) {
        return text;
    }
    const std::int64_t wanted = std::clamp<std::int64_t>(std::int64_t{m_len} - start, 0, size - 1);
    return Copy_Bytes({text, static_cast<std::size_t>(wanted) + 1});
}

// What a shorter field lacks at the end of the buffer counts as zeros.
int qapi::TextField::Compare_Same_Class(CField& other)
{
    const std::span<const char> own = Bytes();
    const char* theirs = other.Get_Data_Ptr();
    const auto there = std::min(own.size(), static_cast<std::size_t>(other.Readable(theirs)));
    const int order = std::strncmp(own.data(), theirs, there);
    if (order != 0 || there == own.size() || std::memchr(own.data(), '\0', there) != nullptr) {
        return order;
    }
    return own[there] != '\0' ? 1 : 0;
}

CField::Order qapi::TextField::Compare_Text(const char* text)
{
    const std::span<const char> own = Bytes();
    return std::strncmp(own.data(), text, own.size());
}

bool qapi::TextField::Copy_Padded(std::span<const char> bytes)
{
    return fill_padded(To_Write(m_len), bytes);
}

// ---- Text ------------------------------------------------------------------------------------------------------

int CAlpha::SetStr(const char* text)
{
    return fill_padded(Writable(m_len), {text, strnlen(text, static_cast<std::size_t>(m_len))}) ? 1 : 0;
}

int CAlpha::operator=(const char* text)
{
    const auto len = static_cast<std::size_t>(m_len);
    const std::size_t count = m_alpha_type == FLD_ALPHA_TYPE_STRING ? strnlen(text, len) : len;
    if (!Copy_Padded({text, count})) {
        return 0;
    }
    Keep();
    return 1;
}

int CAlpha::operator=(CField& other)
{
    if (!Is_Of_Same_Class(other)) {
        return CField::operator=(other);
    }
    if (Copy_Padded(static_cast<CAlpha&>(other).Bytes())) {
        Keep();
    }
    return 0;
}

int CAlpha::operator=(int value)
{
    if (m_len == 1) {
        const char low = static_cast<char>(value);
        return Copy_Padded({&low, 1}) ? 1 : 0;
    }
    std::string text = std::to_string(value);
    text.resize(static_cast<std::size_t>(m_len));
    const std::span<char> to = Writable(m_len + 1);
    if (to.empty()) {
        return 0;
    }
    m_parent->Forget_Values_Over(m_displacement, static_cast<int>(to.size()));
    std::memcpy(to.data(), text.c_str(), to.size()); // the terminator too, unless the buffer ends before it
    return 1;
}

CAlpha::operator int()
{
    const std::span<const char> bytes = Bytes();
    return bytes.empty() ? 0 : static_cast<signed char>(bytes.front());
}

int CAlpha::operator+(CField& other)
{
    return Is_Of_Same_Class(other) ? 0 : CField::operator+(other);
}

int CAlpha::operator-(CField& other)
{
    return Is_Of_Same_Class(other) ? 0 : CField::operator-(other);
}

CField::Order CAlpha::Compare_Int(int value)
{
    return m_len == 1 ? Order(Order_Of(static_cast<int>(*this), value)) : Order();
}
