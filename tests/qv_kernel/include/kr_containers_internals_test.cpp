#include "kr_containers_internals.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "every_text.h"
#include "kr_containers_array.h"
#include "kr_refptr.h"
#include "kr_string.h"
#include "sort_model.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kRangeText[] = "start <= end && (data != null || start == end)";

// An element that notes its destruction.
struct SMortal
{
    explicit SMortal(int value = 0) : m_Value(value) {}
    ~SMortal() { s_Destroyed.push_back(m_Value); }

    int m_Value;

    static std::vector<int> s_Destroyed;
};

std::vector<int> SMortal::s_Destroyed;

// Raw memory that holds elements which nobody else destroys.
template <typename T, u32 N>
class CRawElements
{
public:
    CRawElements() = default;
    CRawElements(const CRawElements &) = delete;
    CRawElements &operator=(const CRawElements &) = delete;

    T *Data() { return reinterpret_cast<T *>(m_Bytes); }
    template <typename... Arguments>
    T &Construct(u32 index, Arguments &&...arguments)
    {
        return *::new (static_cast<void *>(Data() + index)) T(std::forward<Arguments>(arguments)...);
    }

private:
    alignas(T) unsigned char m_Bytes[N * sizeof(T)];
};

typedef Internal::TRangeDestructor<SMortal, true> CMortalDestructor;
typedef Internal::TRangeDestructor<int, false> CIntDestructor;

class CCounted : public CRefCountedObject
{
public:
    CCounted() = default;
};

// An element with a key to sort by and the place where it started.
struct SKeyed
{
    u32 m_Key;
    u32 m_Id;

    friend bool operator==(const SKeyed &a, const SKeyed &b) { return a.m_Key == b.m_Key && a.m_Id == b.m_Id; }
};

struct SByKey
{
    static bool Less(const SKeyed &a, const SKeyed &b) { return a.m_Key < b.m_Key; }
    static bool Equal(const SKeyed &a, const SKeyed &b) { return a.m_Key == b.m_Key; }
};

typedef std::vector<u32> Keys;
typedef std::vector<SKeyed> Elements;

Elements WithIds(const Keys &keys)
{
    Elements elements;
    for (const u32 key : keys)
        elements.push_back({key, static_cast<u32>(elements.size())});
    return elements;
}

Elements SortedRaw(Elements elements)
{
    QuickSort<SByKey>(elements.data(), elements.data() + elements.size());
    return elements;
}

Elements SortedChecked(const Elements &elements)
{
    TArray<SKeyed> array;
    EXPECT_TRUE(array.CopyFrom(TMemoryView<const SKeyed>(elements.data(), static_cast<u32>(elements.size()))));
    QuickSort<SByKey>(array.Begin(), array.End());
    return Elements(array.begin(), array.end());
}

bool IsAscending(const Elements &elements)
{
    return std::is_sorted(elements.begin(), elements.end(), &SByKey::Less);
}

// The model's result is what both forms of range must give, element by element, and it is sorted.
void ExpectTheModelsOrder(const Keys &keys)
{
    const Elements elements = WithIds(keys);
    Elements expected = elements;
    const std::size_t mostPending = ModelQuickSort<SByKey>(expected);
    EXPECT_TRUE(IsAscending(expected));
    EXPECT_LE(mostPending, 28u);

    const CAssertRecorder recorder;
    // Compared as a whole: a difference of large ranges is not worth printing.
    EXPECT_TRUE(SortedRaw(elements) == expected);
    EXPECT_TRUE(SortedChecked(elements) == expected);
    EXPECT_EQ(recorder.Count(), 0u);
}

Keys RandomKeys(u32 count, u32 distinct, u32 seed)
{
    std::mt19937 random(seed);
    Keys keys(count);
    for (u32 &key : keys)
        key = static_cast<u32>(random() % distinct);
    return keys;
}

Keys SortedKeys(u32 count)
{
    Keys keys(count);
    std::iota(keys.begin(), keys.end(), 0u);
    return keys;
}

