// Insertion and erasure, promise by promise, and every small case of them against a naive model, crossed with who shares
// the string, how it is stored and how the piece is given.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "edge_allocators.h"
#include "edit_model.h"
#include "every_text.h"
#include "kr_string.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const char *const kInsertCheck = "index <= Length()";
const char *const kEraseCheck = "first <= last && last <= Length()";

// ---- Ways to hold a string -----------------------------------------------------------------------------------------

enum EHolding
{
    Holding_Fixed,
    Holding_Tight, // resizable, with as little room as there can be
    Holding_Roomy, // resizable, with room for everything
    Holding_SharedFixed,
    Holding_SharedRoomy,
};

constexpr EHolding kHoldings[] = {Holding_Fixed, Holding_Tight, Holding_Roomy, Holding_SharedFixed,
                                  Holding_SharedRoomy};
constexpr u32 kRoom = 299;

bool IsEditedInPlace(EHolding holding)
{
    return holding == Holding_Tight || holding == Holding_Roomy;
}

// A string to edit, and the handle that shares its container, if any. What lies in the room behind the last block of the
// text is anybody's.
struct SHeld
{
    SHeld(const std::string &text, EHolding holding, u32 room = kRoom) : m_Text(text)
    {
        if (holding == Holding_Fixed || holding == Holding_SharedFixed)
            m_String = Fixed(text);
        else
            m_String = Resizable(text, holding == Holding_Tight ? std::max(LengthOf(text), 1u) : room);
        if (holding == Holding_SharedFixed || holding == Holding_SharedRoomy)
            m_Other = m_String;
        CStringContainer *const container = ContainerOf(m_String);
        if (container == nullptr)
            return;
        for (u32 i = container->Length() / 16 * 16 + 16; i < CapacityOf(*container); ++i)
            container->Data()[i] = static_cast<char>('A' + i % 26);
        m_Room.assign(container->Data(), CapacityOf(*container));
        m_IsShared = m_Other.Data() != nullptr;
    }

    void ExpectOtherUntouched() const { EXPECT_EQ(TextOf(m_Other), m_IsShared ? m_Text : std::string()); }

    std::string m_Text;
    std::string m_Room;
    CString m_String;
    CString m_Other;
    bool m_IsShared = false;
};

std::string CountingText(size_t length)
{
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += static_cast<char>('a' + i % 26);
    return text;
}

// ---- Inserting -----------------------------------------------------------------------------------------------------

TEST(StringInsert, InsertPutsAPieceOfEveryKindInFrontOfThePlace)
{
    CString string("ad");
    const char letter = 'c';
    EXPECT_EQ(&string.Insert(1, "b"), &string);
    ExpectText(string.Insert(2, letter), "abcd");
    ExpectText(string.Insert(0, CString("01")), "01abcd");
    ExpectText(string.Insert(6, CStringView("efg", 2)), "01abcdef");
    ExpectText(string.Insert(8, 'g').Insert(9, "h"), "01abcdefgh");
}

TEST(StringInsert, InsertIntoAStringWithoutAContainer)
{
    ExpectText(CString().Insert(0, "abc"), "abc");
    ExpectText(CString().Insert(0, CString("abc")), "abc");
    ExpectText(CString().Insert(0, CStringView("abc", 2)), "ab");
    ExpectText(CString().Insert(0, 'x'), "x");
}

TEST(StringInsert, InsertIsTheModelForEveryShortTextPlaceAndPiece)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const std::vector<std::string> pieces = EveryText(std::string("x\0", 2), 2);
    for (const std::string &text : EveryText(std::string("a\0\x80", 3), 3))
        for (u32 index = 0; index <= text.size(); ++index)
            for (const std::string &piece : pieces)
                for (const EHolding holding : kHoldings)
                {
                    SHeld held(text, holding);
                    ExpectCharacters(held.m_String.Insert(index, ViewOf(piece)), ModelInserted(text, index, piece));
                    held.ExpectOtherUntouched();
                    ASSERT_FALSE(HasFailure()) << text.size() << ", " << piece.size() << " at " << index;
                }
    ExpectReports(recorder, {});
}

