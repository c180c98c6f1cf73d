// What each operation asks the allocator for, and what it gives back: nothing at all where it reads, or edits a string that
// nobody shares and that has the room; else as many blocks, of the sizes, as its declaration says. And what it leaves
// behind where any of that is refused, in strings of every state: nothing that is half done.
//
// What asks for nothing runs in a function that promises not to block: the sanitizer for real time sees whether it does.
//
// tests/rules/operations.sh wants a row for each public operation on text.
#include <algorithm>
#include <cstdarg>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kr_string.h"
#include "kr_string_numbers.h"
#include "kr_string_std.h"

#include "support/assert_recorder.h"
#include "support/operation_ground.h"
#include "support/operation_refusals.h"
#include "support/test_allocator.h"
#include "support/text_pieces.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

// ---- What is asked for ----------------------------------------------------------------------------------------------

struct SBlocks
{
    std::vector<u64> m_Sizes;
    u64 m_Freed = 0;
    bool m_MayBlock = false; // for another reason than these blocks

    SBlocks Freeing(u64 count) const { return SBlocks{m_Sizes, m_Freed + count}; }
    SBlocks And(const SBlocks &other) const
    {
        SBlocks both = *this;
        both.m_Sizes.insert(both.m_Sizes.end(), other.m_Sizes.begin(), other.m_Sizes.end());
        both.m_Freed += other.m_Freed;
        return both;
    }

    bool operator==(const SBlocks &other) const { return m_Sizes == other.m_Sizes && m_Freed == other.m_Freed; }
};

std::ostream &operator<<(std::ostream &stream, const SBlocks &blocks)
{
    stream << "blocks of";
    for (const u64 size : blocks.m_Sizes)
        stream << ' ' << size;
    return stream << " bytes; " << blocks.m_Freed << " freed";
}

// The characters and their terminator, in whole blocks of 16.
u64 CharacterBytes(u64 length)
{
    return (length + 1 + 15) / 16 * 16;
}

SBlocks Nothing()
{
    return SBlocks();
}

// What formats or writes elsewhere, and so may block.
SBlocks NothingOfOurs()
{
    return SBlocks{{}, 0, true};
}

SBlocks OneOf(u64 bytes)
{
    return SBlocks{{bytes}, 0};
}

// A new text of either form, as CStringContainer's creators say.
SBlocks NewFixed(u64 length)
{
    return OneOf(CharacterBytes(length) + 32);
}

SBlocks NewResizable(u64 length)
{
    return SBlocks{{CharacterBytes(std::max<u64>(length, 16)), 40}, 0};
}

// The buffer of a text that grows, as CStringContainer::DynamicResize says.
SBlocks Grown(u64 length)
{
    return OneOf((length + 256 + 15) / 16 * 16);
}

// The sizes by rising size: their order is nobody's business.
SBlocks Sorted(SBlocks blocks)
{
    std::sort(blocks.m_Sizes.begin(), blocks.m_Sizes.end());
    return blocks;
}

// ---- The rows -------------------------------------------------------------------------------------------------------

const u64 kLength = kText.size();
const u64 kSum = kText.size() + kPiece.size();

struct SRow
{
    const char *m_Operation;
    const char *m_Case;
    SBlocks m_Blocks;
    void (*m_Run)(SGround &);
    // Why a text may be left that is neither the one before nor the whole one nor empty, or be seen by those who share it.
    const char *m_Otherwise = nullptr;
};

constexpr char kSeveralEdits[] = "each edit of several may be the one that is refused";
constexpr char kLeftOperand[] = "the string on the left is what a refused join gives";
constexpr char kSharedReversal[] = "those who share the characters see the reversal";

// For answers that a row does not look at.
template <typename... Answers>
void Take(const Answers &...)
{
}

bool IsBlank(char character)
{
    return character == ' ';
}

CString Formatted(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    CString text = CString::VAFormat(format, args);
    va_end(args);
    return text;
}

char *FormattedInto(char *buffer, const char *last, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    u32 length = 0;
    char *const text = SNativeStringUtils::VAFormat(buffer, last, length, format, args);
    va_end(args);
    return text;
}

// Room that an array gives itself for its first elements.
u64 FirstRoom(u64 elements, u64 elementBytes)
{
    return TArrayStaticController<0, 8, 8, 0, 2>::GrowSize(static_cast<u32>(elements)) * elementBytes;
}

void RunWithoutBlocking(void (*run)(SGround &), SGround &ground) noexcept QV_NONBLOCKING
{
    run(ground);
}

SBlocks CountedIn(const SRow &row)
{
    CTestAllocator allocator;
    SBlocks blocks;
    {
        const CAssertRecorder recorder;
        SGround ground;
        allocator.ForgetCalls();
        if (row.m_Blocks == Nothing() && !row.m_Blocks.m_MayBlock)
            RunWithoutBlocking(row.m_Run, ground);
        else
            row.m_Run(ground);
        for (const SAllocatorCall &call : allocator.Calls())
        {
            if (call.m_Kind == SAllocatorCall::Kind_Free)
                ++blocks.m_Freed;
            else
                blocks.m_Sizes.push_back(call.m_Size);
        }
        EXPECT_EQ(recorder.Count(), 0u);
        EXPECT_TRUE(ground.m_Answer);
    }
    return blocks;
}

void ExpectCounts(const std::vector<SRow> &rows)
{
    for (const SRow &row : rows)
    {
        SCOPED_TRACE(::testing::Message() << row.m_Operation << ", " << row.m_Case);
        EXPECT_EQ(Sorted(CountedIn(row)), Sorted(row.m_Blocks));
    }
}

void ExpectNothingHalfDone(const std::vector<SRow> &rows, EStringState lastState)
{
    for (const SRow &row : rows)
    {
        // What writes to bare characters leaves zeros behind them in every build.
        if (QV_POISON_TAIL && std::string(row.m_Operation).find("SNativeStringUtils::") == 0)
            continue;
        SCOPED_TRACE(::testing::Message() << row.m_Operation << ", " << row.m_Case);
        SweepOperation(row.m_Run, lastState, row.m_Otherwise == nullptr);
    }
}

// Rows, as two tests: what they ask for, and what is left where any of it is refused, in all states of strings up to the
// last one named. What works on containers and characters wants those that it is given.
#define QV_TEST_OPERATIONS(name, lastState)                                                                            \
    std::vector<SRow> name();                                                                                          \
    TEST(AllocationCounts, name)                                                                                       \
    {                                                                                                                  \
        ExpectCounts(name());                                                                                          \
    }                                                                                                                  \
    TEST(RefusedMemory, name)                                                                                          \
    {                                                                                                                  \
        ExpectNothingHalfDone(name(), lastState);                                                                      \
    }                                                                                                                  \
    std::vector<SRow> name()

// ---- CString --------------------------------------------------------------------------------------------------------

QV_TEST_OPERATIONS(OfStringsReading, State_SpareShared)
{
    return {
        {"CString::Data", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.Data(), g.m_Shared.Data()); }},
        {"CString::CStr", "", Nothing(), [](SGround &g) { Take(g.m_Null.CStr(), g.m_Shared.CStr()); }},
        {"CString::Length", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.Length()); }},
        {"CString::Empty", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.Empty(), g.m_Fixed.Empty(" \t")); }},
        {"CString::View", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.View()); }},
        {"CString::begin", "", Nothing(), [](SGround &g) { Take(g.m_Shared.begin()); }},
        {"CString::end", "", Nothing(), [](SGround &g) { Take(g.m_Shared.end()); }},
        {"CString::Slice", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.Slice(3), g.m_Fixed.Slice(3, 4)); }},
        {"CString::At", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.At(2)); }},
        {"CString::operator[]", "", Nothing(), [](SGround &g) { Take(g.m_Fixed[2]); }},
        {"CString::First", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.First()); }},
        {"CString::Last", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.Last()); }},
        {"CString::MemoryFootprint", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.MemoryFootprint()); }},
        {"CString::IsShared", "", Nothing(), [](SGround &g) { Take(g.m_Shared.IsShared()); }},
        {"CString::CopyFigures", "", NothingOfOurs(),
         [](SGround &)
         {
             CString::SCopyFigures figures;
             CString::CopyFigures(figures);
         }},
        {"CString::CopySites", "", NothingOfOurs(),
         [](SGround &)
         {
             CString::SCopySite sites[2] = {};
             CString::CopySites(TMemoryView<CString::SCopySite>(sites));
         }},
        {"CString::IsUpper", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.IsUpper()); }},
        {"CString::IsLower", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.IsLower()); }},
        {"CString::AnalyzeCasing", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.AnalyzeCasing()); }},
        {"CString::Match", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed.Match("*te?t*"), g.m_Fixed.Match(g.m_Piece, CaseInsensitive)); }},
        {"CString::MatchWithInhibitors", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed.MatchWithInhibitors("*te?t*"), g.m_Fixed.MatchWithInhibitors(g.m_Piece)); }},
    };
}

