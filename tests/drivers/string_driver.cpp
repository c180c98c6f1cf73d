// Walks every operation of strings, containers and views against a model of plain character arrays, without a test
// framework: so that it can run under sanitizers which bear no foreign library. Returns 0 when all was right.
#include <clocale>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

#include "driver_checks.h"
#include "kr_mem_utils.h"
#include "kr_string.h"
#include "tail_bytes.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr u32 kMaxText = 2000;
constexpr u32 kHandles = 6;
constexpr u32 kSteps = 200000;

// A text in a plain array.
struct SModel
{
    char m_Text[kMaxText + 1] = {};
    u32 m_Length = 0;

    void Set(const char *text, u32 length)
    {
        std::memmove(m_Text, text, length);
        m_Length = length;
        m_Text[length] = '\0';
    }
    // `text` lies elsewhere.
    void Insert(u32 at, const char *text, u32 length)
    {
        std::memmove(m_Text + at + length, m_Text + at, m_Length - at);
        std::memcpy(m_Text + at, text, length);
        m_Length += length;
        m_Text[m_Length] = '\0';
    }
    void Erase(u32 first, u32 last)
    {
        // With the terminator.
        std::memmove(m_Text + first, m_Text + last, m_Length - last + 1);
        m_Length -= last - first;
    }
    // `right` lies elsewhere.
    void JoinPath(const char *right, u32 rightLength)
    {
        const bool wasRoot = m_Length != 0 && std::strspn(m_Text, "/") == m_Length;
        while (m_Length != 0 && m_Text[m_Length - 1] == '/')
            --m_Length;
        m_Text[m_Length] = '\0';
        const u32 skipped = static_cast<u32>(std::strspn(right, "/"));
        const u32 kept = rightLength - skipped;
        const bool slash = m_Length != 0 ? kept != 0 : wasRoot || skipped != 0;
        if (slash)
            Insert(m_Length, "/", 1);
        Insert(m_Length, right + skipped, kept);
    }
};

// Text and what an operation leaves behind it; every byte of it must be initialised.
void CheckString(const CString &string, const SModel &model)
{
    QV_TEST_CHECK(string.Length() == model.m_Length);
    QV_TEST_CHECK(string.Empty() == (model.m_Length == 0));
    if (string.Data() == nullptr)
    {
        QV_TEST_CHECK(model.m_Length == 0);
        return;
    }
    QV_TEST_CHECK(Mem::IsAligned<16>(string.Data()));
    QV_TEST_CHECK(std::memcmp(string.Data(), model.m_Text, model.m_Length) == 0);
    for (u32 i = model.m_Length; i < model.m_Length / 16 * 16 + 16; ++i)
        QV_TEST_CHECK(IsAsLeft(string.Data(), string.Length(), i));
}

CString VAFormat(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    CString result = CString::VAFormat(format, args);
    va_end(args);
    return result;
}

struct SWalk
{
    CRandom m_Random{20240229};
    CString m_Strings[kHandles];
    SModel m_Models[kHandles];

    void Step();
    void Grow(u32 index, const char *argument, u32 length, u32 verb);
    void GrowByForeignText(u32 index);
    void GrowByOwnPiece(u32 index);
    void GrowByHandle(u32 index, u32 other);
    void Pad(u32 index);
    void JoinPieces(u32 index, u32 other);
    void Edit(u32 index);
    void Replace(u32 index, u32 other);
    void Read(u32 index);
};

// Appends, prepends, joins or inserts, in one of the forms of the argument, which may lie in the string itself.
void SWalk::Grow(u32 index, const char *argument, u32 length, u32 verb)
{
    CString &string = m_Strings[index];
    SModel &model = m_Models[index];
    char copy[kMaxText + 1];
    if (length != 0)
        std::memcpy(copy, argument, length);
    copy[length] = '\0';
    const bool asView = m_Random.Next(2) == 0;
    const CStringView view(argument, length);
    switch (verb)
    {
    case 0:
        if (!asView)
            string.Append(argument, length);
        else if (!string.TryAppend(view))
            string.Append(view);
        model.Insert(model.m_Length, copy, length);
        break;
    case 1:
        asView ? string.Prepend(view) : string.Prepend(argument, length);
        model.Insert(0, copy, length);
        break;
    case 2:
        asView ? string.AppendSlashAnd(view) : string.AppendSlashAnd(argument, length);
        model.JoinPath(copy, length);
        break;
    default:
    {
        const u32 at = m_Random.Next(model.m_Length + 1);
        string.Insert(at, view);
        model.Insert(at, copy, length);
        break;
    }
    }
}

void SWalk::GrowByForeignText(u32 index)
{
    char text[64];
    const u32 length = m_Random.Next(sizeof(text));
    for (u32 i = 0; i < length; ++i)
        text[i] = "abcde///"[m_Random.Next(8)];
    text[length] = '\0';
    Grow(index, text, length, m_Random.Next(4));
}

