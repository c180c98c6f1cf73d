// What drivers do with strings and blocks in a process in which nobody has used a string before, and how a case answers.
#pragma once

#include <initializer_list>

#include "kr_mem/mem_thread_cache.h"
#include "kr_mem/mem_threads.h"
#include "kr_string.h"

namespace QuorvaneTest
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

// Makes 400 strings and drops them. Returns: whether they were what they should be.
inline bool UseStrings()
{
    constexpr u32 kCount = 400;
    CString strings[kCount];
    for (CString &string : strings)
        string = CString("forty characters, neither less nor more.");
    bool asTheyShould = true;
    for (const CString &string : strings)
        asTheyShould = asTheyShould && string == "forty characters, neither less nor more.";
    return asTheyShould;
}

inline u8 *AllocRaw(u64 size)
{
    return static_cast<u8 *>(Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
}

inline u8 *ReallocRaw(void *block, u64 size)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, size, 0, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE));
}

inline void FreeRaw(void *block)
{
    Mem::Free(block, Mem::AllocType_Generic);
}

inline bool HasCache()
{
    return ThreadCache() != &g_NoCacheYet && ThreadCache() != &g_CacheEnded;
}

inline bool IsAll(const u8 *block, u8 value, u64 bytes)
{
    for (u64 i = 0; i < bytes; ++i)
        if (block[i] != value)
            return false;
    return true;
}

// The number of the first of these that does not hold, from 1 on; 0 for success. They are asked one after the other.
inline int FirstFalse(std::initializer_list<bool> conditions)
{
    int number = 0;
    for (const bool one : conditions)
    {
        ++number;
        if (!one)
            return number;
    }
    return 0;
}

} // namespace QuorvaneTest
