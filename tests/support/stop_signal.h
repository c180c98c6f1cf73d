// A thread that is stopped wherever it is, and goes on when it is told to.
#pragma once

#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "test_port.h"

namespace QuorvaneTest
{

#if defined(_WIN32)

// One thread at a time.
class CStopSignal
{
public:
    // Returns when the thread stands still.
    void Stop(std::thread &thread)
    {
        m_Thread = pthread_gethandle(thread.native_handle());
        SuspendThread(m_Thread);
        // Asked for is not done: the system waits for it to answer this.
        CONTEXT context = {};
        context.ContextFlags = CONTEXT_CONTROL;
        GetThreadContext(m_Thread, &context);
    }
    // Of a thread that stands still.
    void GoOn() { ResumeThread(m_Thread); }

private:
    HANDLE m_Thread = nullptr;
};

#else

// One at a time in a process.
class CStopSignal
{
public:
    CStopSignal()
    {
        struct sigaction action = {};
        action.sa_handler = [](int)
        {
            s_IsStopped = true;
            while (s_IsStopped)
                sched_yield();
        };
        sigaction(SIGUSR1, &action, &m_Before);
    }
    ~CStopSignal() { sigaction(SIGUSR1, &m_Before, nullptr); }
    CStopSignal(const CStopSignal &) = delete;
    CStopSignal &operator=(const CStopSignal &) = delete;

    // Returns when the thread stands still.
    void Stop(std::thread &thread)
    {
        pthread_kill(thread.native_handle(), SIGUSR1);
        while (!s_IsStopped)
            sched_yield();
    }
    // Of a thread that stands still.
    void GoOn() { s_IsStopped = false; }

private:
    static inline std::atomic<bool> s_IsStopped{false};

    struct sigaction m_Before = {};
};

#endif

} // namespace QuorvaneTest
