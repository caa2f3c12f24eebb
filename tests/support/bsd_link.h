// The two ends of a connection that travels through BSD Compress, and data of several kinds to send over it.
#pragma once

#include "compress/bsd.h"
#include "support/codec_vectors.h"

#include <memory>
#include <random>
#include <tuple>
#include <utility>

struct BsdFree
{
    void operator()(void* state) const { bsd_free(state); }
};
using BsdOwner = std::unique_ptr<void, BsdFree>;

inline bsd_db& Db(const BsdOwner& state)
{
    return *static_cast<bsd_db*>(state.get());
}

// Packs codes of given widths from the most significant bit and fills the last byte with ones.
inline Bytes PackCodes(const std::vector<std::pair<unsigned, int>>& codes)
{
    std::string bits;
    for (const auto& [code, width] : codes) {
        for (int bit = width - 1; bit >= 0; --bit) {
            bits += (code >> bit & 1) != 0 ? '1' : '0';
        }
    }
    bits.resize((bits.size() + 7) / 8 * 8, '1');
    Bytes packet;
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        packet.push_back(static_cast<unsigned char>(std::stoul(bits.substr(at, 8), nullptr, 2)));
    }
    return packet;
}

// Packets of random length and of all kinds: noise, words, records and one byte over and over.
class PacketSource
{
public:
    explicit PacketSource(unsigned seed) : m_random(seed) {}

    unsigned Below(unsigned bound) { return static_cast<unsigned>(m_random() % bound); }

    Bytes Noise(std::size_t len)
    {
        Bytes packet(len);
        std::generate(packet.begin(), packet.end(), [this] { return static_cast<unsigned char>(Below(256)); });
        return packet;
    }

    Bytes Equal(std::size_t len) { return Bytes(len, static_cast<unsigned char>(Below(256))); }

    Bytes Words(std::size_t len)
    {
        static const std::vector<std::string> words = {"the ", "rate ", "of ", "exchange ", "and ", "income, "};
        std::string text;
        while (text.size() < len) {
            text += words[Below(6)];
        }
        text.resize(len);
        return BytesOf(text);
    }

    Bytes Records(std::size_t len)
    {
        std::string text;
        while (text.size() < len) {
            text += "Q" + std::string(Below(2) == 0 ? "EURUSD " : "USDMXN ") + std::to_string(1000000 + m_number++) +
                    std::to_string(17200 + Below(60)) + "0000B            ";
        }
        text.resize(len);
        return BytesOf(text);
    }

    Bytes Any(unsigned longest)
    {
        const std::size_t len = 1 + Below(longest);
        switch (Below(4)) {
        case 0:
            return Noise(len);
        case 1:
            return Words(len);
        case 2:
            return Records(len);
        default:
            return Equal(len);
        }
    }

private:
    std::mt19937 m_random;
    unsigned m_number = 0;
};

class BsdLink : public testing::Test
{
protected:
    BsdLink() { Connect(0); }

    void Connect(int debug)
    {
        bsd_comp_init(comp.get(), 3, 0, debug);
        bsd_decomp_init(decomp.get(), 3, 0, debug);
    }

    // With new states.
    void Restart()
    {
        comp.reset(bsd_comp_alloc());
        decomp.reset(bsd_decomp_alloc());
        Connect(0);
    }

    Bytes Compress(const Bytes& packet)
    {
        const std::size_t room = packet.size() * 2 + 16;
        GuardedBuffer out(room);
        const int len = bsd_compress(comp.get(), packet.data(), out.data(), static_cast<int>(packet.size()),
                                     static_cast<int>(room));
        EXPECT_TRUE(out.UntouchedFrom(static_cast<std::size_t>(len)));
        return out.First(static_cast<std::size_t>(len));
    }

    // Into a buffer of the size that the result needs and `spare` bytes more. What stands behind the data stays.
    int Decompress(const Bytes& packet, const Bytes& expected, std::size_t spare = 0)
    {
        const std::size_t room = expected.size() + BSD_OVERHEAD + spare;
        GuardedBuffer out(room);
        const int len = bsd_decompress(decomp.get(), packet.data(), static_cast<int>(packet.size()), out.data(),
                                       static_cast<int>(room));
        EXPECT_EQ(out.First(expected.size()), expected);
        EXPECT_TRUE(out.UntouchedFrom(expected.size()));
        return len;
    }

    void Send(const Bytes& packet, std::size_t spare = 0)
    {
        ASSERT_EQ(Decompress(Compress(packet), packet, spare), static_cast<int>(packet.size()) + 3);
        ExpectInStep();
    }

    void SendPlain(const Bytes& packet)
    {
        Compress(packet);
        bsd_incomp(decomp.get(), packet.data(), static_cast<int>(packet.size()));
        ExpectInStep();
    }

    // Until `max_ent` is the highest code in use: by long packets, and by such of one string at most in the end.
    void FillDictionary(PacketSource& source, unsigned max_ent = 4095)
    {
        for (int i = 0; i < 2000 && Db(comp).max_ent < max_ent; ++i) {
            ASSERT_NO_FATAL_FAILURE(Send(source.Noise(max_ent - Db(comp).max_ent > 500 ? 500 : 2)));
        }
        ASSERT_EQ(Db(comp).max_ent, max_ent);
    }

    static auto Shared(const bsd_db& db)
    {
        return std::make_tuple(db.max_ent, db.n_bits, db.in_count, db.bytes_out, db.ratio, db.checkpoint,
                               db.clear_count, db.seqno);
    }

    static auto Statistics(const bsd_db& db)
    {
        return std::make_tuple(db.comp_count, db.comp_bytes, db.incomp_count, db.incomp_bytes, db.uncomp_count,
                               db.uncomp_bytes);
    }

    template <typename Change> void ChangeBothEnds(Change change)
    {
        change(Db(comp));
        change(Db(decomp));
    }

    void ExpectInStep()
    {
        ASSERT_EQ(Shared(Db(comp)), Shared(Db(decomp)));
        ASSERT_EQ(Statistics(Db(comp)), Statistics(Db(decomp)));
    }

    BsdOwner comp{bsd_comp_alloc()};
    BsdOwner decomp{bsd_decomp_alloc()};
};
