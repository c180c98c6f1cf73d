// The kernels of fuzzy matching, in every form: texts of any two lengths up to 80 that match in one character, at every
// one of them, and in every place in memory. What is right, the recurrence says, cell by cell.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_place.h"
#include "fuzzy_model.h"
#include "kr_fuzzy/fuzzy_kernels.h"

#define QV_SIMD_NAMESPACE QuorvaneTest::EveryFuzzyForm
#define QV_SIMD_KERNELS "exhaustive/fuzzy_kernels.inc"
#include "kr_simd/simd_each_form.inc"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using namespace Internal::Fuzzy;

struct QV_INTERNAL_HIDDEN SNarrow : EveryFuzzyForm::Narrow::SFuzzyKernels
{
    static constexpr const char *kName = "Narrow";
    static bool IsAvailable() { return true; }
};

struct QV_INTERNAL_HIDDEN SWide : EveryFuzzyForm::Wide::SFuzzyKernels
{
    static constexpr const char *kName = "Wide";
    static bool IsAvailable() { return Internal::Simd::HasWideInstructions(); }
};

struct QV_INTERNAL_HIDDEN SWidest : EveryFuzzyForm::Widest::SFuzzyKernels
{
    static constexpr const char *kName = "Widest";
    static bool IsAvailable() { return Internal::Simd::HasWidestInstructions(); }
};

template <typename Form>
class FuzzyKernelsExhaustive : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no such form";
    }
};

struct SFormNames
{
    template <typename Form>
    static std::string GetName(int)
    {
        return Form::kName;
    }
};

using Forms = ::testing::Types<SNarrow, SWide, SWidest>;
TYPED_TEST_SUITE(FuzzyKernelsExhaustive, Forms, SFormNames);

// The character that two texts have in common, if any.
constexpr char kMatch = '#';

// A text of some characters of its own, with the common one at the hit.
std::string TextOf(u32 length, u32 hit, char own)
{
    std::string text(length, own);
    for (u32 i = 0; i < length; ++i)
        text[i] = i == hit ? kMatch : static_cast<char>(own + static_cast<int>(i % 5));
    return text;
}

// Where the other text has it.
u32 HitOf(u32 hit, u32 length)
{
    return hit % length;
}

// A text in any place, zero behind its end to the end of its last block, and with the common character around all.
class CPlacedRows
{
public:
    void Begin(u32 length, u32 place)
    {
        m_Length = length;
        m_Text = m_Placed.Put(place, length, kMatch);
        std::memset(m_Text + length, 0, 16 - length % 16);
    }
    void Write(const std::string &text) { std::memcpy(m_Text, text.data(), text.size()); }
    SText Text() const { return {m_Text, m_Length}; }

private:
    CPlacedText m_Placed{CPlacedText::Kind_Container};
    char *m_Text = nullptr;
    u32 m_Length = 0;
};

// The distances of texts of all lengths with all hits to one other text, which the place does not change.
class CDistances
{
public:
    explicit CDistances(u32 otherLength) : m_OtherLength(otherLength) {}

    std::string Other(u32 hit) const { return TextOf(m_OtherLength, HitOf(hit, m_OtherLength), 'A'); }

    // Computed once for all places.
    u32 Of(u32 length, u32 hit)
    {
        u32 &distance = m_Distances[length][hit];
        if (distance == 0)
            distance = FuzzyModelDistance(TextOf(length, hit, 'a'), Other(hit));
        return distance;
    }

private:
    u32 m_OtherLength;
    u32 m_Distances[kMaxPlacedLength + 1][kMaxPlacedLength + 1] = {};
};

TYPED_TEST(FuzzyKernelsExhaustive, ADistanceIsThatOfTheRecurrenceWhereverTheTextLies)
{
    for (const u32 otherLength : {16u, 65u})
    {
        CDistances distances(otherLength);
        CPlacedRows placed;
        ForEveryPlace(
            1, [&](u32 length, u32 place) { placed.Begin(length, place); },
            [&](u32 length, u32 hit)
            {
                placed.Write(TextOf(length, hit, 'a'));
                const CString other = Fixed(distances.Other(hit));
                const bool isRows = length < otherLength;
                const SText text = placed.Text();
                const u32 distance =
                    isRows ? TypeParam::Distance(text, SText::Of(other)) : TypeParam::Distance(SText::Of(other), text);
                QV_TEST_SAME(distance, distances.Of(length, hit));
                return Wrong(nullptr);
            });
    }
}

