#include "kr_memoryviews.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kDataText[] = "m_Data != null";
const char kViewIndexText[] = "index < m_Count";
const char kSliceText[] = "start <= m_Count && count <= m_Count - start";
const char kStridedDataText[] = "m_Storage.m_RawDataPtr != null";
const char kStridedIndexText[] = "index < m_Storage.m_Count";
const char kStridedSliceText[] = "start <= m_Storage.m_Count && count <= m_Storage.m_Count - start";

struct SBase
{
    int m_Value = 0;
};

struct SDerived : SBase
{
};

// A record of which a view shows one field.
struct SRecord
{
    u32 m_Key;
    u16 m_Small;
    u16 m_Other;
};

// Cannot be default-constructed, so its scratch element is zeroed memory.
struct SViewedWithoutDefault
{
    explicit SViewedWithoutDefault(int value) : m_Value(value) {}

    int m_Value;
    int m_Other = 5;
};

struct SStartsAt7
{
    int m_Value = 7;
};

// Counts those that live, whichever thread they are of.
struct SCountedElement
{
    SCountedElement() { ++s_Alive; }
    SCountedElement(const SCountedElement &) = delete;
    SCountedElement &operator=(const SCountedElement &) = delete;
    ~SCountedElement() { --s_Alive; }

    static int s_Alive;
};

int SCountedElement::s_Alive = 0;

template <typename View, typename From>
constexpr bool Converts = std::is_convertible<From, View>::value;

} // namespace

TEST(MemoryView, DefaultConstructedItIsEmpty)
{
    constexpr TMemoryView<int> view;
    EXPECT_EQ(view.Data(), nullptr);
    EXPECT_EQ(view.DataEnd(), nullptr);
    EXPECT_EQ(view.Count(), 0u);
    EXPECT_TRUE(view.Empty());
    EXPECT_EQ(view.Begin(), view.End());
}

TEST(MemoryView, ShowsItsElements)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3, 4};
    const TMemoryView<int> view(values + 1, 3);
    EXPECT_EQ(view.Data(), values + 1);
    EXPECT_EQ(view.DataEnd(), values + 4);
    EXPECT_EQ(view.Count(), 3u);
    EXPECT_FALSE(view.Empty());
    EXPECT_EQ(&view.First(), values + 1);
    EXPECT_EQ(&view.Last(), values + 3);
    for (u32 i = 0; i < 3; ++i)
        EXPECT_EQ(&view[i], values + 1 + i);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemoryView, WritesThrough)
{
    int values[] = {1, 2, 3};
    const TMemoryView<int> view(values);
    view[1] = 20;
    view.First() = 10;
    view.Last() = 30;
    EXPECT_EQ(values[0], 10);
    EXPECT_EQ(values[1], 20);
    EXPECT_EQ(values[2], 30);
}

TEST(MemoryView, StepsThroughItsElements)
{
    int values[] = {1, 2, 3};
    const TMemoryView<int> view(values);
    EXPECT_EQ(view.Begin(), values);
    EXPECT_EQ(view.End(), values + 3);
    int sum = 0;
    for (const int value : view)
        sum += value;
    EXPECT_EQ(sum, 6);
}

TEST(MemoryView, AnIndexBehindTheEndReports)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3};
    const TMemoryView<int> view(values, 2);
    for (const u32 index : {2u, 3u, 0xFFFFFFFFu})
        view[index] = 9;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kViewIndexText, kViewIndexText, kViewIndexText}));
    EXPECT_EQ(values[2], 3);
}

TEST(MemoryView, AnyIndexIntoAViewOfNothingReportsBothChecks)
{
    const CAssertRecorder recorder;
    const TMemoryView<int> view;
    view[0] = 1;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kDataText, kViewIndexText}));
}

TEST(MemoryView, ANullPointerWithACountReports)
{
    const CAssertRecorder recorder;
    const TMemoryView<int> view(nullptr, 3);
    view[2] = 1;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kDataText}));
}

TEST(MemoryView, FirstAndLastOfAnEmptyViewReport)
{
    const CAssertRecorder recorder;
    int value = 1;
    const TMemoryView<int> view(&value, 0);
    view.First() = 2;
    view.Last() = 3;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kViewIndexText, kViewIndexText}));
    EXPECT_EQ(value, 1);
}

