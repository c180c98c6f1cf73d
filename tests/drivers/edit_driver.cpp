// Walks casing, escaping, indentation, reversing, replacing, stripping, uncommenting, comparison and the view's
// operations against a model of plain character arrays, without a test framework: so that it can run under sanitizers
// which bear no foreign library. Returns 0 when all was right.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "comparison_matrix.h"
#include "driver_checks.h"
#include "kr_mem_utils.h"
#include "kr_string.h"
#include "tail_bytes.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr u32 kMaxText = 600;
constexpr u32 kHandles = 5;
constexpr u32 kSteps = 200000;

// A text in a plain array.
struct SModel
{
    char m_Text[2 * kMaxText + 1] = {};
    u32 m_Length = 0;

    void Clear()
    {
        m_Length = 0;
        m_Text[0] = '\0';
    }
    void Push(char c)
    {
        if (m_Length < 2 * kMaxText)
            m_Text[m_Length++] = c;
        m_Text[m_Length] = '\0';
    }
    bool StartsAt(u32 at, const SModel &piece) const
    {
        return at + piece.m_Length <= m_Length && std::memcmp(m_Text + at, piece.m_Text, piece.m_Length) == 0;
    }
    CStringView View() const { return CStringView(m_Text, m_Length); }
};

char Upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

constexpr char kSpecial[] = "\a\b\t\n\v\f\r\"'\\";
constexpr char kLetterOf[] = "abtnvfr\"'\\";

void ModelEscape(SModel &model)
{
    SModel result;
    for (u32 i = 0; i < model.m_Length; ++i)
    {
        const char *special = std::strchr(kSpecial, model.m_Text[i]);
        if (special != nullptr)
            result.Push('\\');
        result.Push(special != nullptr ? kLetterOf[special - kSpecial] : model.m_Text[i]);
    }
    model = result;
}

void ModelUnescape(SModel &model)
{
    SModel result;
    for (u32 i = 0; i < model.m_Length; ++i)
    {
        // Behind the last character stands the terminator, which no letter is.
        const char next = model.m_Text[i + 1];
        const char *letter = model.m_Text[i] == '\\' && next != '\0' ? std::strchr(kLetterOf, next) : nullptr;
        result.Push(letter != nullptr ? kSpecial[letter - kLetterOf] : model.m_Text[i]);
        i += letter != nullptr ? 1 : 0;
    }
    model = result;
}

void ModelReverse(SModel &model)
{
    SModel result;
    for (u32 i = model.m_Length; i != 0; --i)
        result.Push(model.m_Text[i - 1]);
    model = result;
}

void ModelRepeat(SModel &model, u32 times)
{
    const SModel once = model;
    model.Clear();
    for (; times != 0; --times)
        for (u32 i = 0; i < once.m_Length; ++i)
            model.Push(once.m_Text[i]);
}

void ModelReplace(SModel &model, const SModel &pattern, const SModel &replacement)
{
    SModel result;
    for (u32 i = 0; i < model.m_Length;)
    {
        const bool found = pattern.m_Length != 0 && model.StartsAt(i, pattern);
        for (u32 j = 0; found && j < replacement.m_Length; ++j)
            result.Push(replacement.m_Text[j]);
        if (!found)
            result.Push(model.m_Text[i]);
        i += found ? pattern.m_Length : 1;
    }
    model = result;
}

void ModelStrip(SModel &model, const char *set, bool left, bool right)
{
    u32 begin = 0;
    u32 end = model.m_Length;
    while (right && end != 0 && std::strchr(set, model.m_Text[end - 1]) != nullptr)
        --end;
    while (left && begin < end && std::strchr(set, model.m_Text[begin]) != nullptr)
        ++begin;
    SModel result;
    for (u32 i = begin; i < end; ++i)
        result.Push(model.m_Text[i]);
    model = result;
}

// The sign of the order by unsigned bytes.
int ModelOrder(const SModel &a, const SModel &b)
{
    for (u32 i = 0; i < a.m_Length && i < b.m_Length; ++i)
        if (a.m_Text[i] != b.m_Text[i])
            return static_cast<u8>(a.m_Text[i]) < static_cast<u8>(b.m_Text[i]) ? -1 : 1;
    return a.m_Length == b.m_Length ? 0 : a.m_Length < b.m_Length ? -1 : 1;
}

