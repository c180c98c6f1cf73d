// Assertions: checks of contracts that report and then go on.
//
// A failed check hands its place and its text to one handler. The handler's answer decides what follows: break into
// the debugger, silence this site for the rest of the run, or just continue. Execution always continues with the
// statement after the check, so nothing may depend on an assertion but the report itself.
//
//     QV_ASSERT(index < count);                                   // report when false
//     QV_ASSERT_MESSAGE(count != 0, "%s is empty", name);         // the same, with a message of its own
//     if (QV_VERIFY(block != null))                               // report when false, and take the failure path
//         return false;
//
// A passing check costs one predictable branch; everything that reports is out of line and cold.
// All of it may be used from any thread, and before and after main.
//
// QV_ASSERTS, a macro that may be defined as 0 for a whole build, compiles QV_ASSERT and QV_ASSERT_MESSAGE away.
// QV_VERIFY then still takes its failure path, silently. No type or layout depends on it.
#pragma once

#include "qv_internal/qv_namespace.h"

#if !defined(QV_ASSERTS)
// Whether assertions are compiled in: see above.
#define QV_ASSERTS 1
#endif

namespace Quorvane
{

namespace Assert
{

// A handler of reports. Its answer:
//     0  break into the debugger; execution goes on when it is resumed
//     1  silence this site for the rest of the run (for verify sites: all verify sites), and continue
//     2  continue, as does any other code; the site reports again next time
// All texts are non-null, NUL-terminated and valid during the call only:
//     function            the full signature of the function that holds the check
//     expression          the condition as written in the source
//     expandedExpression  the condition with its macros expanded
//     message             the formatted message of the site, or the expression once more
// A handler may use the whole library: a report raised by this thread while it is inside the handler is answered
// 2 without calling the handler again.
// A handler may not throw, nor leave in another way than by returning. An exception that leaves it all the same ends the
// program where a function that is noexcept reported; else what the functions on its way held is lost, but the library
// stays usable and the thread's next report arrives.
typedef int (*FHandler)(const char *file, const char *function, int line, const char *expression,
                        const char *expandedExpression, const char *message);

// Installs `handler`; null installs the default handler, which writes one report to stderr and answers
// 0 when a debugger is attached, else 2.
// Returns the handler that was installed before, the default one included, so that handlers can be chained and put back;
// never null. Atomic.
QV_API FHandler SetHandler(FHandler handler) noexcept;

// Reports a failed check to the handler. Null texts are taken as empty.
// Returns the handler's answer.
QV_API int EvalAssert(const char *file, const char *function, int line, const char *expression,
                      const char *expandedExpression, const char *message);

// The same with a printf-like message. Messages are cut at 4095 characters. Allocates nothing.
// Stack: 1.5 KiB, the platform's own formatting not counted; 5.5 KiB for a message of more than 511 characters while four
// other handlers are at work on such messages.
QV_API int EvalAssertFormat(const char *file, const char *function, int line, const char *expression,
                            const char *expandedExpression, const char *format, ...) QV_INTERNAL_PRINTF(6, 7);

// Reports a failed verification unless `ignoreFlag` is set; sets it when the answer is 1.
// Returns true when the caller must break into the debugger.
QV_API bool VerifyAssertFalse_Breaks(bool &ignoreFlag, const char *file, const char *function, int line,
                                     const char *expression, const char *expandedExpression, const char *message);

namespace Internal
{

// The handler's answers by name; every other code acts as `Answer_Continue`.
enum EAnswer : int
{
    Answer_Break = 0,
    Answer_Silence = 1,
    Answer_Continue = 2,
};

// The constant part of an assertion site.
struct SSite
{
    const char *m_File;
    const char *m_Expression;
    const char *m_ExpandedExpression;
    int m_Line;
};

// The failing ends of the macros below: each reports unless the site is silenced, and acts on the answer. What the
// handler does is its own business, so that a function with assertions may be nonblocking.
QV_INTERNAL_API void ReportSite(bool &ignoreFlag, const SSite &site, const char *function) QV_NONBLOCKING;
QV_INTERNAL_API void ReportSiteFormat(bool &ignoreFlag, const SSite &site, const char *function, const char *format,
                                      ...) QV_NONBLOCKING QV_INTERNAL_PRINTF(4, 5);
// Always returns true: the value of a QV_VERIFY that failed.
QV_INTERNAL_API bool ReportVerify(const SSite &site, const char *function) QV_NONBLOCKING;

// Raises the debugger's trap and returns when resumed.
void Break();

} // namespace Internal

} // namespace Assert

} // namespace Quorvane

// The text of the arguments after macro expansion; `#__VA_ARGS__` in the macro that uses it gives them as written.
#define QV_INTERNAL_EXPANDED_TEXT(...) #__VA_ARGS__

