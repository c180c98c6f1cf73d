// The kernels of fuzzy matching in every form that the machine has, those that no operation takes among them.
#include "kr_fuzzy/fuzzy_kernels.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "every_text.h"
#include "fuzzy_model.h"
#include "fuzzy_texts.h"
#include "kr_string.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using namespace Internal::Fuzzy;

struct SNarrow
{
    template <typename Lane>
    using TLanes = Narrow::TLanes<Lane>;

    static constexpr u32 kStripsRows = Narrow::kStripsRows;

    static bool IsAvailable() { return true; }
    static u32 Distance(SText rows, SText columns, Carry *carries) { return Narrow::Distance(rows, columns, carries); }
    static bool AdvanceStrips(SText rows, u64 plus, SText columns, Carry *carries, u32 &distance)
    {
        return Narrow::AdvanceStrips<36>(Narrow::SBand{rows, plus}, columns, carries, distance);
    }
};

struct SWide
{
    template <typename Lane>
    using TLanes = Wide::TLanes<Lane>;

    static constexpr u32 kStripsRows = Wide::kStripsRows;

    static bool IsAvailable() { return Internal::Simd::HasWideInstructions(); }
    static u32 Distance(SText rows, SText columns, Carry *carries) { return Wide::Distance(rows, columns, carries); }
    static bool AdvanceStrips(SText rows, u64 plus, SText columns, Carry *carries, u32 &distance)
    {
        return Wide::AdvanceStrips<36>(Wide::SBand{rows, plus}, columns, carries, distance);
    }
};

struct SWidest
{
    template <typename Lane>
    using TLanes = Widest::TLanes<Lane>;

    static constexpr u32 kStripsRows = Widest::kStripsRows;

    static bool IsAvailable() { return Internal::Simd::HasWidestInstructions(); }
    static u32 Distance(SText rows, SText columns, Carry *carries) { return Widest::Distance(rows, columns, carries); }
    static bool AdvanceStrips(SText rows, u64 plus, SText columns, Carry *carries, u32 &distance)
    {
        return Widest::AdvanceStrips<36>(Widest::SBand{rows, plus}, columns, carries, distance);
    }
};

template <typename Form>
class FuzzyKernels : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no such form";
    }
};

using Forms = testing::Types<SNarrow, SWide, SWidest>;
TYPED_TEST_SUITE(FuzzyKernels, Forms, );

// Fails the test when it is not that of the recurrence, or when more differences are written than there are columns.
template <typename Form>
void ExpectDistance(const std::string &rows, const std::string &columns)
{
    constexpr Carry kCanary = 0x77;
    const CString rowString = Fixed(rows);
    const CString columnString = Fixed(columns);
    std::vector<Carry> carries(columns.size() + 1, kCanary);
    const bool needsBlock = columns.size() >= kMinBlockLength;
    // Of equal lengths, the rows are the other text.
    ASSERT_EQ(Form::Distance(SText::Of(rowString), SText::Of(columnString), needsBlock ? carries.data() : nullptr),
              FuzzyModelDistance(columns, rows))
        << rows.size() << " and " << columns.size();
    ASSERT_EQ(carries.back(), kCanary) << rows.size() << " and " << columns.size();
}

TYPED_TEST(FuzzyKernels, EveryPairOfLengthsHasTheDistanceOfTheRecurrence)
{
    const size_t lengths[] = {1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 128, 129, 200, 255, 256, 300, 520, 700};
    CFuzzyTexts source(21);
    for (const size_t rowCount : lengths)
        for (const size_t columnCount : lengths)
        {
            if (rowCount > columnCount || (kVerySlow && rowCount * columnCount > 100000))
                continue;
            const std::string columns = source.Random("abc", columnCount);
            const std::string rows = source.Misspelt(columns, "abc", rowCount);
            ASSERT_NO_FATAL_FAILURE(ExpectDistance<TypeParam>(rows, columns));
        }
}

// Rows that are left out at the front, or behind some that match, cross the boundaries of strips and of bands.
TYPED_TEST(FuzzyKernels, ADistanceMayLeaveOutManyRowsInARow)
{
    struct SPair
    {
        std::string m_Begin;
        u32 m_LeftOut;
        std::string m_Common;
    };
    CFuzzyTexts source(28);
    // Of few different characters, and of more than the tables of several strips have room for.
    const std::string few = source.Random("abc", 560);
    const std::string many = source.Random("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefgh", 200);
    const SPair pairs[] = {{"", 65, few.substr(0, 63)},
                           {"", 70, few.substr(0, 130)},
                           {"", 130, few.substr(0, 200)},
                           {"", 70, many},
                           {"", 130, many},
                           {"=+=+=+", 130, many},
                           {"", 520, few},
                           {"=+=+=+", 506, few}};
    for (const SPair &pair : pairs)
    {
        const std::string rows = pair.m_Begin + std::string(pair.m_LeftOut, '-') + pair.m_Common;
        const std::string columns = pair.m_Begin + pair.m_Common + std::string(pair.m_LeftOut, '*');
        ASSERT_NO_FATAL_FAILURE(ExpectDistance<TypeParam>(rows, columns));
    }
}

