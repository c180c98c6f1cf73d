#include <random>
#include <string>

#include <gtest/gtest.h>

#include "comment_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "guarded_text.h"
#include "kr_buffer.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::SNativeStringUtils;
using Quorvane::u32;

// The text without its comments; what the call must keep is checked on the way.
std::string Uncommented(const std::string &text)
{
    std::string result = text;
    const u32 length = SNativeStringUtils::Uncomment(&result[0]);
    if (length != text.size() || result.c_str()[result.size()] != '\0')
        return "<wrong length>";
    return result;
}

TEST(BufferUncomment, TextWithoutCommentsStays)
{
    EXPECT_EQ(Uncommented(""), "");
    EXPECT_EQ(Uncommented("a / b * c \\ d\n"), "a / b * c \\ d\n");
    EXPECT_EQ(Uncommented("/"), "/");
    EXPECT_EQ(Uncommented("*/"), "*/");
    EXPECT_EQ(Uncommented("/ /"), "/ /");
    EXPECT_EQ(Uncommented("/ *"), "/ *");
}

TEST(BufferUncomment, ReturnsTheLengthThatDoesNotChange)
{
    char text[] = "ab // cd";
    EXPECT_EQ(SNativeStringUtils::Uncomment(text), 8u);
    EXPECT_EQ(text[8], '\0');
}

TEST(BufferUncomment, NullHasLengthZero)
{
    EXPECT_EQ(SNativeStringUtils::Uncomment(nullptr), 0u);
}

TEST(BufferUncomment, EndsAtTheFirstTerminator)
{
    char text[] = "ab\0// cd";
    EXPECT_EQ(SNativeStringUtils::Uncomment(text), 2u);
    EXPECT_EQ(std::string(text, 8), std::string("ab\0// cd", 8));
    char inComment[] = "/*\0*/ // cd";
    EXPECT_EQ(SNativeStringUtils::Uncomment(inComment), 2u);
    EXPECT_EQ(std::string(inComment, 11), std::string("  \0*/ // cd", 11));
}

// Line comments.

TEST(BufferUncomment, LineCommentEndsBeforeTheNewline)
{
    EXPECT_EQ(Uncommented("a // b\nc"), "a     \nc");
    EXPECT_EQ(Uncommented("//\n//"), "  \n  ");
    EXPECT_EQ(Uncommented("a///b\nc"), "a    \nc");
}

TEST(BufferUncomment, LineCommentMayEndWithTheText)
{
    EXPECT_EQ(Uncommented("a // b"), "a     ");
    EXPECT_EQ(Uncommented("//"), "  ");
    EXPECT_EQ(Uncommented("//\\"), "   ");
}

TEST(BufferUncomment, CarriageReturnEndsALineCommentAsANewlineDoes)
{
    EXPECT_EQ(Uncommented("// b\r\nc"), "    \r\nc");
    EXPECT_EQ(Uncommented("// b\rc // d"), "    \rc     ");
}

TEST(BufferUncomment, BackslashBeforeTheLineEndContinuesALineComment)
{
    EXPECT_EQ(Uncommented("// a\\\nb\nc"), "     \n \nc");
    EXPECT_EQ(Uncommented("// a\\\r\nb\r\nc"), "     \r\n \r\nc");
    EXPECT_EQ(Uncommented("// a\\\rb\rc"), "     \r \rc");
    EXPECT_EQ(Uncommented("//\\\n\\\nb\nc"), "   \n \n \nc");
    // It takes back one line end, not two.
    EXPECT_EQ(Uncommented("// a\\\n\nb"), "     \n\nb");
    EXPECT_EQ(Uncommented("// a\\\r\n\nb"), "     \r\n\nb");
    EXPECT_EQ(Uncommented("// a\\\r\rb"), "     \r\rb");
}

TEST(BufferUncomment, BackslashElsewhereDoesNotContinueALineComment)
{
    EXPECT_EQ(Uncommented("// a\\ \nb"), "      \nb");
    EXPECT_EQ(Uncommented("// \\b\nc"), "     \nc");
    EXPECT_EQ(Uncommented("a\\\n// b"), "a\\\n    ");
}

