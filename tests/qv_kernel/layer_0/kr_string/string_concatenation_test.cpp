// Concatenation, promise by promise; and every small case of it and of path joining against a naive model, crossed with
// who shares the string, how it is stored and how the argument is given.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "first_report.h"
#include "guarded_text.h"
#include "kr_string.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "string_model.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// ---- The exhaustive tests ------------------------------------------------------------------------------------------

enum EVerb
{
    Verb_Append,
    Verb_Prepend,
    Verb_Join,
};

constexpr EVerb kVerbs[] = {Verb_Append, Verb_Prepend, Verb_Join};
const char *const kVerbNames[] = {"append", "prepend", "join"};

// How the argument is given.
enum EForm
{
    Form_Counted,
    Form_View,
    Form_Handle,
    Form_Terminated,
};

const char *const kFormNames[] = {"pointer and count", "view", "handle", "terminated text"};

enum EStorage
{
    Storage_None,  // no container; for the empty text only
    Storage_Fixed, // fixed; for the empty text one that was cleared
    Storage_Tight, // resizable, with as little room as there can be
    Storage_Roomy, // resizable, with room for everything
};

constexpr EStorage kStorages[] = {Storage_None, Storage_Fixed, Storage_Tight, Storage_Roomy};
const char *const kStorageNames[] = {"no container", "fixed", "resizable without room", "resizable with room"};

constexpr u32 kRoomyCapacity = 299;

PStringContainer NewContainer(const std::string &text, EStorage storage)
{
    const u32 length = static_cast<u32>(text.size());
    switch (storage)
    {
    case Storage_None:
        return PStringContainer();
    case Storage_Fixed:
    {
        PStringContainer container = CStringContainer::New(text.empty() ? "x" : text.c_str());
        if (text.empty())
            container->Clear();
        return container;
    }
    case Storage_Tight:
        return CStringContainer::NewResizable(text.c_str(), length, std::max(length, 1u));
    case Storage_Roomy:
        return CStringContainer::NewResizable(text.c_str(), length, kRoomyCapacity);
    }
    return PStringContainer();
}

// A string to edit, and the handle that shares its container, if any.
struct SSubject
{
    SSubject(const std::string &text, EStorage storage, bool shared)
        : m_Text(text),
          m_String(NewContainer(text, storage)),
          m_Container(ContainerOf(m_String)),
          m_Data(m_String.Data()),
          m_Capacity(m_Container != nullptr ? CapacityOf(*m_Container) : 0),
          m_EditableInPlace(!shared && (storage == Storage_Tight || storage == Storage_Roomy))
    {
        if (shared)
            m_Other = m_String;
    }

    std::string m_Text;
    CString m_String;
    CString m_Other;
    const CStringContainer *m_Container;
    const char *m_Data;
    u32 m_Capacity;
    bool m_EditableInPlace;
};

// What an edit must leave behind.
struct SExpectation
{
    std::string m_Text;
    bool m_SameContainer;
    bool m_Resizable;
    // The sizes of the requests for memory.
    std::vector<u64> m_Requests;
};

u64 BufferBytes(size_t length)
{
    return (std::max<u64>(length, 16) + 16) / 16 * 16;
}

u64 FixedBytes(size_t length)
{
    return (length + 16) / 16 * 16 + 32;
}

// In place: no request when the characters and the terminator fit, else one reallocation with headroom.
SExpectation InPlace(const SSubject &subject, const std::string &text, size_t room)
{
    if (room + 1 <= subject.m_Capacity)
        return SExpectation{text, true, true, {}};
    return SExpectation{text, true, true, {(room + 256 + 15) / 16 * 16}};
}

SExpectation InNewContainer(const std::string &text)
{
    return SExpectation{text, false, true, {BufferBytes(text.size()), 40}};
}

SExpectation Unchanged(const SSubject &subject)
{
    const bool resizable = subject.m_Container != nullptr && subject.m_Container->SupportsDynamicResize();
    return SExpectation{subject.m_Text, true, resizable, {}};
}

SExpectation ExpectedOfAppend(const SSubject &subject, const std::string &piece)
{
    const std::string text = ModelAppend(subject.m_Text, piece);
    if (piece.empty())
        return Unchanged(subject);
    return subject.m_EditableInPlace ? InPlace(subject, text, text.size()) : InNewContainer(text);
}

SExpectation ExpectedOfPrepend(const SSubject &subject, const std::string &piece)
{
    const std::string text = ModelPrepend(subject.m_Text, piece);
    if (piece.empty())
        return Unchanged(subject);
    if (subject.m_EditableInPlace)
        return InPlace(subject, text, text.size());
    // An empty string becomes a fixed copy of what is prepended.
    return subject.m_Text.empty() ? SExpectation{text, false, false, {FixedBytes(text.size())}} : InNewContainer(text);
}

// `pieceOffset` is where the piece begins within the string, or SIZE_MAX when it lies elsewhere. A right side that
// begins within the part of the left one that stays, or reaches into it, is not joined in place.
SExpectation ExpectedOfJoin(const SSubject &subject, const std::string &piece, size_t pieceOffset)
{
    const std::string text = ModelJoinPath(subject.m_Text, piece);
    const size_t last = subject.m_Text.find_last_not_of('/');
    const size_t kept = last != std::string::npos ? last + 1 : 0;
    const size_t trimmed = std::min(piece.find_first_not_of('/'), piece.size());
    bool aliased = false;
    if (pieceOffset != SIZE_MAX && !piece.empty())
    {
        const size_t begin = pieceOffset + trimmed;
        aliased = begin > 0 ? begin < kept : piece.size() > trimmed;
    }
    return subject.m_EditableInPlace && !aliased ? InPlace(subject, text, std::max(subject.m_Text.size(), text.size()))
                                                 : InNewContainer(text);
}

SExpectation Expected(EVerb verb, const SSubject &subject, const std::string &piece, size_t pieceOffset)
{
    switch (verb)
    {
    case Verb_Append:
        return ExpectedOfAppend(subject, piece);
    case Verb_Prepend:
        return ExpectedOfPrepend(subject, piece);
    case Verb_Join:
        return ExpectedOfJoin(subject, piece, pieceOffset);
    }
    return SExpectation();
}

template <typename... Arguments>
void Run(EVerb verb, CString &string, const Arguments &...arguments)
{
    const CString *result = nullptr;
    switch (verb)
    {
    case Verb_Append:
        result = &string.Append(arguments...);
        break;
    case Verb_Prepend:
        result = &string.Prepend(arguments...);
        break;
    case Verb_Join:
        result = &string.AppendSlashAnd(arguments...);
        break;
    }
    EXPECT_EQ(result, &string);
}

// `data` may lie in the string itself; a handle is given by `handle`.
void RunForm(EVerb verb, EForm form, CString &string, const char *data, u32 length, const CString &handle)
{
    switch (form)
    {
    case Form_Counted:
        Run(verb, string, data, length);
        break;
    case Form_View:
        Run(verb, string, CStringView(data, length));
        break;
    case Form_Handle:
        Run(verb, string, handle);
        break;
    case Form_Terminated:
        Run(verb, string, data);
        break;
    }
}

void CheckResult(const SSubject &subject, bool shared, const SExpectation &expectation, CTestAllocator &allocator)
{
    const CStringContainer *container = ContainerOf(subject.m_String);
    ExpectText(subject.m_String, expectation.m_Text);
    EXPECT_EQ(container == subject.m_Container, expectation.m_SameContainer);
    if (container != nullptr)
    {
        EXPECT_EQ(container->SupportsDynamicResize(), expectation.m_Resizable);
    }

    std::vector<u64> sizes;
    for (const SAllocatorCall &call : allocator.Requests())
        sizes.push_back(call.m_Size);
    EXPECT_EQ(sizes, expectation.m_Requests);
    if (expectation.m_SameContainer && expectation.m_Requests.empty())
    {
        EXPECT_EQ(subject.m_String.Data(), subject.m_Data);
    }

    // Whoever shared the container still has it and its text; it is shared no longer when the string got its own.
    if (container != nullptr)
    {
        EXPECT_EQ(container->RefCount(), shared && expectation.m_SameContainer ? 2u : 1u);
    }
    if (!shared)
        return;
    ExpectText(subject.m_Other, subject.m_Text);
    EXPECT_EQ(ContainerOf(subject.m_Other), subject.m_Container);
    if (subject.m_Container != nullptr && !expectation.m_SameContainer)
    {
        EXPECT_EQ(subject.m_Container->RefCount(), 1u);
    }
}

std::string Describe(EVerb verb, EForm form, EStorage storage, bool shared, const std::string &text,
                     const std::string &piece)
{
    return std::string(kVerbNames[verb]) + " \"" + piece + "\" as " + kFormNames[form] + " to \"" + text + "\", " +
           kStorageNames[storage] + (shared ? ", shared" : "");
}

// Calls `check(storage, shared)` for every way in which a string of this text can be held.
template <typename Check>
void ForEachHolding(const std::string &text, const Check &check)
{
    for (const EStorage storage : kStorages)
        for (const bool shared : {false, true})
            if (storage != Storage_None || (text.empty() && !shared))
                check(storage, shared);
}

// Every piece [first, last) of the string itself, in every form that can give it.
void CheckOwnPieces(EVerb verb, const std::string &text, CTestAllocator &allocator)
{
    const size_t length = text.size();
    ForEachHolding(text,
                   [&](EStorage storage, bool shared)
                   {
                       for (size_t first = 0; first <= length; ++first)
                           for (size_t last = first; last <= length; ++last)
                               for (const EForm form : {Form_Counted, Form_View, Form_Handle, Form_Terminated})
                               {
                                   if ((form == Form_Handle && (first != 0 || last != length)) ||
                                       (form == Form_Terminated && last != length))
                                       continue;
                                   const std::string piece = text.substr(first, last - first);
                                   SSubject subject(text, storage, shared);
                                   const SExpectation expectation = Expected(verb, subject, piece, first);
                                   const char *data = subject.m_Data != nullptr ? subject.m_Data + first : nullptr;
                                   allocator.ForgetCalls();
                                   RunForm(verb, form, subject.m_String, data, static_cast<u32>(piece.size()),
                                           subject.m_String);
                                   CheckResult(subject, shared, expectation, allocator);
                                   ASSERT_FALSE(::testing::Test::HasFailure())
                                       << Describe(verb, form, storage, shared, text, piece) << " [" << first << ", "
                                       << last << ") of itself";
                               }
                   });
}

// A text from elsewhere, in every form.
void CheckForeignPiece(EVerb verb, const std::string &text, const std::string &piece, CTestAllocator &allocator)
{
    ForEachHolding(text,
                   [&](EStorage storage, bool shared)
                   {
                       for (const EForm form : {Form_Counted, Form_View, Form_Handle, Form_Terminated})
                       {
                           SSubject subject(text, storage, shared);
                           const CString handle(piece.c_str());
                           const SExpectation expectation = Expected(verb, subject, piece, SIZE_MAX);
                           allocator.ForgetCalls();
                           RunForm(verb, form, subject.m_String, piece.c_str(), static_cast<u32>(piece.size()), handle);
                           CheckResult(subject, shared, expectation, allocator);
                           ASSERT_FALSE(::testing::Test::HasFailure())
                               << Describe(verb, form, storage, shared, text, piece);
                       }
                   });
}

// Null, in every form, with and without a count.
void CheckNull(EVerb verb, const std::string &text, CTestAllocator &allocator)
{
    ForEachHolding(text,
                   [&](EStorage storage, bool shared)
                   {
                       for (const EForm form : {Form_Counted, Form_View, Form_Handle, Form_Terminated})
                           for (const u32 count : {0u, 3u})
                           {
                               SSubject subject(text, storage, shared);
                               const SExpectation expectation = Expected(verb, subject, "", SIZE_MAX);
                               allocator.ForgetCalls();
                               RunForm(verb, form, subject.m_String, nullptr, count, CString());
                               CheckResult(subject, shared, expectation, allocator);
                               ASSERT_FALSE(::testing::Test::HasFailure())
                                   << Describe(verb, form, storage, shared, text, "null");
                           }
                   });
}

// The lengths around which a buffer of one block is full, behind the small ones.
const size_t kLengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 15, 16};
const std::string kAppendedLetters = "abcdefghijklmnopqrstuvwxyz";

class StringConcatenationExhaustive : public ::testing::TestWithParam<EVerb>
{
};

TEST_P(StringConcatenationExhaustive, EveryPieceOfTheStringItself)
{
    CAssertRecorder recorder;
    for (const size_t length : kLengths)
    {
        CTestAllocator allocator;
        CheckOwnPieces(GetParam(), kAppendedLetters.substr(0, length), allocator);
        if (HasFatalFailure())
            return;
    }
    ExpectReports(recorder, {});
}

TEST_P(StringConcatenationExhaustive, EveryKindOfForeignText)
{
    CAssertRecorder recorder;
    const std::string pieces[] = {"",
                                  "x",
                                  "xy",
                                  "XYZ",
                                  "/",
                                  "/x",
                                  "x/",
                                  "0123456789ABCDE",
                                  "0123456789ABCDEF",
                                  kAppendedLetters + kAppendedLetters,
                                  std::string(400, 'y')};
    for (const size_t length : kLengths)
        for (const std::string &piece : pieces)
        {
            CTestAllocator allocator;
            CheckForeignPiece(GetParam(), kAppendedLetters.substr(0, length), piece, allocator);
            if (HasFatalFailure())
                return;
        }
    ExpectReports(recorder, {});
}

TEST_P(StringConcatenationExhaustive, NullAsIfEmpty)
{
    CAssertRecorder recorder;
    for (const size_t length : kLengths)
    {
        CTestAllocator allocator;
        CheckNull(GetParam(), kAppendedLetters.substr(0, length), allocator);
        if (HasFatalFailure())
            return;
    }
    ExpectReports(recorder, {});
}

INSTANTIATE_TEST_SUITE_P(Verbs, StringConcatenationExhaustive, ::testing::ValuesIn(kVerbs),
                         [](const ::testing::TestParamInfo<EVerb> &verb) { return kVerbNames[verb.param]; });

TEST(StringPathJoinExhaustive, EveryPairOfTextsOfLettersAndSlashes)
{
    CAssertRecorder recorder;
    const std::vector<std::string> texts = EveryText("a/", 5);
    ASSERT_EQ(texts.size(), 63u);
    for (const std::string &left : texts)
    {
        CTestAllocator allocator;
        for (const std::string &right : texts)
        {
            CheckForeignPiece(Verb_Join, left, right, allocator);
            if (HasFatalFailure())
                return;
        }
    }
    ExpectReports(recorder, {});
}

TEST(StringPathJoinExhaustive, EveryPieceOfTextsOfLettersAndSlashes)
{
    CAssertRecorder recorder;
    for (const std::string &text : EveryText("a/", 6))
    {
        CTestAllocator allocator;
        CheckOwnPieces(Verb_Join, text, allocator);
        CheckNull(Verb_Join, text, allocator);
        if (HasFatalFailure())
            return;
    }
    ExpectReports(recorder, {});
}

TEST(StringPathJoinExhaustive, EveryPieceOfTextsThatFillABlock)
{
    CAssertRecorder recorder;
    for (const std::string &tail : EveryText("a/", kVerySlow ? 3 : 4))
        for (const size_t length : {13u, 15u, 16u})
        {
            CTestAllocator allocator;
            CheckOwnPieces(Verb_Join, kAppendedLetters.substr(0, length - tail.size()) + tail, allocator);
            if (HasFatalFailure())
                return;
        }
    ExpectReports(recorder, {});
}

// ---- Appending and prepending, promise by promise --------------------------------------------------------------------

TEST(StringAppend, ToItselfDoublesTheTextAlsoWhenTheBlockMoves)
{
    CTestAllocator allocator;
    CString string = Resizable("ab");
    std::string expected = "ab";
    for (int i = 0; i < 10; ++i)
    {
        string.Append(string);
        expected += expected;
        ExpectText(string, expected);
    }
}

TEST(StringAppend, OfAPieceOfItselfIsRightAfterGrowth)
{
    CTestAllocator allocator;
    CString string = Resizable("0123456789abcde", 15);
    string.Append(string.Data() + 3, 2);
    ExpectText(string, "0123456789abcde34");
}

TEST(StringAppend, OfNothingLeavesStringAndContainerUntouched)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string("abc");
    const CString other = string;
    const CString empty;
    allocator.ForgetCalls();
    string.Append(nullptr).Append("").Append("xyz", 0).Append("", 3).Append(nullptr, 3).Append(empty).Append('\0');
    string.Append(CStringView()).Append(CStringView("xyz", 0)).Append(CStringView(nullptr, 3));
    string.Prepend(nullptr).Prepend("").Prepend("xyz", 0).Prepend("", 3).Prepend(nullptr, 3).Prepend(empty);
    string.Prepend(CStringView()).Prepend(CStringView("xyz", 0)).Prepend(CStringView(nullptr, 3)).Prepend('\0');
    EXPECT_EQ(string.Data(), other.Data());
    EXPECT_TRUE(allocator.Calls().empty());
    ExpectReports(recorder, {});
}

// A writer that filled an empty text and did not rebuild has a text of no length all the same.
TEST(StringAppend, OfATextThatWasNotRebuiltDoesNothing)
{
    CAssertRecorder recorder;
    CString other = Resizable("x", 20);
    ContainerOf(other)->Clear();
    other.RawDataForWriting()[0] = 'y';
    CString string = Resizable("ab", 20);
    ExpectText(string.Append(other), "ab");
    ExpectReports(recorder, {});
}

TEST(StringAppend, OfAHandleThatIsEmptyByItsFirstCharacterDoesNothing)
{
    CString odd("xbc");
    *odd.RawDataForWriting() = '\0';
    CString string("abc");
    string.Append(odd).Prepend(odd);
    ExpectText(string, "abc");
}

TEST(StringAppend, KeepsEmbeddedTerminators)
{
    const CString piece("x\0y", 3);
    CString string("a\0b", 3);
    string.Append(piece);
    EXPECT_EQ(TextOf(string), std::string("a\0bx\0y", 6));
    string.Prepend(CStringView("\0z", 2));
    EXPECT_EQ(TextOf(string), std::string("\0za\0bx\0y", 8));
    ExpectWellFormed(*ContainerOf(string));
}

TEST(StringAppend, ToAnEmptyResizableStringKeepsItsBuffer)
{
    CTestAllocator allocator;
    CString string = Resizable("abcdef", 100);
    string.Clear();
    const CStringContainer *container = ContainerOf(string);
    allocator.ForgetCalls();
    string.Append("xyz");
    ExpectText(string, "xyz");
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringAppend, AfterTheFirstAppendsGrowInPlace)
{
    CTestAllocator allocator;
    CString string("abc");
    string.Append("d");
    const CStringContainer *container = ContainerOf(string);
    EXPECT_TRUE(container->SupportsDynamicResize());
    allocator.ForgetCalls();
    for (int i = 0; i < 200; ++i)
        string.Append('x');
    EXPECT_EQ(ContainerOf(string), container);
    // One growth, with headroom for all the rest.
    EXPECT_EQ(allocator.Requests().size(), 1u);
    ExpectText(string, "abcd" + std::string(200, 'x'));
}

TEST(StringAppend, CharacterByCharacterTheTailStaysZeroAcrossBlocksAndGrowth)
{
    CString string;
    std::string expected;
    for (u32 i = 0; i < 700; ++i)
    {
        const char character = static_cast<char>('a' + i % 26);
        string.Append(character);
        expected += character;
        ExpectText(string, expected);
    }
    // Over what a longer text left behind.
    string.Clear();
    string.Append("0123456789abcdef0123456789abcde").RawDataForWriting()[20] = '\0';
    string.RebuildAfterRawModification();
    ExpectText(string.Append('x'), "0123456789abcdef0123x");
}

TEST(StringAppend, OfACharacterLeavesTheOtherHandleAlone)
{
    CString string("ab");
    string.Append('c');
    const CString other = string;
    string.Append('d');
    ExpectText(string, "abcd");
    ExpectText(other, "abc");
}

TEST(StringAppend, CountsBeyondTheTextAreReportedAndTakenAllTheSame)
{
    // Room for as many characters as the count says, a terminator among them.
    const char text[8] = "xy";
    {
        CAssertRecorder recorder;
        CString string("ab");
        string.Append(text, 4);
        ExpectReports(recorder, {"otherLength <= SNativeStringUtils::Length(other)"});
        EXPECT_EQ(TextOf(string), std::string("abxy\0\0", 6));
        ExpectWellFormed(*ContainerOf(string));
    }
    {
        CAssertRecorder recorder;
        CString string("ab");
        string.Prepend(text, 4);
        ExpectReports(recorder, {"otherLength <= SNativeStringUtils::Length(other)"});
        EXPECT_EQ(TextOf(string), std::string("xy\0\0ab", 6));
        ExpectWellFormed(*ContainerOf(string));
    }
}

TEST(StringAppend, CountsUpToTheTextAreNotReported)
{
    CAssertRecorder recorder;
    CString string("ab");
    string.Append("xy", 1).Append("xy", 2).Prepend("xy", 1).Prepend("xy", 2);
    ExpectText(string, "xyxabxxy");
    ExpectReports(recorder, {});
}

TEST(StringAppend, CountedTextIsNotReadBeyondItsCount)
{
    CAssertRecorder recorder;
    // No terminator behind: the address sanitizer notices a scan that goes on.
    std::vector<char> text = {'x', 'y', 'z'};
    CString string("ab");
    string.Append(text.data(), 3).Prepend(text.data(), 3);
    ExpectText(string, "xyzabxyz");
    CString path("ab");
    path.AppendSlashAnd(text.data(), 3);
    ExpectText(path, "ab/xyz");
    const std::vector<char> slashes = {'/', '/', '/'};
    path.AppendSlashAnd(slashes.data(), 3);
    ExpectText(path, "ab/xyz");
    ExpectReports(recorder, {});
}

TEST(StringPrepend, CountedToAStringWithoutAContainerTakesTheWholeText)
{
    CAssertRecorder recorder;
    CString string;
    string.Prepend("xyz", 1);
    ExpectText(string, "xyz");
    EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
    ExpectReports(recorder, {});
}

TEST(StringPrepend, CountedToAnEmptyStringThatIsSharedOrFixedTakesTheWholeText)
{
    CString fixed("abc");
    fixed.Clear();
    fixed.Prepend("xyz", 1);
    ExpectText(fixed, "xyz");
    CString shared = Resizable("");
    const CString other = shared;
    shared.Prepend("xyz", 1);
    ExpectText(shared, "xyz");
    ExpectText(other, "");
}

TEST(StringPrepend, CountedToAnOnlyHeldResizableEmptyStringTakesTheCount)
{
    CString string = Resizable("");
    const CStringContainer *container = ContainerOf(string);
    string.Prepend("xyz", 1);
    ExpectText(string, "x");
    EXPECT_EQ(ContainerOf(string), container);
}

TEST(StringPrepend, CountedToAStringWithTextTakesTheCount)
{
    CString string("a");
    string.Prepend("xyz", 1);
    ExpectText(string, "xa");
}

TEST(StringPrepend, OfAHandleToAnEmptyStringEndsAtAnEmbeddedTerminator)
{
    CString string;
    string.Prepend(CString("x\0y", 3));
    ExpectText(string, "x");
}

TEST(StringPrepend, OfViewsAndCharactersToAnEmptyStringTakesThemAsTheyAre)
{
    CString fromView;
    fromView.Prepend(CStringView("xyz", 1));
    ExpectText(fromView, "x");
    CString fromCharacter;
    fromCharacter.Prepend('x');
    ExpectText(fromCharacter, "x");
}

TEST(StringPrepend, ToItselfDoublesTheTextAlsoWhenTheBlockMoves)
{
    CTestAllocator allocator;
    CString string = Resizable("ab");
    std::string expected = "ab";
    for (int i = 0; i < 10; ++i)
    {
        string.Prepend(string);
        expected += expected;
        ExpectText(string, expected);
    }
}

// What stands behind a terminator at the front of a text is still the string's own.
TEST(StringAppend, OfAPieceBehindALeadingTerminatorOfItself)
{
    CTestAllocator allocator;
    for (const bool shared : {false, true})
        for (const bool resizable : {false, true})
        {
            SCOPED_TRACE(::testing::Message() << "shared " << shared << ", resizable " << resizable);
            CString string(resizable ? CStringContainer::NewResizable("\0bcd", 4, 0)
                                     : CStringContainer::New("\0bcd", 4));
            const CString other = shared ? string : CString();
            string.Append(string.Data() + 2, 2);
            // Empty by its first character, the string is replaced, unless it may be edited in place.
            const bool inPlace = !shared && resizable;
            EXPECT_EQ(TextOf(string), inPlace ? std::string("\0bcdcd", 6) : "cd");
            ExpectWellFormed(*ContainerOf(string));
            EXPECT_EQ(TextOf(other), shared ? std::string("\0bcd", 4) : "");
        }
}

TEST(StringAppend, RefusedLeavesAStringThatNeedsANewContainerEmpty)
{
    struct SState
    {
        CString m_String;
        CString m_Other;
    };
    const auto shared = []
    {
        const CString string = Resizable("abc", 100);
        return SState{string, string};
    };
    const auto fixed = [] { return SState{CString("abc"), CString("abc")}; };
    const auto checkText = [](const std::string &text)
    {
        return [text](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_String, refusal.m_Refused ? "" : text);
            EXPECT_EQ(ContainerOf(state.m_String) == nullptr, refusal.m_Refused);
            ExpectText(state.m_Other, "abc");
            EXPECT_EQ(ContainerOf(state.m_Other)->RefCount(), 1u);
            ExpectReports(recorder, {});
        };
    };
    const auto append = [](SState &state) { state.m_String.Append("de"); };
    const auto prepend = [](SState &state) { state.m_String.Prepend("de"); };
    const auto appendItself = [](SState &state) { state.m_String.Append(state.m_String); };
    const auto prependItself = [](SState &state) { state.m_String.Prepend(state.m_String); };
    SweepRefusals(shared, append, checkText("abcde"));
    SweepRefusals(shared, prepend, checkText("deabc"));
    SweepRefusals(shared, appendItself, checkText("abcabc"));
    SweepRefusals(shared, prependItself, checkText("abcabc"));
    SweepRefusals(fixed, append, checkText("abcde"));
    SweepRefusals(fixed, prepend, checkText("deabc"));
    SweepRefusals(fixed, appendItself, checkText("abcabc"));
    SweepRefusals(fixed, prependItself, checkText("abcabc"));
}

