// The block of characters behind strings: what all copies of a handle share. kr_string.h includes it, and programs that
// hand a container from one string to another need no more than its name there.
#pragma once

#include <cstring>

#include "kr_internal/kr_string_copies.h"
#include "kr_internal/kr_string_last_copied.h"
#include "kr_refptr.h"
#include "kr_string_fwd.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{
struct SFastGrowth; // the edits that grow a text by a few characters
struct SGrowth;     // and by any number
} // namespace Internal::String

// A strong pointer to a container, such as every string is.
using PStringContainer = TRefPtr<CStringContainer>;

// The shared, reference-counted block of characters behind a string.
//
// Fixed form: object and characters in one block. Resizable form: the characters in a buffer of their own, which can
// grow. The form is chosen at creation and never changes. In both, characters start 16-byte aligned, the one at
// Length() is the terminator, and everything from it to the end of its 16-byte block is zero.
//
// Only the holder of the only reference may write the characters or set the length.
class QV_API CStringContainer final : public CRefCountedObject
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
    [[nodiscard]] static PStringContainer New(const char *str) noexcept;
    [[nodiscard]] static PStringContainer New(const char *str, u32 len) noexcept;

    // Resizable form. `capacity` is in characters; 0 asks for `len`, at least 16.
    // Requires: a capacity of at least `len`, else reports "capacityLen >= stringLen" and takes `len`.
    // Allocates: a buffer of the capacity + 1, rounded up to 16, and an object of 40 bytes.
    [[nodiscard]] static PStringContainer NewResizable(const char *str) noexcept;
    [[nodiscard]] static PStringContainer NewResizable(const char *str, u32 len, u32 capacity) noexcept;

    // Frees the buffer of the resizable form. Reports "*bufferLink != null" for a resizable container without a buffer.
    ~CStringContainer() override;

    // The characters, NUL-terminated.
    const char *Data() const noexcept QV_NONBLOCKING { return m_Characters; }
    char *Data() noexcept QV_NONBLOCKING { return m_Characters; }
    // The number of characters, the terminator not included.
    u32 Length() const noexcept QV_NONBLOCKING { return m_Length & kLengthMask; }
    // Whether the container is of the resizable form.
    [[nodiscard]] bool SupportsDynamicResize() const noexcept QV_NONBLOCKING
    {
        return (m_Length & kResizableFlag) != 0;
    }

    // Makes room for `newLength` characters and the terminator; leaves the length alone. Grows to `newLength` + 256,
    // rounded up to 16.
    // Requires: the resizable form, else reports "SupportsDynamicResize()" and returns false.
    // Returns: whether the room is there. Fails: false, with the container as it was.
    // Invalidates: pointers to the characters, when it grows.
    bool DynamicResize(u32 newLength) noexcept
    {
        const bool fits = SupportsDynamicResize() && newLength < m_Capacity && newLength < kLengthMask;
        return QV_INTERNAL_LIKELY(fits) ? true : _Reallocate(newLength);
    }

    // Sets the length after the caller wrote the characters and the terminator. Zeroes what a shorter length leaves
    // behind, and the last block of a longer one.
    // Requires: a length below kLengthMask and a terminator there, else reports "newLength < kLengthMask" or
    // "data[newLength] == '\0'". A length of kLengthMask or beyond the block changes nothing.
    void UnsafeSetLength(u32 newLength) noexcept QV_NONBLOCKING { _SetLength(newLength); }

    // Sets the length to 0, keeping the room.
    void Clear() noexcept QV_NONBLOCKING;

    // Recomputes the length from the characters: up to the first terminator, or to the end of the room.
    void Rebuild() noexcept QV_NONBLOCKING;

    // Bytes held: characters, rounded up to 16, plus 32 bytes.
    u64 MemoryFootprint() const noexcept QV_NONBLOCKING;

    // Adds a strong reference: what the counted base does, and counts it among the copies that are shared.
    void AddReference() const noexcept QV_NONBLOCKING
    {
        if constexpr (QV_MEM_TRACKING)
            Internal::String::CountSharedCopy();
        Internal::String::NoteCopied(this);
        CRefCountedObject::AddReference();
    }

    // Drops a strong reference, and destroys the container with the last one: what the counted base does, without the
    // virtual calls, since nothing derives from this class.
    //
    // It asks first whether this is the last one, as most texts are dropped by the only handle they ever had: that spares
    // them a locked instruction, 5 to 8 ns of 26 on an Intel Xeon (family 6, model 167), 0.3 ns on an AMD EPYC. Of the text
    // that the thread has copied last it does not ask: the count can be read only when the locked instruction that wrote
    // it is done, 6 to 9 ns for a copy that is dropped at once on the former, 0.4 ns on the latter.
    QV_INTERNAL_REALTIME_UNWATCHED void RemoveReference() const noexcept QV_NONBLOCKING
    {
        if (Internal::String::WasLastCopied(this) ? _InternalRemoveReferenceIsLast() : _DropIsLast())
            _Destroy(const_cast<CStringContainer *>(this));
    }

    // Data() and Length() of a container that may be null: null, and 0.
    static const char *SafeData(const CStringContainer *container) noexcept QV_NONBLOCKING
    {
        return container != nullptr ? container->Data() : nullptr;
    }
    static u32 SafeLength(const CStringContainer *container) noexcept QV_NONBLOCKING
    {
        return container != nullptr ? container->Length() : 0;
    }

