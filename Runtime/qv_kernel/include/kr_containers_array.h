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
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_containers_internals.h"
#include "kr_mem.h"
#include "kr_mem_utils.h"
#include "kr_memoryviews.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

// When set, every array registers its memory movements with the monitor below. Set it while no array grows.
extern bool g_KRContainersConfig_MonitorTArrays;

// Sums up the memory movements of all arrays while `g_KRContainersConfig_MonitorTArrays` is set: each is one attempt to
// change the size of an array's block, registered before it is tried, so also when it is refused. Blocks that die with
// their array are no movement. Any thread may call any of it.
class CContainersMonitorTArrays
{
public:
    // Counts a movement that makes a block `bytes` larger; smaller when negative.
    static void RegisterNewMemoryMovement(s64 bytes);

    // The movements, and the sum of their bytes, since the last reset.
    static u64 MovementCount();
    static s64 NetBytes();

    static void Reset();
};

// How an array grows, and how its block is aligned (0: as the allocator sees fit, but no less than the elements need).
// Asked for n elements, it makes room for n + n / divider + n * multiplier + constant, and for the initial size when
// asked for none. A divider of 0 adds nothing.
template <u32 _Alignment, u32 _InitialSize, u32 _GrowConstant, u32 _GrowMultiplier, u32 _GrowDivider>
struct TArrayStaticController
{
    static_assert(_GrowMultiplier < 0x80000000u, "the capacity is computed in 64 bits");

    static constexpr u32 Alignment() { return _Alignment; }

    // Returns: the capacity to give to an array that needs `wishedSize` elements.
    // Requires: it fits 32 bits, else it is cut to them after the report of `checked_numcast`.
    static u32 GrowSize(u32 wishedSize)
    {
        if (wishedSize == 0)
            return _InitialSize;
        return checked_numcast<u32>(wishedSize + _Divided(wishedSize) + u64(wishedSize) * _GrowMultiplier +
                                    _GrowConstant);
    }

private:
    static constexpr u64 _Divided(u32 wishedSize)
    {
        if constexpr (_GrowDivider != 0)
            return wishedSize / _GrowDivider;
        else
            return wishedSize & 0;
    }
};

// The block of an array and its growth.
template <typename T, typename Controller, bool HasTrivialRelocate>
class TArray_BaseContainerImpl
{
    static_assert(std::is_object<T>::value && !std::is_const<T>::value && !std::is_volatile<T>::value,
                  "elements are plain objects");
    static_assert((Controller::Alignment() & (Controller::Alignment() - 1)) == 0, "alignments are powers of two, or 0");

    static constexpr u64 kElementBytes = sizeof(T);
    static_assert(kElementBytes < 0x80000000u, "the bytes of 2^32 elements are computed in 64 bits, signed");

public:
    T *_Data() { return m_Data; }
    u32 _Count() const { return m_Count; }
    u32 _MaxCount() const { return m_MaxCount; }
    void _SetMaxCount(u32 maxCount) { m_MaxCount = maxCount; }

    T *_RawBegin() { return m_Data; }
    const T *_RawBegin() const { return m_Data; }
    T *_RawEnd() { return m_Data + m_Count; }
    const T *_RawEnd() const { return m_Data + m_Count; }

    // Raises the capacity to at least `wishedSize`, with headroom by the controller's rule.
    // Requires: "wishedSize > _MaxCount()".
    // Fails: false when memory is refused or the capacity no longer fits 32 bits; nothing has changed.
    bool _Grow(u32 wishedSize);

    // Makes the capacity exactly `newMaxCount`.
    // Requires: room for the elements there are, else reports "newMaxCount >= _Count()" and fails.
    // Fails: false, reported, when memory is refused; nothing has changed.
    bool _ReallocBuffer(u32 newMaxCount);

protected:
    TArray_BaseContainerImpl() = default;
    TArray_BaseContainerImpl(TArray_BaseContainerImpl &&other) noexcept
        : m_Data(std::exchange(other.m_Data, nullptr)),
          m_Count(std::exchange(other.m_Count, 0)),
          m_MaxCount(std::exchange(other.m_MaxCount, 0))
    {
    }
    TArray_BaseContainerImpl(const TArray_BaseContainerImpl &) = delete;
    TArray_BaseContainerImpl &operator=(const TArray_BaseContainerImpl &) = delete;
    ~TArray_BaseContainerImpl() = default;

