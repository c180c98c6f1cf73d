// Non-owning views of elements in memory: contiguous, and strided.
//
// A view borrows: it is valid only while what it points into is neither freed nor moved. Views are plain values.
// Element access is checked: after its report, an access outside the view answers a scratch element that belongs to
// the thread, never somebody else's memory.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include "kr_assert.h"
#include "kr_internal/kr_memoryviews_scratch.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal
{

// True when a view of U may become a view of T: by adding const or volatile, not by changing the element type.
template <typename U, typename T>
constexpr bool IsQualificationConversion = std::is_convertible<U (*)[], T (*)[]>::value;

// True when an array of U may become a view of T. Arrays of characters do not: a literal's terminator would count.
template <typename U, typename T>
constexpr bool IsViewableArray = IsQualificationConversion<U, T> && !std::is_same<std::remove_cv_t<U>, char>::value;

} // namespace Internal

// `m_Count` elements from `m_Data`.
template <typename T>
class TMemoryView
{
public:
    // No elements, or `count` elements from `data`, which are trusted to be there.
    constexpr TMemoryView() noexcept QV_NONBLOCKING : m_Data(nullptr), m_Count(0) {}
    constexpr TMemoryView(T *data, u32 count) noexcept QV_NONBLOCKING : m_Data(data), m_Count(count) {}
    // From an array of known size (not of characters), or from a view whose elements differ by qualification alone.
    template <typename U, std::size_t N, typename = std::enable_if_t<Internal::IsViewableArray<U, T>>>
    constexpr TMemoryView(U (&array)[N]) noexcept QV_NONBLOCKING : m_Data(array), m_Count(static_cast<u32>(N))
    {
        static_assert(N <= 0xFFFFFFFFu, "views count in 32 bits");
    }
    template <typename U, typename = std::enable_if_t<Internal::IsQualificationConversion<U, T>>>
    constexpr TMemoryView(const TMemoryView<U> &other) noexcept QV_NONBLOCKING : m_Data(other.Data()),
                                                                                 m_Count(other.Count())
    {
    }

    // The first element, and the place behind the last one.
    constexpr T *Data() const noexcept QV_NONBLOCKING { return m_Data; }
    constexpr T *DataEnd() const noexcept QV_NONBLOCKING { return m_Data + m_Count; }
    // The number of elements.
    constexpr u32 Count() const noexcept QV_NONBLOCKING { return m_Count; }
    // Whether there is no element.
    constexpr bool Empty() const noexcept QV_NONBLOCKING { return m_Count == 0; }

    // The element at `index`, the first one, the last one.
    // Requires: elements, and an index below their count, else reports "m_Data != null" or "index < m_Count" and answers a
    // scratch element.
    T &operator[](u32 index) const noexcept QV_NONBLOCKING
    {
        if (QV_INTERNAL_UNLIKELY(m_Data == nullptr || index >= m_Count))
            return _Inaccessible(index);
        return m_Data[index];
    }
    T &First() const noexcept QV_NONBLOCKING { return (*this)[0]; }
    T &Last() const noexcept QV_NONBLOCKING { return (*this)[Internal::WrappingDifference(m_Count, 1u)]; }

    // `count` elements from `start`.
    // Requires: they lie in the view, else reports "start <= m_Count && count <= m_Count - start" and clamps.
    TMemoryView Slice(u32 start, u32 count) const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(start <= m_Count && count <= m_Count - start);
        return SliceIFP(start, count);
    }
    // The same, clamped to the view without a report.
    constexpr TMemoryView SliceIFP(u32 start, u32 count) const noexcept QV_NONBLOCKING
    {
        const u32 clampedStart = QVMin(start, m_Count);
        return TMemoryView(m_Data + clampedStart, QVMin(count, m_Count - clampedStart));
    }

    // The elements as a range.
    constexpr T *Begin() const noexcept QV_NONBLOCKING { return m_Data; }
    constexpr T *End() const noexcept QV_NONBLOCKING { return DataEnd(); }
    constexpr T *begin() const noexcept QV_NONBLOCKING { return Begin(); }
    constexpr T *end() const noexcept QV_NONBLOCKING { return End(); }

    // Private to the library: makes the reports of an element access.
    void _AssertAccessible(u32 index) const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(m_Data != null);
        QV_ASSERT(index < m_Count);
        static_cast<void>(index);
    }

private:
    QV_INTERNAL_COLD T &_Inaccessible(u32 index) const
    {
        _AssertAccessible(index);
        return Internal::ScratchElement<T>();
    }

    T *m_Data;
    u32 m_Count;
};

// The untyped content of a strided view: element i lies i times `m_Stride` bytes behind `m_RawDataPtr`.
struct SStridedMemoryViewRawStorage
{
    const u8 *m_RawDataPtr; // the first element
    u32 m_Count;            // how many there are
    u32 m_Stride;           // how many bytes each lies behind the one before
};

// Storage and access of a strided view.
template <typename T>
class TStridedMemoryViewBase
{
public:
    // The number of elements.
    constexpr u32 Count() const noexcept QV_NONBLOCKING { return m_Storage.m_Count; }
    // How many bytes each element lies behind the one before.
    constexpr u32 Stride() const noexcept QV_NONBLOCKING { return m_Storage.m_Stride; }
    // Whether there is no element.
    constexpr bool Empty() const noexcept QV_NONBLOCKING { return m_Storage.m_Count == 0; }
    // The first element.
    T *Data() const noexcept QV_NONBLOCKING { return _Element(0); }

