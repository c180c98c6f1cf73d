// Formatting in the "C" locale: what it takes on this platform.
#pragma once

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

#include "qv_defs.h"

namespace Quorvane::Internal
{

// Puts the process into the "C" locale. Asks first: a change races with every thread that formats at that moment.
inline void EnterCLocale()
{
    const char *current = std::setlocale(LC_ALL, nullptr);
    if (current != nullptr && std::strcmp(current, "C") == 0)
        return;
    // The name returned is that of the locale now in force, so the second call keeps the process in "C".
    const char *kept = std::setlocale(LC_ALL, "C");
    std::setlocale(LC_ALL, kept);
}

// vsnprintf in the process' locale, "C", also where the calling thread has a locale of its own.
QV_INTERNAL_PRINTF(3, 0)
inline int PortFormatInCLocale(char *buffer, std::size_t size, const char *format, std::va_list args)
{
    EnterCLocale();
#if QV_INTERNAL_HAS_THREAD_LOCALES
    const locale_t threadLocale = uselocale(LC_GLOBAL_LOCALE);
#endif
    const int length = std::vsnprintf(buffer, size, format, args);
#if QV_INTERNAL_HAS_THREAD_LOCALES
    uselocale(threadLocale);
#endif
    return length;
}

} // namespace Quorvane::Internal
