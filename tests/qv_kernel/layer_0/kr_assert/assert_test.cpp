#include "kr_assert.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "kr_containers_array.h"
#include "kr_mem.h"
#include "kr_refptr.h"
#include "kr_string.h"
#include "system_limits.h"
#include "test_port.h"

// What the sanitizer for real time has a program call, here in programs without it.
#if defined(__ELF__) && !defined(QV_INTERNAL_HAS_REALTIME_SANITIZER)

namespace
{

thread_local int t_RealtimePauses = 0;

} // namespace

extern "C" void __rtsan_disable();
extern "C" void __rtsan_enable();

extern "C" void __rtsan_disable()
{
    ++t_RealtimePauses;
}

extern "C" void __rtsan_enable()
{
    --t_RealtimePauses;
}

#endif

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// Hides from the compiler that a text is null, which its format warnings would otherwise find.
const char *NullText()
{
    static const char *volatile text = nullptr;
    return text;
}

int g_CallsOfA = 0;
int g_CallsOfB = 0;

int HandlerA(const char *, const char *, int, const char *, const char *, const char *)
{
    ++g_CallsOfA;
    return 21;
}

int HandlerB(const char *, const char *, int, const char *, const char *, const char *)
{
    ++g_CallsOfB;
    return 22;
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

int Report()
{
    return Assert::EvalAssert("some_file.cpp", "void Some::Function()", 12, "a < LIMIT", "a < 3", "a is too large");
}

// What a handler sees when it asserts itself, in every way there is.
struct SNested
{
    int m_Calls = 0;
    int m_EvalAnswer = -1;
    int m_EvalFormatAnswer = -1;
    bool m_VerifyBreaks = true;
    bool m_VerifyFlag = false;
    bool m_VerifyMacro = false;
};

SNested g_Nested;

int NestingHandler(const char *, const char *, int, const char *, const char *, const char *)
{
    ++g_Nested.m_Calls;
    g_Nested.m_EvalAnswer = Report();
    g_Nested.m_EvalFormatAnswer = Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%d", 1);
    g_Nested.m_VerifyBreaks = Assert::VerifyAssertFalse_Breaks(g_Nested.m_VerifyFlag, "f", "g", 1, "e", "e", "m");
    g_Nested.m_VerifyMacro = QV_VERIFY(g_Nested.m_Calls == 0);
    QV_ASSERT(g_Nested.m_Calls == 0);
    return 0;
}

class CCounted : public CRefCountedObject
{
};

bool g_HandlerGotMemory = false;

int AllocatingHandler(const char *, const char *, int, const char *, const char *, const char *)
{
    void *block = Mem::_RawAlloc(64, 16, Mem::AllocType_Generic, Mem::Origin_Alloc, "tag", __FILE__, __LINE__, "f");
    const TRefPtr<CCounted> object(new CCounted);
    g_HandlerGotMemory = block != null && object != null && object->RefCount() == 1;
    Mem::Free(block, Mem::AllocType_Generic);
    return 2;
}

// Handlers that run at the same time, each with a long message: every one is called within another one, on a thread of
// its own.
constexpr unsigned kLongMessage = 4000;

struct SLongMessages
{
    unsigned m_Missing;
    unsigned m_Whole;
    unsigned m_OnStack;
};

SLongMessages g_LongMessages;

bool IsOnThisStack(const void *address)
{
    const std::uintptr_t here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    const std::uintptr_t there = reinterpret_cast<std::uintptr_t>(address);
    return (here > there ? here - there : there - here) < 64 * 1024;
}

void ReportLong()
{
    Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%0*u", static_cast<int>(kLongMessage), g_LongMessages.m_Missing);
}

int LongMessageHandler(const char *, const char *, int, const char *, const char *, const char *message)
{
    const unsigned missing = g_LongMessages.m_Missing--;
    if (g_LongMessages.m_Missing != 0)
        std::thread(ReportLong).join();
    const std::string expected = std::string(kLongMessage - 1, '0') + std::to_string(missing);
    g_LongMessages.m_Whole += message == expected ? 1u : 0u;
    g_LongMessages.m_OnStack += IsOnThisStack(message) ? 1u : 0u;
    return 2;
}

size_t CountOf(const std::string &text, const std::string &part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

} // namespace

TEST(AssertionHandler, EvalAssertHandsAllTextsToTheHandler)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(Assert::EvalAssert("file", "function", 12, "expression", "expanded", "message"), 2);
    ASSERT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_File, "file");
    EXPECT_EQ(recorder.Last().m_Function, "function");
    EXPECT_EQ(recorder.Last().m_Line, 12);
    EXPECT_EQ(recorder.Last().m_Expression, "expression");
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, "expanded");
    EXPECT_EQ(recorder.Last().m_Message, "message");
}

