// Litmus tests: a few operations each, and what the memory model lets threads see of them.
#include <set>

#include <gtest/gtest.h>

#include "step_program.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

constexpr EOrder kRelaxed = Order_Relaxed;
constexpr EOrder kAcquire = Order_Acquire;
constexpr EOrder kRelease = Order_Release;
constexpr EOrder kBoth = Order_AcquireRelease;
constexpr EOrder kInOrder = Order_Sequential;

using SOutcomes = std::set<SSeen>;

// What is seen in all executions, of which each is run once.
SOutcomes OutcomesOf(const std::vector<SSteps> &threads)
{
    CStepProgram program(threads);
    const SOutcome outcome = Explore(program);
    EXPECT_EQ(outcome.m_Fault, "");
    const std::set<std::vector<u32>> signatures(program.Signatures().begin(), program.Signatures().end());
    EXPECT_EQ(signatures.size(), outcome.m_Executions);
    return SOutcomes(program.Seen().begin(), program.Seen().end());
}

} // namespace

// ---- Two words, two threads --------------------------------------------------------------------------------------------

TEST(Litmus, StoreBufferingIsSeenWithoutOneOrder)
{
    const auto threads = [](EOrder store, EOrder load) -> std::vector<SSteps> {
        return {{Store(kX, 1, store), Load(kY, load)}, {Store(kY, 1, store), Load(kX, load)}};
    };
    const SOutcomes all = {{0, 0, 1, 1}, {0, 1, 1, 1}, {1, 0, 1, 1}, {1, 1, 1, 1}};
    const SOutcomes inOrder = {{0, 1, 1, 1}, {1, 0, 1, 1}, {1, 1, 1, 1}};
    EXPECT_EQ(OutcomesOf(threads(kRelaxed, kRelaxed)), all);
    EXPECT_EQ(OutcomesOf(threads(kRelease, kAcquire)), all);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kAcquire)), all);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kInOrder)), inOrder);
}

// As the sets of slabs have it: each thread modifies one word and then reads the other.
TEST(Litmus, StoreBufferingByModificationsIsSeenWithoutOneOrder)
{
    const auto threads = [](EOrder modify, EOrder load) -> std::vector<SSteps> {
        return {{Add(kX, 1, modify), Load(kY, load)}, {Add(kY, 1, modify), Load(kX, load)}};
    };
    const SSeen bothMissed = {0, 0, 0, 0, 1, 1};
    EXPECT_EQ(OutcomesOf(threads(kBoth, kAcquire)).count(bothMissed), 1u);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kAcquire)).count(bothMissed), 1u);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kInOrder)).count(bothMissed), 0u);
}

TEST(Litmus, AMessageIsPassedByReleaseAndAcquireTogether)
{
    const auto threads = [](EOrder store, EOrder load) -> std::vector<SSteps> {
        return {{Store(kX, 1, kRelaxed), Store(kY, 1, store)}, {Load(kY, load), Load(kX, kRelaxed)}};
    };
    const SOutcomes passed = {{0, 0, 1, 1}, {0, 1, 1, 1}, {1, 1, 1, 1}};
    SOutcomes lost = passed;
    lost.insert({1, 0, 1, 1});
    EXPECT_EQ(OutcomesOf(threads(kRelease, kAcquire)), passed);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kInOrder)), passed);
    EXPECT_EQ(OutcomesOf(threads(kRelaxed, kAcquire)), lost);
    EXPECT_EQ(OutcomesOf(threads(kRelease, kRelaxed)), lost);
}

// C++ lets both threads read 1 here; the model does not, since each read would depend on itself.
TEST(Litmus, LoadBufferingIsBeyondTheModel)
{
    const SOutcomes expected = {{0, 0, 1, 1}, {0, 1, 1, 1}, {1, 0, 1, 1}};
    EXPECT_EQ(OutcomesOf({{Load(kX, kRelaxed), Store(kY, 1, kRelaxed)}, {Load(kY, kRelaxed), Store(kX, 1, kRelaxed)}}),
              expected);
}

TEST(Litmus, FirstWritesOfBothThreadsMayComeLast)
{
    const auto threads = [](EOrder order) -> std::vector<SSteps> {
        return {{Store(kX, 1, order), Store(kY, 2, order)}, {Store(kY, 1, order), Store(kX, 2, order)}};
    };
    const SOutcomes all = {{1, 1}, {1, 2}, {2, 1}, {2, 2}};
    const SOutcomes inOrder = {{1, 2}, {2, 1}, {2, 2}};
    EXPECT_EQ(OutcomesOf(threads(kRelease)), all);
    EXPECT_EQ(OutcomesOf(threads(kInOrder)), inOrder);
}

// ---- Coherence ---------------------------------------------------------------------------------------------------------

TEST(Litmus, ReadsOfOneWordNeverGoBack)
{
    const SOutcomes expected = {{0, 0, 2, 0}, {0, 1, 2, 0}, {0, 2, 2, 0}, {1, 1, 2, 0}, {1, 2, 2, 0}, {2, 2, 2, 0}};
    EXPECT_EQ(OutcomesOf({{Store(kX, 1, kRelaxed), Store(kX, 2, kRelaxed)}, {Load(kX, kRelaxed), Load(kX, kRelaxed)}}),
              expected);
}

