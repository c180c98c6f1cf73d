// What the tests of all ways of splitting share: arrays of pieces as texts, and a text of many pieces.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace QuorvaneTest
{

using PieceTexts = std::vector<std::string>;

// What extracting a piece reports that holds a terminator.
constexpr const char *kExtractCheck =
    "from != null && last > first && SNativeStringUtils::Length(from) >= QVMax(first, last)";

template <typename Piece>
inline PieceTexts TextsOf(const Quorvane::TArray<Piece> &pieces)
{
    PieceTexts texts;
    for (const Piece &piece : pieces)
        texts.push_back(TextOf(piece));
    return texts;
}

inline Quorvane::TArray<Quorvane::CString> Strings(const PieceTexts &texts)
{
    Quorvane::TArray<Quorvane::CString> strings;
    for (const std::string &text : texts)
        strings.PushBack(Quorvane::CString(text.c_str()));
    return strings;
}

// Arrays with something in them that has to go.
inline Quorvane::TArray<Quorvane::CString> UsedStrings()
{
    return Strings({"old", "older", "oldest"});
}

inline Quorvane::TArray<Quorvane::CStringView> UsedViews()
{
    Quorvane::TArray<Quorvane::CStringView> views;
    for (const char *text : {"old", "older", "oldest"})
        views.PushBack(Quorvane::CStringView::FromNullTerminatedString(text));
    return views;
}

// The strings that are empty: never assigned, emptied, and one that begins with a terminator.
inline std::vector<Quorvane::CString> EmptyStrings()
{
    Quorvane::CString emptied = Resizable("a,b");
    emptied.Clear();
    return {Quorvane::CString(), Quorvane::CString(""), emptied, Fixed(std::string("\0,a", 3))};
}

inline PieceTexts SplitAt(const Quorvane::CString &string, const std::function<bool(char)> &isSeparator)
{
    Quorvane::TArray<Quorvane::CString> out;
    EXPECT_TRUE(string.Split(isSeparator, out));
    return TextsOf(out);
}

inline bool IsComma(char character)
{
    return character == ',';
}

inline bool IsRefused(const SRefusal &refusal, Quorvane::u64 request)
{
    return refusal.m_Nth != 0 && (refusal.m_AndAllAfter ? request >= refusal.m_Nth : request == refusal.m_Nth);
}

// Many pieces in front of a long one: whoever looks through the rest of the text for each piece never ends.

class StringSplitLong : public ::testing::Test
{
protected:
    static constexpr Quorvane::u32 kPieces = 60000;
    static constexpr Quorvane::u32 kTail = 2 << 20;

    StringSplitLong()
    {
        std::string text;
        for (Quorvane::u32 i = 0; i < kPieces; ++i)
            text += "p,";
        text += std::string(kTail, 't');
        m_String = Fixed(text);
    }

    template <typename Piece>
    static void ExpectAllPieces(const Quorvane::TArray<Piece> &pieces)
    {
        ASSERT_EQ(pieces.Count(), kPieces + 1);
        for (Quorvane::u32 i = 0; i < kPieces; ++i)
            ASSERT_TRUE(pieces[i].Length() == 1 && *pieces[i].Data() == 'p') << i;
        EXPECT_EQ(pieces[kPieces].Length(), kTail);
    }

    Quorvane::CString m_String;
};

} // namespace QuorvaneTest
