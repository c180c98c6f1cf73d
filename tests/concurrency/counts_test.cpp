// The counts of texts and of objects, in every execution of small programs; and that the mistakes one makes with counts
// would be found.
#include <gtest/gtest.h>

#include "every_sharing.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using FMakeProgram = std::unique_ptr<CProgram> (*)(const SSharing &);

// An operation for each letter, as EOperation has them.
SOperations Operations(const std::string &letters)
{
    SOperations operations;
    for (const char letter : letters)
        operations.push_back(static_cast<EOperation>(std::string(kOperationLetters).find(letter)));
    return operations;
}

SSharing Sharing(const std::vector<std::string> &threads, bool isResizable = false)
{
    SSharing sharing;
    for (const std::string &letters : threads)
        sharing.m_Threads.push_back(Operations(letters));
    sharing.m_IsResizable = isResizable;
    return sharing;
}

SOutcome Explored(FMakeProgram make, const SSharing &sharing, const std::vector<SMistake> &mistakes = {})
{
    SOptions options;
    options.m_Mistakes = mistakes;
    return Explore(*make(sharing), options);
}

// Expects no fault in any of them. Returns: how many executions they have.
u64 ExploreAll(FMakeProgram make, const SSharingRange &range)
{
    u64 executions = 0;
    ForEachSharing(range,
                   [&](const SSharing &sharing)
                   {
                       const SOutcome outcome = Explored(make, sharing);
                       EXPECT_EQ(outcome.m_Fault, "") << NameOf(sharing);
                       executions += outcome.m_Executions;
                   });
    return executions;
}

// Where the counts lie in their blocks, which begin at multiples of 16.
constexpr u32 kStrongCount = 8;
constexpr u32 kWeakCount = 12;

SMistake OfCount(EMistake what, EAccess access, u32 count = kStrongCount)
{
    return {what, access, 4, count};
}

bool IsFound(FMakeProgram make, const std::vector<std::string> &threads, const SMistake &mistake)
{
    const SSharing sharing = Sharing(threads);
    EXPECT_EQ(Explored(make, sharing).m_Fault, "");
    return !Explored(make, sharing, {mistake}).m_Fault.empty();
}

const SOperations kEverything = Operations(kOperationLetters);

} // namespace

// ---- Numbers of executions that are known ------------------------------------------------------------------------------

// Two threads that copy and drop, twice: four modifications each of one word, in all orders. What was just copied is
// dropped without a question.
TEST(Counts, CopiesAndReleasesAreRunInEveryOrder)
{
    EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"C", "C"})).m_Executions, 2u);
    EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"CD", "CD"})).m_Executions, 6u);
    EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"CDCD", "CDCD"})).m_Executions, 70u);
    EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"CD", "CD", "CD"})).m_Executions, 90u);
}

// Who drops asks first. The first of two sees 2 either way. The other one sees 2 as well, or 1, and then needs no
// decrement.
TEST(Counts, WhoDropsMayFindThatTheOtherHasDropped)
{
    EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"D", "D"})).m_Executions, 4u);
}

// ---- Programs ----------------------------------------------------------------------------------------------------------

TEST(Counts, EveryProgramOfTwoOperationsOfTwoThreadsIsRight)
{
    for (const bool isResizable : {false, true})
        EXPECT_GT(ExploreAll(&MakeStringProgram, {2, 2, kEverything, isResizable}), 2080u);
    EXPECT_GT(ExploreAll(&MakeObjectProgram, {2, 2, Operations("CDRWPK"), false}), 666u);
}

// `./run concurrency` runs all of these; here are some, which lie as far apart as they can.
TEST(Counts, ProgramsOfFourOperationsOfTwoThreadsAreRight)
{
    ExploreAll(&MakeStringProgram, {2, 4, Operations("CDRWPK"), false, 17, 4001});
    ExploreAll(&MakeStringProgram, {2, 4, Operations("CDWPEA"), true, 17, 4001});
    ExploreAll(&MakeObjectProgram, {2, 4, Operations("CDRWPK"), false, 17, 8009});
}

TEST(Counts, ProgramsOfThreeOperationsOfThreeThreadsAreRight)
{
    ExploreAll(&MakeStringProgram, {3, 3, Operations("CDRWP"), false, 11, 20011});
    ExploreAll(&MakeObjectProgram, {3, 3, Operations("CDWPK"), false, 11, 50021});
}

TEST(Counts, TheLastOfThreeHoldersWritesWhatTheOthersHaveRead)
{
    for (const bool isResizable : {false, true})
        EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"RD", "RD", "W"}, isResizable)).m_Fault, "");
}

