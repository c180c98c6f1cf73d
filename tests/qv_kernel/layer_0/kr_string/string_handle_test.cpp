// The string handle: construction, checked access, the private copy before a write, and clearing.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include "kr_string.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// A string that begins with a terminator, so that it is empty, and has a length all the same.
CString EmptyWithLength()
{
    CString string("xbc");
    *string.RawDataForWriting() = '\0';
    return string;
}

// Construction.

TEST(StringHandle, SwapExchangesContainersAndChangesNoCount)
{
    CString a("first");
    const CString shared = a;
    CString b;
    const CStringContainer *const container = ContainerOf(a);
    using std::swap;
    swap(a, b);
    EXPECT_EQ(ContainerOf(a), nullptr);
    EXPECT_EQ(ContainerOf(b), container);
    EXPECT_EQ(container->RefCount(), 2u);
    swap(b, b);
    EXPECT_EQ(ContainerOf(b), container);
    EXPECT_EQ(container->RefCount(), 2u);
}

TEST(String, DefaultIsEmptyWithoutAContainer)
{
    const CString string;
    EXPECT_EQ(ContainerOf(string), nullptr);
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(string.Length(), 0u);
    EXPECT_TRUE(string.Empty());
}

TEST(String, NullAndEmptyTextHaveNoContainerAndAllocateNothing)
{
    CTestAllocator allocator;
    for (const CString &string : {CString(nullptr), CString("")})
    {
        EXPECT_EQ(string.Data(), nullptr);
        EXPECT_EQ(string.Length(), 0u);
        EXPECT_TRUE(string.Empty());
    }
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(String, TextIsCopiedIntoAFixedContainer)
{
    CTestAllocator allocator;
    const char text[] = "abc";
    const CString string(text);
    ExpectText(string, "abc");
    EXPECT_NE(string.Data(), text);
    EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
    EXPECT_EQ(allocator.Requests().size(), 1u);
}

TEST(String, CountedTextIsTrustedAndNotMeasured)
{
    CAssertRecorder recorder;
    const char text[] = {'a', 'b', 'c'};
    ExpectText(CString(text, 3), "abc");
    ExpectText(CString(text, 2), "ab");
    EXPECT_EQ(TextOf(CString("a\0c", 3)), std::string("a\0c", 3));
    ExpectReports(recorder, {});
}

TEST(String, CountedTextOfLengthZeroIsNullWithoutAReport)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    EXPECT_EQ(CString("abc", 0).Data(), nullptr);
    EXPECT_EQ(CString("", 0).Data(), nullptr);
    EXPECT_EQ(CString(nullptr, 0).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(String, ACountWithoutTextReportsAndStaysNull)
{
    CTestAllocator allocator;
    for (const char *text : {static_cast<const char *>(nullptr), ""})
    {
        CAssertRecorder recorder;
        EXPECT_EQ(CString(text, 5).Data(), nullptr);
        ExpectReports(recorder, {"sourceLen == 0"});
    }
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(String, CountsThatNoStringCanHaveGiveAnEmptyString)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu})
        EXPECT_EQ(CString("abc", length).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(String, FromAContainerAddsAReference)
{
    const PStringContainer container = CStringContainer::NewResizable("abc");
    {
        const CString string(container);
        EXPECT_EQ(ContainerOf(string), container.Get());
        EXPECT_EQ(container->RefCount(), 2u);
    }
    EXPECT_EQ(container->RefCount(), 1u);
}

TEST(String, FromAMovedContainerTakesTheReferenceOver)
{
    PStringContainer container = CStringContainer::New("abc");
    const CStringContainer *pointer = container.Get();
    const CString string(std::move(container));
    EXPECT_EQ(ContainerOf(string), pointer);
    EXPECT_EQ(pointer->RefCount(), 1u);
}

TEST(String, FromANullContainerIsEmpty)
{
    const PStringContainer none;
    EXPECT_EQ(CString(none).Data(), nullptr);
}

TEST(String, ConstructionRefusedIsEmpty)
{
    SweepRefusals([] { return CString(); }, [](CString &string) { string = CString("abcdef"); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "abcdef");
                      ExpectReports(recorder, {});
                  });
    SweepRefusals([] { return CString(); }, [](CString &string) { string = CString("abcdef", 4); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "abcd");
                      ExpectReports(recorder, {});
                  });
}

// Copies, moves, assignment.