QV_TEST_OPERATIONS(OfStringsComparing, State_SpareShared)
{
    return {
        {"CString::Compare", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed.Compare("text"), g.m_Fixed.Compare(g.m_View, CaseInsensitive));
             Take(g.m_Fixed.Compare(g.m_Shared), g.m_Fixed.Compare(g.m_Shared, CaseInsensitive));
         }},
        {"CString::LessThan", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed.LessThan("text"), g.m_Fixed.LessThan(g.m_Piece, CaseInsensitive)); }},
        {"CString::operator==", "", Nothing(), [](SGround &g) { Take(g.m_Fixed == "text", g.m_Fixed == g.m_Shared); }},
        {"CString::operator!=", "", Nothing(), [](SGround &g) { Take(g.m_Fixed != "text", g.m_Fixed != g.m_Shared); }},
        {"CString::operator<", "", Nothing(), [](SGround &g) { Take(g.m_Fixed < "text", g.m_Fixed < g.m_Piece); }},
        {"CString::operator>", "", Nothing(), [](SGround &g) { Take(g.m_Fixed > "text", g.m_Fixed > g.m_Piece); }},
        {"CString::operator<=", "", Nothing(), [](SGround &g) { Take(g.m_Fixed <= "text", g.m_Fixed <= g.m_Piece); }},
        {"CString::operator>=", "", Nothing(), [](SGround &g) { Take(g.m_Fixed >= "text", g.m_Fixed >= g.m_Piece); }},
        {"operator==", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed == g.m_View, g.m_View == g.m_Fixed, "a" == g.m_Fixed, "a" == g.m_View); }},
        {"operator!=", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed != g.m_View, g.m_View != g.m_Fixed, "a" != g.m_Fixed, "a" != g.m_View); }},
        {"operator<", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed < g.m_View, g.m_View < g.m_Fixed, "a" < g.m_Fixed, "a" < g.m_View);
             Take(g.m_View < g.m_PieceView, g.m_View < "a");
         }},
        {"operator>", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed > g.m_View, g.m_View > g.m_Fixed, "a" > g.m_Fixed, "a" > g.m_View);
             Take(g.m_View > g.m_PieceView, g.m_View > "a");
         }},
        {"operator<=", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed <= g.m_View, g.m_View <= g.m_Fixed, "a" <= g.m_Fixed, "a" <= g.m_View);
             Take(g.m_View <= g.m_PieceView, g.m_View <= "a");
         }},
        {"operator>=", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed >= g.m_View, g.m_View >= g.m_Fixed, "a" >= g.m_Fixed, "a" >= g.m_View);
             Take(g.m_View >= g.m_PieceView, g.m_View >= "a");
         }},
    };
}

QV_TEST_OPERATIONS(OfStringsSearching, State_SpareShared)
{
    return {
        {"CString::FindFirstOf", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed.FindFirstOf('t'), g.m_Fixed.FindFirstOf("text")); }},
        {"CString::FindNextOf", "", Nothing(),
         [](SGround &g) { Take(g.m_Fixed.FindNextOf('t', 1), g.m_Fixed.FindNextOf("text", 1)); }},
        {"CString::FindLastOf", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.FindLastOf('t')); }},
        {"CString::FindText", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed.FindText(g.m_PieceView), g.m_Fixed.FindText("text", 1, CaseInsensitive));
             Take(g.m_Long.FindText(CStringView(g.m_Long).Slice(0, 200)));
         }},
        {"CString::FindLastText", "", Nothing(),
         [](SGround &g)
         { Take(g.m_Fixed.FindLastText(g.m_PieceView), g.m_Fixed.FindLastText("text", CaseInsensitive)); }},
        {"CString::StartsWith", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed.StartsWith("Some"), g.m_Fixed.StartsWith(g.m_Piece));
             Take(g.m_Fixed.StartsWith(g.m_View, CaseInsensitive));
         }},
        {"CString::EndsWith", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed.EndsWith("e"), g.m_Fixed.EndsWith(g.m_Piece));
             Take(g.m_Fixed.EndsWith(g.m_View, CaseInsensitive));
         }},
        {"CString::Contains", "", Nothing(),
         [](SGround &g)
         {
             Take(g.m_Fixed.Contains("text"), g.m_Fixed.Contains(g.m_Piece));
             Take(g.m_Fixed.Contains(g.m_View, CaseInsensitive));
         }},
    };
}

QV_TEST_OPERATIONS(OfStringsMadeAndAssigned, State_SpareShared)
{
    return {
        {"CString::CString", "of nothing", Nothing(),
         [](SGround &) { Take(CString(), CString(""), CString("a", 0), CString(CStringView())); }},
        {"CString::CString", "of a text", NewFixed(kLength), [](SGround &g) { g.m_Out = CString(kText.c_str()); }},
        {"CString::CString", "of counted characters", NewFixed(5), [](SGround &g) { g.m_Out = CString("abcdef", 5); }},
        {"CString::CString", "of a view", NewFixed(kLength), [](SGround &g) { g.m_Out = CString(g.m_View); }},
        {"CString::CString", "a copy of a handle", Nothing(), [](SGround &g) { const CString copy(g.m_Fixed); }},
        {"CString::CString", "a moved handle", Nothing(), [](SGround &g) { g.m_Out = CString(std::move(g.m_Fixed)); }},
        {"CString::operator=", "a handle, onto nothing", Nothing(), [](SGround &g) { g.m_Null = g.m_Fixed; }},
        {"CString::operator=", "a handle, onto the last one of the fixed form", Nothing().Freeing(1),
         [](SGround &g) { g.m_Fixed = g.m_Shared; }},
        {"CString::operator=", "a handle, onto the last one of the resizable form", Nothing().Freeing(2),
         [](SGround &g) { g.m_Roomy = g.m_Shared; }},
        {"CString::operator=", "a handle, onto a shared one", Nothing(), [](SGround &g) { g.m_Shared = g.m_Fixed; }},
        {"CString::operator=", "a moved handle, onto the last one", Nothing().Freeing(1),
         [](SGround &g) { g.m_Fixed = std::move(g.m_Shared); }},
        {"CString::operator=", "a view", NewFixed(kLength).Freeing(1), [](SGround &g) { g.m_Fixed = g.m_View; }},
        {"CString::swap", "", Nothing(), [](SGround &g) { swap(g.m_Fixed, g.m_Roomy); }},
        {"CString::Clear", "alone", Nothing(), [](SGround &g) { g.m_Fixed.Clear(); }},
        {"CString::Clear", "alone, with room", Nothing(), [](SGround &g) { g.m_Roomy.Clear(); }},
        {"CString::Clear", "shared", Nothing(), [](SGround &g) { g.m_Shared.Clear(); }},
        {"CString::VAFormat", "", NewFixed(5), [](SGround &g) { g.m_Out = Formatted("%d %s", 12, "ab"); }},
        {"CString::VAFormat", "of 511 characters", NewFixed(511), [](SGround &g) { g.m_Out = Formatted("%511d", 1); }},
        {"CString::VAFormat", "of 512 characters", OneOf(513).And(NewFixed(512)).Freeing(1),
         [](SGround &g) { g.m_Out = Formatted("%512d", 1); }},
        {"CString::Format", "", NewFixed(5), [](SGround &g) { g.m_Out = CString::Format("%d %s", 12, "ab"); }},
        {"CString::Format", "of 3000 characters", NewFixed(3000),
         [](SGround &g) { g.m_Out = CString::Format("%3000d", 1); }},
    };
}

