// Every field of every record class, written as a field and read as bytes at its pinned place, and the reverse.
#include "support/record_classes.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// A value of a field: what a caller writes and reads, and the bytes of it in the record.
struct Sample
{
    std::string text;
    int number = 0;
    std::string bytes;
};

std::string little_endian_bytes(int number, int width)
{
    std::string bytes;
    for (int i = 0; i < width; ++i) {
        bytes += static_cast<char>(number >> (8 * i) & 255);
    }
    return bytes;
}

std::string right_aligned(const std::string& text, int length)
{
    return std::string(static_cast<std::size_t>(length) - text.size(), ' ') + text;
}

class RecordBytes : public RecordClassTest
{
protected:
    Sample sample_of(const PinnedField& field)
    {
        if (field.type == "alpha" || field.type == "string") {
            return text_sample(field.length);
        }
        if (field.type == "date") {
            const std::string day = std::to_string(20200101 + below(28));
            return {day, 0, day};
        }
        if (field.type == "digits") {
            return digits_sample(field.length);
        }
        if (field.type == "fixed") {
            return fixed_sample(field.length, field.decimal_count());
        }
        return binary_sample(field.type);
    }

    // The field by its name if it can be found by it, else by its id.
    CField& field_of(const PinnedField& pinned)
    {
        let_policy_pass(pinned.symbol);
        CField* named = pinned.is_named() ? record().Find_Field(pinned.name.c_str()) : nullptr;
        const int id = field_id_of(pinned.symbol);
        return named != nullptr && named->m_field_id == id ? *named : record()[id];
    }

    // The whole buffer, spare bytes included.
    std::string buffer() { return {record().m_data, static_cast<std::size_t>(record().Buffer_Size())}; }

    std::string buffer_with(const PinnedField& field, const std::string& bytes)
    {
        return buffer().replace(static_cast<std::size_t>(field.offset), bytes.size(), bytes);
    }

    void put_bytes(const PinnedField& field, const std::string& bytes)
    {
        std::memcpy(record().m_data + field.offset, bytes.data(), bytes.size());
        record().Init();
    }

    static bool is_text(const PinnedField& field)
    {
        return field.type == "alpha" || field.type == "string" || field.type == "date";
    }

private:
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

    Sample text_sample(int length)
    {
        std::string text;
        for (int i = 0; i < length; ++i) {
            text += static_cast<char>('a' + below(26));
        }
        return {text, 0, text};
    }

    Sample digits_sample(int length)
    {
        int limit = 1;
        for (int i = 0; i < length; ++i) {
            limit *= 10;
        }
        const int number = 1 + below(limit - 1);
        return {std::to_string(number), number, right_aligned(std::to_string(number), length)};
    }

    // Two digits in front of the point at most: some fields have no room for more. A number holds eight decimals, so
    // the ninth that some fields show is 0.
    Sample fixed_sample(int length, int decimals)
    {
        const int number = 1 + below(99);
        std::string text = std::to_string(number) + (decimals != 0 ? "." : "");
        for (int i = 0; i < decimals; ++i) {
            text += static_cast<char>(i < 8 ? '0' + below(10) : '0');
        }
        return {text, number, right_aligned(text, length)};
    }

    Sample binary_sample(const std::string& type)
    {
        if (type == "short") {
            const int number = below(65536) - 32768;
            return {"", number, little_endian_bytes(number, 2)};
        }
        if (type == "ushort") {
            const int number = below(65536);
            return {"", number, little_endian_bytes(number, 2)};
        }
        const int number = static_cast<int>(m_random());
        return {"", number, little_endian_bytes(number, 4)};
    }

    // An employee's code is the record's own only while the flag of its side is 'E'; letters of samples are small.
    void let_policy_pass(const std::string& symbol)
    {
        const std::string side = symbol.ends_with("_1") ? "_1" : "";
        const PinnedField* flag = m_pinned.find("BANDERA_SECTOR_FINANCIERO" + side);
        if (flag != nullptr && symbol.starts_with("USUARIO_")) {
            record().m_data[flag->offset] = symbol.starts_with("USUARIO_EMPLEADO") ? 'E' : ' ';
        }
    }

    std::mt19937 m_random{static_cast<unsigned>(m_pinned.id)};
};

INSTANTIATE_TEST_SUITE_P(Class, RecordBytes, testing::ValuesIn(pinned_classes()), name_of_class);

void write(CField& field, const PinnedField& pinned, const Sample& sample)
{
    if (sample.text.empty() || pinned.type == "digits") {
        field = sample.number;
    } else {
        field = sample.text.c_str();
    }
}

// The first byte that differs, as "byte 83: 97 instead of 0"; "" if none does.
std::string difference(const std::string& bytes, const std::string& expected)
{
    const auto [found, wanted] = std::mismatch(bytes.begin(), bytes.end(), expected.begin(), expected.end());
    if (found == bytes.end() || wanted == expected.end()) {
        return bytes.size() == expected.size() ? "" : "another length";
    }
    return "byte " + std::to_string(found - bytes.begin()) + ": " + std::to_string(int{*found}) + " instead of " +
           std::to_string(int{*wanted});
}

std::string text_in(CField& field)
{
    std::vector<char> text(static_cast<std::size_t>(field.m_len) + 1, '#');
    const char* end = field.GetStr(text.data(), 0, field.m_len + 1);
    return {text.data(), static_cast<std::size_t>(end - text.data())};
}

TEST_P(RecordBytes, WhatAFieldIsGivenStandsAtItsPlaceAndNowhereElse)
{
    for (const PinnedField& pinned : m_pinned.fields) {
        const Sample sample = sample_of(pinned);
        CField& field = field_of(pinned);
        const std::string expected = buffer_with(pinned, sample.bytes);
        write(field, pinned, sample);
        EXPECT_EQ(difference(buffer(), expected), "") << pinned.symbol;
    }
}

TEST_P(RecordBytes, WhatStandsAtItsPlaceIsReadByAField)
{
    for (const PinnedField& pinned : m_pinned.fields) {
        const Sample sample = sample_of(pinned);
        CField& field = field_of(pinned);
        put_bytes(pinned, sample.bytes);
        if (is_text(pinned)) {
            EXPECT_EQ(text_in(field), sample.text) << pinned.symbol;
        } else {
            EXPECT_EQ(static_cast<int>(field), sample.number) << pinned.symbol;
        }
    }
}

TEST_P(RecordBytes, DecimalsAtItsPlaceAreReadByAField)
{
    for (const PinnedField& pinned : m_pinned.fields) {
        if (pinned.type == "fixed") {
            const Sample sample = sample_of(pinned);
            CField& field = field_of(pinned);
            put_bytes(pinned, sample.bytes);
            std::vector<char> text(static_cast<std::size_t>(pinned.length) + 1);
            field >> text.data();
            EXPECT_EQ(words_of(text.data()).at(0), sample.text) << pinned.symbol;
        }
    }
}

TEST_P(RecordBytes, AViewReadsTheSamePlaces)
{
    std::vector<char> bytes(static_cast<std::size_t>(m_pinned.data_len) + 100);
    const auto view = record_class(m_pinned.name)->make(bytes.data());
    for (const PinnedField& pinned : m_pinned.fields) {
        EXPECT_EQ((*view)[field_id_of(pinned.symbol)].m_displacement, pinned.offset) << pinned.symbol;
    }
    EXPECT_EQ(view->m_data, bytes.data());
    EXPECT_EQ(view->m_data_is_allocated, 0);
}

} // namespace