Keys ReversedKeys(u32 count)
{
    Keys keys = SortedKeys(count);
    std::reverse(keys.begin(), keys.end());
    return keys;
}

// Up to the middle and down again.
Keys OrganPipeKeys(u32 count)
{
    Keys keys(count);
    for (u32 i = 0; i < count; ++i)
        keys[i] = std::min(i, count - 1 - i);
    return keys;
}

// Makes the worst input for a quick sort by deciding the keys while it runs (M. D. McIlroy, "A Killer Adversary for
// Quicksort", 1999): whatever becomes the pivot turns out to be one of the smallest.
struct SAdversary
{
    static bool Less(u32 a, u32 b)
    {
        if (_IsOpen(a) && _IsOpen(b))
            s_Keys[a == s_Candidate ? a : b] = s_NextKey++;
        if (_IsOpen(a))
            s_Candidate = a;
        else if (_IsOpen(b))
            s_Candidate = b;
        return s_Keys[a] < s_Keys[b];
    }
    static bool Equal(u32 a, u32 b) { return a == b; }

    static Keys Make(u32 count)
    {
        s_Keys.assign(count, count);
        s_Open = count;
        s_NextKey = 0;
        s_Candidate = 0;
        std::vector<u32> indices = SortedKeys(count);
        ModelQuickSort<SAdversary>(indices);
        return std::move(s_Keys);
    }

private:
    static bool _IsOpen(u32 index) { return s_Keys[index] == s_Open; }

    static Keys s_Keys;
    static u32 s_Open; // the key of those that are not decided yet
    static u32 s_NextKey;
    static u32 s_Candidate;
};

Keys SAdversary::s_Keys;
u32 SAdversary::s_Open;
u32 SAdversary::s_NextKey;
u32 SAdversary::s_Candidate;

// A comparator that notes what it is asked: the ids of the two elements.
struct SNoting
{
    typedef std::vector<std::pair<u32, u32>> Questions;

    static bool Less(const SKeyed &a, const SKeyed &b)
    {
        s_Less.emplace_back(a.m_Id, b.m_Id);
        return SByKey::Less(a, b);
    }
    static bool Equal(const SKeyed &a, const SKeyed &b)
    {
        s_Equal.emplace_back(a.m_Id, b.m_Id);
        return SByKey::Equal(a, b);
    }
    static void Forget()
    {
        s_Less.clear();
        s_Equal.clear();
    }

    static Questions s_Less;
    static Questions s_Equal;
};

SNoting::Questions SNoting::s_Less;
SNoting::Questions SNoting::s_Equal;

// Comparators that lie.
struct SAlways
{
    static bool Less(u32, u32) { return true; }
    static bool Equal(u32, u32) { return true; }
};

struct SNever
{
    static bool Less(u32, u32) { return false; }
    static bool Equal(u32, u32) { return false; }
};

struct SLessYetNeverEqual
{
    static bool Less(u32, u32) { return true; }
    static bool Equal(u32, u32) { return false; }
};

struct SEqualYetNeverLess
{
    static bool Less(u32, u32) { return false; }
    static bool Equal(u32, u32) { return true; }
};

struct SAtRandom
{
    static bool Less(u32, u32) { return (s_Random() & 1) != 0; }
    static bool Equal(u32, u32) { return (s_Random() & 1) != 0; }

    static std::mt19937 s_Random;
};

std::mt19937 SAtRandom::s_Random(7);

constexpr u32 kGuard = 0xDEADBEEF;

// `count` different values between guards.
Keys Guarded(u32 count)
{
    Keys values = SortedKeys(count);
    values.insert(values.begin(), kGuard);
    values.push_back(kGuard);
    return values;
}

// The guards stand and nothing between them was lost or doubled.
void ExpectAPermutation(Keys values)
{
    ASSERT_GE(values.size(), 2u);
    EXPECT_EQ(values.front(), kGuard);
    EXPECT_EQ(values.back(), kGuard);
    std::sort(values.begin() + 1, values.end() - 1);
    EXPECT_TRUE(values == Guarded(static_cast<u32>(values.size()) - 2));
}

