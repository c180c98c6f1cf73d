// Private header: what a split by a predicate does without asking the predicate, so that it is compiled once.
//
// Users include kr_string.h.
#pragma once

#include "kr_containers_array.h"
#include "qv_defs.h"

namespace Quorvane
{

class CString;

namespace Internal::String
{

// Cuts a text at the characters for which a predicate is true, and appends the pieces that are not empty. It asks about
// each character once; everything else is done without the predicate, a stretch of the text at a time.
//
//     while (split.Next(character))
//         split.Answer(character, isSeparator(character));
//     return !split.Failed();
class CPredicateSplit
{
public:
    // Borrows the characters, of which there is one at least, and the array.
    CPredicateSplit(const char *data, u32 length, TArray<CString> &outPieces);

    // The next character to ask about. Returns: false when there is none; then all pieces are stored, or one failed.
    bool Next(char &outCharacter);
    void Answer(char character, bool isSeparator)
    {
        m_IsUnknown[static_cast<u8>(character)] = 0;
        m_IsSeparator[static_cast<u8>(character)] = isSeparator ? 1 : 0;
    }

    // Whether a piece could not be stored.
    bool Failed() const { return m_Failed; }

private:
    bool _FindUnknown(u32 end);
    bool _CutUpTo(u32 end);
    bool _Finish();

    const char *m_Data;
    u32 m_Length;
    u32 m_Known = 0; // up to here all characters were asked about
    u32 m_Cut = 0;   // up to here all separators are behind us
    u32 m_First = 0; // where the piece begins that no separator has ended yet, if there is one
    bool m_InPiece = false;
    bool m_HoldsTerminator;
    bool m_Failed = false;
    u64 m_AfterSeparator = 1; // whether a separator, or nothing, stands in front of what is left: 1 or 0
    TArray<CString> &m_Pieces;
    // By character, 0 or 1.
    u8 m_IsUnknown[256];
    u8 m_IsSeparator[256];
};

} // namespace Internal::String

} // namespace Quorvane
