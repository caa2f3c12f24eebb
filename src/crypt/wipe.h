// Zeroing of key material.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace qapi {

// Zeroes memory that is not read again, where the compiler would leave out a plain memset.
inline void Wipe(void* memory, std::size_t count)
{
    std::memset(memory, 0, count);
    __asm__ volatile("" : : "r"(memory) : "memory"); // as if somebody read it
}

// Zeroes an object when its scope ends, by whichever way.
template <class T> class WipedAtEnd
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    explicit WipedAtEnd(T& object) : m_object(object) {}
    ~WipedAtEnd() { Wipe(&m_object, sizeof m_object); }
    WipedAtEnd(const WipedAtEnd&) = delete;
    WipedAtEnd& operator=(const WipedAtEnd&) = delete;

private:
    T& m_object;
};

} // namespace qapi

using qapi::Wipe;
using qapi::WipedAtEnd;
