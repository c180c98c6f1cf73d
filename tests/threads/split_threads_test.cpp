// Splitting on several threads: each has a handle of its own to one shared block, and lets go of it when it likes.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <vector>

#include "kr_string.h"
#include "thread_team.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr u32 kThreads = 4;
constexpr u32 kRounds = 1000;
constexpr u32 kPieces = 40;

// "0,1,2, ... ,39"
CString Numbers()
{
    std::string text;
    for (u32 i = 0; i < kPieces; ++i)
        text += (i != 0 ? "," : "") + std::to_string(i);
    return CString(text.c_str());
}

template <typename Piece>
bool AreNumbers(const TArray<Piece> &pieces)
{
    if (pieces.Count() != kPieces)
        return false;
    for (u32 i = 0; i < kPieces; ++i)
    {
        const std::string number = std::to_string(i);
        if (pieces[i].Length() != number.size() || std::memcmp(pieces[i].Data(), number.data(), number.size()) != 0)
            return false;
    }
    return true;
}

bool SplitsIntoStrings(const CString &own)
{
    TArray<CString> strings;
    return own.Split_ThreadSafe(',', strings) && AreNumbers(strings);
}

// The views are good as long as the thread's handle is.
bool SplitsIntoViews(const CString &own)
{
    TArray<CStringView> views;
    return own.Split_ThreadSafe(',', views) && AreNumbers(views);
}

bool SplitsPlainly(const CString &own)
{
    TArray<CString> strings;
    TArray<CString> byPredicate;
    return own.Split(',', strings) && own.Split([](char c) { return c == ','; }, byPredicate) && AreNumbers(strings) &&
           AreNumbers(byPredicate);
}

// Runs `splits(thread, handle)` on every thread, round after round. Nobody else holds the block, so that the last
// thread to drop its handle frees it while the others may be about to.
template <typename Splits>
u32 CountFaults(const Splits &splits)
{
    std::atomic<u32> faults(0);
    for (u32 round = 0; round < kRounds; ++round)
    {
        std::vector<CString> handles(kThreads, Numbers());
        RunTeam(kThreads,
                [&](u32 thread)
                {
                    if (!splits(thread, handles[thread]))
                        ++faults;
                    handles[thread] = CString();
                });
    }
    return faults;
}

TEST(SplitThreads, EachSplitsThroughItsOwnHandleWhileTheOthersDropTheirs)
{
    EXPECT_EQ(CountFaults(
                  [](u32 thread, const CString &own)
                  {
                      switch (thread)
                      {
                      case 0:
                          return SplitsIntoStrings(own);
                      case 1:
                          return SplitsIntoViews(own);
                      case 2:
                          return SplitsPlainly(own);
                      default:
                          return true;
                      }
                  }),
              0u);
}

TEST(SplitThreads, OneBatchSplitterServesAllThreads)
{
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(",;");
    EXPECT_EQ(CountFaults(
                  [&splitter](u32 thread, const CString &own)
                  {
                      TArray<CString> strings;
                      if (thread % 2 == 0)
                          splitter.Split(own, strings);
                      else
                          splitter.Split_ThreadSafe(own, strings);
                      return AreNumbers(strings);
                  }),
              0u);
}

TEST(SplitThreads, NoReferenceIsLeftBehind)
{
    const PStringContainer container = CStringContainer::New("0,1,2");
    std::vector<CString> handles(kThreads, CString(container));
    RunTeam(kThreads,
            [&](u32 thread)
            {
                for (u32 round = 0; round < kRounds; ++round)
                {
                    TArray<CString> strings;
                    TArray<CStringView> views;
                    EXPECT_TRUE(handles[thread].Split_ThreadSafe(',', strings));
                    EXPECT_TRUE(handles[thread].Split_ThreadSafe(',', views));
                }
            });
    EXPECT_EQ(container->RefCount(), kThreads + 1);
}

} // namespace
