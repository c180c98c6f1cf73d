#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "escape_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "guarded_text.h"
#include "kr_buffer.h"
#include "kr_buffer/buffer_kernels.h"
#include "kr_simd/simd_machine.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::SNativeStringUtils;
using Quorvane::u32;

// Where results go: memory full of another character, in which every write behind the result shows.
class CResultRoom
{
public:
    explicit CResultRoom(size_t bytes) : m_Bytes(bytes + 32, '#') {}

    char *Get() { return &m_Bytes[16]; }

    // What was written, when it is terminated where `length` says and nothing around it was touched.
    std::string Result(u32 length) const
    {
        const size_t behind = 16 + size_t(length) + 1;
        if (behind > m_Bytes.size() || m_Bytes[behind - 1] != '\0')
            return "<not terminated>";
        if (m_Bytes.compare(0, 16, std::string(16, '#')) != 0)
            return "<written before the result>";
        if (m_Bytes.find_first_not_of('#', behind) != std::string::npos)
            return "<written behind the result>";
        return m_Bytes.substr(16, length);
    }

private:
    std::string m_Bytes;
};

std::string Escaped(const std::string &text)
{
    CResultRoom room(2 * text.size() + 1);
    const u32 length = SNativeStringUtils::Escape(text.c_str(), room.Get());
    return room.Result(length);
}

std::string Escaped(const std::string &text, u32 maxLength)
{
    CResultRoom room(2 * text.size() + 1);
    const u32 length = SNativeStringUtils::Escape(text.c_str(), room.Get(), maxLength);
    return room.Result(length);
}

std::string Unescaped(const std::string &text)
{
    CResultRoom room(text.size() + 1);
    const u32 length = SNativeStringUtils::Unescape(text.c_str(), room.Get());
    return room.Result(length);
}

std::string Unescaped(const std::string &text, u32 maxLength)
{
    CResultRoom room(text.size() + 1);
    const u32 length = SNativeStringUtils::Unescape(text.c_str(), room.Get(), maxLength);
    return room.Result(length);
}

std::string UnescapedInPlace(const std::string &text)
{
    CResultRoom room(text.size() + 1);
    std::memcpy(room.Get(), text.c_str(), text.size() + 1);
    const u32 length = SNativeStringUtils::Unescape(room.Get(), room.Get());
    return std::string(room.Get(), std::strlen(room.Get()) == length ? length : 0);
}

// The ten characters that have a sequence.
const char kSpecials[] = "\a\b\t\n\v\f\r\"'\\";

// Escape.

TEST(BufferEscape, EachSpecialCharacterBecomesABackslashAndItsLetter)
{
    EXPECT_EQ(Escaped("\a"), "\\a");
    EXPECT_EQ(Escaped("\b"), "\\b");
    EXPECT_EQ(Escaped("\t"), "\\t");
    EXPECT_EQ(Escaped("\n"), "\\n");
    EXPECT_EQ(Escaped("\v"), "\\v");
    EXPECT_EQ(Escaped("\f"), "\\f");
    EXPECT_EQ(Escaped("\r"), "\\r");
    EXPECT_EQ(Escaped("\""), "\\\"");
    EXPECT_EQ(Escaped("'"), "\\'");
    EXPECT_EQ(Escaped("\\"), "\\\\");
}

TEST(BufferEscape, EveryOtherCharacterStays)
{
    for (int c = 1; c < 256; ++c)
    {
        if (std::strchr(kSpecials, c) != nullptr)
            continue;
        const std::string alone(1, static_cast<char>(c));
        ASSERT_EQ(Escaped(alone), alone) << c;
        const std::string row(20, static_cast<char>(c));
        ASSERT_EQ(Escaped(row), row) << c;
    }
}

TEST(BufferEscape, SpecialCharactersAreFoundInEveryPlace)
{
    for (size_t length = 1; length <= 40; ++length)
    {
        for (size_t at = 0; at < length; ++at)
        {
            for (const char *special = kSpecials; *special != 0; ++special)
            {
                std::string text(length, '\xFF');
                text[at] = *special;
                std::string expected(length, '\xFF');
                expected.replace(at, 1, EscapeModelOf(*special));
                ASSERT_EQ(Escaped(text), expected) << length << " " << at;
            }
        }
    }
}

