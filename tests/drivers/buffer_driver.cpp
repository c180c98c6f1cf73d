// Walks the helpers on terminated and on counted text without a test framework, so that it also runs under sanitizers
// that want every linked library instrumented. Sources and results lie in blocks of exactly their size, with nothing
// written to the result beforehand: a read of a byte that nobody wrote, or beyond a block, is reported there. The walk
// itself keeps to what its compiler instruments, so its texts are plain arrays.
#include <cstdio>
#include <cstring>
#include <memory>

#include "driver_checks.h"
#include "kr_buffer.h"

namespace
{

using Quorvane::SNativeStringUtils;
using Quorvane::u32;

// Of many texts: which one it was says more than the line.
void Check(bool holds, const char *what, const char *text)
{
    if (!holds)
        std::fprintf(stderr, "%s of \"%s\":\n", what, text);
    QV_TEST_CHECK(holds);
}

using PBlock = std::unique_ptr<char[]>;

PBlock Block(size_t bytes)
{
    return PBlock(new char[bytes]);
}

PBlock BlockOf(const char *bytes, size_t count)
{
    PBlock block = Block(count);
    std::memcpy(block.get(), bytes, count);
    return block;
}

// A copy of the text with its terminator, and nothing behind it.
PBlock BlockOf(const char *text)
{
    return BlockOf(text, std::strlen(text) + 1);
}

bool Same(const PBlock &block, const char *text)
{
    return std::strcmp(block.get(), text) == 0;
}

void WalkEscape(const char *text, const char *escaped)
{
    const size_t textLength = std::strlen(text);
    const size_t escapedLength = std::strlen(escaped);
    const PBlock source = BlockOf(text);
    const PBlock result = Block(escapedLength + 1);
    Check(SNativeStringUtils::Escape(source.get(), result.get()) == escapedLength, "length escaped", text);
    Check(Same(result, escaped), "Escape", text);
    const PBlock back = Block(textLength + 1);
    Check(SNativeStringUtils::Unescape(result.get(), back.get()) == textLength, "length unescaped", text);
    Check(Same(back, text), "Unescape", text);
    SNativeStringUtils::Unescape(result.get(), result.get());
    Check(Same(result, text), "Unescape in place", text);
}

// The same from characters without a terminator.
void WalkBoundedEscape(const char *text, const char *escaped)
{
    const size_t textLength = std::strlen(text);
    const size_t escapedLength = std::strlen(escaped);
    const PBlock source = BlockOf(text, textLength);
    const PBlock result = Block(escapedLength + 1);
    SNativeStringUtils::Escape(source.get(), result.get(), static_cast<u32>(textLength));
    Check(Same(result, escaped), "bounded Escape", text);
    const PBlock characters = BlockOf(escaped, escapedLength);
    const PBlock back = Block(textLength + 1);
    SNativeStringUtils::Unescape(characters.get(), back.get(), static_cast<u32>(escapedLength));
    Check(Same(back, text), "bounded Unescape", text);
}

// Texts of every length with a special character every few places.
void WalkEscapes()
{
    char text[64];
    char escaped[128];
    for (size_t length = 0; length < 40; ++length)
    {
        size_t escapedLength = 0;
        for (size_t i = 0; i < length; ++i)
        {
            const bool special = (i + length) % 5 == 0;
            text[i] = special ? '\n' : 'x';
            if (special)
                escaped[escapedLength++] = '\\';
            escaped[escapedLength++] = special ? 'n' : 'x';
        }
        text[length] = 0;
        escaped[escapedLength] = 0;
        WalkEscape(text, escaped);
        WalkBoundedEscape(text, escaped);
    }
}

void WalkMatch(const char *pattern, const char *text, bool matches)
{
    const PBlock patternBlock = BlockOf(pattern);
    const PBlock textBlock = BlockOf(text);
    const char *p = patternBlock.get();
    const char *t = textBlock.get();
    Check(SNativeStringUtils::Match(p, t) == matches, "Match", pattern);
    Check(SNativeStringUtils::MatchCase(p, t) == matches, "MatchCase", pattern);
    Check(SNativeStringUtils::MatchWithInhibitors(p, t) == matches, "MatchWithInhibitors", pattern);
    Check(SNativeStringUtils::MatchCaseWithInhibitors(p, t) == matches, "MatchCaseWithInhibitors", pattern);
}

void WalkMatches()
{
    WalkMatch("", "", true);
    WalkMatch("*", "", true);
    WalkMatch("*.png", "textures/wall.png", true);
    WalkMatch("tex*/w?ll*", "textures/wall.png", true);
    WalkMatch("*.png", "textures/wall.pn", false);
    WalkMatch("*a*b*c*", "aabbaabb", false);
    WalkMatch("wall\\", "wall\\", true);
    WalkMatch("?", "", false);
}

void WalkUncomment(const char *text, const char *expected)
{
    const PBlock block = BlockOf(text);
    Check(SNativeStringUtils::Uncomment(block.get()) == std::strlen(text), "length uncommented", text);
    Check(Same(block, expected), "Uncomment", text);
}

void WalkUncomments()
{
    WalkUncomment("", "");
    WalkUncomment("a / b", "a / b");
    WalkUncomment("a /", "a /");
    WalkUncomment("a // b\nc", "a     \nc");
    WalkUncomment("a // b\\\r", "a      \r");
    WalkUncomment("a /* b\r\n*/c", "a     \r\n  c");
    WalkUncomment("a /* b *", "a       ");
    WalkUncomment("\"// a\"// b", "\"// a\"    ");
    WalkUncomment("'// a\\", "'// a\\");
}

void WalkSearch(const char *text, const char *part, bool starts, bool ends, bool contains)
{
    const PBlock textBlock = BlockOf(text);
    const PBlock partBlock = BlockOf(part);
    const char *t = textBlock.get();
    const char *p = partBlock.get();
    Check(SNativeStringUtils::StartsWith(t, p) == starts, "StartsWith", text);
    Check(SNativeStringUtils::StartsWithCase(t, p) == starts, "StartsWithCase", text);
    Check(SNativeStringUtils::EndsWith(t, p) == ends, "EndsWith", text);
    Check(SNativeStringUtils::EndsWithCase(t, p) == ends, "EndsWithCase", text);
    Check(SNativeStringUtils::Contains(t, p) == contains, "Contains", text);
    Check(SNativeStringUtils::ContainsCase(t, p) == contains, "ContainsCase", text);
}

void WalkSearches()
{
    WalkSearch("", "", true, true, true);
    WalkSearch("", "a", false, false, false);
    WalkSearch("abcabc", "", true, true, true);
    WalkSearch("abcabc", "abc", true, true, true);
    WalkSearch("abcabc", "bca", false, false, true);
    WalkSearch("abcabc", "cab", false, false, true);
    WalkSearch("abcabc", "abcabcd", false, false, false);
    WalkSearch("aabaabaabaab", "abaabaab", false, true, true);
    WalkSearch("aabaabaabaab", "aabaabb", false, false, false);
}

char UpperCaseOf(char character)
{
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 32) : character;
}

