// Where occurrences were found while they were counted, so that they need not be searched for again when they are
// replaced.
#pragma once

#include <atomic>
#include <cstring>

#include "qv_defs.h"

namespace Quorvane::Internal::String
{

// Room for the distances of one long text at a time. Who finds it taken goes without, and never waits. Its pages are
// there from the first time that they are needed. 16 KiB would hold a quarter of the matches that stand in 6.5 MB at one in
// every hundred characters, and leave the others to be searched for again.
constexpr u32 kSpareBytes = 131072;
QV_INTERNAL_HIDDEN inline u8 g_SpareOffsets[kSpareBytes];
// Not a byte: some machines exchange whole words only.
QV_INTERNAL_CONSTINIT QV_INTERNAL_HIDDEN inline std::atomic<u32> g_SpareIsTaken = {0};

// The offset of each occurrence from the end of the one before, as far as there is room. What finds no room is searched
// for again, which takes about as long as the counting did. A few go to the stack, of which threads and fibers may have
// little.
class CMatchOffsets
{
public:
    CMatchOffsets() = default;
    ~CMatchOffsets()
    {
        if (m_Bytes != m_OnStack)
            g_SpareIsTaken.store(0, std::memory_order_release);
    }
    CMatchOffsets(const CMatchOffsets &) = delete;
    CMatchOffsets &operator=(const CMatchOffsets &) = delete;

    // Adds the next one. Afterwards none can be added once one could not.
    void Add(u32 offset)
    {
        m_IsFull = m_IsFull || offset > 0xFFFF || (m_Room - m_Used < kLongBytes && !_TakeSpare());
        if (m_IsFull)
            return;
        ++m_Count;
        m_Bytes[m_Used++] = static_cast<u8>(QVMin(offset, kLong));
        if (offset < kLong)
            return;
        m_Bytes[m_Used++] = static_cast<u8>(offset);
        m_Bytes[m_Used++] = static_cast<u8>(offset >> 8);
    }

    u32 Count() const { return m_Count; }

    // Calls `onOffset(offset)` for the first `count` of them, in order.
    template <typename OnOffset>
    void ForEach(u32 count, const OnOffset &onOffset) const
    {
        const u8 *next = m_Bytes;
        for (; count != 0; --count)
        {
            u32 offset = *next++;
            if (offset == kLong)
            {
                offset = next[0] | static_cast<u32>(next[1]) << 8;
                next += kLongBytes - 1;
            }
            onOffset(offset);
        }
    }

private:
    // With 256 of them, the portable code for 32 bits came 76 bytes above 4 KiB over the tracking allocator.
    static constexpr u32 kStackBytes = 160;
    static constexpr u32 kLong = 255; // announces two bytes, the lower one first
    static constexpr u32 kLongBytes = 3;

    // Goes on in the spare room. Returns: false when it is taken, or full.
    bool _TakeSpare()
    {
        if (m_Bytes != m_OnStack || g_SpareIsTaken.exchange(1, std::memory_order_acquire) != 0)
            return false;
        std::memcpy(g_SpareOffsets, m_OnStack, m_Used);
        m_Bytes = g_SpareOffsets;
        m_Room = kSpareBytes;
        return true;
    }

    u8 *m_Bytes = m_OnStack;
    u32 m_Room = kStackBytes;
    u32 m_Used = 0;
    u32 m_Count = 0;
    bool m_IsFull = false;
    u8 m_OnStack[kStackBytes];
};

} // namespace Quorvane::Internal::String