template <typename Liar>
void ExpectALiarStaysInTheRange(u32 count)
{
    SCOPED_TRACE(::testing::Message() << count << " elements");
    const CAssertRecorder recorder;
    for (const bool shortSort : {false, true})
    {
        Keys values = Guarded(count);
        u32 *const begin = values.data() + 1;
        if (shortSort)
            InsertionSort<Liar>(begin, begin + count);
        else
            QuickSort<Liar>(begin, begin + count);
        ExpectAPermutation(values);

        // All of an array: the iterators report whoever leaves it.
        TArray<u32> array;
        ASSERT_TRUE(array.CopyFrom(TMemoryView<const u32>(values.data(), count + 2)));
        if (shortSort)
            InsertionSort<Liar>(array.Begin() + 1, array.End() - 1);
        else
            QuickSort<Liar>(array.Begin() + 1, array.End() - 1);
        ExpectAPermutation(Keys(array.begin(), array.end()));
        if (shortSort)
            InsertionSort<Liar>(array.Begin(), array.End());
        else
            QuickSort<Liar>(array.Begin(), array.End());
        Keys sorted(array.begin(), array.end());
        std::sort(sorted.begin(), sorted.end());
        std::sort(values.begin(), values.end());
        EXPECT_TRUE(sorted == values);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

template <typename Liar>
void ExpectALiarStaysInEveryRange()
{
    for (u32 count = 0; count <= 70; ++count)
        ExpectALiarStaysInTheRange<Liar>(count);
    ExpectALiarStaysInTheRange<Liar>(500);
    ExpectALiarStaysInTheRange<Liar>(1023);
}

// An element that must be left alone.
struct SUntouchable
{
    SUntouchable() = default;
    SUntouchable(SUntouchable &&) noexcept { ++s_Touches; }
    SUntouchable &operator=(SUntouchable &&) noexcept
    {
        ++s_Touches;
        return *this;
    }

    static bool Less(const SUntouchable &, const SUntouchable &) { return ++s_Touches != 0; }
    static bool Equal(const SUntouchable &, const SUntouchable &) { return ++s_Touches != 0; }

    static u32 s_Touches;
};

u32 SUntouchable::s_Touches = 0;

// Sorted by a comparator that is chosen for its iterator type.
struct SRanked
{
    int m_Rank;
};

// Offers < and == alone, and only to the default comparator.
struct SOwnOrder
{
    int m_Value;

    friend bool operator<(const SOwnOrder &a, const SOwnOrder &b) { return a.m_Value < b.m_Value; }
    friend bool operator==(const SOwnOrder &a, const SOwnOrder &b) { return a.m_Value == b.m_Value; }
};

struct SMoveOnlyOrder
{
    static bool Less(const std::unique_ptr<int> &a, const std::unique_ptr<int> &b) { return *a < *b; }
    static bool Equal(const std::unique_ptr<int> &a, const std::unique_ptr<int> &b) { return *a == *b; }
};

// Counts assignments to itself, behind which types of the standard library may have any value.
class CNeverOntoItself
{
public:
    explicit CNeverOntoItself(u32 key) : m_Key(key) {}
    CNeverOntoItself(CNeverOntoItself &&other) noexcept = default;
    CNeverOntoItself &operator=(CNeverOntoItself &&other) noexcept
    {
        s_OntoThemselves += this == &other ? 1 : 0;
        m_Key = other.m_Key;
        return *this;
    }

    static bool Less(const CNeverOntoItself &a, const CNeverOntoItself &b) { return a.m_Key < b.m_Key; }
    static bool Equal(const CNeverOntoItself &a, const CNeverOntoItself &b) { return a.m_Key == b.m_Key; }

    static u32 s_OntoThemselves;

private:
    u32 m_Key;
};

u32 CNeverOntoItself::s_OntoThemselves = 0;

struct STextOrder
{
    static bool Less(const CString &a, const CString &b) { return a < b; }
    static bool Equal(const CString &a, const CString &b) { return a == b; }
};

} // namespace

} // namespace QuorvaneTest

