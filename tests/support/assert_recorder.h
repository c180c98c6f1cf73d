// Records the reports of assertions instead of printing them.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "kr_assert.h"

namespace QuorvaneTest
{

// Plain assertions report nothing in a build that compiles them away, and tests hold there too: whatever plain sites
// and verify sites are expected to report is written as IfAsserting(...), which is then none at all. Direct calls of
// the Assert functions always report.
constexpr bool kSitesReport = QV_ASSERTS != 0;

constexpr size_t IfAsserting(size_t count)
{
    return kSitesReport ? count : 0;
}

inline std::vector<std::string> IfAsserting(const std::vector<std::string> &expressions)
{
    return kSitesReport ? expressions : std::vector<std::string>();
}

struct SReport
{
    std::string m_File;
    std::string m_Function;
    int m_Line;
    std::string m_Expression;
    std::string m_ExpandedExpression;
    std::string m_Message;
};

// While one lives, every report goes to it and is answered with `answer` (2: continue). A test that expects none ends
// with `EXPECT_EQ(recorder.Count(), 0u)`. One at a time.
class CAssertRecorder
{
public:
    explicit CAssertRecorder(int answer = 2);
    ~CAssertRecorder();
    CAssertRecorder(const CAssertRecorder &) = delete;
    CAssertRecorder &operator=(const CAssertRecorder &) = delete;

    size_t Count() const;
    // How many reports carry this expression text.
    size_t CountOf(const std::string &expression) const;
    // The expression texts in order.
    std::vector<std::string> Expressions() const;
    std::vector<SReport> Reports() const;
    SReport Last() const;
    void Clear();
    void SetAnswer(int answer);

private:
    static int _Handle(const char *file, const char *function, int line, const char *expression,
                       const char *expandedExpression, const char *message);

    mutable std::mutex m_Lock;
    std::vector<SReport> m_Reports;
    int m_Answer;
    Quorvane::Assert::FHandler m_Before;
};

} // namespace QuorvaneTest
