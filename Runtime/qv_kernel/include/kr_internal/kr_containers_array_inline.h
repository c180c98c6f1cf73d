// Private header: the inline bodies of kr_containers_array.h.
//
// Users include kr_containers_array.h, which ends with this header.
#pragma once

#include "kr_containers_array.h"

#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_containers_internals.h"
#include "kr_internal/kr_containers_array_block.h"
#include "kr_internal/kr_containers_array_iterator_inline.h"
#include "kr_mem.h"
#include "kr_mem_utils.h"
#include "kr_memoryviews.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

// ---- The block ------------------------------------------------------------------------------------------------------

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

// ---- The array ------------------------------------------------------------------------------------------------------

// By way of the other constructor, so that the array is one, and destroyed, when copying an element throws.
template <typename T, typename Controller>
TArray<T, Controller>::TArray(std::initializer_list<T> elements) : TArray()
{
    static_assert(std::is_copy_constructible<T>::value, "move the elements into the array: they cannot be copied");
    CopyFrom(TMemoryView<const T>(elements.begin(), checked_numcast<u32>(elements.size())));
}

template <typename T, typename Controller>
TArray<T, Controller> TArray<T, Controller>::Clone() const
{
    TArray copy;
    copy.CopyFrom(_Base::View());
    return copy;
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
    if (QV_INTERNAL_FAILS(!_Base::Empty()))
        return;
    --m_Count;
    _Base::_DestroyElements(m_Count, m_Count + 1);
}

template <typename T, typename Controller>
CGuid TArray<T, Controller>::Insert(u32 index, T &&element)
{
    if (QV_INTERNAL_FAILS(index <= _Count()))
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
    if (QV_INTERNAL_FAILS(index < _Count()))
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
    if (QV_INTERNAL_FAILS(source.Data() != null || source.Empty()))
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
u32 TArray<T, Controller>::_IndexOfOwn(const T &element) const noexcept
{
    const ureg offset = Internal::WrappingDifference(reinterpret_cast<ureg>(__builtin_addressof(element)),
                                                     reinterpret_cast<ureg>(m_Data));
    return offset < u64(m_Count) * sizeof(T) ? static_cast<u32>(offset / sizeof(T)) : kNotOwn;
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

} // namespace Quorvane