namespace Quorvane
{

template <>
struct TSortDefaultCompare<QuorvaneTest::SRanked *>
{
    static bool Less(const QuorvaneTest::SRanked &a, const QuorvaneTest::SRanked &b) { return a.m_Rank > b.m_Rank; }
    static bool Equal(const QuorvaneTest::SRanked &a, const QuorvaneTest::SRanked &b) { return a.m_Rank == b.m_Rank; }
};

template <>
struct TSortDefaultCompare<TArray<QuorvaneTest::SRanked>::Iterator> : TSortDefaultCompare<QuorvaneTest::SRanked *>
{
};

} // namespace Quorvane

namespace QuorvaneTest
{

TEST(RangeDestructor, DestroysTheRangeInIncreasingOrder)
{
    const CAssertRecorder recorder;
    CRawElements<SMortal, 6> elements;
    for (u32 i = 0; i < 6; ++i)
        elements.Construct(i, static_cast<int>(i));
    SMortal::s_Destroyed.clear();
    CMortalDestructor::Destroy(elements.Data(), 2, 5);
    EXPECT_EQ(SMortal::s_Destroyed, (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(RangeDestructor, AnEmptyRangeDestroysNothing)
{
    const CAssertRecorder recorder;
    CRawElements<SMortal, 3> elements;
    SMortal::s_Destroyed.clear();
    CMortalDestructor::Destroy(elements.Data(), 2, 2);
    CMortalDestructor::Destroy(nullptr, 3, 3);
    CMortalDestructor::Destroy(nullptr, 0, 0);
    CIntDestructor::Destroy(nullptr, 3, 3);
    EXPECT_TRUE(SMortal::s_Destroyed.empty());
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(RangeDestructor, ARangeTheWrongWayRoundIsReportedAndDestroysNothing)
{
    const CAssertRecorder recorder;
    CRawElements<SMortal, 3> elements;
    SMortal::s_Destroyed.clear();
    CMortalDestructor::Destroy(elements.Data(), 2, 1);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kRangeText}));
    EXPECT_TRUE(SMortal::s_Destroyed.empty());
}

TEST(RangeDestructor, NoElementsToDestroyAreReported)
{
    const CAssertRecorder recorder;
    SMortal::s_Destroyed.clear();
    CMortalDestructor::Destroy(nullptr, 0, 1);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kRangeText}));
    EXPECT_TRUE(SMortal::s_Destroyed.empty());
}

TEST(RangeDestructor, ElementsWithoutADestructorAreCheckedAllTheSame)
{
    const CAssertRecorder recorder;
    int values[] = {1, 2, 3};
    CIntDestructor::Destroy(values, 0, 3);
    EXPECT_EQ(recorder.Count(), 0u);
    CIntDestructor::Destroy(values, 3, 2);
    CIntDestructor::Destroy(nullptr, 0, 1);
    EXPECT_EQ(recorder.CountOf(kRangeText), IfAsserting(2));
    EXPECT_EQ(recorder.Count(), IfAsserting(2));
    EXPECT_EQ(values[0], 1);
    EXPECT_EQ(values[2], 3);
}

TEST(RangeDestructor, StringsDropTheirReferences)
{
    const CTestAllocator allocator;
    CRawElements<CString, 3> strings;
    const CString shared("one that others hold too");
    strings.Construct(0, "one of its own");
    strings.Construct(1, shared);
    strings.Construct(2);
    const u64 before = allocator.LiveBlocks();
    Internal::TRangeDestructor<CString, true>::Destroy(strings.Data(), 0, 3);
    EXPECT_EQ(allocator.LiveBlocks(), before - 1);
    EXPECT_TRUE(shared == "one that others hold too");
}

TEST(RangeDestructor, ViewsReleaseNothing)
{
    const CTestAllocator allocator;
    const CString text("some text");
    CRawElements<CStringView, 2> views;
    views.Construct(0, text);
    views.Construct(1, text);
    const u64 before = allocator.LiveBlocks();
    Internal::TRangeDestructor<CStringView, !std::is_trivially_destructible<CStringView>::value>::Destroy(views.Data(),
                                                                                                          0, 2);
    EXPECT_EQ(allocator.LiveBlocks(), before);
    EXPECT_TRUE(std::is_trivially_destructible<CStringView>::value);
}

