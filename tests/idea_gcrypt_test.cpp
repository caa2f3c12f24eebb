// The cipher beside libgcrypt's, block by block; the chaining is rebuilt from its blocks.
#include "crypt/idea.h"

#include "support/hex.h"
#include "support/idea_key.h"

#include <gcrypt.h>
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

namespace {

class PeerCipher
{
public:
    PeerCipher()
    {
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        Check(gcry_cipher_open(&m_handle, GCRY_CIPHER_IDEA, GCRY_CIPHER_MODE_ECB, 0));
    }
    ~PeerCipher() { gcry_cipher_close(m_handle); }
    PeerCipher(const PeerCipher&) = delete;
    PeerCipher& operator=(const PeerCipher&) = delete;

    void Use(const std::string& key) { Check(gcry_cipher_setkey(m_handle, key.data(), key.size())); }

    std::string Block(std::string block)
    {
        Check(gcry_cipher_encrypt(m_handle, block.data(), block.size(), nullptr, 0));
        return block;
    }

    std::string Unblock(std::string block)
    {
        Check(gcry_cipher_decrypt(m_handle, block.data(), block.size(), nullptr, 0));
        return block;
    }

private:
    static void Check(gcry_error_t error)
    {
        if (error != 0) {
            throw std::runtime_error(gcry_strerror(error));
        }
    }

    gcry_cipher_hd_t m_handle = nullptr;
};

class IdeaBesideGcrypt : public testing::Test
{
protected:
    std::string RandomBytes(std::size_t count)
    {
        std::string bytes(count, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(m_generator() & 255);
        }
        return bytes;
    }

    // Bytes that are mostly 0, so that many words are.
    std::string SparseBytes(std::size_t count)
    {
        std::string bytes(count, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(m_generator() % 4 == 0 ? m_generator() & 255 : 0);
        }
        return bytes;
    }

    void Compare(const std::string& key, const std::string& block)
    {
        m_peer.Use(key);
        const Schedule schedule = Expanded(key);
        ASSERT_EQ(ToHex(Ciphered(block, schedule)), ToHex(m_peer.Block(block))) << ToHex(key);
        ASSERT_EQ(ToHex(Ciphered(block, Inverted(schedule))), ToHex(m_peer.Unblock(block))) << ToHex(key);
    }

    PeerCipher m_peer;
    std::mt19937 m_generator{1991};
};

TEST_F(IdeaBesideGcrypt, AgreesOnRandomKeysAndBlocks)
{
    for (int turn = 0; turn < 10000; ++turn) {
        Compare(RandomBytes(IDEAKEYSIZE), RandomBytes(IDEABLOCKSIZE));
    }
}

TEST_F(IdeaBesideGcrypt, AgreesOnKeysAndBlocksFullOfZeros)
{
    for (int turn = 0; turn < 10000; ++turn) {
        Compare(SparseBytes(IDEAKEYSIZE), SparseBytes(IDEABLOCKSIZE));
    }
}

TEST_F(IdeaBesideGcrypt, ChainsItsBlocksFromTheKeysOwnInitialValue)
{
    for (std::size_t length = 8; length <= 1504; length += 8) {
        const std::string key = RandomBytes(IDEAKEYSIZE);
        const std::string data = RandomBytes(length);
        m_peer.Use(key);
        std::string chain = {key[1], key[0], key[3], key[2], key[5], key[4], key[7], key[6]};
        std::string expected;
        for (std::size_t i = 0; i < length; i += IDEABLOCKSIZE) {
            for (std::size_t j = 0; j < IDEABLOCKSIZE; ++j) {
                chain[j] = static_cast<char>(chain[j] ^ data[i + j]);
            }
            chain = m_peer.Block(chain);
            expected += chain;
        }
        ASSERT_EQ(ToHex(Encrypted(data, key)), ToHex(expected));
        ASSERT_EQ(ToHex(Decrypted(expected, key)), ToHex(data));
    }
}

} // namespace