TEST(StringAppend, RefusedOnAnEmptyStringLeavesItEmpty)
{
    const auto prepare = [] { return CString(); };
    const auto check = [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
    {
        ExpectText(string, refusal.m_Refused ? "" : "x");
        EXPECT_EQ(ContainerOf(string) == nullptr, refusal.m_Refused);
        ExpectReports(recorder, {});
    };
    SweepRefusals(
        prepare, [](CString &string) { string.Append("x"); }, check);
    SweepRefusals(
        prepare, [](CString &string) { string.Append('x'); }, check);
    SweepRefusals(
        prepare, [](CString &string) { string.Append(CStringView("xy", 1)); }, check);
    SweepRefusals(
        prepare, [](CString &string) { string.Prepend("x"); }, check);
    SweepRefusals(
        prepare, [](CString &string) { string.Prepend('x'); }, check);
    SweepRefusals(
        prepare, [](CString &string) { string.Prepend(CStringView("xy", 1)); }, check);
}

TEST(StringAppend, RefusedGrowthFallsBackToANewContainer)
{
    const auto prepare = [] { return Resizable("0123456789abcde", 15); };
    const auto checkText = [](const std::string &text)
    {
        return [text](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            // The growth alone refused: a new container. All refused: nothing is left.
            const bool lost = refusal.m_Refused && refusal.m_AndAllAfter;
            ExpectText(string, lost ? "" : text);
            EXPECT_EQ(ContainerOf(string) == nullptr, lost);
            if (!lost)
            {
                const u64 grown = (text.size() + 256 + 15) / 16 * 16;
                EXPECT_EQ(CapacityOf(*ContainerOf(string)), refusal.m_Refused ? BufferBytes(text.size()) : grown);
            }
            ExpectReports(recorder, {});
        };
    };
    SweepRefusals(
        prepare, [](CString &string) { string.Append("fg"); }, checkText("0123456789abcdefg"));
    SweepRefusals(
        prepare, [](CString &string) { string.Prepend("fg"); }, checkText("fg0123456789abcde"));
    SweepRefusals(
        prepare, [](CString &string) { string.Append(string.Data() + 4, 3); }, checkText("0123456789abcde456"));
    SweepRefusals(
        prepare, [](CString &string) { string.Prepend(string.Data() + 4, 3); }, checkText("4560123456789abcde"));
}

TEST(StringAppend, RefusedGrowthAndARefusedNewContainerLeaveItEmpty)
{
    for (const bool append : {true, false})
    {
        CTestAllocator allocator;
        CString string = Resizable("0123456789abcde", 15);
        // The growth, then the buffer of the new container.
        allocator.RefuseFromNth(1);
        if (append)
            string.Append("fg");
        else
            string.Prepend("fg");
        EXPECT_EQ(string.Data(), nullptr);
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
    }
}

// ---- Arguments in the string's own room ----------------------------------------------------------------------------

// Every byte of a room, and what an argument is that begins there: what the room has not counts as terminators.
class COwnRoom
{
public:
    COwnRoom(const std::string &text, u32 capacity, EStorage storage, bool shared)
        : m_String(storage == Storage_Fixed ? Fixed(text) : Resizable(text, capacity))
    {
        if (shared)
            m_Other = m_String;
        CStringContainer &container = *ContainerOf(m_String);
        // What lies behind the block of the terminator is anybody's.
        for (u32 i = container.Length() / 16 * 16 + 16; i < CapacityOf(container); ++i)
            container.Data()[i] = static_cast<char>('A' + i % 26);
        m_Room.assign(container.Data(), CapacityOf(container));
    }

    u32 Bytes() const { return LengthOf(m_Room); }
    std::string Argument(u32 offset, u32 count) const
    {
        std::string argument = m_Room.substr(offset, count);
        argument.resize(count);
        return argument;
    }

    CString m_String;
    CString m_Other;

private:
    std::string m_Room;
};

std::string ModelOf(EVerb verb, const std::string &text, const std::string &piece)
{
    return verb == Verb_Append    ? ModelAppend(text, piece)
           : verb == Verb_Prepend ? ModelPrepend(text, piece)
                                  : ModelJoinPath(text, piece);
}

struct SOwnCase
{
    EVerb m_Verb;
    EForm m_Form;
    EStorage m_Storage;
    bool m_Shared;
    bool m_GrowthRefused;
};

void CheckOwnRoom(const SOwnCase &own, const std::string &text, u32 capacity, u32 offset, u32 count,
                  CTestAllocator &allocator, CAssertRecorder &recorder)
{
    COwnRoom room(text, capacity, own.m_Storage, own.m_Shared);
    const std::string argument = room.Argument(offset, count);
    // Nothing to add, or the one way in which a count is not heeded.
    const bool counted = own.m_Form == Form_Counted;
    const bool inPlace = own.m_Storage != Storage_Fixed && !own.m_Shared;
    const bool ignored = counted && own.m_Verb != Verb_Join && argument[0] == '\0';
    if (counted && own.m_Verb == Verb_Prepend && text.empty() && !inPlace)
        return;
    const CString other = room.m_Other;
    recorder.Clear();
    allocator.RefuseNth(own.m_GrowthRefused ? 1 : 0);
    RunForm(own.m_Verb, own.m_Form, room.m_String, room.m_String.Data() + offset, count, CString());
    allocator.RefuseNth(0);
    // The first request may have been one that an edit cannot do without.
    if (own.m_GrowthRefused && TextOf(room.m_String) == (own.m_Verb == Verb_Join ? text : std::string()))
        return;
    EXPECT_EQ(TextOf(room.m_String), ignored ? text : ModelOf(own.m_Verb, text, argument));
    if (ContainerOf(room.m_String) != nullptr)
        ExpectWellFormed(*ContainerOf(room.m_String));
    EXPECT_EQ(TextOf(other), own.m_Shared ? text : "");
    EXPECT_EQ(recorder.CountOf("!Mem::Overlaps(dst, byteCount, src, byteCount)"), 0u);
    EXPECT_EQ(recorder.CountOf("otherLength <= SNativeStringUtils::Length(other)"),
              IfAsserting(counted && own.m_Verb != Verb_Join && !ignored && argument.find('\0') < count ? 1 : 0));
}

void CheckOwnRooms(const SOwnCase &own, const std::string &text, u32 capacity, CAssertRecorder &recorder)
{
    CTestAllocator allocator;
    const u32 bytes = COwnRoom(text, capacity, own.m_Storage, false).Bytes();
    for (u32 offset = 0; offset < bytes; offset += kVerySlow ? 3 : 1)
        for (u32 count = 1; count <= bytes - offset + 3; ++count)
        {
            CheckOwnRoom(own, text, capacity, offset, count, allocator, recorder);
            ASSERT_FALSE(::testing::Test::HasFailure())
                << kVerbNames[own.m_Verb] << ' ' << kFormNames[own.m_Form] << " to \"" << text << "\", "
                << kStorageNames[own.m_Storage] << (own.m_Shared ? ", shared" : "")
                << (own.m_GrowthRefused ? ", growth refused" : "") << ", " << bytes << " bytes: " << count << " from "
                << offset;
        }
}

TEST_P(StringConcatenationExhaustive, EveryArgumentInTheStringsOwnRoom)
{
    CAssertRecorder recorder;
    for (const u32 capacity : {1u, 31u})
        for (const u32 length : {0u, 1u, 3u, 14u, 15u, 16u, 17u, 30u, 31u})
            for (const std::string &end : {std::string(), std::string("/")})
                for (const EForm form : {Form_Counted, Form_View})
                    for (const EStorage storage : {Storage_Fixed, Storage_Tight})
                        for (const bool shared : {false, true})
                            for (const bool refused : {false, true})
                            {
                                const u32 room = capacity < 16 ? 16u : 32u;
                                if (length >= room || (length == 0 && (storage == Storage_Fixed || !end.empty())))
                                    continue;
                                if (length + 6 < capacity && kSlow)
                                    continue;
                                const std::string text =
                                    kAppendedLetters.substr(0, 16) + kAppendedLetters.substr(0, 16);
                                const SOwnCase own = {GetParam(), form, storage, shared, refused};
                                CheckOwnRooms(own, text.substr(0, length - LengthOf(end)) + end, capacity, recorder);
                                if (HasFatalFailure())
                                    return;
                            }
}

TEST(StringAppend, OfATerminatorsPlaceIsCarriedOverWhenTheBlockMoves)
{
    CTestAllocator allocator;
    const std::string text = (kAppendedLetters + kAppendedLetters).substr(0, 31);
    CString appended = Resizable(text, 31);
    appended.Append(CStringView(appended.Data() + 31, 1));
    EXPECT_EQ(TextOf(appended), text + std::string(1, '\0'));
    CString prepended = Resizable(text, 31);
    prepended.Prepend(CStringView(prepended.Data() + 31, 1));
    EXPECT_EQ(TextOf(prepended), std::string(1, '\0') + text);
    CString joined = Resizable(text, 31);
    joined.AppendSlashAnd(joined.Data() + 30, 2);
    EXPECT_EQ(TextOf(joined), text + "/" + text[30] + std::string(1, '\0'));
}

TEST(StringPrepend, OfOwnCharactersAndWhatFollowsThemStaysWithinTheRoom)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CAssertRecorder recorder;
    CPageEndAllocator allocator;
    CString string = Resizable("abc", 63);
    char *const room = string.RawDataForWriting();
    ASSERT_NE(room, nullptr);
    std::memset(room + 16, 'x', 48);
    string.Prepend(string.Data() + 1, 40);
    EXPECT_EQ(TextOf(string), "bc" + std::string(13, '\0') + std::string(25, 'x') + "abc");
    ExpectReports(recorder, {"otherLength <= SNativeStringUtils::Length(other)"});
}

TEST(StringAppend, OwnCharactersAreCarriedOverByEveryOperator)
{
    CTestAllocator allocator;
    const std::string text(31, 'a');
    const std::string ended = text + std::string(1, '\0');
    const auto last = [](const CString &string) { return CStringView(string.Data() + 31, 1); };
    CString sum = Resizable(text, 31);
    sum += last(sum);
    EXPECT_EQ(TextOf(sum), ended);
    CString path = Resizable(text, 31);
    path /= last(path);
    EXPECT_EQ(TextOf(path), text + '/' + std::string(1, '\0'));
    CString left = Resizable(text, 31);
    const CStringView ofLeft = last(left);
    EXPECT_EQ(TextOf(std::move(left) + ofLeft), ended);
    left = Resizable(text, 31);
    const CStringView again = last(left);
    EXPECT_EQ(TextOf(std::move(left) / again), text + '/' + std::string(1, '\0'));
}

// ---- Counted text at the end of memory -----------------------------------------------------------------------------

const u32 kHugeCounts[] = {0x3FFFFFFFu, 0x7FFFFFFFu, 0xFFFFFFFFu};
const char *const kCountCheck = "otherLength <= SNativeStringUtils::Length(other)";

// The text with its terminator is all there is.
TEST(StringCounted, PrependToAnEmptyStringReadsNothingBehindTheTerminator)
{
    for (const char *const text : {"a", "ab", "0123456789abcdef0123456789abcdef0"})
        for (u32 count = 1; count <= 133; ++count)
        {
            SCOPED_TRACE(::testing::Message() << text << ", " << count);
            const CGuardedText guarded(text);
            CAssertRecorder recorder;
            CString string;
            const u32 given = count <= 130 ? count : kHugeCounts[count - 131];
            ExpectText(string.Prepend(guarded.Get(), given), text);
            if (given > std::strlen(text))
                ExpectReports(recorder, {kCountCheck});
            else
                ExpectReports(recorder, {});
        }
}

// The terminator is the last of the characters that are taken.
TEST(StringCounted, OneCharacterMoreThanTheTextIsTakenWithNothingBehindIt)
{
    for (u32 count = 2; count <= 130; ++count)
        for (const u32 room : {0u, 300u})
        {
            SCOPED_TRACE(::testing::Message() << count << ", room " << room);
            const std::string text(count - 1, 'x');
            const std::string taken(text.c_str(), count);
            const CGuardedText guarded(text);
            CAssertRecorder recorder;
            CString appended = Resizable("ab", room);
            EXPECT_EQ(TextOf(appended.Append(guarded.Get(), count)), "ab" + taken);
            CString prepended = Resizable("ab", room);
            EXPECT_EQ(TextOf(prepended.Prepend(guarded.Get(), count)), taken + "ab");
            ExpectReports(recorder, {kCountCheck, kCountCheck});
            CString joined = Resizable("ab", room);
            EXPECT_EQ(TextOf(joined.AppendSlashAnd(guarded.Get(), count)), "ab/" + taken);
            EXPECT_EQ(TextOf(CString(guarded.Get(), count)), taken);
            EXPECT_EQ(TextOf(*CStringContainer::New(guarded.Get(), count)), taken);
            EXPECT_EQ(TextOf(*CStringContainer::NewResizable(guarded.Get(), count, 0)), taken);
            EXPECT_EQ(recorder.Count(), IfAsserting(2));
        }
}

// Refused memory: nothing is taken, so nothing behind the terminator may be looked at either.
TEST(StringCounted, RefusedReadsNothingBehindTheTerminator)
{
    for (const char *const text : {"x", "xy", "x\\", "0123456789abcdefghi"})
        for (u32 count = 1; count <= 133; ++count)
        {
            SCOPED_TRACE(::testing::Message() << text << ", " << count);
            const u32 given = count <= 130 ? count : kHugeCounts[count - 131];
            const CGuardedText guarded(text);
            CAssertRecorder recorder;
            CString appended = Resizable("ab", 2);
            CString prepended = Resizable("ab", 2);
            CString joined = Resizable("ab", 2);
            CString shared = joined;
            {
                const CChoosyAllocator allocator([](u64, u64) { return true; });
                if (given > 40)
                {
                    EXPECT_EQ(appended.Append(guarded.Get(), given).Data(), nullptr);
                    EXPECT_EQ(prepended.Prepend(guarded.Get(), given).Data(), nullptr);
                    ExpectText(joined.AppendSlashAnd(guarded.Get(), given), "ab");
                }
                ExpectText(shared.AppendSlashAnd(guarded.Get(), given), "ab");
                EXPECT_EQ(CString::Extract(guarded.Get(), 0, given).Data(), nullptr);
                EXPECT_EQ(CString(guarded.Get(), given).Data(), nullptr);
            }
        }
}

TEST(StringCounted, AHugeCountIsRefusedMemory)
{
    for (const u32 count : kHugeCounts)
    {
        SCOPED_TRACE(count);
        const CGuardedText guarded("x");
        CAssertRecorder recorder;
        CString joined("ab");
        ExpectText(joined.AppendSlashAnd(guarded.Get(), count), "ab");
        CString inPlace = Resizable("ab", 100);
        ExpectText(inPlace.AppendSlashAnd(guarded.Get(), count), "ab");
        EXPECT_EQ(recorder.CountOf("newContainer != null"), IfAsserting(2));
        EXPECT_EQ(CString("ab").Append(guarded.Get(), count).Data(), nullptr);
        EXPECT_EQ(CString("ab").Prepend(guarded.Get(), count).Data(), nullptr);
        EXPECT_EQ(CString::Extract(guarded.Get(), 0, count).Data(), nullptr);
    }
}

TEST(StringCounted, BoundedEscapesReadNothingBehindTheTerminator)
{
    const std::string text = "a\nb\\";
    const CGuardedText guarded(text);
    std::vector<char> escaped(300);
    std::vector<char> unescaped(300);
    for (u32 count = 4; count <= 133; ++count)
    {
        const u32 given = count <= 130 ? count : kHugeCounts[count - 131];
        EXPECT_EQ(SNativeStringUtils::Escape(guarded.Get(), escaped.data(), given), 6u);
        EXPECT_STREQ(escaped.data(), "a\\nb\\\\");
        EXPECT_EQ(SNativeStringUtils::Unescape(guarded.Get(), unescaped.data(), given), 4u);
        EXPECT_STREQ(unescaped.data(), text.c_str());
    }
}

// ---- The operators -------------------------------------------------------------------------------------------------

TEST(StringOperators, AViewOfNullThatClaimsALengthIsNothing)
{
    CAssertRecorder recorder;
    const CStringView null5(nullptr, 5);
    const CString text("ab");
    ExpectText(text + null5, "ab");
    ExpectText(null5 + text, "ab");
    ExpectText(text / null5, "ab");
    ExpectText(null5 / text, "ab");
    ExpectText(CString() / null5, "");
    ExpectText(null5 / CString(), "");
    ExpectText(CString("ab/") / null5, "ab");
    ExpectText(CString("ab") + null5, "ab");
    CString edited("ab/");
    ExpectText(edited /= null5, "ab");
    ExpectText(edited += null5, "ab");
    EXPECT_TRUE(null5 < text && null5 < "" && null5 <= CStringView() && null5 >= null5 && !(null5 > text));
    ExpectReports(recorder, {});
}

struct SOperands
{
    CString m_String;
    CString m_Result;
};

// Whole, the left side, or nothing.
void CheckRefusedOperator(void (*apply)(SOperands &), const char *left, const char *whole, bool isPath)
{
    SweepRefusals(
        [] {
            return SOperands{CString("file"), CString("before")};
        },
        apply,
        [&](const SOperands &operands, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            const std::string text = TextOf(operands.m_Result);
            EXPECT_TRUE(refusal.m_Refused ? text.empty() || text == left : text == whole) << text;
            ExpectText(operands.m_String, "file");
            if (isPath && refusal.m_Refused)
                ExpectReports(recorder, {"newContainer != null"});
            else
                ExpectReports(recorder, {});
        });
}

TEST(StringOperators, RefusedIsTheLeftSideAloneOrNothing)
{
    CheckRefusedOperator([](SOperands &o) { o.m_Result = "/rooted/dir" + o.m_String; }, "/rooted/dir",
                         "/rooted/dirfile", false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = "/rooted/dir" / o.m_String; }, "/rooted/dir",
                         "/rooted/dir/file", true);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = CStringView("/rooted", 5) + o.m_String; }, "/root",
                         "/rootfile", false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = CStringView("/rooted", 5) / o.m_String; }, "/root",
                         "/root/file", true);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = o.m_String + "a"; }, "file", "filea", false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = o.m_String / "a"; }, "file", "file/a", true);
}

