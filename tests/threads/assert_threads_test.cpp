#include <atomic>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_assert.h"
#include "kr_atomic.h"
#include "thread_team.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

constexpr u32 kThreads = 4;

std::atomic<u32> g_CallsOfA;
std::atomic<u32> g_CallsOfB;

int HandlerA(const char *, const char *, int, const char *, const char *, const char *)
{
    g_CallsOfA.fetch_add(1, std::memory_order_relaxed);
    return 2;
}

int HandlerB(const char *, const char *, int, const char *, const char *, const char *)
{
    g_CallsOfB.fetch_add(1, std::memory_order_relaxed);
    return 3;
}

// Waits inside the handler until another thread's report has been through it.
TAtomic<u32> g_Inside;

int MeetingHandler(const char *, const char *, int, const char *, const char *, const char *)
{
    g_Inside.Inc();
    while (g_Inside.Load() < 2)
        std::this_thread::yield();
    return 5;
}

int Report(const char *message)
{
    return Assert::EvalAssert("file", "function", 1, "expression", "expression", message);
}

// One site for all threads.
void FailAtOneSite(u32 value)
{
    QV_ASSERT(value == 0xFFFFFFFF);
}

// Waits inside the handler until as many reports are there as expected, and looks at the message after that.
constexpr u32 kLongReports = 7;
constexpr size_t kLongMessage = 3000;
std::atomic<u32> g_LongInside;
std::atomic<u32> g_LongWhole;

int LongMeetingHandler(const char *, const char *, int line, const char *, const char *, const char *message)
{
    ++g_LongInside;
    while (g_LongInside.load() < kLongReports)
        std::this_thread::yield();
    if (message == std::string(kLongMessage, static_cast<char>('a' + line)))
        ++g_LongWhole;
    return 2;
}

// Installs a handler for the time of a test.
class CHandlerScope
{
public:
    explicit CHandlerScope(Assert::FHandler handler) : m_Before(Assert::SetHandler(handler)) {}
    ~CHandlerScope() { Assert::SetHandler(m_Before); }
    CHandlerScope(const CHandlerScope &) = delete;
    CHandlerScope &operator=(const CHandlerScope &) = delete;

private:
    Assert::FHandler m_Before;
};

} // namespace

TEST(AssertionThreads, ReportsOfAllThreadsArrive)
{
    const CAssertRecorder recorder;
    RunTeam(kThreads,
            [](u32)
            {
                for (u32 i = 0; i < 500; ++i)
                    Report("m");
            });
    EXPECT_EQ(recorder.Count(), kThreads * 500);
}

TEST(AssertionThreads, FormattedMessagesDoNotMix)
{
    const CAssertRecorder recorder;
    const std::string names[kThreads] = {std::string(300, 'a'), std::string(300, 'b'), std::string(300, 'c'),
                                         std::string(300, 'd')};
    RunTeam(kThreads,
            [&](u32 thread)
            {
                for (int i = 0; i < 200; ++i)
                    Assert::EvalAssertFormat("file", "function", i, names[thread].c_str(), "e", "%s",
                                             names[thread].c_str());
            });
    ASSERT_EQ(recorder.Count(), kThreads * 200);
    for (const SReport &report : recorder.Reports())
        ASSERT_EQ(report.m_Message, report.m_Expression);
}

TEST(AssertionThreads, LongMessagesReportedAtOnceAreAllWhole)
{
    const CHandlerScope scope(&LongMeetingHandler);
    // The second round finds what the first one has put back.
    for (u32 round = 0; round < 2; ++round)
    {
        g_LongInside = 0;
        g_LongWhole = 0;
        RunTeam(kLongReports,
                [](u32 thread)
                {
                    const std::string message(kLongMessage, static_cast<char>('a' + thread));
                    Assert::EvalAssertFormat("f", "g", static_cast<int>(thread), "e", "e", "%s", message.c_str());
                });
        EXPECT_EQ(g_LongWhole.load(), kLongReports);
    }
}

TEST(AssertionThreads, TheHandlerMayBeExchangedWhileOthersReport)
{
    const CHandlerScope scope(&HandlerA);
    g_CallsOfA = 0;
    g_CallsOfB = 0;
    std::atomic<u32> strange(0);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                for (u32 i = 0; i < 2000; ++i)
                {
                    if (thread == 0)
                    {
                        const Assert::FHandler before = Assert::SetHandler(i % 2 == 0 ? &HandlerB : &HandlerA);
                        if (before != (i % 2 == 0 ? &HandlerA : &HandlerB))
                            ++strange;
                        continue;
                    }
                    const int answer = Report("m");
                    if (answer != 2 && answer != 3)
                        ++strange;
                }
            });
    EXPECT_EQ(strange.load(), 0u);
    EXPECT_EQ(g_CallsOfA.load() + g_CallsOfB.load(), (kThreads - 1) * 2000);
}

TEST(AssertionThreads, ConcurrentExchangesLoseNoHandler)
{
    // Each thread puts one in and gets one out; in the end what was put in and not got out is installed.
    const CHandlerScope scope(&HandlerA);
    std::atomic<int> balanceOfB(0);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                for (u32 i = 0; i < 2000; ++i)
                {
                    const bool putsB = (i + thread) % 2 == 0;
                    const bool gotB = Assert::SetHandler(putsB ? &HandlerB : &HandlerA) == &HandlerB;
                    balanceOfB += (putsB ? 1 : 0) - (gotB ? 1 : 0);
                }
            });
    const bool isB = Assert::SetHandler(&HandlerA) == &HandlerB;
    EXPECT_EQ(balanceOfB.load(), isB ? 1 : 0);
}

TEST(AssertionThreads, AThreadInsideTheHandlerHoldsUpNoOther)
{
    const CHandlerScope scope(&MeetingHandler);
    g_Inside.Store(0);
    int answers[2] = {};
    // Would wait for ever if the second report were answered without a call, as a nested one is.
    RunTeam(2, [&](u32 thread) { answers[thread] = Report("m"); });
    EXPECT_EQ(answers[0], 5);
    EXPECT_EQ(answers[1], 5);
}

TEST(AssertionThreads, ASiteIsSilencedForAllThreads)
{
    // A site is silenced for the rest of the process.
    static bool s_Ran = false;
    if (std::exchange(s_Ran, true))
        GTEST_SKIP() << "repeated in one process";
    CAssertRecorder recorder(1);
    RunTeam(kThreads,
            [](u32 thread)
            {
                for (u32 i = 0; i < 500; ++i)
                    FailAtOneSite(thread);
            });
    // Threads that met at the site while it was not yet silenced have each reported once.
    EXPECT_GE(recorder.Count(), IfAsserting(1));
    EXPECT_LE(recorder.Count(), IfAsserting(kThreads));
    recorder.Clear();
    RunTeam(kThreads, [](u32 thread) { FailAtOneSite(thread); });
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(AssertionThreads, AVerifyFlagMayBeSetByAllThreads)
{
    const CAssertRecorder recorder(1);
    bool ignored = false;
    std::atomic<u32> breaks(0);
    RunTeam(kThreads,
            [&](u32)
            {
                for (u32 i = 0; i < 500; ++i)
                    if (Assert::VerifyAssertFalse_Breaks(ignored, "f", "g", 1, "e", "e", "m"))
                        ++breaks;
            });
    EXPECT_TRUE(ignored);
    EXPECT_EQ(breaks.load(), 0u);
    EXPECT_GE(recorder.Count(), 1u);
    EXPECT_LE(recorder.Count(), kThreads);
}

} // namespace QuorvaneTest
