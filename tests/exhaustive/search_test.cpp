// Every short text looked for in every other one, by each operation that does so. What is right, the standard's strings
// say.
#include <string>

#include <gtest/gtest.h>

#include "exhaustive.h"
#include "kr_buffer.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using Utils = SNativeStringUtils;

constexpr size_t kLongest = 5;
static_assert(CountTexts(4, kLongest) * CountTexts(4, kLongest) == 1863225, "the domain that is promised");

// Two letters that are the same but for case, a byte above 127, and the terminator.
const std::string kLetters("aA\xE9\0", 4);

CGuid GuidOf(size_t place)
{
    return place != std::string::npos ? CGuid(static_cast<u32>(place)) : CGuid();
}

const char *PointerOf(const char *text, size_t place)
{
    return place != std::string::npos ? text + place : nullptr;
}

bool StartsWith(const std::string &text, const std::string &part)
{
    return text.compare(0, part.size(), part) == 0;
}

bool EndsWith(const std::string &text, const std::string &part)
{
    return part.size() <= text.size() && text.compare(text.size() - part.size(), part.size(), part) == 0;
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// By all characters of both.
Wrong WrongByLength(const SEveryText &text, const SEveryText &part, bool ignoreCase)
{
    const std::string &in = text.In(ignoreCase);
    const std::string &wanted = part.In(ignoreCase);
    const ECaseSensitivity sensitivity = ignoreCase ? CaseInsensitive : CaseSensitive;
    const CString &string = text.m_String;
    const CStringView view = text.View();
    const CStringView partView = part.View();
    for (u32 start = 0; start <= text.Length() + 1; ++start)
    {
        // Beyond the length nothing is found, be it empty.
        const CGuid first = GuidOf(in.find(wanted, start));
        QV_TEST_SAME(string.FindText(partView, start, sensitivity), first);
        QV_TEST_SAME(view.FindText(partView, start, sensitivity), first);
    }
    const CGuid last = GuidOf(in.rfind(wanted));
    QV_TEST_SAME(string.FindLastText(partView, sensitivity), last);
    QV_TEST_SAME(view.FindLastText(partView, sensitivity), last);

    const bool starts = StartsWith(in, wanted);
    QV_TEST_SAME(string.StartsWith(part.m_String, sensitivity), starts);
    QV_TEST_SAME(string.StartsWith(partView, sensitivity), starts);
    QV_TEST_SAME(view.StartsWith(partView, sensitivity), starts);
    const bool ends = EndsWith(in, wanted);
    QV_TEST_SAME(string.EndsWith(part.m_String, sensitivity), ends);
    QV_TEST_SAME(string.EndsWith(partView, sensitivity), ends);
    QV_TEST_SAME(view.EndsWith(partView, sensitivity), ends);
    const bool contains = Contains(in, wanted);
    QV_TEST_SAME(string.Contains(part.m_String, sensitivity), contains);
    QV_TEST_SAME(string.Contains(partView, sensitivity), contains);
    QV_TEST_SAME(view.Contains(partView, sensitivity), contains);

    const char *const data = text.m_Text.data();
    const char *const found = PointerOf(data, in.find(wanted));
    QV_TEST_SAME((ignoreCase ? Utils::FindCase : Utils::Find)(data, text.Length(), part.m_Text.data(), part.Length()),
                 found);
    return nullptr;
}

// What is looked for as a terminated text.
Wrong WrongByTerminatedPart(const SEveryText &text, const SEveryText &part, bool ignoreCase)
{
    const std::string &in = text.In(ignoreCase);
    const std::string wanted = ModelToTerminator(part.In(ignoreCase));
    const ECaseSensitivity sensitivity = ignoreCase ? CaseInsensitive : CaseSensitive;
    const CString &string = text.m_String;
    const CStringView view = text.View();
    const char *const partText = part.m_Text.c_str();
    QV_TEST_SAME(string.FindText(partText, 0, sensitivity), GuidOf(in.find(wanted)));
    QV_TEST_SAME(view.FindText(partText, 1, sensitivity), GuidOf(in.find(wanted, 1)));
    QV_TEST_SAME(string.FindLastText(partText, sensitivity), GuidOf(in.rfind(wanted)));
    QV_TEST_SAME(view.FindLastText(partText, sensitivity), GuidOf(in.rfind(wanted)));
    QV_TEST_SAME(string.StartsWith(partText, sensitivity), StartsWith(in, wanted));
    QV_TEST_SAME(view.StartsWith(partText, sensitivity), StartsWith(in, wanted));
    QV_TEST_SAME(string.EndsWith(partText, sensitivity), EndsWith(in, wanted));
    QV_TEST_SAME(view.EndsWith(partText, sensitivity), EndsWith(in, wanted));
    QV_TEST_SAME(string.Contains(partText, sensitivity), Contains(in, wanted));
    QV_TEST_SAME(view.Contains(partText, sensitivity), Contains(in, wanted));
    return nullptr;
}

// Both terminated.
Wrong WrongTerminated(const SEveryText &text, const SEveryText &part, bool ignoreCase)
{
    const std::string in = ModelToTerminator(text.In(ignoreCase));
    const std::string wanted = ModelToTerminator(part.In(ignoreCase));
    const char *const data = text.m_Text.c_str();
    const char *const partText = part.m_Text.c_str();
    QV_TEST_SAME((ignoreCase ? Utils::StartsWithCase : Utils::StartsWith)(data, partText), StartsWith(in, wanted));
    QV_TEST_SAME((ignoreCase ? Utils::EndsWithCase : Utils::EndsWith)(data, partText), EndsWith(in, wanted));
    QV_TEST_SAME((ignoreCase ? Utils::ContainsCase : Utils::Contains)(data, partText), Contains(in, wanted));
    return nullptr;
}

// Up to the first terminator at or behind the place where the search begins; at the end itself nothing is found.
Wrong WrongFromEachStart(const SEveryText &text, const SEveryText &part)
{
    const std::string wanted = ModelToTerminator(part.m_Text);
    for (u32 start = 0; start <= text.Length(); ++start)
    {
        const size_t place = ModelToTerminator(text.m_Text.substr(start)).find(wanted);
        const bool isFound = start < text.Length() && place != std::string::npos;
        QV_TEST_SAME(text.m_String.FindNextOf(part.m_Text.c_str(), start),
                     isFound ? CGuid(static_cast<u32>(start + place)) : CGuid());
    }
    return nullptr;
}

Wrong WrongInPair(const SEveryText &text, const SEveryText &part)
{
    for (const bool ignoreCase : {false, true})
    {
        for (const auto check : {&WrongByLength, &WrongByTerminatedPart, &WrongTerminated})
        {
            const Wrong wrong = check(text, part, ignoreCase);
            if (wrong != nullptr)
                return wrong;
        }
    }
    return WrongFromEachStart(text, part);
}

TEST(SearchExhaustive, EveryTextIsFoundInEveryOtherWhereItStandsAndNowhereElse)
{
    const CDomain domain(kLetters, Longest(kLongest));
    ForEveryPair(domain, domain, WrongInPair);
}

// Each character in every text, from every start, and the last one.
Wrong WrongCharacters(const SEveryText &text)
{
    for (const char character : {'a', 'A', '\xE9', '\0', 'x'})
    {
        for (u32 start = 0; start <= text.Length() + 1; ++start)
        {
            const CGuid first = GuidOf(text.m_Text.find(character, start));
            QV_TEST_SAME(text.m_String.FindNextOf(character, start), first);
            QV_TEST_SAME(text.View().FindNextOf(character, start), first);
        }
        const CGuid last = GuidOf(text.m_Text.rfind(character));
        QV_TEST_SAME(text.m_String.FindLastOf(character), last);
        QV_TEST_SAME(text.View().FindLastOf(character), last);
        QV_TEST_SAME(Utils::FindLast(text.m_Text.data(), text.Length(), character),
                     PointerOf(text.m_Text.data(), text.m_Text.rfind(character)));
    }
    return nullptr;
}

TEST(SearchExhaustive, EveryCharacterIsFoundInEveryTextWhereItStandsAndNowhereElse)
{
    ForEveryText(CDomain(kLetters, Longest(7)), WrongCharacters);
}

} // namespace
