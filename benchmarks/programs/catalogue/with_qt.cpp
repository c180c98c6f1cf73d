// The program catalogue written with Qt's strings: the same arguments and the same output.
#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QList>
#include <QPair>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QVector>

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace
{

struct SArguments
{
    QByteArray m_File;
    QList<QByteArray> m_Include; // none: everything
    QList<QByteArray> m_Exclude;
    QList<QPair<QByteArray, QByteArray>> m_Replacements;
};

// An expression that matches what one of the patterns matches.
QRegularExpression OneOf(const QList<QByteArray> &patterns)
{
    QStringList alternatives;
    for (const QByteArray &pattern : patterns)
    {
        QString escaped = QRegularExpression::escape(QString::fromLatin1(pattern));
        alternatives += escaped.replace("\\*", ".*").replace("\\?", ".");
    }
    QRegularExpression expression("\\A(?:" + alternatives.join('|') + ")\\z",
                                  QRegularExpression::CaseInsensitiveOption |
                                      QRegularExpression::DotMatchesEverythingOption);
    expression.optimize();
    return expression;
}

class CCatalogue
{
public:
    explicit CCatalogue(const SArguments &arguments)
        : m_Arguments(arguments), m_Include(OneOf(arguments.m_Include)), m_Exclude(OneOf(arguments.m_Exclude))
    {
    }

    void Add(QByteArray path)
    {
        ++m_Lines;
        path.replace('\\', '/');
        if (path.isEmpty() || !_IsWanted(QString::fromLatin1(path)))
            return;
        path = std::move(path).toLower();
        for (const auto &replacement : m_Arguments.m_Replacements)
            path.replace(replacement.first, replacement.second);
        m_Paths.append(path);
    }

    qulonglong m_Lines = 0;
    QVector<QByteArray> m_Paths;

private:
    bool _IsWanted(const QString &path) const
    {
        return (m_Arguments.m_Include.isEmpty() || m_Include.match(path).hasMatch()) &&
               (m_Arguments.m_Exclude.isEmpty() || !m_Exclude.match(path).hasMatch());
    }

    const SArguments &m_Arguments;
    QRegularExpression m_Include;
    QRegularExpression m_Exclude;
};

// ---- Output ---------------------------------------------------------------------------------------------------------

using CCounts = QHash<QByteArray, qulonglong>;

void AppendEndings(QByteArray &out, const CCounts &counts)
{
    QVector<QPair<QByteArray, qulonglong>> rows;
    for (auto count = counts.begin(); count != counts.end(); ++count)
        rows.append({count.key(), count.value()});
    std::sort(rows.begin(), rows.end(),
              [](const auto &a, const auto &b) { return std::tie(b.second, a.first) < std::tie(a.second, b.first); });
    for (const auto &row : rows)
        out += QByteArray::number(row.second).rightJustified(10) + "  " + row.first + '\n';
}

QByteArray Report(CCatalogue &catalogue)
{
    std::sort(catalogue.m_Paths.begin(), catalogue.m_Paths.end());
    CCounts counts;
    QByteArray out;
    QByteArray folder = "no folder at all\n";
    for (const QByteArray &path : qAsConst(catalogue.m_Paths))
    {
        const int begin = path.lastIndexOf('/') + 1;
        // Made without a copy, for as long as the path is there.
        const QByteArray place = QByteArray::fromRawData(path.constData(), begin);
        const QByteArray name = QByteArray::fromRawData(path.constData() + begin, path.size() - begin);
        if (place != folder)
            out += place + ":\n";
        folder = place;
        out += "    " + name + '\n';
        const int dot = name.lastIndexOf('.');
        ++counts[dot >= 0 ? name.mid(dot) : QByteArray()];
    }
    out += '\n';
    AppendEndings(out, counts);
    out += QByteArray::number(catalogue.m_Paths.size()) + " of " + QByteArray::number(catalogue.m_Lines) + " paths\n";
    return out;
}

// ---- The program ----------------------------------------------------------------------------------------------------

// Adds each line of a file, or of standard input.
bool ReadLines(const QByteArray &name, CCatalogue &catalogue)
{
    QFile file(QFile::decodeName(name));
    if (name == "-" ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly))
        return false;
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine())
    {
        if (line.endsWith('\n'))
            line.chop(line.endsWith("\r\n") ? 2 : 1);
        catalogue.Add(std::move(line));
    }
    return file.error() == QFileDevice::NoError;
}

bool ReadArguments(int argc, char **argv, SArguments &arguments)
{
    for (int i = 1; i < argc; ++i)
    {
        const QByteArray argument = argv[i];
        if (!argument.startsWith("--") && arguments.m_File.isEmpty())
            arguments.m_File = argument;
        else if (argument == "--include" && i + 1 < argc)
            arguments.m_Include.append(argv[++i]);
        else if (argument == "--exclude" && i + 1 < argc)
            arguments.m_Exclude.append(argv[++i]);
        else if (argument == "--replace" && i + 2 < argc && *argv[i + 1] != '\0')
        {
            arguments.m_Replacements.append(qMakePair(QByteArray(argv[i + 1]), QByteArray(argv[i + 2])));
            i += 2;
        }
        else
            return false;
    }
    return !arguments.m_File.isEmpty();
}

} // namespace

int main(int argc, char **argv)
{
    SArguments arguments;
    if (!ReadArguments(argc, argv, arguments))
    {
        std::fputs("usage: catalogue <file, or - for standard input> [--include PATTERN]... [--exclude PATTERN]... "
                   "[--replace FROM TO]...\n",
                   stderr);
        return 2;
    }
    CCatalogue catalogue(arguments);
    if (!ReadLines(arguments.m_File, catalogue))
    {
        std::fprintf(stderr, "catalogue: \"%s\" cannot be read\n", arguments.m_File.constData());
        return 2;
    }
    const QByteArray report = Report(catalogue);
    const auto size = static_cast<std::size_t>(report.size());
    const bool written = std::fwrite(report.constData(), 1, size, stdout) == size;
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