    void _SwapBuffers(TArray_BaseContainerImpl &other) noexcept
    {
        std::swap(m_Data, other.m_Data);
        std::swap(m_Count, other.m_Count);
        std::swap(m_MaxCount, other.m_MaxCount);
    }

    // Makes room for one element behind the others; false when it cannot be had.
    bool _MakeRoomForOne() { return m_Count < m_MaxCount || _GrowByOne(); }

    void _DestroyElements(u32 start, u32 end)
    {
        Internal::TRangeDestructor<T, !std::is_trivially_destructible<T>::value>::Destroy(m_Data, start, end);
    }
    void _FreeBuffer();

    // Elements 0 to `m_Count` - 1 are alive, the rest up to `m_MaxCount` is raw memory. Null before the first growth.
    T *m_Data = nullptr;
    u32 m_Count = 0;
    u32 m_MaxCount = 0;

private:
    // What the allocator is asked for: its default (0) aligns every type that is not over-aligned.
    static constexpr u32 _BlockAlignment()
    {
        constexpr u32 forElements = alignof(T) > alignof(std::max_align_t) ? u32(alignof(T)) : 0;
        return Controller::Alignment() == 0 ? forElements : QVMax(Controller::Alignment(), u32(alignof(T)));
    }

    bool _GrowByOne();
    T *_MoveToNewBuffer(u64 bytes);
    QV_INTERNAL_COLD static void _ReportRefusedGrowth(u32 newMaxCount, u64 bytes);
};

namespace Internal
{

struct SArrayAccess; // for services of the library

// The position of an iterator over contiguous elements.
template <typename Element>
struct TContiguousBaseIterator
{
    typedef Element ElementType;

    Element *m_Ptr = nullptr;
};

} // namespace Internal

// Reading and iterating; `BaseImpl` has the storage.
template <typename T, typename BaseImpl>
class TArray_Base : public BaseImpl
{
    typedef BaseImpl _Impl;

public:
    using _Impl::_Count;

    // An iterator that knows the array it runs over and reports misuse: a move or a comparison outside that array's
    // elements, dereferencing the end, the difference of iterators of two arrays. Whatever moves the elements (growth,
    // moving or swapping the array) invalidates it, and is noticed because it then lies outside; so does the array's
    // death, which is not noticed. After its report a dereference answers a scratch element, and a difference is 0.
    // With QV_ASSERTS=0 it checks nothing, and is the same type still.
    //
    // Random access in the standard's sense; the difference is a 32-bit element count, so arrays of 2^31 elements and
    // more are for raw pointers (`begin`, `end`, `View`).
    template <typename RealType>
    class TDebugContiguousBaseIterator : private RealType
    {
        typedef typename RealType::ElementType _Element;

        template <typename OtherType>
        friend class TDebugContiguousBaseIterator;

    public:
        typedef std::random_access_iterator_tag iterator_category;
        typedef std::remove_cv_t<_Element> value_type;
        typedef s32 difference_type;
        typedef _Element *pointer;
        typedef _Element &reference;

        TDebugContiguousBaseIterator() = default;
        TDebugContiguousBaseIterator(pointer position, const TArray_Base *owner) : RealType{position}, m_Owner(owner) {}
        // From the iterator to elements of the same type, to the one to const elements.
        template <typename OtherType, typename = std::enable_if_t<Internal::IsQualificationConversion<
                                          typename OtherType::ElementType, typename RealType::ElementType>>>
        TDebugContiguousBaseIterator(const TDebugContiguousBaseIterator<OtherType> &other)
            : RealType{other.m_Ptr}, m_Owner(other.m_Owner)
        {
        }

        reference operator*() const
        {
            if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(!_AtElement()))
                return _Inaccessible();
            return *RealType::m_Ptr;
        }
        pointer operator->() const { return std::addressof(**this); }
        reference operator[](s32 n) const { return *(*this + n); }

