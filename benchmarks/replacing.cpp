// Replacing a substring: by a longer one, one of its length, a shorter one. One match for every hundred characters, at
// distances that no branch predictor can learn but for the smallest text, which it sees again and again.
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

const std::string kNeedle = "needle";

// Words with the needle after 1 to 187 characters, 94 on average.
std::string Haystack(size_t size)
{
    std::string text = Words(size);
    CRandom random;
    for (size_t at = random.Below(187); at + kNeedle.size() < size; at += kNeedle.size() + 1 + random.Below(187))
        text.replace(at, kNeedle.size(), kNeedle);
    return text;
}

// Copies the text piece by piece; `find` gives the next place of the needle at or after one, or null.
template <typename Find>
std::string ReplaceWith(const std::string &text, const std::string &replacement, Find find)
{
    std::string result;
    result.reserve(text.size());
    const char *from = text.data();
    for (const char *at; (at = find(from)) != nullptr; from = at + kNeedle.size())
    {
        result.append(from, at);
        result += replacement;
    }
    return result.append(from, text.data() + text.size());
}

std::string Replaced(const std::string &text, const std::string &replacement)
{
    const auto find = [&text](const char *from) -> const char *
    {
        const size_t at = text.find(kNeedle, static_cast<size_t>(from - text.data()));
        return at != std::string::npos ? text.data() + at : nullptr;
    };
    return ReplaceWith(text, replacement, find);
}

std::string ReplacedByStrstr(const std::string &text, const std::string &replacement)
{
    return ReplaceWith(text, replacement, [](const char *from) { return std::strstr(from, kNeedle.c_str()); });
}

void AddReplacement(const char *name, size_t size, const std::string &by)
{
    const std::string text = Haystack(size);
    CRow row(name, size);
    row.Add("ours", [ours = CString(text.c_str()), by] { return ours.Replace(kNeedle.c_str(), by.c_str()); });
    row.Add("std::string", [text, by] { return Replaced(text, by); });
    row.Add("strstr", [text, by] { return ReplacedByStrstr(text, by); });
#if QV_BENCH_ABSL
    row.Add("absl::StrReplaceAll", [text, by] { return absl::StrReplaceAll(text, {{kNeedle, by}}); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::replace_all", [text, by] { return boost::replace_all_copy(text, kNeedle, by); });
#endif
#if QV_BENCH_RE2
    row.Add("re2::GlobalReplace",
            [text, by, pattern = std::make_shared<re2::RE2>(kNeedle)]
            {
                std::string copy = text;
                re2::RE2::GlobalReplace(&copy, *pattern, by);
                return copy;
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray",
            [bytes = QByteArray(text.data(), static_cast<int>(text.size())), by]
            {
                QByteArray copy = bytes;
                copy.replace(kNeedle.data(), static_cast<int>(kNeedle.size()), by.data(), static_cast<int>(by.size()));
                return copy;
            });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(Replaced(text, by).size() + 1));
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {65536u, 655360u, 6553600u})
    {
        AddReplacement("replace_growing", size, "longer_needle");
        AddReplacement("replace_same", size, "pinpin");
        AddReplacement("replace_shrinking", size, "pin");
    }
}

} // namespace Bench
