// Which fields of a record go into which of its keys. A key is filled from the bytes that these fields point to, or
// from their numbers where a row says so, in the order in which the key takes them.
#pragma once

#include "field/flddescr.h"

#include <array>
#include <initializer_list>
#include <span>
#include <string_view>

namespace qapi {

enum class KeyForm
{
    arguments, // the fields are what the key takes, in its order
    computed,  // the key's parts are computed from the fields; their order means nothing
    of_price,  // the same, for the form of the key that takes a price and its kind
};

struct KeyPart
{
    constexpr KeyPart() = default;
    constexpr KeyPart(FIELD_ID field) : field_id(field) {} // NOLINT(google-explicit-constructor)

    int field_id = 0;
    bool by_value = false; // the field's number, not the address of its bytes
    bool is_code = false;  // but the number is that of a code, which is its bytes
};

constexpr KeyPart number_of(FIELD_ID field)
{
    KeyPart part(field);
    part.by_value = true;
    return part;
}

constexpr KeyPart code_of(FIELD_ID field)
{
    KeyPart part = number_of(field);
    part.is_code = true;
    return part;
}

struct KeyFields
{
    constexpr KeyFields(std::string_view record_class, std::string_view key_class, KeyForm key_form,
                        std::initializer_list<KeyPart> key_parts);

    std::string_view record; // "CGTCity"
    std::string_view key;    // "CCityKey"
    KeyForm form;

    [[nodiscard]] constexpr std::span<const KeyPart> Parts() const { return std::span(m_parts).first(m_count); }

private:
    std::size_t m_count = 0;
    std::array<KeyPart, 19> m_parts{};
};

constexpr KeyFields::KeyFields(std::string_view record_class, std::string_view key_class, KeyForm key_form,
                               std::initializer_list<KeyPart> key_parts)
    : record(record_class), key(key_class), form(key_form)
{
    for (const KeyPart& part : key_parts) {
        m_parts[m_count++] = part;
    }
}

// A row for each key of each record class.
std::span<const KeyFields> All_Key_Fields();

} // namespace qapi

using qapi::All_Key_Fields;
using qapi::KeyFields;
using qapi::KeyForm;
using qapi::KeyPart;
