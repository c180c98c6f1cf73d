#include "kr_assert.h"

#include <cstdlib>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"

// Assertions from a namespace that knows nothing of the library, with names that clash.
namespace AssertProbe
{

namespace Assert
{
}

namespace Internal
{
}

class CChecked
{
public:
    explicit CChecked(int limit) : m_Limit(limit) {}

    bool Check(int index, int step) const
    {
        QV_ASSERT(index < m_Limit);
        return index + step < m_Limit;
    }

    template <typename T>
    void CheckAs(T index) const
    {
        QV_ASSERT(index < static_cast<T>(m_Limit));
    }

    template <typename T>
    bool CheckAndLeave(T index) const
    {
        if (QV_INTERNAL_FAILS(index < static_cast<T>(m_Limit)))
            return false;
        return true;
    }

private:
    int m_Limit;
};

int ReportedBeforeMain()
{
    const QuorvaneTest::CAssertRecorder recorder;
    QV_ASSERT(1 > 2);
    return static_cast<int>(recorder.CountOf("1 > 2"));
}

const int g_ReportedBeforeMain = ReportedBeforeMain();

} // namespace AssertProbe

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

#define QV_TEST_LIMIT 5
#define QV_TEST_AT_MOST(limit) <= limit

// Counts how often an argument or a condition is evaluated.
struct SCounter
{
    int m_Count = 0;

    int Next() { return ++m_Count; }
    bool No() { return Next() < 0; }
    bool Yes() { return Next() > 0; }
};

void FailOnFirstLine(int value)
{
    QV_ASSERT(value == 1);
}

void FailOnSecondLine(int value)
{
    QV_ASSERT(value == 1);
}

} // namespace

TEST(Assertions, APassingConditionIsEvaluatedOnceAndReportsNothing)
{
    const CAssertRecorder recorder;
    SCounter counter;
    QV_ASSERT(counter.Yes());
    EXPECT_EQ(counter.m_Count, static_cast<int>(IfAsserting(1)));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Assertions, AFailingConditionIsEvaluatedOnceAndReportsOnce)
{
    const CAssertRecorder recorder;
    SCounter counter;
    QV_ASSERT(counter.No());
    EXPECT_EQ(counter.m_Count, static_cast<int>(IfAsserting(1)));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"counter.No()"}));
}

TEST(Assertions, AReportNamesFileAndLine)
{
    const CAssertRecorder recorder;
    const int value = 3;
    const int line = __LINE__ + 1;
    QV_ASSERT(value == 4);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_File, __FILE__);
    EXPECT_EQ(recorder.Last().m_Line, line);
}

TEST(Assertions, AReportCarriesTheFullSignatureOfItsFunction)
{
    const CAssertRecorder recorder;
    AssertProbe::CChecked(2).Check(2, 0);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    const std::string function = recorder.Last().m_Function;
    EXPECT_EQ(function, "bool AssertProbe::CChecked::Check(int, int) const");
}

TEST(Assertions, TheSignatureOfATemplateNamesItsArguments)
{
    const CAssertRecorder recorder;
    AssertProbe::CChecked(2).CheckAs<short>(2);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    const std::string function = recorder.Last().m_Function;
    EXPECT_NE(function.find("AssertProbe::CChecked::CheckAs("), std::string::npos) << function;
    EXPECT_NE(function.find("T = short"), std::string::npos) << function;
}

TEST(Assertions, AReportCarriesTheConditionAsWrittenAndAsExpanded)
{
    const CAssertRecorder recorder;
    const int value = 6;
    QV_ASSERT(value QV_TEST_AT_MOST(QV_TEST_LIMIT));
    QV_ASSERT_MESSAGE(value < QV_TEST_LIMIT, "%d", value);
    ASSERT_EQ(recorder.Count(), IfAsserting(2));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Reports()[0].m_Expression, "value QV_TEST_AT_MOST(QV_TEST_LIMIT)");
    EXPECT_EQ(recorder.Reports()[0].m_ExpandedExpression, "value <= 5");
    EXPECT_EQ(recorder.Reports()[1].m_Expression, "value < QV_TEST_LIMIT");
    EXPECT_EQ(recorder.Reports()[1].m_ExpandedExpression, "value < 5");
}