TEST(BufferEscape, ASentence)
{
    EXPECT_EQ(Escaped("She said \"it's\tC:\\new\"\r\n"), "She said \\\"it\\'s\\tC:\\\\new\\\"\\r\\n");
    EXPECT_EQ(Escaped("no special character at all"), "no special character at all");
}

TEST(BufferEscape, EmptyTextGivesEmptyText)
{
    EXPECT_EQ(Escaped(""), "");
    EXPECT_EQ(Unescaped(""), "");
    EXPECT_EQ(UnescapedInPlace(""), "");
}

TEST(BufferEscape, ResultIsAtMostTwiceAsLong)
{
    const std::string worst(100, '\n');
    CResultRoom room(2 * worst.size() + 1);
    EXPECT_EQ(SNativeStringUtils::Escape(worst.c_str(), room.Get()), 200u);
}

TEST(BufferEscape, BothEndAtTheFirstTerminator)
{
    EXPECT_EQ(Escaped(std::string("a\n\0b\n", 5)), "a\\n");
    EXPECT_EQ(Unescaped(std::string("a\\n\0b\\n", 7)), "a\n");
    EXPECT_EQ(Escaped(std::string("a\n\0b\n", 5), 5), "a\\n");
    EXPECT_EQ(Unescaped(std::string("a\\n\0b\\n", 7), 7), "a\n");
}

// Unescape.

TEST(BufferUnescape, EachSequenceBecomesItsCharacter)
{
    EXPECT_EQ(Unescaped("\\a"), "\a");
    EXPECT_EQ(Unescaped("\\b"), "\b");
    EXPECT_EQ(Unescaped("\\t"), "\t");
    EXPECT_EQ(Unescaped("\\n"), "\n");
    EXPECT_EQ(Unescaped("\\v"), "\v");
    EXPECT_EQ(Unescaped("\\f"), "\f");
    EXPECT_EQ(Unescaped("\\r"), "\r");
    EXPECT_EQ(Unescaped("\\\""), "\"");
    EXPECT_EQ(Unescaped("\\'"), "'");
    EXPECT_EQ(Unescaped("\\\\"), "\\");
}

TEST(BufferUnescape, EveryOtherSequenceStays)
{
    const char letters[] = "abtnvfr\"'\\";
    for (int c = 1; c < 256; ++c)
    {
        if (std::strchr(letters, c) != nullptr)
            continue;
        const std::string text = {'\\', static_cast<char>(c)};
        ASSERT_EQ(Unescaped(text), text) << c;
    }
}

TEST(BufferUnescape, LoneBackslashAtTheEndStays)
{
    EXPECT_EQ(Unescaped("\\"), "\\");
    EXPECT_EQ(Unescaped("abc\\"), "abc\\");
    EXPECT_EQ(Unescaped("\\\\\\"), "\\\\");
    // The letter behind the terminator is none of its business.
    EXPECT_EQ(Unescaped(std::string("abc\\\0n", 6)), "abc\\");
}

TEST(BufferUnescape, SequencesAreTakenFromLeftToRight)
{
    EXPECT_EQ(Unescaped("\\\\n"), "\\n");
    EXPECT_EQ(Unescaped("\\\\\\n"), "\\\n");
    EXPECT_EQ(Unescaped("\\x\\n"), "\\x\n");
}

TEST(BufferUnescape, SequencesAreFoundInEveryPlace)
{
    for (size_t length = 2; length <= 40; ++length)
    {
        for (size_t at = 0; at + 2 <= length; ++at)
        {
            std::string text(length, 'n');
            text.replace(at, 2, "\\n");
            std::string expected(length - 1, 'n');
            expected[at] = '\n';
            ASSERT_EQ(Unescaped(text), expected) << length << " " << at;
            ASSERT_EQ(UnescapedInPlace(text), expected) << length << " " << at;
        }
    }
}

