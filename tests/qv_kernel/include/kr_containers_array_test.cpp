#include "kr_containers_array.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <numeric>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "edge_allocators.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kAliasText[] = "ureg(&element + 1) <= ureg(BaseImpl::_Data()) || "
                          "ureg(&element) >= ureg(BaseImpl::_Data() + BaseImpl::_Count())";
const char kNarrowingText[] = "static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value";
const char kWishText[] = "wishedSize > _MaxCount()";
const char kRefusedText[] = "false";
const char kStorageText[] = "m_Owner != null && RealType::m_Ptr >= m_Owner->_RawBegin() && "
                            "RealType::m_Ptr <= m_Owner->_RawEnd()";
const char kSetText[] = "RealType::m_Ptr != null";
const char kNotAtEndText[] = "RealType::m_Ptr != m_Owner->_RawEnd()";
const char kNotAtEndMessage[] = "invalid operation: trying to dereference Iterator::End()";
const char kSameOwnerText[] = "m_Owner == other.m_Owner";
const char kSameOwnerMessage[] = "unrelated iterators.";
const char kIndexText[] = "index < _Count()";
const char kInsertText[] = "index <= _Count()";
const char kNotEmptyText[] = "!Empty()";
const char kRoomText[] = "newMaxCount >= _Count()";
const char kSourceText[] = "source.Data() != null || source.Empty()";

// Knows its own address, so its bytes may not be moved.
class CSelfAware
{
public:
    CSelfAware(int value = 0) : m_Self(this), m_Value(value) { ++s_Alive; }
    CSelfAware(const CSelfAware &other) : m_Self(this), m_Value(other.m_Value) { ++s_Alive; }
    CSelfAware(CSelfAware &&other) noexcept : m_Self(this), m_Value(std::exchange(other.m_Value, -1)) { ++s_Alive; }
    ~CSelfAware()
    {
        EXPECT_TRUE(IsInPlace());
        --s_Alive;
    }

    bool IsInPlace() const { return m_Self == this; }
    friend bool operator==(const CSelfAware &a, int b) { return a.m_Value == b && a.IsInPlace(); }

    static int s_Alive;

private:
    CSelfAware *m_Self;

public:
    int m_Value;
};

int CSelfAware::s_Alive = 0;

struct alignas(64) SOverAligned
{
    u32 m_Value;
};

struct alignas(64) SOverAlignedSelfAware : CSelfAware
{
    using CSelfAware::CSelfAware;
};

struct SWithoutDefault
{
    explicit SWithoutDefault(int value) : m_Value(value) {}

    int m_Value;
};

// Its bytes may be moved although it is not trivially copyable, because a specialisation says so.
struct SDeclaredMovable
{
    SDeclaredMovable() = default;
    SDeclaredMovable(SDeclaredMovable &&other) noexcept : m_Value(other.m_Value) { ++s_Moves; }
    ~SDeclaredMovable() {}

    int m_Value = 0;

    static int s_Moves;
};

int SDeclaredMovable::s_Moves = 0;

typedef std::unique_ptr<int> PInt;

// Element types of their own for what is remembered by site: sites are per type.
struct SSilenced
{
    u32 m_Value;
};

template <typename T>
std::vector<T> Content(const TArray<T> &array)
{
    return std::vector<T>(array.begin(), array.end());
}

std::vector<int> Values(const TArray<CSelfAware> &array)
{
    std::vector<int> values;
    for (const CSelfAware &element : array)
    {
        EXPECT_TRUE(element.IsInPlace());
        values.push_back(element.m_Value);
    }
    return values;
}

TArray<u32> ArrayOf(std::initializer_list<u32> values)
{
    TArray<u32> array;
    for (const u32 value : values)
        EXPECT_TRUE(array.PushBack(value).Valid());
    return array;
}

// 0, 1, ... `count` - 1.
template <typename T>
TArray<T> Counting(u32 count)
{
    TArray<T> array;
    for (u32 i = 0; i < count; ++i)
        EXPECT_TRUE(array.PushBack(T(static_cast<int>(i))).Valid());
    return array;
}

// Reaches what only a count near 2^32 would show, without the memory.
class CProbe : public TArray<u8>
{
public:
    void PretendToBeFull(u32 count)
    {
        m_Count = count;
        m_MaxCount = count;
    }
    // Whether it says that it holds what lies at an address.
    bool PretendsToHold(const void *address) const
    {
        return reinterpret_cast<ureg>(address) - reinterpret_cast<ureg>(Data()) < m_Count;
    }
};

// While one lives, movements are counted from 0.
class CMonitoring
{
public:
    CMonitoring()
    {
        CContainersMonitorTArrays::Reset();
        g_KRContainersConfig_MonitorTArrays = true;
    }
    ~CMonitoring() { g_KRContainersConfig_MonitorTArrays = false; }
    CMonitoring(const CMonitoring &) = delete;
    CMonitoring &operator=(const CMonitoring &) = delete;
};

typedef TArrayStaticController<0, 8, 8, 0, 2> CDefaultController;

} // namespace

} // namespace QuorvaneTest

namespace Quorvane
{

template <>
struct TTypeTraits<QuorvaneTest::SDeclaredMovable>
{
    static constexpr bool HasTrivialRelocate = true;
};

} // namespace Quorvane

namespace QuorvaneTest
{

// ---- The controller ----

TEST(ArrayStaticController, GrowsByOneAndAHalfPlusEight)
{
    EXPECT_EQ(CDefaultController::GrowSize(0), 8u);
    EXPECT_EQ(CDefaultController::GrowSize(1), 9u);
    EXPECT_EQ(CDefaultController::GrowSize(2), 11u);
    EXPECT_EQ(CDefaultController::GrowSize(9), 21u);
    EXPECT_EQ(CDefaultController::GrowSize(10), 23u);
    EXPECT_EQ(CDefaultController::GrowSize(21), 39u);
    EXPECT_EQ(CDefaultController::GrowSize(100), 158u);
}

TEST(ArrayStaticController, TakesEveryTermFromItsParameters)
{
    EXPECT_EQ((TArrayStaticController<0, 5, 8, 0, 2>::GrowSize(0)), 5u);
    EXPECT_EQ((TArrayStaticController<0, 5, 8, 0, 2>::GrowSize(1)), 9u);
    EXPECT_EQ((TArrayStaticController<0, 8, 0, 0, 2>::GrowSize(10)), 15u);
    EXPECT_EQ((TArrayStaticController<0, 8, 3, 0, 4>::GrowSize(10)), 15u);
    EXPECT_EQ((TArrayStaticController<0, 8, 1, 2, 10>::GrowSize(10)), 32u);
}

TEST(ArrayStaticController, ADividerOf0AddsNothing)
{
    EXPECT_EQ((TArrayStaticController<0, 8, 4, 0, 0>::GrowSize(10)), 14u);
    EXPECT_EQ((TArrayStaticController<0, 8, 0, 0, 0>::GrowSize(10)), 10u);
    EXPECT_EQ((TArrayStaticController<0, 8, 0, 1, 0>::GrowSize(10)), 20u);
}

// 0xFFFFFFFF + 0x7FFFFFFF + 8 = 0x180000006.
TEST(ArrayStaticController, ASizeBeyond32BitsIsReportedAndCut)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(CDefaultController::GrowSize(0xFFFFFFFFu), 0x80000006u);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kNarrowingText}));
}

