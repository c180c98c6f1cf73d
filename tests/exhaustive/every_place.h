// Every length of a text up to 80 characters, every place in memory with respect to blocks, and every character of it as
// the one that is looked for.
#pragma once

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "exhaustive.h"
#include "guarded_page.h"

namespace QuorvaneTest
{

constexpr Quorvane::u32 kMaxPlacedLength = 80;

// Where a text can lie: at each alignment within 32 bytes, and besides at the end of memory and at its beginning.
enum EPlace : Quorvane::u32
{
    Place_AtEnd = 32,
    Place_AtBegin = 33,
    kPlaceCount = 34,
};

// Where code runs many times slower, some alignments stand for all.
inline Quorvane::u32 NextPlace(Quorvane::u32 place)
{
    return kVerySlow && place < Place_AtEnd ? Quorvane::QVMin<Quorvane::u32>(place + 7, Place_AtEnd) : place + 1;
}

// Memory for a text in each of its places, with bytes around it that the text's owner does not own.
class CPlacedText
{
public:
    // What a text of some characters may have read and written of it: a container's, the whole blocks of 16 bytes of which
    // the last one holds the terminator; any other, its characters.
    enum EKind
    {
        Kind_Container,
        Kind_Counted,
    };

    explicit CPlacedText(EKind kind) : m_Kind(kind) {}
    CPlacedText(const CPlacedText &) = delete;
    CPlacedText &operator=(const CPlacedText &) = delete;

    // Moves to a place, for a text of so many characters, and fills all that is around it there with `around`.
    char *Put(Quorvane::u32 place, Quorvane::u32 length, char around)
    {
        const Quorvane::u32 owned = m_Kind == Kind_Container ? (length / 16 + 1) * 16 : length;
        if (place == Place_AtEnd)
            _Set(m_Page.End() - kWindow, m_Page.End() - owned);
        else if (place == Place_AtBegin)
            _Set(m_Page.Begin(), m_Page.Begin());
        else
            _Set(m_Memory, m_Memory + kFront + place);
        std::memset(m_Window, around, kWindow);
        return m_Text;
    }

    // Takes what is there now for what is to stay, and whether it did.
    void Remember() { std::memcpy(m_Remembered, m_Window, kWindow); }
    bool IsAsRemembered() const { return std::memcmp(m_Remembered, m_Window, kWindow) == 0; }
    // The same with other bytes of the text itself.
    char *Remembered() { return m_Remembered + (m_Text - m_Window); }

private:
    static constexpr size_t kFront = 64;
    static constexpr size_t kWindow = kFront + 32 + 96 + 64;

    void _Set(char *window, char *text)
    {
        m_Window = window;
        m_Text = text;
    }

    EKind m_Kind;
    CGuardedPage m_Page;
    alignas(64) char m_Memory[kWindow];
    char m_Remembered[kWindow];
    char *m_Window = nullptr;
    char *m_Text = nullptr;
};

// Calls `check(length, place, hit)` for every one of them, `hit` from 0 on to the length, which is for none, and `begin(length,
// place)` before that.
template <typename Begin, typename Check>
void ForEveryPlace(Quorvane::u32 minLength, const Begin &begin, const Check &check)
{
    using Quorvane::u32;
    Quorvane::u64 cases = 0;
    Quorvane::u64 places = 0;
    for (u32 place = 0; place < kPlaceCount; place = NextPlace(place))
    {
        ++places;
        for (u32 length = minLength; length <= kMaxPlacedLength; ++length)
        {
            begin(length, place);
            for (u32 hit = 0; hit <= length; ++hit)
            {
                ++cases;
                const Wrong wrong = check(length, hit);
                if (wrong != nullptr)
                    FAIL() << wrong << ", length " << length << ", place " << place << ", hit " << hit;
            }
        }
    }
    // Of a length, one case more than it has characters.
    const Quorvane::u64 below = static_cast<Quorvane::u64>(minLength) * (minLength + 1) / 2;
    const Quorvane::u64 ofPlace = static_cast<Quorvane::u64>(kMaxPlacedLength + 1) * (kMaxPlacedLength + 2) / 2 - below;
    EXPECT_EQ(places, kVerySlow ? 7u : 34u);
    ExpectCases(cases, places * ofPlace);
}

} // namespace QuorvaneTest
