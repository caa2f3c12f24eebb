// Records taken out of a ring of the library, all of their parts at once.
#pragma once

#include "arrm.h"
#include "global.h"

#include <array>
#include <string>

struct TakenRecord
{
    int status = -1; // there was none
    std::string data;
    const char* source = nullptr;
    std::string extra;
};

inline TakenRecord TakeRecord(CMss_Arr& ring)
{
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> data{};
    std::array<char, CMSS_EXTRA_LEN> extra{};
    int len = 0;
    TakenRecord record;
    record.status = ring.Withdraw(data.data(), &len, &record.source, extra.data());
    record.data.assign(data.data(), static_cast<unsigned>(len));
    record.extra.assign(extra.data(), extra.size());
    return record;
}
