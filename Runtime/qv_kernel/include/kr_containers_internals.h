// What containers and their users share: destruction and relocation of ranges, and sorting in place.
//
//     s32 values[] = {3, 1, 2};
//     QuickSort(values, values + 3);                      // ascending, by the values' own < and ==
//     QuickSort<SByWeight>(array.Begin(), array.End());   // by a comparator, here over checked iterators
//
// A comparator is a type with two static predicates on element values, `Less(a, b)` and `Equal(a, b)`. The sort calls
// nothing else of the elements but their moves.
//
// The order that equal elements end up in is part of the contract: it follows from the steps below and from nothing
// else, so it is the same for raw pointers, for checked iterators, and with assertions compiled out. Sorting neither
// recurses nor allocates. Any thread may sort a range that no other thread touches.
#pragma once

#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_mem_utils.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal
{

// Destroys ranges of elements; for elements that need no destruction only the check is left.
template <typename T, bool HasNonTrivialDestructor>
struct TRangeDestructor
{
    // Destroys the elements `start` to `end` - 1 of `data`, in this order.
    // Requires: a range the right way round, and elements if there are any to destroy, else reports
    // "start <= end && (data != null || start == end)" and does nothing.
    static void Destroy(T *data, u32 start, u32 end)
    {
        QV_ASSERT(start <= end && (data != null || start == end));
        if constexpr (HasNonTrivialDestructor)
        {
            if (data == nullptr)
                return;
            for (u32 i = start; i < end; ++i)
                data[i].~T();
        }
        else
        {
            static_cast<void>(data);
            static_cast<void>(start);
            static_cast<void>(end);
        }
    }
};

// Moves elements to raw memory, and leaves raw memory behind.
template <typename T, bool HasTrivialRelocate>
struct TRangeRelocator
{
    // `to` and `from` may overlap: each element is taken before another one lands on it.
    static void Relocate(T *to, T *from, u32 count)
    {
        if constexpr (HasTrivialRelocate)
        {
            Mem::Copy_Overlapped(static_cast<void *>(to), static_cast<const void *>(from), u64(count) * sizeof(T));
        }
        else if (to < from)
        {
            for (u32 i = 0; i < count; ++i)
                _RelocateOne(to + i, from + i);
        }
        else
        {
            for (u32 i = count; i > 0; --i)
                _RelocateOne(to + (i - 1), from + (i - 1));
        }
    }

private:
    static void _RelocateOne(T *to, T *from)
    {
        static_assert(std::is_move_constructible<T>::value,
                      "elements must be move-constructible, or allow their bytes to be moved "
                      "(TTypeTraits<T>::HasTrivialRelocate)");
        ::new (static_cast<void *>(to)) T(std::move(*from));
        from->~T();
    }
};

} // namespace Internal

// The order of a range where no other is asked for: the values' own < and ==. A module specialises it for an iterator
// type of its own to give that type another order.
template <typename Iterator>
struct TSortDefaultCompare
{
    typedef typename std::iterator_traits<Iterator>::value_type Value;

    static bool Less(const Value &a, const Value &b) { return a < b; }
    static bool Equal(const Value &a, const Value &b) { return a == b; }
};

namespace Internal
{

// The constants and types of a sort.
template <typename Compare, typename Iterator>
struct TQuickSortTraits
{
    typedef typename std::iterator_traits<Iterator>::value_type Value;
    typedef typename std::iterator_traits<Iterator>::difference_type Difference;