void SWalk::GrowByOwnPiece(u32 index)
{
    const u32 length = m_Models[index].m_Length;
    const u32 first = m_Random.Next(length + 1);
    const char *data = m_Strings[index].Data();
    Grow(index, data != nullptr ? data + first : nullptr, m_Random.Next(length - first + 1), m_Random.Next(4));
}

void SWalk::Pad(u32 index)
{
    CString &string = m_Strings[index];
    SModel &model = m_Models[index];
    const u32 width = m_Random.Next(60);
    const bool atFront = m_Random.Next(2) == 0;
    string = atFront ? string.PadLeft(width, 'p') : string.PadRight(width, 'p');
    while (model.m_Length < width)
        model.Insert(atFront ? 0 : model.m_Length, "p", 1);
}

// The handle with itself, another one and a character, with a separator and without.
void SWalk::JoinPieces(u32 index, u32 other)
{
    constexpr const char *kSeparators[] = {"", ",", ", "};
    const char *const separator = kSeparators[m_Random.Next(3)];
    const u32 separatorLength = static_cast<u32>(std::strlen(separator));
    CString &string = m_Strings[index];
    SModel &model = m_Models[index];
    const SModel copy = m_Models[other];
    const bool asList = m_Random.Next(2) == 0;
    const CString last("x");
    const CString pieces[] = {string, m_Strings[other], last};
    string = asList                 ? Join(separator, pieces)
             : separatorLength == 0 ? Concat(string, CStringView(m_Strings[other]), 'x')
                                    : Join(separator, string, CStringView(m_Strings[other]), "x");
    model.Insert(model.m_Length, separator, separatorLength);
    model.Insert(model.m_Length, copy.m_Text, copy.m_Length);
    model.Insert(model.m_Length, separator, separatorLength);
    model.Insert(model.m_Length, "x", 1);
}

void SWalk::GrowByHandle(u32 index, u32 other)
{
    CString &string = m_Strings[index];
    const CString &argument = m_Strings[other];
    SModel &model = m_Models[index];
    const SModel copy = m_Models[other];
    switch (m_Random.Next(6))
    {
    case 0:
        string.Append(argument);
        model.Insert(model.m_Length, copy.m_Text, copy.m_Length);
        break;
    case 1:
        string += argument;
        model.Insert(model.m_Length, copy.m_Text, copy.m_Length);
        break;
    case 2:
        string.Prepend(argument);
        model.Insert(0, copy.m_Text, copy.m_Length);
        break;
    case 3:
        string.AppendSlashAnd(argument);
        model.JoinPath(copy.m_Text, copy.m_Length);
        break;
    case 4:
        string = string + argument;
        model.Insert(model.m_Length, copy.m_Text, copy.m_Length);
        break;
    default:
        string = string / argument;
        model.JoinPath(copy.m_Text, copy.m_Length);
        break;
    }
}

// Edits that take no other text.
void SWalk::Edit(u32 index)
{
    CString &string = m_Strings[index];
    SModel &model = m_Models[index];
    switch (m_Random.Next(10))
    {
    case 0:
        string.Clear();
        model.Set("", 0);
        break;
    case 1:
        string.AppendSlash();
        if (model.m_Length != 0 && model.m_Text[model.m_Length - 1] != '/')
            model.Insert(model.m_Length, "/", 1);
        break;
    case 2:
        QV_TEST_CHECK(string.Reserve(model.m_Length + 1) && string.TryAppend('x'));
        model.Insert(model.m_Length, "x", 1);
        break;
    case 3:
        string.Prepend('x');
        model.Insert(0, "x", 1);
        break;
    case 4:
        if (model.m_Length != 0)
        {
            const u32 at = m_Random.Next(model.m_Length);
            string.AtForWriting(at) = 'y';
            model.m_Text[at] = 'y';
        }
        break;
    case 5:
        if (model.m_Length != 0)
        {
            string.FirstForWriting() = 'f';
            model.m_Text[0] = 'f';
            string.LastForWriting() = 'l';
            model.m_Text[model.m_Length - 1] = 'l';
        }
        break;
    case 6:
        if (model.m_Length != 0)
        {
            const u32 end = m_Random.Next(model.m_Length);
            string.RawDataForWriting()[end] = '\0';
            string.RebuildAfterRawModification();
            model.m_Length = end;
            model.m_Text[end] = '\0';
        }
        break;
    case 7:
    {
        const u32 last = m_Random.Next(model.m_Length + 1);
        const u32 first = m_Random.Next(last + 1);
        string.Erase(first, last);
        model.Erase(first, last);
        break;
    }
    case 8:
    {
        const u32 at = m_Random.Next(model.m_Length + 1);
        string.Insert(at, 'x');
        string += 'y';
        model.Insert(at, "x", 1);
        model.Insert(model.m_Length, "y", 1);
        break;
    }
    default:
        for (char &character : string.ViewForWriting())
            if (character == 'a')
                character = 'b';
        for (u32 i = 0; i < model.m_Length; ++i)
            if (model.m_Text[i] == 'a')
                model.m_Text[i] = 'b';
        break;
    }
}

