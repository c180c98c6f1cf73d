// Sorting: at most 3 * n * log2(n) comparisons of n elements, whatever their order, and few ranges pending.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_text.h"
#include "kr_containers_array.h"
#include "kr_containers_internals.h"
#include "sort_model.h"
#include "step_count.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

using Keys = std::vector<u32>;

// An order that counts.
struct SCounting
{
    static bool Less(u32 a, u32 b)
    {
        ++s_Comparisons;
        return a < b;
    }
    static bool Equal(u32 a, u32 b)
    {
        ++s_Comparisons;
        return a == b;
    }

    static u64 s_Comparisons;
};

u64 SCounting::s_Comparisons;

u64 MostComparisons(size_t count)
{
    return static_cast<u64>(3.0 * static_cast<double>(count) * std::log2(static_cast<double>(count)));
}

void ExpectFewComparisons(const std::string &name, Keys keys)
{
    SCounting::s_Comparisons = 0;
    QuickSort<SCounting>(keys.data(), keys.data() + keys.size());
    ExpectSteps("comparisons of QuickSort", name + " of " + std::to_string(keys.size()), SCounting::s_Comparisons,
                MostComparisons(keys.size()));
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
}

// Decides the keys while a sort asks (M. D. McIlroy, "A Killer Adversary for Quicksort", 1999): whatever is compared most
// turns out to be small. Sorts indices, through the library's sort itself, up to where the heap takes over and beyond.
struct SAdversary
{
    static bool Less(u32 a, u32 b)
    {
        ++SCounting::s_Comparisons;
        if (s_Keys[a] == s_Open && s_Keys[b] == s_Open)
            s_Keys[a == s_Candidate ? a : b] = s_NextKey++;
        if (s_Keys[a] == s_Open)
            s_Candidate = a;
        else if (s_Keys[b] == s_Open)
            s_Candidate = b;
        return s_Keys[a] < s_Keys[b];
    }
    static bool Equal(u32 a, u32 b)
    {
        ++SCounting::s_Comparisons;
        return a == b;
    }

    static Keys s_Keys;
    static u32 s_Open;
    static u32 s_NextKey;
    static u32 s_Candidate;
};

Keys SAdversary::s_Keys;
u32 SAdversary::s_Open;
u32 SAdversary::s_NextKey;
u32 SAdversary::s_Candidate;

// What the adversary made of a sort.
Keys AgainstTheSort(u32 count)
{
    SAdversary::s_Keys.assign(count, count);
    SAdversary::s_Open = count;
    SAdversary::s_NextKey = 0;
    SAdversary::s_Candidate = 0;
    SCounting::s_Comparisons = 0;
    Keys indices(count);
    std::iota(indices.begin(), indices.end(), 0u);
    QuickSort<SAdversary>(indices.data(), indices.data() + count);
    ExpectSteps("comparisons of QuickSort", "adversary as it goes, of " + std::to_string(count),
                SCounting::s_Comparisons, MostComparisons(count));
    return SAdversary::s_Keys;
}

Keys RandomKeys(u32 count, u32 distinct, std::mt19937 &random)
{
    Keys keys(count);
    for (u32 &key : keys)
        key = static_cast<u32>(random() % distinct);
    return keys;
}

void ExpectFewForEveryShape(u32 count, std::mt19937 &random)
{
    Keys keys(count);
    std::iota(keys.begin(), keys.end(), 0u);
    ExpectFewComparisons("sorted", keys);
    Keys turned = keys;
    std::rotate(turned.begin(), turned.begin() + count / 2, turned.end());
    ExpectFewComparisons("two sorted halves", turned);
    std::reverse(turned.begin(), turned.end());
    ExpectFewComparisons("two reversed halves", turned);
    std::reverse(keys.begin(), keys.end());
    ExpectFewComparisons("reversed", keys);
    ExpectFewComparisons("all equal", Keys(count, 7));
    for (u32 i = 0; i < count; ++i)
        keys[i] = std::min(i, count - 1 - i);
    ExpectFewComparisons("organ pipe", keys);
    for (u32 &key : keys)
        key = count - key;
    ExpectFewComparisons("valley", keys);
    for (u32 i = 0; i < count; ++i)
        keys[i] = i % 2 == 0 ? i : count - i;
    ExpectFewComparisons("up and down in turn", keys);
    for (const u32 teeth : {2u, 3u, 7u, 64u})
    {
        for (u32 i = 0; i < count; ++i)
            keys[i] = i % teeth;
        ExpectFewComparisons(std::to_string(teeth) + " keys in turn", keys);
    }
    for (const u32 distinct : {2u, 3u, 10u, 1000000000u})
        ExpectFewComparisons("random, " + std::to_string(distinct) + " keys", RandomKeys(count, distinct, random));
    if (count >= 2)
        ExpectFewComparisons("against the sort", AgainstTheSort(count));
}

