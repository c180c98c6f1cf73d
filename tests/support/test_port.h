// What tests need of the platform, beside what the library needs of it: memory that may be protected, and processes.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdlib>

#if defined(_WIN32)
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <winternl.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#if defined(__linux__)
#include <sys/ptrace.h>
#endif

// Whether a process can make a copy of itself that goes on where it is; else for GTEST_SKIP.
#if defined(_WIN32)
#define QV_TEST_HAS_FORK 0
#else
#define QV_TEST_HAS_FORK 1
#endif
#define QV_TEST_NO_FORK "no system call here copies a process"

// Whether the loader of programs puts libraries of tools before theirs, valgrind's for instance; else for GTEST_SKIP.
#if defined(_WIN32)
#define QV_TEST_HAS_PRELOADING 0
#else
#define QV_TEST_HAS_PRELOADING 1
#endif
#define QV_TEST_NO_PRELOADING "no tool is loaded before a program here"

// By which a trap is known that nobody handles.
#if !defined(SIGTRAP)
#define SIGTRAP 5
#endif

namespace QuorvaneTest
{

enum EPageAccess
{
    PageAccess_None, // addresses alone
    PageAccess_ReadWrite,
};

#if defined(_WIN32)

// Of the platform, aligned to a power of two, and freed by GiveAligned alone. Returns: null when it is refused.
inline void *TakeAligned(size_t bytes, size_t alignment)
{
    return _aligned_malloc(bytes, alignment);
}

inline void GiveAligned(void *block)
{
    _aligned_free(block);
}

inline size_t SystemPageBytes()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}

// Whole pages that read as zero where they may be read. Returns: null when they are refused.
inline void *MapPages(size_t bytes, EPageAccess access)
{
    if (access == PageAccess_None)
        return VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS);
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

// Requires: all that one MapPages gave.
inline void UnmapPages(void *begin, size_t)
{
    VirtualFree(begin, 0, MEM_RELEASE);
}

// Returns: false where the system refuses it.
inline bool ProtectPages(void *begin, size_t bytes, EPageAccess access)
{
    DWORD before = 0;
    if (access == PageAccess_None)
        return VirtualProtect(begin, bytes, PAGE_NOACCESS, &before) != 0;
    // They may be addresses alone until now.
    return VirtualAlloc(begin, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr &&
           VirtualProtect(begin, bytes, PAGE_READWRITE, &before) != 0;
}

// Makes mapped pages longer, without taking memory for what they hold. Returns: null where the system cannot.
inline void *MovePages(void *, size_t, size_t)
{
    return nullptr;
}

// From here on this process counts as one that is debugged. Returns: false where that cannot be.
inline bool CountAsDebugged()
{
    // Where the system notes it, for IsDebuggerPresent and others.
    NtCurrentTeb()->ProcessEnvironmentBlock->BeingDebugged = 1;
    return IsDebuggerPresent() != 0;
}

// Whether a byte may be read, by the system's word.
inline bool CanReadByte(const char *address)
{
    MEMORY_BASIC_INFORMATION pages;
    return VirtualQuery(address, &pages, sizeof(pages)) != 0 && pages.State == MEM_COMMIT &&
           (pages.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
}

#else

// Of the platform, aligned to a power of two, and freed by GiveAligned alone. Returns: null when it is refused.
inline void *TakeAligned(size_t bytes, size_t alignment)
{
    void *block = nullptr;
    return posix_memalign(&block, alignment, bytes) == 0 ? block : nullptr;
}

inline void GiveAligned(void *block)
{
    std::free(block);
}

inline size_t SystemPageBytes()
{
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Whole pages that read as zero where they may be read. Returns: null when they are refused.
inline void *MapPages(size_t bytes, EPageAccess access)
{
    const int protection = access == PageAccess_None ? PROT_NONE : PROT_READ | PROT_WRITE;
    void *const mapped = mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return mapped != MAP_FAILED ? mapped : nullptr;
}

// Requires: all that one MapPages gave.
inline void UnmapPages(void *begin, size_t bytes)
{
    munmap(begin, bytes);
}

// Returns: false where the system refuses it.
inline bool ProtectPages(void *begin, size_t bytes, EPageAccess access)
{
    return mprotect(begin, bytes, access == PageAccess_None ? PROT_NONE : PROT_READ | PROT_WRITE) == 0;
}

// Makes mapped pages longer, without taking memory for what they hold. Returns: null where the system cannot.
inline void *MovePages(void *begin, size_t bytes, size_t newBytes)
{
    void *const moved = mremap(begin, bytes, newBytes, MREMAP_MAYMOVE);
    return moved != MAP_FAILED ? moved : nullptr;
}

// From here on this process counts as one that is debugged, by its parent. Returns: false where that cannot be.
inline bool CountAsDebugged()
{
#if defined(__linux__)
    return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
#else
    return false;
#endif
}

// Whether a byte may be read, by the system's word.
inline bool CanReadByte(const char *address)
{
    // It refuses to write from memory that may not be read.
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    const bool canRead = write(ends[1], address, 1) == 1;
    close(ends[0]);
    close(ends[1]);
    return canRead;
}

#endif

} // namespace QuorvaneTest