private:
    friend class CString;
    friend struct Internal::String::SFastGrowth;
    friend struct Internal::String::SGrowth;

    static constexpr u32 kResizableFlag = 0x80000000;
    static constexpr u32 kBlockBytes = 16;

    // Bytes of the blocks that hold `length` characters and their terminator.
    static constexpr u32 _PaddedLength(u32 length) noexcept QV_NONBLOCKING
    {
        return (length + kBlockBytes) & ~(kBlockBytes - 1);
    }

    CStringContainer(u32 lengthAndFlags, u32 capacity, char *characters) noexcept QV_NONBLOCKING;

    static void _Destroy(CStringContainer *container) noexcept QV_NONBLOCKING;
    void _FreeBuffer() noexcept QV_NONBLOCKING;

    bool _Reallocate(u32 newLength) noexcept;

    // UnsafeSetLength.
    void _SetLength(u32 newLength) noexcept QV_NONBLOCKING;

    // The one place where a length changes; `difference` is modulo 2^32, so that it may be negative. Lengths stay below
    // kLengthMask, so the flags above them stay what they are. Zeroing what is behind the text is up to the caller.
    void _ChangeLengthBy(u32 difference) noexcept QV_NONBLOCKING
    {
        m_Length = Internal::WrappingSum(m_Length, difference);
    }

    // Appends a character, not the terminator, where the holder of the only reference has room for it.
    // Returns: false, with nothing done, where it has not.
    inline bool _AppendFast(char character) noexcept QV_NONBLOCKING;
    inline bool _BeginBlock(u32 newLength) noexcept QV_NONBLOCKING;

    // How many characters from the front path joins have found to be neither backslashes nor terminators, so that they
    // need not look there again: in the object of the resizable form, behind the fields. Whoever changes characters in
    // place, or hands them out to be changed, forgets it.
    static constexpr u32 kSearchedOffset = 32;
    u32 _Searched() const noexcept QV_NONBLOCKING
    {
        u32 count;
        std::memcpy(&count, reinterpret_cast<const unsigned char *>(this) + kSearchedOffset, sizeof(count));
        return count;
    }
    void _SetSearched(u32 count) noexcept QV_NONBLOCKING
    {
        std::memcpy(reinterpret_cast<unsigned char *>(this) + kSearchedOffset, &count, sizeof(count));
    }
    void _ForgetSearched() noexcept QV_NONBLOCKING
    {
        if (SupportsDynamicResize())
            _SetSearched(0);
    }

    // Layout. The fields before this one take 16 bytes; together they take the 32 before a fixed form's characters.
    u32 m_Length;       // bits 0 to 29: the length; bit 30: reserved, kept by every update; bit 31: resizable
    u32 m_Capacity;     // bytes of room for characters and terminator, a multiple of 16
    char *m_Characters; // fixed form: 32 bytes into this object's own block; resizable form: the buffer
};

} // namespace Quorvane
