// A record whose fields are put where a test wants them, of any length, and a fixture that shows what happens to its
// bytes.
#pragma once

#include "support/report_texts.h"

#include "field/field_classes.h"
#include "message/message.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

class FieldRecord : public CMessage
{
public:
    explicit FieldRecord(int data_len) : CMessage(nullptr, data_len - 3) {}

    // A field named "f" of a type: S W I L N D A T F, as in the catalogue.
    CField& Put(char type, int at, int len, int decimals = 0)
    {
        qapi::FieldPlace place;
        place.position = static_cast<int>(m_fields.size()) + 1;
        place.field_id = Row_Of(type);
        place.name = "f";
        place.code = qapi::Name_Code("f");
        place.displacement = at;
        place.len = len;
        return Put(place, decimals);
    }
    CField& Put(const qapi::FieldPlace& place, int decimals = 0)
    {
        m_fields.push_back(qapi::Create_Field(this, place));
        if (m_fields.back()->m_type == FLD_NUM_ASCII_DOUBLE) {
            m_fields.back()->m_decimal_len = decimals;
        }
        return *m_fields.back();
    }

    static int Row_Of(char type)
    {
        constexpr const char* letters = " SWLNDAIF";
        const bool string = type == 'T';
        const char letter = string ? 'A' : type;
        const auto row = std::find_if(
            glb_field_equivalence.begin(), glb_field_equivalence.end(), [&](const FIELD_EQUIVALENCE& candidate) {
                return letters[candidate.field_type] == letter &&
                       (letter != 'A' || (candidate.field_decimal_len == FLD_ALPHA_TYPE_STRING) == string);
            });
        return row->field_id;
    }

private:
    std::vector<std::unique_ptr<CField>> m_fields;
};

class FieldTest : public testing::Test
{
protected:
    // The record has 60 bytes, 100 spare ones, and the character '~' in all of them.
    FieldTest() { std::memset(record.m_data, '~', static_cast<std::size_t>(record.Buffer_Size())); }

    CField& Put(char type, int len, const std::string& bytes, int decimals = 0)
    {
        CField& field = record.Put(type, next, len, decimals);
        Fill(next, bytes + "~");
        next += len + 2;
        return field;
    }

    template <class Class> static Class& As(CField& field) { return dynamic_cast<Class&>(field); }

    // New contents, as when a message arrives.
    void Fill(int at, const std::string& bytes)
    {
        std::memcpy(record.m_data + at, bytes.data(), bytes.size());
        record.Init();
    }
    [[nodiscard]] std::string Bytes(int at, int count) const
    {
        return {record.m_data + at, static_cast<std::size_t>(count)};
    }
    [[nodiscard]] std::string Bytes(const CField& field) const { return Bytes(field.m_displacement, field.m_len); }
    [[nodiscard]] std::string All() const { return Bytes(0, record.Buffer_Size()); }

    static std::string Complaint(const std::string& words) { return "1 Error!: f of type " + words; }

    static std::string Text(CALC_MNUM* number)
    {
        std::array<char, 33> text{};
        calc_mtos(number, text.data(), 20, 4, 0, 1);
        return text.data();
    }
    static std::array<CALC_MNUM, COMMON_CALC_SIZE> Number(const char* text)
    {
        std::array<CALC_MNUM, COMMON_CALC_SIZE> number{};
        EXPECT_EQ(calc_stom(text, number.data()), 0);
        return number;
    }

    ReportTexts reports;
    FieldRecord record{60};
    int next = 3;
};
