// Finding a character, the last one, and a substring: what is looked for stands at the far end of the text, or nowhere.
// The text is that of headers.
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

void AddText(const char *name, const std::string &text, const std::string &needle)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str()), needle] { return Place(ours.FindFirstOf(needle.c_str())); });
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

void AddRows(size_t size)
{
    const std::string text = HeaderText(size);
    std::string marked = text;
    marked.back() = kCharacter;
    AddFirst("find_char", marked);
    AddFirst("find_char_missing", text);
    std::reverse(marked.begin(), marked.end());
    AddLast("find_last_char", marked);
    AddLast("find_last_char_missing", text);
    AddText("find_text", text.substr(0, size - kNeedle.size()) + kNeedle, kNeedle);
    AddText("find_text_missing", text, kNeedle);
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {64u, 65536u, 655360u, 6553600u})
        AddRows(size);
}

} // namespace Bench
