// Copies of the process, made while strings are in use: by other threads, and by the handlers that a program may have run
// around a fork. Each case is a process of its own, in which nobody has used a string before.
#if defined(_WIN32)

#include <cstdio>

// There are no copies of a process that begin in its middle.
int main()
{
    std::puts("fork: no system call here copies a process");
    return 77;
}

#else

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

#include "kr_string.h"
#include "process_cases.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr int kForks = 20;

bool UseStrings()
{
    constexpr u32 kCount = 400;
    CString strings[kCount];
    for (CString &string : strings)
        string = CString("a text of some length") + " and more";
    for (CString &string : strings)
        string.Append(string);
    bool asTheyShould = true;
    for (const CString &string : strings)
        asTheyShould = asTheyShould && string.Length() == 60 && string.EndsWith(" and more");
    return asTheyShould;
}

std::atomic<bool> g_AllWell(true);

void UseStringsInHandler()
{
    if (!UseStrings())
        g_AllWell = false;
}

// Forks once. Returns: whether both processes could go on with their strings.
bool ForkOnce()
{
    return RunInCopy([] { return UseStrings() && g_AllWell ? 0 : 1; }) == 0 && UseStrings() && g_AllWell;
}

bool ForkOften()
{
    for (int i = 0; i < kForks; ++i)
        if (!ForkOnce())
            return false;
    return true;
}

// Threads that use strings, one after the other, as long as it lives.
class CBusyThreads
{
public:
    CBusyThreads() : m_First([this] { _Work(); }), m_Second([this] { _Work(); }) {}
    ~CBusyThreads()
    {
        m_Done = true;
        m_First.join();
        m_Second.join();
    }

private:
    void _Work()
    {
        while (!m_Done)
        {
            // What every string of the program may be guarded by, and is here.
            const std::lock_guard<std::mutex> guard(s_Lock);
            UseStringsInHandler();
        }
    }

    std::atomic<bool> m_Done{false};
    std::thread m_First;
    std::thread m_Second;

public:
    static std::mutex s_Lock;
};

std::mutex CBusyThreads::s_Lock;

// ---- The cases -------------------------------------------------------------------------------------------------------

// A handler that was registered before the first string, which comes before the fork.
bool StringsInPrepare()
{
    pthread_atfork(&UseStringsInHandler, nullptr, nullptr);
    return UseStrings() && ForkOften();
}

bool StringsInParent()
{
    pthread_atfork(nullptr, &UseStringsInHandler, nullptr);
    return UseStrings() && ForkOften();
}

bool StringsInChild()
{
    pthread_atfork(nullptr, nullptr, &UseStringsInHandler);
    return UseStrings() && ForkOften();
}

// The handler's string is the first one.
bool FirstStringInPrepare()
{
    pthread_atfork(&UseStringsInHandler, nullptr, nullptr);
    return ForkOften();
}

bool FirstStringInParent()
{
    pthread_atfork(nullptr, &UseStringsInHandler, nullptr);
    return ForkOften();
}

bool FirstStringInChild()
{
    pthread_atfork(nullptr, nullptr, &UseStringsInHandler);
    return ForkOften();
}

bool StringsInAllAndBusyThreads()
{
    pthread_atfork(&UseStringsInHandler, &UseStringsInHandler, &UseStringsInHandler);
    const CBusyThreads threads;
    return ForkOften();
}

// A program that keeps its own data whole across forks: it waits for the threads, which use strings meanwhile.
bool AHandlerThatWaitsForBusyThreads()
{
    pthread_atfork([] { CBusyThreads::s_Lock.lock(); }, [] { CBusyThreads::s_Lock.unlock(); },
                   [] { CBusyThreads::s_Lock.unlock(); });
    const CBusyThreads threads;
    return ForkOften();
}

// Whether a copy of this process, a copy of that, and so on, can use strings.
bool CanUseStringsInCopies(int generations)
{
    if (generations == 0)
        return true;
    const auto inCopy = [generations] { return UseStrings() && CanUseStringsInCopies(generations - 1) ? 0 : 1; };
    return RunInCopy(inCopy) == 0 && UseStrings();
}

bool CopiesOfCopies()
{
    const CBusyThreads threads;
    return CanUseStringsInCopies(5);
}

// Formatting enters the "C" locale, one thread at a time.
bool BusyFormatting()
{
    std::atomic<bool> done(false);
    std::thread busy(
        [&done]
        {
            while (!done)
                static_cast<void>(CString::Format("%s/%d", "a", 1));
        });
    bool isWell = true;
    for (int i = 0; i < kForks && isWell; ++i)
        isWell = RunInCopy([] { return CString::Format("%s/%d", "a", 1) == "a/1" ? 0 : 1; }) == 0;
    done = true;
    busy.join();
    return isWell;
}

template <bool (*Case)()>
int Answer()
{
    return Case() ? 0 : 1;
}

constexpr SProcessCase kCases[] = {
    {"StringsInPrepare", &Answer<&StringsInPrepare>},
    {"StringsInParent", &Answer<&StringsInParent>},
    {"StringsInChild", &Answer<&StringsInChild>},
    {"FirstStringInPrepare", &Answer<&FirstStringInPrepare>},
    {"FirstStringInParent", &Answer<&FirstStringInParent>},
    {"FirstStringInChild", &Answer<&FirstStringInChild>},
    {"StringsInAllAndBusyThreads", &Answer<&StringsInAllAndBusyThreads>},
    {"AHandlerThatWaitsForBusyThreads", &Answer<&AHandlerThatWaitsForBusyThreads>},
    {"CopiesOfCopies", &Answer<&CopiesOfCopies>},
    {"BusyFormatting", &Answer<&BusyFormatting>},
};

} // namespace

int main()
{
    return RunCases(kCases);
}

#endif
