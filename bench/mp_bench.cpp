// mp_modexp beside GMP's mpz_powm at 512 bits: an exponent of full length, as a private key without its primes would
// have it, and 65537. After the figures comes one line for each: how many times GMP's time ours is.
#include "crypt/mp.h"
#include "ratio.h"

#include <benchmark/benchmark.h>

#include <gmp.h>

#include <array>
#include <cstdio>

namespace {

constexpr int units = 18; // 16 of them are the number

using Number = std::array<unit, units>;

Number number_of_512_bits(std::uint32_t seed, unit top)
{
    Number number{};
    for (int i = 0; i < 16; ++i) {
        seed = seed * 1664525 + 1013904223;
        number[static_cast<std::size_t>(i)] = seed ^ (seed >> 16);
    }
    number[0] |= 1;
    number[15] = top;
    return number;
}

struct Operands
{
    Number base = number_of_512_bits(1, 0x70000000);
    Number exponent;
    Number modulus = number_of_512_bits(3, 0xF0000000);
};

Operands operands_of(bool full)
{
    Operands operands{.exponent = number_of_512_bits(2, 0x80000000)};
    if (!full) {
        operands.exponent = {65537};
    }
    return operands;
}

class Ours
{
public:
    explicit Ours(bool full) : m_operands(operands_of(full)) {}

    void raise()
    {
        mp_modexp(m_result.data(), m_operands.base.data(), m_operands.exponent.data(), m_operands.modulus.data());
        benchmark::DoNotOptimize(m_result);
    }
    [[nodiscard]] const Number& result() const { return m_result; }

private:
    Operands m_operands;
    Number m_result{};
};

class Gmp
{
public:
    explicit Gmp(bool full)
    {
        const Operands operands = operands_of(full);
        mpz_init(m_result);
        take(m_base, operands.base);
        take(m_exponent, operands.exponent);
        take(m_modulus, operands.modulus);
    }
    ~Gmp() { mpz_clears(m_result, m_base, m_exponent, m_modulus, nullptr); }
    Gmp(const Gmp&) = delete;
    Gmp& operator=(const Gmp&) = delete;

    void raise()
    {
        mpz_powm(m_result, m_base, m_exponent, m_modulus);
        benchmark::DoNotOptimize(m_result);
    }
    [[nodiscard]] Number result() const
    {
        Number number{};
        mpz_export(number.data(), nullptr, -1, sizeof(unit), 0, 0, m_result);
        return number;
    }

private:
    static void take(mpz_t to, const Number& from)
    {
        mpz_init(to);
        mpz_import(to, from.size(), -1, sizeof(unit), 0, 0, from.data());
    }

    mpz_t m_result, m_base, m_exponent, m_modulus;
};

template <typename Power> void run(benchmark::State& state)
{
    Power power(state.range(0) != 0);
    for ([[maybe_unused]] auto turn : state) {
        power.raise();
    }
}

BENCHMARK(run<Ours>)->ArgName("full")->Arg(1)->Arg(0);
BENCHMARK(run<Gmp>)->ArgName("full")->Arg(1)->Arg(0);

bool print_power_ratio(const char* what, bool full)
{
    Ours ours(full);
    Gmp gmp(full);
    print_ratio(
        {.what = what, .bound = "to know"}, [&ours] { ours.raise(); }, [&gmp] { gmp.raise(); });
    return ours.result() == gmp.result();
}

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    const bool equal = print_power_ratio("power of 512 bits: mp_modexp / mpz_powm", true) &&
                       print_power_ratio("power of 512 bits, exponent 65537: mp_modexp / mpz_powm", false);
    return equal ? 0 : 1;
}
