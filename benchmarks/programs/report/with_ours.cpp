// report: makes a report of orders, one per line, whose fields stand between tabs.
//
//     report orders.tsv > orders.report
//
// The fields are the number, the shop, the folder and the name of what was ordered, how many, the price of one, words for
// it between commas, and a remark. For each order there are two lines: the order as an object of JSON, and the line that
// it came from, quoted. Lines with fewer fields, or with numbers that are none, are counted and left out. In front stands
// how many orders, and how many characters of them, there are.
//
// Exit codes: 0 done, 1 the output could not be written, 2 wrong arguments, or a file that cannot be read.
#include <cstdio>
#include <cstring>
#include <vector>

#include "kr_string.h"
#include "kr_string_numbers.h"

using namespace Quorvane;

namespace
{

constexpr u32 kFields = 8;

struct SOrder
{
    u32 m_Number;
    CStringView m_Shop;
    CStringView m_Folder;
    CStringView m_Name;
    u32 m_Count;
    double m_Price;
    CStringView m_Words;
    CStringView m_Remark;
};

bool ParseOrder(const CStringView &line, SOrder &order)
{
    CStringView fields[kFields];
    u32 count = 0;
    for (const CStringView field : Pieces(line, '\t').WithEmpty().AtMost(kFields))
        fields[count++] = field;
    order.m_Shop = fields[1];
    order.m_Folder = fields[2];
    order.m_Name = fields[3];
    order.m_Words = fields[6];
    order.m_Remark = fields[7];
    return count == kFields && ParseNumber(fields[0], order.m_Number) && ParseNumber(fields[4], order.m_Count) &&
           ParseNumber(fields[5], order.m_Price, std::chars_format::fixed);
}

class CReport
{
public:
    void Add(const CStringView &line)
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
        m_Text.Append(CString::Format("audit %08X: \"", order.m_Number)).Append(CString(line).Escape()).Append("\"\n");
    }

    CString Head() const
    {
        return CString::Format("%u orders, %u lines left out, %.2f in all, %u characters\n", m_Orders, m_Refused,
                               m_Total, m_Text.Length());
    }
    const CString &Text() const { return m_Text; }

private:
    void _AppendObject(const SOrder &order)
    {
        m_Text.Append(CString::Format("{\"order\": \"%06u-%02x\", \"count\": %d, \"price\": %.2f, \"sum\": %.2f, ",
                                      order.m_Number, order.m_Number % 251, static_cast<int>(order.m_Count),
                                      order.m_Price, order.m_Count * order.m_Price));
        m_Words.Clear();
        for (const CStringView word : Pieces(order.m_Words, ','))
            m_Words.PushBack(word);
        m_Text += Concat("\"path\": \"", JoinPath(order.m_Shop, order.m_Folder, order.m_Name), "\", \"words\": [\"",
                         Join("\", \"", m_Words), "\"], \"remark\": \"", CString(order.m_Remark).Escape(), "\"}\n");
    }

    u32 m_Orders = 0;
    u32 m_Refused = 0;
    double m_Total = 0;
    CString m_Text;
    TArray<CStringView> m_Words; // of the order at hand
};

// ---- The program ----------------------------------------------------------------------------------------------------

// Calls `use` with each line of a file, or of standard input; what is read is a buffer at a time.
template <typename Use>
bool ReadLines(const CString &name, Use use)
{
    std::FILE *const file = name == "-" ? stdin : std::fopen(name.CStr(), "rb");
    if (file == nullptr)
        return false;
    std::vector<char> buffer(1 << 16);
    std::size_t kept = 0; // the beginning of a line whose end is not read yet
    while (const std::size_t count = std::fread(buffer.data() + kept, 1, buffer.size() - kept, file))
    {
        const CStringView text(buffer.data(), static_cast<u32>(kept + count));
        const CGuid end = text.FindLastOf('\n');
        const u32 complete = end.Valid() ? end + 1 : 0;
        for (const CStringView line : Lines(text.Slice(0, complete)))
            use(line);
        kept = text.Length() - complete;
        std::memmove(buffer.data(), buffer.data() + complete, kept);
        if (kept == buffer.size())
            buffer.resize(2 * kept);
    }
    for (const CStringView line : Lines(CStringView(buffer.data(), static_cast<u32>(kept))))
        use(line);
    const bool complete = std::ferror(file) == 0;
    if (file != stdin)
        std::fclose(file);
    return complete;
}

bool Write(const CString &text)
{
    return std::fwrite(text.CStr(), 1, text.Length(), stdout) == text.Length();
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
    if (!ReadLines(argv[1], [&](const CStringView &line) { report.Add(line); }))
    {
        std::fprintf(stderr, "report: \"%s\" cannot be read\n", argv[1]);
        return 2;
    }
    return Write(report.Head()) && Write(report.Text()) && std::fflush(stdout) == 0 ? 0 : 1;
}
