// The dynamic array: elements in one growing block, with iterators that notice misuse.
//
//     TArray<u32> primes;
//     primes.PushBack(2);
//     if (!primes.PushBack(3).Valid())
//         return false;                                  // memory was refused; primes still holds 2
//     for (const u32 prime : primes)
//         Use(prime);
//     QuickSort(primes.Begin(), primes.End());           // kr_containers_internals.h
//     const TMemoryView<const u32> view = primes.View(); // valid until the array changes
//
// An array that cannot grow says so, by its return value and by a report, and stays as it was. Indices and counts are
// 32 bits; sizes are computed in 64, and what does not fit fails as refused memory does.
//
// Elements move to another block by their bytes where their type allows it (TTypeTraits<T>::HasTrivialRelocate), else
// by their move constructor. Over-aligned elements are aligned. Access outside the elements is reported and answers a
// scratch element that belongs to the thread.
//
// One thread at a time may use an array; several may read it while none writes.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_containers_internals.h"
#include "kr_internal/kr_containers_array_block.h"
#include "kr_mem.h"
#include "kr_mem_utils.h"
#include "kr_memoryviews.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

// ---- The monitor ----------------------------------------------------------------------------------------------------

// When set, every array registers its memory movements with the monitor below. Set it while no array grows.
extern QV_API bool g_KRContainersConfig_MonitorTArrays;

// Sums up the memory movements of all arrays while `g_KRContainersConfig_MonitorTArrays` is set: each is one attempt to
// change the size of an array's block, registered before it is tried, so also when it is refused. Blocks that die with
// their array are no movement. Any thread may call any of it.
class QV_API CContainersMonitorTArrays
{
public:
    // Counts a movement that makes a block `bytes` larger; smaller when negative.
    static void RegisterNewMemoryMovement(s64 bytes) noexcept QV_NONBLOCKING;

    // The movements, and the sum of their bytes, since the last reset.
    static u64 MovementCount() noexcept QV_NONBLOCKING;
    static s64 NetBytes() noexcept QV_NONBLOCKING;

    // Counts from 0 on again.
    static void Reset() noexcept QV_NONBLOCKING;
};

// ---- The controller -------------------------------------------------------------------------------------------------

// How an array grows, and how its block is aligned (0: as the allocator sees fit, but no less than the elements need).
// Asked for n elements, it makes room for n + n / divider + n * multiplier + constant, and for the initial size when
// asked for none. A divider of 0 adds nothing.
template <u32 _Alignment, u32 _InitialSize, u32 _GrowConstant, u32 _GrowMultiplier, u32 _GrowDivider>
struct TArrayStaticController
{
    static_assert(_GrowMultiplier < 0x80000000u, "the capacity is computed in 64 bits");

    // The alignment of the block; 0 leaves it to the allocator and the elements.
    static constexpr u32 Alignment() noexcept QV_NONBLOCKING { return _Alignment; }

    // How much an array grows. Returns: the capacity to give to one that needs `wishedSize` elements.
    // Requires: it fits 32 bits, else it is cut to them after the report of `checked_numcast`.
    static u32 GrowSize(u32 wishedSize) noexcept QV_NONBLOCKING
    {
        if (wishedSize == 0)
            return _InitialSize;
        return checked_numcast<u32>(wishedSize + _Divided(wishedSize) + u64(wishedSize) * _GrowMultiplier +
                                    _GrowConstant);
    }

private:
    static constexpr u64 _Divided(u32 wishedSize) noexcept QV_NONBLOCKING
    {
        if constexpr (_GrowDivider != 0)
            return wishedSize / _GrowDivider;
        else
            return wishedSize & 0;
    }
};

// ---- The array ------------------------------------------------------------------------------------------------------

namespace Internal
{

struct SArrayAccess; // for services of the library

} // namespace Internal

// Reading and iterating; `BaseImpl` has the storage.
template <typename T, typename BaseImpl>
class TArray_Base : public BaseImpl
{
    using _Impl = BaseImpl;

public:
    using _Impl::_Count;

    // ---- Iterators --------------------------------------------------------------------------------------------------

