// Path joining, promise by promise: of two pieces, of many, and the slash at the end. That every small case of two pieces
// agrees with a naive model is shown beside concatenation.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "every_text.h"
#include "first_report.h"
#include "kr_string.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "string_model.h"
#include "test_allocator.h"
#include "test_port.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// ---- Two pieces ----------------------------------------------------------------------------------------------------

TEST(StringPathJoin, AppendSlashAndJoinsAsTheTableSays)
{
    const struct
    {
        const char *m_Left;
        const char *m_Right;
        const char *m_Result;
    } rows[] = {
        {"dir", "file", "dir/file"},
        {"dir/", "/file", "dir/file"},
        {"a//", "//b", "a/b"},
        {"dir", "", "dir"},
        {"dir/", "", "dir"},
        {"dir", "/", "dir"},
        {"", "file", "file"},
        {"", "/file", "/file"},
        {"", "/", "/"},
        {"/", "file", "/file"},
        {"///", "", "/"},
        {"", "", ""},
        {"a//b/", "c", "a//b/c"},
    };
    CAssertRecorder recorder;
    for (const auto &row : rows)
    {
        SCOPED_TRACE(::testing::Message() << '"' << row.m_Left << "\" and \"" << row.m_Right << '"');
        EXPECT_EQ(ModelJoinPath(row.m_Left, row.m_Right), row.m_Result);
        CString fixed(row.m_Left);
        ExpectText(fixed.AppendSlashAnd(row.m_Right), row.m_Result);
        CString resizable = Resizable(row.m_Left, 100);
        ExpectText(resizable.AppendSlashAnd(row.m_Right), row.m_Result);
        CString byHandle(row.m_Left);
        ExpectText(byHandle.AppendSlashAnd(CString(row.m_Right)), row.m_Result);
    }
    ExpectReports(recorder, {});
}

TEST(StringPathJoin, OnlyTheSeamIsNormalised)
{
    CString path("//a//b//");
    path.AppendSlashAnd("//c//d//");
    ExpectText(path, "//a//b/c//d//");
}

TEST(StringPathJoin, WithNothingStillTrimsTheLeftSide)
{
    const CString empty;
    CString byText("dir//");
    ExpectText(byText.AppendSlashAnd(""), "dir");
    CString byNull("dir//");
    ExpectText(byNull.AppendSlashAnd(nullptr), "dir");
    CString byCount("dir//");
    ExpectText(byCount.AppendSlashAnd("file", 0), "dir");
    CString byNullAndCount("dir//");
    ExpectText(byNullAndCount.AppendSlashAnd(nullptr, 4), "dir");
    CString byHandle("dir//");
    ExpectText(byHandle.AppendSlashAnd(empty), "dir");
    CString byView("dir//");
    ExpectText(byView.AppendSlashAnd(CStringView()), "dir");
}

TEST(StringPathJoin, AHandleThatIsEmptyByItsFirstCharacterIsNothing)
{
    CString odd("xbc");
    *odd.RawDataForWriting() = '\0';
    CString path("dir/");
    ExpectText(path.AppendSlashAnd(odd), "dir");
}

TEST(StringPathJoin, TheSkipOfLeadingSlashesStopsAtTheCount)
{
    CString path("a");
    ExpectText(path.AppendSlashAnd("///x", 2), "a");
    ExpectText(path.AppendSlashAnd("///x", 3), "a");
    ExpectText(path.AppendSlashAnd("///x", 4), "a/x");
    CString empty;
    ExpectText(empty.AppendSlashAnd("///x", 2), "/");
}

TEST(StringPathJoin, ShorteningKeepsAResizableContainerAndItsRoom)
{
    CTestAllocator allocator;
    CString path = Resizable("dir///", 100);
    const CStringContainer *container = ContainerOf(path);
    const u32 capacity = CapacityOf(*container);
    allocator.ForgetCalls();
    ExpectText(path.AppendSlashAnd(""), "dir");
    EXPECT_EQ(ContainerOf(path), container);
    EXPECT_EQ(CapacityOf(*container), capacity);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringPathJoin, LengthOfTheResultMayEqualThatOfTheLeftSide)
{
    CString path = Resizable("a//", 100);
    ExpectText(path.AppendSlashAnd("b"), "a/b");
}

// The room behind the text is nobody's, yet a caller who wrote there may join it: its place overlaps where it goes.
TEST(StringPathJoin, ARightSideFromTheRoomBehindTheTextMayOverlapItsNewPlace)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString path = Resizable("a/", 100);
    char *data = path.RawDataForWriting();
    std::memcpy(data + 3, "bcd", 3);
    ExpectText(path.AppendSlashAnd(CStringView(data + 3, 3)), "a/bcd");
    EXPECT_EQ(path.Data(), data);
    ExpectReports(recorder, {});
}

