// All programs of some threads that do some operations each.
#pragma once

#include "count_programs.h"

namespace QuorvaneTest::Concurrency
{

struct SSharingRange
{
    u32 m_Threads;
    u32 m_Operations; // of each thread
    SOperations m_Alphabet;
    bool m_IsResizable;
    // Of all programs, the one of this number and each so many further on.
    u64 m_First = 0;
    u64 m_Step = 1;
};

// Calls `body(sharing)` for each of them. Which thread does what makes no difference, so only one order of the threads is
// there. Returns: how many programs there are in all.
template <typename TBody>
u64 ForEachSharing(const SSharingRange &range, const TBody &body)
{
    u64 ofThread = 1;
    for (u32 i = 0; i < range.m_Operations; ++i)
        ofThread *= range.m_Alphabet.size();
    std::vector<u64> numbers(range.m_Threads, 0); // of what each thread does, never falling
    u64 count = 0;
    for (bool isDone = false; !isDone; ++count)
    {
        if (count % range.m_Step == range.m_First)
        {
            SSharing sharing;
            sharing.m_IsResizable = range.m_IsResizable;
            for (u64 number : numbers)
            {
                sharing.m_Threads.emplace_back();
                for (u32 i = 0; i < range.m_Operations; ++i, number /= range.m_Alphabet.size())
                    sharing.m_Threads.back().push_back(range.m_Alphabet[number % range.m_Alphabet.size()]);
            }
            body(sharing);
        }
        u32 thread = range.m_Threads;
        while (thread != 0 && ++numbers[thread - 1] == ofThread)
            --thread;
        isDone = thread == 0;
        for (u32 next = thread; !isDone && next < range.m_Threads; ++next)
            numbers[next] = numbers[thread - 1];
    }
    return count;
}

// The operations by their letters, in the order of the enumeration, a word for each thread.
inline std::string NameOf(const SSharing &sharing)
{
    std::string name;
    for (const SOperations &operations : sharing.m_Threads)
    {
        for (const EOperation operation : operations)
            name += kOperationLetters[operation];
        name += ' ';
    }
    return name;
}

} // namespace QuorvaneTest::Concurrency
