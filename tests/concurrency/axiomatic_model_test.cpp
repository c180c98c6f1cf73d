// The exploration against the axioms of the memory model, on programs by chance.
#include "axiomatic_model.h"

#include <gtest/gtest.h>

namespace QuorvaneTest::Concurrency
{

// The answers of the axioms to programs that are known.
TEST(AxiomaticModel, KnowsTheLitmusTests)
{
    const auto storeBuffering = [](EOrder order) -> std::vector<SSteps> {
        return {{Store(kX, 1, order), Load(kY, order)}, {Store(kY, 1, order), Load(kX, order)}};
    };
    EXPECT_EQ(ExecutionsByAxioms(storeBuffering(Order_Relaxed)).size(), 4u);
    EXPECT_EQ(ExecutionsByAxioms(storeBuffering(Order_Sequential)).size(), 3u);
    const auto message = [](EOrder store) -> std::vector<SSteps> {
        return {{Store(kX, 1, Order_Relaxed), Store(kY, 1, store)}, {Load(kY, Order_Acquire), Load(kX, Order_Relaxed)}};
    };
    EXPECT_EQ(ExecutionsByAxioms(message(Order_Relaxed)).size(), 4u);
    EXPECT_EQ(ExecutionsByAxioms(message(Order_Release)).size(), 3u);
    const SSteps twice(2, Add(kX, 1, Order_Relaxed));
    EXPECT_EQ(ExecutionsByAxioms({twice, twice}).size(), 6u);
}

// `./run concurrency` has longer ones, and many more.
TEST(AxiomaticModel, AllowsExactlyWhatIsExplored)
{
    constexpr u32 kPrograms = 300;
    constexpr u32 kMaxSteps = 5;
    u64 executions = 0;
    for (u32 seed = 1; seed <= kPrograms; ++seed)
        EXPECT_TRUE(AgreesWithAxioms(StepsByChance(seed, kMaxSteps), executions)) << seed;
    EXPECT_GT(executions, kPrograms);
}

} // namespace QuorvaneTest::Concurrency