TEST(MemoryView, AssertAccessibleReportsWhatElementAccessReports)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2};
    TMemoryView<int>(values)._AssertAccessible(1);
    EXPECT_EQ(recorder.Count(), 0u);
    TMemoryView<int>(values)._AssertAccessible(2);
    TMemoryView<int>()._AssertAccessible(0);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kViewIndexText, kDataText, kViewIndexText}));
}

TEST(MemoryView, AnAccessOutsideAnswersAFreshScratchElement)
{
    const CAssertRecorder recorder;
    int value = 1;
    const TMemoryView<int> view(&value, 1);
    EXPECT_EQ(view[1], 0);
    view[1] = 9;
    EXPECT_EQ(view[1], 0);
    EXPECT_EQ(view[2], 0);
    EXPECT_EQ(value, 1);
}

TEST(MemoryView, AScratchElementIsConstructedAsTheTypeSays)
{
    const CAssertRecorder recorder;
    const TMemoryView<SStartsAt7> values;
    EXPECT_EQ(values[0].m_Value, 7);
    values[0].m_Value = 8;
    EXPECT_EQ(values[0].m_Value, 7);
    const TMemoryView<std::string> texts;
    texts[0] = "a text too long for any small buffer of a string";
    EXPECT_EQ(texts[0], "");
    const TMemoryView<const std::string> constants;
    EXPECT_EQ(constants[0], "");
}

TEST(MemoryView, AScratchElementWithoutDefaultConstructionIsZeroed)
{
    const CAssertRecorder recorder;
    const TMemoryView<SViewedWithoutDefault> view;
    EXPECT_EQ(view[0].m_Value, 0);
    EXPECT_EQ(view[0].m_Other, 0);
    view[0].m_Value = 9;
    EXPECT_EQ(view[0].m_Value, 0);
}

TEST(MemoryView, AScratchElementIsDestroyedForTheNextOneAndWithItsThread)
{
    const CAssertRecorder recorder;
    std::thread(
        []
        {
            const TMemoryView<SCountedElement> view;
            for (int i = 0; i < 3; ++i)
            {
                static_cast<void>(view[0]);
                EXPECT_EQ(SCountedElement::s_Alive, 1);
            }
        })
        .join();
    EXPECT_EQ(SCountedElement::s_Alive, 0);
}

TEST(MemoryView, AScratchElementBelongsToItsThread)
{
    const CAssertRecorder recorder;
    const TMemoryView<int> view;
    int *const mine = &view[0];
    int *others = nullptr;
    std::thread([&] { others = &view[0]; }).join();
    EXPECT_NE(mine, others);
}

TEST(MemoryView, SliceTakesStartAndCount)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3, 4};
    const TMemoryView<int> view(values);
    EXPECT_EQ(view.Slice(1, 2).Data(), values + 1);
    EXPECT_EQ(view.Slice(1, 2).Count(), 2u);
    EXPECT_EQ(view.Slice(0, 4).Count(), 4u);
    EXPECT_EQ(view.Slice(4, 0).Count(), 0u);
    EXPECT_EQ(view.Slice(4, 0).Data(), values + 4);
    EXPECT_EQ(TMemoryView<int>().Slice(0, 0).Count(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemoryView, SliceOutsideTheViewReportsAndClamps)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3, 4};
    const TMemoryView<int> view(values);
    EXPECT_EQ(view.Slice(1, 4).Data(), values + 1);
    EXPECT_EQ(view.Slice(1, 4).Count(), 3u);
    EXPECT_EQ(view.Slice(5, 0).Data(), values + 4);
    EXPECT_EQ(view.Slice(2, 0xFFFFFFFF).Count(), 2u);
    EXPECT_EQ(view.Slice(0xFFFFFFFF, 2).Count(), 0u);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kSliceText, kSliceText, kSliceText, kSliceText, kSliceText}));
}