TEST(StringPathJoin, ARightSideWithATerminatorIsJoinedInPlaceAsAnyOther)
{
    CTestAllocator allocator;
    CString path = Resizable("a", 100);
    const char *const data = path.Data();
    path.AppendSlashAnd("b\0c", 3);
    EXPECT_EQ(path.Data(), data);
    EXPECT_EQ(TextOf(path), std::string("a/b\0c", 5));
}

// What shares no character with the kept left side is joined in place, be it next to that, all else in a new container.
TEST(StringPathJoin, ARightSideThatSharesCharactersWithTheLeftOneIsJoinedInANewContainer)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const struct
    {
        std::string m_Left;
        u32 m_First; // where the right side begins in the room of the left one
        u32 m_Count;
        std::string m_Joined;
        bool m_InPlace;
    } rows[] = {
        {"abc", 0, 1, "abc/a", false},
        {"abc", 2, 1, "abc/c", false},
        {"abc", 2, 2, std::string("abc/c\0", 6), false},
        {"abc", 3, 2, std::string("abc/\0\0", 6), true},
        {"", 0, 2, std::string("\0\0", 2), false},
        {"", 1, 2, std::string("\0\0", 2), true},
    };
    for (const auto &row : rows)
    {
        SCOPED_TRACE(::testing::Message() << row.m_Count << " from " << row.m_First << " of " << row.m_Left);
        CTestAllocator allocator;
        CString path = Resizable(row.m_Left, 100);
        const char *const data = path.Data();
        path.AppendSlashAnd(data + row.m_First, row.m_Count);
        EXPECT_EQ(TextOf(path), row.m_Joined);
        EXPECT_EQ(path.Data() == data, row.m_InPlace);
    }
}

// While one lives, buffers for 100 characters lie in memory of its own, of which the bytes in front of them are readable.
class CBufferBehindCharacters
{
public:
    CBufferBehindCharacters() : m_Before(Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free}))
    {
        s_Current = this;
    }
    ~CBufferBehindCharacters() { Mem::SetAllocator(m_Before); }
    CBufferBehindCharacters(const CBufferBehindCharacters &) = delete;
    CBufferBehindCharacters &operator=(const CBufferBehindCharacters &) = delete;

    char *Buffer() { return m_Memory + kInFront; }

private:
    static constexpr size_t kInFront = 16;
    static constexpr size_t kBufferBytes = 112;

    static void *_Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                        const char *file, u32 line, const char *function)
    {
        if (size == kBufferBytes && origin == Mem::Origin_Alloc)
            return s_Current->Buffer();
        return s_Current->m_Before.m_Alloc(size, alignment, type, origin, tag, file, line, function);
    }

    static void *_Realloc(void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *)
    {
        return nullptr;
    }

    static void _Free(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
    {
        if (block != s_Current->Buffer())
            s_Current->m_Before.m_Free(block, type, origin, tag, file, line, function);
    }

    static CBufferBehindCharacters *s_Current;

    alignas(16) char m_Memory[kInFront + kBufferBytes] = {};
    Mem::SAllocator m_Before;
};

CBufferBehindCharacters *CBufferBehindCharacters::s_Current = nullptr;

TEST(StringPathJoin, ARightSideThatEndsWhereTheLeftOneBeginsIsJoinedInPlace)
{
    CBufferBehindCharacters memory;
    std::memcpy(memory.Buffer() - 3, "xyz", 3);
    CString path = Resizable("abc", 100);
    ASSERT_EQ(path.Data(), memory.Buffer());
    ExpectText(path.AppendSlashAnd(CStringView(memory.Buffer() - 3, 3)), "abc/xyz");
    EXPECT_EQ(path.Data(), memory.Buffer());
    // One character more is the left side's.
    path.AppendSlashAnd(CStringView(memory.Buffer() - 3, 4));
    EXPECT_EQ(TextOf(path), "abc/xyz/xyza");
    EXPECT_NE(path.Data(), memory.Buffer());
}

TEST(StringPathJoin, BackslashesAreReportedAndKept)
{
    {
        CAssertRecorder recorder;
        CString path("a\\b");
        ExpectText(path.AppendSlashAnd("c"), "a\\b/c");
        ExpectReports(recorder, {"aLen == 0 || !_ContainsBackSlash(a, length)"});
    }
    {
        CAssertRecorder recorder;
        CString path("a");
        ExpectText(path.AppendSlashAnd("b\\"), "a/b\\");
        ExpectReports(recorder, {"bLen == 0 || !_ContainsBackSlash(b, length)"});
    }
    {
        CAssertRecorder recorder;
        CString path("\\");
        ExpectText(path.AppendSlashAnd("\\"), "\\/\\");
        ExpectReports(recorder,
                      {"aLen == 0 || !_ContainsBackSlash(a, length)", "bLen == 0 || !_ContainsBackSlash(b, length)"});
    }
}

