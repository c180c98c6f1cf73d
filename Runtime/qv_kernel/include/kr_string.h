// Text: a one-pointer string handle that shares its characters and copies them only to write, and what it stands on.
//
//     CString path("assets");
//     path /= "models";                    // "assets/models"
//     CString copy = path;                 // shares the characters: one atomic increment
//     copy.Append(".bin");                 // copy has its own now; path is untouched
//     const CString line = CString::VAFormat(format, args);
//
// Text is 8-bit, NUL-terminated, with its length beside it. Lengths, indices and counts are u32 and count characters,
// the terminator not included; texts of 0x3FFFFFFF characters and more are refused as if memory were exhausted.
//
// Characters live in a container that all copies of a handle share. Reading never copies and never allocates; every
// write first makes the container the handle's own. Handles that share characters may live on different threads; one
// handle may not be assigned by one thread while another one copies it.
//
// No operation takes more than 4 KiB of the caller's stack but for fuzzy matching, and none recurses; those that may take
// more than 1 KiB say so. What the platform's own functions and the report of a failed assertion take is not counted.
//
// What users meet sooner or later:
// - emptiness is judged by the first character: a text that begins with a terminator is empty whatever its length; what
//   each operation makes of such a text stands in a table in front of CString;
// - `Data()` of a string without characters is null as a rule, which the platform's printf does not take;
// - `Prepend` to an empty handle takes the whole text up to its terminator, whatever count was given;
// - `Escape`, `Unescape` and the substring `Replace` end at the first embedded terminator;
// - `Reverse` writes a shared block: every string that shares it sees the reversal;
// - with embedded terminators, order is no strict weak order, and equality is not transitive between the string, the
//   view and the buffer forms;
// - `Format` leaves the process in the "C" locale, and cuts its result at 3198 characters; `VAFormat` does neither;
// - a path join takes a backslash for the caller's mistake and reports it; it does not convert it;
// - a path join with nothing still takes the slashes off the end, where `Append` of nothing changes nothing;
// - a copy for writing is of the fixed form: a string that could grow in place can no longer once it was shared and
//   written; the next append makes it resizable again;
// - a view does not keep the characters alive, and any write through a handle may move them.
#pragma once

#include <cstdarg>
#include <cstring>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_buffer.h"
#include "kr_containers_array.h"
#include "kr_containers_internals.h"
#include "kr_memoryviews.h"
#include "kr_refptr.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

class CString;
class CStringContainer;

namespace Internal::String
{
struct SGrowth; // the edits that grow a text
}

using PStringContainer = TRefPtr<CStringContainer>;

// Whether an operation tells upper from lower case. Every non-zero value ignores case.
enum ECaseSensitivity : u32
{
    CaseSensitive = 0,
    CaseInsensitive = 1,
};

// The casing of a text, or one to bring it to. Letters are the ASCII letters.
enum ECasingType : u32
{
    CasingType_Unspecified = 0, // no letter at all
    CasingType_Lowercase = 1,
    CasingType_Uppercase = 2,
    CasingType_Mixed = 3,
};

// ---- The container of characters ------------------------------------------------------------------------------------

// The shared, reference-counted block of characters behind a string.
//
// Fixed form: object and characters in one block. Resizable form: the characters in a buffer of their own, which can
// grow. The form is chosen at creation and never changes. In both, characters start 16-byte aligned, the one at
// Length() is the terminator, and everything from it to the end of its 16-byte block is zero.
//
// Only the holder of the only reference may write the characters or set the length.
class CStringContainer final : public CRefCountedObject
{
public:
    // Lengths are below this; it also masks the length within `m_Length`.
    QV_INTERNAL_HIDDEN static constexpr u32 kLengthMask = 0x3FFFFFFF;

    // Creators. Each returns a pointer that holds the only reference.
    // Fails: null when memory is refused, or `len` is kLengthMask or more.

    // Fixed form, with a copy of `str`, measured, or of its first `len` characters.
    // A null `str` leaves the characters for the caller to write; the last block is zeroed all the same.
    // Returns: null, without allocating, for length 0.
    // Allocates: one block of `len` + 1, rounded up to 16, plus 32 bytes.
    static PStringContainer New(const char *str);
    static PStringContainer New(const char *str, u32 len);

    // Resizable form. `capacity` is in characters; 0 asks for `len`, at least 16.
    // Requires: a capacity of at least `len`, else reports "capacityLen >= stringLen" and takes `len`.
    // Allocates: a buffer of the capacity + 1, rounded up to 16, and an object of 40 bytes.
    static PStringContainer NewResizable(const char *str);
    static PStringContainer NewResizable(const char *str, u32 len, u32 capacity);

    // Reports "*bufferLink != null" for a resizable container without a buffer.
    ~CStringContainer() override;

    const char *Data() const { return m_Characters; }
    char *Data() { return m_Characters; }
    u32 Length() const { return m_Length & kLengthMask; }
    bool SupportsDynamicResize() const { return (m_Length & kResizableFlag) != 0; }

    // Makes room for `newLength` characters and the terminator; leaves the length alone. Grows to `newLength` + 256,
    // rounded up to 16.
    // Requires: the resizable form, else reports "SupportsDynamicResize()" and returns false.
    // Returns: whether the room is there. Fails: false, with the container as it was.
    // Invalidates: pointers to the characters, when it grows.
    bool DynamicResize(u32 newLength)
    {
        const bool fits = SupportsDynamicResize() && newLength < m_Capacity && newLength < kLengthMask;
        return QV_INTERNAL_LIKELY(fits) ? true : _Reallocate(newLength);
    }

