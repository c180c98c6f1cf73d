// Strings on several threads: each thread has handles of its own, and all of them share one block.
#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kr_string.h"

namespace
{

using namespace Quorvane;

constexpr int kThreads = 4;
constexpr int kRounds = 2000;

bool Is(const CString &string, const std::string &text)
{
    return string.Length() == text.size() && std::memcmp(string.Data(), text.data(), text.size()) == 0;
}

u32 RefCountOf(const PStringContainer &container)
{
    return container->RefCount();
}

// Runs the body on every thread at once; it gets a handle of its own and answers whether all was right.
// Returns the number of threads that found a fault.
int RunOnThreads(const CString &string, const std::function<bool(CString &own, int round)> &body)
{
    std::atomic<int> waiting{kThreads};
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        // The handle is copied here, before the thread runs: no thread copies what another one may assign.
        threads.emplace_back(
            [&waiting, &faults, &body, handle = string]() mutable
            {
                --waiting;
                while (waiting != 0)
                    std::this_thread::yield();
                bool right = true;
                for (int round = 0; round < kRounds && right; ++round)
                {
                    CString own = handle;
                    right = body(own, round);
                }
                if (!right)
                    ++faults;
            });
    for (std::thread &thread : threads)
        thread.join();
    return faults;
}

const char kText[] = "shared characters of all threads";

class StringThreads : public ::testing::TestWithParam<bool>
{
protected:
    StringThreads()
        : m_Container(GetParam() ? CStringContainer::NewResizable(kText) : CStringContainer::New(kText)),
          m_String(m_Container)
    {
    }

    // Whatever the threads did, the block has its text, and nobody holds it any more but this fixture.
    void ExpectUntouched() const
    {
        EXPECT_EQ(std::string(m_Container->Data(), m_Container->Length()), kText);
        EXPECT_EQ(RefCountOf(m_Container), 2u);
        EXPECT_EQ(m_Container->SupportsDynamicResize(), GetParam());
    }

    PStringContainer m_Container;
    CString m_String;
};

TEST_P(StringThreads, CopyReadAndDrop)
{
    const int faults = RunOnThreads(m_String,
                                    [](CString &own, int round)
                                    {
                                        const CString copy = own;
                                        CString moved = std::move(own);
                                        const u32 index = static_cast<u32>(round) % copy.Length();
                                        return Is(copy, kText) && moved[index] == kText[index] && own.Empty();
                                    });
    EXPECT_EQ(faults, 0);
    ExpectUntouched();
}

TEST_P(StringThreads, WritersGetCopiesOfTheirOwn)
{
    const int faults = RunOnThreads(m_String,
                                    [](CString &own, int round)
                                    {
                                        const u32 index = static_cast<u32>(round) % own.Length();
                                        own.RawDataForWriting()[index] = '#';
                                        std::string expected = kText;
                                        expected[index] = '#';
                                        own.LastForWriting() = '!';
                                        expected.back() = '!';
                                        return Is(own, expected);
                                    });
    EXPECT_EQ(faults, 0);
    ExpectUntouched();
}

TEST_P(StringThreads, AppendPrependAndJoin)
{
    const int faults = RunOnThreads(m_String,
                                    [](CString &own, int)
                                    {
                                        const CString before = own;
                                        own.Append(before).Prepend("<").Append('>');
                                        own /= before;
                                        const std::string text = kText;
                                        return Is(own, "<" + text + text + ">/" + text) && Is(before, text);
                                    });
    EXPECT_EQ(faults, 0);
    ExpectUntouched();
}

TEST_P(StringThreads, ClearLetsGo)
{
    const int faults = RunOnThreads(m_String,
                                    [](CString &own, int)
                                    {
                                        own.Clear();
                                        return own.Data() == nullptr;
                                    });
    EXPECT_EQ(faults, 0);
    ExpectUntouched();
}

INSTANTIATE_TEST_SUITE_P(Forms, StringThreads, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool> &resizable)
                         { return resizable.param ? "Resizable" : "Fixed"; });

