// What the tests of small blocks share: blocks by the library's own fast path and by the public functions, and what of
// them is our own. Whether small blocks are is a matter of how the library was built and of where it runs; what is
// promised holds everywhere, and what only holds of our own blocks asks for them.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "emulator.h"
#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_slabs.h"
#include "test_port.h"

#if defined(_WIN32)
#include <process.h>
#endif

// By the compiler's word, not by the library's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QV_TEST_IS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define QV_TEST_IS_SANITIZED 1
#endif
#endif
#if !defined(QV_TEST_IS_SANITIZED)
#define QV_TEST_IS_SANITIZED 0
#endif

namespace QuorvaneTest
{

namespace SmallBlocks
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

constexpr u64 kCachedBytesPerClass = 8192;
constexpr u64 kMostCachedBytesPerClass = 65536; // where it takes and gives by turns
constexpr u64 kMostCachedBytes = 1280u << 10;   // of all classes together

inline u8 *Alloc(u64 size, u32 alignment = 16)
{
    return static_cast<u8 *>(
        AllocBlock(size, alignment, Mem::AllocType_Generic, Mem::Origin_New, "Test|Small", "file.cpp", 11, "Make"));
}

inline void Free(void *block, u64 size)
{
    FreeBlock(block, size, Mem::AllocType_Generic, Mem::Origin_New, "Test|Small", "file.cpp", 22, "Drop");
}

inline u8 *RawAlloc(u64 size)
{
    return static_cast<u8 *>(Mem::_RawAlloc(size, 16, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
}

inline u8 *RawRealloc(void *block, u64 size)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, size, 16, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE));
}

inline void RawFree(void *block, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, origin, QV_INTERNAL_MEM_SITE);
}

// Becomes the test program anew, with this test alone, or runs it so: for what is decided once in a process.
// Returns: what it ends with, if at all.
inline int RunProbe(const char *test)
{
    const std::string filter = std::string("--gtest_filter=") + test;
#if defined(_WIN32)
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    return static_cast<int>(_spawnl(_P_WAIT, program, "probe", filter.c_str(), "--gtest_also_run_disabled_tests",
                                    static_cast<char *>(nullptr)));
#else
    constexpr const char *kWithDisabled = "--gtest_also_run_disabled_tests";
    // Of one test, all but the first of several processes that share them would run none.
    unsetenv("GTEST_TOTAL_SHARDS");
    unsetenv("GTEST_SHARD_INDEX");
    if (EmulatorCommand() == nullptr)
        execl("/proc/self/exe", "probe", filter.c_str(), kWithDisabled, static_cast<char *>(nullptr));
    char program[4096] = {};
    // The system itself runs nothing of the emulated machine. The command's words are apart in the shell alone.
    if (EmulatorCommand() != nullptr && readlink("/proc/self/exe", program, sizeof(program) - 1) > 0)
        execl("/bin/sh", "sh", "-c", "exec $QV_TEST_EMULATOR \"$@\"", "probe", program, filter.c_str(), kWithDisabled,
              static_cast<char *>(nullptr));
    return 99;
#endif
}

// Whether small blocks are our own here.
inline bool AreOurOwn()
{
    u8 *const block = Alloc(64);
    const bool isSmall = IsSmallBlock(block);
    Free(block, 64);
    return isSmall;
}

inline u64 LiveBlocks()
{
    return SmallFigures().m_LiveBlocks;
}

inline void AllocAndFree(u64 size, size_t count)
{
    std::vector<u8 *> blocks(count);
    for (u8 *&block : blocks)
        block = Alloc(size);
    for (u8 *const block : blocks)
        Free(block, size);
}

inline void OnAThread(const std::function<void()> &work)
{
    std::thread(work).join();
}

// For what holds of our own blocks only.
class COwnTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!AreOurOwn())
            GTEST_SKIP() << "small blocks are the platform's here";
    }
};

} // namespace SmallBlocks

} // namespace QuorvaneTest
