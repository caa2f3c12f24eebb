// Decimal arithmetic beside the compiler's own 128-bit decimals and Boost's decimal numbers, over operands of 24
// digits. After the figures comes one line an operation: how many times the peer's time ours goes into.
#include "calclib.h"

#include <benchmark/benchmark.h>
#include <boost/multiprecision/cpp_dec_float.hpp>

#if defined(__GNUC__) && !defined(__clang__)
#define HAVE_DECIMAL128
#include <decimal/decimal>
#endif

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t operands = 512;

using Number = std::array<CALC_MNUM, COMMON_CALC_SIZE>;
using Boost34 = boost::multiprecision::number<boost::multiprecision::cpp_dec_float<34>>;

#ifdef HAVE_DECIMAL128
using Decimal = std::decimal::decimal128;
#else
using Decimal = int;
#endif

#ifdef HAVE_DECIMAL128
Decimal decimal_of(const std::string& text)
{
    Decimal value(0);
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            value = value * Decimal(10) + Decimal(c - '0');
        }
    }
    value = value / Decimal(100000000);
    return text[0] == '-' ? -value : value;
}
#else
Decimal decimal_of(const std::string& /*text*/)
{
    return 0;
}
#endif

// One operand in every form.
struct Operand
{
    std::string text;
    Number number;
    Decimal decimal;
    Boost34 boost34;
};

// Sixteen integer digits of which `small` leaves eight, so that products fit, and eight decimals; both signs.
std::vector<Operand> make_operands(unsigned seed, bool small)
{
    std::mt19937 random(seed);
    std::vector<Operand> made(operands);
    for (Operand& operand : made) {
        operand.text.push_back(random() % 2 != 0 ? '-' : '+');
        for (int i = 0; i < 16; ++i) {
            operand.text.push_back(small && i < 8 ? '0' : static_cast<char>('0' + random() % 10));
        }
        operand.text.push_back('.');
        for (int i = 0; i < 8; ++i) {
            operand.text.push_back(static_cast<char>('0' + random() % 10));
        }
        operand.number = {};
        calc_stom(operand.text.c_str(), operand.number.data());
        operand.decimal = decimal_of(operand.text);
        operand.boost34 = Boost34(operand.text);
    }
    return made;
}

const std::vector<Operand> left = make_operands(1, false);
const std::vector<Operand> right = make_operands(2, false);
const std::vector<Operand> small_left = make_operands(3, true);
const std::vector<Operand> small_right = make_operands(4, true);

template <int (*Operation)(const CALC_MNUM*, CALC_MNUM*)> void ours(const Operand& a, const Operand& b)
{
    Number result = b.number;
    benchmark::DoNotOptimize(Operation(a.number.data(), result.data()));
    benchmark::DoNotOptimize(result);
}

void ours_compare(const Operand& a, const Operand& b)
{
    benchmark::DoNotOptimize(calc_cmp(a.number.data(), b.number.data()));
}

void ours_parse(const Operand& a, const Operand& /*b*/)
{
    Number result;
    benchmark::DoNotOptimize(calc_stom(a.text.c_str(), result.data()));
    benchmark::DoNotOptimize(result);
}

void ours_print(const Operand& a, const Operand& /*b*/)
{
    std::array<char, 33> text;
    calc_mtos(a.number.data(), text.data(), 26, 8, 0, 0);
    benchmark::DoNotOptimize(text);
}

void boost_parse(const Operand& a, const Operand& /*b*/)
{
    Boost34 result(a.text.c_str());
    benchmark::DoNotOptimize(result);
}

void boost_print(const Operand& a, const Operand& /*b*/)
{
    std::string text = a.boost34.str(8, std::ios_base::fixed);
    benchmark::DoNotOptimize(text);
}

using Step = void (*)(const Operand& a, const Operand& b);

template <Step step> void run_all(const std::vector<Operand>& a, const std::vector<Operand>& b)
{
    for (std::size_t i = 0; i < operands; ++i) {
        step(a[i], b[i]);
    }
}