TEST(AssertionHandler, EvalAssertReturnsTheAnswerWhateverItIs)
{
    CAssertRecorder recorder;
    for (const int answer : {0, 1, 2, 3, -1, 1000})
    {
        recorder.SetAnswer(answer);
        EXPECT_EQ(Report(), answer);
        EXPECT_EQ(Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%d", answer), answer);
    }
    EXPECT_EQ(recorder.Count(), 12u);
}

TEST(AssertionHandler, EvalAssertTakesItsMessageAsItIs)
{
    const CAssertRecorder recorder;
    Assert::EvalAssert("file", "function", 1, "e", "e", "100%s");
    EXPECT_EQ(recorder.Last().m_Message, "100%s");
}

TEST(AssertionHandler, EvalAssertFormatHandsOverTheFormattedMessage)
{
    const CAssertRecorder recorder;
    Assert::EvalAssertFormat("file", "function", 12, "expression", "expanded", "%s: %d of %llu, %c", "x", -1, 2ull,
                             'y');
    ASSERT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_File, "file");
    EXPECT_EQ(recorder.Last().m_Function, "function");
    EXPECT_EQ(recorder.Last().m_Line, 12);
    EXPECT_EQ(recorder.Last().m_Expression, "expression");
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, "expanded");
    EXPECT_EQ(recorder.Last().m_Message, "x: -1 of 2, y");
}

TEST(AssertionHandler, FormattedMessagesAreCutAt4095Characters)
{
    const CAssertRecorder recorder;
    const std::string fits(4095, 'a');
    const std::string tooLong(5000, 'b');
    Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%s", fits.c_str());
    EXPECT_EQ(recorder.Last().m_Message, fits);
    Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%s", tooLong.c_str());
    EXPECT_EQ(recorder.Last().m_Message, std::string(4095, 'b'));
}

TEST(AssertionHandler, FormattedMessagesOfEveryLengthReachTheHandlerWhole)
{
    const CAssertRecorder recorder;
    for (size_t length = 0; length <= 4095; ++length)
    {
        // Each around the longest that is formatted on the stack, and around the longest of all.
        if ((length < 500 || length > 520) && length < 4080 && length % 37 != 0)
            continue;
        const std::string text(length, 'a');
        Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%s", text.c_str());
        EXPECT_EQ(recorder.Last().m_Message, text);
    }
}

TEST(AssertionHandler, LongMessagesOfFourHandlersAtATimeTakeNoneOfTheirStacks)
{
    const CHandlerScope scope(&LongMessageHandler);
    for (const unsigned handlers : {1u, 4u, 5u, 4u})
    {
        g_LongMessages = {handlers, 0, 0};
        ReportLong();
        EXPECT_EQ(g_LongMessages.m_Whole, handlers);
        EXPECT_LE(g_LongMessages.m_OnStack, handlers == 5 ? 1u : 0u);
    }
}

