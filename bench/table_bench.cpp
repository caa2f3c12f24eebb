// Tables of 100,000 records beside maps of the standard library and of Abseil, which lead from the same bytes to an int
// and hold no record: an insert here copies the record and brings two or three indexes up to date.
#include "ratio.h"

#include "keys/order_keys.h"
#include "keys/plain_keys.h"
#include "records/orders.h"
#include "records/reference.h"
#include "table/table.h"

#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned records = 100'000;
constexpr int rounds = 5;

// 0 to records - 1, in random order.
std::vector<unsigned> shuffled(unsigned seed)
{
    std::vector<unsigned> numbers(records);
    std::iota(numbers.begin(), numbers.end(), 0U);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
    return numbers;
}

const std::vector<unsigned> order_of_inserts = shuffled(1);
const std::vector<unsigned> order_of_finds = shuffled(2);

// Nanoseconds of one call, each number once.
template <class Work> double each(const std::vector<unsigned>& numbers, Work work)
{
    const auto start = Clock::now();
    for (const unsigned number : numbers) {
        work(number);
    }
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / records;
}

std::size_t bytes_in_use()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

using Text = std::array<char, 16>;

// ---- What is kept ----------------------------------------------------------------------------------------------

struct Branches
{
    static constexpr const char* name = "branches by code and identity";
    using Record = CGTBranches;
    using Key = CBranchesKey;
    using Table = CTable<Record, CMap2KeyOrder<Key, CEnvCrc32Key, Record>, CTableList>;
    static constexpr int flag = TABLE_NOT_PUBLISHED;

    static Text Code(unsigned number)
    {
        Text text{};
        std::snprintf(text.data(), text.size(), "B%u", number);
        return text;
    }
    static void Put_Key(Record& branch, const Text& code)
    {
        std::memcpy(branch[CODIGO_SUCURSAL_BRANCHES].Get_Ptr(), code.data(), 8);
    }
    static void Put_Other(Record& branch, unsigned number)
    {
        std::memcpy(branch.m_data + branch.m_data_len - sizeof number, &number, sizeof number);
    }
};

struct Orders
{
    static constexpr const char* name = "orders by code";
    using Record = CGTOrder;
    using Key = COrderKey;
    using Table = CTable<Record, CMapKeyOrder<Key, Record>, CTableList>;
    static constexpr int flag = TABLE_NOT_PUBLISHED;

    static Text Code(unsigned number)
    {
        Text text{};
        std::snprintf(text.data(), text.size(), "AB12%06u", number);
        return text;
    }
    static void Put_Key(Record& order, const Text& code)
    {
        std::memcpy(order[MERCADO].Get_Ptr(), "071", 3);
        std::memcpy(order[CODIGO_POSTURA].Get_Ptr(), code.data(), 10);
        std::memcpy(order[O_D].Get_Ptr(), "D", 1);
    }
    static void Put_Other(Record& order, unsigned number)
    {
        std::memcpy(order.m_data + order.m_data_len - sizeof number, &number, sizeof number);
    }
};

// A mailbox: idx values are given out by the table, one behind the other.
struct Mailbox
{
    static constexpr const char* name = "orders by an idx of the table's own";
    using Record = CGTOrder;
    using Key = CIdxKey;
    using Table = CTable<Record, CMapKeyOrder<Key, Record>, CTableList>;
    static constexpr int flag = TABLE_NOT_PUBLISHED | TABLE_USE_OWN_UNIQUE_IDX;
    static Text Code(unsigned /*number*/) { return {}; }
    static void Put_Key(Record& /*order*/, const Text& /*code*/) {}
    static void Put_Other(Record& order, unsigned number) { Orders::Put_Other(order, number); }
};

template <class Kind> constexpr std::size_t key_bytes()
{
    if constexpr (std::is_same_v<typename Kind::Key, CIdxKey>) {
        return sizeof(std::uint32_t);
    } else {
        return Kind::Key::length;
    }
}

template <class Kind> struct Peers
{
    using Bytes = std::array<unsigned char, key_bytes<Kind>()>;
    struct Less
    {
        bool operator()(const Bytes& left, const Bytes& right) const
        {
            return std::memcmp(left.data(), right.data(), left.size()) < 0;
        }
    };
    using Map = std::map<Bytes, int, Less>;
    using Tree = absl::btree_map<Bytes, int, Less>;
};

// ---- Measurement -----------------------------------------------------------------------------------------------

struct Times
{
    std::vector<double> map, tree, ours;
};