TEST(Litmus, AThreadReadsWhatItHasWrittenOrWhatCameAfter)
{
    const SOutcomes expected = {{1, 1, 0}, {1, 2, 0}, {2, 2, 0}};
    EXPECT_EQ(OutcomesOf({{Store(kX, 1, kRelaxed), Load(kX, kRelaxed)}, {Store(kX, 2, kRelaxed)}}), expected);
}

TEST(Litmus, TwoReadersAgreeAboutTheOrderOfWrites)
{
    const SOutcomes outcomes = OutcomesOf({{Store(kX, 1, kRelaxed)},
                                           {Store(kX, 2, kRelaxed)},
                                           {Load(kX, kRelaxed), Load(kX, kRelaxed)},
                                           {Load(kX, kRelaxed), Load(kX, kRelaxed)}});
    for (const u64 last : {1u, 2u})
        EXPECT_EQ(outcomes.count({1, 2, 2, 1, last, 0}), 0u);
    EXPECT_EQ(outcomes.count({1, 2, 1, 2, 2, 0}), 1u);
}

// ---- More threads ------------------------------------------------------------------------------------------------------

TEST(Litmus, IndependentWritesMayBeSeenInTwoOrdersWithoutOneOrder)
{
    const auto threads = [](EOrder store, EOrder load) -> std::vector<SSteps>
    {
        return {{Store(kX, 1, store)},
                {Store(kY, 1, store)},
                {Load(kX, load), Load(kY, load)},
                {Load(kY, load), Load(kX, load)}};
    };
    const SSeen twoOrders = {1, 0, 1, 0, 1, 1};
    EXPECT_EQ(OutcomesOf(threads(kRelease, kAcquire)).size(), 16u);
    EXPECT_EQ(OutcomesOf(threads(kRelease, kAcquire)).count(twoOrders), 1u);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kInOrder)).size(), 15u);
    EXPECT_EQ(OutcomesOf(threads(kInOrder, kInOrder)).count(twoOrders), 0u);
}

TEST(Litmus, WhatAThreadHasReadIsKnownToThoseItTells)
{
    const auto threads = [](EOrder store, EOrder load) -> std::vector<SSteps> {
        return {
            {Store(kX, 1, kRelaxed)}, {Load(kX, kRelaxed), Store(kY, 1, store)}, {Load(kY, load), Load(kX, kRelaxed)}};
    };
    const SSeen forgotten = {1, 1, 0, 1, 1};
    EXPECT_EQ(OutcomesOf(threads(kRelease, kAcquire)).count(forgotten), 0u);
    EXPECT_EQ(OutcomesOf(threads(kRelaxed, kAcquire)).count(forgotten), 1u);
}

// ---- Read-modify-writes ------------------------------------------------------------------------------------------------

// The orders in which the increments of all threads can come, each with its own values read: 3!, 6! / (3! 3!) and
// 6! / (2! 2! 2!).
TEST(Litmus, IncrementsComeInEveryOrderAndNoneIsLost)
{
    const SStep increment = Add(kX, 1, kRelaxed);
    EXPECT_EQ(OutcomesOf({{increment}, {increment}, {increment}}).size(), 6u);
    EXPECT_EQ(OutcomesOf({SSteps(3, increment), SSteps(3, increment)}).size(), 20u);
    const SOutcomes outcomes = OutcomesOf({SSteps(2, increment), SSteps(2, increment), SSteps(2, increment)});
    EXPECT_EQ(outcomes.size(), 90u);
    for (const SSeen &seen : outcomes)
        EXPECT_EQ(seen[6], 6u);
}

TEST(Litmus, OneOfTwoThreadsWinsACompareExchange)
{
    const SOutcomes expected = {{0, 1, 1, 0}, {2, 0, 2, 0}};
    EXPECT_EQ(OutcomesOf({{CompareExchange(kX, 0, 1, kRelaxed)}, {CompareExchange(kX, 0, 2, kRelaxed)}}), expected);
}

// The second thread's modification reads what was released, and passes it on although it has no order itself.
TEST(Litmus, AReleaseSequenceGoesThroughModifications)
{
    const SOutcomes outcomes = OutcomesOf({{Store(kX, 1, kRelaxed), Store(kY, 1, kRelease)},
                                           {Add(kY, 2, kRelaxed)},
                                           {Load(kY, kAcquire), Load(kX, kRelaxed)}});
    EXPECT_EQ(outcomes.count({1, 3, 1, 1, 3}), 1u);
    EXPECT_EQ(outcomes.count({1, 3, 0, 1, 3}), 0u);
}

// Not through stores: not of others, and since C++20 not of the same thread.
TEST(Litmus, AReleaseSequenceEndsWithAStore)
{
    EXPECT_EQ(OutcomesOf({{Store(kX, 1, kRelaxed), Store(kY, 1, kRelease)},
                          {Store(kY, 2, kRelaxed)},
                          {Load(kY, kAcquire), Load(kX, kRelaxed)}})
                  .count({2, 0, 1, 2}),
              1u);
    EXPECT_EQ(OutcomesOf({{Store(kX, 1, kRelaxed), Store(kY, 1, kRelease), Store(kY, 2, kRelaxed)},
                          {Load(kY, kAcquire), Load(kX, kRelaxed)}})
                  .count({2, 0, 1, 2}),
              1u);
}

} // namespace QuorvaneTest::Concurrency