QV_TEST_OPERATIONS(OfStringsWrittenTo, State_SpareShared)
{
    return {
        {"CString::RawDataForWriting", "alone", Nothing(), [](SGround &g) { Take(g.m_Fixed.RawDataForWriting()); }},
        {"CString::RawDataForWriting", "shared", NewFixed(kLength),
         [](SGround &g) { Take(g.m_Shared.RawDataForWriting()); }},
        {"CString::RawDataForWriting", "shared, of the resizable form", NewFixed(kLength),
         [](SGround &g) { Take(g.m_SharedRoomy.RawDataForWriting()); }},
        {"CString::ViewForWriting", "alone", Nothing(), [](SGround &g) { Take(g.m_Roomy.ViewForWriting()); }},
        {"CString::ViewForWriting", "shared", NewFixed(kLength), [](SGround &g) { Take(g.m_Shared.ViewForWriting()); }},
        {"CString::RebuildAfterRawModification", "", Nothing(),
         [](SGround &g)
         {
             char *const data = g.m_Fixed.RawDataForWriting();
             if (data != nullptr)
                 data[3] = '\0';
             g.m_Fixed.RebuildAfterRawModification();
         }},
        {"CString::AtForWriting", "alone", Nothing(), [](SGround &g) { g.m_Fixed.AtForWriting(1) = 'x'; }},
        {"CString::AtForWriting", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.AtForWriting(1) = 'x'; }},
        {"CString::FirstForWriting", "alone", Nothing(), [](SGround &g) { g.m_Fixed.FirstForWriting() = 'x'; }},
        {"CString::FirstForWriting", "shared", NewFixed(kLength),
         [](SGround &g) { g.m_Shared.FirstForWriting() = 'x'; }},
        {"CString::LastForWriting", "alone", Nothing(), [](SGround &g) { g.m_Fixed.LastForWriting() = 'x'; }},
        {"CString::LastForWriting", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.LastForWriting() = 'x'; }},
    };
}

QV_TEST_OPERATIONS(OfStringsAppendedTo, State_SpareShared)
{
    return {
        {"CString::Append", "of each kind, in place", Nothing(),
         [](SGround &g)
         {
             g.m_Roomy.Append(g.m_Piece).Append(g.m_PieceView).Append("text").Append("text", 2).Append('x');
             g.m_Roomy.Append(g.m_Roomy).Append(static_cast<const char *>(nullptr)).Append(CString());
         },
         kSeveralEdits},
        {"CString::Append", "all that there is room for", Nothing(),
         [](SGround &g) { g.m_Roomy.Append(CStringView(g.m_Long).Slice(0, kRoom - g.m_Roomy.Length())); }},
        {"CString::Append", "one character more than there is room for", Grown(32),
         [](SGround &g) { g.m_Tight.Append('x'); }},
        {"CString::Append", "a text for which there is no room", Grown(331),
         [](SGround &g) { g.m_Tight.Append(g.m_Long); }},
        {"CString::Append", "to nothing", NewResizable(kPiece.size()), [](SGround &g) { g.m_Null.Append(g.m_Piece); }},
        {"CString::Append", "to the fixed form", NewResizable(kSum).Freeing(1),
         [](SGround &g) { g.m_Fixed.Append(g.m_PieceView); }},
        {"CString::Append", "a character to the fixed form", NewResizable(kLength + 1).Freeing(1),
         [](SGround &g) { g.m_Fixed.Append('x'); }},
        {"CString::Append", "to a shared string", NewResizable(kSum),
         [](SGround &g) { g.m_SharedRoomy.Append(kPiece.c_str()); }},
        {"CString::TryAppend", "of each kind, in the room", Nothing(),
         [](SGround &g)
         {
             g.m_Answer = g.m_Roomy.TryAppend(g.m_Piece) && g.m_Roomy.TryAppend(g.m_PieceView) &&
                          g.m_Roomy.TryAppend("text") && g.m_Roomy.TryAppend('x') && g.m_Roomy.TryAppend(g.m_Roomy);
         },
         kSeveralEdits},
        {"CString::TryAppend", "without the room", Nothing(),
         [](SGround &g)
         {
             g.m_Answer = !(g.m_Tight.TryAppend(g.m_Long) || g.m_Fixed.TryAppend('x') || g.m_Null.TryAppend("text") ||
                            g.m_SharedRoomy.TryAppend(g.m_Piece));
         },
         kSeveralEdits},
        {"CString::Reserve", "what is there", Nothing(), [](SGround &g) { g.m_Answer = g.m_Roomy.Reserve(kRoom); }},
        {"CString::Reserve", "in place", Grown(331), [](SGround &g) { g.m_Answer = g.m_Tight.Reserve(331); }},
        {"CString::Reserve", "of nothing", NewResizable(331), [](SGround &g) { g.m_Answer = g.m_Null.Reserve(331); }},
        {"CString::Reserve", "of the fixed form", NewResizable(331).Freeing(1),
         [](SGround &g) { g.m_Answer = g.m_Fixed.Reserve(331); }},
        {"CString::Reserve", "of a shared string", NewResizable(331),
         [](SGround &g) { g.m_Answer = g.m_SharedRoomy.Reserve(331); }},
        {"CString::operator+=", "of each kind, in place", Nothing(),
         [](SGround &g)
         {
             g.m_Roomy += g.m_Piece;
             g.m_Roomy += g.m_PieceView;
             g.m_Roomy += "text";
             g.m_Roomy += 'x';
         },
         kSeveralEdits},
        {"CString::operator+=", "to the fixed form", NewResizable(kSum).Freeing(1),
         [](SGround &g) { g.m_Fixed += g.m_Piece; }},
        {"CString::Prepend", "of each kind, in place", Nothing(),
         [](SGround &g)
         { g.m_Roomy.Prepend(g.m_Piece).Prepend(g.m_PieceView).Prepend("text").Prepend("text", 2).Prepend('x'); },
         kSeveralEdits},
        {"CString::Prepend", "one character more than there is room for", Grown(32),
         [](SGround &g) { g.m_Tight.Prepend('x'); }},
        {"CString::Prepend", "to nothing", NewFixed(kPiece.size()),
         [](SGround &g) { g.m_Null.Prepend(kPiece.c_str()); }},
        {"CString::Prepend", "a view to nothing", NewFixed(kPiece.size()),
         [](SGround &g) { g.m_Null.Prepend(g.m_PieceView); }},
        {"CString::Prepend", "to the fixed form", NewResizable(kSum).Freeing(1),
         [](SGround &g) { g.m_Fixed.Prepend(g.m_Piece); }},
        {"CString::Prepend", "to a shared string", NewResizable(kSum),
         [](SGround &g) { g.m_SharedRoomy.Prepend(g.m_Piece); }},
        {"CString::Insert", "of each kind, in place", Nothing(),
         [](SGround &g) { g.m_Roomy.Insert(1, g.m_Piece).Insert(2, g.m_PieceView).Insert(3, "text").Insert(4, 'x'); }},
        {"CString::Insert", "one character more than there is room for", Grown(32),
         [](SGround &g) { g.m_Tight.Insert(7, 'x'); }},
        {"CString::Insert", "into nothing", NewResizable(kPiece.size()),
         [](SGround &g) { g.m_Null.Insert(0, g.m_Piece); }},
        {"CString::Insert", "into the fixed form", NewResizable(kSum).Freeing(1),
         [](SGround &g) { g.m_Fixed.Insert(4, g.m_Piece); }},
        {"CString::Insert", "into a shared string", NewResizable(kSum),
         [](SGround &g) { g.m_SharedRoomy.Insert(4, g.m_Piece); }},
        {"CString::Erase", "alone", Nothing(), [](SGround &g) { g.m_Fixed.Erase(2, 5); }},
        {"CString::Erase", "alone, with room", Nothing(), [](SGround &g) { g.m_Roomy.Erase(0, 5); }},
        {"CString::Erase", "shared", NewFixed(kLength - 3), [](SGround &g) { g.m_Shared.Erase(2, 5); }},
        {"CString::Erase", "nothing, shared", Nothing(), [](SGround &g) { g.m_Shared.Erase(2, 2); }},
        {"CString::Ident", "", NewFixed(kLength + 3).Freeing(1), [](SGround &g) { g.m_Fixed.Ident(0, 3, 8); }},
        {"CString::Ident", "by nothing", NewFixed(kLength).Freeing(1), [](SGround &g) { g.m_Fixed.Ident(0, 0, 8); }},
    };
}