TEST(StringInsert, InsertKeepsTheZeroTailAtEveryLength)
{
    CTestAllocator allocator;
    for (size_t length = 0; length <= 65; ++length)
        for (const size_t added : {1u, 2u, 15u, 16u, 17u, 32u, 33u, 64u, 65u, 300u})
            for (const EHolding holding : kHoldings)
                for (const size_t index : {size_t(0), length / 2, length})
                {
                    const std::string piece(added, '*');
                    SHeld held(CountingText(length), holding);
                    ExpectText(held.m_String.Insert(static_cast<u32>(index), piece.c_str()),
                               ModelInserted(CountingText(length), index, piece));
                    held.ExpectOtherUntouched();
                    ASSERT_FALSE(HasFailure()) << length << " + " << added << " at " << index;
                }
}

TEST(StringInsert, InsertBehindTheLastCharacterIsAppendAndInFrontOfTheFirstOneIsPrepend)
{
    CTestAllocator allocator;
    for (const EHolding holding : kHoldings)
        for (const size_t length : {1u, 15u, 16u, 20u})
        {
            const std::string text = CountingText(length);
            SHeld inserted(text, holding);
            SHeld appended(text, holding);
            allocator.ForgetCalls();
            inserted.m_String.Insert(LengthOf(text), "xyz");
            const size_t insertRequests = allocator.Requests().size();
            allocator.ForgetCalls();
            appended.m_String.Append("xyz");
            EXPECT_EQ(insertRequests, allocator.Requests().size());
            ExpectText(inserted.m_String, TextOf(appended.m_String));
            EXPECT_EQ(CapacityOf(*ContainerOf(inserted.m_String)), CapacityOf(*ContainerOf(appended.m_String)));
            EXPECT_TRUE(ContainerOf(inserted.m_String)->SupportsDynamicResize());
            SHeld inFront(text, holding);
            SHeld prepended(text, holding);
            ExpectText(inFront.m_String.Insert(0, "xyz"), TextOf(prepended.m_String.Prepend("xyz")));
        }
}

// The whole piece, where Prepend to an empty string ends at a terminator.
TEST(StringInsert, InsertIntoAnEmptyStringTakesTheWholePiece)
{
    const std::string piece("x\0y", 3);
    for (const EHolding holding : kHoldings)
    {
        SHeld held("", holding);
        ExpectCharacters(held.m_String.Insert(0, Fixed(piece)), piece);
    }
}

TEST(StringInsert, InsertGrowsInPlaceWhereAppendDoesElseMakesAResizableContainer)
{
    for (const EHolding holding : kHoldings)
    {
        CTestAllocator allocator;
        SHeld held(CountingText(16), holding);
        const CStringContainer *const container = ContainerOf(held.m_String);
        const char *const data = held.m_String.Data();
        allocator.ForgetCalls();
        held.m_String.Insert(5, CStringView(CountingText(20).c_str(), 20));
        std::vector<u64> sizes;
        for (const SAllocatorCall &call : allocator.Requests())
            sizes.push_back(call.m_Size);
        EXPECT_EQ(ContainerOf(held.m_String) == container, IsEditedInPlace(holding));
        EXPECT_TRUE(ContainerOf(held.m_String)->SupportsDynamicResize());
        if (holding == Holding_Roomy)
        {
            EXPECT_EQ(held.m_String.Data(), data);
            EXPECT_TRUE(sizes.empty());
        }
        else if (holding == Holding_Tight)
            EXPECT_EQ(sizes, std::vector<u64>({(36 + 256 + 15) / 16 * 16}));
        else
            EXPECT_EQ(sizes, std::vector<u64>({48, 40}));
        ExpectText(held.m_String, ModelInserted(CountingText(16), 5, CountingText(20)));
        held.ExpectOtherUntouched();
    }
}

TEST(StringInsert, InsertOfNothingLeavesStringAndContainerUntouched)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const CString begun = Fixed(std::string("\0ab", 3));
    CString string("abc");
    const CString other = string;
    allocator.ForgetCalls();
    const char *const none = nullptr;
    string.Insert(1, none).Insert(1, nullptr).Insert(1, 0).Insert(1, "").Insert(1, CString()).Insert(1, begun);
    string.Insert(1, CStringView()).Insert(1, CStringView(nullptr, 3)).Insert(3, CStringView("x", 0)).Insert(0, '\0');
    EXPECT_EQ(ContainerOf(string), ContainerOf(other));
    EXPECT_TRUE(allocator.Calls().empty());
    ExpectText(string, "abc");
    ExpectReports(recorder, {});
}

