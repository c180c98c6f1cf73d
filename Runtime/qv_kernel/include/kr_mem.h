// Tagged, aligned allocation, and the hook through which an embedder replaces it.
//
// Every allocation of the library comes through here, with its exact size, alignment, origin, tag and place in the
// source, so that a replacement can account for it, refuse it, or serve it from a pool of its own.
//
// The default allocator takes large blocks from the platform, and small ones, up to 2 KiB, from slabs of its own: each
// thread caches free ones and gives them back when it ends: up to 8 KiB of each of 40 sizes, and where it takes and
// frees blocks of a size by turns, up to 64 KiB; of large blocks that come and go by turns, up to 16 KiB, one of each
// KiB. A thread that uses a few blocks only has no cache. No thread waits for another one there, whatever that is
// doing. Up to 16 MiB that nobody uses are kept for what comes next, and 512 KiB when a thread has ended. A block of up
// to 256 bytes takes up to 15 bytes more, a larger small one up to an eighth. The allocator maps 64 KiB when the first
// block is asked for, and grows as blocks are used. A block that grows step by step gets room to do so in place. With
// the CMake option QV_MEM_CACHE off, and where the system grants no more memory, blocks are the platform's; under
// sanitizers and valgrind, and on a 32-bit system, which has no addresses to spare, all of them are, with nothing around
// them.
//
// Any thread may allocate and free; a block may be freed by another thread than the one that allocated it. A copy of the
// process made by fork() may allocate and free, whatever the other threads were doing, and so may all handlers that run
// around the fork.
//
// A process may hold several copies of the library, in its program and in its plugins. They share the default allocator's
// blocks and the allocator that is installed, so that any of them may free and resize what another one allocated, also
// when that has been unloaded. That holds for copies of one version on a 64-bit system. Each copy has its own handler of
// assertions.
//
// Where assertions are on, the default allocator reports a block that is freed or resized again before it was handed out
// again, and a pointer that is no block, and leaves both alone. A program that writes to a small block that it has freed is
// reported when the block would be handed out again; that block and those that it linked to are left alone, also where
// assertions are off. The CMake options QV_MEM_GUARD_PAGES and QV_MEM_WIPE stop a program that runs over the end of its
// small blocks sooner, and overwrite what is freed.
#pragma once

#include "qv_defs.h"

namespace Quorvane
{

namespace Mem
{

// What a block is for. The string module allocates `AllocType_Generic` only.
enum EAllocType : u32
{
    AllocType_Generic = 0,  // anything
    AllocType_Particle = 1, // particles
    AllocType_Scratch = 2,  // what lives for a short time
    AllocType_Debug = 3,    // what helps to debug
};

// How a block came to be. It is freed with the origin it was allocated with.
enum EOrigin : u32
{
    Origin_Alloc = 0,          // a raw block
    Origin_New = 0x80000000,   // an object, through its class' allocation functions
    _Origin_Mask = 0x80000000, // the bits that tell origins apart
};

// An allocator: three functions, all non-null. None of them may throw: refused memory is a null pointer. An exception
// that leaves one all the same ends the program, since what asks for memory is noexcept, or loses what the functions on
// its way held.
struct SAllocator
{
    // Allocates. `alignment` 0 asks for the allocator's default, else it is a power of two. Fails: null.
    void *(*m_Alloc)(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                     u32 line, const char *function);
    // Resizes a block of origin `Origin_Alloc`, keeping its contents up to the smaller size; `block` null allocates.
    // Fails: null, and the old block is then still valid.
    void *(*m_Realloc)(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file,
                       u32 line, const char *function);
    // Frees a block, which is not null.
    void (*m_Free)(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
                   const char *function);
};

// Installs an allocator; a value-initialised one restores the default. An allocator that lacks one of the functions is
// reported and not installed.
// Returns: the allocator before, callable, so that a replacement can forward to it.
// Requires: every block is freed through the allocator installed at that time, so install one while no block is live
// (or forward to the one before), and while no other thread allocates or frees.
QV_API SAllocator SetAllocator(const SAllocator &allocator) noexcept;

// Allocates `size` bytes.
// Requires: an alignment of 0 (the allocator's default) or a power of two, else reports it and refuses.
// Returns: the block, or null when memory is refused.
QV_API void *_RawAlloc(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                       u32 line, const char *function) noexcept;

// Resizes a block of origin `Origin_Alloc`; a null block is allocated. The default allocator keeps half as much again
// behind a block that grows by less than its size, gives room back when less than half is needed, and lets the platform
// resize its own blocks in place where it can.
// Requires: an alignment as above, else reports it and refuses.
// Returns: the block, perhaps moved, with its contents up to the smaller size; or null when memory is refused, and
// `block` is then still valid.
QV_API void *_RawRealloc(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file,
                         u32 line, const char *function) noexcept;

// Frees a block; null is ignored. Requires: `origin` is the one that it was allocated with.
QV_API void _RawFree(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
                     const char *function) noexcept;

// Frees a block of origin `Origin_Alloc`; null is ignored.
QV_API void Free(void *block, EAllocType type) noexcept;

// Makes ready for a thread that must not wait for memory: the default allocator gets at least `bytes` more for blocks of
// up to 2 KiB, and keeps them for good; the calling thread gets its cache. What the allocator has, and what it gets later,
// is backed by the system before it is used, so that no thread waits for a page until those bytes are used up; with
// `locks`, the system is told to leave it where it is (mlock).
// Call it in each such thread, with 0 for no further bytes. Blocks above 2 KiB stay the platform's.
// Returns: false when memory was refused, and what was got before that is kept; when it may not be locked, and is there all
// the same; when the default allocator has no memory of its own, in this build, under this tool or on a 32-bit system; and,
// with nothing got, for more than the 64 GiB that it has addresses for.
// Allocates: whole slabs of 64 KiB, and the calling thread's cache in one. Cost: linear in `bytes` and in what the
// allocator has; system calls; may wait for threads that end.
QV_API bool Prewarm(u64 bytes, bool locks = false) noexcept;

// Figures of the default allocator, in a build with QV_MEM_TRACKING.
struct SFigures
{
    u64 m_LiveBlocks; // blocks that are not freed yet
    u64 m_LiveBytes;  // bytes asked for, of these
};

// Gives the figures of the live blocks that carry `tag` (compared as text; null for all tags).
// Returns: false, with figures of 0, in a build without tracking.
// Cost: linear in the number of live blocks; takes the tracker's lock.
QV_API bool LiveFigures(const char *tag, SFigures &outFigures) noexcept;

namespace Internal
{

// The tag of everything that the string module allocates.
constexpr char kDefaultTag[] = "Kernel|Mem|Default";

} // namespace Internal

} // namespace Mem

} // namespace Quorvane

// Private to the library: the accounting arguments of an allocation at this place.
#define QV_INTERNAL_MEM_SITE QV_NAMESPACE::Mem::Internal::kDefaultTag, __FILE__, __LINE__, __func__
