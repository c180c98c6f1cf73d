// The kernels that compare, search, edit and mark, in every form that the machine has, on texts at any alignment: each form
// gives what the others give, and what it may not read or write is out of its reach.
#include <algorithm>
#include <string>
#include <vector>

#include "case_model.h"
#include "escape_model.h"
#include "exhaustive/every_form.h"
#include "fuzz_support.h"
#include "kr_buffer/buffer_bitmap.h"
#include "kr_buffer/buffer_find.h"
#include "kr_buffer/buffer_hash.h"
#include "kr_buffer/buffer_needle.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;
using Internal::Buffer::kBitmapWordBits;
using Internal::Buffer::kNoIndex;
using Internal::Buffer::SMatchWord;
using Internal::Buffer::SNeedle;
using Internal::Buffer::SNeedleFound;

constexpr u32 kMaxSteps = 16;

// Calls `run` with a value of each form's struct.
template <typename Run>
void ForEachForm(const Run &run)
{
    run(SPortableKernels());
    run(SNarrowKernels());
#if QV_SIMD_HAS_WIDE
    if (SWideKernels::IsAvailable())
        run(SWideKernels());
    if (SWidestKernels::IsAvailable())
        run(SWidestKernels());
#endif
}

// A text of which nothing but its characters may be touched, so many bytes behind a multiple of 32.
class CCountedText
{
public:
    CCountedText(const std::string &text, u32 misplaced)
        : m_Length(LengthOf(text)),
          m_Memory(new SLine[(misplaced + text.size()) / sizeof(SLine) + 1]),
          m_Exact(misplaced == kMaxMisplaced ? new char[text.size()] : nullptr)
    {
        // The last place is a block of its own, which ends with the text.
        m_Data = m_Exact ? m_Exact.get() : m_Memory[0].m_Bytes + misplaced;
        std::memcpy(m_Data, text.data(), text.size());
    }

    static constexpr u32 kMaxMisplaced = 32;

    char *Data() { return m_Data; }
    u32 Length() const { return m_Length; }
    std::string Text() const { return std::string(m_Data, m_Length); }

private:
    struct alignas(32) SLine
    {
        char m_Bytes[32];
    };

    u32 m_Length;
    std::unique_ptr<SLine[]> m_Memory;
    std::unique_ptr<char[]> m_Exact;
    char *m_Data;
};

int SignOf(s32 order)
{
    return (order > 0) - (order < 0);
}

u32 FirstDifferenceOf(const std::string &a, const std::string &b, u32 length)
{
    return static_cast<u32>(std::mismatch(a.begin(), a.begin() + length, b.begin()).first - a.begin());
}

// ---- Comparison --------------------------------------------------------------------------------------------------------

// Texts as containers have them: whole blocks, zero behind the characters.
void CompareContainers(const std::string &a, const std::string &b, u32 length)
{
    CBlockText first(a);
    CBlockText second(b);
    const u32 exact = FirstDifferenceOf(a, b, length);
    const u32 ignoringCase = FirstDifferenceOf(ModelLowercase(a), ModelLowercase(b), length);
    const int order = SignOf(std::memcmp(a.data(), b.data(), length));
    const int orderIgnoringCase = SignOf(std::memcmp(ModelLowercase(a).data(), ModelLowercase(b).data(), length));
    ForEachForm(
        [&](auto form)
        {
            QV_FUZZ_CHECK(form.FirstDifference(first.Data(), second.Data(), length) == exact);
            QV_FUZZ_CHECK(form.FirstDifferenceIgnoringCase(first.Data(), second.Data(), length) == ignoringCase);
            QV_FUZZ_CHECK(SignOf(form.CompareBytes(first.Data(), second.Data(), length)) == order);
            QV_FUZZ_CHECK(SignOf(form.CompareBytesIgnoringCase(first.Data(), second.Data(), length)) ==
                          orderIgnoringCase);
        });
}

void CompareCounted(CCountedText &a, CCountedText &b, u32 length)
{
    const u32 ignoringCase = FirstDifferenceOf(ModelLowercase(a.Text()), ModelLowercase(b.Text()), length);
    const bool equal = FirstDifferenceOf(a.Text(), b.Text(), length) == length;
    CBlockText lowered(ModelLowercase(a.Text()));
    ForEachForm(
        [&](auto form)
        {
            QV_FUZZ_CHECK(form.FirstDifferenceCase(a.Data(), b.Data(), length) == ignoringCase);
            if (length >= form.kBlockBytes)
                QV_FUZZ_CHECK(form.EqualInCounted(a.Data(), b.Data(), length) == equal);
            if (a.Length() > Internal::Buffer::kHashStride)
                QV_FUZZ_CHECK(form.HashStridesCase(a.Data(), a.Length()) ==
                              SPortableKernels::HashStridesCase(lowered.Data(), a.Length()));
        });
}