        TDebugContiguousBaseIterator &operator+=(s32 n)
        {
            _Move(n);
            return *this;
        }
        TDebugContiguousBaseIterator &operator-=(s32 n)
        {
            _Move(-s64(n));
            return *this;
        }
        TDebugContiguousBaseIterator &operator++() { return *this += 1; }
        TDebugContiguousBaseIterator &operator--() { return *this -= 1; }
        TDebugContiguousBaseIterator operator++(int)
        {
            const TDebugContiguousBaseIterator before = *this;
            ++*this;
            return before;
        }
        TDebugContiguousBaseIterator operator--(int)
        {
            const TDebugContiguousBaseIterator before = *this;
            --*this;
            return before;
        }
        friend TDebugContiguousBaseIterator operator+(TDebugContiguousBaseIterator it, s32 n) { return it += n; }
        friend TDebugContiguousBaseIterator operator+(s32 n, TDebugContiguousBaseIterator it) { return it += n; }
        friend TDebugContiguousBaseIterator operator-(TDebugContiguousBaseIterator it, s32 n) { return it -= n; }
        friend s32 operator-(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            return a._Minus(b);
        }

        friend bool operator==(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            _AssertInStorage(a, b);
            return a.m_Ptr == b.m_Ptr;
        }
        friend bool operator<(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            _AssertInStorage(a, b);
            return a.m_Ptr < b.m_Ptr;
        }
        friend bool operator!=(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            return !(a == b);
        }
        friend bool operator>(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            return b < a;
        }
        friend bool operator<=(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            return !(b < a);
        }
        friend bool operator>=(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            return !(a < b);
        }

    private:
        void _AssertInStorage() const
        {
            QV_ASSERT(m_Owner != null && RealType::m_Ptr >= m_Owner->_RawBegin() &&
                      RealType::m_Ptr <= m_Owner->_RawEnd());
        }
        static void _AssertInStorage(const TDebugContiguousBaseIterator &a, const TDebugContiguousBaseIterator &b)
        {
            a._AssertInStorage();
            b._AssertInStorage();
        }

        bool _AtElement() const
        {
            return m_Owner != nullptr && RealType::m_Ptr >= m_Owner->_RawBegin() &&
                   RealType::m_Ptr < m_Owner->_RawEnd();
        }

        // Addresses instead of pointers, which may not leave their array even to be compared.
        ureg _AddressAt(s64 n) const
        {
            return reinterpret_cast<ureg>(RealType::m_Ptr) + static_cast<ureg>(n) * sizeof(_Element);
        }
        bool _InStorage(ureg address) const
        {
            return m_Owner != nullptr && address >= reinterpret_cast<ureg>(m_Owner->_RawBegin()) &&
                   address <= reinterpret_cast<ureg>(m_Owner->_RawEnd());
        }

