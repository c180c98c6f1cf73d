// printf-like formatting: lengths, the locale rule, memory.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdarg>
#include <locale.h>
#include <string>

#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Not marked as printf-like, so that a test may pass what a compiler would warn of.
CString VAFormat(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    CString result = CString::VAFormat(format, args);
    va_end(args);
    return result;
}

// Formatting this fails: a wide character that no encoding has; on Windows, whose library passes over such, a width of
// which nobody has the stack.
#if defined(_WIN32)
const char *volatile g_Failing = "before %99999999999d after";
const int kUnencodable = 1;
#else
const char *volatile g_Failing = "before %ls after";
const wchar_t kUnencodable[] = {static_cast<wchar_t>(0x7FFFFFF0), 0};
#endif

// A locale whose numbers have a decimal comma, where one is installed.
// Locales of threads are objects elsewhere.
#if defined(_WIN32)

const char *CommaLocale()
{
    for (const char *name : {"German_Germany.1252", "de-DE"})
    {
        const bool isThere = std::setlocale(LC_ALL, name) != nullptr;
        std::setlocale(LC_ALL, "C");
        if (isThere)
            return name;
    }
    return nullptr;
}

class CLocaleGuard
{
public:
    CLocaleGuard() = default;
    ~CLocaleGuard()
    {
        _configthreadlocale(_DISABLE_PER_THREAD_LOCALE);
        std::setlocale(LC_ALL, "C");
    }
    CLocaleGuard(const CLocaleGuard &) = delete;
    CLocaleGuard &operator=(const CLocaleGuard &) = delete;
};

#else

const char *const kCommaLocales[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8"};

const char *CommaLocale()
{
    for (const char *name : kCommaLocales)
    {
        const locale_t locale = newlocale(LC_ALL_MASK, name, static_cast<locale_t>(nullptr));
        if (locale == static_cast<locale_t>(nullptr))
            continue;
        freelocale(locale);
        return name;
    }
    return nullptr;
}

// Puts the process back into the "C" locale and the thread into the process' one, whatever a test did.
class CLocaleGuard
{
public:
    CLocaleGuard() = default;
    ~CLocaleGuard()
    {
        uselocale(LC_GLOBAL_LOCALE);
        std::setlocale(LC_ALL, "C");
    }
    CLocaleGuard(const CLocaleGuard &) = delete;
    CLocaleGuard &operator=(const CLocaleGuard &) = delete;
};

// A locale object of a name; null where it is not installed.
class CLocale
{
public:
    explicit CLocale(const char *name) : m_Locale(newlocale(LC_ALL_MASK, name, static_cast<locale_t>(nullptr))) {}
    ~CLocale()
    {
        if (m_Locale != static_cast<locale_t>(nullptr))
            freelocale(m_Locale);
    }
    CLocale(const CLocale &) = delete;
    CLocale &operator=(const CLocale &) = delete;

    locale_t Get() const { return m_Locale; }

private:
    locale_t m_Locale;
};

#endif

// Format.

TEST(StringFormat, FormatGivesTheFormattedText)
{
    CAssertRecorder recorder;
    ExpectText(CString::Format("%s has %d of %u, %c, %5.2f%%", "box", -3, 7u, 'x', 2.5), "box has -3 of 7, x,  2.50%");
    ExpectText(CString::Format("plain"), "plain");
    ExpectReports(recorder, {});
}

TEST(StringFormat, FormatGivesAFixedContainerAndAllocatesOnlyThat)
{
    CTestAllocator allocator;
    const CString string = CString::Format("%d", 12345);
    const auto requests = allocator.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].m_Size, 48u);
    EXPECT_EQ(requests[0].m_Origin, Mem::Origin_New);
    EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
}

