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
// more than 1,200 bytes say so. What the platform's own functions and the report of a failed assertion take is not counted.
//
// Every operation is linear in the characters that it reads and writes, whatever they are, unless its declaration says
// *Cost*. Tests count the steps.
//
// Behind `noexcept` stands what threads with deadlines want to know, and what clang++ checks from version 20 on.
// QV_NONBLOCKING: does not allocate, take a lock, call the system or throw; dropping a last handle gives memory back to the
// allocator. QV_NONALLOCATING: the same in place, but for a private copy of characters that are shared. Neither: allocates.
//
// What users meet sooner or later:
// - `Data()` of an empty string is null as a rule, which neither printf nor `std::string` takes; `CStr()` is never null;
// - emptiness is judged by the first character: a text that begins with a terminator is empty whatever its length; what
//   each operation makes of such a text stands in a table in front of CString;
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
#include "kr_internal/kr_string_join.h"
#include "kr_internal/kr_string_pieces.h"
#include "kr_memoryviews.h"
#include "kr_refptr.h"
#include "kr_string_container.h"
#include "kr_string_fwd.h"
#include "kr_string_view.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

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
//     A copy of a view of it   null                   null                   by length
//     Data, Length             null, 0                a text of "", 0        by length
//     CStr                     a text of ""           a text of ""           a text that ends at once
//     begin and end, Slice     -; a null view         -; an empty view       by length
//     First, Last              report                 report                 report
//     IsShared                 false                  by the handles         by the handles
//     Clear                    -                      -                      -: the length stays
//     Format of it             null; VAFormat reports null                   null (a format is a text)
//     Append to it             becomes the other side becomes the other side becomes the other side; *: by length
//     Append of it             -                      -                      string, counted text: -; view: by length
//     TryAppend to it          fails                  the other, or fails    by length, or fails
//     TryAppend of it          -                      -                      string, character: -; view: by length
//     Reserve of it            an empty one with room an empty one with room by length
//     Insert into it           becomes the other side becomes the other side by length
//     Insert of it             -                      -                      string, character: -; view: by length
//     Erase from it            -                      -                      by length
//     Path join to it          no left side           no left side           by length
//     Path join of it          takes slashes off      takes slashes off      string: takes slashes off; else by length
//     Casing                   -                      -                      -; no letters
//     Escape, Unescape         -                      -                      -
//     Ident                    gives the blanks       gives the blanks       by length
//     Reverse, Strip           -                      -                      by length
//     Repeat it                null                   null; once: itself     by length
//     Pad it                   padding alone          padding alone          by length
//     Strip with a set of it   -                      -                      - (a set is a text)
//     Join, Concat of it       is an empty piece      is an empty piece      by length
//     Join with it             nothing between        nothing between        by length
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
//     FindText and its kin     find null and "" at 0  find null and "" at 0  by length
//     FindText of it, and kin  at `start`, the end    at `start`, the end    string, view: by length
//     Contains and its kin     hold null and "" only  hold null and "" only  by length
//     Contains it, and its kin true                   true                   string, view: by length
//     Empty(set)               true                   true                   true
//     Empty(set) of a view     true                   true                   false
//     Empty(it)                asks for Empty()       asks for Empty()       asks for Empty() (a set is a text)
//     Extract from a string    reports, null          reports, null          by length, but reports
//     Extract from a buffer    reports, null          reports, by count      reports, by count
//     Split                    -                      -                      -
//     Split of a view          -                      -                      by length
//     Pieces of it, Lines      -; empty kept: one     -; empty kept: one     by length
//     Pieces at it, or a set   cuts nowhere           cuts nowhere           text: cuts nowhere; else by length
//     CStringBatchSplitter     reports, -             -                      -
//     Match                    by null and stars      by null and stars      by null and stars
//     Match with it, a text    Empty(), or reports    Empty()                Empty()
//     Match with it, a string  Empty()                Empty()                Empty()
//     Match of a view          by null and stars      by null and stars      by length
//     Match of a view with it  no characters          no characters          text: no characters; else by length
//     Fuzzy weight with null   1                      1                      0
//     * it is not shared and of the resizable form
//
// A view goes by its length, but one of null has no characters. Its Compare ends where both sides have a terminator,
// its == does not.

// ---- What is allocated ----------------------------------------------------------------------------------------------

// Where a declaration says no more, in blocks of the kernel's allocator. CStringContainer says how large they are: a text
// of the fixed form is one block (New), one of the resizable form is two (NewResizable).
//
//     Reading, comparing, searching, matching      nothing
//     Views, and pieces cut one at a time          nothing
//     A handle copied, moved, swapped, dropped     nothing; the last handle of a text frees its block or its two
//     A new string                                 one block: the fixed form, of the length that comes out
//     An edit that adds no characters              nothing; where the characters are shared, the block of the private copy
//     Append, Prepend, Insert, paths, numbers      nothing where the string is not shared and has the room in the resizable
//                                                  form; its buffer anew, once, where it has not (DynamicResize); two blocks
//                                                  where it is shared or of the fixed form, and what it held is freed
//     + / and JoinPath                             two blocks: the resizable form

// ---- The string -----------------------------------------------------------------------------------------------------

// The string: a handle of one pointer that shares its characters with its copies.
//
// Cost: a copy is one atomic increment, a move nothing; an empty string allocates nothing.
// Fails: an operation that cannot get memory leaves the string as its comment says; nothing throws.
class QV_API CString
{
public:
    // A string without characters. Constant-initialised; may be used at any time.
    static const CString EmptyString;

    // No characters, and no container.
    constexpr CString() = default;

    // A copy of `str`; null and empty text allocate nothing. Fails: an empty string.
    CString(const char *str) noexcept : m_Container(_IsText(str) ? CStringContainer::New(str) : PStringContainer()) {}

    // A copy of the first `sourceLen` characters of `source`, which are trusted to be there.
    // Requires: text, or a length of 0, else reports "sourceLen == 0" and stays empty. Fails: an empty string.
    inline CString(const char *source, u32 sourceLen) noexcept;

    // Shares a container.
    CString(const PStringContainer &container) noexcept QV_NONBLOCKING : m_Container(container) {}
    CString(PStringContainer &&container) noexcept QV_NONBLOCKING : m_Container(std::move(container)) {}

    // A copy of the characters of a view, as CStringView::ToString makes it; of a CStringView or, where kr_string_std.h is
    // included, of the standard's view. Explicit, so that a view given to one of several overloads goes where it always
    // went. Fails: an empty string.
    template <typename View, typename = Internal::String::KindOf<View>>
    explicit CString(const View &view) noexcept : CString(CStringView(view).ToString())
    {
    }
    // The same; the view may lie in this string. Invalidates: pointers to and views of the characters.
    // Fails: an empty string (what it held is released).
    template <typename View, typename = Internal::String::KindOf<View>>
    CString &operator=(const View &view) noexcept
    {
        return *this = CStringView(view).ToString();
    }