TEST(String, CopyingSharesTheContainer)
{
    CTestAllocator allocator;
    const CString string("abc");
    allocator.ForgetCalls();
    {
        const CString copy = string;
        EXPECT_EQ(copy.Data(), string.Data());
        EXPECT_EQ(ContainerOf(string)->RefCount(), 2u);
    }
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
    EXPECT_TRUE(allocator.Calls().empty());
}

// Which text the thread has copied last is a guess that drops go by: the container may be gone, and another one stand at
// its address.
TEST(String, EveryTextIsDestroyedWithItsLastHandleWhicheverWasCopiedLast)
{
    CTestAllocator allocator;
    for (u32 round = 0; round < 3; ++round)
    {
        SCOPED_TRACE(round);
        CString first("dropped by the second of two handles");
        CString second = first;
        CString other("copied last");
        CString otherCopy = other;
        EXPECT_EQ(allocator.LiveBlocks(), 2u);
        first = CString();
        EXPECT_EQ(ContainerOf(second)->RefCount(), 1u);
        second = CString();
        EXPECT_EQ(allocator.LiveBlocks(), 1u);
        otherCopy = CString();
        EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
        // Never copied, and gone with its only handle, wherever it stands.
        other = CString("a text of one");
        EXPECT_EQ(allocator.LiveBlocks(), 1u);
        other = CString();
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
    }
}

TEST(String, CopyAssignmentTakesTheNewReferenceAndReleasesTheOld)
{
    CTestAllocator allocator;
    const CString source("abc");
    CString target("old");
    target = source;
    EXPECT_EQ(target.Data(), source.Data());
    EXPECT_EQ(ContainerOf(source)->RefCount(), 2u);
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
}

TEST(String, SelfAssignmentIsHarmless)
{
    CTestAllocator allocator;
    CString string("abc");
    CString &alias = string;
    string = alias;
    ExpectText(string, "abc");
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
}

TEST(String, MovingTransfersTheContainer)
{
    CTestAllocator allocator;
    CString source("abc");
    const CStringContainer *container = ContainerOf(source);
    CString constructed(std::move(source));
    EXPECT_EQ(ContainerOf(constructed), container);
    EXPECT_EQ(ContainerOf(source), nullptr);
    CString assigned("old");
    assigned = std::move(constructed);
    EXPECT_EQ(ContainerOf(assigned), container);
    EXPECT_EQ(ContainerOf(constructed), nullptr);
    EXPECT_EQ(container->RefCount(), 1u);
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
}

