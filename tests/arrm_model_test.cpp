// Random sequences of operations against a plain deque, compared after every step.
#include "support/ring_model.h"

#include <gtest/gtest.h>
#include <random>

namespace {

class RingModelTest : public testing::TestWithParam<unsigned>
{
};

TEST_P(RingModelTest, RingBehavesLikeADequeOverRandomOperations)
{
    std::mt19937 random(GetParam());
    RingModel model(static_cast<int>(1 + GetParam() % 7));
    for (int step = 0; step < 2'000; ++step) {
        const auto choice = static_cast<unsigned>(random());
        ASSERT_EQ(model.Step(choice, static_cast<unsigned>(random())), "") << "step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RingModelTest, testing::Range(1U, 25U));

} // namespace
