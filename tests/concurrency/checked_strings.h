// Strings in checked programs. For sources that are compiled for the checker.
#pragma once

#include <cstring>
#include <new>

#include "checked_allocator.h"
#include "fibers.h"
#include "kr_string.h"

namespace QuorvaneTest::Concurrency
{

// From now on, blocks are checked, and each checked thread has what the library keeps for each thread.
inline void UseCheckedMemory()
{
    using namespace Quorvane::Internal::String;
    InstallCheckedAllocator();
    CFibers::KeepForEach(&t_LastCopied, sizeof(t_LastCopied));
}

// A handle is one pointer, which may be moved as such: out of a handle, and into one that is null.
template <typename THandle>
void *TakeOut(THandle &handle)
{
    void *pointer = nullptr;
    std::memcpy(&pointer, static_cast<void *>(&handle), sizeof(pointer));
    ::new (static_cast<void *>(&handle)) THandle();
    return pointer;
}

template <typename THandle>
void PutInto(THandle &handle, void *pointer)
{
    static_assert(sizeof(THandle) == sizeof(pointer), "a handle is a pointer");
    std::memcpy(static_cast<void *>(&handle), &pointer, sizeof(pointer));
}

} // namespace QuorvaneTest::Concurrency