TEST(StringPathOperator, BackslashesAreReportedAndKept)
{
    CAssertRecorder recorder;
    const std::string left = "aLen == 0 || !_ContainsBackSlash(a, length)";
    const std::string right = "bLen == 0 || !_ContainsBackSlash(b, length)";
    const CString plain("a");
    const CString backslash("a\\b");
    ExpectText(plain / "b\\", "a/b\\");
    ExpectText(plain / backslash, "a/a\\b");
    ExpectText(plain / CStringView("\\b"), "a/\\b");
    ExpectReports(recorder, {right, right, right});
    recorder.Clear();
    ExpectText(backslash / "b", "a\\b/b");
    ExpectText(backslash / plain, "a\\b/a");
    ExpectText("a\\b" / plain, "a\\b/a");
    ExpectReports(recorder, {left, left, left});
    recorder.Clear();
    ExpectText(backslash / "\\", "a\\b/\\");
    ExpectReports(recorder, {left, right});
}

TEST(StringPathJoin, BackslashesAnywhereInPiecesOfAnyLengthAreReported)
{
    for (const size_t length : {1u, 2u, 63u, 64u, 65u, 300u})
        for (const size_t place : {size_t(0), length / 2, length - 1})
        {
            SCOPED_TRACE(::testing::Message() << "at " << place << " of " << length);
            std::string piece(length, 'a');
            piece[place] = '\\';
            CAssertRecorder recorder;
            const CString left = Fixed(piece);
            ExpectText(left / "b", piece + "/b");
            ExpectReports(recorder, {"aLen == 0 || !_ContainsBackSlash(a, length)"});
            recorder.Clear();
            const CString plain("b");
            ExpectText(plain / ViewOf(piece), "b/" + piece);
            ExpectReports(recorder, {"bLen == 0 || !_ContainsBackSlash(b, length)"});
            recorder.Clear();
            // Also in front of a terminator.
            CString path(plain);
            path.AppendSlashAnd((piece + std::string("\0c", 2)).data(), LengthOf(piece) + 2);
            EXPECT_EQ(TextOf(path), "b/" + piece + std::string("\0c", 2));
            ExpectReports(recorder, {"bLen == 0 || !_ContainsBackSlash(b, length)"});
        }
}

TEST(StringPathJoin, BackslashesBehindTheCountOrATerminatorAreNotSeen)
{
    CAssertRecorder recorder;
    CString path("a");
    ExpectText(path.AppendSlashAnd("b\\c", 1), "a/b");
    CString odd("a\0\\", 3);
    odd.AppendSlashAnd("b\0\\", 3);
    EXPECT_EQ(TextOf(odd), std::string("a\0\\/b\0\\", 7));
    ExpectReports(recorder, {});
}

// A writer that overwrote the terminator and did not rebuild breaks the join's promise, and is told so.
TEST(StringPathJoin, ReportsALostTerminator)
{
    CAssertRecorder recorder;
    CString path = Resizable("a//", 100);
    path.RawDataForWriting()[3] = 'x';
    path.AppendSlashAnd("b");
    ExpectReports(recorder, {"*writeTo == 0"});
    EXPECT_EQ(TextOf(path), "a/b");
}

TEST(StringPathJoin, AContainerWithoutCharactersIsReportedBeforeItIsRead)
{
    if (!QV_TEST_HAS_FORK || !kSitesReport)
        GTEST_SKIP() << "without copies of the process, or without assertions";
    const std::string longer(40, 'x');
    EXPECT_TRUE(ReportsFirst("aLen == 0 || a != null",
                             [&]
                             {
                                 CBrokenString broken;
                                 broken.Get().AppendSlashAnd("x");
                             }));
    EXPECT_TRUE(ReportsFirst("aLen == 0 || a != null",
                             [&]
                             {
                                 CBrokenString broken;
                                 const CString &left = broken.Get();
                                 static_cast<void>(left / longer.c_str());
                             }));
}

TEST(StringPathJoin, RefusedReportsAndLeavesTheStringUnchanged)
{
    struct SState
    {
        CString m_String;
        CString m_Other;
        const CStringContainer *m_Container;
    };
    const auto shared = []
    {
        const CString string = Resizable("dir/", 100);
        return SState{string, string, ContainerOf(string)};
    };
    const auto fixed = []
    {
        const CString string("dir/");
        return SState{string, CString(), ContainerOf(string)};
    };
    const auto checkText = [](const std::string &text)
    {
        return [text](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_String, refusal.m_Refused ? "dir/" : text);
            EXPECT_EQ(ContainerOf(state.m_String) == state.m_Container, refusal.m_Refused);
            if (!state.m_Other.Empty())
                ExpectText(state.m_Other, "dir/");
            if (refusal.m_Refused)
                ExpectReports(recorder, {"newContainer != null"});
            else
                ExpectReports(recorder, {});
        };
    };
    const auto join = [](SState &state) { state.m_String.AppendSlashAnd("file"); };
    const auto joinNothing = [](SState &state) { state.m_String.AppendSlashAnd(""); };
    const auto joinItself = [](SState &state) { state.m_String.AppendSlashAnd(state.m_String); };
    SweepRefusals(shared, join, checkText("dir/file"));
    SweepRefusals(shared, joinNothing, checkText("dir"));
    SweepRefusals(shared, joinItself, checkText("dir/dir/"));
    SweepRefusals(fixed, join, checkText("dir/file"));
    SweepRefusals(fixed, joinNothing, checkText("dir"));
    SweepRefusals(fixed, joinItself, checkText("dir/dir/"));
}