    enum : u32
    {
        kMaxElementCount = 4294967295u, // of a range; not tested
        kSubdivisionLimit = 12,         // ranges of at most this many elements go to the short sort
        kStackSize = 28,                // pending ranges
    };
};

// The steps of the quick sort. Bounds are inclusive: `lo` and `hi` are the first and the last element of a range.
//
// A comparator may answer anything, differently each time even: no step leaves the range or fails to end.
// - `_MoveApart` meets ranges of 13 elements and more, so the pivot starts above `lo`, and it only ever moves to a
//   `loElem`, which has been advanced: `mid` > `lo` throughout. Each round advances `loElem` (to `mid` at most, or
//   beyond it while it is at most `hi`) and moves `hiElem` back, starting at `hi`, by one and then no further than
//   `mid`. A round starts with `lo` < `loElem` <= `hiElem` < `hi`, but for the first, so it ends with
//   `loElem` <= `hi` + 1 and `lo` <= `hiElem` < `hi`.
// - `_SkipEqual` starts from the `hiElem` behind that. It passes `mid`, which is above `lo`, by one at most before it
//   stops at `lo`; and as it moves back at least once, `lo` <= `hiElem` < `loElem` and `hiElem` < `hi` hold at its end.
// - So the two parts are disjoint and each is smaller than the range: the sort ends, whatever the comparator says. The
//   part it goes on with is at most half of the range, so what is pending while a range of 13 elements or more is cut
//   is at most log2(count / 13) ranges.
template <typename Compare, typename Iterator>
class TQuickSort
{
    typedef TQuickSortTraits<Compare, Iterator> _Traits;

public:
    TQuickSort(Iterator begin, Iterator end) : m_Lo(begin), m_Hi(end - 1) {}

    // Sorts; the range has two elements or more.
    void Sort();

    static void Swap(Iterator a, Iterator b)
    {
        typename _Traits::Value held(std::move(*a));
        *a = std::move(*b);
        *b = std::move(held);
    }

private:
    bool _IsShort() const
    {
        return m_Hi - m_Lo + 1 <= static_cast<typename _Traits::Difference>(_Traits::kSubdivisionLimit);
    }

    Iterator _MedianOfThree() const;
    Iterator _MoveApart(Iterator mid, Iterator &loElem, Iterator &hiElem) const;
    void _SkipEqual(Iterator mid, Iterator &hiElem) const;

    bool _GoOnWithSmaller(Iterator hiElem, Iterator loElem);
    void _Push(Iterator lo, Iterator hi);
    bool _Pop();

    // 28 pending ranges are enough for all that checked iterators can count, 2^31 - 1 elements. Raw pointers can
    // designate up to kMaxElementCount, which takes one more.
    Iterator m_LoStack[_Traits::kStackSize + 1];
    Iterator m_HiStack[_Traits::kStackSize + 1];
    u32 m_Pending = 0;

    // The range at hand.
    Iterator m_Lo;
    Iterator m_Hi;
};

} // namespace Internal

// Sorts [begin, end) by `Compare`, the way that suits short ranges: puts the greatest element of those that are left to
// the end, and of equal ones the one nearest to `begin`. Not stable. Ranges of one element or none touch neither the
// comparator nor an element.
// Cost: count * (count - 1) / 2 comparisons, count - 1 swaps at most.
template <typename Compare, typename Iterator>
void InsertionSort(Iterator begin, Iterator end)
{
    if (end - begin < 2)
        return;
    for (Iterator cur = end - 1; cur > begin; --cur)
    {
        Iterator best = cur;
        for (Iterator scan = cur; scan > begin;)
        {
            --scan;
            if (!Compare::Less(*scan, *best))
                best = scan;
        }
        if (best != cur)
            Internal::TQuickSort<Compare, Iterator>::Swap(best, cur);
    }
}

// Sorts [begin, end) so that no element is `Less` than the one before it. Not stable, but of a fixed order: see the
// beginning of this file. Ranges of one element or none touch neither the comparator nor an element.
// Requires: a comparator whose answers agree with each other; with any other the elements end in some order.
// Cost: count * log2(count) comparisons on average; inputs made to defeat the choice of pivots take their square.
// Stack: 60 iterators, 1.5 KiB with checked ones, whatever the count.
template <typename Compare, typename Iterator>
void QuickSort(Iterator begin, Iterator end)
{
    if (end - begin < 2)
        return;
    Internal::TQuickSort<Compare, Iterator>(begin, end).Sort();
}

// The same by the default order of the iterator type.
template <typename Iterator>
void QuickSort(Iterator begin, Iterator end)
{
    QuickSort<TSortDefaultCompare<Iterator>>(begin, end);
}

