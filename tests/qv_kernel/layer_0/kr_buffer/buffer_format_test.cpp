#include <clocale>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <sys/types.h>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "edge_allocators.h"
#include "kr_buffer.h"
#include "kr_buffer/printf_port.h"
#include "kr_mem.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

char *Format(char *buffer, const char *bufferLast, u32 &outLength, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    char *const result = SNativeStringUtils::VAFormat(buffer, bufferLast, outLength, format, args);
    va_end(args);
    return result;
}

// A buffer between canaries.
struct SBuffer
{
    static constexpr u32 kBytes = 16;

    SBuffer() { std::memset(m_Bytes, '#', sizeof(m_Bytes)); }

    char *First() { return m_Bytes + 8; }
    char *Last() { return m_Bytes + 8 + kBytes - 1; }
    bool CanariesAreIntact() const
    {
        const std::string canary(8, '#');
        return std::memcmp(m_Bytes, canary.c_str(), 8) == 0 &&
               std::memcmp(m_Bytes + 8 + kBytes, canary.c_str(), 8) == 0;
    }

    char m_Bytes[8 + kBytes + 8];
};

class BufferFormat : public ::testing::Test
{
protected:
    CTestAllocator m_Allocator;
    SBuffer m_Buffer;
    u32 m_Length = 77;
};

} // namespace

TEST_F(BufferFormat, VAFormatWritesAResultThatFitsToTheBuffer)
{
    char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s=%d", "key", -5);
    EXPECT_EQ(result, m_Buffer.First());
    EXPECT_STREQ(result, "key=-5");
    EXPECT_EQ(m_Length, 6u);
    EXPECT_EQ(m_Allocator.RequestCount(), 0u);
    EXPECT_TRUE(m_Buffer.CanariesAreIntact());
}

TEST_F(BufferFormat, AnEmptyResultFits)
{
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s", ""), m_Buffer.First());
    EXPECT_EQ(m_Length, 0u);
    EXPECT_EQ(*m_Buffer.First(), '\0');
}

TEST_F(BufferFormat, AResultThatFitsExactlyIsWrittenToTheBuffer)
{
    char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s", "123456789012345");
    EXPECT_EQ(result, m_Buffer.First());
    EXPECT_STREQ(result, "123456789012345");
    EXPECT_EQ(m_Length, 15u);
    EXPECT_EQ(*m_Buffer.Last(), '\0');
    EXPECT_EQ(m_Allocator.RequestCount(), 0u);
    EXPECT_TRUE(m_Buffer.CanariesAreIntact());
}

TEST_F(BufferFormat, AResultOneCharacterTooLongGetsABlockOfExactlyItsSize)
{
    char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s%d", "12345678901234", 56);
    ASSERT_NE(result, nullptr);
    EXPECT_NE(result, m_Buffer.First());
    EXPECT_STREQ(result, "1234567890123456");
    EXPECT_EQ(m_Length, 16u);
    EXPECT_TRUE(m_Buffer.CanariesAreIntact());

    ASSERT_EQ(m_Allocator.Calls().size(), 1u);
    const SAllocatorCall call = m_Allocator.Calls()[0];
    EXPECT_EQ(call.m_Kind, SAllocatorCall::Kind_Alloc);
    EXPECT_EQ(call.m_Size, 17u);
    EXPECT_EQ(call.m_Alignment, 0u);
    EXPECT_EQ(call.m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(call.m_Origin, Mem::Origin_Alloc);
    EXPECT_EQ(call.m_Tag, "Kernel|Mem|Default");
    EXPECT_NE(call.m_File, "");
    EXPECT_NE(call.m_Line, 0u);
    EXPECT_NE(call.m_Function, "");
    Mem::Free(result, Mem::AllocType_Generic);
}

TEST_F(BufferFormat, AFormatThatEndsWithinADirectiveIsThePlatforms)
{
    for (const std::string format : {"a%", "a%5", "%d%.", "%%%l"})
    {
        const std::unique_ptr<char[]> exact(new char[format.size() + 1]);
        std::memcpy(exact.get(), format.c_str(), format.size() + 1);
        char expected[64];
        const int length = std::snprintf(expected, sizeof(expected), exact.get(), 1);
        const char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, exact.get(), 1);
        ASSERT_EQ(result != nullptr, length >= 0) << format;
        EXPECT_STREQ(result != nullptr ? result : "", length >= 0 ? expected : "") << format;
    }
}

TEST_F(BufferFormat, WhatFollowsALongDoubleIsNoPartOfItsDirective)
{
    char expected[64];
    std::snprintf(expected, sizeof(expected), "%.1Lf n", 1.5L);
    EXPECT_STREQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%.1Lf n", 1.5L), expected);
}

TEST_F(BufferFormat, CountedOutputIsLookedForUpToTheTerminator)
{
    using Internal::Buffer::HasCountedOutput;
    EXPECT_TRUE(HasCountedOutput("50%n"));
    EXPECT_TRUE(HasCountedOutput("%\1%n"));
    EXPECT_FALSE(HasCountedOutput("50%\0%n"));
    EXPECT_FALSE(HasCountedOutput("50%-8\0%n"));
}

