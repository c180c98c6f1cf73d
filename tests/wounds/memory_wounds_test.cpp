// Wounds of texts in memory: what is written beside a block, read behind its end, or read after it is gone. README.md has
// the table of all of them.
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "edge_allocators.h"
#include "guarded_page.h"
#include "kr_string.h"
#include "kr_string_numbers.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// The size of the block at an address, by the last call that gave it.
u64 SizeOfBlock(const CTestAllocator &allocator, const void *block)
{
    u64 size = 0;
    for (const SAllocatorCall &call : allocator.Calls())
        size = call.m_Result == block ? call.m_Size : size;
    return size;
}

void ExpectRoomIsThatOfTheBlock(const CTestAllocator &allocator, const CString &string)
{
    ASSERT_NE(string.Data(), nullptr);
    EXPECT_EQ(CapacityOf(*ContainerOf(string)), SizeOfBlock(allocator, string.Data()));
}

// Each growth moves the block, and writes behind it are noticed when it is freed.
TEST(Wounds, HeaderNotUpdatedOnResize)
{
    CTestAllocator allocator;
    const std::function<void(CString &)> growths[] = {
        [](CString &string) { string.Append(CString("appended").Repeat(9)); },
        [](CString &string) { string.Prepend(CString("prepended").Repeat(40)); },
        [](CString &string) { string.Insert(string.Length() / 2, CString("inserted").Repeat(70)); },
        [](CString &string) { string /= CString("joined").Repeat(90); },
        [](CString &string) { AppendNumber(string, 1e300, 700); },
        [](CString &string) { string.Append(string); },
        [](CString &string) { EXPECT_TRUE(string.Reserve(string.Length() + 1000)); },
    };
    for (const auto &growth : growths)
    {
        CString string = Resizable("some text");
        for (int round = 0; round < 4; ++round)
        {
            growth(string);
            ExpectRoomIsThatOfTheBlock(allocator, string);
            ExpectWellFormed(string);
            // To the last byte, which is the terminator's, without a request, and one more with one.
            const size_t requests = allocator.Requests().size();
            while (string.Length() + 1 < CapacityOf(*ContainerOf(string)))
                string.Append('x');
            EXPECT_EQ(allocator.Requests().size(), requests);
            string.Append('x');
            EXPECT_EQ(allocator.Requests().size(), requests + 1);
            ExpectRoomIsThatOfTheBlock(allocator, string);
        }
    }
}

constexpr size_t kCountOffset = sizeof(void *);

// The counts are reported before they wrap; what one of them counts is neither freed nor written meanwhile.
TEST(Wounds, ReferenceCountOverflowAndUnderflow)
{
    const CTestAllocator allocator;
    CAssertRecorder recorder;
    CString string = Resizable("text");
    CStringContainer *const container = ContainerOf(string);
    SetFieldAt<u32>(*container, kCountOffset, 0x7FFFFFFF);
    {
        CString copy = string;
        EXPECT_EQ(recorder.Count(), IfAsserting(1));
        copy.ToUppercase();
        ExpectText(copy, "TEXT");
    }
    ExpectText(string, "text");
    EXPECT_TRUE(string.IsShared());
    recorder.Clear();
    SetFieldAt<u32>(*container, kCountOffset, 0);
    string = CString();
    EXPECT_EQ(recorder.CountOf("s32(nrc) >= 0"), IfAsserting(1));
    // It is still there.
    SetFieldAt<u32>(*container, kCountOffset, 0);
    string = CString(PStringContainer(container));
    ExpectText(string, "text");
}

