// Walks the dynamic array and the sort once, without a test framework, so that it can be built with instruments for
// which the framework is not. Answers 0 when every result is right. What it reads of the library's memory it compares,
// which makes an instrument notice what was never written.
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "driver_checks.h"
#include "kr_containers_array.h"
#include "kr_containers_internals.h"
#include "kr_string.h"
#include "random_numbers.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

// A small generator: the same numbers everywhere.
u32 NextRandom()
{
    static u32 state = 12345;
    state = NextRandomState(state);
    return state >> 8;
}

// Knows its address, so its bytes may not be moved.
class CSelfAware
{
public:
    CSelfAware() : CSelfAware(0) {}
    explicit CSelfAware(u32 value) : m_Self(this), m_Value(value) {}
    CSelfAware(const CSelfAware &other) : CSelfAware(other.m_Value) {}
    CSelfAware(CSelfAware &&other) noexcept : CSelfAware(other.m_Value) {}
    CSelfAware &operator=(const CSelfAware &other)
    {
        if (this != &other)
            m_Value = other.m_Value;
        return *this;
    }
    ~CSelfAware() { QV_TEST_CHECK(m_Self == this); }

    friend bool operator<(const CSelfAware &a, const CSelfAware &b) { return a.m_Value < b.m_Value; }
    friend bool operator==(const CSelfAware &a, const CSelfAware &b) { return a.m_Value == b.m_Value; }
    friend bool operator==(const CSelfAware &a, u32 b) { return a.m_Value == b && a.m_Self == &a; }

private:
    const CSelfAware *m_Self;
    u32 m_Value;
};

struct SRandomAnswers
{
    static bool Less(u32, u32) { return (NextRandom() & 1) != 0; }
    static bool Equal(u32, u32) { return (NextRandom() & 1) != 0; }
};

template <typename T>
void WalkArray()
{
    TArray<T> array;
    for (u32 i = 0; i < 100; ++i)
        QV_TEST_CHECK(array.PushBack(T(i)) == i);
    QV_TEST_CHECK(array.Insert(50, T(1000)) == 50u);
    array.Remove(0);
    array.PopBack();
    QV_TEST_CHECK(array.Count() == 99);
    QV_TEST_CHECK(array.First() == 1u);
    QV_TEST_CHECK(array[49] == 1000u);
    QV_TEST_CHECK(array.Last() == 98u);
    QV_TEST_CHECK(array.IndexOf(1000u) == 49u);

    QV_TEST_CHECK(array.PushBack(array[49]).Valid());
    QV_TEST_CHECK(array.Resize(150));
    QV_TEST_CHECK(array[99] == 1000u);
    QV_TEST_CHECK(array[149] == 0u);
    QV_TEST_CHECK(array.Resize(120));

    TArray<T> copy;
    QV_TEST_CHECK(copy.CopyFrom(array));
    QV_TEST_CHECK(copy.CopyFrom(copy.View().Slice(10, 20)));
    QV_TEST_CHECK(copy.Count() == 20 && copy[0] == 11u);
    copy.Swap(array);
    array = std::move(copy);
    QuickSort(array.Begin(), array.End());
    for (u32 i = 1; i < array.Count(); ++i)
        QV_TEST_CHECK(!(array[i] < array[i - 1]));
    QV_TEST_CHECK(array.Last() == 1000u);

    const TArray<T> clone = array.Clone();
    QV_TEST_CHECK(clone.Count() == array.Count() && clone.Data() != array.Data());
    for (u32 i = 0; i < clone.Count(); ++i)
        QV_TEST_CHECK(clone[i] == array[i]);
    array = {T(7), T(8)};
    QV_TEST_CHECK(array.Count() == 2 && array[0] == 7u && array[1] == 8u);
    array.Clear();
    QV_TEST_CHECK(array.Empty());
    QV_TEST_CHECK(TakeReports() == 0);
}

