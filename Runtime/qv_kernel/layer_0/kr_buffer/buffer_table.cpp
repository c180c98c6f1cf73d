// The character table: computed by the compiler, and proven before it is published.
#include "kr_buffer.h"

#include "character_table.h"

namespace Quorvane
{

namespace
{

using namespace Internal::Buffer;

// Not by the library's functions, which follow the locale.
constexpr bool IsLower(u32 character)
{
    return character >= 'a' && character <= 'z';
}

constexpr bool IsUpper(u32 character)
{
    return character >= 'A' && character <= 'Z';
}

constexpr u32 ClassOf(u32 character)
{
    if (IsLower(character))
        return 1;
    return IsUpper(character) ? 2 : 0;
}

constexpr u32 UpperOf(u32 character)
{
    return IsLower(character) ? character - 'a' + 'A' : character;
}

constexpr u32 LowerOf(u32 character)
{
    return IsUpper(character) ? character - 'A' + 'a' : character;
}

struct STable
{
    u8 m_Bytes[kTableBytes];

    constexpr u8 At(u32 row, char character) const { return m_Bytes[row + static_cast<u8>(character)]; }
};

constexpr STable BuildTable()
{
    STable table = {};
    for (u32 character = 0; character < kRowBytes; ++character)
    {
        table.m_Bytes[kClassRow + character] = static_cast<u8>(ClassOf(character));
        table.m_Bytes[kEscapeRow + character] = ListedEscapeLetterOf(character);
        table.m_Bytes[kUpperRow + character] = static_cast<u8>(UpperOf(character));
        table.m_Bytes[kLowerRow + character] = static_cast<u8>(LowerOf(character));
    }
    return table;
}

constexpr STable kTable = BuildTable();

// The proofs spell out what they expect: nothing that the table is made from takes part in them.

// Whether every letter of the two alphabets has its class and both its forms.
constexpr bool LettersAreRight(const STable &table)
{
    constexpr char kLowers[] = "abcdefghijklmnopqrstuvwxyz";
    constexpr char kUppers[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (u32 i = 0; i < 26; ++i)
    {
        const char lower = kLowers[i];
        const char upper = kUppers[i];
        if (table.At(kClassRow, lower) != 1 || table.At(kClassRow, upper) != 2)
            return false;
        if (table.At(kUpperRow, lower) != upper || table.At(kUpperRow, upper) != upper)
            return false;
        if (table.At(kLowerRow, lower) != lower || table.At(kLowerRow, upper) != lower)
            return false;
    }
    return true;
}

constexpr bool EscapesAreRight(const STable &table)
{
    constexpr char kCharacters[] = "\a\b\t\n\v\f\r\"'\\";
    constexpr char kLetters[] = "abtnvfr\"'\\";
    for (u32 i = 0; i < 10; ++i)
    {
        if (table.At(kEscapeRow, kCharacters[i]) != kLetters[i])
            return false;
    }
    return true;
}

// How many bytes of a row are not 0.
constexpr u32 CountMarked(const STable &table, u32 row)
{
    u32 count = 0;
    for (u32 character = 0; character < kRowBytes; ++character)
        count += table.m_Bytes[row + character] != 0 ? 1 : 0;
    return count;
}

// How many characters a row turns into others.
constexpr u32 CountChanged(const STable &table, u32 row)
{
    u32 count = 0;
    for (u32 character = 0; character < kRowBytes; ++character)
        count += table.m_Bytes[row + character] != character ? 1 : 0;
    return count;
}

static_assert(LettersAreRight(kTable), "every letter has its class and both its forms");
static_assert(CountMarked(kTable, kClassRow) == 2 * 26, "nothing but a letter has a class");
static_assert(CountChanged(kTable, kUpperRow) == 26, "nothing but a lower-case letter has another upper-case form");
static_assert(CountChanged(kTable, kLowerRow) == 26, "nothing but an upper-case letter has another lower-case form");
static_assert(EscapesAreRight(kTable), "every escape sequence has its letter");
static_assert(CountMarked(kTable, kEscapeRow) == 10, "there are ten escape sequences");

} // namespace

// No function can return an array, so its elements are spelled out, by macros of four times as many each.
#define QV_BUFFER_BYTES_4(i)                                                                                           \
    kTable.m_Bytes[i], kTable.m_Bytes[(i) + 1], kTable.m_Bytes[(i) + 2], kTable.m_Bytes[(i) + 3]
#define QV_BUFFER_BYTES_16(i)                                                                                          \
    QV_BUFFER_BYTES_4(i), QV_BUFFER_BYTES_4((i) + 4), QV_BUFFER_BYTES_4((i) + 8), QV_BUFFER_BYTES_4((i) + 12)
#define QV_BUFFER_BYTES_64(i)                                                                                          \
    QV_BUFFER_BYTES_16(i), QV_BUFFER_BYTES_16((i) + 16), QV_BUFFER_BYTES_16((i) + 32), QV_BUFFER_BYTES_16((i) + 48)
#define QV_BUFFER_BYTES_256(i)                                                                                         \
    QV_BUFFER_BYTES_64(i), QV_BUFFER_BYTES_64((i) + 64), QV_BUFFER_BYTES_64((i) + 128), QV_BUFFER_BYTES_64((i) + 192)

QV_INTERNAL_CONSTINIT const u8 SNativeStringUtils::kr_buffer_char_lookups[kTableBytes] = {
    QV_BUFFER_BYTES_256(kClassRow), QV_BUFFER_BYTES_256(kEscapeRow), QV_BUFFER_BYTES_256(kUpperRow),
    QV_BUFFER_BYTES_256(kLowerRow)};

#undef QV_BUFFER_BYTES_256
#undef QV_BUFFER_BYTES_64
#undef QV_BUFFER_BYTES_16
#undef QV_BUFFER_BYTES_4

} // namespace Quorvane