    // The element at `index`, the first one, the last one.
    // Requires: elements, and an index below their count, else reports "m_Storage.m_RawDataPtr != null" or
    // "index < m_Storage.m_Count" and answers a scratch element.
    T &operator[](u32 index) const noexcept QV_NONBLOCKING
    {
        if (QV_INTERNAL_UNLIKELY(m_Storage.m_RawDataPtr == nullptr || index >= m_Storage.m_Count))
            return _Inaccessible(index);
        return *_Element(index);
    }
    T &First() const noexcept QV_NONBLOCKING { return (*this)[0]; }
    T &Last() const noexcept QV_NONBLOCKING { return (*this)[Internal::WrappingDifference(m_Storage.m_Count, 1u)]; }

    // Private to the library: makes the reports of an element access.
    void _AssertAccessible(u32 index) const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(m_Storage.m_RawDataPtr != null);
        QV_ASSERT(index < m_Storage.m_Count);
        static_cast<void>(index);
    }

protected:
    constexpr explicit TStridedMemoryViewBase(const SStridedMemoryViewRawStorage &storage) noexcept QV_NONBLOCKING
        : m_Storage(storage)
    {
    }

    // Offsets are computed in 64 bits: a large view may span more than 4 GiB.
    T *_Element(u64 index) const noexcept QV_NONBLOCKING
    {
        return reinterpret_cast<T *>(const_cast<u8 *>(m_Storage.m_RawDataPtr + index * m_Storage.m_Stride));
    }

    SStridedMemoryViewRawStorage m_Storage;

private:
    QV_INTERNAL_COLD T &_Inaccessible(u32 index) const
    {
        _AssertAccessible(index);
        return Internal::ScratchElement<T>();
    }
};

// `count` elements, each `stride` bytes behind the one before; a field of every record of an array, say. A stride of 0
// gives the first element `count` times.
template <typename T>
class TStridedMemoryView : public TStridedMemoryViewBase<T>
{
    using _Base = TStridedMemoryViewBase<T>;

    static const u8 *_Raw(const volatile void *data) noexcept QV_NONBLOCKING
    {
        return static_cast<const u8 *>(const_cast<const void *>(data));
    }

public:
    // Steps through the elements; random access in the manner of a pointer. With a stride of 0 the address stays where it
    // is, so that the steps themselves are counted; they order, compare and measure iterators then.
    class Iterator;

    // No elements, or `count` of them from `data`, each `stride` bytes behind the one before, which are trusted to be
    // there.
    TStridedMemoryView() noexcept QV_NONBLOCKING : _Base({nullptr, 0, static_cast<u32>(sizeof(T))}) {}
    TStridedMemoryView(T *data, u32 count, u32 stride = sizeof(T)) noexcept QV_NONBLOCKING
        : _Base({_Raw(data), count, stride})
    {
    }
    // From an array of known size (not of characters), or from a view whose elements differ by qualification alone.
    template <typename U, std::size_t N, typename = std::enable_if_t<Internal::IsViewableArray<U, T>>>
    TStridedMemoryView(U (&array)[N]) noexcept QV_NONBLOCKING : TStridedMemoryView(TMemoryView<T>(array))
    {
    }
    template <typename U, typename = std::enable_if_t<Internal::IsQualificationConversion<U, T>>>
    TStridedMemoryView(const TMemoryView<U> &view) noexcept QV_NONBLOCKING
        : TStridedMemoryView(view.Data(), view.Count())
    {
    }
    template <typename U, typename = std::enable_if_t<Internal::IsQualificationConversion<U, T>>>
    TStridedMemoryView(const TStridedMemoryView<U> &view) noexcept QV_NONBLOCKING
        : _Base({_Raw(view.Data()), view.Count(), view.Stride()})
    {
    }

    // `count` elements from `start`.
    // Requires: they lie in the view, else reports "start <= m_Storage.m_Count && count <= m_Storage.m_Count - start"
    // and clamps.
    TStridedMemoryView Slice(u32 start, u32 count) const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(start <= m_Storage.m_Count && count <= m_Storage.m_Count - start);
        return SliceIFP(start, count);
    }
    // The same, clamped to the view without a report.
    TStridedMemoryView SliceIFP(u32 start, u32 count) const noexcept QV_NONBLOCKING
    {
        const u32 clampedStart = QVMin(start, m_Storage.m_Count);
        return TStridedMemoryView(_Base::_Element(clampedStart), QVMin(count, m_Storage.m_Count - clampedStart),
                                  m_Storage.m_Stride);
    }

    // The elements as a range.
    Iterator Begin() const noexcept QV_NONBLOCKING { return Iterator(m_Storage.m_RawDataPtr, m_Storage.m_Stride); }
    Iterator End() const noexcept QV_NONBLOCKING
    {
        return Begin() + static_cast<typename Iterator::difference_type>(m_Storage.m_Count);
    }
    Iterator begin() const noexcept QV_NONBLOCKING { return Begin(); }
    Iterator end() const noexcept QV_NONBLOCKING { return End(); }

private:
    using _Base::m_Storage;
};

} // namespace Quorvane

#include "kr_internal/kr_memoryviews_iterator_inline.h"
