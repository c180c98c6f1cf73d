// Every short path joined with every other one, in each way to do that: the text, and what is reported of backslashes.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "exhaustive.h"
#include "kr_assert.h"
#include "kr_string.h"
#include "string_model.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr size_t kLongest = 5;
static_assert(CountTexts(3, kLongest) * CountTexts(3, kLongest) == 132496, "the domain that is promised");

// Counts the reports of backslashes on either side, and any others.
struct SReports
{
    unsigned m_Left;
    unsigned m_Right;
    unsigned m_Others;
};

SReports g_Reports;

int CountReport(const char *, const char *, int, const char *expression, const char *, const char *)
{
    if (std::strcmp(expression, "aLen == 0 || !_ContainsBackSlash(a, length)") == 0)
        ++g_Reports.m_Left;
    else if (std::strcmp(expression, "bLen == 0 || !_ContainsBackSlash(b, length)") == 0)
        ++g_Reports.m_Right;
    else
        ++g_Reports.m_Others;
    return 2;
}

// While one lives, reports are counted.
class CReportCounter
{
public:
    CReportCounter() : m_Before(Assert::SetHandler(&CountReport)) {}
    ~CReportCounter() { Assert::SetHandler(m_Before); }
    CReportCounter(const CReportCounter &) = delete;
    CReportCounter &operator=(const CReportCounter &) = delete;

private:
    Assert::FHandler m_Before;
};

bool HasBackslash(const SEveryText &text)
{
    return text.m_Text.find('\\') != std::string::npos;
}

// Whether a join gives the path, and reports each side once that has a backslash.
template <typename Join>
bool Joins(const SEveryText &left, const SEveryText &right, const std::string &path, const Join &join)
{
    g_Reports = {};
    const CString joined = join();
    const bool isPath =
        joined.Length() == path.size() && std::memcmp(joined.CStr(), path.c_str(), path.size() + 1) == 0;
    const unsigned each = QV_ASSERTS ? 1 : 0;
    return isPath && g_Reports.m_Left == (HasBackslash(left) ? each : 0) &&
           g_Reports.m_Right == (HasBackslash(right) ? each : 0) && g_Reports.m_Others == 0;
}

Wrong WrongJoins(const SEveryText &left, const SEveryText &right)
{
    const std::string path = ModelJoinPath(left.m_Text, right.m_Text);
    const char *const leftText = left.m_Text.c_str();
    const char *const rightText = right.m_Text.c_str();
    const auto joins = [&](const auto &join) { return Joins(left, right, path, join); };
    const auto edited = [&](CString string, const auto &edit)
    {
        edit(string);
        return string;
    };
    // Shared characters; such as can grow in place, with room and without.
    QV_TEST_SAME(joins([&] { return edited(left.m_String, [&](CString &s) { s /= right.m_String; }); }), true);
    QV_TEST_SAME(joins([&] { return edited(Resizable(left.m_Text, 64), [&](CString &s) { s /= right.View(); }); }),
                 true);
    QV_TEST_SAME(joins([&] { return edited(Resizable(left.m_Text), [&](CString &s) { s /= rightText; }); }), true);
    QV_TEST_SAME(
        joins([&] { return edited(left.m_String, [&](CString &s) { s.AppendSlashAnd(rightText, right.Length()); }); }),
        true);
    // By operators.
    QV_TEST_SAME(joins([&] { return left.m_String / right.m_String; }), true);
    QV_TEST_SAME(joins([&] { return left.m_String / rightText; }), true);
    QV_TEST_SAME(joins([&] { return left.View() / right.m_String; }), true);
    QV_TEST_SAME(joins([&] { return leftText / right.m_String; }), true);
    QV_TEST_SAME(joins([&] { return Resizable(left.m_Text, 64) / right.View(); }), true);
    QV_TEST_SAME(joins([&] { return JoinPath(left.View(), right.View()); }), true);
    return nullptr;
}

TEST(PathExhaustive, EveryPairOfPathsIsJoinedByOneSlashAndBackslashesAreReportedOnce)
{
    const CReportCounter counter;
    const CDomain domain("a/\\", Longest(kLongest));
    ForEveryPair(domain, domain, WrongJoins);
}

} // namespace