    // Sets the length after the caller wrote the characters and the terminator. Zeroes what a shorter length leaves
    // behind, and the last block of a longer one.
    // Requires: a length below kLengthMask and a terminator there, else reports "newLength < kLengthMask" or
    // "data[newLength] == '\0'". A length of kLengthMask or beyond the block changes nothing.
    void UnsafeSetLength(u32 newLength) { _SetLength(newLength); }

    // Sets the length to 0, keeping the room.
    void Clear();

    // Recomputes the length from the characters: up to the first terminator, or to the end of the room.
    void Rebuild();

    // Bytes held: characters, rounded up to 16, plus 32 bytes.
    u64 MemoryFootprint() const;

    // Drops a strong reference, and destroys the container with the last one: what the counted base does, without the
    // virtual calls, since nothing derives from this class. It does not ask first whether this is the last one: that
    // spares a text that was never shared 0.3 ns, and costs 0.4 ns for every handle that was a copy.
    void RemoveReference() const
    {
        if (_InternalRemoveReferenceIsLast())
            _Destroy(const_cast<CStringContainer *>(this));
    }

    // The same of a container that may be null: null, and 0.
    static const char *SafeData(const CStringContainer *container)
    {
        return container != nullptr ? container->Data() : nullptr;
    }
    static u32 SafeLength(const CStringContainer *container) { return container != nullptr ? container->Length() : 0; }

private:
    friend class CString;
    friend struct Internal::String::SGrowth;

    static constexpr u32 kResizableFlag = 0x80000000;
    static constexpr u32 kBlockBytes = 16;

    // Bytes of the blocks that hold `length` characters and their terminator.
    static constexpr u32 _PaddedLength(u32 length) { return (length + kBlockBytes) & ~(kBlockBytes - 1); }

    CStringContainer(u32 lengthAndFlags, u32 capacity, char *characters);

    static void _Destroy(CStringContainer *container);
    void _FreeBuffer();

    bool _Reallocate(u32 newLength);

    // UnsafeSetLength.
    void _SetLength(u32 newLength);

    // The one place where a length changes; `difference` is modulo 2^32, so that it may be negative. Lengths stay below
    // kLengthMask, so the flags above them stay what they are. Zeroing what is behind the text is up to the caller.
    void _ChangeLengthBy(u32 difference) { m_Length += difference; }

    // Appends a character, not the terminator, where the holder of the only reference has room for it.
    // Returns: false, with nothing done, where it has not.
    bool _AppendFast(char character);
    bool _BeginBlock(u32 newLength);

    // How many characters from the front path joins have found to be neither backslashes nor terminators, so that they
    // need not look there again: in the object of the resizable form, behind the fields. Whoever changes characters in
    // place, or hands them out to be changed, forgets it.
    static constexpr u32 kSearchedOffset = 32;
    u32 _Searched() const
    {
        u32 count;
        std::memcpy(&count, reinterpret_cast<const unsigned char *>(this) + kSearchedOffset, sizeof(count));
        return count;
    }
    void _SetSearched(u32 count)
    {
        std::memcpy(reinterpret_cast<unsigned char *>(this) + kSearchedOffset, &count, sizeof(count));
    }
    void _ForgetSearched()
    {
        if (SupportsDynamicResize())
            _SetSearched(0);
    }

    // Layout. The fields before this one take 16 bytes; together they take the 32 before a fixed form's characters.
    u32 m_Length;       // bits 0 to 29: the length; bit 30: reserved, kept by every update; bit 31: resizable
    u32 m_Capacity;     // bytes of room for characters and terminator, a multiple of 16
    char *m_Characters; // fixed form: 32 bytes into this object's own block; resizable form: the buffer
};

// ---- The view -------------------------------------------------------------------------------------------------------

// `m_Length` characters from `m_Data`, not necessarily terminated, owned by somebody else.
//
// A view is a plain value, valid only while the characters are neither freed nor changed: any write through a handle
// that moves the characters invalidates the views of them.
class CStringView
{
public:
    constexpr CStringView() : m_Data(nullptr), m_Length(0) {}
    constexpr CStringView(const char *data QV_INTERNAL_LIFETIMEBOUND, u32 length) : m_Data(data), m_Length(length) {}
    // The whole text, up to its terminator; null gives the empty view. Explicit, so that a text given to one of several
    // overloads goes where it always went.
    constexpr explicit CStringView(const char *str QV_INTERNAL_LIFETIMEBOUND);
    CStringView(const CString &string QV_INTERNAL_LIFETIMEBOUND);
    // Borrows from a temporary: good until the end of the full expression.
    CStringView(CString &&string QV_INTERNAL_LIFETIMEBOUND);
    constexpr CStringView(const TMemoryView<const char> &view) : m_Data(view.Data()), m_Length(view.Count()) {}

    // A view of the whole text; null gives the empty view.
    static CStringView FromNullTerminatedString(const char *str QV_INTERNAL_LIFETIMEBOUND);

    // ---- Reading ----------------------------------------------------------------------------------------------------

    constexpr const char *Data() const { return m_Data; }
    constexpr u32 Length() const { return m_Length; }
    // By length: the characters are not looked at.
    constexpr bool Empty() const { return m_Length == 0; }
    constexpr TMemoryView<const char> View() const { return TMemoryView<const char>(m_Data, m_Length); }

    // The character at `index`, by value.
    // Requires: an index in the view, else reports "index < m_Length" and reads there all the same.
    char operator[](u32 index) const
    {
        QV_ASSERT(index < m_Length);
        return QV_INTERNAL_LIKELY(m_Data != nullptr) ? m_Data[index] : '\0';
    }

