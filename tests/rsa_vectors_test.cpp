// RSA against the stored vectors, which come from a model of its own (tests/data/make_rsa_vectors.py).
#include "support/random_source.h"
#include "support/rsa_keys.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr unsigned char untouched = 0x5A;

Bytes Data(const std::string& word)
{
    return word == "-" ? Bytes{} : BytesFromHex(word);
}

// What a decryption must leave: its data, with the buffer's old contents behind them.
void ExpectData(const VectorLine& line, int result, Bytes out)
{
    Bytes expected = Data(line.results.at(1));
    expected.resize(out.size(), untouched);
    EXPECT_EQ(result, std::stoi(line.results.at(0)));
    EXPECT_EQ(out, expected);
}

class RsaVectors : public testing::TestWithParam<std::size_t>
{
protected:
    void Check(const VectorLine& line)
    {
        if (line.operation == "key") {
            key = std::make_unique<RsaKey>(line.operands);
            global_precision = key->units;
            return;
        }
        Bytes out(key->b(), untouched);
        if (line.operation == "public_decrypt") {
            const int result = key->public_decrypt(out.data(), Data(line.operands.at(0)).data());
            ExpectData(line, result, out);
        } else if (line.operation == "private_decrypt") {
            const int result = key->private_decrypt(out.data(), Data(line.operands.at(0)).data());
            ExpectData(line, result, out);
        } else if (line.operation == "private_encrypt") {
            const int result = key->private_encrypt(out.data(), Data(line.operands.at(0)));
            ExpectData(line, result, out);
        } else {
            ASSERT_EQ(line.operation, "public_encrypt");
            const RandomSource source(Data(line.operands.at(0)));
            EXPECT_EQ(key->public_encrypt(out.data(), Data(line.operands.at(1))), 0);
            EXPECT_EQ(out, Data(line.results.at(0)));
        }
    }

    Precision restored{18};
    std::unique_ptr<RsaKey> key;
};

INSTANTIATE_TEST_SUITE_P(OfKey, RsaVectors, testing::Range<std::size_t>(0, 9));

TEST_P(RsaVectors, EveryLineHolds)
{
    std::size_t keys = 0;
    int checked = 0;
    for (const VectorLine& line : read_vectors("rsa_vectors.txt")) {
        keys += line.operation == "key" ? 1 : 0;
        if (keys == GetParam() + 1) {
            SCOPED_TRACE(line.text);
            Check(line);
            ++checked;
        }
    }
    EXPECT_GT(checked, 30);
}

} // namespace
