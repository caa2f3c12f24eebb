// Prices as keys hold them, and what may stand there in their place.
#pragma once

#include "keys/price_comparison.h"

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

inline std::string right_aligned(std::string_view number)
{
    return std::string(ORD_PRICE_LEN - number.size(), ' ') + std::string(number);
}

class PriceTexts
{
public:
    explicit PriceTexts(unsigned seed) : m_random(seed) {}

    // Blanks, perhaps a minus, digits, a point, four decimals. With a minus the blanks may stand behind it.
    std::string Well_Formed()
    {
        std::string number = Digits(Below(5)) + "." + Digits(4);
        if (Below(3) == 0) {
            number.insert(0, "-");
        }
        std::string price = right_aligned(number);
        if (number[0] == '-' && Below(2) == 0) {
            std::swap(price[0], price[price.size() - number.size()]);
        }
        return Below(4) == 0 ? With_Zeros(price) : price;
    }

    // Everything: the shapes of a number, bounds, and garbage.
    std::string Any()
    {
        switch (Below(6)) {
        case 0:
            return std::string(ORD_PRICE_LEN, Below(2) == 0 ? '\0' : '\xff');
        case 1:
            return From_Alphabet(ORD_PRICE_LEN);
        case 2:
            return Damaged(Well_Formed());
        case 3:
            return right_aligned(From_Alphabet(Below(4)));
        case 4:
            return right_aligned(Digits(Below(6)) + (Below(2) == 0 ? "." : "") + Digits(Below(6)));
        default:
            return Well_Formed();
        }
    }

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    // Few different ones, so that prices often begin alike.
    std::string Digits(unsigned count)
    {
        std::string digits;
        while (digits.size() < count) {
            digits += "00159"[Below(5)];
        }
        return digits;
    }

    std::string From_Alphabet(unsigned count)
    {
        std::string text;
        while (text.size() < count) {
            text += std::string_view("  00119..-+\0\xff", 13)[Below(13)];
        }
        return text;
    }

    std::string Damaged(std::string price)
    {
        price[Below(ORD_PRICE_LEN)] = static_cast<char>(Below(256));
        return price;
    }

    static std::string With_Zeros(std::string price)
    {
        std::replace(price.begin(), price.end(), ' ', '0');
        return price;
    }

    std::mt19937 m_random;
};

// Every text of some characters out of these.
inline std::vector<std::string> all_texts(unsigned count, std::string_view of)
{
    std::vector<std::string> texts{""};
    for (unsigned i = 0; i < count; ++i) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            for (const char next : of) {
                longer.push_back(text + next);
            }
        }
        texts = longer;
    }
    return texts;
}