TEST(Assertions, TheMessageOfAPlainAssertionIsTheConditionOnceMore)
{
    const CAssertRecorder recorder;
    const int value = 3;
    QV_ASSERT(value == 4);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, "value == 4");
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, "value == 4");
    EXPECT_EQ(recorder.Last().m_Message, "value == 4");
}

TEST(Assertions, AConditionMayHoldCommas)
{
    const CAssertRecorder recorder;
    QV_ASSERT(std::is_same<int, long>::value);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"std::is_same<int, long>::value"}));
}

TEST(Assertions, AConditionWithAPercentSignIsNotTakenForAFormat)
{
    const CAssertRecorder recorder;
    const int n = 7;
    const int s = 7;
    QV_ASSERT(n % s != 0);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, recorder.Last().m_Expression);
    }
}

TEST(Assertions, ExecutionGoesOnWithTheStatementAfterTheCheck)
{
    const CAssertRecorder recorder;
    bool reached = false;
    QV_ASSERT(reached);
    reached = true;
    EXPECT_TRUE(reached);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

TEST(Assertions, AReportDoesNotChangeTheResultOfItsOperation)
{
    const CAssertRecorder recorder;
    EXPECT_TRUE(AssertProbe::CChecked(2).Check(3, -2));
    EXPECT_FALSE(AssertProbe::CChecked(2).Check(3, 0));
    EXPECT_EQ(recorder.Count(), IfAsserting(2));
}

TEST(Assertions, AnAssertionIsOneStatement)
{
    const CAssertRecorder recorder;
    bool elseTaken = false;
    if (recorder.Count() != 0)
        QV_ASSERT(false);
    else
        elseTaken = true;
    EXPECT_TRUE(elseTaken);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Assertions, AHandlerThatAnswers1SilencesOnlyItsOwnSite)
{
    // A site is silenced for the rest of the process.
    static bool s_Ran = false;
    if (std::exchange(s_Ran, true))
        GTEST_SKIP() << "repeated in one process";
    CAssertRecorder recorder(1);
    FailOnFirstLine(0);
    recorder.SetAnswer(2);
    FailOnFirstLine(0);
    FailOnFirstLine(2);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));

    // The same condition at another site still reports.
    FailOnSecondLine(0);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"value == 1", "value == 1"}));
}

TEST(Assertions, ASilencedSiteWithAMessageReportsNoMore)
{
    // A site is silenced for the rest of the process.
    static bool s_Ran = false;
    if (std::exchange(s_Ran, true))
        GTEST_SKIP() << "repeated in one process";
    CAssertRecorder recorder(1);
    for (int i = 0; i < 3; ++i)
        QV_ASSERT_MESSAGE(i < 0, "round %d", i);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, "round 0");
    }
}

TEST(Assertions, AnyAnswerBut0And1ContinuesAndReportsAgain)
{
    CAssertRecorder recorder;
    for (const int answer : {2, 3, 17, -1, 0x7FFFFFFF, -0x7FFFFFFF - 1, 256, 257})
    {
        recorder.Clear();
        recorder.SetAnswer(answer);
        for (int i = 0; i < 3; ++i)
            QV_ASSERT(i < 0);
        EXPECT_EQ(recorder.Count(), IfAsserting(3)) << "answer " << answer;
    }
}

TEST(Assertions, AMessageReachesTheHandlerFormatted)
{
    const CAssertRecorder recorder;
    const int count = 0;
    QV_ASSERT_MESSAGE(count != 0, "%s holds %d of %u (%c)", "pool", count, 8u, 'x');
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, "count != 0");
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, "count != 0");
    EXPECT_EQ(recorder.Last().m_Message, "pool holds 0 of 8 (x)");
}

TEST(Assertions, AMessageNeedsNoArguments)
{
    const CAssertRecorder recorder;
    QV_ASSERT_MESSAGE(1 > 2, "100%% wrong");
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, "100% wrong");
    }
}