TEST(StringOperators, TwoAllocationsSufficeWhateverIsOnTheLeft)
{
    CTestAllocator allocator;
    const CString string("file");
    const CStringView view("/rooted", 5);
    const auto requests = [&](const CString &)
    {
        const u64 count = allocator.RequestCount();
        allocator.RefuseNth(0);
        return count;
    };
    requests(CString());
    EXPECT_EQ(requests("dir" + string), 2u);
    EXPECT_EQ(requests("dir" / string), 2u);
    EXPECT_EQ(requests(view + string), 2u);
    EXPECT_EQ(requests(view / string), 2u);
    EXPECT_EQ(requests(string + "dir"), 2u);
    EXPECT_EQ(requests(string / "dir"), 2u);
}

// What a string made of the left side would give.
TEST(StringOperators, AViewOnTheLeftIsWhatAStringOfItWouldBe)
{
    CAssertRecorder recorder;
    const std::vector<std::string> texts = EveryText(std::string("a/\0", 3), 3);
    for (const std::string &left : texts)
        for (const std::string &right : texts)
        {
            const CString string = Resizable(right);
            CString sum = ViewOf(left).ToString();
            sum.Append(string);
            EXPECT_EQ(TextOf(ViewOf(left) + string), TextOf(sum));
            CString path = ViewOf(left).ToString();
            path.AppendSlashAnd(string);
            EXPECT_EQ(TextOf(ViewOf(left) / string), TextOf(path));
            EXPECT_EQ(TextOf(left.c_str() + string), TextOf(CString(left.c_str()).Append(string)));
            EXPECT_EQ(TextOf(left.c_str() / string), TextOf(CString(left.c_str()).AppendSlashAnd(string)));
        }
    ExpectReports(recorder, {});
}

// With two views, or a view and a text, the same: what a string made of the left side would give.
TEST(StringOperators, TwoViewsOrAViewAndATextAreWhatAStringOfTheLeftSideWouldGive)
{
    CAssertRecorder recorder;
    const std::vector<std::string> texts = EveryText(std::string("a/\0", 3), 3);
    for (const std::string &left : texts)
        for (const std::string &right : texts)
        {
            const CStringView view = ViewOf(right);
            CString sum = ViewOf(left).ToString();
            EXPECT_EQ(TextOf(ViewOf(left) + view), TextOf(sum.Append(view)));
            CString ofText = ViewOf(left).ToString();
            EXPECT_EQ(TextOf(ViewOf(left) + right.c_str()), TextOf(ofText.Append(right.c_str())));
            EXPECT_EQ(TextOf(left.c_str() + view), TextOf(CString(left.c_str()).Append(view)));
        }
    const CStringView null5(nullptr, 5);
    const CStringView view("abc", 2);
    const char *const none = nullptr;
    char buffer[] = "xy";
    ExpectText(null5 + view, "ab");
    ExpectText(view + null5, "ab");
    ExpectText(null5 + null5, "");
    ExpectText(view + none, "ab");
    ExpectText(none + view, "ab");
    ExpectText(view + buffer, "abxy");
    ExpectText(buffer + view, "xyab");
    ExpectText(view + "x" + view + 'y', "abxaby");
    ExpectReports(recorder, {});
}

TEST(StringOperators, ASumOfViewsGrowsInPlaceAfterwards)
{
    CTestAllocator allocator;
    const CStringView view("abc", 2);
    allocator.ForgetCalls();
    for (const CString &sum : {view + view, view + "ab", "ab" + view})
    {
        ExpectText(sum, "abab");
        EXPECT_TRUE(ContainerOf(sum)->SupportsDynamicResize());
    }
    // For each the buffer and the object: no string is made of a side.
    EXPECT_EQ(allocator.Requests().size(), 6u);
}

TEST(StringOperators, RefusedWithViewsIsTheLeftSideAloneOrNothing)
{
    CheckRefusedOperator([](SOperands &o) { o.m_Result = CStringView("view", 3) + CStringView(o.m_String); }, "vie",
                         "viefile", false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = CStringView(o.m_String) + "text"; }, "file", "filetext",
                         false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = "text" + CStringView(o.m_String); }, "text", "textfile",
                         false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = o.m_String + 'x'; }, "file", "filex", false);
    CheckRefusedOperator([](SOperands &o) { o.m_Result = CString(o.m_String) + 'x'; }, "file", "filex", false);
}

TEST(StringOperators, ACharacterIsAppended)
{
    CTestAllocator allocator;
    const char constant = 'b';
    char variable = 'c';
    CString string("x");
    string += 'a';
    string += constant;
    string += variable;
    ExpectText(string, "xabc");
    const CString other = string;
    ExpectText(string + 'd', "xabcd");
    ExpectText(string + constant + variable, "xabcbc");
    ExpectText(CString() + 'd', "d");
    ExpectText(string += 'd', "xabcd");
    ExpectText(other, "xabc");
    ExpectText(string += '\0', "xabcd");
    ExpectText(string + '\0', "xabcd");
    ExpectText(CString("x") + '\0', "x");
    EXPECT_TRUE(ContainerOf(other + 'd')->SupportsDynamicResize());
}

TEST(StringOperators, ACharacterIsAppendedInPlaceToATemporary)
{
    CTestAllocator allocator;
    CString string = Resizable("abc", 100);
    const char *const data = string.Data();
    allocator.ForgetCalls();
    const CString sum = std::move(string) + 'd' + 'e';
    EXPECT_EQ(sum.Data(), data);
    EXPECT_TRUE(allocator.Requests().empty());
    ExpectText(sum, "abcde");
}

// Neither a character nor a view: a null text, which adds nothing.
TEST(StringOperators, ALiteralZeroIsANullText)
{
    CString string("ab");
    const CStringView view("abc", 2);
    ExpectText(string += 0, "ab");
    ExpectText(string += nullptr, "ab");
    ExpectText(string + 0, "ab");
    ExpectText(string + nullptr, "ab");
    ExpectText(CString("ab") + 0, "ab");
    ExpectText(view + 0, "ab");
    ExpectText(view + nullptr, "ab");
    ExpectText(0 + view, "ab");
}

template <typename T, typename = void>
struct TIsAppendable : std::false_type
{
};
template <typename T>
struct TIsAppendable<T, std::void_t<decltype(std::declval<CString &>() += std::declval<T>()),
                                    decltype(std::declval<const CString &>() + std::declval<T>()),
                                    decltype(std::declval<CString>() + std::declval<T>())>> : std::true_type
{
};

static_assert(TIsAppendable<char>::value && TIsAppendable<const char &>::value, "a character is appended");
static_assert(!TIsAppendable<int>::value && !TIsAppendable<bool>::value && !TIsAppendable<unsigned char>::value &&
                  !TIsAppendable<signed char>::value && !TIsAppendable<wchar_t>::value,
              "a character is exactly a char");
static_assert(noexcept(std::declval<CString &>() += 'a') &&noexcept(std::declval<const CString &>() + 'a') &&noexcept(
                  std::declval<CStringView>() +
                  std::declval<CStringView>()) &&noexcept(std::declval<CStringView>() +
                                                          "a") &&noexcept("a" + std::declval<CStringView>()),
              "they do not throw");

// What converts to a view, and has a sum of its own, keeps it.
struct SOwnSum
{
    operator CStringView() const { return CStringView("view", 4); }
};

int operator+(const SOwnSum &, const CStringView &)
{
    return 1;
}

TEST(StringOperators, WhatConvertsToAViewKeepsItsOwnOperators)
{
    EXPECT_EQ(SOwnSum() + CStringView("x", 1), 1);
    EXPECT_EQ(SOwnSum() + SOwnSum(), 1);
    ExpectText(CString("a") + SOwnSum(), "aview");
}

// ---- Arguments at the room's edges -------------------------------------------------------------------------------------