TEST_F(BufferFormat, AnArgumentThatChangesMeanwhileLeavesNoResult)
{
    std::string text = "a text that is longer than the buffer";
    // As another thread may change it.
    const CChoosyAllocator changing(
        [&](u64, u64)
        {
            text[20] = '\0';
            return false;
        });
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s", text.data()), nullptr);
    EXPECT_EQ(m_Length, 0u);
    EXPECT_EQ(m_Allocator.RequestCount(), 1u);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
    EXPECT_TRUE(m_Buffer.CanariesAreIntact());
}

TEST_F(BufferFormat, ALongResultIsComplete)
{
    const std::string text(100000, 'y');
    char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "<%s|%d|%s>", text.c_str(), 42, "end");
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result, "<" + text + "|42|end>");
    EXPECT_EQ(m_Length, text.size() + 9);
    Mem::Free(result, Mem::AllocType_Generic);
}

// Around what is formatted elsewhere before it is known where it belongs, with buffers smaller and larger than that.
TEST_F(BufferFormat, ResultsOfAnyLengthAreDeliveredWhole)
{
    for (const u32 room : {0u, 1u, 511u, 8190u, 8191u, 8192u, 20000u})
    {
        for (const u32 length : {0u, 1u, 511u, 512u, 8190u, 8191u, 8192u, 8193u, 20000u, 20001u})
        {
            std::string buffer(room + 2, '#');
            const std::string text(length, 'y');
            char *const first = &buffer[0];
            char *const result = Format(first, first + room, m_Length, "%s", text.c_str());
            ASSERT_NE(result, nullptr);
            EXPECT_EQ(result == first, length <= room) << room << " for " << length;
            EXPECT_EQ(result, text);
            EXPECT_EQ(m_Length, length);
            EXPECT_EQ(buffer[room + 1], '#');
            if (result == first)
                continue;
            EXPECT_EQ(m_Allocator.Calls().back().m_Size, length + 1u);
            Mem::Free(result, Mem::AllocType_Generic);
        }
    }
}

// Formats a result twice, as the platform does and into a buffer too small for it: the first time teaches that the format
// gives long results.
#define EXPECT_LONG(...)                                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        char expected[4096];                                                                                           \
        const int length = std::snprintf(expected, sizeof(expected), __VA_ARGS__);                                     \
        for (int round = 0; round < 2; ++round)                                                                        \
        {                                                                                                              \
            char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, __VA_ARGS__);                     \
            ASSERT_NE(result, nullptr);                                                                                \
            EXPECT_NE(result, m_Buffer.First());                                                                       \
            EXPECT_STREQ(result, expected);                                                                            \
            EXPECT_EQ(m_Length, static_cast<u32>(length));                                                             \
            EXPECT_EQ(m_Allocator.Calls().back().m_Size, static_cast<u64>(length) + 1);                                \
            Mem::Free(result, Mem::AllocType_Generic);                                                                 \
        }                                                                                                              \
        EXPECT_EQ(m_Allocator.RequestCount(), 2u);                                                                     \
        m_Allocator.RefuseNth(0);                                                                                      \
    } while (false)

TEST_F(BufferFormat, ForeseenResultsAreWhatThePlatformMakes)
{
    const std::string text(1000, 'y');
    const char *const y = text.c_str();
    EXPECT_LONG("%s", y);
    EXPECT_LONG("%%%s%%", y);
    EXPECT_LONG("<%s> %05d", y, 42);
    EXPECT_LONG("%s %d %d %d %i", y, 0, -1, 99, -2147483647 - 1);
    EXPECT_LONG("%s %1d %2d %3d %03d %010d", y, 10, 10, 10, 10, -10);
    EXPECT_LONG("%s %+d % d %-8d| %.3d %.0d", y, 5, 5, 5, 5, 0);
    EXPECT_LONG("%s %u %x %X %o %#x %#o", y, 4000000000u, 0xABCu, 0xABCu, 8u, 255u, 8u);
    EXPECT_LONG("%s %hd %hhd %ld %lld %zu", y, static_cast<short>(-7), static_cast<signed char>(-8), -9L, -10LL,
                sizeof(text));
    EXPECT_LONG("%s %lu %llx %zd", y, ~0ul, ~0ull, static_cast<ssize_t>(-1));
    EXPECT_LONG("%s %c%c", y, 'a', 'b');
    EXPECT_LONG("%s %f %g %e %.3f %10.1f %G %E %F", y, 1.5, 1e100, -2.5, 2.0, 3.25, 1e-9, 1.0, 1e30);
    EXPECT_LONG("%.20s %.700s %.0s|%.s|", y, y, y, y);
    EXPECT_LONG("%1200s|%-1200s|", "right", "left");
    EXPECT_LONG("%5s %s %-5s", "ab", y, "cd");
    // What is left to the platform.
    EXPECT_LONG("%s %p", y, static_cast<void *>(this));
    EXPECT_LONG("%s %*d %.*f %-*s|", y, 7, 1, 2, 1.25, 4, "x");
    EXPECT_LONG("%s %jd %td %Lf", y, static_cast<intmax_t>(1), static_cast<std::ptrdiff_t>(2), 1.5L);
    EXPECT_LONG("%ls %s", L"wide", y);
    EXPECT_LONG("%s", "short, but not that short");
    EXPECT_LONG("%1000d", 1);
    EXPECT_LONG("%s%060.50f", y, 1.0);
    EXPECT_LONG("%s %.00000000000000000000000000000000000003d", y, 3);
}

