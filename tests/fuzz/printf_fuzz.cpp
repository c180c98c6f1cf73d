// Formatting in the manner of printf, against the platform's: formats made from a grammar, with arguments that are likely
// to matter. An input holds many formats, each of which is compared; at the end of the run they are counted. None ends
// within a directive: the address sanitizer, which reads what the platform is given, reads such a one too far.
#include <cfloat>
#include <cmath>
#include <cstdarg>
#include <limits>

#include "fuzz_support.h"

namespace
{

using namespace QuorvaneFuzz;

enum EKind : u8
{
    Kind_Int,
    Kind_Long,
    Kind_Floating,
    Kind_Text,
};

// Integers of a size are handed on alike, and so are pointers.
template <typename T>
constexpr EKind KindOf()
{
    return sizeof(T) == sizeof(long long) ? Kind_Long : Kind_Int;
}

struct SArgument
{
    EKind m_Kind;
    s64 m_Integer;
    double m_Floating;
    const char *m_Text;
};

// One directive with both stars takes three.
constexpr u32 kMaxArguments = 3;

struct SFormat
{
    std::string m_Text;
    SArgument m_Arguments[kMaxArguments];
    u32 m_Count = 0;
    u32 m_Room = 1;

    void Add(const SArgument &argument) { m_Arguments[m_Count++] = argument; }
};

struct SCounter
{
    ~SCounter() { std::fprintf(stderr, "%llu formats compared\n", m_Formats); }

