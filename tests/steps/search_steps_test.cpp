// Searches for a text: linear in text and needle, whatever they are.
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_text.h"
#include "hard_needles.h"
#include "kr_buffer/two_way_search.h"
#include "kr_string.h"
#include "step_count.h"
#include "wide_choice.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

struct SInput
{
    std::string m_Name;
    SHardCase m_Case;
};

// Steps for each character of the text and of the needle, with regard to case and without, and for a call.
constexpr u64 kPerCharacter = 80;
constexpr u64 kPerCharacterNoCase = 128;
constexpr u64 kPerCall = 2000;

// Needles that nearly stand everywhere. Besides those for all searches: needles whose two rarest characters are as
// common as others, needles that a window of a terminated text nearly holds, and needles that stand in the text often.
std::vector<SInput> HardInputs(size_t length)
{
    std::vector<SInput> inputs;
    size_t number = 0;
    for (const SHardCase &hard : HardCases(length))
        inputs.push_back({"near miss " + std::to_string(number++), hard});
    const std::string as(length, 'a');
    for (const size_t needle : {size_t(2), size_t(8), size_t(9), size_t(17), size_t(64), size_t(1000), length / 2})
    {
        const std::string name = " of " + std::to_string(needle);
        inputs.push_back({"a^n" + name, {as, std::string(needle, 'a')}});
        inputs.push_back({"b a^n" + name, {as, "b" + std::string(needle - 1, 'a')}});
        inputs.push_back({"a^n b" + name, {as, std::string(needle - 1, 'a') + "b"}});
        std::string middle(needle, 'a');
        middle[needle / 2] = 'b';
        inputs.push_back({"a^n b a^n" + name, {as, middle}});
        const std::string fibonacci = FibonacciWord(length);
        inputs.push_back({"Fibonacci" + name, {fibonacci, fibonacci.substr(length / 3, needle)}});
        // Found again and again, with as many near misses between as an occurrence is long.
        const std::string mixed = Repeated(std::string(needle, 'a') + "b" + std::string(needle - 1, 'a'), length);
        inputs.push_back({"found and missed" + name, {mixed, middle}});
    }
    // Long needles in texts of periods of about the square root of the length.
    const std::string period = std::string(180, 'a') + "b";
    inputs.push_back({"long period", {Repeated(period, length), Repeated(period, length / 3) + "bb"}});
    inputs.push_back({"long period backwards", {Repeated(period, length), "bb" + Repeated(period, length / 3)}});
    return inputs;
}

std::string Uppercase(std::string text)
{
    for (char &character : text)
        character = static_cast<char>(character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character);
    return text;
}

template <typename Search>
void ExpectLinear(const char *operation, const SInput &input, const Search &search)
{
    const bool noCase = std::string(operation).find("no case") != std::string::npos;
    const u64 characters = input.m_Case.m_Text.size() + input.m_Case.m_Needle.size();
    ExpectSteps(operation, input.m_Name + " in " + std::to_string(input.m_Case.m_Text.size()), StepsOf(search),
                (noCase ? kPerCharacterNoCase : kPerCharacter) * characters + kPerCall);
}

void ExpectLinearSearches(const SInput &input)
{
    const CString text(input.m_Case.m_Text.data(), static_cast<u32>(input.m_Case.m_Text.size()));
    const CString needle(input.m_Case.m_Needle.data(), static_cast<u32>(input.m_Case.m_Needle.size()));
    const std::string upper = Uppercase(input.m_Case.m_Needle);
    const CString upperNeedle(upper.data(), static_cast<u32>(upper.size()));
    ExpectLinear("FindText", input, [&] { static_cast<void>(text.FindText(needle)); });
    ExpectLinear("FindText, no case", input,
                 [&] { static_cast<void>(text.FindText(upperNeedle, 0, CaseInsensitive)); });
    ExpectLinear("FindLastText", input, [&] { static_cast<void>(text.FindLastText(needle)); });
    ExpectLinear("FindLastText, no case", input,
                 [&] { static_cast<void>(text.FindLastText(upperNeedle, CaseInsensitive)); });
    ExpectLinear("Contains", input, [&] { static_cast<void>(text.Contains(needle)); });
    ExpectLinear("Contains, no case", input, [&] { static_cast<void>(text.Contains(upperNeedle, CaseInsensitive)); });
    ExpectLinear("Contains, no length", input,
                 [&] { static_cast<void>(SNativeStringUtils::Contains(text.Data(), needle.Data())); });
    ExpectLinear("Contains, no length, no case", input,
                 [&] { static_cast<void>(SNativeStringUtils::ContainsCase(text.Data(), upperNeedle.Data())); });
    ExpectLinear("Replace, same length", input, [&] { static_cast<void>(text.Replace(needle, upperNeedle)); });
    ExpectLinear("Replace, shorter", input, [&] { static_cast<void>(text.Replace(needle, "")); });
    const auto countPieces = [](const auto &pieces)
    {
        u32 count = 0;
        for (const CStringView &piece : pieces)
            count += piece.Length() != 0 ? 1 : 0;
        return count;
    };
    ExpectLinear("Pieces by a text", input, [&] { countPieces(Pieces(text, needle).WithEmpty()); });
    ExpectLinear("Pieces by a text, from the end", input,
                 [&] { countPieces(Pieces(text, needle).WithEmpty().FromEnd()); });
}