TEST(String, AssignmentFromTextReplacesTheText)
{
    CTestAllocator allocator;
    CString string("old");
    string = "new text";
    ExpectText(string, "new text");
    string = nullptr;
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(String, EmptyStringHasNoContainer)
{
    EXPECT_EQ(CString::EmptyString.Data(), nullptr);
    EXPECT_EQ(CString::EmptyString.Length(), 0u);
    EXPECT_TRUE(CString::EmptyString.Empty());
    const CString copy = CString::EmptyString;
    EXPECT_EQ(ContainerOf(copy), nullptr);
}

// Reading.

TEST(String, ReadingNeitherAllocatesNorChangesTheContainer)
{
    CTestAllocator allocator;
    const CString string("abc");
    const CString copy = string;
    allocator.ForgetCalls();
    const char *data = string.Data();
    EXPECT_EQ(string.Length(), 3u);
    EXPECT_FALSE(string.Empty());
    EXPECT_EQ(string.View().Count(), 3u);
    EXPECT_EQ(string.CStr(), data);
    EXPECT_EQ(string.begin(), data);
    EXPECT_EQ(string.end(), data + 3);
    EXPECT_EQ(string.Slice(1).Data(), data + 1);
    EXPECT_EQ(string.At(1), 'b');
    EXPECT_EQ(string[2], 'c');
    EXPECT_EQ(string.First(), 'a');
    EXPECT_EQ(string.Last(), 'c');
    EXPECT_EQ(string.MemoryFootprint(), 48u + sizeof(CString));
    EXPECT_EQ(string.Data(), data);
    EXPECT_EQ(copy.Data(), data);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(String, EmptinessIsJudgedByTheFirstCharacter)
{
    const CString string = EmptyWithLength();
    EXPECT_EQ(string.Length(), 3u);
    EXPECT_TRUE(string.Empty());
    const CString zeroLength(CStringContainer::NewResizable(nullptr, 0, 0));
    EXPECT_NE(zeroLength.Data(), nullptr);
    EXPECT_TRUE(zeroLength.Empty());
    EXPECT_FALSE(CString("a").Empty());
}

TEST(String, AContainerWithoutCharactersIsEmpty)
{
    CString string = Resizable("abc");
    char *buffer = string.RawDataForWriting();
    SetFieldAt<char *>(*ContainerOf(string), kCharactersOffset, nullptr);
    EXPECT_TRUE(string.Empty());
    EXPECT_EQ(string.RawDataForWriting(), nullptr);
    string.Clear();
    SetFieldAt<char *>(*ContainerOf(string), kCharactersOffset, buffer);
    ExpectText(string, "abc");
}

TEST(String, ViewIsTheCharactersAndTheLength)
{
    const CString string("abc");
    EXPECT_EQ(string.View().Data(), string.Data());
    EXPECT_EQ(string.View().Count(), 3u);
    EXPECT_EQ(CString().View().Data(), nullptr);
    EXPECT_EQ(CString().View().Count(), 0u);
}

TEST(String, CStrIsTheCharactersThemselves)
{
    const CString string("abc");
    EXPECT_EQ(string.CStr(), string.Data());
    EXPECT_STREQ(string.CStr(), "abc");
    const CString embedded = Fixed(std::string("\0bc", 3));
    EXPECT_EQ(embedded.CStr(), embedded.Data());
    CString cleared = Fixed("abc");
    cleared.Clear();
    ASSERT_NE(cleared.Data(), nullptr);
    EXPECT_EQ(cleared.CStr(), cleared.Data());
}

TEST(String, CStrIsAnEmptyTextWhereThereAreNoCharacters)
{
    CTestAllocator allocator;
    ASSERT_EQ(CString().Data(), nullptr);
    EXPECT_STREQ(CString().CStr(), "");
    EXPECT_STREQ(CString::EmptyString.CStr(), "");
    EXPECT_STREQ(CString("").CStr(), "");
    EXPECT_TRUE(allocator.Calls().empty());
    CBrokenString broken;
    EXPECT_STREQ(broken.Get().CStr(), "");
}

TEST(String, BeginAndEndAreTheEndsOfTheCharacters)
{
    for (const std::string &text : {std::string("a"), std::string("a\0b", 3), std::string("\0bc", 3),
                                    std::string(16, '\xE9'), std::string(1000, 'x')})
    {
        for (const CString &string : {Fixed(text), Resizable(text, 2000)})
        {
            EXPECT_EQ(string.begin(), string.Data());
            EXPECT_EQ(string.end(), string.Data() + text.size());
            std::string walked;
            for (const char character : string)
                walked += character;
            EXPECT_EQ(walked, text);
        }
    }
}

TEST(String, BeginAndEndOfAStringWithoutCharactersAreAnEmptyRange)
{
    CString cleared("abc");
    cleared.Clear();
    CBrokenString broken;
    ASSERT_EQ(broken.Get().Length(), 3u);
    for (const CString *string :
         {&CString::EmptyString, static_cast<const CString *>(&cleared), static_cast<const CString *>(&broken.Get())})
    {
        EXPECT_EQ(string->begin(), string->Data());
        EXPECT_EQ(string->end(), string->begin());
    }
}

TEST(String, BeginGivesCharactersToReadAndNoneToWrite)
{
    CString string("abc");
    EXPECT_TRUE((std::is_same<decltype(string.begin()), const char *>::value));
    EXPECT_TRUE((std::is_same<decltype(string.end()), const char *>::value));
    // Reading leaves shared characters shared, also through a handle that might write.
    const CString copy = string;
    EXPECT_EQ(string.begin(), copy.begin());
}

TEST(String, SliceIsAViewOfItsCharacters)
{
    const CString string("abcde");
    EXPECT_EQ(string.Slice(0).Data(), string.Data());
    EXPECT_EQ(TextOf(string.Slice(0)), "abcde");
    EXPECT_EQ(TextOf(string.Slice(2)), "cde");
    EXPECT_EQ(string.Slice(2).Data(), string.Data() + 2);
    EXPECT_EQ(TextOf(string.Slice(1, 3)), "bcd");
    EXPECT_EQ(TextOf(string.Slice(4, 1)), "e");
    EXPECT_EQ(TextOf(Fixed(std::string("a\0b", 3)).Slice(1)), std::string("\0b", 2));
}

TEST(String, SliceIsClampedWithoutAReport)
{
    CAssertRecorder recorder;
    const CString string("abc");
    const u32 beyond[] = {3, 4, 0xFFFFFFFFu};
    for (const u32 start : beyond)
    {
        EXPECT_EQ(string.Slice(start).Data(), string.Data() + 3);
        EXPECT_EQ(string.Slice(start).Length(), 0u);
        EXPECT_EQ(string.Slice(start, 0xFFFFFFFFu).Length(), 0u);
        EXPECT_EQ(TextOf(string.Slice(1, start)), "bc");
    }
    EXPECT_EQ(string.Slice(1, 0).Data(), string.Data() + 1);
    ExpectReports(recorder, {});
}

TEST(String, SliceOfAStringWithoutAContainerIsTheNullView)
{
    EXPECT_EQ(CString().Slice(0).Data(), nullptr);
    EXPECT_EQ(CString().Slice(0).Length(), 0u);
    EXPECT_EQ(CString().Slice(1, 2).Data(), nullptr);
    EXPECT_EQ(CString().Slice(1, 2).Length(), 0u);
}

TEST(String, AtReportsAMissingContainerAndAnswersNul)
{
    CAssertRecorder recorder;
    const CString string;
    EXPECT_EQ(string.At(0), '\0');
    ExpectReports(recorder, {"_P::m_Ptr != null"});
    EXPECT_EQ(string[7], '\0');
    ExpectReports(recorder, {"_P::m_Ptr != null", "_P::m_Ptr != null"});
}

TEST(String, AtReportsAnIndexBeyondTheTextAndAnswersNul)
{
    const CString string("abc");
    for (const u32 index : {3u, 4u, 100000u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(index);
        CAssertRecorder recorder;
        EXPECT_EQ(string.At(index), '\0');
        ExpectReports(recorder, {"index < m_Container->Length()"});
        EXPECT_EQ(string[index], '\0');
        ExpectReports(recorder, {"index < m_Container->Length()", "index < m_Container->Length()"});
    }
}

TEST(String, AtReadsEveryCharacterWithinTheLength)
{
    CAssertRecorder recorder;
    const CString string("abc");
    EXPECT_EQ(&string.At(0), string.Data());
    EXPECT_EQ(&string.At(2), string.Data() + 2);
    EXPECT_EQ(&string[1], string.Data() + 1);
    // A text that is empty by its first character still has them.
    const CString odd = EmptyWithLength();
    EXPECT_EQ(odd.At(0), '\0');
    EXPECT_EQ(odd.At(2), 'c');
    ExpectReports(recorder, {});
}

TEST(String, FirstAndLastOfAnEmptyStringReportAndAnswerNul)
{
    for (const CString &string : {CString(), CString(CStringContainer::NewResizable("")), EmptyWithLength()})
    {
        CAssertRecorder recorder;
        EXPECT_EQ(string.First(), '\0');
        ExpectReports(recorder, {"!Empty()"});
        EXPECT_EQ(string.Last(), '\0');
        ExpectReports(recorder, {"!Empty()", "!Empty()"});
    }
}

TEST(String, FirstAndLastAreTheEndsOfTheText)
{
    CAssertRecorder recorder;
    const CString string("abc");
    EXPECT_EQ(&string.First(), string.Data());
    EXPECT_EQ(&string.Last(), string.Data() + 2);
    const CString one("x");
    EXPECT_EQ(&one.First(), &one.Last());
    ExpectReports(recorder, {});
}

TEST(String, MemoryFootprintIsTheContainersAndTheHandle)
{
    EXPECT_EQ(CString().MemoryFootprint(), sizeof(CString));
    EXPECT_EQ(CString("abc").MemoryFootprint(), 48u + sizeof(CString));
    EXPECT_EQ(Resizable("abc").MemoryFootprint(), 64u + sizeof(CString));
}

// Writing.

TEST(String, WritingToANullStringGivesNothingAndAllocatesNothing)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string;
    EXPECT_EQ(string.RawDataForWriting(), nullptr);
    EXPECT_EQ(string.ViewForWriting().Data(), nullptr);
    EXPECT_EQ(string.ViewForWriting().Count(), 0u);
    string.RebuildAfterRawModification();
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(String, AnOnlyHolderWritesItsContainerAndKeepsItsForm)
{
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        CString string = resizable ? Resizable("abc", 100) : CString("abc");
        const CStringContainer *container = ContainerOf(string);
        const char *data = string.Data();
        const u32 capacity = CapacityOf(*container);
        allocator.ForgetCalls();
        EXPECT_EQ(string.RawDataForWriting(), data);
        EXPECT_EQ(string.ViewForWriting().Data(), data);
        EXPECT_EQ(ContainerOf(string), container);
        EXPECT_EQ(container->SupportsDynamicResize(), resizable);
        EXPECT_EQ(CapacityOf(*container), capacity);
        EXPECT_TRUE(allocator.Calls().empty());
    }
}

TEST(String, WritingASharedStringGivesTheWriterAFixedCopyOfItsLength)
{
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        CString writer = resizable ? Resizable("abc", 100) : CString("abc");
        const CString other = writer;
        CStringContainer *before = ContainerOf(other);
        allocator.ForgetCalls();
        char *data = writer.RawDataForWriting();
        ASSERT_NE(data, nullptr);
        EXPECT_NE(ContainerOf(writer), before);
        EXPECT_EQ(data, writer.Data());
        EXPECT_FALSE(ContainerOf(writer)->SupportsDynamicResize());
        const auto requests = allocator.Requests();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].m_Size, 48u);
        EXPECT_EQ(ContainerOf(writer)->RefCount(), 1u);
        EXPECT_EQ(before->RefCount(), 1u);
        data[0] = 'X';
        ExpectText(writer, "Xbc");
        EXPECT_EQ(ContainerOf(other), before);
        EXPECT_EQ(before->SupportsDynamicResize(), resizable);
        ExpectText(other, "abc");
    }
}