    unsigned long long m_Formats = 0;
};

SCounter g_Counter;

// ---- Comparing -----------------------------------------------------------------------------------------------------

// Blocks of just so many bytes, so that a write behind the end is seen.
char *BufferOf(u32 room)
{
    static std::unique_ptr<char[]> buffers[1025];
    if (buffers[room] == nullptr)
        buffers[room].reset(new char[room]);
    return buffers[room].get();
}

[[noreturn]] void FailDifferent(const char *format, const std::string &expected, const std::string &made)
{
    std::fprintf(stderr, "\"%s\": [%s] of %zu, and not [%s] of %zu\n", format, made.c_str(), made.size(),
                 expected.c_str(), expected.size());
    std::abort();
}

void Compare(u32 room, const char *format, ...)
{
    ++g_Counter.m_Formats;
    static char expected[8192];
    va_list args;
    va_start(args, format);
    const int expectedLength = std::vsnprintf(expected, sizeof(expected), format, args);
    va_end(args);
    QV_FUZZ_CHECK(expectedLength < static_cast<int>(sizeof(expected)));

    char *const buffer = BufferOf(room);
    u32 length = 77;
    va_start(args, format);
    char *const made = SNativeStringUtils::VAFormat(buffer, buffer + room - 1, length, format, args);
    va_end(args);
    if (expectedLength < 0)
    {
        QV_FUZZ_CHECK(made == nullptr && length == 0);
        return;
    }
    QV_FUZZ_CHECK(made != nullptr && made[length] == '\0');
    QV_FUZZ_CHECK((made == buffer) == (static_cast<u32>(expectedLength) < room));
    if (length != static_cast<u32>(expectedLength) || std::memcmp(made, expected, length) != 0)
        FailDifferent(format, std::string(expected, static_cast<std::size_t>(expectedLength)),
                      std::string(made, length));
    if (made != buffer)
        Mem::Free(made, Mem::AllocType_Generic);
}

// Hands the arguments on by their types.
template <typename... Taken>
void CompareWith(const SFormat &format, Taken... taken)
{
    if (format.m_Count == sizeof...(Taken))
        return Compare(format.m_Room, format.m_Text.c_str(), taken...);
    if constexpr (sizeof...(Taken) < kMaxArguments)
    {
        const SArgument &next = format.m_Arguments[sizeof...(Taken)];
        switch (next.m_Kind)
        {
        case Kind_Int:
            return CompareWith(format, taken..., static_cast<int>(next.m_Integer));
        case Kind_Long:
            return CompareWith(format, taken..., static_cast<long long>(next.m_Integer));
        case Kind_Floating:
            return CompareWith(format, taken..., next.m_Floating);
        case Kind_Text:
            return CompareWith(format, taken..., next.m_Text);
        }
    }
}

// ---- Making --------------------------------------------------------------------------------------------------------

s64 AnyInteger(CInput &input)
{
    const u8 head = input.Byte();
    u64 bits = 0;
    for (u32 i = head % 9; i != 0; --i)
        bits = bits << 8 | input.Byte();
    return static_cast<s64>(head >= 128 ? 0 - bits : bits);
}

double FromBits(u64 bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

u64 BitsOf(double value)
{
    u64 bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

double SpecialFloating(u32 choice)
{
    using CLimits = std::numeric_limits<double>;
    static const double kSpecial[] = {
        0.0,      DBL_MAX, DBL_MIN, CLimits::denorm_min(), CLimits::infinity(),   CLimits::quiet_NaN(),
        0.5,      1.0,     9.5,     9007199254740992.0,    9223372036854775808.0, 9223372036854774784.0,
        999999.5, 0.0001,  1e16,    0.00009999995,         DBL_EPSILON,           99999.95,
    };
    return kSpecial[choice % (sizeof(kSpecial) / sizeof(*kSpecial))];
}

// Any bits; whole numbers, with some bits behind the point, among which are those in the middle of two of few places; few
// digits behind the point; next to a power of ten; large.
double AnyFloating(CInput &input)
{
    const u32 choice = input.Byte();
    const u32 scale = choice / 6;
    switch (choice % 6)
    {
    case 0:
        return SpecialFloating(scale) * (input.Flag() ? -1 : 1);
    case 1:
        return FromBits(static_cast<u64>(AnyInteger(input)));
    case 2:
        return std::ldexp(static_cast<double>(AnyInteger(input)), -static_cast<int>(scale));
    case 3:
        return static_cast<double>(AnyInteger(input)) / std::pow(10.0, scale % 23);
    case 4:
        return FromBits(BitsOf(std::pow(10.0, static_cast<int>(scale) - 20)) + input.Byte() % 9 - 4);
    default:
        return static_cast<double>(AnyInteger(input)) * std::pow(10.0, scale * 7);
    }
}

// A width or a precision: digits of the format, or an argument, which may be negative.
void AddNumber(CInput &input, SFormat &format)
{
    const u8 byte = input.Byte();
    const u32 number = (byte & 0x3F) != 0x3F ? byte % 48 : byte * 3u;
    if ((byte & 0x80) == 0 || format.m_Count + 2 > kMaxArguments)
    {
        format.m_Text += std::to_string(number);
        return;
    }
    format.m_Text += '*';
    format.Add({Kind_Int, (byte & 0x40) != 0 ? -static_cast<s64>(number) : static_cast<s64>(number), 0, nullptr});
}

void AddInteger(CInput &input, SFormat &format, char letter)
{
    static constexpr struct
    {
        const char *m_Text;
        EKind m_Kind;
    } kSizes[] = {{"", Kind_Int},
                  {"", Kind_Int},
                  {"hh", Kind_Int},
                  {"h", Kind_Int},
                  {"l", KindOf<long>()},
                  {"ll", KindOf<long long>()},
                  {"z", KindOf<std::size_t>()},
                  {"j", KindOf<std::intmax_t>()},
                  {"t", KindOf<std::ptrdiff_t>()}};
    const auto &size = kSizes[input.Byte() % (sizeof(kSizes) / sizeof(*kSizes))];
    format.m_Text += size.m_Text;
    format.m_Text += letter;
    format.Add({size.m_Kind, AnyInteger(input), 0, nullptr});
}

void AddDirective(CInput &input, SFormat &format, std::string &text)
{
    static constexpr char kLetters[] = "sscddiuxXofffeEFgGpa";
    static constexpr char kFlags[] = "-+ #0";
    const u32 choice = input.Byte();
    const u32 before = input.Byte();
    format.m_Text += '%';
    for (u32 i = 0; i < 5; ++i)
        if ((choice & 0x80) != 0 && (before >> i & 1) != 0)
            format.m_Text += kFlags[i];
    if ((before & 0x20) != 0)
        AddNumber(input, format);
    if ((before & 0x40) != 0)
    {
        format.m_Text += '.';
        AddNumber(input, format);
    }
    const char letter = kLetters[(choice & 0x7F) % (sizeof(kLetters) - 1)];
    if (std::strchr("diuxXo", letter) != nullptr)
        return AddInteger(input, format, letter);
    format.m_Text += letter;
    text = letter == 's' ? input.PlainText() : std::string();
    // The platform's own answer to no text is known to be the same, for it is the platform's.
    const bool isNull = letter == 's' && (before & 0x9F) == 0x9F;
    if (letter == 's')
        format.Add({Kind_Text, 0, 0, isNull ? nullptr : text.c_str()});
    else if (letter == 'c' || letter == 'p')
        format.Add({letter == 'c' ? Kind_Int : KindOf<void *>(), AnyInteger(input), 0, nullptr});
    else
        format.Add({Kind_Floating, 0, AnyFloating(input), nullptr});
}

void AddLiteral(CInput &input, SFormat &format)
{
    static constexpr const char *kLiterals[] = {
        "", "", "/", ": ", "%%", "\xE4\n", "a piece that takes more than 32 characters"};
    format.m_Text += kLiterals[input.Byte() % (sizeof(kLiterals) / sizeof(*kLiterals))];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    SFormat format;
    std::string texts[kMaxArguments];
    // A directive is a step, and says itself whether it is the last of its format.
    while (!input.AtEnd())
    {
        static constexpr u32 kRooms[] = {1, 2, 16, 17, 40, 64, 100, 512, 512, 512, 512, 1024};
        input.BeginStep();
        const u8 head = input.Byte();
        AddLiteral(input, format);
        AddDirective(input, format, texts[format.m_Count]);
        if ((head & 1) != 0 && format.m_Count < kMaxArguments && !input.AtEnd())
            continue;
        AddLiteral(input, format);
        format.m_Room = kRooms[(head >> 1) % (sizeof(kRooms) / sizeof(*kRooms))];
        CompareWith(format);
        format = SFormat();
    }
    return 0;
}
