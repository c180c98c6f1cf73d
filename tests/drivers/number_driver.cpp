// Numbers to text and back, without a test framework. Apart from the walk of strings, since most of the code is the
// standard library's, whose arithmetic is compiled along here and wraps where it likes (QV_SANITIZE_OWN). Returns 0 when
// all was right.
#include "driver_checks.h"
#include "kr_string.h"
#include "kr_string_numbers.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Numbers of every length, in their own room and in new containers, and back.
void WalkNumbers()
{
    CRandom random{20240304};
    for (u32 i = 0; i < 20000; ++i)
    {
        const u64 bits = static_cast<u64>(random.Next(0x10000)) << random.Next(48);
        const s64 number = i % 2 == 0 ? static_cast<s64>(bits) : -static_cast<s64>(bits);
        const u32 base = 2 + random.Next(35);
        CString text = i % 3 == 0 ? CString() : i % 3 == 1 ? CString("number") : CString::Format("%u", i) + "number";
        const u32 before = text.Length();
        AppendNumber(text, number, base);
        s64 again = 0;
        QV_TEST_CHECK(ParseNumber(CStringView(text).Slice(before), again, base) && again == number);
        u8 byte = 0;
        QV_TEST_CHECK(static_cast<bool>(ParseNumber(CStringView(text).Slice(before), byte, base)) ==
                      (number >= 0 && number < 256));
#if QV_HAS_FLOATING_NUMBERS
        const double floating = static_cast<double>(number) / 1000;
        CString floatingText;
        double floatingAgain = 1;
        QV_TEST_CHECK(ParseNumber(AppendNumber(floatingText, floating), floatingAgain) && floatingAgain == floating);
        AppendNumber(floatingText, floating, std::chars_format::fixed, random.Next(2000));
#endif
    }
}

} // namespace

int main()
{
    const Assert::FHandler handler = Assert::SetHandler(&RecordReport);
    WalkNumbers();
    QV_TEST_CHECK(TakeReports() == 0);
    Assert::SetHandler(handler);
    return ExitCode();
}