    // Back to (null, 0).
    void Clear() { *this = CStringView(); }

    // A string with a copy of the characters. Fails: an empty string when memory is refused.
    CString ToString() const;

    // Nothing below reads outside the view, needs a terminator, copies or allocates. Views that result borrow from the
    // same characters. A null text counts as empty.

    // ---- Pieces -----------------------------------------------------------------------------------------------------

    // The characters from `start`, or `count` of them; both clamped to the view.
    CStringView Slice(u32 start) const;
    CStringView Slice(u32 start, u32 count) const;

    // The view without the given character, or any character of the set, at both ends, the start or the end. A null or
    // empty set strips nothing.
    CStringView Strip(char character) const;
    CStringView Strip(const char *set) const;
    CStringView StripLeft(char character) const;
    CStringView StripLeft(const char *set) const;
    CStringView StripRight(char character) const;
    CStringView StripRight(const char *set) const;

    // ---- Comparison -------------------------------------------------------------------------------------------------

    // Equality. As for strings, a terminator ends the comparison where both have one, and ignoring case follows the
    // platform's library.
    bool Compare(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Compare(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;

    // Equality of all characters, embedded terminators included.
    bool operator==(const char *other) const;
    bool operator==(const CStringView &other) const;
    bool operator!=(const char *other) const { return !(*this == other); }
    bool operator!=(const CStringView &other) const { return !(*this == other); }

    // ---- Casing -----------------------------------------------------------------------------------------------------

    // True when no character differs from its upper-case (lower-case) form.
    bool IsUpper() const;
    bool IsLower() const;
    // Unspecified without a letter.
    ECasingType AnalyzeCasing() const;

    // ---- Search -----------------------------------------------------------------------------------------------------

    // The index of the first character at or after `start`, or of the last one, that is the given character or one of
    // the set; CGuid::INVALID when there is none. A null or empty set finds nothing.
    CGuid FindFirstOf(char character) const { return FindNextOf(character, 0); }
    CGuid FindFirstOf(const char *set) const { return FindNextOf(set, 0); }
    CGuid FindNextOf(char character, u32 start) const;
    CGuid FindNextOf(const char *set, u32 start) const;
    CGuid FindLastOf(char character) const;

    // Prefix, suffix and substring tests; case is ASCII case. An empty argument is contained in everything.
    bool StartsWith(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool StartsWith(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool EndsWith(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool EndsWith(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Contains(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Contains(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;

private:
    const char *m_Data;
    u32 m_Length;
};

// ---- What nothing means ---------------------------------------------------------------------------------------------

// Three kinds of strings are Empty(): one without a container (null), one whose container has length 0 (empty), and one
// of any length that begins with a terminator. Arguments are of these kinds, too: a null text is null, and so is a view of
// null whatever its length; a text ends at its terminator, so that one with a terminator in front is empty, unless it is
// counted.
//
// A dash means that nothing happens or comes out, "by length" what happens to any other text, "null" a string without a
// container; reports are those that the declarations name.
//
//                              null                   empty                  begins with a terminator
//     Constructor of it        null                   null                   counted text: reports, null
//     CStringView::ToString    null                   null                   by length
//     Data, Length             null, 0                a text of "", 0        by length
//     First, Last              report                 report                 report
//     Clear                    -                      -                      -: the length stays
//     Format of it             null; VAFormat reports null                   null (a format is a text)
//     Append to it             becomes the other side becomes the other side becomes the other side; *: by length
//     Append of it             -                      -                      string, counted text: -; view: by length
//     Path join to it          no left side           no left side           by length
//     Path join of it          takes slashes off      takes slashes off      string: takes slashes off; else by length
//     Casing                   -                      -                      -; no letters
//     Escape, Unescape         -                      -                      -
//     Ident                    gives the blanks       gives the blanks       by length
//     Reverse, Strip           -                      -                      by length
//     Repeat it                null                   null; once: itself     by length
//     Strip with a set of it   -                      -                      - (a set is a text)
//     Uncomment                -                      -                      reports
//     Replace in it            null                   the string itself      the string itself
//     Replace of it            the string itself      the string itself      view: is found nowhere
//     Replace by it            takes matches out      takes matches out      view: ends the result at the first match
//     Replace a character      null                   null                   by length
//     == null                  true                   true                   true
//     == an empty string       true                   true                   false
//     == "", text or view      true                   true                   true
//     == a view of it          true                   true                   false, but Compare goes by length
//     < an empty string        true                   false                  false
//     > an empty string        false                  false                  true
//     Find a character in it   -                      -                      by length
//     Find a text in it        -                      -                      from `start` to the next terminator
//     Find it                  -                      at `start`             at `start` (it is a text)
//     Contains and its kin     hold null and "" only  hold null and "" only  by length
//     Contains it, and its kin true                   true                   string, view: by length
//     Empty(set)               true                   true                   true
//     Empty(it)                asks for Empty()       asks for Empty()       asks for Empty() (a set is a text)
//     Extract from a string    reports, null          reports, null          by length, but reports
//     Extract from a buffer    reports, null          reports, by count      reports, by count
//     Split                    -                      -                      -
//     CStringBatchSplitter     reports, -             -                      -
//     Match                    by null and stars      by null and stars      by null and stars
//     Match with it, a text    Empty(), or reports    Empty()                Empty()
//     Match with it, a string  Empty()                Empty()                Empty()
//     Fuzzy weight with null   1                      1                      0
//     * it is not shared and of the resizable form
//
// A view goes by its length, but one of null has no characters. Its Compare ends where both sides have a terminator,
// its == does not.

// ---- The string -----------------------------------------------------------------------------------------------------

// The string: a handle of one pointer that shares its characters with its copies.
//
// Cost: a copy is one atomic increment, a move nothing; an empty string allocates nothing.
// Fails: an operation that cannot get memory leaves the string as its comment says; nothing throws.
class CString
{
public:
    // A string without characters. Constant-initialised; may be used at any time.
    static const CString EmptyString;

    constexpr CString() = default;

    // A copy of `str`; null and empty text allocate nothing. Fails: an empty string.
    CString(const char *str)
        : m_Container(str != nullptr && *str != '\0' ? CStringContainer::New(str) : PStringContainer())
    {
    }

    // A copy of the first `sourceLen` characters of `source`, which are trusted to be there.
    // Requires: text, or a length of 0, else reports "sourceLen == 0" and stays empty. Fails: an empty string.
    CString(const char *source, u32 sourceLen);

    // Shares a container.
    CString(const PStringContainer &container) : m_Container(container) {}
    CString(PStringContainer &&container) : m_Container(std::move(container)) {}

    // ---- Reading ----------------------------------------------------------------------------------------------------

    // Nothing here copies or allocates.

    // The characters, NUL-terminated; null for a string without a container.
    const char *Data() const QV_INTERNAL_LIFETIMEBOUND { return CStringContainer::SafeData(m_Container.Get()); }
    u32 Length() const { return CStringContainer::SafeLength(m_Container.Get()); }
    // By the first character: true without a container or when it is the terminator.
    bool Empty() const
    {
        const char *data = Data();
        return data == nullptr || *data == '\0';
    }
    TMemoryView<const char> View() const QV_INTERNAL_LIFETIMEBOUND { return TMemoryView<const char>(Data(), Length()); }

    // The character at `index`.
    // Requires: a container and an index below the length, else reports "_P::m_Ptr != null" or
    // "index < m_Container->Length()" and answers a NUL.
    const char &At(u32 index) const QV_INTERNAL_LIFETIMEBOUND;
    const char &operator[](u32 index) const QV_INTERNAL_LIFETIMEBOUND { return At(index); }

    // The first and the last character.
    // Requires: a string that is not empty, else reports "!Empty()" and answers a NUL.
    const char &First() const QV_INTERNAL_LIFETIMEBOUND;
    const char &Last() const QV_INTERNAL_LIFETIMEBOUND;

    // Bytes held by this handle and by its container, which other handles may share.
    ureg MemoryFootprint() const;

    // ---- Writing ----------------------------------------------------------------------------------------------------

    // Each first makes the characters this handle's own, by a copy of the fixed form when they are shared.
    // Fails: the handle is left empty, having released the shared characters.

    // Writable characters; null without a container, or when the copy cannot be had. After changing where the text
    // ends, call RebuildAfterRawModification. Invalidates: pointers and views, when it copies.
    char *RawDataForWriting();
    TMemoryView<char> ViewForWriting();

    // Sets the length to the first terminator, for a caller that wrote characters it got from one of the above.
    void RebuildAfterRawModification();

    // Writable counterparts of At, First and Last, with the same reports. When no private copy can be had: report
    // "_P::m_Ptr != null". After a report they answer a scratch character of the thread.
    char &AtForWriting(u32 index);
    char &FirstForWriting();
    char &LastForWriting();

    // Empties the string. One that is not shared keeps its container, length 0, for reuse; a shared one lets go of it.
    void Clear();

    // Exchanges the containers; no count changes.
    friend void swap(CString &a, CString &b) noexcept { a.m_Container.Swap(b.m_Container); }

    // ---- Formatting -------------------------------------------------------------------------------------------------

    // In the manner of printf. Fails: an empty string, also for a null format.
    // Stack: that of the platform's own formatting comes on top, some 3 KiB with floating-point numbers.

    // Any length, in the locale in force. Reports "format != null".
    // Stack: 1.5 KiB.
    static CString VAFormat(const char *format, va_list args) QV_INTERNAL_PRINTF(1, 0);

    // At most 3198 characters (longer results are cut), in the "C" locale: numbers always have a decimal point.
    // The process is left in the "C" locale: beware of threads that depend on another one.
    // Stack: 4 KiB.
    static CString Format(const char *format, ...) QV_INTERNAL_PRINTF(1, 2);

    // ---- Concatenation ----------------------------------------------------------------------------------------------

    // The argument may be the string itself or any piece of it. Null and empty arguments change
    // nothing. A string that is not shared and of the resizable form grows in place; every other gets a new container
    // of that form. Returns: this string.
    // Fails: an empty string (what it held is released).
    // Invalidates: pointers to and views of the characters.

    CString &Append(const CString &other);
    CString &Append(const CStringView &other);
    CString &Append(const char *other);
    // Requires: `otherLength` characters before the terminator, else reports
    // "otherLength <= SNativeStringUtils::Length(other)" and takes that many all the same.
    CString &Append(const char *other, u32 otherLength);
    CString &Append(char character)
    {
        CStringContainer *container = m_Container.Get();
        if (QV_INTERNAL_UNLIKELY(container == nullptr || character == '\0'))
            return _AppendSlow(character);
        return QV_INTERNAL_LIKELY(container->_AppendFast(character)) ? *this : _AppendSlow(character);
    }

    // The same at the front. Beware: prepending to an empty string takes the whole text up to its terminator, whatever
    // `otherLength` says, unless the string is not shared and of the resizable form. Views and characters are taken
    // as they are.
    CString &Prepend(const CString &other);
    CString &Prepend(const CStringView &other);
    CString &Prepend(const char *other);
    CString &Prepend(const char *other, u32 otherLength);
    CString &Prepend(char character);

    CString &operator+=(const CString &other) { return Append(other); }
    CString &operator+=(const CStringView &other) { return Append(other); }
    CString &operator+=(const char *other) { return Append(other); }

    // ---- Paths ------------------------------------------------------------------------------------------------------

    // Joins two path pieces with exactly one slash between them. Slashes inside either piece stay. An empty or null
    // argument still removes the slashes at the end of this string. A count is taken as it is: all `length` characters
    // are joined, but the search for a backslash ends at a terminator among them.
    // Requires: no backslash in either piece, else reports "aLen == 0 || !_ContainsBackSlash(a, length)" or
    // "bLen == 0 || !_ContainsBackSlash(b, length)" and goes on.
    // Cost: linear in what is added, as far as the room allows: what a join in place has searched for backslashes, the
    // next one does not search again. Invalidates: pointers to and views of the characters; a pointer for writing that
    // was taken before a join must not be written through after it.
    // Fails: reports "newContainer != null" and leaves the string unchanged.
    // Stack: 1.5 KiB, and of the operators for it, too.
    CString &AppendSlashAnd(const CString &other);
    CString &AppendSlashAnd(const CStringView &other);
    CString &AppendSlashAnd(const char *other);
    CString &AppendSlashAnd(const char *other, u32 length);

    CString &operator/=(const CString &other) { return AppendSlashAnd(other); }
    CString &operator/=(const CStringView &other) { return AppendSlashAnd(other); }
    CString &operator/=(const char *other) { return AppendSlashAnd(other); }

    // Ends the string with a slash, unless it is empty or has one.
    CString &AppendSlash();
    CString SlashAppended() const;

    // ---- Casing -----------------------------------------------------------------------------------------------------

    // Works on the stored length, so characters behind an embedded terminator change too. A shared container is
    // copied first. Returns: this string.
    // Fails: an empty string; conversions report "_P::m_Ptr != null".

    CString &ToUppercase();
    CString &ToLowercase();
    CString Uppercase() const;
    CString Lowercase() const;

    // To upper or lower case; every other casing changes no character, but still makes the container this string's own.
    CString &ConformTo(ECasingType casing);
    CString ConformedTo(ECasingType casing) const;

    // True when no character differs from its upper-case (lower-case) form; true for an empty string.
    bool IsUpper() const;
    bool IsLower() const;
    // Unspecified for an empty string, or one without a letter.
    ECasingType AnalyzeCasing() const;

    // ---- Escaping ---------------------------------------------------------------------------------------------------

    // Escape sequences (the syntax is that of SNativeStringUtils::Escape). Both end at the first embedded terminator.
    // Returns: this string.

    // Gives a new container of the fixed form. Allocates: once, for twice the length. Fails: the string is unchanged.
    CString &Escape();
    // In place, in a private copy when the container is shared. Fails: an empty string, after the reports
    // "_P::m_Ptr != null" and "m_Container->RefCount() == 1".
    CString &Unescape();
    CString Escaped() const;
    CString Unescaped() const;

    // ---- Edits ------------------------------------------------------------------------------------------------------

    // Takes the string as a line that ends at `column`, and appends the tabs and spaces that move its end `width`
    // columns further, with tab stops every `tabWidth` columns. Gives a new container of the fixed form.
    // Requires: a tab width, else reports "tabWidth != 0" and changes nothing.
    // Returns: the number of characters appended. Fails: 0, with the string unchanged.
    u32 Ident(u32 column, u32 width, u32 tabWidth);

    // Reversal. Beware: `Reverse` reverses the characters where they are, so every string that shares them sees it.
    // `Reversed` never touches this string. Fails (Reversed): an empty string.
    CString &Reverse();
    CString Reversed() const;

    // Returns: a new string of the fixed form with all Length() characters `times` times in a row, embedded terminators
    // included; a copy of the handle for 1, and a string without a container for 0 or a string of length 0.
    // Requires: a container with characters, else reports "data != null" and gives an empty string.
    // Allocates: once, for the result. Fails: an empty string; a result of kLengthMask characters or more does not ask
    // for memory.
    CString Repeat(u32 times) const;

    // Removes characters of the set from both ends, the start or the end. A null or empty set strips nothing; a string
    // of nothing else is emptied. Nothing to strip leaves a shared container shared. Returns: this string.
    // Fails: an empty string; Strip and StripRight report "data != null".
    CString &Strip(const char *chars);
    CString &StripLeft(const char *chars);
    CString &StripRight(const char *chars);

    // Blanks comments (the syntax is that of SNativeStringUtils::Uncomment); the length stays. Returns: this string.
    // Requires: no embedded terminator, else reports "SNativeStringUtils::Length_16(Data()) == Length()".
    // Fails: an empty string.
    CString &Uncomment();

    // ---- Replacing --------------------------------------------------------------------------------------------------

    // A new string in which every occurrence of the pattern is replaced, left to right and without overlap; replaced
    // text is not searched again. Ends at the first embedded terminator. A null or empty pattern gives a copy of the
    // handle.
    // Cost: linear in the longer of source and result.
    // Fails: an empty string; where the result is longer than the source, replacements may stop early instead.
    // Stack: 4 KiB.
    CString Replace(const CStringView &pattern, const CStringView &replacement) const;
    CString Replace(const CStringView &pattern, const char *replacement) const;
    CString Replace(const char *pattern, const CStringView &replacement) const;
    CString Replace(const char *pattern, const char *replacement) const;

    // A new string in which one character is replaced by another, up to the stored length.
    // Requires: two characters, else reports "searchFor != '\0' && replaceWith != '\0'" and goes on.
    // Fails: an empty string.
    CString Replace(char searchFor, char replaceWith) const;

    // ---- Comparison -------------------------------------------------------------------------------------------------

    // Equality: `Compare` answers yes or no, it does not order. Ignoring case, buffers and views follow the platform's
    // library, strings ASCII. With buffers and views, a terminator ends the comparison where both have one.
    // Report "m_Container->Data() != null" or "srcA != null && srcB != null" for a container without characters.
    bool Compare(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Compare(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Compare(const CString &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;

    // Order by bytes (unsigned, lower-cased ones where case is ignored); a string that starts another one is before it.
    // A string without a container is before every string with one, be that empty.
    bool LessThan(const CString &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    // The same as with a string of that text, which null and an empty text are without a container.
    bool LessThan(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;

    bool operator==(const char *other) const { return Compare(other, CaseSensitive); }
    bool operator==(const CString &other) const;
    bool operator!=(const char *other) const { return !(*this == other); }
    bool operator!=(const CString &other) const { return !(*this == other); }
    // A null buffer orders with a string without a container.
    bool operator>(const char *other) const;
    bool operator<(const char *other) const;
    bool operator>(const CString &other) const;
    bool operator<(const CString &other) const;
    bool operator<=(const CString &other) const { return !(*this > other); }
    bool operator>=(const CString &other) const { return !(*this < other); }
    bool operator<=(const char *other) const { return !(*this > other); }
    bool operator>=(const char *other) const { return !(*this < other); }

    // ---- Search -----------------------------------------------------------------------------------------------------

    // The index of what was found, or CGuid::INVALID.

    // The first character at or after `start` that is `character`, or the last one; up to the stored length.
    CGuid FindFirstOf(char character) const { return FindNextOf(character, 0); }
    CGuid FindNextOf(char character, u32 start) const;
    CGuid FindLastOf(char character) const;

    // The first place at or after `start` where the whole of `str` stands; up to the first terminator. Beware: despite
    // the name this finds a substring, where a view finds one of a set. An empty `str` is found at `start`.
    // Stack: 1.5 KiB, and of Contains, too.
    CGuid FindFirstOf(const char *str) const { return FindNextOf(str, 0); }
    CGuid FindNextOf(const char *str, u32 start) const;

    // Prefix, suffix and substring tests; case is ASCII case. A null or empty argument is contained in everything.
    bool StartsWith(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool StartsWith(const CString &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool StartsWith(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool EndsWith(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool EndsWith(const CString &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool EndsWith(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Contains(const char *other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Contains(const CString &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Contains(const CStringView &other, ECaseSensitivity caseSensitivity = CaseSensitive) const;

    // True when the string holds only characters of the set, up to its terminator. A null or empty set asks for plain
    // emptiness.
    bool Empty(const char *blanks) const;

    // ---- Extraction -------------------------------------------------------------------------------------------------

    // A new string with the characters from `first` up to, not including, `last`. Equal indices give an
    // empty string. Fails: an empty string.

    // Requires: `first` within the string and `last` not beyond it, else reports "first < size && last <= size" and
    // gives an empty string. A terminator among the characters extracted, or the 4096 in front of them, is reported as
    // that of a buffer is. Cost: linear in what is extracted.
    CString Extract(u32 first, u32 last) const;
    // From a buffer. Requires: text up to `last`, else reports "from != null && last > first &&
    // SNativeStringUtils::Length(from) >= QVMax(first, last)"; a null buffer or `last` before `first` then gives an
    // empty string, every other count is trusted. Looks no further than `last`.
    // Cost: linear in `last` with assertions, since a buffer has no length but what is looked for each time; without,
    // in what is extracted. Who cuts a long buffer into pieces moves `from` forward.
    static CString Extract(const char *from, u32 first, u32 last);

    // ---- Splitting --------------------------------------------------------------------------------------------------

    // The pieces are the runs between separators: none is ever empty. Views borrow from this string's
    // characters; strings have characters of their own.
    // Returns: whether every piece was stored; the pieces before one that could not be stay in the array. A piece whose
    // memory is refused is stored as an empty string.
    // Stack: 4 KiB.

    // At every `separator` up to the stored length. Clears the output first.
    bool Split(char separator, TArray<CStringView> &outPieces) const &;
    bool Split(char separator, TArray<CStringView> &outPieces) const && = delete; // the views would outlive the string
    bool Split(char separator, TArray<CString> &outPieces) const;

    // The same while holding a reference of its own, so that other handles may let go of the characters meanwhile; no
    // thread may assign this handle, though. Views need a handle that keeps the characters alive afterwards.
    bool Split_ThreadSafe(char separator, TArray<CStringView> &outPieces) const &;
    bool Split_ThreadSafe(char separator,
                          TArray<CStringView> &outPieces) const && = delete; // the views would outlive the string
    bool Split_ThreadSafe(char separator, TArray<CString> &outPieces) const;

    // At every character for which `isSeparator`, anything that can be called with a char and answers a bool, is true.
    // Requires: answers that depend on the character alone; it is asked about each one that occurs, not each time.
    // Appends to the output, which is not cleared.
    template <typename Predicate, typename = std::enable_if_t<std::is_invocable_r<bool, Predicate &, char>::value>>
    bool Split(Predicate &&isSeparator, TArray<CString> &outPieces) const;

    // ---- Matching ---------------------------------------------------------------------------------------------------

    // Wildcard match of the whole string (the syntax is that of SNativeStringUtils::Match and MatchWithInhibitors). An
    // empty string matches null and patterns of nothing but stars; an empty pattern string matches an empty string
    // only.
    // Requires: a pattern for a string that is not empty, else reports "pattern != null" and matches nothing.
    bool Match(const char *pattern, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool Match(const CString &pattern, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool MatchWithInhibitors(const char *pattern, ECaseSensitivity caseSensitivity = CaseSensitive) const;
    bool MatchWithInhibitors(const CString &pattern, ECaseSensitivity caseSensitivity = CaseSensitive) const;

    // ---- Fuzzy matching ---------------------------------------------------------------------------------------------

    // A weight from 0 to 1 by edit distance, for look-ups that forgive typing errors. Case matters,
    // bytes are compared as they are, and emptiness goes by length. Reads only; may run on shared strings from several
    // threads.

    // An entry of a ranked list.
    struct SFuzzyMatchListElement
    {
        SFuzzyMatchListElement(u32 indexInStringList, float matchWeight)
            : m_IndexInStringList(indexInStringList), m_MatchWeight(matchWeight)
        {
        }

        u32 m_IndexInStringList;
        float m_MatchWeight;
    };

    // 1 for equal texts, 0 when one of them is empty. Not symmetric for texts of one length: see the .cpp.
    // Cost: lengths multiplied, by 64. Allocates: a block of 4 bytes per character of the longer text when that has 256
    // characters or more. Fails: 0.
    // Stack: 4 KiB; 8 KiB when the longer text has 256 characters or more.
    float FuzzyMatch(const CString &other) const;

    // The weight of every entry, in order.
    // Requires: as many results as entries, else reports "outMatchResults.Count() == stringList.Count()" and writes as
    // many as both have.
    // Stack: 8 KiB, and of the other two lists, too.
    void FuzzyMatchList(const TStridedMemoryView<const CString> &stringList,
                        const TMemoryView<float> &outMatchResults) const;

    // The entries with a weight of `tolerance` or more, best first. Clears the output first. The order of equal weights
    // is that of QuickSort. Fails: entries that cannot be stored are left out.
    void FuzzyMatchList_Ordered(const TStridedMemoryView<const CString> &stringList,
                                TArray<SFuzzyMatchListElement> &outOrderedMatchResults, float tolerance) const;

    // The best `maxCount` entries with a weight of `tolerance` or more, best first, equal weights by rising index (an
    // order of its own: FuzzyMatchList_Ordered leaves them as its sort does). Keeps no more than `maxCount` elements,
    // and does not look at the characters of an entry whose length alone rules it out.
    // Returns: false, with an empty output, when memory is refused.
    bool FuzzyMatchList_Top(const TStridedMemoryView<const CString> &stringList,
                            TArray<SFuzzyMatchListElement> &outBest, float tolerance, u32 maxCount) const;

    // The indices of this string's characters that a best alignment with `other` matches, rising: what to highlight.
    // Cost: lengths multiplied, in time and in bits of memory.
    // Returns: false, with an empty output, when memory is refused.
    bool FuzzyMatchPositions(const CString &other, TArray<u32> &outPositions) const;

private:
    // What an edit asks before it decides between writing in place and building anew.
    bool _IsUniqueAndResizable() const;

    // A private copy of a container that is shared.
    void _MakeUnique()
    {
        const CStringContainer *container = m_Container.Get();
        if (QV_INTERNAL_UNLIKELY(container != nullptr && container->RefCount() > 1))
            _MakeCopy();
    }
    void _MakeCopy();
    char &_CharacterForWriting(u32 index);

    bool _IsLess(const CString &other) const;
    bool _IsGreater(const CString &other) const;

    // The fast path of each does what a few characters from elsewhere need that find room; it leaves the rest to the slow
    // one.
    CString &_AppendSlow(char character);
    CString &_AppendFast(const char *other, u32 length);
    CString &_AppendSlow(const char *other, u32 length);
    CString &_PrependFast(const char *other, u32 length);
    CString &_PrependSlow(const char *other, u32 length);
    CString &_JoinFast(const char *b, u32 bLen);
    CString &_JoinSlow(const char *b, u32 bLen, bool mayGrow);
    bool _ContainsBackslash() const;
    static CString _Extract(const char *from, u32 first, u32 last, u32 checked);

    static const char kNoCharacter;

    PStringContainer m_Container;
};

static_assert(sizeof(CString) == sizeof(void *), "a string is one pointer");

// A handle's bytes may be moved: nothing refers to its address.
template <>
struct TTypeTraits<CString>
{
    static constexpr bool HasTrivialRelocate = true;
};

// The order of ranked fuzzy matches: a higher weight is "less", so that it comes first. The index takes no part.
template <>
struct TSortDefaultCompare<CString::SFuzzyMatchListElement *>
{
    static bool Less(const CString::SFuzzyMatchListElement &a, const CString::SFuzzyMatchListElement &b)
    {
        return a.m_MatchWeight > b.m_MatchWeight;
    }
    static bool Equal(const CString::SFuzzyMatchListElement &a, const CString::SFuzzyMatchListElement &b)
    {
        return a.m_MatchWeight == b.m_MatchWeight;
    }
};

template <>
struct TSortDefaultCompare<TArray<CString::SFuzzyMatchListElement>::Iterator>
    : TSortDefaultCompare<CString::SFuzzyMatchListElement *>
{
};

// ---- Splitting many strings alike -----------------------------------------------------------------------------------

// Splits strings at any of a set of characters: configured once, used for many strings.
//
// Its rules differ from CString::Split on purpose: the piece between two adjacent separators, and before a leading one,
// is kept, as an empty string; there is none behind a trailing separator. The text ends at its first terminator.
//
// Several threads may split with one splitter as long as none configures it.
class CStringBatchSplitter
{
public:
    // No separator yet: a string gives one piece.
    CStringBatchSplitter();

    void AddSplitChar(char character);
    // Every character of a terminated text (null: none), or of a string by its stored length.
    void AddSplitChars(const char *characters);
    void AddSplitChars(const CString &characters);

    // Requires: not the terminator, else reports "c != '\0'".
    void RemoveSplitChar(char c);
    // The same of many; a terminator within a string stays a separator.
    void RemoveSplitChars(const char *characters);
    void RemoveSplitChars(const CString &characters);

    // Clears the output and stores the pieces. A piece that cannot be stored is lost, and splitting goes on.
    // Requires: a string with a container, else reports "_P::m_Ptr != null".
    // Stack: 4 KiB.
    void Split(const CString &str, TArray<CString> &outPieces);
    // The same while holding a reference of its own.
    void Split_ThreadSafe(const CString &str, TArray<CString> &outPieces);

private:
    u8 m_SplitTable[256]; // by character as an unsigned byte: 1 for a separator; entry 0, the terminator, is one always
};

// ---- Concatenation and joining by operators -------------------------------------------------------------------------

// Concatenation and path joining into a new string, as Append and AppendSlashAnd do it.
// A temporary on the left is edited in place.
// Allocates: once for the buffer and once for the object; no string is made of a view or a buffer on the left first.
// Fails: `+` an empty string; `/` reports "newContainer != null" and gives the string on the left, or an empty string
// where that is a view or a buffer. Never the right side alone.
CString operator+(const CString &a, const CString &b);
CString operator+(const CString &a, const CStringView &b);
CString operator+(const CString &a, const char *b);
CString operator+(const CStringView &a, const CString &b);
CString operator+(const char *a, const CString &b);
CString operator+(CString &&a, const CString &b);
CString operator+(CString &&a, const CStringView &b);
CString operator+(CString &&a, const char *b);
CString operator/(const CString &a, const CString &b);
CString operator/(const CString &a, const CStringView &b);
CString operator/(const CString &a, const char *b);
CString operator/(const CStringView &a, const CString &b);
CString operator/(const char *a, const CString &b);
CString operator/(CString &&a, const CString &b);
CString operator/(CString &&a, const CStringView &b);
CString operator/(CString &&a, const char *b);

// Path pieces joined from left to right, as `a / b / c / ...` joins them, into a new container of the resizable form that
// has the room they need. Each piece is read once and copied once, where a chain of operators grows its text as it goes
// and looks for backslashes in all that stands there already. No pieces give an empty string, one gives a copy of it.
// A view of null is an empty piece.
// Requires: no backslash in any piece, else the reports of CString::AppendSlashAnd.
// Fails: reports "newContainer != null"; an empty string.
CString JoinPath(const TMemoryView<const CStringView> &pieces);

// The same of two pieces or more, each a CString, a CStringView or a NUL-terminated text.
template <typename First, typename Second, typename... More>
CString JoinPath(const First &first, const Second &second, const More &...more);

// ---- Comparison by operators ----------------------------------------------------------------------------------------

// Equality of a string and a view: of all characters, embedded terminators included. A string whose first character is
// the terminator equals the empty view.
bool operator==(const CString &a, const CStringView &b);
inline bool operator==(const CStringView &a, const CString &b);
inline bool operator!=(const CString &a, const CStringView &b);
inline bool operator!=(const CStringView &a, const CString &b);

// Order of a string and a view, by bytes. A view of null orders with a string without a container.
bool operator<(const CString &a, const CStringView &b);
bool operator>(const CString &a, const CStringView &b);
inline bool operator<=(const CString &a, const CStringView &b);
inline bool operator>=(const CString &a, const CStringView &b);
inline bool operator<(const CStringView &a, const CString &b);
inline bool operator>(const CStringView &a, const CString &b);
inline bool operator<=(const CStringView &a, const CString &b);
inline bool operator>=(const CStringView &a, const CString &b);

// Order of views, with each other and with buffers, by bytes; a text that starts another one is before it. A null view,
// whatever its length says, and a null buffer are before every other text, be that empty. None of them allocates.
inline bool operator<(const CStringView &a, const CStringView &b);
inline bool operator>(const CStringView &a, const CStringView &b);
inline bool operator<=(const CStringView &a, const CStringView &b);
inline bool operator>=(const CStringView &a, const CStringView &b);
inline bool operator<(const CStringView &a, const char *b);
inline bool operator>(const CStringView &a, const char *b);
inline bool operator<=(const CStringView &a, const char *b);
inline bool operator>=(const CStringView &a, const char *b);
inline bool operator<(const char *a, const CStringView &b);
inline bool operator>(const char *a, const CStringView &b);
inline bool operator<=(const char *a, const CStringView &b);
inline bool operator>=(const char *a, const CStringView &b);

// The same comparisons with the buffer on the left. None of them builds a string.
inline bool operator==(const char *a, const CString &b);
inline bool operator!=(const char *a, const CString &b);
inline bool operator<(const char *a, const CString &b);
inline bool operator>(const char *a, const CString &b);
inline bool operator<=(const char *a, const CString &b);
inline bool operator>=(const char *a, const CString &b);
inline bool operator==(const char *a, const CStringView &b);
inline bool operator!=(const char *a, const CStringView &b);

} // namespace Quorvane

#include "kr_internal/kr_string_inline.h"
