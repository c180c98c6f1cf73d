// The kernels that compare and search, in every form: every length, every place in memory, every character as the one that
// differs or is looked for. Around each text lies nothing but what is looked for.
#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "buffer_model.h"
#include "every_place.h"
#include "kernel_forms.h"
#include "kr_buffer/buffer_find.h"
#include "kr_buffer/buffer_hash.h"
#include "kr_buffer/buffer_needle.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

template <typename Form>
using SearchKernelsExhaustive = CKernelTest<Form>;
TYPED_TEST_SUITE(SearchKernelsExhaustive, CEveryForm, SEveryFormNames);

// ---- Comparison -----------------------------------------------------------------------------------------------------

int SignOfOrder(s32 order)
{
    return (order > 0) - (order < 0);
}

// Two bytes that differ, in either order, and in regard of case as the first one says.
struct SDifference
{
    char m_Low;
    char m_High;
};

// The first two are no letters, and have the bits of letters of either case.
constexpr SDifference kDifferences[] = {{'[', '{'}, {'@', '`'}, {'\x7F', '\x80'}, {'a', 'b'}};

// Two texts in places of their own, different all around and the same but for case within. Containers are zero behind the
// text in every other place, as they promise to be, and differ there in the others, which no comparison may see.
class CCompared
{
public:
    explicit CCompared(CPlacedText::EKind kind) : m_Kind(kind), m_PlacedA(kind), m_PlacedB(kind) {}

    void Begin(u32 length, u32 place)
    {
        m_Length = length;
        m_A = m_PlacedA.Put(place, length, '1');
        m_B = m_PlacedB.Put(place < Place_AtEnd ? (place * 5 + 3) % 32 : place, length, '2');
        if (m_Kind == CPlacedText::Kind_Container && place % 2 == 0)
        {
            std::memset(m_A + length, 0, 16 - length % 16);
            std::memset(m_B + length, 0, 16 - length % 16);
        }
    }

    // Different at the hit, and behind it as well if that is wanted.
    void Write(u32 hit, bool allBehind, const SDifference &difference, bool ignoringCase)
    {
        for (u32 i = 0; i < m_Length; ++i)
        {
            const bool differs = i == hit || (allBehind && i > hit);
            m_A[i] = differs ? difference.m_Low : "kZ@\x80"[i % 4];
            m_B[i] = differs ? difference.m_High : (ignoringCase ? "Kz@\x80" : "kZ@\x80")[i % 4];
        }
    }

    // Calls `check(a, b, length, hit)` for all of it.
    template <typename Check>
    void Try(u32 minLength, bool ignoringCase, const Check &check)
    {
        ForEveryPlace(
            minLength, [&](u32 length, u32 place) { Begin(length, place); },
            [&](u32 length, u32 hit)
            {
                for (const SDifference &difference : kDifferences)
                    for (const bool allBehind : {false, true})
                    {
                        Write(hit, allBehind, difference, ignoringCase);
                        const Wrong wrong = check(m_A, m_B, length, hit);
                        if (wrong != nullptr)
                            return wrong;
                    }
                return Wrong(nullptr);
            });
    }

private:
    CPlacedText::EKind m_Kind;
    CPlacedText m_PlacedA;
    CPlacedText m_PlacedB;
    u32 m_Length = 0;
    char *m_A = nullptr;
    char *m_B = nullptr;
};

TYPED_TEST(SearchKernelsExhaustive, TheFirstDifferenceOfContainersIsFoundWhereverItIs)
{
    CCompared compared(CPlacedText::Kind_Container);
    compared.Try(0, false,
                 [](const char *a, const char *b, u32 length, u32 hit)
                 {
                     QV_TEST_SAME(TypeParam::FirstDifference(a, b, length), hit);
                     QV_TEST_SAME(SignOfOrder(TypeParam::CompareBytes(a, b, length)), hit < length ? -1 : 0);
                     QV_TEST_SAME(SignOfOrder(TypeParam::CompareBytes(b, a, length)), hit < length ? 1 : 0);
                     return Wrong(nullptr);
                 });
    compared.Try(0, true,
                 [](const char *a, const char *b, u32 length, u32 hit)
                 {
                     QV_TEST_SAME(TypeParam::FirstDifferenceIgnoringCase(a, b, length), hit);
                     QV_TEST_SAME(SignOfOrder(TypeParam::CompareBytesIgnoringCase(a, b, length)),
                                  hit < length ? -1 : 0);
                     return Wrong(nullptr);
                 });
}

