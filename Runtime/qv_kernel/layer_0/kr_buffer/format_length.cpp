// The length of a formatted result: the format is read as the platform reads it, twice. First the texts are measured,
// and only where these do not fit anyhow, the numbers, which cost a call of the platform.
#include "format_length.h"

#include <cstdio>
#include <cstring>

#include "buffer_text.h"

namespace Quorvane::Internal::Buffer
{

namespace
{

// A list of arguments that can be handed on by reference, on platforms too where it is an array.
struct SArguments
{
    explicit SArguments(va_list &args) { va_copy(m_List, args); }
    ~SArguments() { va_end(m_List); }
    SArguments(const SArguments &) = delete;
    SArguments &operator=(const SArguments &) = delete;

    va_list m_List;
};

// What a conversion takes.
enum EArgument : u8
{
    Argument_Unknown, // anything that is not listed here
    Argument_Nothing, // a percent sign stands for itself
    Argument_Text,
    Argument_Int,
    Argument_Long,
    Argument_LongLong,
    Argument_Size,
    Argument_Double,
};

// One conversion of a format.
struct SConversion
{
    const char *m_Begin; // its percent sign
    const char *m_End;
    u32 m_Width;
    u32 m_Precision;
    EArgument m_Argument;
    bool m_IsPlain; // a decimal integer without flags or precision
};

constexpr u32 kNoPrecision = ~0u;

// Stops in a number that is too large: its next digit is no letter of a conversion, which makes that one unknown.
u32 TakeNumber(const char *&next)
{
    u32 number = 0;
    for (; *next >= '0' && *next <= '9' && number < kRefusedLength / 10; ++next)
        number = number * 10 + static_cast<u32>(*next - '0');
    return number;
}

EArgument TakeIntegerSize(const char *&next)
{
    if (*next == 'z')
        return ++next, Argument_Size;
    if (*next != 'l')
        return Argument_Int;
    ++next;
    if (*next != 'l')
        return Argument_Long;
    return ++next, Argument_LongLong;
}

// By the conversion's letter; `integer` is what an integer takes there. Those of texts of wide characters, and the like,
// have a size, too, and are unknown.
EArgument ArgumentOf(char letter, EArgument integer)
{
    switch (letter)
    {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        return integer;
    case 's':
        return integer == Argument_Int ? Argument_Text : Argument_Unknown;
    case 'c':
        return integer == Argument_Int ? Argument_Int : Argument_Unknown;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        return integer == Argument_Int ? Argument_Double : Argument_Unknown;
    default:
        return Argument_Unknown;
    }
}

SConversion ConversionAt(const char *percent)
{
    const char *next = percent + 1;
    if (*next == '%')
        return {percent, next + 1, 0, 0, Argument_Nothing, false};
    while (*next == '-' || *next == '+' || *next == ' ' || *next == '#' || *next == '0')
        ++next;
    // A zero alone fills the width with zeros instead of blanks, as many of them.
    const bool hasFlags = next != percent + 1 && !(next == percent + 2 && percent[1] == '0');
    const u32 width = TakeNumber(next);
    const u32 precision = *next == '.' ? TakeNumber(++next) : kNoPrecision;
    const EArgument integer = TakeIntegerSize(next);
    const bool isPlain = !hasFlags && precision == kNoPrecision && (*next == 'd' || *next == 'i');
    return {percent, next + 1, width, precision, ArgumentOf(*next, integer), isPlain};
}

// What the platform makes of a number.
template <typename Number>
u64 LengthOf(const SConversion &conversion, Number number)
{
    // None that is worth foreseeing is longer.
    char format[32];
    const std::size_t length = static_cast<std::size_t>(conversion.m_End - conversion.m_Begin);
    if (length >= sizeof(format))
        return kRefusedLength;
    std::memcpy(format, conversion.m_Begin, length);
    format[length] = '\0';
    const int made = std::snprintf(nullptr, 0, format, number);
    return made >= 0 ? static_cast<u64>(made) : kRefusedLength;
}

u64 LengthOfPlain(const SConversion &conversion, int number)
{
    const s64 wide = number;
    u32 length = wide < 0 ? 2 : 1;
    for (s64 left = wide < 0 ? -wide : wide; left >= 10; left /= 10)
        ++length;
    return QVMax(conversion.m_Width, length);
}

u64 LengthOfInt(const SConversion &conversion, int number)
{
    return conversion.m_IsPlain ? LengthOfPlain(conversion, number) : LengthOf(conversion, number);
}

u64 LengthOfNumber(const SConversion &conversion, va_list &args)
{
    switch (conversion.m_Argument)
    {
    case Argument_Int:
        return LengthOfInt(conversion, va_arg(args, int));
    case Argument_Long:
        return LengthOf(conversion, va_arg(args, long));
    case Argument_LongLong:
        return LengthOf(conversion, va_arg(args, long long));
    case Argument_Size:
        return LengthOf(conversion, va_arg(args, std::size_t));
    default:
        return LengthOf(conversion, va_arg(args, double));
    }
}

void SkipNumber(EArgument argument, va_list &args)
{
    if (argument == Argument_Int)
        static_cast<void>(va_arg(args, int));
    else if (argument == Argument_Long)
        static_cast<void>(va_arg(args, long));
    else if (argument == Argument_LongLong)
        static_cast<void>(va_arg(args, long long));
    else if (argument == Argument_Size)
        static_cast<void>(va_arg(args, std::size_t));
    else
        static_cast<void>(va_arg(args, double));
}

u64 LengthOfText(const SConversion &conversion, const char *text)
{
    if (text == nullptr)
        return kRefusedLength;
    if (conversion.m_Precision == kNoPrecision)
        return QVMax<u64>(conversion.m_Width, std::strlen(text));
    const u64 length = LengthWithin(text, conversion.m_Precision);
    return QVMax<u64>(conversion.m_Width, length);
}

// Each of the following adds up the lengths of some of a result; what cannot be foreseen makes it kRefusedLength or more.

// All but the numbers.
u64 LengthOfTexts(const char *format, va_list &args)
{
    SArguments left(args);
    u64 length = 0;
    while (*format != '\0')
    {
        // Formats are short: looking at each character is faster than a call.
        if (*format != '%')
        {
            ++format;
            ++length;
            continue;
        }
        const SConversion conversion = ConversionAt(format);
        format = conversion.m_End;
        if (conversion.m_Argument == Argument_Unknown)
            return kRefusedLength;
        if (conversion.m_Argument == Argument_Text)
            length += LengthOfText(conversion, va_arg(left.m_List, const char *));
        else if (conversion.m_Argument == Argument_Nothing)
            ++length;
        else
            SkipNumber(conversion.m_Argument, left.m_List);
    }
    return length;
}

// The numbers of a format without anything unknown.
u64 LengthOfNumbers(const char *format, va_list &args)
{
    SArguments left(args);
    u64 length = 0;
    while ((format = __builtin_strchr(format, '%')) != nullptr)
    {
        const SConversion conversion = ConversionAt(format);
        format = conversion.m_End;
        if (conversion.m_Argument == Argument_Text)
            static_cast<void>(va_arg(left.m_List, const char *));
        else if (conversion.m_Argument != Argument_Nothing)
            length += LengthOfNumber(conversion, left.m_List);
    }
    return length;
}

} // namespace

u32 ForeseenLength(std::size_t room, const char *format, va_list &args)
{
    const u64 ofTexts = LengthOfTexts(format, args);
    if (ofTexts <= room || ofTexts >= kRefusedLength)
        return 0;
    const u64 length = ofTexts + LengthOfNumbers(format, args);
    return length < kRefusedLength ? static_cast<u32>(length) : 0;
}

} // namespace Quorvane::Internal::Buffer
