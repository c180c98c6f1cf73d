// embedding: an embedder's own allocator and assertion handler beneath the strings.
//
// The allocator counts live blocks and can refuse; the handler writes one line per report and goes on. Both forward
// to, or put back, what was there before. The pieces between the example's functions are quoted in docs/embedding.md.
#include "kr_assert.h"
#include "kr_mem.h"
#include "kr_string.h"

#include <atomic>
#include <cstdio>

using namespace Quorvane;

namespace
{

// The allocator. Its functions may be called from any thread, so what they share is atomic.

Mem::SAllocator g_Before; // what was installed before; does the real work
std::atomic<long> g_LiveBlocks{0};
std::atomic<bool> g_Refuse{false}; // pretends that memory is exhausted

void *CountingAlloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                    const char *file, u32 line, const char *function)
{
    if (g_Refuse)
        return nullptr;
    void *block = g_Before.m_Alloc(size, alignment, type, origin, tag, file, line, function);
    if (block != nullptr)
        ++g_LiveBlocks;
    return block;
}

void *CountingRealloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag, const char *file,
                      u32 line, const char *function)
{
    if (g_Refuse)
        return nullptr; // the old block stays valid
    void *moved = g_Before.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
    if (block == nullptr && moved != nullptr)
        ++g_LiveBlocks;
    return moved;
}

void CountingFree(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file, u32 line,
                  const char *function)
{
    --g_LiveBlocks;
    g_Before.m_Free(block, type, origin, tag, file, line, function);
}

void InstallAllocator()
{
    const Mem::SAllocator counting = {&CountingAlloc, &CountingRealloc, &CountingFree};
    g_Before = Mem::SetAllocator(counting);
}

// The assertion handler.

std::atomic<int> g_Reports{0};

int LoggingHandler(const char *, const char *, int, const char *expression, const char *, const char *)
{
    ++g_Reports;
    std::printf("report: %s\n", expression);
    return 2; // continue, and report again next time
}

// What the two see.

void UseStrings()
{
    CString path("assets");
    path /= "models"; // a container that can grow: an object and a buffer
    const CString copy = path;
    std::printf("%ld blocks behind \"%s\" and its copy\n", g_LiveBlocks.load(), path.CStr());
    path += "/hull.mesh";
    std::printf("%ld blocks after a write to one of them\n", g_LiveBlocks.load());
}

void RunOutOfMemory()
{
    CString path("assets");
    g_Refuse = true;
    path /= "models"; // reported, and the path stays as it is
    const CString text("refused");
    g_Refuse = false;
    std::printf("path: \"%s\", text empty: %s\n", path.CStr(), text.Empty() ? "yes" : "no");
}

void BreakAContract()
{
    const CString empty;
    const char last = empty.Last(); // reported, and answered with a NUL
    std::printf("last character: %d\n", last);
}

} // namespace

int main()
{
    InstallAllocator(); // while no block is live, and before there is a second thread
    const Assert::FHandler handlerBefore = Assert::SetHandler(&LoggingHandler);

    UseStrings();
    RunOutOfMemory();
    BreakAContract();
    std::printf("%d reports, %ld blocks left\n", g_Reports.load(), g_LiveBlocks.load());

    Assert::SetHandler(handlerBefore);
    Mem::SetAllocator(g_Before);
    return 0;
}