    // An iterator that knows the array it runs over and reports misuse: a move or a comparison outside that array's
    // elements, dereferencing the end, the difference of iterators of two arrays. Whatever moves the elements (growth,
    // moving or swapping the array) invalidates it, and is noticed because it then lies outside; so does the array's
    // death, which is not noticed. After its report a dereference answers a scratch element, and a difference is 0.
    // With QV_ASSERTS=0 it checks nothing, and is the same type still.
    //
    // Random access in the standard's sense; the difference is a 32-bit element count, so arrays of 2^31 elements and
    // more are for raw pointers (`begin`, `end`, `View`).
    template <typename RealType>
    class TDebugContiguousBaseIterator;

    // Checked iterators over the elements.
    using Iterator = TDebugContiguousBaseIterator<Internal::TContiguousBaseIterator<T>>;
    using ConstIterator = TDebugContiguousBaseIterator<Internal::TContiguousBaseIterator<const T>>;

    // The first element and the end, as checked iterators.
    Iterator Begin() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return Iterator(_Impl::_RawBegin(), this); }
    Iterator End() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return Iterator(_Impl::_RawEnd(), this); }
    ConstIterator Begin() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return ConstIterator(_Impl::_RawBegin(), this);
    }
    ConstIterator End() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return ConstIterator(_Impl::_RawEnd(), this);
    }

    // The first element and the end, as raw pointers, for the range-based `for`.
    T *begin() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawBegin(); }
    T *end() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawEnd(); }
    const T *begin() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawBegin(); }
    const T *end() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawEnd(); }

    // ---- Reading ----------------------------------------------------------------------------------------------------

    // The number of elements.
    u32 Count() const noexcept QV_NONBLOCKING { return m_Count; }
    // The number of elements that there is room for.
    u32 MaxCount() const noexcept QV_NONBLOCKING { return m_MaxCount; }
    // Whether there is no element.
    [[nodiscard]] bool Empty() const noexcept QV_NONBLOCKING { return m_Count == 0; }

    // The first element's place; null as long as there is no block.
    T *Data() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return m_Data; }
    const T *Data() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return m_Data; }

    // The element at `index`.
    // Requires: an index below the count, else reports "index < _Count()" and answers a scratch element.
    T &operator[](u32 index) noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(index < m_Count) ? m_Data[index] : _Inaccessible<T>(index);
    }
    const T &operator[](u32 index) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(index < m_Count) ? m_Data[index] : _Inaccessible<const T>(index);
    }
    // The first and the last element.
    // Requires: an array with elements, else reports "!Empty()" and answers a scratch element.
    T &First() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[0] : _InaccessibleEnd<T>();
    }
    const T &First() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[0] : _InaccessibleEnd<const T>();
    }
    T &Last() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[m_Count - 1] : _InaccessibleEnd<T>();
    }
    const T &Last() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[m_Count - 1] : _InaccessibleEnd<const T>();
    }

    // The index of the first element that equals `value`, of any type that elements compare with; INVALID for none.
    template <typename U>
    [[nodiscard]] CGuid IndexOf(const U &value) const
    {
        for (u32 i = 0; i < m_Count; ++i)
            if (m_Data[i] == value)
                return i;
        return CGuid::INVALID;
    }
    // Whether an element equals `value`.
    template <typename U>
    [[nodiscard]] bool Contains(const U &value) const
    {
        return IndexOf(value).Valid();
    }

    // The elements as a view: valid until the array grows, is moved, or dies.
    TMemoryView<T> View() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return TMemoryView<T>(m_Data, m_Count); }
    TMemoryView<const T> View() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return TMemoryView<const T>(m_Data, m_Count);
    }
    operator TMemoryView<T>() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return View(); }
    operator TMemoryView<const T>() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return View(); }
    operator TStridedMemoryView<T>() noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return View(); }
    operator TStridedMemoryView<const T>() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return View(); }

protected:
    using _Impl::m_Count;
    using _Impl::m_Data;
    using _Impl::m_MaxCount;

private:
    template <typename Element>
    QV_INTERNAL_COLD Element &_Inaccessible(u32 index) const noexcept QV_NONBLOCKING
    {
        QV_INTERNAL_ASSERT_TEXT("index < _Count()", false);
        static_cast<void>(index);
        return Internal::ScratchElement<Element>();
    }
    template <typename Element>
    QV_INTERNAL_COLD Element &_InaccessibleEnd() const noexcept QV_NONBLOCKING
    {
        QV_INTERNAL_ASSERT_TEXT("!Empty()", false);
        return Internal::ScratchElement<Element>();
    }
};