TYPED_TEST(SearchKernelsExhaustive, TheFirstDifferenceOfCountedTextsIsFoundWhereverItIs)
{
    CCompared compared(CPlacedText::Kind_Counted);
    compared.Try(0, true,
                 [](const char *a, const char *b, u32 length, u32 hit)
                 {
                     QV_TEST_SAME(TypeParam::FirstDifferenceCase(a, b, length), hit);
                     return Wrong(nullptr);
                 });
    // Of a block at least.
    compared.Try(TypeParam::kBlockBytes, false,
                 [](const char *a, const char *b, u32 length, u32 hit)
                 {
                     QV_TEST_SAME(TypeParam::EqualInCounted(a, b, length), hit == length);
                     return Wrong(nullptr);
                 });
}

TYPED_TEST(SearchKernelsExhaustive, AHashIsThatOfTheLoweredCharactersWhereverTheyLieAndOfEachOfThem)
{
    CPlacedText placed(CPlacedText::Kind_Counted);
    char *text = nullptr;
    ForEveryPlace(
        Internal::Buffer::kHashStride + 1, [&](u32 length, u32 place) { text = placed.Put(place, length, 'x'); },
        [&](u32 length, u32 hit)
        {
            std::string lower(length, '\0');
            for (u32 i = 0; i < length; ++i)
            {
                text[i] = "aB@[\xC1z"[i % 6];
                lower[i] = "ab@[\xC1z"[i % 6];
            }
            for (u32 i = 0; i < 8; ++i)
                for (const u32 word : {0u, 1u})
                    QV_TEST_SAME(static_cast<char>(TypeParam::HashWordCase(text, word) >> 8 * i), lower[8 * word + i]);
            const u64 hash = SPortableKernels::HashStridesCase(lower.data(), length);
            QV_TEST_SAME(TypeParam::HashStridesCase(text, length), hash);
            if (hit < length)
            {
                text[hit] = '.';
                QV_TEST_SAME(TypeParam::HashStridesCase(text, length) != hash, true);
            }
            return Wrong(nullptr);
        });
}

// ---- One byte -------------------------------------------------------------------------------------------------------

// A text of others, with one character, or with all up to it.
void WriteHits(char *text, u32 length, u32 hit, bool allBefore, char character, const char *others)
{
    const u32 count = static_cast<u32>(std::strlen(others));
    for (u32 i = 0; i < length; ++i)
        text[i] = i == hit || (allBefore && i < hit) ? character : others[i % count];
}

TYPED_TEST(SearchKernelsExhaustive, ACharacterOfARangeIsFoundWhereverItStands)
{
    CPlacedText placed(CPlacedText::Kind_Counted);
    char *text = nullptr;
    for (const char character : {'a', 'm', 'z'})
        ForEveryPlace(
            0, [&](u32 length, u32 place) { text = placed.Put(place, length, character); },
            [&](u32 length, u32 hit)
            {
                WriteHits(text, length, hit, false, character, "`{AZ\xE1\xFA\x7F\x80");
                QV_TEST_SAME(TypeParam::AnyBetweenAscii(text, length, 'a', 'z'), hit < length);
                return Wrong(nullptr);
            });
}

TYPED_TEST(SearchKernelsExhaustive, TheLastByteIsFoundWhereverItStands)
{
    CPlacedText placed(CPlacedText::Kind_Counted);
    char *text = nullptr;
    for (const char character : {',', '\0', '\xFF'})
        ForEveryPlace(
            TypeParam::kFewestBytesToSearch,
            [&](u32 length, u32 place) { text = placed.Put(place, length, character); },
            [&](u32 length, u32 hit)
            {
                for (const bool allBefore : {false, true})
                {
                    WriteHits(text, length, hit, allBefore, character, "-\xAC\x7F\xFE\1");
                    const u32 last = hit < length           ? hit
                                     : allBefore && hit > 0 ? length - 1
                                                            : Internal::Buffer::kNoIndex;
                    QV_TEST_SAME(TypeParam::LastOfByte(text, length, character), last);
                }
                return Wrong(nullptr);
            });
}

// ---- Needles --------------------------------------------------------------------------------------------------------

using Internal::Buffer::NeedleFound_Here;
using Internal::Buffer::NeedleFound_Nowhere;
using Internal::Buffer::SNeedle;
using Internal::Buffer::SNeedleFound;

