// The key of an instrument's feed: what one user has on one side of it.
#pragma once

#include "keys/packed_key.h"

class CSummaryKey;

class CInstrumentFeedKey : public qapi::PackedKey<CInstrumentFeedKey>
{
public:
    static constexpr int length = 31;
    static constexpr qapi::PackedForm forms[] = {
        "market 3, level 1, maturity_date 8, xdays 2, days 2, text_term 10, o_d 1, user_code 4"};

    using PackedKey::Init;

    // The instrument as its summary has it, where the same six parts stand in another order.
    void Init(const CSummaryKey* summary, const char* o_d, const char* user_code);
};
