// Reporting of failed assertions: the handler, the default handler, and the failing ends of the macros.
#include "kr_assert.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "assert_port.h"

namespace Quorvane::Assert
{

namespace
{

constexpr unsigned kMaxMessageBytes = 4096;

// Messages are formatted on the stack when they are this short. Threads and fibers may have little of it, so longer ones
// lie in a buffer of the process for as long as the handler runs. No buffer is ever waited for: where all are taken, by
// handlers that run at the same time, a message goes to the stack whatever its length. Nothing is allocated, since the
// allocator asserts, too; and a buffer of each thread would take its memory in all threads, for what hardly any needs.
constexpr unsigned kShortMessageBytes = 512;
constexpr unsigned kLongMessages = 4;
char g_LongMessages[kLongMessages][kMaxMessageBytes];
unsigned g_LongMessageIsTaken[kLongMessages]; // not bytes: some machines exchange whole words only

int DefaultHandler(const char *file, const char *function, int line, const char *expression,
                   const char *expandedExpression, const char *message)
{
    // A plain site says its condition three times: as written, as expanded, and as the message.
    const bool isExpanded = std::strcmp(expandedExpression, expression) != 0;
    const bool hasMessage = std::strcmp(message, expression) != 0;
    // One call, so that the reports of several threads do not interleave.
    std::fprintf(stderr, "%s(%d): assertion failed: %s\n%s%s%s    in %s\n%s%s%s", file, line, expression,
                 isExpanded ? "    which is " : "", isExpanded ? expandedExpression : "", isExpanded ? "\n" : "",
                 function, hasMessage ? "    " : "", hasMessage ? message : "", hasMessage ? "\n" : "");
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

// What is reported besides the message.
struct SFailure
{
    const char *m_File;
    const char *m_Function;
    int m_Line;
    const char *m_Expression;
    const char *m_ExpandedExpression;
};

int Report(const SFailure &failure, const char *message)
{
    return EvalAssert(failure.m_File, failure.m_Function, failure.m_Line, failure.m_Expression,
                      failure.m_ExpandedExpression, message);
}

QV_INTERNAL_PRINTF(2, 0)
QV_INTERNAL_COLD
int ReportFromStack(const SFailure &failure, const char *format, std::va_list args)
{
    char message[kMaxMessageBytes];
    std::vsnprintf(message, sizeof(message), format, args);
    return Report(failure, message);
}

// Gives a buffer that was taken back, also when an exception leaves the handler.
class CTakenMessage
{
public:
    explicit CTakenMessage(unsigned &isTaken) : m_IsTaken(isTaken) {}
    ~CTakenMessage() { __atomic_store_n(&m_IsTaken, 0u, __ATOMIC_RELEASE); }
    CTakenMessage(const CTakenMessage &) = delete;
    CTakenMessage &operator=(const CTakenMessage &) = delete;

private:
    unsigned &m_IsTaken;
};

QV_INTERNAL_PRINTF(2, 0)
QV_INTERNAL_COLD
int ReportLong(const SFailure &failure, const char *format, std::va_list args)
{
    for (unsigned i = 0; i < kLongMessages; ++i)
    {
        // Acquire, and release at the end: whoever takes the buffer next writes to it after its last reader is done.
        if (__atomic_exchange_n(&g_LongMessageIsTaken[i], 1u, __ATOMIC_ACQUIRE) != 0)
            continue;
        const CTakenMessage taken(g_LongMessageIsTaken[i]);
        std::vsnprintf(g_LongMessages[i], kMaxMessageBytes, format, args);
        return Report(failure, g_LongMessages[i]);
    }
    return ReportFromStack(failure, format, args);
}

QV_INTERNAL_PRINTF(2, 0)
int EvalAssertFormatV(const SFailure &failure, const char *format, std::va_list args)
{
    // Nothing is formatted for a handler that would not be called.
    if (t_InsideHandler)
        return Internal::Answer_Continue;
    const Internal::CPortMayBlock mayBlock;
    char message[kShortMessageBytes];
    // A second formatting of a long message needs arguments of its own: the first one consumes these.
    std::va_list argsAgain;
    va_copy(argsAgain, args);
    const int length = format != nullptr ? std::vsnprintf(message, sizeof(message), format, args) : -1;
    if (length < 0)
        message[0] = '\0';
    const int answer =
        length >= static_cast<int>(sizeof(message)) ? ReportLong(failure, format, argsAgain) : Report(failure, message);
    va_end(argsAgain);
    return answer;
}

} // namespace

FHandler SetHandler(FHandler handler) noexcept
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
    const Internal::CPortMayBlock mayBlock;
    return handler(OrEmpty(file), OrEmpty(function), line, OrEmpty(expression), OrEmpty(expandedExpression),
                   OrEmpty(message));
}

QV_INTERNAL_COLD
int EvalAssertFormat(const char *file, const char *function, int line, const char *expression,
                     const char *expandedExpression, const char *format, ...)
{
    std::va_list args;
    va_start(args, format);
    const int answer = EvalAssertFormatV(SFailure{file, function, line, expression, expandedExpression}, format, args);
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
    const CPortMayBlock mayBlock;
    PortBreak();
}

// Unchecked: what the handler does is its own business.
QV_INTERNAL_UNCHECKED_BEGIN

QV_INTERNAL_REALTIME_UNWATCHED
QV_INTERNAL_COLD
void ReportSite(bool &ignoreFlag, const SSite &site, const char *function) QV_NONBLOCKING
{
    if (IsSet(ignoreFlag))
        return;
    ActOn(
        EvalAssert(site.m_File, function, site.m_Line, site.m_Expression, site.m_ExpandedExpression, site.m_Expression),
        ignoreFlag);
}

QV_INTERNAL_REALTIME_UNWATCHED
QV_INTERNAL_COLD
void ReportSiteFormat(bool &ignoreFlag, const SSite &site, const char *function, const char *format, ...) QV_NONBLOCKING
{
    if (IsSet(ignoreFlag))
        return;
    std::va_list args;
    va_start(args, format);
    const int answer = EvalAssertFormatV(
        SFailure{site.m_File, function, site.m_Line, site.m_Expression, site.m_ExpandedExpression}, format, args);
    va_end(args);
    ActOn(answer, ignoreFlag);
}

QV_INTERNAL_REALTIME_UNWATCHED
QV_INTERNAL_COLD
bool ReportVerify(const SSite &site, const char *function) QV_NONBLOCKING
{
    if (VerifyAssertFalse_Breaks(g_VerifyIgnored, site.m_File, function, site.m_Line, site.m_Expression,
                                 site.m_ExpandedExpression, site.m_Expression))
        Break();
    return true;
}

QV_INTERNAL_UNCHECKED_END

} // namespace Internal

} // namespace Quorvane::Assert
