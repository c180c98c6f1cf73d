// Edits of a text as a whole: reversing, repeating, padding, replacing a character, stripping, escaping; and inserting
// and erasing in its middle.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

const char kBlanks[] = " \t\n\v\f\r";

void AddReversal(size_t size)
{
    const std::string from = Words(size);
    CRow row("reverse", size);
    row.Add("ours",
            [text = CString(from.c_str(), static_cast<u32>(size))]() mutable -> const CString &
            { return text.Reverse(); });
    row.Add("std::reverse",
            [text = from]() mutable -> const std::string &
            {
                std::reverse(text.begin(), text.end());
                return text;
            });
#if QV_BENCH_BOOST
    row.Add(
        "boost::reverse", [text = boost::container::string(from.data(), size)]() mutable -> const auto & {
            boost::range::reverse(text);
            return text;
        });
#endif
#if QV_BENCH_QT
    row.Add(
        "QByteArray+std::reverse", [text = QByteArray(from.data(), static_cast<int>(size))]() mutable -> const auto & {
            std::reverse(text.begin(), text.end());
            return text;
        });
#endif
    row.Limit("copy", CopyLimit(size));
}

// As many times as give about `size` characters.
void AddRepetition(const std::string &piece, size_t size)
{
    const size_t times = size / piece.size();
    CRow row("repeat_" + std::to_string(piece.size()), size);
    row.Add("ours", [text = CString(piece.c_str()), times] { return text.Repeat(static_cast<u32>(times)); });
    row.Add("std::string",
            [piece, times]
            {
                std::string repeated;
                repeated.reserve(piece.size() * times);
                for (size_t i = 0; i < times; ++i)
                    repeated += piece;
                return repeated;
            });
    if (piece.size() == 1)
        row.Add("std::string(n, c)", [piece, times] { return std::string(times, piece[0]); });
#if QV_BENCH_QT
    row.Add("QByteArray",
            [text = QByteArray::fromStdString(piece), times] { return text.repeated(static_cast<int>(times)); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

// A number of five digits.
void AddPadding(size_t width)
{
    const std::string from = "12345";
    CRow row("pad_left", width);
    row.Add("ours", [text = CString(from.c_str()), width] { return text.PadLeft(static_cast<u32>(width), '0'); });
    row.Add("std::string",
            [from, width]
            {
                std::string padded;
                padded.reserve(width);
                padded.append(width - from.size(), '0');
                padded += from;
                return padded;
            });
    row.Add("std::string(n, c)", [from, width] { return std::string(width - from.size(), '0') + from; });
#if QV_BENCH_FMT
    row.Add("fmt::format", [from, width] { return fmt::format("{:0>{}}", from, width); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [text = QByteArray::fromStdString(from), width]
            { return text.rightJustified(static_cast<int>(width), '0'); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(width + 1));
}

// Sixteen characters into the middle of a text that has room for them, and out again.
void AddInsertion(size_t size)
{
    const std::string from = Words(size);
    const std::string piece = "Some/piece/of/16";
    const u32 middle = static_cast<u32>(size / 2);
    const u32 behind = middle + static_cast<u32>(piece.size());
    CRow row("insert_erase_16", size);
    row.Add("ours",
            [text = CString(CStringContainer::NewResizable(from.c_str(), static_cast<u32>(size), behind * 2)),
             view = CString(piece.c_str()), middle, behind]() mutable -> const CString &
            { return text.Insert(middle, view).Erase(middle, behind); });
    row.Add("std::string",
            [text = from, piece, middle]() mutable -> const std::string &
            { return text.insert(middle, piece).erase(middle, piece.size()); });
#if QV_BENCH_BOOST
    row.Add(
        "boost::string", [
            text = boost::container::string(from.c_str()), other = boost::container::string(piece.c_str()),
            middle
        ]() mutable -> const auto & { return text.insert(middle, other).erase(middle, other.size()); });
#endif
#if QV_BENCH_QT
    row.Add(
        "QByteArray",
        [ text = QByteArray::fromStdString(from), other = QByteArray::fromStdString(piece),
          middle ]() mutable -> const auto & {
            return text.insert(static_cast<int>(middle), other).remove(static_cast<int>(middle), other.size());
        });
#endif
    row.Limit("moves",
              [buffer = MakeBuffer(size + 16), size]
              {
                  char *const place = buffer.get() + size / 2;
                  std::memmove(place + 16, place, size - size / 2);
                  std::memmove(place, place + 16, size - size / 2);
                  return buffer.get();
              });
}

void AddCharacterReplacement(size_t size)
{
    const std::string from = Words(size);
    CRow row("replace_char", size);
    row.Add("ours", [text = CString(from.c_str(), static_cast<u32>(size))] { return text.Replace('e', '_'); });
    row.Add("std::transform",
            [from]
            {
                std::string copy = from;
                std::transform(copy.begin(), copy.end(), copy.begin(), [](char c) { return c == 'e' ? '_' : c; });
                return copy;
            });
    row.Add("std::replace",
            [from]
            {
                std::string copy = from;
                std::replace(copy.begin(), copy.end(), 'e', '_');
                return copy;
            });
#if QV_BENCH_BOOST
    row.Add("boost::range::replace",
            [text = boost::container::string(from.data(), size)]
            {
                boost::container::string copy = text;
                boost::range::replace(copy, 'e', '_');
                return copy;
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray",
            [text = QByteArray(from.data(), static_cast<int>(size))]
            {
                QByteArray copy = text;
                copy.replace('e', '_');
                return copy;
            });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

// Where they are: 'e' by '_' and back, by turns.
void AddCharacterReplacementInPlace(size_t size)
{
    const std::string from = Words(size);
    CRow row("replace_char_in_place", size);
    // Changes in the first turn, and changes back in the second.
    const auto add = [&row](const char *who, auto text, auto change)
    {
        row.Add(
            who, [ text = std::move(text), change, isChanged = false ]() mutable -> const auto & {
                change(text, isChanged ? '_' : 'e', isChanged ? 'e' : '_');
                isChanged = !isChanged;
                return text;
            });
    };
    add("ours", CString(from.c_str(), static_cast<u32>(size)),
        [](CString &text, char searchFor, char replaceWith)
        { SNativeStringUtils::Replace_16(text.RawDataForWriting(), text.Length(), searchFor, replaceWith); });
    add("std::replace", from,
        [](std::string &text, char searchFor, char replaceWith)
        { std::replace(text.begin(), text.end(), searchFor, replaceWith); });
    add("std::transform", from,
        [](std::string &text, char searchFor, char replaceWith)
        {
            std::transform(text.begin(), text.end(), text.begin(),
                           [searchFor, replaceWith](char c) { return c == searchFor ? replaceWith : c; });
        });
#if QV_BENCH_QT
    add("QByteArray", QByteArray(from.data(), static_cast<int>(size)),
        [](QByteArray &text, char searchFor, char replaceWith) { text.replace(searchFor, replaceWith); });
#endif
    row.Limit("rewrite", RewriteLimit(size));
}

bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view StrippedByPointers(std::string_view text)
{
    const char *first = text.data();
    const char *last = first + text.size();
    while (first != last && IsBlank(*first))
        ++first;
    while (first != last && IsBlank(last[-1]))
        --last;
    return std::string_view(first, static_cast<size_t>(last - first));
}

// From a view to a view: nobody takes memory.
void AddStrippingOfView(const char *name, const std::string &from)
{
    CRow row(name, from.size());
    row.Add("ours", [from] { return CStringView(from.data(), static_cast<u32>(from.size())).Strip(kBlanks); });
    row.Add("pointers", [from] { return StrippedByPointers(from); });
    row.Add("std::string_view",
            [from]
            {
                const std::string_view text(from);
                const size_t first = text.find_first_not_of(kBlanks);
                return first == std::string_view::npos ? std::string_view()
                                                       : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
            });
#if QV_BENCH_ABSL
    row.Add("absl::Strip", [from] { return absl::StripAsciiWhitespace(from); });
#endif
    row.Limit("read", ReadLimit(from.size()));
}

std::string Stripped(const std::string &text)
{
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// From characters to a text without the blanks around it: each by its shortest way, and each by stripping in place a
// text that was made of all characters.
void AddStripping()
{
    const std::string from = " \t  texture = stone_wall_04.png \r\n";
    const u32 length = static_cast<u32>(from.size());
    CRow row("strip", from.size());
    row.Add("ours", [from, length] { return CStringView(from.data(), length).Strip(kBlanks).ToString(); });
    row.Add("std::string", [from] { return Stripped(from); });
#if QV_BENCH_ABSL
    row.Add("absl::Strip", [from] { return std::string(absl::StripAsciiWhitespace(from)); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::trim", [from] { return boost::trim_copy(from, std::locale::classic()); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [text = QByteArray(from.data(), static_cast<int>(from.size()))] { return text.trimmed(); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(from.size() + 1));

    CRow inPlace("strip_in_place", from.size());
    inPlace.Add("ours",
                [from, length]
                {
                    CString text(from.data(), length);
                    text.Strip(kBlanks);
                    return text;
                });
    inPlace.Add("std::string",
                [from]
                {
                    std::string text = from;
                    text.erase(text.find_last_not_of(kBlanks) + 1);
                    text.erase(0, text.find_first_not_of(kBlanks));
                    return text;
                });
#if QV_BENCH_ABSL
    inPlace.Add("absl::Strip",
                [from]
                {
                    std::string text = from;
                    absl::StripAsciiWhitespace(&text);
                    return text;
                });
#endif
#if QV_BENCH_BOOST
    inPlace.Add("boost::trim",
                [from]
                {
                    std::string text = from;
                    boost::trim(text, std::locale::classic());
                    return text;
                });
#endif
    inPlace.Limit("malloc+copy", MallocAndCopyLimit(from.size() + 1));
}

// The letter of a character's escape sequence, or 0.
char EscapeLetter(char c)
{
    switch (c)
    {
    case '\a':
        return 'a';
    case '\b':
        return 'b';
    case '\t':
        return 't';
    case '\n':
        return 'n';
    case '\v':
        return 'v';
    case '\f':
        return 'f';
    case '\r':
        return 'r';
    case '"':
    case '\'':
    case '\\':
        return c;
    default:
        return 0;
    }
}

std::string Escaped(const std::string &text)
{
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (const char c : text)
    {
        const char letter = EscapeLetter(c);
        if (letter != 0)
            escaped += '\\';
        escaped += letter != 0 ? letter : c;
    }
    return escaped;
}

void AddEscaping(size_t size)
{
    const std::string from = HeaderText(size);
    CRow row("escape", size);
    row.Add("ours", [text = CString(from.c_str(), static_cast<u32>(size))] { return text.Escaped(); });
    row.Add("std::string", [from] { return Escaped(from); });
#if QV_BENCH_ABSL
    row.Add("absl::CEscape", [from] { return absl::CEscape(from); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(Escaped(from).size() + 1));
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {64u, 256u, 4096u, 65536u})
        AddCharacterReplacement(size);
    AddCharacterReplacementInPlace(256);
    for (const size_t size : {64u, 4096u, 65536u})
    {
        AddReversal(size);
        AddRepetition("-", size);
        AddRepetition("Some/piece/of/16", size);
        AddInsertion(size);
    }
    for (const size_t width : {8u, 40u})
        AddPadding(width);
    AddStripping();
    AddStrippingOfView("strip_view", "    " + Words(56) + "\r\n  ");
    AddStrippingOfView("strip_wide", std::string(2000, ' ') + Words(64) + std::string(2000, ' '));
    AddEscaping(65536);
}

} // namespace Bench
