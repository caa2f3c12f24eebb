#include "message/layout.h"

#include "message_numbers.h"
#include "process_lifetime.h"
#include "records/sizes.h"

#include <algorithm>
#include <bit>
#include <mutex>
#include <unordered_set>

constinit std::array<qapi::Positions, MAX_MESSAGES_TYPES> qapi::m_message_pos{};

namespace {

constexpr int no_code = 0; // of a field without a name

std::array<int, MAX_MESSAGES_TYPES> m_message_pos_num{}; // positions given out, by class id; under layouts_lock

// Guards what follows.
std::mutex& layouts_lock()
{
    static ProcessLifetime<std::mutex> lock([] { return new std::mutex; });
    return *lock;
}

// Never destroyed: records outlive main.
std::vector<std::unique_ptr<RecordLayout>>& kept_layouts()
{
    static ProcessLifetime<std::vector<std::unique_ptr<RecordLayout>>> layouts(
        [] { return new std::vector<std::unique_ptr<RecordLayout>>; });
    return *layouts;
}

bool keeps_a_value(const FieldPlace& place)
{
    return glb_field_equivalence[static_cast<std::size_t>(place.field_id)].field_type != FLD_ALPHA;
}

} // namespace

int qapi::Give_Field_Position(int message_id, int field_id)
{
    const std::lock_guard lock(layouts_lock());
    std::atomic<std::int16_t>& position =
        m_message_pos[static_cast<std::size_t>(message_id)][static_cast<std::size_t>(field_id)];
    if (position.load(std::memory_order_relaxed) == 0) {
        const int next = ++m_message_pos_num[static_cast<std::size_t>(message_id)];
        position.store(static_cast<std::int16_t>(next), std::memory_order_relaxed);
    }
    return position.load(std::memory_order_relaxed);
}

int qapi::Bytes_Of_Value(int field_id, int len)
{
    switch (glb_field_equivalence[static_cast<std::size_t>(field_id)].field_type) {
    case FLD_SHORT:
    case FLD_UNSIGNED_SHORT:
        return 2;
    case FLD_INT:
    case FLD_UNSIGNED_INT:
        return 4;
    default:
        return len;
    }
}

// A field that begins inside the record is cut at the record's end, one that begins behind it at the end of the spare
// bytes.
FieldPlace qapi::Place_Field(int field_id, int base, int data_len)
{
    const FIELD_EQUIVALENCE& row = glb_field_equivalence[static_cast<std::size_t>(field_id)];
    const int buffer = data_len + MESSAGE_EXTRA_ALLOCATED_SIZE;
    FieldPlace place;
    place.field_id = field_id;
    place.displacement = base + row.field_offset;
    const int limit = place.displacement < data_len ? data_len : buffer;
    place.len = std::clamp(limit - place.displacement, 0, row.field_len);
    place.displacement = std::min(place.displacement, buffer - 1);
    return place;
}

// ---- RecordLayout ----------------------------------------------------------------------------------------------

const FieldPlace* qapi::RecordLayout::Find(int field_id) const
{
    const int index = m_index_of_id[static_cast<std::size_t>(field_id)];
    return index >= 0 ? &m_fields[static_cast<std::size_t>(index)] : nullptr;
}

std::span<const FieldPlace* const> qapi::RecordLayout::With_Code(int code) const
{
    const std::size_t mask = m_code_slots.size() - 1;
    for (std::size_t at = static_cast<unsigned>(code);; ++at) {
        const CodeSlot& slot = m_code_slots[at & mask];
        if (slot.count == 0) {
            return {};
        }
        if (slot.code == code) {
            return std::span(m_by_code).subspan(slot.first, slot.count);
        }
    }
}

void qapi::RecordLayout::Number_Fields()
{
    m_index_of_id.assign(MAX_FIELDS_DEFINED, -1);
    for (std::size_t i = 0; i < m_fields.size(); ++i) {
        m_fields[i].position = Give_Field_Position(m_message_id, m_fields[i].field_id);
        m_index_of_id[static_cast<std::size_t>(m_fields[i].field_id)] = static_cast<std::int16_t>(i);
    }
}

// A field shares bytes with a kept value if more kept values than its own lie over one of its bytes.
void qapi::RecordLayout::Mark_Shared_Bytes()
{
    std::vector<int> kept_values(static_cast<std::size_t>(Data_Len() + MESSAGE_EXTRA_ALLOCATED_SIZE));
    const auto bytes_of = [&kept_values](const FieldPlace& place) {
        const std::span to_the_end = std::span(kept_values).subspan(static_cast<std::size_t>(place.displacement));
        const auto bytes = static_cast<std::size_t>(place.len > 0 ? Bytes_Of_Value(place.field_id, place.len) : 0);
        return to_the_end.first(std::min(bytes, to_the_end.size()));
    };
    for (const FieldPlace& place : m_fields) {
        for (int& values : bytes_of(place)) {
            values += keeps_a_value(place) ? 1 : 0;
        }
    }
    for (FieldPlace& place : m_fields) {
        const int own = keeps_a_value(place) ? 1 : 0;
        const auto bytes = bytes_of(place);
        place.shares_bytes = std::any_of(bytes.begin(), bytes.end(), [own](int values) { return values > own; });
    }
}

