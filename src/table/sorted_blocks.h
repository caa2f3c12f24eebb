// A sorted sequence of keys, each with a number: the positions of a table's records by one of their keys.
//
// The sequence is cut into blocks. A search goes over the blocks' first keys, which lie side by side, and then over the
// keys of one block: two short stretches of memory, where a tree of nodes would touch one cache line at each level.
//
//     m_firsts   | first key of block 0 | first key of block 1 | ...
//     block 0    | keys, in order       | numbers              |
//
// A full block is halved, but one that grows at the end of the sequence is left full and followed by an empty one:
// rising keys, which an idx is, fill their blocks. Blocks that fall empty go, and small neighbours merge, so that a
// sequence from which the front goes as its end grows doesn't grow.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qapi {

// `Stored` has a default, an assignment, a move, == and <. A block of 64 words of keys is half a kB: larger ones find
// no faster, and move more at each insert.
template <class Stored, std::size_t capacity = 64> class SortedBlocks
{
public:
    static constexpr int none = -1;

    // A walk in the order of the keys. It survives changes of the sequence: it then goes on behind the key it stood at.
    class Walk
    {
        friend class SortedBlocks;
        Stored m_key{};
        std::size_t m_block = 0;
        std::size_t m_at = 0;
        std::uint64_t m_change = 0;
        bool m_under_way = false;
    };

    [[nodiscard]] std::size_t Size() const { return m_size; }
    [[nodiscard]] std::size_t Blocks() const { return m_blocks.size(); }

    // The key's number, `none` if it isn't there.
    [[nodiscard]] int Find(const Stored& key) const
    {
        const Spot spot = Search(key);
        return spot.found ? m_blocks[spot.block]->numbers[spot.at] : none;
    }

    // Gives the key this number, whether it was there or not.
    void Put(const Stored& key, int number)
    {
        Spot spot = Search(key);
        if (spot.found) {
            m_blocks[spot.block]->numbers[spot.at] = number;
            return;
        }
        ++m_change;
        Make_Room(spot);
        Block& block = *m_blocks[spot.block];
        Shift(block, spot.at, block.count, spot.at + 1);
        block.keys[spot.at] = key;
        block.numbers[spot.at] = number;
        ++block.count;
        ++m_size;
        if (spot.at == 0) {
            m_firsts[spot.block] = key;
        }
    }

    // Takes the key out if this is its number. False if not.
    bool Erase(const Stored& key, int number)
    {
        const Spot spot = Search(key);
        if (!spot.found || m_blocks[spot.block]->numbers[spot.at] != number) {
            return false;
        }
        Erase_At(spot.block, spot.at);
        return true;
    }

    // Takes all keys of this number out, by going through all there are: where they stand, and not where their order
    // says.
    void Erase_Number(int number)
    {
        for (std::size_t block = 0; block < m_blocks.size();) {
            const auto& numbers = m_blocks[block]->numbers;
            const auto end = numbers.begin() + static_cast<std::ptrdiff_t>(m_blocks[block]->count);
            const auto found = std::find(numbers.begin(), end, number);
            if (found == end) {
                ++block;
                continue;
            }
            Erase_At(block, static_cast<std::size_t>(found - numbers.begin()));
            block -= block == 0 ? 0 : 1; // it may have joined the one before it
        }
    }

    void Clear()
    {
        ++m_change;
        m_firsts.clear();
        m_blocks.clear();
        m_size = 0;
    }

    // The number of the first key, `none` if there is none.
    int Begin(Walk& walk) const
    {
        walk.m_under_way = true;
        return Stand(walk, 0, 0);
    }

    // The number of the next one. Stays at the end once it is there.
    int Next(Walk& walk) const
    {
        if (!walk.m_under_way) {
            return none;
        }
        if (walk.m_change == m_change) {
            return Stand(walk, walk.m_block, walk.m_at + 1);
        }
        const Spot spot = Search(walk.m_key);
        return Stand(walk, spot.block, spot.found ? spot.at + 1 : spot.at);
    }

    // All keys and their numbers in the order of the keys; the sequence stays as it is meanwhile.
    template <class Function> void For_Each(Function function) const
    {
        for (const auto& block : m_blocks) {
            for (std::size_t at = 0; at < block->count; ++at) {
                function(block->keys[at], block->numbers[at]);
            }
        }
    }

private:
    struct Block
    {
        std::size_t count = 0;
        std::array<Stored, capacity> keys{};
        std::array<int, capacity> numbers{};
    };

    // Where a key is, or where it would stand.
    struct Spot
    {
        std::size_t block = 0;
        std::size_t at = 0;
        bool found = false;
    };

    // The first of `count` keys that isn't below `key`. Each step halves without a jump that could be foretold wrongly.
    static const Stored* Lower_Bound(const Stored* keys, std::size_t count, const Stored& key)
    {
        while (count > 1) {
            const std::size_t half = count / 2;
            keys += keys[half - 1] < key ? half : 0;
            count -= half;
        }
        return keys + (count == 1 && *keys < key ? 1 : 0);
    }

    // A search in a block goes from cache line to cache line, each known only once the one before is there. Asking for
    // several at a time costs one wait for memory in place of four.
    static void Fetch(const Block& block)
    {
        constexpr std::size_t lines = 8;
        const auto* begin = reinterpret_cast<const char*>(block.keys.data());
        for (std::size_t line = 0; line < lines; ++line) {
            __builtin_prefetch(begin + line * (sizeof(block.keys) / lines));
        }
    }

    [[nodiscard]] Spot Search(const Stored& key) const
    {
        if (m_latest_change == m_change && m_latest_key == key) {
            return m_latest; // an insert asks what the look-up before it has found
        }
        m_latest = Search_Anew(key);
        m_latest_key = key;
        m_latest_change = m_change;
        return m_latest;
    }

    [[nodiscard]] Spot Search_Anew(const Stored& key) const
    {
        if (m_blocks.empty()) {
            return {};
        }
        const Stored* first = Lower_Bound(m_firsts.data(), m_firsts.size(), key);
        auto index = static_cast<std::size_t>(first - m_firsts.data());
        if (index < m_firsts.size() && *first == key) {
            return {index, 0, true};
        }
        index -= index == 0 ? 0 : 1;
        const Block& block = *m_blocks[index];
        Fetch(block);
        const Stored* found = Lower_Bound(block.keys.data(), block.count, key);
        const auto at = static_cast<std::size_t>(found - block.keys.data());
        return {index, at, at < block.count && *found == key};
    }

    int Stand(Walk& walk, std::size_t block, std::size_t at) const
    {
        if (block < m_blocks.size() && at >= m_blocks[block]->count) {
            ++block;
            at = 0;
        }
        if (block >= m_blocks.size()) {
            walk.m_under_way = false;
            return none;
        }
        walk.m_key = m_blocks[block]->keys[at];
        walk.m_block = block;
        walk.m_at = at;
        walk.m_change = m_change;
        return m_blocks[block]->numbers[at];
    }

    // ---- Changes -----------------------------------------------------------------------------------------------

    // Moves the entries from `begin` to `end` so that the first of them stands at `to`.
    static void Shift(Block& block, std::size_t begin, std::size_t end, std::size_t to)
    {
        const auto move = [=](auto& from) {
            const auto first = from.begin() + static_cast<std::ptrdiff_t>(begin);
            const auto last = from.begin() + static_cast<std::ptrdiff_t>(end);
            if (to > begin) {
                std::move_backward(first, last, last + static_cast<std::ptrdiff_t>(to - begin));
            } else {
                std::move(first, last, from.begin() + static_cast<std::ptrdiff_t>(to));
            }
        };
        move(block.keys);
        move(block.numbers);
    }

    static void Append(Block& to, Block& from, std::size_t begin)
    {
        const auto append = [&](auto& target, auto& source) {
            std::move(source.begin() + static_cast<std::ptrdiff_t>(begin),
                      source.begin() + static_cast<std::ptrdiff_t>(from.count),
                      target.begin() + static_cast<std::ptrdiff_t>(to.count));
        };
        append(to.keys, from.keys);
        append(to.numbers, from.numbers);
        to.count += from.count - begin;
        from.count = begin;
    }

    void Insert_Block(std::size_t index)
    {
        const auto offset = static_cast<std::ptrdiff_t>(index);
        m_blocks.insert(m_blocks.begin() + offset, std::make_unique<Block>());
        m_firsts.insert(m_firsts.begin() + offset, Stored{});
    }

    void Remove_Block(std::size_t index)
    {
        const auto offset = static_cast<std::ptrdiff_t>(index);
        m_blocks.erase(m_blocks.begin() + offset);
        m_firsts.erase(m_firsts.begin() + offset);
    }

    // Sees to it that the spot's block takes one more entry; the spot may move to a new block.
    void Make_Room(Spot& spot)
    {
        if (m_blocks.empty()) {
            Insert_Block(0);
            return;
        }
        if (m_blocks[spot.block]->count < capacity) {
            return;
        }
        Insert_Block(spot.block + 1);
        if (spot.block + 2 == m_blocks.size() && spot.at == capacity) {
            spot = {spot.block + 1, 0, false};
            return;
        }
        constexpr std::size_t half = capacity / 2;
        Append(*m_blocks[spot.block + 1], *m_blocks[spot.block], half);
        m_firsts[spot.block + 1] = m_blocks[spot.block + 1]->keys[0];
        if (spot.at > half) {
            spot = {spot.block + 1, spot.at - half, false};
        }
    }

    void Erase_At(std::size_t index, std::size_t at)
    {
        ++m_change;
        Block& block = *m_blocks[index];
        Shift(block, at + 1, block.count, at);
        --block.count;
        --m_size;
        if (block.count == 0) {
            Remove_Block(index);
            return;
        }
        if (at == 0) {
            m_firsts[index] = block.keys[0];
        }
        if (!Merge_With_Next(index) && index != 0) {
            Merge_With_Next(index - 1);
        }
    }

    // Two neighbours that together fill no more than half a block become one.
    bool Merge_With_Next(std::size_t index)
    {
        if (index + 1 >= m_blocks.size() || m_blocks[index]->count + m_blocks[index + 1]->count > capacity / 2) {
            return false;
        }
        Append(*m_blocks[index], *m_blocks[index + 1], 0);
        Remove_Block(index + 1);
        return true;
    }

    std::vector<Stored> m_firsts; // the first key of each block
    std::vector<std::unique_ptr<Block>> m_blocks;
    std::size_t m_size = 0;
    std::uint64_t m_change = 1; // counts what moves entries

    mutable Stored m_latest_key{};
    mutable Spot m_latest;
    mutable std::uint64_t m_latest_change = 0;
};

} // namespace qapi
