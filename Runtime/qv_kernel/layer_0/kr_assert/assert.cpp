// Reporting of failed assertions: the handler, the default handler, and the failing ends of the macros.
#include "kr_assert.h"

#include <cstdarg>
#include <cstdio>

#include "assert_port.h"

namespace Quorvane::Assert
{

namespace
{

constexpr unsigned kMaxMessageBytes = 4096;

int DefaultHandler(const char *file, const char *function, int line, const char *expression,
                   const char *expandedExpression, const char *message)
{
    static_cast<void>(expandedExpression);
    // One call, so that the reports of several threads do not interleave.
    std::fprintf(stderr, "%s(%d): assertion failed: %s\n    in %s\n    %s\n", file, line, expression, function,
                 message);
    std::fflush(stderr);
    return Internal::PortDebuggerAttached() ? Internal::Answer_Break : Internal::Answer_Continue;
}

// Null while the default handler is installed. Exchanged and read as a whole with sequential consistency.
QV_INTERNAL_CONSTINIT FHandler g_Handler = nullptr;

// True while this thread is inside the handler.
thread_local bool t_InsideHandler = false;

// Marks the thread for the time of a call of the handler. This file is compiled with exceptions, so that the mark also
// goes when one leaves the handler: else the thread would never report again.
class CInsideHandler
{
public:
    CInsideHandler() { t_InsideHandler = true; }
    ~CInsideHandler() { t_InsideHandler = false; }
    CInsideHandler(const CInsideHandler &) = delete;
    CInsideHandler &operator=(const CInsideHandler &) = delete;
};

// True once a handler has silenced the verify sites, which share this one flag.
QV_INTERNAL_CONSTINIT bool g_VerifyIgnored = false;

const char *OrEmpty(const char *text)
{
    return text != nullptr ? text : "";
}

// Flags are plain bools that any thread may set: relaxed, since nothing else is ordered by them.
bool IsSet(const bool &flag)
{
    return __atomic_load_n(&flag, __ATOMIC_RELAXED);
}

void Set(bool &flag)
{
    __atomic_store_n(&flag, true, __ATOMIC_RELAXED);
}

// What follows an answer at a plain site.
void ActOn(int answer, bool &ignoreFlag)
{
    if (answer == Internal::Answer_Silence)
        Set(ignoreFlag);
    else if (answer == Internal::Answer_Break)
        Internal::Break();
}

QV_INTERNAL_PRINTF(6, 0)
int EvalAssertFormatV(const char *file, const char *function, int line, const char *expression,
                      const char *expandedExpression, const char *format, std::va_list args)
{
    char message[kMaxMessageBytes];
    if (format == nullptr || std::vsnprintf(message, sizeof(message), format, args) < 0)
        message[0] = '\0';
    return EvalAssert(file, function, line, expression, expandedExpression, message);
}

} // namespace

FHandler SetHandler(FHandler handler)
{
    const FHandler before = __atomic_exchange_n(&g_Handler, handler, __ATOMIC_SEQ_CST);
    return before != nullptr ? before : &DefaultHandler;
}

QV_INTERNAL_COLD
int EvalAssert(const char *file, const char *function, int line, const char *expression, const char *expandedExpression,
               const char *message)
{
    if (t_InsideHandler)
        return Internal::Answer_Continue;
    const FHandler installed = __atomic_load_n(&g_Handler, __ATOMIC_SEQ_CST);
    const FHandler handler = installed != nullptr ? installed : &DefaultHandler;
    const CInsideHandler inside;
    return handler(OrEmpty(file), OrEmpty(function), line, OrEmpty(expression), OrEmpty(expandedExpression),
                   OrEmpty(message));
}

QV_INTERNAL_COLD
int EvalAssertFormat(const char *file, const char *function, int line, const char *expression,
                     const char *expandedExpression, const char *format, ...)
{
    std::va_list args;
    va_start(args, format);
    const int answer = EvalAssertFormatV(file, function, line, expression, expandedExpression, format, args);
    va_end(args);
    return answer;
}

QV_INTERNAL_COLD
bool VerifyAssertFalse_Breaks(bool &ignoreFlag, const char *file, const char *function, int line,
                              const char *expression, const char *expandedExpression, const char *message)
{
    if (IsSet(ignoreFlag))
        return false;
    const int answer = EvalAssert(file, function, line, expression, expandedExpression, message);
    if (answer == Internal::Answer_Silence)
        Set(ignoreFlag);
    return answer == Internal::Answer_Break;
}

namespace Internal
{

QV_INTERNAL_COLD
void Break()
{
    PortBreak();
}

QV_INTERNAL_COLD
void ReportSite(bool &ignoreFlag, const SSite &site, const char *function)
{
    if (IsSet(ignoreFlag))
        return;
    ActOn(
        EvalAssert(site.m_File, function, site.m_Line, site.m_Expression, site.m_ExpandedExpression, site.m_Expression),
        ignoreFlag);
}

QV_INTERNAL_COLD
void ReportSiteFormat(bool &ignoreFlag, const SSite &site, const char *function, const char *format, ...)
{
    if (IsSet(ignoreFlag))
        return;
    std::va_list args;
    va_start(args, format);
    const int answer = EvalAssertFormatV(site.m_File, function, site.m_Line, site.m_Expression,
                                         site.m_ExpandedExpression, format, args);
    va_end(args);
    ActOn(answer, ignoreFlag);
}

QV_INTERNAL_COLD
bool ReportVerify(const SSite &site, const char *function)
{
    if (VerifyAssertFalse_Breaks(g_VerifyIgnored, site.m_File, function, site.m_Line, site.m_Expression,
                                 site.m_ExpandedExpression, site.m_Expression))
        Break();
    return true;
}

} // namespace Internal

} // namespace Quorvane::Assert
