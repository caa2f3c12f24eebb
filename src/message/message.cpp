#include "message/message.h"

#include "keys/idx_keys.h"
#include "little_endian.h"
#include "qcapi/support.h"
#include "records/sizes.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

std::atomic<std::uint32_t> Glb_range_environment{0};

namespace {

std::size_t bytes(int count)
{
    return static_cast<std::size_t>(count);
}

// Three digits, blanks in front.
void write_number(char* to, int number)
{
    for (int at = MSG_NUMBER_FIELD_SIZE - 1; at >= 0; --at, number /= 10) {
        to[at] = number != 0 ? static_cast<char>('0' + number % 10) : ' ';
    }
}

} // namespace

qapi::FieldSlots::Block& qapi::FieldSlots::Block_Of(int position)
{
    if (m_owned == nullptr) {
        m_owned = std::make_unique<Owned>();
        m_blocks = &m_owned->by_position;
    }
    Block*& block = m_owned->by_position[static_cast<unsigned>(position) / block_size];
    if (block == nullptr) {
        block = m_owned->blocks.emplace_back(std::make_unique<Block>()).get();
    }
    return *block;
}

CField& qapi::FieldSlots::put(int position, std::unique_ptr<CField> field)
{
    auto& slot = Block_Of(position).fields[static_cast<unsigned>(position) % block_size];
    slot = std::move(field);
    return *slot;
}

// ---- Construction ----------------------------------------------------------------------------------------------

CMessage::CMessage(char* data, int size, const qapi::RecordLayout& layout)
    : m_type(layout.Message_Type()), m_msg_displacement(layout.End_Base()), m_data(data),
      m_data_len(size + MSG_NUMBER_FIELD_SIZE), m_message_id(layout.Message_Id()), m_layout(&layout)
{
    const bool without_transactions = data == Without_Transactions();
    if (data == nullptr || without_transactions) {
        m_own_data = std::make_unique<char[]>(bytes(Buffer_Size()));
        m_data = m_own_data.get();
        m_data_is_allocated = 1;
        m_use_transaction = without_transactions ? 0 : 1;
    }
    if (layout.Number() != 0) {
        write_number(m_data, layout.Number());
    }
}

CMessage::CMessage(char* data, int size) : CMessage(data, size, qapi::Plain_Layout()) {}

CMessage::CMessage(char* data, const qapi::RecordLayout& layout) : CMessage(data, layout.Size(), layout) {}

CMessage::~CMessage() = default;

char* CMessage::Without_Transactions()
{
    return reinterpret_cast<char*>(std::intptr_t{-1}); // NOLINT(performance-no-int-to-ptr): never looked through
}

// ---- Contents --------------------------------------------------------------------------------------------------

void CMessage::Set_Owner_Table_Data(CTableBase* table, int position)
{
    m_table_ptr = table;
    m_pos_in_table = position;
}

void CMessage::Set_Data_Buff(char* data)
{
    m_data = data;
    CMessage::Init();
}

void CMessage::Zero_Data_Buffer()
{
    Clean_Data_Buffer();
    CMessage::Init();
}

void CMessage::Clean_Data_Buffer()
{
    std::memset(m_data + MSG_NUMBER_FIELD_SIZE, 0, bytes(Buffer_Size() - MSG_NUMBER_FIELD_SIZE));
}

CMessage& CMessage::operator=(CMessage& other)
{
    if (this == &other) {
        Init();
        return *this;
    }
    const int wanted = m_data_len + MESSAGE_EXTRA_USED_SIZE;
    const int there = std::min(wanted, other.Buffer_Size());
    std::memmove(m_data, other.m_data, bytes(there)); // both may be views on one buffer
    std::memset(m_data + there, 0, bytes(wanted - there));
    Init();
    return *this;
}

void CMessage::Update_Message_Info(const char* raw)
{
    Update_Message_Info(std::span(raw, bytes(m_data_len)));
}

void CMessage::Update_Message_Info(std::span<const char> raw)
{
    const std::size_t there = std::min(raw.size(), bytes(m_data_len));
    if (there != 0) {
        std::memmove(m_data, raw.data(), there);
    }
    std::memset(m_data + there, 0, bytes(m_data_len) - there);
    Init();
}

void CMessage::Backup(char* to) const
{
    std::memcpy(to, m_data, bytes(m_data_len));
}

void CMessage::Restore(const char* from)
{
    std::memcpy(m_data, from, bytes(m_data_len));
}

void CMessage::Init()
{
    Forget_Values();
    if (m_has_elements) {
        m_field.for_each([](CField& field) { field.Forget_Element(); });
        m_has_elements = false;
    }
}

void CHashedRecord::Init()
{
    CMessage::Init();
    Init_Crc32();
}

// ---- Fields ----------------------------------------------------------------------------------------------------

int CMessage::Get_Code(const char* name)
{
    return qapi::Name_Code(name);
}

int CMessage::GetFieldPos(int field_id) const
{
    const int position = qapi::Field_Position(m_message_id, field_id);
    return position != 0 ? position : qapi::Give_Field_Position(m_message_id, field_id);
}