TEST(Assertions, TheArgumentsOfAMessageAreEvaluatedForAReportOnly)
{
    const CAssertRecorder recorder;
    SCounter counter;
    QV_ASSERT_MESSAGE(1 < 2, "%d", counter.Next());
    EXPECT_EQ(counter.m_Count, 0);
    QV_ASSERT_MESSAGE(1 > 2, "%d", counter.Next());
    EXPECT_EQ(counter.m_Count, static_cast<int>(IfAsserting(1)));
}

TEST(Assertions, VerifyIsFalseWithoutAReportWhenItsConditionHolds)
{
    const CAssertRecorder recorder;
    SCounter counter;
    EXPECT_FALSE(QV_VERIFY(counter.Yes()));
    EXPECT_EQ(counter.m_Count, 1);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Assertions, VerifyReportsAndTakesTheFailurePathWhenItsConditionFails)
{
    const CAssertRecorder recorder;
    SCounter counter;
    const int line = __LINE__ + 1;
    EXPECT_TRUE(QV_VERIFY(counter.No()));
    EXPECT_EQ(counter.m_Count, 1);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    const SReport report = recorder.Last();
    EXPECT_EQ(report.m_File, __FILE__);
    EXPECT_EQ(report.m_Line, line);
    EXPECT_NE(report.m_Function.find("TestBody()"), std::string::npos) << report.m_Function;
    EXPECT_EQ(report.m_Expression, "counter.No()");
    EXPECT_EQ(report.m_ExpandedExpression, "counter.No()");
    EXPECT_EQ(report.m_Message, "counter.No()");
}

TEST(Assertions, VerifyCarriesTheConditionAsWrittenAndAsExpanded)
{
    const CAssertRecorder recorder;
    const int value = 6;
    const bool failed = QV_VERIFY(value < QV_TEST_LIMIT);
    EXPECT_TRUE(failed);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, "value < QV_TEST_LIMIT");
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, "value < 5");
}

TEST(Assertions, VerifyReportsAgainWhenContinued)
{
    const CAssertRecorder recorder;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(QV_VERIFY(i < 0));
    EXPECT_EQ(recorder.Count(), IfAsserting(3));
}