TYPED_TEST(FuzzyKernelsExhaustive, ADistanceByTheMasksOfAQueryIsThatOfTheRecurrence)
{
    constexpr u32 kQueryLength = 40;
    CDistances distances(kQueryLength);
    CPlacedRows placed;
    ForEveryPlace(
        1, [&](u32 length, u32 place) { placed.Begin(length, place); },
        [&](u32 length, u32 hit)
        {
            placed.Write(TextOf(length, hit, 'a'));
            const CString query = Fixed(distances.Other(hit));
            SMasks masks;
            masks.Clear();
            masks.Add(SText::Of(query));
            // The text is the query of the model here: of equal lengths, the other one runs along the rows.
            const EBits bits = kQueryLength <= length ? Bits_Rows : Bits_Columns;
            QV_TEST_SAME(TypeParam::DistanceOfStrip(masks, kQueryLength, bits, placed.Text()),
                         distances.Of(length, hit));
            // As many of its characters are in the query as match, and no more.
            const SLetters letters(SText::Of(query));
            const u32 have = hit < length ? 1 : 0;
            const SCandidate candidates[] = {{placed.Text(), have}, {placed.Text(), have + 1}};
            QV_TEST_SAME(TypeParam::HaveLetters(masks, letters, candidates, 2), 1u);
            return Wrong(nullptr);
        });
}

// Sixteen texts at a time, of which one lies in any place.
template <typename Form, typename Lane>
void TryLanes()
{
    using CLanes = typename Form::template TLanes<Lane>;
    const std::string query = TextOf(CLanes::kMaxQuery, CLanes::kMaxQuery / 2, 'A');
    const CString others[] = {Fixed(query), Fixed("other")};
    const float weights[] = {FuzzyModelWeight(query, query), FuzzyModelWeight(query, "other")};
    // Of all lengths and hits, computed once for all places.
    std::vector<std::array<float, kMaxPlacedLength + 1>> expected(kMaxPlacedLength + 1);
    CLanes lanes;
    lanes.SetQuery(query.data(), LengthOf(query));
    CPlacedRows placed;
    SLaneTexts texts = {};
    u32 lane = 0;
    ForEveryPlace(
        1,
        [&](u32 length, u32 place)
        {
            placed.Begin(length, place);
            lane = (length + place) % kLaneTexts;
            for (u32 i = 0; i < kLaneTexts; ++i)
            {
                texts.m_Data[i] = i == lane ? placed.Text().m_Data : others[i % 2].Data();
                texts.m_Lengths[i] = static_cast<u16>(i == lane ? length : others[i % 2].Length());
            }
        },
        [&](u32 length, u32 hit)
        {
            const std::string text = TextOf(length, hit, 'a');
            placed.Write(text);
            float &weight = expected[length][hit];
            if (weight == 0.0f)
                weight = FuzzyModelWeight(query, text);
            float found[kLaneTexts];
            lanes.Weigh(texts, found);
            for (u32 i = 0; i < kLaneTexts; ++i)
                QV_TEST_SAME(found[i], i == lane ? weight : weights[i % 2]);
            return Wrong(nullptr);
        });
}

TYPED_TEST(FuzzyKernelsExhaustive, WeightsInLanesAreThoseOfTheRecurrenceWhereverATextLies)
{
    TryLanes<TypeParam, u16>();
    TryLanes<TypeParam, u32>();
}

// All cells of the recurrence.
class CMatrix
{
public:
    CMatrix(const std::string &rows, const std::string &columns)
    {
        for (u32 j = 0; j <= columns.size(); ++j)
            m_Cells[0][j] = j + 1;
        for (u32 i = 0; i < rows.size(); ++i)
        {
            m_Cells[i + 1][0] = i + 1;
            for (u32 j = 0; j < columns.size(); ++j)
            {
                const u32 diagonal = m_Cells[i][j] - (rows[i] == columns[j] ? 1 : 0);
                m_Cells[i + 1][j + 1] = QVMin(QVMin(diagonal, m_Cells[i + 1][j]), m_Cells[i][j + 1]) + 1;
            }
        }
    }

    // Down a column, from the row before to one.
    s32 Down(u32 row, u32 column) const { return _At(row + 1, column) - _At(row, column); }
    // Along a row.
    s32 Along(u32 row, u32 column) const { return _At(row, column + 1) - _At(row, column); }
    u32 Last(u32 rows, u32 columns) const { return m_Cells[rows][columns]; }

private:
    s32 _At(u32 row, u32 column) const { return static_cast<s32>(m_Cells[row][column]); }

    u32 m_Cells[kMaxPlacedLength + 1][kMaxPlacedLength + 1];
};

bool AreDifferences(const SDifferences &differences, const CMatrix &matrix, u32 firstRow, u32 rows, u32 column)
{
    for (u32 i = 0; i < rows; ++i)
    {
        const s32 down = matrix.Down(firstRow + i, column);
        if ((differences.m_Plus >> i & 1) != (down == 1 ? 1 : 0) ||
            (differences.m_Minus >> i & 1) != (down == -1 ? 1 : 0))
            return false;
    }
    return true;
}

