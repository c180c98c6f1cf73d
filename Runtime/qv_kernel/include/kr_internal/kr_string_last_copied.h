// Private header: which container the calling thread has copied a handle of last.
//
// Whoever drops a handle asks first whether it is the only one, and the answer cannot be read before the locked
// instruction that wrote it is done. The next handles that a thread drops are often those that it has just copied, and
// those it need not ask about. It is a guess, about speed and nothing else: the container may be gone, and another one
// stand at its address.
//
// Users include kr_string.h.
#pragma once

#include <cstring>

#include "kr_string_fwd.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{

// Where variables of a thread lie at a fixed distance from its own address, in shared libraries too; elsewhere finding
// one may take longer than the answer.
#if defined(__GLIBC__) && (defined(__x86_64__) || defined(__aarch64__))

QV_INTERNAL_HIDDEN inline __attribute__((tls_model("initial-exec"))) __thread const void *t_LastCopied = nullptr;

// Unchecked: a pointer that is null when the thread begins.
QV_INTERNAL_UNCHECKED_BEGIN

inline void NoteCopied(const CStringContainer *container) noexcept QV_NONBLOCKING
{
    t_LastCopied = container;
}
inline bool WasLastCopied(const CStringContainer *container) noexcept QV_NONBLOCKING
{
    return t_LastCopied == container;
}

QV_INTERNAL_UNCHECKED_END

#else

inline void NoteCopied(const CStringContainer *) noexcept QV_NONBLOCKING {}
inline bool WasLastCopied(const CStringContainer *) noexcept QV_NONBLOCKING
{
    return false;
}

#endif

} // namespace Internal::String

} // namespace Quorvane
