// Equality, order and part-of questions in all their forms: strings, views, buffers and the helpers on blocks.
#include <algorithm>

#include "edit_model.h"
#include "fuzz_support.h"
#include "kr_string_std.h"
#include "search_model.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

constexpr ECaseSensitivity kSensitivities[] = {CaseSensitive, CaseInsensitive};

bool IsEmpty(const std::string &text)
{
    return text.empty() || text[0] == '\0';
}

// Unsigned bytes, one after the other; the shorter text first.
int ModelOrder(const std::string &a, const std::string &b, bool ignoreCase)
{
    return ModelLess(b, a, ignoreCase) - ModelLess(a, b, ignoreCase);
}

int SignOf(s32 value)
{
    return (value > 0) - (value < 0);
}

// Two texts in every form. Texts without characters are strings without a container and views of null.
struct SPair
{
    SPair(const std::string &a, const std::string &b, u32 capacity)
        : m_TextA(a),
          m_TextB(b),
          m_StringA(a.empty() ? CString() : NewString(a, capacity)),
          m_StringB(b.empty() ? CString() : NewString(b, 0)),
          m_ExactA(a, false),
          m_ExactB(b, false),
          m_BufferA(ModelToTerminator(a)),
          m_BufferB(ModelToTerminator(b))
    {
    }

    CStringView ViewA() const { return m_TextA.empty() ? CStringView() : m_ExactA.View(); }
    CStringView ViewB() const { return m_TextB.empty() ? CStringView() : m_ExactB.View(); }

    std::string m_TextA;
    std::string m_TextB;
    CString m_StringA;
    CString m_StringB;
    CExactText m_ExactA;
    CExactText m_ExactB;
    CExactText m_BufferA;
    CExactText m_BufferB;
};

void CheckEquality(const SPair &pair)
{
    const std::string &a = pair.m_TextA;
    const std::string &b = pair.m_TextB;
    const std::string endedA = pair.m_BufferA.Text();
    const std::string endedB = pair.m_BufferB.Text();
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        const bool ignoreCase = sensitivity != CaseSensitive;
        const bool endedEqual = ModelEqual(endedA, endedB, ignoreCase);
        const bool strings = a.empty() || b.empty() ? IsEmpty(a) && IsEmpty(b) : ModelEqual(a, b, ignoreCase);
        const bool stringWithView = a.empty() ? b.empty() : b.empty() ? IsEmpty(a) : a.size() == b.size() && endedEqual;
        QV_FUZZ_CHECK(pair.m_StringA.Compare(pair.m_StringB, sensitivity) == strings);
        QV_FUZZ_CHECK(pair.m_StringA.Compare(pair.ViewB(), sensitivity) == stringWithView);
        QV_FUZZ_CHECK(pair.m_StringA.Compare(pair.m_BufferB.Data(), sensitivity) == endedEqual);
        QV_FUZZ_CHECK(pair.ViewA().Compare(pair.ViewB(), sensitivity) == (a.size() == b.size() && endedEqual));
        QV_FUZZ_CHECK(pair.ViewA().Compare(pair.m_BufferB.Data(), sensitivity) == endedEqual);
    }

    const bool stringIsView = b.empty() ? IsEmpty(a) : !IsEmpty(a) && a == b;
    QV_FUZZ_CHECK((pair.m_StringA == pair.ViewB()) == stringIsView);
    QV_FUZZ_CHECK((pair.ViewB() == pair.m_StringA) == stringIsView);
    QV_FUZZ_CHECK((pair.m_StringA != pair.ViewB()) != stringIsView);
    QV_FUZZ_CHECK((pair.ViewA() == pair.ViewB()) == (a == b));
    QV_FUZZ_CHECK((pair.ViewA() == pair.m_BufferB.Data()) == (a == endedB));
    QV_FUZZ_CHECK((pair.m_BufferB.Data() == pair.ViewA()) == (a == endedB));
    QV_FUZZ_CHECK((pair.m_StringA == pair.m_BufferB.Data()) == (endedA == endedB));
    QV_FUZZ_CHECK((pair.m_BufferB.Data() != pair.m_StringA) == (endedA != endedB));
    QV_FUZZ_CHECK((pair.m_StringA == pair.m_StringB) == pair.m_StringA.Compare(pair.m_StringB, CaseSensitive));
}

