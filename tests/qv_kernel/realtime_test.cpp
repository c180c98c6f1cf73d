// What a thread with a deadline meets: dropping strings, a contract that is broken, and, under the sanitizer for real time,
// that what does block is reported at all. What else must not block runs in allocation_counts_test.cpp.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kr_assert.h"
#include "kr_string.h"

#include "support/assert_recorder.h"
#include "support/text_pieces.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

void DropAll(std::vector<CString> &strings) noexcept QV_NONBLOCKING
{
    for (CString &string : strings)
        string = CString();
}

TEST(Realtime, CopiesAreMadeMovedAndDroppedWithoutBlocking)
{
    CString text = Fixed("text");
    u32 length = 0;
    const auto copy = [&]() noexcept QV_NONBLOCKING
    {
        CString first = text;
        const CString second = std::move(first);
        swap(first, text);
        length = second.Length();
        text = second;
    };
    copy();
    EXPECT_EQ(length, 4u);
    EXPECT_STREQ(text.Data(), "text");
}

// More of them than a thread keeps for itself: they go back to the heap.
TEST(Realtime, ManySmallStringsAreDroppedWithoutBlocking)
{
    for (const size_t length : {1u, 100u, 1000u, 2000u})
    {
        std::vector<CString> strings;
        for (size_t i = 0; i < 4000; ++i)
            strings.push_back(Fixed(std::string(length, 'x')));
        DropAll(strings);
        EXPECT_EQ(strings.back().Data(), nullptr);
    }
}

// The recorder takes a lock, and memory from the platform.
TEST(Realtime, TheHandlerOfAFailedAssertionMayBlock)
{
    const CAssertRecorder recorder;
    const auto fail = []() noexcept QV_NONBLOCKING
    {
        Assert::EvalAssert("file", "function", 1, "expression", "expression", "a message that takes memory to keep");
        Assert::EvalAssertFormat("file", "function", 1, "expression", "expression", "%1000d", 1);
        QV_ASSERT(false);
    };
    fail();
    EXPECT_EQ(recorder.Count(), 2 + IfAsserting(1));
}

#if defined(__has_feature)
#if __has_feature(realtime_sanitizer)

constexpr int kReported = 43;

void TakeABlock() noexcept QV_NONBLOCKING
{
    static_cast<void>(*new volatile char('a'));
}

// Were it not to be reported, no other test of what must not block would mean anything.
TEST(RealtimeDeathTest, WhatBlocksIsReported)
{
    EXPECT_EXIT(TakeABlock(), ::testing::ExitedWithCode(kReported), "RealtimeSanitizer");
}

// Only a thread that promised something is told that a large block goes back to the platform.
TEST(RealtimeDeathTest, TheLastHandleOfALargeTextIsReportedWhereTheCallerMustNotBlock)
{
    std::vector<CString> strings = {Fixed(std::string(100000, 'x'))};
    strings[0] = CString();
    strings[0] = Fixed(std::string(100000, 'x'));
    EXPECT_EXIT(DropAll(strings), ::testing::ExitedWithCode(kReported), "RealtimeSanitizer");
}

#endif
#endif

} // namespace
