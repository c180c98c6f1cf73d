// Views of text that somebody else owns: everything that reads, without copying and without a terminator. kr_string.h
// includes it.
//
//     const CStringView line("name = value");
//     const CGuid at = line.FindFirstOf('=');
//     const CStringView name = line.Slice(0, at.Get()).StripRight(' ');
#pragma once

#include <type_traits>

#include "kr_assert.h"
#include "kr_containers_array.h"
#include "kr_memoryviews.h"
#include "kr_string_fwd.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

namespace Internal::String
{

// The types of views that strings are made of. For each there is the declaration of a function that takes its name, and
// is never defined. It is looked up anew for each conversion: a program may include the header of the standard's view
// (kr_string_std.h) after it has compiled a call that would have asked for one.
template <typename View>
struct TNameOf
{
};
struct SForeignView; // the kind of the views that are no CStringView

void KindOfView(TNameOf<CStringView>) noexcept QV_NONBLOCKING;

template <typename View>
using KindOf = decltype(KindOfView(TNameOf<View>()));
template <typename View>
using IfForeignView = std::enable_if_t<std::is_same<KindOf<View>, SForeignView *>::value>;

} // namespace Internal::String

// Whether an operation tells upper from lower case. Every non-zero value ignores case.
enum ECaseSensitivity : u32
{
    CaseSensitive = 0,   // tells them apart
    CaseInsensitive = 1, // takes them for the same
};

// The casing of a text, or one to bring it to. Letters are the ASCII letters.
enum ECasingType : u32
{
    CasingType_Unspecified = 0, // no letter at all
    CasingType_Lowercase = 1,   // lower-case letters only
    CasingType_Uppercase = 2,   // upper-case letters only
    CasingType_Mixed = 3,       // letters of both cases
};