TEST(MemoryView, SliceIFPClampsWithoutAReport)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3, 4};
    const TMemoryView<int> view(values);
    EXPECT_EQ(view.SliceIFP(1, 2).Data(), values + 1);
    EXPECT_EQ(view.SliceIFP(1, 2).Count(), 2u);
    EXPECT_EQ(view.SliceIFP(1, 0xFFFFFFFF).Count(), 3u);
    EXPECT_EQ(view.SliceIFP(9, 1).Data(), values + 4);
    EXPECT_EQ(view.SliceIFP(9, 1).Count(), 0u);
    EXPECT_EQ(TMemoryView<int>().SliceIFP(0, 5).Count(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemoryView, AnArrayBecomesAView)
{
    int values[] = {1, 2, 3};
    const int constants[] = {4, 5};
    const TMemoryView<int> view = values;
    const TMemoryView<const int> constView = values;
    const TMemoryView<const int> constantView = constants;
    EXPECT_EQ(view.Count(), 3u);
    EXPECT_EQ(view.Data(), values);
    EXPECT_EQ(constView.Count(), 3u);
    EXPECT_EQ(constantView.Count(), 2u);
    EXPECT_EQ(constantView[1], 5);
}

TEST(MemoryView, AViewGainsQualifiersAndNothingElse)
{
    int values[] = {1, 2, 3};
    const TMemoryView<int> view(values);
    const TMemoryView<const int> constView = view;
    EXPECT_EQ(constView.Data(), values);
    EXPECT_EQ(constView.Count(), 3u);

    EXPECT_TRUE((Converts<TMemoryView<const volatile int>, TMemoryView<int>>));
    EXPECT_TRUE((Converts<TMemoryView<const int *const>, TMemoryView<int *>>));
    EXPECT_FALSE((Converts<TMemoryView<int>, TMemoryView<const int>>));
    EXPECT_FALSE((Converts<TMemoryView<long>, TMemoryView<int>>));
    EXPECT_FALSE((Converts<TMemoryView<unsigned>, TMemoryView<int>>));
    // Elements of a derived class may be larger: stepping through them as bases would go astray.
    EXPECT_FALSE((Converts<TMemoryView<SBase>, TMemoryView<SDerived>>));
    EXPECT_FALSE((Converts<TMemoryView<const SBase>, TMemoryView<SDerived>>));
    EXPECT_FALSE((Converts<TMemoryView<SBase>, SDerived(&)[3]>));
    EXPECT_FALSE((Converts<TMemoryView<int>, const int(&)[3]>));
}

TEST(MemoryView, AnArrayOfCharactersIsNoView)
{
    EXPECT_FALSE((Converts<TMemoryView<const char>, const char(&)[4]>));
    EXPECT_FALSE((Converts<TMemoryView<char>, char(&)[4]>));
    const TMemoryView<const char> view("abc", 3);
    EXPECT_EQ(view.Last(), 'c');
}

TEST(MemoryView, IsAPlainValueUsableInConstantExpressions)
{
    static constexpr int kValues[] = {1, 2, 3};
    constexpr TMemoryView<const int> view(kValues);
    static_assert(view.Count() == 3 && view.Data() == kValues, "known to the compiler");
    static_assert(view.SliceIFP(1, 9).Count() == 2, "known to the compiler");
    EXPECT_TRUE(std::is_trivially_copyable<TMemoryView<int>>::value);
}

TEST(StridedMemoryView, DefaultConstructedItIsEmpty)
{
    const TStridedMemoryView<int> view;
    EXPECT_EQ(view.Data(), nullptr);
    EXPECT_EQ(view.Count(), 0u);
    EXPECT_TRUE(view.Empty());
    EXPECT_TRUE(view.Begin() == view.End());
}

TEST(StridedMemoryView, TheStrideIsTheElementsSizeUnlessGiven)
{
    int values[] = {1, 2, 3};
    EXPECT_EQ(TStridedMemoryView<int>(values, 3).Stride(), sizeof(int));
    EXPECT_EQ(TStridedMemoryView<int>(values, 2, 8).Stride(), 8u);
    EXPECT_EQ(TStridedMemoryView<int>().Stride(), sizeof(int));
}

TEST(StridedMemoryView, ShowsAFieldOfEveryRecord)
{
    const CAssertRecorder recorder;
    SRecord records[] = {{1, 10, 0}, {2, 20, 0}, {3, 30, 0}};
    const TStridedMemoryView<u16> view(&records[0].m_Small, 3, sizeof(SRecord));
    EXPECT_EQ(view.Data(), &records[0].m_Small);
    EXPECT_EQ(view.Count(), 3u);
    EXPECT_FALSE(view.Empty());
    for (u32 i = 0; i < 3; ++i)
        EXPECT_EQ(&view[i], &records[i].m_Small);
    EXPECT_EQ(&view.First(), &records[0].m_Small);
    EXPECT_EQ(&view.Last(), &records[2].m_Small);
    view[1] = 21;
    EXPECT_EQ(records[1].m_Small, 21u);
    EXPECT_EQ(records[1].m_Other, 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StridedMemoryView, AStrideOf0RepeatsOneElement)
{
    int value = 7;
    const TStridedMemoryView<int> view(&value, 5, 0);
    EXPECT_EQ(&view[4], &value);
    EXPECT_EQ(&view.Last(), &value);
}

namespace
{

// Steps through a view in every way there is: each must meet exactly the elements that indices give.
void ExpectStepsAgreeWithIndices(const TStridedMemoryView<u8> &view)
{
    typedef TStridedMemoryView<u8>::Iterator Iterator;
    const Iterator begin = view.Begin();
    const Iterator end = view.End();
    const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(view.Count());
    EXPECT_EQ(end - begin, count);
    EXPECT_EQ(begin - end, -count);
    EXPECT_EQ(std::distance(view.begin(), view.end()), count);
    EXPECT_TRUE(begin + count == end);
    EXPECT_TRUE(end - count == begin);

    u32 index = 0;
    for (u8 &element : view)
        EXPECT_EQ(&element, &view[index++]);
    EXPECT_EQ(index, view.Count());
    for (Iterator it = end; it != begin; --it)
        EXPECT_EQ(&it[-1], &view[--index]);
    EXPECT_EQ(index, 0u);
    index = view.Count();
    for (auto it = std::make_reverse_iterator(end); it != std::make_reverse_iterator(begin); ++it)
        EXPECT_EQ(&*it, &view[--index]);
    EXPECT_EQ(index, 0u);
}

// Orders every two of a view's iterators as their indices are.
void ExpectIteratorsOrderAsIndices(const TStridedMemoryView<u8> &view)
{
    const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(view.Count());
    for (std::ptrdiff_t i = 0; i <= count; ++i)
    {
        for (std::ptrdiff_t j = 0; j <= count; ++j)
        {
            const auto a = view.Begin() + i;
            const auto b = view.End() - (count - j);
            EXPECT_EQ(a - b, i - j);
            EXPECT_EQ(a == b, i == j);
            EXPECT_EQ(a != b, i != j);
            EXPECT_EQ(a < b, i < j);
            EXPECT_EQ(a > b, i > j);
            EXPECT_EQ(a <= b, i <= j);
            EXPECT_EQ(a >= b, i >= j);
        }
    }
}

} // namespace

TEST(StridedMemoryView, CountIndicesAndIteratorsAgreeForEveryStrideAndCount)
{
    u8 bytes[64] = {};
    for (const u32 stride : {0u, 1u, 2u, 3u, 7u, 8u})
    {
        for (u32 count = 0; count <= 9 && (count == 0 || (count - 1) * stride < sizeof(bytes)); ++count)
        {
            SCOPED_TRACE(testing::Message() << "stride " << stride << ", count " << count);
            const TStridedMemoryView<u8> view(bytes, count, stride);
            ExpectStepsAgreeWithIndices(view);
            ExpectIteratorsOrderAsIndices(view);
            for (u32 start = 0; start <= count + 1; ++start)
                ExpectStepsAgreeWithIndices(view.SliceIFP(start, count / 2));
        }
    }
}

TEST(StridedMemoryView, AViewGainsQualifiersAndKeepsItsStrideOf0)
{
    int value = 7;
    const TStridedMemoryView<int> view(&value, 3, 0);
    const TStridedMemoryView<const int> constView = view;
    EXPECT_EQ(constView.Stride(), 0u);
    EXPECT_EQ(std::vector<int>(constView.begin(), constView.end()), (std::vector<int>{7, 7, 7}));
}

TEST(StridedMemoryView, TheStandardAlgorithmsMeetARepeatedElementAsOftenAsItCounts)
{
    int value = 7;
    const TStridedMemoryView<int> view(&value, 1000, 0);
    EXPECT_EQ(std::count(view.begin(), view.end(), 7), 1000);
    EXPECT_TRUE(std::find(view.begin(), view.end(), 8) == view.end());
    EXPECT_TRUE(std::lower_bound(view.begin(), view.end(), 8) == view.end());
    EXPECT_TRUE(std::lower_bound(view.begin(), view.end(), 7) == view.begin());
    for (int &element : view)
        ++element;
    EXPECT_EQ(value, 1007);
}

TEST(StridedMemoryView, ARepeatedElementMayCountAsFarAsACountReaches)
{
    int value = 7;
    // Distances of iterators are addresses' apart.
    constexpr u32 kMaxCount = static_cast<u32>(std::min<u64>(0xFFFFFFFF, PTRDIFF_MAX));
    const TStridedMemoryView<int> view(&value, kMaxCount, 0);
    EXPECT_EQ(view.End() - view.Begin(), static_cast<ptrdiff_t>(kMaxCount));
    EXPECT_TRUE(view.Begin() + static_cast<ptrdiff_t>(kMaxCount) == view.End());
    EXPECT_TRUE(view.Begin() < view.End());
    EXPECT_EQ(&view.End()[-1], &value);
}

// Addresses only. A stride has no sign: one that was meant as negative leads far forward, for steps as for indices.
TEST(StridedMemoryView, TheLongestStrideLeadsForward)
{
    if (sizeof(void *) < 8)
        GTEST_SKIP() << "addresses have no 64 bits here";
    static u8 value = 0;
    u8 *volatile const data = &value;
    const TStridedMemoryView<u8> view(data, 3, 0xFFFFFFFF);
    const ureg start = reinterpret_cast<ureg>(&value);
    EXPECT_EQ(reinterpret_cast<ureg>(&view[2]), start + 0x1FFFFFFFEull);
    EXPECT_EQ(reinterpret_cast<ureg>(&view.Begin()[2]), start + 0x1FFFFFFFEull);
    EXPECT_EQ(view.End() - view.Begin(), 3);
}

// Where addresses are short, the end of these lies behind the last one, or where the view begins.
TEST(StridedMemoryView, ItsEndMayLieBeyondAllAddresses)
{
    const CAssertRecorder recorder;
    u8 element = 1;
    for (const u32 stride : {0x40000000u, 0x50000000u, 0x80000000u, 0xFFFFFFFFu})
    {
        const TStridedMemoryView<u8> view(&element, 4, stride);
        EXPECT_EQ(view.End() - view.Begin(), 4) << stride;
        EXPECT_EQ(view.Begin() - view.End(), -4) << stride;
        EXPECT_TRUE(view.Begin() != view.End()) << stride;
        EXPECT_TRUE(view.Begin() < view.End()) << stride;
        EXPECT_TRUE(view.End() - 4 == view.Begin()) << stride;
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StridedMemoryView, AnIndexBehindTheEndReports)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3};
    const TStridedMemoryView<int> view(values, 2);
    view[2] = 9;
    view[0xFFFFFFFF] = 9;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStridedIndexText, kStridedIndexText}));
    EXPECT_EQ(values[2], 3);
}

