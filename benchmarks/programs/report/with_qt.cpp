// The program report written with Qt's strings: the same arguments and the same output.
#include <QByteArray>
#include <QFile>
#include <QList>

#include <cstdio>

namespace
{

constexpr int kFields = 8;

struct SOrder
{
    uint m_Number;
    QByteArray m_Shop;
    QByteArray m_Folder;
    QByteArray m_Name;
    uint m_Count;
    double m_Price;
    QByteArray m_Words;
    QByteArray m_Remark;
};

bool ParseOrder(const QByteArray &line, SOrder &order)
{
    const QList<QByteArray> fields = line.split('\t');
    if (fields.size() < kFields)
        return false;
    bool isNumber = false, isCount = false, isPrice = false;
    order.m_Number = fields[0].toUInt(&isNumber);
    order.m_Shop = fields[1];
    order.m_Folder = fields[2];
    order.m_Name = fields[3];
    order.m_Count = fields[4].toUInt(&isCount);
    order.m_Price = fields[5].toDouble(&isPrice);
    order.m_Words = fields[6];
    order.m_Remark = fields.mid(kFields - 1).join('\t');
    return isNumber && isCount && isPrice;
}

char LetterFor(char character)
{
    switch (character)
    {
    case '\a':
        return 'a';
    case '\b':
        return 'b';
    case '\t':
        return 't';
    case '\n':
        return 'n';
    case '\v':
        return 'v';
    case '\f':
        return 'f';
    case '\r':
        return 'r';
    case '"':
    case '\'':
    case '\\':
        return character;
    default:
        return '\0';
    }
}

QByteArray Escaped(const QByteArray &text)
{
    QByteArray escaped;
    escaped.reserve(text.size() + 16);
    for (const char character : text)
    {
        const char letter = LetterFor(character);
        if (letter != '\0')
            escaped += '\\';
        escaped += letter != '\0' ? letter : character;
    }
    return escaped;
}

QByteArray WithoutSlashes(QByteArray piece)
{
    while (piece.endsWith('/'))
        piece.chop(1);
    while (piece.startsWith('/'))
        piece.remove(0, 1);
    return piece;
}

QByteArray Hexadecimal(uint number, int width)
{
    return QByteArray::number(number, 16).rightJustified(width, '0');
}

class CReport
{
public:
    void Add(const QByteArray &line)
    {
        SOrder order;
        if (!ParseOrder(line, order))
        {
            ++m_Refused;
            return;
        }
        ++m_Orders;
        m_Total += order.m_Count * order.m_Price;
        _AppendObject(order);
        m_Text += "audit " + Hexadecimal(order.m_Number, 8).toUpper() + ": \"" + Escaped(line) + "\"\n";
    }

    QByteArray Head() const
    {
        return QByteArray::number(m_Orders) + " orders, " + QByteArray::number(m_Refused) + " lines left out, " +
               QByteArray::number(m_Total, 'f', 2) + " in all, " + QByteArray::number(m_Text.size()) + " characters\n";
    }
    const QByteArray &Text() const { return m_Text; }

private:
    void _AppendObject(const SOrder &order)
    {
        QList<QByteArray> words = order.m_Words.split(',');
        words.removeAll(QByteArray(""));
        m_Text += "{\"order\": \"" + QByteArray::number(order.m_Number).rightJustified(6, '0') + '-' +
                  Hexadecimal(order.m_Number % 251, 2) + "\", \"count\": " + QByteArray::number(order.m_Count) +
                  ", \"price\": " + QByteArray::number(order.m_Price, 'f', 2) +
                  ", \"sum\": " + QByteArray::number(order.m_Count * order.m_Price, 'f', 2) + ", \"path\": \"" +
                  WithoutSlashes(order.m_Shop) + '/' + WithoutSlashes(order.m_Folder) + '/' +
                  WithoutSlashes(order.m_Name) + "\", \"words\": [\"" + words.join("\", \"") + "\"], \"remark\": \"" +
                  Escaped(order.m_Remark) + "\"}\n";
    }

    uint m_Orders = 0;
    uint m_Refused = 0;
    double m_Total = 0;
    QByteArray m_Text;
};

// ---- The program ----------------------------------------------------------------------------------------------------

// Adds each line of a file, or of standard input.
bool ReadLines(const QByteArray &name, CReport &report)
{
    QFile file(QFile::decodeName(name));
    if (name == "-" ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly))
        return false;
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine())
    {
        if (line.endsWith('\n'))
            line.chop(line.endsWith("\r\n") ? 2 : 1);
        report.Add(line);
    }
    return file.error() == QFileDevice::NoError;
}

bool Write(const QByteArray &text)
{
    const auto size = static_cast<std::size_t>(text.size());
    return std::fwrite(text.constData(), 1, size, stdout) == size;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::fputs("usage: report <file, or - for standard input>\n", stderr);
        return 2;
    }
    CReport report;
    if (!ReadLines(argv[1], report))
    {
        std::fprintf(stderr, "report: \"%s\" cannot be read\n", argv[1]);
        return 2;
    }
    return Write(report.Head()) && Write(report.Text()) && std::fflush(stdout) == 0 ? 0 : 1;
}
