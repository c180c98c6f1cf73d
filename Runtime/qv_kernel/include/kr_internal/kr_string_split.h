// Private header: what a split by a predicate does without asking the predicate, so that it is compiled once.
//
// Users include kr_string.h.
#pragma once

#include "kr_containers_array.h"
#include "qv_defs.h"

namespace Quorvane
{

class CString;
class CStringView;

namespace Internal::String
{

// Cuts a text at the characters for which a predicate is true, and appends the pieces that are not empty, as strings or as
// views. It asks about each character once; everything else is done without the predicate, a stretch of the text at a
// time.
//
//     while (split.Next(character))
//         split.Answer(character, isSeparator(character));
//     return !split.Failed();
template <typename Piece>
class TPredicateSplit
{
public:
    // Borrows the characters, of which there is one at least, and the array. Strings are cut from those of a container.
    QV_INTERNAL_API TPredicateSplit(const char *data, u32 length, TArray<Piece> &outPieces);

    // The next character to ask about. Returns: false when there is none; then all pieces are stored, or one failed.
    QV_INTERNAL_API bool Next(char &outCharacter);
    // In line always, as Failed: where the class is instantiated by somebody else, the compiler makes no function of its own,
    // and those of a shared library are not seen.
    QV_INTERNAL_ALWAYS_INLINE void Answer(char character, bool isSeparator)
    {
        m_IsUnknown[static_cast<u8>(character)] = 0;
        m_IsSeparator[static_cast<u8>(character)] = isSeparator ? 1 : 0;
    }

    // Whether a piece could not be stored.
    QV_INTERNAL_ALWAYS_INLINE bool Failed() const { return m_Failed; }

private:
    bool _FindUnknown(u32 end);
    bool _CutUpTo(u32 end);
    bool _Finish();
    template <typename Use>
    bool _UseSink(const Use &use);

    const char *m_Data;
    u32 m_Length;
    u32 m_Known = 0; // up to here all characters were asked about
    u32 m_Cut = 0;   // up to here all separators are behind us
    u32 m_First = 0; // where the piece begins that no separator has ended yet, if there is one
    bool m_InPiece = false;
    bool m_HoldsTerminator; // not asked for views
    bool m_Failed = false;
    u64 m_AfterSeparator = 1; // whether a separator, or nothing, stands in front of what is left: 1 or 0
    TArray<Piece> &m_Pieces;
    // By character, 0 or 1.
    u8 m_IsUnknown[256];
    u8 m_IsSeparator[256];
};

extern template class TPredicateSplit<CString>;
extern template class TPredicateSplit<CStringView>;

// Asks `isSeparator` whatever a split has to know. Returns: whether all pieces were stored.
template <typename Predicate, typename Piece>
bool SplitByPredicate(const char *data, u32 length, Predicate &isSeparator, TArray<Piece> &outPieces)
{
    TPredicateSplit<Piece> split(data, length, outPieces);
    char character;
    while (split.Next(character))
        split.Answer(character, isSeparator(character));
    return !split.Failed();
}

} // namespace Internal::String

} // namespace Quorvane
