// Upper and lower case: in place, where every call changes every letter, and into a new text.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

void ToUpper(std::string &text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
}

void ToLower(std::string &text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
}

// The same for ASCII alone, which compilers know how to vectorise.
char AsciiUpper(char c)
{
    return static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
}

char AsciiLower(char c)
{
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
}

void ToAsciiUpper(std::string &text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return AsciiUpper(c); });
}

void ToAsciiLower(std::string &text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return AsciiLower(c); });
}

// Calls `raise` and `lower` in turns on a text of its own.
template <typename Text, typename Raise, typename Lower>
auto InTurns(Text text, Raise raise, Lower lower)
{
    return [text = std::move(text), raise, lower, isUpper = false]() mutable -> const Text &
    {
        if (isUpper)
            lower(text);
        else
            raise(text);
        isUpper = !isUpper;
        return text;
    };
}

void AddInPlace(size_t size)
{
    const std::string from = Words(size);
    CRow row("case_in_place", size);
    row.Add("ours", InTurns(
                        CString(from.data(), static_cast<u32>(size)), [](CString &text) { text.ToUppercase(); },
                        [](CString &text) { text.ToLowercase(); }));
    row.Add("std::toupper", InTurns(from, ToUpper, ToLower));
    row.Add("std::transform", InTurns(from, ToAsciiUpper, ToAsciiLower));
#if QV_BENCH_ABSL
    row.Add("absl::AsciiStrToUpper", InTurns(
                                         from, [](std::string &text) { absl::AsciiStrToUpper(&text); },
                                         [](std::string &text) { absl::AsciiStrToLower(&text); }));
#endif
#if QV_BENCH_BOOST
    row.Add("boost::to_upper", InTurns(
                                   from, [](std::string &text) { boost::to_upper(text, std::locale::classic()); },
                                   [](std::string &text) { boost::to_lower(text, std::locale::classic()); }));
#endif
#if QV_BENCH_QT
    row.Add("QByteArray",
            InTurns(
                QByteArray::fromStdString(from), [](QByteArray &text) { text = std::move(text).toUpper(); },
                [](QByteArray &text) { text = std::move(text).toLower(); }));
#endif
    row.Limit("rewrite", RewriteLimit(size));
}

void AddCopy(size_t size)
{
    const std::string from = Words(size);
    CRow row("case_copy", size);
    row.Add("ours", [text = CString(from.data(), static_cast<u32>(size))] { return text.Uppercase(); });
    row.Add("std::toupper",
            [from]
            {
                std::string copy = from;
                ToUpper(copy);
                return copy;
            });
    row.Add("std::transform",
            [from]
            {
                std::string copy = from;
                ToAsciiUpper(copy);
                return copy;
            });
#if QV_BENCH_ABSL
    row.Add("absl::AsciiStrToUpper", [from] { return absl::AsciiStrToUpper(from); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::to_upper", [from] { return boost::to_upper_copy(from, std::locale::classic()); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [text = QByteArray::fromStdString(from)] { return text.toUpper(); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {16u, 256u, 4096u, 100000u, 1000000u, 10000000u})
        AddInPlace(size);
    for (const size_t size : {16u, 256u, 4096u})
        AddCopy(size);
}

} // namespace Bench
