// Fuzzy matching: the weights to the last bit, the ranked lists, and the matched positions, against the plain
// recurrence.
#include <limits>
#include <vector>

#include "fuzz_support.h"
#include "fuzzy_model.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

typedef TArray<CString::SFuzzyMatchListElement> Ranking;

// Entries beyond are left out, as are texts of which the recurrence would take too long: of two that are as long as each
// other, those of more than 264 characters.
constexpr u32 kMaxEntries = 100;
constexpr std::size_t kMaxCells = 70000;
constexpr std::size_t kMaxAlignedCells = 20000;

// A query and a list, in both worlds. The entries stand two apart, so that the view of them has a stride of its own.
class CList
{
public:
    explicit CList(CInput &input) : m_QueryText(input.Text()), m_Query(NewString(m_QueryText, input.Byte()))
    {
        std::size_t cells = 0;
        while (!input.AtEnd() && m_Texts.size() < kMaxEntries)
        {
            input.BeginStep();
            const std::string text = _Entry(input);
            cells += text.size() * m_QueryText.size();
            if (cells > kMaxCells)
                break;
            m_Texts.push_back(text);
        }
        for (const std::string &text : m_Texts)
        {
            m_Strings.push_back(NewString(text, 0));
            m_Strings.emplace_back();
        }
    }

    TStridedMemoryView<const CString> View() const
    {
        return {m_Strings.data(), Count(), static_cast<u32>(2 * sizeof(CString))};
    }
    u32 Count() const { return static_cast<u32>(m_Texts.size()); }

    std::vector<float> Weights() const
    {
        std::vector<float> weights;
        for (const std::string &text : m_Texts)
            weights.push_back(FuzzyModelWeight(m_QueryText, text));
        return weights;
    }

    std::string m_QueryText;
    CString m_Query;
    std::vector<std::string> m_Texts;

private:
    // A text of its own, or the query with one character changed or left out.
    std::string _Entry(CInput &input) const
    {
        const u32 kind = input.Below(4);
        if (kind == 0)
            return input.Text();
        std::string text = m_QueryText;
        const u32 at = input.Below(LengthOf(text) + 1);
        if (kind == 1)
            text.insert(at, 1, static_cast<char>(input.Byte()));
        else if (at < text.size())
            text.replace(at, 1, kind - 2, 'x');
        return text;
    }

    std::vector<CString> m_Strings;
};

void CheckWeights(const CList &list, const std::vector<float> &expected, CWatch &watch)
{
    std::vector<float> weights(list.Count(), -1.0f);
    watch.BeginStep();
    list.m_Query.FuzzyMatchList(list.View(), TMemoryView<float>(weights.data(), list.Count()));
    for (u32 i = 0; i < list.Count(); ++i)
        QV_FUZZ_CHECK(weights[i] == expected[i] || (watch.HasRefused() && weights[i] == 0.0f));
    QV_FUZZ_CHECK(!watch.HasReported());

    for (u32 i = 0; i < list.Count(); ++i)
    {
        watch.BeginStep();
        const float weight = list.m_Query.FuzzyMatch(list.View()[i]);
        QV_FUZZ_CHECK(weight == (watch.HasRefused() ? 0.0f : expected[i]));
        const bool isLong = QVMax(LengthOf(list.m_QueryText), LengthOf(list.m_Texts[i])) >= 256;
        const bool isEmpty = list.m_QueryText.empty() || list.m_Texts[i].empty();
        QV_FUZZ_CHECK(watch.HasAllocated() == (isLong && !isEmpty));

        const CExactText query(list.m_QueryText, false);
        const CExactText text(list.m_Texts[i], false);
        watch.BeginStep();
        const float weightOfViews = query.View().FuzzyMatch(text.View());
        QV_FUZZ_CHECK(weightOfViews == (watch.HasRefused() ? 0.0f : expected[i]));
        QV_FUZZ_CHECK(watch.HasAllocated() == (isLong && !isEmpty));
    }
}

void CheckRanking(const Ranking &ranking, const std::vector<FuzzyModelElement> &expected)
{
    QV_FUZZ_CHECK(ranking.Count() == expected.size());
    for (u32 i = 0; i < ranking.Count(); ++i)
    {
        QV_FUZZ_CHECK(ranking[i].m_IndexInStringList == expected[i].first);
        QV_FUZZ_CHECK(ranking[i].m_MatchWeight == expected[i].second);
    }
}

void CheckRankings(const CList &list, const std::vector<float> &expected, float tolerance, u32 maxCount, CWatch &watch)
{
    Ranking ranking;
    watch.BeginStep();
    list.m_Query.FuzzyMatchList_Ordered(list.View(), ranking, tolerance);
    if (!watch.HasRefused())
        CheckRanking(ranking, FuzzyModelOrdered(expected, tolerance));
    for (u32 i = 1; i < ranking.Count(); ++i)
        QV_FUZZ_CHECK(ranking[i - 1].m_MatchWeight >= ranking[i].m_MatchWeight);

    watch.BeginStep();
    const bool done = list.m_Query.FuzzyMatchList_Top(list.View(), ranking, tolerance, maxCount);
    QV_FUZZ_CHECK(done == !watch.HasRefused());
    CheckRanking(ranking, done ? FuzzyModelTop(expected, tolerance, maxCount) : std::vector<FuzzyModelElement>());
}

void CheckPositions(const CList &list, u32 entry, CWatch &watch)
{
    const std::string &text = list.m_Texts[entry];
    if (list.m_QueryText.size() * text.size() > kMaxAlignedCells)
        return;
    TArray<u32> positions;
    watch.BeginStep();
    const bool done = list.m_Query.FuzzyMatchPositions(list.View()[entry], positions);
    QV_FUZZ_CHECK(done == !watch.HasRefused());
    QV_FUZZ_CHECK(done || positions.Empty());
    if (!done)
        return;
    for (u32 i = 1; i < positions.Count(); ++i)
        QV_FUZZ_CHECK(positions[i - 1] < positions[i]);
    QV_FUZZ_CHECK(positions.Empty() || positions.Last() < list.m_QueryText.size());
    if (list.m_QueryText.empty() || text.empty())
    {
        QV_FUZZ_CHECK(positions.Empty());
        return;
    }
    const std::vector<unsigned> matched(positions.begin(), positions.end());
    QV_FUZZ_CHECK(FuzzyModelDistanceMatching(list.m_QueryText, text, matched) ==
                  FuzzyModelDistance(list.m_QueryText, text));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters("abc");
    const u8 wanted = input.Byte();
    const float tolerance = wanted == 255 ? std::numeric_limits<float>::quiet_NaN() : wanted / 128.0f - 0.25f;
    const u32 maxCount = input.Below(12);
    const u32 entry = input.Byte();
    const CList list(input);
    if (watch.HasRefused())
        return 0;

    const std::vector<float> expected = list.Weights();
    CheckWeights(list, expected, watch);
    CheckRankings(list, expected, tolerance, maxCount, watch);
    if (list.Count() != 0)
        CheckPositions(list, entry % list.Count(), watch);
    return 0;
}
