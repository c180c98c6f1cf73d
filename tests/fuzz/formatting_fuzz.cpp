// Formatting of texts of any length with a choice of formats, against the standard library's; numbers read and written,
// against naive models and the platform's printf.
#include <cmath>
#include <cstdarg>

#include "fuzz_support.h"
#include "number_model.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

// Format cuts longer results.
constexpr std::size_t kMaxFormatted = 3198;

// More than a text takes, of up to 24 times 693 characters, and what stands around it; and than a number does.
constexpr std::size_t kMaxPrinted = 32768;

// All take the same arguments: a width, a precision, a text, a number.
constexpr const char *kFormats[] = {"%*.*s|%d", "%-*.*s%x", "%*.*s%+08d%%", "[%*.*s](%c)", "\xE4%*.*s\\%u\n%%"};

std::string VAExpected(const char *format, va_list args)
{
    static char s_Text[kMaxPrinted];
    const int length = std::vsnprintf(s_Text, sizeof(s_Text), format, args);
    QV_FUZZ_CHECK(length >= 0 && length < static_cast<int>(sizeof(s_Text)));
    return std::string(s_Text, static_cast<std::size_t>(length));
}

std::string Expected(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = VAExpected(format, args);
    va_end(args);
    return text;
}

// A caller's buffer of `room` bytes, the last of them for the terminator.
void CheckNative(u32 room, const std::string &expected, CWatch &watch, const char *format, va_list args)
{
    CExactText buffer(std::string(room, '\x55'), false);
    u32 length = 77;
    watch.BeginStep();
    char *formatted = SNativeStringUtils::VAFormat(buffer.Data(), buffer.Data() + room - 1, length, format, args);
    if (formatted == nullptr)
    {
        QV_FUZZ_CHECK(watch.HasRefused() && length == 0);
        return;
    }
    QV_FUZZ_CHECK(std::string(formatted, length) == expected && formatted[length] == '\0');
    QV_FUZZ_CHECK((formatted == buffer.Data()) == (expected.size() < room));
    if (formatted != buffer.Data())
        Mem::Free(formatted, Mem::AllocType_Generic);
}

void CheckFormat(u32 room, CWatch &watch, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string expected = VAExpected(format, args);
    va_end(args);

    va_start(args, format);
    watch.BeginStep();
    const CString string = CString::VAFormat(format, args);
    va_end(args);
    QV_FUZZ_CHECK(IsWellFormed(string));
    QV_FUZZ_CHECK(TextOf(string) == (watch.HasRefused() ? std::string() : expected));
    QV_FUZZ_CHECK(!watch.HasReported());

    va_start(args, format);
    CheckNative(room, expected, watch, format, args);
    va_end(args);
}

void CheckCut(CWatch &watch, const std::string &text, int number)
{
    const std::string expected = (text + '|' + std::to_string(number)).substr(0, kMaxFormatted);
    watch.BeginStep();
    const CString string = CString::Format("%s|%d", text.c_str(), number);
    QV_FUZZ_CHECK(IsWellFormed(string));
    QV_FUZZ_CHECK(TextOf(string) == (watch.HasRefused() ? std::string() : expected));
}

template <typename Integer>
void CheckParsed(const CExactText &text, u32 base)
{
    const SModelNumber expected = ModelParse<Integer>(text.Text(), base);
    Integer value = 77;
    const SParsedNumber answer = ParseNumber(text.View(), value, base);
    QV_FUZZ_CHECK(answer.m_Outcome == expected.m_Outcome && answer.m_Position == expected.m_Position);
    QV_FUZZ_CHECK(value == (answer ? ModelValue<Integer>(expected) : Integer(77)));
}

// What the standard library's general format takes for a number is one to strtod, too, which takes more.
void CheckParsedFloating(const CExactText &text)
{
    double value = 77;
    const SParsedNumber answer = ParseNumber(text.View(), value);
    QV_FUZZ_CHECK(answer.m_Position <= text.Length());
    if (!answer)
    {
        QV_FUZZ_CHECK(value == 77);
        return;
    }
    char *end = nullptr;
    const std::string terminated = text.Text();
    const double expected = std::strtod(terminated.c_str(), &end);
    QV_FUZZ_CHECK(end == terminated.c_str() + terminated.size());
    QV_FUZZ_CHECK(std::isnan(expected) ? std::isnan(value) : value == expected);
}

// Appends to a string of either form, or to none.
template <typename Append>
void CheckAppended(CInput &input, CWatch &watch, const std::string &expected, const Append &append)
{
    const std::string front = input.PlainText();
    CString string = NewString(front, input.Byte());
    if (front.empty() || TextOf(string) != front)
        string = CString();
    const std::string before = TextOf(string);
    watch.BeginStep();
    append(string);
    QV_FUZZ_CHECK(IsWellFormed(string) && !watch.HasReported());
    // Where memory is refused once, a new container may do instead.
    QV_FUZZ_CHECK(TextOf(string) == before + expected || (watch.HasRefused() && string.Data() == nullptr));
}

// Mostly about as long as a block or two; one in sixteen up to 6,000, of which the platform makes one place at a time.
u32 AnyCount(CInput &input)
{
    const u8 byte = input.Byte();
    return byte < 240 ? byte % 80 : input.Below(6000);
}

u64 AnyBits(CInput &input)
{
    u64 bits = 0;
    for (u32 i = 0; i < 8; ++i)
        bits = bits << 8 | input.Byte();
    return bits;
}

void CheckNumbers(CInput &input, CWatch &watch)
{
    const u32 base = 2 + input.Below(35);
    input.ChooseLetters("0123456789-+.einfaAzZ \x80");
    const CExactText text(input.Text(), false);
    CheckParsed<s8>(text, base);
    CheckParsed<u16>(text, base);
    CheckParsed<s64>(text, base);
    CheckParsed<u64>(text, base);
    CheckParsedFloating(text);

    const s64 number = static_cast<s64>(AnyBits(input));
    CheckAppended(input, watch, ModelNumberText(number, base),
                  [=](CString &string) { AppendNumber(string, number, base); });
    const u64 bits = AnyBits(input);
    double floating;
    std::memcpy(&floating, &bits, sizeof(floating));
    const u32 precision = AnyCount(input) / 2;
    const bool isFixed = input.Flag();
    const std::string printed = Expected(isFixed ? "%.*f" : "%.*e", static_cast<int>(precision), floating);
    const std::chars_format format = isFixed ? std::chars_format::fixed : std::chars_format::scientific;
    CheckAppended(input, watch, printed, [=](CString &string) { AppendNumber(string, floating, format, precision); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    const char *const format = kFormats[input.Below(sizeof(kFormats) / sizeof(*kFormats))];
    const int width = static_cast<int>(AnyCount(input));
    const int precision = static_cast<int>(AnyCount(input)) - 1;
    const int number = static_cast<int>(input.Below(65536)) - 256;
    const u32 room = input.Below(700) + 1;
    const u32 times = input.Below(24) + 1;
    const std::string piece = input.PlainText();
    std::string text;
    for (u32 i = 0; i < times; ++i)
        text += piece;

    const CExactText exact(text);
    CheckFormat(room, watch, format, width, precision, exact.Data(), number);
    CheckCut(watch, text, number);
    CheckNumbers(input, watch);
    return 0;
}
