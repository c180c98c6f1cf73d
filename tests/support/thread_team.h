// Threads that start together.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

#include "qv_defs.h"

namespace QuorvaneTest
{

// Runs `work(0)` to `work(count - 1)` on a thread each, all let go at once, and waits for all of them.
template <typename Work>
void RunTeam(Quorvane::u32 count, const Work &work)
{
    std::atomic<Quorvane::u32> missing(count);
    std::vector<std::thread> threads;
    for (Quorvane::u32 i = 0; i < count; ++i)
        threads.emplace_back(
            [&, i]
            {
                // Relaxed: it sets the pace and orders nothing, so that the work has to do that for itself.
                missing.fetch_sub(1, std::memory_order_relaxed);
                while (missing.load(std::memory_order_relaxed) != 0)
                    std::this_thread::yield();
                work(i);
            });
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace QuorvaneTest
