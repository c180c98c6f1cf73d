// The small services below text: views of elements and their iterators, sorting, copies of raw memory, narrowed numbers,
// indices, and atomic integers, each beside what plain C++ makes of the same values.
#include <algorithm>
#include <type_traits>
#include <vector>

#include "fuzz_support.h"
#include "kr_atomic.h"
#include "kr_containers_array.h"
#include "kr_containers_internals.h"
#include "kr_mem_utils.h"
#include "kr_memoryviews.h"
#include "qv_guid.h"

namespace
{

using namespace QuorvaneFuzz;

constexpr u32 kMaxSteps = 40;
constexpr u32 kMaxElements = 40;

// A number with any bits, likely to lie at the end of some range.
u64 AnyNumber(CInput &input)
{
    u64 number = 0;
    for (u32 i = input.Below(9); i != 0; --i)
        number = number << 8 | input.Byte();
    return input.Flag() ? ~number : number;
}

// ---- Views -------------------------------------------------------------------------------------------------------------

// Elements that lie some bytes behind each other; with a stride of 0, the first one over and over.
class CElements
{
public:
    CElements(CInput &input, u32 stride) : m_Stride(stride), m_Count(input.Below(kMaxElements)), m_Memory(Bytes())
    {
        for (u32 i = 0; i < m_Count; ++i)
        {
            const u32 value = 1 + i + 1000u * input.Byte();
            std::memcpy(m_Memory.data() + u64(i) * stride, &value, sizeof(value));
        }
    }

    u32 Count() const { return m_Count; }
    u32 Stride() const { return m_Stride; }
    u32 *Data() { return reinterpret_cast<u32 *>(m_Memory.data()); }
    u32 *At(u32 index) { return reinterpret_cast<u32 *>(m_Memory.data() + u64(index) * m_Stride); }

private:
    std::size_t Bytes() const { return std::size_t(m_Count) * m_Stride + sizeof(u32); }