QV_TEST_OPERATIONS(OfPaths, State_SpareShared)
{
    return {
        {"CString::AppendSlashAnd", "of each kind, in place", Nothing(),
         [](SGround &g)
         {
             g.m_Path.AppendSlashAnd(g.m_Piece)
                 .AppendSlashAnd(g.m_PieceView)
                 .AppendSlashAnd("c/")
                 .AppendSlashAnd("d", 1);
             g.m_Path.AppendSlashAnd("");
         },
         kSeveralEdits},
        {"CString::AppendSlashAnd", "one character more than there is room for", Grown(32),
         [](SGround &g)
         {
             g.m_Tight.Erase(0, 1);
             g.m_Tight.AppendSlashAnd("x");
         },
         kSeveralEdits},
        {"CString::AppendSlashAnd", "to nothing", NewResizable(kPiece.size()),
         [](SGround &g) { g.m_Null.AppendSlashAnd(g.m_Piece); }},
        {"CString::AppendSlashAnd", "to the fixed form", NewResizable(kSum + 1).Freeing(1),
         [](SGround &g) { g.m_Fixed.AppendSlashAnd(g.m_Piece); }},
        {"CString::AppendSlashAnd", "to a shared string", NewResizable(kSum + 1),
         [](SGround &g) { g.m_SharedRoomy.AppendSlashAnd(g.m_Piece); }},
        {"CString::operator/=", "of each kind, in place", Nothing(),
         [](SGround &g)
         {
             g.m_Path /= g.m_Piece;
             g.m_Path /= g.m_PieceView;
             g.m_Path /= "c";
         },
         kSeveralEdits},
        {"CString::operator/=", "to the fixed form", NewResizable(kSum + 1).Freeing(1),
         [](SGround &g) { g.m_Fixed /= g.m_Piece; }},
        {"CString::AppendSlash", "in place", Nothing(), [](SGround &g) { g.m_Path.AppendSlash().AppendSlash(); }},
        {"CString::AppendSlash", "to the fixed form", NewResizable(kLength + 1).Freeing(1),
         [](SGround &g) { g.m_Fixed.AppendSlash(); }},
        {"CString::SlashAppended", "", NewResizable(kLength + 1),
         [](SGround &g) { g.m_Out = g.m_Fixed.SlashAppended(); }},
        {"operator/", "", NewResizable(kSum + 1), [](SGround &g) { g.m_Out = g.m_Fixed / g.m_Piece; }, kLeftOperand},
        {"operator/", "of a view", NewResizable(kSum + 1), [](SGround &g) { g.m_Out = g.m_View / g.m_Piece; }},
        {"operator/", "of a text", NewResizable(kSum + 1), [](SGround &g) { g.m_Out = kText.c_str() / g.m_Piece; }},
        {"operator/", "and a view, and a text", NewResizable(kSum + 1).And(NewResizable(kSum + 1)),
         [](SGround &g)
         {
             g.m_Out = g.m_Fixed / g.m_PieceView;
             g.m_Null = g.m_Fixed / kPiece.c_str();
         },
         kLeftOperand},
        {"operator/", "of a temporary with room", Nothing(),
         [](SGround &g) { g.m_Out = std::move(g.m_Path) / g.m_Piece / g.m_PieceView / "c"; }, kLeftOperand},
        {"JoinPath", "of a list", NewResizable(kSum + 1),
         [](SGround &g)
         {
             const CStringView pieces[] = {g.m_View, g.m_PieceView};
             g.m_Out = JoinPath(TMemoryView<const CStringView>(pieces));
         }},
        {"JoinPath", "of arguments", NewResizable(kSum + 3),
         [](SGround &g) { g.m_Out = JoinPath(g.m_Fixed, g.m_PieceView, "c"); }},
    };
}

QV_TEST_OPERATIONS(OfStringsEditedInPlace, State_SpareShared)
{
    return {
        {"CString::ToUppercase", "alone", Nothing(), [](SGround &g) { g.m_Fixed.ToUppercase(); }},
        {"CString::ToUppercase", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.ToUppercase(); }},
        {"CString::ToLowercase", "alone", Nothing(), [](SGround &g) { g.m_Roomy.ToLowercase(); }},
        {"CString::ToLowercase", "shared", NewFixed(kLength), [](SGround &g) { g.m_SharedRoomy.ToLowercase(); }},
        {"CString::ConformTo", "alone", Nothing(), [](SGround &g) { g.m_Fixed.ConformTo(CasingType_Uppercase); }},
        {"CString::ConformTo", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.ConformTo(CasingType_Mixed); }},
        {"CString::Unescape", "alone", Nothing(), [](SGround &g) { g.m_Escapable.Unescape(); }},
        {"CString::Unescape", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.Unescape(); }},
        {"CString::Escape", "", NewFixed(2 * kLength).Freeing(1), [](SGround &g) { g.m_Fixed.Escape(); }},
        {"CString::Escape", "shared", NewFixed(2 * kLength), [](SGround &g) { g.m_Shared.Escape(); }},
        {"CString::Reverse", "alone", Nothing(), [](SGround &g) { g.m_Fixed.Reverse(); }, kSharedReversal},
        {"CString::Reverse", "shared", Nothing(), [](SGround &g) { g.m_Shared.Reverse(); }, kSharedReversal},
        {"CString::Strip", "alone", Nothing(), [](SGround &g) { g.m_Fixed.Strip("Se"); }},
        {"CString::Strip", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.Strip("Se"); }},
        {"CString::Strip", "nothing, shared", Nothing(), [](SGround &g) { g.m_Shared.Strip("#"); }},
        {"CString::StripLeft", "alone", Nothing(), [](SGround &g) { g.m_Roomy.StripLeft("Se"); }},
        {"CString::StripLeft", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.StripLeft("Se"); }},
        {"CString::StripRight", "alone", Nothing(), [](SGround &g) { g.m_Roomy.StripRight("Se"); }},
        {"CString::StripRight", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.StripRight("Se"); }},
        {"CString::Uncomment", "alone", Nothing(), [](SGround &g) { g.m_Commented.Uncomment(); }},
        {"CString::Uncomment", "shared", NewFixed(kLength), [](SGround &g) { g.m_Shared.Uncomment(); }},
    };
}

