// The kernels that write, in every form: every length, every place in memory, every character as the one to be changed.
#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "escape_model.h"
#include "every_place.h"
#include "kernel_forms.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

template <typename Form>
using EditKernelsExhaustive = CKernelTest<Form>;
TYPED_TEST_SUITE(EditKernelsExhaustive, CEveryForm, SEveryFormNames);

// An edit that keeps the length: what it takes out, what comes instead, and what stays. `m_Kept` are others that resemble.
struct SEdit
{
    char m_From;
    char m_To;
    const char *m_Kept;
};

// Of letters, the first and the last one; what is next to them in the code; and bytes of the same bits but the highest.
constexpr SEdit kUppercase[] = {{'a', 'A', "`{AZ@[\xE1\xFA\1"}, {'z', 'Z', "`{AZ@[\xE1\xFA\1"}};
constexpr SEdit kLowercase[] = {{'A', 'a', "@[az`{\xC1\xDA\1"}, {'Z', 'z', "@[az`{\xC1\xDA\1"}};
constexpr SEdit kReplacement[] = {{',', '.', "-\xAC+ab\1"}, {'\xFF', '\1', "\x7F\xFEz"}};

// What an edit answers that counts nothing.
constexpr u32 kUncounted = 0xFFFFFFFFu;

// Two texts, the second of them for the copies, among nothing but characters that an edit changes.
class CEdited
{
public:
    explicit CEdited(const SEdit &edit) : m_Edit(edit), m_KeptCount(static_cast<u32>(std::strlen(edit.m_Kept))) {}

    void Begin(u32 length, u32 place)
    {
        m_Length = length;
        m_Text = m_Source.Put(place, length, m_Edit.m_From);
        // At another alignment of a container's blocks.
        m_Copy = m_Target.Put(place < Place_AtEnd ? (place + 16) % 32 : place, length, m_Edit.m_From);
    }

    // The text anew, with one character to be changed or with all up to it; and what the edit must make of it.
    void Write(u32 hit, bool allBefore)
    {
        for (u32 i = 0; i < m_Length; ++i)
            m_Text[i] = i == hit || (allBefore && i < hit) ? m_Edit.m_From : m_Edit.m_Kept[i % m_KeptCount];
        m_Hits = allBefore ? QVMin(hit + 1, m_Length) : hit < m_Length ? 1 : 0;
        m_Source.Remember();
        // Garbage where the copy comes.
        std::memset(m_Copy, m_Edit.m_From, (m_Length / 16 + 1) * 16);
        m_Target.Remember();
    }

    template <typename Edit>
    Wrong WrongInPlace(const Edit &edit)
    {
        _WriteExpected(m_Source.Remembered());
        const u32 count = edit(m_Text, m_Length);
        QV_TEST_SAME(count == m_Hits || count == kUncounted, true);
        QV_TEST_SAME(m_Source.IsAsRemembered(), true);
        return nullptr;
    }

    // A copy is zero behind its end, to the end of the terminator's block.
    template <typename Edit>
    Wrong WrongCopy(const Edit &edit)
    {
        char *const expected = m_Target.Remembered();
        _WriteExpected(expected);
        std::memset(expected + m_Length, 0, 16 - m_Length % 16);
        const u32 count = edit(m_Copy, m_Text, m_Length);
        QV_TEST_SAME(count == m_Hits || count == kUncounted, true);
        QV_TEST_SAME(m_Target.IsAsRemembered(), true);
        QV_TEST_SAME(m_Source.IsAsRemembered(), true);
        return nullptr;
    }

private:
    void _WriteExpected(char *expected) const
    {
        for (u32 i = 0; i < m_Length; ++i)
            expected[i] = m_Text[i] == m_Edit.m_From ? m_Edit.m_To : m_Text[i];
    }

    SEdit m_Edit;
    u32 m_KeptCount;
    CPlacedText m_Source{CPlacedText::Kind_Container};
    CPlacedText m_Target{CPlacedText::Kind_Container};
    u32 m_Length = 0;
    u32 m_Hits = 0;
    char *m_Text = nullptr;
    char *m_Copy = nullptr;
};

// Tries an edit in place and as a copy.
template <typename InPlace, typename Copy>
void TryEdit(const SEdit &edit, const InPlace &inPlace, const Copy &copy)
{
    CEdited edited(edit);
    ForEveryPlace(
        0, [&](u32 length, u32 place) { edited.Begin(length, place); },
        [&](u32, u32 hit)
        {
            for (const bool allBefore : {false, true})
            {
                edited.Write(hit, allBefore);
                Wrong wrong = edited.WrongCopy(copy);
                wrong = wrong != nullptr ? wrong : edited.WrongInPlace(inPlace);
                if (wrong != nullptr)
                    return wrong;
            }
            return Wrong(nullptr);
        });
}

