// Memory and deletion of reference-counted objects.
#include "kr_refptr.h"

namespace Quorvane
{

static_assert(sizeof(CRefCountedObject) == sizeof(void *) + 8,
              "behind the address of the virtual table lie two counts of 32 bits");
static_assert(sizeof(TRefPtr<CRefCountedObject>) == sizeof(void *), "a counted pointer is a pointer");

CRefCountedObjectBase::~CRefCountedObjectBase() = default;

CRefCountedObject::~CRefCountedObject() = default;

void *CRefCountedObject::operator new(std::size_t size) noexcept
{
    return Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

void *CRefCountedObject::operator new(std::size_t size, std::align_val_t alignment) noexcept
{
    return Mem::_RawAlloc(size, static_cast<u32>(alignment), Mem::AllocType_Generic, Mem::Origin_New,
                          QV_INTERNAL_MEM_SITE);
}

void CRefCountedObject::operator delete(void *block) noexcept
{
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

void CRefCountedObject::operator delete(void *block, std::align_val_t) noexcept
{
    CRefCountedObject::operator delete(block);
}

void *CRefCountedObject::operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return CRefCountedObject::operator new(size);
}

void *CRefCountedObject::operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    return CRefCountedObject::operator new(size, alignment);
}

void CRefCountedObject::operator delete(void *block, const std::nothrow_t &) noexcept
{
    CRefCountedObject::operator delete(block);
}

void CRefCountedObject::operator delete(void *block, std::align_val_t, const std::nothrow_t &) noexcept
{
    CRefCountedObject::operator delete(block);
}

QV_INTERNAL_REALTIME_UNWATCHED
void CRefCountedObject::_DeleteObject(const CRefCountedObjectBase *counted,
                                      const CRefCountedObject *object) noexcept QV_NONBLOCKING
{
    static_cast<void>(counted);
    if (!object->_BeginDestruction())
        return;
    // Through the virtual destructor, which frees the block of the whole object whatever its class. Unchecked: what it
    // does is the business of that class, and what it takes to give a block back that of the allocator.
    QV_INTERNAL_UNCHECKED_BEGIN
    delete object;
    QV_INTERNAL_UNCHECKED_END
}

} // namespace Quorvane