TEST(BufferUnescape, InPlaceTextWithoutSequencesIsUnchanged)
{
    const std::string text = "just a line of text, with \\x and \\0 and \\";
    EXPECT_EQ(UnescapedInPlace(text), text);
}

TEST(BufferUnescape, WritesIntoTheSourceFurtherForward)
{
    char text[] = "....a\\tb and the rest of it\\n";
    EXPECT_EQ(SNativeStringUtils::Unescape(text + 4, text), 23u);
    EXPECT_STREQ(text, "a\tb and the rest of it\n");
}

TEST(BufferUnescape, UndoesEscapeForEachByte)
{
    for (int c = 1; c < 256; ++c)
    {
        const std::string text(1, static_cast<char>(c));
        ASSERT_EQ(Unescaped(Escaped(text)), text) << c;
    }
}

// Bounded forms.

TEST(BufferEscapeBounded, TakesAtMostThatManyCharacters)
{
    EXPECT_EQ(Escaped("a\nb\nc", 0), "");
    EXPECT_EQ(Escaped("a\nb\nc", 1), "a");
    EXPECT_EQ(Escaped("a\nb\nc", 2), "a\\n");
    EXPECT_EQ(Escaped("a\nb\nc", 5), "a\\nb\\nc");
    EXPECT_EQ(Escaped("a\nb\nc", 6), "a\\nb\\nc");
    EXPECT_EQ(Escaped("a\nb\nc", 0xFFFFFFFFu), "a\\nb\\nc");
}

TEST(BufferUnescapeBounded, TakesAtMostThatManyCharacters)
{
    EXPECT_EQ(Unescaped("a\\nb\\nc", 0), "");
    EXPECT_EQ(Unescaped("a\\nb\\nc", 3), "a\n");
    EXPECT_EQ(Unescaped("a\\nb\\nc", 4), "a\nb");
    EXPECT_EQ(Unescaped("a\\nb\\nc", 7), "a\nb\nc");
    EXPECT_EQ(Unescaped("a\\nb\\nc", 0xFFFFFFFFu), "a\nb\nc");
}

TEST(BufferUnescapeBounded, SequenceCutByTheBoundIsALoneBackslash)
{
    EXPECT_EQ(Unescaped("a\\nb\\nc", 2), "a\\");
    EXPECT_EQ(Unescaped("1234567\\n", 8), "1234567\\");
}

TEST(BufferUnescapeBounded, InPlace)
{
    char text[] = "a\\tb\\nc\\n";
    EXPECT_EQ(SNativeStringUtils::Unescape(text, text, 6), 4u);
    EXPECT_STREQ(text, "a\tb\n");
}

// Every bounded source of plain and special characters without a terminator, at a protected page.
TEST(BufferEscapeBounded, NothingBehindTheBoundIsRead)
{
    for (size_t length = 0; length <= 40; ++length)
    {
        for (char filler : {'x', '\n', '\\'})
        {
            const std::string text(length, filler);
            const CGuardedText source(text.data(), text.size());
            CResultRoom escaped(2 * length + 1);
            CResultRoom unescaped(length + 1);
            const u32 maxLength = static_cast<u32>(length);
            const u32 escapedLength = SNativeStringUtils::Escape(source.Get(), escaped.Get(), maxLength);
            const u32 unescapedLength = SNativeStringUtils::Unescape(source.Get(), unescaped.Get(), maxLength);
            EXPECT_EQ(escaped.Result(escapedLength), EscapeModelEscaped(text)) << length;
            EXPECT_EQ(unescaped.Result(unescapedLength), EscapeModelUnescaped(text)) << length;
        }
    }
}

