// The arithmetic against the stored vectors, which come from a model of its own (tests/data/make_mp_vectors.py).
#include "crypt/mp.h"
#include "support/mp_operand.h"
#include "support/vector_file.h"

#include <gtest/gtest.h>

#include <map>

namespace {

class Row
{
public:
    explicit Row(const VectorLine& line) : m_line(line) {}

    [[nodiscard]] Operand number(std::size_t operand) const { return Operand(from_hex(m_line.operands[operand + 1])); }
    [[nodiscard]] unsigned word(std::size_t operand) const
    {
        return static_cast<unsigned>(from_hex(m_line.operands[operand + 1]));
    }
    void expect_number(std::size_t result, const Operand& number) const
    {
        EXPECT_EQ(number.value(), from_hex(m_line.results[result]));
    }
    void expect_word(std::size_t result, int value) const
    {
        const std::string& text = m_line.results[result];
        EXPECT_EQ(value, text[0] == '-' ? std::stoi(text) : static_cast<int>(from_hex(text)));
    }

private:
    const VectorLine& m_line;
};

void addc(const Row& row)
{
    Operand r = row.number(0);
    row.expect_word(1, static_cast<int>(mp_addc(r, row.number(1), row.word(2))));
    row.expect_number(0, r);
}

void subb(const Row& row)
{
    Operand r = row.number(0);
    row.expect_word(1, static_cast<int>(mp_subb(r, row.number(1), row.word(2))));
    row.expect_number(0, r);
}

void rotate(const Row& row)
{
    Operand r = row.number(0);
    row.expect_word(1, static_cast<int>(mp_rotate_left(r, row.word(1))));
    row.expect_number(0, r);
}

void neg(const Row& row)
{
    Operand r = row.number(0);
    mp_neg(r);
    row.expect_number(0, r);
}

void mult(const Row& row)
{
    Operand product;
    mp_mult(product, row.number(0), row.number(1));
    row.expect_number(0, product);
}

void udiv(const Row& row)
{
    Operand remainder;
    Operand quotient;
    mp_udiv(remainder, quotient, row.number(0), row.number(1));
    row.expect_number(0, remainder);
    row.expect_number(1, quotient);
    mp_mod(quotient, row.number(0), row.number(1));
    row.expect_number(0, quotient);
}

void shortmod(const Row& row)
{
    row.expect_word(0, mp_shortmod(row.number(0), static_cast<word16>(row.word(1))));
}

void bits(const Row& row)
{
    row.expect_word(0, countbits(row.number(0)));
    row.expect_word(1, significance(row.number(0)));
}

void modexp(const Row& row)
{
    Operand result;
    row.expect_word(1, mp_modexp(result, row.number(0), row.number(1), row.number(2)));
    row.expect_number(0, result);
}

void modmult(const Row& row)
{
    const Operand modulus = row.number(2);
    ASSERT_EQ(stage_merritt_modulus(modulus), 0);
    Operand product;
    merritt_modmult(product, row.number(0), row.number(1));
    merritt_burn();
    row.expect_number(0, product);
}

TEST(MpVectors, EveryLineHolds)
{
    const std::map<std::string, void (*)(const Row&)> operations{
        {"addc", addc}, {"subb", subb},         {"rotate", rotate}, {"neg", neg},       {"mult", mult},
        {"udiv", udiv}, {"shortmod", shortmod}, {"bits", bits},     {"modexp", modexp}, {"modmult", modmult}};
    const std::vector<VectorLine> lines = read_vectors("mp_vectors.txt");
    ASSERT_GT(lines.size(), 300U);
    for (const VectorLine& line : lines) {
        SCOPED_TRACE(line.text);
        const Precision precision(static_cast<unsigned>(std::stoul(line.operands.at(0))));
        operations.at(line.operation)(Row(line));
    }
}

} // namespace
