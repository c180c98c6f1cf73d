// Private header: the checked iterator of arrays, as kr_containers_array.h promises it.
//
// Users include kr_containers_array.h.
#pragma once

#include "kr_containers_array.h"

#include <cstddef>
#include <type_traits>

#include "kr_assert.h"
#include "kr_internal/kr_iterator_traits.h"
#include "kr_memoryviews.h"
#include "qv_defs.h"

namespace Quorvane
{

template <typename T, typename BaseImpl>
template <typename RealType>
class TArray_Base<T, BaseImpl>::TDebugContiguousBaseIterator : private RealType
{
    using _Element = typename RealType::ElementType;

    template <typename OtherType>
    friend class TDebugContiguousBaseIterator;

public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_cv_t<_Element>;
    using difference_type = s32;
    using pointer = _Element *;
    using reference = _Element &;

    TDebugContiguousBaseIterator() = default;
    TDebugContiguousBaseIterator(pointer position, const TArray_Base *owner) noexcept QV_NONBLOCKING
        : RealType{position},
          m_Owner(owner)
    {
    }
    // From the iterator to elements of the same type, to the one to const elements.
    template <typename OtherType, typename = std::enable_if_t<Internal::IsQualificationConversion<
                                      typename OtherType::ElementType, typename RealType::ElementType>>>
    TDebugContiguousBaseIterator(const TDebugContiguousBaseIterator<OtherType> &other) noexcept QV_NONBLOCKING
        : RealType{other.m_Ptr},
          m_Owner(other.m_Owner)
    {
    }

    reference operator*() const noexcept QV_NONBLOCKING
    {
        if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(!_AtElement()))
            return _Inaccessible();
        return *RealType::m_Ptr;
    }
    pointer operator->() const noexcept QV_NONBLOCKING { return __builtin_addressof(**this); }
    reference operator[](s32 n) const noexcept QV_NONBLOCKING { return *(*this + n); }

    TDebugContiguousBaseIterator &operator+=(s32 n) noexcept QV_NONBLOCKING
    {
        _Move(n);
        return *this;
    }
    TDebugContiguousBaseIterator &operator-=(s32 n) noexcept QV_NONBLOCKING
    {
        _Move(-s64(n));
        return *this;
    }
    TDebugContiguousBaseIterator &operator++() noexcept QV_NONBLOCKING { return *this += 1; }
    TDebugContiguousBaseIterator &operator--() noexcept QV_NONBLOCKING { return *this -= 1; }
    TDebugContiguousBaseIterator operator++(int) noexcept QV_NONBLOCKING
    {
        const TDebugContiguousBaseIterator before = *this;
        ++*this;
        return before;
    }
    TDebugContiguousBaseIterator operator--(int) noexcept QV_NONBLOCKING
    {
        const TDebugContiguousBaseIterator before = *this;
        --*this;
        return before;
    }
    friend TDebugContiguousBaseIterator operator+(TDebugContiguousBaseIterator it, s32 n) noexcept QV_NONBLOCKING
    {
        return it += n;
    }
    friend TDebugContiguousBaseIterator operator+(s32 n, TDebugContiguousBaseIterator it) noexcept QV_NONBLOCKING
    {
        return it += n;
    }
    friend TDebugContiguousBaseIterator operator-(TDebugContiguousBaseIterator it, s32 n) noexcept QV_NONBLOCKING
    {
        return it -= n;
    }
    friend s32 operator-(const TDebugContiguousBaseIterator &a,
                         const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        return a._Minus(b);
    }

    friend bool operator==(const TDebugContiguousBaseIterator &a,
                           const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        _AssertInStorage(a, b);
        return a.m_Ptr == b.m_Ptr;
    }
    friend bool operator<(const TDebugContiguousBaseIterator &a,
                          const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        _AssertInStorage(a, b);
        return a.m_Ptr < b.m_Ptr;
    }
    friend bool operator!=(const TDebugContiguousBaseIterator &a,
                           const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        return !(a == b);
    }
    friend bool operator>(const TDebugContiguousBaseIterator &a,
                          const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        return b < a;
    }
    friend bool operator<=(const TDebugContiguousBaseIterator &a,
                           const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        return !(b < a);
    }
    friend bool operator>=(const TDebugContiguousBaseIterator &a,
                           const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        return !(a < b);
    }

private:
    void _AssertInStorage() const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(m_Owner != null && RealType::m_Ptr >= m_Owner->_RawBegin() && RealType::m_Ptr <= m_Owner->_RawEnd());
    }
    static void _AssertInStorage(const TDebugContiguousBaseIterator &a,
                                 const TDebugContiguousBaseIterator &b) noexcept QV_NONBLOCKING
    {
        a._AssertInStorage();
        b._AssertInStorage();
    }

    bool _AtElement() const noexcept QV_NONBLOCKING
    {
        return m_Owner != nullptr && RealType::m_Ptr >= m_Owner->_RawBegin() && RealType::m_Ptr < m_Owner->_RawEnd();
    }

    // Addresses instead of pointers, which may not leave their array even to be compared; in 64 bits, so that no way out
    // of short ones comes round to an element.
    u64 _AddressAt(s64 n) const noexcept QV_NONBLOCKING
    {
        return Internal::WrappingSum<u64>(reinterpret_cast<ureg>(RealType::m_Ptr),
                                          Internal::WrappingProduct<u64>(static_cast<u64>(n), sizeof(_Element)));
    }
    bool _InStorage(u64 address) const noexcept QV_NONBLOCKING
    {
        return m_Owner != nullptr && address >= reinterpret_cast<ureg>(m_Owner->_RawBegin()) &&
               address <= reinterpret_cast<ureg>(m_Owner->_RawEnd());
    }

    void _Move(s64 n) noexcept QV_NONBLOCKING
    {
        if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(!_InStorage(_AddressAt(n))))
            _MoveOutside(n);
        else
            RealType::m_Ptr += static_cast<std::ptrdiff_t>(n);
    }
    QV_INTERNAL_COLD void _MoveOutside(s64 n) noexcept QV_NONBLOCKING
    {
        // What no address reaches counts as the last one, where no element ends.
        RealType::m_Ptr = reinterpret_cast<pointer>(static_cast<ureg>(QVMin<u64>(_AddressAt(n), ~ureg(0))));
        _AssertInStorage();
    }

    s32 _Minus(const TDebugContiguousBaseIterator &other) const noexcept QV_NONBLOCKING
    {
        QV_ASSERT_MESSAGE(m_Owner == other.m_Owner, "unrelated iterators.");
        if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(m_Owner != other.m_Owner))
            return 0;
        return static_cast<s32>(RealType::m_Ptr - other.m_Ptr);
    }

    // What a dereference outside the elements refers to, after its one report.
    QV_INTERNAL_COLD reference _Inaccessible() const noexcept QV_NONBLOCKING
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

} // namespace Quorvane
