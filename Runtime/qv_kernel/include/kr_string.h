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
// What users meet sooner or later:
// - emptiness is judged by the first character: a text that begins with a terminator is empty whatever its length;
// - `Prepend` to an empty handle takes the whole text up to its terminator, whatever count was given;
// - `Format` leaves the process in the "C" locale.
#pragma once

#include <cstdarg>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_buffer.h"
#include "kr_memoryviews.h"
#include "kr_refptr.h"
#include "qv_defs.h"

namespace Quorvane
{

class CString;
class CStringContainer;

typedef TRefPtr<CStringContainer> PStringContainer;

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
    static constexpr u32 kLengthMask = 0x3FFFFFFF;

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
    bool DynamicResize(u32 newLength);

    // Sets the length after the caller wrote the characters and the terminator. Zeroes what a shorter length leaves
    // behind, and the last block of a longer one.
    // Requires: a length below kLengthMask and a terminator there, else reports "newLength < kLengthMask" or
    // "data[newLength] == '\0'". A length of kLengthMask or beyond the block changes nothing.
    void UnsafeSetLength(u32 newLength) { _InternalSetLength(newLength); }

    // Sets the length to 0, keeping the room.
    void Clear();

    // Recomputes the length from the characters: up to the first terminator, or to the end of the room.
    void Rebuild();

    // Bytes held: characters, rounded up to 16, plus 32 bytes.
    u64 MemoryFootprint() const;

    // The same of a container that may be null: null, and 0.
    static const char *SafeData(const CStringContainer *container)
    {
        return container != nullptr ? container->Data() : nullptr;
    }
    static u32 SafeLength(const CStringContainer *container) { return container != nullptr ? container->Length() : 0; }

private:
    friend class CString;

    static constexpr u32 kResizableFlag = 0x80000000;
    static constexpr u32 kFlagsMask = 0xC0000000;

    CStringContainer(u32 lengthAndFlags, u32 capacity, char *characters);

    void _InternalSetLength(u32 newLength);

    // Layout. The fields before this one take 16 bytes; together they take the 32 before a fixed form's characters.
    u32 m_Length;       // bits 0 to 29: the length; bit 30: reserved, kept by every update; bit 31: resizable
    u32 m_Capacity;     // bytes of room for characters and terminator, a multiple of 16
    char *m_Characters; // fixed form: 32 bytes into this object's own block; resizable form: the buffer
};

// `m_Length` characters from `m_Data`, not necessarily terminated, owned by somebody else.
//
// A view is a plain value, valid only while the characters are neither freed nor changed: any write through a handle
// that moves the characters invalidates the views of them.
class CStringView
{
public:
    constexpr CStringView() : m_Data(nullptr), m_Length(0) {}
    constexpr CStringView(const char *data, u32 length) : m_Data(data), m_Length(length) {}
    CStringView(const CString &string QV_INTERNAL_LIFETIMEBOUND);
    // Borrows from a temporary: good until the end of the full expression.
    CStringView(CString &&string QV_INTERNAL_LIFETIMEBOUND);
    constexpr CStringView(const TMemoryView<const char> &view) : m_Data(view.Data()), m_Length(view.Count()) {}