QV_TEST_OPERATIONS(OfStringsThatGiveNewOnes, State_SpareShared)
{
    return {
        {"CString::Uppercase", "", NewFixed(kLength), [](SGround &g) { g.m_Out = g.m_Fixed.Uppercase(); }},
        {"CString::Lowercase", "", NewFixed(kLength), [](SGround &g) { g.m_Out = g.m_Fixed.Lowercase(); }},
        {"CString::ConformedTo", "", NewFixed(kLength),
         [](SGround &g) { g.m_Out = g.m_Fixed.ConformedTo(CasingType_Uppercase); }},
        {"CString::ConformedTo", "another casing", NewFixed(kLength),
         [](SGround &g) { g.m_Out = g.m_Fixed.ConformedTo(CasingType_Mixed); }},
        {"CString::Escaped", "", NewFixed(2 * kLength), [](SGround &g) { g.m_Out = g.m_Fixed.Escaped(); }},
        {"CString::Unescaped", "", NewFixed(kLength), [](SGround &g) { g.m_Out = g.m_Fixed.Unescaped(); }},
        {"CString::Reversed", "", NewFixed(kLength), [](SGround &g) { g.m_Out = g.m_Fixed.Reversed(); }},
        {"CString::Repeat", "", NewFixed(3 * kLength), [](SGround &g) { g.m_Out = g.m_Fixed.Repeat(3); }},
        {"CString::Repeat", "once, and never", Nothing(),
         [](SGround &g)
         {
             g.m_Out = g.m_Fixed.Repeat(1);
             g.m_Null = g.m_Fixed.Repeat(0);
         }},
        {"CString::PadLeft", "", NewFixed(50), [](SGround &g) { g.m_Out = g.m_Fixed.PadLeft(50); }},
        {"CString::PadLeft", "with nothing missing", Nothing(), [](SGround &g) { g.m_Out = g.m_Fixed.PadLeft(3); }},
        {"CString::PadRight", "", NewFixed(50), [](SGround &g) { g.m_Out = g.m_Fixed.PadRight(50, '.'); }},
        {"CString::PadRight", "with nothing missing", Nothing(), [](SGround &g) { g.m_Out = g.m_Fixed.PadRight(3); }},
        {"CString::Replace", "by as much", NewFixed(kLength),
         [](SGround &g) { g.m_Out = g.m_Fixed.Replace("text", "TEXT"); }},
        {"CString::Replace", "by more", NewFixed(kLength + 3),
         [](SGround &g) { g.m_Out = g.m_Fixed.Replace("text", CStringView("content")); }},
        {"CString::Replace", "by nothing", NewFixed(kLength - 4),
         [](SGround &g) { g.m_Out = g.m_Fixed.Replace(CStringView("text"), ""); }},
        {"CString::Replace", "many", NewFixed(2 * kLongText.size()),
         [](SGround &g) { g.m_Out = g.m_Long.Replace(CStringView("x"), CStringView("yz")); }},
        {"CString::Replace", "of nothing", Nothing(), [](SGround &g) { g.m_Out = g.m_Fixed.Replace("", "y"); }},
        {"CString::Replace", "a character", NewFixed(kLength),
         [](SGround &g) { g.m_Out = g.m_Fixed.Replace('t', 'T'); }},
        {"CString::Extract", "", NewFixed(6), [](SGround &g) { g.m_Out = g.m_Fixed.Extract(2, 8); }},
        {"CString::Extract", "nothing", Nothing(), [](SGround &g) { g.m_Out = g.m_Fixed.Extract(2, 2); }},
        {"CString::Extract", "of a buffer", NewFixed(3),
         [](SGround &g) { g.m_Out = CString::Extract("abcdef", 1, 4); }},
    };
}

QV_TEST_OPERATIONS(OfStringsAddedAndJoined, State_SpareShared)
{
    return {
        {"operator+", "", NewResizable(kSum), [](SGround &g) { g.m_Out = g.m_Fixed + g.m_Piece; }},
        {"operator+", "and a view", NewResizable(kSum), [](SGround &g) { g.m_Out = g.m_Fixed + g.m_PieceView; }},
        {"operator+", "and a text", NewResizable(kSum), [](SGround &g) { g.m_Out = g.m_Fixed + kPiece.c_str(); }},
        {"operator+", "and a character", NewResizable(kLength + 1), [](SGround &g) { g.m_Out = g.m_Fixed + 'x'; }},
        {"operator+", "of a view", NewResizable(kSum), [](SGround &g) { g.m_Out = g.m_View + g.m_Piece; }},
        {"operator+", "of a text", NewResizable(kSum), [](SGround &g) { g.m_Out = kText.c_str() + g.m_Piece; }},
        {"operator+", "of two views", NewResizable(kSum), [](SGround &g) { g.m_Out = g.m_View + g.m_PieceView; }},
        {"operator+", "of a temporary with room", Nothing(),
         [](SGround &g) { g.m_Out = std::move(g.m_Roomy) + g.m_Piece + g.m_PieceView + "text" + 'x'; }, kSeveralEdits},
        {"Concat", "", NewFixed(kSum + 1), [](SGround &g) { g.m_Out = Concat(g.m_Fixed, g.m_PieceView, '\n'); }},
        {"Concat", "nothing", Nothing(), [](SGround &g) { g.m_Out = Concat("", CString()); }},
        {"Join", "of arguments", NewFixed(kSum + 2),
         [](SGround &g) { g.m_Out = Join(", ", g.m_Fixed, g.m_PieceView); }},
        {"Join", "of a list", NewFixed(3 * kPiece.size() + 2),
         [](SGround &g) { g.m_Out = Join(',', TStridedMemoryView<const CString>(g.m_List)); }},
    };
}

QV_TEST_OPERATIONS(OfSplitting, State_SpareShared)
{
    const SBlocks words = NewFixed(2).And(NewFixed(3));
    const SBlocks room = OneOf(FirstRoom(1, sizeof(CString)));
    const SBlocks viewRoom = OneOf(FirstRoom(1, sizeof(CStringView)));
    return {
        {"CString::Split", "into views, with room", Nothing(),
         [](SGround &g) { Take(g.m_Words.Split(' ', g.m_Views), g.m_Words.Split(&IsBlank, g.m_Views)); }},
        {"CString::Split", "into views", viewRoom, [](SGround &g) { Take(g.m_Words.Split(' ', g.m_NoViews)); }},
        {"CString::Split", "into strings, with room", words,
         [](SGround &g) { Take(g.m_Words.Split(' ', g.m_Strings)); }},
        {"CString::Split", "into strings", words.And(room),
         [](SGround &g) { Take(g.m_Words.Split(' ', g.m_NoStrings)); }},
        {"CString::Split", "by a predicate", words, [](SGround &g) { Take(g.m_Words.Split(&IsBlank, g.m_Strings)); }},
        {"CString::Split_ThreadSafe", "into views, with room", Nothing(),
         [](SGround &g) { Take(g.m_Words.Split_ThreadSafe(' ', g.m_Views)); }},
        {"CString::Split_ThreadSafe", "into strings, with room", words,
         [](SGround &g) { Take(g.m_Words.Split_ThreadSafe(' ', g.m_Strings)); }},
        {"CStringView::Split", "with room", Nothing(),
         [](SGround &g) { Take(g.m_View.Split(' ', g.m_Views), g.m_View.Split(&IsBlank, g.m_Views)); }},
        {"CStringView::Split", "", viewRoom, [](SGround &g) { Take(g.m_View.Split(' ', g.m_NoViews)); }},
        {"CStringBatchSplitter::AddSplitChar", "", Nothing(), [](SGround &g) { g.m_Separators.AddSplitChar('a'); }},
        {"CStringBatchSplitter::AddSplitChars", "", Nothing(),
         [](SGround &g)
         {
             g.m_Separators.AddSplitChars("abc");
             g.m_Separators.AddSplitChars(g.m_Fixed);
         }},
        {"CStringBatchSplitter::RemoveSplitChar", "", Nothing(),
         [](SGround &g) { g.m_Separators.RemoveSplitChar('a'); }},
        {"CStringBatchSplitter::RemoveSplitChars", "", Nothing(),
         [](SGround &g)
         {
             g.m_Separators.RemoveSplitChars("abc");
             g.m_Separators.RemoveSplitChars(g.m_Fixed);
         }},
        {"CStringBatchSplitter::Split", "with room", words,
         [](SGround &g) { g.m_Separators.Split(g.m_Words, g.m_Strings); }},
        {"CStringBatchSplitter::Split_ThreadSafe", "with room", words,
         [](SGround &g) { g.m_Separators.Split_ThreadSafe(g.m_Words, g.m_Strings); }},
        {"Pieces", "", Nothing(),
         [](SGround &g)
         {
             for (const CStringView &piece : Pieces(g.m_Fixed, ' ').WithEmpty().AtMost(3))
                 Take(piece);
             for (const CStringView &piece : Pieces(g.m_View, ", ").FromEnd())
                 Take(piece);
         }},
        {"PiecesOfSet", "", Nothing(),
         [](SGround &g)
         {
             for (const CStringView &piece : PiecesOfSet(g.m_Fixed, ", "))
                 Take(piece);
         }},
        {"Lines", "", Nothing(),
         [](SGround &g)
         {
             for (const CStringView &line : Lines(g.m_Fixed))
                 Take(line);
         }},
    };
}

// 4 bytes for each character of the longer text, and 4 more.
SBlocks WeighedBlock(u64 longerLength)
{
    return OneOf(4 * (longerLength + 1)).Freeing(1);
}