// Sources end with their terminator, results with theirs, both at a protected page.
TEST(BufferEscape, NothingBehindSourceOrResultIsTouched)
{
    for (size_t length = 0; length <= 40; ++length)
    {
        for (char filler : {'x', '\n', '\\'})
        {
            const std::string text(length, filler);
            const std::string escaped = EscapeModelEscaped(text);
            const CGuardedText source(text);
            const CGuardedText result(std::string(escaped.size(), '#'));
            EXPECT_EQ(SNativeStringUtils::Escape(source.Get(), result.Get()), escaped.size());
            EXPECT_STREQ(result.Get(), escaped.c_str());
            // A bound beyond the terminator changes nothing.
            EXPECT_EQ(SNativeStringUtils::Escape(source.Get(), result.Get(), 0xFFFFFFFFu), escaped.size());
            EXPECT_STREQ(result.Get(), escaped.c_str());

            const CGuardedText back(text);
            EXPECT_EQ(SNativeStringUtils::Unescape(result.Get(), back.Get()), length);
            EXPECT_STREQ(back.Get(), text.c_str());
            EXPECT_EQ(SNativeStringUtils::Unescape(result.Get(), result.Get(), 0xFFFFFFFFu), length);
            EXPECT_STREQ(result.Get(), text.c_str());
        }
    }
}

// Null.

TEST(BufferEscape, NullSourceGivesEmptyText)
{
    char result[] = "xx";
    EXPECT_EQ(SNativeStringUtils::Escape(nullptr, result), 0u);
    EXPECT_STREQ(result, "");
    result[0] = 'x';
    EXPECT_EQ(SNativeStringUtils::Escape(nullptr, result, 5), 0u);
    EXPECT_STREQ(result, "");
    result[0] = 'x';
    EXPECT_EQ(SNativeStringUtils::Unescape(nullptr, result), 0u);
    EXPECT_STREQ(result, "");
    result[0] = 'x';
    EXPECT_EQ(SNativeStringUtils::Unescape(nullptr, result, 5), 0u);
    EXPECT_STREQ(result, "");
    EXPECT_EQ(result[1], 'x');
}

TEST(BufferEscape, NullDestinationGivesNothing)
{
    EXPECT_EQ(SNativeStringUtils::Escape("a\n", nullptr), 0u);
    EXPECT_EQ(SNativeStringUtils::Escape("a\n", nullptr, 2), 0u);
    EXPECT_EQ(SNativeStringUtils::Unescape("a\\n", nullptr), 0u);
    EXPECT_EQ(SNativeStringUtils::Unescape("a\\n", nullptr, 3), 0u);
    EXPECT_EQ(SNativeStringUtils::Escape(nullptr, nullptr), 0u);
    EXPECT_EQ(SNativeStringUtils::Unescape(nullptr, nullptr), 0u);
}

// Against the model.

TEST(BufferEscape, EveryShortTextAgreesWithTheModel)
{
    const std::string alphabet = std::string(kSpecials) + "abfnrtv0x\x01\x0E\xA2";
    for (const std::string &text : EveryText(alphabet, 3))
    {
        const std::string escaped = EscapeModelEscaped(text);
        const std::string unescaped = EscapeModelUnescaped(text);
        ASSERT_EQ(Escaped(text), escaped);
        ASSERT_EQ(Unescaped(text), unescaped);
        ASSERT_EQ(UnescapedInPlace(text), unescaped);
        ASSERT_EQ(Unescaped(escaped), text);
    }
}

// The same inside longer texts, so that sequences lie across the borders of what is copied at once.
TEST(BufferEscape, EveryShortTextAgreesWithTheModelAnywhereInALongerOne)
{
    for (const std::string &text : EveryText("\n\"\\nx", 4))
    {
        for (size_t before = 4; before <= 8; ++before)
        {
            const std::string longer = std::string(before, '-') + text + std::string(9, '-');
            ASSERT_EQ(Escaped(longer), EscapeModelEscaped(longer));
            ASSERT_EQ(Unescaped(longer), EscapeModelUnescaped(longer));
            ASSERT_EQ(UnescapedInPlace(longer), EscapeModelUnescaped(longer));
        }
    }
}

