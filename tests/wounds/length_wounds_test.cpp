// Wounds of lengths: numbers that were negative, and sums that would wrap. README.md has the table of all of them.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "edge_allocators.h"
#include "kr_containers_array.h"
#include "kr_string.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// What -1, -2 and the least number become, what is 2 three times over in 32 bits, and what is next to the longest length.
constexpr u32 kLargeLengths[] = {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFF0u, 0x80000000u,
                                 0x7FFFFFFFu, 0x55555556u, 0x40000000u, 0x3FFFFFFFu};

// Nobody gets as much; what is asked for is as large as it has to be, or small because it has nothing to do with it.
class CNoMuchMemory
{
public:
    static constexpr u64 kMuch = 4096;

    CNoMuchMemory() : m_Allocator([](u64, u64 size) { return size >= kMuch; }) {}

    // The largest request that was granted or not.
    u64 Largest() const
    {
        u64 largest = 0;
        for (const u64 size : m_Allocator.Sizes())
            largest = QVMax(largest, size);
        return largest;
    }

private:
    CChoosyAllocator m_Allocator;
};

// Operations that take a place: beyond the end they do nothing, or answer what is there.
void ExpectPlacesBeyondTheEnd(u32 large)
{
    const CString string("abc");
    const CStringView view = string;
    ExpectText(CString(string).Insert(large, "x"), "abc");
    ExpectText(CString(string).Erase(large, large), "abc");
    ExpectText(CString(string).Erase(1, large), "abc");
    ExpectText(CString(string).Erase(large, 1), "abc");
    EXPECT_EQ(TextOf(string.Slice(large)), "");
    EXPECT_EQ(TextOf(string.Slice(large, large)), "");
    EXPECT_EQ(TextOf(string.Slice(1, large)), "bc");
    EXPECT_EQ(TextOf(view.Slice(2, large)), "c");
    EXPECT_FALSE(string.FindNextOf('a', large).Valid());
    EXPECT_FALSE(string.FindNextOf("a", large).Valid());
    EXPECT_FALSE(string.FindText("", large).Valid());
    EXPECT_FALSE(view.FindText("a", large, CaseInsensitive).Valid());
    EXPECT_EQ(string.At(large), '\0');
    EXPECT_EQ(CString(string).AtForWriting(large), '\0');
    ExpectText(string.Extract(0, large), "");
    ExpectText(string.Extract(large, large), "");
    ExpectText(CString::Extract("abc", large, 1), "");
    ExpectText(CString::Extract("abc", large, large), "");
}

// Operations that would make a text so long: as if there were no memory.
void ExpectNoSuchLength(u32 large)
{
    EXPECT_TRUE(CStringContainer::New("abc", large) == null);
    EXPECT_TRUE(CStringContainer::New(null, large) == null);
    EXPECT_TRUE(CStringContainer::NewResizable("abc", large, 0) == null);
    EXPECT_TRUE(CStringContainer::NewResizable("abc", 3, large) == null);
    ExpectText(CString("abc", large), "");
    ExpectText(CString("abc").Append("x", large), "");
    ExpectText(Resizable("abc").Append("x", large), "");
    ExpectText(CString("abc").Prepend("x", large), "");
    ExpectText(CString("abc").AppendSlashAnd("x", large), "abc");
    ExpectText(CString("abc").Repeat(large), "");
    ExpectText(CString("abc").PadLeft(large), "");
    ExpectText(CString("abc").PadRight(large), "");
    ExpectText(CStringView("x", large).ToString(), "");
    ExpectText(Concat("abc", CStringView("x", large)), "");
    CString string = Resizable("abc", 40);
    EXPECT_FALSE(string.TryAppend(CStringView("x", large)));
    EXPECT_FALSE(string.Reserve(large));
    EXPECT_EQ(string.Ident(large, large, 1), 0u);
    EXPECT_EQ(string.Ident(0, large, 4), 0u);
    ContainerOf(string)->UnsafeSetLength(large);
    EXPECT_FALSE(ContainerOf(string)->DynamicResize(large));
    ExpectText(string, "abc");
}

// Counts of what there may be at most: of so many, all.
void ExpectAllOfSoMany(u32 large)
{
    size_t count = 0;
    for (const CStringView &piece : Pieces("a,b", ',').AtMost(large))
        count += piece.Length();
    EXPECT_EQ(count, 2u);
    const CString names[] = {"abc", "abd"};
    TArray<CString::SFuzzyMatchListElement> best;
    EXPECT_TRUE(CString("abc").FuzzyMatchList_Top(TStridedMemoryView<const CString>(names, 2), best, 0.0f, large));
    EXPECT_EQ(best.Count(), 2u);
    TArray<CString> array;
    EXPECT_FALSE(array.Reserve(large));
    EXPECT_EQ(array.MaxCount(), 0u);
}

TEST(Wounds, NegativeLengthsThatArriveAsLargeOnes)
{
    for (const u32 large : kLargeLengths)
    {
        SCOPED_TRACE(large);
        const CAssertRecorder recorder;
        {
            const CNoMuchMemory memory;
            ExpectPlacesBeyondTheEnd(large);
            // None of them needs much.
            EXPECT_LT(memory.Largest(), CNoMuchMemory::kMuch);
        }
        {
            const CNoMuchMemory memory;
            ExpectNoSuchLength(large);
            // The capacity alone may be asked for, and is then asked for in full.
            EXPECT_TRUE(memory.Largest() < CNoMuchMemory::kMuch || memory.Largest() > large);
        }
        const CNoMuchMemory memory;
        ExpectAllOfSoMany(large);
    }
}

} // namespace