// A growable array of `T`. Movable; copying is a named operation, `CopyFrom` or `Clone`, since it may fail.
// Allocates: one block, for as many elements as the controller says, where elements are added and there is no room; it
// takes the place of the one before. Exactly as many as asked for in `Reserve`, `Clone` and the constructor.
// Invalidates: growing, moving and swapping move the elements; inserting and removing move those behind the place.
template <typename T, typename Controller = TArrayStaticController<0, 8, 8, 0, 2>>
class TArray : public TArray_Base<T, TArray_BaseContainerImpl<T, Controller, TTypeTraits<T>::HasTrivialRelocate>>
{
    using BaseImpl = TArray_BaseContainerImpl<T, Controller, TTypeTraits<T>::HasTrivialRelocate>;
    using _Base = TArray_Base<T, BaseImpl>;
    using _Relocator = Internal::TRangeRelocator<T, TTypeTraits<T>::HasTrivialRelocate>;

public:
    using BaseImpl::_Count;

    // No elements, and no block. (Written out: defaulted, it would make the array an aggregate.)
    TArray() noexcept QV_NONBLOCKING {}
    // Copies of the elements in braces, in order: `TArray<CString> names{"a", "b"}`. Assigns, too, by way of a new array.
    // Allocates: one block for exactly these elements; none for none. Fails: an empty array, as CopyFrom reports it.
    TArray(std::initializer_list<T> elements);
    // Takes over the block, and with it the elements; `other` is left without. Assigning destroys what there was.
    TArray(TArray &&other) noexcept = default;
    TArray(const TArray &) = delete;
    TArray &operator=(const TArray &) = delete;
    TArray &operator=(TArray &&other) noexcept
    {
        TArray taken(std::move(other));
        Swap(taken);
        return *this;
    }
    // Destroys the elements and frees the block.
    ~TArray()
    {
        Clear();
        _Base::_FreeBuffer();
    }

    // ---- Appending --------------------------------------------------------------------------------------------------

    // Appends an element, moved from `element`.
    // Requires: it is none of the array's own, else reports
    // "ureg(&element + 1) <= ureg(BaseImpl::_Data()) || ureg(&element) >= ureg(BaseImpl::_Data() + BaseImpl::_Count())";
    // an own one is moved all the same, wherever growing puts it.
    // Returns: its index. Fails: INVALID when the array cannot grow; nothing has changed, `element` neither.
    // Cost: constant on average.
    CGuid PushBack(T &&element);

    // Appends a copy of `element`, which may be one of the array's own.
    // Returns, fails: as above.
    CGuid PushBack(const T &element)
    {
        static_assert(std::is_copy_constructible<T>::value, "move the element into the array: it cannot be copied");
        T copy(element);
        return _Append(std::move(copy));
    }

    // Destroys the last element. Requires: one, else reports "!Empty()" and does nothing.
    void PopBack();

    // ---- Inserting and removing -------------------------------------------------------------------------------------

    // Puts an element, moved from `element`, before the one at `index`, or behind the last one when `index` is the
    // count.
    // Requires: `index` is at most the count, else reports "index <= _Count()" and fails; `element` as for PushBack.
    // Returns: `index`. Fails: INVALID; nothing has changed, `element` neither.
    // Cost: linear in the elements behind it.
    CGuid Insert(u32 index, T &&element);

    // Destroys the element at `index`; those behind it keep their order and move down by one.
    // Requires: an element there, else reports "index < _Count()" and does nothing.
    // Cost: linear in the elements behind it.
    void Remove(u32 index);

    // ---- Clearing, resizing, reserving ------------------------------------------------------------------------------

    // Makes the count `count`: destroys the elements beyond it, or appends value-initialised ones.
    // Fails: false when the array cannot grow; nothing has changed.
    bool Resize(u32 count);

    // Raises the capacity to `maxCount`, exactly, so that pushes up to it do not grow the array. Never lowers it.
    // Fails: false when memory is refused; nothing has changed.
    bool Reserve(u32 maxCount) noexcept(TTypeTraits<T>::HasTrivialRelocate ||
                                        std::is_nothrow_move_constructible<T>::value)
    {
        return maxCount <= m_MaxCount || _Base::_ReallocBuffer(maxCount);
    }