// The fast paths end at 32 and at 64 characters; each character is another than those around it.
TEST(StringPathJoin, PiecesOfEveryLengthUpToSomeMoreThanTheFastPathsTake)
{
    std::string letters;
    for (u32 i = 0; i < 70; ++i)
        letters += static_cast<char>('0' + i);
    letters[static_cast<size_t>('\\' - '0')] = '!';
    for (u32 left = 1; left <= 70; ++left)
        for (u32 right = 1; right <= 70; ++right)
        {
            const std::string a = letters.substr(0, left);
            const std::string b = letters.substr(70 - right);
            const CStringView view(b.data(), right);
            CString path = Resizable(a, 200);
            path /= view;
            ASSERT_EQ(TextOf(path), a + "/" + b);
            const CString string(a.c_str());
            ASSERT_EQ(TextOf(string / view), a + "/" + b);
            ASSERT_EQ(TextOf(JoinPath(string, view, "c")), a + "/" + b + "/c");
        }
}

TEST(StringPathJoin, RefusedOfAnArgumentThatGoesFurtherThanTheOwnRoomReportsAndLeavesTheString)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString path = Resizable("path", 15);
    allocator.RefuseNth(1);
    path.AppendSlashAnd(CStringView(path.Data(), 40));
    ExpectText(path, "path");
    ExpectReports(recorder, {"newContainer != null"});
}

TEST(StringPathJoin, RefusedOnAnEmptyStringReportsAndLeavesItEmpty)
{
    SweepRefusals([] { return CString(); }, [](CString &string) { string.AppendSlashAnd("file"); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "file");
                      if (refusal.m_Refused)
                          ExpectReports(recorder, {"newContainer != null"});
                      else
                          ExpectReports(recorder, {});
                  });
}

TEST(StringPathJoin, RefusedGrowthFallsBackToANewContainer)
{
    const auto prepare = [] { return Resizable("0123456789abcd/", 15); };
    const auto checkText = [](const std::string &text)
    {
        return [text](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            const bool failed = refusal.m_Refused && refusal.m_AndAllAfter;
            ExpectText(string, failed ? "0123456789abcd/" : text);
            if (failed)
                ExpectReports(recorder, {"newContainer != null"});
            else
                ExpectReports(recorder, {});
        };
    };
    SweepRefusals(
        prepare, [](CString &string) { string.AppendSlashAnd("file"); }, checkText("0123456789abcd/file"));
    // With nothing to trim there is a shorter way to the same.
    SweepRefusals([] { return Resizable("0123456789abcde", 15); },
                  [](CString &string) { string.AppendSlashAnd("file"); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      const bool failed = refusal.m_Refused && refusal.m_AndAllAfter;
                      ExpectText(string, failed ? "0123456789abcde" : "0123456789abcde/file");
                      if (failed)
                          ExpectReports(recorder, {"newContainer != null"});
                      else
                          ExpectReports(recorder, {});
                  });
    // The right side begins in the kept left one: a new container from the start, so one refusal is enough.
    SweepRefusals(
        prepare, [](CString &string) { string.AppendSlashAnd(string.Data() + 4, 3); },
        [](const CString &string, const SRefusal &refusal, const CAssertRecorder &)
        { ExpectText(string, refusal.m_Refused ? "0123456789abcd/" : "0123456789abcd/456"); });
}

TEST(StringPathJoin, BeyondTheLongestLengthReportsAndLeavesTheStringUnchanged)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    for (const bool shared : {false, true})
    {
        SCOPED_TRACE(shared);
        CAssertRecorder recorder;
        CHugeAllocator allocator;
        CString string = HugeString(0x3FFFFFF0u);
        const CString other = shared ? string : CString();
        const CStringContainer *container = ContainerOf(string);
        const u64 requests = allocator.RequestCount();
        string.AppendSlashAnd("0123456789abcd");
        EXPECT_EQ(ContainerOf(string), container);
        EXPECT_EQ(string.Length(), 0x3FFFFFF0u);
        EXPECT_EQ(allocator.RequestCount(), requests);
        ExpectReports(recorder, {"newContainer != null"});
    }
}