// While one lives, blocks of 16-byte alignment come one behind the other from one piece of memory, so that what lies
// around them may be read. Of one test, whose other blocks it takes as well.
class CRowAllocator
{
public:
    CRowAllocator() : m_Before(Mem::SetAllocator({&_Alloc, &_Realloc, &_Free}))
    {
        s_Used = 0;
        for (char &character : s_Bytes)
            character = static_cast<char>('a' + (&character - s_Bytes) % 26);
    }
    ~CRowAllocator() { Mem::SetAllocator(m_Before); }
    CRowAllocator(const CRowAllocator &) = delete;
    CRowAllocator &operator=(const CRowAllocator &) = delete;

private:
    static void *_Alloc(u64 size, u32, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
    {
        // Some bytes of nobody's lie in front of each.
        s_Used += 64;
        void *const block = s_Bytes + s_Used;
        s_Used += static_cast<u32>((size + 15) / 16 * 16);
        return s_Used <= sizeof(s_Bytes) ? block : nullptr;
    }
    static void *_Realloc(void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *)
    {
        return nullptr;
    }
    static void _Free(void *, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *) {}

    alignas(16) static inline char s_Bytes[8192];
    static inline u32 s_Used = 0;
    Mem::SAllocator m_Before;
};

// Does to a string of some room what adds the `count` characters that begin `offset` bytes behind its room's beginning.
void CheckBesideRoom(s32 offset, u32 count)
{
    SCOPED_TRACE(::testing::Message() << count << " from " << offset);
    for (const EVerb verb : kVerbs)
    {
        CAssertRecorder recorder;
        CRowAllocator allocator;
        CString string(CStringContainer::NewResizable("text", 4, 79));
        const char *const argument = string.Data() + offset;
        const std::string added(argument, count);
        if (verb == Verb_Append)
            string.Append(CStringView(argument, count));
        else if (verb == Verb_Prepend)
            string.Prepend(CStringView(argument, count));
        else
            string /= CStringView(argument, count);
        ExpectText(string, verb == Verb_Append    ? "text" + added
                           : verb == Verb_Prepend ? added + "text"
                                                  : "text/" + added);
        ExpectReports(recorder, {});
    }
}

TEST(StringConcatenation, AnArgumentThatBeginsRightBehindTheRoomIsNoneOfIt)
{
    for (const u32 count : {1u, 16u, 32u, 33u, 60u})
        CheckBesideRoom(80, count);
}

TEST(StringConcatenation, AnArgumentThatBeginsInFrontOfTheRoomAndEndsInItIsTakenWhole)
{
    for (const u32 before : {1u, 16u, 40u})
        for (const u32 within : {0u, 1u, 3u, 4u})
            CheckBesideRoom(-static_cast<s32>(before), before + within);
}

// ---- The longest texts -------------------------------------------------------------------------------------------------

TEST(StringHuge, AppendUpToTheLongestLengthIsGranted)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    CString string = HugeString(0x3FFFFFF0u);
    ASSERT_EQ(string.Length(), 0x3FFFFFF0u);
    const u64 requests = allocator.RequestCount();
    string.Append("0123456789abcd");
    EXPECT_EQ(string.Length(), 0x3FFFFFFEu);
    EXPECT_EQ(CStringView(string.Data() + 0x3FFFFFEFu, 15)[14], 'd');
    // The buffer of 2^30 bytes has just that room.
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectWellFormed(*ContainerOf(string));
    ExpectReports(recorder, {});
}

TEST(StringHuge, GrowthToTheLongestLengthIsGranted)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    CString string = HugeString(0x3FFFFF0Fu);
    string.Append(CString(std::string(0xEF, 'x').c_str()));
    // The text moves, and for a while needs its room twice.
    if (allocator.WasShort())
        GTEST_SKIP() << "no address space to spare";
    EXPECT_EQ(string.Length(), 0x3FFFFFFEu);
    EXPECT_EQ(CapacityOf(*ContainerOf(string)), 0x40000100u);
    EXPECT_EQ(string.Last(), 'x');
    ExpectWellFormed(*ContainerOf(string));
    ExpectReports(recorder, {});
}

TEST(StringHuge, AppendAndPrependBeyondTheLongestLengthAreRefusedMemory)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    for (const bool shared : {false, true})
        for (const bool append : {false, true})
        {
            SCOPED_TRACE(::testing::Message() << "shared " << shared << ", append " << append);
            CAssertRecorder recorder;
            CHugeAllocator allocator;
            CString string = HugeString(0x3FFFFFF0u);
            const CString other = shared ? string : CString();
            const u64 requests = allocator.RequestCount();
            if (append)
                string.Append("0123456789abcde");
            else
                string.Prepend("0123456789abcde");
            EXPECT_EQ(string.Data(), nullptr);
            EXPECT_EQ(other.Length(), shared ? 0x3FFFFFF0u : 0u);
            EXPECT_EQ(allocator.RequestCount(), requests);
            ExpectReports(recorder, {});
        }
}

// Around the last length that takes the fast path, with room for all of them and for one more.
TEST(StringHuge, AppendOfAFewCharactersStopsAtTheLongestLength)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    const std::string text(33, 'x');
    for (u32 length = 0x3FFFFFFFu - 35; length < 0x3FFFFFFFu - 29; ++length)
        for (u32 added = 30; added <= 33; ++added)
        {
            SCOPED_TRACE(::testing::Message() << length << " and " << added);
            CAssertRecorder recorder;
            CHugeAllocator allocator;
            CString string(CStringContainer::NewResizable(null, length, 0x3FFFFFFF));
            const bool fits = length + added < 0x3FFFFFFFu;
            EXPECT_EQ(string.TryAppend(CStringView(text.data(), added)), fits);
            EXPECT_EQ(string.Length(), fits ? length + added : length);
            ExpectReports(recorder, {});
        }
}

TEST(StringHuge, ACharacterBehindTheLongestTextIsRefusedMemory)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    PStringContainer container = CStringContainer::NewResizable(null, 0x3FFFFFFDu, 0x3FFFFFFF);
    container->Data()[0] = 'a';
    CString string(std::move(container));
    string += 'x';
    EXPECT_EQ(string.Length(), 0x3FFFFFFEu);
    EXPECT_EQ(string.Last(), 'x');
    string += 'y';
    EXPECT_EQ(string.Length(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringHuge, AppendToItselfBeyondTheLongestLengthIsRefusedMemory)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    CString string = HugeString(0x20000000u);
    const u64 requests = allocator.RequestCount();
    string.Append(string);
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringHuge, CountsThatWrapAreRefusedMemory)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const CString source("abc");
    // A view of such a length is refused before a character of it is read.
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFDu, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(length);
        const CStringView view("xyz", length);
        CString appended = source;
        const u64 requests = allocator.RequestCount();
        EXPECT_EQ(appended.Append(view).Data(), nullptr);
        CString prepended = source;
        EXPECT_EQ(prepended.Prepend(view).Data(), nullptr);
        EXPECT_EQ(CString().Append(view).Data(), nullptr);
        EXPECT_EQ(CString().Prepend(view).Data(), nullptr);
        EXPECT_EQ(view.ToString().Data(), nullptr);
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
    ExpectText(source, "abc");
    ExpectReports(recorder, {});
}

// ---- Where there is room -------------------------------------------------------------------------------------------

// A string that has room for as many characters, and dirt in it behind the last block of its text.
CString WithRoom(const std::string &text, u32 room)
{
    CString string = Resizable(text, std::max(room, LengthOf(text)));
    CStringContainer *const container = ContainerOf(string);
    for (u32 i = container->Length() / 16 * 16 + 16; i < CapacityOf(*container); ++i)
        container->Data()[i] = static_cast<char>('A' + i % 26);
    return string;
}

// The allocator has bytes of its own in front of each block, and a piece may begin there.
TEST(StringAppend, AppendOfAPieceThatBeginsInFrontOfTheRoomAddsItAsItWas)
{
    CTestAllocator allocator;
    for (const u32 length : {1u, 4u, 15u, 40u, 300u})
        for (const bool prepends : {false, true})
        {
            const std::string text(length, 'x');
            CString string = Resizable(text);
            const CStringView piece(string.Data() - 2, 2 + length);
            const std::string added(piece.Data(), piece.Length());
            prepends ? string.Prepend(piece) : string.Append(piece);
            ExpectCharacters(string, prepends ? added + text : text + added);
        }
}

TEST(StringTryAppend, TryAppendAddsAPieceOfEveryKindAtTheEnd)
{
    CString string;
    ASSERT_TRUE(string.Reserve(20));
    EXPECT_TRUE(string.TryAppend("ab"));
    EXPECT_TRUE(string.TryAppend('c'));
    EXPECT_TRUE(string.TryAppend(CString("de")));
    EXPECT_TRUE(string.TryAppend(CStringView("fgh", 2)));
    ExpectText(string, "abcdefg");
}

TEST(StringTryAppend, TryAppendIsAppendWithoutMemoryOrNothing)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    for (u32 length = 0; length <= 40; ++length)
        for (u32 added = 1; added <= 65; ++added)
            for (const u32 room : {1u, 20u, 64u, 100u})
            {
                const std::string text(length, 't');
                std::string piece;
                for (u32 i = 0; i < added; ++i)
                    piece += static_cast<char>(0x7A + i);
                const CTextAtPageEnd argument(piece);
                CString string = WithRoom(text, room);
                const CStringContainer *const container = ContainerOf(string);
                const bool fits = length + added < CapacityOf(*container);
                const u64 requests = allocator.RequestCount();
                ASSERT_EQ(string.TryAppend(argument.View()), fits) << length << ' ' << added << ' ' << room;
                ASSERT_EQ(allocator.RequestCount(), requests);
                ASSERT_EQ(ContainerOf(string), container);
                ExpectText(string, fits ? text + piece : text);
            }
    ExpectReports(recorder, {});
}

