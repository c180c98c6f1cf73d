// Every short text compared with every other one, in each form. What is right, the standard's strings say, which order by
// unsigned bytes as well.
#include <string>

#include <gtest/gtest.h>

#include "comparison_matrix.h"
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

int SignOfOrder(int order)
{
    return (order > 0) - (order < 0);
}

// The operators between all forms of text, but for what is a buffer on both sides.
Wrong WrongOperators(const SEveryText &a, const SEveryText &b)
{
    const unsigned wrong =
        CountWrongComparisons(a.m_String, a.m_Text.c_str(), b.m_String, b.m_Text.c_str(), a.m_Text.compare(b.m_Text));
    return wrong == 0 ? nullptr : "operators";
}

Wrong WrongFunctions(const SEveryText &a, const SEveryText &b, bool ignoreCase)
{
    const int order = SignOfOrder(a.In(ignoreCase).compare(b.In(ignoreCase)));
    const bool equal = order == 0;
    const ECaseSensitivity sensitivity = ignoreCase ? CaseInsensitive : CaseSensitive;
    const char *const bufferA = a.m_Text.c_str();
    const char *const bufferB = b.m_Text.c_str();
    QV_TEST_SAME(a.m_String.Compare(b.m_String, sensitivity), equal);
    QV_TEST_SAME(a.m_String.Compare(b.View(), sensitivity), equal);
    QV_TEST_SAME(a.m_String.Compare(bufferB, sensitivity), equal);
    QV_TEST_SAME(a.View().Compare(b.View(), sensitivity), equal);
    QV_TEST_SAME(a.View().Compare(bufferB, sensitivity), equal);
    QV_TEST_SAME(a.m_String.LessThan(b.m_String, sensitivity), order < 0);
    QV_TEST_SAME((ignoreCase ? Utils::EqualCase(bufferA, bufferB) : Utils::Equal(bufferA, bufferB)), equal);
    QV_TEST_SAME(SignOfOrder(ignoreCase ? Utils::CompareCase(bufferA, bufferB) : Utils::Compare(bufferA, bufferB)),
                 order);
    return nullptr;
}

// By blocks, as far as both containers reach: the terminator of the shorter one decides at the latest.
Wrong WrongByBlocks(const SEveryText &a, const SEveryText &b, bool ignoreCase)
{
    const int order = SignOfOrder(a.In(ignoreCase).compare(b.In(ignoreCase)));
    const char *const dataA = a.m_String.Data();
    const char *const dataB = b.m_String.Data();
    const u32 whole = a.Length() + 1;
    const s32 compared =
        ignoreCase ? Utils::CompareCase_16(dataA, dataB, whole) : Utils::Compare_16(dataA, dataB, whole);
    QV_TEST_SAME(SignOfOrder(compared), order);
    if (a.Length() == b.Length())
    {
        const u32 length = a.Length();
        QV_TEST_SAME((ignoreCase ? Utils::EqualCase_16(dataA, dataB, length) : Utils::Equal_16(dataA, dataB, length)),
                     order == 0);
    }
    // Any part that both have, which needs no terminator.
    for (u32 length = 0; ignoreCase && length <= a.Length() && length <= b.Length(); ++length)
    {
        const int ofPart = SignOfOrder(a.m_Lower.compare(0, length, b.m_Lower, 0, length));
        QV_TEST_SAME(Utils::EqualCase(a.m_Text.data(), b.m_Text.data(), length), ofPart == 0);
        QV_TEST_SAME(SignOfOrder(Utils::CompareCase(a.m_Text.data(), b.m_Text.data(), length)), ofPart);
    }
    return nullptr;
}

Wrong WrongInPair(const SEveryText &a, const SEveryText &b)
{
    for (const bool ignoreCase : {false, true})
    {
        for (const auto check : {&WrongFunctions, &WrongByBlocks})
        {
            const Wrong wrong = check(a, b, ignoreCase);
            if (wrong != nullptr)
                return wrong;
        }
    }
    return WrongOperators(a, b);
}

TEST(ComparisonExhaustive, EveryPairOfTextsHasTheEqualityAndTheOrderOfItsBytes)
{
    const CDomain domain("aAb\xE9", Longest(kLongest));
    ForEveryPair(domain, domain, WrongInPair);
}

} // namespace
