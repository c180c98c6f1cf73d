// What operations on text are tried on, all at once: strings of every form, arrays with room and without, views.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "kr_string.h"

#include "text_pieces.h"

namespace QuorvaneTest
{

inline const std::string kText = "Some text: a/b, c=d, e";
inline const std::string kPiece = "piece";
inline const std::string kLongText(300, 'x');
constexpr Quorvane::u32 kRoom = 200;

// Everything stands before an operation is counted or refused its memory, and stays until that has ended.
struct SGround
{
    SGround() : m_Fixed(Fixed(kText)), m_Shared(Fixed(kText)), m_OtherHandle(m_Shared), m_Roomy(Resizable(kText, kRoom))
    {
        m_SharedRoomy = Resizable(kText, kRoom);
        m_OtherRoomyHandle = m_SharedRoomy;
        m_Piece = Fixed(kPiece);
        m_Long = Fixed(kLongText);
        m_Tight = Resizable(std::string(31, 't'));
        m_Escapable = Resizable("a\tb\\n\\\\", kRoom);
        m_Commented = Resizable("a /* b */ c", kRoom);
        m_Path = Resizable("a/b", kRoom);
        m_Words = Fixed("ab cde");
        for (Quorvane::CString &entry : m_List)
            entry = Fixed(kPiece);
        m_LongList[0] = m_Long;
        EXPECT_TRUE(m_Strings.Reserve(kRoom) && m_Views.Reserve(kRoom) && m_Ranked.Reserve(kRoom));
        EXPECT_TRUE(m_Positions.Reserve(kRoom));
        m_Separators.AddSplitChar(' ');
    }

    Quorvane::CString m_Null;
    Quorvane::CString m_Fixed;  // of the fixed form, and nobody shares it
    Quorvane::CString m_Shared; // the same, but that somebody shares it
    Quorvane::CString m_OtherHandle;
    Quorvane::CString m_Roomy; // of the resizable form, with room, and nobody shares it
    Quorvane::CString m_SharedRoomy;
    Quorvane::CString m_OtherRoomyHandle;
    Quorvane::CString m_Piece;
    Quorvane::CString m_Long;
    Quorvane::CString m_Tight; // of the resizable form, 31 characters in 32 bytes
    Quorvane::CString m_Escapable;
    Quorvane::CString m_Commented;
    Quorvane::CString m_Path;
    Quorvane::CString m_Words; // two of them, of two and of three characters
    Quorvane::CStringView m_View{kText.data(), static_cast<Quorvane::u32>(kText.size())};
    Quorvane::CStringView m_PieceView{kPiece.data(), static_cast<Quorvane::u32>(kPiece.size())};
    Quorvane::TMemoryView<const char> m_Memory{kText.data(), static_cast<Quorvane::u32>(kText.size())};
    Quorvane::CString m_List[3];
    Quorvane::CString m_LongList[3]; // of which one is long
    float m_Weights[3] = {};
    char m_Buffer[256] = "abc";
    // With room.
    Quorvane::TArray<Quorvane::CString> m_Strings;
    Quorvane::TArray<Quorvane::CStringView> m_Views;
    Quorvane::TArray<Quorvane::CString::SFuzzyMatchListElement> m_Ranked;
    Quorvane::TArray<Quorvane::u32> m_Positions;
    // Without.
    Quorvane::TArray<Quorvane::CString> m_NoStrings;
    Quorvane::TArray<Quorvane::CStringView> m_NoViews;
    Quorvane::TArray<Quorvane::CString::SFuzzyMatchListElement> m_NoRanked;
    Quorvane::TArray<Quorvane::u32> m_NoPositions;
    Quorvane::CStringBatchSplitter m_Separators;
    // Where results stay.
    bool m_Answer = true;
    Quorvane::CString m_Out;
    Quorvane::PStringContainer m_OutContainer;
    Quorvane::TArray<Quorvane::u32> m_OutArray;
};

} // namespace QuorvaneTest