QV_TEST_OPERATIONS(OfFuzzyMatching, State_SpareShared)
{
    constexpr u64 kRanked = sizeof(CString::SFuzzyMatchListElement);
    // Of the one strip of rows, the differences down and across it by words of 8 bytes, and two words for each column.
    const SBlocks alignment = OneOf(16 + (kLength + 7) / 8 * 8 + 16 * kLength).Freeing(1);
    return {
        {"CString::FuzzyMatch", "", Nothing(), [](SGround &g) { Take(g.m_Fixed.FuzzyMatch(g.m_Piece)); }},
        {"CString::FuzzyMatch", "of a long text", WeighedBlock(kLongText.size()),
         [](SGround &g) { Take(g.m_Fixed.FuzzyMatch(g.m_Long)); }},
        {"CStringView::FuzzyMatch", "", Nothing(),
         [](SGround &g) { Take(g.m_View.FuzzyMatch(g.m_PieceView), g.m_View.FuzzyMatch("text")); }},
        {"CStringView::FuzzyMatch", "of a long text", WeighedBlock(kLongText.size()),
         [](SGround &g) { Take(g.m_View.FuzzyMatch(CStringView(g.m_Long))); }},
        {"CString::FuzzyMatchList", "", Nothing(),
         [](SGround &g)
         { g.m_Piece.FuzzyMatchList(TStridedMemoryView<const CString>(g.m_List), TMemoryView<float>(g.m_Weights)); }},
        {"CString::FuzzyMatchList", "with a long entry", WeighedBlock(kLongText.size()),
         [](SGround &g) {
             g.m_Piece.FuzzyMatchList(TStridedMemoryView<const CString>(g.m_LongList), TMemoryView<float>(g.m_Weights));
         }},
        {"CString::FuzzyMatchList_Ordered", "with room", Nothing(),
         [](SGround &g)
         { g.m_Piece.FuzzyMatchList_Ordered(TStridedMemoryView<const CString>(g.m_List), g.m_Ranked, 0.0f); }},
        {"CString::FuzzyMatchList_Ordered", "", OneOf(FirstRoom(1, kRanked)),
         [](SGround &g)
         { g.m_Piece.FuzzyMatchList_Ordered(TStridedMemoryView<const CString>(g.m_List), g.m_NoRanked, 0.0f); }},
        {"CString::FuzzyMatchList_Top", "with room", Nothing(),
         [](SGround &g)
         { Take(g.m_Piece.FuzzyMatchList_Top(TStridedMemoryView<const CString>(g.m_List), g.m_Ranked, 0.0f, 2)); }},
        {"CString::FuzzyMatchList_Top", "", OneOf(2 * kRanked),
         [](SGround &g)
         { Take(g.m_Piece.FuzzyMatchList_Top(TStridedMemoryView<const CString>(g.m_List), g.m_NoRanked, 0.0f, 2)); }},
        {"CString::FuzzyMatchPositions", "with room", alignment,
         [](SGround &g) { Take(g.m_Fixed.FuzzyMatchPositions(g.m_Piece, g.m_Positions)); }},
        {"CString::FuzzyMatchPositions", "", alignment.And(OneOf(kPiece.size() * sizeof(u32))),
         [](SGround &g) { Take(g.m_Fixed.FuzzyMatchPositions(g.m_Piece, g.m_NoPositions)); }},
    };
}

// ---- Numbers --------------------------------------------------------------------------------------------------------

QV_TEST_OPERATIONS(OfNumbers, State_SpareShared)
{
    return
    {
        {"ParseNumber", "", Nothing(),
         [](SGround &)
         {
             u16 number = 0;
             Take(ParseNumber("123", number), ParseNumber(CStringView("7f"), number, 16));
#if QV_HAS_FLOATING_NUMBERS
             double floating = 0;
             Take(ParseNumber("1.5e3", floating), ParseNumber(CStringView("-inf"), floating));
#endif
         }},
            {"AppendNumber", "in place", Nothing(),
             [](SGround &g)
             {
                 AppendNumber(AppendNumber(g.m_Roomy, 123), -1, 2);
#if QV_HAS_FLOATING_NUMBERS
                 AppendNumber(AppendNumber(g.m_Roomy, 0.125), 2.5, 2);
                 AppendNumber(AppendNumber(g.m_Roomy, 1.5f, std::chars_format::hex), 1.5, std::chars_format::scientific,
                              3);
#endif
             },
             kSeveralEdits},
            {"AppendNumber", "to the fixed form", NewResizable(kLength + 3).Freeing(1),
             [](SGround &g) { AppendNumber(g.m_Fixed, 123); }},
            {"AppendNumber", "to nothing", NewResizable(3), [](SGround &g) { AppendNumber(g.m_Null, 123); }},
#if QV_HAS_FLOATING_NUMBERS
            {"AppendNumber", "with as many digits as a number has", NewResizable(kLength + 2 + 1074).Freeing(1),
             [](SGround &g) { AppendNumber(g.m_Fixed, 0.5, 1074); }},
#endif
    };
}

// ---- Containers -----------------------------------------------------------------------------------------------------

QV_TEST_OPERATIONS(OfContainers, State_AsGiven)
{
    return {
        {"CStringContainer::New", "", NewFixed(kLength),
         [](SGround &g) { g.m_OutContainer = CStringContainer::New(kText.c_str()); }},
        {"CStringContainer::New", "of a length", NewFixed(15),
         [](SGround &g) { g.m_OutContainer = CStringContainer::New(nullptr, 15); }},
        {"CStringContainer::New", "of nothing", Nothing(),
         [](SGround &g) { g.m_OutContainer = CStringContainer::New(""); }},
        {"CStringContainer::NewResizable", "", NewResizable(kLength),
         [](SGround &g) { g.m_OutContainer = CStringContainer::NewResizable(kText.c_str()); }},
        {"CStringContainer::NewResizable", "of nothing", NewResizable(0),
         [](SGround &g) { g.m_OutContainer = CStringContainer::NewResizable(""); }},
        {"CStringContainer::NewResizable", "with a capacity", NewResizable(100),
         [](SGround &g) { g.m_OutContainer = CStringContainer::NewResizable("a", 1, 100); }},
        {"CStringContainer::Data", "", Nothing(), [](SGround &g) { Take(ContainerOf(g.m_Fixed)->Data()); }},
        {"CStringContainer::Length", "", Nothing(), [](SGround &g) { Take(ContainerOf(g.m_Fixed)->Length()); }},
        {"CStringContainer::SafeData", "", Nothing(), [](SGround &) { Take(CStringContainer::SafeData(nullptr)); }},
        {"CStringContainer::SafeLength", "", Nothing(), [](SGround &) { Take(CStringContainer::SafeLength(nullptr)); }},
        {"CStringContainer::SupportsDynamicResize", "", Nothing(),
         [](SGround &g) { Take(ContainerOf(g.m_Fixed)->SupportsDynamicResize()); }},
        {"CStringContainer::MemoryFootprint", "", Nothing(),
         [](SGround &g) { Take(ContainerOf(g.m_Fixed)->MemoryFootprint()); }},
        {"CStringContainer::DynamicResize", "with room", Nothing(),
         [](SGround &g) { Take(ContainerOf(g.m_Roomy)->DynamicResize(kRoom)); }},
        {"CStringContainer::DynamicResize", "", Grown(1000),
         [](SGround &g) { Take(ContainerOf(g.m_Roomy)->DynamicResize(1000)); }},
        {"CStringContainer::UnsafeSetLength", "", Nothing(),
         [](SGround &g)
         {
             ContainerOf(g.m_Roomy)->Data()[3] = '\0';
             ContainerOf(g.m_Roomy)->UnsafeSetLength(3);
         }},
        {"CStringContainer::Clear", "", Nothing(), [](SGround &g) { ContainerOf(g.m_Roomy)->Clear(); }},
        {"CStringContainer::Rebuild", "", Nothing(), [](SGround &g) { ContainerOf(g.m_Roomy)->Rebuild(); }},
        {"CStringContainer::AddReference", "and taking it away again", Nothing(),
         [](SGround &g)
         {
             ContainerOf(g.m_Fixed)->AddReference();
             ContainerOf(g.m_Fixed)->RemoveReference();
         }},
        {"CStringContainer::RemoveReference", "the last one of the fixed form", Nothing().Freeing(1),
         [](SGround &g) { g.m_Fixed = CString(); }},
        {"CStringContainer::RemoveReference", "the last one of the resizable form", Nothing().Freeing(2),
         [](SGround &g) { g.m_Roomy = CString(); }},
    };
}

// ---- Views ----------------------------------------------------------------------------------------------------------

