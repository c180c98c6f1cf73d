// What containers and their users share: destruction and relocation of ranges, and sorting in place.
//
//     s32 values[] = {3, 1, 2};
//     QuickSort(values, values + 3);                      // ascending, by the values' own < and ==
//     QuickSort<SByWeight>(array.Begin(), array.End());   // by a comparator, here over checked iterators
//
// A comparator is a type with two static predicates on element values, `Less(a, b)` and `Equal(a, b)`. The sort calls
// nothing else of the elements but their moves.
//
// The order that equal elements end up in is part of the contract: it follows from the steps of the sort, in
// kr_internal/kr_containers_internals_inline.h, and from nothing else, so it is the same for raw pointers, for checked
// iterators, and with assertions compiled out. Sorting neither recurses nor allocates. Any thread may sort a range that no
// other thread touches.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_internal/kr_iterator_traits.h"
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
    static void Destroy(T *data, u32 start, u32 end) noexcept(!HasNonTrivialDestructor)
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
    static void Relocate(T *to, T *from, u32 count) noexcept(HasTrivialRelocate)
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
    // What the iterator steps over.
    using Value = typename std::iterator_traits<Iterator>::value_type;

    // Whether `a` comes before `b`, and whether neither comes before the other.
    static bool Less(const Value &a, const Value &b) { return a < b; }
    static bool Equal(const Value &a, const Value &b) { return a == b; }
};

// Sorts [begin, end) by `Compare`, the way that suits short ranges: puts the greatest element of those that are left to
// the end, and of equal ones the one nearest to `begin`. Not stable. Ranges of one element or none touch neither the
// comparator nor an element.
// Cost: count * (count - 1) / 2 comparisons, count - 1 swaps at most.
template <typename Compare, typename Iterator>
void InsertionSort(Iterator begin, Iterator end);

// Sorts [begin, end) so that no element is `Less` than the one before it. Not stable, but of a fixed order: see the
// beginning of this file. Ranges of one element or none touch neither the comparator nor an element.
// Requires: a comparator whose answers agree with each other; with any other the elements end in some order.
// Cost: at most 3 * count * log2(count) comparisons, whatever the order of the elements, and less than half of that on
// average.
// Stack: 60 iterators, 1.5 KiB with checked ones, whatever the count.
template <typename Compare, typename Iterator>
void QuickSort(Iterator begin, Iterator end);

// The same by the default order of the iterator type.
template <typename Iterator>
void QuickSort(Iterator begin, Iterator end);

} // namespace Quorvane

#include "kr_internal/kr_containers_internals_inline.h"
