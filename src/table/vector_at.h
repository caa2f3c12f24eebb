// Growing pools of objects that keep their place: a pointer to an object stays good as long as the pool lives.
//
// The object of a position is made when the position is first taken or asked for, and not when the pool grows: a pool
// that doubles to 200,000 orders would stall the session for as long as that takes.
#pragma once

#include <memory>
#include <vector>

// A pool of which positions are taken and given back. Those that were given back are taken again in the order in which
// they came; the object keeps what it holds until then.
template <class T> class CVectorAt
{
public:
    CVectorAt(int initial_number, char* type) : T_type(type) { Set_New_Limit(initial_number > 0 ? initial_number : 1); }

    // No check: `position` is below max_number.
    T& operator[](int position)
    {
        auto& object = T_ptr[static_cast<unsigned>(position)];
        if (object == nullptr) {
            object = std::make_unique<T>(T_type);
        }
        return *object;
    }

    [[nodiscard]] bool Has(int position) const { return position >= 0 && position < max_number; }
    [[nodiscard]] bool Is_Used(int position) const { return Has(position) && Next(position) == in_use; }

    // Takes a position. More than `least_free` stay free behind it, or the pool has doubled.
    int Use_One()
    {
        const int taken = first_free;
        ++cur_used;
        max_used = cur_used > max_used ? cur_used : max_used;
        first_free = Next(taken);
        Link(taken) = in_use;
        if (first_free == end_of_list) {
            Set_New_Limit(max_number * 2);
        }
        if (max_number - cur_used <= least_free) {
            Set_New_Limit(max_number * 2);
        }
        Fetch(first_free);
        return taken;
    }

    // Gives it back. One that isn't in use stays as it is: a second place in the list of free ones would break it.
    void Release(int position)
    {
        if (!Is_Used(position)) {
            return;
        }
        --cur_used;
        Link(last_free) = position;
        Link(position) = end_of_list;
        last_free = position;
    }

    // Makes more positions; no effect unless the number grows.
    void Set_New_Limit(int new_max_number)
    {
        if (new_max_number <= max_number) {
            return;
        }
        T_ptr.resize(static_cast<unsigned>(new_max_number));
        At_ptr.resize(static_cast<unsigned>(new_max_number));
        for (int position = max_number; position < new_max_number; ++position) {
            Link(position) = position + 1;
        }
        if (first_free == end_of_list) {
            first_free = max_number;
        } else {
            Link(last_free) = max_number;
        }
        last_free = new_max_number - 1;
        Link(last_free) = end_of_list;
        max_number = new_max_number;
    }

    // The free position behind this one, or one of the two marks.
    [[nodiscard]] int Next(int position) const { return At_ptr[static_cast<unsigned>(position)]; }

    static constexpr int end_of_list = -1;
    static constexpr int in_use = -2;
    static constexpr int least_free = 15;

    int first_free = end_of_list;
    int cur_used = 0;   // positions in use
    int max_used = 0;   // the most there ever were
    int max_number = 0; // positions that exist
    int last_free = 0;

private:
    // The next position that will be taken is known: when many records come at once, its object is in the cache by
    // then.
    void Fetch(int position) const
    {
        constexpr int lines = 6;
        const auto* object = reinterpret_cast<const char*>(T_ptr[static_cast<unsigned>(position)].get());
        for (int line = 0; object != nullptr && line < lines; ++line) {
            __builtin_prefetch(object + line * 64);
        }
    }

    int& Link(int position) { return At_ptr[static_cast<unsigned>(position)]; }

    std::vector<std::unique_ptr<T>> T_ptr;
    std::vector<int> At_ptr;
    char* T_type; // given to the objects' constructor
};

// Objects by position, without a list of free ones.
template <class T> class CVector
{
public:
    explicit CVector(int initial_number) { Set_New_Limit(initial_number); }

    // No check: `position` is below max_number.
    T& operator[](int position)
    {
        auto& object = T_ptr[static_cast<unsigned>(position)];
        if (object == nullptr) {
            object = std::make_unique<T>();
        }
        return *object;
    }

    [[nodiscard]] bool Has(int position) const
    {
        return position < max_number && T_ptr[static_cast<unsigned>(position)] != nullptr;
    }

    // Grows to twice `position` first when that is at or above max_number.
    T& operator()(int position)
    {
        if (position >= max_number) {
            Set_New_Limit(position > 0 ? position * 2 : 1);
        }
        return (*this)[position];
    }

    void Set_New_Limit(int new_max_number)
    {
        if (new_max_number > max_number) {
            T_ptr.resize(static_cast<unsigned>(new_max_number));
            max_number = new_max_number;
        }
    }

    int max_number = 0;

private:
    std::vector<std::unique_ptr<T>> T_ptr;
};