TEST(ArrayStaticController, TheLargestSizeThatFitsIsNotReported)
{
    const CAssertRecorder recorder;
    // 0xAAAAAAA5 + 0x55555552 + 8 = 0xFFFFFFFF
    EXPECT_EQ(CDefaultController::GrowSize(0xAAAAAAA5u), 0xFFFFFFFFu);
    EXPECT_EQ(recorder.Count(), 0u);
    EXPECT_EQ(CDefaultController::GrowSize(0xAAAAAAA6u), 1u);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

TEST(ArrayStaticController, TheLargestMultiplierDoesNotOverflow64Bits)
{
    const CAssertRecorder recorder;
    // 2^32 - 1 + 2^32 - 1 + (2^32 - 1) * (2^31 - 1) + 2^32 - 1 = (2^32 - 1) * (2^31 + 2); its low bits: 2^31 - 2.
    EXPECT_EQ((TArrayStaticController<0, 8, 0xFFFFFFFFu, 0x7FFFFFFFu, 1>::GrowSize(0xFFFFFFFFu)), 0x7FFFFFFEu);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

TEST(ArrayStaticController, HasAnAlignmentAndNoState)
{
    EXPECT_EQ(CDefaultController::Alignment(), 0u);
    EXPECT_EQ((TArrayStaticController<32, 8, 8, 0, 2>::Alignment()), 32u);
    EXPECT_TRUE(std::is_empty<CDefaultController>::value);
}

// ---- The type ----

TEST(Array, IsAPointerAndTwoCounts)
{
    EXPECT_EQ(sizeof(TArray<u8>), sizeof(void *) + 8);
    EXPECT_EQ(sizeof(TArray<CString>), sizeof(void *) + 8);
    EXPECT_FALSE(std::is_polymorphic<TArray<CString>>::value);
}

TEST(Array, IsLayered)
{
    typedef TArray_BaseContainerImpl<u32, CDefaultController, true> Impl;
    typedef TArray_BaseContainerImpl<PInt, CDefaultController, false> MovingImpl;
    EXPECT_TRUE((std::is_base_of<TArray_Base<u32, Impl>, TArray<u32>>::value));
    EXPECT_TRUE((std::is_base_of<Impl, TArray_Base<u32, Impl>>::value));
    EXPECT_TRUE((std::is_base_of<MovingImpl, TArray<PInt>>::value));
    EXPECT_TRUE((std::is_same<TArray<u32>, TArray<u32, CDefaultController>>::value));
}

TEST(Array, MovesButIsNotCopiedByAccident)
{
    EXPECT_FALSE(std::is_copy_constructible<TArray<u32>>::value);
    EXPECT_FALSE(std::is_copy_assignable<TArray<u32>>::value);
    EXPECT_TRUE(std::is_nothrow_move_constructible<TArray<u32>>::value);
    EXPECT_TRUE(std::is_nothrow_move_assignable<TArray<u32>>::value);
    EXPECT_TRUE(TTypeTraits<TArray<CSelfAware>>::HasTrivialRelocate);
}

TEST(Array, KnowsWhichElementsAreMovedByTheirBytes)
{
    EXPECT_TRUE(TTypeTraits<CString>::HasTrivialRelocate);
    EXPECT_TRUE(TTypeTraits<CStringView>::HasTrivialRelocate);
    EXPECT_TRUE(TTypeTraits<SOverAligned>::HasTrivialRelocate);
    EXPECT_FALSE(TTypeTraits<CSelfAware>::HasTrivialRelocate);
    EXPECT_FALSE(TTypeTraits<PInt>::HasTrivialRelocate);
}

TEST(Array, BeginsEmptyAndWithoutABlock)
{
    CTestAllocator allocator;
    TArray<u32> array;
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_EQ(array.MaxCount(), 0u);
    EXPECT_TRUE(array.Empty());
    EXPECT_EQ(array.Data(), nullptr);
    EXPECT_EQ(array._Data(), nullptr);
    EXPECT_EQ(array.begin(), array.end());
    EXPECT_TRUE(array.View().Empty());
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

// ---- Growth ----

TEST(Array, TheFirstPushBackMakesNineSlots)
{
    CTestAllocator allocator;
    TArray<u32> array;
    EXPECT_EQ(array.PushBack(7), 0u);
    EXPECT_EQ(array.Count(), 1u);
    EXPECT_EQ(array.MaxCount(), 9u);
    EXPECT_EQ(array[0], 7u);
    EXPECT_EQ(allocator.LiveBytes(), 36u);
}

TEST(Array, TheTenthPushBackMakesTwentyThreeSlots)
{
    CTestAllocator allocator;
    TArray<u32> array = Counting<u32>(9);
    EXPECT_EQ(array.MaxCount(), 9u);
    EXPECT_EQ(allocator.RequestCount(), 1u);
    EXPECT_EQ(array.PushBack(9), 9u);
    EXPECT_EQ(array.MaxCount(), 23u);
    EXPECT_EQ(array.Count(), 10u);
    for (u32 i = 0; i < 10; ++i)
        EXPECT_EQ(array[i], i);
}

TEST(Array, AccessorsGiveTheFields)
{
    TArray<u32> array = Counting<u32>(10);
    EXPECT_EQ(array._Count(), 10u);
    EXPECT_EQ(array._MaxCount(), 23u);
    EXPECT_EQ(array._Data(), &array[0]);
    EXPECT_EQ(array._RawBegin(), array._Data());
    EXPECT_EQ(array._RawEnd(), array._Data() + 10);
    array._SetMaxCount(12);
    EXPECT_EQ(array._MaxCount(), 12u);
    EXPECT_EQ(array.MaxCount(), 12u);
    array._SetMaxCount(23);
}

TEST(Array, TheBlockIsReallocatedWithTheHeadersPlaceAndTheModulesTag)
{
    CTestAllocator allocator;
    TArray<CStringView> array;
    array.PushBack(CStringView());
    const std::vector<SAllocatorCall> calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Realloc);
    EXPECT_EQ(calls[0].m_Block, nullptr);
    EXPECT_EQ(calls[0].m_Size, 9 * sizeof(CStringView));
    EXPECT_EQ(calls[0].m_Alignment, 0u);
    EXPECT_EQ(calls[0].m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(calls[0].m_Tag, "Kernel|Mem|Default");
    EXPECT_NE(calls[0].m_File.find("kr_containers_array.h"), std::string::npos);
    EXPECT_EQ(calls[0].m_Function, "_ReallocBuffer");
}

TEST(Array, TheBlockIsFreedWithItsOrigin)
{
    CTestAllocator allocator;
    {
        TArray<u32> array = Counting<u32>(3);
        allocator.ForgetCalls();
    }
    const std::vector<SAllocatorCall> calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(calls[0].m_Origin, Mem::Origin_Alloc);
    EXPECT_EQ(calls[0].m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(calls[0].m_Tag, "Kernel|Mem|Default");
}

TEST(Array, GrowRaisesTheCapacityByTheRule)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2});
    EXPECT_TRUE(array._Grow(100));
    EXPECT_EQ(array.MaxCount(), 158u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, GrowReportsAWishThatIsFulfilledAlready)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2});
    EXPECT_TRUE(array._Grow(9));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kWishText}));
    EXPECT_GE(array.MaxCount(), 9u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2}));
}

// After an ignored report the rule may ask for less room than the elements take; they are kept.
TEST(Array, GrowNeverCutsElementsOff)
{
    CAssertRecorder recorder;
    TArray<CString> array;
    for (u32 i = 0; i < 20; ++i)
        array.PushBack(CString("some text"));
    EXPECT_FALSE(array._Grow(0));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kWishText, kRoomText}));
    EXPECT_EQ(array.Count(), 20u);
    EXPECT_EQ(array.MaxCount(), 23u);
    EXPECT_TRUE(array.Last() == "some text");
}

TEST(Array, GrowFailsWhenTheCapacityWraps)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u8> array = Counting<u8>(3);
    allocator.RefuseNth(0);
    EXPECT_FALSE(array._Grow(0xFFFFFFFFu));
    EXPECT_FALSE(array._Grow(0xAAAAAAA6u));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kNarrowingText, kNarrowingText}));
    EXPECT_EQ(allocator.RequestCount(), 0u);
    EXPECT_EQ(array.MaxCount(), 9u);
    EXPECT_EQ(Content(array), (std::vector<u8>{0, 1, 2}));
}

TEST(Array, AFullCountHasNoSuccessor)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    bool reachesOverArguments = false;
    for (const u32 count : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xAAAAAAA5u})
    {
        CProbe array;
        array.PretendToBeFull(count);
        EXPECT_EQ(array.PushBack(u8(1)), CGuid::INVALID);
        const u8 value = 2;
        reachesOverArguments = reachesOverArguments || array.PretendsToHold(&value);
        EXPECT_EQ(array.PushBack(value), CGuid::INVALID);
        EXPECT_EQ(array.Insert(0, u8(3)), CGuid::INVALID);
        EXPECT_EQ(array.Count(), count);
        array.PretendToBeFull(0);
    }
    EXPECT_EQ(recorder.CountOf(kNarrowingText), IfAsserting(9));
    // Where the stack lies at low addresses, an array that says so reaches over the arguments as well.
    if (!reachesOverArguments)
    {
        EXPECT_EQ(recorder.Count(), IfAsserting(9));
    }
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(Array, ReallocBufferMakesTheCapacityExactly)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    EXPECT_TRUE(array._ReallocBuffer(50));
    EXPECT_EQ(array.MaxCount(), 50u);
    EXPECT_EQ(allocator.LiveBytes(), 200u);
    EXPECT_TRUE(array._ReallocBuffer(3));
    EXPECT_EQ(array.MaxCount(), 3u);
    EXPECT_EQ(allocator.LiveBytes(), 12u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 3}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, ReallocBufferKeepsTheElements)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    allocator.RefuseNth(0);
    EXPECT_FALSE(array._ReallocBuffer(2));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kRoomText}));
    EXPECT_EQ(allocator.RequestCount(), 0u);
    EXPECT_EQ(array.MaxCount(), 9u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 3}));
}

TEST(Array, ReallocBufferTo0LetsTheBlockGo)
{
    CTestAllocator allocator;
    TArray<u32> array = ArrayOf({1});
    array.Clear();
    EXPECT_TRUE(array._ReallocBuffer(0));
    EXPECT_EQ(array.MaxCount(), 0u);
    EXPECT_EQ(array.Data(), nullptr);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
    EXPECT_EQ(array.PushBack(5), 0u);
    EXPECT_EQ(array.MaxCount(), 9u);
}

