// Private header: the block of an array's elements, and how it grows.
//
// Users include kr_containers_array.h, which has the array; the longer bodies are with the array's own.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "kr_containers_internals.h"
#include "qv_defs.h"

namespace Quorvane
{

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
    T *_Data() noexcept QV_NONBLOCKING { return m_Data; }
    u32 _Count() const noexcept QV_NONBLOCKING { return m_Count; }
    u32 _MaxCount() const noexcept QV_NONBLOCKING { return m_MaxCount; }
    void _SetMaxCount(u32 maxCount) noexcept QV_NONBLOCKING { m_MaxCount = maxCount; }

    T *_RawBegin() noexcept QV_NONBLOCKING { return m_Data; }
    const T *_RawBegin() const noexcept QV_NONBLOCKING { return m_Data; }
    T *_RawEnd() noexcept QV_NONBLOCKING { return m_Data + m_Count; }
    const T *_RawEnd() const noexcept QV_NONBLOCKING { return m_Data + m_Count; }

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
    TArray_BaseContainerImpl(TArray_BaseContainerImpl &&other) noexcept QV_NONBLOCKING
        : m_Data(std::exchange(other.m_Data, nullptr)),
          m_Count(std::exchange(other.m_Count, 0)),
          m_MaxCount(std::exchange(other.m_MaxCount, 0))
    {
    }
    TArray_BaseContainerImpl(const TArray_BaseContainerImpl &) = delete;
    TArray_BaseContainerImpl &operator=(const TArray_BaseContainerImpl &) = delete;
    ~TArray_BaseContainerImpl() = default;

    void _SwapBuffers(TArray_BaseContainerImpl &other) noexcept QV_NONBLOCKING
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
    void _FreeBuffer() noexcept;

    // Elements 0 to `m_Count` - 1 are alive, the rest up to `m_MaxCount` is raw memory. Null before the first growth.
    T *m_Data = nullptr;
    u32 m_Count = 0;
    u32 m_MaxCount = 0;

private:
    // What the allocator is asked for: its default (0) aligns every type that is not over-aligned.
    static constexpr u32 _BlockAlignment() noexcept QV_NONBLOCKING
    {
        constexpr u32 forElements = alignof(T) > alignof(std::max_align_t) ? u32(alignof(T)) : 0;
        return Controller::Alignment() == 0 ? forElements : QVMax(Controller::Alignment(), u32(alignof(T)));
    }

    bool _GrowByOne();
    T *_MoveToNewBuffer(u64 bytes);
    QV_INTERNAL_COLD static void _ReportRefusedGrowth(u32 newMaxCount, u64 bytes) noexcept;
};

namespace Internal
{

// The position of an iterator over contiguous elements.
template <typename Element>
struct TContiguousBaseIterator
{
    using ElementType = Element;

    Element *m_Ptr = nullptr;
};

} // namespace Internal

} // namespace Quorvane
