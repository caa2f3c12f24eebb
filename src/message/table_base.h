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

// What a server's list says of a record: 12 bytes on the wire.
struct IDX_ENV_CRC32_PAIR
{
    std::uint32_t idx = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t env = 0;
};

// How a table tells what it wants of the server. A record of this idx is to be deleted there:
using Delete_Call_Back = void(unsigned int idx);
// Records with these identities are lacking here; the last call of a dialogue has `is_last_requirement` 1.
using Ask_Call_Back = void(int is_last_requirement, int num_of_records, const DLONG* env_crc32);

inline constexpr int CRC32_ASKS_IN_A_MESSAGE = 320;

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

    // ---- The dialogue by hashes, which brings a replica level with the server (tblproc/subscription.h)

    // The hash over idx and identity of all records.
    virtual unsigned Get_Crc32() { return 0; }

    // Begins: no record has been seen in the server's list, nothing is missing. From here on the server gives
    // identities.
    virtual void Initialize_Missing_Crc32s() {}

    // The server has a record of this identity under this idx.
    virtual void Set_Idx_For_Record_With_Env_Crc32(const IDX_ENV_CRC32_PAIR* /*pair*/, DLONG /*env_crc32*/,
                                                   unsigned int /*idx*/)
    {
    }

    // The list is complete: records take the server's idx values, what is lacking is asked for, what the server doesn't
    // have goes.
    virtual void Check_Crc32_Updating(Delete_Call_Back* /*delete_call_back*/, Ask_Call_Back* /*ask_call_back*/) {}

    // The last step of a table that this process maintains: tells of the records that no server has.
    virtual void Finalize_Crc32_Updating() {}

    int m_use_crc32_computing = 0; // 1: records bring their identity along; it isn't computed
};
