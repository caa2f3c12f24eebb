// Decimal arithmetic beside the compiler's own 128-bit decimals and Boost's decimal numbers, over operands of 24
// digits. After the figures comes one line an operation: how many times the peer's time ours goes into.
#include "calclib/calclib.h"
#include "ratio.h"

#include <benchmark/benchmark.h>
#include <boost/multiprecision/cpp_dec_float.hpp>

#if defined(__GNUC__) && !defined(__clang__)
#define HAVE_DECIMAL128
#include <decimal/decimal>
#endif

#include <algorithm>
#include <array>
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

void print_pass_ratio(const char* what, const char* bound, Pass peer, Pass ours, const std::vector<Operand>& a,
                      const std::vector<Operand>& b)
{
    print_ratio(
        {.what = what, .bound = bound, .operations = operands, .rounds = 401}, [&] { peer(a, b); },
        [&] { ours(a, b); });
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
    print_pass_ratio("add: _Decimal128 / calc_add", "wanted: 1.3", run_all<peer_add>, run_all<ours<calc_add>>, left,
                     right);
    print_pass_ratio("multiply: _Decimal128 / calc_mul", "wanted: 2", run_all<peer_multiply>, run_all<ours<calc_mul>>,
                     left, right);
    print_pass_ratio("multiply 16 digits: _Decimal128 / calc_mul", "to know", run_all<peer_multiply>,
                     run_all<ours<calc_mul>>, small_left, small_right);
    print_pass_ratio("divide: _Decimal128 / calc_div", "wanted: 0.8", run_all<peer_divide>, run_all<ours<calc_div>>,
                     left, right);
    print_pass_ratio("compare: _Decimal128 / calc_cmp", "wanted: 1.3", run_all<peer_compare>, run_all<ours_compare>,
                     left, right);
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
    print_pass_ratio("parse: cpp_dec_float / calc_stom", "wanted: 5", run_all<boost_parse>, run_all<ours_parse>, left,
                     right);
    print_pass_ratio("print: cpp_dec_float / calc_mtos", "wanted: 12", run_all<boost_print>, run_all<ours_print>, left,
                     right);
    return 0;
}
