// What all tables of the process share: the range of idx values that this client may give out, and running numbers.
#pragma once

#include <atomic>
#include <cstdint>

// The range's end at the start of the process.
extern std::atomic<std::uint32_t> Glb_range_limit;

// The idx values that the client may give out: from the lowest one up to, but without, the other. Written by the thread
// that handles the login.
extern std::atomic<std::uint32_t> glb_min_gtable_rec_index;
extern std::atomic<std::uint32_t> glb_max_gtable_rec_index;
extern std::atomic<int> glb_valid_range; // 1 once the server has given the range

// 1 once an error of an idx was told: it is told once for all tables of the process.
extern std::atomic<int> Glb_range_limit_err_msg;

// The latest number that a record of a table without a file got: the host's handle for a record in a mailbox.
extern std::atomic<std::uint32_t> Glb_Unic_Number;

// The number of the next table that is made.
extern std::atomic<int> Glb_table_counter;

namespace qapi {

// Tells an error of an idx, unless one was told before. %u of the format is `number`.
void Tell_Idx_Error(const char* format, std::uint32_t number);

inline constexpr const char* idx_range_error = "Range limit for global table records (%u) has been reached. !!!";
inline constexpr const char* idx_exists_error = "Idx value (%u) for global table already exists. !!!";

// An idx of the client's range. `is_taken` tells of an idx whether the table has it; `last_idx` is the table's latest.
// Numbers are given out one behind the other, over the end of the range and past those that are taken. If all are, the
// lowest comes out once the range has been gone through, and the error is told.
template <class Is_Taken> std::uint32_t Generate_Idx(std::uint32_t& last_idx, Is_Taken is_taken)
{
    const std::uint32_t lowest = glb_min_gtable_rec_index;
    const std::uint32_t end = glb_max_gtable_rec_index;
    std::uint32_t idx = ++last_idx;
    if (idx < lowest || idx >= end) {
        idx = lowest;
    }
    for (int wraps = 0; is_taken(idx);) {
        if (++idx < end) {
            continue;
        }
        idx = lowest;
        if (++wraps == 2) {
            Tell_Idx_Error(idx_range_error, end - lowest + 1);
            return idx;
        }
    }
    last_idx = idx;
    return idx;
}

// The next number for a record: never 0, which stands for none, and none for which `is_taken` holds. One thread
// inserts; a locked instruction would wait here for all the stores of the record's copy.
template <class Is_Taken> std::uint32_t Next_Unic_Number(Is_Taken is_taken)
{
    std::uint32_t number = Glb_Unic_Number.load(std::memory_order_relaxed);
    do {
        ++number;
    } while (number == 0 || is_taken(number));
    Glb_Unic_Number.store(number, std::memory_order_relaxed);
    return number;
}

} // namespace qapi