// A size cut to 32 bits would be granted as a small block and written past its end.
TEST(Array, SizesAreComputedIn64Bits)
{
    const CAssertRecorder recorder;
    const CChoosyAllocator allocator([](u64, u64) { return true; });
    TArray<SOverAligned> large;
    EXPECT_FALSE(large.Reserve(0x10000000u));
    EXPECT_FALSE(large.Resize(0x10000000u));
    TArray<SOverAlignedSelfAware> moved;
    EXPECT_FALSE(moved.Reserve(0x10000001u));
    TArray<u8> many;
    EXPECT_FALSE(many.Reserve(0xFFFFFFFFu));
    // 0x10000000 + 0x8000000 + 8 elements by the rule of growth.
    EXPECT_EQ(allocator.Sizes(), (std::vector<u64>{0x400000000ull, 0x600000200ull, 0x400000040ull, 0xFFFFFFFFull}));
    EXPECT_EQ(recorder.CountOf(kRefusedText), IfAsserting(4));
    EXPECT_EQ(recorder.Count(), IfAsserting(4));
}

// ---- Refused growth ----

TEST(Array, ARefusedGrowthIsReportedAndChangesNothing)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u32> array = Counting<u32>(9);
    const u32 *const data = array.Data();
    allocator.RefuseNth(1);
    EXPECT_EQ(array.PushBack(9), CGuid::INVALID);
    EXPECT_EQ(array.Data(), data);
    EXPECT_EQ(array.Count(), 9u);
    EXPECT_EQ(array.MaxCount(), 9u);
    ASSERT_EQ(recorder.Expressions(), IfAsserting({kRefusedText}));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_ExpandedExpression, "false");
        EXPECT_EQ(recorder.Last().m_Message, "could not grow array of TArray<> to 23 elements (92 bytes)\n");
        EXPECT_NE(recorder.Last().m_File.find("kr_containers_array.h"), std::string::npos);
    }
    EXPECT_EQ(array.PushBack(9), 9u);
}

TEST(Array, AnEmptyArrayThatCannotGrowStaysWithoutABlock)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CString> array;
    allocator.RefuseNth(1);
    EXPECT_EQ(array.PushBack(CString()), CGuid::INVALID);
    EXPECT_EQ(array.Data(), nullptr);
    EXPECT_EQ(array.MaxCount(), 0u);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        const std::string bytes = std::to_string(9 * sizeof(CString));
        EXPECT_EQ(recorder.Last().m_Message, "could not grow array of TArray<> to 9 elements (" + bytes + " bytes)\n");
    }
}

// The count of the message is printed signed.
TEST(Array, TheReportOfAHugeGrowth)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u64> array;
    allocator.RefuseNth(1);
    EXPECT_FALSE(array.Reserve(0xFFFFFFFFu));
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, "could not grow array of TArray<> to -1 elements (34359738360 bytes)\n");
    }
}

TEST(Array, ARefusedGrowthLeavesTheElementToTheCaller)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CString> array;
    CString text("the caller's");
    allocator.RefuseNth(1);
    EXPECT_EQ(array.PushBack(std::move(text)), CGuid::INVALID);
    EXPECT_TRUE(text == "the caller's");

    TArray<PInt> pointers;
    PInt pointer = std::make_unique<int>(3);
    allocator.RefuseNth(1);
    EXPECT_EQ(pointers.PushBack(std::move(pointer)), CGuid::INVALID);
    allocator.RefuseNth(1);
    EXPECT_EQ(pointers.Insert(0, std::move(pointer)), CGuid::INVALID);
    ASSERT_NE(pointer, nullptr);
    EXPECT_EQ(*pointer, 3);
}

TEST(Array, ASilencedReportStaysSilent)
{
    CTestAllocator allocator;
    CAssertRecorder recorder(1);
    TArray<SSilenced> array;
    for (u32 i = 0; i < 3; ++i)
    {
        allocator.RefuseNth(1);
        EXPECT_EQ(array.PushBack(SSilenced{i}), CGuid::INVALID);
    }
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

template <typename T, typename Operation>
void ExpectARefusedOperationChangesNothing(const Operation &operation)
{
    struct SState
    {
        TArray<T> m_Array = Counting<T>(9);
        bool m_Result = false;
    };
    const auto prepare = [] { return std::make_unique<SState>(); };
    const auto run = [&](const std::unique_ptr<SState> &state) { state->m_Result = operation(state->m_Array); };
    const auto check =
        [](const std::unique_ptr<SState> &state, const SRefusal &refusal, const CAssertRecorder &recorder)
    {
        EXPECT_EQ(state->m_Result, !refusal.m_Refused);
        EXPECT_EQ(recorder.Count(), IfAsserting(refusal.m_Refused ? 1 : 0));
        if (!refusal.m_Refused)
            return;
        ASSERT_EQ(state->m_Array.Count(), 9u);
        EXPECT_EQ(state->m_Array.MaxCount(), 9u);
        for (u32 i = 0; i < 9; ++i)
            EXPECT_TRUE(state->m_Array[i] == static_cast<int>(i));
    };
    SweepRefusals(prepare, run, check);
}

template <typename T>
void ExpectRefusedMemoryChangesNothing()
{
    typedef TArray<T> A;
    ExpectARefusedOperationChangesNothing<T>([](A &array) { return array.PushBack(T(9)).Valid(); });
    ExpectARefusedOperationChangesNothing<T>([](A &array) { return array.PushBack(array[3]).Valid(); });
    ExpectARefusedOperationChangesNothing<T>([](A &array) { return array.Insert(4, T(9)).Valid(); });
    ExpectARefusedOperationChangesNothing<T>([](A &array) { return array.Resize(10); });
    ExpectARefusedOperationChangesNothing<T>([](A &array) { return array.Reserve(10); });
    ExpectARefusedOperationChangesNothing<T>([](A &array) { return array.CopyFrom(array.View()); });
    const std::vector<T> source(10);
    const TMemoryView<const T> sourceView(source.data(), 10);
    ExpectARefusedOperationChangesNothing<T>([&](A &array) { return array.CopyFrom(sourceView); });
}

TEST(Array, RefusedMemoryChangesNothing)
{
    ExpectRefusedMemoryChangesNothing<int>();
    ExpectRefusedMemoryChangesNothing<CSelfAware>();
    EXPECT_EQ(CSelfAware::s_Alive, 0);
}

// Moved out of its place only once there is room for it.
TEST(Array, ARefusedGrowthKeepsAnOwnElementThatWasToBeMoved)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CSelfAware> array = Counting<CSelfAware>(9);
    allocator.RefuseNth(1);
    EXPECT_EQ(array.PushBack(std::move(array[4])), CGuid::INVALID);
    allocator.RefuseNth(1);
    EXPECT_EQ(array.Insert(2, std::move(array[4])), CGuid::INVALID);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(recorder.CountOf(kAliasText), IfAsserting(2));
    EXPECT_EQ(recorder.CountOf(kRefusedText), IfAsserting(2));
}

// ---- Appending ----

TEST(Array, PushBackTakesAStringOverWithoutCounting)
{
    TArray<CString> array;
    CString text("a text of its own");
    const char *const characters = text.Data();
    EXPECT_EQ(array.PushBack(std::move(text)), 0u);
    EXPECT_TRUE(text.Empty());
    EXPECT_EQ(array[0].Data(), characters);
    // The only holder writes in place.
    array[0].ToUppercase();
    EXPECT_EQ(array[0].Data(), characters);
}

TEST(Array, PushBackCopiesAConstElement)
{
    TArray<CString> array;
    const CString text("shared");
    EXPECT_EQ(array.PushBack(text), 0u);
    EXPECT_EQ(array[0].Data(), text.Data());
}

TEST(Array, PushBackOfACopyMayTakeItFromTheArrayItself)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CString> strings;
    strings.PushBack(CString("zero"));
    TArray<CSelfAware> values = Counting<CSelfAware>(1);
    for (u32 i = 1; i < 60; ++i)
    {
        ASSERT_EQ(strings.PushBack(strings[i / 2]), i);
        ASSERT_EQ(values.PushBack(values[i / 2]), i);
    }
    for (u32 i = 0; i < 60; ++i)
    {
        EXPECT_TRUE(strings[i] == "zero");
        EXPECT_TRUE(values[i] == 0);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, PushBackOfAnOwnElementIsReportedAndMovesIt)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CString> array;
    for (const char *text : {"0", "1", "2", "3", "4", "5", "6", "7", "8"})
        array.PushBack(CString(text));
    // Growing moves the block, and what is referred to with it.
    EXPECT_EQ(array.PushBack(std::move(array[0])), 9u);
    EXPECT_TRUE(array[9] == "0");
    EXPECT_TRUE(array[0].Empty());
    // There is room now.
    EXPECT_EQ(array.PushBack(std::move(array[8])), 10u);
    EXPECT_TRUE(array[10] == "8");
    EXPECT_TRUE(array[8].Empty());
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kAliasText, kAliasText}));
    EXPECT_EQ(array.Count(), 11u);
}