TEST(StringPathJoin, UpToTheLongestLengthIsGranted)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    CString string = HugeString(0x3FFFFFF0u);
    string.AppendSlashAnd("0123456789abc");
    EXPECT_EQ(string.Length(), 0x3FFFFFFEu);
    EXPECT_EQ(TextOf(CStringView(string.Data() + 0x3FFFFFEFu, 15)), "z/0123456789abc");
    ExpectReports(recorder, {});
}

// ---- Many pieces ---------------------------------------------------------------------------------------------------

std::string ModelJoinAll(const std::vector<std::string> &pieces)
{
    std::string path = pieces.front();
    for (size_t i = 1; i < pieces.size(); ++i)
        path = ModelJoinPath(path, pieces[i]);
    return path;
}

CString JoinAll(const std::vector<std::string> &pieces)
{
    std::vector<CStringView> views;
    for (const std::string &piece : pieces)
        views.push_back(ViewOf(piece));
    return JoinPath(TMemoryView<const CStringView>(views.data(), static_cast<u32>(views.size())));
}

void CheckJoinAll(const std::vector<std::string> &pieces)
{
    CTestAllocator allocator;
    const CString path = JoinAll(pieces);
    const std::string text = ModelJoinAll(pieces);
    ASSERT_NE(path.Data(), nullptr);
    ExpectCharacters(path, text);
    EXPECT_TRUE(ContainerOf(path)->SupportsDynamicResize());
    EXPECT_EQ(ContainerOf(path)->RefCount(), 1u);
    EXPECT_EQ(CapacityOf(*ContainerOf(path)), text.size() < 16 ? 32u : (text.size() + 16) / 16 * 16);
    // A buffer and an object, and nothing in between.
    EXPECT_EQ(allocator.RequestCount(), 2u);
}

TEST(JoinPath, EveryTwoAndThreePiecesOfLettersAndSlashes)
{
    CAssertRecorder recorder;
    const std::vector<std::string> texts = EveryText("a/", kSlow ? 2 : 3);
    for (const std::string &a : texts)
        for (const std::string &b : texts)
        {
            SCOPED_TRACE(::testing::Message() << '"' << a << "\" and \"" << b << '"');
            CheckJoinAll({a, b});
            for (const std::string &c : texts)
            {
                SCOPED_TRACE(c);
                CheckJoinAll({a, b, c});
                if (HasFailure())
                    return;
            }
        }
    ExpectReports(recorder, {});
}

TEST(JoinPath, EveryFourPiecesOfLettersAndSlashes)
{
    CAssertRecorder recorder;
    const std::vector<std::string> texts = {"", "a", "/", "b/", "//", "/c//"};
    for (const std::string &a : texts)
        for (const std::string &b : texts)
            for (const std::string &c : texts)
                for (const std::string &d : texts)
                {
                    SCOPED_TRACE(a + '|' + b + '|' + c + '|' + d);
                    CheckJoinAll({a, b, c, d});
                    if (HasFailure())
                        return;
                }
    ExpectReports(recorder, {});
}

TEST(JoinPath, PiecesOfEveryLength)
{
    CAssertRecorder recorder;
    // What is not copied is garbage, and not left from the path before.
    CTestAllocator allocator;
    for (size_t length = 1; length <= 130; ++length)
    {
        SCOPED_TRACE(length);
        const std::string piece(length, 'x');
        CheckJoinAll({piece, "b"});
        CheckJoinAll({"a", piece});
        CheckJoinAll({piece, piece});
        CheckJoinAll({'/' + piece, piece, piece + '/'});
        CheckJoinAll({piece + std::string(40, '/'), std::string(40, '/') + piece, ""});
    }
    ExpectReports(recorder, {});
}

// What is cut off by a later piece may be longer than the whole path, which has no room for it.
TEST(JoinPath, SlashesThatALaterPieceCutsOffAreNeverWritten)
{
    CAssertRecorder recorder;
    const std::string slashes(1000, '/');
    CheckJoinAll({slashes, ""});
    CheckJoinAll({slashes, slashes, slashes});
    CheckJoinAll({"a" + slashes, ""});
    CheckJoinAll({"a", "b" + slashes, ""});
    CheckJoinAll({"a", "b" + slashes, "", slashes, ""});
    ExpectReports(recorder, {});
}

TEST(JoinPath, OfNothingIsEmptyAndOfOnePieceIsACopy)
{
    CAssertRecorder recorder;
    EXPECT_EQ(JoinAll({}).Data(), nullptr);
    for (const char *const piece : {"a", "/", "//a//", "///"})
        CheckJoinAll({piece});
    CheckJoinAll({""});
    ExpectReports(recorder, {});
}

TEST(JoinPath, TakesStringsViewsAndTerminatedTexts)
{
    CAssertRecorder recorder;
    const CString root("/usr/");
    const CString empty;
    const CString emptyByItsFirstCharacter = Resizable(std::string("\0x", 2));
    ExpectText(JoinPath(root, "share"), "/usr/share");
    ExpectText(JoinPath("usr", root, CStringView("shared", 5), "/doc/"), "usr/usr/share/doc/");
    ExpectText(JoinPath(root, empty), "/usr");
    ExpectText(JoinPath(root, emptyByItsFirstCharacter, "a"), "/usr/a");
    const char *const none = nullptr;
    ExpectText(JoinPath(root, none, CStringView(), "a"), "/usr/a");
    ExpectText(root, "/usr/");
    ExpectReports(recorder, {});
}

