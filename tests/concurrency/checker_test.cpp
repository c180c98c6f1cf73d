// The checker on programs of which is known what is wrong with them.
#include <gtest/gtest.h>

#include "basic_programs.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

// The first line of the fault that an exploration finds; empty for none.
std::string FaultOf(const std::unique_ptr<CProgram> &program)
{
    const std::string fault = Explore(*program).m_Fault;
    return fault.substr(0, fault.find('\n'));
}

} // namespace

// ---- Memory ------------------------------------------------------------------------------------------------------------

TEST(Checker, FindsABlockThatIsFreedTwice)
{
    EXPECT_EQ(FaultOf(MakeFreedTwice()), "a block is freed twice");
}

TEST(Checker, FindsThatWhatIsFreedIsNoBlock)
{
    EXPECT_EQ(FaultOf(MakeFreedWhatIsNoBlock()), "what is freed is no block");
}

TEST(Checker, FindsAUseAfterTheFreeEvenWhereItHasItsOrder)
{
    EXPECT_EQ(FaultOf(MakeUsedAfterFree()), "a block is used after it was freed");
}

TEST(Checker, FindsAReadBehindABlock)
{
    EXPECT_EQ(FaultOf(MakeReadBehindItsBlock()), "memory is used that is no block's");
}

TEST(Checker, FindsABlockThatIsNeverFreed)
{
    EXPECT_EQ(FaultOf(MakeNeverFreed()), "does not hold: all blocks are freed");
}

// ---- Races -------------------------------------------------------------------------------------------------------------

// Of a read with a write of the same behind it, some compilers tell the write alone.
TEST(Checker, FindsARaceOfPlainAccesses)
{
    EXPECT_EQ(FaultOf(MakePlainCounter()).rfind("a race: ", 0), 0u);
}

TEST(Checker, FindsARaceOfAnAtomicAccessAndAPlainOne)
{
    EXPECT_EQ(FaultOf(MakeAtomicAndPlain()), "a race: a read, and an atomic write that does not happen before it");
}

TEST(Checker, FindsARaceWithARoutineForMemory)
{
    EXPECT_EQ(FaultOf(MakeCopyOfWhatIsWritten()), "a race: a read, and a write that does not happen before it");
}

TEST(Checker, FindsThatAMessageWasPublishedWithoutOrder)
{
    EXPECT_EQ(FaultOf(MakeRelaxedMessage()), "a race: a read, and a write that does not happen before it");
}

TEST(Checker, FindsNothingInAMessageThatIsReleasedAndAcquired)
{
    const std::unique_ptr<CProgram> program = MakeMessage();
    const SOutcome outcome = Explore(*program);
    EXPECT_EQ(outcome.m_Fault, "");
    EXPECT_EQ(outcome.m_Executions, 2u); // the message is there, or not
}

TEST(Checker, TellsAWordFromTheOneBeforeInTheSameMemory)
{
    const std::unique_ptr<CProgram> program = MakeWordThatBeginsAnew();
    const SOutcome outcome = Explore(*program);
    EXPECT_EQ(outcome.m_Fault, "");
    EXPECT_EQ(outcome.m_Executions, 3u); // not there yet, or counted first by the one or by the other
}

// ---- Everything else ---------------------------------------------------------------------------------------------------

TEST(Checker, TakesAReportForAFault)
{
    EXPECT_EQ(FaultOf(MakeReportedAssertion()), "is reported: m_Number == 4");
}

TEST(Checker, FindsAThreadThatWaitsForEver)
{
    EXPECT_EQ(FaultOf(MakeWaitForNobody()), "a thread waits for ever");
}

TEST(Checker, RunsAThreadThatWaitsWhenWhatItWaitsForIsDone)
{
    const std::unique_ptr<CProgram> program = MakeSpinLock();
    const SOutcome outcome = Explore(*program);
    EXPECT_EQ(outcome.m_Fault, "");
    EXPECT_EQ(outcome.m_Executions, 2u); // the one first, or the other
}

TEST(Checker, NoticesThatAProgramTakesOtherStepsWhenItRunsAgain)
{
    EXPECT_EQ(FaultOf(MakeOtherStepsEachTime()), "the program takes other steps when it runs again");
}

TEST(Checker, RefusesFences)
{
    EXPECT_EQ(FaultOf(MakeFence()), "a fence, which the checker does not know");
}

TEST(Checker, TakesMoreExecutionsThanAreAllowedForAFault)
{
    const std::unique_ptr<CProgram> program = MakeMessage();
    SOptions options;
    options.m_MaxExecutions = 1;
    EXPECT_EQ(Explore(*program, options).m_Fault, "more executions than allowed");
}

TEST(Checker, DoesEveryOperationAsItIsMeant)
{
    const std::unique_ptr<CProgram> program = MakeEveryAtomicOperation();
    const SOutcome outcome = Explore(*program);
    EXPECT_EQ(outcome.m_Fault, "");
    EXPECT_EQ(outcome.m_Executions, 1u); // one thread has no choice
}

} // namespace QuorvaneTest::Concurrency
