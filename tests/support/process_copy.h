// Copies of this process that run a piece of a test and answer a number, also while other threads are at work.
#pragma once

#include "test_port.h"

#if QV_TEST_HAS_FORK
#include <sys/wait.h>
#endif

namespace QuorvaneTest
{

// For an emulator on a busy machine, where what takes a second may take a minute.
constexpr unsigned kSecondsForCopy = 240;

// Runs `body`, which answers an int, in a copy of this process, and waits for it. One that hangs ends after a while.
// Nothing runs at its end: neither destructors of static objects nor what was registered for the exit.
// Returns: its answer, or the signal that ended it as a negative number; -1 also where there is no copy.
#if QV_TEST_HAS_FORK

template <typename Body>
int RunInCopy(const Body &body)
{
    const pid_t child = fork();
    if (child == 0)
    {
        // The parent's alarm is not inherited.
        alarm(kSecondsForCopy);
        _exit(body());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

#else

template <typename Body>
int RunInCopy(const Body &)
{
    return -1;
}

#endif

} // namespace QuorvaneTest