// Fields of one code stand together, in the order of their positions, and a slot found by the code says where.
void qapi::RecordLayout::Index_Names()
{
    std::unordered_set<std::string_view> names;
    for (FieldPlace& place : m_fields) {
        if (place.name != nullptr) {
            m_by_code.push_back(&place);
            if (names.insert(place.name).second) {
                place.named_index = static_cast<int>(m_named.size());
                m_named.push_back(&place);
            }
        }
    }
    std::stable_sort(m_by_code.begin(), m_by_code.end(),
                     [](const FieldPlace* a, const FieldPlace* b) { return a->code < b->code; });
    m_code_slots.resize(std::bit_ceil(2 * m_by_code.size() + 1)); // half empty, so that a search ends soon
    const std::size_t mask = m_code_slots.size() - 1;
    for (std::size_t i = 0; i < m_by_code.size(); ++i) {
        const int code = m_by_code[i]->code;
        std::size_t at = static_cast<unsigned>(code);
        while (m_code_slots[at & mask].count != 0 && m_code_slots[at & mask].code != code) {
            ++at;
        }
        CodeSlot& slot = m_code_slots[at & mask];
        if (slot.count == 0) {
            slot = {code, static_cast<std::uint16_t>(i), 0};
        }
        ++slot.count;
    }
}

const RecordLayout& qapi::Plain_Layout()
{
    static const RecordLayout& layout = Composition::Plain().Keep();
    return layout;
}

// ---- Composition -----------------------------------------------------------------------------------------------

qapi::Composition::Composition(int message_id, int number, int size) : m_layout(new RecordLayout)
{
    FIELD_Check_Consistency();
    m_layout->m_message_id = message_id;
    m_layout->m_number = number;
    m_layout->m_size = size;
}

Composition qapi::Composition::Plain()
{
    return Composition(CMESSAGE_TYPE, 0, 0);
}

Composition qapi::Composition::Of_Message(int message_id, int number, int body_size)
{
    Composition message(message_id, number, CABEZA_HEADER_SIZE + body_size);
    message.Init_Field_Advancing(MSG_NUMBER_FIELD);
    return message;
}

Composition qapi::Composition::Of_Table_Record(int message_id, int data_size)
{
    Composition record(message_id, MSS_TABLA_GLOBAL, GTABLE_HEADER_SIZE + data_size);
    record.m_layout->m_message_type = 1;
    record.Construct_Global_Table_Header();
    record.m_base += GTABLE_HEADER_SIZE;
    return record;
}

void qapi::Composition::Construct_Global_Table_Header()
{
    Init_Field_Advancing(MSG_NUMBER_FIELD);
    for (const int field_id : {I_OP, DATA_CODE, REC_NUM, REC_IDX, ENV_CRC32, ENVIRONMENT, CRC32, DATA_INFO}) {
        Init_Field(field_id);
    }
    for (FieldPlace& place : m_layout->m_fields) {
        const int id = place.field_id;
        place.no_change = id != REC_NUM && id != REC_IDX && id != DATA_INFO;
    }
}

Composition& qapi::Composition::Is_Order()
{
    m_layout->m_message_type = 2;
    return *this;
}

Composition& qapi::Composition::Without_Names()
{
    m_named = false;
    return *this;
}

Composition& qapi::Composition::With_Prefix(const char* prefix)
{
    m_prefix = prefix;
    return *this;
}

const char* qapi::Composition::Name_Of(int field_id)
{
    const char* name = m_named ? Field_Name(field_id) : nullptr;
    if (name == nullptr || m_prefix == nullptr) {
        return name;
    }
    auto& made = m_layout->m_made_names;
    made.push_back(std::make_unique<const std::string>(std::string(m_prefix) + name));
    return made.back()->c_str();
}

Composition& qapi::Composition::Init_Field(int field_id)
{
    FieldPlace place = Place_Field(field_id, m_base, m_layout->Data_Len());
    place.name = Name_Of(field_id);
    place.code = place.name != nullptr ? Name_Code(place.name) : no_code;
    m_layout->m_fields.push_back(place);
    return *this;
}

Composition& qapi::Composition::Init_Field_Advancing(int field_id)
{
    Init_Field(field_id);
    m_base += m_layout->m_fields.back().len;
    return *this;
}

Composition& qapi::Composition::Add_Run(int first, int last)
{
    for (int field_id = first; field_id <= last; ++field_id) {
        if (Field_Is_Built(field_id)) {
            Init_Field(field_id);
        }
    }
    return *this;
}

Composition& qapi::Composition::Init_Header_Msg()
{
    return Add_Run(CODIGO_PRIMARYUSER, RELLENO_2_CABEZA);
}

Composition& qapi::Composition::At(int base)
{
    m_base = base;
    return *this;
}

Composition& qapi::Composition::At_End()
{
    return At(m_layout->Data_Len());
}

Composition& qapi::Composition::Behind(int field_id)
{
    const FieldPlace& place = Placed(field_id);
    return At(place.displacement + place.len);
}

FieldPlace& qapi::Composition::Placed(int field_id)
{
    auto& fields = m_layout->m_fields;
    return *std::find_if(fields.begin(), fields.end(),
                         [field_id](const FieldPlace& place) { return place.field_id == field_id; });
}

Composition& qapi::Composition::Unnamed(std::initializer_list<int> field_ids)
{
    for (const int field_id : field_ids) {
        FieldPlace& place = Placed(field_id);
        place.name = nullptr;
        place.code = no_code;
    }
    return *this;
}

Composition& qapi::Composition::Crc32_Over(int field_id)
{
    m_layout->m_crc32_field = field_id;
    return *this;
}

Composition& qapi::Composition::With_Policy(int field_id, policy_f* policy)
{
    Placed(field_id).policy = policy;
    return *this;
}

const RecordLayout& qapi::Composition::Keep()
{
    m_layout->m_end_base = m_base;
    m_layout->Number_Fields();
    m_layout->Mark_Shared_Bytes();
    m_layout->Index_Names();
    const std::lock_guard lock(layouts_lock());
    return *kept_layouts().emplace_back(std::move(m_layout));
}