bool ModelEqualCase(const SModel &a, const SModel &b)
{
    bool equal = a.m_Length == b.m_Length;
    for (u32 i = 0; equal && i < a.m_Length; ++i)
        equal = Lower(a.m_Text[i]) == Lower(b.m_Text[i]);
    return equal;
}

// Text and what an operation leaves behind it; every byte of it must be initialised.
void CheckString(const CString &string, const SModel &model)
{
    QV_TEST_CHECK(string.Length() == model.m_Length);
    QV_TEST_CHECK(string.Empty() == (model.m_Length == 0));
    if (string.Data() == nullptr)
        return;
    QV_TEST_CHECK(Mem::IsAligned<16>(string.Data()));
    QV_TEST_CHECK(std::memcmp(string.Data(), model.m_Text, model.m_Length) == 0);
    for (u32 i = model.m_Length; i < model.m_Length / 16 * 16 + 16; ++i)
        QV_TEST_CHECK(IsAsLeft(string.Data(), string.Length(), i));
}

// A copy of a text in a block of its own, without a byte to spare: what is read behind it is seen.
class CExactText
{
public:
    explicit CExactText(const SModel &model)
        : m_Data(static_cast<char *>(std::malloc(model.m_Length + (model.m_Length == 0)))), m_Length(model.m_Length)
    {
        std::memcpy(m_Data, model.m_Text, m_Length);
    }
    ~CExactText() { std::free(m_Data); }
    CExactText(const CExactText &) = delete;
    CExactText &operator=(const CExactText &) = delete;

    CStringView View() const { return CStringView(m_Data, m_Length); }

private:
    char *m_Data;
    u32 m_Length;
};

struct SWalk
{
    CRandom m_Random{20240301};
    CString m_Strings[kHandles];
    SModel m_Models[kHandles];

    void Step();
    void Fill(u32 index);
    void Edit(u32 index);
    void Replace(u32 index);
    void Strip(u32 index);
    void Indent(u32 index);
    void Compare(u32 index, u32 other);
    void AskViews(u32 index, u32 other);
    SModel RandomText(u32 maxLength);
};

SModel SWalk::RandomText(u32 maxLength)
{
    constexpr char kCharacters[] = "aabAB  /*\\\\\"'\n\t\rnxz\x80\xE9\xFF";
    SModel text;
    for (u32 length = m_Random.Next(maxLength + 1); length != 0; --length)
        text.Push(kCharacters[m_Random.Next(sizeof(kCharacters) - 1)]);
    return text;
}

// A new text, in either form of container, or another handle's.
void SWalk::Fill(u32 index)
{
    const u32 other = m_Random.Next(kHandles);
    if (m_Random.Next(3) == 0)
    {
        m_Strings[index] = m_Strings[other];
        m_Models[index] = m_Models[other];
        return;
    }
    m_Models[index] = RandomText(m_Random.Next(4) == 0 ? 200 : 20);
    const SModel &model = m_Models[index];
    m_Strings[index] = m_Random.Next(2) == 0 ? model.View().ToString()
                                             : CString(CStringContainer::NewResizable(model.m_Text, model.m_Length, 0));
}

void SWalk::Edit(u32 index)
{
    CString &string = m_Strings[index];
    SModel &model = m_Models[index];
    switch (m_Random.Next(9))
    {
    case 0:
        string.ToUppercase();
        for (u32 i = 0; i < model.m_Length; ++i)
            model.m_Text[i] = Upper(model.m_Text[i]);
        QV_TEST_CHECK(string.IsUpper());
        break;
    case 1:
        string.ToLowercase();
        for (u32 i = 0; i < model.m_Length; ++i)
            model.m_Text[i] = Lower(model.m_Text[i]);
        QV_TEST_CHECK(string.IsLower());
        break;
    case 2:
        string.ConformTo(CasingType_Mixed);
        break;
    case 3:
        string.Escape();
        ModelEscape(model);
        break;
    case 4:
        string.Unescape();
        ModelUnescape(model);
        break;
    case 5:
        // In a block of its own, since all that share it would see it.
        string.RawDataForWriting();
        string.Reverse();
        ModelReverse(model);
        break;
    case 6:
        string = string.Reversed();
        ModelReverse(model);
        break;
    case 7:
    {
        // As often as the model has room for.
        const u32 times = m_Random.Next(model.m_Length <= kMaxText / 2 ? 4 : 2);
        string = string.Repeat(times);
        ModelRepeat(model, times);
        break;
    }
    default:
        string.Uncomment();
        // The model does not know where comments are: nothing but blanks may have come in.
        QV_TEST_CHECK(string.Length() == model.m_Length);
        for (u32 i = 0; i < model.m_Length; ++i)
            if (string[i] == ' ' && model.m_Text[i] != '\n' && model.m_Text[i] != '\r')
                model.m_Text[i] = ' ';
        break;
    }
}

