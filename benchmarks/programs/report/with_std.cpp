// The program report written with the standard library's strings: the same arguments and the same output.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace
{

using u32 = std::uint32_t;

constexpr u32 kFields = 8;

struct SOrder
{
    u32 m_Number;
    std::string_view m_Shop;
    std::string_view m_Folder;
    std::string_view m_Name;
    u32 m_Count;
    double m_Price;
    std::string_view m_Words;
    std::string_view m_Remark;
};

template <typename Number, typename... Format>
bool ParseNumber(std::string_view text, Number &number, Format... format)
{
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, format...);
    return error == std::errc() && stop == end;
}

bool ParseOrder(std::string_view line, SOrder &order)
{
    std::string_view fields[kFields];
    for (u32 i = 0; i + 1 < kFields; ++i)
    {
        const std::size_t tab = line.find('\t');
        if (tab == line.npos)
            return false;
        fields[i] = line.substr(0, tab);
        line.remove_prefix(tab + 1);
    }
    order.m_Shop = fields[1];
    order.m_Folder = fields[2];
    order.m_Name = fields[3];
    order.m_Words = fields[6];
    order.m_Remark = line;
    return ParseNumber(fields[0], order.m_Number) && ParseNumber(fields[4], order.m_Count) &&
           ParseNumber(fields[5], order.m_Price, std::chars_format::fixed);
}

// The letters that stand for characters behind a backslash; NUL for those that stand for themselves.
constexpr std::array<char, 256> Letters()
{
    std::array<char, 256> letters = {};
    constexpr std::string_view kEscaped = "\a\b\t\n\v\f\r\"'\\";
    constexpr std::string_view kLetters = "abtnvfr\"'\\";
    for (std::size_t i = 0; i < kEscaped.size(); ++i)
        letters[static_cast<unsigned char>(kEscaped[i])] = kLetters[i];
    return letters;
}

void AppendEscaped(std::string &out, std::string_view text)
{
    static constexpr std::array<char, 256> kTable = Letters();
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const char letter = kTable[static_cast<unsigned char>(text[i])];
        if (letter == '\0')
            continue;
        out.append(text.substr(begin, i - begin)).append({'\\', letter});
        begin = i + 1;
    }
    out.append(text.substr(begin));
}

// Adds a piece to the path that begins at `begin`, with one slash between the two.
void JoinTo(std::string &out, std::size_t begin, std::string_view piece)
{
    while (out.size() > begin && out.back() == '/')
        out.pop_back();
    piece.remove_prefix(std::min(piece.find_first_not_of('/'), piece.size()));
    if (out.size() > begin && !piece.empty())
        out += '/';
    out += piece;
}

class CReport
{
public:
    void Add(std::string_view line)
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
        char audit[32];
        m_Text.append(audit,
                      static_cast<std::size_t>(std::snprintf(audit, sizeof(audit), "audit %08X: \"", order.m_Number)));
        AppendEscaped(m_Text, line);
        m_Text += "\"\n";
    }

    std::string Head() const
    {
        char head[256];
        std::snprintf(head, sizeof(head), "%u orders, %u lines left out, %.2f in all, %zu characters\n", m_Orders,
                      m_Refused, m_Total, m_Text.size());
        return head;
    }
    const std::string &Text() const { return m_Text; }

private:
    void _AppendObject(const SOrder &order)
    {
        char numbers[512];
        const int length = std::snprintf(numbers, sizeof(numbers),
                                         "{\"order\": \"%06u-%02x\", \"count\": %d, \"price\": %.2f, \"sum\": %.2f, ",
                                         order.m_Number, order.m_Number % 251, static_cast<int>(order.m_Count),
                                         order.m_Price, order.m_Count * order.m_Price);
        m_Text.append(numbers, static_cast<std::size_t>(length));
        m_Text += "\"path\": \"";
        const std::size_t begin = m_Text.size();
        m_Text += order.m_Shop;
        JoinTo(m_Text, begin, order.m_Folder);
        JoinTo(m_Text, begin, order.m_Name);
        m_Text += "\", \"words\": [\"";
        _AppendWords(order.m_Words);
        m_Text += "\"], \"remark\": \"";
        AppendEscaped(m_Text, order.m_Remark);
        m_Text += "\"}\n";
    }

    void _AppendWords(std::string_view words)
    {
        bool isFirst = true;
        while (!words.empty())
        {
            const std::size_t comma = words.find(',');
            const std::string_view word = words.substr(0, comma);
            words.remove_prefix(comma != words.npos ? comma + 1 : words.size());
            if (word.empty())
                continue;
            if (!isFirst)
                m_Text += "\", \"";
            m_Text += word;
            isFirst = false;
        }
    }

    u32 m_Orders = 0;
    u32 m_Refused = 0;
    double m_Total = 0;
    std::string m_Text;
};

// ---- The program ----------------------------------------------------------------------------------------------------

template <typename Use>
void ForEachLine(std::string_view text, Use use)
{
    while (!text.empty())
    {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end != text.npos ? end + 1 : text.size());
        if (end != text.npos && !line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        use(line);
    }
}

// Calls `use` with each line of a file, or of standard input; what is read is a buffer at a time.
template <typename Use>
bool ReadLines(const std::string &name, Use use)
{
    std::FILE *const file = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
    if (file == nullptr)
        return false;
    std::vector<char> buffer(1 << 16);
    std::size_t kept = 0; // the beginning of a line whose end is not read yet
    while (const std::size_t count = std::fread(buffer.data() + kept, 1, buffer.size() - kept, file))
    {
        const std::string_view text(buffer.data(), kept + count);
        const std::size_t complete = text.rfind('\n') + 1;
        ForEachLine(text.substr(0, complete), use);
        kept = text.size() - complete;
        std::memmove(buffer.data(), buffer.data() + complete, kept);
        if (kept == buffer.size())
            buffer.resize(2 * kept);
    }
    ForEachLine(std::string_view(buffer.data(), kept), use);
    const bool complete = std::ferror(file) == 0;
    if (file != stdin)
        std::fclose(file);
    return complete;
}

bool Write(const std::string &text)
{
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
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
    if (!ReadLines(argv[1], [&](std::string_view line) { report.Add(line); }))
    {
        std::fprintf(stderr, "report: \"%s\" cannot be read\n", argv[1]);
        return 2;
    }
    return Write(report.Head()) && Write(report.Text()) && std::fflush(stdout) == 0 ? 0 : 1;
}
