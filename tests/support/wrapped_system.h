// A system that refuses something, or in which somebody else is faster: the linker puts functions of wrapped_system.cpp
// before its own (--wrap) in drivers that are built with QV_TEST_WRAPS_SYSTEM, and these say what they do, and count.
// Everything is as the system has it where nothing is said.
#pragma once

#include <cstddef>
#include <ctime>

#include "qv_defs.h"

namespace QuorvaneTest
{

using Quorvane::u32;
using Quorvane::u64;

// Whether the system refuses memory by its own allocator, and addresses that it is asked for; how often it did that.
inline bool g_RefusesBlocks = false;
inline bool g_RefusesAddresses = false;
inline u32 g_RefusedAddresses = 0;
// How many blocks it gives before it refuses the others; what it was asked for, how often, and what is out.
inline u32 g_BlocksLeft = ~u32(0);
inline u32 g_BlocksAsked = 0;
inline u32 g_AlignedBlocksAsked = 0;
inline u64 g_LastBytesAsked = 0;
inline u64 g_BlocksOut = 0;
inline const void *g_LastFreed = nullptr;
// A block that it gives next, once; it is the test's own, and stays there when it is freed.
inline void *g_NextBlock = nullptr;
inline const void *g_OwnBlock = nullptr;
// Whether it takes addresses for hints, as Linux before 4.17 does; how often it gave others than that, and which at last.
inline bool g_TakesHints = false;
inline u32 g_GivenElsewhere = 0;
inline void *g_LastElsewhere = nullptr;
// Which lock of memory it refuses, by the number of the first call, from 0 on; none of them all reaches the system itself.
inline u32 g_RefusedLock = ~u32(0);
inline u32 g_Locks = 0;
inline const void *g_FirstLocked = nullptr;
inline const void *g_NeverLocked = nullptr;
inline std::size_t g_NeverLockedBytes = 0;
inline bool g_RefusesThreadKeys = false;
inline u32 g_ThreadKeys = 0;
inline bool g_RefusesThreadValues = false;
inline u32 g_ThreadValues = 0;
inline const char *g_Preloaded = nullptr; // what the environment says, besides what it does
inline bool g_HasNoChance = false;        // for the process
// The words by chance that it has; null: those of the system.
inline const u64 *g_WordsOfProcess = nullptr;
inline bool g_HasNoWords = false; // for whoever asks
inline timespec g_Now = {};       // where it is not zero
inline u32 g_Yields = 0;
inline u32 g_Pauses = 0;
inline long g_PageBytes = 0; // 0: the system's own
// What somebody else does just before the system is asked once for addresses, to take memory back, to remember the calling
// thread's value, or to let others run.
inline void (*g_BeforeMap)() = nullptr;
inline void (*g_BeforeDiscard)() = nullptr;
inline void (*g_BeforeThreadValue)() = nullptr;
inline void (*g_BeforeYield)() = nullptr;
inline void (*g_BeforePause)() = nullptr;

} // namespace QuorvaneTest