TEST(JoinPath, ReadsNoPieceBeyondItsLength)
{
    CAssertRecorder recorder;
    for (size_t length = 0; length <= 70; ++length)
    {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        const CTextAtPageEnd first(text);
        const CTextAtPageEnd second(text + '/');
        ExpectText(JoinPath(first.View(), second.View()), ModelJoinPath(text, text + '/'));
        ExpectText(JoinPath(second.View(), first.View()), ModelJoinPath(text + '/', text));
    }
    ExpectReports(recorder, {});
}

TEST(JoinPath, KeepsEmbeddedTerminators)
{
    CAssertRecorder recorder;
    CheckJoinAll({std::string("a\0b", 3), std::string("c\0", 2)});
    ExpectReports(recorder, {});
}

TEST(JoinPath, BackslashesAreReportedAndKept)
{
    CAssertRecorder recorder;
    ExpectText(JoinPath("a\\b", "c", "\\d"), "a\\b/c/\\d");
    ExpectReports(recorder,
                  {"aLen == 0 || !_ContainsBackSlash(a, length)", "bLen == 0 || !_ContainsBackSlash(b, length)"});
}

TEST(JoinPath, AViewOfNullThatClaimsALengthIsEmpty)
{
    CAssertRecorder recorder;
    const CStringView null3(nullptr, 3);
    ExpectText(JoinPath(null3, "a", null3), "a");
    ExpectText(JoinPath("a//", null3), "a");
    ExpectReports(recorder, {});
}

TEST(JoinPath, RefusedReportsAndIsEmpty)
{
    for (const char *const last : {"file", "//file"})
        SweepRefusals([] { return CString("dir"); },
                      [last](CString &string) { string = JoinPath(string, "sub", last); },
                      [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          ExpectText(string, refusal.m_Refused ? "" : "dir/sub/file");
                          if (refusal.m_Refused)
                              ExpectReports(recorder, {"newContainer != null"});
                          else
                              ExpectReports(recorder, {});
                      });
}

TEST(JoinPath, BeyondTheLongestLengthReportsAndIsEmpty)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    const CString string = HugeString(0x20000000u);
    const u64 requests = allocator.RequestCount();
    EXPECT_EQ(JoinPath(string, string).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {"newContainer != null"});
}

// What the first piece is on the left of operator/.
CString LeftOf(const CString &first)
{
    return first;
}

CString LeftOf(const CStringView &first)
{
    return first.ToString();
}

CString LeftOf(const char *first)
{
    return CString(first);
}

template <typename First, typename Second>
void CheckJoinsAsOperators(const First &first, const Second &second)
{
    CAssertRecorder byOperators;
    CString left = LeftOf(first);
    left.AppendSlashAnd(second);
    const CString again = LeftOf(first) / second;
    const std::vector<std::string> reports = byOperators.Expressions();
    byOperators.Clear();
    const CString path = JoinPath(first, second);
    EXPECT_EQ(TextOf(path), TextOf(left));
    EXPECT_EQ(TextOf(path), TextOf(again));
    EXPECT_EQ(byOperators.Count() * 2, reports.size());
    for (const char *const third : {"", "c", "/", "//c/", "\\"})
    {
        CString chain = LeftOf(first);
        chain.AppendSlashAnd(second).AppendSlashAnd(third);
        EXPECT_EQ(TextOf(JoinPath(first, second, third)), TextOf(chain));
    }
}

template <typename First>
void CheckJoinsWithEverySecond(const First &first, const std::vector<std::string> &texts)
{
    for (const std::string &second : texts)
    {
        SCOPED_TRACE(::testing::PrintToString(second));
        CheckJoinsAsOperators(first, Resizable(second));
        CheckJoinsAsOperators(first, ViewOf(second));
        CheckJoinsAsOperators(first, second.c_str());
    }
    const char *const none = nullptr;
    CheckJoinsAsOperators(first, CString());
    CheckJoinsAsOperators(first, CStringView());
    CheckJoinsAsOperators(first, CStringView(nullptr, 5));
    CheckJoinsAsOperators(first, none);
}