void CheckOrder(const SPair &pair)
{
    const std::string &a = pair.m_TextA;
    const std::string &b = pair.m_TextB;
    const int views = ModelOrder(a, b, false);
    QV_FUZZ_CHECK((pair.m_StringA < pair.ViewB()) == (views < 0) && (pair.m_StringA > pair.ViewB()) == (views > 0));
    QV_FUZZ_CHECK((pair.m_StringA <= pair.ViewB()) == (views <= 0) && (pair.ViewA() >= pair.m_StringB) == (views >= 0));

    // Every buffer is behind a string without a container.
    const int buffers = a.empty() ? -1 : ModelOrder(pair.m_BufferA.Text(), pair.m_BufferB.Text(), false);
    const char *buffer = pair.m_BufferB.Data();
    QV_FUZZ_CHECK((pair.m_StringA < buffer) == (buffers < 0) && (pair.m_StringA > buffer) == (buffers > 0));
    QV_FUZZ_CHECK((buffer < pair.m_StringA) == (buffers > 0) && (buffer >= pair.m_StringA) == (buffers <= 0));

    // With terminators within, strings promise no more than to stay within their blocks.
    const bool plain = !HoldsTerminator(a + b);
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        const bool less = pair.m_StringA.LessThan(pair.m_StringB, sensitivity);
        QV_FUZZ_CHECK(!plain || less == (ModelOrder(a, b, sensitivity != CaseSensitive) < 0));
    }
    const bool less = pair.m_StringA < pair.m_StringB;
    const bool greater = pair.m_StringA > pair.m_StringB;
    QV_FUZZ_CHECK(!(less && greater));
    QV_FUZZ_CHECK(!plain || (less == (views < 0) && greater == (views > 0)));
}

void CheckParts(const SPair &pair)
{
    const std::string &a = pair.m_TextA;
    const std::string &b = pair.m_TextB;
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        const bool ignoreCase = sensitivity != CaseSensitive;
        const bool starts = SearchModelStartsWith(a, b, ignoreCase);
        const bool ends = SearchModelEndsWith(a, b, ignoreCase);
        const bool contains = SearchModelFind(a, b, ignoreCase) != std::string::npos;
        QV_FUZZ_CHECK(pair.ViewA().StartsWith(pair.ViewB(), sensitivity) == starts);
        QV_FUZZ_CHECK(pair.ViewA().EndsWith(pair.ViewB(), sensitivity) == ends);
        QV_FUZZ_CHECK(pair.ViewA().Contains(pair.ViewB(), sensitivity) == contains);
        QV_FUZZ_CHECK(pair.m_StringA.StartsWith(pair.m_StringB, sensitivity) == starts);
        QV_FUZZ_CHECK(pair.m_StringA.EndsWith(pair.m_StringB, sensitivity) == ends);
        QV_FUZZ_CHECK(pair.m_StringA.Contains(pair.m_StringB, sensitivity) == contains);

        const char *found =
            ignoreCase
                ? SNativeStringUtils::FindCase(pair.m_ExactA.Data(), LengthOf(a), pair.m_ExactB.Data(), LengthOf(b))
                : SNativeStringUtils::Find(pair.m_ExactA.Data(), LengthOf(a), pair.m_ExactB.Data(), LengthOf(b));
        const std::size_t at = found != nullptr ? static_cast<std::size_t>(found - pair.m_ExactA.Data()) : a.npos;
        QV_FUZZ_CHECK(at == SearchModelFind(a, b, ignoreCase));
    }
}

void CheckNatives(const SPair &pair)
{
    typedef SNativeStringUtils Utils;
    const std::string a = pair.m_BufferA.Text();
    const std::string b = pair.m_BufferB.Text();
    const char *const dataA = pair.m_BufferA.Data();
    const char *const dataB = pair.m_BufferB.Data();
    QV_FUZZ_CHECK(Utils::Length(dataA) == a.size());
    QV_FUZZ_CHECK(Utils::Equal(dataA, dataB) == (a == b));
    QV_FUZZ_CHECK(Utils::EqualCase(dataA, dataB) == ModelEqual(a, b, true));
    QV_FUZZ_CHECK(SignOf(Utils::Compare(dataA, dataB)) == ModelOrder(a, b, false));
    QV_FUZZ_CHECK(SignOf(Utils::CompareCase(dataA, dataB)) == ModelOrder(a, b, true));
    QV_FUZZ_CHECK(Utils::StartsWith(dataA, dataB) == SearchModelStartsWith(a, b, false));
    QV_FUZZ_CHECK(Utils::StartsWithCase(dataA, dataB) == SearchModelStartsWith(a, b, true));
    QV_FUZZ_CHECK(Utils::EndsWith(dataA, dataB) == SearchModelEndsWith(a, b, false));
    QV_FUZZ_CHECK(Utils::EndsWithCase(dataA, dataB) == SearchModelEndsWith(a, b, true));
    QV_FUZZ_CHECK(Utils::Contains(dataA, dataB) == (SearchModelFind(a, b, false) != a.npos));
    QV_FUZZ_CHECK(Utils::ContainsCase(dataA, dataB) == (SearchModelFind(a, b, true) != a.npos));
}