// ---- Edits -------------------------------------------------------------------------------------------------------------

// An edit in place and one that makes a copy give the expected text; a copy is zero to the end of its last block.
template <typename InPlace, typename Copy>
void Edit(const std::string &text, const std::string &expected, const InPlace &inPlace, const Copy &copy)
{
    CBlockText source(text);
    CBlockText target(std::string(text.size(), '#'));
    copy(target.Data(), source.Data(), LengthOf(text));
    QV_FUZZ_CHECK(target.Everything() == CBlockText(expected).Everything());
    QV_FUZZ_CHECK(source.Everything() == CBlockText(text).Everything());
    inPlace(source.Data(), LengthOf(text));
    QV_FUZZ_CHECK(source.Everything() == CBlockText(expected).Everything());
}

void EditInEachForm(const std::string &text, char from, char to)
{
    std::string replaced = text;
    std::replace(replaced.begin(), replaced.end(), from, to);
    const u32 count = static_cast<u32>(std::count(text.begin(), text.end(), from));
    ForEachForm(
        [&](auto form)
        {
            using Form = decltype(form);
            Edit(text, ModelUppercase(text), Form::Uppercase, Form::UppercaseIntoCopy);
            Edit(text, ModelLowercase(text), Form::Lowercase, Form::LowercaseIntoCopy);
            Edit(
                text, replaced,
                [&](char *data, u32 length) { QV_FUZZ_CHECK(Form::ReplaceInPlace(data, length, from, to) == count); },
                [&](char *dst, const char *src, u32 length)
                { QV_FUZZ_CHECK(Form::ReplaceIntoCopy(dst, src, length, from, to) == count); });
            CBlockText target(std::string(text.size(), '#'));
            Form::ReplaceIntoCopyUncounted(target.Data(), CBlockText(text).Data(), LengthOf(text), from, to);
            QV_FUZZ_CHECK(target.Everything() == CBlockText(replaced).Everything());
        });
}

// Whole blocks are escaped, where the form has the instructions; what follows finds room for itself.
void EscapeInEachForm(CCountedText &text)
{
    const std::string whole = text.Text();
    ForEachForm(
        [&](auto form)
        {
            const std::unique_ptr<char[]> room(new char[2 * whole.size() + 16]);
            char *end = room.get();
            const std::size_t taken = form.EscapeBlocks(text.Data(), whole.size(), end);
            QV_FUZZ_CHECK(taken <= whole.size());
            QV_FUZZ_CHECK(std::string(room.get(), end) == EscapeModelEscaped(whole.substr(0, taken)));
        });
}

void ReverseInEachForm(CCountedText &text)
{
    std::string reversed = text.Text();
    ForEachForm(
        [&](auto form)
        {
            std::reverse(reversed.begin(), reversed.end());
            form.ReverseBytes(text.Data(), text.Length());
            QV_FUZZ_CHECK(text.Text() == reversed);
        });
}

// ---- Search ------------------------------------------------------------------------------------------------------------

// Whether a search says where the needle is. It may give up where much resembles the needle.
bool IsPlace(const SNeedleFound &found, std::size_t place)
{
    if (found.m_Outcome == Internal::Buffer::NeedleFound_GaveUp)
        return true;
    return place == std::string::npos ? found.m_Outcome == Internal::Buffer::NeedleFound_Nowhere
                                      : found.m_Outcome == Internal::Buffer::NeedleFound_Here && found.m_Place == place;
}

