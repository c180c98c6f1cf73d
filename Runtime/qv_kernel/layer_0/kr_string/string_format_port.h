// Formatting in the "C" locale: what it takes on this platform.
#pragma once

#include <atomic>
#include <clocale>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#if !defined(_WIN32)
#include <locale.h>
#define QV_INTERNAL_HAS_THREAD_LOCALES 1
#else
#define QV_INTERNAL_HAS_THREAD_LOCALES 0
#endif

#include "../kr_mem/mem_lock.h"
#include "qv_defs.h"

namespace Quorvane::Internal::String
{

// The name that this library gave the "C" locale last, null before. There it lies in constant memory, so that the
// pointer alone tells it from every other name; elsewhere nothing is remembered.
QV_INTERNAL_HIDDEN inline std::atomic<const char *> g_NameOfCLocale = {nullptr};

// One thread at a time asks for the name of the locale and changes it: a change frees the name before.
QV_INTERNAL_CONSTINIT QV_INTERNAL_HIDDEN inline Mem::Internal::CProcessLock g_LocaleLock;

inline void EnterCLocaleSlow()
{
    const Mem::Internal::CProcessGuard guard(g_LocaleLock);
    const char *current = std::setlocale(LC_ALL, nullptr);
    // Asks first: a change races with every thread that formats by itself at that moment.
    if (current == nullptr || std::strcmp(current, "C") != 0)
    {
        // The name returned is that of the locale now in force, so the second call keeps the process in "C".
        const char *kept = std::setlocale(LC_ALL, "C");
        current = std::setlocale(LC_ALL, kept);
    }
#if defined(__GLIBC__)
    // Relaxed: the name is compared, never read.
    g_NameOfCLocale.store(current, std::memory_order_relaxed);
#endif
}

// Puts the process into the "C" locale.
inline void EnterCLocale()
{
    const char *known = g_NameOfCLocale.load(std::memory_order_relaxed);
    if (known == nullptr || std::setlocale(LC_ALL, nullptr) != known)
        EnterCLocaleSlow();
}

// vsnprintf in the process' locale, also where the calling thread has a locale of its own.
QV_INTERNAL_PRINTF(3, 0)
inline int PortFormatInProcessLocale(char *buffer, std::size_t size, const char *format, std::va_list args)
{
#if QV_INTERNAL_HAS_THREAD_LOCALES
    const locale_t threadLocale = uselocale(LC_GLOBAL_LOCALE);
#endif
    const int length = std::vsnprintf(buffer, size, format, args);
#if QV_INTERNAL_HAS_THREAD_LOCALES
    uselocale(threadLocale);
#endif
    return length;
}

} // namespace Quorvane::Internal::String
