// What drivers check with in place of a test framework: they run under instruments that bear no foreign library.
#pragma once

#include <cstdio>
#include <cstring>
#include <utility>

#include "kr_assert.h"
#include "qv_defs.h"
#include "random_numbers.h"

// Counts what does not hold, and prints the first of it.
#define QV_TEST_CHECK(...) QuorvaneTest::Check((__VA_ARGS__), __FILE__, __LINE__, #__VA_ARGS__)

namespace QuorvaneTest
{

constexpr int kPrintedFaults = 10;

inline int g_Faults = 0;
inline int g_Reports = 0;
inline char g_LastMessage[256] = {};

// Reports that one breach at a plain site makes.
constexpr int kFromSites = QV_ASSERTS ? 1 : 0;

inline void Check(bool holds, const char *file, int line, const char *text)
{
    if (holds || ++g_Faults > kPrintedFaults)
        return;
    std::fprintf(stderr, "%s(%d): does not hold: %s\n", file, line, text);
    if (g_Reports != 0)
        std::fprintf(stderr, "    the last report: %s\n", g_LastMessage);
}

// A handler of assertions that counts. Reads every text to its end, which an instrument notices where it was never
// written. Answers 2, or 3 when it is told neither a text nor a line; both continue.
inline int RecordReport(const char *file, const char *function, int line, const char *expression,
                        const char *expandedExpression, const char *message)
{
    ++g_Reports;
    const std::size_t length = std::strlen(file) + std::strlen(function) + std::strlen(expression) +
                               std::strlen(expandedExpression) + std::strlen(message);
    std::snprintf(g_LastMessage, sizeof(g_LastMessage), "%s", message);
    return length != 0 && line > 0 ? 2 : 3;
}

// The reports since the last call.
inline int TakeReports()
{
    return std::exchange(g_Reports, 0);
}

// What a driver's main() answers.
inline int ExitCode()
{
    if (g_Faults != 0)
        std::fprintf(stderr, "%d checks do not hold\n", g_Faults);
    return g_Faults == 0 ? 0 : 1;
}

// The same numbers in every run and on every machine.
class CRandom
{
public:
    explicit CRandom(Quorvane::u64 seed) : m_State(seed) {}

    // Below `bound`.
    Quorvane::u32 Next(Quorvane::u32 bound)
    {
        m_State = NextRandomState(m_State);
        return static_cast<Quorvane::u32>(m_State >> 33) % bound;
    }

private:
    Quorvane::u64 m_State;
};

} // namespace QuorvaneTest
