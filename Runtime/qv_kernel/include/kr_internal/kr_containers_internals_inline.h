// Private header: the steps of the sorts that kr_containers_internals.h declares.
//
// Users include kr_containers_internals.h, which ends with this header.
#pragma once

#include "kr_containers_internals.h"

#include <utility>

#include "kr_internal/kr_iterator_traits.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal
{

// The constants and types of a sort.
template <typename Compare, typename Iterator>
struct TQuickSortTraits
{
    using Value = typename std::iterator_traits<Iterator>::value_type;
    using Difference = typename std::iterator_traits<Iterator>::difference_type;

    enum : u32
    {
        kMaxElementCount = 4294967295u, // of a range; not tested
        kSubdivisionLimit = 12,         // ranges of at most this many elements go to the short sort
        kStackSize = 28,                // pending ranges
    };
};

// The steps of the heap sort, which takes over where pivots are chosen badly. Nodes are counted from 1: the children of a
// node are 2 * node and 2 * node + 1, its ancestors what is left when bits are shifted out.
//
// An element goes down to a leaf in the place of the greater children, one comparison for each level, and how far up
// again it belongs is found by halving the way. So n elements cost n * (log2(n) + log2(log2(n)) + 1) comparisons at most,
// whatever the comparator answers.
template <typename Compare, typename Iterator>
class THeapSort
{
    using _Traits = TQuickSortTraits<Compare, Iterator>;

public:
    // Requires: two elements or more.
    THeapSort(Iterator begin, u64 count) : m_Begin(begin), m_Count(count) {}

    void Sort();

private:
    Iterator _At(u64 node) const { return m_Begin + static_cast<typename _Traits::Difference>(node - 1); }
    u64 _GreaterChild(u64 node, u64 count) const;
    u32 _LevelsDown(u64 node, u64 leaf, u32 levels) const;
    void _Settle(u64 node, u64 count) const;

    Iterator m_Begin;
    u64 m_Count;
};

// The steps of the quick sort. Bounds are inclusive: `lo` and `hi` are the first and the last element of a range.
//
// Cutting is paid for: a range of m elements costs m + 8 of a credit of n * (3 * log2(n) - 2) / 2, which no order but one
// that defeats the choice of pivots again and again uses up. A range that cannot be paid for goes to the heap sort. The
// credit, n comparisons that take off elements equal to pivots, and what the short sort and the heap sort take of the
// parts come to less than 3 * n * log2(n) comparisons.
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
    using _Traits = TQuickSortTraits<Compare, Iterator>;

public:
    TQuickSort(Iterator begin, Iterator end)
        : m_Credit(_CreditFor(static_cast<u64>(end - begin))), m_Lo(begin), m_Hi(end - 1)
    {
    }

    // Sorts; the range has two elements or more.
    void Sort();

    static void Swap(Iterator a, Iterator b)
    {
        typename _Traits::Value held(std::move(*a));
        *a = std::move(*b);
        *b = std::move(held);
    }

private:
    // What a cut compares more often than there are elements.
    static constexpr u64 kCostOfPivot = 8;

    static u64 _CreditFor(u64 count);

    u64 _Count() const { return static_cast<u64>(m_Hi - m_Lo) + 1; }
    bool _IsShort() const { return _Count() <= _Traits::kSubdivisionLimit; }
    bool _PaysForCut();

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

    u64 m_Credit;

    // The range at hand.
    Iterator m_Lo;
    Iterator m_Hi;
};

} // namespace Internal

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

template <typename Compare, typename Iterator>
void QuickSort(Iterator begin, Iterator end)
{
    if (end - begin < 2)
        return;
    Internal::TQuickSort<Compare, Iterator>(begin, end).Sort();
}

template <typename Iterator>
void QuickSort(Iterator begin, Iterator end)
{
    QuickSort<TSortDefaultCompare<Iterator>>(begin, end);
}

namespace Internal
{

template <typename Compare, typename Iterator>
void THeapSort<Compare, Iterator>::Sort()
{
    for (u64 node = m_Count / 2; node > 0; --node)
        _Settle(node, m_Count);
    for (u64 left = m_Count; left > 1; --left)
    {
        TQuickSort<Compare, Iterator>::Swap(_At(1), _At(left));
        _Settle(1, left - 1);
    }
}

// The left one when they are equal, or when there is no other.
template <typename Compare, typename Iterator>
u64 THeapSort<Compare, Iterator>::_GreaterChild(u64 node, u64 count) const
{
    const u64 left = 2 * node;
    return left < count && Compare::Less(*_At(left), *_At(left + 1)) ? left + 1 : left;
}

// How many levels below `node` its element belongs on the way to `leaf`, `levels` below, where elements do not grow: in
// front of the first that is less.
template <typename Compare, typename Iterator>
u32 THeapSort<Compare, Iterator>::_LevelsDown(u64 node, u64 leaf, u32 levels) const
{
    u32 least = 0;
    u32 most = levels;
    while (least < most)
    {
        const u32 middle = (least + most + 1) / 2;
        if (Compare::Less(*_At(leaf >> (levels - middle)), *_At(node)))
            most = middle - 1;
        else
            least = middle;
    }
    return least;
}

// Makes the nodes from `node` to `count` below `node` a heap; those below its children are.
template <typename Compare, typename Iterator>
void THeapSort<Compare, Iterator>::_Settle(u64 node, u64 count) const
{
    u64 leaf = node;
    u32 levels = 0;
    for (; 2 * leaf <= count; ++levels)
        leaf = _GreaterChild(leaf, count);
    const u32 down = _LevelsDown(node, leaf, levels);
    if (down == 0)
        return;
    typename _Traits::Value held(std::move(*_At(node)));
    for (u32 level = 1; level <= down; ++level)
        *_At(leaf >> (levels - level + 1)) = std::move(*_At(leaf >> (levels - level)));
    *_At(leaf >> (levels - down)) = std::move(held);
}

template <typename Compare, typename Iterator>
void TQuickSort<Compare, Iterator>::Sort()
{
    for (;;)
    {
        if (_IsShort())
            InsertionSort<Compare>(m_Lo, m_Hi + 1);
        else if (!_PaysForCut())
            THeapSort<Compare, Iterator>(m_Lo, _Count()).Sort();
        else
        {
            Iterator loElem = m_Lo;
            Iterator hiElem = m_Hi;
            const Iterator mid = _MoveApart(_MedianOfThree(), loElem, hiElem);
            _SkipEqual(mid, hiElem);
            if (_GoOnWithSmaller(hiElem, loElem))
                continue;
        }
        if (!_Pop())
            return;
    }
}

// By the logarithm rounded down. Requires: two elements or more.
template <typename Compare, typename Iterator>
u64 TQuickSort<Compare, Iterator>::_CreditFor(u64 count)
{
    u32 log = 1;
    while (count >> log > 1)
        ++log;
    return count * (3 * log - 2) / 2;
}

// Takes what a cut of the range at hand costs. Returns false, and takes nothing, when there is not enough left.
template <typename Compare, typename Iterator>
bool TQuickSort<Compare, Iterator>::_PaysForCut()
{
    const u64 cost = _Count() + kCostOfPivot;
    if (m_Credit < cost)
        return false;
    m_Credit -= cost;
    return true;
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
    // The partition ends at the pivot or behind it, whatever the comparison says.
    ++hiElem;
    do
        --hiElem;
    while (hiElem > mid && Compare::Equal(*mid, *hiElem));
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

// Defers a range of one element or more.
template <typename Compare, typename Iterator>
void TQuickSort<Compare, Iterator>::_Push(Iterator lo, Iterator hi)
{
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