TEST(StridedMemoryView, AnyIndexIntoAViewOfNothingReportsBothChecks)
{
    const CAssertRecorder recorder;
    TStridedMemoryView<int>()[0] = 1;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStridedDataText, kStridedIndexText}));
    TStridedMemoryView<int>(nullptr, 2)[1] = 1;
    EXPECT_EQ(recorder.Count(), IfAsserting(3));
    EXPECT_EQ(recorder.CountOf(kStridedDataText), IfAsserting(2));
}

TEST(StridedMemoryView, FirstAndLastOfAnEmptyViewReport)
{
    const CAssertRecorder recorder;
    int value = 1;
    const TStridedMemoryView<int> view(&value, 0);
    view.First() = 2;
    view.Last() = 3;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStridedIndexText, kStridedIndexText}));
    EXPECT_EQ(value, 1);
}

TEST(StridedMemoryView, AssertAccessibleReportsWhatElementAccessReports)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2};
    TStridedMemoryView<int>(values)._AssertAccessible(1);
    EXPECT_EQ(recorder.Count(), 0u);
    TStridedMemoryView<int>(values)._AssertAccessible(2);
    TStridedMemoryView<int>()._AssertAccessible(0);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStridedIndexText, kStridedDataText, kStridedIndexText}));
}

TEST(StridedMemoryView, AnAccessOutsideAnswersAFreshScratchElement)
{
    const CAssertRecorder recorder;
    const TStridedMemoryView<SStartsAt7> view;
    view[0].m_Value = 9;
    EXPECT_EQ(view[0].m_Value, 7);
}