TEST(StringFormat, FormatOfEmptyOutputHasNoContainer)
{
    CTestAllocator allocator;
    EXPECT_EQ(CString::Format("%s", "").Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringFormat, FormatCutsAt3198Characters)
{
    for (const int length : {3196, 3197, 3198, 3199, 3200, 3201, 5000})
    {
        SCOPED_TRACE(length);
        const std::string text(static_cast<size_t>(length), 'x');
        const size_t expected = length < 3198 ? static_cast<size_t>(length) : 3198;
        ExpectText(CString::Format("%s", text.c_str()), std::string(expected, 'x'));
    }
}

TEST(StringFormat, FormatEndsAtAnEmbeddedTerminator)
{
    ExpectText(CString::Format("ab%ccd", '\0'), "ab");
    EXPECT_EQ(CString::Format("%cab", '\0').Data(), nullptr);
}

TEST(StringFormat, FormatOfANullFormatIsEmptyWithoutAReport)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const char *volatile none = nullptr;
    EXPECT_EQ(CString::Format(none, 1).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringFormat, FormatThatFailsGivesAnEmptyString)
{
    EXPECT_EQ(CString::Format(g_Failing, kUnencodable).Data(), nullptr);
}

TEST(StringFormat, FormatRefusedIsEmpty)
{
    SweepRefusals([] { return CString("before"); },
                  [](CString &string) { string = CString::Format("%s %d", "text", 7); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "text 7");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringFormat, FormatLeavesTheProcessInTheCLocale)
{
    const CLocaleGuard guard;
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr)
        GTEST_SKIP() << "no other locale is installed";
    ASSERT_STRNE(std::setlocale(LC_ALL, nullptr), "C");
    ExpectText(CString::Format("%.2f", 1.5), "1.50");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

// The platform may keep the names of locales that are entered again in the same place.
TEST(StringFormat, FormatLeavesTheProcessInTheCLocaleHoweverOftenItIsInAnother)
{
    const CLocaleGuard guard;
    for (const int category : {LC_ALL, LC_CTYPE})
        for (u32 i = 0; i < 10; ++i)
        {
            if (std::setlocale(category, "C.UTF-8") == nullptr)
                GTEST_SKIP() << "no other locale is installed";
            ExpectText(CString::Format("%d", 1), "1");
            EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
        }
}

TEST(StringFormat, FormatLeavesTheProcessInTheCLocaleWhenOneCategoryDiffers)
{
    const CLocaleGuard guard;
    std::setlocale(LC_ALL, "C");
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr && std::setlocale(LC_CTYPE, "German_Germany.1252") == nullptr)
        GTEST_SKIP() << "no other locale is installed";
    ExpectText(CString::Format("%d", 1), "1");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

TEST(StringFormat, FormatWritesADecimalPointInEveryLocale)
{
    const CLocaleGuard guard;
    const char *name = CommaLocale();
    if (name == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    ASSERT_NE(std::setlocale(LC_ALL, name), nullptr);
    ExpectText(VAFormat("%.2f", 1.5), "1,50");
    ExpectText(CString::Format("%.2f", 1.5), "1.50");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

#if defined(_WIN32)

TEST(StringFormat, FormatWritesADecimalPointInEveryLocaleOfTheThread)
{
    const CLocaleGuard guard;
    const char *name = CommaLocale();
    if (name == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    if (_configthreadlocale(_ENABLE_PER_THREAD_LOCALE) < 0)
        GTEST_SKIP() << "threads have no locales of their own with this C library";
    std::setlocale(LC_ALL, name);
    const std::string before = std::setlocale(LC_ALL, nullptr);
    ExpectText(VAFormat("%.2f", 1.5), "1,50");
    ExpectText(CString::Format("%.2f", 1.5), "1.50");
    ExpectText(VAFormat("%.2f", 1.5), "1,50");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(_configthreadlocale(0), _ENABLE_PER_THREAD_LOCALE);
}

TEST(StringFormat, FormatKeepsTheLocaleOfTheThread)
{
    const CLocaleGuard guard;
    const int shared = _configthreadlocale(0);
    ExpectText(CString::Format("%d", 1), "1");
    EXPECT_EQ(_configthreadlocale(0), shared);

    // "C" is always there; what matters is that the thread still has one of its own.
    if (_configthreadlocale(_ENABLE_PER_THREAD_LOCALE) < 0)
        GTEST_SKIP() << "threads have no locales of their own with this C library";
    std::setlocale(LC_ALL, "C");
    ExpectText(CString::Format("%d", 2), "2");
    EXPECT_EQ(_configthreadlocale(0), _ENABLE_PER_THREAD_LOCALE);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

#else

TEST(StringFormat, FormatWritesADecimalPointInEveryLocaleOfTheThread)
{
    const CLocaleGuard guard;
    const char *name = CommaLocale();
    if (name == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    const CLocale comma(name);
    uselocale(comma.Get());
    ExpectText(VAFormat("%.2f", 1.5), "1,50");
    ExpectText(CString::Format("%.2f", 1.5), "1.50");
    ExpectText(VAFormat("%.2f", 1.5), "1,50");
    EXPECT_EQ(uselocale(static_cast<locale_t>(nullptr)), comma.Get());
}

TEST(StringFormat, FormatKeepsTheLocaleOfTheThread)
{
    const CLocaleGuard guard;
    EXPECT_EQ(uselocale(static_cast<locale_t>(nullptr)), LC_GLOBAL_LOCALE);
    ExpectText(CString::Format("%d", 1), "1");
    EXPECT_EQ(uselocale(static_cast<locale_t>(nullptr)), LC_GLOBAL_LOCALE);

    // "C" is always there; what matters is that the thread gets its own object back.
    const CLocale own("C");
    ASSERT_NE(own.Get(), static_cast<locale_t>(nullptr));
    const locale_t duplicate = duplocale(own.Get());
    uselocale(duplicate);
    ExpectText(CString::Format("%d", 2), "2");
    EXPECT_EQ(uselocale(static_cast<locale_t>(nullptr)), duplicate);
    // What the "C" locale has no bytes for is left to the platform, in the locale of the process.
    static_cast<void>(CString::Format("%ls", L"\u20AC"));
    EXPECT_EQ(uselocale(static_cast<locale_t>(nullptr)), duplicate);
    uselocale(LC_GLOBAL_LOCALE);
    freelocale(duplicate);
}

#endif

// VAFormat.

TEST(StringFormat, VAFormatGivesTheFormattedText)
{
    CAssertRecorder recorder;
    ExpectText(VAFormat("%s has %d of %u", "box", -3, 7u), "box has -3 of 7");
    ExpectReports(recorder, {});
}

TEST(StringFormat, VAFormatTakesAnyLength)
{
    CTestAllocator allocator;
    for (const size_t length : {1u, 15u, 16u, 510u, 511u, 512u, 513u, 3198u, 3199u, 5000u, 100000u})
    {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        ExpectText(VAFormat("%s", text.c_str()), text);
    }
}

TEST(StringFormat, VAFormatUpTo511CharactersAllocatesTheContainerAlone)
{
    for (const size_t length : {1u, 510u, 511u})
    {
        SCOPED_TRACE(length);
        CTestAllocator allocator;
        const CString string = VAFormat("%s", std::string(length, 'x').c_str());
        const auto calls = allocator.Calls();
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Alloc);
        EXPECT_EQ(calls[0].m_Origin, Mem::Origin_New);
        EXPECT_EQ(calls[0].m_Size, (length + 16) / 16 * 16 + 32);
        EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
    }
}

TEST(StringFormat, VAFormatOfMoreGoesThroughABlockThatItFrees)
{
    for (const size_t length : {512u, 513u, 5000u})
    {
        SCOPED_TRACE(length);
        CTestAllocator allocator;
        const CString string = VAFormat("%s", std::string(length, 'x').c_str());
        const auto calls = allocator.Calls();
        ASSERT_EQ(calls.size(), 3u);
        EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Alloc);
        EXPECT_EQ(calls[0].m_Origin, Mem::Origin_Alloc);
        EXPECT_EQ(calls[0].m_Size, length + 1);
        EXPECT_EQ(calls[0].m_Tag, "Kernel|Mem|Default");
        EXPECT_EQ(calls[1].m_Kind, SAllocatorCall::Kind_Alloc);
        EXPECT_EQ(calls[1].m_Origin, Mem::Origin_New);
        EXPECT_EQ(calls[1].m_Size, (length + 16) / 16 * 16 + 32);
        EXPECT_EQ(calls[2].m_Kind, SAllocatorCall::Kind_Free);
        EXPECT_EQ(calls[2].m_Block, calls[0].m_Result);
        EXPECT_EQ(calls[2].m_Type, Mem::AllocType_Generic);
        EXPECT_EQ(calls[2].m_Origin, Mem::Origin_Alloc);
        EXPECT_EQ(calls[2].m_Tag, "Kernel|Mem|Default");
    }
}

TEST(StringFormat, VAFormatOfEmptyOutputHasNoContainer)
{
    CTestAllocator allocator;
    EXPECT_EQ(VAFormat("%s", "").Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringFormat, VAFormatKeepsEmbeddedTerminators)
{
    const CString string = VAFormat("ab%ccd", '\0');
    EXPECT_EQ(TextOf(string), std::string("ab\0cd", 5));
    ExpectWellFormed(*ContainerOf(string));
}

TEST(StringFormat, VAFormatOfANullFormatReportsAndIsEmpty)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    EXPECT_EQ(VAFormat(nullptr, 1).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {"format != null"});
}

TEST(StringFormat, VAFormatThatFailsGivesAnEmptyString)
{
    // Only there does the text have no form.
    std::setlocale(LC_ALL, "C");
    CTestAllocator allocator;
    EXPECT_EQ(VAFormat(g_Failing, kUnencodable).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringFormat, VAFormatRefusedIsEmpty)
{
    for (const size_t length : {10u, 600u})
    {
        const std::string text(length, 'x');
        SweepRefusals([] { return CString("before"); },
                      [&text](CString &string) { string = VAFormat("%s", text.c_str()); },
                      [&text](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          ExpectText(string, refusal.m_Refused ? "" : text);
                          ExpectReports(recorder, {});
                      });
    }
}

} // namespace