    // Destroys the elements; keeps the block and the capacity.
    void Clear()
    {
        _Base::_DestroyElements(0, m_Count);
        m_Count = 0;
    }

    // ---- Copying, swapping ------------------------------------------------------------------------------------------

    // Replaces the elements by copies of those of `source`, which may be the array's own.
    // Requires: "source.Data() != null || source.Empty()".
    // Fails: false when the array cannot grow; nothing has changed.
    bool CopyFrom(const TMemoryView<const T> &source);

    // A copy of the array. Returns: one with copies of the elements, and room for no more. Fails: an empty array, as
    // CopyFrom reports it.
    [[nodiscard]] TArray Clone() const;

    // Exchanges the blocks, and with them the elements.
    void Swap(TArray &other) noexcept QV_NONBLOCKING { _Base::_SwapBuffers(other); }

protected:
    using _Base::m_Count;
    using _Base::m_Data;
    using _Base::m_MaxCount;

private:
    friend struct Internal::SArrayAccess;

    static constexpr u32 kNotOwn = 0xFFFFFFFF;

    CGuid _Append(T &&element);
    u32 _IndexOfOwn(const T &element) const noexcept;
    void _AppendCopies(const TMemoryView<const T> &source);
};

// An array's bytes may be moved: nothing but its iterators refers to its address, and moving it invalidates them.
template <typename T, typename Controller>
struct TTypeTraits<TArray<T, Controller>>
{
    static constexpr bool HasTrivialRelocate = true;
};

// ---- Where memory comes from ----------------------------------------------------------------------------------------

// All other bodies are in private headers. These stand here because the place that allocators and the handler of
// assertions are told is this header.

template <typename T, typename Controller, bool HasTrivialRelocate>
bool TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_ReallocBuffer(u32 newMaxCount)
{
    if (QV_INTERNAL_FAILS(newMaxCount >= _Count()))
        return false;
    if (g_KRContainersConfig_MonitorTArrays)
        CContainersMonitorTArrays::RegisterNewMemoryMovement((s64(newMaxCount) - s64(m_MaxCount)) * s64(kElementBytes));
    if (newMaxCount == 0)
    {
        _FreeBuffer();
        return true;
    }

    const u64 bytes = newMaxCount * kElementBytes;
    T *data = nullptr;
    if constexpr (HasTrivialRelocate)
        data = static_cast<T *>(
            Mem::_RawRealloc(m_Data, bytes, _BlockAlignment(), Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE));
    else
        data = _MoveToNewBuffer(bytes);
    if (data == nullptr)
    {
        _ReportRefusedGrowth(newMaxCount, bytes);
        return false;
    }
    m_Data = data;
    m_MaxCount = newMaxCount;
    return true;
}

// For elements whose bytes may not be moved. Returns the new block, the old one is gone; or null, and nothing is.
template <typename T, typename Controller, bool HasTrivialRelocate>
T *TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_MoveToNewBuffer(u64 bytes)
{
    T *const data = static_cast<T *>(
        Mem::_RawAlloc(bytes, _BlockAlignment(), Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
    if (data == nullptr)
        return nullptr;
    Internal::TRangeRelocator<T, false>::Relocate(data, m_Data, m_Count);
    Mem::_RawFree(m_Data, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    return data;
}

template <typename T, typename Controller, bool HasTrivialRelocate>
void TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_FreeBuffer() noexcept
{
    Mem::_RawFree(m_Data, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    m_Data = nullptr;
    m_MaxCount = 0;
}

// The name of the element type stays empty: there is none without run-time types.
template <typename T, typename Controller, bool HasTrivialRelocate>
void TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_ReportRefusedGrowth(u32 newMaxCount,
                                                                                       u64 bytes) noexcept
{
    QV_ASSERT_MESSAGE(false, "could not grow array of TArray<%s> to %d elements (%llu bytes)\n", "",
                      static_cast<s32>(newMaxCount), bytes);
    static_cast<void>(newMaxCount);
    static_cast<void>(bytes);
}

} // namespace Quorvane

#include "kr_internal/kr_containers_array_inline.h"