TEST(StringInsert, InsertBehindTheEndIsReportedAndChangesNothing)
{
    CTestAllocator allocator;
    for (const EHolding holding : kHoldings)
        for (const u32 index : {4u, 16u, 0xFFFFFFFFu})
        {
            CAssertRecorder recorder;
            SHeld held("abc", holding);
            const CStringContainer *const container = ContainerOf(held.m_String);
            held.m_String.Insert(index, "x");
            ExpectReports(recorder, {kInsertCheck});
            held.m_String.Insert(index, CString("x")).Insert(index, CStringView("x", 1)).Insert(index, 'x');
            held.m_String.Insert(index, "");
            ExpectReports(recorder, std::vector<std::string>(5, kInsertCheck));
            EXPECT_EQ(ContainerOf(held.m_String), container);
            ExpectText(held.m_String, "abc");
        }
    CAssertRecorder recorder;
    EXPECT_EQ(CString().Insert(1, "x").Data(), nullptr);
    ExpectReports(recorder, {kInsertCheck});
}

TEST(StringInsert, InsertIntoABrokenStringReports)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    broken.Get().Insert(1, "x");
    EXPECT_EQ(broken.Get().Data(), nullptr);
    ExpectReports(recorder, {"data != null"});
}

// The piece anywhere in the room of the string, and beyond its end: what the room has not counts as terminators.
TEST(StringInsert, InsertOfEveryPieceOfTheStringsOwnRoom)
{
    // Two blocks: some pieces need more.
    constexpr u32 kSmallRoom = 31;
    CAssertRecorder recorder;
    const std::vector<size_t> lengths =
        kSlow ? std::vector<size_t>{0, 1, 5, 15} : std::vector<size_t>{0, 1, 2, 5, 14, 15};
    for (const EHolding holding : {Holding_Fixed, Holding_Tight, Holding_Roomy, Holding_SharedFixed})
        for (const size_t length : lengths)
            for (const bool refused : {false, true})
            {
                CTestAllocator allocator;
                const std::string text = CountingText(length);
                const u32 room = LengthOf(SHeld(text, holding, kSmallRoom).m_Room);
                for (u32 index = 0; index <= length; ++index)
                    for (u32 first = 0; first < room; ++first)
                        for (u32 count = 1; count <= room - first + 2; ++count)
                        {
                            SHeld held(text, holding, kSmallRoom);
                            std::string piece = held.m_Room.substr(first, count);
                            piece.resize(count);
                            // In place the first request is for growth, which an edit can do without.
                            allocator.RefuseNth(refused ? 1 : 0);
                            held.m_String.Insert(index, CStringView(held.m_String.Data() + first, count));
                            const bool lost = allocator.HasRefused() && held.m_String.Data() == nullptr;
                            allocator.RefuseNth(0);
                            if (!lost)
                                ExpectCharacters(held.m_String, ModelInserted(text, index, piece));
                            EXPECT_TRUE(!lost || !IsEditedInPlace(holding) || first + count > room);
                            held.ExpectOtherUntouched();
                            ASSERT_FALSE(HasFailure()) << length << " characters, holding " << holding << ": " << count
                                                       << " from " << first << " at " << index;
                        }
            }
    ExpectReports(recorder, {});
}

TEST(StringInsert, InsertOfEveryPieceOfTheStringItselfWithRoomToSpare)
{
    CTestAllocator allocator;
    for (const size_t length : {1u, 2u, 7u, 16u})
    {
        const std::string text = CountingText(length);
        for (u32 index = 0; index <= length; ++index)
            for (u32 first = 0; first <= length; ++first)
                for (u32 last = first; last <= length; ++last)
                    for (const EHolding holding : {Holding_Roomy, Holding_SharedRoomy})
                    {
                        SHeld held(text, holding);
                        held.m_String.Insert(index, CStringView(held.m_String.Data() + first, last - first));
                        ExpectText(held.m_String, ModelInserted(text, index, text.substr(first, last - first)));
                        held.ExpectOtherUntouched();
                        ASSERT_FALSE(HasFailure()) << "[" << first << ", " << last << ") at " << index;
                    }
    }
}

