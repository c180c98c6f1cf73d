// examples/log_analyser written with Qt's strings and maps: the same arguments and the same output.
#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QList>
#include <QVector>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <tuple>

namespace
{

struct SGroup
{
    QByteArray m_Name; // as it was written first
    qulonglong m_Count = 0;
    qulonglong m_Sum = 0;
};

using CGroups = QHash<QByteArray, SGroup>; // of keys by the lower-case name

// A key by whose values the stanzas are grouped.
struct SGrouping
{
    QByteArray m_Key;
    QByteArray m_Value; // in the stanza at hand
    CGroups m_Groups;
};

struct SArguments
{
    QByteArray m_File;
    QList<QByteArray> m_Keys; // none: Section and Maintainer
    QByteArray m_SumKey = "Installed-Size";
    qulonglong m_Top = 10;
};

bool IsBlank(char character)
{
    return character == ' ' || character == '\t';
}

// The characters from `begin` to `end` without blanks around them. Borrows.
QByteArray Stripped(const char *begin, const char *end)
{
    while (begin != end && IsBlank(*begin))
        ++begin;
    while (begin != end && IsBlank(end[-1]))
        --end;
    return QByteArray::fromRawData(begin, static_cast<int>(end - begin));
}

bool IsSameKey(const QByteArray &a, const QByteArray &b)
{
    return a.size() == b.size() && qstrnicmp(a.constData(), b.constData(), static_cast<uint>(a.size())) == 0;
}

// Digits alone, where QByteArray::toULongLong also takes signs, prefixes and blanks.
bool ParseNumber(const QByteArray &text, qulonglong &number)
{
    const bool isNumber = !text.isEmpty() && std::all_of(text.begin(), text.end(),
                                                         [](char digit) { return digit >= '0' && digit <= '9'; });
    bool fits = false;
    const qulonglong parsed = isNumber ? text.toULongLong(&fits) : 0;
    if (fits)
        number = parsed;
    return fits;
}

// The group of a name that is borrowed, of which a copy is made only when it is new.
SGroup &GroupOf(CGroups &groups, const QByteArray &key, const QByteArray &name)
{
    const auto found = groups.find(key);
    if (found != groups.end())
        return *found;
    return *groups.insert(QByteArray(key.constData(), key.size()), {QByteArray(name.constData(), name.size()), 0, 0});
}

class CAnalysis
{
public:
    explicit CAnalysis(const SArguments &arguments) : m_SumKey(arguments.m_SumKey)
    {
        for (const QByteArray &key : arguments.m_Keys)
            m_Groupings.append({key, {}, {}});
    }

    void Read(const QByteArray &text)
    {
        const char *begin = text.constData();
        for (int at = 0; at < text.size();)
        {
            const int end = text.indexOf('\n', at);
            int length = (end >= 0 ? end : text.size()) - at;
            if (end > at && begin[end - 1] == '\r')
                --length;
            _ReadLine(begin + at, begin + at + length);
            at = end >= 0 ? end + 1 : text.size();
        }
        _EndStanza();
    }

    qulonglong m_Lines = 0;
    qulonglong m_Stanzas = 0;
    CGroups m_Keys;
    QVector<SGrouping> m_Groupings;

private:
    void _ReadLine(const char *begin, const char *end)
    {
        ++m_Lines;
        const QByteArray content = Stripped(begin, end);
        if (content.isEmpty())
            _EndStanza();
        else if (content.constData() == begin)
            _ReadField(content);
        else if (m_Continued != nullptr)
            m_Continued->append(m_Continued->isEmpty() ? "" : " ").append(content);
    }

    void _ReadField(const QByteArray &line)
    {
        m_Continued = nullptr;
        const char *const begin = line.constData();
        const int colon = line.indexOf(':');
        const QByteArray key = Stripped(begin, begin + std::max(colon, 0));
        if (key.isEmpty())
            return _Complain("no key in", line);
        const QByteArray value = Stripped(begin + colon + 1, begin + line.size());
        SGroup &occurrences = GroupOf(m_Keys, key.toLower(), key);
        ++occurrences.m_Count;
        occurrences.m_Sum += static_cast<qulonglong>(value.size());
        m_InStanza = true;
        for (SGrouping &grouping : m_Groupings)
        {
            if (!IsSameKey(grouping.m_Key, key))
                continue;
            grouping.m_Value = QByteArray(value.constData(), value.size());
            m_Continued = &grouping.m_Value;
        }
        if (IsSameKey(m_SumKey, key) && !ParseNumber(value, m_Number))
            _Complain("no number in", line);
    }

    void _EndStanza()
    {
        m_Stanzas += m_InStanza;
        for (SGrouping &grouping : m_Groupings)
        {
            if (grouping.m_Value.isEmpty())
                continue;
            SGroup &group = GroupOf(grouping.m_Groups, grouping.m_Value, grouping.m_Value);
            ++group.m_Count;
            group.m_Sum += m_Number;
            grouping.m_Value.clear();
        }
        m_Continued = nullptr;
        m_InStanza = false;
        m_Number = 0;
    }

    void _Complain(const char *what, const QByteArray &line)
    {
        std::fprintf(stderr, "log_analyser: line %llu: %s \"%.*s\"\n", m_Lines, what, line.size(), line.constData());
    }