// Counted text in blocks of its size: its hash and its order, with letters of the other case, and with one that differs.
void WalkCounted(const char *text, u32 length)
{
    const PBlock block = BlockOf(text, length);
    const PBlock other = BlockOf(text, length);
    for (u32 i = 0; i < length; ++i)
        other[i] = UpperCaseOf(other[i]);
    const Quorvane::u64 hash = SNativeStringUtils::HashCase(block.get(), length);
    Check(SNativeStringUtils::HashCase(other.get(), length) == hash, "HashCase", text);
    Check(SNativeStringUtils::CompareCase(block.get(), other.get(), length) == 0, "CompareCase", text);
    if (length == 0)
        return;
    // Behind all letters.
    other[length - 1] = '~';
    Check(SNativeStringUtils::HashCase(other.get(), length) != hash, "HashCase of another", text);
    Check(SNativeStringUtils::CompareCase(block.get(), other.get(), length) < 0, "CompareCase with another", text);
    Check(SNativeStringUtils::CompareCase(other.get(), block.get(), length) > 0, "CompareCase of another", text);
}

void WalkHashes()
{
    char text[300];
    for (u32 i = 0; i < sizeof(text); ++i)
        text[i] = static_cast<char>('a' + i % 26);
    for (u32 length = 0; length < sizeof(text); ++length)
        WalkCounted(text, length);
    // On every machine.
    QV_TEST_CHECK(SNativeStringUtils::HashCase("Stone_Wall.PNG", 14) == 0x1CA45F58C6018027u);
    QV_TEST_CHECK(SNativeStringUtils::HashCase(text, 33) == 0x7EC605861C95CC67u);
    QV_TEST_CHECK(SNativeStringUtils::HashCase(text, 200) == 0x8A9CBBA8228D2452u);
}

} // namespace

int main()
{
    WalkEscapes();
    WalkMatches();
    WalkUncomments();
    WalkSearches();
    WalkHashes();
    return QuorvaneTest::ExitCode();
}