// Gives the handle a new content: from another handle or built anew.
void SWalk::Replace(u32 index, u32 other)
{
    CString &string = m_Strings[index];
    SModel &model = m_Models[index];
    const SModel copy = m_Models[other];
    switch (m_Random.Next(9))
    {
    case 0:
        string = m_Strings[other];
        break;
    case 1:
        if (index != other)
        {
            string = std::move(m_Strings[other]);
            m_Models[other].Set("", 0);
        }
        break;
    case 2:
        string = CString(copy.m_Text);
        break;
    case 3:
        string = CString(copy.m_Text, copy.m_Length);
        break;
    case 4:
        // Its own view, where the two are one.
        string = CStringView(m_Strings[other]);
        break;
    case 5:
        string = CString(CStringContainer::NewResizable(copy.m_Text, copy.m_Length, 0));
        break;
    case 6:
        string = CString(CStringContainer::NewResizable(copy.m_Text, copy.m_Length, copy.m_Length + 100));
        break;
    case 7:
        string = CString::Format("%s", copy.m_Text);
        break;
    default:
        string = VAFormat("%.*s", static_cast<int>(copy.m_Length), copy.m_Text);
        break;
    }
    model.Set(copy.m_Text, copy.m_Length);
}

void SWalk::Read(u32 index)
{
    const CString &string = m_Strings[index];
    const SModel &model = m_Models[index];
    const CStringView view = string;
    QV_TEST_CHECK(view.Length() == model.m_Length);
    QV_TEST_CHECK(view.Data() == string.Data());
    QV_TEST_CHECK(string.View().Count() == model.m_Length);
    QV_TEST_CHECK(string.end() - string.begin() == static_cast<std::ptrdiff_t>(model.m_Length));
    QV_TEST_CHECK(view.begin() == string.begin() && view.end() == string.end());
    QV_TEST_CHECK(std::strcmp(string.CStr(), model.m_Text) == 0);
    QV_TEST_CHECK(string.MemoryFootprint() >= sizeof(CString) + (string.Data() != nullptr ? model.m_Length + 32 : 0));
    if (model.m_Length == 0)
        return;
    const u32 at = m_Random.Next(model.m_Length);
    QV_TEST_CHECK(string.At(at) == model.m_Text[at]);
    QV_TEST_CHECK(string[at] == model.m_Text[at]);
    QV_TEST_CHECK(view[at] == model.m_Text[at]);
    QV_TEST_CHECK(string.Slice(at).Length() == model.m_Length - at && string.Slice(at, 1)[0] == model.m_Text[at]);
    QV_TEST_CHECK(string.First() == model.m_Text[0]);
    QV_TEST_CHECK(string.Last() == model.m_Text[model.m_Length - 1]);
    const CString ended = string.SlashAppended();
    QV_TEST_CHECK(ended.Last() == '/');
    QV_TEST_CHECK(string.Last() == model.m_Text[model.m_Length - 1]);
}

void SWalk::Step()
{
    const u32 index = m_Random.Next(kHandles);
    const u32 other = m_Random.Next(kHandles);
    // Texts grow by at most their own or another's length and a slash.
    if (m_Models[index].m_Length + m_Models[other].m_Length + 70 > kMaxText ||
        m_Models[index].m_Length * 2 + 1 > kMaxText)
    {
        m_Strings[index].Clear();
        m_Models[index].Set("", 0);
    }
    switch (m_Random.Next(8))
    {
    case 0:
        GrowByForeignText(index);
        break;
    case 1:
        GrowByOwnPiece(index);
        break;
    case 2:
        GrowByHandle(index, other);
        break;
    case 3:
        Edit(index);
        break;
    case 4:
        Replace(index, other);
        break;
    case 5:
        Pad(index);
        break;
    case 6:
        JoinPieces(index, other);
        break;
    default:
        Read(index);
        break;
    }
    // Whoever shares a block with the one that was written must not notice.
    for (u32 i = 0; i < kHandles; ++i)
        CheckString(m_Strings[i], m_Models[i]);
}

void WalkAtRandom()
{
    static SWalk walk;
    for (u32 step = 0; step < kSteps && g_Faults == 0; ++step)
    {
        walk.Step();
        if (g_Faults != 0)
            std::fprintf(stderr, "in step %u\n", step);
    }
    for (CString &string : walk.m_Strings)
        string = CString();
}