namespace Internal
{

template <typename Compare, typename Iterator>
void TQuickSort<Compare, Iterator>::Sort()
{
    for (;;)
    {
        if (_IsShort())
        {
            InsertionSort<Compare>(m_Lo, m_Hi + 1);
            if (!_Pop())
                return;
            continue;
        }
        Iterator loElem = m_Lo;
        Iterator hiElem = m_Hi;
        const Iterator mid = _MoveApart(_MedianOfThree(), loElem, hiElem);
        _SkipEqual(mid, hiElem);
        if (!_GoOnWithSmaller(hiElem, loElem) && !_Pop())
            return;
    }
}

// Puts the first, the middle and the last element in order. Returns the middle one's place.
template <typename Compare, typename Iterator>
Iterator TQuickSort<Compare, Iterator>::_MedianOfThree() const
{
    const Iterator mid = m_Lo + (m_Hi - m_Lo + 1) / 2;
    if (Compare::Less(*mid, *m_Lo))
        Swap(mid, m_Lo);
    if (Compare::Less(*m_Hi, *m_Lo))
        Swap(m_Hi, m_Lo);
    if (Compare::Less(*m_Hi, *mid))
        Swap(m_Hi, mid);
    return mid;
}

// Exchanges elements greater than the pivot for such that are not, from both ends, until the ends have passed each
// other. Returns the pivot's place: it may have been exchanged itself.
template <typename Compare, typename Iterator>
Iterator TQuickSort<Compare, Iterator>::_MoveApart(Iterator mid, Iterator &loElem, Iterator &hiElem) const
{
    for (;;)
    {
        if (mid > loElem)
        {
            do
                ++loElem;
            while (loElem < mid && !Compare::Less(*mid, *loElem));
        }
        // Not an "else": the pivot is not compared with itself but stepped over.
        if (mid <= loElem)
        {
            do
                ++loElem;
            while (loElem <= m_Hi && !Compare::Less(*mid, *loElem));
        }
        do
            --hiElem;
        while (hiElem > mid && Compare::Less(*mid, *hiElem));

        if (hiElem < loElem)
            return mid;
        Swap(loElem, hiElem);
        if (mid == hiElem)
            mid = loElem;
    }
}

// Takes elements equal to the pivot off the end of the lower part, so that they are not sorted again.
template <typename Compare, typename Iterator>
void TQuickSort<Compare, Iterator>::_SkipEqual(Iterator mid, Iterator &hiElem) const
{
    ++hiElem;
    if (mid < hiElem)
    {
        do
            --hiElem;
        while (hiElem > mid && Compare::Equal(*mid, *hiElem));
    }
    if (mid >= hiElem)
    {
        do
            --hiElem;
        while (hiElem > m_Lo && Compare::Equal(*mid, *hiElem));
    }
}

// Defers the larger of the parts [m_Lo, hiElem] and [loElem, m_Hi], the lower one when they are equal, and makes the
// other one the range at hand. Returns false when the other one needs no sorting.
template <typename Compare, typename Iterator>
bool TQuickSort<Compare, Iterator>::_GoOnWithSmaller(Iterator hiElem, Iterator loElem)
{
    if (hiElem - m_Lo >= m_Hi - loElem)
    {
        _Push(m_Lo, hiElem);
        m_Lo = loElem;
    }
    else
    {
        _Push(loElem, m_Hi);
        m_Hi = hiElem;
    }
    return m_Lo < m_Hi;
}

// Defers a range; not one of a single element.
template <typename Compare, typename Iterator>
void TQuickSort<Compare, Iterator>::_Push(Iterator lo, Iterator hi)
{
    if (!(lo < hi))
        return;
    m_LoStack[m_Pending] = lo;
    m_HiStack[m_Pending] = hi;
    ++m_Pending;
}

// Makes the range deferred last the one at hand. Returns false when there is none.
template <typename Compare, typename Iterator>
bool TQuickSort<Compare, Iterator>::_Pop()
{
    if (m_Pending == 0)
        return false;
    --m_Pending;
    m_Lo = m_LoStack[m_Pending];
    m_Hi = m_HiStack[m_Pending];
    return true;
}

} // namespace Internal

} // namespace Quorvane
