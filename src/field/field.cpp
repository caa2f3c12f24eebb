#include "field/field.h"

#include "message/message.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

constinit std::array<std::atomic<CField_Ref_Fun*>, MAX_REF_CALL> CField::m_ref_func{};

namespace {

std::size_t size_of(int count)
{
    return static_cast<std::size_t>(std::max(count, 0));
}

const FIELD_EQUIVALENCE& row_of(int field_id)
{
    return glb_field_equivalence[static_cast<std::size_t>(field_id)];
}

} // namespace

CField::CField(CMessage* parent, const qapi::FieldPlace& place)
    : m_field_id(place.field_id), m_parent(parent),
      m_msg_field_init_pointer(parent->Get_Field_Init_Pointer(place.position)),
      m_type(row_of(place.field_id).field_type), m_len(place.len),
      m_decimal_len(row_of(place.field_id).field_decimal_len), m_displacement(place.displacement),
      m_no_change_message_flag(parent->m_use_transaction == 0 || place.no_change ? 1 : 0), m_policy_f(place.policy),
      m_ref_value(row_of(place.field_id).field_reference), m_field_name(place.name), m_field_name_code(place.code),
      m_shares_bytes(place.shares_bytes), m_record_data(&parent->m_data), m_whole_len(place.len)
{
}

// ---- Where the bytes are ---------------------------------------------------------------------------------------

// An element that its index puts behind the buffer begins where its length still fits.
char* CField::Policy_Or_Element_Ptr()
{
    if (m_policy_f != nullptr) {
        return m_policy_f(this);
    }
    const std::int64_t element = m_displacement + std::int64_t{m_elem_len} * (m_index - 1);
    const std::int64_t last = std::max(m_parent->Buffer_Size() - std::max(m_len, 1), 0);
    return *m_record_data + std::clamp<std::int64_t>(element, 0, last);
}

int CField::Room() const
{
    return m_len > 0 ? m_parent->Buffer_Size() - m_displacement : 0;
}

int CField::Readable(const char* at) const
{
    if (m_len <= 0) {
        return 0;
    }
    const char* begin = *m_record_data;
    const char* end = begin + m_parent->Buffer_Size();
    const bool inside = !std::less<>{}(at, begin) && std::less<>{}(at, end);
    return inside ? static_cast<int>(end - at) : m_len;
}

std::span<const char> CField::Bytes()
{
    const char* at = Get_Data_Ptr();
    return {at, size_of(std::min(m_len, Readable(at)))};
}

char* CField::Copy_Bytes(std::span<char> text)
{
    const std::span<const char> bytes = Bytes();
    const std::size_t count = std::min(bytes.size(), text.size() - 1);
    std::memcpy(text.data(), bytes.data(), count);
    text[count] = '\0';
    return &text[count];
}

std::span<char> CField::Writable(int count)
{
    if (m_policy_f != nullptr && m_policy_f(this) != Place()) {
        return {};
    }
    m_data = Place();
    return {m_data, size_of(std::min(count, Room()))};
}

std::span<char> CField::To_Write(int count)
{
    const std::span<char> bytes = Writable(count);
    if ((m_shares_bytes || m_parent->Has_Undefined_Fields()) && !bytes.empty()) {
        m_parent->Forget_Values_Over(m_displacement, static_cast<int>(bytes.size()));
    }
    return bytes;
}

// ---- Plain bytes -----------------------------------------------------------------------------------------------

bool CField::IsEmptyField()
{
    const std::span<const char> bytes = Bytes();
    return bytes.empty() || bytes.back() == '\0';
}

// Bytes that the field doesn't have count as zeros.
bool CField::IsOnlyChar(int c, int n)
{
    const char* at = Get_Data_Ptr();
    const int wanted = n > 0 ? n : m_len;
    const int there = std::min(wanted, Readable(at));
    const bool rest = wanted == there || static_cast<char>(c) == '\0';
    return rest && std::all_of(at, at + there, [c](char byte) { return byte == static_cast<char>(c); });
}

void CField::Clean()
{
    const std::span<char> bytes = To_Write(m_len);
    std::fill(bytes.begin(), bytes.end(), '\0');
    if (m_msg_field_init_pointer != nullptr) {
        *m_msg_field_init_pointer = 0;
    }
}

int CField::MemCmp(const void* bytes)
{
    const std::span<const char> own = Bytes();
    return own.empty() ? 0 : std::memcmp(own.data(), bytes, own.size());
}

void CField::Set_Text(std::string_view text)
{
    std::string padded(text);
    padded.resize(std::max(text.size(), size_of(m_len)));
    *this = padded.c_str();
}

// ---- Names and references --------------------------------------------------------------------------------------

void CField::Set_Name(const char* name, int code)
{
    m_field_name = name;
    m_field_name_code = code;
}

const char* CField::Do_Matching_Name(const char* text, int code) const
{
    if (m_field_name == nullptr || code != m_field_name_code) {
        return nullptr;
    }
    const std::size_t size = std::strlen(m_field_name);
    return std::strncmp(text, m_field_name, size) == 0 ? text + size : nullptr;
}

void CField::Set_Reference_Call(int index, CField_Ref_Fun* function)
{
    if (index < 1 || index >= MAX_REF_CALL) {
        std::printf("Error: bad reference value for fields, %d\n", index);
        return;
    }
    m_ref_func[static_cast<std::size_t>(index)].store(function, std::memory_order_release);
}

void* CField::Do_Reference_Call(int index, int flag, int* status)
{
    if (status != nullptr) {
        *status = 1;
    }
    if (m_ref_value < 1 || m_ref_value >= MAX_REF_CALL) {
        return nullptr;
    }
    CField_Ref_Fun* function = m_ref_func[static_cast<std::size_t>(m_ref_value)].load(std::memory_order_acquire);
    if (function == nullptr) {
        return nullptr;
    }
    void* record = function(this, index, status, flag);
    if (m_elem_len != 0) {
        m_parent->Has_Elements();
    }
    return record;
}

// ---- Bits ------------------------------------------------------------------------------------------------------

bool CField::Has_Bits(unsigned grp_bits, unsigned position) const
{
    return Bytes_Of_Bits(grp_bits, position) <= static_cast<unsigned>(Room());
}

void CField::Set_Bits(unsigned grp_bits, unsigned position, unsigned value)
{
    if (Has_Bits(grp_bits, position)) {
        FIELD_Set_Bits(reinterpret_cast<unsigned char*>(Place()), grp_bits, position, value);
    }
}

unsigned CField::Get_Bits(unsigned grp_bits, unsigned position)
{
    return Has_Bits(grp_bits, position)
               ? FIELD_Get_Bits(reinterpret_cast<const unsigned char*>(Place()), grp_bits, position)
               : 0;
}

void CField::Init_Bits(unsigned grp_bits, unsigned value)
{
    const int len = std::min(m_len, Room());
    FIELD_Init_Bits(reinterpret_cast<unsigned char*>(Place()), static_cast<unsigned>(len), grp_bits, value);
}
