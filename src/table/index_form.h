// How an index keeps a key. Keys that nothing but their bytes order are kept as numbers: the first eight bytes as one
// big-endian number, then the next eight, and zeros behind the last. Their order is that of memcmp.
#pragma once

#include "keys/idx_keys.h"
#include "little_endian.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

namespace qapi {

// The key itself, which belongs to whoever keeps it: what orders it is its class's matter. Moving it moves a pointer.
template <class KEY> class KeptKey
{
public:
    KeptKey() = default;
    explicit KeptKey(const KEY& key) : m_key(std::make_unique<KEY>(key)) {}
    KeptKey(const KeptKey& other) : m_key(other.m_key != nullptr ? std::make_unique<KEY>(*other.m_key) : nullptr) {}
    KeptKey(KeptKey&&) noexcept = default;
    KeptKey& operator=(const KeptKey& other)
    {
        if (m_key != nullptr && other.m_key != nullptr) {
            *m_key = *other.m_key; // keys of one length are copied without a new buffer
        } else if (this != &other) {
            *this = KeptKey(other);
        }
        return *this;
    }
    KeptKey& operator=(KeptKey&&) noexcept = default;
    ~KeptKey() = default;

    friend bool operator<(const KeptKey& left, const KeptKey& right) { return *left.m_key < *right.m_key; }

    // Keys are equal for an index if neither comes first.
    friend bool operator==(const KeptKey& left, const KeptKey& right)
    {
        return left.m_key != nullptr && right.m_key != nullptr && !(*left.m_key < *right.m_key) &&
               !(*right.m_key < *left.m_key);
    }

private:
    std::unique_ptr<KEY> m_key;
};

template <class KEY> struct IndexForm
{
    using Stored = KeptKey<KEY>;
    static Stored Of(const KEY& key) { return Stored(key); }
};

template <> struct IndexForm<CIdxKey>
{
    using Stored = std::uint64_t;
    static Stored Of(const CIdxKey& key) { return std::uint64_t{key.data_code} << 32 | key.rec_idx; }
};

template <class KEY>
requires(KEY::ordered_by_bytes) struct IndexForm<KEY>
{
    static constexpr std::size_t length = KEY::length;
    static constexpr std::size_t words = (length + 7) / 8;
    using Stored = std::conditional_t<words == 1, std::uint64_t, std::array<std::uint64_t, words>>;

    static Stored Of(const KEY& key)
    {
        std::array<char, words * 8> bytes{};
        std::memcpy(bytes.data(), key.m_key, length);
        std::array<std::uint64_t, words> numbers{};
        for (std::size_t word = 0; word < words; ++word) {
            numbers[word] = __builtin_bswap64(load_le<std::uint64_t>(bytes.data() + word * 8));
        }
        if constexpr (words == 1) {
            return numbers[0];
        } else {
            return numbers;
        }
    }
};

} // namespace qapi