        void _Move(s64 n)
        {
            if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(!_InStorage(_AddressAt(n))))
                _MoveOutside(n);
            else
                RealType::m_Ptr += static_cast<std::ptrdiff_t>(n);
        }
        QV_INTERNAL_COLD void _MoveOutside(s64 n)
        {
            RealType::m_Ptr = reinterpret_cast<pointer>(_AddressAt(n));
            _AssertInStorage();
        }

        s32 _Minus(const TDebugContiguousBaseIterator &other) const
        {
            QV_ASSERT_MESSAGE(m_Owner == other.m_Owner, "unrelated iterators.");
            if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(m_Owner != other.m_Owner))
                return 0;
            return static_cast<s32>(RealType::m_Ptr - other.m_Ptr);
        }

        // What a dereference outside the elements refers to, after its one report.
        QV_INTERNAL_COLD reference _Inaccessible() const
        {
            QV_ASSERT(RealType::m_Ptr != null);
            if (RealType::m_Ptr != nullptr)
                _AssertInStorage();
            if (m_Owner != nullptr && RealType::m_Ptr != nullptr)
                QV_ASSERT_MESSAGE(RealType::m_Ptr != m_Owner->_RawEnd(),
                                  "invalid operation: trying to dereference Iterator::End()");
            return Internal::ScratchElement<_Element>();
        }

        const TArray_Base *m_Owner = nullptr;
    };

    typedef TDebugContiguousBaseIterator<Internal::TContiguousBaseIterator<T>> Iterator;
    typedef TDebugContiguousBaseIterator<Internal::TContiguousBaseIterator<const T>> ConstIterator;

    u32 Count() const { return m_Count; }
    u32 MaxCount() const { return m_MaxCount; }
    bool Empty() const { return m_Count == 0; }

    T *Data() QV_INTERNAL_LIFETIMEBOUND { return m_Data; }
    const T *Data() const QV_INTERNAL_LIFETIMEBOUND { return m_Data; }

    // Element access. Reports "index < _Count()".
    T &operator[](u32 index) QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(index < m_Count) ? m_Data[index] : _Inaccessible<T>(index);
    }
    const T &operator[](u32 index) const QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(index < m_Count) ? m_Data[index] : _Inaccessible<const T>(index);
    }
    // Report "!Empty()".
    T &First() QV_INTERNAL_LIFETIMEBOUND { return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[0] : _InaccessibleEnd<T>(); }
    const T &First() const QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[0] : _InaccessibleEnd<const T>();
    }
    T &Last() QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[m_Count - 1] : _InaccessibleEnd<T>();
    }
    const T &Last() const QV_INTERNAL_LIFETIMEBOUND
    {
        return QV_INTERNAL_LIKELY(!Empty()) ? m_Data[m_Count - 1] : _InaccessibleEnd<const T>();
    }

    // Checked iterators.
    Iterator Begin() QV_INTERNAL_LIFETIMEBOUND { return Iterator(_Impl::_RawBegin(), this); }
    Iterator End() QV_INTERNAL_LIFETIMEBOUND { return Iterator(_Impl::_RawEnd(), this); }
    ConstIterator Begin() const QV_INTERNAL_LIFETIMEBOUND { return ConstIterator(_Impl::_RawBegin(), this); }
    ConstIterator End() const QV_INTERNAL_LIFETIMEBOUND { return ConstIterator(_Impl::_RawEnd(), this); }

    // Raw pointers, for the range-based `for`.
    T *begin() QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawBegin(); }
    T *end() QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawEnd(); }
    const T *begin() const QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawBegin(); }
    const T *end() const QV_INTERNAL_LIFETIMEBOUND { return _Impl::_RawEnd(); }

    // The index of the first element that equals `value`, of any type that elements compare with; INVALID for none.
    template <typename U>
    CGuid IndexOf(const U &value) const
    {
        for (u32 i = 0; i < m_Count; ++i)
            if (m_Data[i] == value)
                return i;
        return CGuid::INVALID;
    }
    template <typename U>
    bool Contains(const U &value) const
    {
        return IndexOf(value).Valid();
    }

    // The elements as a view: valid until the array grows, is moved, or dies.
    TMemoryView<T> View() QV_INTERNAL_LIFETIMEBOUND { return TMemoryView<T>(m_Data, m_Count); }
    TMemoryView<const T> View() const QV_INTERNAL_LIFETIMEBOUND { return TMemoryView<const T>(m_Data, m_Count); }

    operator TMemoryView<T>() QV_INTERNAL_LIFETIMEBOUND { return View(); }
    operator TMemoryView<const T>() const QV_INTERNAL_LIFETIMEBOUND { return View(); }
    operator TStridedMemoryView<T>() QV_INTERNAL_LIFETIMEBOUND { return View(); }
    operator TStridedMemoryView<const T>() const QV_INTERNAL_LIFETIMEBOUND { return View(); }

protected:
    using _Impl::m_Count;
    using _Impl::m_Data;
    using _Impl::m_MaxCount;

private:
    template <typename Element>
    QV_INTERNAL_COLD Element &_Inaccessible(u32 index) const
    {
        QV_ASSERT(index < _Count());
        static_cast<void>(index);
        return Internal::ScratchElement<Element>();
    }
    template <typename Element>
    QV_INTERNAL_COLD Element &_InaccessibleEnd() const
    {
        QV_ASSERT(!Empty());
        return Internal::ScratchElement<Element>();
    }
};

// A growable array of `T`. Movable; copying is a named operation, `CopyFrom`, since it may fail.
// Invalidates: growing, moving and swapping move the elements; inserting and removing move those behind the place.
template <typename T, typename Controller = TArrayStaticController<0, 8, 8, 0, 2>>
class TArray : public TArray_Base<T, TArray_BaseContainerImpl<T, Controller, TTypeTraits<T>::HasTrivialRelocate>>
{
    typedef TArray_BaseContainerImpl<T, Controller, TTypeTraits<T>::HasTrivialRelocate> BaseImpl;
    typedef TArray_Base<T, BaseImpl> _Base;
    typedef Internal::TRangeRelocator<T, TTypeTraits<T>::HasTrivialRelocate> _Relocator;

public:
    using BaseImpl::_Count;

    // Written out: defaulted, it would make the array an aggregate.
    TArray() noexcept {}
    TArray(TArray &&other) noexcept = default;
    TArray(const TArray &) = delete;
    TArray &operator=(const TArray &) = delete;
    TArray &operator=(TArray &&other) noexcept
    {
        TArray taken(std::move(other));
        Swap(taken);
        return *this;
    }
    ~TArray()
    {
        Clear();
        _Base::_FreeBuffer();
    }

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