// What walks back need of the columns: of a strip, the ways of each cell; of a grid, the differences down its lines.
template <typename Form>
class CWalks
{
public:
    CWalks(const std::string &rows, const std::string &columns)
        : m_Rows(Fixed(rows)),
          m_Columns(Fixed(columns)),
          m_Matrix(rows, columns),
          m_Boundary(BoundaryOf(Bits_Rows, m_Columns.Length()))
    {
    }

    Wrong WrongDistance() const
    {
        QV_TEST_SAME(Form::Distance(SText::Of(m_Rows), SText::Of(m_Columns)),
                     m_Matrix.Last(m_Rows.Length(), m_Columns.Length()));
        return nullptr;
    }

    Wrong WrongWays()
    {
        if (m_Rows.Length() > kStripRows)
            return nullptr;
        SWays ways[kMaxPlacedLength];
        BeginCarries(m_Carries, m_Columns.Length());
        Form::KeepWays(SText::Of(m_Rows), SText::Of(m_Columns), {m_Boundary.m_Plus, 0}, m_Carries, ways);
        for (u32 j = 0; j < m_Columns.Length(); ++j)
            for (u32 i = 0; i < m_Rows.Length(); ++i)
            {
                QV_TEST_SAME((ways[j].m_LeftIsLess >> i & 1) != 0, m_Matrix.Down(i, j) < 0);
                QV_TEST_SAME((ways[j].m_AboveIsLess >> i & 1) != 0, m_Matrix.Along(i, j) < 0);
            }
        return nullptr;
    }

    // Of lines so many columns apart.
    Wrong WrongLines(u32 step)
    {
        SDifferences left[] = {{m_Boundary.m_Plus, 0}, {~0ull, 0}};
        SDifferences lines[2 * kMaxPlacedLength + 1] = {};
        const SGrid grid = {{0, 0, m_Rows.Length(), m_Columns.Length(), nullptr, left},
                            StripStepOf(2),
                            step,
                            (m_Columns.Length() + step - 1) / step,
                            lines,
                            nullptr,
                            nullptr};
        std::memset(m_Carries, kCanary, sizeof(m_Carries));
        BeginCarries(m_Carries, m_Columns.Length());
        Form::AdvanceRowsOfGrid(grid, SText::Of(m_Rows), SText::Of(m_Columns), m_Carries, m_Room);
        const u32 strips = grid.m_Block.StripCount();
        for (u32 line = 1; line < grid.m_LineCount; ++line)
            for (u32 strip = 0; strip < strips; ++strip)
            {
                const u32 first = strip * kStripRows;
                const u32 rows = QVMin(m_Rows.Length() - first, kStripRows);
                QV_TEST_SAME(AreDifferences(grid.LineAt(line)[strip], m_Matrix, first, rows, line * step), true);
            }
        // Nothing is written behind either.
        QV_TEST_SAME(lines[(grid.m_LineCount - 1) * strips].m_Plus, 0u);
        QV_TEST_SAME(m_Carries[m_Columns.Length()], kCanary);
        return nullptr;
    }

private:
    static constexpr Carry kCanary = 0x77;

    CString m_Rows;
    CString m_Columns;
    CMatrix m_Matrix;
    SBoundary m_Boundary;
    Carry m_Carries[kMaxPlacedLength + 1];
    alignas(kBandAlignment) u8 m_Room[kBandRoom];
};

TYPED_TEST(FuzzyKernelsExhaustive, EveryTwoLengthsHaveTheDistanceAndTheWaysOfTheRecurrence)
{
    const u32 step = kVerySlow ? 9 : 1;
    u64 cases = 0;
    u64 expected = 0;
    for (u32 rows = 1; rows <= kMaxPlacedLength; rows += step)
        for (u32 columns = rows; columns <= kMaxPlacedLength; columns += step)
        {
            // None, the first, the last, and one between.
            const std::array<u32, 4> hits = {columns, 0, rows - 1, rows / 2};
            expected += hits.size();
            for (const u32 hit : hits)
            {
                ++cases;
                CWalks<TypeParam> walks(TextOf(rows, hit, 'a'), TextOf(columns, hit, 'A'));
                for (const Wrong wrong :
                     {walks.WrongDistance(), walks.WrongWays(), walks.WrongLines(kGridColumns), walks.WrongLines(9)})
                    ASSERT_EQ(wrong, nullptr) << rows << " and " << columns << ", hit " << hit;
            }
        }
    ExpectCases(cases, expected);
}

} // namespace