TEST(Array, PushBackOfAnOwnElementThatKnowsItsAddress)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CSelfAware> array = Counting<CSelfAware>(9);
    EXPECT_EQ(array.PushBack(std::move(array[8])), 9u);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, -1, 8}));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kAliasText}));
}

// An element of the same storage as the array's, but not of the array.
TEST(Array, NeighboursOfTheElementsAreNotTheArraysOwn)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    array.PopBack();
    u32 &behind = array.Data()[2];
    behind = 8;
    EXPECT_EQ(array.PushBack(std::move(behind)), 2u);
    EXPECT_EQ(array[2], 8u);
    EXPECT_EQ(recorder.Count(), 0u);
}

// One element lies below the array's, one above them.
TEST(Array, ObjectsOfNoArrayAreNotTheArraysOwn)
{
    const CAssertRecorder recorder;
    static u32 s_Lower = 7;
    u32 higher = 8;
    TArray<u32> array = ArrayOf({1, 2});
    EXPECT_EQ(array.PushBack(std::move(s_Lower)), 2u);
    EXPECT_EQ(array.PushBack(std::move(higher)), 3u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 7, 8}));
    EXPECT_EQ(recorder.Count(), 0u);
    EXPECT_EQ(array.PushBack(std::move(array[0])), 4u);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

// One of the two arrays lies below the other, wherever that is.
TEST(Array, ElementsOfAnotherArrayAreNotTheArraysOwn)
{
    const CAssertRecorder recorder;
    TArray<u32> a = ArrayOf({1, 2, 3});
    TArray<u32> b = ArrayOf({4, 5, 6});
    EXPECT_EQ(a.PushBack(std::move(b[1])), 3u);
    EXPECT_EQ(b.PushBack(std::move(a[1])), 3u);
    EXPECT_EQ(a.Insert(0, std::move(b[2])), 0u);
    EXPECT_EQ(b.Insert(0, std::move(a[3])), 0u);
    EXPECT_EQ(Content(a), (std::vector<u32>{6, 1, 2, 3, 5}));
    EXPECT_EQ(Content(b), (std::vector<u32>{3, 4, 5, 6, 2}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, ElementsMoveByTheirBytesWhereATraitSaysSo)
{
    TArray<SDeclaredMovable> array;
    SDeclaredMovable::s_Moves = 0;
    for (u32 i = 0; i < 100; ++i)
        array.PushBack(SDeclaredMovable());
    // One move each into the array, none by growing.
    EXPECT_EQ(SDeclaredMovable::s_Moves, 100);
}

TEST(Array, ElementsThatKnowTheirAddressAreMovedProperly)
{
    CTestAllocator allocator;
    {
        TArray<CSelfAware> array = Counting<CSelfAware>(100);
        for (u32 i = 0; i < 100; ++i)
            EXPECT_TRUE(array[i] == static_cast<int>(i));
        EXPECT_EQ(CSelfAware::s_Alive, 100);
        for (const SAllocatorCall &call : allocator.Calls())
        {
            EXPECT_NE(call.m_Kind, SAllocatorCall::Kind_Realloc);
            EXPECT_EQ(call.m_Origin, Mem::Origin_Alloc);
            EXPECT_EQ(call.m_Tag, "Kernel|Mem|Default");
        }
        EXPECT_EQ(allocator.LiveBlocks(), 1u);
    }
    EXPECT_EQ(CSelfAware::s_Alive, 0);
}

TEST(Array, ElementsThatCannotBeCopied)
{
    CTestAllocator allocator;
    TArray<PInt> array;
    for (int i = 0; i < 50; ++i)
        ASSERT_TRUE(array.PushBack(std::make_unique<int>(i)).Valid());
    EXPECT_EQ(array.Insert(10, std::make_unique<int>(99)), 10u);
    array.Remove(0);
    EXPECT_EQ(*array[9], 99);
    EXPECT_EQ(*array.Last(), 49);
    TArray<PInt> moved(std::move(array));
    EXPECT_EQ(moved.Count(), 50u);
}

TEST(Array, OverAlignedElementsAreAligned)
{
    CTestAllocator allocator;
    TArray<SOverAligned> trivial;
    TArray<SOverAlignedSelfAware> moved;
    for (u32 i = 0; i < 40; ++i)
    {
        ASSERT_TRUE(trivial.PushBack(SOverAligned{i}).Valid());
        ASSERT_TRUE(moved.PushBack(SOverAlignedSelfAware(static_cast<int>(i))).Valid());
        EXPECT_TRUE(Mem::IsAligned<64>(trivial.Data()));
        EXPECT_TRUE(Mem::IsAligned<64>(moved.Data()));
    }
    for (const SAllocatorCall &call : allocator.Requests())
        EXPECT_EQ(call.m_Alignment, 64u);
    EXPECT_EQ(trivial[39].m_Value, 39u);
}

TEST(Array, TheControllersAlignmentIsAskedForButNeverLessThanTheElementsNeed)
{
    CTestAllocator allocator;
    TArray<u8, TArrayStaticController<32, 8, 8, 0, 2>> aligned;
    aligned.PushBack(1);
    TArray<u64, TArrayStaticController<2, 8, 8, 0, 2>> tooLittle;
    tooLittle.PushBack(1);
    const std::vector<SAllocatorCall> requests = allocator.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].m_Alignment, 32u);
    EXPECT_EQ(requests[1].m_Alignment, u32(alignof(u64)));
}

TEST(Array, AnotherControllerGrowsInItsWay)
{
    TArray<u32, TArrayStaticController<0, 8, 0, 1, 0>> doubling;
    doubling.PushBack(1);
    EXPECT_EQ(doubling.MaxCount(), 2u);
    doubling.PushBack(2);
    doubling.PushBack(3);
    EXPECT_EQ(doubling.MaxCount(), 6u);
    TArray<u32, TArrayStaticController<0, 8, 0, 0, 0>> exact;
    EXPECT_EQ(exact.PushBack(1), 0u);
    EXPECT_EQ(exact.PushBack(2), 1u);
    EXPECT_EQ(exact.MaxCount(), 2u);
}

TEST(Array, ArraysOfArrays)
{
    const CTestAllocator allocator;
    TArray<TArray<CString>> table;
    for (u32 row = 0; row < 30; ++row)
    {
        ASSERT_EQ(table.PushBack(TArray<CString>()), row);
        for (u32 column = 0; column <= row; ++column)
            table[row].PushBack(CString::Format("%u/%u", row, column));
    }
    EXPECT_EQ(table[29].Count(), 30u);
    EXPECT_TRUE(table[29][7] == "29/7");
    EXPECT_TRUE(table[0][0] == "0/0");
}

// ---- Clearing, resizing, reserving ----

TEST(Array, ClearKeepsTheCapacity)
{
    CTestAllocator allocator;
    TArray<CString> array;
    for (u32 i = 0; i < 10; ++i)
        array.PushBack(CString("text"));
    EXPECT_EQ(array.MaxCount(), 23u);
    array.Clear();
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_TRUE(array.Empty());
    EXPECT_EQ(array.MaxCount(), 23u);
    // Only the block is left.
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
    allocator.RefuseFromNth(1);
    for (u32 i = 0; i < 23; ++i)
        EXPECT_EQ(array.PushBack(CString()), i);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    allocator.RefuseNth(0);
}

TEST(Array, ClearOfAnArrayWithoutABlock)
{
    const CAssertRecorder recorder;
    TArray<CString> array;
    array.Clear();
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, DestructionDestroysEachElementOnce)
{
    const CTestAllocator allocator;
    {
        TArray<CSelfAware> array = Counting<CSelfAware>(30);
        EXPECT_EQ(CSelfAware::s_Alive, 30);
        array.Clear();
        EXPECT_EQ(CSelfAware::s_Alive, 0);
        array.PushBack(CSelfAware(1));
        EXPECT_EQ(CSelfAware::s_Alive, 1);
    }
    EXPECT_EQ(CSelfAware::s_Alive, 0);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(Array, ReserveRaisesTheCapacityExactlyAndNeverLowersIt)
{
    CTestAllocator allocator;
    TArray<u32> array;
    EXPECT_TRUE(array.Reserve(0));
    EXPECT_EQ(array.Data(), nullptr);
    EXPECT_TRUE(array.Reserve(40));
    EXPECT_EQ(array.MaxCount(), 40u);
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_TRUE(array.Reserve(39));
    EXPECT_EQ(array.MaxCount(), 40u);
    const u32 *const data = array.Data();
    for (u32 i = 0; i < 40; ++i)
        array.PushBack(std::move(i));
    EXPECT_EQ(array.Data(), data);
}

TEST(Array, ResizeAppendsValueInitialisedElements)
{
    // Fresh memory holds garbage.
    const CTestAllocator allocator;
    TArray<u32> array = ArrayOf({1, 2});
    EXPECT_TRUE(array.Resize(12));
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    TArray<CSelfAware> values = Counting<CSelfAware>(2);
    EXPECT_TRUE(values.Resize(4));
    EXPECT_EQ(Values(values), (std::vector<int>{0, 1, 0, 0}));
}

TEST(Array, ResizeDestroysTheElementsBeyond)
{
    const CTestAllocator allocator;
    TArray<CSelfAware> array = Counting<CSelfAware>(10);
    EXPECT_TRUE(array.Resize(3));
    EXPECT_EQ(CSelfAware::s_Alive, 3);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(array.MaxCount(), 23u);
    EXPECT_TRUE(array.Resize(0));
    EXPECT_TRUE(array.Empty());
    EXPECT_TRUE(array.Resize(0));
}

TEST(Array, ResizeBeyond32BitsOfCapacityFails)
{
    const CAssertRecorder recorder;
    TArray<u8> array = Counting<u8>(2);
    EXPECT_FALSE(array.Resize(0xFFFFFFFFu));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kNarrowingText}));
    EXPECT_EQ(Content(array), (std::vector<u8>{0, 1}));
}

