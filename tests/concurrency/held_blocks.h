// Blocks that checked threads hold: what is written to them, and the mailbox through which they change hands. For sources
// that are compiled for the checker.
#pragma once

#include <atomic>

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

class CHeldBlocks
{
public:
    // Null is none.
    void Keep(u32 thread, void *block)
    {
        if (block == nullptr)
            return;
        u32 *const words = static_cast<u32 *>(block);
        const u32 value = 100 * thread + m_Kept[thread]++;
        for (u32 i = 0; i < kWords; ++i)
            words[i] = value;
        m_Held[thread][m_Counts[thread]++] = {words, value};
    }

    // Takes the block out that the thread has had longest. Returns: null for none.
    void *Drop(u32 thread)
    {
        if (m_Counts[thread] == 0)
            return nullptr;
        const SHeld held = m_Held[thread][0];
        --m_Counts[thread];
        for (u32 i = 0; i < m_Counts[thread]; ++i)
            m_Held[thread][i] = m_Held[thread][i + 1];
        for (u32 i = 0; i < kWords; ++i)
            Require(held.m_Words[i] == held.m_Value, "a block stays what its holder wrote");
        return held.m_Words;
    }

    // Exchanges that block with what lies in the mailbox.
    void HandOn(u32 thread)
    {
        if (void *const dropped = Drop(thread))
            Keep(thread, m_Mailbox.exchange(dropped, std::memory_order_acq_rel));
    }

    // All that are held, and what lies in the mailbox.
    u32 Count() const
    {
        u32 count = m_Mailbox.load(std::memory_order_relaxed) != nullptr;
        for (const u32 ofThread : m_Counts)
            count += ofThread;
        return count;
    }

private:
    static constexpr u32 kMaxHeld = 8;
    static constexpr u32 kWords = 4; // of each block, of 16 bytes or more

    struct SHeld
    {
        u32 *m_Words;
        u32 m_Value;
    };

    SHeld m_Held[kMaxThreads][kMaxHeld] = {};
    u32 m_Counts[kMaxThreads] = {};
    u32 m_Kept[kMaxThreads] = {};
    std::atomic<void *> m_Mailbox{nullptr};
};

} // namespace QuorvaneTest::Concurrency
