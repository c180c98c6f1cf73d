#include <cstdint>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "emulator.h"
#include "kr_buffer.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

constexpr u32 kLongest = 4 * 16 + 1;

// The characters of a container: aligned, and zero from the terminator to the end of its block; garbage behind it.
struct SContainerText
{
    explicit SContainerText(u32 length)
    {
        std::memset(m_Bytes, 'x', sizeof(m_Bytes));
        std::memset(m_Bytes + length, 0, 16 - length % 16);
    }

    alignas(16) char m_Bytes[kLongest + 32];
};

} // namespace

TEST(BufferLength, NullAndEmptyTextHaveLength0)
{
    EXPECT_EQ(SNativeStringUtils::Length(nullptr), 0u);
    EXPECT_EQ(SNativeStringUtils::Length(""), 0u);
    EXPECT_EQ(SNativeStringUtils::Length_16(nullptr), 0u);
    EXPECT_EQ(SNativeStringUtils::Length_16(SContainerText(0).m_Bytes), 0u);
}

TEST(BufferLength, LengthCountsTheCharactersBeforeTheTerminatorAtEveryAddress)
{
    for (u32 offset = 0; offset < 16; ++offset)
        for (u32 length = 0; length <= kLongest; ++length)
        {
            alignas(16) char bytes[kLongest + 32];
            std::memset(bytes, 'x', sizeof(bytes));
            bytes[offset + length] = '\0';
            EXPECT_EQ(SNativeStringUtils::Length(bytes + offset), length) << "offset " << offset;
        }
}

TEST(BufferLength, Length16AgreesForContainers)
{
    for (u32 length = 0; length <= kLongest; ++length)
        EXPECT_EQ(SNativeStringUtils::Length_16(SContainerText(length).m_Bytes), length);
}

TEST(BufferLength, TheFirstOfSeveralTerminatorsEndsTheText)
{
    alignas(16) const char text[32] = "abc\0def\0";
    EXPECT_EQ(SNativeStringUtils::Length(text), 3u);
    EXPECT_EQ(SNativeStringUtils::Length_16(text), 3u);
}

TEST(BufferLength, BytesAbove127AreCharacters)
{
    alignas(16) const char text[16] = "\x80\xFF\xC3\xA9";
    EXPECT_EQ(SNativeStringUtils::Length(text), 4u);
    EXPECT_EQ(SNativeStringUtils::Length_16(text), 4u);
}

TEST(BufferLength, LongTextsAreMeasured)
{
    const std::string text(1000003, 'x');
    EXPECT_EQ(SNativeStringUtils::Length(text.c_str()), 1000003u);
}

#if defined(__linux__) && SIZE_MAX > 0xFFFFFFFF

// Text beyond 32 bits: one piece of memory, seen again and again.
TEST(BufferLength, TextsBeyond32BitsHaveTheLargestLength)
{
    if (InstructionsAreEmulated())
        GTEST_SKIP() << "4 GiB take an emulator longer than all other tests of buffers";
    constexpr size_t kPieceBytes = size_t(16) << 20;
    constexpr size_t kPieces = (size_t(1) << 32) / kPieceBytes + 1;
    const int memory = memfd_create("text", 0);
    void *const room =
        mmap(nullptr, (kPieces + 1) * kPieceBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    bool mapped = memory >= 0 && ftruncate(memory, static_cast<off_t>(kPieceBytes)) == 0 && room != MAP_FAILED;
    char *const text = static_cast<char *>(room);
    for (size_t i = 0; mapped && i < kPieces; ++i)
        mapped = mmap(text + i * kPieceBytes, kPieceBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory, 0) !=
                 MAP_FAILED;
    char *const last = text + kPieces * kPieceBytes;
    mapped = mapped && mmap(last, kPieceBytes, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0) != MAP_FAILED;
    u32 length = 0;
    if (mapped)
    {
        // The anonymous piece behind the repeated ones is zero: the terminator.
        std::memset(text, 'x', kPieceBytes);
        length = SNativeStringUtils::Length(text);
    }
    if (room != MAP_FAILED)
        munmap(room, (kPieces + 1) * kPieceBytes);
    if (memory >= 0)
        close(memory);
    if (!mapped)
        GTEST_SKIP() << "no room for a text of 4 GiB";
    EXPECT_EQ(length, 0xFFFFFFFFu);
}

#endif

} // namespace QuorvaneTest
