// The character table: what each row gives for each byte.
#include <string>

#include <gtest/gtest.h>

#include "kr_buffer.h"

using namespace Quorvane;

namespace
{

constexpr u32 kClassRow = 0;
constexpr u32 kEscapeRow = 256;
constexpr u32 kUpperRow = 512;
constexpr u32 kLowerRow = 768;

u32 Lookup(u32 row, u32 byte)
{
    return SNativeStringUtils::kr_buffer_char_lookups[row + byte];
}

const std::string kLowers = "abcdefghijklmnopqrstuvwxyz";
const std::string kUppers = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool IsIn(const std::string &set, u32 byte)
{
    return set.find(static_cast<char>(byte)) != std::string::npos;
}

} // namespace

TEST(BufferTable, HasFourRows)
{
    static_assert(sizeof(SNativeStringUtils::kr_buffer_char_lookups) == 1024, "four rows of 256 bytes");
    EXPECT_EQ(Lookup(kLowerRow, 255), 255u);
}

TEST(BufferTable, ClassRowTellsLowerFromUpperFromTheRest)
{
    for (u32 byte = 0; byte < 256; ++byte)
        EXPECT_EQ(Lookup(kClassRow, byte), IsIn(kLowers, byte) ? 1u : IsIn(kUppers, byte) ? 2u : 0u) << byte;
}

TEST(BufferTable, EscapeRowHasTheTenSequences)
{
    EXPECT_EQ(Lookup(kEscapeRow, 7), 'a');
    EXPECT_EQ(Lookup(kEscapeRow, 8), 'b');
    EXPECT_EQ(Lookup(kEscapeRow, 9), 't');
    EXPECT_EQ(Lookup(kEscapeRow, 10), 'n');
    EXPECT_EQ(Lookup(kEscapeRow, 11), 'v');
    EXPECT_EQ(Lookup(kEscapeRow, 12), 'f');
    EXPECT_EQ(Lookup(kEscapeRow, 13), 'r');
    EXPECT_EQ(Lookup(kEscapeRow, 34), '"');
    EXPECT_EQ(Lookup(kEscapeRow, 39), '\'');
    EXPECT_EQ(Lookup(kEscapeRow, 92), '\\');
}

TEST(BufferTable, EscapeRowHasNothingElse)
{
    const std::string escaped = "\x07\x08\x09\x0A\x0B\x0C\x0D\x22\x27\x5C";
    for (u32 byte = 0; byte < 256; ++byte)
        EXPECT_EQ(Lookup(kEscapeRow, byte) != 0, IsIn(escaped, byte)) << byte;
}

TEST(BufferTable, CaseRowsTurnLettersIntoEachOther)
{
    for (u32 i = 0; i < 26; ++i)
    {
        const u32 lower = static_cast<u8>(kLowers[i]);
        const u32 upper = static_cast<u8>(kUppers[i]);
        EXPECT_EQ(Lookup(kUpperRow, lower), upper);
        EXPECT_EQ(Lookup(kUpperRow, upper), upper);
        EXPECT_EQ(Lookup(kLowerRow, upper), lower);
        EXPECT_EQ(Lookup(kLowerRow, lower), lower);
    }
}

TEST(BufferTable, CaseRowsLeaveEveryOtherByteAlone)
{
    for (u32 byte = 0; byte < 256; ++byte)
    {
        if (IsIn(kLowers, byte) || IsIn(kUppers, byte))
            continue;
        EXPECT_EQ(Lookup(kUpperRow, byte), byte);
        EXPECT_EQ(Lookup(kLowerRow, byte), byte);
    }
}

namespace
{

// Read by the constructor of an object that may well be constructed before anything of the library is.
struct SEarlyReader
{
    u32 m_UpperOfB;
    SEarlyReader() : m_UpperOfB(Lookup(kUpperRow, 'b')) {}
};

const SEarlyReader g_EarlyReader;

} // namespace

TEST(BufferTable, IsThereBeforeMain)
{
    EXPECT_EQ(g_EarlyReader.m_UpperOfB, 'B');
}