TEST(Array, PopBackDestroysTheLastElement)
{
    TArray<CSelfAware> array = Counting<CSelfAware>(3);
    array.PopBack();
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1}));
    EXPECT_EQ(CSelfAware::s_Alive, 2);
}

TEST(Array, PopBackOfNothingIsReported)
{
    const CAssertRecorder recorder;
    TArray<CString> array;
    array.PopBack();
    EXPECT_EQ(array.Count(), 0u);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        EXPECT_NE(recorder.Last().m_Expression.find("Empty()"), std::string::npos);
    }
}

// ---- Inserting and removing ----

template <typename T>
void ExpectInsertingAndRemovingFollowsAVector()
{
    TArray<T> array;
    std::vector<int> expected;
    const auto check = [&]
    {
        ASSERT_EQ(array.Count(), expected.size());
        for (u32 i = 0; i < array.Count(); ++i)
            ASSERT_TRUE(array[i] == expected[i]);
    };
    for (u32 i = 0; i < 60; ++i)
    {
        const u32 index = i * 31 % (array.Count() + 1);
        ASSERT_EQ(array.Insert(index, T(static_cast<int>(i))), index);
        expected.insert(expected.begin() + index, static_cast<int>(i));
        check();
    }
    while (!array.Empty())
    {
        const u32 index = array.Count() * 17 % array.Count() == 0 ? array.Count() / 2 : 0;
        array.Remove(index);
        expected.erase(expected.begin() + index);
        check();
    }
}

TEST(Array, InsertAndRemoveKeepTheOrder)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    ExpectInsertingAndRemovingFollowsAVector<int>();
    ExpectInsertingAndRemovingFollowsAVector<CSelfAware>();
    EXPECT_EQ(CSelfAware::s_Alive, 0);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, InsertAtBothEnds)
{
    TArray<u32> array;
    EXPECT_EQ(array.Insert(0, 2), 0u);
    EXPECT_EQ(array.Insert(0, 1), 0u);
    EXPECT_EQ(array.Insert(2, 3), 2u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 3}));
}

TEST(Array, InsertBehindTheEndIsReportedAndFails)
{
    const CAssertRecorder recorder;
    TArray<CString> array;
    CString text("the caller's");
    EXPECT_EQ(array.Insert(1, std::move(text)), CGuid::INVALID);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kInsertText}));
    EXPECT_TRUE(array.Empty());
    EXPECT_TRUE(text == "the caller's");
}

TEST(Array, InsertOfAnOwnElementIsReportedAndMovesIt)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    // Full, so that it grows first.
    TArray<CSelfAware> array = Counting<CSelfAware>(9);
    EXPECT_EQ(array.Insert(2, std::move(array[5])), 2u);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 5, 2, 3, 4, -1, 6, 7, 8}));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kAliasText}));
}

TEST(Array, RemoveBehindTheEndIsReportedAndRemovesNothing)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2});
    array.Remove(2);
    array.Remove(0xFFFFFFFFu);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kIndexText, kIndexText}));
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2}));
}

TEST(Array, RemoveDestroysOneElement)
{
    TArray<CSelfAware> array = Counting<CSelfAware>(5);
    array.Remove(4);
    array.Remove(0);
    EXPECT_EQ(Values(array), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(CSelfAware::s_Alive, 3);
}

// ---- Moving, swapping, copying ----

TEST(Array, MovingTakesTheBlockOver)
{
    const CTestAllocator allocator;
    TArray<u32> array = ArrayOf({1, 2, 3});
    const u32 *const data = array.Data();
    TArray<u32> moved(std::move(array));
    EXPECT_EQ(moved.Data(), data);
    EXPECT_EQ(moved.MaxCount(), 9u);
    EXPECT_TRUE(array.Empty());
    EXPECT_EQ(array.MaxCount(), 0u);
    EXPECT_EQ(array.Data(), nullptr);
    EXPECT_EQ(array.PushBack(4), 0u);

    array = std::move(moved);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 3}));
    EXPECT_TRUE(moved.Empty());
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
}

TEST(Array, MovingIntoItselfChangesNothing)
{
    TArray<CSelfAware> array = Counting<CSelfAware>(3);
    TArray<CSelfAware> &same = array;
    array = std::move(same);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2}));
}

TEST(Array, SwapExchangesTheBlocks)
{
    TArray<u32> a = ArrayOf({1, 2, 3});
    TArray<u32> b;
    a.Swap(b);
    EXPECT_TRUE(a.Empty());
    EXPECT_EQ(a.MaxCount(), 0u);
    EXPECT_EQ(Content(b), (std::vector<u32>{1, 2, 3}));
    b.Swap(b);
    EXPECT_EQ(b.Count(), 3u);
}

TEST(Array, CopyFromReplacesTheElements)
{
    CTestAllocator allocator;
    const TArray<CSelfAware> source = Counting<CSelfAware>(5);
    TArray<CSelfAware> array = Counting<CSelfAware>(9);
    // There is room: the block stays.
    const CSelfAware *const data = array.Data();
    EXPECT_TRUE(array.CopyFrom(source));
    EXPECT_EQ(array.Data(), data);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(Values(source), (std::vector<int>{0, 1, 2, 3, 4}));

    TArray<CSelfAware> fresh;
    EXPECT_TRUE(fresh.CopyFrom(source));
    EXPECT_EQ(fresh.MaxCount(), 5u);
    EXPECT_EQ(Values(fresh), Values(source));
    // As many as there is room for.
    const CSelfAware *const freshData = fresh.Data();
    EXPECT_TRUE(fresh.CopyFrom(source));
    EXPECT_EQ(fresh.Data(), freshData);
    EXPECT_TRUE(fresh.CopyFrom(TMemoryView<const CSelfAware>()));
    EXPECT_TRUE(fresh.Empty());
    EXPECT_EQ(fresh.MaxCount(), 5u);
}

TEST(Array, CopyFromOwnElements)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<CSelfAware> array = Counting<CSelfAware>(9);
    EXPECT_TRUE(array.CopyFrom(array.View()));
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(array.CopyFrom(array.View().Slice(3, 4)));
    EXPECT_EQ(Values(array), (std::vector<int>{3, 4, 5, 6}));
    EXPECT_TRUE(array.CopyFrom(array.View().Slice(4, 0)));
    EXPECT_TRUE(array.Empty());
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, CopyFromNoneOfItsOwnElementsKeepsTheBlock)
{
    TArray<CSelfAware> array = Counting<CSelfAware>(3);
    const CSelfAware *const data = array.Data();
    const u32 maxCount = array.MaxCount();
    EXPECT_TRUE(array.CopyFrom(array.View().Slice(0, 0)));
    EXPECT_TRUE(array.Empty());
    EXPECT_EQ(array.Data(), data);
    EXPECT_EQ(array.MaxCount(), maxCount);
}

// The elements' own blocks are gone with the elements that are replaced.
TEST(Array, CopyFromOwnStrings)
{
    const CTestAllocator allocator;
    TArray<CString> array;
    for (const char *text : {"zero", "one", "two", "three"})
        array.PushBack(CString(text));
    EXPECT_TRUE(array.CopyFrom(array.View().Slice(1, 3)));
    ASSERT_EQ(array.Count(), 3u);
    EXPECT_TRUE(array[0] == "one");
    EXPECT_TRUE(array[1] == "two");
    EXPECT_TRUE(array[2] == "three");
    EXPECT_TRUE(array.CopyFrom(array));
    ASSERT_EQ(array.Count(), 3u);
    EXPECT_TRUE(array[0] == "one");
    EXPECT_TRUE(array[1] == "two");
    EXPECT_TRUE(array[2] == "three");
    // The last one.
    EXPECT_TRUE(array.CopyFrom(array.View().Slice(2, 1)));
    ASSERT_EQ(array.Count(), 1u);
    EXPECT_TRUE(array[0] == "three");
}

