// Joining pieces of a path with slashes, into a new text. The row's size is the number of pieces. In `join` everybody
// joins the shortest way, which may see all pieces at once; in `join_chain` by a chain of operators, two at a time.
//
// Ours also looks at both ends of every seam for slashes that are there already, and for backslashes everywhere; the
// others, but for the standard library's path, only put characters together.
#include <filesystem>
#include <string>

#include "support/limits.h"
#include "support/row.h"

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

} // namespace

void RegisterRows()
{
    AddTwo();
    AddFive();
    AddChain();
}

} // namespace Bench
