// Texts to numbers. A clean text that fits, and nearly every one is, goes eight digits at a time; any other is walked
// character by character, counted and reported.
#include "calclib/layout.h"
#include "little_endian.h"
#include "qcapi/support.h"

#include <algorithm>
#include <limits>

using namespace qapi::calc;

namespace {

struct Body
{
    const char* text; // behind blanks and sign
    short sign;
};

const char* behind_blanks(const char* text)
{
    while (*text == ' ') {
        ++text;
    }
    return text;
}

Body body_of(const char* text)
{
    Body body{behind_blanks(text), CALC_SGNPOS};
    if (*body.text == '-' || *body.text == '+') {
        body.sign = *body.text == '-' ? CALC_SGNNEG : CALC_SGNPOS;
        body.text = behind_blanks(body.text + 1);
    }
    return body;
}

void tell_first_word(int ints)
{
    const auto first = static_cast<std::uint16_t>(GMNumIntD4 - (ints - 1) / 4);
    // Threads that parse side by side would take the word from each other's caches if each wrote it every time.
    if (POS_INI_NUM.load(std::memory_order_relaxed) != first) {
        POS_INI_NUM.store(first, std::memory_order_relaxed);
    }
}

// ---- Clean texts ---------------------------------------------------------------------------------------------------

bool eight_digits(std::uint64_t text)
{
    constexpr std::uint64_t upper_halves = 0xF0F0F0F0F0F0F0F0;
    const std::uint64_t above_nine = text + 0x0606060606060606;
    return ((text & upper_halves) | ((above_nine & upper_halves) >> 4)) == 0x3333333333333333;
}

// Neighbours are joined to pairs and pairs to words; the first character stands in the lowest byte.
void put_words(std::uint64_t text, CALC_MNUM* words)
{
    const std::uint64_t digits = text - 0x3030303030303030;
    const std::uint64_t pairs = (digits * 10 + (digits >> 8)) & 0x00FF00FF00FF00FF;
    const std::uint64_t fours = pairs * 100 + (pairs >> 16);
    words[0] = static_cast<CALC_MNUM>(fours & 0xFFFF);
    words[1] = static_cast<CALC_MNUM>(fours >> 32 & 0xFFFF);
}

// Digits and at most one point, within the system's precision; anything else leaves the number untouched.
bool parse_clean(const Body& body, CALC_MNUM* n)
{
    const std::size_t size = std::strlen(body.text);
    const void* point = std::memchr(body.text, GMDecPoint, size);
    const std::size_t ints =
        point != nullptr ? static_cast<std::size_t>(static_cast<const char*>(point) - body.text) : size;
    const std::size_t decs = point != nullptr ? size - ints - 1 : 0;
    if (ints > COMMON_CALC_INT || decs > COMMON_CALC_DEC) {
        return false;
    }
    std::array<char, COMMON_CALC_INT + COMMON_CALC_DEC> digits;
    digits.fill('0');
    std::memcpy(digits.data() + COMMON_CALC_INT - ints, body.text, ints);
    std::memcpy(digits.data() + COMMON_CALC_INT, body.text + size - decs, decs);
    const auto first = load_le<std::uint64_t>(digits.data());
    const auto second = load_le<std::uint64_t>(digits.data() + 8);
    const auto decimals = load_le<std::uint64_t>(digits.data() + 16);
    if (!eight_digits(first) || !eight_digits(second) || !eight_digits(decimals)) {
        return false;
    }
    n[CALC_SGN] = body.sign;
    put_words(first, n + 1);
    put_words(second, n + 3);
    put_words(decimals, n + 5);
    n[7] = 0;
    tell_first_word(static_cast<int>(ints));
    return true;
}

// ---- Any text ------------------------------------------------------------------------------------------------------

int digit(char c)
{
    return ascii_digit(c) ? c - '0' : 0;
}

const char* parse_integers(const char* text, int ints, CALC_MNUM* n)
{
    int index = GMNumIntD4 - (ints - 1) / 4;
    int word = 0;
    for (int left = ints - 1; left >= 0; --left) {
        word = word * 10 + digit(*text++);
        if (left % 4 == 0) {
            n[index++] = static_cast<CALC_MNUM>(word);
            word = 0;
        }
    }
    return text;
}

void parse_decimals(const char* text, int decs, CALC_MNUM* n)
{
    for (int taken = 0; taken < decs; ++taken) {
        constexpr std::array<int, 4> weights{1000, 100, 10, 1};
        CALC_MNUM& word = n[GMNumIntD4 + 1 + taken / 4];
        word = static_cast<CALC_MNUM>(word + digit(text[taken]) * weights[static_cast<std::size_t>(taken % 4)]);
    }
}

int parse_any(const char* text, CALC_MNUM* n)
{
    short ints = 0;
    short decs = 0;
    short sign = 0;
    calc_chkstr(&text, &ints, &decs, &sign);
    if (ints > GMNtInt) {
        return 2;
    }
    calc_zer(n);
    n[CALC_SGN] = sign;
    tell_first_word(ints);
    const char* point = parse_integers(text, ints, n);
    parse_decimals(point + (*point != '\0' ? 1 : 0), std::min<int>(decs, GMNtDec), n);
    return 0;
}

struct Count
{
    std::size_t ints = 0;
    std::size_t decs = 0;
    bool second_point = false;
    bool invalid = false;
};

Count count_digits(const char* text)
{
    Count count;
    std::size_t* counter = &count.ints;
    for (; *text != '\0'; ++text) {
        if (*text == GMDecPoint && counter == &count.ints) {
            counter = &count.decs;
            continue;
        }
        ++*counter;
        count.second_point |= *text == GMDecPoint;
        count.invalid |= *text != GMDecPoint && !ascii_digit(*text);
    }
    return count;
}

short saturated(std::size_t count)
{
    return static_cast<short>(std::min<std::size_t>(count, std::numeric_limits<short>::max()));
}

} // namespace

int calc_chkstr(const char** text, short* ints, short* decs, short* sign)
{
    const char* given = *text;
    const Body body = body_of(given);
    const Count count = count_digits(body.text);
    *text = body.text;
    *ints = saturated(count.ints);
    *decs = saturated(count.decs);
    *sign = body.sign;
    if (count.second_point) {
        COMMON_Put_Syslog_Message(1, "Error!: Number string with more than one decimal point. \"%s\"\n", given);
    }
    if (count.invalid) {
        COMMON_Put_Syslog_Message(1, "Error!: Number string with invalid character(s). \"%s\"\n", given);
    }
    return 0;
}

int calc_stom(const char* text, CALC_MNUM* n)
{
    const bool system = GMNtInt == COMMON_CALC_INT && GMNtDec == COMMON_CALC_DEC;
    return system && parse_clean(body_of(text), n) ? 0 : parse_any(text, n);
}