    // Makes the count `count`: destroys the elements beyond it, or appends value-initialised ones.
    // Fails: false when the array cannot grow; nothing has changed.
    bool Resize(u32 count);

    // Raises the capacity to `maxCount`, exactly, so that pushes up to it do not grow the array. Never lowers it.
    // Fails: false when memory is refused; nothing has changed.
    bool Reserve(u32 maxCount) { return maxCount <= m_MaxCount || _Base::_ReallocBuffer(maxCount); }

    // Destroys the elements; keeps the block and the capacity.
    void Clear()
    {
        _Base::_DestroyElements(0, m_Count);
        m_Count = 0;
    }

    // Replaces the elements by copies of those of `source`, which may be the array's own.
    // Requires: "source.Data() != null || source.Empty()".
    // Fails: false when the array cannot grow; nothing has changed.
    bool CopyFrom(const TMemoryView<const T> &source);

    void Swap(TArray &other) noexcept { _Base::_SwapBuffers(other); }

protected:
    using _Base::m_Count;
    using _Base::m_Data;
    using _Base::m_MaxCount;

private:
    friend struct Internal::SArrayAccess;

    static constexpr u32 kNotOwn = 0xFFFFFFFF;

    CGuid _Append(T &&element);
    u32 _IndexOfOwn(const T &element) const;
    void _AppendCopies(const TMemoryView<const T> &source);
};

// An array's bytes may be moved: nothing but its iterators refers to its address, and moving it invalidates them.
template <typename T, typename Controller>
struct TTypeTraits<TArray<T, Controller>>
{
    static constexpr bool HasTrivialRelocate = true;
};

template <typename T, typename Controller, bool HasTrivialRelocate>
bool TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_Grow(u32 wishedSize)
{
    QV_ASSERT(wishedSize > _MaxCount());
    const u32 newMax = Controller::GrowSize(wishedSize);
    if (newMax < wishedSize)
        return false;
    return _ReallocBuffer(newMax);
}

// The wish is computed in 64 bits: the largest count has no successor.
template <typename T, typename Controller, bool HasTrivialRelocate>
bool TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_GrowByOne()
{
    const u64 wished = u64(m_Count) + 1;
    const u32 wishedSize = checked_numcast<u32>(wished);
    return wishedSize == wished && _Grow(wishedSize);
}

