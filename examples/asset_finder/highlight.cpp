// Marks in names.
#include "highlight.h"

#include <vector>

#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

struct SMarks
{
    const char *m_Open;
    const char *m_Close;
};

constexpr SMarks kBrackets = {"[", "]"};
constexpr SMarks kColours = {"\x1B[1;32m", "\x1B[0m"};
constexpr char kEscape = '\x1B';

bool ContinuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

u32 EndOfCharacter(const CString &text, u32 start)
{
    u32 end = start + 1;
    while (end < text.Length() && ContinuesCharacter(text[end]))
        ++end;
    return end;
}

// For each byte, whether it is marked: all bytes of a character, or none.
std::vector<bool> MarkedBytes(const CString &name, const TArray<u32> &positions)
{
    std::vector<bool> marked(name.Length(), false);
    for (const u32 position : positions)
        marked[position] = true;
    for (u32 start = 0, end = 0; start < name.Length(); start = end)
    {
        end = EndOfCharacter(name, start);
        bool whole = true;
        for (u32 i = start; i < end; ++i)
            whole = whole && marked[i];
        for (u32 i = start; i < end; ++i)
            marked[i] = whole;
    }
    return marked;
}

// `text` begins with an escape sequence, which ends with its first letter.
u32 LengthOfEscapeSequence(const CStringView &text)
{
    return text.FindFirstOf('m').Valid() ? u32(text.FindFirstOf('m')) + 1 : text.Length();
}

} // namespace

CString Highlighted(const CString &name, const TArray<u32> &positions, EHighlight highlight)
{
    const SMarks &marks = highlight == Highlight_Colour ? kColours : kBrackets;
    const std::vector<bool> marked = MarkedBytes(name, positions);
    const CString printable = Printable(name);
    CString text;
    for (u32 i = 0; i < printable.Length(); ++i)
    {
        if (marked[i] && (i == 0 || !marked[i - 1]))
            text.Append(marks.m_Open);
        text.Append(printable[i]);
        if (marked[i] && (i + 1 == printable.Length() || !marked[i + 1]))
            text.Append(marks.m_Close);
    }
    return text;
}

u32 ColumnsOf(const CString &text)
{
    u32 columns = 0;
    for (u32 i = 0; i < text.Length(); ++i)
    {
        if (text[i] == kEscape)
            i += LengthOfEscapeSequence(CStringView(text).Slice(i)) - 1;
        else if (!ContinuesCharacter(text[i]))
            ++columns;
    }
    return columns;
}

} // namespace AssetFinder