TEST(Array, CopyFromNothingThatHasACountIsReportedAndFails)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1});
    EXPECT_FALSE(array.CopyFrom(TMemoryView<const u32>(nullptr, 3)));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kSourceText}));
    EXPECT_EQ(Content(array), (std::vector<u32>{1}));
}

// ---- Braces ----

TEST(ArrayBraces, GiveTheElementsInOrderAndRoomForNoMore)
{
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    const TArray<u32> numbers{3, 1, 2};
    EXPECT_EQ(Content(numbers), (std::vector<u32>{3, 1, 2}));
    EXPECT_EQ(numbers.MaxCount(), 3u);
    EXPECT_EQ(allocator.Requests().size(), 1u);
    const TArray<CString> names = {"a", CString("bc"), ""};
    ASSERT_EQ(names.Count(), 3u);
    EXPECT_TRUE(names[0] == "a");
    EXPECT_TRUE(names[1] == "bc");
    EXPECT_TRUE(names[2].Empty());
    const TArray<std::pair<int, int>> pairs{{1, 2}, {3, 4}};
    EXPECT_EQ(Content(pairs), (std::vector<std::pair<int, int>>{{1, 2}, {3, 4}}));
    const TArray<CSelfAware> inPlace{1, 2, 3};
    EXPECT_EQ(Values(inPlace), (std::vector<int>{1, 2, 3}));
    const TArray<SOverAligned> aligned{{1}, {2}};
    EXPECT_EQ(reinterpret_cast<ureg>(aligned.Data()) % 64, 0u);
    EXPECT_EQ(aligned[1].m_Value, 2u);
    const TArray<u8, TArrayStaticController<256, 100, 8, 0, 2>> controlled{1, 2};
    EXPECT_EQ(controlled.MaxCount(), 2u);
    EXPECT_EQ(reinterpret_cast<ureg>(controlled.Data()) % 256, 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(ArrayBraces, OfAListThatIsAVariable)
{
    const std::initializer_list<CString> list = {"x", "y"};
    const TArray<CString> array(list);
    ASSERT_EQ(array.Count(), 2u);
    // Shared, not copied: each element is a copy of the handle.
    EXPECT_EQ(array[0].Data(), list.begin()[0].Data());
    EXPECT_EQ(array[1].Data(), list.begin()[1].Data());
}

TEST(ArrayBraces, WithNothingInThemAreAnEmptyArrayWithoutABlock)
{
    const CTestAllocator allocator;
    const TArray<u32> braces{};
    const TArray<u32> assigned = {};
    const TArray<u32> list(std::initializer_list<u32>{});
    // Elements that nothing can copy.
    const TArray<PInt> pointers{};
    EXPECT_TRUE(braces.Empty() && assigned.Empty() && list.Empty() && pointers.Empty());
    EXPECT_EQ(braces.MaxCount() + assigned.MaxCount() + list.MaxCount() + pointers.MaxCount(), 0u);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(ArrayBraces, AroundAnArrayMoveIt)
{
    TArray<CString> array{"a", "b"};
    const CString *const data = array.Data();
    const TArray<CString> moved{std::move(array)};
    EXPECT_EQ(moved.Data(), data);
    EXPECT_EQ(moved.Count(), 2u);
    TArray<PInt> pointers;
    pointers.PushBack(std::make_unique<int>(5));
    const TArray<PInt> movedPointers{std::move(pointers)};
    ASSERT_EQ(movedPointers.Count(), 1u);
    EXPECT_EQ(*movedPointers[0], 5);
}

TEST(ArrayBraces, AssignAndLetGoOfWhatWasThere)
{
    CTestAllocator allocator;
    {
        TArray<CSelfAware> array = Counting<CSelfAware>(9);
        array = {7, 8};
        EXPECT_EQ(Values(array), (std::vector<int>{7, 8}));
        EXPECT_EQ(array.MaxCount(), 2u);
        array = {};
        EXPECT_TRUE(array.Empty());
        EXPECT_EQ(array.MaxCount(), 0u);
        EXPECT_EQ(CSelfAware::s_Alive, 0);
        // The elements of the list are copies that come first.
        TArray<u32> numbers{1, 2};
        numbers = {numbers[1], numbers[0], numbers.Count()};
        EXPECT_EQ(Content(numbers), (std::vector<u32>{2, 1, 2}));
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(ArrayBraces, WithoutMemoryAreAnEmptyArrayAndAReport)
{
    SweepRefusals([] { return TArray<CSelfAware>(); },
                  [](TArray<CSelfAware> &array) {
                      array = {1, 2, 3};
                  },
                  [](const TArray<CSelfAware> &array, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      EXPECT_EQ(Values(array), refusal.m_Refused ? std::vector<int>() : (std::vector<int>{1, 2, 3}));
                      EXPECT_EQ(recorder.Expressions(),
                                refusal.m_Refused ? IfAsserting({kRefusedText}) : std::vector<std::string>());
                  });
    EXPECT_EQ(CSelfAware::s_Alive, 0);
}

// ---- Clone ----

TEST(ArrayClone, IsACopyWithABlockOfItsOwn)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    {
        const TArray<CSelfAware> array = Counting<CSelfAware>(5);
        allocator.ForgetCalls();
        TArray<CSelfAware> copy = array.Clone();
        EXPECT_EQ(allocator.Requests().size(), 1u);
        EXPECT_EQ(Values(copy), (std::vector<int>{0, 1, 2, 3, 4}));
        EXPECT_EQ(copy.MaxCount(), 5u);
        EXPECT_NE(copy.Data(), array.Data());
        copy[0].m_Value = 9;
        copy.PopBack();
        EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4}));
    }
    EXPECT_EQ(CSelfAware::s_Alive, 0);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(ArrayClone, OfNoElementsAllocatesNothing)
{
    const CTestAllocator allocator;
    EXPECT_TRUE(TArray<u32>().Clone().Empty());
    TArray<u32> cleared{1, 2, 3};
    cleared.Clear();
    const u64 before = allocator.RequestCount();
    EXPECT_EQ(cleared.Clone().MaxCount(), 0u);
    EXPECT_EQ(allocator.RequestCount(), before);
}

TEST(ArrayClone, WithoutMemoryIsAnEmptyArrayAndAReport)
{
    struct SState
    {
        TArray<CString> m_Source;
        TArray<CString> m_Copy;
    };
    SweepRefusals(
        []
        {
            SState state;
            state.m_Source = {"a", "b"};
            return state;
        },
        [](SState &state) { state.m_Copy = state.m_Source.Clone(); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ASSERT_EQ(state.m_Source.Count(), 2u);
            EXPECT_TRUE(state.m_Source[0] == "a" && state.m_Source[1] == "b");
            EXPECT_EQ(state.m_Copy.Count(), refusal.m_Refused ? 0u : 2u);
            EXPECT_EQ(recorder.Expressions(),
                      refusal.m_Refused ? IfAsserting({kRefusedText}) : std::vector<std::string>());
        });
}

// ---- Reading ----

TEST(Array, AccessByIndex)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    array[1] = 7;
    const TArray<u32> &constant = array;
    EXPECT_EQ(constant[1], 7u);
    EXPECT_EQ(array.First(), 1u);
    EXPECT_EQ(array.Last(), 3u);
    EXPECT_EQ(constant.First(), 1u);
    EXPECT_EQ(constant.Last(), 3u);
    EXPECT_EQ(constant.Data() + 2, &constant.Last());
    EXPECT_EQ(array[array.IndexOf(7u)], 7u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Array, AccessOutsideIsReportedAndAnswersAScratch)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    const TArray<u32> &constant = array;
    EXPECT_EQ(array[3], 0u);
    EXPECT_EQ(constant[3], 0u);
    EXPECT_EQ(constant[0xFFFFFFFFu], 0u);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kIndexText, kIndexText, kIndexText}));
    // Writing to it reaches nobody.
    array[3] = 77;
    EXPECT_EQ(array[3], 0u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 3}));
}

TEST(Array, AccessToTheEndsOfAnEmptyArrayIsReportedAndAnswersAScratch)
{
    const CAssertRecorder recorder;
    TArray<CString> array;
    const TArray<CString> &constant = array;
    EXPECT_TRUE(array.First().Empty());
    EXPECT_TRUE(array.Last().Empty());
    EXPECT_TRUE(constant.First().Empty());
    EXPECT_TRUE(constant.Last().Empty());
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kNotEmptyText, kNotEmptyText, kNotEmptyText, kNotEmptyText}));
    // After clearing, too, although there is a block.
    array.PushBack(CString("gone"));
    array.Clear();
    EXPECT_TRUE(array.Last().Empty());
    EXPECT_TRUE(array[0].Empty());
    EXPECT_EQ(recorder.Count(), IfAsserting(6));
}