// There is room for one more than a string may have.
TEST(StringTryAppend, TryAppendRefusesALengthThatNoStringCanHave)
{
    constexpr u32 kMaxLength = 0x3FFFFFFEu;
    CString string = HugeString(kMaxLength - 3);
    if (string.Data() == nullptr)
        GTEST_SKIP() << "no memory for the longest text";
    const u32 capacity = CapacityOf(*ContainerOf(string));
    EXPECT_FALSE(string.TryAppend("four"));
    EXPECT_EQ(string.Length(), kMaxLength - 3);
    EXPECT_GT(capacity, kMaxLength + 1);
    EXPECT_TRUE(string.TryAppend("abc"));
    EXPECT_EQ(string.Length(), kMaxLength);
}

TEST(StringTryAppend, TryAppendOfACharacterEndsWithTheRoom)
{
    CString string = WithRoom("", 40);
    std::string text;
    const u32 capacity = CapacityOf(*ContainerOf(string));
    for (u32 i = 1; i < capacity; ++i)
    {
        ASSERT_TRUE(string.TryAppend('x'));
        ExpectText(string, text += 'x');
    }
    EXPECT_FALSE(string.TryAppend('x'));
    EXPECT_FALSE(string.TryAppend("x"));
    EXPECT_TRUE(string.TryAppend('\0'));
    ExpectText(string, text);
}

TEST(StringTryAppend, TryAppendLeavesEveryOtherStringAlone)
{
    CAssertRecorder recorder;
    CString none;
    EXPECT_FALSE(none.TryAppend('x'));
    EXPECT_FALSE(none.TryAppend("x"));
    EXPECT_EQ(none.Data(), nullptr);

    CString fixed("abc");
    EXPECT_FALSE(fixed.TryAppend('x'));
    EXPECT_FALSE(fixed.TryAppend(CStringView("x", 1)));
    ExpectText(fixed, "abc");

    CString shared = WithRoom("abc", 100);
    const CString other = shared;
    EXPECT_FALSE(shared.TryAppend('x'));
    EXPECT_FALSE(shared.TryAppend(CString("x")));
    EXPECT_EQ(shared.Data(), other.Data());
    ExpectText(other, "abc");
    ExpectReports(recorder, {});
}

TEST(StringTryAppend, TryAppendTakesEveryPieceOfItsOwnRoom)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const std::string text = "abcdefghijklmnopqrstu";
    for (u32 offset = 0; offset < 80; ++offset)
        for (u32 count = 1; count <= 90; ++count)
        {
            CString string = WithRoom(text, 79);
            const u32 capacity = CapacityOf(*ContainerOf(string));
            ASSERT_EQ(capacity, 80u);
            const std::string there(string.Data(), capacity);
            const bool fits = offset + count <= capacity && text.size() + count < capacity;
            const u64 requests = allocator.RequestCount();
            ASSERT_EQ(string.TryAppend(CStringView(string.Data() + offset, count)), fits) << offset << ' ' << count;
            ASSERT_EQ(allocator.RequestCount(), requests);
            ExpectCharacters(string, fits ? text + there.substr(offset, count) : text);
        }
    ExpectReports(recorder, {});
}

TEST(StringTryAppend, TryAppendOfTheStringItselfDoublesIt)
{
    CString string = WithRoom("abc", 100);
    EXPECT_TRUE(string.TryAppend(string));
    EXPECT_TRUE(string.TryAppend(string.Data()));
    ExpectText(string, "abcabcabcabc");
}

TEST(StringTryAppend, TryAppendRefusesLengthsThatWrapWithoutReading)
{
    CString string = WithRoom("abc", 100);
    for (const u32 length : {0x3FFFFFFCu, 0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFDu, 0xFFFFFFFFu})
        EXPECT_FALSE(string.TryAppend(CStringView("xyz", length)));
    ExpectText(string, "abc");
}

TEST(StringTryAppend, APathJoinSearchesWhatTryAppendHasAdded)
{
    CAssertRecorder recorder;
    CString string = WithRoom("dir", 100);
    string /= "a";
    EXPECT_TRUE(string.TryAppend("\\"));
    ExpectReports(recorder, {});
    string /= "b";
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

TEST(StringReserve, ReserveMakesRoomThatTryAppendFinds)
{
    for (const std::string &text : {std::string(), std::string("abc"), std::string("a\0b", 3), std::string("\0ab", 3)})
        for (const u32 length : {0u, 1u, 2u, 3u, 15u, 16u, 17u, 100u, 5000u})
            for (const bool isFixed : {false, true})
            {
                CAssertRecorder recorder;
                CTestAllocator allocator;
                CString string = isFixed ? Fixed(text) : Resizable(text);
                ASSERT_TRUE(string.Reserve(length));
                ExpectCharacters(string, text);
                const char *const data = string.Data();
                const u64 requests = allocator.RequestCount();
                std::string all = text;
                while (all.size() < length)
                {
                    ASSERT_TRUE(string.TryAppend('x'));
                    all += 'x';
                }
                ASSERT_TRUE(string.Reserve(length));
                EXPECT_EQ(string.Data(), data);
                EXPECT_EQ(allocator.RequestCount(), requests);
                ExpectCharacters(string, all);
                string.Clear();
                EXPECT_TRUE(string.Reserve(length));
                EXPECT_EQ(allocator.RequestCount(), requests);
                ExpectReports(recorder, {});
            }
}

TEST(StringReserve, ReserveTakesTheCharactersOutOfSharing)
{
    for (const bool isFixed : {false, true})
    {
        CString string = isFixed ? Fixed("abc") : Resizable("abc", 100);
        const CString other = string;
        EXPECT_TRUE(string.Reserve(0));
        EXPECT_FALSE(string.IsShared());
        EXPECT_NE(string.Data(), other.Data());
        ExpectText(string, "abc");
        ExpectText(other, "abc");
        const char *const data = string.Data();
        string.ToUppercase();
        EXPECT_EQ(string.Data(), data);
        ExpectText(other, "abc");
    }
}

TEST(StringReserve, ReserveAllocatesWhatItSays)
{
    CTestAllocator allocator;
    CString string("abc");
    allocator.ForgetCalls();
    ASSERT_TRUE(string.Reserve(100));
    const std::vector<SAllocatorCall> made = allocator.Requests();
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0].m_Size + made[1].m_Size, 112u + 40u); // 101 bytes in blocks of 16, and the object

    allocator.ForgetCalls();
    ASSERT_TRUE(string.Reserve(111));
    EXPECT_TRUE(allocator.Requests().empty());
    ASSERT_TRUE(string.Reserve(112));
    const std::vector<SAllocatorCall> grown = allocator.Requests();
    ASSERT_EQ(grown.size(), 1u);
    EXPECT_EQ(grown[0].m_Size, (112u + 256u + 15u) / 16 * 16);
}

TEST(StringReserve, ReserveThatIsRefusedChangesNothing)
{
    enum EStart
    {
        Start_None,
        Start_Fixed,
        Start_Resizable,
        Start_Shared,
    };
    for (const EStart start : {Start_None, Start_Fixed, Start_Resizable, Start_Shared})
    {
        const std::string text = start == Start_None ? "" : "abc";
        SweepRefusals(
            [&]
            {
                CString string = start == Start_None ? CString() : start == Start_Fixed ? Fixed(text) : Resizable(text);
                const CString other = start == Start_Shared ? string : CString();
                return std::make_tuple(string, other, false);
            },
            [](auto &state) { std::get<2>(state) = std::get<0>(state).Reserve(200); },
            [&](auto &state, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                EXPECT_EQ(std::get<2>(state), !refusal.m_Refused);
                ExpectText(std::get<0>(state), text);
                EXPECT_EQ(std::get<0>(state).TryAppend("x"), start == Start_Resizable || !refusal.m_Refused);
                ExpectReports(recorder, {});
            });
    }
}

TEST(StringReserve, ReserveOfNoLengthAStringCanHaveAsksForNothing)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString none;
    CString string = Resizable("abc");
    const u64 requests = allocator.RequestCount();
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFF0u, 0xFFFFFFFFu})
    {
        EXPECT_FALSE(none.Reserve(length));
        EXPECT_FALSE(string.Reserve(length));
    }
    EXPECT_EQ(allocator.RequestCount(), requests);
    EXPECT_EQ(none.Data(), nullptr);
    ExpectText(string, "abc");
    ExpectReports(recorder, {});
}

// One that could grow in place, of a piece that is not among the shortest.
TEST(StringConcatenation, AContainerWithoutCharactersIsReportedBeforeItIsRead)
{
    if (!QV_TEST_HAS_FORK || !kSitesReport)
        GTEST_SKIP() << "without copies of the process, or without assertions";
    const std::string piece(40, 'x');
    const auto broken = []
    {
        CString string = Resizable("abc");
        SetFieldAt<char *>(*ContainerOf(string), kCharactersOffset, nullptr);
        return string;
    };
    const char *const check = "CStringContainer::SafeData(m_Container.Get()) != null";
    EXPECT_TRUE(ReportsFirst(check, [&] { broken().Append(piece.c_str()); }));
    EXPECT_TRUE(ReportsFirst(check, [&] { broken().Prepend(piece.c_str()); }));
}

TEST(StringReserve, ReserveReportsAContainerWithoutCharacters)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    EXPECT_FALSE(broken.Get().Reserve(10));
    ExpectReports(recorder, {"data != null"});
}

} // namespace