// A view of characters that somebody holds stays as it is, whatever becomes of the string that it was taken from.
TEST(Wounds, ViewAfterAChange)
{
    const std::string text = " a,b/*c*/\\n";
    const std::function<void(CString &)> changes[] = {
        [](CString &string) { string.Append("more").Append('x'); },
        [](CString &string) { string.Append(string); },
        [](CString &string) { string.Prepend("more"); },
        [](CString &string) { string.Insert(1, "more"); },
        [](CString &string) { string.Erase(0, 3); },
        [](CString &string) { string /= "more"; },
        [](CString &string) { string.AppendSlash(); },
        [](CString &string) { string.ToUppercase(); },
        [](CString &string) { string.Escape(); },
        [](CString &string) { string.Unescape(); },
        [](CString &string) { string.Strip(" "); },
        [](CString &string) { string.Uncomment(); },
        [](CString &string) { static_cast<void>(string.Ident(0, 9, 4)); },
        [](CString &string) { string.Clear(); },
        [](CString &string) { string.RawDataForWriting()[0] = 'x'; },
        [](CString &string) { string.ViewForWriting()[1] = 'x'; },
        [](CString &string) { string.LastForWriting() = 'x'; },
        [](CString &string) { EXPECT_TRUE(string.Reserve(1000)); },
        [](CString &string) { string = CStringView(string).Slice(3); },
        [](CString &string) { string = "another text"; },
    };
    const CAssertRecorder recorder; // a path with a backslash is reported
    const CTestAllocator allocator; // overwrites what is freed
    for (const auto &change : changes)
        for (const bool resizable : {false, true})
        {
            CString string = resizable ? Resizable(text, 300) : Fixed(text);
            const CString holder = string;
            const CStringView view = string;
            change(string);
            EXPECT_EQ(TextOf(view), text);
            EXPECT_NE(string.Data(), holder.Data());
        }
}

// A range of pieces holds the characters that it cuts.
TEST(Wounds, ViewAfterAChangeWhileATextIsCut)
{
    const CTestAllocator allocator;
    CString string = Resizable("a,b,c", 300);
    std::string seen;
    for (const CStringView &piece : Pieces(string, ','))
    {
        string.Prepend("x,");
        seen += TextOf(piece);
    }
    EXPECT_EQ(seen, "abc");
    ExpectText(string, "x,x,x,a,b,c");
}

// Texts of as many characters as blocks have, one less and one more, in every way that makes one. Blocks end at protected
// pages.
TEST(Wounds, OffByOneAtTheTerminator)
{
    const auto some = [](u32 count) { return std::string(count, 'x'); };
    const std::function<CString(u32)> makers[] = {
        [&](u32 n) { return CString(some(n).c_str()); },
        [&](u32 n) { return CString(some(n).data(), n); },
        [&](u32 n) { return Fixed(some(n)); },
        [&](u32 n) { return Resizable(some(n), n); },
        [&](u32 n) { return Resizable(some(n - 1), n).Append('x'); },
        [&](u32 n) { return Resizable(some(n - 1)).Append('x'); }, // with as little room as there can be
        [&](u32 n) { return Resizable(some(n - 1)).Append("x"); },
        [&](u32 n) { return Resizable(some(n - 1)).Prepend("x"); },
        [&](u32 n) { return Resizable(some(n - 1)).Insert(1, 'x'); },
        [&](u32 n) { return Fixed(some(n - 1)) + 'x'; },
        [&](u32 n) { return Resizable(some(n - 7), n).Append("xxxxxxx"); },
        [&](u32 n) { return Resizable(some(n - 1), n).Prepend('x'); },
        [&](u32 n) { return Resizable(some(n - 2), n).Insert(3, "xx"); },
        [&](u32 n) { return Fixed(some(n + 1)).Erase(0, 1); },
        [&](u32 n) { return Resizable(some(n + 17)).Erase(n - 1, n + 16); },
        [&](u32 n) { return CString("x").Repeat(n); },
        [&](u32 n) { return CString("x").PadLeft(n, 'x'); },
        [&](u32 n) { return CString("x").PadRight(n, 'x'); },
        [&](u32 n) { return Concat(ViewOf(some(n - 3)), "xx", 'x'); },
        [&](u32 n) { return Join('x', "x", ViewOf(some(n - 2))); },
        [&](u32 n) { return CString::Format("%s", some(n).c_str()); },
        [&](u32 n) { return Fixed(some(n - 1) + "y").Replace('y', 'x'); },
        [&](u32 n) { return Fixed(some(n - 2) + "y").Replace("y", "xx"); },
        [&](u32 n) { return Fixed(some(n - 1) + "yyy").Replace("yyy", "x"); },
        [&](u32 n) { return Fixed("a" + some(n)).Extract(1, n + 1); },
        [&](u32 n) { return CString(Fixed("a" + some(n) + "b").Slice(1, n)); },
        [&](u32 n) { return Fixed(std::string(n, 'X')).Lowercase(); },
        [&](u32 n) { return Fixed(some(n)).Reversed(); },
        [&](u32 n) { return Fixed(some(n)).Escaped(); },
        [&](u32 n) { return Fixed(some(n)).Unescaped(); },
        [&](u32 n) { return Fixed(" " + some(n) + " ").Strip(" "); },
        [&](u32 n) { return Fixed(some(n)).Uncomment(); },
    };
    const CPageEndAllocator allocator;
    for (const auto &make : makers)
        for (const u32 length : {15u, 16u, 17u, 31u, 32u, 33u})
        {
            SCOPED_TRACE(length);
            ExpectText(make(length), some(length));
        }
}