    QByteArray m_SumKey;
    QByteArray *m_Continued = nullptr; // the value that an indented line would continue
    bool m_InStanza = false;
    qulonglong m_Number = 0; // of the stanza at hand
};

// ---- Output ---------------------------------------------------------------------------------------------------------

// With a comma for every thousand.
QByteArray Grouped(qulonglong number)
{
    QByteArray digits = QByteArray::number(number);
    for (int i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, ',');
    return digits;
}

void AppendRow(QByteArray &out, const QByteArray &count, const QByteArray &sum, const QByteArray &name)
{
    out += count.rightJustified(10) + sum.rightJustified(16) + "  " + name + '\n';
}

// The largest sums first.
void AppendTable(QByteArray &out, const QByteArray &countTitle, const QByteArray &sumTitle, const QByteArray &title,
                 const CGroups &groups, qulonglong top)
{
    if (groups.isEmpty())
        return;
    QVector<const SGroup *> rows;
    for (const SGroup &group : groups)
        rows.append(&group);
    std::sort(rows.begin(), rows.end(),
              [](const SGroup *a, const SGroup *b)
              { return std::tie(b->m_Sum, b->m_Count, a->m_Name) < std::tie(a->m_Sum, a->m_Count, b->m_Name); });
    const qulonglong count = static_cast<qulonglong>(rows.size());
    const qulonglong shown = std::min(count, top);
    out += '\n';
    AppendRow(out, countTitle, sumTitle, title);
    for (int i = 0; i < static_cast<int>(shown); ++i)
        AppendRow(out, Grouped(rows[i]->m_Count), Grouped(rows[i]->m_Sum), rows[i]->m_Name);
    if (shown < count)
        AppendRow(out, "", "", "and " + Grouped(count - shown) + " more");
}

QByteArray Report(const CAnalysis &analysis, const SArguments &arguments)
{
    QByteArray out = Grouped(analysis.m_Lines) + " lines, " + Grouped(analysis.m_Stanzas) + " stanzas, " +
                     Grouped(static_cast<qulonglong>(analysis.m_Keys.size())) + " keys\n";
    AppendTable(out, "lines", "characters", "key", analysis.m_Keys, arguments.m_Top);
    for (const SGrouping &grouping : analysis.m_Groupings)
        AppendTable(out, "stanzas", arguments.m_SumKey, grouping.m_Key, grouping.m_Groups, arguments.m_Top);
    return out;
}

// ---- Suggestions ----------------------------------------------------------------------------------------------------

// Levenshtein's.
int EditDistance(const QByteArray &a, const QByteArray &b)
{
    QVector<int> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < a.size(); ++i)
    {
        int diagonal = row[0]++;
        for (int j = 0; j < b.size(); ++j)
        {
            const int changed = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row[b.size()];
}

// The key that is most like the one that was asked for; empty when none is much like it.
QByteArray Suggestion(const CGroups &keys, const QByteArray &wanted)
{
    QByteArray best;
    double bestWeight = 0.7;
    for (auto key = keys.begin(); key != keys.end(); ++key)
    {
        const double weight = 1 - EditDistance(key.key(), wanted.toLower()) / double(key.key().size() + wanted.size());
        if (weight > bestWeight || (weight == bestWeight && key->m_Name < best))
        {
            best = key->m_Name;
            bestWeight = weight;
        }
    }
    return best;
}

// Is the key there that was asked for? Else says so.
bool CheckKey(const CGroups &keys, const QByteArray &wanted)
{
    if (keys.contains(wanted.toLower()))
        return true;
    const QByteArray suggestion = Suggestion(keys, wanted);
    const QByteArray hint = suggestion.isEmpty() ? QByteArray() : "; did you mean \"" + suggestion + "\"?";
    std::fprintf(stderr, "log_analyser: no key \"%s\"%s\n", wanted.constData(), hint.constData());
    return false;
}

// ---- The program ----------------------------------------------------------------------------------------------------

bool ReadFile(const QByteArray &name, QByteArray &text)
{
    QFile file(QFile::decodeName(name));
    if (name == "-" ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly))
        return false;
    text = file.readAll();
    return file.error() == QFileDevice::NoError;
}

bool ReadArguments(int argc, char **argv, SArguments &arguments)
{
    for (int i = 1; i < argc; ++i)
    {
        const QByteArray argument = argv[i];
        if (!argument.startsWith("--") && arguments.m_File.isEmpty())
            arguments.m_File = argument;
        else if (++i == argc)
            return false;
        else if (argument == "--key")
            arguments.m_Keys.append(argv[i]);
        else if (argument == "--sum")
            arguments.m_SumKey = argv[i];
        else if (argument != "--top" || !ParseNumber(argv[i], arguments.m_Top))
            return false;
    }
    if (arguments.m_File.isEmpty())
        arguments.m_File = "/var/lib/dpkg/status";
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    SArguments arguments;
    if (!ReadArguments(argc, argv, arguments))
    {
        std::fputs("usage: log_analyser [file, or - for standard input] [--key NAME]... [--sum NAME] [--top N]\n",
                   stderr);
        return 2;
    }
    const bool chosen = !arguments.m_Keys.isEmpty();
    if (!chosen)
        arguments.m_Keys = {"Section", "Maintainer"};
    QByteArray text;
    if (!ReadFile(arguments.m_File, text))
    {
        std::fprintf(stderr, "log_analyser: \"%s\" cannot be read\n", arguments.m_File.constData());
        return 2;
    }
    CAnalysis analysis(arguments);
    analysis.Read(text);
    for (const QByteArray &key : arguments.m_Keys)
        if (chosen && !CheckKey(analysis.m_Keys, key))
            return 2;
    const QByteArray report = Report(analysis, arguments);
    const auto size = static_cast<std::size_t>(report.size());
    const bool written = std::fwrite(report.constData(), 1, size, stdout) == size;
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