// Addresses only: nobody has that much memory.
TEST(StridedMemoryView, OffsetsAreComputedIn64Bits)
{
    if (sizeof(void *) < 8)
        GTEST_SKIP() << "addresses have no 64 bits here";
    static u64 value = 0;
    // Volatile, since compilers warn of addresses outside of what they see.
    u64 *volatile const data = &value;
    const ureg start = reinterpret_cast<ureg>(&value);
    const TStridedMemoryView<u64> view(data, 0x40000000, 64);
    EXPECT_EQ(reinterpret_cast<ureg>(&view[0x3FFFFFFF]), start + 0xFFFFFFFC0ull);
    EXPECT_EQ(reinterpret_cast<ureg>(&view.Last()), start + 0xFFFFFFFC0ull);
    EXPECT_EQ(reinterpret_cast<ureg>(view.SliceIFP(0x20000000, 1).Data()), start + 0x800000000ull);
    EXPECT_EQ(view.End() - view.Begin(), 0x40000000);
}

TEST(StridedMemoryView, SliceTakesStartAndCountAndKeepsTheStride)
{
    const CAssertRecorder recorder;
    SRecord records[4] = {};
    const TStridedMemoryView<u32> view(&records[0].m_Key, 4, sizeof(SRecord));
    const TStridedMemoryView<u32> slice = view.Slice(1, 2);
    EXPECT_EQ(slice.Data(), &records[1].m_Key);
    EXPECT_EQ(slice.Count(), 2u);
    EXPECT_EQ(slice.Stride(), sizeof(SRecord));
    EXPECT_EQ(&slice[1], &records[2].m_Key);
    EXPECT_EQ(view.Slice(4, 0).Count(), 0u);
    EXPECT_EQ(TStridedMemoryView<u32>().Slice(0, 0).Count(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StridedMemoryView, SliceOutsideTheViewReportsAndClamps)
{
    const CAssertRecorder recorder;
    SRecord records[4] = {};
    const TStridedMemoryView<u32> view(&records[0].m_Key, 4, sizeof(SRecord));
    EXPECT_EQ(view.Slice(3, 2).Count(), 1u);
    EXPECT_EQ(view.Slice(3, 0xFFFFFFFF).Data(), &records[3].m_Key);
    EXPECT_EQ(view.Slice(5, 0).Count(), 0u);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStridedSliceText, kStridedSliceText, kStridedSliceText}));
}

