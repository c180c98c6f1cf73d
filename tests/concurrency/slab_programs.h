// Programs that take blocks from the default allocator's heap and give them back, also those of other threads.
#pragma once

#include <memory>
#include <vector>

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

enum EHeapStep : u8
{
    HeapStep_Take,   // takes a block, and writes to it
    HeapStep_Give,   // gives back the block that the thread has had longest
    HeapStep_HandOn, // exchanges that block with what lies in the mailbox
    HeapStep_Trim,   // gives memory of idle slabs to the system, as when a thread has ended
};

using SHeapSteps = std::vector<EHeapStep>;
constexpr char kHeapLetters[] = "TGHL"; // one for each

// The largest class, of which a slab has 32 blocks.
constexpr u32 kLargestClass = 40;
constexpr u32 kBlocksOfLargestClass = 32;

struct SHeapUse
{
    std::vector<SHeapSteps> m_Threads;
    u32 m_Held = 1;      // blocks that each thread has when it begins
    u32 m_Others = 0;    // further ones that stay out
    u32 m_IdleSlabs = 0; // which serve no class
    u32 m_SizeClass = kLargestClass;
};

// All blocks stay what their holders wrote to them; in the end all blocks that are out are accounted for, each slab is in
// one set, and what is idle is found there. A thread that is told to wait goes on: nobody there waits for long.
// Requires: `use` outlives the program.
std::unique_ptr<CProgram> MakeHeapProgram(const SHeapUse &use);

enum ESetStep : u8
{
    SetStep_Put,      // puts the slab that the thread has into the set
    SetStep_ClaimAny, // claims one, whichever it is, if the thread has none
    SetStep_Claim,    // claims that of the first thread, if it is in the set
};

using SSetSteps = std::vector<ESetStep>;
constexpr char kSetLetters[] = "PAC"; // one for each

// The sets of slabs alone. A thread that begins by putting a slab has one at first, and the set is empty, which its hints do
// not know yet. No slab has two holders, and what is in the set in the end is found there.
std::unique_ptr<CProgram> MakeSetProgram(const std::vector<SSetSteps> &threads);

} // namespace QuorvaneTest::Concurrency
