// Private header: the zeros behind a text, and the build that takes them away between operations.
//
// From its terminator to the end of its 16-byte block a text is zero (CStringContainer). That is promised to who works on
// the blocks of a container, and to who writes to its characters. The library itself relies on it where it keeps the
// promise, in few places, which say so by Restore; and two strings of which one holds terminators are put in order by
// the zeros behind the shorter one. No other operation depends on what stands there.
//
// QV_POISON_TAIL, for tests, shows that: what ends a text leaves other bytes behind the terminator, different ones each
// time. Whatever depends on them gives another result then.
#pragma once

#include <cstring>

#include "kr_atomic.h"
#include "qv_defs.h"

#if !defined(QV_POISON_TAIL)
#define QV_POISON_TAIL 0
#endif

namespace Quorvane::Internal::String
{

// The bytes behind the terminator of a text, to the end of its block.
struct STail
{
#if QV_POISON_TAIL

    static void Poison(char *characters, u32 length) noexcept QV_NONBLOCKING
    {
        char *const tail = characters + length + 1;
        const u32 count = _BytesBehind(length);
        const u32 turn = g_Turn.FetchInc();
        for (u32 i = 0; i < count; ++i)
            tail[i] = kPoisons[(turn % (sizeof(kPoisons) - 1) + i) % (sizeof(kPoisons) - 1)];
    }

    static void Restore(char *characters, u32 length) noexcept QV_NONBLOCKING
    {
        std::memset(characters + length + 1, 0, _BytesBehind(length));
    }

    // For tests: whether a byte is one of those that Poison leaves.
    static bool IsPoison(char byte) noexcept QV_NONBLOCKING
    {
        return byte != '\0' && std::memchr(kPoisons, byte, sizeof(kPoisons) - 1) != nullptr;
    }

private:
    static constexpr u32 kBlockBytes = 16;

    // What means something to one operation or another: letters, digits, slashes, blanks, wildcards, what is escaped, and
    // bytes at the ends of both signs.
    QV_INTERNAL_HIDDEN static constexpr char kPoisons[] = "/aZ\\0*\"\xFF \t,.:%?\n\x01\x7F\x80";
    QV_INTERNAL_HIDDEN static inline TAtomic<u32> g_Turn;

    static u32 _BytesBehind(u32 length)
    {
        return kBlockBytes - 1 - length % kBlockBytes;
    }

#else

    // Here an operation has ended a text.
    static void Poison(char *, u32) noexcept QV_NONBLOCKING {}
    // What follows relies on the zeros behind a text of this length.
    static void Restore(char *, u32) noexcept QV_NONBLOCKING {}

#endif
};

} // namespace Quorvane::Internal::String