// A backslash in a comment escapes nothing, not even another one.
TEST(BufferUncomment, OnlyTheLastBackslashOfALineCounts)
{
    EXPECT_EQ(Uncommented("// a\\\\\nb"), "      \n ");
}

TEST(BufferUncomment, NothingBeginsInsideALineComment)
{
    EXPECT_EQ(Uncommented("// a /* b\nc */"), "         \nc */");
    EXPECT_EQ(Uncommented("// it's \"so\nb // c"), "           \nb     ");
}

// Block comments.

TEST(BufferUncomment, BlockCommentEndsBehindItsMarker)
{
    EXPECT_EQ(Uncommented("a/*b*/c"), "a     c");
    EXPECT_EQ(Uncommented("/**/"), "    ");
    EXPECT_EQ(Uncommented("/***/a"), "     a");
    EXPECT_EQ(Uncommented("/* a **/b"), "        b");
    EXPECT_EQ(Uncommented("/* a * / */b"), "           b");
}

TEST(BufferUncomment, BlockCommentIsNotClosedByItsOwnStar)
{
    EXPECT_EQ(Uncommented("/*/ a"), "     ");
    EXPECT_EQ(Uncommented("/*/ a */b"), "        b");
}

TEST(BufferUncomment, BlockCommentsDoNotNest)
{
    EXPECT_EQ(Uncommented("/* /* */ a */"), "         a */");
}

TEST(BufferUncomment, UnterminatedBlockCommentRunsToTheEnd)
{
    EXPECT_EQ(Uncommented("a/*"), "a  ");
    EXPECT_EQ(Uncommented("a/* b\nc *"), "a    \n   ");
}

TEST(BufferUncomment, NothingBeginsInsideABlockComment)
{
    EXPECT_EQ(Uncommented("/* // */a"), "        a");
    EXPECT_EQ(Uncommented("/* \" */a"), "       a");
    EXPECT_EQ(Uncommented("/* \\*/a"), "      a");
}

TEST(BufferUncomment, CommentsMayFollowEachOther)
{
    EXPECT_EQ(Uncommented("/*a*//*b*/c"), "          c");
    EXPECT_EQ(Uncommented("/*a*///b\nc"), "        \nc");
    EXPECT_EQ(Uncommented("/*a*// b"), "     / b");
    EXPECT_EQ(Uncommented("1//**/2\n3"), "1      \n3");
}

// What a comment's characters become.

TEST(BufferUncomment, LineEndsInCommentsStay)
{
    EXPECT_EQ(Uncommented("/*a\nb\rc\r\nd*/e"), "   \n \r \r\n   e");
}

TEST(BufferUncomment, EveryOtherCharacterOfACommentBecomesABlank)
{
    for (int c = 1; c < 256; ++c)
    {
        if (c == '\n' || c == '\r')
            continue;
        const std::string character(1, static_cast<char>(c));
        ASSERT_EQ(Uncommented("//." + character), "    ") << c;
        ASSERT_EQ(Uncommented("/*." + character + ".*/a"), "       a") << c;
    }
}

TEST(BufferUncomment, EveryCharacterOutsideCommentsStays)
{
    for (int c = 1; c < 256; ++c)
    {
        const std::string text = {'a', static_cast<char>(c), 'a'};
        ASSERT_EQ(Uncommented(text), text) << c;
    }
}

// Literals.

TEST(BufferUncomment, NothingInALiteralIsAComment)
{
    EXPECT_EQ(Uncommented("\"http://a\" // b"), "\"http://a\"     ");
    EXPECT_EQ(Uncommented("'/* a */' /* b */"), "'/* a */'        ");
    EXPECT_EQ(Uncommented("\"/*\" a \"*/\""), "\"/*\" a \"*/\"");
    EXPECT_EQ(Uncommented("\"\"//a"), "\"\"   ");
    EXPECT_EQ(Uncommented("\"// a"), "\"// a");
}

