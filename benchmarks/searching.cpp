// Finding a character, the last one, and a substring, also the last one and in another case: what is looked for stands at
// the far end of the text, or nowhere. The text is that of headers; a hard one is of one character, of which the needle is
// but for one in its middle.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

// In no header.
constexpr char kCharacter = '\x01';
const std::string kNeedle = "zebra crossing";
// In no header, though both of its letters are.
const std::string kShortNeedle = "qj";

// The place of what was found, or -1, whatever says so.
s64 Place(const char *text, const void *found)
{
    return found != nullptr ? static_cast<const char *>(found) - text : -1;
}

s64 Place(CGuid found)
{
    return found.Valid() ? s64(u32(found)) : -1;
}

s64 Place(size_t found)
{
    return found != std::string::npos ? static_cast<s64>(found) : -1;
}

void AddFirst(const char *name, const std::string &text)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str())] { return Place(ours.FindFirstOf(kCharacter)); });
    row.Add("std::string", [text] { return Place(text.find(kCharacter)); });
    row.Add("memchr", [text] { return Place(text.data(), std::memchr(text.data(), kCharacter, text.size())); });
#if QV_BENCH_QT
    row.Add("QByteArray", [bytes = QByteArray::fromStdString(text)] { return s64(bytes.indexOf(kCharacter)); });
#endif
    row.Limit("read", ReadLimit(text.size()));
}

void AddLast(const char *name, const std::string &text)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str())] { return Place(ours.FindLastOf(kCharacter)); });
    row.Add("std::string", [text] { return Place(text.rfind(kCharacter)); });
#if defined(__GLIBC__)
    row.Add("memrchr", [text] { return Place(text.data(), memrchr(text.data(), kCharacter, text.size())); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [bytes = QByteArray::fromStdString(text)] { return s64(bytes.lastIndexOf(kCharacter)); });
#endif
    row.Limit("read", ReadLimit(text.size()));
}

template <typename Find>
void AddText(const char *name, const std::string &text, const std::string &needle, Find find)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str()), needle, find] { return Place(find(ours, needle)); });
    row.Add("std::string", [text, needle] { return Place(text.find(needle)); });
    row.Add("std::horspool",
            [text, searcher = std::boyer_moore_horspool_searcher(needle.begin(), needle.end())]
            {
                const auto found = std::search(text.begin(), text.end(), searcher);
                return found != text.end() ? s64(found - text.begin()) : s64(-1);
            });
    row.Add("strstr", [text, needle] { return Place(text.data(), std::strstr(text.c_str(), needle.c_str())); });
#if defined(__GLIBC__)
    row.Add("memmem", [text, needle]
            { return Place(text.data(), memmem(text.data(), text.size(), needle.data(), needle.size())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::find_first",
            [text, needle]
            {
                const auto found = boost::find_first(text, needle);
                return found.empty() ? s64(-1) : s64(found.begin() - text.begin());
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [bytes = QByteArray::fromStdString(text), sought = QByteArray::fromStdString(needle)]
            { return s64(bytes.indexOf(sought)); });
#endif
    row.Limit("read", ReadLimit(text.size()));
}

CGuid FirstToTerminator(const CString &text, const std::string &needle)
{
    return text.FindFirstOf(needle.c_str());
}

CGuid FirstByLength(const CString &text, const std::string &needle)
{
    return text.FindText(CStringView(needle.data(), static_cast<u32>(needle.size())));
}

char Lowered(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

void AddTextInAnyCase(const char *name, const std::string &text, const std::string &needle)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str()), needle]
            { return Place(ours.FindText(needle.c_str(), 0, CaseInsensitive)); });
    row.Add("std::search",
            [text, needle]
            {
                const auto found = std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                                               [](char a, char b) { return Lowered(a) == Lowered(b); });
                return found != text.end() ? s64(found - text.begin()) : s64(-1);
            });