void SWalk::Replace(u32 index)
{
    const CString before = m_Strings[index];
    const SModel modelBefore = m_Models[index];
    if (m_Random.Next(3) == 0)
    {
        const char from = "aAb \x80"[m_Random.Next(5)];
        const char to = "bxA\xFF"[m_Random.Next(4)];
        m_Strings[index] = before.Replace(from, to);
        for (u32 i = 0; i < modelBefore.m_Length; ++i)
            m_Models[index].m_Text[i] = modelBefore.m_Text[i] == from ? to : modelBefore.m_Text[i];
    }
    else
    {
        const SModel pattern = RandomText(2);
        const SModel replacement = RandomText(4);
        const CExactText exactPattern(pattern);
        const CExactText exactReplacement(replacement);
        m_Strings[index] = before.Replace(exactPattern.View(), exactReplacement.View());
        ModelReplace(m_Models[index], pattern, replacement);
    }
    CheckString(before, modelBefore);
}

void SWalk::Strip(u32 index)
{
    const char *const sets[] = {" ", "a ", "\t\n ", "ABab", "\x80\xFF", "", "aabAB  /*\\\"'\n\t\rnxz\x80\xE9\xFF"};
    const char *const set = sets[m_Random.Next(sizeof(sets) / sizeof(*sets))];
    const u32 ends = m_Random.Next(3);
    CString &string = m_Strings[index];
    ends == 0 ? string.Strip(set) : ends == 1 ? string.StripLeft(set) : string.StripRight(set);
    // strchr finds the terminator in every set, but none is in the text.
    ModelStrip(m_Models[index], set, ends != 2, ends != 1);
}

void SWalk::Indent(u32 index)
{
    const u32 column = m_Random.Next(10);
    const u32 width = m_Random.Next(12);
    const u32 tabWidth = 1 + m_Random.Next(8);
    const u32 before = m_Models[index].m_Length;
    for (u32 at = column; at < column + width;)
    {
        const u32 tabStop = (at / tabWidth + 1) * tabWidth;
        m_Models[index].Push(tabStop <= column + width ? '\t' : ' ');
        at = tabStop <= column + width ? tabStop : at + 1;
    }
    QV_TEST_CHECK(m_Strings[index].Ident(column, width, tabWidth) == m_Models[index].m_Length - before);
}

void SWalk::Compare(u32 index, u32 other)
{
    const CString &a = m_Strings[index];
    const CString &b = m_Strings[other];
    const SModel &modelA = m_Models[index];
    const SModel &modelB = m_Models[other];
    // Empty strings have an order of their own, by their containers.
    if (modelA.m_Length != 0 && modelB.m_Length != 0)
    {
        const int order = ModelOrder(modelA, modelB);
        QV_TEST_CHECK(CountWrongComparisons(a, modelA.m_Text, b, modelB.m_Text, order) == 0);
    }
    const bool equalCase = ModelEqualCase(modelA, modelB);
    const CExactText exact(modelB);
    QV_TEST_CHECK(a.Compare(b, CaseInsensitive) == equalCase);
    QV_TEST_CHECK(a.Compare(modelB.m_Text, CaseInsensitive) == equalCase);
    QV_TEST_CHECK(a.Compare(exact.View(), CaseInsensitive) == equalCase);
    QV_TEST_CHECK((a == exact.View()) == (modelA.m_Length == modelB.m_Length && ModelOrder(modelA, modelB) == 0));
    QV_TEST_CHECK(!(a.LessThan(b, CaseInsensitive) && b.LessThan(a, CaseInsensitive)));
}

