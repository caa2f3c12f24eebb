#include "crypt/key_file.h"

#include "crypt/wipe.h"
#include "little_endian.h"
#include "system_seam.h"

#include <cstddef>
#include <cstring>
#include <ctime>
#include <tuple>

namespace {

using namespace qapi;

constexpr int date_width = 8;

// The numbers of a record, in their order.
constexpr auto number_fields = {&key_data::v_n, &key_data::v_e, &key_data::v_d,
                                &key_data::v_p, &key_data::v_q, &key_data::v_u};
constexpr std::size_t texts_size = offsetof(key_data, v_n);

unit load_unit(const unsigned char* bytes)
{
    char copy[sizeof(unit)];
    const WipedAtEnd wipe_copy(copy);
    std::memcpy(copy, bytes, sizeof copy);
    return load_le<unit>(copy);
}

void store_unit(unsigned char* bytes, unit value)
{
    char copy[sizeof(unit)];
    const WipedAtEnd wipe_copy(copy);
    store_le(copy, value);
    std::memcpy(bytes, copy, sizeof copy);
}

} // namespace

void qapi::load_record(const Key_Record& record, key_data& key)
{
    const unsigned char* position = record.data();
    std::memcpy(&key, position, texts_size);
    position += texts_size;
    for (const auto field : number_fields) {
        for (unit& value : key.*field) {
            value = load_unit(position);
            position += sizeof value;
        }
    }
}

void qapi::store_record(const key_data& key, Key_Record& record)
{
    unsigned char* position = record.data();
    std::memcpy(position, &key, texts_size);
    position += texts_size;
    for (const auto field : number_fields) {
        for (const unit value : key.*field) {
            store_unit(position, value);
            position += sizeof value;
        }
    }
}

bool qapi::marks_agree(const key_data& key)
{
    return std::memcmp(key.mark, key.mark_validate, sizeof key.mark) == 0;
}

bool qapi::day_has_come(const key_data& key)
{
    char date[date_width + 1] = {};
    std::memcpy(date, key.date, date_width);
    int day = 0;
    int month = 0;
    int year = 0;
    if (std::sscanf(date, "%2d%2d%4d", &day, &month, &year) != 3) {
        return false;
    }
    const auto now = static_cast<std::time_t>(System().wall_seconds());
    std::tm today{};
    if (localtime_r(&now, &today) == nullptr) {
        return false;
    }
    return std::tuple(today.tm_year + 1900, today.tm_mon + 1, today.tm_mday) >= std::tuple(year, month, day);
}

void qapi::crypt_gen_EKDK(const char* password)
{
    unsigned char key[IDEAKEYSIZE] = {};
    const WipedAtEnd wipe_key(key);
    std::memcpy(key, password, strnlen(password, sizeof key));
    for (unsigned char& byte : key) {
        ++byte;
    }
    ideaExpandKey(key, EK);
    ideaInvertKey(EK, DK);
}

qapi::Key_File::Key_File(const char* path) : m_file(std::fopen(path, "rb+e")) {}

bool qapi::Key_File::read(long offset, key_data& key)
{
    Key_Record record{};
    const WipedAtEnd wipe_record(record);
    if (std::fseek(m_file.get(), offset, SEEK_SET) != 0 ||
        std::fread(record.data(), 1, record.size(), m_file.get()) != record.size()) {
        return false;
    }
    DataDecrypt(EK, DK, record.data(), record.data(), KEY_RECORD_SIZE);
    load_record(record, key);
    return true;
}

bool qapi::Key_File::write(long offset, const key_data& key)
{
    Key_Record record{};
    const WipedAtEnd wipe_record(record);
    store_record(key, record);
    DataEncrypt(EK, record.data(), record.data(), KEY_RECORD_SIZE);
    return write_plain(offset, record);
}

bool qapi::Key_File::write_plain(long offset, const Key_Record& record)
{
    return std::fseek(m_file.get(), offset, SEEK_SET) == 0 &&
           std::fwrite(record.data(), 1, record.size(), m_file.get()) == record.size() &&
           std::fflush(m_file.get()) == 0;
}

bool qapi::Key_File::close()
{
    return std::fclose(m_file.release()) == 0;
}
