// Equality, order, and sorting, with regard to case and without. The texts compared have equal lengths and share nothing;
// for order they differ in the last character.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

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

// Copies the texts as the type has it, outside the time, and sorts the copies.
template <typename Text, typename Make>
void AddSortOf(CRow &row, const char *who, const std::vector<std::string> &from, Make make)
{
    std::vector<Text> texts;
    for (const std::string &text : from)
        texts.push_back(make(text));
    row.AddPrepared(
        who, [texts] { return texts; },
        [](std::vector<Text> &copies)
        {
            std::sort(copies.begin(), copies.end());
            return Fingerprint(copies[copies.size() / 2]);
        });
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
    size_t total = 0;
    for (const std::string &path : paths)
        total += path.size();
    row.Limit("read", ReadLimit(total));
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
}

} // namespace Bench
