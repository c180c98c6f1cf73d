// Floating-point numbers in the manner of printf. Every way is exact: what is rounded is the number itself, to nearest, and
// to the even digit where it lies in the middle.
//
// Most numbers that programs print have few places and are not large. With 128 bits such a number is multiplied by the
// power of ten, exactly, and the product is rounded; all others are left to std::to_chars.
#include "printf_floating.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "buffer_numbers_port.h"
#include "printf_integer.h"

namespace Quorvane::Internal::Buffer
{

namespace
{

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53,
              "a number has 53 bits, of which the first is not stored");

constexpr u32 kStoredBits = 52;
constexpr u32 kMaxExponent = 0x7FF; // infinities, and what is no number
constexpr s32 kPrecisionByDefault = 6;

u64 BitsOf(double value)
{
    u64 bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

bool IsNegative(double value)
{
    return BitsOf(value) >> 63 != 0;
}

u32 StoredExponentOf(double value)
{
    return static_cast<u32>(BitsOf(value) >> kStoredBits) & kMaxExponent;
}

#if defined(__SIZEOF_INT128__)

__extension__ using CWide = unsigned __int128;

// More digits do not fit into 64 bits.
constexpr s32 kMaxPlaces = 19;

struct SPowersOfTen
{
    u64 m_Powers[kMaxPlaces + 1];
};

constexpr SPowersOfTen MakePowersOfTen()
{
    SPowersOfTen powers = {};
    u64 power = 1;
    for (u64 &entry : powers.m_Powers)
    {
        entry = power;
        power *= 10;
    }
    return powers;
}

constexpr SPowersOfTen kPowersOfTen = MakePowersOfTen();

// A number rounded to some places behind the point.
struct SRounded
{
    u64 m_Whole;
    u64 m_Places; // what stands behind the point, as a whole number
};

// Of `fraction / 2 ^ shift`, which is less than 1, added to `whole`. Requires: 53 bits, a shift of at most 117.
SRounded RoundToPlaces(u64 whole, u64 fraction, u32 shift, u32 places)
{
    const u64 power = kPowersOfTen.m_Powers[places];
    const CWide product = static_cast<CWide>(fraction) * power;
    const CWide one = static_cast<CWide>(1) << shift;
    const CWide twiceRest = (product & (one - 1)) * 2;
    u64 behind = static_cast<u64>(product >> shift);
    const bool isOdd = ((places == 0 ? whole : behind) & 1) != 0;
    if (twiceRest > one || (twiceRest == one && isOdd))
        ++behind;
    return behind == power ? SRounded{whole + 1, 0} : SRounded{whole, behind};
}

// Of 2^63 is no more place.
constexpr u32 kMaxRoundedExponent = 1075 + 10;

// Requires: less than 2^63.
SRounded RoundMagnitude(double value, u32 places)
{
    // The numbers of the least exponent lack the bit that is not stored: with it, too, they are rounded to 0.
    constexpr u64 kHiddenBit = u64(1) << kStoredBits;
    const u64 bits = (BitsOf(value) & (kHiddenBit - 1)) | kHiddenBit;
    const s32 exponent = static_cast<s32>(StoredExponentOf(value)) - 1075;
    if (exponent >= 0)
        return {bits << exponent, 0};
    const u32 shift = static_cast<u32>(-exponent);
    // 53 bits by less than 64 of the power: the product is less than a half.
    if (shift >= 118)
        return {0, 0};
    if (shift > kStoredBits)
        return RoundToPlaces(0, bits, shift, places);
    return RoundToPlaces(bits >> shift, bits & ((u64(1) << shift) - 1), shift, places);
}

// Of numbers without an exponent.
bool IsRoundedHere(const SDirective &directive, double value, s32 precision)
{
    return (directive.m_Letter == 'f' || directive.m_Letter == 'F') && precision <= kMaxPlaces &&
           StoredExponentOf(value) <= kMaxRoundedExponent;
}

QV_INTERNAL_NOINLINE bool PutRounded(CPrintfOutput &output, const SDirective &directive, double value, u32 places)
{
    const SRounded rounded = RoundMagnitude(value, places);
    // A sign, the digits in front of the point, the point, and those behind it.
    char text[1 + 19 + 1 + kMaxPlaces];
    char *const end = text + sizeof(text);
    char *first = end;
    if (places != 0)
    {
        first = WriteDecimalBefore(end, rounded.m_Places);
        while (first != end - places)
            *--first = '0';
        *--first = '.';
    }
    first = WriteDecimalBefore(first, rounded.m_Whole);
    PutSigned(output, directive, SignOf(directive, IsNegative(value)), first, end);
    return true;
}

#else

bool IsRoundedHere(const SDirective &, double, s32)
{
    return false;
}

bool PutRounded(CPrintfOutput &, const SDirective &, double, u32)
{
    return false;
}

#endif

#if defined(__cpp_lib_to_chars)

// Longer texts, of large numbers without an exponent and of many places, are written where they belong.
constexpr u32 kShortText = 47;
// More digits than a number has.
constexpr s32 kMaxPrecision = 1100;

std::chars_format FormatOf(char letter)
{
    switch (letter)
    {
    case 'f':
    case 'F':
        return std::chars_format::fixed;
    case 'e':
    case 'E':
        return std::chars_format::scientific;
    default:
        return std::chars_format::general;
    }
}

// Returns: the end of the text; null when it does not fit.
char *WriteByLibrary(char *first, char *last, const SDirective &directive, double value, s32 precision)
{
    const double magnitude = IsNegative(value) ? -value : value;
    const std::to_chars_result written = std::to_chars(first, last, magnitude, FormatOf(directive.m_Letter), precision);
    if (written.ec != std::errc())
        return nullptr;
    MarkInitialised(first, static_cast<std::size_t>(written.ptr - first));
    if (directive.m_Letter == 'E' || directive.m_Letter == 'G')
        for (char *next = first; next != written.ptr; ++next)
            *next = *next == 'e' ? 'E' : *next;
    return written.ptr;
}

// Writes a number that needs no width into the output itself.
bool PutInPlace(CPrintfOutput &output, const SDirective &directive, double value, s32 precision)
{
    const char sign = SignOf(directive, IsNegative(value));
    if (sign != '\0')
        output.Put(sign);
    char *const end = WriteByLibrary(output.Next(), output.Last(), directive, value, precision);
    if (end == nullptr || directive.m_Width > static_cast<u64>(end - output.Next()))
        return false;
    output.Skip(end);
    return true;
}

QV_INTERNAL_NOINLINE bool PutByLibrary(CPrintfOutput &output, const SDirective &directive, double value, s32 precision)
{
    if (precision > kMaxPrecision)
        return false;
    char text[1 + kShortText];
    const char *const end = WriteByLibrary(text + 1, text + sizeof(text), directive, value, precision);
    if (end == nullptr)
        return PutInPlace(output, directive, value, precision);
    PutSigned(output, directive, SignOf(directive, IsNegative(value)), text + 1, end);
    return true;
}

#else

bool PutByLibrary(CPrintfOutput &, const SDirective &, double, s32)
{
    return false;
}

#endif

} // namespace

bool PutFloating(CPrintfOutput &output, const SDirective &directive, double value)
{
    if (StoredExponentOf(value) == kMaxExponent)
        return false;
    const s32 precision = directive.m_Precision >= 0 ? directive.m_Precision : kPrecisionByDefault;
    if (IsRoundedHere(directive, value, precision))
        return PutRounded(output, directive, value, static_cast<u32>(precision));
    return PutByLibrary(output, directive, value, precision);
}

} // namespace Quorvane::Internal::Buffer