void SWalk::AskViews(u32 index, u32 other)
{
    const SModel &model = m_Models[index];
    const SModel &piece = m_Models[other];
    const CExactText exact(model);
    const CExactText exactPiece(piece);
    const CStringView view = exact.View();
    u32 found = 0;
    while (found < model.m_Length && !model.StartsAt(found, piece))
        ++found;
    QV_TEST_CHECK(view.Contains(exactPiece.View()) == (found < model.m_Length || piece.m_Length == 0));
    QV_TEST_CHECK(view.StartsWith(exactPiece.View()) == model.StartsAt(0, piece));
    QV_TEST_CHECK(view.StartsWith(exactPiece.View(), CaseInsensitive) || !model.StartsAt(0, piece));
    QV_TEST_CHECK(view.EndsWith(exactPiece.View()) ==
                  (piece.m_Length <= model.m_Length && model.StartsAt(model.m_Length - piece.m_Length, piece)));
    QV_TEST_CHECK(view.Compare(exactPiece.View(), CaseInsensitive) == ModelEqualCase(model, piece));
    const u32 start = m_Random.Next(30);
    const u32 count = m_Random.Next(30);
    const u32 clamped = start < model.m_Length ? start : model.m_Length;
    QV_TEST_CHECK(view.Slice(start).Length() == model.m_Length - clamped);
    QV_TEST_CHECK(view.Slice(start, count).Length() ==
                  (count < model.m_Length - clamped ? count : model.m_Length - clamped));
    SModel stripped = model;
    ModelStrip(stripped, " a", true, true);
    QV_TEST_CHECK(view.Strip(" a") == stripped.View());
    for (const char c : {'a', ' ', '\xFF'})
    {
        const void *first = clamped < model.m_Length ? std::strchr(model.m_Text + clamped, c) : nullptr;
        const void *last = model.m_Length != 0 ? std::strrchr(model.m_Text, c) : nullptr;
        const char set[] = {c, '\0'};
        QV_TEST_CHECK(view.FindNextOf(c, start).Valid() == (first != nullptr));
        QV_TEST_CHECK(first == nullptr || model.m_Text + view.FindNextOf(c, start).Get() == first);
        QV_TEST_CHECK(view.FindNextOf(set, start).Get() == view.FindNextOf(c, start).Get());
        QV_TEST_CHECK(last == nullptr ? !view.FindLastOf(c).Valid() : model.m_Text + view.FindLastOf(c).Get() == last);
    }
}

void SWalk::Step()
{
    const u32 index = m_Random.Next(kHandles);
    if (m_Models[index].m_Length > kMaxText / 2)
    {
        m_Strings[index].Clear();
        m_Models[index] = SModel();
    }
    switch (m_Random.Next(8))
    {
    case 0:
    case 1:
        Fill(index);
        break;
    case 2:
    case 3:
        Edit(index);
        break;
    case 4:
        Replace(index);
        break;
    case 5:
        Strip(index);
        break;
    case 6:
        Indent(index);
        break;
    default:
        Compare(index, m_Random.Next(kHandles));
        AskViews(index, m_Random.Next(kHandles));
        break;
    }
    // Sharing must not show.
    for (u32 i = 0; i < kHandles; ++i)
        CheckString(m_Strings[i], m_Models[i]);
}

void WalkAtRandom()
{
    static SWalk walk;
    for (u32 step = 0; step < kSteps && g_Faults == 0; ++step)
        walk.Step();
}

// Every byte behind an escaped text, up to what its room was made for, is initialised.
void WalkEscapedTails()
{
    SModel model;
    for (u32 length = 1; length <= 80; ++length)
    {
        model.Push(length % 3 == 0 ? '\n' : 'x');
        CString string = model.View().ToString();
        string.Escape();
        for (u32 i = string.Length(); i < 2 * length + 2; ++i)
            QV_TEST_CHECK(IsAsLeft(string.Data(), string.Length(), i));
        string.Unescape();
        CheckString(string, model);
    }
}

} // namespace

int main()
{
    const Assert::FHandler handler = Assert::SetHandler(&RecordReport);
    WalkEscapedTails();
    WalkAtRandom();
    QV_TEST_CHECK(CountWrongComparisonsOfOtherOperands() == 0);
    QV_TEST_CHECK(TakeReports() == 0);
    Assert::SetHandler(handler);
    return ExitCode();
}
