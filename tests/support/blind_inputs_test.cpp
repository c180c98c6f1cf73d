// Inputs by chance: what they are made of, and that a number stands for one of them.
#include "blind_inputs.h"

#include <algorithm>
#include <set>
#include <string>

#include <gtest/gtest.h>

using namespace QuorvaneFuzz;

namespace
{

CInputBytes BytesOf(const std::string &text)
{
    return CInputBytes(text.begin(), text.end());
}

std::vector<std::string> ShortTexts(const std::string &input, std::vector<std::size_t> steps)
{
    SInputParts parts;
    parts.m_Steps = std::move(steps);
    std::vector<std::string> all;
    for (const CInputBytes &bytes : ShortInputs(BytesOf(input), parts))
        all.emplace_back(bytes.begin(), bytes.end());
    return all;
}

// Inputs 0 to 3999 of one known input, which has no parts.
std::vector<CInputBytes> MadeOf(const std::string &known)
{
    CBlindInputs inputs;
    inputs.Add(BytesOf(known), SInputParts());
    std::vector<CInputBytes> all;
    for (std::uint64_t number = 0; number < 4000; ++number)
        all.push_back(inputs.Make(number));
    return all;
}

} // namespace

TEST(BlindInputs, WholeStepsOf16BytesComeBehindWhatGoesBeforeTheFirst)
{
    const std::vector<std::string> expected = {"!?aaaaaaaabbbbbbbb", "!?bbbbbbbb", "!?cccccccccdd", "!?dd"};
    EXPECT_EQ(ShortTexts("!?aaaaaaaabbbbbbbbcccccccccdd", {2, 10, 18, 27}), expected);
}

TEST(BlindInputs, AStepOfMoreIsThereAlone)
{
    const std::vector<std::string> expected = {"!aaaaaaaaaaaaaaaaa", "!b"};
    EXPECT_EQ(ShortTexts("!aaaaaaaaaaaaaaaaab", {1, 18}), expected);
}

TEST(BlindInputs, WithoutStepsThereAreTheFirst24Bytes)
{
    EXPECT_EQ(ShortTexts("abcdefghijklmnopqrstuvwxyz", {}), std::vector<std::string>{"abcdefghijklmnopqrstuvwx"});
    EXPECT_EQ(ShortTexts("abc", {}), std::vector<std::string>{"abc"});
}

TEST(BlindInputs, ANumberStandsForOneInput)
{
    EXPECT_EQ(MadeOf("abcdefgh"), MadeOf("abcdefgh"));
    const std::vector<CInputBytes> all = MadeOf("abcdefgh");
    EXPECT_GT(std::set<CInputBytes>(all.begin(), all.end()).size(), all.size() / 2);
}

TEST(BlindInputs, OneInEightIsAnyBytesAndTheOthersAreKnownButForFour)
{
    const std::string known(40, 'k');
    std::size_t any = 0;
    for (const CInputBytes &bytes : MadeOf(known))
    {
        const std::ptrdiff_t kept = std::count(bytes.begin(), bytes.end(), 'k');
        if (bytes.size() <= 24)
            ++any;
        else
        {
            ASSERT_GE(kept, 36);
            ASSERT_LE(static_cast<std::ptrdiff_t>(bytes.size()) - kept, 4);
        }
    }
    EXPECT_GT(any, 4000u / 10);
    EXPECT_LT(any, 4000u / 6);
}

TEST(BlindInputs, PartsOfKnownInputsAreChanged)
{
    SInputParts parts;
    parts.m_Steps = {0, 2};
    CBlindInputs inputs;
    inputs.Add(BytesOf("aabb"), parts);
    std::set<CInputBytes> all;
    for (std::uint64_t number = 0; number < 1000; ++number)
        all.insert(inputs.Make(number));
    for (const char *expected : {"aa", "bb", "bbaa", "aaaabb"})
        EXPECT_EQ(all.count(BytesOf(expected)), 1u) << expected;
}