TEST(String, WritingCopiesEmbeddedTerminators)
{
    CString writer("a\0c", 3);
    const CString other = writer;
    EXPECT_EQ(writer.ViewForWriting().Count(), 3u);
    EXPECT_NE(writer.Data(), other.Data());
    EXPECT_EQ(TextOf(writer), std::string("a\0c", 3));
}

TEST(String, RawDataForWritingTwiceCopiesOnce)
{
    CTestAllocator allocator;
    CString writer("abc");
    const CString other = writer;
    char *data = writer.RawDataForWriting();
    allocator.ForgetCalls();
    EXPECT_EQ(writer.RawDataForWriting(), data);
    EXPECT_EQ(writer.ViewForWriting().Data(), data);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(String, WritingASharedContainerOfLengthZeroLeavesTheWriterNull)
{
    CTestAllocator allocator;
    CString writer(CStringContainer::NewResizable(nullptr, 0, 0));
    const CString other = writer;
    EXPECT_EQ(writer.RawDataForWriting(), nullptr);
    EXPECT_EQ(ContainerOf(writer), nullptr);
    EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
}

TEST(String, ViewForWritingIsTheCharactersAndTheLength)
{
    CString writer("abc");
    const CString other = writer;
    const TMemoryView<char> view = writer.ViewForWriting();
    EXPECT_EQ(view.Data(), writer.Data());
    EXPECT_EQ(view.Count(), 3u);
    EXPECT_NE(writer.Data(), other.Data());
    view[1] = 'X';
    ExpectText(writer, "aXc");
    ExpectText(other, "abc");
}

TEST(String, RebuildAfterRawModificationTakesTheLengthFromTheText)
{
    CString string("abcdef");
    string.RawDataForWriting()[2] = '\0';
    EXPECT_EQ(string.Length(), 6u);
    string.RebuildAfterRawModification();
    ExpectText(string, "ab");
}

// Before the length is told, the first character alone says that there is a text.
TEST(String, ATextWrittenRawIntoAnEmptyStringHasNoLastCharacterUntilItIsRebuilt)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CString string = Resizable("ab", 20);
    string.Clear();
    ASSERT_EQ(string.Length(), 0u);
    string.RawDataForWriting()[0] = 'x';
    const CAssertRecorder recorder;
    EXPECT_FALSE(string.Empty());
    EXPECT_EQ(string.Last(), '\0');
    EXPECT_EQ(TextOf(CString("a").AppendSlashAnd(string)), "a");
    ExpectReports(recorder, {});
    string.RebuildAfterRawModification();
    EXPECT_EQ(string.Last(), 'x');
}

