// Limits that the system sets to a process.
#pragma once

#include <sys/resource.h>

#include "kr_mem.h"

namespace QuorvaneTest
{

// Limits a resource of this process for good. Returns: whether the system keeps to it. Emulators that run a program of
// another machine accept limits of memory and forget them, since they need memory themselves.
inline bool LimitProcess(decltype(RLIMIT_AS) resource, Quorvane::u64 most)
{
    const rlimit wanted = {static_cast<rlim_t>(most), static_cast<rlim_t>(most)};
    rlimit kept = {};
    return setrlimit(resource, &wanted) == 0 && getrlimit(resource, &kept) == 0 && kept.rlim_cur == wanted.rlim_cur;
}

// What a process answers that cannot be tried so.
constexpr int kNoLimit = 77;

} // namespace QuorvaneTest