// An edit that counts nothing.
template <typename Edit>
auto Uncounted(const Edit &edit)
{
    return [edit](auto... arguments)
    {
        edit(arguments...);
        return kUncounted;
    };
}

TYPED_TEST(EditKernelsExhaustive, LettersChangeTheirCaseWhereverTheyStandAndNothingElseChanges)
{
    for (const SEdit &edit : kUppercase)
        TryEdit(edit, Uncounted(TypeParam::Uppercase), Uncounted(TypeParam::UppercaseIntoCopy));
    for (const SEdit &edit : kLowercase)
        TryEdit(edit, Uncounted(TypeParam::Lowercase), Uncounted(TypeParam::LowercaseIntoCopy));
}

TYPED_TEST(EditKernelsExhaustive, ACharacterIsReplacedWhereverItStandsAndCounted)
{
    for (const SEdit &edit : kReplacement)
    {
        const auto inPlace = [&](char *text, u32 length)
        { return TypeParam::ReplaceInPlace(text, length, edit.m_From, edit.m_To); };
        const auto copy = [&](char *dst, const char *src, u32 length)
        { return TypeParam::ReplaceIntoCopy(dst, src, length, edit.m_From, edit.m_To); };
        const auto uncountedCopy = [&](char *dst, const char *src, u32 length)
        { TypeParam::ReplaceIntoCopyUncounted(dst, src, length, edit.m_From, edit.m_To); };
        TryEdit(edit, inPlace, copy);
        TryEdit(edit, inPlace, Uncounted(uncountedCopy));
    }
}

TYPED_TEST(EditKernelsExhaustive, EveryCharacterChangesItsPlaceWithTheOneAsFarFromTheOtherEnd)
{
    CPlacedText placed(CPlacedText::Kind_Counted);
    char *text = nullptr;
    ForEveryPlace(
        0, [&](u32 length, u32 place) { text = placed.Put(place, length, '#'); },
        [&](u32 length, u32 hit)
        {
            // All characters differ; the one at the hit is another one than all of them.
            for (u32 i = 0; i < length; ++i)
                text[i] = static_cast<char>(i == hit ? 0xE9 : 1 + i);
            placed.Remember();
            std::reverse(placed.Remembered(), placed.Remembered() + length);
            TypeParam::ReverseBytes(text, length);
            QV_TEST_SAME(placed.IsAsRemembered(), true);
            return Wrong(nullptr);
        });
}

// As many characters as the kernel takes, whole blocks of them, escaped, with room left for the others as they are; and
// nothing else is written.
template <typename Form>
Wrong WrongEscape(const std::string &text, const char *placed)
{
    char room[2 * kMaxPlacedLength + 16];
    std::memset(room, '#', sizeof(room));
    char *dst = room;
    const size_t taken = Form::EscapeBlocks(placed, text.size(), dst);
    QV_TEST_SAME(taken <= text.size() && taken % Form::kBlockBytes == 0, true);
    QV_TEST_SAME(Form::kHasLookUp ? text.size() - taken < Form::kBlockBytes + 8 : taken == 0, true);
    const std::string escaped = EscapeModelEscaped(text.substr(0, taken));
    QV_TEST_SAME(std::string(room, dst), escaped);
    for (size_t i = escaped.size() + (text.size() - taken); i < sizeof(room); ++i)
        QV_TEST_SAME(room[i], '#');
    return nullptr;
}

TYPED_TEST(EditKernelsExhaustive, ACharacterIsEscapedWhereverItStandsAndNothingElseIsWritten)
{
    CPlacedText placed(CPlacedText::Kind_Counted);
    char *text = nullptr;
    for (const char special : {'\a', '\r', '\\'})
    {
        ForEveryPlace(
            0, [&](u32 length, u32 place) { text = placed.Put(place, length, special); },
            [&](u32 length, u32 hit)
            {
                for (const bool allBefore : {false, true})
                {
                    for (u32 i = 0; i < length; ++i)
                        text[i] = i == hit || (allBefore && i < hit) ? special : "\x06\x0E!#&([]\x87\xDC"[i % 10];
                    const Wrong wrong = WrongEscape<TypeParam>(std::string(text, length), text);
                    if (wrong != nullptr)
                        return wrong;
                }
                return Wrong(nullptr);
            });
    }
}

} // namespace