#undef EXPECT_LONG

TEST_F(BufferFormat, AFormatOfLongResultsStillGivesShortOnes)
{
    const std::string text(1000, 'y');
    const char *const null = nullptr;
    for (u32 round = 0; round < 3; ++round)
    {
        for (const char *argument : {text.c_str(), "short", text.c_str(), null, ""})
        {
            const char *const format = "%s";
            char *const result = Format(m_Buffer.First(), m_Buffer.Last(), m_Length, format, argument);
            ASSERT_NE(result, nullptr);
            EXPECT_EQ(result == m_Buffer.First(), argument != text.c_str());
            if (argument != null)
            {
                EXPECT_STREQ(result, argument);
            }
            if (result != m_Buffer.First())
                Mem::Free(result, Mem::AllocType_Generic);
        }
    }
}

TEST_F(BufferFormat, AForeseenResultRefusedMemoryGivesNull)
{
    const std::string text(1000, 'y');
    for (u32 round = 0; round < 2; ++round)
    {
        m_Allocator.RefuseNth(1);
        EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s refused", text.c_str()), nullptr);
        EXPECT_EQ(m_Length, 0u);
        EXPECT_EQ(m_Allocator.RequestCount(), 1u);
    }
}

TEST_F(BufferFormat, ABufferOfOneByteHoldsTheEmptyResultOnly)
{
    char only = '#';
    EXPECT_EQ(Format(&only, &only, m_Length, "%s", ""), &only);
    EXPECT_EQ(only, '\0');
    EXPECT_EQ(m_Length, 0u);
    char *const result = Format(&only, &only, m_Length, "%s", "x");
    ASSERT_NE(result, nullptr);
    EXPECT_NE(result, &only);
    EXPECT_STREQ(result, "x");
    EXPECT_EQ(m_Length, 1u);
    Mem::Free(result, Mem::AllocType_Generic);
}

TEST_F(BufferFormat, TheResultIsNotAFormatAgain)
{
    EXPECT_STREQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s%%", "%d%s"), "%d%s%");
}

TEST_F(BufferFormat, RefusedMemoryGivesNull)
{
    m_Allocator.RefuseNth(1);
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%s", "longer than the buffer"), nullptr);
    EXPECT_EQ(m_Length, 0u);
    EXPECT_TRUE(m_Allocator.HasRefused());
    EXPECT_TRUE(m_Buffer.CanariesAreIntact());
}

TEST_F(BufferFormat, AFormattingThatFailsGivesNull)
{
    // No text in the "C" locale has this character, the first half of a pair that UTF-16 would write.
    std::setlocale(LC_ALL, "C");
    static const wchar_t kUnknown[] = {0xD800, 0};
    if (std::snprintf(nullptr, 0, "%ls", kUnknown) >= 0)
        GTEST_SKIP() << "the C library passes over what it cannot write";
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%ls", kUnknown), nullptr);
    EXPECT_EQ(m_Length, 0u);
    EXPECT_EQ(m_Allocator.RequestCount(), 0u);
}

TEST_F(BufferFormat, AResultBeyondTheRangeOfIntGivesNull)
{
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, "%99999999999d", 1), nullptr);
    EXPECT_EQ(m_Length, 0u);
}

TEST_F(BufferFormat, NullArgumentsGiveNull)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(Format(nullptr, m_Buffer.Last(), m_Length, "%d", 1), nullptr);
    EXPECT_EQ(m_Length, 0u);
    m_Length = 77;
    EXPECT_EQ(Format(m_Buffer.First(), nullptr, m_Length, "%d", 1), nullptr);
    EXPECT_EQ(m_Length, 0u);
    m_Length = 77;
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.Last(), m_Length, nullptr), nullptr);
    EXPECT_EQ(m_Length, 0u);
    EXPECT_EQ(m_Allocator.RequestCount(), 0u);
}

TEST_F(BufferFormat, ABufferThatEndsBeforeItStartsGivesNull)
{
    EXPECT_EQ(Format(m_Buffer.First(), m_Buffer.First() - 1, m_Length, "%d", 1), nullptr);
    EXPECT_EQ(m_Length, 0u);
    EXPECT_TRUE(m_Buffer.CanariesAreIntact());
}

} // namespace QuorvaneTest
