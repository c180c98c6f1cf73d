// What the default allocator of this build does: whether it tracks, caches small blocks, keeps room behind growing ones,
// puts pages that nobody may touch between its slabs, and overwrites what is freed. Tools that watch each allocation must see each of them, with its exact size.
//
// QV_MEM_CACHE is 1 unless the build says otherwise; 0 turns the cache off, and 2 keeps it on even under a sanitizer,
// which proves the cache itself.
#pragma once

#if !defined(QV_MEM_CACHE)
#define QV_MEM_CACHE 1
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__SANITIZE_HWADDRESS__)
#define QV_INTERNAL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer) ||          \
    __has_feature(hwaddress_sanitizer) || __has_feature(leak_sanitizer)
#define QV_INTERNAL_SANITIZED 1
#endif
#endif

namespace Quorvane::Mem::Internal
{

#if defined(QV_MEM_TRACKING) && QV_MEM_TRACKING
constexpr bool kTracks = true;
#else
constexpr bool kTracks = false;
#endif

// Of copies of the library in one process, the one that makes the heap decides for all.
#if defined(QV_MEM_GUARD_PAGES) && QV_MEM_GUARD_PAGES
constexpr bool kGuardsSlabs = true;
#else
constexpr bool kGuardsSlabs = false;
#endif

#if defined(QV_MEM_WIPE) && QV_MEM_WIPE
constexpr bool kWipes = true;
#else
constexpr bool kWipes = false;
#endif

constexpr bool kHonorsSanitizers = QV_MEM_CACHE != 2;

#if defined(QV_INTERNAL_SANITIZED)
constexpr bool kSanitized = kHonorsSanitizers;
#else
constexpr bool kSanitized = false;
#endif

constexpr bool kCachesSmallBlocks = QV_MEM_CACHE != 0 && !kTracks && !kSanitized;

} // namespace Quorvane::Mem::Internal
