// A program of which a sanitizer watches the memory, while the library was compiled without it: the linker gives it the
// name by which that sanitizer is known. So it sees each block, with its exact size.
#include <cstdio>
#include <cstring>

#include "driver_checks.h"
#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_slabs.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;
using namespace QuorvaneTest;

void TestThePlatformServesAllBlocks()
{
    QV_TEST_CHECK(IsWatched());
    QV_TEST_CHECK(!HasSmallBlocks());
    QV_TEST_CHECK(!LargeBlocksHaveHeads());
    QV_TEST_CHECK(!Mem::Prewarm(0, false));
    QV_TEST_CHECK(SmallFigures().m_LiveBlocks == 0);
}

void TestBlocksThatAreResizedGetNoRoomBeyondTheirSize()
{
    QV_TEST_CHECK(!MayKeepRoom());
    void *block = Mem::_RawAlloc(40, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    QV_TEST_CHECK(block != nullptr && !IsSmallBlock(block));
    std::memset(block, 7, 40);
    for (const u64 size : {60u, 3000u, 50u})
    {
        block = Mem::_RawRealloc(block, size, 0, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE);
        QV_TEST_CHECK(block != nullptr && !HasRoomToGrow(block, size));
        QV_TEST_CHECK(static_cast<const u8 *>(block)[39] == 7);
    }
    Mem::Free(block, Mem::AllocType_Generic);
}

void TestABlockOfALargerAlignmentKeepsItWhenItIsResized()
{
    void *block = Mem::_RawAlloc(40, 64, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    QV_TEST_CHECK(block != nullptr);
    std::memset(block, 7, 40);
    constexpr u64 kMoreThanThereIs = u64(1) << 62;
    QV_TEST_CHECK(Mem::_RawRealloc(block, kMoreThanThereIs, 64, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE) ==
                  nullptr);
    for (const u64 size : {60u, 3000u, 50u})
    {
        block = Mem::_RawRealloc(block, size, 64, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE);
        QV_TEST_CHECK(block != nullptr && reinterpret_cast<ureg>(block) % 64 == 0);
        QV_TEST_CHECK(static_cast<const u8 *>(block)[0] == 7 && static_cast<const u8 *>(block)[39] == 7);
    }
    Mem::Free(block, Mem::AllocType_Generic);
}

void TestStringsAreTheSame()
{
    CString string;
    for (int i = 0; i < 1000; ++i)
        string += "eight.. ";
    const CString copy = string;
    string.ToUppercase();
    QV_TEST_CHECK(copy.Length() == 8000 && string.StartsWith("EIGHT.. ") && copy.EndsWith("eight.. "));
}

} // namespace

int main()
{
    if (!kHonorsSanitizers)
    {
        std::puts("watched: the library was built to take no notice of sanitizers");
        return 77;
    }
    TestThePlatformServesAllBlocks();
    TestBlocksThatAreResizedGetNoRoomBeyondTheirSize();
    TestABlockOfALargerAlignmentKeepsItWhenItIsResized();
    TestStringsAreTheSame();
    return ExitCode();
}
