// Private header: the iterator of strided views, as kr_memoryviews.h promises it.
//
// Users include kr_memoryviews.h, which ends with this header.
#pragma once

#include "kr_memoryviews.h"

#include <cstddef>
#include <type_traits>

#include "kr_internal/kr_iterator_traits.h"
#include "qv_defs.h"

namespace Quorvane
{

// The address is a number, since the end may lie far behind the last element, where no pointer may point; of 64 bits,
// which short addresses may leave there.
template <typename T>
class TStridedMemoryView<T>::Iterator
{
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_cv_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T *;
    using reference = T &;

    // Of a default view.
    Iterator() noexcept QV_NONBLOCKING : Iterator(nullptr, static_cast<u32>(sizeof(T))) {}
    Iterator(const u8 *address, u32 stride) noexcept QV_NONBLOCKING : m_Address(reinterpret_cast<ureg>(address)),
                                                                      m_Stride(stride),
                                                                      m_Repeats(0)
    {
    }

    T &operator*() const noexcept QV_NONBLOCKING { return *reinterpret_cast<T *>(static_cast<ureg>(m_Address)); }
    T *operator->() const noexcept QV_NONBLOCKING { return &**this; }
    T &operator[](difference_type n) const noexcept QV_NONBLOCKING { return *(*this + n); }

    Iterator &operator++() noexcept QV_NONBLOCKING { return *this += 1; }
    Iterator &operator--() noexcept QV_NONBLOCKING { return *this -= 1; }
    Iterator operator++(int) noexcept QV_NONBLOCKING
    {
        const Iterator before = *this;
        ++*this;
        return before;
    }
    Iterator operator--(int) noexcept QV_NONBLOCKING
    {
        const Iterator before = *this;
        --*this;
        return before;
    }
    Iterator &operator+=(difference_type n) noexcept QV_NONBLOCKING
    {
        if (QV_INTERNAL_UNLIKELY(m_Stride == 0))
            m_Repeats = Internal::WrappingSum(m_Repeats, static_cast<u32>(n));
        else
            m_Address = Internal::WrappingSum(m_Address, Internal::WrappingProduct<u64>(static_cast<u64>(n), m_Stride));
        return *this;
    }
    Iterator &operator-=(difference_type n) noexcept QV_NONBLOCKING { return *this += -n; }
    friend Iterator operator+(Iterator it, difference_type n) noexcept QV_NONBLOCKING { return it += n; }
    friend Iterator operator+(difference_type n, Iterator it) noexcept QV_NONBLOCKING { return it += n; }
    friend Iterator operator-(Iterator it, difference_type n) noexcept QV_NONBLOCKING { return it -= n; }
    friend difference_type operator-(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING
    {
        if (QV_INTERNAL_UNLIKELY(a.m_Stride == 0))
            return static_cast<difference_type>(a.m_Repeats) - static_cast<difference_type>(b.m_Repeats);
        return static_cast<difference_type>(static_cast<s64>(Internal::WrappingDifference(a.m_Address, b.m_Address)) /
                                            a.m_Stride);
    }
    friend bool operator==(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING
    {
        return a.m_Address == b.m_Address && (QV_INTERNAL_LIKELY(a.m_Stride != 0) || a.m_Repeats == b.m_Repeats);
    }
    friend bool operator!=(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING { return !(a == b); }
    friend bool operator<(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING
    {
        return a.m_Address < b.m_Address || (a.m_Address == b.m_Address && a.m_Repeats < b.m_Repeats);
    }
    friend bool operator>(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING { return b < a; }
    friend bool operator<=(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING { return !(b < a); }
    friend bool operator>=(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING { return !(a < b); }

private:
    u64 m_Address;
    u32 m_Stride;
    u32 m_Repeats; // steps taken with a stride of 0, else 0
};

} // namespace Quorvane