TEST(BufferUncomment, EachLiteralEndsWithItsOwnQuote)
{
    EXPECT_EQ(Uncommented("\"'\"//a"), "\"'\"   ");
    EXPECT_EQ(Uncommented("'\"'//a"), "'\"'   ");
    EXPECT_EQ(Uncommented("\"'//\"'//'"), "\"'//\"'//'");
}

TEST(BufferUncomment, EscapedQuoteDoesNotEndALiteral)
{
    EXPECT_EQ(Uncommented("\"\\\"//\"//a"), "\"\\\"//\"   ");
    EXPECT_EQ(Uncommented("'\\'//'//a"), "'\\'//'   ");
    // Here the backslash itself is escaped.
    EXPECT_EQ(Uncommented("\"\\\\\"//a"), "\"\\\\\"   ");
    EXPECT_EQ(Uncommented("\"\\"), "\"\\");
}

TEST(BufferUncomment, BackslashOutsideLiteralsEscapesNothing)
{
    EXPECT_EQ(Uncommented("\\\"//\"//a"), "\\\"//\"   ");
    EXPECT_EQ(Uncommented("\\//a"), "\\   ");
}

TEST(BufferUncomment, LineEndEndsALiteral)
{
    EXPECT_EQ(Uncommented("\"a\n//b"), "\"a\n   ");
    EXPECT_EQ(Uncommented("don't\n//b"), "don't\n   ");
    EXPECT_EQ(Uncommented("'a\r\n//b"), "'a\r\n   ");
    EXPECT_EQ(Uncommented("'a\r//b"), "'a\r   ");
}

TEST(BufferUncomment, EscapedLineEndDoesNotEndALiteral)
{
    EXPECT_EQ(Uncommented("\"a\\\n//b\"//c"), "\"a\\\n//b\"   ");
    EXPECT_EQ(Uncommented("\"a\\\r\n//b\"//c"), "\"a\\\r\n//b\"   ");
    EXPECT_EQ(Uncommented("\"a\\\r//b\"//c"), "\"a\\\r//b\"   ");
    // One line end each, and only when the backslash is not escaped itself.
    EXPECT_EQ(Uncommented("\"a\\\n\n//b"), "\"a\\\n\n   ");
    EXPECT_EQ(Uncommented("\"a\\\\\n//b"), "\"a\\\\\n   ");
}

// A text as people write it.
TEST(BufferUncomment, ARulesFile)
{
    EXPECT_EQ(Uncommented("include \"a//b\"   // keep\r\n"
                          "/* two\r\n"
                          "   lines */ exclude 'x'\r\n"),
              "include \"a//b\"          \r\n"
              "      \r\n"
              "            exclude 'x'\r\n");
}

// Against the model.

TEST(BufferUncomment, EveryShortTextAgreesWithTheModel)
{
    for (const std::string &text : EveryText("/*\"'\\\n\ra", kVerySlow ? 5 : 6))
        ASSERT_EQ(Uncommented(text), CCommentModel::Blanked(text));
}

TEST(BufferUncomment, LongerTextsAgreeWithTheModel)
{
    std::mt19937 random(5);
    const std::string alphabet = "//***\"'\\\\\n\raaaa";
    for (int round = 0; round < 20000; ++round)
    {
        std::string text(random() % 100, ' ');
        for (char &character : text)
            character = alphabet[random() % alphabet.size()];
        ASSERT_EQ(Uncommented(text), CCommentModel::Blanked(text));
    }
}

TEST(BufferUncomment, NothingBehindTheTerminatorIsTouched)
{
    for (const std::string &text : EveryText("/*\"\\\r", 4))
    {
        const CGuardedText guarded(text);
        ASSERT_EQ(SNativeStringUtils::Uncomment(guarded.Get()), text.size());
        ASSERT_EQ(guarded.Get(), CCommentModel::Blanked(text));
    }
}

TEST(BufferUncomment, NoLocaleChangesAnything)
{
    InEveryLocale([](const char *locale)
                  { EXPECT_EQ(Uncommented("i\x85\xA0 //\x85\xA0\ni"), "i\x85\xA0     \ni") << locale; });
}

} // namespace

} // namespace QuorvaneTest