TEST(AssertionHandler, NullTextsReachTheHandlerAsEmptyOnes)
{
    const CAssertRecorder recorder;
    bool ignored = false;
    EXPECT_EQ(Assert::EvalAssert(nullptr, nullptr, 7, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(Assert::EvalAssertFormat(nullptr, nullptr, 7, nullptr, nullptr, NullText(), 0), 2);
    EXPECT_FALSE(Assert::VerifyAssertFalse_Breaks(ignored, nullptr, nullptr, 7, nullptr, nullptr, nullptr));
    ASSERT_EQ(recorder.Count(), 3u);
    for (const SReport &report : recorder.Reports())
    {
        EXPECT_EQ(report.m_File, "");
        EXPECT_EQ(report.m_Function, "");
        EXPECT_EQ(report.m_Line, 7);
        EXPECT_EQ(report.m_Expression, "");
        EXPECT_EQ(report.m_ExpandedExpression, "");
        EXPECT_EQ(report.m_Message, "");
    }
}

TEST(AssertionHandler, ANullFormatIsAnEmptyMessageWhateverTheStackHolds)
{
    const CAssertRecorder recorder;
    // Leaves its message where the next one is made.
    Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%s", "the message before");
    Assert::EvalAssertFormat("f", "g", 1, "e", "e", NullText(), 0);
    ASSERT_EQ(recorder.Count(), 2u);
    EXPECT_EQ(recorder.Reports()[1].m_Message, "");
}

TEST(AssertionHandler, VerifyAssertFalseReportsAndBreaksForAnswer0Only)
{
    CAssertRecorder recorder;
    for (const int answer : {0, 2, 3, -1})
    {
        recorder.Clear();
        recorder.SetAnswer(answer);
        bool ignored = false;
        EXPECT_EQ(
            Assert::VerifyAssertFalse_Breaks(ignored, "file", "function", 12, "expression", "expanded", "message"),
            answer == 0);
        EXPECT_FALSE(ignored);
        ASSERT_EQ(recorder.Count(), 1u);
        EXPECT_EQ(recorder.Last().m_File, "file");
        EXPECT_EQ(recorder.Last().m_Function, "function");
        EXPECT_EQ(recorder.Last().m_Line, 12);
        EXPECT_EQ(recorder.Last().m_Expression, "expression");
        EXPECT_EQ(recorder.Last().m_ExpandedExpression, "expanded");
        EXPECT_EQ(recorder.Last().m_Message, "message");
    }
}

TEST(AssertionHandler, VerifyAssertFalseSetsTheFlagForAnswer1)
{
    const CAssertRecorder recorder(1);
    bool ignored = false;
    EXPECT_FALSE(Assert::VerifyAssertFalse_Breaks(ignored, "f", "g", 1, "e", "e", "m"));
    EXPECT_TRUE(ignored);
    EXPECT_EQ(recorder.Count(), 1u);
}

TEST(AssertionHandler, VerifyAssertFalseWithItsFlagSetReportsNothing)
{
    const CAssertRecorder recorder(0);
    bool ignored = true;
    EXPECT_FALSE(Assert::VerifyAssertFalse_Breaks(ignored, "f", "g", 1, "e", "e", "m"));
    EXPECT_TRUE(ignored);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(AssertionHandler, SetHandlerReturnsTheOneBefore)
{
    const CHandlerScope scope(&HandlerA);
    EXPECT_EQ(Assert::SetHandler(&HandlerB), &HandlerA);
    EXPECT_EQ(Assert::SetHandler(&HandlerA), &HandlerB);
}

TEST(AssertionHandler, OnlyTheInstalledHandlerIsCalled)
{
    const CHandlerScope scope(&HandlerA);
    g_CallsOfA = 0;
    g_CallsOfB = 0;
    EXPECT_EQ(Report(), 21);
    Assert::SetHandler(&HandlerB);
    EXPECT_EQ(Report(), 22);
    EXPECT_EQ(Report(), 22);
    EXPECT_EQ(g_CallsOfA, 1);
    EXPECT_EQ(g_CallsOfB, 2);
}

TEST(AssertionHandler, SetHandlerWithNullRestoresTheDefault)
{
    const CHandlerScope scope(nullptr);
    const Assert::FHandler standard = Assert::SetHandler(&HandlerA);
    EXPECT_NE(standard, nullptr);
    EXPECT_NE(standard, &HandlerA);
    EXPECT_EQ(Assert::SetHandler(nullptr), &HandlerA);
    EXPECT_EQ(Assert::SetHandler(&HandlerA), standard);
}

// A handler in front of another one passes on what it does not decide.
TEST(AssertionHandler, TheHandlerBeforeCanBeCalledAndPutBack)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            const Assert::FHandler standard = Assert::SetHandler(&HandlerA);
            const int direct = standard("direct.cpp", "f", 1, "e", "e", "called directly");
            Assert::SetHandler(standard);
            const int reported = Assert::EvalAssert("back.cpp", "f", 1, "e", "e", "called after it was put back");
            return direct == 2 && reported == 2 ? 0 : 1;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_EQ(CountOf(child.m_Stderr, "called directly"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "called after it was put back"), 1u) << child.m_Stderr;
}

TEST(AssertionHandler, AReportInsideTheHandlerIsAnswered2WithoutACall)
{
    const CHandlerScope scope(&NestingHandler);
    g_Nested = SNested();
    EXPECT_EQ(Report(), 0);
    EXPECT_EQ(g_Nested.m_Calls, 1);
    EXPECT_EQ(g_Nested.m_EvalAnswer, 2);
    EXPECT_EQ(g_Nested.m_EvalFormatAnswer, 2);
    EXPECT_FALSE(g_Nested.m_VerifyBreaks);
    EXPECT_FALSE(g_Nested.m_VerifyFlag);
    EXPECT_TRUE(g_Nested.m_VerifyMacro);
}

TEST(AssertionHandler, TheNextReportAfterANestedOneReachesTheHandlerAgain)
{
    const CHandlerScope scope(&NestingHandler);
    g_Nested = SNested();
    Report();
    Report();
    EXPECT_EQ(g_Nested.m_Calls, 2);
}

TEST(AssertionHandler, AHandlerMayUseTheLibrary)
{
    const CHandlerScope scope(&AllocatingHandler);
    g_HandlerGotMemory = false;
    EXPECT_EQ(Report(), 2);
    EXPECT_TRUE(g_HandlerGotMemory);
}

TEST(AssertionHandler, AHandlerMayInstallAnother)
{
    const CHandlerScope scope([](const char *, const char *, int, const char *, const char *, const char *)
                              { return Assert::SetHandler(&HandlerB) != nullptr ? 5 : 6; });
    EXPECT_EQ(Report(), 5);
    EXPECT_EQ(Report(), 22);
}

#if defined(__cpp_exceptions)

namespace
{

// What the contract forbids.
int ThrowingHandler(const char *, const char *, int, const char *, const char *, const char *)
{
    ++g_CallsOfA;
    throw std::runtime_error("thrown by a handler");
}

// Raises `report`, which the handler leaves by an exception, and then sees whether the next report arrives.
template <typename Callable>
void ExpectReportsAfterAThrow(const Callable &report)
{
    const CHandlerScope scope(&ThrowingHandler);
    for (int i = 0; i < 2; ++i)
    {
        g_CallsOfA = 0;
        EXPECT_THROW(report(), std::runtime_error);
        EXPECT_EQ(g_CallsOfA, 1);
    }
    const CAssertRecorder recorder;
    EXPECT_EQ(Report(), 2);
    EXPECT_EQ(recorder.Count(), 1u);
}

} // namespace

TEST(AssertionHandler, TheNextReportArrivesAfterAHandlerThatThrew)
{
    ExpectReportsAfterAThrow([] { Report(); });
    ExpectReportsAfterAThrow([] { Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%d", 1); });
    bool ignored = false;
    ExpectReportsAfterAThrow([&] { Assert::VerifyAssertFalse_Breaks(ignored, "f", "g", 1, "e", "e", "m"); });
}

TEST(AssertionHandler, LongMessagesTakeNoStackAfterHandlersThatThrew)
{
    g_LongMessages = {4, 0, 0};
    for (int i = 0; i < 4; ++i)
    {
        const CHandlerScope scope(&ThrowingHandler);
        EXPECT_THROW(ReportLong(), std::runtime_error);
    }
    const CHandlerScope scope(&LongMessageHandler);
    ReportLong();
    EXPECT_EQ(g_LongMessages.m_Whole, 4u);
    EXPECT_EQ(g_LongMessages.m_OnStack, 0u);
}

TEST(AssertionHandler, TheNextReportArrivesAfterAHandlerThatThrewAtASiteOfTheLibrary)
{
    if (!kSitesReport)
        GTEST_SKIP() << "a build without assertions";
    TArray<int> array;
    ExpectReportsAfterAThrow([&] { array.PopBack(); });
    ExpectReportsAfterAThrow([&] { array.Insert(1, 0); });
    EXPECT_TRUE(array.PushBack(1).Valid());
}

TEST(AssertionHandler, AHandlerThatThrowsEndsTheProgramWhereAFunctionThatIsNoexceptReported)
{
    if (!kSitesReport)
        GTEST_SKIP() << "a build without assertions";
    const auto readBeyond = []
    {
        Assert::SetHandler(&ThrowingHandler);
        const CString text("some text");
        try
        {
            return text[9] == '\0' ? 0 : 1;
        }
        catch (const std::runtime_error &)
        {
            return 2;
        }
    };
    EXPECT_EQ(RunInChild(readBeyond).m_Signal, SIGABRT);
}

TEST(AssertionHandler, AHandlerThatThrewIsStillAskedOnceOnlyFromWithin)
{
    ExpectReportsAfterAThrow([] { Report(); });
    const CHandlerScope scope(&NestingHandler);
    g_Nested = SNested();
    EXPECT_EQ(Report(), 0);
    EXPECT_EQ(g_Nested.m_Calls, 1);
    EXPECT_EQ(g_Nested.m_EvalAnswer, 2);
}

#endif

TEST(AssertionHandler, TheDefaultHandlerWritesOneReportToStderrAndAnswers2)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            return Report() == 2 ? 0 : 1;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    // The form is free; all that finds the place must be in it, once.
    EXPECT_EQ(CountOf(child.m_Stderr, "some_file.cpp"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "void Some::Function()"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "12"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "a < LIMIT"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "a is too large"), 1u) << child.m_Stderr;
}

TEST(AssertionHandler, TheDefaultHandlerSaysOnALineOfItsOwnWhatItHasToSay)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            Report();
            Assert::EvalAssert("file", "function", 1, "count < 64", "count < 64", "count < 64");
            return 0;
        });
    std::string said = child.m_Stderr;
    said.erase(std::remove(said.begin(), said.end(), '\r'), said.end());
    EXPECT_EQ(said, "some_file.cpp(12): assertion failed: a < LIMIT\n"
                    "    which is a < 3\n"
                    "    in void Some::Function()\n"
                    "    a is too large\n"
                    "file(1): assertion failed: count < 64\n"
                    "    in function\n");
}

