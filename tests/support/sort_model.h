// The sorts, written down a second time from their description: over indexes instead of iterators, in one piece,
// with std::vector as the stack. Where equal elements end is decided by the steps, so the model is compared element by
// element.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace QuorvaneTest
{

// `Order` has two static predicates on elements, Less and Equal. Sorts v[begin] to v[end - 1].
template <typename Order, typename T>
void ModelInsertionSort(std::vector<T> &v, long long begin, long long end)
{
    const auto at = [&v](long long index) -> T & { return v[static_cast<std::size_t>(index)]; };

    long long cur = end - 1;
    while (cur > begin)
    {
        long long best = cur;
        for (long long scanned = cur - 1; scanned >= begin; scanned -= 1)
            if (!Order::Less(at(scanned), at(best)))
                best = scanned;
        if (best != cur)
            std::swap(at(best), at(cur));
        cur -= 1;
    }
}

// Sorts v[begin] to v[end - 1] by a heap: the greatest element is at the top, and each element that moves goes down to a
// leaf by the greater children, of equal ones the left, and then up to the place found by halving the way.
template <typename Order, typename T>
void ModelHeapSort(std::vector<T> &v, long long begin, long long end)
{
    const auto at = [&v, begin](long long place) -> T & { return v[static_cast<std::size_t>(begin + place)]; };
    const auto settle = [&at](long long top, long long count)
    {
        std::vector<long long> way = {top};
        for (long long child = 2 * top + 1; child < count; child = 2 * way.back() + 1)
            way.push_back(child + 1 < count && Order::Less(at(child), at(child + 1)) ? child + 1 : child);
        std::size_t low = 0;
        std::size_t high = way.size();
        while (high - low > 1)
        {
            const std::size_t middle = (low + high) / 2;
            (Order::Less(at(way[middle]), at(top)) ? high : low) = middle;
        }
        for (std::size_t i = 0; i < low; ++i)
            std::swap(at(way[i]), at(way[i + 1]));
    };
    const long long count = end - begin;
    for (long long top = count / 2 - 1; top >= 0; --top)
        settle(top, count);
    for (long long last = count - 1; last > 0; --last)
    {
        std::swap(at(0), at(last));
        settle(0, last);
    }
}

// What the quick sort may spend on cutting, in elements of the ranges that it cuts and 8 more for each.
inline long long ModelCredit(long long count)
{
    long long log = 0;
    for (long long rest = count; rest >= 2; rest /= 2)
        ++log;
    return count * (3 * log - 2) / 2;
}

// Sorts all of `v`. Returns the largest number of ranges that were pending at once.
template <typename Order, typename T>
std::size_t ModelQuickSort(std::vector<T> &v)
{
    const auto at = [&v](long long index) -> T & { return v[static_cast<std::size_t>(index)]; };
    const auto less = [&at](long long a, long long b) { return Order::Less(at(a), at(b)); };
    const auto equal = [&at](long long a, long long b) { return Order::Equal(at(a), at(b)); };
    const auto swap = [&at](long long a, long long b) { std::swap(at(a), at(b)); };

    const long long count = static_cast<long long>(v.size());
    if (count < 2)
        return 0;

    std::vector<std::pair<long long, long long>> pending;
    std::size_t mostPending = 0;
    const auto push = [&](long long first, long long last)
    {
        if (first < last)
            pending.emplace_back(first, last);
        mostPending = pending.size() > mostPending ? pending.size() : mostPending;
    };

    long long lo = 0;
    long long hi = count - 1;
    long long credit = ModelCredit(count);
    bool done = false;
    while (!done)
    {
        bool goesOn = false;
        const long long size = hi - lo + 1;
        if (size <= 12)
            ModelInsertionSort<Order>(v, lo, hi + 1);
        else if (credit < size + 8)
            ModelHeapSort<Order>(v, lo, hi + 1);
        else
        {
            credit -= size + 8;
            // The pivot: the median of the first, the middle and the last element, which are put in order.
            long long mid = lo + size / 2;
            if (less(mid, lo))
                swap(mid, lo);
            if (less(hi, lo))
                swap(hi, lo);
            if (less(hi, mid))
                swap(hi, mid);

            // From below, find an element greater than the pivot; from above, one that is not; exchange them.
            long long loElem = lo;
            long long hiElem = hi;
            while (true)
            {
                if (mid > loElem)
                {
                    loElem += 1;
                    while (loElem < mid && !less(mid, loElem))
                        loElem += 1;
                }
                if (mid <= loElem)
                {
                    loElem += 1;
                    while (loElem <= hi && !less(mid, loElem))
                        loElem += 1;
                }
                hiElem -= 1;
                while (hiElem > mid && less(mid, hiElem))
                    hiElem -= 1;
                if (hiElem < loElem)
                    break;
                swap(loElem, hiElem);
                if (mid == hiElem)
                    mid = loElem;
            }

            // Leave out the elements equal to the pivot.
            hiElem += 1;
            if (mid < hiElem)
            {
                hiElem -= 1;
                while (hiElem > mid && equal(mid, hiElem))
                    hiElem -= 1;
            }
            if (mid >= hiElem)
            {
                hiElem -= 1;
                while (hiElem > lo && equal(mid, hiElem))
                    hiElem -= 1;
            }

            // The larger part waits, the lower one when they are equal; the other part is next.
            if (hiElem - lo >= hi - loElem)
            {
                push(lo, hiElem);
                goesOn = loElem < hi;
                lo = goesOn ? loElem : lo;
            }
            else
            {
                push(loElem, hi);
                goesOn = lo < hiElem;
                hi = goesOn ? hiElem : hi;
            }
        }
        if (goesOn)
            continue;
        done = pending.empty();
        if (!done)
        {
            lo = pending.back().first;
            hi = pending.back().second;
            pending.pop_back();
        }
    }
    return mostPending;
}

} // namespace QuorvaneTest