#if defined(__GLIBC__)
    row.Add("strcasestr", [text, needle] { return Place(text.data(), strcasestr(text.c_str(), needle.c_str())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::ifind_first",
            [text, needle]
            {
                const auto found = boost::ifind_first(text, needle);
                return found.empty() ? s64(-1) : s64(found.begin() - text.begin());
            });
#endif
    row.Limit("read", ReadLimit(text.size()));
}

void AddLastText(const char *name, const std::string &text, const std::string &needle)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str()), needle] { return Place(ours.FindLastText(needle.c_str())); });
    row.Add("std::string", [text, needle] { return Place(text.rfind(needle)); });
    row.Add("std::find_end",
            [text, needle]
            {
                const auto found = std::find_end(text.begin(), text.end(), needle.begin(), needle.end());
                return found != text.end() ? s64(found - text.begin()) : s64(-1);
            });
#if QV_BENCH_BOOST
    row.Add("boost::find_last",
            [text, needle]
            {
                const auto found = boost::find_last(text, needle);
                return found.empty() ? s64(-1) : s64(found.begin() - text.begin());
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [bytes = QByteArray::fromStdString(text), sought = QByteArray::fromStdString(needle)]
            { return s64(bytes.lastIndexOf(sought)); });
#endif
    row.Limit("read", ReadLimit(text.size()));
}

// Peers that take the product of the lengths are left out but for the standard library's, which end soon enough.
void AddHardTexts(size_t size)
{
    const std::string text(size, 'a');
    const std::string needle = std::string(255, 'a') + 'b' + std::string(256, 'a');
    CRow first("find_text_hard", size);
    first.Add("ours", [ours = CString(text.c_str()), needle] { return Place(ours.FindText(needle.c_str())); });
    first.Add("std::string", [text, needle] { return Place(text.find(needle)); });
#if defined(__GLIBC__)
    first.Add("memmem", [text, needle]
              { return Place(text.data(), memmem(text.data(), text.size(), needle.data(), needle.size())); });
#endif
    first.Limit("read", ReadLimit(size));
    CRow last("find_last_text_hard", size);
    last.Add("ours", [ours = CString(text.c_str()), needle] { return Place(ours.FindLastText(needle.c_str())); });
    last.Add("std::string", [text, needle] { return Place(text.rfind(needle)); });
    last.Limit("read", ReadLimit(size));
}

void AddCharacters(size_t size)
{
    const std::string text = HeaderText(size);
    std::string marked = text;
    marked.back() = kCharacter;
    AddFirst("find_char", marked);
    AddFirst("find_char_missing", text);
    std::reverse(marked.begin(), marked.end());
    AddLast("find_last_char", marked);
    AddLast("find_last_char_missing", text);
}

void AddTexts(size_t size)
{
    const std::string text = HeaderText(size);
    const std::string withNeedle = text.substr(0, size - kNeedle.size()) + kNeedle;
    AddText("find_text", withNeedle, kNeedle, &FirstToTerminator);
    AddText("find_text_missing", text, kNeedle, &FirstToTerminator);
    AddText("find_text_by_length", withNeedle, kNeedle, &FirstByLength);
    AddText("find_text_by_length_missing", text, kNeedle, &FirstByLength);
    AddTextInAnyCase("find_text_nocase", withNeedle, "ZEBRA Crossing");
    AddTextInAnyCase("find_text_nocase_missing", text, "ZEBRA Crossing");
    AddLastText("find_last_text", kNeedle + text.substr(0, size - kNeedle.size()), kNeedle);
    AddLastText("find_last_text_missing", text, kNeedle);
}

void AddShortText(size_t size)
{
    AddText("find_text_short", HeaderText(size - kShortNeedle.size()) + kShortNeedle, kShortNeedle, &FirstToTerminator);
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {16u, 64u, 256u, 65536u, 655360u, 6553600u})
        AddCharacters(size);
    for (const size_t size : {64u, 65536u, 655360u, 6553600u})
        AddTexts(size);
    for (const size_t size : {65536u, 655360u})
        AddShortText(size);
    for (const size_t size : {65536u, 655360u, 6553600u})
        AddHardTexts(size);
}

} // namespace Bench