TEST(StridedMemoryView, SliceIFPClampsWithoutAReport)
{
    const CAssertRecorder recorder;
    SRecord records[4] = {};
    const TStridedMemoryView<u32> view(&records[0].m_Key, 4, sizeof(SRecord));
    EXPECT_EQ(view.SliceIFP(3, 2).Count(), 1u);
    EXPECT_EQ(view.SliceIFP(3, 2).Stride(), sizeof(SRecord));
    EXPECT_EQ(view.SliceIFP(7, 2).Count(), 0u);
    EXPECT_EQ(TStridedMemoryView<u32>().SliceIFP(0, 2).Count(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StridedMemoryView, ArraysAndViewsBecomeStridedViews)
{
    int values[] = {1, 2, 3};
    const TStridedMemoryView<int> fromArray = values;
    const TStridedMemoryView<const int> constFromArray = values;
    const TStridedMemoryView<const int> fromView = TMemoryView<int>(values, 2);
    EXPECT_EQ(fromArray.Count(), 3u);
    EXPECT_EQ(fromArray.Stride(), sizeof(int));
    EXPECT_EQ(constFromArray.Data(), values);
    EXPECT_EQ(fromView.Count(), 2u);
    EXPECT_EQ(fromView.Stride(), sizeof(int));
    EXPECT_EQ(fromView.Data(), values);
}

TEST(StridedMemoryView, AViewGainsQualifiersAndNothingElse)
{
    SRecord records[2] = {};
    const TStridedMemoryView<u32> view(&records[0].m_Key, 2, sizeof(SRecord));
    const TStridedMemoryView<const u32> constView = view;
    EXPECT_EQ(constView.Stride(), sizeof(SRecord));
    EXPECT_EQ(&constView[1], &records[1].m_Key);

    EXPECT_FALSE((Converts<TStridedMemoryView<int>, TStridedMemoryView<const int>>));
    EXPECT_FALSE((Converts<TStridedMemoryView<int>, TMemoryView<const int>>));
    EXPECT_FALSE((Converts<TStridedMemoryView<SBase>, TStridedMemoryView<SDerived>>));
    EXPECT_FALSE((Converts<TStridedMemoryView<SBase>, TMemoryView<SDerived>>));
    EXPECT_FALSE((Converts<TStridedMemoryView<SBase>, SDerived(&)[3]>));
    EXPECT_FALSE((Converts<TStridedMemoryView<const char>, const char(&)[4]>));
    EXPECT_FALSE((Converts<TMemoryView<int>, TStridedMemoryView<int>>));
}

TEST(StridedMemoryView, StepsThroughItsElements)
{
    SRecord records[] = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}};
    const TStridedMemoryView<u32> view(&records[0].m_Key, 3, sizeof(SRecord));
    std::vector<u32> seen;
    for (const u32 key : view)
        seen.push_back(key);
    EXPECT_EQ(seen, (std::vector<u32>{1, 2, 3}));
}

