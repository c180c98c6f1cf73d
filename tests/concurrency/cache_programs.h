// Programs that use the default allocator as a program does: through the caches of their threads, which end with them.
#pragma once

#include <memory>
#include <vector>

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

enum ECacheStep : u8
{
    CacheStep_Allocate, // a block, and writes it full
    CacheStep_Free,     // the block that the thread has had longest
    CacheStep_HandOn,   // exchanges that block with what lies in the mailbox
    CacheStep_End,      // what happens to the cache when the thread ends; later blocks come from the heap and go to it
};

using SCacheSteps = std::vector<ECacheStep>;
constexpr char kCacheLetters[] = "AFHE"; // one for each

// Each thread has a cache and, where it begins with a free, a block. All blocks stay what their holders wrote to them; in
// the end every block is out, or back in the heap or in the cache of a thread that did not end, once.
std::unique_ptr<CProgram> MakeCacheProgram(const std::vector<SCacheSteps> &threads);

} // namespace QuorvaneTest::Concurrency