// So short a text leaves no search without an answer.
bool IsFound(const SNeedleFound &found, size_t place)
{
    return place == std::string::npos ? found.m_Outcome == NeedleFound_Nowhere
                                      : found.m_Outcome == NeedleFound_Here && found.m_Place == place;
}

// Of one character and more, past a block; with letters of both cases.
const std::string kNeedles[] = {
    "n", "nx", "nAb", "aBaB", "needle of", "needle of 17 char", "a needle of 33 characters, no more"};

SNeedle NeedleOf(const std::string &text)
{
    return Internal::Buffer::NeedleFor(kMaxPlacedLength, text.data(), LengthOf(text));
}

std::string FlippedCase(std::string text)
{
    for (char &character : text)
        character =
            ModelLowerLetter(character) != character ? ModelLowerLetter(character) : ModelUpperLetter(character);
    return text;
}

// A text full of a needle's beginnings and endings, with the needle at a place where it fits.
template <typename Form>
class CNeedleSearches
{
public:
    explicit CNeedleSearches(const std::string &needle)
        : m_Needle(needle), m_Lower(ModelLowercase(needle)), m_Flipped(FlippedCase(needle))
    {
    }

    void Try()
    {
        ForEveryPlace(
            LengthOf(m_Needle), [&](u32 length, u32 place) { m_Text = m_Placed.Put(place, length, m_Needle.front()); },
            [&](u32 length, u32 hit)
            {
                m_Length = length;
                _Write(hit);
                const Wrong wrong = _WrongCounted();
                return wrong != nullptr ? wrong : _WrongTerminated(hit);
            });
    }

private:
    void _Write(u32 hit)
    {
        // All of it but the last character, over and over, or but the first one; a needle of one character is left out.
        std::string part = m_Needle.substr(0, m_Needle.size() - 1) + m_Needle.substr(1);
        part = m_Needle.size() == 1 ? "-" : part;
        for (u32 i = 0; i < m_Length; ++i)
            m_Text[i] = part[i % part.size()];
        if (hit + m_Needle.size() <= m_Length)
            std::memcpy(m_Text + hit, m_Needle.data(), m_Needle.size());
    }

    Wrong _WrongCounted() const
    {
        const SNeedle needle = NeedleOf(m_Needle);
        const std::string text(m_Text, m_Length);
        QV_TEST_SAME(IsFound(Form::FindNeedle(m_Text, m_Length, needle), text.find(m_Needle)), true);
        QV_TEST_SAME(IsFound(Form::FindLastNeedle(m_Text, m_Length, needle), text.rfind(m_Needle)), true);
        const SNeedle flipped = NeedleOf(m_Flipped);
        const std::string lower = ModelLowercase(text);
        QV_TEST_SAME(IsFound(Form::FindNeedleCase(m_Text, m_Length, flipped), lower.find(m_Lower)), true);
        QV_TEST_SAME(IsFound(Form::FindLastNeedleCase(m_Text, m_Length, flipped), lower.rfind(m_Lower)), true);
        return nullptr;
    }

    // With a terminator in front of the needle, in each end of it, and behind it.
    Wrong _WrongTerminated(u32 hit)
    {
        const SNeedle needle = NeedleOf(m_Needle);
        for (const size_t end :
             {size_t{0}, hit + m_Needle.size() / 2, hit + m_Needle.size() - 1, hit + m_Needle.size()})
        {
            if (end >= m_Length)
                continue;
            const char kept = m_Text[end];
            m_Text[end] = '\0';
            const size_t place = std::string(m_Text, std::strlen(m_Text)).find(m_Needle);
            const SNeedleFound found = Form::FindNeedleTerminated(m_Text, m_Length, needle);
            m_Text[end] = kept;
            QV_TEST_SAME(IsFound(found, place), true);
        }
        return nullptr;
    }

    std::string m_Needle;
    std::string m_Lower;
    std::string m_Flipped;
    CPlacedText m_Placed{CPlacedText::Kind_Counted};
    char *m_Text = nullptr;
    u32 m_Length = 0;
};

TYPED_TEST(SearchKernelsExhaustive, ANeedleIsFoundWhereverItStandsFromBothEndsAndUpToATerminator)
{
    for (const std::string &needle : kNeedles)
        CNeedleSearches<TypeParam>(needle).Try();
}

} // namespace