QV_TEST_OPERATIONS(OfViews, State_SpareShared)
{
    return {
        {"CStringView::CStringView", "", Nothing(),
         [](SGround &g) { Take(CStringView("abc"), CStringView(g.m_Fixed), CStringView(g.m_Memory)); }},
        {"CStringView::FromNullTerminatedString", "", Nothing(),
         [](SGround &) { Take(CStringView::FromNullTerminatedString("abc")); }},
        {"CStringView::Data", "", Nothing(), [](SGround &g) { Take(g.m_View.Data()); }},
        {"CStringView::Length", "", Nothing(), [](SGround &g) { Take(g.m_View.Length()); }},
        {"CStringView::Empty", "", Nothing(), [](SGround &g) { Take(g.m_View.Empty(), g.m_View.Empty(" ")); }},
        {"CStringView::View", "", Nothing(), [](SGround &g) { Take(g.m_View.View()); }},
        {"CStringView::begin", "", Nothing(), [](SGround &g) { Take(g.m_View.begin()); }},
        {"CStringView::end", "", Nothing(), [](SGround &g) { Take(g.m_View.end()); }},
        {"CStringView::operator[]", "", Nothing(), [](SGround &g) { Take(g.m_View[1]); }},
        {"CStringView::Clear", "", Nothing(), [](SGround &g) { g.m_View.Clear(); }},
        {"CStringView::ToString", "", NewFixed(kLength), [](SGround &g) { g.m_Out = g.m_View.ToString(); }},
        {"CStringView::ToString", "of nothing", Nothing(), [](SGround &g) { g.m_Out = CStringView().ToString(); }},
        {"CStringView::Slice", "", Nothing(), [](SGround &g) { Take(g.m_View.Slice(2), g.m_View.Slice(2, 3)); }},
        {"CStringView::Strip", "", Nothing(), [](SGround &g) { Take(g.m_View.Strip('S'), g.m_View.Strip("Se")); }},
        {"CStringView::StripLeft", "", Nothing(),
         [](SGround &g) { Take(g.m_View.StripLeft('S'), g.m_View.StripLeft("Se")); }},
        {"CStringView::StripRight", "", Nothing(),
         [](SGround &g) { Take(g.m_View.StripRight('S'), g.m_View.StripRight("Se")); }},
        {"CStringView::Compare", "", Nothing(),
         [](SGround &g) { Take(g.m_View.Compare("a"), g.m_View.Compare(g.m_PieceView, CaseInsensitive)); }},
        {"CStringView::operator==", "", Nothing(),
         [](SGround &g) { Take(g.m_View == "a", g.m_View == g.m_PieceView); }},
        {"CStringView::operator!=", "", Nothing(),
         [](SGround &g) { Take(g.m_View != "a", g.m_View != g.m_PieceView); }},
        {"CStringView::IsUpper", "", Nothing(), [](SGround &g) { Take(g.m_View.IsUpper()); }},
        {"CStringView::IsLower", "", Nothing(), [](SGround &g) { Take(g.m_View.IsLower()); }},
        {"CStringView::AnalyzeCasing", "", Nothing(), [](SGround &g) { Take(g.m_View.AnalyzeCasing()); }},
        {"CStringView::FindFirstOf", "", Nothing(),
         [](SGround &g) { Take(g.m_View.FindFirstOf('t'), g.m_View.FindFirstOf("tx")); }},
        {"CStringView::FindNextOf", "", Nothing(),
         [](SGround &g) { Take(g.m_View.FindNextOf('t', 1), g.m_View.FindNextOf("tx", 1)); }},
        {"CStringView::FindLastOf", "", Nothing(), [](SGround &g) { Take(g.m_View.FindLastOf('t')); }},
        {"CStringView::FindText", "", Nothing(),
         [](SGround &g) { Take(g.m_View.FindText("text"), g.m_View.FindText(g.m_PieceView, 0, CaseInsensitive)); }},
        {"CStringView::FindLastText", "", Nothing(),
         [](SGround &g)
         { Take(g.m_View.FindLastText("text"), g.m_View.FindLastText(g.m_PieceView, CaseInsensitive)); }},
        {"CStringView::StartsWith", "", Nothing(),
         [](SGround &g) { Take(g.m_View.StartsWith("a"), g.m_View.StartsWith(g.m_PieceView, CaseInsensitive)); }},
        {"CStringView::EndsWith", "", Nothing(),
         [](SGround &g) { Take(g.m_View.EndsWith("a"), g.m_View.EndsWith(g.m_PieceView, CaseInsensitive)); }},
        {"CStringView::Contains", "", Nothing(),
         [](SGround &g) { Take(g.m_View.Contains("a"), g.m_View.Contains(g.m_PieceView, CaseInsensitive)); }},
        {"CStringView::Match", "", Nothing(),
         [](SGround &g) { Take(g.m_View.Match("*text*"), g.m_View.Match(g.m_PieceView)); }},
        {"CStringView::MatchWithInhibitors", "", Nothing(),
         [](SGround &g) { Take(g.m_View.MatchWithInhibitors("*text*"), g.m_View.MatchWithInhibitors(g.m_PieceView)); }},
    };
}

// ---- Buffers --------------------------------------------------------------------------------------------------------

using Native = SNativeStringUtils;

QV_TEST_OPERATIONS(OfBuffersRead, State_AsGiven)
{
    return {
        {"SNativeStringUtils::Length", "", Nothing(), [](SGround &g) { Take(Native::Length(g.m_Buffer)); }},
        {"SNativeStringUtils::Length_16", "", Nothing(), [](SGround &g) { Take(Native::Length_16(g.m_Fixed.Data())); }},
        {"SNativeStringUtils::Equal", "", Nothing(), [](SGround &g) { Take(Native::Equal(g.m_Buffer, "a")); }},
        {"SNativeStringUtils::EqualCase", "", Nothing(),
         [](SGround &g) { Take(Native::EqualCase(g.m_Buffer, "a"), Native::EqualCase(g.m_Buffer, "A", 1)); }},
        {"SNativeStringUtils::Compare", "", Nothing(), [](SGround &g) { Take(Native::Compare(g.m_Buffer, "a")); }},
        {"SNativeStringUtils::CompareCase", "", Nothing(),
         [](SGround &g) { Take(Native::CompareCase(g.m_Buffer, "a"), Native::CompareCase(g.m_Buffer, "A", 1)); }},
        {"SNativeStringUtils::HashCase", "", Nothing(), [](SGround &g) { Take(Native::HashCase(g.m_Buffer, 3)); }},
        {"SNativeStringUtils::Equal_16", "", Nothing(),
         [](SGround &g) { Take(Native::Equal_16(g.m_Fixed.Data(), g.m_Shared.Data(), g.m_Fixed.Length())); }},
        {"SNativeStringUtils::EqualCase_16", "", Nothing(),
         [](SGround &g) { Take(Native::EqualCase_16(g.m_Fixed.Data(), g.m_Shared.Data(), g.m_Fixed.Length())); }},
        {"SNativeStringUtils::Compare_16", "", Nothing(),
         [](SGround &g) { Take(Native::Compare_16(g.m_Fixed.Data(), g.m_Shared.Data(), g.m_Fixed.Length())); }},
        {"SNativeStringUtils::CompareCase_16", "", Nothing(),
         [](SGround &g) { Take(Native::CompareCase_16(g.m_Fixed.Data(), g.m_Shared.Data(), g.m_Fixed.Length())); }},
        {"SNativeStringUtils::StartsWith", "", Nothing(),
         [](SGround &g) { Take(Native::StartsWith(g.m_Buffer, "a")); }},
        {"SNativeStringUtils::StartsWithCase", "", Nothing(),
         [](SGround &g) { Take(Native::StartsWithCase(g.m_Buffer, "a")); }},
        {"SNativeStringUtils::EndsWith", "", Nothing(), [](SGround &g) { Take(Native::EndsWith(g.m_Buffer, "a")); }},
        {"SNativeStringUtils::EndsWithCase", "", Nothing(),
         [](SGround &g) { Take(Native::EndsWithCase(g.m_Buffer, "a")); }},
        {"SNativeStringUtils::Contains", "", Nothing(), [](SGround &g) { Take(Native::Contains(g.m_Buffer, "bc")); }},
        {"SNativeStringUtils::ContainsCase", "", Nothing(),
         [](SGround &g) { Take(Native::ContainsCase(g.m_Buffer, "BC")); }},
        {"SNativeStringUtils::Find", "", Nothing(), [](SGround &g) { Take(Native::Find(g.m_Buffer, 3, "bc", 2)); }},
        {"SNativeStringUtils::FindCase", "", Nothing(),
         [](SGround &g) { Take(Native::FindCase(g.m_Buffer, 3, "BC", 2)); }},
        {"SNativeStringUtils::FindLast", "", Nothing(), [](SGround &g) { Take(Native::FindLast(g.m_Buffer, 3, 'b')); }},
        {"SNativeStringUtils::Match", "", Nothing(), [](SGround &g) { Take(Native::Match("a*", g.m_Buffer)); }},
        {"SNativeStringUtils::MatchCase", "", Nothing(), [](SGround &g) { Take(Native::MatchCase("A*", g.m_Buffer)); }},
        {"SNativeStringUtils::MatchWithInhibitors", "", Nothing(),
         [](SGround &g) { Take(Native::MatchWithInhibitors("a*", g.m_Buffer)); }},
        {"SNativeStringUtils::MatchCaseWithInhibitors", "", Nothing(),
         [](SGround &g) { Take(Native::MatchCaseWithInhibitors("A*", g.m_Buffer)); }},
    };
}

