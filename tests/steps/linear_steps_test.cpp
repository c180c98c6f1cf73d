// Everything else that reads or writes a text: linear in what is read and in the result.
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "every_text.h"
#include "hard_needles.h"
#include "kr_string.h"
#include "kr_string_numbers.h"
#include "step_count.h"
#include "wide_choice.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// Steps for each character that is read or written, and for a call. What makes a string of each piece takes most.
constexpr u64 kPerCharacter = 20;
constexpr u64 kPerPiece = 150;
constexpr u64 kPerCall = 600;

CString StringOf(const std::string &text)
{
    return CString(text.data(), static_cast<u32>(text.size()));
}

// Of `characters` read and written in all, and `pieces` made.
template <typename Operation>
void ExpectLinear(const char *operation, const std::string &input, u64 characters, u64 pieces, const Operation &run)
{
    ExpectSteps(operation, input, StepsOf(run), kPerCharacter * characters + kPerPiece * pieces + kPerCall);
}

struct SInput
{
    std::string m_Name;
    std::string m_Text;
};

// Texts of which each character is what some operation has to do with: to be escaped, to be stripped, a separator, a
// comment or half of one, a slash, a line end, a digit, a letter of either case; and each of these in turn with another.
std::vector<SInput> HardTexts(size_t length)
{
    std::vector<SInput> inputs;
    for (const char *piece :
         {"\n",   "\\", "\\n", "\\\\n",    "\"", "'",    " ",    " a",     "a ",   ",",       ",,a",   "a,",
          "/",    "/*", "*/",  "/**/",     "//", "//\n", "/*\"", "\"/*\"", "'\\'", "\"\\\n",  "/\\\n", "//\\\r\n",
          "\r\n", "\r", "../", "a/../",    "./", "a/",   "0",    "9",      "-",    "+",       "e",     ".",
          "0x",   "aB", "Ab",  "aaaaaaab", "{",  "%",    "\t",   "a\t",    "\x80", "\xFF\x01"})
        inputs.push_back({std::string("'") + piece + "'", Repeated(piece, length)});
    inputs.push_back({"open comment", "/*" + std::string(length, '*')});
    inputs.push_back({"open literal", "\"" + Repeated("\\\"", length)});
    inputs.push_back({"a text with blanks around", std::string(length / 2, ' ') + "a" + std::string(length / 2, ' ')});
    inputs.push_back({"Fibonacci", FibonacciWord(length)});
    return inputs;
}

void ExpectLinearEdits(const std::string &name, const std::string &text)
{
    const u64 length = text.size();
    const auto expect = [&](const char *operation, const auto &edit)
    {
        CString string = StringOf(text);
        CString shared = string;
        u64 written = 0;
        // Both in place and of a shared string, which is copied first.
        ExpectLinear(operation, name, 2 * length, 1, [&] { edit(string), written = string.Length(); });
        ExpectLinear(operation, name + ", shared", 2 * length, 1, [&] { edit(shared); });
        EXPECT_LE(written, 4 * length);
    };
    expect("Escape", [](CString &string) { string.Escape(); });
    expect("Unescape", [](CString &string) { string.Unescape(); });
    expect("Uncomment", [](CString &string) { string.Uncomment(); });
    expect("Strip", [](CString &string) { string.Strip(" \n\\/,"); });
    expect("StripLeft", [](CString &string) { string.StripLeft(" \n\\/,"); });
    expect("StripRight", [](CString &string) { string.StripRight(" \n\\/,"); });
    expect("ToUppercase", [](CString &string) { string.ToUppercase(); });
    expect("ToLowercase", [](CString &string) { string.ToLowercase(); });
    expect("Reverse", [](CString &string) { string.Reverse(); });
    expect("Append", [](CString &string) { string.Append(string); });
    expect("Prepend", [](CString &string) { string.Prepend(string); });
    expect("Insert", [](CString &string) { string.Insert(string.Length() / 2, string); });
    expect("Erase", [](CString &string) { string.Erase(1, string.Length() / 2); });
    expect("ConformTo", [](CString &string) { string.ConformTo(CasingType_Uppercase); });
}

void ExpectLinearReading(const std::string &name, const std::string &text)
{
    const u64 length = text.size();
    const CString string = StringOf(text);
    const CString same = StringOf(text);
    const CString other = StringOf(text + "b");
    const auto expect = [&](const char *operation, const auto &read)
    { ExpectLinear(operation, name, 2 * length, 1, [&] { static_cast<void>(read()); }); };
    expect("Compare", [&] { return string.Compare(same); });
    expect("Compare, no case", [&] { return string.Compare(same, CaseInsensitive); });
    expect("LessThan", [&] { return string.LessThan(other); });
    expect("LessThan, no case", [&] { return string.LessThan(other, CaseInsensitive); });
    expect("StartsWith", [&] { return other.StartsWith(string); });
    expect("StartsWith, no case", [&] { return other.StartsWith(string, CaseInsensitive); });
    expect("EndsWith", [&] { return other.EndsWith(string); });
    expect("EndsWith, no case", [&] { return other.EndsWith(string, CaseInsensitive); });
    expect("HashCase", [&] { return SNativeStringUtils::HashCase(string.Data(), string.Length()); });
    expect("AnalyzeCasing", [&] { return string.AnalyzeCasing(); });
    expect("IsUpper", [&] { return string.IsUpper(); });
    expect("FindFirstOf a character", [&] { return string.FindFirstOf('\x02'); });
    expect("FindLastOf a character", [&] { return string.FindLastOf('\x02'); });
    expect("FindFirstOf a set", [&] { return string.FindFirstOf("\x02\x03\x04"); });
    expect("Empty of blanks", [&] { return string.Empty(" \n\\/,"); });
    expect("Strip of a view", [&] { return CStringView(string).Strip(" \n\\/,"); });
    expect("Extract", [&] { return string.Extract(0, string.Length()); });
    expect("Replace, characters", [&] { return string.Replace('a', 'b'); });
    s64 integer = 0;
    expect("ParseNumber", [&] { return ParseNumber(CStringView(string), integer).m_Position; });
    expect("ParseNumber, base 36", [&] { return ParseNumber(CStringView(string), integer, 36).m_Position; });
    CString column = string;
    expect("Ident", [&] { return column.Ident(3, 40, 4); });
}

