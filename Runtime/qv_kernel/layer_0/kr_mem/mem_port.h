// What the default allocator needs of the platform: blocks of any power-of-two alignment that one function frees, memory
// at addresses of its own choice, a call at the end of a thread, and to know a copy of a process from the process. Each
// system has a branch of its own; here is what they share, and which one is taken.
#pragma once

#include "mem_port_blocks.h"
#include "qv_defs.h"

#if defined(_WIN32)
#include "mem_port_windows.h"
#elif defined(__unix__) || defined(__APPLE__)
#include "mem_port_posix.h"
#else
#error "Quorvane is written for Windows and for systems like POSIX"
#endif

#if defined(__ELF__)
// Each exists in programs of that sanitizer alone.
extern "C" __attribute__((weak)) void __asan_init();
extern "C" __attribute__((weak)) void __tsan_init();
extern "C" __attribute__((weak)) void __msan_init();
extern "C" __attribute__((weak)) void __lsan_init();
#endif

// A function that runs at the end of the program, or of the plugin that it is part of, behind the destructors of static
// objects. Newer versions of clang warn of it as of any code that is registered for the end.
//     QV_INTERNAL_AT_END_BEGIN void Leave() { ... } QV_INTERNAL_AT_END_END
#if defined(__clang__)
#define QV_INTERNAL_AT_END_BEGIN                                                                                       \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wglobal-constructors\"")                     \
        __attribute__((destructor(101)))
#define QV_INTERNAL_AT_END_END _Pragma("clang diagnostic pop")
#else
#define QV_INTERNAL_AT_END_BEGIN __attribute__((destructor(101)))
#define QV_INTERNAL_AT_END_END
#endif

// At a fixed distance from the thread's own address, in shared libraries too. This C library keeps room for such
// variables of libraries that are loaded later.
#if defined(__GLIBC__)
#define QV_INTERNAL_INITIAL_EXEC __attribute__((tls_model("initial-exec")))
#else
#define QV_INTERNAL_INITIAL_EXEC
#endif

namespace Quorvane::Mem::Internal
{

// Makes the system give memory to usable addresses that have none yet, whatever others do with them at the same time.
inline void PortTouch(void *begin, ureg bytes)
{
    // No system has smaller pages.
    constexpr ureg kPageBytes = 4096;
    for (ureg at = 0; at < bytes; at += kPageBytes)
    {
        // Writes what is there. Compilers make a load of an addition of zero.
        u32 *const word = reinterpret_cast<u32 *>(static_cast<char *>(begin) + at);
        u32 value = __atomic_load_n(word, __ATOMIC_RELAXED);
        __atomic_compare_exchange_n(word, &value, value, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
    }
}

// The beginning of the page of `pageBytes` that an address lies in.
inline ureg PageOf(const void *address, ureg pageBytes)
{
    return reinterpret_cast<ureg>(address) & ~(pageBytes - 1);
}

// True when the program was built with a sanitizer, even if the library was not.
inline bool PortIsSanitized()
{
#if defined(__ELF__)
    return __asan_init != nullptr || __tsan_init != nullptr || __msan_init != nullptr || __lsan_init != nullptr;
#else
    return false;
#endif
}

} // namespace Quorvane::Mem::Internal