// The last holder may write in place what the others have read: their releases come before its write.
TEST(StringThreadsLast, TheLastHolderWritesWhatTheOthersRead)
{
    for (int round = 0; round < kRounds / 4; ++round)
    {
        CString string(CStringContainer::NewResizable(kText));
        std::atomic<bool> right{true};
        std::vector<std::thread> readers;
        for (int i = 0; i < 2; ++i)
            readers.emplace_back(
                [&right, own = string]() mutable
                {
                    if (!Is(own, kText))
                        right = false;
                    own = CString();
                });
        // Meanwhile this thread asks for its characters: a copy while others hold them, else the block itself.
        char *mine = string.RawDataForWriting();
        ASSERT_NE(mine, nullptr);
        std::memset(mine, '#', string.Length());
        for (std::thread &reader : readers)
            reader.join();
        EXPECT_TRUE(right);
        EXPECT_TRUE(Is(string, std::string(std::strlen(kText), '#')));
    }
}

// Whoever drops the last handle destroys the block, exactly once.
TEST(StringThreadsLast, AnyThreadMayDropTheLastHandle)
{
    for (int round = 0; round < kRounds / 4; ++round)
    {
        CString string(round % 2 == 0 ? CStringContainer::NewResizable(kText) : CStringContainer::New(kText));
        std::vector<std::thread> holders;
        std::atomic<bool> right{true};
        for (int i = 0; i < 2; ++i)
            holders.emplace_back(
                [&right, own = string]
                {
                    if (!Is(own, kText))
                        right = false;
                });
        string = CString();
        for (std::thread &holder : holders)
            holder.join();
        EXPECT_TRUE(right);
    }
}

// The first to format leaves the process in the "C" locale, and frees the name of the one before while others may ask
// for it.
TEST(StringThreadsLast, FormatLeavesAnotherLocaleFromEveryThread)
{
    for (int round = 0; round < 200; ++round)
    {
        // A name of several parts, which is not constant.
        std::setlocale(LC_ALL, "C.UTF-8");
        std::setlocale(LC_NUMERIC, "C");
        std::atomic<int> ready = {0};
        std::atomic<int> faults = {0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
        {
            threads.emplace_back(
                [&]
                {
                    for (++ready; ready < 4;)
                        std::this_thread::yield();
                    if (!Is(CString::Format("%.1f", 2.5), "2.5"))
                        ++faults;
                });
        }
        for (std::thread &thread : threads)
            thread.join();
        ASSERT_EQ(faults, 0);
        ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    }
}

// Formatting at the same time, in the locale that is already "C".
TEST(StringThreadsLast, FormatOnEveryThread)
{
    const int faults = RunOnThreads(CString(),
                                    [](CString &own, int round)
                                    {
                                        own = CString::Format("%d|%.2f", round, round / 4.0);
                                        char expected[64];
                                        std::snprintf(expected, sizeof(expected), "%d|%.2f", round, round / 4.0);
                                        return Is(own, expected);
                                    });
    EXPECT_EQ(faults, 0);
}

// The room for what was found in a long text is for one thread at a time; the others go without.
TEST(StringThreadsAlone, LongReplacementsAtOnceAreAllRight)
{
    std::string text;
    std::string expected;
    for (u32 i = 0; i < 3000; ++i)
    {
        text += std::string(i % 90, '-') + "#";
        expected += std::string(i % 90, '-') + "++";
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&, i]
            {
                // Each thread has gaps of its own.
                const std::string front(static_cast<size_t>(i), '#');
                const std::string frontExpected(static_cast<size_t>(2 * i), '+');
                const CString source((front + text).c_str());
                for (int round = 0; round < 50; ++round)
                    wrong += Is(source.Replace("#", "++"), frontExpected + expected) ? 0 : 1;
            });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

} // namespace