    u32 m_Stride;
    u32 m_Count;
    std::vector<u8> m_Memory;
};

// What both kinds of views answer of elements from `first` on; where there are none, the answers are scratch elements.
template <typename View>
void ExpectView(const View &view, CElements &elements, u32 first, u32 count, u32 index, CWatch &watch)
{
    QV_FUZZ_CHECK(view.Count() == count && view.Empty() == (count == 0));
    QV_FUZZ_CHECK(count == 0 || view.Data() == elements.At(first));
    watch.BeginStep();
    u32 *const element = &view[index];
    QV_FUZZ_CHECK(watch.HasReported() == (index >= count));
    QV_FUZZ_CHECK(index >= count ? element != nullptr : element == elements.At(first + index));
    watch.BeginStep();
    u32 *const front = &view.First();
    u32 *const back = &view.Last();
    QV_FUZZ_CHECK(watch.HasReported() == (count == 0));
    QV_FUZZ_CHECK(count == 0 || (front == elements.At(first) && back == elements.At(first + count - 1)));
}

template <typename View>
void SliceView(const View &view, CElements &elements, CInput &input, CWatch &watch)
{
    const u32 start = input.Flag() ? input.Below(kMaxElements + 3) : static_cast<u32>(AnyNumber(input));
    const u32 count = input.Flag() ? input.Below(kMaxElements + 3) : static_cast<u32>(AnyNumber(input));
    const u32 clampedStart = std::min(start, view.Count());
    const u32 clampedCount = std::min(count, view.Count() - clampedStart);
    const u32 index = input.Below(kMaxElements + 2);
    watch.BeginStep();
    const View quiet = view.SliceIFP(start, count);
    QV_FUZZ_CHECK(!watch.HasReported());
    const View slice = view.Slice(start, count);
    QV_FUZZ_CHECK(watch.HasReported() == (clampedStart != start || clampedCount != count));
    ExpectView(quiet, elements, clampedStart, clampedCount, index, watch);
    ExpectView(slice, elements, clampedStart, clampedCount, index, watch);
}

void UseContiguous(CInput &input, CWatch &watch)
{
    CElements elements(input, sizeof(u32));
    const TMemoryView<u32> view(elements.Data(), elements.Count());
    QV_FUZZ_CHECK(view.DataEnd() == view.Data() + elements.Count() && view.End() == view.DataEnd());
    QV_FUZZ_CHECK(std::equal(view.begin(), view.end(), view.Begin()));
    ExpectView(view, elements, 0, elements.Count(), input.Below(kMaxElements + 2), watch);
    SliceView(view, elements, input, watch);
    const TStridedMemoryView<const u32> strided = TStridedMemoryView<u32>(view);
    QV_FUZZ_CHECK(strided.Stride() == sizeof(u32) && std::equal(view.begin(), view.end(), strided.begin()));
}

void UseStrided(CInput &input, CWatch &watch)
{
    CElements elements(input, 4 * input.Below(6));
    const TStridedMemoryView<u32> view(elements.Data(), elements.Count(), elements.Stride());
    QV_FUZZ_CHECK(view.Stride() == elements.Stride());
    ExpectView(view, elements, 0, elements.Count(), input.Below(kMaxElements + 2), watch);
    SliceView(view, elements, input, watch);
}

// An iterator that is led about beside the index that it stands for.
void WalkStrided(CInput &input)
{
    CElements elements(input, 4 * input.Below(4));
    const TStridedMemoryView<u32> view(elements.Data(), elements.Count(), elements.Stride());
    const auto begin = view.Begin();
    const auto end = view.End();
    QV_FUZZ_CHECK(end - begin == std::ptrdiff_t(elements.Count()) && view.begin() == begin && view.end() == end);
    auto at = begin;
    std::ptrdiff_t index = 0;
    for (u32 i = 0; i < 8; ++i)
    {
        const std::ptrdiff_t wanted = input.Below(elements.Count() + 1);
        switch (input.Byte() % 4)
        {
        case 0:
            at += wanted - index;
            break;
        case 1:
            at -= index - wanted;
            break;
        case 2:
            at = (wanted - index) + at;
            break;
        default:
            for (; index < wanted; ++index)
                QV_FUZZ_CHECK(at++ == begin + index);
            for (; index > wanted; --index)
                QV_FUZZ_CHECK(at-- == begin + index);
        }
        index = wanted;
        QV_FUZZ_CHECK(at - begin == index && end - at == std::ptrdiff_t(elements.Count()) - index);
        QV_FUZZ_CHECK((at == end) == (index == std::ptrdiff_t(elements.Count())) && (at != begin) == (index != 0));
        QV_FUZZ_CHECK((at < end) == (at != end) && at <= end && at >= begin && (at > begin) == (index != 0));
        if (at != end)
            QV_FUZZ_CHECK(&*at == elements.At(static_cast<u32>(index)) && &begin[index] == &*at);
    }
}

// ---- Raw memory --------------------------------------------------------------------------------------------------------

void CopyRaw(CInput &input)
{
    std::vector<u8> memory(600);
    for (u8 &byte : memory)
        byte = input.Byte();
    std::vector<u8> model = memory;
    const u32 count = input.Below(200);
    const u32 from = input.Below(400);
    const u32 to = input.Below(400);
    const bool overlap = count != 0 && from < to + count && to < from + count;
    QV_FUZZ_CHECK(Mem::Overlaps(memory.data() + to, count, memory.data() + from, count) == overlap);
    const std::vector<u8> copied(model.begin() + from, model.begin() + from + count);
    std::copy(copied.begin(), copied.end(), model.begin() + to);
    if (overlap || input.Flag())
        Mem::Copy_Overlapped(memory.data() + to, memory.data() + from, count);
    else
        Mem::Copy(memory.data() + to, memory.data() + from, count);
    QV_FUZZ_CHECK(memory == model);
    QV_FUZZ_CHECK(Mem::IsAligned<16>(memory.data() + to) == (reinterpret_cast<ureg>(memory.data() + to) % 16 == 0));
}

// ---- Numbers -----------------------------------------------------------------------------------------------------------

// Narrowing truncates, and reports what does not come back as it was.
template <typename To, typename From>
void Narrow(From value, CWatch &watch)
{
    watch.BeginStep();
    const To result = checked_numcast<To>(value);
    QV_FUZZ_CHECK(result == static_cast<To>(value));
    const bool survives = static_cast<From>(static_cast<To>(value)) == value;
    QV_FUZZ_CHECK(watch.HasReported() == !survives);
}

void UseNumbers(CInput &input, CWatch &watch)
{
    const u64 a = AnyNumber(input);
    const u64 b = AnyNumber(input);
    Narrow<u8>(a, watch);
    Narrow<u32>(s64(a), watch);
    Narrow<s32>(a, watch);
    Narrow<s64>(a, watch);
    Narrow<u64>(s64(a), watch);
    QV_FUZZ_CHECK(QVMin(a, b) == std::min(a, b) && QVMax(a, b) == std::max(a, b));
    const CGuid guid(static_cast<u32>(a));
    const u32 other = static_cast<u32>(b);
    QV_FUZZ_CHECK(guid.Valid() == (static_cast<u32>(a) != 0xFFFFFFFFu) && guid.Get() == static_cast<u32>(a));
    QV_FUZZ_CHECK((guid == other) == (guid.Get() == other) && (guid < other) == (guid.Get() < other));
    QV_FUZZ_CHECK((guid >= other) == (guid.Get() >= other) && !CGuid().Valid());
}

template <typename T>
void UseAtomic(CInput &input)
{
    const T value = static_cast<T>(AnyNumber(input));
    const T other = static_cast<T>(AnyNumber(input));
    TAtomic<T> atomic(value);
    // Of each pair, one gives the value before and one the value after.
    const T sum = static_cast<T>(value + other);
    QV_FUZZ_CHECK(atomic.Load() == value && atomic.LoadInOrder() == value && atomic.FetchAdd(other) == value);
    QV_FUZZ_CHECK(atomic.Add(other) == static_cast<T>(sum + other) && atomic.FetchSub(other) == T(sum + other));
    QV_FUZZ_CHECK(atomic.Sub(other) == value && atomic.FetchInc() == value && atomic.FetchDec() == T(value + 1));
    QV_FUZZ_CHECK(atomic.Inc() == T(value + 1) && atomic.Dec() == value);
    QV_FUZZ_CHECK(atomic.FetchAnd(other) == value && atomic.And(value) == T(value & other));
    QV_FUZZ_CHECK(atomic.FetchOr(value) == T(value & other) && atomic.Or(other) == T(value | other));
    QV_FUZZ_CHECK(atomic.FetchXor(other) == T(value | other) && atomic.Xor(other) == T(value | other));
    atomic.Store(other);
    QV_FUZZ_CHECK(atomic.SetValueIfEqualTo(value, T(other + 1)) == false && atomic.Swap(value) == other);
    QV_FUZZ_CHECK(atomic.SetValueIfEqualTo(other, value) && atomic.Load() == other);
    atomic.StoreUnshared(value);
    bool isNegative = false;
    QV_FUZZ_CHECK(atomic.DecIsZero(isNegative) == (T(value - 1) == 0));
    QV_FUZZ_CHECK(isNegative == (static_cast<std::make_signed_t<T>>(static_cast<T>(value - 1)) < 0));
    atomic.StoreReleased(other);
    QV_FUZZ_CHECK(atomic.Load() == other);
}

// ---- Sorting -----------------------------------------------------------------------------------------------------------

// By the lower half alone, so that equal ones differ; or with answers that do not agree with each other.
struct SByLowerHalf
{
    static bool Less(u32 a, u32 b) { return (a & 0xFF) < (b & 0xFF); }
    static bool Equal(u32 a, u32 b) { return (a & 0xFF) == (b & 0xFF); }
};

struct SLying
{
    static bool Less(u32 a, u32 b) { return (a * 7 + b * 13) % 3 == 0; }
    static bool Equal(u32 a, u32 b) { return (a + b) % 5 == 0; }
};

void Sort(CInput &input)
{
    std::vector<u32> numbers(input.Below(200));
    for (u32 &number : numbers)
        number = input.Byte() * 256u + static_cast<u32>(numbers.size());
    for (u32 &number : numbers)
        number ^= input.Byte() & 3u;
    std::vector<u32> sorted = numbers;
    std::sort(sorted.begin(), sorted.end());
    // A strided view's iterators, and pointers, give one order.
    std::vector<u32> byPointers = numbers;
    std::vector<u32> byIterators = numbers;
    const TStridedMemoryView<u32> view(byIterators.data(), static_cast<u32>(byIterators.size()));
    u32 *const begin = byPointers.data();
    const u8 way = input.Byte() % 4;
    if (way == 0)
    {
        QuickSort(begin, begin + byPointers.size());
        QuickSort(view.Begin(), view.End());
        QV_FUZZ_CHECK(byPointers == sorted);
    }
    else if (way == 1)
    {
        QuickSort<SByLowerHalf>(begin, begin + byPointers.size());
        QuickSort<SByLowerHalf>(view.Begin(), view.End());
        QV_FUZZ_CHECK(std::is_sorted(byPointers.begin(), byPointers.end(), SByLowerHalf::Less));
    }
    else if (way == 2)
    {
        InsertionSort<TSortDefaultCompare<u32 *>>(begin, begin + byPointers.size());
        InsertionSort<TSortDefaultCompare<u32 *>>(view.Begin(), view.End());
        QV_FUZZ_CHECK(byPointers == sorted);
    }
    else
    {
        QuickSort<SLying>(begin, begin + byPointers.size());
        QuickSort<SLying>(view.Begin(), view.End());
    }
    QV_FUZZ_CHECK(byPointers == byIterators);
    std::sort(byPointers.begin(), byPointers.end());
    QV_FUZZ_CHECK(byPointers == sorted);
}

// ---- Growth ------------------------------------------------------------------------------------------------------------

// The room of a growing array is what its parameters say, or is reported to be more than there can be.
void Grow(CInput &input, CWatch &watch)
{
    using CGrowth = TArrayStaticController<32, 16, 10, 1, 2>;
    const u32 wished = static_cast<u32>(AnyNumber(input));
    watch.BeginStep();
    const u32 room = CGrowth::GrowSize(wished);
    const u64 asked = wished == 0 ? 16 : u64(wished) + wished / 2 + wished + 10;
    QV_FUZZ_CHECK(watch.HasReported() == (asked > 0xFFFFFFFFu));
    QV_FUZZ_CHECK(watch.HasReported() || room == asked);
    QV_FUZZ_CHECK(CGrowth::Alignment() == 32);
}

// The monitor counts each change of a block's size once.
void Monitor(CInput &input, CWatch &watch)
{
    CContainersMonitorTArrays::Reset();
    g_KRContainersConfig_MonitorTArrays = true;
    watch.BeginStep();
    u64 changes = 0;
    TArray<u32> array;
    for (u32 i = 0; i < 8; ++i)
    {
        const u32 before = array.MaxCount();
        static_cast<void>(array.Reserve(input.Byte()));
        changes += array.MaxCount() != before;
    }
    g_KRContainersConfig_MonitorTArrays = false;
    if (watch.HasRefused())
        return;
    QV_FUZZ_CHECK(CContainersMonitorTArrays::MovementCount() == changes);
    QV_FUZZ_CHECK(CContainersMonitorTArrays::NetBytes() == s64(array.MaxCount() * sizeof(u32)));
    CContainersMonitorTArrays::RegisterNewMemoryMovement(-8);
    QV_FUZZ_CHECK(CContainersMonitorTArrays::MovementCount() == changes + 1);
}

void Step(CInput &input, CWatch &watch)
{
    switch (input.Byte() % 10)
    {
    case 0:
        return UseContiguous(input, watch);
    case 1:
        return UseStrided(input, watch);
    case 2:
        return WalkStrided(input);
    case 3:
        return CopyRaw(input);
    case 4:
        return UseNumbers(input, watch);
    case 5:
        return UseAtomic<u32>(input);
    case 6:
        return UseAtomic<u64>(input);
    case 7:
        return Sort(input);
    case 8:
        return Grow(input, watch);
    default:
        return Monitor(input, watch);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    TakeSteps(input, kMaxSteps, [&] { Step(input, watch); });
    return 0;
}