TEST(AssertionHandler, TheDefaultHandlersReportIsOutBeforeItAnswers)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            static char s_Buffer[4096];
            std::setvbuf(stderr, s_Buffer, _IOFBF, sizeof(s_Buffer));
            Report();
            std::_Exit(0);
            return 0;
        });
    EXPECT_EQ(CountOf(child.m_Stderr, "a is too large"), 1u) << child.m_Stderr;
}

#if !defined(_WIN32)

// The lowest number that is free is what the system gives.
TEST(AssertionHandler, TheDefaultHandlerLeavesNoFileOpen)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            const int before = dup(STDERR_FILENO);
            close(before);
            Report();
            return dup(STDERR_FILENO) == before ? 0 : 1;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
}

#endif

#if QV_ASSERTS

TEST(AssertionHandler, TheDefaultHandlerSaysAConditionOnceWhereBothSpellingsAgree)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            const int lesser = 1;
            const int greater = 2;
            QV_ASSERT(lesser == greater);
            return 0;
        });
    EXPECT_EQ(CountOf(child.m_Stderr, "lesser == greater"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "\n"), 2u) << "the place and the condition, and the function: " << child.m_Stderr;
}

TEST(AssertionHandler, TheDefaultHandlerSaysBothSpellingsOfAConditionWhereTheyDiffer)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            Assert::EvalAssert("file", "function", 1, "count < LIMIT", "count < 64", "count < LIMIT");
            return 0;
        });
    EXPECT_EQ(CountOf(child.m_Stderr, "count < LIMIT"), 1u) << child.m_Stderr;
    EXPECT_EQ(CountOf(child.m_Stderr, "count < 64"), 1u) << child.m_Stderr;
}

