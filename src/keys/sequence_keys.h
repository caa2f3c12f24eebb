// Keys whose order is that of a number and only then of bytes.
#pragma once

#include "keys/base_key.h"

#include <cstdint>

// A message's number among those that a data server gave out on a day: data_server, widened to 4 bytes, date 8,
// seq_num 4.
class CSeqKey : public CBaseKey
{
public:
    static constexpr int length = 16;
    static constexpr bool ordered_by_bytes = false;

    CSeqKey() : CBaseKey(length) {}
    void Init(const char* new_key_value) { Init_Whole(new_key_value, length); }
    void Init(const char* data_server, const char* date, std::uint32_t seq_num);

    bool operator<(const CBaseKey& other) const;
};

// A trade that waits for its confirmation, by the time at which the wait is over. Keys of one trade are equal at any
// time.
class CConfirmPendKey : public CBaseKey
{
public:
    static constexpr int length = 20;
    static constexpr bool ordered_by_bytes = false;

    CConfirmPendKey() : CBaseKey(length) {}
    void Init(const char* new_key_value) { Init_Whole(new_key_value, length); }
    void Init(const char* code_order, const char* code_order_1, std::uint32_t end_cur_time_v);
    void Init(int fill, std::uint32_t end_cur_time_v);

    bool operator<(const CConfirmPendKey& other) const;

    std::uint32_t end_curtime = 0;
};