TEST(SortSteps, EveryShapeOfEveryShortLength)
{
    std::mt19937 random(1);
    for (u32 count = 2; count <= 130; ++count)
        ExpectFewForEveryShape(count, random);
}

TEST(SortSteps, EveryShapeOfLongLengths)
{
    std::mt19937 random(2);
    for (const u32 count : {1000u, 1024u, 4095u, 10000u})
        ExpectFewForEveryShape(count, random);
}

TEST(SortSteps, EverySequenceOfTwoKeysAndAllOrdersOfFew)
{
    for (u32 length = 13; length <= 13; ++length)
        for (u32 code = 0; code < 1u << length; ++code)
        {
            Keys keys;
            for (u32 i = 0; i < length; ++i)
                keys.push_back(code >> i & 1);
            ExpectFewComparisons("two keys", keys);
        }
    Keys keys(7);
    std::iota(keys.begin(), keys.end(), 0u);
    do
        ExpectFewComparisons("all orders", keys);
    while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(SortSteps, RandomOrdersAroundTheLimitOfShortRanges)
{
    std::mt19937 random(3);
    for (u32 round = 0; round < 4000; ++round)
        ExpectFewComparisons("random", RandomKeys(2 + round % 60, 1000, random));
}

// Random swaps that are kept where they cost more: towards the worst order that there is of a length.
TEST(SortSteps, OrdersThatAreSoughtForTheirCost)
{
    std::mt19937 random(4);
    for (const u32 count : {14u, 20u, 33u, 65u, 130u})
    {
        Keys worst = AgainstTheSort(count);
        u64 most = 0;
        for (u32 round = 0; round < 1000; ++round)
        {
            Keys keys = worst;
            for (u32 swaps = 1 + static_cast<u32>(random() % 3); swaps != 0; --swaps)
                std::swap(keys[random() % count], keys[random() % count]);
            ExpectFewComparisons("sought", keys);
            if (SCounting::s_Comparisons >= most)
            {
                most = SCounting::s_Comparisons;
                worst = keys;
            }
        }
    }
}

// The model, which has the library's steps, says how many ranges were pending at once: the smaller part goes first, so
// each range that is cut has less than half of the one before behind it.
TEST(SortSteps, FewRangesArePending)
{
    for (const u32 count : {100u, 1000u, 5000u})
    {
        const u64 most = static_cast<u64>(std::log2(static_cast<double>(count) / 13.0)) + 1;
        Keys keys = AgainstTheSort(count);
        ExpectSteps("pending ranges of QuickSort", "against the sort", ModelQuickSort<SCounting>(keys), most);
        std::mt19937 random(5);
        keys = RandomKeys(count, 1000000, random);
        ExpectSteps("pending ranges of QuickSort", "random", ModelQuickSort<SCounting>(keys), most);
        std::iota(keys.begin(), keys.end(), 0u);
        ExpectSteps("pending ranges of QuickSort", "sorted", ModelQuickSort<SCounting>(keys), most);
    }
}

// A comparator that contradicts itself costs more, and no more than the credit allows: each cut at most three times what
// it pays, each heap as much as ever.
struct SContradicting
{
    static bool Less(u32, u32)
    {
        ++SCounting::s_Comparisons;
        return (s_Random() & 3) == 0;
    }
    static bool Equal(u32, u32)
    {
        ++SCounting::s_Comparisons;
        return (s_Random() & 1) != 0;
    }

    static std::mt19937 s_Random;
};

std::mt19937 SContradicting::s_Random(6);

TEST(SortSteps, AComparatorThatContradictsItselfEndsToo)
{
    for (const u32 count : {13u, 100u, 1000u, 10000u})
        for (u32 round = 0; round < 5; ++round)
        {
            Keys keys(count, 1);
            SCounting::s_Comparisons = 0;
            QuickSort<SContradicting>(keys.data(), keys.data() + count);
            ExpectSteps("contradicting answers to QuickSort", std::to_string(count), SCounting::s_Comparisons,
                        2 * MostComparisons(count));
        }
}

} // namespace

} // namespace QuorvaneTest