// In a child: the flag that the verify sites share cannot be taken back.
TEST(Assertions, Answer1AtOneVerifySiteSilencesAllVerifySitesButNoFailurePath)
{
    const SChildResult child = RunInChild(
        []
        {
            CAssertRecorder recorder(1);
            const int zero = static_cast<int>(recorder.Count());
            const bool first = QV_VERIFY(zero == 1);
            recorder.SetAnswer(2);
            const bool again = QV_VERIFY(zero == 2);
            const bool another = QV_VERIFY(zero == 3);
            const bool passing = QV_VERIFY(zero == 0);
            if (!first || !again || !another || passing)
                return 1;
            return recorder.Expressions() == IfAsserting({"zero == 1"}) ? 0 : 2;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
}

TEST(Assertions, ASilencedVerifySiteSilencesNoPlainSite)
{
    const SChildResult child = RunInChild(
        []
        {
            CAssertRecorder recorder(1);
            const int zero = static_cast<int>(recorder.Count());
            static_cast<void>(QV_VERIFY(zero == 1));
            recorder.Clear();
            QV_ASSERT(zero == 1);
            return recorder.Count() == IfAsserting(1) ? 0 : 1;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
}

TEST(Assertions, ASilencedPlainSiteSilencesNoVerifySite)
{
    // A site is silenced for the rest of the process.
    static bool s_Ran = false;
    if (std::exchange(s_Ran, true))
        GTEST_SKIP() << "repeated in one process";
    CAssertRecorder recorder(1);
    const int zero = static_cast<int>(recorder.Count());
    QV_ASSERT(zero == 1);
    recorder.Clear();
    recorder.SetAnswer(2);
    EXPECT_TRUE(QV_VERIFY(zero == 1));
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

// A check that leaves: false when its condition holds, else a report as that of QV_ASSERT, and true.

TEST(Assertions, ACheckThatLeavesIsFalseWithoutAReportWhenItsConditionHolds)
{
    const CAssertRecorder recorder;
    SCounter counter;
    EXPECT_FALSE(QV_INTERNAL_FAILS(counter.Yes()));
    EXPECT_FALSE(QV_INTERNAL_FAILS_TEXT("named", counter.Yes()));
    EXPECT_EQ(counter.m_Count, 2);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Assertions, ACheckThatLeavesReportsOnceAndIsTrueWhenItsConditionFails)
{
    const CAssertRecorder recorder;
    SCounter counter;
    const int line = __LINE__ + 1;
    EXPECT_TRUE(QV_INTERNAL_FAILS(counter.No()));
    EXPECT_EQ(counter.m_Count, 1);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    const SReport report = recorder.Last();
    EXPECT_EQ(report.m_File, __FILE__);
    EXPECT_EQ(report.m_Line, line);
    EXPECT_NE(report.m_Function.find("TestBody()"), std::string::npos) << report.m_Function;
    EXPECT_EQ(report.m_Expression, "counter.No()");
    EXPECT_EQ(report.m_ExpandedExpression, "counter.No()");
    EXPECT_EQ(report.m_Message, "counter.No()");
}

TEST(Assertions, ACheckThatLeavesCarriesTheTextItIsGiven)
{
    const CAssertRecorder recorder;
    const int value = 6;
    EXPECT_TRUE(QV_INTERNAL_FAILS_TEXT("value is small", value < QV_TEST_LIMIT));
    EXPECT_TRUE(QV_INTERNAL_FAILS(value < QV_TEST_LIMIT));
    ASSERT_EQ(recorder.Count(), IfAsserting(2));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Reports()[0].m_Expression, "value is small");
    EXPECT_EQ(recorder.Reports()[0].m_ExpandedExpression, "value is small");
    EXPECT_EQ(recorder.Reports()[1].m_Expression, "value < QV_TEST_LIMIT");
    EXPECT_EQ(recorder.Reports()[1].m_ExpandedExpression, "value < 5");
}

TEST(Assertions, ACheckThatLeavesCarriesTheFullSignatureOfItsFunction)
{
    const CAssertRecorder recorder;
    EXPECT_TRUE(AssertProbe::CChecked(2).CheckAndLeave<short>(1));
    EXPECT_FALSE(AssertProbe::CChecked(2).CheckAndLeave<short>(2));
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    const std::string function = recorder.Last().m_Function;
    EXPECT_NE(function.find("bool AssertProbe::CChecked::CheckAndLeave("), std::string::npos) << function;
    EXPECT_NE(function.find("T = short"), std::string::npos) << function;
    EXPECT_EQ(function.find("lambda"), std::string::npos) << function;
}

TEST(Assertions, ACheckThatLeavesIsSilencedAloneButStaysTrue)
{
    // A site is silenced for the rest of the process.
    static bool s_Ran = false;
    if (std::exchange(s_Ran, true))
        GTEST_SKIP() << "repeated in one process";
    CAssertRecorder recorder(1);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(QV_INTERNAL_FAILS(i < 0));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"i < 0"}));

    recorder.SetAnswer(2);
    const int zero = 0;
    EXPECT_TRUE(QV_INTERNAL_FAILS(zero < 0));
    EXPECT_TRUE(QV_VERIFY(zero < 0));
    QV_ASSERT(zero < 0);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"i < 0", "zero < 0", "zero < 0", "zero < 0"}));
}

TEST(Assertions, TheyReportBeforeMain)
{
    EXPECT_EQ(AssertProbe::g_ReportedBeforeMain, static_cast<int>(IfAsserting(1)));
}

TEST(Assertions, TheyReportAfterMain)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            std::atexit([] { QV_ASSERT_MESSAGE(1 > 2, "said at exit"); });
            return 0;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_EQ(child.m_Stderr.find("said at exit") != std::string::npos, kSitesReport) << child.m_Stderr;
}

} // namespace QuorvaneTest
