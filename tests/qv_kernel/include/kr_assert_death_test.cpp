// What answer 0 does: the debugger's trap. Everything else about assertions is in kr_assert_test.cpp.
#include "kr_assert.h"

#include <csignal>
#include <cstdlib>
#include <utility>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "test_port.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

volatile std::sig_atomic_t g_Traps = 0;

#if defined(_WIN32)

// Goes on behind the instruction of a breakpoint.
LONG NTAPI CountTrap(EXCEPTION_POINTERS *exception)
{
    if (exception->ExceptionRecord->ExceptionCode != EXCEPTION_BREAKPOINT)
        return EXCEPTION_CONTINUE_SEARCH;
    g_Traps = g_Traps + 1;
    constexpr unsigned char kBreakpoint = 0xCC;
    if (*reinterpret_cast<const unsigned char *>(exception->ContextRecord->Rip) == kBreakpoint)
        ++exception->ContextRecord->Rip;
    return EXCEPTION_CONTINUE_EXECUTION;
}

// Stands for a debugger that resumes after every trap.
class CResumingDebugger
{
public:
    CResumingDebugger() : m_Handler(AddVectoredExceptionHandler(1, &CountTrap)) { g_Traps = 0; }
    ~CResumingDebugger() { RemoveVectoredExceptionHandler(m_Handler); }
    CResumingDebugger(const CResumingDebugger &) = delete;
    CResumingDebugger &operator=(const CResumingDebugger &) = delete;

    size_t Traps() const { return static_cast<size_t>(g_Traps); }

private:
    void *m_Handler;
};

#else

void CountTrap(int)
{
    g_Traps = g_Traps + 1;
}

// Stands for a debugger that resumes after every trap.
class CResumingDebugger
{
public:
    CResumingDebugger() : m_Before(std::signal(SIGTRAP, &CountTrap)) { g_Traps = 0; }
    ~CResumingDebugger() { std::signal(SIGTRAP, m_Before); }
    CResumingDebugger(const CResumingDebugger &) = delete;
    CResumingDebugger &operator=(const CResumingDebugger &) = delete;

    size_t Traps() const { return static_cast<size_t>(g_Traps); }

private:
    void (*m_Before)(int);
};

#endif

// A statement that a trap must end: the trap kills a process that nobody debugs.
template <typename Statement>
void RunAnswering0(const Statement &statement)
{
    const CAssertRecorder recorder(0);
    statement();
    // Reached without assertions only.
    std::exit(23);
}

bool TrappedAsPromised(int status)
{
#if defined(_WIN32)
    constexpr int kBreakpoint = static_cast<int>(EXCEPTION_BREAKPOINT);
    return ::testing::ExitedWithCode(kSitesReport ? kBreakpoint : 23)(status);
#else
    return kSitesReport ? ::testing::KilledBySignal(SIGTRAP)(status) : ::testing::ExitedWithCode(23)(status);
#endif
}

} // namespace

TEST(AssertionsDeathTest, Answer0AtAPlainSiteTraps)
{
    EXPECT_EXIT(RunAnswering0([] { QV_ASSERT(1 > 2); }), TrappedAsPromised, "");
}

TEST(AssertionsDeathTest, Answer0AtASiteWithAMessageTraps)
{
    EXPECT_EXIT(RunAnswering0([] { QV_ASSERT_MESSAGE(1 > 2, "%d", 3); }), TrappedAsPromised, "");
}

TEST(AssertionsDeathTest, Answer0AtAVerifySiteTraps)
{
    EXPECT_EXIT(RunAnswering0([] { static_cast<void>(QV_VERIFY(1 > 2)); }), TrappedAsPromised, "");
}

TEST(AssertionsDeathTest, AnyOtherAnswerDoesNotTrap)
{
    const CResumingDebugger debugger;
    CAssertRecorder recorder;
    for (const int answer : {2, 3, -1})
    {
        recorder.SetAnswer(answer);
        QV_ASSERT(answer == 0);
        QV_ASSERT_MESSAGE(answer == 0, "%d", answer);
        EXPECT_TRUE(QV_VERIFY(answer == 0));
    }
    EXPECT_EQ(debugger.Traps(), 0u);
    EXPECT_EQ(recorder.Count(), IfAsserting(9));
}

TEST(AssertionsDeathTest, Answer1DoesNotTrap)
{
    // A site is silenced for the rest of the process.
    static bool s_Ran = false;
    if (std::exchange(s_Ran, true))
        GTEST_SKIP() << "repeated in one process";
    const CResumingDebugger debugger;
    const CAssertRecorder recorder(1);
    QV_ASSERT(recorder.Count() != 0);
    EXPECT_EQ(debugger.Traps(), 0u);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

TEST(AssertionsDeathTest, ResumedAfterTheTrapExecutionGoesOn)
{
    const CAssertRecorder recorder(0);
    const CResumingDebugger debugger;
    bool after = false;
    QV_ASSERT(after);
    after = true;
    EXPECT_TRUE(after);
    EXPECT_EQ(debugger.Traps(), IfAsserting(1));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"after"}));
}

TEST(AssertionsDeathTest, ResumedAfterTheTrapAVerifySiteTakesItsFailurePath)
{
    const CAssertRecorder recorder(0);
    const CResumingDebugger debugger;
    EXPECT_TRUE(QV_VERIFY(1 > 2));
    EXPECT_EQ(debugger.Traps(), IfAsserting(1));
}

TEST(AssertionsDeathTest, Answer0SilencesNothing)
{
    const CAssertRecorder recorder(0);
    const CResumingDebugger debugger;
    for (int i = 0; i < 3; ++i)
    {
        QV_ASSERT(i < 0);
        EXPECT_TRUE(QV_VERIFY(i < 0));
    }
    EXPECT_EQ(recorder.Count(), IfAsserting(6));
    EXPECT_EQ(debugger.Traps(), IfAsserting(6));
}

TEST(AssertionsDeathTest, DirectCallsLeaveTheTrapToTheirCaller)
{
    const CAssertRecorder recorder(0);
    const CResumingDebugger debugger;
    bool ignored = false;
    EXPECT_EQ(Assert::EvalAssert("file", "function", 1, "a", "a", "a"), 0);
    EXPECT_EQ(Assert::EvalAssertFormat("file", "function", 1, "a", "a", "%d", 1), 0);
    EXPECT_TRUE(Assert::VerifyAssertFalse_Breaks(ignored, "file", "function", 1, "a", "a", "a"));
    EXPECT_EQ(debugger.Traps(), 0u);
    EXPECT_EQ(recorder.Count(), 3u);
}

} // namespace QuorvaneTest