void WalkStrings()
{
    TArray<CString> strings;
    for (u32 i = 0; i < 60; ++i)
        QV_TEST_CHECK(strings.PushBack(CString::Format("text %02u", 59 - i)).Valid());
    QV_TEST_CHECK(strings.PushBack(strings[3]).Valid());
    QV_TEST_CHECK(strings.Contains("text 00"));
    QuickSort(strings.Begin(), strings.End());
    QV_TEST_CHECK(strings.First() == "text 00");
    QV_TEST_CHECK(strings[56] == "text 56" && strings[57] == "text 56");
    QV_TEST_CHECK(TakeReports() == 0);
    QV_TEST_CHECK(strings.PushBack(std::move(strings[0])) == 61u);
    QV_TEST_CHECK(strings[61] == "text 00" && strings[0].Empty());
    QV_TEST_CHECK(TakeReports() == kFromSites);
}

// A comparator that answers at random may leave any order, but takes only what it was given.
void WalkSort()
{
    for (u32 round = 0; round < 200; ++round)
    {
        TArray<u32> array;
        for (u32 i = 0; i < round * 3; ++i)
            array.PushBack(NextRandom() % (round + 1));
        u64 before = 0;
        for (const u32 value : array)
            before += value;
        QuickSort<SRandomAnswers>(array.Begin(), array.End());
        u64 after = 0;
        for (const u32 value : array)
            after += value;
        QV_TEST_CHECK(before == after);
        QuickSort(array.begin(), array.end());
        for (u32 i = 1; i < array.Count(); ++i)
            QV_TEST_CHECK(array[i - 1] <= array[i]);
    }
    QV_TEST_CHECK(TakeReports() == 0);
}

void WalkMisuse()
{
    TArray<u32> array;
    QV_TEST_CHECK(array[0] == 0 && array.First() == 0 && array.Last() == 0);
    array.PopBack();
    array.Remove(0);
    QV_TEST_CHECK(!array.Insert(1, 5).Valid());
    QV_TEST_CHECK(TakeReports() == 6 * kFromSites);
    array.PushBack(1);
    array.PushBack(2);
    QV_TEST_CHECK(array[2] == 0);
    QV_TEST_CHECK(TakeReports() == kFromSites);
    if (kFromSites != 0)
    {
        QV_TEST_CHECK(*array.End() == 0);
        QV_TEST_CHECK(*TArray<u32>::Iterator() == 0);
        QV_TEST_CHECK(TakeReports() == 2);
    }
}

void *Refuse(u64, u32, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    return nullptr;
}

void *RefuseResizing(void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *)
{
    return nullptr;
}

void FreeNothing(void *, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *) {}

void WalkRefusedMemory()
{
    const Mem::SAllocator before = Mem::SetAllocator(Mem::SAllocator{&Refuse, &RefuseResizing, &FreeNothing});
    TArray<u32> array;
    QV_TEST_CHECK(!array.PushBack(1).Valid());
    TArray<CSelfAware> elements;
    QV_TEST_CHECK(!elements.PushBack(CSelfAware(1)).Valid());
    QV_TEST_CHECK(!elements.Resize(3) && !elements.Reserve(3));
    QV_TEST_CHECK((TArray<u32>{1, 2, 3}).Empty());
    Mem::SetAllocator(before);
    QV_TEST_CHECK(TakeReports() == 5 * kFromSites);
    if (kFromSites != 0)
        QV_TEST_CHECK(std::strstr(g_LastMessage, "could not grow array of TArray<> to 3 elements") != nullptr);
}

void WalkMonitor()
{
    CContainersMonitorTArrays::Reset();
    g_KRContainersConfig_MonitorTArrays = true;
    TArray<u64> array;
    QV_TEST_CHECK(array.Reserve(10) && array.Reserve(20));
    g_KRContainersConfig_MonitorTArrays = false;
    QV_TEST_CHECK(CContainersMonitorTArrays::MovementCount() == 2);
    QV_TEST_CHECK(CContainersMonitorTArrays::NetBytes() == 160);
}

} // namespace

int main()
{
    Assert::SetHandler(&RecordReport);
    WalkArray<u32>();
    WalkArray<CSelfAware>();
    WalkStrings();
    WalkSort();
    WalkMisuse();
    WalkRefusedMemory();
    WalkMonitor();
    return ExitCode();
}
