// What a connection's ends do when there is no memory for their states.
#include "support/bsd_link.h"

#include <new>

namespace {

int allocations_left = -1; // how many more may succeed; -1 for all

} // namespace

// The allocation that tells of missing memory by a null.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    if (allocations_left == 0) {
        return nullptr;
    }
    allocations_left -= allocations_left > 0 ? 1 : 0;
    return ::operator new(size);
}

namespace {

TEST(BsdMemory, AllocationGivesNullWithoutMemory)
{
    allocations_left = 0;
    EXPECT_EQ(bsd_comp_alloc(), nullptr);
    EXPECT_EQ(bsd_decomp_alloc(), nullptr);
    allocations_left = 1; // the state, and then nothing for its strings
    EXPECT_EQ(bsd_decomp_alloc(), nullptr);
    allocations_left = -1;
}

} // namespace
