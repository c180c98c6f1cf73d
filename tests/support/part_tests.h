// What prefix, suffix and substring tests of native strings have in common.
#pragma once

#include <algorithm>

#include <gtest/gtest.h>

#include "every_locale.h"

namespace QuorvaneTest
{

// One of these tests.
using FPartTest = bool (*)(const char *str, const char *part);

inline void ExpectNullAndEmptyAreContainedInEverything(FPartTest test)
{
    EXPECT_TRUE(test("abc", nullptr));
    EXPECT_TRUE(test("abc", ""));
    EXPECT_TRUE(test("", nullptr));
    EXPECT_TRUE(test("", ""));
    EXPECT_TRUE(test(nullptr, nullptr));
    EXPECT_TRUE(test(nullptr, ""));
}

inline void ExpectNullContainsNothingElse(FPartTest test)
{
    EXPECT_FALSE(test(nullptr, "a"));
}

inline void ExpectTextsEndAtTheFirstTerminator(FPartTest test)
{
    EXPECT_TRUE(test("ab\0cd", "ab\0xy"));
    EXPECT_FALSE(test("ab\0cd", "cd"));
    EXPECT_FALSE(test("ab\0cd", "abc"));
}

// Two characters are the same when equal; without case also when one is the other's upper-case form as ASCII has it.
inline void ExpectEachCharacterIsFoundInItselfOnly(FPartTest test, bool ignoresCase)
{
    for (int a = 1; a < 256; ++a)
    {
        for (int b = 1; b < 256; ++b)
        {
            const char text[] = {static_cast<char>(a), 0};
            const char part[] = {static_cast<char>(b), 0};
            const int lower = std::max(a, b);
            const bool sameLetter = lower - std::min(a, b) == 'a' - 'A' && lower >= 'a' && lower <= 'z';
            ASSERT_EQ(test(text, part), a == b || (ignoresCase && sameLetter)) << a << " " << b;
        }
    }
}

// Of a test without case.
inline void ExpectNoLocaleChangesCase(FPartTest test)
{
    InEveryLocale(
        [test](const char *locale)
        {
            EXPECT_TRUE(test("iI", "Ii")) << locale;
            EXPECT_FALSE(test("\xC4", "\xE4")) << locale;
            EXPECT_FALSE(test("i", "\xDD")) << locale;
            EXPECT_FALSE(test("\xFD", "I")) << locale;
        });
}

} // namespace QuorvaneTest
