// Every short text weighed against every other one, alone and in lists, with the wide forms of the code and without them.
// What is right, the recurrence says, cell by cell.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "exhaustive.h"
#include "fuzzy_model.h"
#include "kr_memoryviews.h"
#include "kr_string.h"
#include "wide_choice.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr size_t kLongest = 6;
static_assert(CountTexts(3, kLongest) * CountTexts(3, kLongest) == 1194649, "the domain that is promised");

// The weights of a query against all texts, in all ways.
class CWeights
{
public:
    explicit CWeights(const CDomain &domain)
    {
        for (const SEveryText &text : domain)
            m_Texts.PushBack(text.m_String);
        m_Expected.resize(m_Texts.Count());
        m_Found.resize(m_Texts.Count());
    }

    void SetQuery(const SEveryText &query, const CDomain &domain)
    {
        size_t index = 0;
        for (const SEveryText &text : domain)
            m_Expected[index++] = FuzzyModelWeight(query.m_Text, text.m_Text);
    }

    float Expected(size_t index) const { return m_Expected[index]; }

    Wrong WrongList(const SEveryText &query)
    {
        const TStridedMemoryView<const CString> texts(m_Texts.Data(), m_Texts.Count());
        m_Found.assign(m_Found.size(), -1.0f);
        query.m_String.FuzzyMatchList(texts, TMemoryView<float>(m_Found.data(), m_Texts.Count()));
        QV_TEST_SAME(m_Found, m_Expected);
        return nullptr;
    }

private:
    TArray<CString> m_Texts;
    std::vector<float> m_Expected;
    std::vector<float> m_Found;
};

TEST(FuzzyExhaustive, EveryPairOfTextsHasTheWeightOfTheRecurrenceAloneAndInLists)
{
    const CDomain domain("abc", Longest(kLongest));
    CWeights weights(domain);
    u64 cases = 0;
    for (const SEveryText &query : domain)
    {
        weights.SetQuery(query, domain);
        for (const bool wide : {false, true})
        {
            const CWideChoice choice(wide);
            ASSERT_EQ(weights.WrongList(query), nullptr) << query.m_Text << ", wide " << wide;
            size_t index = 0;
            for (const SEveryText &text : domain)
            {
                const float expected = weights.Expected(index++);
                if (query.m_String.FuzzyMatch(text.m_String) != expected ||
                    query.View().FuzzyMatch(text.View()) != expected)
                    FAIL() << query.m_Text << " and " << text.m_Text << ", wide " << wide;
                cases += wide ? 1 : 0;
            }
        }
    }
    ExpectCases(cases, domain.Size() * domain.Size());
}

} // namespace