void print(const char* kind, const char* what, Times& times, double limit)
{
    const double map = median(times.map);
    const double tree = median(times.tree);
    const double ours = median(times.ours);
    std::printf("%s, %s: %.0f ns; std::map %.0f, absl::btree_map %.0f; ratio to std::map %.2f", kind, what, ours, map,
                tree, ours / map);
    std::printf(limit > 0 ? " (at most %.1f)\n" : "\n", limit);
}

template <class Kind> class Bench
{
    using Record = typename Kind::Record;
    using Key = typename Kind::Key;
    using Bytes = typename Peers<Kind>::Bytes;

public:
    Bench()
    {
        for (unsigned number = 0; number < 2 * records; ++number) {
            m_codes.push_back(Kind::Code(number));
        }
        for (unsigned number = 0; number < records; ++number) {
            Prepare(number);
            Key key;
            m_source.Init_Key(&key);
            Bytes bytes{};
            if constexpr (std::is_same_v<Key, CIdxKey>) {
                const unsigned big_endian = __builtin_bswap32(number);
                std::memcpy(bytes.data(), &big_endian, sizeof big_endian);
            } else {
                std::memcpy(bytes.data(), key.m_key, bytes.size());
            }
            m_bytes.push_back(bytes);
        }
    }

    void Run()
    {
        for (int round = 0; round < rounds; ++round) {
            Run_Round();
        }
        print(Kind::name, "first insert", m_first_insert, 3);
        print(Kind::name, "insert into a grown pool", m_insert, 3);
        print(Kind::name, "find by idx", m_find_by_idx, 1.2);
        print(Kind::name, "find by key", m_find_by_key, 1.2);
        print(Kind::name, "update", m_update, 0);
        print(Kind::name, "update with another key", m_update_key, 0);
        print(Kind::name, "delete", m_delete, 0);
        std::printf("%s: clearing takes %.2f ms; a record %.0f bytes; worst insert of the first fill %.2f ms (at most "
                    "20)\n",
                    Kind::name, median(m_clear), median(m_memory), *std::max_element(m_worst.begin(), m_worst.end()));
    }

private:
    void Prepare(unsigned number)
    {
        m_source[REC_IDX] = number + 1;
        Kind::Put_Key(m_source, m_codes[number]);
        Kind::Put_Other(m_source, number);
    }

    void Insert(typename Kind::Table& table, unsigned number)
    {
        Prepare(number);
        benchmark::DoNotOptimize(table.Insert_Local_Record(&m_source, nullptr));
    }

    void Run_Round()
    {
        Glb_Unic_Number = 0;
        const std::size_t before = bytes_in_use();
        const auto table = std::make_unique<typename Kind::Table>(INITIAL_TABLE_RECORDS, nullptr);
        table->Set_Table_Flag(Kind::flag);
        First_Fill(*table);
        m_memory.push_back(static_cast<double>(bytes_in_use() - before) / records);
        Clear(*table);
        Fill_All_Positions(*table);
        typename Peers<Kind>::Map map;
        typename Peers<Kind>::Tree tree;
        m_insert.ours.push_back(each(order_of_inserts, [&](unsigned number) { Insert(*table, number); }));
        m_insert.map.push_back(each(order_of_inserts, [&](unsigned number) { map.emplace(m_bytes[number], 1); }));
        m_insert.tree.push_back(each(order_of_inserts, [&](unsigned number) { tree.emplace(m_bytes[number], 1); }));
        m_first_insert.map.push_back(m_insert.map.back());
        m_first_insert.tree.push_back(m_insert.tree.back());
        Find(*table, map, tree);
        Change(*table, map, tree);
        Delete(*table, map, tree);
    }

    void First_Fill(typename Kind::Table& table)
    {
        double worst = 0;
        m_first_insert.ours.push_back(each(order_of_inserts, [&](unsigned number) {
            const auto start = Clock::now();
            Insert(table, number);
            worst = std::max(worst, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        }));
        m_worst.push_back(worst);
    }

    void Clear(typename Kind::Table& table)
    {
        const auto start = Clock::now();
        table.Delete_All_Records();
        m_clear.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }

    // Positions that were never taken come first; once there are none, a record finds an object that is there.
    void Fill_All_Positions(typename Kind::Table& table)
    {
        for (const unsigned number : order_of_inserts) {
            Insert(table, number);
        }
        table.Delete_All_Records();
        Glb_Unic_Number = 0;
    }

    template <class Map, class Tree> void Find(typename Kind::Table& table, Map& map, Tree& tree)
    {
        std::map<std::uint32_t, int> idx_map;
        absl::btree_map<std::uint32_t, int> idx_tree;
        for (const unsigned number : order_of_inserts) {
            idx_map.emplace(number + 1, 1);
            idx_tree.emplace(number + 1, 1);
        }
        m_find_by_idx.ours.push_back(
            each(order_of_finds, [&](unsigned number) { benchmark::DoNotOptimize(table.Find_By_Idx(number + 1)); }));
        m_find_by_idx.map.push_back(
            each(order_of_finds, [&](unsigned number) { benchmark::DoNotOptimize(idx_map.find(number + 1)->second); }));
        m_find_by_idx.tree.push_back(each(
            order_of_finds, [&](unsigned number) { benchmark::DoNotOptimize(idx_tree.find(number + 1)->second); }));
        Find_By_Key(table);
        m_find_by_key.map.push_back(each(
            order_of_finds, [&](unsigned number) { benchmark::DoNotOptimize(map.find(m_bytes[number])->second); }));
        m_find_by_key.tree.push_back(each(
            order_of_finds, [&](unsigned number) { benchmark::DoNotOptimize(tree.find(m_bytes[number])->second); }));
    }

    void Find_By_Key(typename Kind::Table& table)
    {
        Key key;
        m_find_by_key.ours.push_back(each(order_of_finds, [&](unsigned number) {
            if constexpr (std::is_same_v<Key, CIdxKey>) {
                benchmark::DoNotOptimize(table.Find_By_Idx(number + 1));
            } else {
                key.Init(reinterpret_cast<const char*>(m_bytes[number].data()));
                benchmark::DoNotOptimize(table.Find_NKey_Record(&key, 1));
            }
        }));
    }

    template <class Map, class Tree> void Change(typename Kind::Table& table, Map& map, Tree& tree)
    {
        m_update.ours.push_back(each(order_of_finds, [&](unsigned number) {
            Prepare(number);
            Kind::Put_Other(m_source, ~number);
            table.Update_Local_Record(&m_source);
        }));
        m_update.map.push_back(each(order_of_finds, [&](unsigned number) { map.find(m_bytes[number])->second = 2; }));
        m_update.tree.push_back(each(order_of_finds, [&](unsigned number) { tree.find(m_bytes[number])->second = 2; }));
        m_update_key.ours.push_back(each(order_of_finds, [&](unsigned number) {
            Prepare(number);
            Kind::Put_Key(m_source, m_codes[number + records]);
            table.Update_Local_Record(&m_source);
        }));
        const auto move = [this](auto& index, unsigned number) {
            index.erase(m_bytes[number]);
            index.emplace(changed(m_bytes[number]), 3);
        };
        m_update_key.map.push_back(each(order_of_finds, [&](unsigned number) { move(map, number); }));
        m_update_key.tree.push_back(each(order_of_finds, [&](unsigned number) { move(tree, number); }));
    }

    template <class Map, class Tree> void Delete(typename Kind::Table& table, Map& map, Tree& tree)
    {
        m_delete.ours.push_back(each(order_of_finds, [&](unsigned number) {
            m_source[REC_IDX] = number + 1;
            table.Delete_Local_Record(&m_source);
        }));
        m_delete.map.push_back(each(order_of_finds, [&](unsigned number) { map.erase(changed(m_bytes[number])); }));
        m_delete.tree.push_back(each(order_of_finds, [&](unsigned number) { tree.erase(changed(m_bytes[number])); }));
    }

    static Bytes changed(Bytes bytes)
    {
        bytes[0] ^= 0x40;
        return bytes;
    }

    Record m_source;
    std::vector<Text> m_codes; // those of the records, and those that they change to
    std::vector<Bytes> m_bytes;
    Times m_first_insert, m_insert, m_find_by_idx, m_find_by_key, m_update, m_update_key, m_delete;
    std::vector<double> m_clear, m_memory, m_worst;
};

void insert_and_delete_an_order(benchmark::State& state)
{
    Mailbox::Table table(INITIAL_TABLE_RECORDS, nullptr);
    table.Set_Table_Flag(Mailbox::flag);
    CGTOrder source;
    for ([[maybe_unused]] auto turn : state) {
        benchmark::DoNotOptimize(table.Delete_Local_Record(table.Insert_Local_Record(&source, nullptr)));
    }
}
BENCHMARK(insert_and_delete_an_order);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    Bench<Branches>().Run();
    Bench<Orders>().Run();
    Bench<Mailbox>().Run();
    return 0;
}
