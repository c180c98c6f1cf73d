// Changes of fuzz inputs by their parts: an input that is changed has the same parts but for the one that was changed.
#include "input_parts.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

using namespace QuorvaneFuzz;

namespace
{

CInputBytes Bytes(const std::string &text)
{
    return CInputBytes(text.begin(), text.end());
}

// Everything that so many changes make of an input.
std::set<std::string> Changes(const std::string &input, const SInputParts &parts)
{
    std::set<std::string> all;
    CInputRandom random(1);
    for (int i = 0; i < 5000; ++i)
    {
        const CInputBytes changed = ChangeParts(Bytes(input), parts, random);
        all.emplace(changed.begin(), changed.end());
    }
    return all;
}

} // namespace

TEST(InputParts, StepsStayWhole)
{
    SInputParts parts;
    parts.m_Steps = {1, 3, 6};
    const std::set<std::string> changes = Changes("!aaBBBcc", parts);
    // Left out, one or several; repeated; exchanged.
    for (const char *expected : {"!BBBcc", "!aacc", "!aaBBB", "!cc", "!aaaaBBBcc", "!aaBBBccaa", "!BBBaacc", "!ccaaBBB",
                                 "!ccaaBBBcc", "!aaBBBaacc"})
        EXPECT_EQ(changes.count(expected), 1u) << expected;
    for (const std::string &changed : changes)
    {
        ASSERT_EQ(changed.substr(0, 1), "!");
        std::string rest = changed.substr(1);
        while (!rest.empty())
        {
            const std::size_t bytes = rest[0] == 'B' ? 3 : 2;
            ASSERT_EQ(rest.substr(0, bytes), std::string(bytes, rest[0])) << changed;
            rest = rest.substr(bytes);
        }
    }
}

TEST(InputParts, ATextKeepsItsHeadsUpperBitsAndWhatFollowsIt)
{
    SInputParts parts;
    parts.m_Texts = {{1, 3, "", "*?"}};
    bool hasSpecial = false;
    bool hasLost = false;
    for (const std::string &changed : Changes("!\xC3xyz.", parts))
    {
        ASSERT_GE(changed.size(), 3u);
        const auto head = static_cast<std::uint8_t>(changed[1]);
        EXPECT_EQ(head & 0xC0, 0xC0);
        ASSERT_EQ(changed.size(), 3u + (head & 0x3F));
        EXPECT_EQ(changed.front(), '!');
        EXPECT_EQ(changed.back(), '.');
        hasSpecial = hasSpecial || changed.find("y*?z") != std::string::npos;
        hasLost = hasLost || changed == "!\xC1x.";
    }
    EXPECT_TRUE(hasSpecial);
    EXPECT_TRUE(hasLost);
}

TEST(InputParts, ATextTakesLengthsThatMakeADifference)
{
    SInputParts parts;
    parts.m_Texts = {{0, 2, "", ""}};
    const std::set<std::string> changes = Changes("\x02xy", parts);
    for (const unsigned length : {0u, 1u, 15u, 16u, 17u, 31u, 32u, 33u, 63u})
    {
        std::string expected(1, static_cast<char>(length));
        for (unsigned i = 0; i < length; ++i)
            expected += "xy"[i % 2];
        EXPECT_EQ(changes.count(expected), 1u) << length;
    }
}

TEST(InputParts, PiecesOfOneTextGoIntoAnotherByItsLetters)
{
    SInputParts parts;
    // "ba" by numbers of letters, and "*" by itself.
    parts.m_Texts = {{0, 2, "ab*", ""}, {3, 1, "", ""}};
    const std::set<std::string> changes = Changes(std::string("\x02\x01\x03\x01*", 5), parts);
    EXPECT_EQ(changes.count(std::string("\x03\x01\x02\x00\x01*", 6)), 1u);
    EXPECT_EQ(changes.count(std::string("\x02\x01\x03\x02*b", 6)), 1u);
}

TEST(InputParts, AnInputWithoutPartsIsLeftToOthers)
{
    CInputRandom random(1);
    EXPECT_TRUE(ChangeParts(Bytes("abc"), SInputParts(), random).empty());
}
