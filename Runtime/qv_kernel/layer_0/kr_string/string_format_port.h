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

#include "../kr_buffer/printf_port.h"
#include "../kr_mem/mem_lock.h"
#include "qv_defs.h"

namespace Quorvane::Internal::String
{

// The name that this library gave the "C" locale last, null before. There it lies in constant memory, so that the
// pointer alone tells it from every other name; elsewhere nothing is remembered.
QV_INTERNAL_HIDDEN inline std::atomic<const char *> g_NameOfCLocale = {nullptr};

// One thread at a time asks for the name of the locale and changes it: a change frees the name before.
QV_INTERNAL_CONSTINIT QV_INTERNAL_HIDDEN inline Mem::Internal::CProcessLock g_LocaleLock;

// While one lives, a thread that has a locale of its own is in that of the process. Elsewhere such a thread changes the
// locale of the process as any other one does.
class CPortProcessLocale
{
public:
#if defined(_WIN32)
    CPortProcessLocale()
    {
        if (_configthreadlocale(0) == _ENABLE_PER_THREAD_LOCALE)
            _Leave();
    }
    ~CPortProcessLocale()
    {
        if (!m_HasLeft)
            return;
        _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
        std::setlocale(LC_ALL, m_Name);
    }
#else
    CPortProcessLocale() {}
    ~CPortProcessLocale() {}
#endif
    CPortProcessLocale(const CPortProcessLocale &) = delete;
    CPortProcessLocale &operator=(const CPortProcessLocale &) = delete;

#if defined(_WIN32)
private:
    // The thread's locale is gone when the process' is used, so its name is kept: of five categories, with their names.
    void _Leave()
    {
        const char *const name = std::setlocale(LC_ALL, nullptr);
        if (name == nullptr || std::strlen(name) >= sizeof(m_Name))
            return;
        std::strcpy(m_Name, name);
        m_HasLeft = true;
        _configthreadlocale(_DISABLE_PER_THREAD_LOCALE);
    }

    char m_Name[768];
    bool m_HasLeft = false;
#endif
};

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
    const CPortProcessLocale process;
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
    const CPortProcessLocale process;
    const int length = Buffer::PortFormat(buffer, size, format, args);
#if QV_INTERNAL_HAS_THREAD_LOCALES
    uselocale(threadLocale);
#endif
    return length;
}

} // namespace Quorvane::Internal::String
