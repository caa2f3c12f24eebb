// A small growable array with a capacity that only grows. Elements are plain values; growth zeroes the new ones.
#pragma once

#include <algorithm>
#include <memory>
#include <utility>

template <typename T> class CvArray
{
public:
    explicit CvArray(int n) { Set_New_Limit(n); }
    ~CvArray() = default;
    CvArray(const CvArray&) = delete;

    // No check: `i` is below the capacity.
    T& operator[](int i) { return T_ptr[static_cast<unsigned>(i)]; }

    // Grows to twice `i` first when `i` is at or above the capacity. An index of 0 on an empty array does not grow it
    // (0 twice is 0); what it gives then is a spare element outside the array.
    T& operator()(int i)
    {
        if (i >= max_number) {
            Set_New_Limit(i * 2);
        }
        return max_number > 0 ? T_ptr[static_cast<unsigned>(i)] : m_spare;
    }

    // Takes the source's elements and grows to its capacity; the use count and cursors stay this array's own.
    CvArray& operator=(const CvArray& other)
    {
        if (this != &other) {
            Set_New_Limit(other.max_number);
            std::copy_n(other.T_ptr.get(), other.max_number, T_ptr.get());
        }
        return *this;
    }

    void Set_New_Limit(int n)
    {
        if (n <= max_number) {
            return;
        }
        auto grown = std::make_unique<T[]>(static_cast<unsigned>(n));
        std::copy_n(T_ptr.get(), max_number, grown.get());
        T_ptr = std::move(grown);
        max_number = n;
    }

    // Ends the iteration in force and, when one is saved, the innermost saved one alone.
    void Changed()
    {
        m_for_number = -1;
        if (m_pstack > 0) {
            m_lstack[m_pstack] = -1;
        }
    }

    void Clean()
    {
        Changed();
        max_used = 0;
    }

    [[nodiscard]] int Capacity() const { return max_number; }

    int max_used = 0;
    int m_for_number = 0;  // iteration cursor
    int m_pstack = -1;     // top of the saved cursors, -1 when none is saved
    int m_lstack[10] = {}; // saved cursors

private:
    int max_number = 0;
    std::unique_ptr<T[]> T_ptr;
    T m_spare{};
};
