// What a function with a deadline may do with text: effects.sh compiles it with -Wfunction-effects, and nothing is found.
#include <algorithm>
#include <functional>
#include <utility>

#include "kr_containers_std.h"
#include "kr_refptr.h"
#include "kr_string.h"
#include "kr_string_numbers.h"
#include "kr_string_std.h"

using namespace Quorvane;

// A handle may be copied, moved, assigned, exchanged, kept in a class of the user's, and dropped.
struct SVoice
{
    CString m_Name;
    CStringView m_Patch;
    u32 m_Channel = 0;
};

void Handles(const CString &text, const PStringContainer &container) noexcept QV_NONBLOCKING
{
    CString copy = text;
    CString moved = std::move(copy);
    copy = text;
    copy = std::move(moved);
    swap(copy, moved);
    SVoice voice;
    voice.m_Name = text;
    const SVoice other = voice;
    CString shared(container);
    PStringContainer pointer = container;
    pointer.Clear();
    copy.Clear();
    static_cast<void>(other);
}

u32 Reading(const CString &text) noexcept QV_NONBLOCKING
{
    u32 sum =
        text.Length() + (text.Data() != nullptr) + static_cast<u32>(*text.CStr()) + text.Empty() + text.IsShared();
    sum += static_cast<u32>(text.At(0)) + static_cast<u32>(text[1]) + static_cast<u32>(text.First()) +
           static_cast<u32>(text.Last());
    sum += static_cast<u32>(text.MemoryFootprint()) + text.View().Count() + text.Slice(1).Length() +
           text.Slice(1, 2).Length();
    for (const char character : text)
        sum += static_cast<u32>(character);
    return sum + static_cast<u32>(std::count(text.begin(), text.end(), 'x'));
}

u32 Comparing(const CString &a, const CString &b, const CStringView &view) noexcept QV_NONBLOCKING
{
    u32 sum = (a == b) + (a != b) + (a < b) + (a > b) + (a <= b) + (a >= b) + (a == view) + (a < view) +
              (view == view) + (view < view) + (a == "text") + ("text" < a) + (view == "text") + (view < "text");
    sum += a.Compare(b) + a.Compare("text", CaseInsensitive) + a.Compare(view, CaseInsensitive) + a.LessThan(b) +
           a.LessThan("text", CaseInsensitive) + view.Compare(view, CaseInsensitive);
    return sum + (a == std::string_view("text")) + (std::string_view("text") < view);
}

u32 Searching(const CString &a, const CString &b, const CStringView &view) noexcept QV_NONBLOCKING
{
    u32 sum = a.FindFirstOf('x') + a.FindFirstOf("xy") + a.FindNextOf('x', 1) + a.FindNextOf("xy", 1) +
              a.FindLastOf('x') + a.FindText(view) + a.FindText("xy", 1, CaseInsensitive) + a.FindLastText(view) +
              a.FindLastText("xy");
    sum += a.StartsWith("x") + a.StartsWith(b) + a.StartsWith(view, CaseInsensitive) + a.EndsWith("x") + a.EndsWith(b) +
           a.EndsWith(view) + a.Contains("x", CaseInsensitive) + a.Contains(b) + a.Contains(view) + a.Empty(" \t");
    sum += view.FindFirstOf('x') + view.FindFirstOf("xy") + view.FindLastOf('x') + view.FindText(view) +
           view.FindLastText("xy", CaseInsensitive) + view.StartsWith(view) + view.EndsWith("x") + view.Contains(view) +
           view.Empty(" ");
    sum += a.IsUpper() + a.IsLower() + a.AnalyzeCasing() + view.IsUpper() + view.IsLower() + view.AnalyzeCasing();
    sum += a.Match("*x*") + a.Match(b, CaseInsensitive) + a.MatchWithInhibitors("\\*") + view.Match(view) +
           view.MatchWithInhibitors("*");
    return sum + static_cast<u32>(a.FuzzyMatch(b)) + static_cast<u32>(view.FuzzyMatch("text"));
}