char* CMessage::Get_Field_Init_Pointer(int position)
{
    if (position >= MAX_REFERENCED_FIELDS_IN_A_MESSAGE) {
        std::printf("Error: number of referenced fields are beyond the threshold, %d\n", position);
        return nullptr;
    }
    return &m_field.Kept_Flag(position);
}

void CMessage::Forget_Values_Over(int displacement, int count)
{
    m_field.for_each([=](const CField& field) {
        const int end = field.m_displacement + qapi::Bytes_Of_Value(field.m_field_id, field.m_len);
        if (field.m_displacement < displacement + count && displacement < end &&
            field.m_msg_field_init_pointer != nullptr) {
            *field.m_msg_field_init_pointer = 0;
        }
    });
}

CField& CMessage::Make_Field(const FieldPlace& place)
{
    return m_field.put(place.position, qapi::Create_Field(this, place));
}

CField& CMessage::Field_At(const FieldPlace& place)
{
    CField* field = m_field.at(place.position);
    return field != nullptr ? *field : Make_Field(place);
}

// The slow way of operator[]: the field is new, undefined, or an element of it is current.
CField& CMessage::Touch(int field_id)
{
    const int position = GetFieldPos(field_id);
    if (CField* field = m_field.at(position); field != nullptr) {
        field->Forget_Element();
        return *field;
    }
    if (const FieldPlace* place = m_layout->Find(field_id); place != nullptr) {
        return Make_Field(*place);
    }
    FIELD_Report_No_Definition(field_id, m_message_id);
    FieldPlace place = qapi::Place_Field(field_id, m_msg_displacement, m_data_len);
    place.position = position;
    m_has_undefined_fields = true;
    return Make_Field(place);
}

// ---- Fields without objects ------------------------------------------------------------------------------------

const char* CMessage::Bytes_Of(int field_id)
{
    const FieldPlace* place = m_layout->Find(field_id);
    if (place == nullptr || place->policy != nullptr) {
        return (*this)[field_id].Get_Data_Ptr();
    }
    return m_data + place->displacement;
}

const FieldPlace* CMessage::Bare_Word(int field_id) const
{
    const FieldPlace* place = m_layout->Find(field_id);
    const bool is_bare = place != nullptr && place->policy == nullptr && m_field.at(place->position) == nullptr;
    return is_bare && place->displacement + static_cast<int>(sizeof(std::uint32_t)) <= Buffer_Size() ? place : nullptr;
}

std::uint32_t CMessage::Word_Of(int field_id)
{
    const FieldPlace* place = Bare_Word(field_id);
    return place != nullptr ? load_le<std::uint32_t>(m_data + place->displacement)
                            : static_cast<unsigned>((*this)[field_id]);
}

void CMessage::Put_Word(int field_id, std::uint32_t value)
{
    const FieldPlace* place = Bare_Word(field_id);
    if (place == nullptr) {
        (*this)[field_id] = static_cast<unsigned>(value);
        return;
    }
    store_le(m_data + place->displacement, value);
    Forget_Values_Over(place->displacement, sizeof value);
}

// ---- Keys ------------------------------------------------------------------------------------------------------

void CMessage::Init_Key(CIdxKey* to_fill)
{
    to_fill->Init(0, Word_Of(REC_IDX));
}

void CMessage::Init_Key(CEnvCrc32Key* to_fill)
{
    to_fill->Init(m_env_crc32);
}

// ---- Identity --------------------------------------------------------------------------------------------------

int CMessage::Do_We_Maintain_It()
{
    return m_table_ptr != nullptr ? m_table_ptr->Do_We_Maintain_It() : 0;
}

// A record that this one replaces gives its identity up with its place: one that the server repeats keeps it.
bool CMessage::Is_Identity_Taken()
{
    CMessage* holder = m_table_ptr->Get_Record_By_Env_Crc32(m_env_crc32);
    return holder != nullptr && holder != this && !m_table_ptr->Will_Replace(*this, *holder);
}

int CMessage::Init_Crc32()
{
    const FieldPlace* data = m_layout->Crc32_Field();
    if (m_table_ptr == nullptr || data == nullptr) {
        return 0;
    }
    const DLONG before = m_env_crc32;
    const std::uint32_t our_environment = Glb_range_environment.load(std::memory_order_relaxed);
    if (!m_env_crc32_to_use.is_zero()) {
        m_env_crc32 = m_env_crc32_to_use;
        m_env_crc32_to_use = {};
    } else {
        const std::uint32_t environment = Word_Of(ENVIRONMENT);
        if (environment != 0 &&
            environment != our_environment) { // another environment's record: its identity is its own
            m_env_crc32 = {Word_Of(CRC32), environment};
            return 0;
        }
        m_env_crc32 = {COMMON_Get_Crc32(Bytes_Of(data->field_id), data->len, 0), our_environment};
    }
    if (m_env_crc32 == before) {
        return 0;
    }
    while (Is_Identity_Taken()) {
        ++m_env_crc32.low;
        m_env_crc32.high = our_environment;
    }
    Put_Word(ENVIRONMENT, m_env_crc32.high);
    Put_Word(CRC32, m_env_crc32.low);
    return 1;
}
