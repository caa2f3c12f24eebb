#include "persis/pers_d.h"

#include "little_endian.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t item_head = 8;
constexpr std::size_t word = 4;
constexpr unsigned calc_size = CALC_TOTAL_BYTES_MXDIGITS;

} // namespace

// ---- Writing ---------------------------------------------------------------------------------------------------

int CPers_d::Length_Of_Block()
{
    data_length = 0;
    data_items = 0;
    m_whole = true;
    Serialize();
    return m_whole ? CPERS_DATA_HEAD + data_length : 0;
}

int CPers_d::Write_Data(int max_write_len)
{
    const int length = Length_Of_Block();
    if (length == 0) {
        return 0;
    }
    store_le<std::int32_t>(data_buff.data(), data_length);
    store_le<std::int32_t>(data_buff.data() + word, data_items);
    const bool fits = max_write_len == 0 || length <= max_write_len;
    cf_p->seek(new_position);
    return cf_p->write(data_buff.data(), static_cast<std::size_t>(fits ? length : CPERS_DATA_HEAD)) != 0 ? length : 0;
}

void CPers_d::Set_Data(int code, const void* value, unsigned size)
{
    const std::size_t room = PERSIS_BUFFER_MAX_SIZE - static_cast<std::size_t>(data_length);
    if (!m_whole || room < item_head || size > room - item_head) {
        m_whole = false;
        return;
    }
    char* item = data_buff.data() + CPERS_DATA_HEAD + data_length;
    store_le<std::int32_t>(item, code);
    store_le<std::uint32_t>(item + word, size);
    std::memcpy(item + item_head, value, size);
    data_length += static_cast<int>(item_head + size);
    ++data_items;
}

void CPers_d::Set_Calc(int code, const CALC_MNUM* value)
{
    std::array<char, calc_size> bytes{};
    for (unsigned i = 0; i < calc_size / sizeof(CALC_MNUM); ++i) {
        store_le(bytes.data() + i * sizeof(CALC_MNUM), value[i]);
    }
    Set_Data(code, bytes.data(), calc_size);
}

// ---- Reading ---------------------------------------------------------------------------------------------------

int CPers_d::Read_Data()
{
    cf_p->seek(new_position);
    const std::span<const char> head = cf_p->look(CPERS_DATA_HEAD);
    if (head.size() < CPERS_DATA_HEAD) {
        return 0;
    }
    data_length = load_le<std::int32_t>(head.data());
    data_items = load_le<std::int32_t>(head.data() + word);
    if (data_length <= 0 || data_length > PERSIS_BUFFER_MAX_SIZE) {
        return 0;
    }
    m_items = cf_p->look(static_cast<std::size_t>(data_length));
    data_read = 0;
    data_count = 0;
    m_whole = m_items.size() == static_cast<std::size_t>(data_length) && data_items >= 0;
    const int result = m_whole ? Unserialize() : 0;
    m_items = {};
    return result;
}

int CPers_d::Unserialize()
{
    while (const int code = Get_Next_Code()) {
        const std::size_t before = data_read;
        Unserialize_Content(code);
        if (data_read == before) {
            Skip_Item();
        }
    }
    return m_whole ? 1 : 0;
}

int CPers_d::Get_Next_Code()
{
    if (!m_whole || data_count == data_items) {
        return 0;
    }
    const int code = Left_To_Read() >= item_head ? load_le<std::int32_t>(m_items.data() + data_read) : 0;
    if (code <= 0) {
        m_whole = false;
        return 0;
    }
    data_read += word;
    ++data_count;
    return code;
}

std::uint32_t CPers_d::Stored_Size() const
{
    return Left_To_Read() >= word ? load_le<std::uint32_t>(m_items.data() + data_read) : 0;
}

int CPers_d::Get_Data(void* value, unsigned size, int Big_To_Lit_Conv)
{
    const std::uint32_t stored = Stored_Size();
    if (!m_whole || Left_To_Read() < word || stored > Left_To_Read() - word) {
        m_whole = false;
        data_read = data_read >= word ? data_read - word : 0;
        return 0;
    }
    char* to = static_cast<char*>(value);
    const std::size_t count = size == 0 ? stored : std::min<std::size_t>(size, stored);
    std::memset(to + count, 0, size > count ? size - count : 0);
    std::memcpy(to, m_items.data() + data_read + word, count);
    if (m_big_to_lit_conv != 0 && Big_To_Lit_Conv != 0) {
        std::reverse(to, to + std::min(word, std::max<std::size_t>(size, count)));
    }
    data_read += word + stored;
    return 1;
}

std::uint32_t CPers_d::Get_UInt(int Big_To_Lit_Conv)
{
    std::array<char, word> bytes{};
    Get_Data(bytes.data(), word, Big_To_Lit_Conv);
    return load_le<std::uint32_t>(bytes.data());
}

void CPers_d::Skip_Item()
{
    const std::uint32_t stored = Stored_Size();
    if (!m_whole || Left_To_Read() < word || stored > Left_To_Read() - word) {
        m_whole = false;
        return;
    }
    data_read += word + stored;
}