// The constant part of one site and its flag, in a hidden class of its own, since most sites stand in inline functions.
// Unchecked: the compiler takes any static variable for one with a guard; these are constants when the program begins.
#define QV_INTERNAL_SITE_CLASS(text, expandedText)                                                                     \
    struct QV_INTERNAL_HIDDEN qv_SSite                                                                                 \
    {                                                                                                                  \
        QV_INTERNAL_UNCHECKED_BEGIN                                                                                    \
        static bool &Ignored() noexcept QV_NONBLOCKING                                                                 \
        {                                                                                                              \
            static bool ignored = false;                                                                               \
            return ignored;                                                                                            \
        }                                                                                                              \
        static const QV_NAMESPACE::Assert::Internal::SSite &Site() noexcept QV_NONBLOCKING                             \
        {                                                                                                              \
            static constexpr QV_NAMESPACE::Assert::Internal::SSite site = {__FILE__, text, expandedText, __LINE__};    \
            return site;                                                                                               \
        }                                                                                                              \
        QV_INTERNAL_UNCHECKED_END                                                                                      \
    }

// One assertion site. Without assertions the condition and the report are still compiled, so that such a build has no
// unused variables, but never run.
#define QV_INTERNAL_ASSERT_SITE(text, expandedText, report, ...)                                                       \
    do                                                                                                                 \
    {                                                                                                                  \
        if (QV_ASSERTS)                                                                                                \
        {                                                                                                              \
            if (QV_INTERNAL_UNLIKELY(!(__VA_ARGS__)))                                                                  \
            {                                                                                                          \
                QV_INTERNAL_SITE_CLASS(text, expandedText);                                                            \
                report;                                                                                                \
            }                                                                                                          \
        }                                                                                                              \
    } while (false)

#define QV_INTERNAL_REPORT_PLAIN                                                                                       \
    QV_NAMESPACE::Assert::Internal::ReportSite(qv_SSite::Ignored(), qv_SSite::Site(), __PRETTY_FUNCTION__)
#define QV_INTERNAL_REPORT_FORMAT(...)                                                                                 \
    QV_NAMESPACE::Assert::Internal::ReportSiteFormat(qv_SSite::Ignored(), qv_SSite::Site(), __PRETTY_FUNCTION__,       \
                                                     __VA_ARGS__)

// QV_ASSERT(condition): reports the condition's text when it is false.
#define QV_ASSERT(...)                                                                                                 \
    QV_INTERNAL_ASSERT_SITE(#__VA_ARGS__, QV_INTERNAL_EXPANDED_TEXT(__VA_ARGS__), QV_INTERNAL_REPORT_PLAIN, __VA_ARGS__)

// QV_ASSERT_MESSAGE(condition, format, arguments...): the same with a printf-like message.
#define QV_ASSERT_MESSAGE(condition, ...)                                                                              \
    QV_INTERNAL_ASSERT_SITE(#condition, QV_INTERNAL_EXPANDED_TEXT(condition), QV_INTERNAL_REPORT_FORMAT(__VA_ARGS__),  \
                            condition)

// Private to the library: a check whose text is not literally its condition (a cheaper condition that answers the
// same question, or a name that only the report uses).
#define QV_INTERNAL_ASSERT_TEXT(text, ...) QV_INTERNAL_ASSERT_SITE(text, text, QV_INTERNAL_REPORT_PLAIN, __VA_ARGS__)

// Private to the library: a check whose failure also ends what was asked for. An expression, true when the condition is
// false, with assertions or without; with them it reports as QV_INTERNAL_ASSERT_TEXT does, with a flag of the site's own.
//
//     if (QV_INTERNAL_FAILS_TEXT("index < Count()", index < m_Count))
//         return;
#if QV_ASSERTS
#define QV_INTERNAL_FAILS_SITE(text, expandedText, ...)                                                                \
    (QV_INTERNAL_UNLIKELY(!(__VA_ARGS__)) ? [](const char *function)                                                   \
     {                                                                                                                 \
         QV_INTERNAL_SITE_CLASS(text, expandedText);                                                                   \
         QV_NAMESPACE::Assert::Internal::ReportSite(qv_SSite::Ignored(), qv_SSite::Site(), function);                  \
         return true;                                                                                                  \
     }(__PRETTY_FUNCTION__) : false)
#else
#define QV_INTERNAL_FAILS_SITE(text, expandedText, ...) (QV_INTERNAL_UNLIKELY(!(__VA_ARGS__)))
#endif
#define QV_INTERNAL_FAILS_TEXT(text, ...) QV_INTERNAL_FAILS_SITE(text, text, __VA_ARGS__)
#define QV_INTERNAL_FAILS(...) QV_INTERNAL_FAILS_SITE(#__VA_ARGS__, QV_INTERNAL_EXPANDED_TEXT(__VA_ARGS__), __VA_ARGS__)

// QV_VERIFY(condition): an expression, true when the condition failed and the caller must take its failure path.
// All verify sites share one ignore flag.
#if QV_ASSERTS
#define QV_VERIFY(...)                                                                                                 \
    (QV_INTERNAL_UNLIKELY(!(__VA_ARGS__))                                                                              \
         ? QV_NAMESPACE::Assert::Internal::ReportVerify(                                                               \
               QV_NAMESPACE::Assert::Internal::SSite{__FILE__, #__VA_ARGS__, QV_INTERNAL_EXPANDED_TEXT(__VA_ARGS__),   \
                                                     __LINE__},                                                        \
               __PRETTY_FUNCTION__)                                                                                    \
         : false)
#else
#define QV_VERIFY(...) (QV_INTERNAL_UNLIKELY(!(__VA_ARGS__)))
#endif
