// printf-like formatting: the format is read once, and each directive written as it comes. What is not known ends that.
#include "printf_format.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "buffer_text.h"
#include "printf_floating.h"
#include "printf_integer.h"
#include "printf_port.h"

namespace Quorvane::Internal::Buffer
{

namespace
{

// What the directives of one format share.
struct SPrintf
{
    CPrintfOutput m_Output;
    va_list &m_Args;
    EFormatLocale m_Locale;
};

// Where a format's next directive begins; its end where there is none. Literal text is short: looking at each character
// is faster than a call.
const char *LiteralEnd(const char *format)
{
    constexpr u32 kShort = 32;
    for (u32 i = 0; i < kShort; ++i, ++format)
        if (*format == '%' || *format == '\0')
            return format;
    const char *const percent = __builtin_strchr(format, '%');
    return percent != nullptr ? percent : format + std::strlen(format);
}

// Takes width and precision from the arguments where a directive wants them. The least width there is has a magnitude that
// makes the result too long.
void TakeStars(SPrintf &printf, SDirective &directive)
{
    if (directive.m_TakesWidth)
    {
        const int width = va_arg(printf.m_Args, int);
        directive.m_Width = static_cast<u32>(width);
        if (width < 0)
        {
            directive.m_Width = WrappingDifference(0u, directive.m_Width);
            directive.m_Flags |= PrintfFlag_Left;
        }
    }
    if (directive.m_TakesPrecision)
        directive.m_Precision = va_arg(printf.m_Args, int);
}

// An argument as a directive means it, which may be less than what is passed: its bits, with those of its sign in front.
template <typename Kept, typename Argument>
u64 BitsOfArgument(Argument argument, bool isSigned)
{
    static_assert(sizeof(Kept) <= sizeof(u64), "the bits are those of all integers");
    const std::make_signed_t<Kept> kept = static_cast<std::make_signed_t<Kept>>(argument);
    if (isSigned)
        return static_cast<u64>(static_cast<s64>(kept));
    return static_cast<std::make_unsigned_t<Kept>>(kept);
}

u64 TakeInteger(SPrintf &printf, EIntegerSize size, bool isSigned)
{
    switch (size)
    {
    case IntegerSize_Char:
        return BitsOfArgument<signed char>(va_arg(printf.m_Args, int), isSigned);
    case IntegerSize_Short:
        return BitsOfArgument<short>(va_arg(printf.m_Args, int), isSigned);
    case IntegerSize_Long:
        return BitsOfArgument<long>(va_arg(printf.m_Args, long), isSigned);
    case IntegerSize_LongLong:
        return BitsOfArgument<long long>(va_arg(printf.m_Args, long long), isSigned);
    case IntegerSize_Size:
        return BitsOfArgument<std::size_t>(va_arg(printf.m_Args, std::size_t), isSigned);
    case IntegerSize_Max:
        return BitsOfArgument<std::intmax_t>(va_arg(printf.m_Args, std::intmax_t), isSigned);
    case IntegerSize_Difference:
        return BitsOfArgument<std::ptrdiff_t>(va_arg(printf.m_Args, std::ptrdiff_t), isSigned);
    default:
        return BitsOfArgument<int>(va_arg(printf.m_Args, int), isSigned);
    }
}

// Each of the following writes a directive of its kind, or returns false to leave the format to the platform.

bool PutIntegerArgument(SPrintf &printf, const SDirective &directive)
{
    const bool isSigned = directive.m_Kind == Directive_Signed;
    const u64 bits = TakeInteger(printf, directive.m_Size, isSigned);
    const bool isNegative = isSigned && bits >> 63 != 0;
    PutInteger(printf.m_Output, directive, isNegative ? WrappingDifference<u64>(0, bits) : bits, isNegative);
    return true;
}

bool PutTextArgument(SPrintf &printf, const SDirective &directive)
{
    const char *const text = va_arg(printf.m_Args, const char *);
    if (text == nullptr)
        return false;
    const u64 length =
        directive.m_Precision < 0 ? std::strlen(text) : LengthWithin(text, static_cast<u32>(directive.m_Precision));
    PutText(printf.m_Output, directive, text, length);
    return true;
}

bool PutCharacterArgument(SPrintf &printf, const SDirective &directive)
{
    const char character = static_cast<char>(static_cast<u8>(va_arg(printf.m_Args, int)));
    if (character == '\0')
        return false;
    PutText(printf.m_Output, directive, &character, 1);
    return true;
}

bool PutPointerArgument(SPrintf &printf, const SDirective &directive)
{
    const void *const pointer = va_arg(printf.m_Args, const void *);
    if (pointer == nullptr)
        return false;
    PutAddress(printf.m_Output, directive, reinterpret_cast<ureg>(pointer));
    return true;
}

bool PutFloatingArgument(SPrintf &printf, const SDirective &directive)
{
    const double value = va_arg(printf.m_Args, double);
    if (!RoundsToNearest() || (printf.m_Locale != FormatLocale_C && !HasDecimalPoint()))
        return false;
    return PutFloating(printf.m_Output, directive, value);
}

bool PutDirective(SPrintf &printf, SDirective &directive)
{
    TakeStars(printf, directive);
    switch (directive.m_Kind)
    {
    case Directive_Percent:
        printf.m_Output.Put('%');
        return true;
    case Directive_Text:
        return PutTextArgument(printf, directive);
    case Directive_Character:
        return PutCharacterArgument(printf, directive);
    case Directive_Signed:
    case Directive_Unsigned:
        return PutIntegerArgument(printf, directive);
    case Directive_Pointer:
        return PutPointerArgument(printf, directive);
    case Directive_Floating:
        return PutFloatingArgument(printf, directive);
    default:
        return false;
    }
}

} // namespace

int FormatAsPrintf(char *buffer, std::size_t size, const char *format, va_list &args, EFormatLocale locale)
{
    if (QV_OWN_PRINTF == 0)
        return kLeftToPlatform;
    SPrintf printf = {CPrintfOutput(buffer, size), args, locale};
    while (true)
    {
        const char *const end = LiteralEnd(format);
        printf.m_Output.Put(format, static_cast<u64>(end - format));
        if (*end == '\0')
            break;
        SDirective directive = DirectiveAt(end + 1);
        if (!PutDirective(printf, directive))
            return kLeftToPlatform;
        format = directive.m_End;
    }
    const u64 length = printf.m_Output.Finish();
    return length <= INT_MAX ? static_cast<int>(length) : kLeftToPlatform;
}

} // namespace Quorvane::Internal::Buffer