TEST(RangeDestructor, AReferenceTooManyIsReported)
{
    CCounted counted;
    CRawElements<TRefPtr<CCounted>, 1> pointers;
    pointers.Construct(0, &counted);
    EXPECT_EQ(counted._InternalRemoveReference(), 0u);

    const CAssertRecorder recorder;
    Internal::TRangeDestructor<TRefPtr<CCounted>, true>::Destroy(pointers.Data(), 0, 1);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"s32(nrc) >= 0"}));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, "/!\\ strong refcount underflow /!\\");
    }
}

TEST(SortDefaultCompare, AsksTheValuesThemselves)
{
    typedef TSortDefaultCompare<SOwnOrder *> Compare;
    const SOwnOrder one = {1};
    const SOwnOrder two = {2};
    EXPECT_TRUE(Compare::Less(one, two));
    EXPECT_FALSE(Compare::Less(two, one));
    EXPECT_FALSE(Compare::Less(one, one));
    EXPECT_TRUE(Compare::Equal(one, one));
    EXPECT_FALSE(Compare::Equal(one, two));
    typedef TSortDefaultCompare<TArray<SOwnOrder>::Iterator> CheckedCompare;
    EXPECT_TRUE(CheckedCompare::Less(one, two));
    EXPECT_TRUE(CheckedCompare::Equal(two, two));
}

TEST(QuickSort, HasItsConstants)
{
    typedef Internal::TQuickSortTraits<SByKey, SKeyed *> Traits;
    EXPECT_EQ(u64(Traits::kMaxElementCount), 4294967295ull);
    EXPECT_EQ(u64(Traits::kSubdivisionLimit), 12u);
    EXPECT_EQ(u64(Traits::kStackSize), 28u);
}

TEST(QuickSort, TakesTheDefaultOrder)
{
    int raw[] = {3, 1, 2};
    QuickSort(raw, raw + 3);
    EXPECT_TRUE(std::equal(raw, raw + 3, std::begin({1, 2, 3})));

    TArray<SOwnOrder> array;
    for (int i = 0; i < 40; ++i)
        array.PushBack(SOwnOrder{i * 7 % 40});
    QuickSort(array.Begin(), array.End());
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(array[static_cast<u32>(i)].m_Value, i);
}

TEST(QuickSort, TakesTheOrderThatAModuleHasChosenForAnIteratorType)
{
    SRanked raw[] = {{1}, {3}, {2}};
    QuickSort(raw, raw + 3);
    EXPECT_EQ(raw[0].m_Rank, 3);
    EXPECT_EQ(raw[1].m_Rank, 2);
    EXPECT_EQ(raw[2].m_Rank, 1);

    TArray<SRanked> array;
    for (const int rank : {1, 3, 2})
        array.PushBack(SRanked{rank});
    QuickSort(array.Begin(), array.End());
    EXPECT_EQ(array[0].m_Rank, 3);
    EXPECT_EQ(array[2].m_Rank, 1);
}