TEST(StringInsert, InsertOfItselfDoublesTheTextAlsoWhenTheBlockMoves)
{
    CTestAllocator allocator;
    CString string = Resizable("ab");
    std::string expected = "ab";
    for (u32 i = 0; i < 10; ++i)
    {
        const u32 index = LengthOf(expected) / 2;
        string.Insert(index, string);
        expected = ModelInserted(expected, index, expected);
        ExpectText(string, expected);
        string.Insert(1, string.Data());
        expected = ModelInserted(expected, 1, expected);
        ExpectText(string, expected);
        if (expected.size() > 5000)
            break;
    }
}

TEST(StringInsert, InsertReadsNothingOutsideThePieceAndWritesNothingOutsideItsRoom)
{
    std::string piece;
    for (u32 length = 0; length <= 70; ++length)
    {
        CPageEndAllocator allocator;
        const CTextAtPageEnd guarded(piece);
        for (const EHolding holding : kHoldings)
        {
            CString string = SHeld("0123456789abcde", holding).m_String;
            ExpectText(string.Insert(7, guarded.View()), ModelInserted("0123456789abcde", 7, piece));
        }
        piece += 'x';
    }
}

TEST(StringInsert, InsertRefusedLeavesAnEmptyStringUnlessANewContainerIsToBeHad)
{
    for (const EHolding holding : kHoldings)
        for (const bool own : {false, true})
            SweepRefusals([=] { return SHeld(CountingText(15), holding); },
                          [=](SHeld &held) {
                              own ? held.m_String.Insert(4, CStringView(held.m_String.Data() + 2, 6))
                                  : held.m_String.Insert(4, "012345");
                          },
                          [=](const SHeld &held, const SRefusal &refusal, const CAssertRecorder &recorder)
                          {
                              // What cannot grow in place is made anew.
                              const bool lost =
                                  refusal.m_Refused && (!IsEditedInPlace(holding) || refusal.m_AndAllAfter);
                              const std::string piece = own ? held.m_Text.substr(2, 6) : "012345";
                              ExpectText(held.m_String, lost ? "" : ModelInserted(held.m_Text, 4, piece));
                              EXPECT_EQ(held.m_String.Data() == nullptr, lost);
                              held.ExpectOtherUntouched();
                              ExpectReports(recorder, {});
                          });
}

TEST(StringInsert, InsertBeyondTheLongestLengthIsRefusedMemoryAndAsksForNothing)
{
    CAssertRecorder recorder;
    for (const EHolding holding : kHoldings)
        for (const u32 length : {0x3FFFFFFCu, 0x3FFFFFFFu, 0x80000000u, 0xFFFFFFFDu, 0xFFFFFFFFu})
        {
            SHeld held("abc", holding);
            const CChoosyAllocator allocator([](u64, u64) { return true; });
            EXPECT_EQ(held.m_String.Insert(1, CStringView("xyz", length)).Data(), nullptr);
            EXPECT_TRUE(allocator.Sizes().empty());
            held.ExpectOtherUntouched();
        }
    ExpectReports(recorder, {});
}

TEST(StringInsert, InsertUpToTheLongestLengthIsGranted)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    CString string = HugeString(0x3FFFFFF0u);
    ASSERT_EQ(string.Length(), 0x3FFFFFF0u);
    const u64 requests = allocator.RequestCount();
    string.Insert(0x3FFFFFEFu, "0123456789abcd");
    EXPECT_EQ(string.Length(), 0x3FFFFFFEu);
    EXPECT_EQ(TextOf(CStringView(string.Data() + 0x3FFFFFEFu, 15)), "0123456789abcdz");
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectWellFormed(*ContainerOf(string));
    EXPECT_EQ(string.Insert(1, 'x').Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

// ---- Erasing -------------------------------------------------------------------------------------------------------

TEST(StringErase, EraseTakesOutTheCharactersBetweenTheIndices)
{
    CString string("abcdef");
    EXPECT_EQ(&string.Erase(1, 3), &string);
    ExpectText(string, "adef");
    ExpectText(string.Erase(0, 1), "def");
    ExpectText(string.Erase(2, 3), "de");
    ExpectText(string.Erase(0, 2), "");
}

TEST(StringErase, EraseIsTheModelForEveryShortTextAndRange)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    for (const std::string &text : EveryText(std::string("a\0\x80", 3), 4))
        for (u32 first = 0; first <= text.size(); ++first)
            for (u32 last = first; last <= text.size(); ++last)
                for (const EHolding holding : kHoldings)
                {
                    SHeld held(text, holding);
                    ExpectCharacters(held.m_String.Erase(first, last), ModelErased(text, first, last));
                    held.ExpectOtherUntouched();
                    ASSERT_FALSE(HasFailure()) << text.size() << ", [" << first << ", " << last << ")";
                }
    ExpectReports(recorder, {});
}

