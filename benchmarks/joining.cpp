// Joining pieces into a new text. The row's size is the number of pieces.
//
// Pieces of a path, with slashes: in `join` everybody joins the shortest way, which may see all pieces at once; in
// `join_chain` by a chain of operators, two at a time. Ours also looks at both ends of every seam for slashes that are
// there already, and for backslashes everywhere; the others, but for the standard library's path, only put characters
// together.
//
// Pieces of any text: `concat` without anything between them, `join_pieces` with a separator, `join_list` all of a list.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

namespace fs = std::filesystem;

const char *const kPieces[] = {"assets/characters", "models", "hero_female", "lod0", "hull_with_cloak.mesh"};

template <typename Text>
struct SPieces
{
    Text a = Text(kPieces[0]);
    Text b = Text(kPieces[1]);
    Text c = Text(kPieces[2]);
    Text d = Text(kPieces[3]);
    Text e = Text(kPieces[4]);
};

std::string Joined(const std::string &a, const std::string &b)
{
    std::string joined;
    joined.reserve(a.size() + 1 + b.size());
    joined += a;
    joined += '/';
    joined += b;
    return joined;
}

std::string JoinedAll(const SPieces<std::string> &p)
{
    std::string joined;
    joined.reserve(p.a.size() + p.b.size() + p.c.size() + p.d.size() + p.e.size() + 4);
    joined += p.a;
    for (const std::string *const piece : {&p.b, &p.c, &p.d, &p.e})
    {
        joined += '/';
        joined += *piece;
    }
    return joined;
}