TEST(QuickSort, NoElementAndOneElementAreNotTouched)
{
    const CAssertRecorder recorder;
    SUntouchable::s_Touches = 0;
    SUntouchable raw[1];
    QuickSort<SUntouchable>(raw, raw);
    QuickSort<SUntouchable>(raw, raw + 1);
    InsertionSort<SUntouchable>(raw, raw);
    InsertionSort<SUntouchable>(raw, raw + 1);
    QuickSort<SUntouchable>(static_cast<SUntouchable *>(nullptr), static_cast<SUntouchable *>(nullptr));
    InsertionSort<SUntouchable>(static_cast<SUntouchable *>(nullptr), static_cast<SUntouchable *>(nullptr));

    TArray<SUntouchable> array;
    QuickSort<SUntouchable>(array.Begin(), array.End());
    InsertionSort<SUntouchable>(array.Begin(), array.End());
    ASSERT_TRUE(array.Resize(1));
    QuickSort<SUntouchable>(array.Begin(), array.End());
    InsertionSort<SUntouchable>(array.Begin(), array.End());
    EXPECT_EQ(SUntouchable::s_Touches, 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(QuickSort, ARangeTheWrongWayRoundIsNotTouched)
{
    SUntouchable::s_Touches = 0;
    SUntouchable raw[4];
    QuickSort<SUntouchable>(raw + 4, raw);
    InsertionSort<SUntouchable>(raw + 4, raw);
    EXPECT_EQ(SUntouchable::s_Touches, 0u);
}

TEST(QuickSort, SwapsTwoEqualElements)
{
    const Elements expected = {{5, 1}, {5, 0}};
    EXPECT_EQ(SortedRaw(WithIds({5, 5})), expected);
    EXPECT_EQ(SortedChecked(WithIds({5, 5})), expected);
}

TEST(QuickSort, SortsOnlyTheRangeItIsGiven)
{
    int values[] = {9, 3, 2, 1, 0};
    QuickSort(values + 1, values + 4);
    EXPECT_TRUE(std::equal(values, values + 5, std::begin({9, 1, 2, 3, 0})));
}

// The short sort compares each element before the last one with the greatest seen behind it: 12 * 11 / 2 questions,
// the first about the last two elements, and never whether two are equal. Partitioning begins with the median of three.
TEST(QuickSort, LeavesTwelveElementsToTheShortSortAndPartitionsThirteen)
{
    Elements twelve = WithIds(SortedKeys(12));
    SNoting::Forget();
    QuickSort<SNoting>(twelve.data(), twelve.data() + 12);
    EXPECT_EQ(SNoting::s_Less.size(), 66u);
    EXPECT_EQ(SNoting::s_Less.front(), (std::pair<u32, u32>(10, 11)));
    EXPECT_TRUE(SNoting::s_Equal.empty());

    Elements thirteen = WithIds(SortedKeys(13));
    SNoting::Forget();
    QuickSort<SNoting>(thirteen.data(), thirteen.data() + 13);
    ASSERT_GE(SNoting::s_Less.size(), 3u);
    EXPECT_EQ(SNoting::s_Less[0], (std::pair<u32, u32>(6, 0)));
    EXPECT_EQ(SNoting::s_Less[1], (std::pair<u32, u32>(12, 0)));
    EXPECT_EQ(SNoting::s_Less[2], (std::pair<u32, u32>(12, 6)));
    EXPECT_FALSE(SNoting::s_Equal.empty());
}

// All questions, in their order: the steps are what the order of equal elements follows from.
TEST(QuickSort, AsksWhatTheModelAsks)
{
    for (const u32 distinct : {3u, 20u, 1000u})
    {
        const Elements elements = WithIds(RandomKeys(300, distinct, distinct));
        Elements byModel = elements;
        SNoting::Forget();
        ModelQuickSort<SNoting>(byModel);
        const SNoting::Questions less = SNoting::s_Less;
        const SNoting::Questions equal = SNoting::s_Equal;

        Elements sorted = elements;
        SNoting::Forget();
        QuickSort<SNoting>(sorted.data(), sorted.data() + sorted.size());
        EXPECT_EQ(SNoting::s_Less, less);
        EXPECT_EQ(SNoting::s_Equal, equal);
    }
}

// Sequences worked out by hand: the greatest of the rest goes to the end, of equal ones the one nearest to the front.
TEST(InsertionSort, PutsTheNearestOfEqualMaximaToTheEnd)
{
    Elements elements = WithIds({2, 1, 2, 1});
    InsertionSort<SByKey>(elements.data(), elements.data() + 4);
    // (2,0)<->(1,3), then (2,2) is the only 2 left and stays, then (1,3) and (1,1) are exchanged.
    EXPECT_EQ(elements, (Elements{{1, 1}, {1, 3}, {2, 2}, {2, 0}}));

    elements = WithIds({7, 7, 7});
    InsertionSort<SByKey>(elements.data(), elements.data() + 3);
    // The first goes to the end in exchange for the last, then these two places' first for their second.
    EXPECT_EQ(elements, (Elements{{7, 1}, {7, 2}, {7, 0}}));
}

TEST(InsertionSort, GivesTheModelsOrderForAllShortSequences)
{
    const CAssertRecorder recorder;
    for (u32 length = 0; length <= 7; ++length)
    {
        const u32 sequences = static_cast<u32>(std::lround(std::pow(4, length)));
        for (u32 code = 0; code < sequences; ++code)
        {
            Keys keys;
            for (u32 i = 0, rest = code; i < length; ++i, rest /= 4)
                keys.push_back(rest % 4);
            Elements expected = WithIds(keys);
            TArray<SKeyed> array;
            ASSERT_TRUE(array.CopyFrom(TMemoryView<const SKeyed>(expected.data(), length)));
            Elements elements = expected;
            ModelInsertionSort<SByKey>(expected, 0, length);
            InsertionSort<SByKey>(elements.data(), elements.data() + length);
            InsertionSort<SByKey>(array.Begin(), array.End());
            ASSERT_EQ(elements, expected);
            ASSERT_TRUE(std::equal(array.begin(), array.end(), expected.begin(), expected.end()));
            ASSERT_TRUE(IsAscending(elements));
        }
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(InsertionSort, SortsLongRangesToo)
{
    Elements elements = WithIds(RandomKeys(500, 100, 1));
    Elements expected = elements;
    ModelInsertionSort<SByKey>(expected, 0, 500);
    InsertionSort<SByKey>(elements.data(), elements.data() + 500);
    EXPECT_TRUE(elements == expected);
    EXPECT_TRUE(IsAscending(elements));
}

TEST(QuickSort, GivesTheModelsOrderForAllSequencesOfTwoKeysAroundTheLimit)
{
    for (u32 length = 11; length <= 15; ++length)
        for (u32 code = 0; code < 1u << length; ++code)
        {
            Elements elements;
            for (u32 i = 0; i < length; ++i)
                elements.push_back({code >> i & 1, i});
            Elements expected = elements;
            ModelQuickSort<SByKey>(expected);
            QuickSort<SByKey>(elements.data(), elements.data() + length);
            ASSERT_TRUE(elements == expected) << length << " elements, " << code;
            ASSERT_TRUE(IsAscending(elements));
        }
}

TEST(QuickSort, GivesTheModelsOrderForEveryShapeAndLength)
{
    for (u32 count = 0; count <= 200; ++count)
    {
        SCOPED_TRACE(count);
        ExpectTheModelsOrder(SortedKeys(count));
        ExpectTheModelsOrder(ReversedKeys(count));
        ExpectTheModelsOrder(Keys(count, 5));
        ExpectTheModelsOrder(OrganPipeKeys(count));
        ExpectTheModelsOrder(RandomKeys(count, 1000000, count));
        ExpectTheModelsOrder(RandomKeys(count, 3, count));
        ExpectTheModelsOrder(RandomKeys(count, 2, count));
        if (count > 0)
            ExpectTheModelsOrder(SAdversary::Make(count));
    }
}

TEST(QuickSort, GivesTheModelsOrderForThousandsOfElements)
{
    for (const u32 count : {4096u, 5000u, kSlow ? 20000u : 100000u})
    {
        SCOPED_TRACE(count);
        ExpectTheModelsOrder(SortedKeys(count));
        ExpectTheModelsOrder(ReversedKeys(count));
        ExpectTheModelsOrder(Keys(count, 5));
        ExpectTheModelsOrder(OrganPipeKeys(count));
        ExpectTheModelsOrder(RandomKeys(count, count * 10, 1));
        ExpectTheModelsOrder(RandomKeys(count, 100, 2));
        ExpectTheModelsOrder(RandomKeys(count, 4, 3));
    }
}

// The worst input for the choice of pivots, which the heap sort takes over: with checked iterators, too.
TEST(QuickSort, GivesTheModelsOrderForAnAdversarysInput)
{
    for (const u32 count : {1000u, 5000u, kSlow ? 20000u : 100000u})
    {
        SCOPED_TRACE(count);
        ExpectTheModelsOrder(SAdversary::Make(count));
    }
}

// Pivots chosen worst alone would take a quarter of the square, a million questions; a friendly input takes some
// 2000 * 13.
TEST(QuickSort, AnAdversarysInputTakesMoreThanOthersAndNotMoreThanTheBound)
{
    Elements elements = WithIds(SAdversary::Make(2000));
    SNoting::Forget();
    QuickSort<SNoting>(elements.data(), elements.data() + elements.size());
    EXPECT_GT(SNoting::s_Less.size(), 40000u);
    EXPECT_LE(SNoting::s_Less.size() + SNoting::s_Equal.size(), 65794u);
    SNoting::Forget();
}

// Ends where a pivot is the smallest but one each time: nothing is copied, and what is moved from is not compared.
TEST(QuickSort, MovesElementsThatCannotBeCopiedForAnAdversaryToo)
{
    const Keys keys = SAdversary::Make(1000);
    TArray<std::unique_ptr<int>> array;
    for (const u32 key : keys)
        ASSERT_TRUE(array.PushBack(std::make_unique<int>(static_cast<int>(key))).Valid());
    QuickSort<SMoveOnlyOrder>(array.Begin(), array.End());
    Keys sorted = keys;
    std::sort(sorted.begin(), sorted.end());
    for (u32 i = 0; i < 1000; ++i)
        EXPECT_EQ(*array[i], static_cast<int>(sorted[i]));
}

TEST(QuickSort, ALyingComparatorStaysInTheRange)
{
    ExpectALiarStaysInEveryRange<SAlways>();
    ExpectALiarStaysInEveryRange<SNever>();
    ExpectALiarStaysInEveryRange<SLessYetNeverEqual>();
    ExpectALiarStaysInEveryRange<SEqualYetNeverLess>();
    for (u32 round = 0; round < (kSlow ? 2 : 10); ++round)
        ExpectALiarStaysInEveryRange<SAtRandom>();
}

TEST(QuickSort, MovesElementsThatCannotBeCopied)
{
    TArray<std::unique_ptr<int>> array;
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(array.PushBack(std::make_unique<int>(i * 37 % 100)).Valid());
    QuickSort<SMoveOnlyOrder>(array.Begin(), array.End());
    for (u32 i = 0; i < 100; ++i)
        EXPECT_EQ(*array[i], static_cast<int>(i));
}

// The adversary's input brings the heap sort in.
TEST(QuickSort, MovesNoElementOntoItself)
{
    for (const Keys &keys : {SAdversary::Make(500), SortedKeys(500), ReversedKeys(500), OrganPipeKeys(500),
                             Keys(500, 5), RandomKeys(500, 1000, 1), RandomKeys(500, 4, 2), RandomKeys(12, 12, 3)})
    {
        std::vector<CNeverOntoItself> elements;
        for (const u32 key : keys)
            elements.emplace_back(key);
        QuickSort<CNeverOntoItself>(elements.data(), elements.data() + elements.size());
        EXPECT_TRUE(std::is_sorted(elements.begin(), elements.end(), &CNeverOntoItself::Less));
    }
    EXPECT_EQ(CNeverOntoItself::s_OntoThemselves, 0u);
}

TEST(QuickSort, AllocatesNothingAndCountsNoReference)
{
    CTestAllocator allocator;
    TArray<CString> strings;
    for (u32 i = 0; i < 200; ++i)
        ASSERT_TRUE(strings.PushBack(CString::Format("text %03u", i * 73 % 200)).Valid());
    allocator.RefuseFromNth(1);
    QuickSort<STextOrder>(strings.Begin(), strings.End());
    EXPECT_EQ(allocator.RequestCount(), 0u);
    allocator.RefuseNth(0);
    for (u32 i = 0; i < 200; ++i)
        EXPECT_TRUE(strings[i] == CString::Format("text %03u", i));
}

} // namespace QuorvaneTest