TEST(StringErase, EraseKeepsTheZeroTailAtEveryLength)
{
    CPageEndAllocator allocator;
    for (u32 length = 1; length <= 65; ++length)
        for (u32 first = 0; first < length; first += 1 + length / 7)
            for (u32 last = first; last <= length; last += 1 + length / 9)
                for (const EHolding holding : kHoldings)
                {
                    SHeld held(CountingText(length), holding);
                    ExpectText(held.m_String.Erase(first, last), ModelErased(CountingText(length), first, last));
                    // All that was text is zero now.
                    if (first != last && IsEditedInPlace(holding))
                        ExpectZero(held.m_String.Data(), held.m_String.Length(), length);
                    held.ExpectOtherUntouched();
                    ASSERT_FALSE(HasFailure()) << length << ", [" << first << ", " << last << ")";
                }
}

TEST(StringErase, EraseWorksInPlaceUnlessTheCharactersAreShared)
{
    for (const EHolding holding : kHoldings)
    {
        CTestAllocator allocator;
        SHeld held(CountingText(40), holding);
        const CStringContainer *const container = ContainerOf(held.m_String);
        const char *const data = held.m_String.Data();
        allocator.ForgetCalls();
        held.m_String.Erase(10, 20);
        EXPECT_EQ(held.m_String.Data() == data, !held.m_IsShared);
        EXPECT_EQ(ContainerOf(held.m_String) == container, !held.m_IsShared);
        // One block of the fixed form, for 30 characters.
        EXPECT_EQ(allocator.Requests().size(), held.m_IsShared ? 1u : 0u);
        if (held.m_IsShared)
        {
            EXPECT_EQ(allocator.Requests()[0].m_Size, 64u);
            EXPECT_FALSE(ContainerOf(held.m_String)->SupportsDynamicResize());
        }
        ExpectText(held.m_String, ModelErased(CountingText(40), 10, 20));
    }
}

TEST(StringErase, EraseOfEverythingIsAsClear)
{
    CTestAllocator allocator;
    for (const EHolding holding : kHoldings)
    {
        SHeld held("abc", holding);
        SHeld cleared("abc", holding);
        allocator.ForgetCalls();
        held.m_String.Erase(0, 3);
        EXPECT_TRUE(allocator.Requests().empty());
        cleared.m_String.Clear();
        EXPECT_EQ(held.m_String.Data() == nullptr, cleared.m_String.Data() == nullptr);
        ExpectText(held.m_String, "");
        held.ExpectOtherUntouched();
    }
}

TEST(StringErase, EraseOfNothingLeavesStringAndContainerUntouched)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string("abc");
    const CString other = string;
    allocator.ForgetCalls();
    string.Erase(0, 0).Erase(2, 2).Erase(3, 3);
    EXPECT_EQ(ContainerOf(string), ContainerOf(other));
    CString none;
    EXPECT_EQ(none.Erase(0, 0).Data(), nullptr);
    EXPECT_TRUE(allocator.Calls().empty());
    ExpectReports(recorder, {});
}