TEST(StridedMemoryView, ItsIteratorMovesInTheMannerOfAPointer)
{
    SRecord records[] = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}};
    const TStridedMemoryView<SRecord> view(records, 2, 2 * sizeof(SRecord));
    typedef TStridedMemoryView<SRecord>::Iterator IteratorOfView;
    IteratorOfView it = view.Begin();
    EXPECT_EQ((*it).m_Key, 1u);
    EXPECT_EQ((it++)->m_Key, 1u);
    EXPECT_EQ(it->m_Key, 3u);
    EXPECT_EQ((it--)->m_Key, 3u);
    EXPECT_EQ(it->m_Key, 1u);
    EXPECT_EQ((++it)->m_Key, 3u);
    EXPECT_EQ((--it)->m_Key, 1u);
    EXPECT_EQ(it[1].m_Key, 3u);
    EXPECT_TRUE(it + 2 == view.End());
    EXPECT_TRUE(2 + it == view.End());
    EXPECT_TRUE(view.End() - 2 == it);
    EXPECT_EQ(view.End() - view.Begin(), 2);
    EXPECT_EQ(view.Begin() - view.End(), -2);
    EXPECT_TRUE(view.Begin() < view.End());
    EXPECT_TRUE(view.End() > view.Begin());
    EXPECT_TRUE(view.Begin() <= view.Begin());
    EXPECT_TRUE(view.Begin() >= view.Begin());
    EXPECT_TRUE(view.Begin() != view.End());
    EXPECT_TRUE(IteratorOfView() == IteratorOfView());
    EXPECT_TRUE(IteratorOfView() == TStridedMemoryView<SRecord>().Begin());
    EXPECT_TRUE(IteratorOfView() == TStridedMemoryView<SRecord>().End());
}

TEST(StridedMemoryView, TheStandardAlgorithmsWork)
{
    SRecord records[] = {{3, 30, 0}, {1, 10, 0}, {2, 20, 0}};
    const TStridedMemoryView<u32> view(&records[0].m_Key, 3, sizeof(SRecord));
    std::sort(view.begin(), view.end());
    EXPECT_EQ(records[0].m_Key, 1u);
    EXPECT_EQ(records[1].m_Key, 2u);
    EXPECT_EQ(records[2].m_Key, 3u);
    // The fields beside stay where they are.
    EXPECT_EQ(records[0].m_Small, 30u);
    EXPECT_EQ(records[1].m_Small, 10u);
    EXPECT_EQ(std::distance(view.begin(), view.end()), 3);
}

} // namespace QuorvaneTest