void FindInEachForm(CCountedText &placed, const std::string &needleText, u32 expectedLength)
{
    const std::string text = placed.Text();
    if (needleText.empty() || needleText.size() > text.size())
        return;
    const SNeedle needle = Internal::Buffer::NeedleFor(expectedLength, needleText.data(), LengthOf(needleText));
    const std::string lower = ModelLowercase(text);
    const std::string lowerNeedle = ModelLowercase(needleText);
    const std::size_t first = text.find(needleText);
    const std::size_t last = text.rfind(needleText);
    const std::size_t firstCase = lower.find(lowerNeedle);
    const std::size_t lastCase = lower.rfind(lowerNeedle);
    const std::size_t beforeTerminator = text.substr(0, text.find('\0')).find(needleText);
    ForEachForm(
        [&](auto form)
        {
            const char *const data = placed.Data();
            const u32 length = placed.Length();
            QV_FUZZ_CHECK(IsPlace(form.FindNeedle(data, length, needle), first));
            QV_FUZZ_CHECK(IsPlace(form.FindLastNeedle(data, length, needle), last));
            QV_FUZZ_CHECK(IsPlace(form.FindNeedleCase(data, length, needle), firstCase));
            QV_FUZZ_CHECK(IsPlace(form.FindLastNeedleCase(data, length, needle), lastCase));
            if (!HoldsTerminator(needleText))
                QV_FUZZ_CHECK(IsPlace(form.FindNeedleTerminated(data, length, needle), beforeTerminator));
        });
}

void ScanInEachForm(CCountedText &placed, char character, char first, char last)
{
    const std::string text = placed.Text();
    // Of ASCII characters, in their order.
    const char low = static_cast<char>(std::min(first & 0x7F, last & 0x7F));
    const char high = static_cast<char>(std::max(first & 0x7F, last & 0x7F));
    const bool isBetween = std::any_of(text.begin(), text.end(), [&](char c) { return c >= low && c <= high; });
    const std::size_t place = text.rfind(character);
    const u32 lastPlace = place == std::string::npos ? kNoIndex : static_cast<u32>(place);
    ForEachForm(
        [&](auto form)
        {
            QV_FUZZ_CHECK(form.AnyBetweenAscii(placed.Data(), placed.Length(), low, high) == isBetween);
            if (placed.Length() >= form.kFewestBytesToSearch)
                QV_FUZZ_CHECK(form.LastOfByte(placed.Data(), placed.Length(), character) == lastPlace);
        });
}

// ---- Bitmaps of matches ------------------------------------------------------------------------------------------------

// Which characters of a text match; and what kernels answer of them.
class CMatches
{
public:
    template <typename IsMatch>
    CMatches(u32 count, const IsMatch &isMatch) : m_Words(count / kBitmapWordBits + 1), m_Count(count)
    {
        for (u32 i = 0; i < count; ++i)
        {
            if (!isMatch(i))
                continue;
            m_Words[i / kBitmapWordBits] |= u64(1) << i % kBitmapWordBits;
            m_Places.push_back(i);
        }
    }

    // A bitmap for a kernel to write to, of whole words and no more.
    template <typename Find>
    void ExpectBitmap(const Find &find) const
    {
        const u32 words = (m_Count + kBitmapWordBits - 1) / kBitmapWordBits;
        const std::unique_ptr<u64[]> bitmap(new u64[words]);
        find(bitmap.get());
        QV_FUZZ_CHECK(std::equal(bitmap.get(), bitmap.get() + words, m_Words.begin()));
    }
    void ExpectFirst(const SMatchWord &word) const
    {
        QV_FUZZ_CHECK((word.m_Bits != 0) == !m_Places.empty());
        QV_FUZZ_CHECK(m_Places.empty() || _BitIn(word, m_Places.front()));
        QV_FUZZ_CHECK(m_Places.empty() || (word.m_Bits & ((u64(1) << (m_Places.front() - word.m_At)) - 1)) == 0);
    }
    void ExpectLast(const SMatchWord &word) const
    {
        QV_FUZZ_CHECK((word.m_Bits != 0) == !m_Places.empty());
        QV_FUZZ_CHECK(m_Places.empty() || _BitIn(word, m_Places.back()));
        QV_FUZZ_CHECK(m_Places.empty() || word.m_Bits >> (m_Places.back() - word.m_At) == 1);
    }
    template <typename Form>
    void ExpectListed(Form form) const
    {
        const std::unique_ptr<u16[]> indices(new u16[m_Count + Internal::Buffer::kIndexSlack]);
        QV_FUZZ_CHECK(form.ListMatches(indices.get(), m_Words.data(), m_Count) == m_Places.size());
        QV_FUZZ_CHECK(std::equal(m_Places.begin(), m_Places.end(), indices.get()));
    }

private:
    static bool _BitIn(const SMatchWord &word, u32 place)
    {
        return place >= word.m_At && place - word.m_At < kBitmapWordBits &&
               (word.m_Bits >> (place - word.m_At) & 1) != 0;
    }