TEST(Counts, WeakReferencesComeAndGoWhileOthersDropTheirs)
{
    EXPECT_EQ(Explored(&MakeObjectProgram, Sharing({"KKD", "KD"})).m_Fault, "");
    EXPECT_EQ(Explored(&MakeObjectProgram, Sharing({"K", "D", "D"})).m_Fault, "");
    EXPECT_EQ(Explored(&MakeStringProgram, Sharing({"KK", "KK"})).m_Fault, "");
}

// ---- Mistakes of the counts --------------------------------------------------------------------------------------------

TEST(CountMistakes, ADecrementThatReleasesNothingIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"RD", "RD"}, OfCount(Mistake_OnlyAcquire, Access_Subtract)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"RD", "RD"}, OfCount(Mistake_OnlyAcquire, Access_Subtract)));
}

TEST(CountMistakes, ADecrementThatAcquiresNothingIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"RD", "RD"}, OfCount(Mistake_OnlyRelease, Access_Subtract)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"RD", "RD"}, OfCount(Mistake_OnlyRelease, Access_Subtract)));
}

TEST(CountMistakes, ARelaxedDecrementIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"D", "D"}, OfCount(Mistake_Relaxed, Access_Subtract)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"D", "D"}, OfCount(Mistake_Relaxed, Access_Subtract)));
}

// Copy-on-write that asks without order whether it is alone writes what another thread may still be reading.
TEST(CountMistakes, ARelaxedQuestionForTheOnlyHolderIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"RD", "W"}, OfCount(Mistake_Relaxed, Access_Load)));
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"RD", "E"}, OfCount(Mistake_Relaxed, Access_Load)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"RD", "W"}, OfCount(Mistake_Relaxed, Access_Load)));
}

TEST(CountMistakes, AnIncrementThatIsNotAtomicIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"C", "C"}, OfCount(Mistake_NotAtomic, Access_Add)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"C", "C"}, OfCount(Mistake_NotAtomic, Access_Add)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"K", "K"}, OfCount(Mistake_NotAtomic, Access_Add, kWeakCount)));
}

TEST(CountMistakes, ADecrementThatIsNotAtomicIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"D", "D"}, OfCount(Mistake_NotAtomic, Access_Subtract)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"D", "D"}, OfCount(Mistake_NotAtomic, Access_Subtract)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"K", "K"}, OfCount(Mistake_NotAtomic, Access_Subtract, kWeakCount)));
}

// Who decrements and then looks at the count again finds what another thread has made of it, or no count at all.
TEST(CountMistakes, ACountThatIsReadAgainAfterTheDecrementIsFound)
{
    EXPECT_TRUE(IsFound(&MakeStringProgram, {"D", "D"}, OfCount(Mistake_ReadAgain, Access_Subtract)));
    EXPECT_TRUE(IsFound(&MakeObjectProgram, {"D", "D"}, OfCount(Mistake_ReadAgain, Access_Subtract)));
}

// What the library has, and would not need: an increment orders nothing, and no operation on counts needs its place in one
// order of all. It is so said where the orders are (kr_atomic.h), and costs nothing on the machines that it runs on.
TEST(CountMistakes, AnIncrementNeedsNoOrderAndNoCountThatOfAll)
{
    const SMistake increment = OfCount(Mistake_Relaxed, Access_Add);
    EXPECT_FALSE(IsFound(&MakeStringProgram, {"CDRW", "CDRW"}, increment));
    EXPECT_FALSE(IsFound(&MakeObjectProgram, {"CDRW", "CDRW"}, increment));
    const SMistake decrement = OfCount(Mistake_NotSequential, Access_Subtract);
    EXPECT_FALSE(IsFound(&MakeStringProgram, {"CDRW", "CDRW"}, decrement));
    EXPECT_FALSE(IsFound(&MakeObjectProgram, {"CDRW", "CDRW"}, decrement));
}

// ---- Mistakes of programs ----------------------------------------------------------------------------------------------

TEST(ProgramMistakes, OneHandleForTwoThreadsIsFound)
{
    EXPECT_NE(Explore(*MakeOneHandleForTwoThreads()).m_Fault, "");
}

TEST(ProgramMistakes, WritingBecauseNobodySharedTheTextBeforeIsFound)
{
    EXPECT_NE(Explore(*MakeCheckThenWrite()).m_Fault, "");
}

TEST(ProgramMistakes, AViewThatOutlivesItsTextIsFound)
{
    EXPECT_NE(Explore(*MakeViewThatOutlivesItsText()).m_Fault, "");
}

TEST(ProgramMistakes, APublicationWithoutOrderIsFound)
{
    EXPECT_NE(Explore(*MakePublicationWithoutOrder()).m_Fault, "");
}

} // namespace QuorvaneTest::Concurrency
