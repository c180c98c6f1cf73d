// What is counted of shared and of private copies in a build with QV_MEM_TRACKING, and that nothing is in another one.
#include "kr_string/copy_figures.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kr_string.h"
#include "process_copy.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"
#include "thread_team.h"

namespace QuorvaneTest
{

#if !QV_MEM_TRACKING

// What headers and edits call in a build that counts.
TEST(StringCopyFiguresNone, WithoutTrackingNothingIsCounted)
{
    Quorvane::CString::SCopyFigures figures = {1, 2, 3};
    Quorvane::Internal::String::CountSharedCopy();
    Quorvane::Internal::String::CountPrivateCopy(5, nullptr);
    Quorvane::CString::CopyFigures(figures);
    EXPECT_EQ(figures.m_SharedCopies, 0u);
    EXPECT_EQ(figures.m_PrivateCopies, 0u);
    EXPECT_EQ(figures.m_PrivateCharacters, 0u);
}

#endif

namespace
{

using namespace Quorvane;
using CFigures = CString::SCopyFigures;
using CSite = CString::SCopySite;

// What was counted since it was made.
class CSince
{
public:
    CSince() { CString::CopyFigures(m_Before); }

    CFigures Get() const
    {
        CFigures now;
        CString::CopyFigures(now);
        return CFigures{now.m_SharedCopies - m_Before.m_SharedCopies, now.m_PrivateCopies - m_Before.m_PrivateCopies,
                        now.m_PrivateCharacters - m_Before.m_PrivateCharacters};
    }

private:
    CFigures m_Before;
};

std::vector<CSite> AllSites()
{
    std::vector<CSite> sites(1000);
    sites.resize(CString::CopySites(TMemoryView<CSite>(sites.data(), 1000)));
    return sites;
}

// Edits that the program makes at places of their own, a kibibyte for each. None of them ends with the call, which would
// return elsewhere then.
volatile u32 g_AfterTheCall = 0;

#define QV_TEST_EDIT(name, ...)                                                                                        \
    __attribute__((noinline, aligned(1024))) void name(CString &string)                                                \
    {                                                                                                                  \
        __VA_ARGS__;                                                                                                   \
        g_AfterTheCall = 1;                                                                                            \
    }

QV_TEST_EDIT(EditRawDataForWriting, string.RawDataForWriting())
QV_TEST_EDIT(EditViewForWriting, string.ViewForWriting())
QV_TEST_EDIT(EditAtForWriting, string.AtForWriting(1) = 'x')
QV_TEST_EDIT(EditFirstForWriting, string.FirstForWriting() = 'x')
QV_TEST_EDIT(EditLastForWriting, string.LastForWriting() = 'x')
QV_TEST_EDIT(EditToUppercase, string.ToUppercase())
QV_TEST_EDIT(EditToLowercase, string.ToLowercase())
QV_TEST_EDIT(EditConformTo, string.ConformTo(CasingType_Uppercase))
QV_TEST_EDIT(EditConformToNothing, string.ConformTo(CasingType_Mixed))
QV_TEST_EDIT(EditUnescape, string.Unescape())
QV_TEST_EDIT(EditStrip, string.Strip(" "))
QV_TEST_EDIT(EditStripLeft, string.StripLeft(" "))
QV_TEST_EDIT(EditStripRight, string.StripRight(" "))
QV_TEST_EDIT(EditUncomment, string.Uncomment())
QV_TEST_EDIT(EditErase, string.Erase(0, 1))
QV_TEST_EDIT(EditAppendString, string.Append(CString("cd")))
QV_TEST_EDIT(EditAppendView, string.Append(CStringView("cd")))
QV_TEST_EDIT(EditAppendText, string.Append("cd"))
QV_TEST_EDIT(EditAppendCounted, string.Append("cd", 2))
QV_TEST_EDIT(EditAppendCharacter, string.Append('c'))
QV_TEST_EDIT(EditPlus, string += "cd")
QV_TEST_EDIT(EditPlusCharacter, string += 'c')
QV_TEST_EDIT(EditInsertString, string.Insert(1, CString("cd")))
QV_TEST_EDIT(EditInsertView, string.Insert(1, CStringView("cd")))
QV_TEST_EDIT(EditInsertText, string.Insert(1, "cd"))
QV_TEST_EDIT(EditInsertCharacter, string.Insert(1, 'c'))
QV_TEST_EDIT(EditPrependString, string.Prepend(CString("cd")))
QV_TEST_EDIT(EditPrependView, string.Prepend(CStringView("cd")))
QV_TEST_EDIT(EditPrependText, string.Prepend("cd"))
QV_TEST_EDIT(EditPrependCounted, string.Prepend("cd", 2))
QV_TEST_EDIT(EditPrependCharacter, string.Prepend('c'))
QV_TEST_EDIT(EditPlusOfATemporary, string = std::move(string) + "cd")
QV_TEST_EDIT(EditSlashAndString, string.AppendSlashAnd(CString("cd")))
QV_TEST_EDIT(EditSlashAndView, string.AppendSlashAnd(CStringView("cd")))
QV_TEST_EDIT(EditSlashAndText, string.AppendSlashAnd("cd"))
QV_TEST_EDIT(EditSlashAndCounted, string.AppendSlashAnd("cd", 2))
QV_TEST_EDIT(EditSlash, string /= "cd")
QV_TEST_EDIT(EditSlashOfATemporary, string = std::move(string) / "cd")
QV_TEST_EDIT(EditAppendSlash, string.AppendSlash())
QV_TEST_EDIT(EditReserve, static_cast<void>(string.Reserve(100)))

const char kText[] = " ab/**/ ";
constexpr u32 kTextLength = sizeof(kText) - 1;

struct SEdit
{
    const char *m_Name;
    void (*m_Edit)(CString &string);
    u32 m_Characters = kTextLength; // copied of kText
};

// Edits that work in place, and those that do so in the resizable form alone.
const SEdit kInPlace[] = {
    {"RawDataForWriting", &EditRawDataForWriting},
    {"ViewForWriting", &EditViewForWriting},
    {"AtForWriting", &EditAtForWriting},
    {"FirstForWriting", &EditFirstForWriting},
    {"LastForWriting", &EditLastForWriting},
    {"ToUppercase", &EditToUppercase},
    {"ToLowercase", &EditToLowercase},
    {"ConformTo", &EditConformTo},
    {"ConformTo", &EditConformToNothing},
    {"Unescape", &EditUnescape},
    {"Strip", &EditStrip},
    {"StripLeft", &EditStripLeft},
    {"StripRight", &EditStripRight},
    {"Uncomment", &EditUncomment},
    {"Erase", &EditErase, kTextLength - 1},
};
const SEdit kGrowing[] = {
    {"Append", &EditAppendString},
    {"Append", &EditAppendView},
    {"Append", &EditAppendText},
    {"Append", &EditAppendCounted},
    {"Append", &EditAppendCharacter},
    {"Append", &EditPlus},
    {"Append", &EditPlusCharacter},
    {"Insert", &EditInsertString},
    {"Insert", &EditInsertView},
    {"Insert", &EditInsertText},
    {"Insert", &EditInsertCharacter},
    {"Prepend", &EditPrependString},
    {"Prepend", &EditPrependView},
    {"Prepend", &EditPrependText},
    {"Prepend", &EditPrependCounted},
    {"Prepend", &EditPrependCharacter},
    {"operator+", &EditPlusOfATemporary},
    {"AppendSlashAnd", &EditSlashAndString},
    {"AppendSlashAnd", &EditSlashAndView},
    {"AppendSlashAnd", &EditSlashAndText},
    {"AppendSlashAnd", &EditSlashAndCounted},
    {"AppendSlashAnd", &EditSlash},
    {"operator/", &EditSlashOfATemporary},
    {"AppendSlash", &EditAppendSlash},
    {"Reserve", &EditReserve},
};

// Whether the address lies in the edit's function.
bool LiesIn(const void *address, const SEdit &edit)
{
    const ureg begin = reinterpret_cast<ureg>(edit.m_Edit);
    return reinterpret_cast<ureg>(address) - begin < 1024;
}

bool IsOf(const CSite &site, const SEdit &edit)
{
    return std::string(site.m_Edit) == edit.m_Name && LiesIn(site.m_CalledFrom, edit);
}

class StringCopyFigures : public ::testing::Test
{
protected:
    void SetUp() override
    {
        CFigures figures;
        if (!CString::CopyFigures(figures))
            GTEST_SKIP() << "the library was built without tracking";
    }
};

} // namespace

TEST(StringCopyFiguresOff, CopyFiguresAndCopySitesAreNoneWithoutTracking)
{
    CFigures figures = {1, 2, 3};
    if (CString::CopyFigures(figures))
        GTEST_SKIP() << "the library was built with tracking";
    EXPECT_EQ(figures.m_SharedCopies, 0u);
    EXPECT_EQ(figures.m_PrivateCopies, 0u);
    EXPECT_EQ(figures.m_PrivateCharacters, 0u);
    CString string("abc");
    const CString other = string;
    string.ToUppercase();
    CSite site = {"as it was", nullptr, 1, 2};
    EXPECT_EQ(CString::CopySites(TMemoryView<CSite>(&site, 1)), 0u);
    EXPECT_STREQ(site.m_Edit, "as it was");
    EXPECT_FALSE(CString::CopyFigures(figures));
    EXPECT_EQ(figures.m_SharedCopies + figures.m_PrivateCopies, 0u);
}

TEST_F(StringCopyFigures, CopyFiguresCountEachHandleThatIsCopied)
{
    CString string("abc");
    const CString nothing;
    const CSince since;
    CString copy = string;
    copy = string;
    const CString ofNothing = nothing;
    EXPECT_EQ(since.Get().m_SharedCopies, 2u);
    // Neither moves nor exchanges are copies.
    CString moved(std::move(copy));
    copy = std::move(moved);
    swap(copy, string);
    EXPECT_EQ(since.Get().m_SharedCopies, 2u);
    TArray<CString> array;
    array.PushBack(string);
    array.PushBack(CString("abc"));
    EXPECT_EQ(since.Get().m_SharedCopies, 3u);
    EXPECT_EQ(since.Get().m_PrivateCopies, 0u);
}

// In tests of what is counted once, so many of the edits of a list count.
template <typename Prepare>
void ExpectEachCountsOnce(const TMemoryView<const SEdit> &edits, const Prepare &prepare, u64 expected)
{
    for (const SEdit &edit : edits)
    {
        SCOPED_TRACE(edit.m_Name);
        CString string = prepare();
        const CString other = string;
        const CSince since;
        edit.m_Edit(string);
        EXPECT_EQ(since.Get().m_PrivateCopies, expected);
        EXPECT_EQ(since.Get().m_PrivateCharacters, expected * edit.m_Characters);
        EXPECT_EQ(TextOf(other), kText);
        const CSince again;
        edit.m_Edit(string);
        EXPECT_EQ(again.Get().m_PrivateCopies, 0u) << "nobody shares it any more";
    }
}

TEST_F(StringCopyFigures, EachEditInPlaceOfASharedStringCountsOnce)
{
    ExpectEachCountsOnce(
        kInPlace, [] { return Fixed(kText); }, 1);
    ExpectEachCountsOnce(
        kInPlace, [] { return Resizable(kText); }, 1);
}

TEST_F(StringCopyFigures, GrowingASharedStringCountsWhereItCouldHaveGrownInPlace)
{
    ExpectEachCountsOnce(
        kGrowing, [] { return Resizable(kText); }, 1);
    ExpectEachCountsOnce(
        kGrowing, [] { return Fixed(kText); }, 0);
}

TEST_F(StringCopyFigures, EditsOfStringsThatNobodySharesCountNothing)
{
    const CSince since;
    for (const SEdit &edit : kInPlace)
    {
        CString string = Resizable(kText);
        edit.m_Edit(string);
    }
    for (const SEdit &edit : kGrowing)
    {
        CString string = Resizable(kText);
        edit.m_Edit(string);
    }
    EXPECT_EQ(since.Get().m_PrivateCopies, 0u);
}

TEST_F(StringCopyFigures, GrowingASharedStringOfOneCharacterCounts)
{
    CString string = Resizable("a");
    const CString other = string;
    const CSince since;
    string.Append("b");
    EXPECT_EQ(since.Get().m_PrivateCopies, 1u);
    EXPECT_EQ(since.Get().m_PrivateCharacters, 1u);
}

TEST_F(StringCopyFigures, GrowingAStringWithoutCharactersCountsNothing)
{
    const CSince since;
    CString none[3];
    none[0].Insert(0, "a");
    none[1].AppendSlashAnd("a");
    EXPECT_TRUE(none[2].Reserve(100));
    CString cleared = Resizable("");
    const CString other = cleared;
    cleared.Insert(0, "a");
    EXPECT_EQ(since.Get().m_PrivateCopies, 0u);
}

// A new container for another reason than that somebody shares the old one.
TEST_F(StringCopyFigures, JoiningAPathToAPieceOfItselfCountsNothing)
{
    CString path = Resizable("ab/cd", 100);
    const CStringContainer *const before = ContainerOf(path);
    const CSince since;
    path.AppendSlashAnd(path.Data(), 2);
    EXPECT_EQ(TextOf(path), "ab/cd/ab");
    EXPECT_NE(ContainerOf(path), before);
    EXPECT_EQ(since.Get().m_PrivateCopies, 0u);
}

TEST_F(StringCopyFigures, EditsThatChangeNothingCountNothing)
{
    CString string = Resizable("ab/");
    const CString other = string;
    const CSince since;
    string.Strip(" ").StripLeft(" ").StripRight(" ").Append("").Append('\0').Prepend(CString()).AppendSlash();
    EXPECT_EQ(string.Data(), other.Data());
    string.Clear();
    EXPECT_EQ(since.Get().m_PrivateCopies, 0u);
}

TEST_F(StringCopyFigures, FunctionsThatGiveANewStringCountNothing)
{
    const CString string = Resizable(kText);
    const CString other = string;
    const CSince since;
    EXPECT_EQ(string.Uppercase().Length(), kTextLength);
    EXPECT_EQ(string.ConformedTo(CasingType_Mixed).Length(), kTextLength);
    EXPECT_EQ(string.Unescaped().Length(), kTextLength);
    EXPECT_EQ(string.Escaped().Length(), kTextLength);
    EXPECT_EQ(string.SlashAppended().Length(), kTextLength + 1);
    EXPECT_EQ(string.Reversed().Length(), kTextLength);
    EXPECT_EQ((string + "a").Length(), kTextLength + 1);
    EXPECT_EQ((string / "a").Length(), kTextLength + 2);
    EXPECT_EQ(since.Get().m_PrivateCopies, 0u);
    // They leave nothing behind: the next edit counts.
    CString edited = string;
    EditToUppercase(edited);
    EXPECT_EQ(since.Get().m_PrivateCopies, 1u);
}

// No handle of the program's is copied, and none for a while.
TEST_F(StringCopyFigures, UppercaseAndLowercaseShareNothing)
{
    const CString string = Fixed(kText);
    const CSince since;
    EXPECT_EQ(string.Uppercase().Length(), kTextLength);
    EXPECT_EQ(string.Lowercase().Length(), kTextLength);
    EXPECT_EQ(since.Get().m_SharedCopies, 0u);
}

TEST_F(StringCopyFigures, WhatIsRefusedIsNotCounted)
{
    CTestAllocator allocator;
    for (const SEdit &edit : kInPlace)
    {
        CString string = Fixed(kText);
        const CString other = string;
        const CAssertRecorder recorder;
        const CSince since;
        allocator.RefuseFromNth(1);
        edit.m_Edit(string);
        allocator.RefuseNth(0);
        EXPECT_EQ(since.Get().m_PrivateCopies, 0u) << edit.m_Name;
        EXPECT_TRUE(string.Empty()) << edit.m_Name;
    }
    for (const SEdit &edit : kGrowing)
    {
        CString string = Resizable(kText);
        const CString other = string;
        const CAssertRecorder recorder;
        const CSince since;
        allocator.RefuseFromNth(1);
        edit.m_Edit(string);
        allocator.RefuseNth(0);
        EXPECT_EQ(since.Get().m_PrivateCopies, 0u) << edit.m_Name;
    }
}

TEST_F(StringCopyFigures, CopySitesTellTheEditAndItsPlaceInTheProgram)
{
    const auto expectSite = [](const SEdit &edit, CString string)
    {
        SCOPED_TRACE(edit.m_Name);
        const std::vector<CSite> before = AllSites();
        const CString other = string;
        edit.m_Edit(string);
        const std::vector<CSite> after = AllSites();
        const auto isIt = [&](const CSite &site) { return IsOf(site, edit); };
        const auto site = std::find_if(after.begin(), after.end(), isIt);
        ASSERT_NE(site, after.end());
        EXPECT_EQ(std::count_if(after.begin(), after.end(), isIt), 1);
        const auto known = std::find_if(before.begin(), before.end(), isIt);
        EXPECT_EQ(site->m_Copies, (known != before.end() ? known->m_Copies : 0) + 1);
        EXPECT_EQ(site->m_Characters, (known != before.end() ? known->m_Characters : 0) + edit.m_Characters);
    };
    for (const SEdit &edit : kInPlace)
        expectSite(edit, Fixed(kText));
    for (const SEdit &edit : kGrowing)
        expectSite(edit, Resizable(kText));
}

TEST_F(StringCopyFigures, CopySitesOfOneEditAtTwoPlacesAreTwo)
{
    const SEdit first = {"Strip", &EditStrip};
    CString string = Fixed(kText);
    const CString other = string;
    EditStrip(string);
    string = other;
    string.Strip(" ");
    string = other;
    EditStrip(string);
    u32 places = 0;
    u32 inFirst = 0;
    for (const CSite &site : AllSites())
    {
        places += std::string(site.m_Edit) == "Strip" ? 1u : 0u;
        inFirst += IsOf(site, first) ? 1u : 0u;
    }
    EXPECT_GE(places, 2u);
    EXPECT_EQ(inFirst, 1u);
}

TEST_F(StringCopyFigures, CopySitesComeByFallingNumberAndFillTheRoomThereIs)
{
    const auto copy = [](const SEdit &edit, u32 times)
    {
        for (u32 i = 0; i < times; ++i)
        {
            CString string = Fixed(kText);
            const CString other = string;
            edit.m_Edit(string);
        }
    };
    copy({"StripLeft", &EditStripLeft}, 3000);
    copy({"StripRight", &EditStripRight}, 2000);
    copy({"ToLowercase", &EditToLowercase}, 4000);
    const std::vector<CSite> all = AllSites();
    ASSERT_GE(all.size(), 3u);
    EXPECT_TRUE(IsOf(all[0], {"ToLowercase", &EditToLowercase}));
    EXPECT_TRUE(IsOf(all[1], {"StripLeft", &EditStripLeft}));
    EXPECT_TRUE(IsOf(all[2], {"StripRight", &EditStripRight}));
    for (size_t i = 1; i < all.size(); ++i)
        EXPECT_GE(all[i - 1].m_Copies, all[i].m_Copies);

    CSite two[3] = {{}, {}, {"as it was", nullptr, 0, 0}};
    EXPECT_EQ(CString::CopySites(TMemoryView<CSite>(two, 2)), all.size());
    EXPECT_EQ(two[0].m_CalledFrom, all[0].m_CalledFrom);
    EXPECT_EQ(two[1].m_CalledFrom, all[1].m_CalledFrom);
    EXPECT_STREQ(two[2].m_Edit, "as it was");
    EXPECT_EQ(CString::CopySites(TMemoryView<CSite>()), all.size());
}

TEST_F(StringCopyFigures, TheCopiesOfAllSitesAreThePrivateCopies)
{
    CFigures figures;
    CString::CopyFigures(figures);
    u64 copies = 0;
    u64 characters = 0;
    for (const CSite &site : AllSites())
    {
        copies += site.m_Copies;
        characters += site.m_Characters;
    }
    EXPECT_EQ(copies, figures.m_PrivateCopies);
    EXPECT_EQ(characters, figures.m_PrivateCharacters);
}

TEST_F(StringCopyFigures, CopyFiguresAndCopySitesAllocateNothing)
{
    CString string = Fixed(kText);
    const CString other = string;
    EditToUppercase(string);
    const CTestAllocator allocator;
    CFigures figures;
    CSite sites[4];
    EXPECT_TRUE(CString::CopyFigures(figures));
    EXPECT_NE(CString::CopySites(sites), 0u);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST_F(StringCopyFigures, ThreadsCountForThemselvesAndNothingIsLost)
{
    const CString string = Fixed(kText);
    const CSince since;
    RunTeam(4,
            [&](u32 index)
            {
                for (u32 i = 0; i < 1000; ++i)
                {
                    CString copy = string;
                    (index % 2 == 0 ? EditStrip : EditUncomment)(copy);
                }
            });
    EXPECT_EQ(since.Get().m_SharedCopies, 4000u);
    EXPECT_EQ(since.Get().m_PrivateCopies, 4000u);
    EXPECT_EQ(since.Get().m_PrivateCharacters, 4000u * kTextLength);
}

#if QV_MEM_TRACKING

// Those of one place differ by their names alone. Leaves the table full, so it runs in a copy of the process.
TEST_F(StringCopyFigures, CopySitesTellAsManyPlacesApartAsTheTableHolds)
{
    if (!QV_TEST_HAS_FORK)
        GTEST_SKIP() << QV_TEST_NO_FORK;
    const int fault = RunInCopy(
        []
        {
            static const char names[512][2] = {};
            const u64 before = AllSites().size();
            if (before >= 512)
                return 1;
            for (u64 i = 0; i < 512 - before; ++i)
            {
                const Internal::String::CEditScope scope(names[i], kText);
                Internal::String::CountPrivateCopy(1, nullptr);
            }
            const std::vector<CSite> sites = AllSites();
            if (sites.size() != 512)
                return 2;
            for (u64 i = 0; i < 512 - before; ++i)
            {
                const auto isIt = [&](const CSite &site) { return site.m_Edit == names[i] && site.m_Copies == 1; };
                if (std::count_if(sites.begin(), sites.end(), isIt) != 1)
                    return 3;
            }
            return 0;
        });
    EXPECT_EQ(fault, 0);
}

// Leaves the table full, so it runs in a copy of the process.
TEST_F(StringCopyFigures, CopySitesBeyondTheTableAreOnePlaceWithoutAName)
{
    if (!QV_TEST_HAS_FORK)
        GTEST_SKIP() << QV_TEST_NO_FORK;
    const int fault = RunInCopy(
        []
        {
            const CSince since;
            const u64 before = AllSites().size();
            for (u32 i = 0; i < 2000; ++i)
                Internal::String::CountPrivateCopy(1, reinterpret_cast<const void *>(static_cast<ureg>(i * 16 + 1)));
            const std::vector<CSite> sites = AllSites();
            if (sites.size() != 513)
                return 1;
            if (since.Get().m_PrivateCopies != 2000 || since.Get().m_PrivateCharacters != 2000)
                return 2;
            const auto others = std::find_if(sites.begin(), sites.end(),
                                             [](const CSite &site) { return site.m_CalledFrom == nullptr; });
            if (others == sites.end() || *others->m_Edit != '\0' || others->m_Copies != 2000 - (512 - before))
                return 3;
            u64 copies = 0;
            for (const CSite &site : sites)
                copies += site.m_Copies;
            CFigures figures;
            CString::CopyFigures(figures);
            return copies == figures.m_PrivateCopies ? 0 : 4;
        });
    EXPECT_EQ(fault, 0);
}

#endif

} // namespace QuorvaneTest
