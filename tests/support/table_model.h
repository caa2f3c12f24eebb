// What a table must hold after each change, kept in plain maps: positions by idx, by key and by identity, a queue of
// free positions, and the lines of the log. `Key` gives a city's key 1 as bytes in their order.
#pragma once

#include "support/table_fixture.h"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct ModelRules
{
    std::string (*key)(unsigned idx, const std::string& code);
    bool own_idx = false;          // flag 8
    bool tells = true;             // no flag 16
    bool two_keys = false;         // the second is the identity
    bool identities_given = false; // m_use_crc32_computing
    bool key_is_idx = false;
};

struct ModelCity
{
    unsigned idx = 0;
    std::string code;
    std::string name;
    DLONG in_buffer;
    DLONG identity;
    unsigned number = 0;
};

class TableModel
{
public:
    explicit TableModel(const ModelRules& rules) : m_rules(rules) { Grow(6); }

    // ---- Changes ----
    int Insert(const ModelCity& from)
    {
        const int pos = Take();
        ModelCity& city = m_cities[pos];
        city = from;
        city.identity = {};
        Set_Identity(pos, from.in_buffer);
        city.number = Next_Number();
        if (m_rules.own_idx) {
            city.idx = Glb_number;
        } else {
            Make_Room(pos, true);
        }
        Add(pos);
        last_operation = OPER_INSERT;
        return pos;
    }

    // As a file's records come: any idx, which a generated one replaces.
    int Load(const ModelCity& from)
    {
        const int pos = Take();
        ModelCity& city = m_cities[pos];
        city = from;
        city.identity = {};
        m_idx_means_something = false;
        Set_Identity(pos, {});
        m_idx_means_something = true;
        city.number = from.number;
        Make_Room(pos, false);
        city.idx = Generate();
        Add(pos);
        return pos;
    }

    int Update(const ModelCity& from)
    {
        const auto found = by_idx.find(from.idx);
        if (found == by_idx.end()) {
            return -1;
        }
        const int pos = found->second;
        ModelCity& city = m_cities[pos];
        const std::string old_key = Key(city);
        const std::string old_identity = Identity_Key(city.identity);
        const unsigned number = city.number;
        const DLONG identity = city.identity;
        city = from;
        city.number = number;
        city.identity = identity;
        Set_Identity(pos, from.in_buffer);
        Make_Room(pos, true);
        Move(by_key, old_key, Key(city), pos);
        if (m_rules.two_keys) {
            Move(by_identity, old_identity, Identity_Key(city.identity), pos);
        }
        last_operation = OPER_UPDATE;
        return pos;
    }

    // The record of a position got this code and name in its place.
    int Update_In_Place(int pos, const std::string& code, const std::string& name)
    {
        ModelCity& city = m_cities[pos];
        const std::string old_key = Key(city);
        const std::string old_identity = Identity_Key(city.identity);
        city.code = code;
        city.name = name;
        const auto found = by_key.find(Key(city));
        const bool key_changed = found == by_key.end() || found->second != pos;
        if (key_changed) {
            Tell("Error. Record updating has changed the idx=" + std::to_string(city.idx) +
                 ", Table=0, Record=" + Shown(city));
        }
        Set_Identity(pos, city.in_buffer);
        Make_Room(pos, true);
        if (key_changed) {
            Move(by_key, old_key, Key(city), pos);
        }
        if (m_rules.two_keys) {
            Move(by_identity, old_identity, Identity_Key(city.identity), pos);
        }
        last_operation = OPER_UPDATE;
        return pos;
    }

    int Delete(unsigned idx)
    {
        const auto found = by_idx.find(idx);
        if (found == by_idx.end()) {
            return -1;
        }
        const int pos = found->second;
        Remove(pos);
        return pos;
    }

    void Delete_All()
    {
        for (const auto& [key, pos] : by_key) {
            Release(pos);
        }
        while (!m_cities.empty()) {
            Release(m_cities.begin()->first);
        }
        by_idx.clear();
        by_key.clear();
        by_identity.clear();
        last_operation = OPER_DELETE;
    }

    // ---- What must be there ----
    [[nodiscard]] std::string Key(const ModelCity& city) const { return m_rules.key(city.idx, city.code); }
    static std::string Identity_Key(DLONG identity)
    {
        std::string bytes(8, '\0');
        for (unsigned i = 0; i < 4; ++i) {
            bytes[i] = static_cast<char>(identity.low >> (8 * i));
            bytes[i + 4] = static_cast<char>(identity.high >> (8 * i));
        }
        return bytes;
    }

    struct ByBytes
    {
        bool operator()(const std::string& left, const std::string& right) const
        {
            return std::lexicographical_compare(
                left.begin(), left.end(), right.begin(), right.end(),
                [](char a, char b) { return static_cast<unsigned char>(a) < static_cast<unsigned char>(b); });
        }
    };
    using Index = std::map<std::string, int, ByBytes>;

    std::map<unsigned, int> by_idx;
    Index by_key;
    Index by_identity;
    std::map<int, ModelCity> m_cities; // by position
    std::deque<int> free;
    int positions = 0;
    int most_used = 0;
    int last_operation = OPER_UNDEF;
    unsigned Glb_number = 0; // the process's running number
    unsigned last_idx = 0;
    unsigned lowest = 0;
    unsigned end = 0;
    bool idx_error_told = false;
    std::vector<std::string> lines;

private:
    void Tell(const std::string& text) { lines.push_back("1 " + text); }
    static std::string Shown(const ModelCity& city)
    {
        // The data begin with the code, a letter and a filler, both 0: the text ends there.
        return city.code;
    }

