// Formatting of texts of any length with a choice of formats, against the standard library's.
#include <cstdarg>
#include <vector>

#include "fuzz_support.h"

namespace
{

using namespace QuorvaneFuzz;

// Format cuts longer results.
constexpr std::size_t kMaxFormatted = 3198;

// All take the same arguments: a width, a precision, a text, a number.
constexpr const char *kFormats[] = {"%*.*s|%d", "%-*.*s%x", "%*.*s%+08d%%", "[%*.*s](%c)", "\xE4%*.*s\\%u\n%%"};

std::string Expected(const char *format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    QV_FUZZ_CHECK(length >= 0);
    std::vector<char> text(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, args);
    return std::string(text.data(), text.size() - 1);
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
    const std::string expected = Expected(format, args);
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    const char *const format = kFormats[input.Below(sizeof(kFormats) / sizeof(*kFormats))];
    const int width = static_cast<int>(input.Below(6000));
    const int precision = static_cast<int>(input.Below(6000)) - 1;
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
    return 0;
}
