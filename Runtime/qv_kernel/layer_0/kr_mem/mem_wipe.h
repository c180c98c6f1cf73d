// Overwriting what a block held, where the build asks for it (QV_MEM_WIPE), before anybody else gets the memory.
#pragma once

#include <cstddef>
#include <cstring>

#include "qv_defs.h"

#include "mem_config.h"

namespace Quorvane::Mem::Internal
{

// Compilers leave out what is written to memory that nobody reads before it is freed: they are told that somebody may.
inline void Wipe(void *begin, u64 bytes)
{
    if (!kWipes)
        return;
    std::memset(begin, 0, static_cast<std::size_t>(bytes));
    __asm__ volatile("" : : "r"(begin) : "memory");
}

} // namespace Quorvane::Mem::Internal