template <Step step> void run(benchmark::State& state)
{
    for ([[maybe_unused]] auto turn : state) {
        run_all<step>(left, right);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(operands));
}

template <Step step> void run_small(benchmark::State& state)
{
    for ([[maybe_unused]] auto turn : state) {
        run_all<step>(small_left, small_right);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(operands));
}

BENCHMARK(run<ours<calc_add>>)->Name("calc_add");
BENCHMARK(run_small<ours<calc_mul>>)->Name("calc_mul");
BENCHMARK(run<ours<calc_div>>)->Name("calc_div");
BENCHMARK(run<ours_compare>)->Name("calc_cmp");
BENCHMARK(run<ours_parse>)->Name("calc_stom");
BENCHMARK(run<ours_print>)->Name("calc_mtos");
BENCHMARK(run<boost_parse>)->Name("cpp_dec_float parse");
BENCHMARK(run<boost_print>)->Name("cpp_dec_float print");

using Pass = void (*)(const std::vector<Operand>& a, const std::vector<Operand>& b);

// Nanoseconds of one pass over the operands.
double pass_time(Pass pass, const std::vector<Operand>& a, const std::vector<Operand>& b)
{
    const auto start = std::chrono::steady_clock::now();
    pass(a, b);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

// The best of many rounds; the two take turns, so that both have the machine in the same mood.
void print_ratio(const char* name, const char* peer_name, Pass our_pass, Pass peer_pass, const std::vector<Operand>& a,
                 const std::vector<Operand>& b)
{
    double our_best = 1e12;
    double peer_best = 1e12;
    for (int round = 0; round < 400; ++round) {
        our_best = std::min(our_best, pass_time(our_pass, a, b));
        peer_best = std::min(peer_best, pass_time(peer_pass, a, b));
    }
    const double count = operands;
    std::printf("ratio %s: %s / ours = %.2f (%.1f ns / %.1f ns)\n", name, peer_name, peer_best / our_best,
                peer_best / count, our_best / count);
}

#ifdef HAVE_DECIMAL128

void peer_add(const Operand& a, const Operand& b)
{
    Decimal result = b.decimal + a.decimal;
    benchmark::DoNotOptimize(result);
}

void peer_multiply(const Operand& a, const Operand& b)
{
    Decimal result = b.decimal * a.decimal;
    benchmark::DoNotOptimize(result);
}

void peer_divide(const Operand& a, const Operand& b)
{
    Decimal result = b.decimal / a.decimal;
    benchmark::DoNotOptimize(result);
}

void peer_compare(const Operand& a, const Operand& b)
{
    benchmark::DoNotOptimize(a.decimal < b.decimal);
}

BENCHMARK(run<peer_add>)->Name("_Decimal128 add");
BENCHMARK(run_small<peer_multiply>)->Name("_Decimal128 multiply");
BENCHMARK(run<peer_divide>)->Name("_Decimal128 divide");
BENCHMARK(run<peer_compare>)->Name("_Decimal128 compare");

void print_arithmetic()
{
    const char* peer = "_Decimal128";
    print_ratio("calc_add", peer, run_all<ours<calc_add>>, run_all<peer_add>, left, right);
    print_ratio("calc_mul", peer, run_all<ours<calc_mul>>, run_all<peer_multiply>, left, right);
    print_ratio("calc_mul, product fits", peer, run_all<ours<calc_mul>>, run_all<peer_multiply>, small_left,
                small_right);
    print_ratio("calc_div", peer, run_all<ours<calc_div>>, run_all<peer_divide>, left, right);
    print_ratio("calc_cmp", peer, run_all<ours_compare>, run_all<peer_compare>, left, right);
}

#else

void print_arithmetic()
{
    std::printf("note: this compiler has no _Decimal128; add, multiply, divide and compare have no peer\n");
}

#endif

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    print_arithmetic();
    print_ratio("calc_stom", "cpp_dec_float", run_all<ours_parse>, run_all<boost_parse>, left, right);
    print_ratio("calc_mtos", "cpp_dec_float", run_all<ours_print>, run_all<boost_print>, left, right);
    return 0;
}
