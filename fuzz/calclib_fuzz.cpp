// Property: over any words, texts, lengths and precisions every function gives what plain loops give, stays inside its
// arrays, and writes its first operand at no time.
// Bytes 0 and 1 give the precision (0 and 0: the system's), 2 to 7 the counts and flags, then come the words of two
// numbers, and the rest is a text.
#include "support/calc_agreement.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    int Byte()
    {
        if (m_rest.empty()) {
            return 0;
        }
        const auto value = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return value;
    }
    short Word() { return static_cast<short>(Byte() | Byte() << 8); }

    // A byte of small numbers, with a few of the largest and the smallest.
    short Count()
    {
        const int value = Byte();
        return static_cast<short>(value < 200 ? value % 50 - 5 : (value - 228) * 1170);
    }

    CalcNumber Words(int words)
    {
        CalcNumber n{};
        std::generate_n(n.begin(), words + 1, [this] { return Word(); });
        return n;
    }

    // A first byte below 128 makes digits of the words.
    CalcNumber Operand(int words)
    {
        const bool digits = Byte() < 128;
        CalcNumber n = Words(words);
        for (std::size_t i = 1; digits && i < n.size(); ++i) {
            n.at(i) = static_cast<CALC_MNUM>(static_cast<std::uint16_t>(n.at(i)) % 10000);
        }
        n[0] = digits ? static_cast<CALC_MNUM>(-(n[0] & 1)) : n[0];
        return n;
    }

    [[nodiscard]] std::string Rest() const { return std::string(m_rest); }

private:
    std::string_view m_rest;
};

void require(const std::string& difference)
{
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    int ints = input.Byte() % 33;
    int decs = input.Byte() % (33 - ints);
    if (ints + decs == 0) {
        ints = COMMON_CALC_INT;
        decs = COMMON_CALC_DEC;
    }
    calc_set_precision(static_cast<short>(ints), static_cast<short>(decs));
    const CalcAgreement agreement(ints, decs);
    const int factor = input.Word();
    const short len = input.Count();
    const short shown = input.Count();
    const int flags = input.Byte();
    const CalcNumber a = input.Operand(agreement.Model().Words());
    const CalcNumber b = input.Operand(agreement.Model().Words());
    require(agreement.Pair(a, b, factor * (flags & 4) / 4, shown));
    require(agreement.Print(a, len, shown, (flags & 1) != 0, (flags & 2) != 0));
    require(agreement.Text(input.Rest()));
    return 0;
}