    void Grow(int to)
    {
        for (; positions < to; ++positions) {
            free.push_back(positions);
        }
    }

    int Take()
    {
        const int pos = free.front();
        free.pop_front();
        m_cities[pos] = {};
        most_used = std::max(most_used, static_cast<int>(m_cities.size()));
        if (free.empty()) {
            Grow(positions * 2);
        }
        if (positions - static_cast<int>(m_cities.size()) <= 15) {
            Grow(positions * 2);
        }
        return pos;
    }

    void Release(int pos)
    {
        if (m_cities.erase(pos) != 0) {
            free.push_back(pos);
        }
    }

    template <class Map, class MapKey> static void Erase_If_Leads(Map& map, const MapKey& key, int pos)
    {
        const auto found = map.find(key);
        if (found != map.end() && found->second == pos) {
            map.erase(found);
        }
    }
    static void Move(Index& index, const std::string& from, const std::string& to, int pos)
    {
        Erase_If_Leads(index, from, pos);
        index[to] = pos;
    }

    void Add(int pos)
    {
        const ModelCity& city = m_cities[pos];
        by_idx[city.idx] = pos;
        by_key[Key(city)] = pos;
        if (m_rules.two_keys) {
            by_identity[Identity_Key(city.identity)] = pos;
        }
    }

    void Remove(int pos)
    {
        const ModelCity& city = m_cities[pos];
        Erase_If_Leads(by_idx, city.idx, pos);
        Erase_If_Leads(by_key, Key(city), pos);
        Erase_If_Leads(by_identity, Identity_Key(city.identity), pos);
        Release(pos);
        last_operation = OPER_DELETE;
    }

    template <class Map, class MapKey> static int Leads_To(const Map& map, const MapKey& key)
    {
        const auto found = map.find(key);
        return found != map.end() ? found->second : -1;
    }

    void Make_Room(int pos, bool check_idx)
    {
        const ModelCity city = m_cities[pos];
        const int same_idx = Leads_To(by_idx, city.idx);
        if (check_idx && same_idx >= 0 && same_idx != pos) {
            if (m_rules.tells) {
                Tell("Error. Record to be inserted/updated has the same idx (" + std::to_string(city.idx) +
                     ") of an existing one. Table 0, Record =" + Shown(city));
            }
            Remove(same_idx);
        }
        Make_Room_In(by_key, Key(city), 1, pos);
        if (m_rules.two_keys) {
            Make_Room_In(by_identity, Identity_Key(city.identity), 2, pos);
        }
    }

    void Make_Room_In(const Index& index, const std::string& key, int number, int pos)
    {
        const int other = Leads_To(index, key);
        if (other < 0 || other == pos) {
            return;
        }
        if (m_rules.tells) {
            Tell("Error. Record received to be inserted/updated has the same n key (" + std::to_string(number) +
                 ") of an existing one. Existing idx=" + std::to_string(m_cities[other].idx) +
                 ", Table 0, Record =" + Shown(m_cities[pos]));
        }
        Remove(other);
    }

    // ---- Identity ----
    static unsigned Crc_Of(const ModelCity& city)
    {
        std::array<char, 135> data{};
        city.code.copy(data.data(), 3);
        city.name.copy(data.data() + 5, 20);
        return COMMON_Get_Crc32(data.data(), 135, 0);
    }

    void Set_Identity(int pos, DLONG given)
    {
        constexpr unsigned ours = 7;
        ModelCity& city = m_cities[pos];
        const DLONG before = city.identity;
        if (m_rules.identities_given && !given.is_zero()) {
            city.identity = given;
        } else if (city.in_buffer.high != 0 && city.in_buffer.high != ours) {
            city.identity = city.in_buffer;
            return;
        } else {
            city.identity = {Crc_Of(city), ours};
        }
        if (city.identity == before) {
            return;
        }
        while (Is_Taken(city, pos)) {
            ++city.identity.low;
            city.identity.high = ours;
        }
        city.in_buffer = city.identity;
    }

    [[nodiscard]] bool Is_Taken(const ModelCity& city, int pos) const
    {
        const int holder = Leads_To(by_identity, Identity_Key(city.identity));
        if (holder < 0 || holder == pos) {
            return false;
        }
        return (holder != Leads_To(by_idx, city.idx) || !m_idx_means_something) &&
               holder != Leads_To(by_key, Key(city));
    }

    // ---- Numbers ----
    unsigned Next_Number()
    {
        do {
            ++Glb_number;
        } while (Glb_number == 0 || (m_rules.own_idx && by_idx.count(Glb_number) != 0));
        return Glb_number;
    }

    // The first free idx behind the latest, round the end of the range; the lowest if there is none.
    unsigned Generate()
    {
        ++last_idx;
        const unsigned start = last_idx < lowest || last_idx >= end ? lowest : last_idx;
        for (unsigned step = 0; step < end - lowest; ++step) {
            const unsigned idx = lowest + (start - lowest + step) % (end - lowest);
            if (by_idx.count(idx) == 0) {
                return last_idx = idx;
            }
        }
        if (!idx_error_told) {
            idx_error_told = true;
            Tell("Range limit for global table records (" + std::to_string(end - lowest + 1) +
                 ") has been reached. !!!");
        }
        return lowest;
    }

    ModelRules m_rules;
    bool m_idx_means_something = true; // not that of a stored record
};