// Terminators among them, also at the front of a piece, where each kind of piece has its own idea of emptiness.
TEST(JoinPath, IsWhatTheOperatorsMakeOfEveryKindOfPiece)
{
    const std::vector<std::string> texts = EveryText(std::string("a/\0\\", 4), kSlow ? 2 : 3);
    for (const std::string &first : texts)
    {
        SCOPED_TRACE(::testing::PrintToString(first));
        CheckJoinsWithEverySecond(Resizable(first), texts);
        CheckJoinsWithEverySecond(ViewOf(first), texts);
        CheckJoinsWithEverySecond(first.c_str(), texts);
        if (HasFailure())
            return;
    }
    const char *const none = nullptr;
    CheckJoinsWithEverySecond(CString(), texts);
    CheckJoinsWithEverySecond(CStringView(), texts);
    CheckJoinsWithEverySecond(CStringView(nullptr, 5), texts);
    CheckJoinsWithEverySecond(none, texts);
}

// ---- The search for backslashes in a text that joins are made to ---------------------------------------------------

const char *const kLeftCheck = "aLen == 0 || !_ContainsBackSlash(a, length)";

// Everything that changes a text in place, or hands its characters out to be changed.
const std::vector<std::pair<const char *, void (*)(CString &)>> kChanges = {
    {"nothing", [](CString &) {}},
    {"RawDataForWriting", [](CString &string) { string.RawDataForWriting()[0] = '\\'; }},
    {"ViewForWriting", [](CString &string) { string.ViewForWriting()[0] = '\\'; }},
    {"AtForWriting", [](CString &string) { string.AtForWriting(0) = '\\'; }},
    {"LastForWriting", [](CString &string) { string.LastForWriting() = '\\'; }},
    {"FirstForWriting", [](CString &string) { string.FirstForWriting() = 'a'; }},
    {"a terminator", [](CString &string) { string.RawDataForWriting()[1] = '\0'; }},
    {"a letter", [](CString &string) { string.RawDataForWriting()[1] = 'b'; }},
    {"Rebuild", [](CString &string) { string.RebuildAfterRawModification(); }},
    {"Append of a character", [](CString &string) { string.Append('\\'); }},
    {"Append", [](CString &string) { string.Append("b\\"); }},
    {"Append of many", [](CString &string) { string.Append((std::string(40, 'm') + '\\').c_str()); }},
    {"Append of itself", [](CString &string) { string.Append(string); }},
    {"Append of a terminator", [](CString &string) { string.Append(CStringView("\0\\", 2)); }},
    {"Prepend", [](CString &string) { string.Prepend("\\b"); }},
    {"Prepend of many", [](CString &string) { string.Prepend(('\\' + std::string(40, 'm')).c_str()); }},
    {"Prepend of itself", [](CString &string) { string.Prepend(string); }},
    {"Reverse", [](CString &string) { string.Reverse(); }},
    {"StripLeft", [](CString &string) { string.StripLeft("\\"); }},
    {"StripRight", [](CString &string) { string.StripRight("/x"); }},
    {"Strip", [](CString &string) { string.Strip("ab"); }},
    {"Unescape", [](CString &string) { string.Unescape(); }},
    {"Clear", [](CString &string) { string.Clear(), string.Append("\\a"); }},
    {"ToUppercase", [](CString &string) { string.ToUppercase(); }},
    {"Uncomment", [](CString &string) { string.Uncomment(); }},
    {"a join that trims", [](CString &string) { string.Append("//"), string /= ""; }},
    {"a join with a terminator", [](CString &string) { string /= CStringView("b\0c", 3); }},
    {"a join over slashes", [](CString &string) { string.Append("////"), string /= "\\b"; }},
    {"a join with a backslash", [](CString &string) { string /= "b\\"; }},
};

bool HoldsBackSlash(const CString &string)
{
    const std::string text = TextOf(string);
    return text.substr(0, text.find('\0')).find('\\') != std::string::npos;
}

void CheckNextJoin(CString &string, CAssertRecorder &recorder)
{
    const bool expected = HoldsBackSlash(string);
    const std::string text = ModelJoinPath(TextOf(string), "x");
    recorder.Clear();
    string /= "x";
    EXPECT_EQ(recorder.CountOf(kLeftCheck), IfAsserting(expected ? 1 : 0));
    ExpectCharacters(string, text);
}

TEST(StringPathJoin, EveryJoinReportsABackslashWhateverWasDoneToTheTextBetween)
{
    CAssertRecorder recorder;
    for (const char *const begin : {"a", "\\a", "abcdefghijklmnopqrstuvwxyz"})
        for (const auto &first : kChanges)
            for (const auto &second : kChanges)
            {
                SCOPED_TRACE(::testing::Message() << begin << ", " << first.first << ", " << second.first);
                CString string = Resizable(begin, 2000);
                CheckNextJoin(string, recorder);
                first.second(string);
                CheckNextJoin(string, recorder);
                CheckNextJoin(string, recorder);
                if (!string.Empty())
                    second.second(string);
                CheckNextJoin(string, recorder);
                CheckNextJoin(string, recorder);
                if (HasFailure())
                    return;
            }
}