TEST(BufferEscape, LongTextsAgreeWithTheModelAndComeBack)
{
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round)
    {
        std::string text(random() % 2000, ' ');
        // From plain text with a rare special character to every byte alike.
        const unsigned rarity = 1u + static_cast<unsigned>(random() % 40);
        for (char &character : text)
            character = static_cast<char>(random() % rarity == 0 ? 1 + random() % 255 : 'a' + random() % 26);
        const std::string escaped = Escaped(text);
        ASSERT_EQ(escaped, EscapeModelEscaped(text));
        ASSERT_EQ(Unescaped(escaped), text);
        ASSERT_EQ(UnescapedInPlace(escaped), text);
        ASSERT_EQ(Unescaped(text), EscapeModelUnescaped(text));
    }
}

// Calls `check` with texts around the ends of the blocks that wide forms take, from texts without a special character to
// texts of nothing else.
template <typename FCheck>
void ForTextsOfAnyDensity(const FCheck &check)
{
    const std::string special = "\a\b\t\n\v\f\r\"'\\";
    const std::string ordinary = "az09 \x01\x06\x0E\x1F\x7F\x80\x87\x8D\xA2\xDC\xFF";
    std::mt19937 generator(30);
    const auto random = [&]() { return static_cast<u32>(generator()); };
    for (u32 length = 0; length <= 200; ++length)
    {
        for (const u32 oneIn : {1u, 2u, 10u, 1000u})
        {
            std::string text;
            while (text.size() < length)
                text +=
                    random() % oneIn == 0 ? special[random() % special.size()] : ordinary[random() % ordinary.size()];
            ASSERT_NO_FATAL_FAILURE(check(text));
        }
    }
}

TEST(BufferEscape, WideInstructionsChangeNothing)
{
    ForTextsOfAnyDensity(
        [](const std::string &text)
        {
            const std::string wide = Escaped(text);
            Quorvane::Internal::Simd::AllowWideInstructions(false);
            const std::string plain = Escaped(text);
            Quorvane::Internal::Simd::AllowWideInstructions(true);
            ASSERT_EQ(wide, EscapeModelEscaped(text));
            ASSERT_EQ(plain, wide);
        });
}

// Takes whole blocks, leaves at least the characters that it needs behind them, and writes into no more than the result.
void ExpectBlocksEscaped(size_t (*escape)(const char *, size_t, char *&), size_t blockBytes, const std::string &text)
{
    const size_t leastLeft = 8;
    const size_t taken = text.size() < leastLeft ? 0 : (text.size() - leastLeft) / blockBytes * blockBytes;
    const std::string expected = EscapeModelEscaped(text.substr(0, taken));
    std::string room(EscapeModelEscaped(text).size() + 16, '#');
    char *end = &room[0];
    ASSERT_EQ(escape(text.data(), text.size(), end), taken);
    ASSERT_EQ(room.substr(0, static_cast<size_t>(end - room.data())), expected);
    ASSERT_EQ(room.substr(room.size() - 16), std::string(16, '#'));
}

TEST(BufferEscape, BlocksOf32AreEscapedWhole)
{
    if (!Quorvane::Internal::Simd::HasWideInstructions())
        GTEST_SKIP() << "this machine has no wide instructions";
    ForTextsOfAnyDensity([](const std::string &text)
                         { ExpectBlocksEscaped(Quorvane::Internal::Buffer::Wide::EscapeBlocks, 32, text); });
}

TEST(BufferEscape, BlocksOf64AreEscapedWhole)
{
    if (!Quorvane::Internal::Simd::HasWidestInstructions())
        GTEST_SKIP() << "this machine has no widest instructions";
    ForTextsOfAnyDensity([](const std::string &text)
                         { ExpectBlocksEscaped(Quorvane::Internal::Buffer::Widest::EscapeBlocks, 64, text); });
}

TEST(BufferEscape, NoLocaleChangesASequence)
{
    InEveryLocale(
        [](const char *locale)
        {
            EXPECT_EQ(Escaped("i\x85\xA0\x9B\t"), "i\x85\xA0\x9B\\t") << locale;
            EXPECT_EQ(Unescaped("\\t\\i\\\xFD\\T"), "\t\\i\\\xFD\\T") << locale;
        });
}

} // namespace

} // namespace QuorvaneTest