TEST(Array, AScratchOfATypeWithoutADefaultIsZeroedMemory)
{
    const CAssertRecorder recorder;
    TArray<SWithoutDefault> array;
    array.PushBack(SWithoutDefault(4));
    EXPECT_EQ(array[0].m_Value, 4);
    EXPECT_EQ(array[1].m_Value, 0);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

TEST(Array, SearchesByEquality)
{
    TArray<CString> array;
    for (const char *text : {"a", "b", "a", ""})
        array.PushBack(CString(text));
    EXPECT_EQ(array.IndexOf("a"), 0u);
    EXPECT_EQ(array.IndexOf(CString("b")), 1u);
    EXPECT_EQ(array.IndexOf(CString()), 3u);
    EXPECT_EQ(array.IndexOf("c"), CGuid::INVALID);
    EXPECT_TRUE(array.Contains("b"));
    EXPECT_FALSE(array.Contains("B"));
    EXPECT_FALSE(TArray<u32>().Contains(0u));
}

// A literal is compared as it is.
TEST(Array, SearchingAllocatesNothing)
{
    CTestAllocator allocator;
    TArray<CString> array;
    array.PushBack(CString("text"));
    allocator.RefuseFromNth(1);
    EXPECT_TRUE(array.Contains("text"));
    EXPECT_EQ(allocator.RequestCount(), 0u);
    allocator.RefuseNth(0);
}

TEST(Array, ConvertsToViews)
{
    TArray<u32> array = ArrayOf({1, 2, 3});
    const TArray<u32> &constant = array;
    TMemoryView<u32> view = array;
    view[0] = 9;
    const TMemoryView<const u32> constView = array;
    const TMemoryView<const u32> fromConst = constant;
    TStridedMemoryView<u32> strided = array;
    strided[1] = 8;
    const TStridedMemoryView<const u32> constStrided = array;
    const TStridedMemoryView<const u32> fromConstStrided(constant);
    EXPECT_EQ(Content(array), (std::vector<u32>{9, 8, 3}));
    for (const TMemoryView<const u32> &each : {constView, fromConst, TMemoryView<const u32>(constant.View())})
    {
        EXPECT_EQ(each.Data(), array.Data());
        EXPECT_EQ(each.Count(), 3u);
    }
    for (const TStridedMemoryView<const u32> &each : {constStrided, fromConstStrided})
    {
        EXPECT_EQ(each.Data(), array.Data());
        EXPECT_EQ(each.Count(), 3u);
        EXPECT_EQ(each.Stride(), sizeof(u32));
    }
    EXPECT_EQ(array.View().Data(), array.Data());
    EXPECT_FALSE((std::is_convertible<const TArray<u32> &, TMemoryView<u32>>::value));
    EXPECT_FALSE((std::is_convertible<const TArray<u32> &, TStridedMemoryView<u32>>::value));
}

TEST(Array, RangeForRunsOverPointers)
{
    TArray<u32> array = ArrayOf({1, 2, 3});
    for (u32 &value : array)
        value *= 2;
    EXPECT_EQ(Content(array), (std::vector<u32>{2, 4, 6}));
    EXPECT_TRUE((std::is_same<decltype(array.begin()), u32 *>::value));
    EXPECT_TRUE((std::is_same<decltype(std::as_const(array).begin()), const u32 *>::value));
}

// ---- Iterators ----

typedef TArray<u32>::Iterator Iterator;
typedef TArray<u32>::ConstIterator ConstIterator;

TEST(ArrayIterator, IsAPointerAndItsOwner)
{
    EXPECT_EQ(sizeof(Iterator), 2 * sizeof(void *));
    EXPECT_EQ(sizeof(ConstIterator), 2 * sizeof(void *));
    EXPECT_TRUE(std::is_trivially_copyable<Iterator>::value);
}

TEST(ArrayIterator, HasTheStandardsTraits)
{
    typedef std::iterator_traits<Iterator> Traits;
    typedef std::iterator_traits<ConstIterator> ConstTraits;
    EXPECT_TRUE((std::is_same<Traits::iterator_category, std::random_access_iterator_tag>::value));
    EXPECT_TRUE((std::is_same<Traits::difference_type, s32>::value));
    EXPECT_TRUE((std::is_same<Traits::value_type, u32>::value));
    EXPECT_TRUE((std::is_same<Traits::reference, u32 &>::value));
    EXPECT_TRUE((std::is_same<ConstTraits::value_type, u32>::value));
    EXPECT_TRUE((std::is_same<ConstTraits::reference, const u32 &>::value));
    EXPECT_TRUE((std::is_same<ConstTraits::pointer, const u32 *>::value));
#if defined(__cpp_lib_ranges)
    EXPECT_TRUE(std::random_access_iterator<Iterator>);
    EXPECT_TRUE(std::random_access_iterator<ConstIterator>);
    EXPECT_TRUE((std::sized_sentinel_for<ConstIterator, Iterator>));
#endif
}

TEST(ArrayIterator, ConvertsToTheConstOneOnly)
{
    EXPECT_TRUE((std::is_convertible<Iterator, ConstIterator>::value));
    EXPECT_FALSE((std::is_convertible<ConstIterator, Iterator>::value));
    EXPECT_FALSE((std::is_constructible<Iterator, ConstIterator>::value));
    EXPECT_FALSE((std::is_convertible<Iterator, u32 *>::value));
    EXPECT_FALSE((std::is_convertible<TArray<s32>::Iterator, ConstIterator>::value));
}

TEST(ArrayIterator, WalksInEveryWay)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({10, 20, 30, 40});
    Iterator it = array.Begin();
    EXPECT_EQ(*it, 10u);
    EXPECT_EQ(*++it, 20u);
    EXPECT_EQ(*it++, 20u);
    EXPECT_EQ(*it, 30u);
    EXPECT_EQ(*--it, 20u);
    EXPECT_EQ(*it--, 20u);
    EXPECT_EQ(*it, 10u);
    it += 3;
    EXPECT_EQ(*it, 40u);
    it -= 2;
    EXPECT_EQ(*it, 20u);
    EXPECT_EQ(*(it + 2), 40u);
    EXPECT_EQ(*(2 + it), 40u);
    EXPECT_EQ(*(it - 1), 10u);
    EXPECT_EQ(it[-1], 10u);
    EXPECT_EQ(it[2], 40u);
    EXPECT_EQ(array.End() - array.Begin(), 4);
    EXPECT_EQ(array.Begin() - array.End(), -4);
    *it = 21;
    EXPECT_EQ(array[1], 21u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(ArrayIterator, Compares)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    const Iterator first = array.Begin();
    const ConstIterator second = first + 1;
    EXPECT_TRUE(first == array.Begin());
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(first != second);
    EXPECT_FALSE(first != array.Begin());
    EXPECT_TRUE(first < second);
    EXPECT_FALSE(second < first);
    EXPECT_FALSE(first < first);
    EXPECT_TRUE(second > first);
    EXPECT_FALSE(first > first);
    EXPECT_TRUE(first <= first);
    EXPECT_TRUE(first <= second);
    EXPECT_FALSE(second <= first);
    EXPECT_TRUE(second >= first);
    EXPECT_TRUE(second >= second);
    EXPECT_FALSE(first >= second);
    EXPECT_EQ(second - first, 1);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(ArrayIterator, ReachesMembers)
{
    TArray<CString> array;
    array.PushBack(CString("text"));
    EXPECT_EQ(array.Begin()->Length(), 4u);
    const TArray<CString> &constant = array;
    EXPECT_EQ(constant.Begin()->Length(), 4u);
}

TEST(ArrayIterator, WorksWithTheStandardsAlgorithms)
{
    const CAssertRecorder recorder;
    TArray<u32> array;
    for (u32 i = 0; i < 100; ++i)
        array.PushBack(i * 37 % 100);
    std::sort(array.Begin(), array.End());
    EXPECT_TRUE(std::is_sorted(array.Begin(), array.End()));
    EXPECT_EQ(std::lower_bound(array.Begin(), array.End(), 42u) - array.Begin(), 42);
    EXPECT_EQ(std::accumulate(array.Begin(), array.End(), 0u), 4950u);
    std::reverse(array.Begin(), array.End());
    EXPECT_EQ(*std::make_reverse_iterator(array.End()), 0u);
    EXPECT_EQ(std::distance(array.Begin(), array.End()), 100);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(ArrayIterator, AnArrayWithoutABlockIsAnEmptyRange)
{
    const CAssertRecorder recorder;
    TArray<u32> array;
    EXPECT_TRUE(array.Begin() == array.End());
    EXPECT_FALSE(array.Begin() < array.End());
    EXPECT_EQ(array.End() - array.Begin(), 0);
    EXPECT_TRUE(array.Begin() + 0 == array.End());
    EXPECT_EQ(recorder.Count(), 0u);
}

// Misuse from here on: in a build that checks nothing, nothing protects it.

TEST(ArrayIterator, AMoveOutsideIsReported)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    Iterator it = array.End();
    EXPECT_EQ(recorder.Count(), 0u);
    ++it;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStorageText}));
    --it;
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
    it = array.Begin();
    --it;
    EXPECT_EQ(recorder.CountOf(kStorageText), IfAsserting(2));
    it = array.Begin();
    it += 4;
    it = array.Begin();
    it -= 1;
    static_cast<void>(array.Begin() + 5);
    static_cast<void>(array.End() - 6);
    EXPECT_EQ(recorder.CountOf(kStorageText), IfAsserting(6));
    EXPECT_EQ(recorder.Count(), IfAsserting(6));
    EXPECT_EQ(recorder.Last().m_Message, kStorageText);
}