    // ---- Reading ----------------------------------------------------------------------------------------------------

    // Nothing here copies or allocates.

    // The characters, NUL-terminated; null for a string without a container.
    const char *Data() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return CStringContainer::SafeData(m_Container.Get());
    }
    // The same for functions that take no null: the text "" where Data() is null.
    [[nodiscard]] const char *CStr() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        const char *data = Data();
        return data != nullptr ? data : "";
    }
    // The number of characters, the terminator not included; 0 without a container.
    u32 Length() const noexcept QV_NONBLOCKING { return CStringContainer::SafeLength(m_Container.Get()); }
    // By the first character: true without a container or when it is the terminator.
    [[nodiscard]] bool Empty() const noexcept QV_NONBLOCKING
    {
        const char *data = Data();
        return data == nullptr || *data == '\0';
    }
    // All Length() characters as a view of memory.
    [[nodiscard]] TMemoryView<const char> View() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return TMemoryView<const char>(Data(), Length());
    }
    // The characters as the standard's view, where kr_string_std.h is included. Explicit: a string given to overloads for
    // both views goes to that for a CStringView.
    template <typename View, typename = Internal::String::IfForeignView<View>>
    explicit operator View() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        return CStringView(*this);
    }

    // All Length() characters as a range, to be read; ViewForWriting() gives one to write to. A string without characters
    // is an empty range, also one whose container has none.
    [[nodiscard]] const char *begin() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return Data(); }
    [[nodiscard]] const char *end() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
    {
        const char *data = Data();
        return data != nullptr ? data + Length() : nullptr;
    }

    // A view of the characters from `start`, or of `count` of them; both clamped to the string.
    [[nodiscard]] inline CStringView Slice(u32 start) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND;
    [[nodiscard]] inline CStringView Slice(u32 start,
                                           u32 count) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND;

    // The character at `index`.
    // Requires: a container and an index below the length, else reports "_P::m_Ptr != null" or
    // "index < m_Container->Length()" and answers a NUL.
    inline const char &At(u32 index) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND;
    const char &operator[](u32 index) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return At(index); }

    // The first and the last character.
    // Requires: a string that is not empty, else reports "!Empty()" and answers a NUL.
    inline const char &First() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND;
    inline const char &Last() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND;

    // Bytes held by this handle and by its container, which other handles may share.
    ureg MemoryFootprint() const noexcept QV_NONBLOCKING;

    // Whether other handles share the characters, as it was a moment ago: then a write copies them first. False without a
    // container.
    [[nodiscard]] bool IsShared() const noexcept QV_NONBLOCKING
    {
        const CStringContainer *container = m_Container.Get();
        return container != nullptr && container->RefCount() > 1;
    }

    // ---- Writing ----------------------------------------------------------------------------------------------------

    // What gives characters to write first makes them this handle's own, by a copy of the fixed form when they are shared,
    // and where that cannot be had leaves the handle empty, having released the shared characters.
    // They are to be written before the handle is copied again: a copy shares what is written after it was made, too.

    // Writable characters; null without a container, or when the copy cannot be had. After changing where the text
    // ends, call RebuildAfterRawModification. Invalidates: pointers and views, when it copies.
    QV_INTERNAL_EDIT_INLINE inline char *RawDataForWriting() noexcept QV_NONALLOCATING;
    TMemoryView<char> ViewForWriting() noexcept QV_NONALLOCATING;

    // Sets the length to the first terminator, for a caller that wrote characters it got from one of the above.
    void RebuildAfterRawModification() noexcept QV_NONBLOCKING;

    // Writable counterparts of At, First and Last, with the same reports. When no private copy can be had: report
    // "_P::m_Ptr != null". After a report they answer a scratch character of the thread.
    char &AtForWriting(u32 index) noexcept QV_NONALLOCATING;
    char &FirstForWriting() noexcept QV_NONALLOCATING;
    char &LastForWriting() noexcept QV_NONALLOCATING;

    // Empties the string. One that is not shared keeps its container, length 0, for reuse; a shared one lets go of it.
    void Clear() noexcept QV_NONBLOCKING;

    // Exchanges the containers; no count changes.
    friend void swap(CString &a, CString &b) noexcept QV_NONBLOCKING { a.m_Container.Swap(b.m_Container); }

    // ---- What sharing saves and costs -------------------------------------------------------------------------------

    // Counted from the start of the process on, in a build with QV_MEM_TRACKING. Any thread may ask at any time.

    // The sums over the whole program.
    struct SCopyFigures
    {
        u64 m_SharedCopies;      // handles copied, by the library, too: each shares its characters, and copies none
        u64 m_PrivateCopies;     // private copies that edits made since the characters were shared
        u64 m_PrivateCharacters; // how many characters they copied
    };

    // A place of the program with an edit that copied.
    struct SCopySite
    {
        const char *m_Edit;       // the name of the edit: "ToUppercase", "Append" (`+=`, too), "RawDataForWriting"
        const void *m_CalledFrom; // the address in the program that the edit returned to
        u64 m_Copies;             // how many private copies it made
        u64 m_Characters;         // how many characters they copied
    };

    // Gives the sums. A private copy is one that the edit had not made of a string that nobody shares. It counts once,
    // for the edit that the program called, be that one by way of another. So Append, Prepend, Insert and
    // AppendSlashAnd count when they leave a container that could have grown in place; to one of the fixed form they
    // add in a new one in any case, as Escape and Ident do. Functions that give a new string are no edits, and what was
    // refused is no copy.
    // Returns: false, with figures of 0, in a build without tracking.
    static bool CopyFigures(SCopyFigures &outFigures) noexcept;

    // The places with the most private copies, by falling number, as many as there is room for.
    // Returns: how many places there are, which may be more; 0 in a build without tracking. 512 are told apart, and what
    // comes later is one place of an empty name and a null address.
    // Cost: the number of places, multiplied by the room. Allocates: nothing.
    static u32 CopySites(const TMemoryView<SCopySite> &outSites) noexcept;

    // ---- Formatting -------------------------------------------------------------------------------------------------

    // In the manner of printf. Fails: an empty string, also for a null format, and one with %n, which would write to
    // memory.
    // Stack: that of the platform's own formatting comes on top, some 3 KiB with floating-point numbers.

    // Formats any length, in the locale in force. Reports "format != null".
    // Allocates: besides the result, and until it is there, a block of length + 1 for results of 512 characters and more.
    // Stack: 1.5 KiB.
    [[nodiscard]] static CString VAFormat(const char *format, va_list args) noexcept QV_INTERNAL_PRINTF(1, 0);

    // Formats at most 3198 characters (longer results are cut), in the "C" locale: numbers always have a decimal point.
    // The process is left in the "C" locale: beware of threads that depend on another one.
    // Stack: 4 KiB.
    [[nodiscard]] static CString Format(const char *format, ...) noexcept QV_INTERNAL_PRINTF(1, 2);

    // ---- Concatenation ----------------------------------------------------------------------------------------------

    // Puts the argument behind the text. It may be the string itself or any piece of it. Null and empty arguments change
    // nothing. A string that is not shared and of the resizable form grows in place; every other gets a new container
    // of that form. Returns: this string.
    // Fails: an empty string (what it held is released).
    // Invalidates: pointers to and views of the characters.
    CString &Append(const CString &other) noexcept;
    QV_INTERNAL_ALWAYS_INLINE inline CString &Append(const CStringView &other) noexcept;
    QV_INTERNAL_ALWAYS_INLINE inline CString &Append(const char *other) noexcept;
    // Requires: `otherLength` characters before the terminator, else reports
    // "otherLength <= SNativeStringUtils::Length(other)" and takes that many all the same.
    CString &Append(const char *other, u32 otherLength) noexcept;
    // A character, of which the terminator changes nothing. Otherwise as above.
    QV_INTERNAL_EDIT_INLINE CString &Append(char character) noexcept
    {
        CStringContainer *container = m_Container.Get();
        if (QV_INTERNAL_UNLIKELY(container == nullptr || character == '\0'))
            return _AppendSlow(character);
        return QV_INTERNAL_LIKELY(container->_AppendFast(character)) ? *this : _AppendSlow(character);
    }

    // Append for threads with deadlines: where nobody shares the characters, which can grow in place, and the room is there.
    // Reserve sees to all three. What Append changes nothing for is appended so to any string. Of a character, exactly a char.
    // Returns: whether the text is appended; false leaves all as it is, as it does for a view of the string's own room that
    // goes beyond it. Invalidates: nothing but the length of views.
    bool TryAppend(const CString &other) noexcept QV_NONBLOCKING;
    bool TryAppend(const CStringView &other) noexcept QV_NONBLOCKING;
    bool TryAppend(const char *other) noexcept QV_NONBLOCKING;
    template <typename Character, typename = Internal::String::IfCharacter<Character>>
    bool TryAppend(Character character) noexcept QV_NONBLOCKING;

    // Makes the characters this handle's own, in a container that can grow in place, with room for a text of `length` at
    // least, or of Length() if that is more. The text stays what it is. Until the handle is copied or assigned, TryAppend
    // finds room up to `length`, and edits in place copy nothing; Clear keeps the room.
    // Returns: whether that is so.
    // Requires: a container with characters, if there are any, else reports "data != null" and changes nothing.
    // Allocates: nothing where it is so already; one block, of `length` + 256, for a container that can grow in place; else
    // two, of `length` + 1 and 40 bytes. Fails: false, with the string as it was; a length of kLengthMask or more does not
    // ask for memory. Invalidates: pointers to and views of the characters.
    bool Reserve(u32 length) noexcept;

    // Puts the argument in front of the text, and otherwise does as Append does. Beware: prepending to an empty string
    // takes the whole text up to its terminator, whatever `otherLength` says, in a container of the fixed form, unless
    // the string is not shared and of the resizable form. Views and characters are taken as they are.
    // Fails, invalidates, returns: as Append.
    CString &Prepend(const CString &other) noexcept;
    CString &Prepend(const CStringView &other) noexcept;
    CString &Prepend(const char *other) noexcept;
    CString &Prepend(const char *other, u32 otherLength) noexcept;
    CString &Prepend(char character) noexcept;

    // As Append.
    QV_INTERNAL_EDIT_INLINE CString &operator+=(const CString &other) noexcept { return Append(other); }
    QV_INTERNAL_EDIT_INLINE CString &operator+=(const CStringView &other) noexcept { return Append(other); }
    QV_INTERNAL_EDIT_INLINE CString &operator+=(const char *other) noexcept { return Append(other); }
    // As Append, of exactly a char: a literal 0 stays a null text.
    template <typename Character, typename = Internal::String::IfCharacter<Character>>
    QV_INTERNAL_EDIT_INLINE CString &operator+=(Character character) noexcept;

    // ---- Inserting and erasing --------------------------------------------------------------------------------------

    // Puts the piece in front of the character at `index`, or behind the last one when `index` is the length. Of a
    // character, exactly a char; otherwise as Append takes it: the same arguments change nothing, and the piece may be
    // the string itself or any piece of it, also one that the place lies in. What is there counts by its length.
    // Requires: a place in the string, else reports "index <= Length()" and changes nothing.
    // Fails, invalidates, returns: as Append.
    CString &Insert(u32 index, const CString &piece) noexcept;
    CString &Insert(u32 index, const CStringView &piece) noexcept;
    CString &Insert(u32 index, const char *piece) noexcept;
    template <typename Character, typename = Internal::String::IfCharacter<Character>>
    QV_INTERNAL_EDIT_INLINE CString &Insert(u32 index, Character character) noexcept;

    // Takes out the characters from `first` up to, not including, `last`, in place; a string that shares its characters
    // gets what is left of them in a new container of the fixed form. Equal indices change nothing. Returns: this string.
    // Requires: indices in order and within the string, else reports "first <= last && last <= Length()" and changes
    // nothing.
    // Allocates: for a string that shares its characters only. Fails: an empty string. Invalidates: pointers to and views
    // of the characters.
    CString &Erase(u32 first, u32 last) noexcept QV_NONALLOCATING;

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
    CString &AppendSlashAnd(const CString &other) noexcept;
    CString &AppendSlashAnd(const CStringView &other) noexcept;
    CString &AppendSlashAnd(const char *other) noexcept;
    CString &AppendSlashAnd(const char *other, u32 length) noexcept;

    // As AppendSlashAnd.
    QV_INTERNAL_EDIT_INLINE CString &operator/=(const CString &other) noexcept { return AppendSlashAnd(other); }
    QV_INTERNAL_EDIT_INLINE CString &operator/=(const CStringView &other) noexcept { return AppendSlashAnd(other); }
    QV_INTERNAL_EDIT_INLINE CString &operator/=(const char *other) noexcept { return AppendSlashAnd(other); }

    // Ends the string with a slash, unless it is empty or has one. The new string is of the resizable form.
    CString &AppendSlash() noexcept;
    [[nodiscard]] CString SlashAppended() const noexcept;

    // ---- Casing -----------------------------------------------------------------------------------------------------

    // Brings the letters to upper or lower case: of this string, or of a new one. Works on the stored length, so characters
    // behind an embedded terminator change too. A shared container is copied first.
    // Returns: this string, or the new one.
    // Fails: an empty string; conversions report "_P::m_Ptr != null".
    CString &ToUppercase() noexcept QV_NONALLOCATING;
    CString &ToLowercase() noexcept QV_NONALLOCATING;
    [[nodiscard]] CString Uppercase() const noexcept;
    [[nodiscard]] CString Lowercase() const noexcept;

    // To upper or lower case, as above; every other casing changes no character, but still makes the container this string's
    // own.
    CString &ConformTo(ECasingType casing) noexcept QV_NONALLOCATING;
    [[nodiscard]] CString ConformedTo(ECasingType casing) const noexcept;

    // True when no character differs from its upper-case (lower-case) form; true for an empty string.
    [[nodiscard]] bool IsUpper() const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool IsLower() const noexcept QV_NONBLOCKING;
    // Unspecified for an empty string, or one without a letter.
    [[nodiscard]] ECasingType AnalyzeCasing() const noexcept QV_NONBLOCKING;

    // ---- Escaping ---------------------------------------------------------------------------------------------------

    // The syntax is that of SNativeStringUtils::Escape. All end at the first embedded terminator.

    // Replaces characters by escape sequences, in a new container of the fixed form. Returns: this string. Allocates:
    // once, for twice the length; what the string held is freed. Fails: the string is unchanged.
    CString &Escape() noexcept;
    // Replaces escape sequences by their characters, in place, in a private copy when the container is shared.
    // Returns: this string. Fails: an empty string, after the reports "_P::m_Ptr != null" and
    // "m_Container->RefCount() == 1".
    CString &Unescape() noexcept QV_NONALLOCATING;
    // A copy to which Escape or Unescape was done. Fails: as they do.
    [[nodiscard]] CString Escaped() const noexcept;
    [[nodiscard]] CString Unescaped() const noexcept;

    // ---- Edits ------------------------------------------------------------------------------------------------------

    // Takes the string as a line that ends at `column`, and appends the tabs and spaces that move its end `width`
    // columns further, with tab stops every `tabWidth` columns. Gives a new container of the fixed form, and frees the old.
    // Requires: a tab width, else reports "tabWidth != 0" and changes nothing.
    // Returns: the number of characters appended. Fails: 0, with the string unchanged.
    u32 Ident(u32 column, u32 width, u32 tabWidth) noexcept;

    // Reversal. Beware: `Reverse` reverses the characters where they are, so every string that shares them sees it.
    // `Reversed` never touches this string. Fails (Reversed): an empty string.
    CString &Reverse() noexcept QV_NONBLOCKING;
    [[nodiscard]] CString Reversed() const noexcept;

    // The text several times in a row.
    // Returns: a new string of the fixed form with all Length() characters `times` times in a row, embedded terminators
    // included; a copy of the handle for 1, and a string without a container for 0 or a string of length 0.
    // Requires: a container with characters, else reports "data != null" and gives an empty string.
    // Allocates: once, for the result. Fails: an empty string; a result of kLengthMask characters or more does not ask
    // for memory.
    [[nodiscard]] CString Repeat(u32 times) const noexcept;

    // The text brought to a width.
    // Returns: a new string of the fixed form with all Length() characters, and in front of them (PadLeft) or behind them
    // (PadRight) as many of `character` as they are short of `width`, be that a terminator; a copy of the handle when
    // none is missing.
    // Requires: a container with characters, else reports "data != null" and gives an empty string.
    // Allocates: once, for the result. Fails: an empty string; a width of kLengthMask or more does not ask for memory.
    [[nodiscard]] CString PadLeft(u32 width, char character = ' ') const noexcept;
    [[nodiscard]] CString PadRight(u32 width, char character = ' ') const noexcept;

    // Removes characters of the set from both ends, the start or the end. A null or empty set strips nothing; a string
    // of nothing else is emptied. Nothing to strip leaves a shared container shared. Returns: this string.
    // Fails: an empty string; Strip and StripRight report "data != null".
    CString &Strip(const char *chars) noexcept QV_NONALLOCATING;
    CString &StripLeft(const char *chars) noexcept QV_NONALLOCATING;
    CString &StripRight(const char *chars) noexcept QV_NONALLOCATING;

    // Blanks comments (the syntax is that of SNativeStringUtils::Uncomment); the length stays. Returns: this string.
    // Requires: no embedded terminator, else reports "SNativeStringUtils::Length_16(Data()) == Length()".
    // Fails: an empty string.
    CString &Uncomment() noexcept QV_NONALLOCATING;

    // ---- Replacing --------------------------------------------------------------------------------------------------

    // A new string in which every occurrence of the pattern is replaced, left to right and without overlap; replaced
    // text is not searched again. Ends at the first embedded terminator. A null or empty pattern gives a copy of the
    // handle.
    // Cost: linear in the longer of source and result.
    // Fails: an empty string; where the result is longer than the source, replacements may stop early instead.
    // Stack: 4 KiB.
    [[nodiscard]] CString Replace(const CStringView &pattern, const CStringView &replacement) const noexcept;
    [[nodiscard]] CString Replace(const CStringView &pattern, const char *replacement) const noexcept;
    [[nodiscard]] CString Replace(const char *pattern, const CStringView &replacement) const noexcept;
    [[nodiscard]] CString Replace(const char *pattern, const char *replacement) const noexcept;

    // A new string in which one character is replaced by another, up to the stored length.
    // Requires: two characters, else reports "searchFor != '\0' && replaceWith != '\0'" and goes on.
    // Fails: an empty string.
    [[nodiscard]] CString Replace(char searchFor, char replaceWith) const noexcept;

    // ---- Comparison -------------------------------------------------------------------------------------------------

    // Equality: `Compare` answers yes or no, it does not order. Ignoring case, buffers and views follow the platform's
    // library, strings ASCII. With buffers and views, a terminator ends the comparison where both have one.
    // Report "m_Container->Data() != null" or "srcA != null && srcB != null" for a container without characters.
    [[nodiscard]] bool Compare(const char *other,
                               ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Compare(const CStringView &other,
                               ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Compare(const CString &other,
                               ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // Order by bytes (unsigned, lower-cased ones where case is ignored); a string that starts another one is before it.
    // A string without a container is before every string with one, be that empty.
    [[nodiscard]] bool LessThan(const CString &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    // The same as with a string of that text, which null and an empty text are without a container.
    [[nodiscard]] bool LessThan(const char *other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // Equality, as Compare has it; case matters.
    bool operator==(const char *other) const noexcept QV_NONBLOCKING { return Compare(other, CaseSensitive); }
    inline bool operator==(const CString &other) const noexcept QV_NONBLOCKING;
    bool operator!=(const char *other) const noexcept QV_NONBLOCKING { return !(*this == other); }
    bool operator!=(const CString &other) const noexcept QV_NONBLOCKING { return !(*this == other); }
    // Order by bytes, as LessThan has it. A null buffer orders with a string without a container.
    bool operator>(const char *other) const noexcept QV_NONBLOCKING;
    bool operator<(const char *other) const noexcept QV_NONBLOCKING;
    inline bool operator>(const CString &other) const noexcept QV_NONBLOCKING;
    inline bool operator<(const CString &other) const noexcept QV_NONBLOCKING;
    bool operator<=(const CString &other) const noexcept QV_NONBLOCKING { return !(*this > other); }
    bool operator>=(const CString &other) const noexcept QV_NONBLOCKING { return !(*this < other); }
    bool operator<=(const char *other) const noexcept QV_NONBLOCKING { return !(*this > other); }
    bool operator>=(const char *other) const noexcept QV_NONBLOCKING { return !(*this < other); }

    // ---- Search -----------------------------------------------------------------------------------------------------

    // The index of what was found, or CGuid::INVALID.

    // The first character at or after `start` that is `character`, or the last one; up to the stored length.
    [[nodiscard]] CGuid FindFirstOf(char character) const noexcept QV_NONBLOCKING { return FindNextOf(character, 0); }
    [[nodiscard]] inline CGuid FindNextOf(char character, u32 start) const noexcept QV_NONBLOCKING;
    [[nodiscard]] inline CGuid FindLastOf(char character) const noexcept QV_NONBLOCKING;

    // The first place at or after `start` where the whole of `str` stands; up to the first terminator. Beware: despite
    // the name this finds a substring, where a view finds one of a set. An empty `str` is found at `start`.
    // Stack: 1.5 KiB, and of Contains, too.
    [[nodiscard]] CGuid FindFirstOf(const char *str) const noexcept QV_NONBLOCKING { return FindNextOf(str, 0); }
    [[nodiscard]] CGuid FindNextOf(const char *str, u32 start) const noexcept QV_NONBLOCKING;

    // The first place at or after `start`, or the last place, where the whole of `text` stands. All characters count,
    // embedded terminators included; a buffer ends at its terminator. Case is ASCII case. A null or empty text stands
    // everywhere, also behind the last character: it is found at `start`, unless that is beyond the length, and last at
    // the length.
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

    // Prefix, suffix and substring tests; case is ASCII case. A null or empty argument is contained in everything.
    [[nodiscard]] bool StartsWith(const char *other,
                                  ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool StartsWith(const CString &other,
                                  ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool StartsWith(const CStringView &other,
                                  ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool EndsWith(const char *other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool EndsWith(const CString &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool EndsWith(const CStringView &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Contains(const char *other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Contains(const CString &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Contains(const CStringView &other,
                                ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // True when the string holds only characters of the set, up to its terminator. A null or empty set asks for plain
    // emptiness.
    [[nodiscard]] bool Empty(const char *blanks) const noexcept QV_NONBLOCKING;

    // ---- Extraction -------------------------------------------------------------------------------------------------

    // A new string with the characters from `first` up to, not including, `last`. Equal indices give an
    // empty string. Fails: an empty string.

    // Requires: `first` within the string and `last` not beyond it, else reports "first < size && last <= size" and
    // gives an empty string. A terminator among the characters extracted, or the 4096 in front of them, is reported as
    // that of a buffer is. Cost: linear in what is extracted.
    [[nodiscard]] CString Extract(u32 first, u32 last) const noexcept;
    // From a buffer. Requires: text up to `last`, else reports "from != null && last > first &&
    // SNativeStringUtils::Length(from) >= QVMax(first, last)"; a null buffer or `last` before `first` then gives an
    // empty string, every other count is trusted. Looks no further than `last`.
    // Cost: linear in `last` with assertions, since a buffer has no length but what is looked for each time; without,
    // in what is extracted. Who cuts a long buffer into pieces moves `from` forward.
    [[nodiscard]] static CString Extract(const char *from, u32 first, u32 last) noexcept;

    // ---- Splitting --------------------------------------------------------------------------------------------------

    // The pieces are the runs between separators: none is ever empty. Views borrow from this string's
    // characters; strings have characters of their own.
    // Returns: whether every piece was stored; the pieces before one that could not be stay in the array. A piece whose
    // memory is refused is stored as an empty string.
    // Allocates: as the array grows, and for each piece that is a string.
    // Stack: 4 KiB.

    // At every `separator` up to the stored length. Clears the output first.
    [[nodiscard]] bool Split(char separator, TArray<CStringView> &outPieces) const &noexcept;
    [[nodiscard]] bool Split(char separator,
                             TArray<CStringView> &outPieces) const && = delete; // the views would outlive the string
    [[nodiscard]] bool Split(char separator, TArray<CString> &outPieces) const noexcept;

    // The same while holding a reference of its own, so that other handles may let go of the characters meanwhile; no
    // thread may assign this handle, though. Views need a handle that keeps the characters alive afterwards.
    [[nodiscard]] bool Split_ThreadSafe(char separator, TArray<CStringView> &outPieces) const &noexcept;
    [[nodiscard]] bool
    Split_ThreadSafe(char separator,
                     TArray<CStringView> &outPieces) const && = delete; // the views would outlive the string
    [[nodiscard]] bool Split_ThreadSafe(char separator, TArray<CString> &outPieces) const noexcept;

    // At every character for which `isSeparator`, anything that can be called with a char and answers a bool, is true.
    // Requires: answers that depend on the character alone; it is asked about each one that occurs, not each time.
    // Appends to the output, which is not cleared.
    template <typename Predicate, typename = std::enable_if_t<std::is_invocable_r<bool, Predicate &, char>::value>>
    [[nodiscard]] bool Split(Predicate &&isSeparator, TArray<CString> &outPieces) const;
    template <typename Predicate, typename = std::enable_if_t<std::is_invocable_r<bool, Predicate &, char>::value>>
    [[nodiscard]] bool Split(Predicate &&isSeparator, TArray<CStringView> &outPieces) const &;
    template <typename Predicate, typename = std::enable_if_t<std::is_invocable_r<bool, Predicate &, char>::value>>
    [[nodiscard]] bool Split(Predicate &&isSeparator,
                             TArray<CStringView> &outPieces) const && = delete; // the views would outlive the string

    // ---- Matching ---------------------------------------------------------------------------------------------------

    // Wildcard match of the whole string (the syntax is that of SNativeStringUtils::Match and MatchWithInhibitors). An
    // empty string matches null and patterns of nothing but stars; an empty pattern string matches an empty string
    // only.
    // Requires: a pattern for a string that is not empty, else reports "pattern != null" and matches nothing.
    // Cost: of a pattern of p characters and a string of n, at most p * n + p + n steps, each a look at a character or at
    // a star.
    [[nodiscard]] bool Match(const char *pattern,
                             ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool Match(const CString &pattern,
                             ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool
    MatchWithInhibitors(const char *pattern,
                        ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;
    [[nodiscard]] bool
    MatchWithInhibitors(const CString &pattern,
                        ECaseSensitivity caseSensitivity = CaseSensitive) const noexcept QV_NONBLOCKING;

    // ---- Fuzzy matching ---------------------------------------------------------------------------------------------

    // A weight from 0 to 1 by edit distance, for look-ups that forgive typing errors. Case matters,
    // bytes are compared as they are, and emptiness goes by length. Reads only; may run on shared strings from several
    // threads.

    // An entry of a ranked list.
    struct SFuzzyMatchListElement
    {
        // Both fields as given.
        SFuzzyMatchListElement(u32 indexInStringList, float matchWeight) noexcept QV_NONBLOCKING
            : m_IndexInStringList(indexInStringList),
              m_MatchWeight(matchWeight)
        {
        }

        u32 m_IndexInStringList; // which entry of the list
        float m_MatchWeight;     // its weight, from 0 to 1
    };

    // The weight of two texts: 1 for equal ones, 0 when one of them is empty. Not symmetric for texts of one length:
    // see the .cpp. Nonblocking as long as both have fewer than 256 characters.
    // Cost: a step for each character of the longer text and each 64 of the shorter one, and what is linear in both.
    // Allocates: a block of 4 bytes per character of the longer text, and 4 more, when that has 256 characters or more.
    // Fails: 0.
    // Stack: 4 KiB; 8 KiB when the longer text has 256 characters or more.
    [[nodiscard]] float FuzzyMatch(const CString &other) const noexcept QV_NONBLOCKING;

    // The weight of every entry, in order.
    // Requires: as many results as entries, else reports "outMatchResults.Count() == stringList.Count()" and writes as
    // many as both have.
    // Cost: that of FuzzyMatch for each entry; what a list is put in order by comes to it, QuickSort or, for the best
    // ones, a logarithm of their number for each entry that is kept for a while.
    // Allocates: the block of FuzzyMatch for each entry of which that takes one; the other two lists, too, and the output
    // as it grows, which FuzzyMatchList_Top makes room in for `maxCount` elements, or all entries where there are fewer.
    // Stack: 8 KiB, and of the other two lists, too.
    void FuzzyMatchList(const TStridedMemoryView<const CString> &stringList,
                        const TMemoryView<float> &outMatchResults) const noexcept;

    // The entries with a weight of `tolerance` or more, best first. Clears the output first. The order of equal weights
    // is that of QuickSort. Fails: entries that cannot be stored are left out.
    void FuzzyMatchList_Ordered(const TStridedMemoryView<const CString> &stringList,
                                TArray<SFuzzyMatchListElement> &outOrderedMatchResults, float tolerance) const noexcept;

    // The best `maxCount` entries with a weight of `tolerance` or more, best first, equal weights by rising index (an
    // order of its own: FuzzyMatchList_Ordered leaves them as its sort does). Keeps no more than `maxCount` elements,
    // and does not look at the characters of an entry whose length alone rules it out.
    // Returns: false, with an empty output, when memory is refused.
    [[nodiscard]] bool FuzzyMatchList_Top(const TStridedMemoryView<const CString> &stringList,
                                          TArray<SFuzzyMatchListElement> &outBest, float tolerance,
                                          u32 maxCount) const noexcept;

    // The indices of this string's characters that a best alignment with `other` matches, rising: what to highlight.
    // Cost: that of FuzzyMatch, up to three times, and what is linear in both.
    // Allocates: a block, until the result is there, of up to 32 bytes for each character of the longer text and 50 KiB, or
    // of 17 for each, and 24, when the shorter one has 64 or fewer and the longer one up to 2,048; and the room for an index
    // for each character of the shorter text.
    // Returns: false, with an empty output, when memory is refused.
    // Stack: 3 KiB.
    [[nodiscard]] bool FuzzyMatchPositions(const CString &other, TArray<u32> &outPositions) const noexcept;

private:
    // Whether there is text to copy. A count of 0 is answered first: not even one character may be read then.
    static constexpr bool _IsText(const char *text, u32 length = 1) noexcept QV_NONBLOCKING
    {
        return length != 0 && text != nullptr && *text != '\0';
    }
    // What an edit asks before it decides between writing in place and building anew.
    bool _IsUniqueAndResizable() const noexcept QV_NONBLOCKING;

    // A private copy of a container that is shared.
    QV_INTERNAL_EDIT_INLINE void _MakeUnique() noexcept QV_NONALLOCATING
    {
        const CStringContainer *container = m_Container.Get();
        if (QV_INTERNAL_UNLIKELY(container != nullptr && container->RefCount() > 1))
            _MakeCopy();
    }
    void _MakeCopy() noexcept QV_NONALLOCATING;
    char &_CharacterForWriting(u32 index) noexcept QV_NONALLOCATING;

    bool _IsLess(const CString &other) const noexcept QV_NONBLOCKING;
    bool _IsGreater(const CString &other) const noexcept QV_NONBLOCKING;

    // The fast path of each does what a few characters from elsewhere need that find room; it leaves the rest to the slow
    // one.
    CString &_AppendSlow(char character) noexcept;
    CString &_AppendView(const char *other, u32 length) noexcept;
    CString &_AppendText(const char *other) noexcept;
    inline bool _AppendInline(const char *other, u32 length) noexcept QV_NONBLOCKING;
    CString &_AppendFast(const char *other, u32 length) noexcept;
    CString &_AppendSlow(const char *other, u32 length) noexcept;
    bool _TryAppend(const char *other, u32 length) noexcept QV_NONBLOCKING;
    CString &_PrependFast(const char *other, u32 length) noexcept;
    CString &_PrependSlow(const char *other, u32 length) noexcept;
    CString &_InsertFast(u32 index, const char *other, u32 length) noexcept;
    CString &_InsertSlow(u32 index, const CStringView &piece) noexcept;
    CString _Padded(u32 width, char character, bool isLeft) const noexcept;
    CString &_JoinFast(const char *b, u32 bLen) noexcept;
    CString &_JoinSlow(const char *b, u32 bLen, bool mayGrow) noexcept;
    bool _ContainsBackslash() const noexcept QV_NONBLOCKING;
    static CString _Extract(const char *from, u32 first, u32 last, u32 checked) noexcept;

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
    static bool Less(const CString::SFuzzyMatchListElement &a,
                     const CString::SFuzzyMatchListElement &b) noexcept QV_NONBLOCKING
    {
        return a.m_MatchWeight > b.m_MatchWeight;
    }
    static bool Equal(const CString::SFuzzyMatchListElement &a,
                      const CString::SFuzzyMatchListElement &b) noexcept QV_NONBLOCKING
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
class QV_API CStringBatchSplitter
{
public:
    // No separator yet: a string gives one piece.
    CStringBatchSplitter() noexcept QV_NONBLOCKING;

    // Makes a character a separator.
    void AddSplitChar(char character) noexcept QV_NONBLOCKING;
    // The same of every character of a terminated text (null: none), or of a string by its stored length.
    void AddSplitChars(const char *characters) noexcept QV_NONBLOCKING;
    void AddSplitChars(const CString &characters) noexcept QV_NONBLOCKING;

    // Makes a character no separator any more.
    // Requires: not the terminator, else reports "c != '\0'".
    void RemoveSplitChar(char c) noexcept QV_NONBLOCKING;
    // The same of many; a terminator within a string stays a separator.
    void RemoveSplitChars(const char *characters) noexcept QV_NONBLOCKING;
    void RemoveSplitChars(const CString &characters) noexcept QV_NONBLOCKING;

    // Clears the output and stores the pieces. A piece that cannot be stored is lost, and splitting goes on.
    // Requires: a string with a container, else reports "_P::m_Ptr != null".
    // Stack: 4 KiB.
    void Split(const CString &str, TArray<CString> &outPieces) noexcept;
    // The same while holding a reference of its own.
    void Split_ThreadSafe(const CString &str, TArray<CString> &outPieces) noexcept;

private:
    u8 m_SplitTable[256]; // by character as an unsigned byte: 1 for a separator; entry 0, the terminator, is one always
};

// ---- Pieces, one at a time ------------------------------------------------------------------------------------------

// Ranges of the pieces of a text, as views, which are cut while a loop walks over them: no array, no allocation.
//
//     for (const CStringView &word : Pieces(text, ' '))
//         Count(word);
//     for (const CStringView &line : Lines(ReadAll(file)))    // a temporary string lives as long as the range
//         Parse(line);
//     for (const CStringView &field : Pieces(record, "::").WithEmpty().AtMost(3))
//         Store(field);
//
// The text is a CString, of which the range holds a reference of its own, so that the loop may change or drop it; or a view
// or a NUL-terminated text, whose characters must outlive the range. A separator is a char, or a text of one of these kinds.
// Nothing else is taken for either. All characters count, embedded terminators included; a null text is empty.
//
// A range is a plain value. What it gives can be changed, each time into another range:
//
//     .WithEmpty()      empty pieces, too: in front of a separator at the front, between two, behind one at the end
//     .WithoutEmpty()   no empty pieces
//     .AtMost(count)    no more pieces than so many; the last one of so many is all that is left from where it begins,
//                       separators included: "a,,b,c," at most 2 is "a" and "b,c,"
//     .FromEnd()        from the last piece to the first one. With .AtMost the last of these is all that is left in front of
//                       where it ends. The pieces are the same, unless the separator is a text that can overlap itself:
//                       "a---b" is cut at "--" into "a" and "-b", and from the end into "b" and "a-"
//
// A range has begin() and end() for loops and algorithms: forward iterators, which answer views by value and borrow from the
// range. Any of them may be copied and walked again. An empty separator, text or set, cuts nowhere.
//
// Cost: linear in the text and the separator, whatever they are; begin() finds the first piece.
// Stack: 1.5 KiB.
// Invalidates: writing into characters that are shared, which only Reverse does, changes what is left to cut.
//
// They stand in a namespace of their own, in which no call looks for the sake of its arguments: a program that has a function
// Lines(CString) goes on calling that.
namespace LazySplitting
{

// The pieces between separators. Those that are empty are left out, as CString::Split leaves them out, unless asked for; an
// empty text has none, and one with .WithEmpty().
template <typename Text, typename Separator, typename = Internal::String::IfPieceText<Text>>
[[nodiscard]] Internal::String::TPieces<Internal::String::TSeparatorOf<Separator>>
Pieces(Text text, Separator separator) noexcept QV_NONBLOCKING;

// The same at each character of a set, which is a text.
template <typename Text, typename Set, typename = Internal::String::IfPieceText<Text>,
          typename = Internal::String::IfPieceText<Set>>
[[nodiscard]] Internal::String::TPieces<Internal::String::CSetSeparator>
PiecesOfSet(Text text, Set characters) noexcept QV_NONBLOCKING;

// Lines, without their ends, which are "\n" or "\r\n": empty ones, too, unless .WithoutEmpty() leaves them out. The last line
// need not have an end, and behind an end there is no further line, so that an empty text has none. A "\r" without "\n" is
// a character of its line.
template <typename Text, typename = Internal::String::IfPieceText<Text>>
[[nodiscard]] Internal::String::TPieces<Internal::String::CLineSeparator> Lines(Text text) noexcept QV_NONBLOCKING;

} // namespace LazySplitting

using namespace LazySplitting;

// ---- Concatenation and joining by operators -------------------------------------------------------------------------

// Concatenation (`+`) and path joining (`/`) into a new string, as Append and AppendSlashAnd do it.
// A temporary on the left is edited in place.
// Allocates: once for the buffer and once for the object; no string is made of a view or a buffer on the left first.
// Fails: `+` an empty string; `/` reports "newContainer != null" and gives the string on the left, or an empty string
// where that is a view or a buffer. Never the right side alone.
[[nodiscard]] QV_API CString operator+(const CString &a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator+(const CString &a, const CStringView &b) noexcept;
[[nodiscard]] QV_API CString operator+(const CString &a, const char *b) noexcept;
[[nodiscard]] QV_API CString operator+(const CStringView &a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator+(const char *a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator+(CString &&a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator+(CString &&a, const CStringView &b) noexcept;
[[nodiscard]] QV_API CString operator+(CString &&a, const char *b) noexcept;
// As above, of exactly a char, so that a literal 0 stays a null text; a terminator is appended as nothing.
template <typename Character, typename = Internal::String::IfCharacter<Character>>
[[nodiscard]] CString operator+(const CString &a, Character b) noexcept;
template <typename Character, typename = Internal::String::IfCharacter<Character>>
[[nodiscard]] CString operator+(CString &&a, Character b) noexcept;
// As above, of exactly views and texts: what converts to them goes where it always went.
template <typename View, typename = Internal::String::IfView<View>>
[[nodiscard]] CString operator+(const View &a, const View &b) noexcept;
template <typename View, typename Text, typename = Internal::String::IfViewAndText<View, Text>>
[[nodiscard]] CString operator+(const View &a, Text b) noexcept;
template <typename Text, typename View, typename = Internal::String::IfViewAndText<View, Text>>
[[nodiscard]] CString operator+(Text a, const View &b) noexcept;
// Path joining, as above.
[[nodiscard]] QV_API CString operator/(const CString &a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator/(const CString &a, const CStringView &b) noexcept;
[[nodiscard]] QV_API CString operator/(const CString &a, const char *b) noexcept;
[[nodiscard]] QV_API CString operator/(const CStringView &a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator/(const char *a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator/(CString &&a, const CString &b) noexcept;
[[nodiscard]] QV_API CString operator/(CString &&a, const CStringView &b) noexcept;
[[nodiscard]] QV_API CString operator/(CString &&a, const char *b) noexcept;

// Path pieces joined from left to right, as `a / b / c / ...` joins them, into a new container of the resizable form that
// has the room they need. Each piece is read once and copied once, where a chain of operators grows its text as it goes
// and looks for backslashes in all that stands there already. No pieces give an empty string, one gives a copy of it.
// A view of null is an empty piece.
// Requires: no backslash in any piece, else the reports of CString::AppendSlashAnd.
// Fails: reports "newContainer != null"; an empty string.
[[nodiscard]] QV_API CString JoinPath(const TMemoryView<const CStringView> &pieces) noexcept;

// The same of two pieces or more, each a CString, a CStringView or a NUL-terminated text.
template <typename First, typename Second, typename... More>
[[nodiscard]] CString JoinPath(const First &first, const Second &second, const More &...more) noexcept;

// ---- Joining pieces -------------------------------------------------------------------------------------------------

// Pieces of text in a new string of the fixed form that has just the room they need: `Concat` puts them one behind the
// other, `Join` puts the separator between each two of them.
//
//     const CString line = Concat(name, ": ", view, '\n');
//     const CString list = Join(", ", first, second, third);
//     const CString all = Join('\n', lines);                  // TArray<CString> lines
//
// A piece, and the separator, is a CString, a CStringView, a NUL-terminated text, a char, or what converts to a view. All
// characters of strings and views count, embedded terminators included. Null is an empty piece; empty pieces keep their
// separators. The same string may be given more than once. No piece, or none with characters, and no separator give an
// empty string without a container; a single piece gives a string that shares nothing with it.
// Allocates: once, for the result. Fails: an empty string; a result of kLengthMask characters or more does not ask for
// memory.
// Stack: 16 bytes for each piece that is given as an argument of its own.
//
// They stand in a namespace of their own, in which no call looks for the sake of its arguments: a program that has a
// function Concat(CString, CString) goes on calling that.
namespace Joining
{

// The pieces one behind the other, and with the separator between each two of them.
template <typename... Pieces, typename = Internal::String::IfTextPieces<Pieces...>>
[[nodiscard]] CString Concat(const Pieces &...pieces) noexcept;
template <typename... Pieces, typename = Internal::String::IfTextPieces<Pieces...>>
[[nodiscard]] CString Join(const Internal::String::CTextPiece &separator, const Pieces &...pieces) noexcept;

// Join of a list: a TArray, a view or a strided view of strings, of views or of NUL-terminated texts, or an array of
// one of these. Each NUL-terminated text is measured twice. Templates, so that a program's own functions of this name
// are chosen before them.
template <typename = void>
[[nodiscard]] CString Join(const Internal::String::CTextPiece &separator,
                           const TStridedMemoryView<const CString> &pieces) noexcept;
template <typename = void>
[[nodiscard]] CString Join(const Internal::String::CTextPiece &separator,
                           const TStridedMemoryView<const CStringView> &pieces) noexcept;
template <typename = void>
[[nodiscard]] CString Join(const Internal::String::CTextPiece &separator,
                           const TStridedMemoryView<const char *const> &pieces) noexcept;

} // namespace Joining

using namespace Joining;

// ---- Comparison by operators ----------------------------------------------------------------------------------------

// Equality of a string and a view: of all characters, embedded terminators included. A string whose first character is
// the terminator equals the empty view.
QV_API bool operator==(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator==(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator!=(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator!=(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING;

// Order of a string and a view, by bytes. A view of null orders with a string without a container.
QV_API bool operator<(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING;
QV_API bool operator>(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator<=(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator>=(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator<(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator>(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator<=(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator>=(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING;

// Order of views, with each other and with buffers, by bytes; a text that starts another one is before it. A null view,
// whatever its length says, and a null buffer are before every other text, be that empty. None of them allocates.
inline bool operator<(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator>(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator<=(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator>=(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator<(const CStringView &a, const char *b) noexcept QV_NONBLOCKING;
inline bool operator>(const CStringView &a, const char *b) noexcept QV_NONBLOCKING;
inline bool operator<=(const CStringView &a, const char *b) noexcept QV_NONBLOCKING;
inline bool operator>=(const CStringView &a, const char *b) noexcept QV_NONBLOCKING;
inline bool operator<(const char *a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator>(const char *a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator<=(const char *a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator>=(const char *a, const CStringView &b) noexcept QV_NONBLOCKING;

// The comparisons of a string or a view with a buffer, with the buffer on the left. None of them builds a string.
inline bool operator==(const char *a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator!=(const char *a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator<(const char *a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator>(const char *a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator<=(const char *a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator>=(const char *a, const CString &b) noexcept QV_NONBLOCKING;
inline bool operator==(const char *a, const CStringView &b) noexcept QV_NONBLOCKING;
inline bool operator!=(const char *a, const CStringView &b) noexcept QV_NONBLOCKING;

} // namespace Quorvane

#include "kr_internal/kr_string_inline.h"
#include "kr_internal/kr_string_join_inline.h"
#include "kr_internal/kr_string_pieces_inline.h"
