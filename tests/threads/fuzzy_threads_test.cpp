// Fuzzy matching on several threads: pieces of one list, or all of it, scored at once give what one thread gives.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "fuzzy_texts.h"
#include "kr_string.h"
#include "thread_team.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

using SElement = CString::SFuzzyMatchListElement;

constexpr u32 kThreads = 4;

std::vector<std::pair<u32, float>> ElementsOf(const TArray<SElement> &array)
{
    std::vector<std::pair<u32, float>> elements;
    for (const SElement &element : array)
        elements.emplace_back(element.m_IndexInStringList, element.m_MatchWeight);
    return elements;
}

// A query of each way of scoring, and a list with entries of all of them.
class FuzzyThreads : public ::testing::TestWithParam<u32>
{
protected:
    FuzzyThreads()
    {
        CFuzzyTexts source(30);
        const std::string query = source.Random("abcd", GetParam());
        m_Query = Fixed(query);
        const std::vector<size_t> lengths = FuzzyLengths();
        std::vector<std::string> texts;
        for (size_t i = 0; i < 500; ++i)
            texts.push_back(source.Misspelt(query, "abcd", lengths[i % lengths.size()]));
        m_Strings = StringsOf(texts);
        m_Weights.resize(texts.size());
        for (size_t i = 0; i < texts.size(); ++i)
            m_Weights[i] = m_Query.FuzzyMatch(m_Strings[i]);
    }

    u32 Count() const { return static_cast<u32>(m_Strings.size()); }

    CString m_Query;
    std::vector<CString> m_Strings;
    std::vector<float> m_Weights; // of one thread, one by one
};

TEST_P(FuzzyThreads, ConsecutivePiecesOfAListGiveTheWeightsOfOneThread)
{
    std::vector<float> weights(m_Weights.size(), -1.0f);
    const TMemoryView<float> out(weights.data(), Count());
    const u32 share = (Count() + kThreads - 1) / kThreads;
    RunTeam(kThreads,
            [&](u32 thread) {
                m_Query.FuzzyMatchList(ListOf(m_Strings).SliceIFP(thread * share, share),
                                       out.SliceIFP(thread * share, share));
            });
    EXPECT_EQ(weights, m_Weights);
}

TEST_P(FuzzyThreads, EveryNthEntryOfAListGivesTheWeightsOfOneThread)
{
    std::vector<std::vector<float>> weights(kThreads);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                const u32 count = (Count() - thread + kThreads - 1) / kThreads;
                weights[thread].resize(count);
                m_Query.FuzzyMatchList(
                    TStridedMemoryView<const CString>(m_Strings.data() + thread, count, kThreads * sizeof(CString)),
                    TMemoryView<float>(weights[thread].data(), count));
            });
    for (u32 i = 0; i < Count(); ++i)
        ASSERT_EQ(weights[i % kThreads][i / kThreads], m_Weights[i]) << i;
}

TEST_P(FuzzyThreads, ManyRankTheSameListAtOnce)
{
    TArray<SElement> ordered;
    TArray<SElement> top;
    TArray<u32> positions;
    m_Query.FuzzyMatchList_Ordered(ListOf(m_Strings), ordered, 0.4f);
    EXPECT_TRUE(m_Query.FuzzyMatchList_Top(ListOf(m_Strings), top, 0.4f, 20));
    EXPECT_TRUE(m_Query.FuzzyMatchPositions(m_Strings[7], positions));
    std::vector<u32> faults(kThreads, 0);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                TArray<SElement> own;
                m_Query.FuzzyMatchList_Ordered(ListOf(m_Strings), own, 0.4f);
                faults[thread] += ElementsOf(own) == ElementsOf(ordered) ? 0 : 1;
                faults[thread] += m_Query.FuzzyMatchList_Top(ListOf(m_Strings), own, 0.4f, 20) ? 0 : 1;
                faults[thread] += ElementsOf(own) == ElementsOf(top) ? 0 : 1;
                TArray<u32> ownPositions;
                faults[thread] += m_Query.FuzzyMatchPositions(m_Strings[7], ownPositions) ? 0 : 1;
                faults[thread] +=
                    std::equal(ownPositions.begin(), ownPositions.end(), positions.begin(), positions.end()) ? 0 : 1;
            });
    EXPECT_EQ(faults, std::vector<u32>(kThreads, 0));
}

INSTANTIATE_TEST_SUITE_P(QueryLengths, FuzzyThreads, ::testing::Values(12u, 24u, 48u, 100u, 280u));

} // namespace