// Where addresses are short, so far is round them once, to where the iterator began.
TEST(ArrayIterator, AMoveOfMoreThanThereAreAddressesIsReported)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    constexpr s32 kRound = 0x40000000;
    EXPECT_EQ(*(array.Begin() + kRound), 0u);
    // The move and the access.
    EXPECT_EQ(recorder.CountOf(kStorageText), 2u);
    EXPECT_EQ(*(array.Begin() - kRound), 0u);
    EXPECT_EQ(recorder.CountOf(kStorageText), 4u);
    TArray<u32> empty;
    static_cast<void>(empty.Begin() + kRound);
    EXPECT_EQ(recorder.CountOf(kStorageText), 5u);
    EXPECT_EQ(recorder.Count(), 5u);
}

// Where addresses are short, all moves beyond them end at the last one.
TEST(ArrayIterator, AMoveToTheLastOfAllAddressesEndsThere)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    const CAssertRecorder recorder;
    TArray<u8> array;
    array.PushBack(1);
    TArray<u8>::Iterator it(reinterpret_cast<u8 *>(~ureg(1)), &array);
    ++it;
    EXPECT_TRUE(it == TArray<u8>::Iterator(reinterpret_cast<u8 *>(~ureg(0)), &array));
    // The move, and both sides of the comparison.
    EXPECT_EQ(recorder.CountOf(kStorageText), 3u);
}

TEST(ArrayIterator, DereferencingTheEndIsReportedAndAnswersAScratch)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    EXPECT_EQ(*array.End(), 0u);
    EXPECT_EQ(recorder.Expressions(), std::vector<std::string>{kNotAtEndText});
    EXPECT_EQ(recorder.Last().m_Message, kNotAtEndMessage);
    *array.End() = 5;
    EXPECT_EQ(array.Begin()[3], 0u);
    EXPECT_EQ(recorder.CountOf(kNotAtEndText), 3u);
    EXPECT_EQ(recorder.Count(), 3u);
    EXPECT_EQ(Content(array), (std::vector<u32>{1, 2, 3}));
}

TEST(ArrayIterator, DereferencingAnIteratorThatIsNotSetIsReportedAndAnswersAScratch)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    const CAssertRecorder recorder;
    const Iterator unset;
    EXPECT_EQ(*unset, 0u);
    EXPECT_EQ(recorder.Expressions(), std::vector<std::string>{kSetText});
    EXPECT_EQ(recorder.Last().m_Message, kSetText);
    // The beginning of an array without a block.
    TArray<u32> array;
    EXPECT_EQ(*array.Begin(), 0u);
    EXPECT_EQ(recorder.CountOf(kSetText), 2u);
    EXPECT_EQ(recorder.Count(), 2u);
}

TEST(ArrayIterator, DereferencingOutsideIsReportedAndAnswersAScratch)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    const Iterator before = array.Begin() - 1;
    const Iterator behind = array.End() + 1;
    recorder.Clear();
    EXPECT_EQ(*before, 0u);
    EXPECT_EQ(*behind, 0u);
    EXPECT_EQ(recorder.Expressions(), (std::vector<std::string>{kStorageText, kStorageText}));
}

TEST(ArrayIterator, AnIteratorThatIsNotSetMayNotMoveOrBeCompared)
{
    if (!kSitesReport)
        GTEST_SKIP() << "iterators check nothing in this build";
    CAssertRecorder recorder;
    Iterator unset;
    ++unset;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStorageText}));
    recorder.Clear();
    EXPECT_TRUE(Iterator() == Iterator());
    EXPECT_EQ(recorder.CountOf(kStorageText), IfAsserting(2));
    EXPECT_EQ(recorder.Count(), IfAsserting(2));
    recorder.Clear();
    EXPECT_EQ(Iterator() - Iterator(), 0);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(ArrayIterator, EveryComparisonOutsideIsReported)
{
    CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    const Iterator inside = array.Begin();
    const Iterator outside = array.End();
    array.PopBack();
    const auto reports = [&recorder]
    {
        const size_t count = recorder.CountOf(kStorageText);
        EXPECT_EQ(recorder.Count(), count);
        recorder.Clear();
        return count;
    };
    EXPECT_FALSE(inside == outside);
    EXPECT_EQ(reports(), IfAsserting(1));
    EXPECT_TRUE(inside != outside);
    EXPECT_EQ(reports(), IfAsserting(1));
    EXPECT_TRUE(inside < outside);
    EXPECT_EQ(reports(), IfAsserting(1));
    EXPECT_FALSE(outside <= inside);
    EXPECT_EQ(reports(), IfAsserting(1));
    EXPECT_TRUE(outside > inside);
    EXPECT_EQ(reports(), IfAsserting(1));
    EXPECT_TRUE(outside >= outside);
    EXPECT_EQ(reports(), IfAsserting(2));
}

TEST(ArrayIterator, TheDifferenceOfUnrelatedIteratorsIsReported)
{
    const CAssertRecorder recorder;
    TArray<u32> a = ArrayOf({1, 2, 3});
    TArray<u32> b = ArrayOf({1, 2, 3});
    const s32 difference = a.End() - b.Begin();
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kSameOwnerText}));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, kSameOwnerMessage);
        EXPECT_EQ(difference, 0);
    }
}

TEST(ArrayIterator, GrowingInvalidatesAndIsNoticed)
{
    // Reallocation always moves.
    const CTestAllocator allocator;
    const CAssertRecorder recorder;
    TArray<u32> array = Counting<u32>(9);
    Iterator it = array.Begin();
    array.PushBack(9);
    ++it;
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kStorageText}));
}

TEST(ArrayIterator, MovingAndSwappingArraysInvalidateAndAreNoticed)
{
    const CAssertRecorder recorder;
    TArray<u32> array = ArrayOf({1, 2, 3});
    const Iterator it = array.Begin();
    TArray<u32> moved(std::move(array));
    static_cast<void>(it == it);
    EXPECT_EQ(recorder.CountOf(kStorageText), IfAsserting(2));

    TArray<u32> other = ArrayOf({4});
    const Iterator toMoved = moved.Begin();
    const Iterator toOther = other.Begin();
    moved.Swap(other);
    static_cast<void>(toMoved == toOther);
    EXPECT_EQ(recorder.CountOf(kStorageText), IfAsserting(4));
    EXPECT_EQ(recorder.Count(), IfAsserting(4));
}

TEST(ArrayIterator, DifferencesAreSigned32Bits)
{
    EXPECT_TRUE((std::is_same<decltype(Iterator() - Iterator()), s32>::value));
    EXPECT_TRUE((std::is_same<decltype(ConstIterator() - Iterator()), s32>::value));
}

// ---- The monitor's switch ----

TEST(Array, TellsTheMonitorOfEveryGrowth)
{
    const CMonitoring monitoring;
    TArray<u32> array;
    array.PushBack(1);
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 1u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 36);
    EXPECT_TRUE(array.Reserve(9));
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 1u);
    EXPECT_TRUE(array.Reserve(100));
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 2u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 400);
    EXPECT_TRUE(array._ReallocBuffer(10));
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 3u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 40);
}

TEST(Array, TellsTheMonitorOfElementsThatAreMovedProperlyToo)
{
    const CMonitoring monitoring;
    const TArray<CSelfAware> array = Counting<CSelfAware>(10);
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 2u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), s64(23 * sizeof(CSelfAware)));
}

TEST(Array, TellsTheMonitorOfARefusedGrowth)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    const CMonitoring monitoring;
    TArray<CString> array;
    allocator.RefuseNth(1);
    EXPECT_EQ(array.PushBack(CString()), CGuid::INVALID);
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 1u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), s64(9 * sizeof(CString)));
}

TEST(Array, TellsTheMonitorNothingUnlessAsked)
{
    CContainersMonitorTArrays::Reset();
    EXPECT_FALSE(g_KRContainersConfig_MonitorTArrays);
    const TArray<u32> array = Counting<u32>(100);
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 0u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 0);
}

TEST(Array, TheMonitorHearsOfSizesBeyond32Bits)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    const CMonitoring monitoring;
    TArray<u64> array;
    allocator.RefuseNth(1);
    EXPECT_FALSE(array.Reserve(0xFFFFFFFFu));
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 34359738360ll);
}

} // namespace QuorvaneTest