u32 Cutting(const CString &text, const CStringView &view) noexcept QV_NONBLOCKING
{
    u32 sum = view.Strip(' ').Length() + view.Strip(" \t").StripLeft(' ').StripRight("x").Slice(1, 2).Length();
    for (const CStringView &piece : Pieces(text, ','))
        sum += piece.Length();
    for (const CStringView &piece : Pieces(view, "::").WithEmpty().AtMost(3).FromEnd())
        sum += piece.Length();
    for (const CStringView &line : Lines(view))
        sum += line.Length();
    for (const CStringView &piece : PiecesOfSet(text, " \t"))
        sum += piece.Length();
    return sum;
}

bool Numbers(const CStringView &text) noexcept QV_NONBLOCKING
{
    u32 channel = 0;
    bool isRead = ParseNumber(text, channel) && ParseNumber("7f", channel, 16);
#if QV_HAS_FLOATING_NUMBERS
    double gain = 1;
    isRead = isRead && ParseNumber(text, gain);
#endif
    return isRead;
}

std::size_t Hashes(const CString &text, const CStringView &view) noexcept QV_NONBLOCKING
{
    return std::hash<CString>()(text) + std::hash<CStringView>()(view) + SStringHash()("text") +
           SStringHashCaseInsensitive()(text) + SStringEqual()(text, view) +
           SStringEqualCaseInsensitive()(text, "text") + SStringLess()(view, text) + ToStdStringView(text).size();
}

u32 Containers(const TArray<CString> &array, const TMemoryView<const u32> &view,
               const TStridedMemoryView<const u32> &strided, TRefPtr<CRefCountedObject> object) noexcept QV_NONBLOCKING
{
    u32 sum = array.Count() + array.MaxCount() + array.Empty() + array[0].Length() + array.First().Length() +
              array.Last().Length() + array.View().Count();
    for (const CString &text : array)
        sum += text.Length();
    sum += view.Count() + view[0] + view.Slice(1, 2).Count() + view.SliceIFP(1, 2).Count() + strided[0] +
           strided.Slice(1, 1).Count();
    for (const u32 number : strided)
        sum += number;
    const TRefPtr<CRefCountedObject> same = object;
    object.Clear();
    return sum + same->RefCount();
}

// What runs code of the user's is as good as that.
struct SNote
{
    u32 m_Key;
    friend bool operator==(const SNote &a, const SNote &b) noexcept { return a.m_Key == b.m_Key; }
};

bool UsersCode(const TArray<SNote> &notes, const SNote &note, u32 limit) noexcept QV_NONBLOCKING
{
    const bool isFound = notes.Contains(note) && notes.IndexOf(note).Valid();
    return isFound && QVMin(limit, 12u) < 12;
}

// What is appended only where there is room.
bool Appending(CString &text, const CString &other, const CStringView &view) noexcept QV_NONBLOCKING
{
    return text.TryAppend(other) && text.TryAppend(view) && text.TryAppend("text") && text.TryAppend('x');
}

// In place: where the handle is alone and has the room.
void Edits(CString &text, CStringContainer &container) noexcept QV_NONALLOCATING
{
    text.ToUppercase()
        .ToLowercase()
        .ConformTo(CasingType_Uppercase)
        .Reverse()
        .Unescape()
        .Strip(" ")
        .StripLeft(" ")
        .StripRight(" ");
    text.Uncomment().Erase(0, 1);
    text.AtForWriting(0) = text.FirstForWriting() = text.LastForWriting() = 'x';
    if (char *const data = text.RawDataForWriting())
        *data = 'x';
    for (u32 i = 0; i < text.ViewForWriting().Count(); ++i)
        text.ViewForWriting()[i] = 'y';
    text.RebuildAfterRawModification();
    text.Clear();
    container.UnsafeSetLength(0);
    container.Clear();
    container.Rebuild();
}

// Assertions are as good as their conditions: what a report does is the handler's business.
u32 Checked(const TArray<u32> &array, u32 index) noexcept QV_NONBLOCKING
{
    QV_ASSERT(index < array.Count());
    QV_ASSERT_MESSAGE(index != 7, "%u", index);
    if (QV_VERIFY(index < array.Count()))
        return 0;
    return array[index];
}