template <typename T, typename Controller, bool HasTrivialRelocate>
bool TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_ReallocBuffer(u32 newMaxCount)
{
    QV_ASSERT(newMaxCount >= _Count());
    if (newMaxCount < m_Count)
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
void TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_FreeBuffer()
{
    Mem::_RawFree(m_Data, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    m_Data = nullptr;
    m_MaxCount = 0;
}

// The name of the element type stays empty: there is none without run-time types.
template <typename T, typename Controller, bool HasTrivialRelocate>
void TArray_BaseContainerImpl<T, Controller, HasTrivialRelocate>::_ReportRefusedGrowth(u32 newMaxCount, u64 bytes)
{
    QV_ASSERT_MESSAGE(false, "could not grow array of TArray<%s> to %d elements (%llu bytes)\n", "",
                      static_cast<s32>(newMaxCount), bytes);
    static_cast<void>(newMaxCount);
    static_cast<void>(bytes);
}

template <typename T, typename Controller>
CGuid TArray<T, Controller>::PushBack(T &&element)
{
    const u32 own = _IndexOfOwn(element);
    QV_INTERNAL_ASSERT_TEXT("ureg(&element + 1) <= ureg(BaseImpl::_Data()) || "
                            "ureg(&element) >= ureg(BaseImpl::_Data() + BaseImpl::_Count())",
                            own == kNotOwn);
    if (QV_INTERNAL_LIKELY(own == kNotOwn))
        return _Append(std::move(element));
    // Growing may move the element away from where `element` refers to, but not from its index.
    if (!_Base::_MakeRoomForOne())
        return CGuid::INVALID;
    return _Append(std::move(m_Data[own]));
}

template <typename T, typename Controller>
CGuid TArray<T, Controller>::_Append(T &&element)
{
    const u32 index = m_Count;
    if (!_Base::_MakeRoomForOne())
        return CGuid::INVALID;
    m_Count = index + 1;
    ::new (static_cast<void *>(m_Data + index)) T(std::move(element));
    return index;
}

template <typename T, typename Controller>
void TArray<T, Controller>::PopBack()
{
    QV_ASSERT(!_Base::Empty());
    if (_Base::Empty())
        return;
    --m_Count;
    _Base::_DestroyElements(m_Count, m_Count + 1);
}

template <typename T, typename Controller>
CGuid TArray<T, Controller>::Insert(u32 index, T &&element)
{
    QV_ASSERT(index <= _Count());
    if (index > m_Count)
        return CGuid::INVALID;
    const u32 own = _IndexOfOwn(element);
    QV_INTERNAL_ASSERT_TEXT("ureg(&element + 1) <= ureg(BaseImpl::_Data()) || "
                            "ureg(&element) >= ureg(BaseImpl::_Data() + BaseImpl::_Count())",
                            own == kNotOwn);
    if (!_Base::_MakeRoomForOne())
        return CGuid::INVALID;

    T held(std::move(own == kNotOwn ? element : m_Data[own]));
    _Relocator::Relocate(m_Data + index + 1, m_Data + index, m_Count - index);
    ::new (static_cast<void *>(m_Data + index)) T(std::move(held));
    ++m_Count;
    return index;
}

template <typename T, typename Controller>
void TArray<T, Controller>::Remove(u32 index)
{
    QV_ASSERT(index < _Count());
    if (index >= m_Count)
        return;
    _Base::_DestroyElements(index, index + 1);
    _Relocator::Relocate(m_Data + index, m_Data + index + 1, m_Count - index - 1);
    --m_Count;
}

template <typename T, typename Controller>
bool TArray<T, Controller>::Resize(u32 count)
{
    if (count > m_MaxCount && !_Base::_Grow(count))
        return false;
    if (count < m_Count)
        _Base::_DestroyElements(count, m_Count);
    for (u32 i = m_Count; i < count; ++i)
        ::new (static_cast<void *>(m_Data + i)) T();
    m_Count = count;
    return true;
}

template <typename T, typename Controller>
bool TArray<T, Controller>::CopyFrom(const TMemoryView<const T> &source)
{
    QV_ASSERT(source.Data() != null || source.Empty());
    if (source.Data() == nullptr && !source.Empty())
        return false;
    const bool own = Mem::Overlaps(m_Data, u64(m_Count) * sizeof(T), source.Data(), u64(source.Count()) * sizeof(T));
    if (own || source.Count() > m_MaxCount)
    {
        TArray copy;
        if (!copy.Reserve(source.Count()))
            return false;
        copy._AppendCopies(source);
        Swap(copy);
        return true;
    }
    Clear();
    _AppendCopies(source);
    return true;
}

// The index of an element of this array; kNotOwn for any other object. By addresses: pointers may not leave their array
// even to be compared.
template <typename T, typename Controller>
u32 TArray<T, Controller>::_IndexOfOwn(const T &element) const
{
    const ureg address = reinterpret_cast<ureg>(std::addressof(element));
    const ureg begin = reinterpret_cast<ureg>(m_Data);
    if (address + sizeof(T) <= begin || address >= begin + u64(m_Count) * sizeof(T))
        return kNotOwn;
    return static_cast<u32>((address - begin) / sizeof(T));
}

// There is room for them.
template <typename T, typename Controller>
void TArray<T, Controller>::_AppendCopies(const TMemoryView<const T> &source)
{
    const T *const from = source.Data();
    for (u32 i = 0; i < source.Count(); ++i)
        ::new (static_cast<void *>(m_Data + m_Count + i)) T(from[i]);
    m_Count += source.Count();
}

namespace Internal
{

// For services of the library, which append many elements.
struct SArrayAccess
{
    // PushBack of an element that is known not to lie in the array. Returns: whether it was stored.
    template <typename T, typename Controller>
    static bool Append(TArray<T, Controller> &array, T &&element)
    {
        return array._Append(std::move(element)).Valid();
    }

    // Makes the first `count` elements the array's, at most MaxCount(). Those beyond the ones it had were written to its
    // room by the caller.
    template <typename T, typename Controller>
    static void SetCount(TArray<T, Controller> &array, u32 count)
    {
        static_assert(std::is_trivially_copyable<T>::value && std::is_trivially_destructible<T>::value,
                      "other elements are constructed and destroyed");
        array.m_Count = count;
    }
};

} // namespace Internal

} // namespace Quorvane
