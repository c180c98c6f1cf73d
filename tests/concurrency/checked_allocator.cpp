// The hooks of the library, in terms of the checker.
#include "checked_allocator.h"

#include <cstring>

#include "exploration.h"
#include "kr_assert.h"
#include "kr_mem.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;

u32 CallingThread()
{
    const CExploration *const exploration = CExploration::Active();
    return exploration != nullptr ? exploration->Thread() : CCheckedMemory::kMainThread;
}

void *Allocate(u64 size, u32 alignment, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    return CCheckedMemory::Get().Allocate(CallingThread(), static_cast<ureg>(size), QVMax(alignment, 16u));
}

void Free(void *block, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    if (CExploration *const exploration = CExploration::Active())
        return exploration->Free(block);
    CCheckedMemory::Get().Free(block, {CCheckedMemory::kMainThread, 0}, SClock());
}

// Nothing grows in place: whoever keeps the old address is found.
void *Reallocate(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag, const char *file,
                 u32 line, const char *function)
{
    void *const moved = Allocate(newSize, alignment, type, Mem::Origin_Alloc, tag, file, line, function);
    if (block == nullptr || moved == nullptr)
        return moved;
    const ureg bytes = QVMin(static_cast<ureg>(newSize), CCheckedMemory::Get().BytesOf(block));
    std::memcpy(moved, block, bytes); // which the checker sees
    Free(block, type, Mem::Origin_Alloc, tag, file, line, function);
    return moved;
}

int ReportFault(const char *, const char *, int, const char *expression, const char *, const char *message)
{
    // Who never comes back from here would report no more.
    ReportLater(message[0] != '\0' ? message : expression);
    return 2;
}

} // namespace

void InstallCheckedAllocator()
{
    Mem::SetAllocator({&Allocate, &Reallocate, &Free});
    Assert::SetHandler(&ReportFault);
}

} // namespace QuorvaneTest::Concurrency