QV_TEST_OPERATIONS(OfBuffersWritten, State_AsGiven)
{
    return {
        {"SNativeStringUtils::Reverse_16", "", Nothing(),
         [](SGround &g) { Native::Reverse_16(g.m_Fixed.RawDataForWriting(), g.m_Fixed.Length()); }},
        {"SNativeStringUtils::Uppercase_16", "", Nothing(),
         [](SGround &g)
         {
             Native::Uppercase_16(g.m_Fixed.RawDataForWriting(), g.m_Fixed.Length());
             Native::Uppercase_16(g.m_Fixed.RawDataForWriting(), g.m_Shared.Data(), g.m_Fixed.Length());
         }},
        {"SNativeStringUtils::Lowercase_16", "", Nothing(),
         [](SGround &g)
         {
             Native::Lowercase_16(g.m_Fixed.RawDataForWriting(), g.m_Fixed.Length());
             Native::Lowercase_16(g.m_Fixed.RawDataForWriting(), g.m_Shared.Data(), g.m_Fixed.Length());
         }},
        {"SNativeStringUtils::Replace_16", "", Nothing(),
         [](SGround &g)
         {
             Native::Replace_16(g.m_Fixed.RawDataForWriting(), g.m_Fixed.Length(), 'a', 'b');
             Native::Replace_16(g.m_Fixed.RawDataForWriting(), g.m_Shared.Data(), g.m_Fixed.Length(), 'a', 'b');
         }},
        {"SNativeStringUtils::Escape", "", Nothing(),
         [](SGround &g)
         {
             Native::Escape("a\tb", g.m_Buffer);
             Native::Escape("a\tb", g.m_Buffer, 2);
         }},
        {"SNativeStringUtils::Unescape", "", Nothing(),
         [](SGround &g)
         {
             Native::Unescape("a\\tb", g.m_Buffer);
             Native::Unescape("a\\tb", g.m_Buffer, 2);
         }},
        {"SNativeStringUtils::Uncomment", "", Nothing(), [](SGround &g) { Native::Uncomment(g.m_Buffer); }},
        {"SNativeStringUtils::VAFormat", "that fits", NothingOfOurs(),
         [](SGround &g) { FormattedInto(g.m_Buffer, g.m_Buffer + 20, "%d", 12); }},
        {"SNativeStringUtils::VAFormat", "that does not fit", OneOf(22).Freeing(1),
         [](SGround &g) { Mem::Free(FormattedInto(g.m_Buffer, g.m_Buffer + 20, "%21d", 1), Mem::AllocType_Generic); }},
    };
}

// ---- Arrays and views of elements -----------------------------------------------------------------------------------

QV_TEST_OPERATIONS(OfArraysRead, State_SpareShared)
{
    return {
        {"TArray", "reading", Nothing(),
         [](SGround &g)
         {
             g.m_Positions.PushBack(7);
             const TArray<u32> &array = g.m_Positions;
             Take(array.Count(), array.MaxCount(), array.Empty(), array.Data(), array[0], array.First(), array.Last());
             Take(array.IndexOf(7u), array.Contains(8u), array.View().Count(), array.begin(), array.end());
             Take(array.Begin() == array.End());
         }},
        {"TMemoryView", "", Nothing(),
         [](SGround &g)
         {
             const TMemoryView<const char> view = g.m_Memory;
             Take(view.Data(), view.DataEnd(), view.Count(), view.Empty(), view[0], view.First(), view.Last());
             Take(view.Slice(1, 2).Begin(), view.SliceIFP(1, 2).End(), view.begin(), view.end());
         }},
        {"TStridedMemoryView", "", Nothing(),
         [](SGround &g)
         {
             const TStridedMemoryView<const CString> view(g.m_List);
             Take(view.Data(), view.Count(), view.Stride(), view.Empty(), &view[0], &view.First(), &view.Last());
             Take(view.Slice(1, 2).Count(), view.SliceIFP(1, 2).Count(), view.Begin() == view.End());
             for (const CString &entry : view)
                 Take(entry.Length());
         }},
    };
}

QV_TEST_OPERATIONS(OfArraysWritten, State_SpareShared)
{
    constexpr u64 kBytes = sizeof(u32);
    return {
        {"TArray::PushBack", "with room", Nothing(), [](SGround &g) { g.m_Positions.PushBack(1); }},
        {"TArray::PushBack", "", OneOf(FirstRoom(1, kBytes)), [](SGround &g) { g.m_NoPositions.PushBack(1); }},
        {"TArray::Insert", "with room", Nothing(), [](SGround &g) { g.m_Positions.Insert(0, 1); }},
        {"TArray::Resize", "with room", Nothing(),
         [](SGround &g)
         {
             g.m_Positions.Resize(kRoom);
             g.m_Positions.Remove(0);
             g.m_Positions.PopBack();
             g.m_Positions.Resize(1);
             g.m_Positions.Clear();
         }},
        {"TArray::Reserve", "", OneOf(50 * kBytes), [](SGround &g) { g.m_NoPositions.Reserve(50); }},
        {"TArray::Swap", "", Nothing(), [](SGround &g) { g.m_Positions.Swap(g.m_NoPositions); }},
        {"TArray::Clone", "of three", OneOf(3 * kBytes),
         [](SGround &g)
         {
             g.m_Positions.Resize(3);
             g.m_OutArray = g.m_Positions.Clone();
         }},
        {"TArray::operator=", "onto a block", Nothing().Freeing(1),
         [](SGround &g) { g.m_Positions = std::move(g.m_NoPositions); }},
    };
}

// ---- The standard library -------------------------------------------------------------------------------------------

QV_TEST_OPERATIONS(OfTheStandardLibrary, State_SpareShared)
{
    return {
        {"ToStdStringView", "", Nothing(),
         [](SGround &g) { Take(ToStdStringView(g.m_Fixed), ToStdStringView(g.m_View)); }},
        {"FromStdStringView", "", Nothing(), [](SGround &) { Take(FromStdStringView("abc")); }},
        {"StringFromStdStringView", "", NewFixed(kLength),
         [](SGround &g) { g.m_Out = StringFromStdStringView(kText); }},
        {"CString::CString", "of the standard's view", NewFixed(kLength),
         [](SGround &g) { g.m_Out = CString(std::string_view(kText)); }},
        {"SStringHash", "and its kin", Nothing(),
         [](SGround &g)
         {
             Take(SStringHash()(g.m_Fixed), SStringEqual()(g.m_Fixed, g.m_View), SStringLess()(g.m_Fixed, "a"));
             Take(SStringHashCaseInsensitive()(g.m_View), SStringEqualCaseInsensitive()(g.m_Fixed, "a"));
             Take(SStringLessCaseInsensitive()(g.m_Fixed, g.m_View), std::hash<CString>()(g.m_Fixed));
         }},
        {"operator<<", "", NothingOfOurs(),
         [](SGround &g)
         {
             std::ostringstream stream;
             stream << g.m_Fixed << g.m_View;
         }},
    };
}

} // namespace
