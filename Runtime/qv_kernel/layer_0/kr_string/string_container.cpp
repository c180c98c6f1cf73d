// The shared character block: creation, growth, and the one function that sets lengths.
#include "kr_string.h"

#include <cstddef>
#include <cstring>

#include "../kr_mem/mem_fast_path.h"
#include "../kr_simd/simd_block.h"
#include "kr_mem_utils.h"
#include "kr_simd.h"
#include "string_sizes.h"

namespace Quorvane
{

namespace
{

// Zeroes the block that will hold the terminator: the tail that block-wise readers rely on.
void ZeroLastBlock(char *characters, u32 length)
{
    SIMD::Float4::Zero().StoreAligned16(characters + Internal::LastBlockStart(length));
}

// Zeroes what stands behind the terminator's place, it included, to the end of its block.
void ZeroTail(char *characters, u32 length)
{
    using Internal::Simd::SBlock;
    char *const lastBlock = characters + Internal::LastBlockStart(length);
    (SBlock::Padded(lastBlock) & SBlock::FirstBytes(length - Internal::LastBlockStart(length))).StorePadded(lastBlock);
}

// Zeroes one character or more; up to 16 of them in two stores that may overlap.
void ZeroCharacters(char *characters, u32 count)
{
    if (count > 16)
        std::memset(characters, 0, count);
    else if (count >= 8)
    {
        std::memset(characters, 0, 8);
        std::memset(characters + count - 8, 0, 8);
    }
    else if (count >= 4)
    {
        std::memset(characters, 0, 4);
        std::memset(characters + count - 4, 0, 4);
    }
    else
    {
        characters[0] = '\0';
        characters[count / 2] = '\0';
        characters[count - 1] = '\0';
    }
}

void *AllocObject(u64 size, u32 alignment)
{
    return Mem::Internal::AllocBlock(size, alignment, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

void FreeObject(void *block, u64 size)
{
    Mem::Internal::FreeBlock(block, size, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

void *AllocBuffer(u64 size)
{
    return Mem::Internal::AllocBlock(size, Internal::kCharacterBlockBytes, Mem::AllocType_Generic, Mem::Origin_Alloc,
                                     QV_INTERNAL_MEM_SITE);
}

void FreeBuffer(void *block)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

} // namespace

static_assert(sizeof(CStringContainer) <= Internal::kContainerHeaderBytes, "fixed characters follow the fields");

CStringContainer::CStringContainer(u32 lengthAndFlags, u32 capacity, char *characters)
    : m_Length(lengthAndFlags), m_Capacity(capacity), m_Characters(characters)
{
}

CStringContainer::~CStringContainer()
{
    _FreeBuffer();
}

void CStringContainer::_FreeBuffer()
{
    if (!SupportsDynamicResize())
        return;
    QV_INTERNAL_ASSERT_TEXT("*bufferLink != null", m_Characters != nullptr);
    FreeBuffer(m_Characters);
    m_Characters = nullptr;
}

void CStringContainer::_Destroy(CStringContainer *container)
{
    // Nothing but the buffer outlives the object: its destructors would do no more than this, several calls later.
    const u64 size = container->SupportsDynamicResize() ? Internal::kResizableObjectBytes
                                                        : container->m_Capacity + Internal::kContainerHeaderBytes;
    container->_FreeBuffer();
    FreeObject(container, size);
}

PStringContainer CStringContainer::New(const char *str)
{
    return New(str, SNativeStringUtils::Length(str));
}

PStringContainer CStringContainer::New(const char *str, u32 len)
{
    if (len == 0 || len >= kLengthMask)
        return PStringContainer();
    const u64 characterBytes = Internal::PaddedBytes(len);
    void *block = AllocObject(characterBytes + Internal::kContainerHeaderBytes, Internal::kCharacterBlockBytes);
    if (block == nullptr)
        return PStringContainer();
    char *target = static_cast<char *>(block) + Internal::kContainerHeaderBytes;
    CStringContainer *container = new (block) CStringContainer(len, static_cast<u32>(characterBytes), target);
    QV_ASSERT(Mem::IsAligned<0x10>(target));
    ZeroLastBlock(target, len);
    if (str != nullptr)
        Mem::Internal::CopyDisjoint(target, str, len);
    container->_AddFirstReference();
    return PStringContainer(container, Internal::SAdoptReference());
}

PStringContainer CStringContainer::NewResizable(const char *str)
{
    return NewResizable(str, SNativeStringUtils::Length(str), 0);
}

PStringContainer CStringContainer::NewResizable(const char *str, u32 len, u32 capacity)
{
    const u32 stringLen = len;
    const u32 capacityLen = capacity != 0 ? capacity : QVMax(len, Internal::kCharacterBlockBytes);
    QV_ASSERT(capacityLen >= stringLen);
    const u64 bufferBytes = Internal::PaddedBytes(QVMax(capacityLen, stringLen));
    if (len >= kLengthMask || bufferBytes > 0xFFFFFFFFu)
        return PStringContainer();
    char *data = static_cast<char *>(AllocBuffer(bufferBytes));
    void *block = AllocObject(Internal::kResizableObjectBytes, 0);
    if (data == nullptr || block == nullptr)
    {
        FreeBuffer(data);
        FreeObject(block, Internal::kResizableObjectBytes);
        return PStringContainer();
    }
    QV_ASSERT(Mem::IsAligned<0x10>(data));
    ZeroLastBlock(data, len);
    if (str != nullptr)
        Mem::Internal::CopyDisjoint(data, str, len);
    CStringContainer *container =
        new (block) CStringContainer(len | kResizableFlag, static_cast<u32>(bufferBytes), data);
    static_assert(kSearchedOffset >= sizeof(CStringContainer) &&
                      kSearchedOffset + sizeof(u32) <= Internal::kResizableObjectBytes,
                  "it stands behind the fields, in the object's block");
    container->_SetSearched(0);
    container->_AddFirstReference();
    return PStringContainer(container, Internal::SAdoptReference());
}

bool CStringContainer::_Reallocate(u32 newLength)
{
    if (QV_INTERNAL_FAILS(SupportsDynamicResize()) || newLength >= kLengthMask)
        return false;
    const u64 newCapacity = Internal::GrownBytes(newLength);
    void *moved = Mem::_RawRealloc(m_Characters, newCapacity, Internal::kCharacterBlockBytes, Mem::AllocType_Generic,
                                   QV_INTERNAL_MEM_SITE);
    if (moved == nullptr)
        return false;
    m_Characters = static_cast<char *>(moved);
    std::memset(m_Characters + m_Capacity, 0, static_cast<std::size_t>(newCapacity - m_Capacity));
    m_Capacity = static_cast<u32>(newCapacity);
    return true;
}

void CStringContainer::_InternalSetLength(u32 newLength)
{
    const u32 oldLength = Length();
    char *data = m_Characters;
    if (QV_INTERNAL_FAILS(newLength < kLengthMask))
        return;
    const bool fits = newLength < m_Capacity && data != nullptr;
    QV_INTERNAL_ASSERT_TEXT("data[newLength] == '\\0'", fits && data[newLength] == '\0');
    if (!fits)
        return;
    // Up to the old terminator, which is zero already; of a longer text, to the end of its last block.
    if (newLength < oldLength)
    {
        ZeroCharacters(data + newLength, oldLength - newLength);
        if (SupportsDynamicResize())
            _SetSearched(QVMin(_Searched(), newLength));
    }
    else
        ZeroTail(data, newLength);
    m_Length = newLength | (m_Length & kFlagsMask);
}

void CStringContainer::Clear()
{
    if (m_Characters == nullptr)
        return;
    m_Characters[0] = '\0';
    _InternalSetLength(0);
}

void CStringContainer::Rebuild()
{
    char *data = m_Characters;
    if (data == nullptr)
        return;
    const void *terminator = std::memchr(data, '\0', m_Capacity);
    QV_INTERNAL_ASSERT_TEXT("data[newLength] == '\\0'", terminator != nullptr);
    // Characters that fill all the room lose the last one to the terminator.
    char *end = terminator != nullptr ? data + (static_cast<const char *>(terminator) - data) : data + m_Capacity - 1;
    *end = '\0';
    _InternalSetLength(static_cast<u32>(end - data));
}

u64 CStringContainer::MemoryFootprint() const
{
    const u64 characterBytes = SupportsDynamicResize() ? m_Capacity : Internal::PaddedBytes(Length());
    return characterBytes + Internal::kContainerHeaderBytes;
}

} // namespace Quorvane