TEST(String, WritingToASharedContainerWithoutCharactersLeavesItShared)
{
    CBrokenString broken;
    CString other = broken.Get();
    const CAssertRecorder recorder;
    EXPECT_EQ(other.RawDataForWriting(), nullptr);
    EXPECT_EQ(ContainerOf(other), ContainerOf(broken.Get()));
}

TEST(String, RebuildAfterRawModificationDoesNotUnshare)
{
    CTestAllocator allocator;
    CString string("abcdef");
    const CString other = string;
    allocator.ForgetCalls();
    string.RebuildAfterRawModification();
    EXPECT_EQ(string.Data(), other.Data());
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(String, WritableCharactersUnshareFirst)
{
    CString writer("abc");
    const CString other = writer;
    writer.AtForWriting(1) = 'X';
    ExpectText(writer, "aXc");
    CString first(other);
    first.FirstForWriting() = 'Y';
    ExpectText(first, "Ybc");
    CString last(other);
    last.LastForWriting() = 'Z';
    ExpectText(last, "abZ");
    ExpectText(other, "abc");
    EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
}

TEST(String, FirstForWritingLastForWritingAndAtForWritingOfAnOnlyHolderAreInPlace)
{
    CString string("abc");
    EXPECT_EQ(&string.AtForWriting(1), string.Data() + 1);
    EXPECT_EQ(&string.FirstForWriting(), string.Data());
    EXPECT_EQ(&string.LastForWriting(), string.Data() + 2);
}

TEST(String, WritableCharactersReportAsTheReadableOnesAndAnswerAScratch)
{
    CTestAllocator allocator;
    {
        CAssertRecorder recorder;
        CString none;
        none.AtForWriting(0) = 'x';
        ExpectReports(recorder, {"_P::m_Ptr != null"});
        none.FirstForWriting() = 'x';
        ExpectReports(recorder, {"_P::m_Ptr != null", "!Empty()"});
        none.LastForWriting() = 'x';
        ExpectReports(recorder, {"_P::m_Ptr != null", "!Empty()", "!Empty()"});
        EXPECT_EQ(none.Data(), nullptr);
    }
    {
        CAssertRecorder recorder;
        CString string("abc");
        string.AtForWriting(3) = 'x';
        ExpectReports(recorder, {"index < m_Container->Length()"});
        ExpectText(string, "abc");
    }
    {
        CAssertRecorder recorder;
        CString string = EmptyWithLength();
        string.FirstForWriting() = 'x';
        string.LastForWriting() = 'x';
        ExpectReports(recorder, {"!Empty()", "!Empty()"});
        EXPECT_EQ(TextOf(string), std::string("\0bc", 3));
    }
}

TEST(String, ARefusedWritableCharacterDoesNotUnshare)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string("abc");
    const CString other = string;
    allocator.ForgetCalls();
    string.AtForWriting(3) = 'x';
    EXPECT_EQ(string.Data(), other.Data());
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(String, WritingToTheScratchDoesNotShowWhenReading)
{
    CAssertRecorder recorder;
    CString none;
    none.AtForWriting(0) = 'x';
    EXPECT_EQ(none.At(0), '\0');
    EXPECT_EQ(none.First(), '\0');
    EXPECT_EQ(none.AtForWriting(0), '\0');
}

TEST(String, TheScratchBelongsToTheThread)
{
    CAssertRecorder recorder;
    CString none;
    char *mine = &none.AtForWriting(0);
    char *theirs = nullptr;
    std::thread(
        [&theirs]
        {
            CString alsoNone;
            theirs = &alsoNone.AtForWriting(0);
        })
        .join();
    EXPECT_NE(mine, theirs);
}

TEST(String, WritingRefusedLeavesTheWriterEmptyAndTheOtherUntouched)
{
    struct SState
    {
        CString m_Writer;
        CString m_Other;
        const char *m_Result;
    };
    const auto prepare = []
    {
        const CString string = Resizable("abc");
        return SState{string, string, nullptr};
    };
    const auto check = [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
    {
        EXPECT_EQ(state.m_Result == nullptr, refusal.m_Refused);
        EXPECT_EQ(ContainerOf(state.m_Writer) == nullptr, refusal.m_Refused);
        ExpectText(state.m_Writer, refusal.m_Refused ? "" : "abc");
        ExpectText(state.m_Other, "abc");
        EXPECT_EQ(ContainerOf(state.m_Other)->RefCount(), 1u);
        ExpectReports(recorder, {});
    };
    SweepRefusals(
        prepare, [](SState &state) { state.m_Result = state.m_Writer.RawDataForWriting(); }, check);
    SweepRefusals(
        prepare,
        [](SState &state)
        {
            const TMemoryView<char> view = state.m_Writer.ViewForWriting();
            state.m_Result = view.Data();
            EXPECT_EQ(view.Count(), view.Data() != nullptr ? 3u : 0u);
        },
        check);
}

TEST(String, WritableCharactersRefusedReportAndAnswerAScratch)
{
    struct SState
    {
        CString m_Writer;
        CString m_Other;
    };
    const auto prepare = []
    {
        const CString string("abc");
        return SState{string, string};
    };
    const auto check = [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
    {
        ExpectText(state.m_Other, "abc");
        EXPECT_EQ(ContainerOf(state.m_Other)->RefCount(), 1u);
        if (!refusal.m_Refused)
        {
            EXPECT_EQ(state.m_Writer.Length(), 3u);
            EXPECT_NE(TextOf(state.m_Writer), "abc");
            ExpectReports(recorder, {});
            return;
        }
        EXPECT_EQ(ContainerOf(state.m_Writer), nullptr);
        ExpectReports(recorder, {"_P::m_Ptr != null"});
    };
    SweepRefusals(
        prepare, [](SState &state) { state.m_Writer.AtForWriting(1) = 'X'; }, check);
    SweepRefusals(
        prepare, [](SState &state) { state.m_Writer.FirstForWriting() = 'X'; }, check);
    SweepRefusals(
        prepare, [](SState &state) { state.m_Writer.LastForWriting() = 'X'; }, check);
}

// Clearing.

TEST(String, ClearOfAnEmptyStringDoesNothing)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString none;
    none.Clear();
    EXPECT_EQ(none.Data(), nullptr);

    // Empty by its first character: the length stays, and a container that is shared stays shared.
    CString odd = EmptyWithLength();
    const CString copy = odd;
    odd.Clear();
    EXPECT_EQ(odd.Length(), 3u);
    EXPECT_EQ(odd.Data(), copy.Data());
    ExpectReports(recorder, {});
}

TEST(String, ClearOfASharedStringLetsGoOfTheContainer)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string("abc");
    const CString other = string;
    allocator.ForgetCalls();
    string.Clear();
    EXPECT_EQ(ContainerOf(string), nullptr);
    ExpectText(other, "abc");
    EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
    EXPECT_TRUE(allocator.Calls().empty());
    ExpectReports(recorder, {});
}

TEST(String, ClearOfAnOnlyHolderKeepsTheContainerForReuse)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CAssertRecorder recorder;
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        const char text[] = "abcdefghijklmnopqrstuvwxyz";
        CString string = resizable ? Resizable(text, 100) : CString(text);
        const CStringContainer *container = ContainerOf(string);
        const u32 capacity = CapacityOf(*container);
        allocator.ForgetCalls();
        string.Clear();
        EXPECT_EQ(ContainerOf(string), container);
        EXPECT_EQ(string.Length(), 0u);
        EXPECT_TRUE(string.Empty());
        EXPECT_EQ(std::string(string.Data(), 27), std::string(27, '\0'));
        EXPECT_EQ(container->SupportsDynamicResize(), resizable);
        EXPECT_EQ(CapacityOf(*container), capacity);
        EXPECT_TRUE(allocator.Calls().empty());
    }
    ExpectReports(recorder, {});
}

// The longest texts.

TEST(String, ASharedTextOfTheLongestLengthIsReadWithoutUsingMemory)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    const CString string(CStringContainer::New(nullptr, 0x3FFFFFFEu));
    const CString copy = string;
    EXPECT_EQ(copy.Length(), 0x3FFFFFFEu);
    EXPECT_EQ(copy.View().Count(), 0x3FFFFFFEu);
    EXPECT_EQ(&copy.At(0x3FFFFFFDu), string.Data() + 0x3FFFFFFDu);
    EXPECT_EQ(copy.MemoryFootprint(), 0x40000020u + sizeof(CString));
    EXPECT_EQ(allocator.RequestCount(), 1u);
    ExpectReports(recorder, {});
}

} // namespace
