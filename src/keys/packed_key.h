// Keys that only pack fields one behind the other. A class says how in words, which the compiler reads:
//
//     "market 3, user_code 4"             two texts, of which 3 and 4 bytes are taken
//     "market 3, fill"                    a text, and a byte that fills the rest of the key: a bound of a range
//     "esquema_code 8, #id_element 2"     a number, whose low bytes are taken as a little-endian word
//     "currency1 3, /, currency2 3"       a byte that stands for itself
//     "my_branch 4, c_v 1, +my_branch 4"  what follows the 4 bytes that were taken from my_branch
//
// A class may have several such forms; the number of texts and of numbers that Init is given tells which is meant.
// Bytes that a form doesn't reach stay as they were, and so do those of a text that is null.
#pragma once

#include "keys/base_key.h"
#include "little_endian.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace qapi {

struct PackedPart
{
    enum class Kind
    {
        text,
        number,
        fill,
        literal
    };

    Kind kind = Kind::text;
    std::string_view name;
    std::size_t width = 0;
    std::size_t argument = 0; // among the texts
    std::size_t skip = 0;     // bytes of the text that an earlier part took
};

class PackedForm
{
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a form is its words
    consteval PackedForm(const char* words)
    {
        std::string_view rest(words);
        while (!rest.empty()) {
            const std::size_t comma = std::min(rest.find(", "), rest.size());
            Add(rest.substr(0, comma));
            rest.remove_prefix(std::min(comma + 2, rest.size()));
        }
    }

    [[nodiscard]] constexpr std::size_t Texts() const { return m_texts; }
    [[nodiscard]] constexpr std::size_t Numbers() const { return m_numbers; }
    [[nodiscard]] constexpr std::size_t Width() const { return m_width; } // without what a fill takes
    [[nodiscard]] constexpr bool Has_Fill() const
    {
        return m_count != 0 && m_parts[m_count - 1].kind == PackedPart::Kind::fill;
    }

    // Where in the key a part stands. There must be one of that name.
    [[nodiscard]] consteval int Offset_Of(std::string_view name) const
    {
        std::size_t offset = 0;
        const PackedPart* part = begin();
        for (; part->name != name; ++part) { // leaves the array, which the compiler refuses, if there is none
            offset += part->width;
        }
        return static_cast<int>(offset);
    }

    [[nodiscard]] constexpr const PackedPart* begin() const { return m_parts.data(); }
    [[nodiscard]] constexpr const PackedPart* end() const { return m_parts.data() + m_count; }

private:
    constexpr void Add(std::string_view words)
    {
        PackedPart part;
        if (words == "fill") {
            part = {PackedPart::Kind::fill, words, 0, 0, 0};
            ++m_numbers;
        } else if (words.size() == 1) {
            part = {PackedPart::Kind::literal, words, 1, 0, 0};
        } else {
            part = Read_Field(words);
        }
        m_parts[m_count++] = part;
        m_width += part.width;
    }

    constexpr PackedPart Read_Field(std::string_view words)
    {
        const std::size_t blank = words.find(' ');
        PackedPart part{PackedPart::Kind::text, words.substr(0, blank), 0, m_texts, 0};
        for (const char digit : words.substr(blank + 1)) {
            part.width = part.width * 10 + static_cast<std::size_t>(digit - '0');
        }
        if (part.name.front() == '+') {
            const PackedPart* taken = std::find_if(
                begin(), end(), [&part](const PackedPart& earlier) { return earlier.name == part.name.substr(1); });
            part.argument = taken->argument;
            part.skip = taken->width;
        } else if (part.name.front() == '#') {
            part.kind = PackedPart::Kind::number;
            ++m_numbers;
        } else {
            ++m_texts;
        }
        return part;
    }

    std::array<PackedPart, 20> m_parts{};
    std::size_t m_count = 0;
    std::size_t m_texts = 0;
    std::size_t m_numbers = 0;
    std::size_t m_width = 0;
};

// `Key` has `length` and `forms`.
template <class Key> class PackedKey : public CBaseKey
{
public:
    // True if nothing but the bytes orders the keys, so that an index may keep the bytes alone.
    static constexpr bool ordered_by_bytes = true;

    PackedKey() : CBaseKey(Key::length) {}

    void Init(const char* new_key_value) { Init_Whole(new_key_value, Key::length); } // the key's bytes

    // The texts of a form, each at least as long as its part, then its numbers or its fill.
    template <class... Arguments> void Init(const char* first, Arguments... rest) requires(sizeof...(Arguments) != 0)
    {
        constexpr std::size_t numbers = (0U + ... + std::size_t{std::is_arithmetic_v<Arguments>});
        Pack<1 + sizeof...(Arguments) - numbers, numbers>(first, rest...);
    }

    // A key that is nothing but a fill.
    void Init(int fill) { Pack<0, 1>(fill); }

private:
    template <std::size_t texts, std::size_t numbers> static consteval std::size_t Form_For()
    {
        std::size_t index = 0;
        for (const PackedForm& form : Key::forms) {
            if (form.Texts() == texts && form.Numbers() == numbers) {
                return index;
            }
            ++index;
        }
        return index;
    }

    template <std::size_t texts, std::size_t numbers, class... Arguments> void Pack(Arguments... arguments)
    {
        constexpr std::size_t index = Form_For<texts, numbers>();
        static_assert(index < std::size(Key::forms), "the key has no such form");
        static_assert(Key::forms[index].Width() <= Key::length);
        std::array<const char*, texts + 1> given{};
        std::array<std::uint32_t, numbers + 1> values{};
        std::size_t text_count = 0;
        std::size_t number_count = 0;
        (Take(arguments, given, text_count, values, number_count), ...);
        Write(Key::forms[index], given.data(), values.data());
    }

    template <class Argument, class Texts, class Numbers>
    static void Take(Argument argument, Texts& texts, std::size_t& text_count, Numbers& numbers,
                     std::size_t& number_count)
    {
        if constexpr (std::is_arithmetic_v<Argument>) {
            numbers[number_count++] = static_cast<std::uint32_t>(argument);
        } else {
            texts[text_count++] = argument;
        }
    }

    void Write(const PackedForm& form, const char* const* texts, const std::uint32_t* numbers)
    {
        if (m_key_len < Key::length) { // its base was given a shorter key
            return;
        }
        char* at = m_key;
        for (const PackedPart& part : form) {
            switch (part.kind) {
            case PackedPart::Kind::text:
                if (texts[part.argument] != nullptr) {
                    std::memcpy(at, texts[part.argument] + part.skip, part.width);
                }
                break;
            case PackedPart::Kind::number: {
                std::array<char, sizeof(std::uint32_t)> word{};
                store_le(word.data(), *numbers++);
                std::memcpy(at, word.data(), part.width);
                break;
            }
            case PackedPart::Kind::fill:
                std::memset(at, static_cast<int>(*numbers++), static_cast<std::size_t>(m_key + m_key_len - at));
                break;
            case PackedPart::Kind::literal:
                *at = part.name.front();
                break;
            }
            at += part.width;
        }
    }
};

} // namespace qapi
