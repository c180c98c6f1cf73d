// What the assertions need of the platform: a trap that returns when resumed, whether a debugger would catch it, and that
// no sanitizer watches what handlers do.
#pragma once

#if defined(_WIN32)
extern "C" __declspec(dllimport) void __stdcall DebugBreak(void);
extern "C" __declspec(dllimport) int __stdcall IsDebuggerPresent(void);
#else
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#endif

#if defined(__ELF__)
// Both exist in programs of the sanitizer for real time alone, whether the library was built with it or not.
extern "C" __attribute__((weak)) void __rtsan_disable();
extern "C" __attribute__((weak)) void __rtsan_enable();
#endif

namespace Quorvane::Assert::Internal
{

// While one lives, the thread may block. A function that promises not to may still report a mistake of its caller's, and
// what that costs is up to the handler; the sanitizer would end the program before the report is out.
class CPortMayBlock
{
public:
#if defined(__ELF__)
    CPortMayBlock()
    {
        if (__rtsan_disable != nullptr)
            __rtsan_disable();
    }
    ~CPortMayBlock()
    {
        if (__rtsan_enable != nullptr)
            __rtsan_enable();
    }
#else
    CPortMayBlock() {}
    ~CPortMayBlock() {}
#endif
    CPortMayBlock(const CPortMayBlock &) = delete;
    CPortMayBlock &operator=(const CPortMayBlock &) = delete;
};

#if defined(_WIN32)

inline void PortBreak()
{
    // An exception that nobody handles ends the program, as the signal does elsewhere.
    DebugBreak();
}

inline bool PortDebuggerAttached()
{
    return IsDebuggerPresent() != 0;
}

#else

inline void PortBreak()
{
    // A raised signal, unlike a trapping instruction, continues after the call when it is resumed or handled.
    raise(SIGTRAP);
}

#if defined(__linux__)

// The kernel names the tracing process in the process' status; 0 means none.
inline bool PortDebuggerAttached()
{
    constexpr char kTracerField[] = "TracerPid:";
    constexpr std::size_t kFieldLength = sizeof(kTracerField) - 1;
    std::FILE *status = std::fopen("/proc/self/status", "r");
    if (status == nullptr)
        return false;
    bool attached = false;
    char line[256];
    while (std::fgets(line, sizeof(line), status) != nullptr)
    {
        if (std::strncmp(line, kTracerField, kFieldLength) == 0)
            attached = std::strtol(line + kFieldLength, nullptr, 10) != 0;
    }
    std::fclose(status);
    return attached;
}

#else

inline bool PortDebuggerAttached()
{
    return false;
}

#endif
#endif

} // namespace Quorvane::Assert::Internal
