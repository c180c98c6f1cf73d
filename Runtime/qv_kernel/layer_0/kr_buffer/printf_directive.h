// Private header: what a directive of a printf-like format says, as far as we format it ourselves.
//
// What the standard leaves undefined, what depends on more than the arguments, and what a platform may have added to the
// standard, is unknown here: the platform knows what it does with it.
#pragma once

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

enum EDirective : u8
{
    Directive_Unknown,
    Directive_Percent, // a percent sign stands for itself
    Directive_Text,
    Directive_Character,
    Directive_Signed,
    Directive_Unsigned,
    Directive_Pointer,
    Directive_Floating,
};

enum EPrintfFlag : u8
{
    PrintfFlag_Left = 1,
    PrintfFlag_Plus = 2,
    PrintfFlag_Blank = 4,
    PrintfFlag_Alternate = 8,
    PrintfFlag_Zero = 16,
};

enum EIntegerSize : u8
{
    IntegerSize_Int,
    IntegerSize_Char,
    IntegerSize_Short,
    IntegerSize_Long,
    IntegerSize_LongLong,
    IntegerSize_Size,
    IntegerSize_Max,
    IntegerSize_Difference,
};

struct SDirective
{
    bool Has(EPrintfFlag flag) const { return (m_Flags & flag) != 0; }

    const char *m_End = nullptr;
    u32 m_Width = 0;
    s32 m_Precision = -1; // negative where there is none
    EDirective m_Kind = Directive_Unknown;
    EIntegerSize m_Size = IntegerSize_Int;
    u8 m_Flags = 0;
    char m_Letter = '\0';
    bool m_TakesWidth = false; // from the arguments, as the next
    bool m_TakesPrecision = false;
};

// What stands for a directive of a letter, and the flags that mean something there.
struct SLetter
{
    EDirective m_Kind;
    u8 m_Flags;
    bool m_HasPrecision;
};

inline SLetter LetterOf(char letter)
{
    constexpr u8 kPadding = PrintfFlag_Left | PrintfFlag_Zero;
    constexpr u8 kSigned = kPadding | PrintfFlag_Plus | PrintfFlag_Blank;
    switch (letter)
    {
    case 's':
        return {Directive_Text, PrintfFlag_Left, true};
    case 'c':
        return {Directive_Character, PrintfFlag_Left, false};
    case 'd':
    case 'i':
        return {Directive_Signed, kSigned, true};
    case 'u':
        return {Directive_Unsigned, kPadding, true};
    case 'x':
    case 'X':
    case 'o':
        return {Directive_Unsigned, kPadding | PrintfFlag_Alternate, true};
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
        return {Directive_Floating, kSigned, true};
#if defined(__GLIBC__)
    // Each platform has its own form of addresses.
    case 'p':
        return {Directive_Pointer, PrintfFlag_Left, false};
#endif
    default:
        return {Directive_Unknown, 0, false};
    }
}

inline u8 FlagOf(char character)
{
    switch (character)
    {
    case '-':
        return PrintfFlag_Left;
    case '+':
        return PrintfFlag_Plus;
    case ' ':
        return PrintfFlag_Blank;
    case '#':
        return PrintfFlag_Alternate;
    case '0':
        return PrintfFlag_Zero;
    default:
        return 0;
    }
}

// Stops in a number that is too large: its next digit is no letter of a directive, which makes that one unknown.
inline u32 TakePrintfNumber(const char *&next)
{
    constexpr u32 kMaxNumber = 0x3FFFFFFF;
    u32 number = 0;
    for (; *next >= '0' && *next <= '9' && number < kMaxNumber / 10; ++next)
        number = number * 10 + static_cast<u32>(*next - '0');
    return number;
}

inline EIntegerSize TakePrintfSize(const char *&next)
{
    switch (*next)
    {
    case 'h':
        return *++next != 'h' ? IntegerSize_Short : (++next, IntegerSize_Char);
    case 'l':
        return *++next != 'l' ? IntegerSize_Long : (++next, IntegerSize_LongLong);
    case 'z':
        return ++next, IntegerSize_Size;
    case 'j':
        return ++next, IntegerSize_Max;
    case 't':
        return ++next, IntegerSize_Difference;
    default:
        return IntegerSize_Int;
    }
}

inline void TakeWidthAndPrecision(SDirective &directive, const char *&next)
{
    directive.m_TakesWidth = *next == '*';
    if (directive.m_TakesWidth)
        ++next;
    else
        directive.m_Width = TakePrintfNumber(next);
    if (*next != '.')
        return;
    directive.m_TakesPrecision = *++next == '*';
    if (directive.m_TakesPrecision)
        ++next;
    else
        directive.m_Precision = static_cast<s32>(TakePrintfNumber(next));
}

// Whether a letter may have what stands before it.
inline bool IsKnown(const SLetter &letter, const SDirective &directive)
{
    if ((directive.m_Flags & ~letter.m_Flags) != 0)
        return false;
    if (!letter.m_HasPrecision && (directive.m_TakesPrecision || directive.m_Precision >= 0))
        return false;
    switch (letter.m_Kind)
    {
    case Directive_Signed:
    case Directive_Unsigned:
        return true;
    case Directive_Floating:
        return directive.m_Size == IntegerSize_Int || directive.m_Size == IntegerSize_Long;
    default:
        return directive.m_Size == IntegerSize_Int;
    }
}

// The directive whose percent sign stands before `next`. Reads no further than a terminator.
inline SDirective DirectiveAt(const char *next)
{
    SDirective directive;
    if (*next == '%')
    {
        directive.m_Kind = Directive_Percent;
        directive.m_End = next + 1;
        return directive;
    }
    for (u8 flag; (flag = FlagOf(*next)) != 0; ++next)
        directive.m_Flags |= flag;
    TakeWidthAndPrecision(directive, next);
    directive.m_Size = TakePrintfSize(next);
    const SLetter letter = LetterOf(*next);
    directive.m_Letter = *next;
    directive.m_Kind = IsKnown(letter, directive) ? letter.m_Kind : Directive_Unknown;
    directive.m_End = next + 1;
    return directive;
}

} // namespace Quorvane::Internal::Buffer
