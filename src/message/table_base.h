// What a record asks of the table that owns it.
#pragma once

#include <cstdint>

class CMessage;

// A 64-bit value in two halves. As a record's identity: the CRC-32 of its contents, and the environment it comes from.
struct DLONG
{
    std::uint32_t low = 0;  // CRC-32
    std::uint32_t high = 0; // environment

    friend constexpr bool operator==(const DLONG&, const DLONG&) = default;
    [[nodiscard]] constexpr bool is_zero() const { return low == 0 && high == 0; }
};

// The untyped face of a table.
class CTableBase
{
public:
    CTableBase() = default;
    virtual ~CTableBase() = default;
    CTableBase(const CTableBase&) = delete;
    CTableBase& operator=(const CTableBase&) = delete;

    virtual int Used_Num_Records() { return 0; }

    // The record with this identity, null if there is none.
    virtual CMessage* Get_Record_By_Env_Crc32(DLONG /*env_crc32*/) { return nullptr; }

    // True if `holder`, another record of the table, goes when `newcomer` comes in or changes: it has the newcomer's
    // idx or first key.
    virtual bool Will_Replace(CMessage& /*newcomer*/, CMessage& /*holder*/) { return false; }

    // Not 0 if this process maintains the table's records, and not a server.
    virtual int Do_We_Maintain_It() { return 0; }

    int m_use_crc32_computing = 0; // 1: records bring their identity along; it isn't computed
};