// The container by itself: lengths and capacities around the ends of blocks.
void WalkContainers()
{
    char text[100];
    for (u32 i = 0; i < sizeof(text); ++i)
        text[i] = static_cast<char>('a' + i % 26);
    for (u32 length = 0; length < 70; ++length)
    {
        const PStringContainer fixed = CStringContainer::New(text, length);
        QV_TEST_CHECK((fixed == null) == (length == 0));
        const PStringContainer container = CStringContainer::NewResizable(text, length, 0);
        QV_TEST_CHECK(container != null && container->Length() == length && container->SupportsDynamicResize());
        for (u32 room = length; room < 400; room += 37)
            QV_TEST_CHECK(container->DynamicResize(room));
        QV_TEST_CHECK(std::memcmp(container->Data(), text, length) == 0);
        std::memcpy(container->Data(), text, 90);
        container->Data()[90] = '\0';
        container->Rebuild();
        QV_TEST_CHECK(container->Length() == 90);
        container->Data()[length] = '\0';
        container->UnsafeSetLength(length);
        QV_TEST_CHECK(CStringContainer::SafeLength(container.Get()) == length);
        for (u32 i = length; i <= 90; ++i)
            QV_TEST_CHECK(IsAsLeft(container->Data(), length, i));
        QV_TEST_CHECK(container->MemoryFootprint() >= 90);
        container->Clear();
        QV_TEST_CHECK(container->Length() == 0 && container->Data()[0] == '\0');
    }
}

// Counts nothing in a library without tracking; what it answers of the places has been written all the same.
void WalkSharing()
{
    CString::SCopyFigures before;
    const bool counts = CString::CopyFigures(before);
    CString string("abc");
    QV_TEST_CHECK(!string.IsShared());
    CString copy = string;
    QV_TEST_CHECK(string.IsShared() && copy.IsShared());
    copy.AtForWriting(0) = 'x';
    QV_TEST_CHECK(!string.IsShared() && !copy.IsShared());
    CString::SCopyFigures after;
    QV_TEST_CHECK(CString::CopyFigures(after) == counts);
    QV_TEST_CHECK(after.m_PrivateCopies - before.m_PrivateCopies == (counts ? 1u : 0u));
    QV_TEST_CHECK(after.m_PrivateCharacters - before.m_PrivateCharacters == (counts ? 3u : 0u));
    CString::SCopySite sites[4];
    const u32 count = CString::CopySites(sites);
    QV_TEST_CHECK((count != 0) == counts);
    for (u32 i = 0; i < QVMin(count, 4u); ++i)
        QV_TEST_CHECK(sites[i].m_Copies != 0 && sites[i].m_Edit[0] != '\0' && sites[i].m_CalledFrom != nullptr);
}

void WalkFormats()
{
    const CString line = CString::Format("%d of %s: %.3f", 7, "nine", 1.25);
    QV_TEST_CHECK(std::strcmp(line.Data(), "7 of nine: 1.250") == 0);
    QV_TEST_CHECK(std::strcmp(std::setlocale(LC_ALL, nullptr), "C") == 0);
    for (const int length : {0, 1, 15, 16, 511, 512, 3198, 3199, 5000})
    {
        const CString spaces = VAFormat("%*s", length, "");
        QV_TEST_CHECK(spaces.Length() == static_cast<u32>(length));
        const CString cut = CString::Format("%*s", length, "");
        QV_TEST_CHECK(cut.Length() == static_cast<u32>(length < 3198 ? length : 3198));
        for (u32 i = 0; i < spaces.Length(); ++i)
            QV_TEST_CHECK(spaces[i] == ' ');
    }
}

// Bad input: a report where the contract promises one, and no damage.
void WalkBadInput()
{
    CString none;
    QV_TEST_CHECK(none.At(0) == '\0' && none.First() == '\0' && none.Last() == '\0');
    none.AtForWriting(0) = 'x';
    QV_TEST_CHECK(CString("", 3).Data() == nullptr);
    QV_TEST_CHECK(CStringContainer::New("abc")->DynamicResize(3) == false);
    const PStringContainer container = CStringContainer::NewResizable("abc");
    container->UnsafeSetLength(1000);
    container->UnsafeSetLength(0x3FFFFFFF);
    QV_TEST_CHECK(container->Length() == 3);
    QV_TEST_CHECK(CString("a\\").AppendSlashAnd("b").Length() == 4);
    QV_TEST_CHECK(TakeReports() == 9 * kFromSites);
}

} // namespace

int main()
{
    const Assert::FHandler handler = Assert::SetHandler(&RecordReport);
    WalkContainers();
    WalkSharing();
    WalkFormats();
    WalkBadInput();
    WalkAtRandom();
    QV_TEST_CHECK(TakeReports() == 0);
    Assert::SetHandler(handler);
    return ExitCode();
}
