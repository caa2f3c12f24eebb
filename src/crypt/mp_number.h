// What the sources of mp.h and rsa.h share.
#pragma once

#include "crypt/mp.h"
#include "crypt/wipe.h"

#include <algorithm>

namespace qapi {

// A number in memory of its own, for what key operations hold in between. It has the greatest precision and is zero
// above what it was made from, so that it may be worked on at a higher precision than its source. Wiped at its end.
class OwnNumber
{
public:
    OwnNumber() = default;
    explicit OwnNumber(const unit* source) { std::copy_n(source, global_precision, m_units); }
    OwnNumber(const OwnNumber&) = default;
    ~OwnNumber() { Wipe(m_units, sizeof m_units); }
    OwnNumber& operator=(const OwnNumber&) = delete;

    operator unit*() { return m_units; }
    operator const unit*() const { return m_units; }

private:
    unit m_units[MAX_UNIT_PRECISION]{};
};

inline bool bit_at(const unit* r, int bit)
{
    return ((r[bit >> LOG_UNITSIZE] >> (bit & (UNITSIZE - 1))) & 1) != 0;
}

} // namespace qapi

using qapi::bit_at;
using qapi::OwnNumber;