// The counts must be able to grow: what is read is counted, in the library and in the platform's routines.
TEST(Steps, CountsWhatIsRead)
{
    const std::string text(100000, 'a');
    const CString string(text.data(), 100000);
    EXPECT_GE(StepsOf([&] { static_cast<void>(string.FindLastOf('b')); }), 100000u / 64);
    EXPECT_GE(StepsOf([&] { static_cast<void>(CStringView(string).Contains("b")); }), 100000u / 64);
    u32 pieces = 0;
    const u64 steps = StepsOf(
        [&]
        {
            for (const CStringView &piece : Pieces(string, 'a').WithEmpty())
                pieces += piece.Empty() ? 1 : 0;
        });
    EXPECT_EQ(pieces, 100001u);
    EXPECT_GE(steps, 100001u);
    EXPECT_EQ(StepsOf([] {}), StepsOf([] {}));
    EXPECT_LE(StepsOf([] {}), 4u);
}

// A search that compares at each place, counted by the same means, breaks the bound.
TEST(Steps, ASearchThatTriesEachPlaceIsFoundOut)
{
    const std::string text(8000, 'a');
    const std::string needle = std::string(2000, 'a') + "b";
    u32 tried = 0;
    const u64 steps = StepsOf(
        [&]
        {
            for (size_t at = 0; at + needle.size() <= text.size(); ++at)
                for (size_t i = 0; i < needle.size() && text[at + i] == needle[i]; ++i)
                    ++tried;
        });
    EXPECT_GT(steps, 2 * (kPerCharacterNoCase * (text.size() + needle.size()) + kPerCall));
}

TEST(SearchSteps, AdversariesOfThreeSizes)
{
    for (const size_t length : {size_t(600), size_t(2400), size_t(9600)})
        for (const SInput &input : HardInputs(length))
            ExpectLinearSearches(input);
    const CWideChoice choice(false);
    for (const SInput &input : HardInputs(2000))
        ExpectLinearSearches(input);
}

// What the platform compares counts a sixteenth, so that comparing in vain shows in long needles alone.
TEST(SearchSteps, LongNeedlesThatDifferInTheMiddle)
{
    for (const size_t half : {size_t(4096), size_t(16384)})
    {
        const std::string needle = std::string(half, 'a') + "b" + std::string(half, 'a');
        const SInput input = {"a^n b a^n", {std::string(4 * half, 'a'), needle}};
        const CString text(input.m_Case.m_Text.data(), static_cast<u32>(input.m_Case.m_Text.size()));
        ExpectLinear("Replace, shorter", input, [&] { static_cast<void>(text.Replace(needle.c_str(), "")); });
        ExpectLinear("FindText", input, [&] { static_cast<void>(text.FindText(needle.c_str())); });
        ExpectLinear("FindLastText", input, [&] { static_cast<void>(text.FindLastText(needle.c_str())); });
    }
}

// A text of no known length is searched a window at a time; of so long a needle each window holds a few.
TEST(SearchSteps, NeedlesLongerThanAWindowInTextsOfNoLength)
{
    const std::string needle = std::string(100000, 'a') + "b";
    const SInput input = {"a^n b", {std::string(300000, 'a'), needle}};
    const char *const text = input.m_Case.m_Text.c_str();
    ExpectLinear("Contains, no length", input,
                 [&] { static_cast<void>(SNativeStringUtils::Contains(text, needle.c_str())); });
    ExpectLinear("Contains, no length, no case", input,
                 [&] { static_cast<void>(SNativeStringUtils::ContainsCase(text, needle.c_str())); });
}

TEST(SearchSteps, EveryShortTextAndNeedle)
{
    for (const std::string &needle : EveryText("ab", 3))
        for (const std::string &text : EveryText("ab", 6))
            if (!needle.empty())
                ExpectLinearSearches({"'" + needle + "' in '" + text + "'", {text, needle}});
}

TEST(SearchSteps, RandomTextsOfPeriods)
{
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round)
    {
        std::string piece(1 + random() % 40, ' ');
        for (char &character : piece)
            character = "aab"[random() % 3];
        std::string text = Repeated(piece, 500 + random() % 3000);
        for (unsigned i = 0; i < random() % 6; ++i)
            text[random() % text.size()] = 'b';
        std::string needle = text.substr(random() % (text.size() / 2), 1 + random() % 400);
        needle[random() % needle.size()] = "ab"[random() % 2];
        ExpectLinearSearches({"random " + std::to_string(round), {text, needle}});
    }
}

struct SComparisonCounter
{
    u64 m_Comparisons = 0;

    void Count() { ++m_Comparisons; }
};

// The two-way search by itself, in the comparisons of characters that it promises.
TEST(SearchSteps, TheTwoWaySearchComparesWithinItsBound)
{
    const auto expect = [](const std::string &name, const std::string &text, const std::string &needle)
    {
        SComparisonCounter counter;
        const Internal::Buffer::TTwoWaySearch<Internal::Buffer::SCaseMatters, SComparisonCounter> search(
            needle.data(), needle.size(), counter);
        static_cast<void>(search.FindIn(text.data(), text.size()));
        ExpectSteps("comparisons of the two-way search", name, counter.m_Comparisons,
                    4 * text.size() + 10 * needle.size());
    };
    for (const size_t length : {size_t(600), size_t(2400), size_t(9600)})
        for (const SInput &input : HardInputs(length))
            expect(input.m_Name + " in " + std::to_string(length), input.m_Case.m_Text, input.m_Case.m_Needle);
    for (const std::string &needle : EveryText("ab", 5))
        for (const std::string &text : EveryText("ab", 9))
            if (!needle.empty())
                expect("'" + needle + "' in '" + text + "'", text, needle);
}

} // namespace

} // namespace QuorvaneTest