TEST(StringErase, EraseOutsideTheStringOrBackwardsIsReportedAndChangesNothing)
{
    struct SRange
    {
        u32 m_First;
        u32 m_Last;
    };
    CTestAllocator allocator;
    for (const EHolding holding : kHoldings)
        for (const SRange &range : {SRange{0, 4}, SRange{4, 4}, SRange{2, 1}, SRange{1, 0}, SRange{5, 2},
                                    SRange{0, 0xFFFFFFFFu}, SRange{0xFFFFFFFFu, 0xFFFFFFFFu}})
        {
            CAssertRecorder recorder;
            SHeld held("abc", holding);
            const CStringContainer *const container = ContainerOf(held.m_String);
            held.m_String.Erase(range.m_First, range.m_Last);
            ExpectReports(recorder, {kEraseCheck});
            EXPECT_EQ(ContainerOf(held.m_String), container);
            ExpectText(held.m_String, "abc");
        }
    CAssertRecorder recorder;
    EXPECT_EQ(CString().Erase(0, 1).Data(), nullptr);
    ExpectReports(recorder, {kEraseCheck});
}

TEST(StringErase, EraseInABrokenStringReports)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    broken.Get().Erase(0, 1);
    EXPECT_EQ(broken.Get().Data(), nullptr);
    ExpectReports(recorder, {"data != null"});
}

TEST(StringErase, EraseRefusedLeavesAnEmptyStringAndTheOtherHandleAlone)
{
    for (const EHolding holding : kHoldings)
        SweepRefusals([=] { return SHeld("abcdef", holding); }, [](SHeld &held) { held.m_String.Erase(1, 3); },
                      [](const SHeld &held, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          EXPECT_TRUE(!refusal.m_Refused || held.m_IsShared);
                          ExpectText(held.m_String, refusal.m_Refused ? "" : "adef");
                          held.ExpectOtherUntouched();
                          ExpectReports(recorder, {});
                      });
}

// ---- What path joins have looked at ----------------------------------------------------------------------------------

// A join in place does not look again at what an earlier one has found free of backslashes: an edit in between must not
// make it miss one, nor see one that is gone.
TEST(StringInsert, InsertedBackslashesAreSeenByTheNextPathJoin)
{
    const std::string text = CountingText(100);
    for (u32 index = 0; index <= 100; ++index)
        // On the fast path and on the slow one.
        for (const std::string &piece : {std::string("\\"), "\\" + CountingText(40)})
        {
            CAssertRecorder recorder;
            CString path = Resizable(text, 300);
            path /= "";
            ExpectReports(recorder, {});
            path.Insert(index, ViewOf(piece));
            path /= "f";
            ExpectReports(recorder, {"aLen == 0 || !_ContainsBackSlash(a, length)"});
            path.Erase(index, index + LengthOf(piece));
            path /= "g";
            ExpectReports(recorder, {"aLen == 0 || !_ContainsBackSlash(a, length)"});
            ExpectText(path, text + "/f/g");
        }
}

TEST(StringErase, EraseDoesNotHideABackslashBehindItFromTheNextPathJoin)
{
    const std::string text = CountingText(100);
    for (u32 first = 0; first < 100; ++first)
    {
        CAssertRecorder recorder;
        CString path = Resizable(text, 300);
        path /= "";
        path.Append("\\x");
        path.Append(CStringView(text.data(), 100));
        path.Erase(first, 100);
        path /= "f";
        ExpectReports(recorder, {"aLen == 0 || !_ContainsBackSlash(a, length)"});
    }
}

// ---- What compiles -----------------------------------------------------------------------------------------------------

template <typename T, typename = void>
struct TIsInsertable : std::false_type
{
};
template <typename T>
struct TIsInsertable<T, std::void_t<decltype(std::declval<CString &>().Insert(0u, std::declval<T>()))>> : std::true_type
{
};

static_assert(TIsInsertable<const CString &>::value && TIsInsertable<CStringView>::value &&
                  TIsInsertable<const char *>::value && TIsInsertable<char *>::value && TIsInsertable<char>::value &&
                  TIsInsertable<const char &>::value && TIsInsertable<std::nullptr_t>::value,
              "what may be inserted");
static_assert(!TIsInsertable<int>::value && !TIsInsertable<unsigned char>::value && !TIsInsertable<bool>::value,
              "a character is exactly a char");
static_assert(noexcept(std::declval<CString &>().Insert(0, 'x')) &&noexcept(
                  std::declval<CString &>().Insert(0, "x")) &&noexcept(std::declval<CString &>().Erase(0, 0)),
              "they do not throw");

} // namespace