// A backslash is the last byte that there is, in texts of all lengths around blocks and words.
TEST(Wounds, UnescapeBehindATrailingBackslash)
{
    const CGuardedPage page;
    for (u32 length = 1; length <= 70; ++length)
    {
        const std::string text = std::string(length - 1, 'x') + '\\';
        char *const counted = page.Last(length);
        std::memcpy(counted, text.data(), length);
        char result[72];
        EXPECT_EQ(SNativeStringUtils::Unescape(counted, result, length), length);
        EXPECT_EQ(std::string(result), text);
        char *const terminated = page.Last(length + 1);
        std::memcpy(terminated, text.c_str(), length + 1);
        EXPECT_EQ(SNativeStringUtils::Unescape(terminated, terminated), length);
        EXPECT_EQ(std::string(terminated), text);
        const CPageEndAllocator allocator;
        ExpectText(Fixed(text).Unescape(), text);
    }
}

// At the start, in the middle and at the end, by every operation that goes by the length.
TEST(Wounds, EmbeddedTerminators)
{
    const CTestAllocator allocator;
    for (const std::string &text : {std::string("\0ab", 3), std::string("a\0b", 3), std::string("ab\0", 3)})
    {
        SCOPED_TRACE(::testing::PrintToString(text));
        const CString string = Fixed(text);
        const CStringView view = ViewOf(text);
        ExpectCharacters(string, text);
        ExpectCharacters(CString(view), text);
        ExpectCharacters(CString("x").Append(view), "x" + text);
        ExpectCharacters(CString("x").Prepend(view), text + "x");
        ExpectCharacters(CString("xy").Insert(1, view), "x" + text + "y");
        ExpectCharacters(CString("x") + view, "x" + text);
        ExpectCharacters(Concat(string, view, 'x'), text + text + "x");
        ExpectCharacters(Join(view, "x", "y"), "x" + text + "y");
        ExpectCharacters(string.Repeat(2), text + text);
        ExpectCharacters(string.PadLeft(4, '-'), "-" + text);
        ExpectCharacters(CString(string).Erase(1, 2), text.substr(0, 1) + text.substr(2));
        ExpectCharacters(CString(string).Insert(3, "x"), text + "x");
        ExpectCharacters(string.Reversed(), std::string(text.rbegin(), text.rend()));
        ExpectCharacters(string.Replace('b', 'c'), std::string(text).replace(text.find('b'), 1, "c"));
        EXPECT_EQ(TextOf(string.Slice(1, 2)), text.substr(1, 2));
        EXPECT_EQ(string.FindText(CStringView("\0", 1)), static_cast<u32>(text.find('\0')));
        EXPECT_EQ(string.FindLastOf('b'), static_cast<u32>(text.find('b')));
        EXPECT_EQ(view.FindLastText("b"), static_cast<u32>(text.find('b')));
        EXPECT_TRUE(string == Fixed(text) && view == ViewOf(std::string(text)));
        EXPECT_FALSE(view == ViewOf("ab") || string == CString("ab"));
        EXPECT_TRUE(view.MatchWithInhibitors("*b*"));
        size_t length = 0;
        for (const CStringView &piece : Pieces(view, 'a').WithEmpty())
            length += piece.Length();
        EXPECT_EQ(length, 2u);
    }
}

} // namespace
