#include "edge_allocators.h"

#include <cstring>
#include <utility>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

using namespace Quorvane;

namespace
{

CPageEndAllocator *g_PageEnd = nullptr;
CChoosyAllocator *g_Choosy = nullptr;

// The default alignment is that of the size, as far as an object may ask for it.
u64 AlignmentOf(u64 size, u32 alignment)
{
    return alignment != 0 ? alignment : size % sizeof(void *) == 0 ? sizeof(void *) : 1;
}

} // namespace

CPageEndAllocator::CPageEndAllocator()
{
    g_PageEnd = this;
    m_Before = Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free});
}

CPageEndAllocator::~CPageEndAllocator()
{
    Mem::SetAllocator(m_Before);
    g_PageEnd = nullptr;
    for (const auto &[address, block] : m_Live)
        ADD_FAILURE() << "a block of " << block.m_Size << " bytes was leaked";
}

void *CPageEndAllocator::_Alloc(u64 size, u32 alignment, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32,
                                const char *)
{
    const u64 step = AlignmentOf(size, alignment);
    const u64 taken = (size + step - 1) / step * step;
    auto pages = std::make_unique<CGuardedPage>(static_cast<size_t>(taken));
    void *block = pages->Last(static_cast<size_t>(taken));
    g_PageEnd->m_Live[block] = SBlock{std::move(pages), size};
    return block;
}

void *CPageEndAllocator::_Realloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                                  const char *file, u32 line, const char *function)
{
    void *moved = _Alloc(newSize, alignment, type, Mem::Origin_Alloc, tag, file, line, function);
    if (block != nullptr)
    {
        const u64 oldSize = g_PageEnd->m_Live.at(block).m_Size;
        std::memcpy(moved, block, static_cast<size_t>(oldSize < newSize ? oldSize : newSize));
        g_PageEnd->m_Live.erase(block);
    }
    return moved;
}

void CPageEndAllocator::_Free(void *block, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    EXPECT_EQ(g_PageEnd->m_Live.erase(block), 1u) << "an unknown block was freed";
}

CChoosyAllocator::CChoosyAllocator(FRefuses refuses) : m_Decide(std::move(refuses))
{
    // Frees go straight to where the blocks come from.
    m_Before = Mem::SetAllocator(Mem::SAllocator());
    Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, m_Before.m_Free});
    g_Choosy = this;
}

CChoosyAllocator::~CChoosyAllocator()
{
    Mem::SetAllocator(m_Before);
    g_Choosy = nullptr;
}

void *CChoosyAllocator::_Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                               const char *file, u32 line, const char *function)
{
    if (g_Choosy->_Refuses(size))
        return nullptr;
    return g_Choosy->m_Before.m_Alloc(size, alignment, type, origin, tag, file, line, function);
}

void *CChoosyAllocator::_Realloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                                 const char *file, u32 line, const char *function)
{
    if (g_Choosy->_Refuses(newSize))
        return nullptr;
    return g_Choosy->m_Before.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
}

bool CChoosyAllocator::_Refuses(u64 size)
{
    m_Sizes.push_back(size);
    return m_Decide(m_Sizes.size(), size);
}

} // namespace QuorvaneTest
