// Programs as tables: they call the checker as instrumented code does.
#include "step_program.h"

#include <utility>

#include "exploration.h"

namespace QuorvaneTest::Concurrency
{

CStepProgram::CStepProgram(std::vector<SSteps> threads)
    : CProgram(static_cast<u32>(threads.size())), m_Steps(std::move(threads))
{
}

void CStepProgram::SetUp()
{
    CCheckedMemory &memory = CCheckedMemory::Get();
    m_Words = static_cast<u32 *>(memory.Allocate(CCheckedMemory::kMainThread, kWords * sizeof(u32), 16));
    for (u32 word = 0; word < kWords; ++word)
        m_Words[word] = 0;
    m_Reads.assign(m_Steps.size(), SSeen());
}

void CStepProgram::Run(u32 thread)
{
    CExploration &exploration = *CExploration::Active();
    for (const SStep &step : m_Steps[thread])
    {
        const u64 value = exploration.Perform({step.m_Access, &m_Words[step.m_Word], sizeof(u32), step.m_Order,
                                               step.m_Order, step.m_Value, step.m_Expected});
        if (step.m_Access != Access_Store)
            m_Reads[thread].push_back(value);
    }
}

void CStepProgram::Finish()
{
    SSeen seen;
    for (const SSeen &reads : m_Reads)
        seen.insert(seen.end(), reads.begin(), reads.end());
    seen.insert(seen.end(), m_Words, m_Words + kWords);
    m_Seen.push_back(seen);
    m_Signatures.push_back(CurrentExecution().Signature());
}

} // namespace QuorvaneTest::Concurrency
