// Keys of hash tables without regard to case: the hash alone, and look-ups of names that are written otherwise than in the
// table, found and not found. Peers hash or look up a copy in lower case.
#include <algorithm>
#include <cctype>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kr_string_std.h"
#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

std::string InLowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    return text;
}

std::string InUpperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    return text;
}

CString Ours(const std::string &text)
{
    return CString(text.data(), static_cast<u32>(text.size()));
}

void AddHash(size_t size)
{
    const std::string text = Words(size);
    CRow row("hash_nocase", size);
    // Each hash has values of its own.
    row.Other("ours", [x = Ours(text)] { return SStringHashCaseInsensitive()(x); });
    row.Other("tolower+std::hash", [x = text] { return std::hash<std::string>()(InLowerCase(x)); });
#if QV_BENCH_ABSL
    row.Other("absl::AsciiStrToLower+Hash", [x = text] { return absl::Hash<std::string>()(absl::AsciiStrToLower(x)); });
#endif
    row.Limit("read", ReadLimit(size));
}

// How many of the names are found: `find(name)`.
template <typename Find>
auto CountOf(const std::vector<std::string> &names, Find find)
{
    return [names, find]
    {
        size_t found = 0;
        for (const std::string &name : names)
            found += find(name) ? 1 : 0;
        return found;
    };
}

void AddLookUp(size_t count)
{
    const std::vector<std::string> all = Names(2 * count);
    std::unordered_map<CString, size_t, SStringHashCaseInsensitive, SStringEqualCaseInsensitive> ours;
    std::unordered_map<std::string, size_t> lowered;
    std::vector<std::string> asked;
    for (size_t i = 0; i < all.size(); ++i)
    {
        asked.push_back(InUpperCase(all[i]));
        if (i % 2 != 0)
            continue;
        ours.emplace(Ours(all[i]), i);
        lowered.emplace(InLowerCase(all[i]), i);
    }
    std::vector<CString> askedOurs;
    for (const std::string &name : asked)
        askedOurs.push_back(Ours(name));

    CRow row("look_up_nocase", count);
    row.Add("ours",
            [ours, askedOurs]
            {
                size_t found = 0;
                for (const CString &name : askedOurs)
                    found += ours.find(name) != ours.end() ? 1 : 0;
                return found;
            });
    row.Add("tolower+std::hash", CountOf(asked, [lowered](const std::string &name)
                                         { return lowered.find(InLowerCase(name)) != lowered.end(); }));
#if QV_BENCH_ABSL
    std::unordered_map<std::string, size_t, absl::Hash<std::string>> loweredByAbsl(lowered.begin(), lowered.end());
    row.Add("absl::AsciiStrToLower+Hash",
            CountOf(asked, [loweredByAbsl](const std::string &name)
                    { return loweredByAbsl.find(absl::AsciiStrToLower(name)) != loweredByAbsl.end(); }));
#endif
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {8u, 32u, 256u, 4096u})
        AddHash(size);
    AddLookUp(1000);
}

} // namespace Bench