void CheckBlocks(const SPair &pair, u32 wanted)
{
    typedef SNativeStringUtils Utils;
    const CBlockText blocksA(pair.m_TextA);
    const CBlockText blocksB(pair.m_TextB);
    const std::string everythingA = blocksA.Everything();
    const std::string everythingB = blocksB.Everything();
    const u32 length = std::min(wanted, LengthOf(everythingA.size() < everythingB.size() ? everythingA : everythingB));
    const std::string a = everythingA.substr(0, length);
    const std::string b = everythingB.substr(0, length);
    const char *const dataA = blocksA.Data();
    const char *const dataB = blocksB.Data();
    QV_FUZZ_CHECK(Utils::Equal_16(dataA, dataB, length) == (a == b));
    QV_FUZZ_CHECK(Utils::EqualCase_16(dataA, dataB, length) == ModelEqual(a, b, true));
    QV_FUZZ_CHECK(SignOf(Utils::Compare_16(dataA, dataB, length)) == ModelOrder(a, b, false));
    QV_FUZZ_CHECK(SignOf(Utils::CompareCase_16(dataA, dataB, length)) == ModelOrder(a, b, true));
    QV_FUZZ_CHECK(Utils::Length_16(dataA) == pair.m_BufferA.Length());
    QV_FUZZ_CHECK(
        Utils::EqualCase(pair.m_ExactA.Data(), pair.m_ExactB.Data(),
                         std::min(pair.m_ExactA.Length(), pair.m_ExactB.Length())) ==
        ModelEqual(pair.m_TextA.substr(0, pair.m_TextB.size()), pair.m_TextB.substr(0, pair.m_TextA.size()), true));
}

// What keys of the standard's containers go by: of texts that begin with a terminator, nothing.
void CheckKeys(const SPair &pair)
{
    const std::string a = IsEmpty(pair.m_TextA) ? std::string() : pair.m_TextA;
    const std::string b = IsEmpty(pair.m_TextB) ? std::string() : pair.m_TextB;
    const std::string lowerA = ModelLowercase(a);
    const std::string lowerB = ModelLowercase(b);
    QV_FUZZ_CHECK(SStringLess()(pair.m_StringA, pair.ViewB()) == (a < b));
    QV_FUZZ_CHECK(SStringLessCaseInsensitive()(pair.ViewA(), pair.ViewB()) == (lowerA < lowerB));
    QV_FUZZ_CHECK(SStringLessCaseInsensitive()(pair.m_StringB, pair.ViewA()) == (lowerB < lowerA));
    QV_FUZZ_CHECK(SStringEqualCaseInsensitive()(pair.ViewA(), pair.m_StringB) == (lowerA == lowerB));
    const std::size_t hash = SStringHashCaseInsensitive()(pair.ViewA());
    QV_FUZZ_CHECK(hash == SStringHashCaseInsensitive()(pair.m_StringA) && hash == SStringHashCaseInsensitive()(lowerA));
    // Two of 64 bits that are the same by chance will not be met.
    QV_FUZZ_CHECK((hash == SStringHashCaseInsensitive()(pair.ViewB())) == (lowerA == lowerB));

    using Utils = SNativeStringUtils;
    const CExactText &exactA = pair.m_ExactA;
    const u64 all = Utils::HashCase(exactA.Data(), exactA.Length());
    QV_FUZZ_CHECK(all == Utils::HashCase(ModelUppercase(pair.m_TextA).data(), exactA.Length()));
    const u32 common = std::min(exactA.Length(), pair.m_ExactB.Length());
    QV_FUZZ_CHECK(SignOf(Utils::CompareCase(exactA.Data(), pair.m_ExactB.Data(), common)) ==
                  ModelOrder(pair.m_TextA.substr(0, common), pair.m_TextB.substr(0, common), true));
}

// The second text: one of its own, or the first one with a character changed, a piece of it, or that in the other case.
std::string SecondText(CInput &input, const std::string &first)
{
    const u32 kind = input.Below(4);
    if (kind == 0)
        return input.Text();
    const u32 at = input.Below(LengthOf(first) + 1);
    std::string text = kind == 1 ? first : first.substr(at, input.Below(LengthOf(first) + 1));
    if (kind == 1 && at < text.size())
        text[at] = static_cast<char>(input.Byte());
    return kind == 3 ? ModelUppercase(text) : text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters(std::string("aAbB\xE1\0", 6));
    const std::string first = input.Text();
    const std::string second = SecondText(input, first);
    const u32 capacity = input.Byte();
    const u32 wanted = input.Below(1024);
    const SPair pair(first, second, capacity);
    if (watch.HasRefused())
        return 0;

    watch.BeginStep();
    CheckEquality(pair);
    CheckOrder(pair);
    CheckParts(pair);
    CheckNatives(pair);
    CheckBlocks(pair, wanted);
    CheckKeys(pair);
    QV_FUZZ_CHECK(!watch.HasAllocated() && !watch.HasReported());
    return 0;
}