    std::vector<u64> m_Words;
    std::vector<u32> m_Places;
    u32 m_Count;
};

void MarkInEachForm(CCountedText &placed, char character)
{
    const std::string text = placed.Text();
    const CMatches matches(placed.Length(), [&](u32 i) { return text[i] == character; });
    CBlockText blocks(text);
    ForEachForm(
        [&](auto form)
        {
            matches.ExpectBitmap([&](u64 *bitmap)
                                 { form.FindMatches(bitmap, blocks.Data(), placed.Length(), character); });
            matches.ExpectFirst(form.FirstMatches(placed.Data(), placed.Length(), character));
            matches.ExpectLast(form.LastMatches(placed.Data(), placed.Length(), character));
            matches.ExpectListed(form);
        });
}

void MarkSetInEachForm(CCountedText &placed, const std::string &listed)
{
    u8 table[256] = {};
    u8 set[Internal::Buffer::kSetBytes] = {};
    for (const char character : listed)
    {
        const u8 byte = static_cast<u8>(character);
        table[byte] = 1;
        set[byte / 128 * 16 + byte % 16] = static_cast<u8>(set[byte / 128 * 16 + byte % 16] | 1 << byte / 16 % 8);
    }
    const std::string text = placed.Text();
    const CMatches matches(placed.Length(), [&](u32 i) { return table[static_cast<u8>(text[i])] != 0; });
    ForEachForm(
        [&](auto form)
        {
            matches.ExpectBitmap([&](u64 *bitmap)
                                 { form.FindTableMatches(bitmap, placed.Data(), placed.Length(), table); });
            matches.ExpectFirst(form.FirstSetMatches(placed.Data(), placed.Length(), set));
            matches.ExpectLast(form.LastSetMatches(placed.Data(), placed.Length(), set));
        });
}

void MarkPairsInEachForm(CCountedText &placed, char first, u32 distance, char second)
{
    if (placed.Length() < distance)
        return;
    const u32 count = placed.Length() - distance;
    const std::string text = placed.Text();
    const CMatches matches(count, [&](u32 i) { return text[i] == first && text[i + distance] == second; });
    ForEachForm(
        [&](auto form)
        {
            matches.ExpectBitmap([&](u64 *bitmap)
                                 { form.FindPairMatches(bitmap, placed.Data(), count, first, distance, second); });
            matches.ExpectFirst(form.FirstPairMatches(placed.Data(), count, first, distance, second));
            matches.ExpectLast(form.LastPairMatches(placed.Data(), count, first, distance, second));
        });
}

void Step(CInput &input)
{
    const u8 choice = input.Byte() % 9;
    std::string text = input.Text();
    // Some kernels have ways of their own for long texts, from 2 KiB on.
    for (u32 i = input.Byte() % 3; i != 0; --i)
        text += text;
    CCountedText placed(text, input.Below(CCountedText::kMaxMisplaced + 1));
    const char character = static_cast<char>(input.Byte());
    const char other = static_cast<char>(input.Byte());
    switch (choice)
    {
    case 0:
    case 1:
    {
        // A text and another one, or itself but for one character.
        std::string second = input.Flag() ? input.Text() : text;
        if (!second.empty())
            second[input.Below(LengthOf(second))] = character;
        const u32 length = std::min(LengthOf(text), LengthOf(second));
        CCountedText placedToo(second, input.Below(CCountedText::kMaxMisplaced + 1));
        return choice == 0 ? CompareContainers(text.substr(0, length), second.substr(0, length), length)
                           : CompareCounted(placed, placedToo, length);
    }
    case 2:
        return EditInEachForm(text, character, other);
    case 3:
        EscapeInEachForm(placed);
        return ReverseInEachForm(placed);
    case 4:
        return FindInEachForm(placed, input.Text(), input.Flag() ? LengthOf(text) : 16);
    case 5:
        return ScanInEachForm(placed, character, character, other);
    case 6:
        return MarkInEachForm(placed, character);
    case 7:
        return MarkSetInEachForm(placed, input.Text().substr(0, 8));
    default:
        return MarkPairsInEachForm(placed, character, input.Below(40), other);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    input.ChooseLetters("abAB,.");
    TakeSteps(input, kMaxSteps, [&] { Step(input); });
    return 0;
}
