#include "qcapi/lifecycle_gate.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

TEST(LifecycleGate, LetsOneInAndKnowsWhom)
{
    qapi::LifecycleGate gate;
    EXPECT_FALSE(gate.is_taken());
    EXPECT_TRUE(gate.try_enter());
    EXPECT_TRUE(gate.is_mine());
    EXPECT_FALSE(gate.try_enter()); // not even the same thread again
    std::thread([&] {
        EXPECT_FALSE(gate.is_mine());
        EXPECT_TRUE(gate.is_taken());
        EXPECT_FALSE(gate.try_enter());
    }).join();
    gate.leave();
    EXPECT_FALSE(gate.is_mine());
}

TEST(LifecycleGate, WhoEntersWaitsForTheOneInside)
{
    qapi::LifecycleGate gate;
    std::atomic<bool> inside{true};
    gate.try_enter();
    std::thread other([&] {
        EXPECT_TRUE(gate.enter());
        EXPECT_FALSE(inside);
        gate.leave();
    });
    inside = false;
    gate.leave();
    other.join();
    EXPECT_FALSE(gate.is_taken());
}

} // namespace