// `m_Length` characters from `m_Data`, not necessarily terminated, owned by somebody else.
//
// A view is a plain value, valid only while the characters are neither freed nor changed: any write through a handle
// that moves the characters invalidates the views of them.
//
// Nothing but ToString copies, and nothing else allocates but where it says so. Nothing reads outside the view or needs a
// terminator. Views that result borrow from the same characters. A null text counts as empty.
class QV_API CStringView
{
public:
    // No characters, or `length` of them from `data`, which are trusted to be there.
    constexpr CStringView() noexcept QV_NONBLOCKING : m_Data(nullptr), m_Length(0) {}
    constexpr CStringView(const char *data QV_INTERNAL_LIFETIMEBOUND, u32 length) noexcept QV_NONBLOCKING
        : m_Data(data),
          m_Length(length)
    {
    }
    // The whole text, up to its terminator; null gives the empty view. Explicit, so that a text given to one of several
    // overloads goes where it always went.
    constexpr explicit CStringView(const char *str QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING;
    // All characters of a string.
    inline CStringView(const CString &string QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING;
    // The same of a temporary: good until the end of the full expression.
    inline CStringView(CString &&string QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING;
    // The characters of a view of memory.
    constexpr CStringView(const TMemoryView<const char> &view) noexcept QV_NONBLOCKING : m_Data(view.Data()),
                                                                                         m_Length(view.Count())
    {
    }
    // From and to the standard's view, where kr_string_std.h is included. A standard's view of more than 32 bits is cut; a
    // null text becomes the standard's empty view.
    template <typename View, typename = Internal::String::IfForeignView<View>>
    constexpr CStringView(const View &view) noexcept QV_NONBLOCKING
        : m_Data(view.data()),
          m_Length(static_cast<u32>(QVMin<u64>(view.size(), 0xFFFFFFFFu)))
    {
    }
    template <typename View, typename = Internal::String::IfForeignView<View>>
    constexpr operator View() const noexcept QV_NONBLOCKING
    {
        return View(m_Data, m_Data != nullptr ? m_Length : 0);
    }

    // A view of the whole text; null gives the empty view.
    [[nodiscard]] static CStringView
    FromNullTerminatedString(const char *str QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING;

    // ---- Reading ----------------------------------------------------------------------------------------------------

    // The characters, not necessarily terminated; null for a view of nothing.
    constexpr const char *Data() const noexcept QV_NONBLOCKING { return m_Data; }
    // The number of characters.
    constexpr u32 Length() const noexcept QV_NONBLOCKING { return m_Length; }
    // By length: the characters are not looked at.
    [[nodiscard]] constexpr bool Empty() const noexcept QV_NONBLOCKING { return m_Length == 0; }
    // The characters as a view of memory.
    [[nodiscard]] constexpr TMemoryView<const char> View() const noexcept QV_NONBLOCKING
    {
        return TMemoryView<const char>(m_Data, m_Length);
    }

    // The characters as a range; a view of null is an empty one whatever its length.
    [[nodiscard]] constexpr const char *begin() const noexcept QV_NONBLOCKING { return m_Data; }
    [[nodiscard]] constexpr const char *end() const noexcept QV_NONBLOCKING
    {
        return m_Data != nullptr ? m_Data + m_Length : nullptr;
    }

    // The character at `index`, by value.
    // Requires: an index in the view, else reports "index < m_Length" and reads there all the same.
    char operator[](u32 index) const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(index < m_Length);
        return QV_INTERNAL_LIKELY(m_Data != nullptr) ? m_Data[index] : '\0';
    }

    // Back to (null, 0).
    void Clear() noexcept QV_NONBLOCKING { *this = CStringView(); }

    // A string with a copy of the characters. Fails: an empty string when memory is refused.
    [[nodiscard]] CString ToString() const noexcept;

    // ---- Pieces -----------------------------------------------------------------------------------------------------

    // The characters from `start`, or `count` of them; both clamped to the view.
    [[nodiscard]] CStringView Slice(u32 start) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CStringView Slice(u32 start, u32 count) const noexcept QV_NONBLOCKING;

    // The view without the given character, or any character of the set, at both ends, the start or the end. A null or
    // empty set strips nothing.
    [[nodiscard]] CStringView Strip(char character) const noexcept QV_NONBLOCKING;
    [[nodiscard]] inline CStringView Strip(const char *set) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CStringView StripLeft(char character) const noexcept QV_NONBLOCKING;
    [[nodiscard]] inline CStringView StripLeft(const char *set) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CStringView StripRight(char character) const noexcept QV_NONBLOCKING;
    [[nodiscard]] inline CStringView StripRight(const char *set) const noexcept QV_NONBLOCKING;

    // ---- Comparison -------------------------------------------------------------------------------------------------

    // Equality. As for strings, a terminator ends the comparison where both have one, and ignoring case follows the
    // platform's library.
    [[nodiscard]] bool Compare(const char *other,
                               ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Compare(const CStringView &other,
                               ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // Equality of all characters, embedded terminators included.
    bool operator==(const char *other) const noexcept QV_NONBLOCKING;
    bool operator==(const CStringView &other) const noexcept QV_NONBLOCKING;
    bool operator!=(const char *other) const noexcept QV_NONBLOCKING { return !(*this == other); }
    bool operator!=(const CStringView &other) const noexcept QV_NONBLOCKING { return !(*this == other); }

    // ---- Casing -----------------------------------------------------------------------------------------------------

    // True when no character differs from its upper-case (lower-case) form.
    [[nodiscard]] bool IsUpper() const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool IsLower() const noexcept QV_NONBLOCKING;
    // Unspecified without a letter.
    [[nodiscard]] ECasingType AnalyzeCasing() const noexcept QV_NONBLOCKING;

    // ---- Search -----------------------------------------------------------------------------------------------------

    // The index of the first character at or after `start`, or of the last one, that is the given character or one of
    // the set; CGuid::INVALID when there is none. A null or empty set finds nothing.
    [[nodiscard]] CGuid FindFirstOf(char character) const noexcept QV_NONBLOCKING { return FindNextOf(character, 0); }
    [[nodiscard]] CGuid FindFirstOf(const char *set) const noexcept QV_NONBLOCKING { return FindNextOf(set, 0); }
    [[nodiscard]] CGuid FindNextOf(char character, u32 start) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CGuid FindNextOf(const char *set, u32 start) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CGuid FindLastOf(char character) const noexcept QV_NONBLOCKING;

    // The index of the first place at or after `start`, or of the last place, where the whole of `text` stands;
    // CGuid::INVALID when there is none. All characters count, embedded terminators included; a buffer ends at its
    // terminator. Case is ASCII case. A null or empty text stands everywhere, also behind the last character: it is found
    // at `start`, unless that is beyond the length, and last at the length.
    // Cost: linear in both, whatever they are.
    [[nodiscard]] CGuid FindText(const CStringView &text, u32 start = 0,
                                 ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CGuid FindText(const char *text, u32 start = 0,
                                 ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    CGuid FindText(const CStringView &text, ECaseSensitivity) const = delete; // it would be taken for `start`
    CGuid FindText(const char *text, ECaseSensitivity) const = delete;
    [[nodiscard]] CGuid FindLastText(const CStringView &text,
                                     ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] CGuid FindLastText(const char *text,
                                     ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // Prefix, suffix and substring tests; case is ASCII case. An empty argument is contained in everything.
    [[nodiscard]] bool StartsWith(const CStringView &other,
                                  ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool StartsWith(const char *other,
                                  ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool EndsWith(const CStringView &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool EndsWith(const char *other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Contains(const CStringView &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Contains(const char *other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // True when the view holds only characters of the set, of which a terminator is none. A null or empty set asks for
    // plain emptiness.
    [[nodiscard]] bool Empty(const char *blanks) const noexcept QV_NONBLOCKING;

    // ---- Splitting --------------------------------------------------------------------------------------------------

    // The pieces are the runs between separators, as views of the same characters: none is ever empty. This view may be
    // an element of the output.
    // Returns: whether every piece was stored; the pieces before one that could not be stay in the array.
    // Allocates: as the array grows.
    // Stack: 4 KiB.

    // At every `separator`. Clears the output first.
    [[nodiscard]] bool Split(char separator, TArray<CStringView> &outPieces) const noexcept;

    // At every character for which `isSeparator`, anything that can be called with a char and answers a bool, is true.
    // Requires: answers that depend on the character alone; it is asked about each one that occurs, not each time.
    // Appends to the output, which is not cleared.
    template <typename Predicate, typename = std::enable_if_t<std::is_invocable_r<bool, Predicate &, char>::value>>
    [[nodiscard]] bool Split(Predicate &&isSeparator, TArray<CStringView> &outPieces) const;

    // ---- Matching ---------------------------------------------------------------------------------------------------

    // Wildcard match of the whole view (the syntax is that of SNativeStringUtils::Match and MatchWithInhibitors). Views
    // go by their lengths, patterns too: a terminator is a character like any other. No characters match a pattern of
    // none and patterns of nothing but stars.
    // Cost: of a pattern of p characters and a view of n, at most p * n + p + n steps, each a look at a character or at a
    // star.
    [[nodiscard]] bool Match(const CStringView &pattern,
                             ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Match(const char *pattern,
                             ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool
    MatchWithInhibitors(const CStringView &pattern,
                        ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool
    MatchWithInhibitors(const char *pattern,
                        ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // The weight of two texts from 0 to 1, as CString::FuzzyMatch has it for strings of the same characters. Nonblocking as
    // long as both have fewer than 256.
    // Cost: a step for each character of the longer text and each 64 of the shorter one, and what is linear in both.
    // Allocates: a block of 4 bytes per character of the longer text, and 4 more, when that has 256 characters or more.
    // Fails: 0, and so do lengths that no string can have.
    // Stack: 4 KiB; 8 KiB when the longer text has 256 characters or more.
    [[nodiscard]] float FuzzyMatch(const CStringView &other) const noexcept QV_NONBLOCKING;
    [[nodiscard]] float FuzzyMatch(const char *other) const noexcept QV_NONBLOCKING;

private:
    const char *m_Data;
    u32 m_Length;
};

} // namespace Quorvane
