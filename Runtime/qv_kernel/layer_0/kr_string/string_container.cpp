// The shared character block: creation, growth of its buffer, and the checked setting of its length.
#include "kr_string.h"

#include <cstddef>
#include <cstring>

#include "../kr_mem/mem_fast_path.h"
#include "kr_internal/kr_string_tail.h"
#include "kr_mem_utils.h"
#include "kr_simd.h"
#include "string_block.h"

namespace Quorvane
{

namespace
{

namespace String = Internal::String;

// On Windows, who takes the constant's address takes that of the DLL, where g++ leaves out what nobody refers to.
__attribute__((used)) const u32 *const kLengthMaskIsThere = &CStringContainer::kLengthMask;

constexpr const char *kTerminatorCheck = "data[newLength] == '\\0'";

// Zeroes the last block of new characters, and reports memory that is not aligned.
void ZeroNewLastBlock(char *characters, u32 length)
{
    SIMD::Float4::Zero().StoreAligned16(characters + String::LastBlockStart(length));
}

void *AllocObject(u64 size, u32 alignment)
{
    return Mem::Internal::AllocBlock(size, alignment, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

void *AllocBuffer(u64 size)
{
    return Mem::Internal::AllocBlock(size, String::kCharacterBlockBytes, Mem::AllocType_Generic, Mem::Origin_Alloc,
                                     QV_INTERNAL_MEM_SITE);
}

// Unchecked: what it takes to give a block back is the allocator's business.
QV_INTERNAL_UNCHECKED_BEGIN

QV_INTERNAL_REALTIME_UNWATCHED
void FreeObject(void *block, u64 size) noexcept QV_NONBLOCKING
{
    Mem::Internal::FreeBlock(block, size, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

QV_INTERNAL_REALTIME_UNWATCHED
void FreeBuffer(void *block) noexcept QV_NONBLOCKING
{
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

QV_INTERNAL_UNCHECKED_END

} // namespace

static_assert(sizeof(CStringContainer) == sizeof(CRefCountedObject) + 8 + sizeof(void *),
              "behind the counts lie the length, the capacity and the address of the characters");
static_assert(sizeof(CStringContainer) <= String::kContainerHeaderBytes, "fixed characters follow the fields");
static_assert(sizeof(CStringContainer) <= String::kResizableObjectBytes, "the object has room for the fields");
static_assert(alignof(CStringContainer) <= String::kCharacterBlockBytes, "blocks are aligned for characters");

CStringContainer::CStringContainer(u32 lengthAndFlags, u32 capacity, char *characters) noexcept QV_NONBLOCKING
    : m_Length(lengthAndFlags),
      m_Capacity(capacity),
      m_Characters(characters)
{
}

CStringContainer::~CStringContainer()
{
    _FreeBuffer();
}

QV_INTERNAL_REALTIME_UNWATCHED
void CStringContainer::_FreeBuffer() noexcept QV_NONBLOCKING
{
    if (!SupportsDynamicResize())
        return;
    QV_INTERNAL_ASSERT_TEXT("*bufferLink != null", m_Characters != nullptr);
    FreeBuffer(m_Characters);
    m_Characters = nullptr;
}

QV_INTERNAL_REALTIME_UNWATCHED
void CStringContainer::_Destroy(CStringContainer *container) noexcept QV_NONBLOCKING
{
    // Nothing but the buffer outlives the object: its destructors would do no more than this, several calls later.
    const u64 size = container->SupportsDynamicResize() ? String::kResizableObjectBytes
                                                        : container->m_Capacity + String::kContainerHeaderBytes;
    container->_FreeBuffer();
    FreeObject(container, size);
}

PStringContainer CStringContainer::New(const char *str) noexcept
{
    return New(str, SNativeStringUtils::Length(str));
}

PStringContainer CStringContainer::New(const char *str, u32 len) noexcept
{
    if (len == 0 || len >= kLengthMask)
        return PStringContainer();
    const u64 characterBytes = String::PaddedBytes(len);
    void *block = AllocObject(characterBytes + String::kContainerHeaderBytes, String::kCharacterBlockBytes);
    if (block == nullptr)
        return PStringContainer();
    char *target = static_cast<char *>(block) + String::kContainerHeaderBytes;
    CStringContainer *container = new (block) CStringContainer(len, static_cast<u32>(characterBytes), target);
    QV_ASSERT(Mem::IsAligned<0x10>(target));
    // First, since it zeroes all of the block, where the last characters go, too.
    ZeroNewLastBlock(target, len);
    if (str != nullptr)
        Mem::Internal::CopyDisjoint(target, str, len);
    String::STail::Poison(target, len);
    container->_AddFirstReference();
    return PStringContainer(container, Internal::SAdoptReference());
}

PStringContainer CStringContainer::NewResizable(const char *str) noexcept
{
    return NewResizable(str, SNativeStringUtils::Length(str), 0);
}

PStringContainer CStringContainer::NewResizable(const char *str, u32 len, u32 capacity) noexcept
{
    const u32 stringLen = len;
    const u32 capacityLen = capacity != 0 ? capacity : QVMax(len, String::kCharacterBlockBytes);
    QV_ASSERT(capacityLen >= stringLen);
    // A capacity that was reported as too small does for the text all the same.
    const u64 bufferBytes = String::PaddedBytes(QVMax(capacityLen, stringLen));
    if (len >= kLengthMask || bufferBytes > 0xFFFFFFFFu)
        return PStringContainer();
    char *data = static_cast<char *>(AllocBuffer(bufferBytes));
    void *block = AllocObject(String::kResizableObjectBytes, 0);
    if (data == nullptr || block == nullptr)
    {
        FreeBuffer(data);
        FreeObject(block, String::kResizableObjectBytes);
        return PStringContainer();
    }
    QV_ASSERT(Mem::IsAligned<0x10>(data));
    ZeroNewLastBlock(data, len);
    if (str != nullptr)
        Mem::Internal::CopyDisjoint(data, str, len);
    String::STail::Poison(data, len);
    CStringContainer *container =
        new (block) CStringContainer(len | kResizableFlag, static_cast<u32>(bufferBytes), data);
    static_assert(kSearchedOffset >= sizeof(CStringContainer) &&
                      kSearchedOffset + sizeof(u32) <= String::kResizableObjectBytes,
                  "it stands behind the fields, in the object's block");
    container->_SetSearched(0);
    container->_AddFirstReference();
    return PStringContainer(container, Internal::SAdoptReference());
}

bool CStringContainer::_Reallocate(u32 newLength) noexcept
{
    if (QV_INTERNAL_FAILS(SupportsDynamicResize()) || newLength >= kLengthMask)
        return false;
    const u64 newCapacity = String::GrownBytes(newLength);
    // Most buffers have got more than was asked for the time before.
    void *moved = Mem::Internal::HasRoomToGrow(m_Characters, newCapacity)
                      ? m_Characters
                      : Mem::_RawRealloc(m_Characters, newCapacity, String::kCharacterBlockBytes,
                                         Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE);
    if (moved == nullptr)
        return false;
    m_Characters = static_cast<char *>(moved);
    std::memset(m_Characters + m_Capacity, 0, static_cast<std::size_t>(newCapacity - m_Capacity));
    m_Capacity = static_cast<u32>(newCapacity);
    return true;
}

void CStringContainer::_SetLength(u32 newLength) noexcept QV_NONBLOCKING
{
    const u32 oldLength = Length();
    char *data = m_Characters;
    if (QV_INTERNAL_FAILS(newLength < kLengthMask))
        return;
    const bool fits = newLength < m_Capacity && data != nullptr;
    QV_INTERNAL_ASSERT_TEXT(kTerminatorCheck, fits && data[newLength] == '\0');
    if (!fits)
        return;
    // A shorter text leaves characters behind, up to the old terminator, from which on its block is zero already. Of a
    // longer one, which the caller has written, the rest of the last block is not known to be zero.
    if (newLength < oldLength)
    {
        String::STail::Restore(data, oldLength);
        String::ZeroCharacters(data + newLength, oldLength - newLength);
        if (SupportsDynamicResize())
            _SetSearched(QVMin(_Searched(), newLength));
    }
    else
        String::ZeroTail(data, newLength);
    _ChangeLengthBy(Internal::WrappingDifference(newLength, oldLength));
    String::STail::Poison(data, newLength);
}

void CStringContainer::Clear() noexcept QV_NONBLOCKING
{
    if (m_Characters == nullptr)
        return;
    m_Characters[0] = '\0';
    _SetLength(0);
}

void CStringContainer::Rebuild() noexcept QV_NONBLOCKING
{
    char *data = m_Characters;
    if (data == nullptr)
        return;
    const void *terminator = __builtin_memchr(data, '\0', m_Capacity);
    QV_INTERNAL_ASSERT_TEXT(kTerminatorCheck, terminator != nullptr);
    // Characters that fill all the room lose the last one to the terminator.
    char *end = terminator != nullptr ? data + (static_cast<const char *>(terminator) - data) : data + m_Capacity - 1;
    *end = '\0';
    _SetLength(static_cast<u32>(end - data));
}

u64 CStringContainer::MemoryFootprint() const noexcept QV_NONBLOCKING
{
    const u64 characterBytes = SupportsDynamicResize() ? m_Capacity : String::PaddedBytes(Length());
    return characterBytes + String::kContainerHeaderBytes;
}

} // namespace Quorvane