// What the search looked at is made unreadable before the next join.
TEST(StringPathJoin, AJoinInPlaceDoesNotLookAgainAtWhatTheOneBeforeLookedAt)
{
    CAssertRecorder recorder;
    const size_t pageBytes = SystemPageBytes();
    CString path = Resizable(std::string(4 * pageBytes, 'a'), static_cast<u32>(5 * pageBytes));
    path /= "b";
    const size_t address = (reinterpret_cast<size_t>(path.Data()) + pageBytes - 1) / pageBytes * pageBytes;
    ASSERT_TRUE(ProtectPages(reinterpret_cast<void *>(address), 2 * pageBytes, PageAccess_None));
    path /= "c";
    path /= "d//";
    path.Append("//").Append(".with an extension that is not the shortest");
    path /= "/e/";
    path /= "f/with/more/characters/than/are/joined/in/a/straight/line";
    ASSERT_TRUE(ProtectPages(reinterpret_cast<void *>(address), 2 * pageBytes, PageAccess_ReadWrite));
    EXPECT_EQ(std::string(path.Data() + 4 * pageBytes), "/b/c/d////.with an extension that is not the shortest/e/"
                                                        "f/with/more/characters/than/are/joined/in/a/straight/line");
    ExpectReports(recorder, {});
}

// The same with one in it that is reported each time.
TEST(StringPathJoin, AJoinInPlaceFindsAReportedBackslashWithoutLookingFromTheFront)
{
    CAssertRecorder recorder;
    const size_t pageBytes = SystemPageBytes();
    CString path = Resizable(std::string(4 * pageBytes, 'a'), static_cast<u32>(5 * pageBytes));
    path /= "b\\";
    path /= "c";
    recorder.Clear();
    const size_t address = (reinterpret_cast<size_t>(path.Data()) + pageBytes - 1) / pageBytes * pageBytes;
    ASSERT_TRUE(ProtectPages(reinterpret_cast<void *>(address), 2 * pageBytes, PageAccess_None));
    path /= "d";
    path /= "e";
    ASSERT_TRUE(ProtectPages(reinterpret_cast<void *>(address), 2 * pageBytes, PageAccess_ReadWrite));
    ExpectReports(recorder, {kLeftCheck, kLeftCheck});
}

// ---- AppendSlash -------------------------------------------------------------------------------------------------------

TEST(StringAppendSlash, EndsTheStringWithASlashUnlessItIsEmptyOrHasOne)
{
    CAssertRecorder recorder;
    CString empty;
    ExpectText(empty.AppendSlash(), "");
    CString root("/");
    ExpectText(root.AppendSlash(), "/");
    CString ended("a/");
    ExpectText(ended.AppendSlash(), "a/");
    CString name("a");
    ExpectText(name.AppendSlash(), "a/");
    CString cleared = Resizable("a");
    cleared.Clear();
    ExpectText(cleared.AppendSlash(), "");
    ExpectReports(recorder, {});
}

TEST(StringAppendSlash, LeavesWhatNeedsNoSlashUntouched)
{
    CTestAllocator allocator;
    CString string("a/");
    const CString other = string;
    allocator.ForgetCalls();
    string.AppendSlash();
    EXPECT_EQ(string.Data(), other.Data());
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringAppendSlash, LeavesTheOtherHandleAlone)
{
    CString string("a");
    const CString other = string;
    ExpectText(string.AppendSlash(), "a/");
    ExpectText(other, "a");
}

TEST(StringAppendSlash, RefusedLeavesTheStringEmpty)
{
    SweepRefusals([] { return CString("dir"); }, [](CString &string) { string.AppendSlash(); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "dir/");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringAppendSlash, SlashAppendedLeavesTheSourceUnchanged)
{
    CTestAllocator allocator;
    const CString source("a");
    const CString result = source.SlashAppended();
    ExpectText(result, "a/");
    ExpectText(source, "a");
    EXPECT_EQ(ContainerOf(source)->RefCount(), 1u);
}

TEST(StringAppendSlash, SlashAppendedOfWhatNeedsNoneSharesTheSource)
{
    CTestAllocator allocator;
    const CString source("a/");
    allocator.ForgetCalls();
    const CString result = source.SlashAppended();
    EXPECT_EQ(result.Data(), source.Data());
    EXPECT_EQ(ContainerOf(source)->RefCount(), 2u);
    EXPECT_TRUE(allocator.Calls().empty());
    EXPECT_EQ(CString().SlashAppended().Data(), nullptr);
}

TEST(StringAppendSlash, SlashAppendedRefusedIsEmptyAndLeavesTheSourceUnchanged)
{
    struct SState
    {
        CString m_Source;
        CString m_Result;
    };
    SweepRefusals(
        [] {
            return SState{CString("dir"), CString("before")};
        },
        [](SState &state) { state.m_Result = state.m_Source.SlashAppended(); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_Result, refusal.m_Refused ? "" : "dir/");
            ExpectText(state.m_Source, "dir");
            ExpectReports(recorder, {});
        });
}

} // namespace