TYPED_TEST(FuzzyKernels, StripsSideBySideHaveTheDistanceOfTheRecurrence)
{
    CFuzzyTexts source(22);
    for (u32 rowCount = kPairRows + 1; rowCount <= TypeParam::kStripsRows; rowCount += kVerySlow ? 61 : 13)
    {
        const std::string columns = source.Random("abcd", rowCount + source.Below(40));
        const std::string rows = source.Misspelt(columns, "abcd", rowCount);
        const CString rowString = Fixed(rows);
        const CString columnString = Fixed(columns);
        const SBoundary boundary = BoundaryOf(Bits_Rows, columnString.Length());
        std::vector<Carry> carries(columns.size());
        BeginCarries(carries.data(), columnString.Length());
        u32 distance = boundary.m_Top;
        ASSERT_TRUE(TypeParam::AdvanceStrips(SText::Of(rowString), boundary.m_Plus, SText::Of(columnString),
                                             carries.data(), distance));
        ASSERT_EQ(distance, FuzzyModelDistance(columns, rows)) << rowCount;
    }
}

TYPED_TEST(FuzzyKernels, StripsOfTooManyDifferentCharactersChangeNothing)
{
    std::string rows;
    for (u32 i = 0; i < kPairRows + 1; ++i)
        rows += static_cast<char>('!' + i % 36);
    const CString string = Fixed(rows);
    std::vector<Carry> carries(rows.size(), 2);
    const std::vector<Carry> before = carries;
    u32 distance = 7;
    EXPECT_FALSE(TypeParam::AdvanceStrips(SText::Of(string), ~0ull, SText::Of(string), carries.data(), distance));
    EXPECT_EQ(distance, 7u);
    EXPECT_EQ(carries, before);
}

template <typename Lanes>
void ExpectWeights(size_t queryLength, CFuzzyTexts &source)
{
    const std::string query = source.Random("abc", queryLength);
    std::vector<std::string> texts;
    for (u32 i = 0; i < kLaneTexts; ++i)
        texts.push_back(source.Misspelt(query, "abc", 1 + source.Below(i % 4 == 0 ? kMaxLaneText : 40)));
    const std::vector<CString> strings = StringsOf(texts);
    Lanes lanes;
    lanes.SetQuery(query.data(), static_cast<u32>(query.size()));
    for (u32 used = 0; used <= kLaneTexts; ++used)
    {
        SLaneTexts laneTexts = {};
        for (u32 i = 0; i < used; ++i)
        {
            laneTexts.m_Data[i] = strings[i].Data();
            laneTexts.m_Lengths[i] = static_cast<u16>(strings[i].Length());
        }
        float weights[kLaneTexts];
        lanes.Weigh(laneTexts, weights);
        for (u32 i = 0; i < used; ++i)
            ASSERT_EQ(weights[i], FuzzyModelWeight(query, texts[i])) << queryLength << ", " << used << ", " << i;
    }
}

TYPED_TEST(FuzzyKernels, LanesHaveTheWeightsOfTheRecurrence)
{
    CFuzzyTexts source(23);
    for (size_t queryLength = 1; queryLength <= 32; ++queryLength)
    {
        if (queryLength <= 16)
            ExpectWeights<typename TypeParam::template TLanes<u16>>(queryLength, source);
        ExpectWeights<typename TypeParam::template TLanes<u32>>(queryLength, source);
    }
}

// The longest query there may be, and a text with its terminator in place of a character.
template <typename Lanes>
void ExpectNoMatchOfTheTerminator()
{
    const std::string query(Lanes::kMaxQuery, 'a');
    std::string text = query;
    for (size_t place = 0; place < text.size(); ++place)
    {
        text.assign(query).replace(place, 1, 1, '\0');
        const CString string = Fixed(text);
        SLaneTexts laneTexts = {};
        laneTexts.m_Data[0] = string.Data();
        laneTexts.m_Lengths[0] = static_cast<u16>(string.Length());
        Lanes lanes;
        lanes.SetQuery(query.c_str(), Lanes::kMaxQuery);
        float weights[kLaneTexts];
        lanes.Weigh(laneTexts, weights);
        ASSERT_EQ(weights[0], FuzzyModelWeight(query, text)) << place;
    }
}

TYPED_TEST(FuzzyKernels, TheTerminatorOfAQueryInLanesIsNoCharacterOfIt)
{
    ExpectNoMatchOfTheTerminator<typename TypeParam::template TLanes<u16>>();
    ExpectNoMatchOfTheTerminator<typename TypeParam::template TLanes<u32>>();
}

} // namespace
