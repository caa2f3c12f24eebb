// Keys that are numbers: a record's idx and its identity.
#pragma once

#include "keys/base_key.h"
#include "message/table_base.h"

#include <compare>
#include <cstdint>

// A record's idx among those of a table code; within one table the code is 0.
class CIdxKey
{
public:
    CIdxKey& Init(std::uint16_t data_code_v, std::uint32_t rec_idx_v)
    {
        data_code = data_code_v;
        rec_idx = rec_idx_v;
        return *this;
    }

    // Code and idx as a text for a line of the log. Good until the thread's sixth next call.
    [[nodiscard]] char* Get_Str() const;

    friend auto operator<=>(const CIdxKey&, const CIdxKey&) = default;

    std::uint16_t data_code = 0;
    std::uint32_t rec_idx = 0;
};

// A record's identity. Its order is that of the bytes on the wire and not of the numbers: whatever the value, a CRC
// with the lower first byte comes first.
class CEnvCrc32Key : public CBaseKey
{
public:
    static constexpr int length = 8;
    static constexpr bool ordered_by_bytes = true;

    CEnvCrc32Key() : CBaseKey(length) {}
    void Init(const char* new_key_value) { Init_Whole(new_key_value, length); }
    void Init(DLONG val_env_crc32);
};

// A branch's number.
class CBranchesNumKey : public CBaseKey
{
public:
    static constexpr bool ordered_by_bytes = false;

    void Init(std::uint32_t branch_num_v) { branch_num = branch_num_v; }
    char* Get_Str() override;

    friend auto operator<=>(const CBranchesNumKey& left, const CBranchesNumKey& right)
    {
        return left.branch_num <=> right.branch_num;
    }
    friend bool operator==(const CBranchesNumKey& left, const CBranchesNumKey& right)
    {
        return left.branch_num == right.branch_num;
    }

    std::uint32_t branch_num = 0;
};