void AddTwo()
{
    CRow row("join", 2);
    row.Add("ours", [p = SPieces<CString>()] { return p.a / p.e; });
    row.Add("std::string", [p = SPieces<std::string>()] { return Joined(p.a, p.e); });
    row.Add("std::string+", [p = SPieces<std::string>()] { return p.a + '/' + p.e; });
    row.Add("std::filesystem", [p = SPieces<fs::path>()] { return (p.a / p.e).string(); });
#if QV_BENCH_ABSL
    row.Add("absl::StrCat", [p = SPieces<std::string>()] { return absl::StrCat(p.a, "/", p.e); });
    row.Add("absl::StrJoin",
            [p = SPieces<std::string>()] {
                return absl::StrJoin(std::initializer_list<absl::string_view>{p.a, p.e}, "/");
            });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::string", [p = SPieces<boost::container::string>()] { return p.a + '/' + p.e; });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format", [p = SPieces<std::string>()] { return fmt::format("{}/{}", p.a, p.e); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [p = SPieces<QByteArray>()] { return QByteArray(p.a + '/' + p.e); });
    row.Add("QStringBuilder", [p = SPieces<QByteArray>()] { return QByteArray(p.a % '/' % p.e); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(Joined(kPieces[0], kPieces[4]).size() + 1));
}

void AddFive()
{
    CRow row("join", 5);
    row.Add("ours", [p = SPieces<CString>()] { return JoinPath(p.a, p.b, p.c, p.d, p.e); });
    row.Add("std::string", [p = SPieces<std::string>()] { return JoinedAll(p); });
    row.Add("std::filesystem", [p = SPieces<fs::path>()] { return (p.a / p.b / p.c / p.d / p.e).string(); });
#if QV_BENCH_ABSL
    row.Add("absl::StrCat",
            [p = SPieces<std::string>()] { return absl::StrCat(p.a, "/", p.b, "/", p.c, "/", p.d, "/", p.e); });
    row.Add("absl::StrJoin",
            [p = SPieces<std::string>()] {
                return absl::StrJoin(std::initializer_list<absl::string_view>{p.a, p.b, p.c, p.d, p.e}, "/");
            });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format",
            [p = SPieces<std::string>()] { return fmt::format("{}/{}/{}/{}/{}", p.a, p.b, p.c, p.d, p.e); });
#endif
#if QV_BENCH_QT
    row.Add("QStringBuilder",
            [p = SPieces<QByteArray>()] { return QByteArray(p.a % '/' % p.b % '/' % p.c % '/' % p.d % '/' % p.e); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(JoinedAll(SPieces<std::string>()).size() + 1));
}

void AddChain()
{
    CRow row("join_chain", 5);
    row.Add("ours", [p = SPieces<CString>()] { return p.a / p.b / p.c / p.d / p.e; });
    row.Add("std::string+",
            [p = SPieces<std::string>()] { return p.a + '/' + p.b + '/' + p.c + '/' + p.d + '/' + p.e; });
    row.Add("std::filesystem", [p = SPieces<fs::path>()] { return (p.a / p.b / p.c / p.d / p.e).string(); });
#if QV_BENCH_BOOST
    row.Add("boost::string",
            [p = SPieces<boost::container::string>()] { return p.a + '/' + p.b + '/' + p.c + '/' + p.d + '/' + p.e; });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray",
            [p = SPieces<QByteArray>()] { return QByteArray(p.a + '/' + p.b + '/' + p.c + '/' + p.d + '/' + p.e); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(JoinedAll(SPieces<std::string>()).size() + 1));
}

std::string Reserved(std::initializer_list<std::string_view> pieces)
{
    size_t length = 0;
    for (const std::string_view piece : pieces)
        length += piece.size();
    std::string text;
    text.reserve(length);
    for (const std::string_view piece : pieces)
        text += piece;
    return text;
}

void AddConcatenation()
{
    CRow row("concat", 5);
    row.Add("ours", [p = SPieces<CString>()] { return Concat(p.a, p.b, p.c, p.d, p.e); });
    row.Add("std::string", [p = SPieces<std::string>()] { return Reserved({p.a, p.b, p.c, p.d, p.e}); });
    row.Add("std::string+", [p = SPieces<std::string>()] { return p.a + p.b + p.c + p.d + p.e; });
#if QV_BENCH_ABSL
    row.Add("absl::StrCat", [p = SPieces<std::string>()] { return absl::StrCat(p.a, p.b, p.c, p.d, p.e); });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format", [p = SPieces<std::string>()] { return fmt::format("{}{}{}{}{}", p.a, p.b, p.c, p.d, p.e); });
#endif
#if QV_BENCH_QT
    row.Add("QStringBuilder", [p = SPieces<QByteArray>()] { return QByteArray(p.a % p.b % p.c % p.d % p.e); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(JoinedAll(SPieces<std::string>()).size() - 4 + 1));
}

void AddJoinedPieces()
{
    CRow row("join_pieces", 5);
    row.Add("ours", [p = SPieces<CString>()] { return Join(", ", p.a, p.b, p.c, p.d, p.e); });
    row.Add("std::string",
            [p = SPieces<std::string>()] {
                return Reserved({p.a, ", ", p.b, ", ", p.c, ", ", p.d, ", ", p.e});
            });
#if QV_BENCH_ABSL
    row.Add("absl::StrCat",
            [p = SPieces<std::string>()] { return absl::StrCat(p.a, ", ", p.b, ", ", p.c, ", ", p.d, ", ", p.e); });
    row.Add("absl::StrJoin",
            [p = SPieces<std::string>()] {
                return absl::StrJoin(std::initializer_list<absl::string_view>{p.a, p.b, p.c, p.d, p.e}, ", ");
            });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format",
            [p = SPieces<std::string>()] { return fmt::format("{}, {}, {}, {}, {}", p.a, p.b, p.c, p.d, p.e); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(JoinedAll(SPieces<std::string>()).size() + 4 + 1));
}

std::string JoinedList(const std::vector<std::string> &list)
{
    size_t length = 0;
    for (const std::string &piece : list)
        length += piece.size() + 2;
    std::string text;
    text.reserve(length);
    for (const std::string &piece : list)
    {
        if (!text.empty())
            text += ", ";
        text += piece;
    }
    return text;
}

void AddList(size_t count)
{
    const std::vector<std::string> names = Names(count);
    const auto list = std::make_shared<TArray<CString>>();
    for (const std::string &name : names)
        list->PushBack(CString(name.c_str()));
    CRow row("join_list", count);
    row.Add("ours", [list] { return Join(", ", *list); });
    row.Add("std::string", [names] { return JoinedList(names); });
#if QV_BENCH_ABSL
    row.Add("absl::StrJoin", [names] { return absl::StrJoin(names, ", "); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::join", [names] { return boost::algorithm::join(names, ", "); });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::join", [names] { return fmt::format("{}", fmt::join(names, ", ")); });
#endif
#if QV_BENCH_QT
    QByteArrayList bytes;
    for (const std::string &name : names)
        bytes.append(QByteArray::fromStdString(name));
    row.Add("QByteArrayList", [bytes] { return bytes.join(", "); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(JoinedList(names).size() + 1));
}

} // namespace

void RegisterRows()
{
    AddTwo();
    AddFive();
    AddChain();
    AddConcatenation();
    AddJoinedPieces();
    for (const size_t count : {10u, 100u, 10000u})
        AddList(count);
}

} // namespace Bench
