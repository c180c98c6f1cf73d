// Threads of control that take turns on one thread of the system, where they are told to.
#pragma once

#include "execution_graph.h"

namespace QuorvaneTest::Concurrency
{

// The one set of fibers of this program, kMaxThreads of them.
class CFibers
{
public:
    // What all of them run; `number` tells them apart.
    using FBody = void (*)(u32 number);

    static void SetBody(FBody body);
    // A plain variable of each thread, of which each fiber gets its own, with the value of now: up to 8 `bytes` at
    // `variable`. Up to 4 of them, for the rest of the process.
    static void KeepForEach(void *variable, u32 bytes);

    // Makes a fiber begin anew when it is resumed, wherever it stands. What it held is lost.
    static void Restart(u32 number);
    // Goes on with a fiber until it suspends itself or its body ends.
    static void Resume(u32 number);
    static void Suspend();
    static bool HasEnded(u32 number);
};

} // namespace QuorvaneTest::Concurrency
