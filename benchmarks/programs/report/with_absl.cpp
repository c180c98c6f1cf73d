// The program report written with Abseil's strings: the same arguments and the same output.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "absl/strings/escaping.h"
#include "absl/strings/numbers.h"
#include "absl/strings/str_cat.h"
#include "absl/strings/str_format.h"
#include "absl/strings/str_join.h"
#include "absl/strings/str_split.h"
#include "absl/strings/string_view.h"
#include "absl/strings/strip.h"

namespace
{

using u32 = std::uint32_t;

constexpr u32 kFields = 8;

struct SOrder
{
    u32 m_Number;
    absl::string_view m_Shop;
    absl::string_view m_Folder;
    absl::string_view m_Name;
    u32 m_Count;
    double m_Price;
    absl::string_view m_Words;
    absl::string_view m_Remark;
};

bool ParseOrder(absl::string_view line, SOrder &order)
{
    std::array<absl::string_view, kFields> fields;
    std::size_t count = 0;
    for (const absl::string_view field : absl::StrSplit(line, absl::MaxSplits('\t', kFields - 1)))
        fields[count++] = field;
    order.m_Shop = fields[1];
    order.m_Folder = fields[2];
    order.m_Name = fields[3];
    order.m_Words = fields[6];
    order.m_Remark = fields[7];
    return count == kFields && absl::SimpleAtoi(fields[0], &order.m_Number) &&
           absl::SimpleAtoi(fields[4], &order.m_Count) && absl::SimpleAtod(fields[5], &order.m_Price);
}

// The piece without slashes at its end, and without those at its beginning.
absl::string_view WithoutSlashes(absl::string_view piece)
{
    while (absl::ConsumePrefix(&piece, "/") || absl::ConsumeSuffix(&piece, "/"))
    {
    }
    return piece;
}

class CReport
{
public:
    void Add(absl::string_view line)
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
        absl::StrAppendFormat(&m_Text, "audit %08X: \"", order.m_Number);
        absl::StrAppend(&m_Text, absl::CEscape(line), "\"\n");
    }

    std::string Head() const
    {
        return absl::StrFormat("%d orders, %d lines left out, %.2f in all, %d characters\n", m_Orders, m_Refused,
                               m_Total, m_Text.size());
    }
    const std::string &Text() const { return m_Text; }

private:
    void _AppendObject(const SOrder &order)
    {
        absl::StrAppendFormat(&m_Text, "{\"order\": \"%06d-%02x\", \"count\": %d, \"price\": %.2f, \"sum\": %.2f, ",
                              order.m_Number, order.m_Number % 251, order.m_Count, order.m_Price,
                              order.m_Count * order.m_Price);
        m_Words = absl::StrSplit(order.m_Words, ',', absl::SkipEmpty());
        absl::StrAppend(&m_Text, "\"path\": \"", WithoutSlashes(order.m_Shop), "/", WithoutSlashes(order.m_Folder), "/",
                        WithoutSlashes(order.m_Name));
        absl::StrAppend(&m_Text, "\", \"words\": [\"", absl::StrJoin(m_Words, "\", \""), "\"], \"remark\": \"",
                        absl::CEscape(order.m_Remark), "\"}\n");
    }

    u32 m_Orders = 0;
    u32 m_Refused = 0;
    double m_Total = 0;
    std::string m_Text;
    std::vector<absl::string_view> m_Words; // of the order at hand
};

// ---- The program ----------------------------------------------------------------------------------------------------

template <typename Use>
void ForEachLine(absl::string_view text, Use use)
{
    while (!text.empty())
    {
        const std::size_t end = text.find('\n');
        absl::string_view line = text.substr(0, end);
        text.remove_prefix(end != text.npos ? end + 1 : text.size());
        if (end != text.npos)
            absl::ConsumeSuffix(&line, "\r");
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
        const absl::string_view text(buffer.data(), kept + count);
        const std::size_t complete = text.rfind('\n') + 1;
        ForEachLine(text.substr(0, complete), use);
        kept = text.size() - complete;
        std::memmove(buffer.data(), buffer.data() + complete, kept);
        if (kept == buffer.size())
            buffer.resize(2 * kept);
    }
    ForEachLine(absl::string_view(buffer.data(), kept), use);
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
    if (!ReadLines(argv[1], [&](absl::string_view line) { report.Add(line); }))
    {
        std::fprintf(stderr, "report: \"%s\" cannot be read\n", argv[1]);
        return 2;
    }
    return Write(report.Head()) && Write(report.Text()) && std::fflush(stdout) == 0 ? 0 : 1;
}
