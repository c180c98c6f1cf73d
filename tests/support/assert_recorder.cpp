#include "assert_recorder.h"

#include <algorithm>

namespace QuorvaneTest
{

namespace
{

CAssertRecorder *g_Current = nullptr;

} // namespace

CAssertRecorder::CAssertRecorder(int answer) : m_Answer(answer)
{
    g_Current = this;
    m_Before = Quorvane::Assert::SetHandler(&CAssertRecorder::_Handle);
}

CAssertRecorder::~CAssertRecorder()
{
    Quorvane::Assert::SetHandler(m_Before);
    g_Current = nullptr;
}

size_t CAssertRecorder::Count() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Reports.size();
}

size_t CAssertRecorder::CountOf(const std::string &expression) const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return static_cast<size_t>(std::count_if(m_Reports.begin(), m_Reports.end(),
                                             [&](const SReport &report) { return report.m_Expression == expression; }));
}

std::vector<std::string> CAssertRecorder::Expressions() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    std::vector<std::string> expressions;
    for (const SReport &report : m_Reports)
        expressions.push_back(report.m_Expression);
    return expressions;
}

std::vector<SReport> CAssertRecorder::Reports() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Reports;
}

SReport CAssertRecorder::Last() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Reports.empty() ? SReport() : m_Reports.back();
}

void CAssertRecorder::Clear()
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    m_Reports.clear();
}

void CAssertRecorder::SetAnswer(int answer)
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    m_Answer = answer;
}

int CAssertRecorder::_Handle(const char *file, const char *function, int line, const char *expression,
                             const char *expandedExpression, const char *message)
{
    CAssertRecorder &self = *g_Current;
    const std::lock_guard<std::mutex> guard(self.m_Lock);
    self.m_Reports.push_back(SReport{file, function, line, expression, expandedExpression, message});
    return self.m_Answer;
}

} // namespace QuorvaneTest