void ExpectLinearSplits(const std::string &name, const std::string &text)
{
    const u64 length = text.size();
    const CString string = StringOf(text);
    TArray<CString> strings;
    TArray<CStringView> views;
    const auto expect = [&](const char *operation, const auto &split)
    {
        strings.Clear();
        views.Clear();
        const u64 steps = StepsOf(split);
        const u64 pieces = strings.Count() + views.Count();
        ExpectSteps(operation, name, steps, kPerCharacter * 2 * length + kPerPiece * (pieces + 1) + kPerCall);
    };
    for (const char separator : {',', 'a', '/', '\n'})
    {
        expect("Split into views", [&] { static_cast<void>(string.Split(separator, views)); });
        expect("Split into strings", [&] { static_cast<void>(string.Split(separator, strings)); });
    }
    const auto isSeparator = [](char character) { return character == ',' || character == '/'; };
    expect("Split by a predicate", [&] { static_cast<void>(string.Split(isSeparator, views)); });
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(",/\n");
    expect("Split in a batch", [&] { splitter.Split(string, strings); });

    const auto walk = [&](const char *operation, const auto &pieces)
    {
        u64 count = 0;
        const u64 steps = StepsOf(
            [&]
            {
                for (const CStringView &piece : pieces)
                    count += piece.Length() + 1 != 0 ? 1 : 0;
            });
        ExpectSteps(operation, name, steps, kPerCharacter * 2 * length + kPerPiece * (count + 1) + kPerCall);
    };
    walk("Pieces", Pieces(string, ','));
    walk("Pieces, with empty ones", Pieces(string, ',').WithEmpty());
    walk("Pieces, from the end", Pieces(string, ',').FromEnd());
    walk("PiecesOfSet", PiecesOfSet(string, ",/\n"));
    walk("PiecesOfSet, from the end", PiecesOfSet(string, ",/\n").FromEnd());
    walk("Lines", Lines(string));
    walk("Lines, from the end", Lines(string).FromEnd());
    walk("Pieces by two characters", Pieces(string, ",,").WithEmpty());
}

void ExpectLinearJoins(const std::string &name, const std::string &text)
{
    const CString string = StringOf(text);
    TArray<CStringView> pieces;
    for (u32 i = 0; i < 100; ++i)
        ASSERT_TRUE(pieces.PushBack(string).Valid());
    const u64 length = 100 * text.size();
    ExpectLinear("Join", name, 2 * length + 200, 100,
                 [&] {
                     static_cast<void>(
                         Join(", ", TStridedMemoryView<const CStringView>(pieces.Data(), 100, sizeof(CStringView))));
                 });
    ExpectLinear("Concat", name, 6 * text.size(), 3, [&] { static_cast<void>(Concat(string, string, string)); });
    ExpectLinear("Repeat", name, 2 * length, 1, [&] { static_cast<void>(string.Repeat(100)); });
}

TEST(LinearSteps, HardTextsOfThreeSizes)
{
    for (const size_t length : {size_t(40), size_t(600), size_t(3000)})
        for (const SInput &input : HardTexts(length))
        {
            const std::string name = input.m_Name + ", " + std::to_string(length);
            ExpectLinearEdits(name, input.m_Text);
            ExpectLinearReading(name, input.m_Text);
            ExpectLinearSplits(name, input.m_Text);
            if (length <= 600)
                ExpectLinearJoins(name, input.m_Text);
        }
    const CWideChoice choice(false);
    for (const SInput &input : HardTexts(1000))
    {
        ExpectLinearEdits(input.m_Name, input.m_Text);
        ExpectLinearReading(input.m_Name, input.m_Text);
        ExpectLinearSplits(input.m_Name, input.m_Text);
    }
}

TEST(LinearSteps, EveryShortText)
{
    // Some have no places as far behind as those that are asked for.
    const CAssertRecorder recorder;
    for (const std::string &text : EveryText("a/*\\\"\n", 3))
    {
        ExpectLinearEdits(text, text);
        ExpectLinearReading(text, text);
        ExpectLinearSplits(text, text);
    }
}

TEST(LinearSteps, RandomTexts)
{
    std::mt19937 random(1);
    for (int round = 0; round < 150; ++round)
    {
        std::string text(random() % 600, ' ');
        for (char &character : text)
            character = "aB ,/*\\\"'\n\r0"[random() % 12];
        const std::string name = "random " + std::to_string(round);
        ExpectLinearEdits(name, text);
        ExpectLinearReading(name, text);
        ExpectLinearSplits(name, text);
    }
}

} // namespace

} // namespace QuorvaneTest
