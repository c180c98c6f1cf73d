// Equality, order, and sorting, with regard to case and without. The texts compared have equal lengths and share nothing;
// for order they differ in the last character.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

#include <strings.h>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

int Lower(char c)
{
    return std::tolower(static_cast<unsigned char>(c));
}

std::string InUpperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    return text;
}

// The same text but for the last character, which is greater.
std::string WithGreaterEnd(std::string text)
{
    text.front() = 'a';
    text.back() = '~';
    return text;
}

#if QV_BENCH_QT
QByteArray Bytes(const std::string &text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}
#endif

#if QV_BENCH_BOOST
boost::container::string BoostString(const std::string &text)
{
    return boost::container::string(text.data(), text.size());
}
#endif

CString Ours(const std::string &text)
{
    return CString(text.data(), static_cast<u32>(text.size()));
}

void AddEquality(size_t size)
{
    const std::string a = Words(size);
    CRow row("equal", size);
    row.Add("ours", [x = Ours(a), y = Ours(a)] { return x == y; });
    row.Add("std::string", [x = a, y = a] { return x == y; });
    row.Add("memcmp",
            [x = a, y = a] { return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size()) == 0; });
#if QV_BENCH_BOOST
    row.Add("boost::string", [x = BoostString(a), y = BoostString(a)] { return x == y; });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [x = Bytes(a), y = Bytes(a)] { return x == y; });
#endif
    row.Limit("read", ReadLimit(2 * size));
}

void AddEqualityIgnoringCase(size_t size)
{
    const std::string a = Words(size);
    const std::string b = InUpperCase(a);
    CRow row("equal_nocase", size);
    row.Add("ours", [x = Ours(a), y = Ours(b)] { return x.Compare(y, CaseInsensitive); });
    row.Add("std::equal",
            [x = a, y = b] {
                return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                                  [](char p, char q) { return Lower(p) == Lower(q); });
            });
    row.Add("strcasecmp", [x = a, y = b] { return strcasecmp(x.c_str(), y.c_str()) == 0; });
#if QV_BENCH_ABSL
    row.Add("absl::EqualsIgnoreCase", [x = a, y = b] { return absl::EqualsIgnoreCase(x, y); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::iequals", [x = a, y = b, where = std::locale::classic()] { return boost::iequals(x, y, where); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [x = Bytes(a), y = Bytes(b)] { return x.compare(y, Qt::CaseInsensitive) == 0; });
#endif
    row.Limit("read", ReadLimit(2 * size));
}

void AddOrder(size_t size)
{
    const std::string a = WithGreaterEnd(Words(size)).replace(size - 1, 1, "z");
    const std::string b = WithGreaterEnd(Words(size));
    CRow row("order", size);
    row.Add("ours", [x = Ours(a), y = Ours(b)] { return x < y; });
    row.Add("std::string", [x = a, y = b] { return x < y; });
    row.Add("std::string_view", [x = a, y = b] { return std::string_view(x) < std::string_view(y); });
    row.Add("strcmp", [x = a, y = b] { return std::strcmp(x.c_str(), y.c_str()) < 0; });
#if QV_BENCH_BOOST
    row.Add("boost::string", [x = BoostString(a), y = BoostString(b)] { return x < y; });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [x = Bytes(a), y = Bytes(b)] { return x < y; });
#endif
    row.Limit("read", ReadLimit(2 * size));
}

void AddOrderIgnoringCase(size_t size)
{
    const std::string a = WithGreaterEnd(Words(size)).replace(size - 1, 1, "z");
    const std::string b = InUpperCase(WithGreaterEnd(Words(size)));
    CRow row("order_nocase", size);
    row.Add("ours", [x = Ours(a), y = Ours(b)] { return x.LessThan(y, CaseInsensitive); });
    row.Add("std::lexicographical",
            [x = a, y = b]
            {
                return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end(),
                                                    [](char p, char q) { return Lower(p) < Lower(q); });
            });
    row.Add("strcasecmp", [x = a, y = b] { return strcasecmp(x.c_str(), y.c_str()) < 0; });
#if QV_BENCH_BOOST
    row.Add("boost::ilexicographical",
            [x = a, y = b, where = std::locale::classic()] { return boost::ilexicographical_compare(x, y, where); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [x = Bytes(a), y = Bytes(b)] { return x.compare(y, Qt::CaseInsensitive) < 0; });
#endif
    row.Limit("read", ReadLimit(2 * size));
}

// Copies the texts as the type has it, outside the time, and sorts the copies. `key` tells where the middle one stands.
template <typename Text, typename Make, typename IsLess, typename Key>
void AddSortBy(CRow &row, const char *who, const std::vector<std::string> &from, Make make, IsLess isLess, Key key)
{
    std::vector<Text> texts;
    for (const std::string &text : from)
        texts.push_back(make(text));
    row.AddPrepared(
        who, [texts] { return texts; },
        [isLess, key](std::vector<Text> &copies)
        {
            std::sort(copies.begin(), copies.end(), isLess);
            return Fingerprint(key(copies[copies.size() / 2]));
        });
}

template <typename Text, typename Make>
void AddSortOf(CRow &row, const char *who, const std::vector<std::string> &from, Make make)
{
    AddSortBy<Text>(row, who, from, make, std::less<Text>(), [](const Text &text) -> const Text & { return text; });
}

size_t CharactersOf(const std::vector<std::string> &texts)
{
    size_t total = 0;
    for (const std::string &text : texts)
        total += text.size();
    return total;
}

void AddSorting(size_t count)
{
    static const std::vector<std::string> paths = Paths(count);
    CRow row("sort_paths", count);
    AddSortOf<CString>(row, "ours", paths, Ours);
    AddSortOf<std::string>(row, "std::string", paths, [](const std::string &text) { return text; });
    AddSortOf<std::string_view>(row, "std::string_view", paths,
                                [](const std::string &text) -> std::string_view { return text; });
#if QV_BENCH_BOOST
    AddSortOf<boost::container::string>(row, "boost::string", paths, BoostString);
#endif
#if QV_BENCH_QT
    AddSortOf<QByteArray>(row, "QByteArray", paths, Bytes);
#endif
    row.Limit("read", ReadLimit(CharactersOf(paths)));
}

// Which of several that differ in case alone stands in the middle is each one's own business.
void AddSortingIgnoringCase(size_t count)
{
    static const std::vector<std::string> paths = Paths(count);
    CRow row("sort_paths_nocase", count);
    AddSortBy<CString>(
        row, "ours", paths, Ours, [](const CString &a, const CString &b) { return a.LessThan(b, CaseInsensitive); },
        [](const CString &text) { return InUpperCase(text.CStr()); });
    AddSortBy<std::string>(
        row, "strcasecmp", paths, [](const std::string &text) { return text; },
        [](const std::string &a, const std::string &b) { return strcasecmp(a.c_str(), b.c_str()) < 0; }, InUpperCase);
    AddSortBy<const char *>(
        row, "strcasecmp_of_pointers", paths, [](const std::string &text) { return text.c_str(); },
        [](const char *a, const char *b) { return strcasecmp(a, b) < 0; },
        [](const char *text) { return InUpperCase(text); });
    row.Limit("read", ReadLimit(CharactersOf(paths)));
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {16u, 256u, 4096u})
    {
        AddEquality(size);
        AddEqualityIgnoringCase(size);
        AddOrder(size);
        AddOrderIgnoringCase(size);
    }
    AddSorting(100000);
    AddSortingIgnoringCase(Once() ? 1000 : 100000);
}

} // namespace Bench