#endif

TEST(AssertionHandler, TheDefaultHandlerDoesNotBreakWithoutADebugger)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            QV_ASSERT(1 > 2);
            return QV_VERIFY(1 > 2) ? 9 : 0;
        });
    EXPECT_EQ(child.m_Signal, 0);
    EXPECT_EQ(child.m_ExitCode, 9);
}

#if defined(__ELF__) && !defined(QV_INTERNAL_HAS_REALTIME_SANITIZER)

TEST(AssertionHandler, TheHandlerMayBlockUnderTheSanitizerForRealTime)
{
    static int s_PausesWithin = 0;
    const auto handler = [](const char *, const char *, int, const char *, const char *, const char *)
    {
        s_PausesWithin = t_RealtimePauses;
        return 2;
    };
    const Assert::FHandler before = Assert::SetHandler(handler);
    s_PausesWithin = 0;
    EXPECT_EQ(Report(), 2);
    Assert::SetHandler(before);
    EXPECT_EQ(s_PausesWithin, 1);
    EXPECT_EQ(t_RealtimePauses, 0);
}

#endif

#if QV_TEST_HAS_FORK

// Whether there is a debugger is read from a file.
TEST(AssertionHandler, TheDefaultHandlerAnswers2WhereNoFileCanBeOpened)
{
    const SChildResult child = RunInChild(
        []() -> int
        {
            Assert::SetHandler(nullptr);
            // At once: a leak checker at exit would want to open files, too.
            std::_Exit(LimitProcess(RLIMIT_NOFILE, 0) ? Report() : kNoLimit);
        });
    if (child.m_ExitCode == kNoLimit)
        GTEST_SKIP() << "this machine limits no files";
    EXPECT_EQ(child.m_ExitCode, 2);
}

#endif

TEST(AssertionHandler, TheDefaultHandlerAnswers0UnderADebugger)
{
    constexpr int kNotTraceable = 77;
    const SChildResult child = RunInChild(
        []() -> int
        {
            Assert::SetHandler(nullptr);
            if (!CountAsDebugged())
                std::_Exit(kNotTraceable);
            // At once: a leak checker at exit would want to trace the process itself.
            std::_Exit(Report());
        });
    if (child.m_ExitCode == kNotTraceable)
        GTEST_SKIP() << "this machine allows no tracing";
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_EQ(CountOf(child.m_Stderr, "a is too large"), 1u) << child.m_Stderr;
}

} // namespace QuorvaneTest