    // A view of the whole text; null gives the empty view.
    static CStringView FromNullTerminatedString(const char *str);

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

private:
    const char *m_Data;
    u32 m_Length;
};

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
    CString(const char *str);

    // A copy of the first `sourceLen` characters of `source`, which are trusted to be there.
    // Requires: text, or a length of 0, else reports "sourceLen == 0" and stays empty. Fails: an empty string.
    CString(const char *source, u32 sourceLen);

    // Shares a container.
    CString(const PStringContainer &container) : m_Container(container) {}
    CString(PStringContainer &&container) : m_Container(std::move(container)) {}

    // Reading. Nothing here copies or allocates.

    // The characters, NUL-terminated; null for a string without a container.
    const char *Data() const { return CStringContainer::SafeData(m_Container.Get()); }
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

    // Writing. Each first makes the characters this handle's own, by a copy of the fixed form when they are shared.
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

    // Formatting, in the manner of printf. Fails: an empty string, also for a null format.

    // Any length, in the locale in force. Reports "format != null".
    static CString VAFormat(const char *format, va_list args) QV_INTERNAL_PRINTF(1, 0);

    // At most 3198 characters (longer results are cut), in the "C" locale: numbers always have a decimal point.
    // The process is left in the "C" locale: beware of threads that depend on another one.
    static CString Format(const char *format, ...) QV_INTERNAL_PRINTF(1, 2);

    // Concatenation. The argument may be the string itself or any piece of it. Null and empty arguments change
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
    CString &Append(char character);

    // The same at the front. Beware: prepending to an empty string takes the whole text up to its terminator, whatever
    // `otherLength` says, unless the string is not shared and of the resizable form. Views and characters are taken
    // as they are.
    CString &Prepend(const CString &other);
    CString &Prepend(const CStringView &other);
    CString &Prepend(const char *other);
    CString &Prepend(const char *other, u32 otherLength);
    CString &Prepend(char character);

    // Joins two path pieces with exactly one slash between them. Slashes inside either piece stay. An empty or null
    // argument still removes the slashes at the end of this string.
    // Requires: no backslash in either piece, else reports "aLen == 0 || !_ContainsBackSlash(a, length)" or
    // "bLen == 0 || !_ContainsBackSlash(b, length)" and goes on.
    // Fails: reports "newContainer != null" and leaves the string unchanged.
    CString &AppendSlashAnd(const CString &other);
    CString &AppendSlashAnd(const CStringView &other);
    CString &AppendSlashAnd(const char *other);
    CString &AppendSlashAnd(const char *other, u32 length);

    // Ends the string with a slash, unless it is empty or has one.
    CString &AppendSlash();
    CString SlashAppended() const;

    CString &operator+=(const CString &other) { return Append(other); }
    CString &operator+=(const CStringView &other) { return Append(other); }
    CString &operator+=(const char *other) { return Append(other); }
    CString &operator/=(const CString &other) { return AppendSlashAnd(other); }
    CString &operator/=(const CStringView &other) { return AppendSlashAnd(other); }
    CString &operator/=(const char *other) { return AppendSlashAnd(other); }

private:
    // What an edit asks before it decides between writing in place and building anew.
    bool _IsUniqueAndResizable() const;

    void _MakeUnique();
    char &_CharacterForWriting(u32 index);

    CString &_Concatenate(const char *other, u32 length);
    CString &_Prepend(const char *other, u32 length);
    CString &_ConcatenatePath(const char *b, u32 bLen);

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

// Concatenation and path joining into a new string, as Append and AppendSlashAnd do it.
// A temporary on the left is edited in place.
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

// Inline bodies.

inline const char &CString::At(u32 index) const
{
    const CStringContainer *container = m_Container.Get();
    QV_INTERNAL_ASSERT_TEXT("_P::m_Ptr != null", container != nullptr);
    if (QV_INTERNAL_UNLIKELY(container == nullptr))
        return kNoCharacter;
    QV_INTERNAL_ASSERT_TEXT("index < m_Container->Length()", index < container->Length());
    if (QV_INTERNAL_UNLIKELY(index >= container->Length()))
        return kNoCharacter;
    return container->Data()[index];
}

inline const char &CString::First() const
{
    const bool empty = Empty();
    QV_INTERNAL_ASSERT_TEXT("!Empty()", !empty);
    return QV_INTERNAL_LIKELY(!empty) ? *Data() : kNoCharacter;
}

inline const char &CString::Last() const
{
    const bool empty = Empty();
    QV_INTERNAL_ASSERT_TEXT("!Empty()", !empty);
    const u32 length = Length();
    return QV_INTERNAL_LIKELY(!empty && length != 0) ? Data()[length - 1] : kNoCharacter;
}

inline CStringView::CStringView(const CString &string) : CStringView(string.Data(), string.Length()) {}

inline CStringView::CStringView(CString &&string) : CStringView(string.Data(), string.Length()) {}

} // namespace Quorvane
