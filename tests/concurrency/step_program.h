// Programs of a few atomic operations each, written as tables: for litmus tests, and for programs by chance.
#pragma once

#include <vector>

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

// One operation on a word; all words begin as 0.
struct SStep
{
    EAccess m_Access;
    u32 m_Word;
    EOrder m_Order;
    u64 m_Value = 0;    // stored, added, and so on
    u64 m_Expected = 0; // of a compare-exchange, which has one order in either case
};

using SSteps = std::vector<SStep>;

constexpr u32 kX = 0;
constexpr u32 kY = 1;

inline SStep Load(u32 word, EOrder order)
{
    return {Access_Load, word, order};
}

inline SStep Store(u32 word, u64 value, EOrder order)
{
    return {Access_Store, word, order, value};
}

inline SStep Add(u32 word, u64 value, EOrder order)
{
    return {Access_Add, word, order, value};
}

inline SStep CompareExchange(u32 word, u64 expected, u64 value, EOrder order)
{
    return {Access_CompareExchange, word, order, value, expected};
}

// What each thread has read, one thread after the other, and then the last value of each word.
using SSeen = std::vector<u64>;

class CStepProgram : public CProgram
{
public:
    explicit CStepProgram(std::vector<SSteps> threads);

    void SetUp() override;
    void Run(u32 thread) override;
    void Finish() override;

    // Of all executions so far, in the order in which they were run.
    const std::vector<SSeen> &Seen() const { return m_Seen; }
    const std::vector<std::vector<u32>> &Signatures() const { return m_Signatures; }

private:
    static constexpr u32 kWords = 2;

    std::vector<SSteps> m_Steps;
    u32 *m_Words = nullptr;
    std::vector<SSeen> m_Reads;
    std::vector<SSeen> m_Seen;
    std::vector<std::vector<u32>> m_Signatures;
};

} // namespace QuorvaneTest::Concurrency
